// vrx params
#include <span>

#include "commands/commands.hpp"
#include "io/files.hpp"
#include "io/text.hpp"
#include "keys/parameters.hpp"

namespace vrx::app {
namespace {

std::string padded(std::string_view text, std::size_t width) {
    std::string column(text);
    column.resize(std::max(width, column.size()), ' ');
    return column + "  ";
}

/** List the short names of the parameter sets that use a table. */
std::string users_of(const vrx_tz* table) {
    std::string users;
    const auto add = [&](const char* name) { users += (users.empty() ? "" : ", ") + std::string(name); };
    for (std::uint32_t i = 0; i < VRX_GOST28147_PAR_COUNT; ++i)
        if (get_GOST28147_par(i)->tz == table) add(short_names[i]);
    for (std::uint32_t i = 0; i < VRX_GOSTR3411_PAR_COUNT; ++i)
        if (get_GOSTR3411_par(i)->tz == table) add(hash_sets[i].short_name);
    return users;
}

std::string table() {
    std::string text = "Parameter sets of the cipher GOST 28147-89 (the default is marked with *)\n";
    text += "  " + padded("short", 5) + padded("name", 44) + padded("object identifier", 17) + padded("S-boxes", 7) +
            padded("mode", 4) + "key meshing\n";
    for (std::uint32_t i = 0; i < VRX_GOST28147_PAR_COUNT; ++i) {
        const vrx_gost28147_par& set = *get_GOST28147_par(i);
        text += (&set == get_GOST28147_default_par() ? "* " : "  ") + padded(short_names[i], 5) + padded(set.name, 44) +
                padded(set.str_oid, 17) + padded(table_name(set.tz), 7) + padded(mode_by_number(set.mode).name, 4) +
                (set.key_meshing == 1 ? "yes" : "no") + "\n";
    }

    text += "\nParameter sets of the hash GOST R 34.11-94\n";
    text += "  " + padded("short", 9) + padded("name", 33) + padded("object identifier", 17) + "S-boxes\n";
    for (std::uint32_t i = 0; i < VRX_GOSTR3411_PAR_COUNT; ++i) {
        const vrx_gostr3411_par& set = *get_GOSTR3411_par(i);
        text += (&set == get_GOSTR3411_default_par() ? "* " : "  ") + padded(hash_sets[i].short_name, 9) +
                padded(set.name, 33) + padded(set.str_oid, 17) + table_name(set.tz) + "\n";
    }

    text += "\nCurves of GOST R 34.10-2001\n";
    text += "  " + padded("short", 5) + padded("name", 41) + "object identifier\n";
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i)
        text += "  " + padded(curve_names[i], 5) + padded(get_GOSTR3410_oid_name(i), 41) +
                get_GOSTR3410_par(i)->str_oid + "\n";

    text += "\nS-box sets ('vrx params --json' prints their contents)\n  " + padded("name", 7) + "used by\n";
    for (const char* name : cipher_tables) text += "  " + padded(name, 7) + users_of(TZ_by_name(name)) + "\n";
    for (const char* name : hash_tables) text += "  " + padded(name, 7) + users_of(hash_TZ_by_name(name)) + "\n";

    text += "\nModes of the cipher\n  " + padded("name", 4) + padded("number", 6) + padded("IV", 3) +
            padded("data length", 18) + "description\n";
    for (const Mode& mode : modes)
        text += "  " + padded(mode.name, 4) + padded(std::to_string(mode.number), 6) +
                padded(mode.takes_iv ? "yes" : "no", 3) + padded(mode.whole_blocks ? "a multiple of 8" : "any", 18) +
                mode.description + "\n";
    return text;
}

/** Writes JSON, member by member. No escaping is needed: all strings are names from the library. */
class Json {
public:
    /** Open an object or an array. For a member of an array, the key is nullptr. */
    Json& open(const char* key, char bracket) {
        begin(key);
        text_ += bracket;
        ++depth_;
        return *this;
    }
    Json& close(char bracket) {
        --depth_;
        new_line();
        text_ += bracket;
        return *this;
    }
    Json& text(const char* key, std::string_view value) { return literal(key, "\"" + std::string(value) + "\""); }
    Json& number(const char* key, std::uint32_t value) { return literal(key, std::to_string(value)); }
    Json& boolean(const char* key, bool value) { return literal(key, value ? "true" : "false"); }
    [[nodiscard]] std::string str() const { return text_ + "\n"; }

private:
    Json& literal(const char* key, const std::string& value) {
        begin(key);
        text_ += value;
        return *this;
    }
    void begin(const char* key) {
        if (text_.empty()) return;
        if (!text_.ends_with('{') && !text_.ends_with('[')) text_ += ",";
        new_line();
        if (key != nullptr) text_ += "\"" + std::string(key) + "\": ";
    }
    void new_line() { text_ += "\n" + std::string(2 * depth_, ' '); }

