#include "gost28147/model.hpp"

#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

namespace vrx::test::model {
namespace {

std::uint32_t load(const std::uint8_t* bytes) {
    std::uint32_t word = 0;
    for (unsigned i = 0; i < 4; ++i) word |= std::uint32_t{bytes[i]} << (8 * i);
    return word;
}

void store(std::uint8_t* bytes, std::uint32_t word) {
    for (unsigned i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(word >> (8 * i));
}

/** The two halves N1 and N2 of a block. */
struct Block {
    std::uint32_t n1, n2;
};

Block load_block(const std::uint8_t* bytes) { return {load(bytes), load(bytes + 4)}; }

void store_block(std::uint8_t* bytes, Block block) {
    store(bytes, block.n1);
    store(bytes + 4, block.n2);
}

Block operator^(Block a, Block b) { return {a.n1 ^ b.n1, a.n2 ^ b.n2}; }

/**
 * Performs one round for each digit of `order`, which is the index of the round's key word. Every round ends with a
 * swap of the halves.
 */
Block rounds(Block block, const std::uint8_t* key, const Substitution& f, std::string_view order) {
    for (const char digit : order) block = {block.n2 ^ f(block.n1 + load(key + 4 * (digit - '0'))), block.n1};
    return block;
}

/** The last of the 32 rounds does not swap the halves. */
Block exchanged(Block block) { return {block.n2, block.n1}; }

Block encrypted(Block block, const std::uint8_t* key, const Substitution& f) {
    return exchanged(rounds(block, key, f,
                            "01234567"
                            "01234567"
                            "01234567"
                            "76543210"));
}

Block decrypted(Block block, const std::uint8_t* key, const Substitution& f) {
    return exchanged(rounds(block, key, f,
                            "01234567"
                            "76543210"
                            "76543210"
                            "76543210"));
}

bool low_byte(int selector) { return (selector & 0xFF) != 0; }

std::string failed(const char* callee, int rc) {
    char text[80];
    std::snprintf(text, sizeof text, "%s failed, rc = 0x%x\n", callee, static_cast<unsigned>(rc));
    return text;
}

}  // namespace

// --- Tables ----------------------------------------------------------------------------------------------------------

const std::map<std::string, SBoxes>& published_s_boxes() {
    // The lines K1 to K8 of each set, one digit for each input value.
    static const std::map<std::string, std::array<const char*, 8>> lines{
        {"id-Gost28147-89-TestParamSet",
         {"42F59108E3BCD7A6", "C9FE813A274D60B5", "D8EC739A15246F0B", "E9B25F710DC6A438",  //
          "3E59680DAB7C21F4", "8F6B19C5D37A0E24", "9BC0367548EF1A2D", "C652B09D3E7AF418"}},
        {"id-Gost28147-89-CryptoPro-A-ParamSet",
         {"96328B17A4EFC0D5", "37E98AF0526CB4D1", "E462B3D8CF5A0719", "E7ACD13902B4F856",  //
          "B5198DF0E423C7A6", "3ADC120B75948FE6", "1D297A608C45F3BE", "BAF50CE8623917D4"}},
        {"id-Gost28147-89-CryptoPro-B-ParamSet",
         {"84B135092EACD67F", "012A4D5C973FB86E", "EC0A92DB758F3614", "750DB6123ACF4E98",  //
          "27CF95AB140D68E3", "83264DEBC17FA095", "52AB91C374D06F8E", "04BE8371A296FD5C"}},
        {"id-Gost28147-89-CryptoPro-C-ParamSet",
         {"1BC29D0F458EA763", "017DB4528EFC9A63", "825049FA37CD6E1B", "36015DA8B297EFC4",  //
          "8DB0451293CE6FA7", "C9B18E247365A0FD", "A968DE20F35B41C7", "7405A2FEC61BD938"}},
        {"id-Gost28147-89-CryptoPro-D-ParamSet",
         {"FC2A645079ED1B83", "B634CFE27D805A91", "1CB0FE65AD489372", "15ECA70D62B493F8",  //
          "0C89D2AB73654EF1", "80F325EB1A47C9D6", "306F1E92D8C4BA57", "1A68FB04C3597D2E"}},
        {"id-GostR3411-94-TestParamSet",
         {"4A92D80E6B1C7F53", "EB4C6DFA23810759", "581DA342EFC7609B", "7DA1089FE46CB253",  //
          "6C715FD84A9E03B2", "4BA0721D36859CFE", "DB413F590AE7682C", "1FD057A4923E6B8C"}},
        {"id-GostR3411-94-CryptoProParamSet",
         {"A4568137DCE092BF", "5F402DB91763CEA8", "7FCE94103B526A8D", "4A7C0F28E165DB93",  //
          "764B9C2A180EFD35", "7624D9F0A15B8EC3", "DE41705A3C8F629B", "13A95B4F867ED02C"}},
    };
    static const std::map<std::string, SBoxes> sets = [] {
        std::map<std::string, SBoxes> result;
        for (const auto& [name, boxes] : lines)
            for (std::size_t box = 0; box < 8; ++box)
                for (std::size_t input = 0; input < 16; ++input) {
                    const char digit = boxes[box][input];
                    result[name][box][input] = static_cast<std::uint8_t>(digit <= '9' ? digit - '0' : digit - 'A' + 10);
                }
        return result;
    }();
    return sets;
}

SBoxes s_boxes_of_octets(std::span<const std::uint8_t> octets) {
    SBoxes boxes;
    for (std::size_t i = 0; i < 16; ++i)
        for (std::size_t j = 0; j < 4; ++j) {
            boxes[2 * j][i] = octets[4 * i + j] >> 4;
            boxes[2 * j + 1][i] = octets[4 * i + j] & 15;
        }
    return boxes;
}

std::array<std::uint8_t, VRX_NUM_TZ_SIZE> numeric_form(const SBoxes& boxes) {
    std::array<std::uint8_t, VRX_NUM_TZ_SIZE> numeric;
    for (std::size_t i = 0; i < 16; ++i)
        for (std::size_t m = 0; m < 4; ++m)
            numeric[4 * i + m] = static_cast<std::uint8_t>(boxes[2 * m][i] | boxes[2 * m + 1][i] << 4);
    return numeric;
}

std::uint32_t Substitution::operator()(std::uint32_t value) const {
    std::uint32_t result = 0;
    if (tables_) {
        for (unsigned k = 0; k < 4; ++k) result ^= tables_->t[k][value >> (8 * k) & 0xFF];
        return result;
    }
    for (unsigned r = 0; r < 8; ++r) result |= std::uint32_t{boxes_[r][value >> (4 * r) & 15]} << (4 * r);
    return result << 11 | result >> 21;
}

// --- One block -------------------------------------------------------------------------------------------------------

void encr_64(const std::uint8_t* in, std::uint8_t* out, const std::uint8_t* key, const Substitution& f) {
    store_block(out, encrypted(load_block(in), key, f));
}

void decr_64(const std::uint8_t* in, std::uint8_t* out, const std::uint8_t* key, const Substitution& f) {
    store_block(out, decrypted(load_block(in), key, f));
}

void imito_64(const std::uint8_t* data, std::uint8_t* state, const std::uint8_t* key, const Substitution& f) {
    store_block(state, rounds(load_block(state) ^ load_block(data), key, f,
                              "01234567"
                              "01234567"));
}

void gamm_64(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* counter, const std::uint8_t* key,
             const Substitution& f) {
    const Block data = load_block(in);
    Block step = load_block(counter);
    step.n1 += 0x01010101;
    const std::uint64_t sum = std::uint64_t{step.n2} + 0x01010104;
    step.n2 = static_cast<std::uint32_t>(sum > 0xFFFFFFFF ? sum - 0xFFFFFFFF : sum);
    store_block(counter, step);
    store_block(out, data ^ encrypted(step, key, f));
}

void gfb_64(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* feedback, const std::uint8_t* key,
            const Substitution& f, int encrypt) {
    store_block(out, load_block(in) ^ encrypted(load_block(feedback), key, f));
    // The input is read after `out` is written, so in-place decryption feeds back the decrypted block.
    store_block(feedback, load_block(low_byte(encrypt) ? out : in));
}

void cbc_64(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* chain, const std::uint8_t* key,
            const Substitution& f, int encrypt) {
    const Block data = load_block(in);
    const Block old = load_block(chain);
    const Block result = low_byte(encrypt) ? encrypted(data ^ old, key, f) : decrypted(data, key, f) ^ old;
    store_block(out, result);
    store_block(chain, low_byte(encrypt) ? result : data);
}

// --- A whole buffer --------------------------------------------------------------------------------------------------

namespace {

struct Verdict {
    int code = VRX_OK;
    const char* text = "";
};

/** The checks that all modes have in common. ECB and MAC pass their key again, in place of an IV. */
Verdict check(const Table* table, const vrx_data* in, const vrx_data* out, const std::uint8_t* iv,
              const std::uint8_t* key, bool is_mac = false) {
    if (table == nullptr || in == nullptr || out == nullptr || iv == nullptr || key == nullptr)
        return {VRX_ERR_BAD_PARAMS, "bad params"};
    if (in->data == nullptr || out->data == nullptr) return {VRX_ERR_BAD_PARAMS, "NULL data pointer"};
    if (in->length == 0 || (is_mac ? out->length != 8 : in->length > out->length))
        return {VRX_ERR_BUFFER_LENGTH, "invalid buffer length"};
    if (table->initialised == 0) return {VRX_ERR_FAILED, "TZ not initialized"};
    return {};
}

/** ECB and CBC require whole blocks. */
Verdict check_whole_blocks(const Table* table, const vrx_data* in, const vrx_data* out, const std::uint8_t* iv,
                           const std::uint8_t* key) {
    const Verdict verdict = check(table, in, out, iv, key);
    if (verdict.code != VRX_OK || in->length % 8 == 0) return verdict;
    return {VRX_ERR_BLOCK_MULTIPLE, "input data length should be multiple of block size"};
}

/**
 * Processes the blocks of a buffer that may end with a partial block. The partial block is copied before the first
 * block is processed.
 */
struct Cut {
    std::uint32_t full_blocks = 0;
    std::uint32_t tail_length = 0;
    std::uint8_t last[8] = {};
    int code;

