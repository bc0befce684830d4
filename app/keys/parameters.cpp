#include "keys/parameters.hpp"

#include <algorithm>
#include <bit>

#include "io/failure.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool same_text(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

std::string_view without_prefix(std::string_view text, std::string_view prefix) {
    return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

std::string_view without_suffix(std::string_view text, std::string_view suffix) {
    return text.ends_with(suffix) ? text.substr(0, text.size() - suffix.size()) : text;
}

/** The index of a parameter set in the library's list. */
std::uint32_t curve_number(const EcParamSet& set) { return static_cast<std::uint32_t>(&set - get_GOSTR3410_par(0)); }

bool is_called(const vrx_gost28147_par& set, std::string_view text) {
    const std::string_view name = set.name;
    const std::string_view middle = without_suffix(without_prefix(name, "id-Gost28147-89-"), "-ParamSet");
    return text == set.str_oid || same_text(text, name) || same_text(text, middle) ||
           same_text(text, without_prefix(middle, "CryptoPro-"));
}

bool is_called(const vrx_gostr3411_par& set, std::string_view text) {
    const std::string_view name = set.name;
    return text == set.str_oid || same_text(text, name) ||
           same_text(text, without_suffix(without_prefix(name, "id-GostR3411-94-"), "ParamSet"));
}

bool is_called(const EcParamSet& set, std::string_view name, std::string_view text) {
    const std::string_view middle =
        without_suffix(without_suffix(without_prefix(name, "id-GostR3410-2001-"), "ParamSet"), "-");
    return text == set.str_oid || same_text(text, name) || same_text(text, middle) ||
           same_text(text, without_prefix(middle, "CryptoPro-"));
}

}  // namespace

const Mode& mode_by_number(std::uint32_t number) {
    const auto mode = std::find_if(modes.begin(), modes.end(), [=](const Mode& m) { return m.number == number; });
    if (mode == modes.end()) throw Failure("there is no cipher mode " + std::to_string(number) + "; use 1 to 4");
    return *mode;
}

const Mode& mode_by_name(const std::string& name) {
    if (name == "imit" || name == "imito") throw Failure("mode " + in_quotes(name) + " is the MAC; use 'vrx mac'");
    const auto mode = std::find_if(modes.begin(), modes.end(),
                                   [&](const Mode& m) { return m.name == name || m.common_name == name; });
    if (mode == modes.end())
        throw Failure("there is no mode " + in_quotes(name) + "; use ss, gamm, gfb or cbc, or ecb, ctr, cfb");
    return *mode;
}

const vrx_gost28147_par& cipher_parameters(std::string_view text) {
    for (std::uint32_t i = 0; i < short_names.size(); ++i) {
        const vrx_gost28147_par& set = *get_GOST28147_par(i);
        if (same_text(text, short_names[i]) || is_called(set, text)) return set;
    }
    throw Failure("there is no parameter set " + in_quotes(text) + "; 'vrx params' lists them");
}

std::uint32_t hash_set_index(std::string_view text) {
    for (std::uint32_t i = 0; i < hash_sets.size(); ++i)
        if (is_called(*get_GOSTR3411_par(i), text)) return i;
    throw Failure("there is no parameter set " + in_quotes(text) + " of the hash; use cryptopro or test");
}

const EcParamSet& curve_by_name(std::string_view text) {
    for (std::uint32_t i = 0; i < curve_names.size(); ++i) {
        const EcParamSet& set = *get_GOSTR3410_par(i);
        if (same_text(text, curve_names[i]) || is_called(set, get_GOSTR3410_oid_name(i), text)) return set;
    }
    throw Failure("there is no curve " + in_quotes(text) + "; use A, B, C, XchA, XchB or Test");
}

const char* curve_name(const EcParamSet& set) { return curve_names.at(curve_number(set)); }

const char* full_curve_name(const EcParamSet& set) { return get_GOSTR3410_oid_name(curve_number(set)); }

const char* table_name(const vrx_tz* table) {
    const auto cipher =
        std::find_if(cipher_tables.begin(), cipher_tables.end(), [=](const char* n) { return TZ_by_name(n) == table; });
    if (cipher != cipher_tables.end()) return *cipher;
    const auto hash = std::find_if(hash_tables.begin(), hash_tables.end(),
                                   [=](const char* n) { return hash_TZ_by_name(n) == table; });
    return hash != hash_tables.end() ? *hash : "unnamed";
}

std::string table_text(const vrx_tz& table) {
    std::string text;
    for (unsigned input = 0; input < 16; ++input)
        for (unsigned k = 0; k < 4; ++k) {
            // Recover the outputs for an input from the table entry in which both S-boxes have this input.
            const std::uint32_t pair = std::rotr(table.t[k][16 * input + input], 11) >> (8 * k);
            text += "0123456789ABCDEF"[pair & 15];
            text += "0123456789ABCDEF"[pair >> 4 & 15];
        }
    return text;
}

}  // namespace vrx::app
