// The functions of vrx/modes.h: checks, and the split of a buffer into whole blocks and a padded last one.
#include "vrx/modes.h"

#include <cstring>

#include "frame/bytes.hpp"
#include "frame/log.hpp"
#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"
#include "gost28147/bulk.hpp"

using namespace vrx::gost28147;
namespace log = vrx::log;

namespace {

/** The first of the common checks that fails. */
enum class Fault { none, null_argument, null_data, length, table };

/** The checks of the modes that write `out`. The further pointers (key, iv) must not be NULL either. */
template <typename... Pointer>
Fault check(const vrx_tz* table, const vrx_data* in, const vrx_data* out, const Pointer*... pointers) {
    if (table == nullptr || in == nullptr || out == nullptr || ((pointers == nullptr) || ...))
        return Fault::null_argument;
    if (in->data == nullptr || out->data == nullptr) return Fault::null_data;
    if (in->length == 0 || in->length > out->length) return Fault::length;
    if (table->initialised == 0) return Fault::table;
    return Fault::none;
}

int code(Fault fault) {
    switch (fault) {
        case Fault::null_argument:
        case Fault::null_data:
            return VRX_ERR_BAD_PARAMS;
        case Fault::length:
            return VRX_ERR_BUFFER_LENGTH;
        case Fault::table:
            return VRX_ERR_FAILED;
        case Fault::none:
            break;
    }
    return VRX_OK;
}

bool has(int flags, int flag) { return (flags & flag) != 0; }

/** An input split into whole blocks and a zero-padded last block, of which `tail` bytes are input. */
struct Pieces {
    std::uint32_t blocks = 0;
    std::uint32_t tail = 0;
    std::uint8_t last[VRX_BLOCK_SIZE];

    Pieces() = default;
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;
    ~Pieces() { vrx::wipe(last, sizeof last); }

    /** VRX_OK, or the code for a partial block that the flags do not allow (logged). */
    [[nodiscard]] int split(const vrx_data& in, int flags) {
        if (const int rc = make_last_block(in.data, in.length, last, &tail, &blocks, flags))
            return log::failed("make_last_block", rc);
        return VRX_OK;
    }
};

/**
 * Processes whole blocks from `in` to `out`. Then processes the padded block in a separate buffer, and writes only as
 * many bytes of it as the input has. Erases the secrets that the calls leave on the stack and in registers.
 */
[[gnu::always_inline]] inline int run(Mode mode, Cipher cipher, std::uint8_t* reg, const vrx_data& in, vrx_data& out,
                                      Pieces& pieces) {
    bulk::run(mode, {cipher, reg, in.data, out.data, pieces.blocks});
    if (pieces.tail != 0) {
        bulk::run(mode, {cipher, reg, pieces.last, pieces.last, 1});
        vrx::copy_secret(out.data + std::size_t{VRX_BLOCK_SIZE} * pieces.blocks, pieces.last, pieces.tail);
    }
    vrx::erase(bulk::extent_of(in.length));
    out.length = in.length;
    return VRX_OK;
}

}  // namespace

int make_last_block(const std::uint8_t* data, std::uint32_t length, std::uint8_t* last, std::uint32_t* tail_length,
                    std::uint32_t* full_blocks, int flags) {
    *full_blocks = length / VRX_BLOCK_SIZE;
    const std::uint32_t tail = length % VRX_BLOCK_SIZE;
    if (tail == 0) return VRX_OK;
    if (!has(flags, VRX_FLAG_PAD)) return VRX_ERR_BLOCK_MULTIPLE;
    *tail_length = tail;
    vrx::copy_secret(last, data + (length - tail), tail);
    std::memset(last + tail, 0, VRX_BLOCK_SIZE - tail);
    return VRX_OK;
}

int VRX_Gost_SS_m(const vrx_tz* table, const vrx_data* in, vrx_data* out, const std::uint32_t* key, int direction) {
    constexpr log::Name self = "VRX_Gost_SS_m";
    const Fault fault = check(table, in, out, key);
    switch (fault) {
        case Fault::null_argument:
            return log::bad_params(self);
        case Fault::null_data:
            return log::null_data(self);
        case Fault::length:
            return log::condition(self, "invalid buffer length", code(fault));
        case Fault::table:
            return log::condition(self, "TZ not initialized", code(fault));
        case Fault::none:
            break;
    }
    if (in->length % VRX_BLOCK_SIZE != 0)
        return log::condition(self, "input data length should be multiple of block size", VRX_ERR_BLOCK_MULTIPLE);
    bulk::run(vrx::low8(direction) != 0 ? Mode::ecb_encrypt : Mode::ecb_decrypt,
              {{*table, Key(key)}, nullptr, in->data, out->data, in->length / VRX_BLOCK_SIZE});
    vrx::erase(bulk::extent_of(in->length));
    out->length = in->length;
    return VRX_OK;
}

