// Tests of stream.h: the same results as a context, in pieces of any length, and refusal of invalid arguments.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vrx.hpp>

#include "support/hex.hpp"
#include "support/random.hpp"
#include "vrx/stream.h"

using namespace vrx::test;

namespace {

constexpr std::uint32_t modes[] = {VRX_MODE_SS, VRX_MODE_GAMM, VRX_MODE_GFB, VRX_MODE_CBC};
constexpr std::uint8_t iv[VRX_BLOCK_SIZE] = {8, 7, 6, 5, 4, 3, 2, 1};
const Bytes key = Random(1).bytes(VRX_KEY_SIZE);

bool has_blocks(std::uint32_t mode) { return mode == VRX_MODE_SS || mode == VRX_MODE_CBC; }

/** A copy of CryptoPro-A with another mode. */
vrx_gost28147_par set_of(std::uint32_t mode, bool key_meshing = true) {
    vrx_gost28147_par set = *get_GOST28147_par(1);
    set.mode = static_cast<std::uint8_t>(mode);
    set.key_meshing = key_meshing ? 1 : 0;
    return set;
}

/** The return code and the output of a call. */
Bytes expected(const vrx_gost28147_par& set, int direction, Bytes text) {
    vrx_crpt_ctx ctx;
    std::uint32_t words[VRX_KEY_WORDS];
    std::memcpy(words, key.data(), sizeof words);
    vrx_crpt_init_context(&ctx, direction, set.tz, set.mode, 0, set.key_meshing, 0, iv, words);
    vrx_data in{static_cast<std::uint32_t>(text.size()), text.data()};
    vrx_data out = in;
    EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_OK);
    EXPECT_EQ(out.length, text.size());
    return text;
}

/** A stream in a record that holds other bytes at first. */
struct Stream {
    vrx_crpt_ctx ctx;
    Stream() { std::memset(&ctx, 0xEE, sizeof ctx); }
    Stream(const vrx_gost28147_par& set, int direction) : Stream() {
        EXPECT_EQ(vrx_open_stream(&ctx, &set, direction, iv, key.data()), VRX_OK);
    }
};

TEST(Stream, pieces_give_the_same_result_as_one_call_of_a_context) {
    Random random;
    for (const std::uint32_t mode : modes)
        for (const int direction : {VRX_ENCRYPT, VRX_DECRYPT})
            for (const bool meshing : {false, true})
                for (const std::uint32_t largest : {1U, 7U, 8U, 9U, 1000U, 1024U, 5000U}) {
                    const vrx_gost28147_par set = set_of(mode, meshing);
                    const Bytes text = random.bytes(has_blocks(mode) ? 4000 : 4003);
                    Stream stream(set, direction);
                    Bytes out;
                    for (std::size_t done = 0; done < text.size();) {
                        const std::size_t size = std::min<std::size_t>(text.size() - done, random.below(largest + 1));
                        Bytes piece(vrx_stream_output(&stream.ctx, size));
                        std::size_t written = 99;
                        ASSERT_EQ(vrx_update_stream(&stream.ctx, text.data() + done, size, piece.data(), piece.size(),
                                                    &written),
                                  VRX_OK);
                        ASSERT_EQ(written, piece.size());
                        out.insert(out.end(), piece.begin(), piece.end());
                        done += size;
                    }
                    EXPECT_EQ(vrx_close_stream(&stream.ctx), VRX_OK);
                    ASSERT_EQ(out, expected(set, direction, text)) << mode << ' ' << direction << ' ' << largest;
                }
}

TEST(Stream, decryption_in_place_restores_the_message) {
    for (const std::uint32_t mode : modes) {
        const vrx_gost28147_par set = set_of(mode);
        const Bytes text = Random(2).bytes(3000);
        Bytes bytes = text;
        for (const int direction : {VRX_ENCRYPT, VRX_DECRYPT}) {
            Stream stream(set, direction);
            for (std::size_t done = 0; done < bytes.size(); done += 600)
                ASSERT_EQ(vrx_update_stream(&stream.ctx, &bytes[done], 600, &bytes[done], 600, nullptr), VRX_OK);
            ASSERT_EQ(vrx_close_stream(&stream.ctx), VRX_OK);
            EXPECT_EQ(bytes == text, direction == VRX_DECRYPT) << mode;
        }
    }
}

TEST(Stream, empty_pieces_and_messages_are_accepted) {
    for (const std::uint32_t mode : modes)
        for (const int direction : {VRX_ENCRYPT, VRX_DECRYPT}) {
            Stream stream(set_of(mode), direction);
            std::uint8_t byte = 0x77;
            std::size_t written = 99;
            EXPECT_EQ(vrx_update_stream(&stream.ctx, nullptr, 0, nullptr, 0, &written), VRX_OK);
            EXPECT_EQ(written, 0U);
            EXPECT_EQ(vrx_update_stream(&stream.ctx, &byte, 0, &byte, 1, &written), VRX_OK);
            EXPECT_EQ(written, 0U);
            EXPECT_EQ(byte, 0x77);
            EXPECT_EQ(vrx_close_stream(&stream.ctx), VRX_OK);
        }
}