    Cut(Log& log, const vrx_data* in, int flags)
        : code(make_last_block(in->data, in->length, last, &tail_length, &full_blocks, flags)) {
        if (code != VRX_OK) log += failed("make_last_block", code);
    }
};

/** For CNT and CFB: performs `step` on every whole block, and then on the padded block in place. */
template <typename Step>
int stream(Cut& cut, const vrx_data* in, vrx_data* out, Step step) {
    for (std::uint32_t i = 0; i < cut.full_blocks; ++i) step(in->data + 8 * i, out->data + 8 * i);
    if (cut.tail_length != 0) {
        step(cut.last, cut.last);
        std::memcpy(out->data + 8 * cut.full_blocks, cut.last, cut.tail_length);
    }
    out->length = in->length;
    return VRX_OK;
}

}  // namespace

int make_last_block(const std::uint8_t* data, std::uint32_t length, std::uint8_t* last, std::uint32_t* tail_length,
                    std::uint32_t* full_blocks, int flags) {
    *full_blocks = length / 8;
    if (length % 8 == 0) return VRX_OK;
    if ((flags & VRX_FLAG_PAD) == 0) return VRX_ERR_BLOCK_MULTIPLE;
    *tail_length = length % 8;
    std::memset(last, 0, 8);
    std::memcpy(last, data + 8 * *full_blocks, *tail_length);
    return VRX_OK;
}

int ss(Log& log, const Table* table, const vrx_data* in, vrx_data* out, const std::uint8_t* key, int direction) {
    const Verdict verdict = check_whole_blocks(table, in, out, key, key);
    if (verdict.code != VRX_OK) {
        log += std::string("VRX_Gost_SS_m: ") + verdict.text + "\n";
        return verdict.code;
    }
    for (std::uint32_t at = 0; at < in->length; at += 8)
        (low_byte(direction) ? encr_64 : decr_64)(in->data + at, out->data + at, key, *table->substitution);
    out->length = in->length;
    return VRX_OK;
}

int cbc(Log&, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key,
        int direction) {
    const Verdict verdict = check_whole_blocks(table, in, out, iv, key);
    if (verdict.code != VRX_OK) return verdict.code;
    for (std::uint32_t at = 0; at < in->length; at += 8)
        cbc_64(in->data + at, out->data + at, iv, key, *table->substitution, direction);
    out->length = in->length;
    return VRX_OK;
}

int gamm(Log& log, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key,
         int flags) {
    const Verdict verdict = check(table, in, out, iv, key);
    if (verdict.code != VRX_OK) return verdict.code;
    Cut cut(log, in, flags);
    if (cut.code != VRX_OK) return cut.code;
    if ((flags & VRX_FLAG_FIRST) != 0) encr_64(iv, iv, key, *table->substitution);
    return stream(cut, in, out, [&](const std::uint8_t* from, std::uint8_t* to) {
        gamm_64(from, to, iv, key, *table->substitution);
    });
}

int gfb(Log& log, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key,
        int direction, int flags) {
    const Verdict verdict = check(table, in, out, iv, key);
    if (verdict.code != VRX_OK) return verdict.code;
    Cut cut(log, in, flags);
    if (cut.code != VRX_OK) return cut.code;
    return stream(cut, in, out, [&](const std::uint8_t* from, std::uint8_t* to) {
        gfb_64(from, to, iv, key, *table->substitution, direction);
    });
}

int imito(Log& log, const Table* table, const vrx_data* in, vrx_data* mac, const std::uint8_t* key, int flags) {
    const Verdict verdict = check(table, in, mac, key, key, true);
    if (verdict.code != VRX_OK) return verdict.code;
    const Cut cut(log, in, flags);
    if (cut.code != VRX_OK) return cut.code;
    if ((flags & VRX_FLAG_FIRST) != 0) std::memset(mac->data, 0, 8);
    for (std::uint32_t i = 0; i < cut.full_blocks; ++i)
        imito_64(in->data + 8 * i, mac->data, key, *table->substitution);
    if (cut.tail_length != 0) imito_64(cut.last, mac->data, key, *table->substitution);
    return VRX_OK;
}

int cipher_low(Log& log, const Table* table, int mode, const vrx_data* in, vrx_data* out, std::uint8_t* iv,
               const std::uint8_t* key, int direction, int flags) {
    switch (mode & 0xFF) {
        case VRX_MODE_SS:
            return ss(log, table, in, out, key, direction);
        case VRX_MODE_GAMM:
            return gamm(log, table, in, out, iv, key, flags);
        case VRX_MODE_GFB:
            return gfb(log, table, in, out, iv, key, direction, flags);
        case VRX_MODE_CBC:
            return cbc(log, table, in, out, iv, key, direction);
        default:
            return VRX_ERR_BAD_PARAMS;
    }
}

// --- Contexts --------------------------------------------------------------------------------------------------------

int init_context(Context* ctx, int direction, const vrx_tz* table, const Substitution& substitution, std::uint32_t mode,
                 std::uint32_t aux1, std::uint32_t key_meshing, std::uint32_t aux2, const std::uint8_t* iv,
                 const std::uint8_t* key) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    ctx->substitution = &substitution;
    vrx_crpt_ctx& r = ctx->record;
    std::memset(&r, 0, sizeof r);
    r.direction = static_cast<std::uint8_t>(direction);
    std::memcpy(&r.table, table, sizeof r.table);
    r.mode = mode;
    r.aux1 = aux1;
    r.key_meshing = key_meshing;
    r.aux2 = aux2;
    std::memcpy(r.key, key, sizeof r.key);
    r.flags = VRX_FLAG_FIRST;
    if (iv != nullptr) {
        std::memcpy(r.iv, iv, 8);
        if (mode == VRX_MODE_IMITO) {
            std::memcpy(r.mac, iv, 8);
            r.flags = 0;
        }
    }
    r.initialised = 1;
    return VRX_OK;
}

int old_init_context(Context* ctx, int direction, const old_crpt_params* p, const Substitution& substitution) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    vrx_crpt_ctx& r = ctx->record;
    r.initialised = 0;
    if (p == nullptr || p->first == 0 || p->second == 0 || p->table->data == nullptr || p->key->length == 0 ||
        p->key->data == nullptr)
        return VRX_ERR_BAD_PARAMS;
    ctx->substitution = &substitution;
    vrx_crpt_table_rec from;
    std::memcpy(&from, p->table->data, sizeof from);
    r.direction = static_cast<std::uint8_t>(direction);
    r.mesh_count = 0;
    std::memcpy(&r.table, &from.table, sizeof r.table);
    r.mode = from.mode;
    r.aux1 = from.aux1;
    r.key_meshing = from.key_meshing;
    r.aux2 = from.aux2;
    r.block_len = 0;
    std::memset(r.block, 0, 8);
    std::memcpy(r.iv, p->iv, 8);
    std::memcpy(r.key, p->key->data, sizeof r.key);
    r.flags = VRX_FLAG_FIRST;
    r.initialised = 1;
    return VRX_OK;
}

