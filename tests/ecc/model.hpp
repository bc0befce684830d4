// Reference implementation of the curve functions, on GMP integers.
#ifndef VRX_TESTS_ECC_MODEL_HPP
#define VRX_TESTS_ECC_MODEL_HPP

#include <gmpxx.h>

#include <optional>
#include <utility>

#include "ecc_support.hpp"

namespace vrx::test::model {

using Z = mpz_class;

inline Z of(const std::uint32_t* digits, std::size_t count = VRX_ECC_DIGITS) {
    Z n;
    mpz_import(n.get_mpz_t(), count, -1, sizeof *digits, 0, 0, digits);
    return n;
}
inline Z of(const Digits& n) { return of(n.data()); }

/** Returns the low 288 bits of a number; negative numbers are in two's complement. */
inline Digits digits(const Z& n) {
    Z low;
    mpz_fdiv_r_2exp(low.get_mpz_t(), n.get_mpz_t(), 288);
    Digits out;
    mpz_export(out.data(), nullptr, -1, sizeof(std::uint32_t), 0, 0, low.get_mpz_t());
    return out;
}

/** Returns the non-negative remainder; modulo 0, returns 0. */
inline Z mod(const Z& n, const Z& m) {
    Z r = 0;
    if (m != 0) mpz_mod(r.get_mpz_t(), n.get_mpz_t(), m.get_mpz_t());
    return r;
}

/** Returns the inverse, or 0 if there is none. */
inline Z inverse(const Z& n, const Z& m) {
    Z r;
    if (m < 2 || mpz_invert(r.get_mpz_t(), n.get_mpz_t(), m.get_mpz_t()) == 0) return 0;
    return r;
}

/** A 288-bit number in two's complement. */
inline Z as_signed(const Z& n) { return mpz_tstbit(n.get_mpz_t(), 287) != 0 ? Z(n - (Z(1) << 288)) : n; }

/** (0, 0) is the point at infinity. */
struct Point {
    Z x = 0, y = 0;
    [[nodiscard]] bool infinite() const { return x == 0 && y == 0; }
    bool operator==(const Point& other) const { return x == other.x && y == other.y; }
};

struct PointJ {
    Z x = 0, y = 0, z = 0;
    [[nodiscard]] bool infinite() const { return x == 0 && y == 0; }
};

inline Point of(const EcPoint& p) { return {of(p.x), of(p.y)}; }
inline PointJ of(const EcPointJ& p) { return {of(p.x), of(p.y), of(p.z)}; }
inline std::array<Digits, 2> coordinates(const Point& p) { return {digits(p.x), digits(p.y)}; }
inline std::array<Digits, 3> coordinates(const PointJ& p) { return {digits(p.x), digits(p.y), digits(p.z)}; }

struct Curve {
    Z a, b, p, q;
    Point g;
    bool table;
    std::vector<Point> pp;

    explicit Curve(const EcParamSet& set)
        : a(of(set.a)), b(of(set.b)), p(of(set.p)), q(of(set.q)), g(of(set.G)), table(set.has_precomp == 1) {
        for (const EcPoint& entry : set.pp) pp.push_back(of(entry));
    }

    [[nodiscard]] Z inv(const Z& n) const { return inverse(n, p); }
    [[nodiscard]] bool contains(const Point& r) const { return mod(r.y * r.y - (r.x * r.x + a) * r.x - b, p) == 0; }

    // The group law as in textbooks, for points on the curve with coordinates below p.

    [[nodiscard]] Point group_sum(const Point& s, const Point& t) const {
        if (s.infinite()) return t;
        if (t.infinite()) return s;
        if (s.x == t.x && mod(s.y + t.y, p) == 0) return {};
        const Z slope =
            s.x == t.x ? mod((3 * s.x * s.x + a) * inv(2 * s.y), p) : mod((t.y - s.y) * inv(mod(t.x - s.x, p)), p);
        const Z x = mod(slope * slope - s.x - t.x, p);
        return {x, mod(slope * (s.x - x) - s.y, p)};
    }
    [[nodiscard]] Point group_multiple(const Z& k, const Point& s) const {
        Point r;
        for (std::size_t i = mpz_sizeinbase(k.get_mpz_t(), 2); i-- != 0;) {
            r = group_sum(r, r);
            if (mpz_tstbit(k.get_mpz_t(), i) != 0) r = group_sum(r, s);
        }
        return r;
    }

    // The formulas of the exported functions, for any operands.

    [[nodiscard]] Point to_affine(const PointJ& s) const {
        const Z zz = mod(s.z * s.z, p);
        const Z zzz = mod(zz * s.z, p);
        return {mod(s.x * inv(zz), p), mod(s.y * inv(zzz), p)};
    }
    [[nodiscard]] static PointJ to_jacobian(const Point& s) { return {s.x, s.y, 1}; }
    [[nodiscard]] PointJ reduced(const PointJ& s) const { return {mod(s.x, p), mod(s.y, p), mod(s.z, p)}; }

