// Secrets: where they are kept, and how a key is read from its file.
#ifndef VRX_APP_KEYS_HPP
#define VRX_APP_KEYS_HPP

#include <vrx.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

#include "files.hpp"

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

/** A cipher key as the library takes it: byte 0 to 3 of the file are word 0, least significant byte first. */
using Key = std::array<std::uint32_t, VRX_KEY_WORDS>;

/**
 * Read a key file: 32 bytes, or 64 hexadecimal digits with an optional line end. A file that others than its owner can
 * read draws a warning.
 *
 * @param path  "-" is standard input.
 * @return the identity of the file.
 */
FileId load_key(const std::string& path, Key& key);

}  // namespace vrx::app

#endif