int reset(Log& log, Context* ctx) {
    if (ctx == nullptr) {
        log += "vrx_crpt_reset: NULL context\n";
        return VRX_ERR_BAD_PARAMS;
    }
    vrx_crpt_ctx& r = ctx->record;
    std::memset(r.block, 0, 8);
    r.block_len = 0;
    r.flags = VRX_FLAG_FIRST;
    r.initialised = 1;
    return VRX_OK;
}

namespace {

/** Performs a step, and a second time if it fails. Returns the status of the last attempt. */
template <typename Step>
int twice_on_failure(Step step) {
    const int rc = step();
    return rc == VRX_OK ? rc : step();
}

/** For ECB, CBC and unknown modes: passes whole blocks to the engine and keeps the rest in the context. */
int buffered(Log& log, Context* ctx, const vrx_data* in, vrx_data* out) {
    vrx_crpt_ctx& r = ctx->record;
    const std::uint32_t held = r.block_len;
    const std::uint32_t total = held + in->length;
    const std::uint32_t whole = total / 8 * 8;
    if (out->data == nullptr) {
        out->length = whole;
        return VRX_OK;
    }
    if (whole == 0) {
        for (std::uint32_t i = 0; i < in->length; ++i) r.block[held + i] = in->data[i];
        r.block_len = total;
        out->length = 0;
        return VRX_OK;
    }
    if (whole > out->length) return VRX_ERR_BUFFER_LENGTH;
    const auto engine = [&](std::uint8_t* from, std::uint8_t* to, std::uint32_t length) {
        return twice_on_failure([&] {
            const vrx_data piece{length, from};
            vrx_data result{length, to};
            return context_engine(log, ctx, &piece, &result);
        });
    };
    std::uint32_t read = 0;
    std::uint32_t written = 0;
    if (held > 0) {
        read = 8 - held;
        for (std::uint32_t i = 0; i < read; ++i) r.block[held + i] = in->data[i];
        if (const int rc = engine(r.block, out->data, 8); rc != VRX_OK) return rc;
        written = 8;
    }
    if (written < whole)
        if (const int rc = engine(in->data + read, out->data + written, whole - written); rc != VRX_OK) return rc;
    r.block_len = total % 8;
    for (std::uint32_t i = 0; i < r.block_len; ++i) r.block[i] = in->data[in->length - r.block_len + i];
    out->length = whole;
    return VRX_OK;
}

}  // namespace

