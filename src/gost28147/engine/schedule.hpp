// The key schedule: the key words in the order of the rounds.
#ifndef VRX_GOST28147_ENGINE_SCHEDULE_HPP
#define VRX_GOST28147_ENGINE_SCHEDULE_HPP

#include <cstdint>
#include <cstring>

#include "frame/wipe.hpp"
#include "gost28147/block.hpp"

namespace vrx::gost28147 {

/**
 * The key words of eight rounds, in their order and in the opposite order. The 32 rounds are four passes of eight
 * rounds.
 */
class Schedule {
public:
    explicit Schedule(Key key) { set(key); }
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;
    ~Schedule() { wipe(this, sizeof *this); }

    void set(Key key) {
        for (unsigned i = 0; i < VRX_KEY_WORDS; ++i) forward_[i] = backward_[VRX_KEY_WORDS - 1 - i] = key[i];
    }
    void set(const Schedule& other) { set(Key(other.forward_)); }
    void store(std::uint32_t* words) const { std::memcpy(words, forward_, sizeof forward_); }

    /**
     * Returns the words of a pass, 0 to 3. In encryption, the last pass has the opposite order; in decryption, all
     * passes except the first.
     */
    [[nodiscard]] const std::uint32_t* pass(unsigned number, bool decrypting) const {
        return number < (decrypting ? 1U : 3U) ? forward_ : backward_;
    }

private:
    std::uint32_t forward_[VRX_KEY_WORDS];
    std::uint32_t backward_[VRX_KEY_WORDS];
};

}  // namespace vrx::gost28147

#endif
