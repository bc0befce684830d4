#include "gost28147/block.hpp"

#include "gost28147/bulk.hpp"

namespace vrx::gost28147 {

Block encrypt(Block b, Key key, const vrx_tz& table) {
    const Block r = rounds<encryption_order>(b, key, table);
    return {r.n2, r.n1};
}

Block decrypt(Block b, Key key, const vrx_tz& table) {
    const Block r = rounds<decryption_order>(b, key, table);
    return {r.n2, r.n1};
}

Block mac_rounds(Block b, Key key, const vrx_tz& table) { return rounds<mac_order>(b, key, table); }

}  // namespace vrx::gost28147

using namespace vrx::gost28147;

void vrx_gost_encr_64_m(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* key, const vrx_tz* table) {
    ecb_encrypt({*table, Key(key)}, in, out, 1);
}

void vrx_gost_decr_64_m(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* key, const vrx_tz* table) {
    ecb_decrypt({*table, Key(key)}, in, out, 1);
}

void vrx_gost_imito_64_m(const std::uint8_t* data, std::uint8_t* state, const std::uint32_t* key, const vrx_tz* table) {
    mac({*table, Key(key)}, state, data, 1);
}

void vrx_gost_gamm_64_m(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* counter_block,
                        const std::uint32_t* key, const vrx_tz* table) {
    counter({*table, Key(key)}, counter_block, in, out, 1);
}

void vrx_gost_GFB_64_m(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* feedback, const std::uint32_t* key,
                       const vrx_tz* table, int encrypt) {
    (vrx::low8(encrypt) != 0 ? cfb_encrypt : cfb_decrypt_rereading)({*table, Key(key)}, feedback, in, out, 1);
}

void vrx_gost_cbc_64_m(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* chain, const std::uint32_t* key,
                       const vrx_tz* table, int encrypt) {
    (vrx::low8(encrypt) != 0 ? cbc_encrypt : cbc_decrypt)({*table, Key(key)}, chain, in, out, 1);
}
