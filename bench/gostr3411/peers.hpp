// Peers: GOST R 34.11-94 in other libraries, with the CryptoPro parameter set.
#ifndef VRX_BENCH_GOSTR3411_PEERS_HPP
#define VRX_BENCH_GOSTR3411_PEERS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace peers {

using Digest = std::array<std::uint8_t, 32>;

constexpr std::array<std::uint8_t, 8> password = {'p', 'a', 's', 's', 'w', 'o', 'r', 'd'};
constexpr std::array<std::uint8_t, 8> salt = {'s', 'o', 'd', 'i', 'u', 'm', ' ', 'c'};

/** Runs a task: hash or HMAC of `size` bytes, or PBKDF2 with `size` iterations. */
using Function = std::function<Digest(const std::uint8_t* data, std::size_t size)>;

struct Row {
    std::string work;  // hash, hmac or pbkdf2
    std::string name;
    std::string package;
    /** Empty if the library is not installed, or lacks the function. */
    Function run;
};

const std::vector<Row>& rows();

}  // namespace peers

#endif
