/**
 * @file cxx/point.hpp  Points and their sums: point.h for C++.
 *
 * **Warning:** running times depend on the values. Do not use these functions on secrets that an attacker could learn
 * by measuring time.
 *
 * The functions allocate nothing. Threads: points are plain values without shared state.
 */
#ifndef VRX_CXX_POINT_HPP
#define VRX_CXX_POINT_HPP

#include "vrx/cxx/curve.hpp"
#include "vrx/point.h"

namespace vrx {
inline namespace v1 {

/** A point in Jacobian coordinates: (x / z^2, y / z^3). Its destructor zeroes it. */
class JacobianPoint {
public:
    /** Construct the point at infinity. */
    JacobianPoint() = default;
    /** Copy a C record. */
    explicit JacobianPoint(const EcPointJ &point) noexcept : point_(point) {}

    ///@{
    /** Access the C record, for the functions of point.h. */
    [[nodiscard]] EcPointJ &native() noexcept { return point_.value; }
    [[nodiscard]] const EcPointJ &native() const noexcept { return point_.value; }
    ///@}

private:
    Wiped<EcPointJ> point_;
};

/** A point in affine coordinates. (0, 0) is the point at infinity. Nothing checks whether it is on a curve. */
class Point {
public:
    /** Construct the point at infinity. */
    Point() noexcept : point_(Unfilled{}) { epSetZero(&native()); }
    /** Copy a C record. */
    explicit Point(const EcPoint &point) noexcept : point_(Unfilled{}) { epSetEqual(&native(), &point); }

    /** Convert from two decimal strings, as mp::from_decimal() does. */
    static Point from_decimal(const char *x, const char *y) noexcept {
        Point point;
        epConvFromDecimal(&point.native(), x, y);
        return point;
    }
    /** Write the coordinates as decimal strings, as epConvToDecimal() does. Both buffers have `capacity` characters. */
    void to_decimal(char *x, char *y, std::size_t capacity) const noexcept {
        epConvToDecimal(&native(), x, y, capacity);
    }

    /** Test for the point at infinity. */
    [[nodiscard]] bool is_infinite() const noexcept { return epIsZero(&native()) == 1; }
    /** Compare all digits. Coordinates that are equal only modulo p are not equal here. */
    friend bool operator==(const Point &a, const Point &b) noexcept { return epIsEqual(&a.native(), &b.native()) == 1; }
    /** Test whether the point is on a curve. The point at infinity is not. */
    [[nodiscard]] bool is_on(const Curve &curve) const noexcept {
        return ecCheckPublicKey(&curve, &native()) == VRX_OK;
    }

    ///@{
    /** Access the C record, for the functions of point.h. */
    [[nodiscard]] EcPoint &native() noexcept { return point_.value; }
    [[nodiscard]] const EcPoint &native() const noexcept { return point_.value; }
    ///@}

private:
    Wiped<EcPoint> point_;
};

/** Convert a point to Jacobian coordinates with z = 1. */
inline JacobianPoint to_jacobian(const Point &point) noexcept {
    JacobianPoint result;
    epA2J(&result.native(), &point.native());
    return result;
}
/** Convert a point to affine coordinates. If z = 0, the result is the point at infinity. */
inline Point to_affine(const JacobianPoint &point, const Curve &curve) noexcept {
    Point result;
    epJ2A(&result.native(), &point.native(), &curve);
    return result;
}
/** Double a point on a curve with a = p - 3: epDublJ(). */
inline JacobianPoint twice(const JacobianPoint &point, const Curve &curve) noexcept {
    JacobianPoint result;
    epDublJ(&result.native(), &point.native(), &curve);
    return result;
}
/** Add two points: epAddJA(). Q must not be the point at infinity, P or -P. */
inline JacobianPoint add(const JacobianPoint &p, const Point &q, const Curve &curve) noexcept {
    JacobianPoint result;
    epAddJA(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}
/** Add two points: epAddJChud(). Q must not be P or -P. */
inline JacobianPoint add(const JacobianPoint &p, const JacobianPoint &q, const Curve &curve) noexcept {
    JacobianPoint result;
    epAddJChud(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}
/** Add any two points on any curve: epAdd(). */
inline Point add(const Point &p, const Point &q, const Curve &curve) noexcept {
    Point result;
    epAdd(&result.native(), &p.native(), &q.native(), &curve);
    return result;
}

}  // namespace v1
}  // namespace vrx

#endif
