// The library's built-in tables and parameter sets, as users name them.
#ifndef VRX_APP_PARAMETERS_HPP
#define VRX_APP_PARAMETERS_HPP

#include <vrx.h>

#include <array>
#include <string>
#include <string_view>

namespace vrx::app {

/** Short names of the cipher parameter sets, in the library's order. */
inline constexpr std::array<const char*, VRX_GOST28147_PAR_COUNT> short_names{"test", "A",  "B",  "C",  "D",
                                                                              "0S",   "SA", "SB", "SC", "SD"};

/** A hash parameter set as users and lists name it. */
struct HashSet {
    const char* short_name;
    const char* tag;  // of list lines in the form of BSD programs
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
    const char* common_name;  // also accepted
    const char* description;
    bool takes_iv;
    bool whole_blocks;  // the data must be a multiple of 8 bytes long
};

inline constexpr std::array modes{Mode{VRX_MODE_SS, "ss", "ecb", "simple substitution (codebook)", false, true},
                                  Mode{VRX_MODE_GAMM, "gamm", "ctr", "counter mode (gamma)", true, false},
                                  Mode{VRX_MODE_GFB, "gfb", "cfb", "cipher feedback (gamma with feedback)", true, false},
                                  Mode{VRX_MODE_CBC, "cbc", "cbc", "cipher block chaining", true, true}};

/** The mode with a number of the library, or with one of its names. Throws a Failure when there is none. */
const Mode& mode_by_number(std::uint32_t number);
const Mode& mode_by_name(const std::string& name);

/**
 * A cipher parameter set by its short name, its dotted object identifier, or its name, in whole or without what all
 * names share ("CryptoPro-A", "RIC-1"); upper and lower case are the same. Throws a Failure when there is none.
 */
const vrx_gost28147_par& cipher_parameters(std::string_view text);

/** The place of a hash parameter set, named as a cipher parameter set is. Throws a Failure when there is none. */
std::uint32_t hash_set_index(std::string_view text);

/** A built-in curve, named as a cipher parameter set is. Throws a Failure when there is none. */
const EcParamSet& curve_by_name(std::string_view text);
/** The short name of a built-in curve, and its full name. */
const char* curve_name(const EcParamSet& set);
const char* full_curve_name(const EcParamSet& set);

/** The name of a built-in table. */
const char* table_name(const vrx_tz* table);

/** The S-boxes of a table as the text of 128 characters that the library deploys. */
std::string table_text(const vrx_tz& table);

}  // namespace vrx::app

#endif
