// Checks published answers with kernels, one-shot modes, contexts and the model, for all cuts of the message and all
// addresses.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "gost28147/tables.hpp"
#include "support/hex.hpp"
#include "support/kat.hpp"
#include "support/project.hpp"
#include "support/sanitizers.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

const std::string folder = in_project("tests/gost28147/");

/** The S-boxes for a block of the answer file: a published set, or octets that the source gives. */
TestTable table_of(const KatBlock& block) {
    if (block.has("sbox")) return published_table(block.text("sbox"));
    Bytes octets = block.octets("sbox_octets");
    EXPECT_EQ(octets.size(), std::size_t{VRX_NUM_TZ_SIZE});
    const model::SBoxes boxes = model::s_boxes_of_octets(octets);
    TestTable table{"octets", {}, model::Substitution(boxes)};
    // The ASN.1 form swaps the nibbles of each octet.
    EXPECT_EQ(vrx_crpt_swap_num_TZ(octets.data()), VRX_OK);
    EXPECT_TRUE(std::ranges::equal(octets, model::numeric_form(boxes)));
    EXPECT_EQ(vrx_crpt_deploy_TZ(octets.data(), &table.record), VRX_OK);
    return table;
}

bool meshing_of(const KatBlock& block) {
    const std::string meshing = block.text("meshing");
    EXPECT_TRUE(meshing == "none" || meshing == "cryptopro") << meshing;
    return meshing == "cryptopro";
}

/** Bytes at a chosen distance from an aligned address. They end at the end of their memory. */
class Placed {
public:
    explicit Placed(const Bytes& bytes, std::size_t offset = 0) : memory_(offset + bytes.size()), offset_(offset) {
        std::ranges::copy(bytes, memory_.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    Placed(std::size_t size, std::size_t offset) : Placed(Bytes(size), offset) {}
    std::uint8_t* data() { return memory_.data() + offset_; }
    [[nodiscard]] Bytes bytes() const {
        return {memory_.begin() + static_cast<std::ptrdiff_t>(offset_), memory_.end()};
    }

private:
    Bytes memory_;
    std::size_t offset_;
};

/** One known answer, in one direction. */
struct Answer {
    TestTable table;
    int mode;
    int direction;
    Bytes key;
    Bytes iv;  // empty in ECB mode
    bool meshing;
    Bytes input;
    Bytes expected;

    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(input.size()); }
    [[nodiscard]] bool whole_blocks_only() const { return mode == VRX_MODE_SS || mode == VRX_MODE_CBC; }
};

using Pieces = std::vector<std::uint32_t>;

Pieces equal_pieces(std::uint32_t total, std::uint32_t size) {
    Pieces pieces;
    for (std::uint32_t done = 0; done < total; done += size) pieces.push_back(std::min(size, total - done));
    return pieces;
}

/** All cuts in two, and all cuts in pieces of equal size. */
std::vector<Pieces> all_cuts(std::uint32_t total) {
    std::vector<Pieces> cuts;
    for (std::uint32_t first = 1; first < total; ++first) cuts.push_back({first, total - first});
    for (std::uint32_t size = 1; size <= total; ++size) cuts.push_back(equal_pieces(total, size));
    return cuts;
}

std::string text_of(const Pieces& pieces) {
    std::string text;
    for (const std::uint32_t piece : pieces) text += std::to_string(piece) + " ";
    return text;
}

// --- Ways to the output ----------------------------------------------------------------------------------------------

Bytes by_model(const Answer& a) {
    model::Context ctx;
    model::init_context(&ctx, a.direction, &a.table.record, a.table.substitution, static_cast<std::uint32_t>(a.mode), 0,
                        a.meshing, 0, a.iv.empty() ? nullptr : a.iv.data(), a.key.data());
    Bytes input = a.input;
    Bytes output(a.input.size());
    const vrx_data in{a.size(), input.data()};
    vrx_data out{a.size(), output.data()};
    model::Log log;
    EXPECT_EQ(model::update(log, &ctx, &in, &out), VRX_OK);
    EXPECT_EQ(log, "");
    return output;
}

/** Calls the dispatcher piece by piece. With key meshing, a piece ends at the end of its section. */
Bytes by_modes(const Answer& a, const Pieces& pieces, bool in_place, std::size_t offset) {
    Placed key(a.key, offset);
    Placed iv(a.iv.empty() ? Bytes(8) : a.iv, offset);
    Placed input(a.input, offset);
    Placed apart(a.input.size(), 7 - offset);
    Placed& output = in_place ? input : apart;
    std::uint32_t done = 0;
    for (std::uint32_t piece : pieces) {
        if (a.meshing && done > 0 && done % VRX_MESHING_SECTION == 0) {
            EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&a.table.record, iv.data(), key_at(key.data())), VRX_OK);
        }
        const vrx_data in{piece, input.data() + done};
        vrx_data out{piece, output.data() + done};
        const int flags = (done == 0 ? VRX_FLAG_FIRST : 0) | (done + piece == a.size() ? VRX_FLAG_PAD : 0);
        EXPECT_EQ(do_cipher_low(&a.table.record, a.mode, &in, &out, iv.data(), key_at(key.data()), a.direction, flags),
                  VRX_OK);
        EXPECT_EQ(out.length, piece);
        done += piece;
    }
    return output.bytes();
}

