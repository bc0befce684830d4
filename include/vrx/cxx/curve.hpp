/**
 * @file cxx/curve.hpp  Curve parameter sets, and numbers on curves: curve.h for C++.
 *
 * Nothing is allocated. Threads: any number may share a curve that none changes.
 */
#ifndef VRX_CXX_CURVE_HPP
#define VRX_CXX_CURVE_HPP

#include "vrx/curve.h"
#include "vrx/cxx/bigdigits.hpp"
#include "vrx/sign.h"

namespace vrx {
inline namespace v1 {

/** A curve with its base point; the record may be built in, or the caller's own. */
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

/** The same in dotted form, in the order of CurveId. */
inline constexpr std::array<const char *, VRX_ECC_SET_COUNT> curve_dotted_oids{
    ecc_Test_str_oid, ecc_A_str_oid, ecc_B_str_oid, ecc_C_str_oid, ecc_XchA_str_oid, ecc_XchB_str_oid};

/** The built-in curves, in the order of CurveId. Writable, as curve.h says. */
inline std::span<Curve, VRX_ECC_SET_COUNT> curves() noexcept { return cp_ecc_par; }
/** Their names, as RFC 4357 writes them. */
inline std::span<const char *const, VRX_ECC_SET_COUNT> curve_names() noexcept { return cp_ecc_par_name; }

/** CryptoPro-A, the default of every function here. */
inline const Curve &default_curve() noexcept { return *get_GOSTR3410_default_par(); }
/** A built-in curve. Another number than those of CurveId gives CryptoPro-A. */
inline const Curve &curve(CurveId id) noexcept {
    const Curve *found = get_GOSTR3410_par(static_cast<std::uint32_t>(id));
    return found != nullptr ? *found : default_curve();
}
/** The curve that the program made its default, at first CryptoPro-A; the library itself does not use it. */
inline Curve *program_curve() noexcept { return default_cp_ecc_par; }
/** Make a curve the one that program_curve() gives. */
inline void set_program_curve(Curve *curve) noexcept { default_cp_ecc_par = curve; }
/** The name of a built-in curve, as RFC 4357 writes it; NULL for another number. */
inline const char *curve_name(CurveId id) noexcept { return get_GOSTR3410_oid_name(static_cast<std::uint32_t>(id)); }

/** A built-in curve by its DER identifier. NULL where there is none. */
inline const Curve *find_curve(Bytes oid) noexcept {
    Curve *found = nullptr;
    if (detail::fits(oid.size())) epFindParByOid(oid.data(), detail::count(oid), &found);
    return found;
}
/** A built-in curve by its dotted identifier. NULL where there is none. */
inline const Curve *find_curve(const char *dotted) noexcept {
    Curve *found = nullptr;
    epFindParByStrOid(dotted, &found);
    return found;
}

/** A number on a curve, nine digits, least significant first; zeroed at its end. */
class Scalar {
public:
    /** Zero. */
    Scalar() = default;
    /** The number of these digits. */
    explicit Scalar(std::span<const std::uint32_t, VRX_ECC_DIGITS> digits) noexcept {
        std::ranges::copy(digits, value_.value.begin());
    }
    /** A small number. */
    explicit Scalar(std::uint32_t digit) noexcept { value_.value[0] = digit; }

    /** From big-endian octets, at most 36. */
    static Result<Scalar> from_octets(Bytes octets) noexcept {
        if (octets.size() > 4 * std::size_t{VRX_ECC_DIGITS}) return Error::buffer_length;
        Result<Scalar> result(std::in_place);
        mp::from_octets(result->digits(), octets);
        return result;
    }

    /** Random, below q, 0 included: Getbig_RND(). @return Error::random when the source fails. */
    static Result<Scalar> random_below(std::span<const std::uint32_t, VRX_ECC_DIGITS> q,
                                       RND_FUNC source = system_random) noexcept {
        Result<Scalar> result(std::in_place);
        if (Getbig_RND(source, result->data(), q.data()) != 0) return Error::random;
        return result;
    }

    ///@{
    /** The digits, as a span and as a pointer to the first. */
    [[nodiscard]] std::span<std::uint32_t, VRX_ECC_DIGITS> digits() noexcept { return value_.value; }
    [[nodiscard]] std::span<const std::uint32_t, VRX_ECC_DIGITS> digits() const noexcept { return value_.value; }
    [[nodiscard]] std::uint32_t *data() noexcept { return value_.value.data(); }
    [[nodiscard]] const std::uint32_t *data() const noexcept { return value_.value.data(); }
    ///@}

private:
    Wiped<std::array<std::uint32_t, VRX_ECC_DIGITS>> value_;
};

namespace raw {
/** epInitParams(): sets the built-in curves anew and prints them. @return Error::failed where a base point is wrong. */
inline Result<void> print_curves() noexcept {
    if (epInitParams() != 0) return Error::failed;
    return {};
}
/** epCalcPP(): fills the table of a curve with a = p - 3, and prints it. */
inline void fill_table(Curve &curve) noexcept { epCalcPP(&curve); }
}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
