// Welch's t-test: do two classes of measurements have the same mean? The samples are not stored.
#ifndef VRX_BENCH_TIMING_WELCH_HPP
#define VRX_BENCH_TIMING_WELCH_HPP

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace timing {

class Welch {
public:
    void add(unsigned which, double x) {
        Class& c = classes_.at(which);
        const double delta = x - c.mean;
        c.mean += delta / ++c.count;
        c.squares += delta * (x - c.mean);
    }
    /** The number of measurements in the smaller class. */
    [[nodiscard]] double count() const { return std::min(classes_[0].count, classes_[1].count); }
    /** The difference of the means in units of its standard deviation. */
    [[nodiscard]] double t() const {
        double variance = 0;
        for (const Class& c : classes_) variance += c.squares / (c.count - 1) / c.count;
        return variance > 0 ? (classes_[0].mean - classes_[1].mean) / std::sqrt(variance) : 0;
    }

private:
    struct Class {
        double count = 0, mean = 0, squares = 0;
    };
    std::array<Class, 2> classes_;
};

/**
 * Performs the test over all measurements, and over the measurements below each of several limits. Interrupts cause the
 * slowest measurements, and a leak may be visible only in the fast measurements (O. Reparaz, J. Balasch, I.
 * Verbauwhede, "Dude, is my code constant time?", 2017).
 */
class CroppedWelch {
public:
    /** Sets the limits to quantiles of a first batch, up to 1 - 2^-10. That batch is not used otherwise. */
    explicit CroppedWelch(std::vector<double> first_batch) {
        std::sort(first_batch.begin(), first_batch.end());
        for (std::size_t i = 0; i < limits; ++i) {
            const double below = 1 - std::pow(0.5, 10.0 * static_cast<double>(i + 1) / limits);
            limit_.at(i) =
                first_batch.at(static_cast<std::size_t>(below * static_cast<double>(first_batch.size() - 1)));
        }
    }
    void add(unsigned which, double x) {
        all_.add(which, x);
        for (std::size_t i = 0; i < limits; ++i)
            if (x < limit_.at(i)) below_.at(i).add(which, x);
    }
    /** The largest |t| of all tests with enough measurements. */
    [[nodiscard]] double largest_t() const {
        double largest = std::abs(all_.t());
        for (const Welch& test : below_)
            if (test.count() >= enough) largest = std::max(largest, std::abs(test.t()));
        return largest;
    }

private:
    static constexpr std::size_t limits = 20;
    static constexpr double enough = 1000;
    Welch all_;
    std::array<double, limits> limit_{};
    std::array<Welch, limits> below_;
};

}  // namespace timing

#endif
