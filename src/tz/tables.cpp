// The built-in tables, deployed at compile time from the S-boxes of RFC 4357, section 11.
#include <array>
#include <cstring>
#include <string_view>

#include "tz/sboxes.hpp"

namespace vrx::tz {
namespace {

/** Eight S-boxes K1 to K8, each the sixteen outputs for the inputs 0 to 15. */
using Published = std::array<std::string_view, 8>;

constexpr unsigned output(std::string_view sbox, unsigned input) {
    const char c = sbox[input];
    return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10);
}

constexpr std::array<std::uint8_t, VRX_NUM_TZ_SIZE> numeric(const Published& published) {
    std::array<std::uint8_t, VRX_NUM_TZ_SIZE> num{};
    for (unsigned i = 0; i < 16; ++i)
        for (unsigned m = 0; m < 4; ++m)
            num[4 * i + m] =
                static_cast<std::uint8_t>(output(published[2 * m], i) | output(published[2 * m + 1], i) << 4);
    return num;
}

constexpr vrx_tz deployed(const Published& published) {
    vrx_tz table{};
    deploy(numeric(published), table);
    return table;
}

constexpr Published cipher_test = {"42F59108E3BCD7A6", "C9FE813A274D60B5", "D8EC739A15246F0B", "E9B25F710DC6A438",
                                   "3E59680DAB7C21F4", "8F6B19C5D37A0E24", "9BC0367548EF1A2D", "C652B09D3E7AF418"};
constexpr Published cipher_a = {"96328B17A4EFC0D5", "37E98AF0526CB4D1", "E462B3D8CF5A0719", "E7ACD13902B4F856",
                                "B5198DF0E423C7A6", "3ADC120B75948FE6", "1D297A608C45F3BE", "BAF50CE8623917D4"};
constexpr Published cipher_b = {"84B135092EACD67F", "012A4D5C973FB86E", "EC0A92DB758F3614", "750DB6123ACF4E98",
                                "27CF95AB140D68E3", "83264DEBC17FA095", "52AB91C374D06F8E", "04BE8371A296FD5C"};
constexpr Published cipher_c = {"1BC29D0F458EA763", "017DB4528EFC9A63", "825049FA37CD6E1B", "36015DA8B297EFC4",
                                "8DB0451293CE6FA7", "C9B18E247365A0FD", "A968DE20F35B41C7", "7405A2FEC61BD938"};
constexpr Published cipher_d = {"FC2A645079ED1B83", "B634CFE27D805A91", "1CB0FE65AD489372", "15ECA70D62B493F8",
                                "0C89D2AB73654EF1", "80F325EB1A47C9D6", "306F1E92D8C4BA57", "1A68FB04C3597D2E"};
constexpr Published hash_test = {"4A92D80E6B1C7F53", "EB4C6DFA23810759", "581DA342EFC7609B", "7DA1089FE46CB253",
                                 "6C715FD84A9E03B2", "4BA0721D36859CFE", "DB413F590AE7682C", "1FD057A4923E6B8C"};
constexpr Published hash_cryptopro = {"A4568137DCE092BF", "5F402DB91763CEA8", "7FCE94103B526A8D", "4A7C0F28E165DB93",
                                      "764B9C2A180EFD35", "7624D9F0A15B8EC3", "DE41705A3C8F629B", "13A95B4F867ED02C"};

}  // namespace
}  // namespace vrx::tz

constinit const vrx_tz TZ_28147_89[VRX_TZ_28147_89_COUNT] = {
    vrx::tz::deployed(vrx::tz::cipher_test), vrx::tz::deployed(vrx::tz::cipher_a), vrx::tz::deployed(vrx::tz::cipher_b),
    vrx::tz::deployed(vrx::tz::cipher_c), vrx::tz::deployed(vrx::tz::cipher_d)};

constinit const vrx_tz TZ_3411_94[VRX_TZ_3411_94_COUNT] = {vrx::tz::deployed(vrx::tz::hash_test),
                                                           vrx::tz::deployed(vrx::tz::hash_cryptopro)};

namespace vrx::tz {
namespace {

constexpr SBoxes cipher_sboxes[VRX_TZ_28147_89_COUNT] = {sboxes(numeric(cipher_test)), sboxes(numeric(cipher_a)),
                                                         sboxes(numeric(cipher_b)), sboxes(numeric(cipher_c)),
                                                         sboxes(numeric(cipher_d))};
constexpr SBoxes hash_sboxes[VRX_TZ_3411_94_COUNT] = {sboxes(numeric(hash_test)), sboxes(numeric(hash_cryptopro))};

constexpr Wide widened(Numeric num) {
    // The outputs of each S-box at their places after the rotation.
    std::uint32_t output[8][16]{};
    for (unsigned n = 0; n < 8; ++n)
        for (unsigned i = 0; i < 16; ++i)
            output[n][i] = std::rotl((num[4 * i + n / 2] >> 4 * (n % 2) & 15U) << 4 * n, 11);
    Wide wide{};
    for (unsigned x = 0; x < 4096; ++x) {
        wide.low[x] = output[0][x & 15] ^ output[1][x >> 4 & 15] ^ output[2][x >> 8];
        wide.high[x] = output[5][x & 15] ^ output[6][x >> 4 & 15] ^ output[7][x >> 8];
    }
    for (unsigned x = 0; x < 256; ++x) wide.middle[x] = output[3][x & 15] ^ output[4][x >> 4];
    return wide;
}

constexpr Wide hash_wide[VRX_TZ_3411_94_COUNT] = {widened(numeric(hash_test)), widened(numeric(hash_cryptopro))};

template <std::size_t count>
const SBoxes* found(const vrx_tz& table, const vrx_tz (&set)[count], const SBoxes (&of_set)[count]) {
    const auto offset = reinterpret_cast<std::uintptr_t>(&table) - reinterpret_cast<std::uintptr_t>(set);
    return offset < sizeof set && offset % sizeof table == 0 ? &of_set[offset / sizeof table] : nullptr;
}

}  // namespace

const SBoxes* built_in_sboxes(const vrx_tz& table) noexcept {
    const SBoxes* const sboxes = found(table, TZ_28147_89, cipher_sboxes);
    return sboxes != nullptr ? sboxes : found(table, TZ_3411_94, hash_sboxes);
}

const Wide* built_in_wide(const vrx_tz& table) noexcept {
    for (std::size_t i = 0; i < VRX_TZ_3411_94_COUNT; ++i)
        if (&table == &TZ_3411_94[i] || std::memcmp(table.t, TZ_3411_94[i].t, sizeof table.t) == 0)
            return &hash_wide[i];
    return nullptr;
}

}  // namespace vrx::tz
