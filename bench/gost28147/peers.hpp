// Peers: GOST 28147-89 in other libraries. They process one buffer at a time; key setup is not measured.
//
// A peer uses the S-boxes and the mode of the row if it has them. Some have other S-boxes, a plain counter, or key
// meshing that cannot be turned off; the work then differs by a few instructions per block.
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
    /** Returns a function that processes the buffer, or an empty one. Unset if the library is not installed. */
    std::function<std::function<void()>(const std::uint8_t* in, std::uint8_t* out, std::size_t size)> open;
};

const std::vector<Row>& rows();

}  // namespace peers

#endif
