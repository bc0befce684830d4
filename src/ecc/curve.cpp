// The built-in parameter sets, their identifiers and tables, and the functions that look them up.
#include "ecc/curve.hpp"

#include <string_view>

#include "vrx/frame.h"

using namespace vrx::ecc;

constinit const std::uint8_t ecc_Test_oid[VRX_ECC_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x23, 0};
constinit const std::uint8_t ecc_A_oid[VRX_ECC_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x23, 1};
constinit const std::uint8_t ecc_B_oid[VRX_ECC_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x23, 2};
constinit const std::uint8_t ecc_C_oid[VRX_ECC_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x23, 3};
constinit const std::uint8_t ecc_XchA_oid[VRX_ECC_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x24, 0};
constinit const std::uint8_t ecc_XchB_oid[VRX_ECC_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x24, 1};

constinit const char ecc_Test_str_oid[VRX_ECC_STR_OID_SIZE] = "1.2.643.2.2.35.0";
constinit const char ecc_A_str_oid[VRX_ECC_STR_OID_SIZE] = "1.2.643.2.2.35.1";
constinit const char ecc_B_str_oid[VRX_ECC_STR_OID_SIZE] = "1.2.643.2.2.35.2";
constinit const char ecc_C_str_oid[VRX_ECC_STR_OID_SIZE] = "1.2.643.2.2.35.3";
constinit const char ecc_XchA_str_oid[VRX_ECC_STR_OID_SIZE] = "1.2.643.2.2.36.0";
constinit const char ecc_XchB_str_oid[VRX_ECC_STR_OID_SIZE] = "1.2.643.2.2.36.1";

namespace {

// RFC 4357, section 11.4.
constexpr DecimalSet with_heading(DecimalSet set, const char* heading) {
    set.heading = heading;
    return set;
}
constexpr DecimalSet decimal_test = {"Test",
                                     "7",
                                     "43308876546767276905765904595650931995942111794451039583252968842033849580414",
                                     "57896044618658097711785492504343953926634992332820282019728792003956564821041",
                                     "57896044618658097711785492504343953927082934583725450622380973592137631069619",
                                     "2",
                                     "4018974056539037503335449422937059775635739389905545080690979365213431566280"};
constexpr DecimalSet decimal_a = {"A (ExA)",
                                  "115792089237316195423570985008687907853269984665640564039457584007913129639316",
                                  "166",
                                  "115792089237316195423570985008687907853269984665640564039457584007913129639319",
                                  "115792089237316195423570985008687907853073762908499243225378155805079068850323",
                                  "1",
                                  "64033881142927202683649881450433473985931760268884941288852745803908878638612"};
constexpr DecimalSet decimal_b = {"B",
                                  "57896044618658097711785492504343953926634992332820282019728792003956564823190",
                                  "28091019353058090096996979000309560759124368558014865957655842872397301267595",
                                  "57896044618658097711785492504343953926634992332820282019728792003956564823193",
                                  "57896044618658097711785492504343953927102133160255826820068844496087732066703",
                                  "1",
                                  "28792665814854611296992347458380284135028636778229113005756334730996303888124"};
constexpr DecimalSet decimal_c = {"C (ExB)",
                                  "70390085352083305199547718019018437841079516630045180471284346843705633502616",
                                  "32858",
                                  "70390085352083305199547718019018437841079516630045180471284346843705633502619",
                                  "70390085352083305199547718019018437840920882647164081035322601458352298396601",
                                  "0",
                                  "29818893917731240733471273240314769927240550812383695689146495261604565990247"};
constexpr DecimalSet decimals[VRX_ECC_SET_COUNT] = {
    decimal_test, decimal_a, decimal_b, decimal_c, with_heading(decimal_a, "ExA"), with_heading(decimal_c, "ExB")};

using Table = EcPoint[VRX_ECC_PP_COUNT];

// Each included file holds an initialiser, followed by a comma.
constexpr struct Tables {
    Table a, b, c;
} tables = {
#include "ecc/tables/a.inc"
#include "ecc/tables/b.inc"
#include "ecc/tables/c.inc"
};

constexpr Number from_decimal(std::string_view text) {
    Number n{};
    for (const char c : text) {
        std::uint64_t carry = static_cast<std::uint64_t>(c - '0');
        for (std::uint32_t& digit : n.digits) {
            carry += std::uint64_t{digit} * 10;
            digit = static_cast<std::uint32_t>(carry);
            carry >>= digit_bits;
        }
    }
    return n;
}
static_assert(from_decimal("4294967306").digits[0] == 10 && from_decimal("4294967306").digits[1] == 1);

constexpr void assign(std::uint32_t* digits, const char* decimal) {
    const Number n = from_decimal(decimal);
    for (unsigned i = 0; i < digit_count; ++i) digits[i] = n.digits[i];
}

/** Makes a parameter record. If the set has no table, pp is all zeros. */
constexpr EcParamSet record(const DecimalSet& decimal, const std::uint8_t* oid, const char* str_oid,
                            const Table* table = nullptr) {
    EcParamSet set{};
    assign(set.a, decimal.a);
    assign(set.b, decimal.b);
    assign(set.p, decimal.p);
    assign(set.q, decimal.q);
    assign(set.G.x, decimal.x);
    assign(set.G.y, decimal.y);
    set.oid_len = VRX_ECC_OID_SIZE;
    set.oid = oid;
    set.str_oid = str_oid;
    if (table != nullptr) {
        set.has_precomp = 1;
        for (unsigned i = 0; i < VRX_ECC_PP_COUNT; ++i) set.pp[i] = (*table)[i];
    }
    return set;
}

/** Stores a pointer to the first built-in record that matches, or NULL if there is none. */
template <typename Matches>
int find(EcParamSet** out, Matches matches) {
    *out = nullptr;
    for (EcParamSet& set : cp_ecc_par)
        if (matches(set)) {
            *out = &set;
            return VRX_OK;
        }
    return VRX_ERR_FAILED;
}

}  // namespace