Bytes by_context(const Answer& a, const Pieces& pieces, bool in_place, std::size_t offset) {
    Placed key(a.key, offset);
    Placed iv(a.iv, offset);
    Placed input(a.input, offset);
    Placed apart(a.input.size(), 7 - offset);
    Placed& output = in_place ? input : apart;
    vrx_crpt_ctx ctx;
    EXPECT_EQ(vrx_crpt_init_context(&ctx, a.direction, &a.table.record, static_cast<std::uint32_t>(a.mode), 0,
                                    a.meshing, 0, a.iv.empty() ? nullptr : iv.data(), key_at(key.data())),
              VRX_OK);
    std::uint32_t read = 0;
    std::uint32_t written = 0;
    for (const std::uint32_t piece : pieces) {
        const vrx_data in{piece, input.data() + read};
        vrx_data out{a.size() - written, output.data() + written};
        EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_OK);
        read += piece;
        written += out.length;
    }
    EXPECT_EQ(written, a.size());
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    return output.bytes();
}

/**
 * Offsets from an aligned address. Builds with sanitizers test fewer offsets. So do tests of contexts, because they cut
 * the input in many ways.
 */
const std::vector<std::size_t> offsets =
    sanitized ? std::vector<std::size_t>{0, 1, 6} : std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6, 7};
const std::vector<std::size_t> context_offsets =
    sanitized ? std::vector<std::size_t>{1} : std::vector<std::size_t>{0, 1, 6};

// --- The checks ------------------------------------------------------------------------------------------------------

void expect_from_modes(const Answer& a) {
    // Returns true if all pieces except the last consist of whole blocks, and no key meshing falls inside a piece.
    std::vector<Pieces> cuts;
    const std::uint32_t longest = a.meshing ? VRX_MESHING_SECTION : a.size();
    for (std::uint32_t size = 8; size < std::min(a.size(), longest); size += 8)
        if (a.size() <= longest || longest % size == 0) cuts.push_back(equal_pieces(a.size(), size));
    cuts.push_back(equal_pieces(a.size(), longest));
    // In-place CFB decryption feeds back plaintext: this is documented behaviour.
    const bool may_be_in_place = a.mode != VRX_MODE_GFB || a.direction != 0 || a.size() <= 8;
    for (const Pieces& pieces : cuts)
        for (const bool in_place : {false, true})
            for (const std::size_t offset : offsets) {
                if (in_place && !may_be_in_place) continue;
                ASSERT_EQ(hex(by_modes(a, pieces, in_place, offset)), hex(a.expected))
                    << "one-shot, pieces of " << text_of(pieces) << (in_place ? "in place" : "");
            }
}

void expect_from_contexts(const Answer& a) {
    for (const Pieces& pieces : all_cuts(a.size())) {
        const bool may_be_in_place =
            !a.whole_blocks_only() || std::ranges::all_of(pieces, [](std::uint32_t piece) { return piece % 8 == 0; });
        for (const bool in_place : {false, true})
            for (const std::size_t offset : context_offsets) {
                if (in_place && !may_be_in_place) continue;
                ASSERT_EQ(hex(by_context(a, pieces, in_place, offset)), hex(a.expected))
                    << "context, pieces of " << text_of(pieces) << (in_place ? "in place" : "");
            }
    }
}

