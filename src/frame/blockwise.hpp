// Messages in pieces: buffers an incomplete block until it is full.
#ifndef VRX_FRAME_BLOCKWISE_HPP
#define VRX_FRAME_BLOCKWISE_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "frame/secret_work.hpp"

namespace vrx {

/** The unread part of an input. */
struct Input {
    const std::uint8_t* data;
    std::size_t length;

    /** Returns the next n bytes and advances. */
    const std::uint8_t* take(std::size_t n) {
        length -= n;
        return std::exchange(data, data + n);
    }
};

/** When a full block is processed. */
enum class Last {
    at_once,  // as soon as it is full
    deferred  // when another byte follows: the last block of a message is processed when the message ends
};

/**
 * A view of the one-block buffer in a record. The buffer holds `filled` bytes. The caller stores filled() or room() in
 * the record afterwards.
 */
template <std::size_t size, Last last = Last::at_once>
class Blockwise {
    static_assert(size <= longest_copy);

public:
    Blockwise(std::uint8_t* block, std::size_t filled) : block_(block), filled_(filled) {}

    [[nodiscard]] std::size_t filled() const { return filled_; }
    [[nodiscard]] std::size_t room() const { return full() ? 0 : size - filled_; }
    [[nodiscard]] bool full() const { return filled_ >= size; }

    /** Copies input until the block is full. */
    void fill(Input& in) {
        const std::size_t n = std::min(room(), in.length);
        if (n != 0) copy_secret(block_ + filled_, in.take(n), n);
        filled_ += n;
    }

    /** Calls change(byte) for each buffer byte that an input of this length would fill. */
    template <typename Change>
    void fill(std::size_t length, Change change) {
        const std::size_t end = std::min(size, filled_ + length);
        for (; filled_ < end; ++filled_) change(block_[filled_]);
    }

    /** The number of blocks that can be processed directly from the input. */
    [[nodiscard]] static std::size_t whole(const Input& in) {
        if (last == Last::deferred) return in.length == 0 ? 0 : (in.length - 1) / size;
        return in.length / size;
    }

    /** Copies the rest of the input, less than a block, to the start of the buffer. */
    void keep(const Input& rest) {
        if (rest.length != 0) copy_secret(block_, rest.data, rest.length);
        filled_ = rest.length;
    }

private:
    std::uint8_t* block_;
    std::size_t filled_;
};

}  // namespace vrx

#endif
