// Domains: the arithmetic for a parameter set. Each algorithm is a template over a domain, written once, and
// with_domain() picks the domain once per call.
//
//     Builtin<Curve>  built-in sets: words and the engines of field/, constant-time except for functions named _vartime
//     General         any parameter record: residues of digits, used as they are
//
// Builtin accepts only these inputs:
//
//     set      a, b, p, q, G and has_precomp, and pp if that is 1, equal those of a built-in set byte for byte
//     point    x and y are below p and on the curve
//     scalar   1 <= k < q
//
// For these inputs, the results of Builtin equal those of General digit for digit, because p is prime, G has the prime
// order q with cofactor 1, and no operand is infinite. For any other input, the operations of Builtin return nullopt.
// The algorithm then returns nullopt to with_domain(), which runs the algorithm again in General. There, no operation
// returns nullopt.
//
// Callers erase the temporaries on the stack; see depth::curves.
#ifndef VRX_ECC_DOMAIN_HPP
#define VRX_ECC_DOMAIN_HPP

#include <optional>

#include "ecc/curve.hpp"
#include "ecc/field/engine.hpp"
#include "ecc/field/order.hpp"
#include "ecc/multiples.hpp"
#include "frame/declassify.hpp"

namespace vrx::ecc {

/** Returns |n| for a signed n, in constant time. */
inline Number magnitude(const Number& n) {
    Number r;
    mpAbs(r.digits, n.digits, digit_count);
    return r;
}

inline field::Nine to_nine(const Number& n) {
    field::Nine r;
    std::memcpy(r.low.data(), n.digits, sizeof r.low);
    r.high = n.digits[digit_count - 1];
    return r;
}

inline void store(std::uint32_t* digits, const field::Words& words) {
    std::memcpy(digits, words.data(), sizeof words);
    digits[digit_count - 1] = 0;
}

inline EcPoint to_record(const field::AffinePoint& p) {
    EcPoint record;
    store(record.x, p.x);
    store(record.y, p.y);
    return record;
}

template <typename Point>
std::optional<EcPoint> to_record(const std::optional<Point>& p) {
    if (!p) return std::nullopt;
    return to_record(*p);
}

/** A number below the order of a built-in set, with the interface of Residue. */
template <typename Curve>
class BuiltinScalar {
    using Order = field::Order<Curve>;

public:
    explicit BuiltinScalar(const field::Words& words) : words_(words) {}

    [[nodiscard]] const field::Words& words() const { return words_; }
    [[nodiscard]] Number number() const {
        Number n;
        store(n.digits, words_);
        return n;
    }
    [[nodiscard]] BuiltinScalar reduced() const { return *this; }
    [[nodiscard]] BuiltinScalar small(std::uint32_t value) const { return BuiltinScalar(field::Words{value}); }
    [[nodiscard]] std::uint64_t is_zero() const { return field::is_zero(words_); }
    [[nodiscard]] BuiltinScalar inverse_vartime() const { return BuiltinScalar(Order::inverse_vartime(words_)); }

    friend BuiltinScalar operator*(const BuiltinScalar& u, const BuiltinScalar& v) {
        return BuiltinScalar(Order::product(u.words_, v.words_));
    }
    friend BuiltinScalar operator-(const BuiltinScalar& u) { return BuiltinScalar(Order::negative(u.words_)); }
    friend BuiltinScalar sum_of_products(const BuiltinScalar& a, const BuiltinScalar& b, const BuiltinScalar& u,
                                         const BuiltinScalar& v) {
        return BuiltinScalar(Order::sum_of_products(a.words_, b.words_, u.words_, v.words_));
    }
    friend BuiltinScalar conditional_move(std::uint64_t bit, const BuiltinScalar& a, const BuiltinScalar& b) {
        return BuiltinScalar(field::conditional_move(field::mask(bit), a.words_, b.words_));
    }

private:
    field::Words words_;
};

/** Numbers modulo the order of a built-in set. */
template <typename Curve>
struct BuiltinOrder {
    using Scalar = BuiltinScalar<Curve>;

    /** Reduces a number modulo q. */
    [[nodiscard]] Scalar remainder(const Number& n) const { return Scalar(field::Order<Curve>::reduced(to_nine(n))); }
    [[nodiscard]] Scalar remainder(const field::Words& x) const { return Scalar(field::Order<Curve>::reduced(x)); }
};

/** Numbers modulo any q. */
class GeneralOrder {
public:
    using Scalar = Residue;