TEST(Stream, piece_that_completes_no_block_needs_no_output) {
    const vrx_gost28147_par set = set_of(VRX_MODE_CBC, false);
    const Bytes text = Random(3).bytes(16);
    Stream stream(set, VRX_ENCRYPT);
    Bytes out(16);
    std::size_t written = 99;
    ASSERT_EQ(vrx_update_stream(&stream.ctx, text.data(), 5, nullptr, 0, &written), VRX_OK);
    EXPECT_EQ(written, 0U);
    EXPECT_EQ(vrx_stream_output(&stream.ctx, 2), 0U);
    EXPECT_EQ(vrx_stream_output(&stream.ctx, 3), 8U);
    ASSERT_EQ(vrx_update_stream(&stream.ctx, text.data() + 5, 11, out.data(), 16, &written), VRX_OK);
    EXPECT_EQ(written, 16U);
    EXPECT_EQ(vrx_close_stream(&stream.ctx), VRX_OK);
    EXPECT_EQ(out, expected(set, VRX_ENCRYPT, text));
}

TEST(Stream, incomplete_last_block_is_an_error) {
    for (const std::uint32_t mode : modes) {
        Stream stream(set_of(mode), VRX_ENCRYPT);
        std::uint8_t bytes[16] = {};
        ASSERT_EQ(vrx_update_stream(&stream.ctx, bytes, 13, bytes, sizeof bytes, nullptr), VRX_OK);
        EXPECT_EQ(vrx_close_stream(&stream.ctx), has_blocks(mode) ? VRX_ERR_BLOCK_MULTIPLE : VRX_OK);
    }
}

TEST(Stream, opening_refuses_invalid_arguments_and_leaves_the_stream_closed) {
    vrx_tz table = TZ_28147_89[1];
    table.initialised = 0;
    const vrx_gost28147_par good = *get_GOST28147_par(1);
    vrx_gost28147_par no_table = good, not_deployed = good;
    no_table.tz = nullptr;
    not_deployed.tz = &table;
    const vrx_gost28147_par unknown = set_of(0), mac = set_of(VRX_MODE_IMITO), large = set_of(255);
    const struct {
        const vrx_gost28147_par* set;
        int direction;
        const std::uint8_t* iv;
        const std::uint8_t* key;
        int code;
    } calls[] = {{nullptr, VRX_ENCRYPT, iv, key.data(), VRX_ERR_BAD_PARAMS},
                 {get_GOST28147_par(10), VRX_ENCRYPT, iv, key.data(), VRX_ERR_BAD_PARAMS},
                 {&good, VRX_ENCRYPT, nullptr, key.data(), VRX_ERR_BAD_PARAMS},
                 {&good, VRX_ENCRYPT, iv, nullptr, VRX_ERR_BAD_PARAMS},
                 {&good, 2, iv, key.data(), VRX_ERR_BAD_PARAMS},
                 {&good, -1, iv, key.data(), VRX_ERR_BAD_PARAMS},
                 {&good, 256, iv, key.data(), VRX_ERR_BAD_PARAMS},
                 {&no_table, VRX_ENCRYPT, iv, key.data(), VRX_ERR_FAILED},
                 {&not_deployed, VRX_ENCRYPT, iv, key.data(), VRX_ERR_FAILED},
                 {&unknown, VRX_ENCRYPT, iv, key.data(), VRX_ERR_UNKNOWN_MODE},
                 {&mac, VRX_ENCRYPT, iv, key.data(), VRX_ERR_UNKNOWN_MODE},
                 {&large, VRX_ENCRYPT, iv, key.data(), VRX_ERR_UNKNOWN_MODE}};
    for (const auto& call : calls) {
        Stream stream;
        std::uint8_t byte = 0;
        EXPECT_EQ(vrx_open_stream(&stream.ctx, call.set, call.direction, call.iv, call.key), call.code);
        EXPECT_EQ(vrx_update_stream(&stream.ctx, &byte, 1, &byte, 1, nullptr), VRX_ERR_CONTEXT_STATE);
        EXPECT_EQ(vrx_close_stream(&stream.ctx), VRX_ERR_CONTEXT_STATE);
    }
    EXPECT_EQ(vrx_open_stream(nullptr, &good, VRX_ENCRYPT, iv, key.data()), VRX_ERR_BAD_PARAMS);
}

