/**
 * @file cxx/multiply.hpp  Multiples of points: multiply.h for C++.
 *
 * The functions allocate nothing. Threads: points are plain values without shared state.
 */
#ifndef VRX_CXX_MULTIPLY_HPP
#define VRX_CXX_MULTIPLY_HPP

#include "vrx/cxx/point.hpp"
#include "vrx/multiply.h"

namespace vrx {
inline namespace v1 {

/** Multiply a point on any curve by |k|, where k is a signed number, with epMult(). */
inline Point multiply(const Scalar &k, const Point &point, const Curve &curve) noexcept {
    Point result;
    epMult(&result.native(), &point.native(), k.data(), &curve);
    return result;
}
/**
 * Multiply a point on a curve with a = p - 3: epMultJ().
 *
 * **Warning:** k must be below the order of the point. A larger k may give a wrong point without an error.
 *
 * @param k      in: the factor.
 * @param point  in: the point.
 * @param curve  in: the curve.
 * @return Error::failed for k = 0.
 */
inline Result<Point> multiply_jacobian(const Scalar &k, const Point &point, const Curve &curve) noexcept {
    Result<Point> result(std::in_place);
    if (epMultJ(&result->native(), &point.native(), k.data(), &curve) != 0) return Error::failed;
    return result;
}
/** Multiply the base point with the table of a curve: epMultPP(). The table must be filled. */
inline Point multiply_base(const Scalar &k, const Curve &curve) noexcept {
    Point result;
    epMultPP(&result.native(), k.data(), &curve);
    return result;
}

}  // namespace v1
}  // namespace vrx

#endif
