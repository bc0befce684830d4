// Finds the library's built-in tables and parameter sets by the names that users give.
#ifndef VRX_APP_PARAMETERS_HPP
#define VRX_APP_PARAMETERS_HPP

#include <vrx.h>

#include <array>
#include <string>
#include <string_view>

namespace vrx::app {

/** The short names of the cipher parameter sets, in the library's order. */
inline constexpr std::array<const char*, VRX_GOST28147_PAR_COUNT> short_names{"test", "A",  "B",  "C",  "D",
                                                                              "0S",   "SA", "SB", "SC", "SD"};

/** The names of a hash parameter set. */
struct HashSet {
    const char* short_name;
    const char* tag;  // the tag in lists in the BSD format
};

/** The hash parameter sets, in the library's order. */
inline constexpr std::array<HashSet, VRX_GOSTR3411_PAR_COUNT> hash_sets{HashSet{"test", "GOST94"},
                                                                        HashSet{"cryptopro", "GOST94-CRYPTOPRO"}};

/** Short names of the curves, in the library's order. */
inline constexpr std::array<const char*, VRX_ECC_SET_COUNT> curve_names{"Test", "A", "B", "C", "XchA", "XchB"};

/** Names of the built-in tables of the cipher and of the hash, in the library's order. */
inline constexpr std::array<const char*, VRX_TZ_28147_89_COUNT> cipher_tables{"tz_test", "tz_a", "tz_b", "tz_c",
                                                                              "tz_d"};
inline constexpr std::array<const char*, VRX_TZ_3411_94_COUNT> hash_tables{"tz_0", "tz_1"};

struct Mode {
    std::uint32_t number;
    const char* name;
    const char* common_name;  // another name that is accepted
    const char* description;
    bool takes_iv;
    bool whole_blocks;  // true if the length of the data must be a multiple of 8 bytes
};

inline constexpr std::array modes{
    Mode{VRX_MODE_SS, "ss", "ecb", "simple substitution (codebook)", false, true},
    Mode{VRX_MODE_GAMM, "gamm", "ctr", "counter mode (gamma)", true, false},
    Mode{VRX_MODE_GFB, "gfb", "cfb", "cipher feedback (gamma with feedback)", true, false},
    Mode{VRX_MODE_CBC, "cbc", "cbc", "cipher block chaining", true, true}};

/** Find a mode by the library's number or by one of its names. Throws a Failure if there is none. */
const Mode& mode_by_number(std::uint32_t number);
const Mode& mode_by_name(const std::string& name);

/**
 * Find a cipher parameter set by its short name, dotted object identifier, full name, or full name without the common
 * parts ("CryptoPro-A", "RIC-1"). Case is ignored. Throws a Failure if there is none.
 */
const vrx_gost28147_par& cipher_parameters(std::string_view text);

/**
 * Returns the index of a hash parameter set, which can be named in the same ways. Throws a Failure if there is none.
 */
std::uint32_t hash_set_index(std::string_view text);

/** Find a built-in curve, which can be named in the same ways. Throws a Failure if there is none. */
const EcParamSet& curve_by_name(std::string_view text);
/** The short name of a built-in curve, and its full name. */
const char* curve_name(const EcParamSet& set);
const char* full_curve_name(const EcParamSet& set);

/** The name of a built-in table. */
const char* table_name(const vrx_tz* table);

/** Convert a table to the 128 hexadecimal digits from which the library can deploy it. */
std::string table_text(const vrx_tz& table);

}  // namespace vrx::app

#endif
