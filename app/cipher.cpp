#include "cipher.hpp"

#include <algorithm>

#include "io/failure.hpp"
#include "io/text.hpp"
#include "key_options.hpp"

namespace vrx::app {
namespace {

/** Load S-boxes from a file of 64 bytes, or of 128 hexadecimal digits with an optional newline. */
FileId load_table(const std::string& path, vrx_tz& table) {
    Input file(path);
    std::array<std::uint8_t, VRX_TZ_STRING_SIZE + 3> buffer;
    const std::size_t size = file.read_full(buffer);
    const std::string_view content = without_line_end({reinterpret_cast<const char*>(buffer.data()), size});

    if (size == VRX_NUM_TZ_SIZE) {
        vrx_crpt_deploy_TZ(buffer.data(), &table);
        return file.id();
    }
    if (content.size() != VRX_TZ_STRING_SIZE)
        throw Failure("the table file " + file.shown() + " holds " +
                      (size == buffer.size() ? "more than " + std::to_string(size - 1) : std::to_string(size)) +
                      " bytes; a table is 64 bytes, or 128 hexadecimal digits with an optional newline");
    std::string text;
    for (std::size_t i = 0; i < content.size(); ++i) {
        const auto value = hex_digit(content[i]);
        if (!value)
            throw Failure("character " + std::to_string(i + 1) + " of the table file " + file.shown() +
                          " is not a hexadecimal digit; a table is 64 bytes, or 128 such digits");
        text += "0123456789ABCDEF"[*value];  // the library accepts upper-case digits only
    }
    vrx_crpt_init_new_TZ(text.c_str(), &table);
    return file.id();
}

void check(int code) { app::check("the cipher", code); }

vrx_data record(std::span<std::uint8_t> data) { return {static_cast<std::uint32_t>(data.size()), data.data()}; }

}  // namespace

std::vector<Option> cipher_options(CipherOptions& options) {
    std::vector<Option> result{
        input_option("key", 'k', "the key: 32 bytes, or 64 hexadecimal digits with an optional newline", options.key),
        text_option("params", 'p', "SET",
                    "parameter set: test, A, B, C, D, 0S, SA, SB, SC, SD, a name or an object\n"
                    "identifier as 'vrx params' lists them; default: CryptoPro-A",
                    options.parameters),
        flag_option("mesh", 0, "switch CryptoPro key meshing on; default: as in the parameter set", options.mesh),
        flag_option("no-mesh", 0, "switch key meshing off", options.no_mesh),
        input_option("table", 't',
                     "S-boxes in place of those of the parameter set: 64 bytes, or 128\n"
                     "hexadecimal digits with an optional newline",
                     options.table)};
    for (Option& option : key_password_options(options.password)) result.push_back(std::move(option));
    return result;
}

Cipher::Cipher(const Command& command, const CipherOptions& options) {
    if (!options.key) throw WrongUse(command, "a key is needed, --key FILE");
    if (options.mesh && options.no_mesh) throw WrongUse(command, "--mesh and --no-mesh exclude each other");

    const vrx_gost28147_par& set =
        options.parameters ? cipher_parameters(*options.parameters) : *get_GOST28147_default_par();
    mode_ = options.mode ? &mode_by_name(*options.mode) : &mode_by_number(set.mode);
    meshing_ = options.mesh || (set.key_meshing == 1 && !options.no_mesh);
    table_ = set.tz;
    if (options.iv) {
        iv_.emplace();
        if (!from_hex(*options.iv, *iv_))
            throw WrongUse(command, "--iv takes 16 hexadecimal digits, not " + in_quotes(*options.iv));
    }
    if (options.table) {
        files_.push_back(load_table(*options.table, own_table_));
        table_ = &own_table_;
    }
    files_.push_back(load_key(*options.key, options.password, state_->key));
}

void Cipher::open_context(bool encrypt, std::uint32_t mode, const std::optional<Block>& iv) {
    check(vrx_crpt_init_context(&state_->context, encrypt ? 1 : 0, table_, mode, 0, meshing_ ? 1 : 0, 0,
                                iv ? iv->data() : nullptr, state_->key.data()));
}

void Cipher::start(bool encrypt, const std::optional<Block>& iv) { open_context(encrypt, mode_->number, iv); }

void Cipher::process(std::span<std::uint8_t> data) {
    const vrx_data in = record(data);
    vrx_data out = record(data);
    check(vrx_crpt_update(&state_->context, &in, &out));
}

void Cipher::start_mac() { open_context(true, VRX_MODE_IMITO, iv_); }

void Cipher::absorb(std::span<std::uint8_t> data) {
    const vrx_data in = record(data);
    check(vrx_crpt_update(&state_->context, &in, nullptr));
}

Block Cipher::finish_mac() {
    check(vrx_crpt_final(&state_->context));
    Block mac;
    std::copy_n(state_->context.mac, mac.size(), mac.begin());
    return mac;
}

}  // namespace vrx::app
