/**
 * @file cxx/curve.hpp  Curve parameter sets, and numbers on curves: curve.h for C++.
 *
 * The functions allocate nothing. Threads: any number of threads may share a curve as long as none changes it.
 */
#ifndef VRX_CXX_CURVE_HPP
#define VRX_CXX_CURVE_HPP

#include "vrx/curve.h"
#include "vrx/cxx/bigdigits.hpp"
#include "vrx/sign.h"

namespace vrx {
inline namespace v1 {

/** A curve parameter set, built-in or custom. */
using Curve = EcParamSet;

/** The built-in curves, RFC 4357, section 11.4. */
enum class CurveId : std::uint32_t { test, a, b, c, xch_a, xch_b };

/** DER object identifiers of the built-in curves. */
namespace oid {
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_test{ecc_Test_oid};  /**< 1.2.643.2.2.35.0 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_a{ecc_A_oid};        /**< 1.2.643.2.2.35.1 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_b{ecc_B_oid};        /**< 1.2.643.2.2.35.2 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_c{ecc_C_oid};        /**< 1.2.643.2.2.35.3 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_xch_a{ecc_XchA_oid}; /**< 1.2.643.2.2.36.0 */
inline constexpr std::span<const std::uint8_t, VRX_ECC_OID_SIZE> curve_xch_b{ecc_XchB_oid}; /**< 1.2.643.2.2.36.1 */
}  // namespace oid

/** Object identifiers of the built-in curves in dotted decimal, in the order of CurveId. */
inline constexpr std::array<const char *, VRX_ECC_SET_COUNT> curve_dotted_oids{
    ecc_Test_str_oid, ecc_A_str_oid, ecc_B_str_oid, ecc_C_str_oid, ecc_XchA_str_oid, ecc_XchB_str_oid};

/** Get the built-in curves, in the order of CurveId. If you change a record, every function uses the changed record. */
inline std::span<Curve, VRX_ECC_SET_COUNT> curves() noexcept { return cp_ecc_par; }
/** Get the names of the built-in curves as in RFC 4357, in the order of CurveId. */
inline std::span<const char *const, VRX_ECC_SET_COUNT> curve_names() noexcept { return cp_ecc_par_name; }

/** Get CryptoPro-A, the default curve of every function here. */
inline const Curve &default_curve() noexcept { return *get_GOSTR3410_default_par(); }
/** Get a built-in curve. A number outside CurveId gives CryptoPro-A. */
inline const Curve &curve(CurveId id) noexcept {
    const Curve *found = get_GOSTR3410_par(static_cast<std::uint32_t>(id));
    return found != nullptr ? *found : default_curve();
}
/** Get default_cp_ecc_par, initially CryptoPro-A. The library itself does not read it. */
inline Curve *program_curve() noexcept { return default_cp_ecc_par; }
/** Set default_cp_ecc_par, which program_curve() returns. */
inline void set_program_curve(Curve *curve) noexcept { default_cp_ecc_par = curve; }
/** Get the name of a built-in curve as in RFC 4357, or NULL for a number outside CurveId. */
inline const char *curve_name(CurveId id) noexcept { return get_GOSTR3410_oid_name(static_cast<std::uint32_t>(id)); }

/** Find a built-in curve by its DER identifier. @return the curve, or NULL if there is none. */
inline const Curve *find_curve(Bytes oid) noexcept {
    Curve *found = nullptr;
    if (detail::fits(oid.size())) epFindParByOid(oid.data(), detail::count(oid), &found);
    return found;
}
/** Find a built-in curve by its dotted identifier. @return the curve, or NULL if there is none. */
inline const Curve *find_curve(const char *dotted) noexcept {
    Curve *found = nullptr;
    epFindParByStrOid(dotted, &found);
    return found;
}

/** A number of nine digits, least significant first. Its destructor zeroes it. */
class Scalar {
public:
    /** Construct zero. */
    Scalar() = default;
    /** Copy nine digits. */
    explicit Scalar(std::span<const std::uint32_t, VRX_ECC_DIGITS> digits) noexcept {
        std::ranges::copy(digits, value_.value.begin());
    }
    /** Construct from one digit. */
    explicit Scalar(std::uint32_t digit) noexcept { value_.value[0] = digit; }

    /** Convert from big-endian octets. @return Error::buffer_length if there are more than 36. */
    static Result<Scalar> from_octets(Bytes octets) noexcept {
        if (octets.size() > 4 * std::size_t{VRX_ECC_DIGITS}) return Error::buffer_length;
        Result<Scalar> result(std::in_place);
        mp::from_octets(result->digits(), octets);
        return result;
    }

    /** Draw a random number from 0 to q - 1: Getbig_RND(). @return Error::random if the source fails. */
    static Result<Scalar> random_below(std::span<const std::uint32_t, VRX_ECC_DIGITS> q,
                                       RND_FUNC source = system_random) noexcept {
        Result<Scalar> result(std::in_place);
        if (Getbig_RND(source, result->data(), q.data()) != 0) return Error::random;
        return result;
    }

    ///@{
    /** Access the digits, as a span or by a pointer to the first. */
    [[nodiscard]] std::span<std::uint32_t, VRX_ECC_DIGITS> digits() noexcept { return value_.value; }
    [[nodiscard]] std::span<const std::uint32_t, VRX_ECC_DIGITS> digits() const noexcept { return value_.value; }
    [[nodiscard]] std::uint32_t *data() noexcept { return value_.value.data(); }
    [[nodiscard]] const std::uint32_t *data() const noexcept { return value_.value.data(); }
    ///@}

private:
    Wiped<std::array<std::uint32_t, VRX_ECC_DIGITS>> value_;
};

namespace raw {
/**
 * Set the built-in curves again and print them: epInitParams(). No other thread may use a curve meanwhile.
 *
 * @return Error::failed if a base point is not on its curve.
 */
inline Result<void> print_curves() noexcept {
    if (epInitParams() != 0) return Error::failed;
    return {};
}
/**
 * Compute the table of a curve with a = p - 3 and print it: epCalcPP(). No other thread may use the curve meanwhile.
 */
inline void fill_table(Curve &curve) noexcept { epCalcPP(&curve); }
}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