int update(Log& log, Context* ctx, const vrx_data* in, vrx_data* out) {
    if (in == nullptr || ctx == nullptr || (out == nullptr && ctx->record.mode != VRX_MODE_IMITO))
        return VRX_ERR_BAD_PARAMS;
    if (in->data == nullptr) return VRX_ERR_BAD_PARAMS;
    if (ctx->record.initialised == 0) return VRX_ERR_CONTEXT_STATE;
    switch (ctx->record.mode) {
        case VRX_MODE_GFB:
            return cfb_ctx(log, ctx, in, out);
        case VRX_MODE_GAMM:
            return cnt_ctx(log, ctx, in, out);
        case VRX_MODE_IMITO:
            return imito_ctx(log, ctx, in);
        default:
            return buffered(log, ctx, in, out);
    }
}

int final(Log& log, Context* ctx) {
    if (ctx == nullptr) {
        log += "vrx_crpt_final: NULL context\n";
        return VRX_ERR_BAD_PARAMS;
    }
    vrx_crpt_ctx& r = ctx->record;
    if (r.initialised == 0) {
        log += "vrx_crpt_final: uninitialized context\n";
        return VRX_ERR_CONTEXT_STATE;
    }
    if (r.mode == VRX_MODE_GAMM || r.mode == VRX_MODE_GFB) {
        r.initialised = 0;
        return VRX_OK;
    }
    if (r.block_len == 0) return VRX_OK;
    std::uint8_t held[8];
    std::memcpy(held, r.block, r.block_len);
    r.flags = VRX_FLAG_PAD;
    int rc = VRX_OK;
    if (r.mode == VRX_MODE_IMITO) {
        const vrx_data nothing{0, held};
        static_cast<void>(imito_ctx(log, ctx, &nothing));
    } else {
        const vrx_data in{r.block_len, held};
        vrx_data out{8, r.block};
        rc = context_engine(log, ctx, &in, &out);
    }
    r.initialised = 0;
    return rc;
}

