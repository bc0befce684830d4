// Exhaustive tests on small curves: all points and scalars, through the exported functions and the templates.
#include <map>

#include "ecc/multiples.hpp"
#include "ecc_support.hpp"
#include "support/sanitizers.hpp"

using namespace vrx::test;

namespace {

/** y^2 = x^3 + a x + b over the field of p elements, with odd prime order. */
struct ToyCurve {
    int p, a, b, order;
    bool base_point_at_zero;  ///< the base point has x = 0

    [[nodiscard]] bool has_table() const { return a == p - 3; }
    friend std::ostream& operator<<(std::ostream& out, const ToyCurve& c) {
        return out << "p" << c.p << "_a" << c.a << "_b" << c.b << "_q" << c.order;
    }
};

// Sets with and without a table, and with orders above and below p.
constexpr ToyCurve tiny[] = {{11, 8, 1, 17, true}, {11, 8, 10, 7, false}, {11, 2, 4, 17, true}, {11, 2, 7, 7, false}};
constexpr ToyCurve small[] = {
    {31, 28, 7, 37, true}, {31, 28, 15, 29, false}, {31, 1, 19, 37, true}, {31, 1, 23, 29, false}};
constexpr ToyCurve large[] = {
    {193, 190, 32, 199, true}, {193, 190, 6, 181, false}, {199, 1, 3, 197, false}, {199, 1, 63, 197, true}};

struct XY {
    int x = 0, y = 0;
    bool operator==(const XY&) const = default;
    auto operator<=>(const XY&) const = default;
};

/**
 * The group, represented by integers modulo its order. The point with index i is i times the base point, so the index
 * of a sum is the sum of the indices.
 */
class Group {
public:
    explicit Group(const ToyCurve& c) : c_(c) {
        for (int x = 0; x < c.p; ++x)
            for (int y = 0; y < c.p; ++y)
                if ((y * y - (x * x + c.a) * x - c.b) % c.p == 0) all_.push_back({x, y});
        EXPECT_EQ(static_cast<int>(all_.size()) + 1, c.order);
        XY base{-1, 0};
        for (const XY& point : all_)
            if (point.y != 0 && (point.x == 0) == c.base_point_at_zero) base = point;
        EXPECT_NE(base.x, -1);
        // Addition as in textbooks. Inverses are found by trial.
        points_ = {XY{}, base};
        while (static_cast<int>(points_.size()) < c.order) points_.push_back(textbook_sum(points_.back(), base));
        for (int i = 0; i < c.order; ++i) indices_[points_[static_cast<std::size_t>(i)]] = i;
        EXPECT_EQ(indices_.size(), points_.size());
    }

    [[nodiscard]] XY xy(long i) const {
        return points_[static_cast<std::size_t>(((i % c_.order) + c_.order) % c_.order)];
    }
    [[nodiscard]] EcPoint record(long i) const {
        const XY point = xy(i);
        return vrx::test::point(static_cast<std::uint32_t>(point.x), static_cast<std::uint32_t>(point.y));
    }
    [[nodiscard]] bool contains(const XY& point) const { return indices_.contains(point); }
    /** The index of a point, which must be in the group. */
    [[nodiscard]] int index(const EcPoint& point) const {
        const auto found = indices_.find({static_cast<int>(point.x[0]), static_cast<int>(point.y[0])});
        if (found == indices_.end() || coordinates(point) != coordinates(record(found->second))) return -1;
        return found->second;
    }
    [[nodiscard]] int index(const XY& point) const {
        const auto found = indices_.find(point);
        return found == indices_.end() ? -1 : found->second;
    }
    [[nodiscard]] int order() const { return c_.order; }

    [[nodiscard]] EcParamSet set() const {
        EcParamSet set{};
        set.a[0] = static_cast<std::uint32_t>(c_.a);
        set.b[0] = static_cast<std::uint32_t>(c_.b);
        set.p[0] = static_cast<std::uint32_t>(c_.p);
        set.q[0] = static_cast<std::uint32_t>(c_.order);
        set.G = record(1);
        long power = 1;
        for (EcPoint& entry : set.pp) {
            if (c_.has_table()) entry = record(power);
            power = power * 16 % c_.order;
        }
        set.has_precomp = c_.has_table();
        return set;
    }