constinit EcParamSet cp_ecc_par[VRX_ECC_SET_COUNT] = {record(decimals[0], ecc_Test_oid, ecc_Test_str_oid),
                                                      record(decimals[1], ecc_A_oid, ecc_A_str_oid, &tables.a),
                                                      record(decimals[2], ecc_B_oid, ecc_B_str_oid, &tables.b),
                                                      record(decimals[3], ecc_C_oid, ecc_C_str_oid, &tables.c),
                                                      record(decimals[4], ecc_XchA_oid, ecc_XchA_str_oid, &tables.a),
                                                      record(decimals[5], ecc_XchB_oid, ecc_XchB_str_oid, &tables.c)};

constinit const char* const cp_ecc_par_name[VRX_ECC_SET_COUNT] = {"id-GostR3410-2001-TestParamSet",
                                                                  "id-GostR3410-2001-CryptoPro-A-ParamSet",
                                                                  "id-GostR3410-2001-CryptoPro-B-ParamSet",
                                                                  "id-GostR3410-2001-CryptoPro-C-ParamSet",
                                                                  "id-GostR3410-2001-CryptoPro-XchA-ParamSet",
                                                                  "id-GostR3410-2001-CryptoPro-XchB-ParamSet"};

constinit EcParamSet* default_cp_ecc_par = &cp_ecc_par[1];

namespace vrx::ecc {

std::span<const DecimalSet, VRX_ECC_SET_COUNT> decimal_sets() { return decimals; }

const EcParamSet& original_set(field::CurveId curve) {
    using field::CurveId;
    static_assert(CurveId::test < CurveId::a && CurveId::a < CurveId::b && CurveId::b < CurveId::c);
    static constinit const EcParamSet originals[] = {
        record(decimals[0], nullptr, nullptr), record(decimals[1], nullptr, nullptr, &tables.a),
        record(decimals[2], nullptr, nullptr, &tables.b), record(decimals[3], nullptr, nullptr, &tables.c)};
    return originals[static_cast<std::size_t>(curve)];
}

}  // namespace vrx::ecc

EcParamSet* get_GOSTR3410_par(std::uint32_t index) { return index < VRX_ECC_SET_COUNT ? &cp_ecc_par[index] : nullptr; }

// Deliberate: ignores default_cp_ecc_par.
EcParamSet* get_GOSTR3410_default_par(void) { return &cp_ecc_par[1]; }

const char* get_GOSTR3410_oid_name(std::uint32_t index) {
    return index < VRX_ECC_SET_COUNT ? cp_ecc_par_name[index] : nullptr;
}

int epFindParByOid(const std::uint8_t* oid, std::uint32_t len, EcParamSet** out) {
    return find(out, [&](const EcParamSet& set) {
        return set.oid_len == len && (len == 0 || std::memcmp(set.oid, oid, len) == 0);
    });
}

int epFindParByStrOid(const char* str_oid, EcParamSet** out) {
    return find(out, [&](const EcParamSet& set) { return std::strcmp(set.str_oid, str_oid) == 0; });
}

int epConvFromDecimal(EcPoint* point, const char* x, const char* y) {
    mpConvFromDecimal(point->x, digit_count, x);
    mpConvFromDecimal(point->y, digit_count, y);
    return 0;
}

int epConvToDecimal(const EcPoint* point, char* x, char* y, std::uint64_t capacity) {
    mpConvToDecimal(point->x, digit_count, x, capacity);
    mpConvToDecimal(point->y, digit_count, y, capacity);
    return 0;
}
