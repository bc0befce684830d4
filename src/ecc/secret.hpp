// Work on secrets whose temporaries are too many to be wiped one by one.
#ifndef VRX_ECC_SECRET_HPP
#define VRX_ECC_SECRET_HPP

#include "frame/wipe.hpp"

namespace vrx::ecc {

template <typename Work>
[[gnu::noinline]] void run_below(const Work& work) {
    work();
}

/** Do some work in stack frames of its own, and zero what it leaves there. */
template <typename Work>
void on_wiped_stack(const Work& work) {
    run_below(work);
    wipe_stack<4096>();
}

}  // namespace vrx::ecc

#endif
