#include "frame/outcome.hpp"

namespace vrx {

bool public_outcome(std::uint64_t bit) {
    static const volatile bool facts[] = {false, true};
    return facts[bit & 1];
}

}  // namespace vrx