    /**
     * Computes k G by the table method, which compares X coordinates without regard to Z. In such a small field,
     * different points sometimes have the same X, and the method then doubles instead of adding. In this case, the
     * function sets `coincided`.
     */
    [[nodiscard]] XY by_table(long k, bool& coincided) const {
        Raw a, b;
        for (long v = 15; v != 0; --v) {
            long power = 1;
            for (long rest = k; rest != 0; rest /= 16, power = power * 16 % c_.order) {
                const XY entry = xy(power);
                if (rest % 16 == v) b = sum(b, {entry.x, entry.y, 1});
            }
            const bool equal = !a.infinite() && !b.infinite() && a.x == b.x;
            coincided |= equal && affine(a) != affine(b);
            a = equal ? twice(a) : sum(a, b);
        }
        return affine(a);
    }

private:
    struct Raw {
        long x = 0, y = 0, z = 0;
        [[nodiscard]] bool infinite() const { return x == 0 && y == 0; }
    };
    [[nodiscard]] long rest(long n) const { return (n % c_.p + c_.p) % c_.p; }
    [[nodiscard]] Raw twice(const Raw& s) const {
        if (s.infinite()) return {};
        const long yy = rest(s.y * s.y), n = rest(4 * s.x * yy), zz = rest(s.z * s.z);
        const long m = rest(3 * (s.x - zz) * (s.x + zz)), x = rest(m * m - 2 * n);
        return {x, rest(m * (n - x) - 8 * yy * yy), rest(2 * s.y * s.z)};
    }
    [[nodiscard]] Raw sum(const Raw& s, const Raw& t) const {
        if (s.infinite()) return t;
        if (t.infinite()) return s;
        const long u1 = rest(s.x * t.z * t.z), s1 = rest(s.y * rest(t.z * t.z * t.z));
        const long h = rest(t.x * s.z * s.z - u1), r = rest(t.y * rest(s.z * s.z * s.z) - s1);
        const long v = rest(u1 * h * h), hhh = rest(h * h * h), x = rest(r * r - hhh - 2 * v);
        return {x, rest(r * (v - x) - s1 * hhh), rest(s.z * t.z * h)};
    }
    /** Returns (0, 0) if Z is 0. */
    [[nodiscard]] XY affine(const Raw& s) const {
        const int w = std::max(quotient(1, static_cast<int>(s.z)), 0);
        return {static_cast<int>(rest(s.x * w * w)), static_cast<int>(rest(s.y * rest(long{w} * w * w)))};
    }

    [[nodiscard]] int reduced(int n) const { return (n % c_.p + c_.p) % c_.p; }
    [[nodiscard]] int quotient(int n, int d) const {
        for (int i = 0; i < c_.p; ++i)
            if (reduced(i * d - n) == 0) return i;
        return -1;
    }
    [[nodiscard]] XY textbook_sum(const XY& s, const XY& t) const {
        const int slope = s == t ? quotient(3 * s.x * s.x + c_.a, 2 * s.y) : quotient(t.y - s.y, t.x - s.x);
        EXPECT_NE(slope, -1);
        const int x = reduced(slope * slope - s.x - t.x);
        return {x, reduced(slope * (s.x - x) - s.y)};
    }