    std::string text_;
    std::size_t depth_ = 0;
};

void add_tables(Json& json, std::span<const char* const> names, const char* algorithm,
                const vrx_tz* (*find)(const char*)) {
    std::uint32_t index = 0;
    for (const char* name : names)
        json.open(nullptr, '{')
            .text("name", name)
            .text("algorithm", algorithm)
            .number("index", index++)
            .text("table", table_text(*find(name)))
            .close('}');
}

std::string json() {
    Json json;
    json.open(nullptr, '{').open("cipher_parameter_sets", '[');
    for (std::uint32_t i = 0; i < VRX_GOST28147_PAR_COUNT; ++i) {
        const vrx_gost28147_par& set = *get_GOST28147_par(i);
        json.open(nullptr, '{')
            .text("short", short_names[i])
            .text("name", set.name)
            .text("oid", set.str_oid)
            .text("oid_der", to_hex({set.oid, set.oid_length}))
            .text("sboxes", table_name(set.tz))
            .text("mode", mode_by_number(set.mode).name)
            .boolean("key_meshing", set.key_meshing == 1)
            .boolean("default", &set == get_GOST28147_default_par())
            .close('}');
    }
    json.close(']').open("hash_parameter_sets", '[');
    for (std::uint32_t i = 0; i < VRX_GOSTR3411_PAR_COUNT; ++i) {
        const vrx_gostr3411_par& set = *get_GOSTR3411_par(i);
        json.open(nullptr, '{')
            .text("short", hash_sets[i].short_name)
            .text("name", set.name)
            .text("oid", set.str_oid)
            .text("oid_der", to_hex({set.oid, set.oid_length}))
            .text("sboxes", table_name(set.tz))
            .boolean("default", &set == get_GOSTR3411_default_par())
            .close('}');
    }
    json.close(']').open("curves", '[');
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const EcParamSet& set = *get_GOSTR3410_par(i);
        json.open(nullptr, '{')
            .text("short", curve_names[i])
            .text("name", get_GOSTR3410_oid_name(i))
            .text("oid", set.str_oid)
            .text("oid_der", to_hex({set.oid, set.oid_len}))
            .close('}');
    }
    json.close(']').open("sbox_sets", '[');
    add_tables(json, cipher_tables, "GOST 28147-89", TZ_by_name);
    add_tables(json, hash_tables, "GOST R 34.11-94", hash_TZ_by_name);
    json.close(']').open("modes", '[');
    for (const Mode& mode : modes)
        json.open(nullptr, '{')
            .text("name", mode.name)
            .number("number", mode.number)
            .text("description", mode.description)
            .boolean("iv", mode.takes_iv)
            .boolean("whole_blocks", mode.whole_blocks)
            .close('}');
    return json.close(']').close('}').str();
}

int run(const Command& self, int argc, char** argv) {
    bool as_json = false;
    std::string out = "-";
    const auto operands =
        parse(self,
              {flag_option("json", 'j', "print JSON, with the contents of the S-boxes", as_json),
               output_option("out", 'o', "OUT", "output file for the list; default: standard output", out)},
              0, argc, argv);
    if (!operands) return exit_done;
    Output output(out);
    output.write(as_json ? json() : table());
    output.commit();
    return exit_done;
}

}  // namespace

const Command params_command{
    "params",
    "",
    "list parameter sets, curves, S-boxes and modes",
    R"(List the built-in parameter sets of cipher and hash, their object identifiers and S-boxes, the curves,
and the modes of the cipher.)",
    R"(vrx params
vrx params --json)",
    run};

}  // namespace vrx::app