    [[nodiscard]] PointJ twice(const PointJ& t) const {
        if (t.infinite()) return {};
        const Z s = 4 * t.x * t.y * t.y;
        const Z m = 3 * (t.x * t.x - t.z * t.z * t.z * t.z);
        const Z x = m * m - 2 * s;
        return reduced({x, m * (s - x) - 8 * t.y * t.y * t.y * t.y, 2 * t.y * t.z});
    }
    [[nodiscard]] PointJ sum(const PointJ& s, const Point& t) const {
        if (s.infinite()) return to_jacobian(t);
        return finite_sum(s, to_jacobian(t));
    }
    [[nodiscard]] PointJ sum(const PointJ& s, const PointJ& t) const {
        if (s.infinite()) return t;
        if (t.infinite()) return s;
        return finite_sum(s, t);
    }
    [[nodiscard]] PointJ finite_sum(const PointJ& s, const PointJ& t) const {
        const Z u1 = s.x * t.z * t.z, u2 = t.x * s.z * s.z;
        const Z s1 = s.y * t.z * t.z * t.z, s2 = t.y * s.z * s.z * s.z;
        const Z h = mod(u2 - u1, p), r = mod(s2 - s1, p);
        const Z x = mod(r * r - h * h * h - 2 * u1 * h * h, p);
        return {x, mod(r * (u1 * h * h - x) - s1 * h * h * h, p), mod(s.z * t.z * h, p)};
    }

    /** The difference of two coordinates as a signed nine-digit number. */
    [[nodiscard]] Z difference(const Z& u, const Z& v) const { return mod(as_signed(of(digits(u - v))), p); }

    [[nodiscard]] Point sum(const Point& s, const Point& t) const {
        if (t.infinite()) return s;
        if (s.infinite()) return t;
        Z slope;
        if (s.x == t.x) {
            if (mod(s.y + t.y, p) == 0) return {};
            slope = mod((3 * s.x * s.x + a) * inv(mod(2 * s.y, p)), p);
        } else {
            slope = mod(difference(t.y, s.y) * inv(difference(t.x, s.x)), p);
        }
        const Z x = mod(slope * slope - s.x - t.x, p);
        return {x, mod(slope * (s.x - x) - s.y, p)};
    }

    [[nodiscard]] Point table_multiple(const Z& k) const {
        PointJ sums, partial;
        for (unsigned v = 15; v != 0; --v) {
            for (unsigned m = 0; m < pp.size(); ++m)
                if (mod(k >> 4 * m, 16) == v) partial = sum(partial, pp[m]);
            if (sums.infinite())
                sums = partial;
            else if (!partial.infinite())
                sums = sums.x == partial.x ? twice(sums) : sum(sums, partial);
        }
        return to_affine(sums);
    }
    /** For k = 0, returns the point at infinity. */
    [[nodiscard]] Point jacobian_multiple(const Z& k, const Point& s) const {
        PointJ r;
        for (std::size_t i = mpz_sizeinbase(k.get_mpz_t(), 2); i-- != 0;) {
            r = twice(r);
            if (mpz_tstbit(k.get_mpz_t(), i) != 0) r = sum(r, s);
        }
        return to_affine(r);
    }
    [[nodiscard]] Point affine_multiple(const Z& k, const Point& s) const {
        Point r;
        if (s.infinite()) return r;
        Point d = s;
        for (Z rest = abs(as_signed(k)); rest != 0; rest >>= 1, d = sum(d, d))
            if (mpz_tstbit(rest.get_mpz_t(), 0) != 0) r = sum(r, d);
        return r;
    }
    [[nodiscard]] Point base_multiple(const Z& k) const { return table ? table_multiple(k) : affine_multiple(k, g); }
    [[nodiscard]] Point point_multiple(const Z& k, const Point& s) const {
        return table ? jacobian_multiple(k, s) : affine_multiple(k, s);
    }

    // Signatures.

    [[nodiscard]] Z digest_number(const std::uint32_t* digest) const {
        const Z e = mod(of(digest, VRX_ECC_DIGEST_WORDS), q);
        return e == 0 ? Z(1) : e;
    }
    /** (r, s) */
    [[nodiscard]] std::pair<Z, Z> sign(const std::uint32_t* digest, const Z& k, const Z& d) const {
        const Z r = mod(base_multiple(k).x, q);
        return {r, mod(r * d + k * digest_number(digest), q)};
    }
    [[nodiscard]] bool verify(const std::uint32_t* digest, const Point& key, const Z& r, const Z& s) const {
        if (r == 0) return false;
        const Z v = inverse(digest_number(digest), q);
        const Point c = sum(base_multiple(mod(s * v, q)), point_multiple(mod(-r * v, q), key));
        return mod(c.x, q) == r;
    }
};

}  // namespace vrx::test::model

#endif