int VRX_Gost_CBC_m(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint32_t* key,
                   int direction) {
    if (const int rc = code(check(table, in, out, key, iv))) return rc;
    if (in->length % VRX_BLOCK_SIZE != 0) return VRX_ERR_BLOCK_MULTIPLE;
    bulk::run(vrx::low8(direction) != 0 ? Mode::cbc_encrypt : Mode::cbc_decrypt,
              {{*table, Key(key)}, iv, in->data, out->data, in->length / VRX_BLOCK_SIZE});
    vrx::erase(bulk::extent_of(in->length));
    out->length = in->length;
    return VRX_OK;
}

int VRX_Gost_Gamm_m(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint32_t* key,
                    int flags) {
    if (const int rc = code(check(table, in, out, key, iv))) return rc;
    Pieces pieces;
    if (const int rc = pieces.split(*in, flags)) return rc;
    const Cipher cipher{*table, Key(key)};
    if (has(flags, VRX_FLAG_FIRST)) bulk::run(Mode::ecb_encrypt, {cipher, nullptr, iv, iv, 1});
    return run(Mode::counter, cipher, iv, *in, *out, pieces);
}

int VRX_Gost_GFB_m(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint32_t* key,
                   int direction, int flags) {
    if (const int rc = code(check(table, in, out, key, iv))) return rc;
    Pieces pieces;
    if (const int rc = pieces.split(*in, flags)) return rc;
    // Deliberate: in-place decryption, including that of the padded block, feeds back plaintext.
    return run(vrx::low8(direction) != 0 ? Mode::cfb_encrypt : Mode::cfb_decrypt_rereading, {*table, Key(key)}, iv, *in,
               *out, pieces);
}

int VRX_Gost_Imito_m(const vrx_tz* table, const vrx_data* in, vrx_data* state, const std::uint32_t* key, int flags) {
    if (table == nullptr || in == nullptr || state == nullptr || key == nullptr) return VRX_ERR_BAD_PARAMS;
    if (in->data == nullptr || state->data == nullptr) return VRX_ERR_BAD_PARAMS;
    if (in->length == 0 || state->length != VRX_BLOCK_SIZE) return VRX_ERR_BUFFER_LENGTH;
    if (table->initialised == 0) return VRX_ERR_FAILED;
    Pieces pieces;
    if (const int rc = pieces.split(*in, flags)) return rc;
    const Cipher cipher{*table, Key(key)};
    if (has(flags, VRX_FLAG_FIRST)) std::memset(state->data, 0, VRX_BLOCK_SIZE);
    bulk::run(Mode::mac, {cipher, state->data, in->data, nullptr, pieces.blocks});
    if (pieces.tail != 0) bulk::run(Mode::mac, {cipher, state->data, pieces.last, nullptr, 1});
    vrx::erase(bulk::extent_of(in->length));
    return VRX_OK;
}

int do_cipher_low(const vrx_tz* table, int mode, const vrx_data* in, vrx_data* out, std::uint8_t* iv,
                  const std::uint32_t* key, int direction, int flags) {
    switch (vrx::low8(mode)) {
        case VRX_MODE_SS:
            return VRX_Gost_SS_m(table, in, out, key, direction);
        case VRX_MODE_GAMM:
            return VRX_Gost_Gamm_m(table, in, out, iv, key, flags);
        case VRX_MODE_GFB:
            return VRX_Gost_GFB_m(table, in, out, iv, key, direction, flags);
        case VRX_MODE_CBC:
            return VRX_Gost_CBC_m(table, in, out, iv, key, direction);
        default:
            return VRX_ERR_BAD_PARAMS;
    }
}

int do_imito_low(const vrx_tz* table, const vrx_data* in, vrx_data* mac_state, const std::uint32_t* key, int flags) {
    return VRX_Gost_Imito_m(table, in, mac_state, key, vrx::low8(flags));
}

int ciph_mode_by_name(const char* name) {
    struct Named {
        const char* name;
        int number;
    };
    constexpr Named modes[] = {
        {"ss", VRX_MODE_SS}, {"gamm", VRX_MODE_GAMM}, {"gfb", VRX_MODE_GFB}, {"cbc", VRX_MODE_CBC}};
    if (name == nullptr) return 0;
    for (const Named& mode : modes)
        if (std::strcmp(name, mode.name) == 0) return mode.number;
    return 0;
}
