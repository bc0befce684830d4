// Secrets: where they are kept, and how a key is read from its file.
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

/** Pages for secrets: kept out of the swap where the system allows it, and wiped when they are given back. */
class SecretPages {
public:
    explicit SecretPages(std::size_t size);
    SecretPages(const SecretPages&) = delete;
    SecretPages& operator=(const SecretPages&) = delete;
    ~SecretPages();
    [[nodiscard]] void* get() const { return pages_; }

private:
    void* pages_;
    std::size_t size_;
};

/** A plain record on pages of its own for secrets. From the first one on the process leaves no core dump. */
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

/** Secret bytes, as many as come. */
class SecretBytes {
public:
    [[nodiscard]] std::span<std::uint8_t> bytes() { return {begin(), size_}; }
    [[nodiscard]] std::string_view text() { return {reinterpret_cast<const char*>(begin()), size_}; }
    void push_back(std::uint8_t byte);
    /** Forget all bytes but so many. */
    void truncate(std::size_t size) { size_ = size; }
    /** Append what is there, at least one byte; false at the end. */
    bool append_from(Input& file);

private:
    [[nodiscard]] std::uint8_t* begin() { return static_cast<std::uint8_t*>(pages_->get()); }
    void make_room();

    std::size_t capacity_ = 8 * 1024;
    std::size_t size_ = 0;
    std::unique_ptr<SecretPages> pages_ = std::make_unique<SecretPages>(capacity_);
};

/** Append all of a file, which may not be longer than 16 MiB. */
void read_secret(Input& file, SecretBytes& secret);

/**
 * Replace hexadecimal digits, and an optional newline, by the bytes that they stand for.
 *
 * @param what  holds them, for the message where they are something else.
 */
void decode_hex(SecretBytes& secret, const std::string& what);

/** Whether octets are the same, in a time that depends on their number alone. */
[[nodiscard]] bool equal_in_constant_time(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b);

/** A cipher key as the library takes it: byte 0 to 3 of the file are word 0, least significant byte first. */
using Key = std::array<std::uint32_t, VRX_KEY_WORDS>;

/**
 * Read a key file: 32 bytes, or 64 hexadecimal digits with an optional newline. A file that others than its owner can
 * read draws a warning.
 *
 * @param path  "-" is standard input.
 * @return the identity of the file.
 */
FileId load_key(const std::string& path, Key& key);

/** Warn of a file that others than its owner can read. @param what  the file holds, "key". */
void warn_if_others_can_read(const Input& file, const char* what);

}  // namespace vrx::app

#endif
