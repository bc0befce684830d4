/**
 * @file cxx/multiply.hpp  Multiples of points: multiply.h for C++.
 *
 * Nothing is allocated. Threads: points are plain values.
 */
#ifndef VRX_CXX_MULTIPLY_HPP
#define VRX_CXX_MULTIPLY_HPP

#include "vrx/cxx/point.hpp"
#include "vrx/multiply.h"

namespace vrx {
inline namespace v1 {

/** |k| P on any curve, k read as a signed number: see epMult(). */
inline Point multiply(const Scalar &k, const Point &point, const Curve &curve) noexcept {
    Point result;
    epMult(&result.native(), &point.native(), k.data(), &curve);
    return result;
}
/** k P on curves with a = p - 3: see epMultJ(). @return Error::failed for k = 0. */
inline Result<Point> multiply_jacobian(const Scalar &k, const Point &point, const Curve &curve) noexcept {
    Result<Point> result(std::in_place);
    if (epMultJ(&result->native(), &point.native(), k.data(), &curve) != 0) return Error::failed;
    return result;
}
/** k G from the table of a curve: see epMultPP(). */
inline Point multiply_base(const Scalar &k, const Curve &curve) noexcept {
    Point result;
    epMultPP(&result.native(), k.data(), &curve);
    return result;
}

}  // namespace v1
}  // namespace vrx

#endif