/** The lines of a block about a cipher mode, in both directions. */
void expect_cipher(const KatBlock& block, int mode) {
    const TestTable table = table_of(block);
    const bool meshing = mode != VRX_MODE_SS && meshing_of(block);
    const Bytes iv = mode == VRX_MODE_SS ? Bytes{} : block.octets("iv");
    const Bytes key = block.octets("key");
    const Bytes plaintext = block.octets("plaintext");
    const Bytes ciphertext = block.octets("ciphertext");
    ASSERT_EQ(plaintext.size(), ciphertext.size());
    for (const int direction : {1, 0}) {
        SCOPED_TRACE(direction != 0 ? "encrypting" : "decrypting");
        const Answer a{table,
                       mode,
                       direction,
                       key,
                       iv,
                       meshing,
                       direction != 0 ? plaintext : ciphertext,
                       direction != 0 ? ciphertext : plaintext};
        ASSERT_EQ(hex(by_model(a)), hex(a.expected)) << "the model";
        expect_from_modes(a);
        expect_from_contexts(a);
    }
}

/** The lines of a block about the MAC. */
void expect_mac(const KatBlock& block) {
    const TestTable table = table_of(block);
    const bool meshing = meshing_of(block);
    const Bytes key = block.octets("key");
    const std::string expected = block.text("mac");
    Bytes message;
    if (block.has("message")) {
        message = block.octets("message");
    } else {
        const Bytes unit = block.octets("message_unit");
        for (auto left = block.number("message_repeat"); left > 0; --left)
            message.insert(message.end(), unit.begin(), unit.end());
    }
    const auto total = static_cast<std::uint32_t>(message.size());
    // Sources print only the first octets of the state, which they use as MAC.
    const auto printed = [&](const std::uint8_t* state) { return hex({state, expected.size() / 2}); };

    {
        model::Context ctx;
        model::Log log;
        model::init_context(&ctx, 1, &table.record, table.substitution, VRX_MODE_IMITO, 0, meshing, 0, nullptr,
                            key.data());
        const vrx_data in{total, message.data()};
        ASSERT_EQ(model::update(log, &ctx, &in, nullptr), VRX_OK);
        ASSERT_EQ(model::final(log, &ctx), VRX_OK);
        ASSERT_EQ(printed(ctx.record.mac), expected) << "the model";
    }

    for (const Pieces& pieces : all_cuts(total))
        for (const std::size_t offset : context_offsets) {
            Placed placed_key(key, offset);
            Placed input(message, offset);
            vrx_crpt_ctx ctx;
            ASSERT_EQ(vrx_crpt_init_context(&ctx, 1, &table.record, VRX_MODE_IMITO, 0, meshing, 0, nullptr,
                                            key_at(placed_key.data())),
                      VRX_OK);
            std::uint32_t read = 0;
            for (const std::uint32_t piece : pieces) {
                const vrx_data in{piece, input.data() + read};
                ASSERT_EQ(vrx_crpt_update(&ctx, &in, nullptr), VRX_OK);
                read += piece;
            }
            ASSERT_EQ(vrx_crpt_final(&ctx), VRX_OK);
            ASSERT_EQ(printed(ctx.mac), expected) << "context, pieces of " << text_of(pieces);
        }

    for (const std::uint32_t size : {8u, 64u, unsigned{VRX_MESHING_SECTION}})
        for (const std::size_t offset : offsets) {
            Placed placed_key(key, offset);
            Placed input(message, offset);
            Placed state(8, 7 - offset);
            Bytes iv(8);
            std::uint32_t read = 0;
            for (const std::uint32_t piece : equal_pieces(total, size)) {
                if (meshing && read > 0 && read % VRX_MESHING_SECTION == 0) {
                    ASSERT_EQ(
                        vrx_crpt_crypto_pro_key_meshing_engine(&table.record, iv.data(), key_at(placed_key.data())),
                        VRX_OK);
                }
                const vrx_data in{piece, input.data() + read};
                vrx_data mac{8, state.data()};
                const int flags = (read == 0 ? VRX_FLAG_FIRST : 0) | (read + piece == total ? VRX_FLAG_PAD : 0);
                ASSERT_EQ(do_imito_low(&table.record, &in, &mac, key_at(placed_key.data()), flags), VRX_OK);
                read += piece;
            }
            ASSERT_EQ(printed(state.data()), expected) << "one-shot, pieces of " << size;
        }
}

