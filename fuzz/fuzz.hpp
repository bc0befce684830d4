// Common parts of the fuzz targets: reading the input, and requiring a property.
#ifndef VRX_FUZZ_FUZZ_HPP
#define VRX_FUZZ_FUZZ_HPP

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace vrx::fuzz {

/** The bytes of an input, which are read from the beginning. After its end, zeros are read. */
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    std::uint8_t byte() {
        if (rest_.empty()) return 0;
        const std::uint8_t first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }
    void fill(std::span<std::uint8_t> out) {
        for (std::uint8_t& b : out) b = byte();
    }
    /** Returns the next bytes, at most `wanted`. */
    std::vector<std::uint8_t> take(std::size_t wanted) {
        const auto part = rest_.first(std::min(wanted, rest_.size()));
        rest_ = rest_.subspan(part.size());
        return {part.begin(), part.end()};
    }
    std::vector<std::uint8_t> rest() { return take(rest_.size()); }

private:
    std::span<const std::uint8_t> rest_;
};

/** Aborts if a property does not hold. */
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "property violated: %s\n", property);
    std::abort();
}

}  // namespace vrx::fuzz

#endif
