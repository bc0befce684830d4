// Keeps secrets in locked memory, and reads cipher keys from files.
#ifndef VRX_APP_KEYS_HPP
#define VRX_APP_KEYS_HPP

#include <vrx.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "io/files.hpp"

namespace vrx::app {

/**
 * Memory pages for secrets, wiped before they are freed. An inaccessible page before them and one after them stop
 * overruns. Forked processes do not inherit the pages.
 */
class SecretPages {
public:
    /** How the system keeps the pages out of reach. */
    enum class Protection {
        hidden,  // memfd_secret: not even the kernel maps the pages
        locked,  // mlock: they are never swapped out
        none,    // the limit for locked memory is too low
    };

    explicit SecretPages(std::size_t size);
    SecretPages(const SecretPages&) = delete;
    SecretPages& operator=(const SecretPages&) = delete;
    ~SecretPages();
    [[nodiscard]] void* get() const { return pages_; }
    [[nodiscard]] Protection protection() const { return protection_; }

private:
    bool hide() const;
    bool lock() const;

    std::size_t guard_;  // the size of a page
    std::size_t size_;   // a multiple of the size of a page
    void* pages_;
    Protection protection_;
};

/**
 * A trivial object on secret pages of its own. After the first such object was created, the process leaves no core
 * dump.
 */
template <typename T>
requires std::is_trivially_destructible_v<T>
class Secret {
public:
    Secret() : pages_(sizeof(T)), value_(std::construct_at(static_cast<T*>(pages_.get()))) {}
    T& operator*() { return *value_; }
    T* operator->() { return value_; }

private:
    SecretPages pages_;
    T* value_;
};

/** A growing buffer of secret bytes. */
class SecretBytes {
public:
    [[nodiscard]] std::span<std::uint8_t> bytes() { return {begin(), size_}; }
    [[nodiscard]] std::string_view text() { return {reinterpret_cast<const char*>(begin()), size_}; }
    void push_back(std::uint8_t byte);
    /** Keep only the first `size` bytes. */
    void truncate(std::size_t size) { size_ = size; }
    /** Append the bytes that are available, at least one. Returns false at the end of the file. */
    bool append_from(Input& file);

private:
    [[nodiscard]] std::uint8_t* begin() { return static_cast<std::uint8_t*>(pages_->get()); }
    void make_room();

    std::size_t capacity_ = 8 * 1024;
    std::size_t size_ = 0;
    std::unique_ptr<SecretPages> pages_ = std::make_unique<SecretPages>(capacity_);
};

/** Append the whole file, which must not be larger than 16 MiB. */
void read_secret(Input& file, SecretBytes& secret);

/**
 * Decode hexadecimal digits with an optional newline, in place.
 *
 * @param what  the name of the digits' source for the error message.
 */
void decode_hex(SecretBytes& secret, const std::string& what);

/** Compare octets in constant time. The time depends only on the number of octets. */
[[nodiscard]] bool equal_in_constant_time(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b);

/** A cipher key as the library expects it: bytes 0 to 3 of the file are word 0, least significant byte first. */
using Key = std::array<std::uint32_t, VRX_KEY_WORDS>;

/** Print a warning if anyone except the owner can read a file. @param what  its contents, e.g. "key". */
void warn_if_others_can_read(const Input& file, const char* what);

}  // namespace vrx::app

#endif