void expect_type(const KatBlock& block, const std::string& type) { EXPECT_EQ(block.text("type"), type); }

// --- The files -------------------------------------------------------------------------------------------------------

TEST(KnownAnswers, codebook) {
    for_each_block(folder + "ecb.kat", [](const KatBlock& block) {
        expect_type(block, "ecb");
        expect_cipher(block, VRX_MODE_SS);
    });
}

TEST(KnownAnswers, codebook_by_kernels) {
    for_each_block(folder + "ecb.kat", [](const KatBlock& block) {
        expect_type(block, "ecb");
        const TestTable table = table_of(block);
        const Bytes key = block.octets("key");
        const Bytes plaintext = block.octets("plaintext");
        const Bytes ciphertext = block.octets("ciphertext");
        ASSERT_EQ(plaintext.size(), ciphertext.size());
        for (const std::size_t offset : offsets) {
            Placed placed_key(key, offset);
            Placed placed(plaintext, offset);
            for (std::size_t at = 0; at < plaintext.size(); at += 8)
                vrx_gost_encr_64_m(placed.data() + at, placed.data() + at, key_at(placed_key.data()), &table.record);
            EXPECT_EQ(hex(placed.bytes()), hex(ciphertext));
            for (std::size_t at = 0; at < plaintext.size(); at += 8)
                vrx_gost_decr_64_m(placed.data() + at, placed.data() + at, key_at(placed_key.data()), &table.record);
            EXPECT_EQ(hex(placed.bytes()), hex(plaintext));
        }
    });
}

TEST(KnownAnswers, cbc) {
    for_each_block(folder + "cbc.kat", [](const KatBlock& block) {
        expect_type(block, "cbc");
        expect_cipher(block, VRX_MODE_CBC);
    });
}

TEST(KnownAnswers, counter) {
    for_each_block(folder + "cnt.kat", [](const KatBlock& block) {
        expect_type(block, "cnt");
        expect_cipher(block, VRX_MODE_GAMM);
    });
}

TEST(KnownAnswers, feedback) {
    for_each_block(folder + "cfb.kat", [](const KatBlock& block) {
        expect_type(block, "cfb");
        expect_cipher(block, VRX_MODE_GFB);
    });
}

TEST(KnownAnswers, mac) {
    for_each_block(folder + "mac.kat", [](const KatBlock& block) {
        expect_type(block, "mac");
        expect_mac(block);
    });
}

TEST(KnownAnswers, more_than_1024_bytes_with_key_meshing) {
    for_each_block(folder + "meshing.kat", [](const KatBlock& block) {
        if (block.text("type") == "mac") {
            expect_mac(block);
        } else {
            expect_type(block, "cfb");
            expect_cipher(block, VRX_MODE_GFB);
        }
    });
}

TEST(KnownAnswers, feedback_of_8_bits_from_single_blocks) {
    for_each_block(folder + "cfb8.kat", [](const KatBlock& block) {
        expect_type(block, "cfb8");
        const TestTable table = table_of(block);
        const Bytes key = block.octets("key");
        const Bytes iv = block.octets("iv");
        const Bytes plaintext = block.octets("plaintext");
        const std::string ciphertext = block.text("ciphertext");
        const auto shifted_through = [&](auto encrypt) {
            Bytes shift = iv;
            Bytes output;
            for (const std::uint8_t octet : plaintext) {
                Bytes gamma(8);
                encrypt(shift, gamma);
                output.push_back(octet ^ gamma[0]);
                shift.erase(shift.begin());
                shift.push_back(output.back());
            }
            return hex(output);
        };
        EXPECT_EQ(shifted_through([&](const Bytes& in, Bytes& out) {
                      model::encr_64(in.data(), out.data(), key.data(), table.substitution);
                  }),
                  ciphertext);
        EXPECT_EQ(shifted_through([&](const Bytes& in, Bytes& out) {
                      vrx_gost_encr_64_m(in.data(), out.data(), key_at(key.data()), &table.record);
                  }),
                  ciphertext);
        EXPECT_EQ(shifted_through([&](Bytes& in, Bytes& out) {
                      const vrx_data from{8, in.data()};
                      vrx_data to{8, out.data()};
                      EXPECT_EQ(VRX_Gost_SS_m(&table.record, &from, &to, key_at(key.data()), 1), VRX_OK);
                  }),
                  ciphertext);
    });
}

}  // namespace