    explicit GeneralOrder(const std::uint32_t* q) : q_(q) {}

    /** Returns a number as a residue modulo q, without reducing it. */
    [[nodiscard]] Scalar remainder(const Number& n) const { return {n, q_}; }
    [[nodiscard]] Scalar remainder(const Residue& x) const { return {x.number(), q_}; }

private:
    const std::uint32_t* q_;
};

template <typename Curve>
class Builtin : public BuiltinOrder<Curve> {
public:
    using typename BuiltinOrder<Curve>::Scalar;
    using Point = field::AffinePoint;

    /** Multiples of a point on the curve are on the curve, so they need no check. */
    static constexpr bool multiples_are_on_curve = true;

    [[nodiscard]] static constexpr bool has_table() { return Curve::a == -3; }
    [[nodiscard]] static const EcPoint& base_point() { return original_set(Curve::id).G; }

    /** Returns k as a scalar, or nullopt if k is not from 1 to q - 1. Declassifies whether k is in this range. */
    [[nodiscard]] std::optional<Scalar> scalar(const Number& k) const {
        const field::Nine n = to_nine(k);
        field::Words difference{};
        const std::uint64_t below = field::sub(difference, n.low, Curve::q);
        // n.high is below 2^32, so bit 63 of n.high - 1 is set only for n.high = 0.
        if (!declassify(below & (n.high - 1) >> 63 & (field::is_zero(n.low) ^ 1))) return std::nullopt;
        return Scalar(n.low);
    }

    /**
     * Returns the r of a signature as a scalar, or nullopt if no x-coordinate modulo q can equal r. r must be public.
     */
    [[nodiscard]] std::optional<Scalar> signature_r(const Number& r) const { return scalar(r); }

    /** k G from the table of the set. */
    [[nodiscard]] std::optional<Point> table_multiple(const Scalar& k) const {
        if (!has_table()) return std::nullopt;
        return base_multiple(k);
    }

    /** Computes k P with formulas for a = p - 3. The running time depends on P. */
    [[nodiscard]] std::optional<Point> jacobian_multiple(const EcPoint& p, const Scalar& k) const {
        // Deliberate: without a table, a is not p - 3, and these formulas do not yield a multiple of P.
        if (!has_table()) return std::nullopt;
        return multiple(p, k);
    }

    /** Computes k P with formulas for any a. The running time depends on P. */
    [[nodiscard]] std::optional<Point> affine_multiple(const EcPoint& p, const Scalar& k) const {
        return multiple(p, k);
    }

    /** True if x(z1 G + z2 Q) mod q = r. For public operands: not constant-time. */
    [[nodiscard]] std::optional<bool> sum_has_remainder(const Scalar& z1, const EcPoint& public_key, const Scalar& z2,
                                                        const Scalar& r) const {
        using field::Answer;
        const auto point = on_curve(public_key);
        if (!point) return std::nullopt;
        const Answer answer = field::engine().sum_has_remainder(Curve::id, z1.words(), z2.words(), *point, r.words());
        if (answer == Answer::not_covered) return std::nullopt;
        return answer == Answer::yes;
    }

private:
    [[nodiscard]] static std::optional<Point> on_curve(const EcPoint& p) {
        const field::Nine x = to_nine(load(p.x));
        const field::Nine y = to_nine(load(p.y));
        const Point point{x.low, y.low};
        if ((x.high | y.high) != 0 || !field::is_on_curve<Curve>(point)) return std::nullopt;
        return point;
    }

    [[nodiscard]] static std::optional<Point> base_multiple(const Scalar& k) {
        Point r;
        if (!field::engine().multiply_base(Curve::id, k.words(), r)) return std::nullopt;
        return r;
    }

    [[nodiscard]] static std::optional<Point> multiple(const EcPoint& p, const Scalar& k) {
        if (std::memcmp(&p, &base_point(), sizeof p) == 0) return base_multiple(k);
        const auto point = on_curve(p);
        Point r;
        if (!point || !field::engine().multiply(Curve::id, k.words(), *point, r)) return std::nullopt;
        return r;
    }
};

class General : public GeneralOrder {
public:
    using Point = Affine<Residue>;

    static constexpr bool multiples_are_on_curve = false;