int crypto_engine(Log& log, std::uint32_t mode, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv,
                  const std::uint8_t* key, std::uint8_t direction, std::uint8_t flags) {
    if (mode < VRX_MODE_SS || mode > VRX_MODE_CBC) return VRX_ERR_UNKNOWN_MODE;
    return cipher_low(log, table, static_cast<int>(mode), in, out, iv, key, direction, flags);
}

int context_engine(Log& log, Context* ctx, const vrx_data* in, vrx_data* out) {
    vrx_crpt_ctx& r = ctx->record;
    const Table table = ctx->table();
    const auto run = [&](const vrx_data* from, vrx_data* to) {
        return crypto_engine(log, r.mode, &table, from, to, r.iv, ctx->key(), r.direction, r.flags);
    };
    if (r.key_meshing != 1) {
        const int rc = run(in, out);
        if (rc == VRX_OK) r.flags = 0;
        return rc;
    }
    const std::uint32_t length = in->length;
    const std::uint32_t final_flag = r.flags & VRX_FLAG_PAD;
    std::uint32_t capacity = out->length;
    for (std::uint32_t done = 0; done < length;) {
        if (r.mesh_count == VRX_MESHING_SECTION) {
            static_cast<void>(key_meshing_engine(log, &table, r.iv, ctx->key()));
            r.mesh_count = 0;
        }
        std::uint32_t piece = length - done;
        if (r.mesh_count + piece <= VRX_MESHING_SECTION) {
            r.flags = static_cast<std::uint8_t>(r.flags | final_flag);
        } else {
            piece = VRX_MESHING_SECTION - r.mesh_count;
            r.flags = final_flag != 0 ? 0 : r.flags & VRX_FLAG_FIRST;
        }
        const vrx_data from{piece, in->data + done};
        vrx_data to{capacity, out->data + done};
        if (const int rc = run(&from, &to); rc != VRX_OK) return rc;
        r.flags = 0;
        r.mesh_count += piece;
        done += piece;
        capacity = length - done;
    }
    if (length != 0) out->length = length;
    return VRX_OK;
}