    ToyCurve c_;
    std::vector<XY> all_, points_;
    std::map<XY, int> indices_;
};

class toy : public testing::TestWithParam<ToyCurve> {
protected:
    const Group group{GetParam()};
    const EcParamSet set = group.set();
    const long q = group.order();
};
using toy_keys = toy;
using toy_signatures = toy;

const auto name = [](const auto& i) { return testing::PrintToString(i.param); };
INSTANTIATE_TEST_SUITE_P(tiny, toy, testing::ValuesIn(tiny), name);
INSTANTIATE_TEST_SUITE_P(small, toy, testing::ValuesIn(small), name);
INSTANTIATE_TEST_SUITE_P(large, toy, testing::ValuesIn(large), name);
INSTANTIATE_TEST_SUITE_P(tiny, toy_signatures, testing::ValuesIn(tiny), name);
INSTANTIATE_TEST_SUITE_P(small, toy_keys, testing::ValuesIn(small), name);
INSTANTIATE_TEST_SUITE_P(large, toy_keys, testing::ValuesIn(large), name);

Digits scalar(long k) {
    Digits n(static_cast<std::uint32_t>(k < 0 ? -k : k));
    if (k < 0) mpChs(n.data(), n.data(), VRX_ECC_DIGITS);
    return n;
}

TEST_P(toy, sums_of_all_pairs_of_points) {
    for (long i = 0; i < q; ++i)
        for (long j = 0; j < q; ++j) {
            const EcPoint s = group.record(i), t = group.record(j);
            EcPoint r;
            epAdd(&r, &s, &t, &set);
            ASSERT_EQ(group.index(r), (i + j) % q) << i << " + " << j;
        }
}

TEST_P(toy, affine_multiples_of_all_points_by_all_scalars_of_either_sign) {
    for (long i = 0; i < q; ++i)
        for (long k = -q - 1; k <= q + 1; ++k) {
            const EcPoint p = group.record(i);
            EcPoint r;
            ASSERT_EQ(epMult(&r, &p, scalar(k).data(), &set), 0);
            ASSERT_EQ(group.index(r), i * std::abs(k) % q) << k << " x " << i;
        }
}

TEST_P(toy, jacobian_multiples_of_all_points_by_all_scalars) {
    if (!GetParam().has_table()) return;  // other formulas
    for (long i = 0; i < q; ++i)
        for (long k = 1; k < q; ++k) {
            const EcPoint p = group.record(i);
            EcPoint r;
            ASSERT_EQ(epMultJ(&r, &p, scalar(k).data(), &set), 0);
            ASSERT_EQ(group.index(r), i * k % q) << k << " x " << i;
        }
}

TEST_P(toy, multiples_by_table_for_all_scalars_below_the_order) {
    if (!GetParam().has_table()) return;  // no table
    int without_coincidence = 0;
    for (long k = 0; k < q; ++k) {
        EcPoint r;
        ASSERT_EQ(epMultPP(&r, scalar(k).data(), &set), 0);
        bool coincided = false;
        ASSERT_EQ(group.index(r), group.index(group.by_table(k, coincided))) << k;
        if (coincided) continue;
        ++without_coincidence;
        ASSERT_EQ(group.index(r), k) << k;
    }
    EXPECT_GT(without_coincidence, q / 3);
}

TEST_P(toy, jacobian_sums_and_doubles_of_all_representations) {
    const int p = GetParam().p;
    const auto scaled = [&](long i, int z) {
        const XY xy = group.xy(i);
        EcPointJ j{};
        j.x[0] = static_cast<std::uint32_t>(xy.x * z % p * z % p);
        j.y[0] = static_cast<std::uint32_t>(xy.y * z % p * z % p * z % p);
        j.z[0] = static_cast<std::uint32_t>(z);
        return j;
    };
    const auto index = [&](const EcPointJ& j) {
        EcPoint affine;
        epJ2A(&affine, &j, &set);
        return group.index(affine);
    };
    for (long i = 0; i < q; ++i)
        for (const int z : {1, 2, p / 2, p - 1}) {
            const EcPointJ s = scaled(i, z);
            EcPointJ r;
            if (GetParam().has_table()) {
                epDublJ(&r, &s, &set);
                ASSERT_EQ(index(r), 2 * i % q);
            }
            for (long j = 0; j < q; ++j) {
                if (i == j && i != 0) continue;  // undefined for equal points
                const EcPoint affine = group.record(j);
                if (j != 0) {
                    epAddJA(&r, &s, &affine, &set);
                    ASSERT_EQ(index(r), (i + j) % q);
                }
                epAddJChud(&r, &s, &(const EcPointJ&)scaled(j, p / 3), &set);
                ASSERT_EQ(index(r), (i + j) % q);
            }
        }
}

TEST_P(toy, public_key_check_is_correct_for_all_points_of_the_plane) {
    const int p = GetParam().p;
    for (int x = 0; x < p; ++x)
        for (int y = 0; y < p; ++y) {
            const EcPoint point = vrx::test::point(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
            // Infinity, (0, 0), is not on these curves.
            const bool on = (x != 0 || y != 0) && group.contains({x, y});
            ASSERT_EQ(ecCheckPublicKey(&set, &point), on ? VRX_OK : VRX_ERR_FAILED);
        }
}

/** The nonce that the next signature uses. */
long nonce;
int next_nonce(void* buffer, std::uint32_t length) {
    std::memset(buffer, 0, length);
    std::memcpy(buffer, &nonce, sizeof nonce);
    return 0;
}

struct Digest {
    std::uint32_t words[VRX_ECC_DIGEST_WORDS] = {};
    explicit Digest(long e) { words[0] = static_cast<std::uint32_t>(e); }
};

long inverse(long n, long q) {
    for (long i = 1; i < q; ++i)
        if (n * i % q == 1) return i;
    return 0;
}

/** Returns, for all k below the order, the index of k G as computed by the method of the set. */
std::vector<long> base_multiples(const Group& group, bool table) {
    std::vector<long> indices;
    bool coincided = false;
    for (long k = 0; k < group.order(); ++k) indices.push_back(table ? group.index(group.by_table(k, coincided)) : k);
    return indices;
}

TEST_P(toy_keys, signatures_with_all_nonces_keys_and_digests) {
    const std::vector<long> base = base_multiples(group, set.has_precomp == 1);
    // On small curves, the loops test all keys, nonces and digests. On large curves, they test only two digests.
    std::vector<long> digests{0, q - 1};
    if (q < 40 && !vrx::test::sanitized)
        for (long e = 1; e <= q; ++e) digests.push_back(e);
    long wrong_by_coincidence = 0, total = 0;
    for (long d = 1; d < q; ++d)
        for (const long digest : digests)
            for (nonce = 1; nonce < q; ++nonce) {
                EcSignature sig;
                ASSERT_EQ(ecSign(&set, Digest(digest).words, next_nonce, scalar(d).data(), &sig), VRX_OK);
                const long e = digest % q == 0 ? 1 : digest % q;
                const long r = group.xy(base[static_cast<std::size_t>(nonce)]).x % q;
                const long s = (r * d + nonce * e) % q;
                ASSERT_EQ(halves(sig), (std::array{scalar(r), scalar(s)})) << nonce << ' ' << d << ' ' << digest;
                if (q > 40 && (nonce + d) % 64 != 0) continue;
                // According to the group law, the signature is valid, unless r is 0.
                const long v = inverse(e, q);
                const long z1 = s * v % q, z2 = (q - r * v % q) % q;
                const long c = (base[static_cast<std::size_t>(z1)] + z2 * d) % q;
                const bool right = r != 0 && group.xy(c).x % q == r;
                const EcPoint key = group.record(d);
                ASSERT_EQ(ecVerify(&set, Digest(digest).words, &key, &sig), right ? VRX_OK : VRX_ERR_FAILED)
                    << nonce << ' ' << d << ' ' << digest;
                ++total;
                if (r != 0 && !right) ++wrong_by_coincidence;
                if (set.has_precomp == 0) {
                    ASSERT_EQ(right, r != 0);
                }
            }
    EXPECT_LT(2 * wrong_by_coincidence, total);
}

TEST_P(toy_signatures, verification_of_all_signatures_and_digests) {
    const std::vector<long> base = base_multiples(group, set.has_precomp == 1);
    for (long d = 0; d < q; d += 3)
        for (long e = 1; e < q; e += vrx::test::sanitized ? 5 : 1)
            for (long r = 0; r < 2 * q + 2; ++r)
                for (long s = 0; s < q + 2; ++s) {
                    EcSignature sig;
                    scalar(r).copy_to(sig.r);
                    scalar(s).copy_to(sig.s);
                    const long v = inverse(e, q);
                    const long z1 = s * v % q, z2 = ((-r * v) % q + q) % q;
                    const XY c = group.xy(base[static_cast<std::size_t>(z1)] + z2 * d);
                    const bool right = r % q != 0 && c.x % q == r;
                    const EcPoint key = group.record(d);
                    ASSERT_EQ(ecVerify(&set, Digest(e).words, &key, &sig), right ? VRX_OK : VRX_ERR_FAILED)
                        << "d " << d << " e " << e << " r " << r << " s " << s;
                }
}

/** The field of 31 elements. */
struct F31 {
    std::uint32_t n;
    static constexpr std::uint32_t p = 31;
    friend constexpr F31 operator+(F31 u, F31 v) { return {(u.n + v.n) % p}; }
    friend constexpr F31 operator-(F31 u, F31 v) { return {(u.n + p - v.n) % p}; }
    friend constexpr F31 operator*(F31 u, F31 v) { return {u.n * v.n % p}; }
    friend constexpr F31 operator*(std::uint32_t k, F31 u) { return {k % p * u.n % p}; }
    friend constexpr F31 signed_difference(F31 u, F31 v) { return u - v; }
    friend constexpr bool operator==(F31 u, F31 v) { return u.n == v.n; }
    [[nodiscard]] constexpr bool is_zero() const { return n == 0; }
    [[nodiscard]] constexpr F31 small(std::uint32_t k) const { return {k % p}; }
    [[nodiscard]] constexpr F31 inverse() const {
        F31 power{1};
        for (std::uint32_t i = 0; i < p - 2; ++i) power = power * *this;
        return power;
    }
};
static_assert(vrx::ecc::Field<F31> && vrx::ecc::Field<vrx::ecc::Residue>);

TEST(templates, run_over_another_field_and_give_the_same) {
    using namespace vrx::ecc;
    const Group group(small[0]);
    ASSERT_EQ(small[0].p, 31);
    const EcParamSet set = group.set();
    const F31 a{28};
    const auto affine = [&](long i) {
        const XY p = group.xy(i);
        return Affine<F31>{{static_cast<std::uint32_t>(p.x)}, {static_cast<std::uint32_t>(p.y)}};
    };
    const auto index = [&](const Affine<F31>& p) { return group.index(point(p.x.n, p.y.n)); };
    const long q = group.order();
    for (long i = 1; i < q; ++i)
        for (F31 z{1}; z.n < F31::p; ++z.n) {
            const Affine<F31> p = affine(i);
            const Jacobian<F31> s{p.x * z * z, p.y * z * z * z, z};
            ASSERT_EQ(index(to_affine(s)), i);
            ASSERT_EQ(index(to_affine(twice(s))), 2 * i % q);
            for (long j = 1; j < q; ++j) {
                ASSERT_EQ(index(sum(p, affine(j), a)), (i + j) % q);
                if (i == j) continue;
                ASSERT_EQ(index(to_affine(sum(s, affine(j)))), (i + j) % q);
                for (F31 w{1}; w.n < F31::p; w.n += 5) {
                    const Affine<F31> t = affine(j);
                    ASSERT_EQ(index(to_affine(sum(s, Jacobian<F31>{t.x * w * w, t.y * w * w * w, w}))), (i + j) % q);
                }
            }
        }
    for (long k = 1; k < q; ++k) {
        const Number n = vrx::ecc::small(static_cast<std::uint32_t>(k));
        const auto entry = [&](unsigned m) { return Affine<F31>{{set.pp[m].x[0]}, {set.pp[m].y[0]}}; };
        EcPoint by_table;
        epMultPP(&by_table, n.digits, &set);
        ASSERT_EQ(index(to_affine(multiple_by_table<F31>(n, entry))), group.index(by_table));
        for (long i = 0; i < q; ++i) {
            ASSERT_EQ(index(to_affine(multiple_from_top(affine(i), n))), k * i % q);
            ASSERT_EQ(index(multiple_from_bottom(affine(i), n, a)), k * i % q);
        }
    }
}

}  // namespace
