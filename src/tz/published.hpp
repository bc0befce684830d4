// The S-boxes of the built-in tables, as published in RFC 4357, section 11.
#ifndef VRX_TZ_PUBLISHED_HPP
#define VRX_TZ_PUBLISHED_HPP

#include <array>
#include <cstdint>
#include <string_view>

#include "vrx/tz.h"

namespace vrx::tz {

/** Eight S-boxes, K1 to K8. Each text holds the sixteen outputs for the inputs 0 to 15. */
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

inline constexpr Published cipher_test = {"42F59108E3BCD7A6", "C9FE813A274D60B5", "D8EC739A15246F0B",
                                          "E9B25F710DC6A438", "3E59680DAB7C21F4", "8F6B19C5D37A0E24",
                                          "9BC0367548EF1A2D", "C652B09D3E7AF418"};
inline constexpr Published cipher_a = {"96328B17A4EFC0D5", "37E98AF0526CB4D1", "E462B3D8CF5A0719", "E7ACD13902B4F856",
                                       "B5198DF0E423C7A6", "3ADC120B75948FE6", "1D297A608C45F3BE", "BAF50CE8623917D4"};
inline constexpr Published cipher_b = {"84B135092EACD67F", "012A4D5C973FB86E", "EC0A92DB758F3614", "750DB6123ACF4E98",
                                       "27CF95AB140D68E3", "83264DEBC17FA095", "52AB91C374D06F8E", "04BE8371A296FD5C"};
inline constexpr Published cipher_c = {"1BC29D0F458EA763", "017DB4528EFC9A63", "825049FA37CD6E1B", "36015DA8B297EFC4",
                                       "8DB0451293CE6FA7", "C9B18E247365A0FD", "A968DE20F35B41C7", "7405A2FEC61BD938"};
inline constexpr Published cipher_d = {"FC2A645079ED1B83", "B634CFE27D805A91", "1CB0FE65AD489372", "15ECA70D62B493F8",
                                       "0C89D2AB73654EF1", "80F325EB1A47C9D6", "306F1E92D8C4BA57", "1A68FB04C3597D2E"};
inline constexpr Published hash_test = {"4A92D80E6B1C7F53", "EB4C6DFA23810759", "581DA342EFC7609B", "7DA1089FE46CB253",
                                        "6C715FD84A9E03B2", "4BA0721D36859CFE", "DB413F590AE7682C", "1FD057A4923E6B8C"};
inline constexpr Published hash_cryptopro = {"A4568137DCE092BF", "5F402DB91763CEA8", "7FCE94103B526A8D",
                                             "4A7C0F28E165DB93", "764B9C2A180EFD35", "7624D9F0A15B8EC3",
                                             "DE41705A3C8F629B", "13A95B4F867ED02C"};

}  // namespace vrx::tz

#endif
