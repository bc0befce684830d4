// Rows of the curve benchmark. Every version cycles through 16 keys and digests. Results are checked before the
// measurement starts. Versions that accept a custom random source get one that takes almost no time.
//
// A row's name is OPERATION/VERSION/CURVE. The operations are sign, verify, key_pair, public_key, agree (with the hash
// of the shared point) and hash (only that hash).
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

/** Fills a buffer from a fast generator with a fixed seed. */
void fill(void* buffer, std::size_t length);

/** Aborts the program if an operation failed. */
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

/** Adds a row that only states why it was not measured. */
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

/** A curve and its name in rows. */
struct NamedCurve {
    const char* name;
    std::uint32_t index;  ///< index of its parameter set
};
inline constexpr NamedCurve named_curves[] = {{"A", 1}, {"B", 2}, {"C", 3}, {"Test", 0}};

/** Adds the rows of other libraries, or one row for each library that is not installed. */
void add_peers();

}  // namespace bench

#endif
