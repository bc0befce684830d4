// Proves that the number of division steps in the inversion is enough for every number and modulus.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

#include "prove/solver.hpp"

namespace {

/** A point (f, g) after n steps, scaled by 2^n to integers. */
struct Point {
    mpz_class f, g;
    bool operator<(const Point& b) const { return f != b.f ? f < b.f : g < b.g; }
    bool operator==(const Point& b) const { return f == b.f && g == b.g; }
};
using Polygon = std::vector<Point>;

/** True if c is on the line from a to b, or to the right of it. */
bool turns_right(const Point& a, const Point& b, const Point& c) {
    return (b.f - a.f) * (c.g - b.g) <= (b.g - a.g) * (c.f - b.f);
}

Polygon hull(Polygon points) {
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
    if (points.size() < 3) return points;
    Polygon r;
    for (int side = 0; side < 2; ++side) {
        const std::size_t first = r.size();
        for (const Point& p : points) {
            while (r.size() > first + 1 && turns_right(r[r.size() - 2], r.back(), p)) r.pop_back();
            r.push_back(p);
        }
        r.pop_back();
        std::reverse(points.begin(), points.end());
    }
    return r;
}

mpz_class largest(const Polygon& p, mpz_class Point::*coordinate) {
    mpz_class r = 0;
    for (const Point& point : p) r = std::max(r, mpz_class(abs(point.*coordinate)));
    return r;
}

/**
 * Returns the number of steps after which g is certainly 0, for initial values (delta, f, g) with 0 <= g <= f < 2^bits.
 * For each possible delta, a convex polygon contains all possible (f, g). A step maps the corners of these polygons to
 * corners of the next polygons. If |g| is below 1 in a polygon, then g is 0. (P. Wuille, "Bounds on divsteps iterations
 * in safegcd", 2021, for delta = 1/2.)
 */
unsigned steps_needed(unsigned bits, int twice_delta) {
    const mpz_class end = mpz_class(1) << bits;
    std::map<int, Polygon> now = {{twice_delta, {{0, 0}, {end, 0}, {end, end}}}};
    for (unsigned n = 0;; ++n) {
        const mpz_class unit = mpz_class(1) << n;
        std::map<int, Polygon> next;
        for (const auto& [delta, polygon] : now) {
            if (largest(polygon, &Point::g) < unit || largest(polygon, &Point::f) < unit) continue;
            for (const Point& p : polygon) {
                if (delta > 0)
                    next[2 - delta].push_back({2 * p.g, p.g - p.f});
                else
                    next[2 + delta].push_back({2 * p.f, p.g + p.f});
                next[2 + delta].push_back({2 * p.f, p.g});
            }
        }
        if (next.empty()) return n;
        for (auto& [delta, polygon] : next) polygon = hull(std::move(polygon));
        now = std::move(next);
    }
}

/** Returns the maximum number of steps for any odd f below 2^bits and any g up to f, by trying all of them. */
unsigned steps_needed_by_trial(unsigned bits) {
    unsigned most = 0;
    for (int m = 1; m < 1 << bits; m += 2)
        for (int x = 0; x <= m; ++x) {
            int delta = 1, f = m, g = x;
            unsigned n = 0;
            for (; g != 0; ++n) {
                if (delta > 0 && g % 2 != 0) {
                    const int old = f;
                    delta = 2 - delta;
                    f = g;
                    g = (g - old) / 2;
                } else {
                    delta += 2;
                    g = (g + (g % 2 != 0 ? f : 0)) / 2;
                }
            }
            most = std::max(most, n);
        }
    return most;
}

TEST(division_steps, are_enough_for_all_numbers_and_moduli) {
    if (!vrx::prove::all_proofs()) GTEST_SKIP() << "this proof takes minutes; ./dev prove --all runs it";
    EXPECT_LE(steps_needed(256, 1), 590U);
}

// Control: the bound is never below the number of steps that some numbers need, and the initial value delta = 1 needs
// more steps.
TEST(division_steps, are_not_undercounted) {
    for (const unsigned bits : {3U, 6U, 9U}) EXPECT_GE(steps_needed(bits, 1), steps_needed_by_trial(bits)) << bits;
    EXPECT_GT(steps_needed(64, 2), steps_needed(64, 1));
}

}  // namespace
