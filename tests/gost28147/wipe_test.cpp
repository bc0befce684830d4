// Tests that neither keys, nor meshed keys, nor plaintext stay on the stack. Each call runs on a separate stack.
#include <gtest/gtest.h>

#include <cstring>

#include "support/own_stack.hpp"
#include "support/random.hpp"
#include "vrx.h"

namespace {

using namespace vrx::test;

struct Secrets {
    std::uint32_t key[VRX_KEY_WORDS];
    std::uint8_t iv[VRX_BLOCK_SIZE];
    std::uint8_t text[2 * VRX_MESHING_SECTION + 24];
    std::uint8_t mac[VRX_BLOCK_SIZE];
    vrx_crpt_ctx ctx;
};

struct Call {
    const char* name;
    /** The plaintext is the content of the text before the call (encryption) or after the call (decryption). */
    enum { before, after } plaintext;
    /** Preparation before the call whose stack is searched. */
    std::function<void(Secrets&)> prepare;
    std::function<void(Secrets&)> run;
};

const std::string half = "half a block of the plaintext; ";
int refused;  // the code of the calls, which must succeed

constexpr auto nothing = [](Secrets&) {};
const vrx_tz& table = TZ_28147_89[1];

Call mode(const char* name, int mode, int direction, std::uint32_t size) {
    return {name, direction != 0 ? Call::before : Call::after, nothing, [=](Secrets& s) {
                const vrx_data in{size, s.text};
                vrx_data out = in;
                refused |=
                    do_cipher_low(&table, mode, &in, &out, s.iv, s.key, direction, VRX_FLAG_FIRST | VRX_FLAG_PAD);
            }};
}

/** A table that is not the expansion of any S-boxes, which causes another code path. */
Call by_own_table(const char* name, int direction) {
    return {name, direction != 0 ? Call::before : Call::after, nothing, [=](Secrets& s) {
                static const vrx_tz own = [] {
                    vrx_tz changed = table;
                    changed.t[0][0] ^= 1;
                    return changed;
                }();
                const vrx_data in{1024, s.text};
                vrx_data out = in;
                refused |= do_cipher_low(&own, VRX_MODE_SS, &in, &out, s.iv, s.key, direction, VRX_FLAG_FIRST);
            }};
}

void init(Secrets& s, std::uint32_t mode, int direction) {
    refused |= vrx_crpt_init_context(&s.ctx, direction, get_GOST28147_par(1)->tz, mode, 0, 1, 0, s.iv, s.key);
}

/** Encrypts in pieces, across two meshings. */
Call context(const char* name, std::uint32_t mode, int direction) {
    return {name, direction != 0 ? Call::before : Call::after, [=](Secrets& s) { init(s, mode, direction); },
            [mode](Secrets& s) {
                // In these two modes, all pieces are whole blocks. In the other modes, two pieces end within a block.
                const std::uint32_t part = mode == VRX_MODE_SS || mode == VRX_MODE_CBC ? 0 : 4;
                for (const std::uint32_t piece : {24U, 1704U - part, 8U, 336U + part}) {
                    const vrx_data in{piece, s.text};
                    vrx_data out = in;
                    refused |= vrx_crpt_update(&s.ctx, &in, &out);
                }
                refused |= vrx_crpt_final(&s.ctx);
            }};
}

// A message may end with a partial block of 7 bytes, which begins at text[tail_at].
constexpr std::uint32_t tail_size = 7;
constexpr std::uint32_t tail_at = 1696;

/** Encrypts in one piece, which ends with a partial block. */
Call context_with_tail(const char* name, std::uint32_t mode, int direction) {
    return {name, direction != 0 ? Call::before : Call::after, [=](Secrets& s) { init(s, mode, direction); },
            [](Secrets& s) {
                const vrx_data in{tail_at + tail_size, s.text};
                vrx_data out = in;
                refused |= vrx_crpt_update(&s.ctx, &in, &out);
                refused |= vrx_crpt_final(&s.ctx);
            }};
}

using Kernel = void (*)(const std::uint8_t*, std::uint8_t*, const std::uint32_t*, const vrx_tz*);
Call block(const char* name, Kernel kernel, int direction) {
    return {name, direction != 0 ? Call::before : Call::after, nothing,
            [kernel](Secrets& s) { kernel(s.text, s.text, s.key, &table); }};
}

const Call calls[] = {
    mode("ss_encryption", VRX_MODE_SS, 1, 1024),
    mode("ss_decryption", VRX_MODE_SS, 0, 1024),
    by_own_table("ss_encryption_by_own_table", 1),
    by_own_table("ss_decryption_by_own_table", 0),
    mode("ss_of_few_blocks", VRX_MODE_SS, 1, 24),
    mode("gamm", VRX_MODE_GAMM, 1, 1023),
    mode("gamm_of_few_blocks", VRX_MODE_GAMM, 1, 23),
    mode("gfb_encryption", VRX_MODE_GFB, 1, 1023),
    mode("gfb_decryption", VRX_MODE_GFB, 0, 1023),
    mode("cbc_encryption", VRX_MODE_CBC, 1, 1024),
    mode("cbc_decryption", VRX_MODE_CBC, 0, 1024),
    {"imito", Call::before, nothing,
     [](Secrets& s) {
         const vrx_data in{1023, s.text};
         vrx_data out{sizeof s.mac, s.mac};
         refused |= do_imito_low(&table, &in, &out, s.key, VRX_FLAG_FIRST | VRX_FLAG_PAD);
     }},
    {"init_context", Call::before, nothing, [](Secrets& s) { init(s, VRX_MODE_GAMM, 1); }},
    context("context_ss", VRX_MODE_SS, 1),
    context("context_gamm", VRX_MODE_GAMM, 1),
    context("context_gfb_encryption", VRX_MODE_GFB, 1),
    context("context_gfb_decryption", VRX_MODE_GFB, 0),
    context("context_cbc_encryption", VRX_MODE_CBC, 1),
    context("context_cbc_decryption", VRX_MODE_CBC, 0),
    context("context_imito", VRX_MODE_IMITO, 1),
    context_with_tail("context_gamm_with_tail", VRX_MODE_GAMM, 1),
    context_with_tail("context_gfb_encryption_with_tail", VRX_MODE_GFB, 1),
    context_with_tail("context_gfb_decryption_with_tail", VRX_MODE_GFB, 0),
    context_with_tail("context_imito_with_tail", VRX_MODE_IMITO, 1),
    {"key_meshing", Call::before, [](Secrets& s) { init(s, VRX_MODE_GAMM, 1); },
     [](Secrets& s) { vrx_make_key_meshing(&s.ctx); }},
    block("block_encryption", vrx_gost_encr_64_m, 1),
    block("block_decryption", vrx_gost_decr_64_m, 0),
    {"block_mac", Call::before, nothing, [](Secrets& s) { vrx_gost_imito_64_m(s.text, s.mac, s.key, &table); }},
    {"block_gamm", Call::before, nothing, [](Secrets& s) { vrx_gost_gamm_64_m(s.text, s.text, s.iv, s.key, &table); }},
    {"block_gfb", Call::after, nothing, [](Secrets& s) { vrx_gost_GFB_64_m(s.text, s.text, s.iv, s.key, &table, 0); }},
    {"block_cbc", Call::after, nothing, [](Secrets& s) { vrx_gost_cbc_64_m(s.text, s.text, s.iv, s.key, &table, 0); }},
};

/**
 * Names the secrets that the call left on the stack: eight consecutive bytes of any secret, half a block of the
 * plaintext, a word of the key, or bytes of the key in the form of the vector engines.
 */
std::string left_by(const Call& call) {
    static Secrets secrets;
    static Random random;
    refused = VRX_OK;
    // The first run is for one-time work: the dynamic linker resolves functions, and saves all registers.
    for (int run = 0; run < 2; ++run) {
        secrets = random.value<Secrets>();
        secrets.text[1023] = 0;  // the padding of 1023 bytes
        call.prepare(secrets);
        if (run == 0) call.run(secrets);
    }
    std::vector<std::pair<std::string, Bytes>> wanted;
    const auto add = [&](const char* what, const void* bytes, std::size_t size) {
        const auto* first = static_cast<const std::uint8_t*>(bytes);
        wanted.emplace_back(what, Bytes(first, first + size));
    };
    const auto add_key = [&](const char* what, const void* key) {
        add(what, key, VRX_KEY_SIZE);
        for (unsigned i = 0; i < VRX_KEY_WORDS; ++i) {
            const auto* word = static_cast<const std::uint8_t*>(key) + 4 * i;
            Bytes twice(word, word + 4);
            twice.insert(twice.end(), word, word + 4);
            wanted.emplace_back(std::string(what) + ", a word", twice);
            // The form of key bytes in engines that use planes of bytes: a negated byte, repeated in all bytes of a
            // vector.
            Bytes planes(4, static_cast<std::uint8_t>(-word[0]));
            planes.insert(planes.end(), 4, static_cast<std::uint8_t>(-word[1]));
            if (word[0] != word[1]) wanted.emplace_back(std::string(what) + ", bytes", planes);
        }
    };
    add_key("the key", secrets.key);
    const auto add_text = [&] {
        add("the plaintext", secrets.text, sizeof secrets.text);
        add("the tail", secrets.text + tail_at, tail_size);
    };
    if (call.plaintext == Call::before) add_text();
    const Bytes stack = stack_after([&] { call.run(secrets); });
    EXPECT_EQ(refused, VRX_OK);
    if (call.plaintext == Call::after) add_text();
    add_key("the meshed key", secrets.ctx.key);
    std::string found;
    for (const auto& [what, bytes] : wanted) {
        if (holds_part_of(stack, bytes))
            found += what + "; ";
        else if (what == "the plaintext" && holds_word_of(stack, bytes))
            found += half;
    }
    return found;
}

class CipherWiping : public testing::TestWithParam<Call> {};

TEST_P(CipherWiping, nothing_is_left_of_keys_and_plaintext) {
    std::string left = left_by(GetParam());
    // In about one of 3000 calls, four bytes of a secret are found by chance. The second call has other secrets.
    if (left == half) left = left_by(GetParam());
    EXPECT_EQ(left, "");
}

INSTANTIATE_TEST_SUITE_P(All, CipherWiping, testing::ValuesIn(calls),
                         [](const auto& call) { return std::string(call.param.name); });

// Control: the search finds a key that was left on the stack.
TEST(CipherWipingControl, a_key_left_on_the_stack_is_found) {
    EXPECT_EQ(left_by({"", Call::before, nothing,
                       [](Secrets& s) {
                           std::uint32_t copy[VRX_KEY_WORDS];
                           std::memcpy(copy, s.key, sizeof copy);
                           asm volatile("" : : "r"(copy) : "memory");
                       }}),
              "the key; ");
}

// This message also has a partial block at its end.
TEST(CipherWipingControl, a_tail_left_on_the_stack_is_found) {
    EXPECT_EQ(left_by({"", Call::before, nothing,
                       [](Secrets& s) {
                           alignas(4) std::uint8_t copy[6];
                           std::memcpy(copy, s.text + 16, sizeof copy);
                           asm volatile("" : : "r"(copy) : "memory");
                       }}),
              half);
}

}  // namespace