namespace {

/** The checks of CNT and CFB contexts. */
int check_stream(const Context* ctx, const vrx_data* in, const vrx_data* out) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    if (ctx->record.initialised == 0) return VRX_ERR_CONTEXT_STATE;
    if (out == nullptr || in == nullptr || in->data == nullptr || out->data == nullptr) return VRX_ERR_BAD_PARAMS;
    if (in->length == 0 || in->length > out->length) return VRX_ERR_BUFFER_LENGTH;
    if (ctx->record.table.initialised == 0) return VRX_ERR_FAILED;
    return VRX_OK;
}

}  // namespace

int cnt_ctx(Log& log, Context* ctx, const vrx_data* in, vrx_data* out) {
    if (const int rc = check_stream(ctx, in, out); rc != VRX_OK) return rc;
    vrx_crpt_ctx& r = ctx->record;
    const Substitution& f = *ctx->substitution;
    const std::uint32_t length = in->length;
    const auto mesh = [&] { return twice_on_failure([&] { return make_key_meshing(log, ctx); }); };
    if ((r.flags & VRX_FLAG_FIRST) != 0) {
        encr_64(r.iv, r.iv, ctx->key(), f);
        r.flags = 0;
    }
    std::uint32_t done = 0;
    for (; done < length && r.block_len > 0; ++done, --r.block_len)
        out->data[done] = in->data[done] ^ r.block[8 - r.block_len];
    for (; length - done >= 8; done += 8) {
        if (const int rc = mesh(); rc != VRX_OK) return rc;
        gamm_64(in->data + done, out->data + done, r.iv, ctx->key(), f);
    }
    if (const std::uint32_t tail = length - done; tail > 0) {
        if (const int rc = mesh(); rc != VRX_OK) return rc;
        std::uint8_t padded[8] = {};
        std::memcpy(padded, in->data + done, tail);
        r.block_len = 8 - tail;
        gamm_64(padded, r.block, r.iv, ctx->key(), f);
        std::memcpy(out->data + done, r.block, tail);
    }
    out->length = length;
    return VRX_OK;
}