    explicit General(const EcParamSet& set) : GeneralOrder(set.q), set_(set) {}

    [[nodiscard]] bool has_table() const { return ecc::has_table(set_); }
    [[nodiscard]] const EcPoint& base_point() const { return set_.G; }

    /** Accepts any number, and does not reduce it. */
    [[nodiscard]] std::optional<Scalar> scalar(const Number& k) const { return remainder(k); }

    /**
     * Returns r of a signature as a scalar, or nullopt if r is 0. Accepts r >= q, although no reduced number equals it.
     */
    [[nodiscard]] std::optional<Scalar> signature_r(const Number& r) const {
        if (is_zero(r)) return std::nullopt;
        return remainder(r);
    }

    /** k G from the table of the set. */
    [[nodiscard]] std::optional<Point> table_multiple(const Scalar& k) const;

    /** k P on a curve with a = p - 3; (0, 0) for k = 0. */
    [[nodiscard]] std::optional<Point> jacobian_multiple(const EcPoint& p, const Scalar& k) const;

    /** k P on any curve. */
    [[nodiscard]] std::optional<Point> affine_multiple(const EcPoint& p, const Scalar& k) const;

    /** True if x(z1 G + z2 Q) mod q = r. */
    [[nodiscard]] std::optional<bool> sum_has_remainder(const Scalar& z1, const EcPoint& public_key, const Scalar& z2,
                                                        const Scalar& r) const;

private:
    const EcParamSet& set_;
};

/** k G from the table of the set. */
template <typename Domain>
std::optional<typename Domain::Point> table_multiple(const Domain& domain, const Number& k) {
    const auto scalar = domain.scalar(k);
    if (!scalar) return std::nullopt;
    return domain.table_multiple(*scalar);
}

/** k P on a curve with a = p - 3; (0, 0) for k = 0. */
template <typename Domain>
std::optional<typename Domain::Point> jacobian_multiple(const Domain& domain, const EcPoint& p, const Number& k) {
    const auto scalar = domain.scalar(k);
    if (!scalar) return std::nullopt;
    return domain.jacobian_multiple(p, *scalar);
}

/** Computes |k| P on any curve, for a signed number k. */
template <typename Domain>
std::optional<typename Domain::Point> affine_multiple(const Domain& domain, const EcPoint& p, const Number& k) {
    const auto scalar = domain.scalar(magnitude(k));
    if (!scalar) return std::nullopt;
    return domain.affine_multiple(p, *scalar);
}

/** Computes k G with the table of the set if it has one, otherwise with the formulas for any curve. */
template <typename Domain>
std::optional<typename Domain::Point> base_multiple(const Domain& domain, const Number& k) {
    return domain.has_table() ? table_multiple(domain, k) : affine_multiple(domain, domain.base_point(), k);
}

/** Computes k P with the formulas for a = p - 3 if the set has a table, otherwise with the formulas for any curve. */
template <typename Domain>
std::optional<typename Domain::Point> point_multiple(const Domain& domain, const EcPoint& p, const Number& k) {
    return domain.has_table() ? jacobian_multiple(domain, p, k) : affine_multiple(domain, p, k);
}

/** Returns the curve of a built-in set. Several sets share a curve. */
std::optional<field::CurveId> builtin_curve(const EcParamSet& set);

/** Returns the built-in curve of order q. */
std::optional<field::CurveId> builtin_curve_of_order(const std::uint32_t* q);

/**
 * Returns algorithm(domain) for the built-in domain of the set, or for General if the built-in domain does not accept
 * the input.
 */
template <typename Algorithm>
auto with_domain(const EcParamSet& set, const Algorithm& algorithm) {
    if (const auto curve = builtin_curve(set))
        if (const auto result = with_curve(*curve, [&]<typename Curve>(Curve) { return algorithm(Builtin<Curve>{}); }))
            return *result;
    return *algorithm(General(set));
}

/** Returns algorithm(order), for an algorithm that needs only numbers modulo q. */
template <typename Algorithm>
auto with_order(const std::uint32_t* q, const Algorithm& algorithm) {
    if (const auto curve = builtin_curve_of_order(q))
        return with_curve(*curve, [&]<typename Curve>(Curve) { return algorithm(BuiltinOrder<Curve>{}); });
    return algorithm(GeneralOrder(q));
}

}  // namespace vrx::ecc

#endif
