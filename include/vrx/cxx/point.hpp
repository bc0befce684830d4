/**
 * @file cxx/point.hpp  Points and their sums: point.h for C++.
 *
 * Running times depend on the values, see point.h. Nothing is allocated. Threads: points are plain values.
 */
#ifndef VRX_CXX_POINT_HPP
#define VRX_CXX_POINT_HPP

#include "vrx/cxx/curve.hpp"
#include "vrx/point.h"

namespace vrx {
inline namespace v1 {

/** A point in Jacobian coordinates: (x / z^2, y / z^3). Zeroed at its end. */
class JacobianPoint {
public:
    /** The point at infinity. */
    JacobianPoint() = default;
    /** A copy of a record. */
    explicit JacobianPoint(const EcPointJ &point) noexcept : point_(point) {}

    ///@{
    /** The record under it, for the functions of point.h. */
    [[nodiscard]] EcPointJ &native() noexcept { return point_.value; }
    [[nodiscard]] const EcPointJ &native() const noexcept { return point_.value; }
    ///@}

private:
    Wiped<EcPointJ> point_;
};

/** A point of a curve, or of none: nothing is checked. (0, 0) is the point at infinity. Zeroed at its end. */
class Point {
public:
    /** The point at infinity. */
    Point() noexcept : point_(Unfilled{}) { epSetZero(&native()); }
    /** A copy of a record. */
    explicit Point(const EcPoint &point) noexcept : point_(Unfilled{}) { epSetEqual(&native(), &point); }

    /** From two decimal texts, as mp::from_decimal(). */
    static Point from_decimal(const char *x, const char *y) noexcept {
        Point point;
        epConvFromDecimal(&point.native(), x, y);
        return point;
    }
    /** The coordinates as decimal texts of at most `capacity` characters, the closing zero included; no fewer fit. */
    void to_decimal(char *x, char *y, std::size_t capacity) const noexcept {
        epConvToDecimal(&native(), x, y, capacity);
    }

    /** The record under it. */
    [[nodiscard]] bool is_infinite() const noexcept { return epIsZero(&native()) == 1; }
    /** Whether the digits are the same, not only the residues. */
    friend bool operator==(const Point &a, const Point &b) noexcept { return epIsEqual(&a.native(), &b.native()) == 1; }
    /** Whether it is on the curve. The point at infinity is not. */
    [[nodiscard]] bool is_on(const Curve &curve) const noexcept {
        return ecCheckPublicKey(&curve, &native()) == VRX_OK;
    }

    ///@{
    /** The record under it, for the functions of point.h. */
    [[nodiscard]] EcPoint &native() noexcept { return point_.value; }
    [[nodiscard]] const EcPoint &native() const noexcept { return point_.value; }
    ///@}

private:
    Wiped<EcPoint> point_;
};

/** The same point, with z = 1. */
inline JacobianPoint to_jacobian(const Point &point) noexcept {
    JacobianPoint result;
    epA2J(&result.native(), &point.native());
    return result;
}
/** The same point; infinity where z = 0. */
inline Point to_affine(const JacobianPoint &point, const Curve &curve) noexcept {
    Point result;
    epJ2A(&result.native(), &point.native(), &curve);
    return result;
}
/** 2P, on curves with a = p - 3: see epDublJ(). */
inline JacobianPoint twice(const JacobianPoint &point, const Curve &curve) noexcept {
    JacobianPoint result;
    epDublJ(&result.native(), &point.native(), &curve);
    return result;
}
/** P + Q for Q neither infinite nor P nor -P: see epAddJA(). */
inline JacobianPoint add(const JacobianPoint &p, const Point &q, const Curve &curve) noexcept {
    JacobianPoint result;
    epAddJA(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}
/** P + Q for Q neither P nor -P: see epAddJChud(). */
inline JacobianPoint add(const JacobianPoint &p, const JacobianPoint &q, const Curve &curve) noexcept {
    JacobianPoint result;
    epAddJChud(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}
/** P + Q, whatever they are: see epAdd(). */
inline Point add(const Point &p, const Point &q, const Curve &curve) noexcept {
    Point result;
    epAdd(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}

}  // namespace v1
}  // namespace vrx

#endif
