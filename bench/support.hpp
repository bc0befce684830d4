// Rows that time a function and its baseline alternately, so that the load of the machine affects both alike.
#ifndef VRX_BENCH_SUPPORT_HPP
#define VRX_BENCH_SUPPORT_HPP

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace bench {

using Job = std::function<void()>;

/** Returns the CPU seconds of this thread, which exclude the time of other processes. */
inline double clock() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

inline double seconds(const Job& job, int times) {
    const double start = clock();
    for (int i = 0; i < times; ++i) job();
    return (clock() - start) / times;
}

inline double median(std::vector<double> samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

/** Reports the throughput of `job` and, as `ratio`, its speed-up over `baseline`: medians of the samples. */
inline void compare(benchmark::State& state, const Job& baseline, const Job& job, std::size_t bytes) {
    constexpr double sample = 50e-6;  // much longer than reading the clock takes
    const auto times = [](const Job& j) { return std::max(1, static_cast<int>(sample / seconds(j, 1))); };
    baseline();
    job();
    const int slow_times = times(baseline);
    const int fast_times = times(job);
    std::vector<double> slow;
    std::vector<double> fast;
    for (auto _ : state) {
        slow.push_back(seconds(baseline, slow_times));
        fast.push_back(seconds(job, fast_times));
        state.SetIterationTime(fast.back());
    }
    state.counters["MB/s"] = static_cast<double>(bytes) / median(fast) / 1e6;
    state.counters["ratio"] = median(slow) / median(fast);
}

/** Adds the compiler and the default engine to the head of a report. */
inline void describe(const std::string& engine) {
    benchmark::AddCustomContext("engine", engine);
#ifdef __clang__
    benchmark::AddCustomContext("compiler", "clang++ " __clang_version__);
#else
    benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
#endif
}

inline void add(const std::string& name, std::function<void(benchmark::State&)> run, int samples = 101) {
    benchmark::RegisterBenchmark(name.c_str(), std::move(run))->UseManualTime()->Iterations(samples);
}

/** The number of samples: enough for a good median, fewer if one sample takes long. */
inline int samples(std::size_t bytes) { return bytes < (1U << 20) ? 101 : 21; }

/** A row for a peer that is not installed. */
inline void add_missing(const std::string& name, const std::string& package) {
    benchmark::RegisterBenchmark(name.c_str(), [package](benchmark::State& state) {
        state.SkipWithError((package + " is not installed").c_str());
    });
}

}  // namespace bench

#endif
