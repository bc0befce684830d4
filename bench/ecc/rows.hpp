// Rows of the benchmark of curves: every version works on 16 keys and digests in turn; results are checked before the
// clock starts. Random numbers cost next to nothing, for all that let the caller choose.
//
// A row's name is OPERATION/VERSION/CURVE. The operations are sign, verify, key_pair, public_key, agree (with the hash
// of the shared point), and hash (that hash alone).
#ifndef VRX_BENCH_ECC_ROWS_HPP
#define VRX_BENCH_ECC_ROWS_HPP

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vrx.h"

namespace bench {

inline constexpr std::size_t count = 16;

/** Random bytes from a generator that is fast, and the same in every run. */
void fill(void* buffer, std::size_t length);

/** Ends the program where a result is wrong. */
void check(bool holds, const char* what);

/** Runs operation(i) for i = 0, 1, ..., 15, 0, ... */
template <typename Operation>
void measure(benchmark::State& state, const Operation& operation) {
    std::size_t i = 0;
    for (auto _ : state) {
        operation(i++ % count);
        benchmark::ClobberMemory();
    }
}

template <typename Operation>
void row(const std::string& name, Operation operation) {
    benchmark::RegisterBenchmark(name.c_str(), [operation](benchmark::State& state) {
        measure(state, operation);
    })->Unit(benchmark::kMicrosecond);
}

/** A row of something that is not there. */
inline void missing_row(const std::string& name, const std::string& reason) {
    benchmark::RegisterBenchmark(name.c_str(), [reason](benchmark::State& state) {
        state.SkipWithError(reason.c_str());
    })->Unit(benchmark::kMicrosecond);
}

struct Party {
    std::uint32_t d[VRX_ECC_DIGITS];
    EcPoint key;
    std::uint32_t digest[VRX_ECC_DIGEST_WORDS];
    EcSignature signature;
    std::uint8_t ukm[VRX_UKM_SIZE];
};
using Parties = std::vector<Party>;

std::shared_ptr<Parties> parties_on(const EcParamSet& set);

/** A curve by the name that rows have for it. */
struct NamedCurve {
    const char* name;
    std::uint32_t index;  ///< of its parameter set
};
inline constexpr NamedCurve named_curves[] = {{"A", 1}, {"B", 2}, {"C", 3}, {"Test", 0}};

/** Rows of other programs, or one each that says what is not installed. */
void add_peers();

}  // namespace bench

#endif
