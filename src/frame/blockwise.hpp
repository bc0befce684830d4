// A message in pieces: the block that waits for the rest of its bytes.
#ifndef VRX_FRAME_BLOCKWISE_HPP
#define VRX_FRAME_BLOCKWISE_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace vrx {

/** Bytes that are still to be read. */
struct Input {
    const std::uint8_t* data;
    std::size_t length;

    /** The next n bytes, which count as read. */
    const std::uint8_t* take(std::size_t n) {
        length -= n;
        return std::exchange(data, data + n);
    }
};

/** When a block that fills up is processed. */
enum class Last {
    at_once,  // as soon as it is full
    deferred  // not before a byte follows it, so that a message's last block is never processed early
};

/**
 * A view of a record's buffer of one block, of which the first `filled` bytes have come. The owner of the record stores
 * filled() or room() where it counts them.
 */
template <std::size_t size, Last last = Last::at_once>
class Blockwise {
public:
    Blockwise(std::uint8_t* block, std::size_t filled) : block_(block), filled_(filled) {}

    [[nodiscard]] std::size_t filled() const { return filled_; }
    [[nodiscard]] std::size_t room() const { return full() ? 0 : size - filled_; }
    [[nodiscard]] bool full() const { return filled_ >= size; }

    /** Copies input until the block is full. */
    void fill(Input& in) {
        const std::size_t n = std::min(room(), in.length);
        if (n != 0) std::memcpy(block_ + filled_, in.take(n), n);
        filled_ += n;
    }

    /** Passes each byte that input would fill to change(byte). */
    template <typename Change>
    void fill(std::size_t length, Change change) {
        const std::size_t end = std::min(size, filled_ + length);
        for (; filled_ < end; ++filled_) change(block_[filled_]);
    }

    /** How many blocks of an input can be processed where they are. */
    [[nodiscard]] static std::size_t whole(const Input& in) {
        if (last == Last::deferred) return in.length == 0 ? 0 : (in.length - 1) / size;
        return in.length / size;
    }

    /** Copies the rest of the input, which fits, to the front of the block. */
    void keep(const Input& rest) {
        if (rest.length != 0) std::memcpy(block_, rest.data, rest.length);
        filled_ = rest.length;
    }

private:
    std::uint8_t* block_;
    std::size_t filled_;
};

}  // namespace vrx

#endif
