// One block: the functions of vrx/kernel.h.
#include "frame/bytes.hpp"
#include "frame/secret_work.hpp"
#include "gost28147/plain.hpp"
#include "vrx/kernel.h"

using namespace vrx::gost28147;

namespace {

void run(Mode mode, const Run& block) {
    vrx::secret_work<vrx::depth::block, vrx::Registers::low>([&] { plain::run(mode, block); });
}

}  // namespace

void vrx_gost_encr_64_m(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* key, const vrx_tz* table) {
    run(Mode::ecb_encrypt, {{*table, Key(key)}, nullptr, in, out, 1});
}

void vrx_gost_decr_64_m(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* key, const vrx_tz* table) {
    run(Mode::ecb_decrypt, {{*table, Key(key)}, nullptr, in, out, 1});
}

void vrx_gost_imito_64_m(const std::uint8_t* data, std::uint8_t* state, const std::uint32_t* key, const vrx_tz* table) {
    run(Mode::mac, {{*table, Key(key)}, state, data, nullptr, 1});
}

void vrx_gost_gamm_64_m(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* counter_block,
                        const std::uint32_t* key, const vrx_tz* table) {
    run(Mode::counter, {{*table, Key(key)}, counter_block, in, out, 1});
}

void vrx_gost_GFB_64_m(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* feedback, const std::uint32_t* key,
                       const vrx_tz* table, int encrypt) {
    run(vrx::low8(encrypt) != 0 ? Mode::cfb_encrypt : Mode::cfb_decrypt_rereading,
        {{*table, Key(key)}, feedback, in, out, 1});
}

void vrx_gost_cbc_64_m(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* chain, const std::uint32_t* key,
                       const vrx_tz* table, int encrypt) {
    run(vrx::low8(encrypt) != 0 ? Mode::cbc_encrypt : Mode::cbc_decrypt, {{*table, Key(key)}, chain, in, out, 1});
}