int cfb_ctx(Log& log, Context* ctx, const vrx_data* in, vrx_data* out) {
    if (const int rc = check_stream(ctx, in, out); rc != VRX_OK) return rc;
    vrx_crpt_ctx& r = ctx->record;
    const Substitution& f = *ctx->substitution;
    const std::uint32_t length = in->length;
    const auto mesh = [&] { return twice_on_failure([&] { return make_key_meshing(log, ctx); }); };
    std::uint32_t held = 0;
    if (r.block_len > 0) {
        for (; held < length && r.block_len > 0; ++held, --r.block_len) {
            std::uint8_t& kept = r.block[8 - r.block_len];
            const std::uint8_t input = in->data[held];
            const std::uint8_t output = input ^ kept;
            out->data[held] = output;
            kept = r.direction != 0 ? output : input;
        }
        if (r.block_len > 0) {
            out->length = length;
            return VRX_OK;
        }
        std::memcpy(r.iv, r.block, 8);
    }
    // From here on, the result is as if the input were read before the first byte of output is written.
    const std::vector<std::uint8_t> rest(in->data + held, in->data + length);
    std::vector<std::uint8_t> result(rest.size());
    std::size_t done = 0;
    for (; rest.size() - done >= 8; done += 8) {
        if (const int rc = mesh(); rc != VRX_OK) return rc;
        gfb_64(&rest[done], &result[done], r.iv, ctx->key(), f, r.direction);
    }
    if (const std::size_t tail = rest.size() - done; tail > 0) {
        if (const int rc = mesh(); rc != VRX_OK) return rc;
        std::uint8_t padded[8] = {};
        std::memcpy(padded, &rest[done], tail);
        r.block_len = static_cast<std::uint32_t>(8 - tail);
        gfb_64(padded, r.block, r.iv, ctx->key(), f, r.direction);
        std::memcpy(&result[done], r.block, tail);
        if (r.direction == 0) std::memcpy(r.block, &rest[done], tail);
    }
    out->length = length;
    if (!result.empty()) std::memcpy(out->data + held, result.data(), result.size());
    return VRX_OK;
}