TEST(Stream, refused_piece_changes_nothing) {
    for (const std::uint32_t mode : modes) {
        const vrx_gost28147_par set = set_of(mode);
        const Bytes text = Random(4).bytes(40);
        Stream stream(set, VRX_ENCRYPT);
        Bytes out(40);
        std::size_t written = 0, more = 99;
        ASSERT_EQ(vrx_update_stream(&stream.ctx, text.data(), 12, out.data(), 40, &written), VRX_OK);
        std::uint8_t* const rest = out.data() + written;
        const std::size_t room = 40 - written;
        EXPECT_EQ(vrx_update_stream(&stream.ctx, text.data() + 12, 28, rest, room - 1, &more), VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(more, 0U);
        EXPECT_EQ(vrx_update_stream(&stream.ctx, nullptr, 28, rest, room, &more), VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(vrx_update_stream(&stream.ctx, text.data() + 12, 28, nullptr, room, &more), VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(vrx_update_stream(nullptr, text.data() + 12, 28, rest, room, &more), VRX_ERR_BAD_PARAMS);
        if (has_blocks(mode)) {  // in place, while the context holds four bytes
            EXPECT_EQ(vrx_update_stream(&stream.ctx, rest, 28, rest, room, &more), VRX_ERR_BAD_PARAMS);
        }
        ASSERT_EQ(vrx_update_stream(&stream.ctx, text.data() + 12, 28, rest, room, &more), VRX_OK);
        EXPECT_EQ(more, room);
        EXPECT_EQ(vrx_close_stream(&stream.ctx), VRX_OK);
        EXPECT_EQ(out, expected(set, VRX_ENCRYPT, text)) << mode;
    }
}

TEST(Stream, closing_wipes_the_record) {
    for (const std::uint32_t mode : modes)
        for (const std::size_t size : {0U, 5U, 2000U}) {
            Stream stream(set_of(mode), VRX_ENCRYPT);
            Bytes bytes(size, 1);
            ASSERT_EQ(vrx_update_stream(&stream.ctx, bytes.data(), size, bytes.data(), size, nullptr), VRX_OK);
            static_cast<void>(vrx_close_stream(&stream.ctx));
            const auto* const record = reinterpret_cast<const std::uint8_t*>(&stream.ctx);
            EXPECT_EQ(std::count(record, record + sizeof stream.ctx, 0),
                      static_cast<std::ptrdiff_t>(sizeof stream.ctx));
            EXPECT_EQ(vrx_close_stream(&stream.ctx), VRX_ERR_CONTEXT_STATE);
        }
    EXPECT_EQ(vrx_close_stream(nullptr), VRX_ERR_BAD_PARAMS);
}

TEST(Stream, key_and_message_may_have_any_address) {
    const vrx_gost28147_par set = set_of(VRX_MODE_GFB);
    const Bytes text = Random(5).bytes(100);
    Bytes shifted(1);
    shifted.insert(shifted.end(), key.begin(), key.end());
    shifted.insert(shifted.end(), text.begin(), text.end());
    vrx_crpt_ctx ctx;
    ASSERT_EQ(vrx_open_stream(&ctx, &set, VRX_ENCRYPT, iv, &shifted[1]), VRX_OK);
    ASSERT_EQ(vrx_update_stream(&ctx, &shifted[33], 100, &shifted[33], 100, nullptr), VRX_OK);
    EXPECT_EQ(vrx_close_stream(&ctx), VRX_OK);
    EXPECT_EQ(Bytes(shifted.begin() + 33, shifted.end()), expected(set, VRX_ENCRYPT, text));
}

/** Address space for a result of more than 2^30 bytes, of which only the last 2^20 are kept. */
class Window {
public:
    static constexpr std::size_t kept = std::size_t{1} << 20;

    explicit Window(std::size_t size) : size_((size + kept - 1) / kept * kept) {
        const int file = memfd_create("window", 0);
        if (file < 0 || ftruncate(file, kept) != 0) return;
        start_ = static_cast<std::uint8_t*>(mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        for (std::size_t at = 0; at < size_; at += kept)
            mmap(start_ + at, kept, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0);
        close(file);
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() { munmap(start_, size_); }
    std::uint8_t* data() { return start_; }

private:
    std::size_t size_;
    std::uint8_t* start_ = nullptr;
};

TEST(Stream, piece_that_needs_more_than_one_record_is_processed_whole) {
    constexpr std::size_t size = (std::size_t{1} << 30) + 2000;
    const vrx_gost28147_par set = set_of(VRX_MODE_GAMM, false);
    void* const zeros = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    Window whole(size), part(size / 2);
    Stream once(set, VRX_ENCRYPT), twice(set, VRX_ENCRYPT);
    std::size_t written = 0;
    ASSERT_EQ(vrx_update_stream(&once.ctx, zeros, size, whole.data(), size, &written), VRX_OK);
    EXPECT_EQ(written, size);
    for (int half = 0; half < 2; ++half)
        ASSERT_EQ(vrx_update_stream(&twice.ctx, zeros, size / 2, part.data(), size / 2, nullptr), VRX_OK);
    EXPECT_EQ(Bytes(whole.data() + size - 900, whole.data() + size),
              Bytes(part.data() + size / 2 - 900, part.data() + size / 2));
    munmap(zeros, size);
}

}  // namespace
