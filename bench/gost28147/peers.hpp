// GOST 28147-89 of other libraries, one buffer at a time with a key that is already set.
//
// Where they can they use the S-boxes and the mode of the row; where they only have others (S-boxes of their own, a
// plain counter, key meshing that cannot be switched off) the work is the same to within a few instructions a block.
#ifndef VRX_BENCH_GOST28147_PEERS_HPP
#define VRX_BENCH_GOST28147_PEERS_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace peers {

struct Row {
    std::string mode;
    std::string name;
    std::string package;
    /** Makes what processes the buffer; empty where the library lacks it. Not set where the library is missing. */
    std::function<std::function<void()>(const std::uint8_t* in, std::uint8_t* out, std::size_t size)> open;
};

const std::vector<Row>& rows();

}  // namespace peers

#endif