int imito_ctx(Log& log, Context* ctx, const vrx_data* in) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    vrx_crpt_ctx& r = ctx->record;
    if (r.initialised == 0) return VRX_ERR_CONTEXT_STATE;
    if (in == nullptr || in->data == nullptr) return VRX_ERR_BAD_PARAMS;
    if (in->length == 0 && (r.flags & VRX_FLAG_PAD) == 0) return VRX_ERR_BUFFER_LENGTH;
    if (r.table.initialised == 0) return VRX_ERR_FAILED;
    const auto absorb = [&](const std::uint8_t* block) {
        const int rc = twice_on_failure([&] { return make_key_meshing(log, ctx); });
        if (rc == VRX_OK) imito_64(block, r.mac, ctx->key(), *ctx->substitution);
        return rc;
    };
    const std::uint32_t held = r.block_len;
    const std::uint32_t length = in->length;
    if (held + length < 8) {
        for (std::uint32_t i = 0; i < length; ++i) r.block[held + i] = in->data[i];
        r.block_len = held + length;
        if ((r.flags & VRX_FLAG_PAD) == 0) return VRX_OK;
        for (std::uint32_t i = held + length; i < 8; ++i) r.block[i] = 0;
        return absorb(r.block);
    }
    const std::uint32_t completing = held > 0 ? 8 - held : 0;
    std::uint8_t first[8];
    if (held > 0) {
        std::memcpy(first, r.block, held);
        std::memcpy(first + held, in->data, completing);
    }
    const std::uint32_t rest = length - completing;
    r.block_len = rest % 8;
    std::memset(r.block, 0, 8);
    for (std::uint32_t i = 0; i < r.block_len; ++i) r.block[i] = in->data[length - r.block_len + i];
    // Only the low half of the state is cleared.
    if ((r.flags & VRX_FLAG_FIRST) != 0) std::memset(r.mac, 0, 4);
    if (held > 0)
        if (const int rc = absorb(first); rc != VRX_OK) return rc;
    for (std::uint32_t i = 0; i < rest / 8; ++i)
        if (const int rc = absorb(in->data + completing + 8 * i); rc != VRX_OK) return rc;
    r.flags = 0;
    return VRX_OK;
}

// --- Key meshing -----------------------------------------------------------------------------------------------------

const std::array<std::uint8_t, VRX_KEY_SIZE> meshing_constant{
    0x69, 0x00, 0x72, 0x22, 0x64, 0xC9, 0x04, 0x23, 0x8D, 0x3A, 0xDB, 0x96, 0x46, 0xE9, 0x2A, 0xC4,
    0x18, 0xFE, 0xAC, 0x94, 0x00, 0xED, 0x07, 0x12, 0xC0, 0x86, 0xDC, 0xC2, 0xEF, 0x4C, 0xA9, 0x2B};

int key_meshing_engine(Log& log, const Table* table, std::uint8_t* iv, std::uint8_t* key) {
    auto constant = meshing_constant;
    std::array<std::uint8_t, VRX_KEY_SIZE> fresh;
    const int rc = twice_on_failure([&] {
        const vrx_data in{VRX_KEY_SIZE, constant.data()};
        vrx_data out{VRX_KEY_SIZE, fresh.data()};
        return ss(log, table, &in, &out, key, 0);
    });
    if (rc != VRX_OK) return rc;
    std::memcpy(key, fresh.data(), fresh.size());
    const vrx_data in{8, iv};
    vrx_data out{8, iv};
    return ss(log, table, &in, &out, key, 1);
}

int make_key_meshing(Log& log, Context* ctx) {
    vrx_crpt_ctx& r = ctx->record;
    if (r.key_meshing != 1) return VRX_OK;
    if (r.mesh_count == VRX_MESHING_SECTION) {
        const Table table = ctx->table();
        if (const int rc = key_meshing_engine(log, &table, r.iv, ctx->key()); rc != VRX_OK) {
            r.initialised = 0;
            return rc;
        }
        r.mesh_count = 8;
    } else {
        r.mesh_count += 8;
    }
    return VRX_OK;
}

int crypto_pro_key_meshing(Log& log, old_crpt_params* p, const Substitution& substitution) {
    const Table table{&substitution, p->table->data[offsetof(vrx_tz, initialised)]};
    return key_meshing_engine(log, &table, p->iv, p->key->data);
}

}  // namespace vrx::test::model
