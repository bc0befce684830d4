// Bounds tests: every exported function that takes memory runs with each argument directly after an inaccessible page,
// then directly before one. Inputs are in read-only memory. The results equal those with ordinary memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "support/child_process.hpp"
#include "support/fenced_buffer.hpp"
#include "support/project.hpp"
#include "support/random.hpp"
#include "support/registry_guard.hpp"
#include "vrx.h"

namespace {

using namespace vrx::test;

constexpr std::uint32_t lengths[] = {1, 2, 7, 8, 9, 16, 31, 32, 33, 64, 65, 136, 300, 1024, 1025, 2600, 5003};

/** The arguments of one call: memory, fenced or not, with contents that depend only on the round. */
class Arguments {
public:
    Arguments(std::size_t round, std::optional<Fence> fence) : random(round), round_(round), fence_(fence) {}

    Random random;

    [[nodiscard]] std::uint32_t length() const { return lengths[round_ % std::size(lengths)]; }
    [[nodiscard]] std::uint32_t whole_blocks() const { return 8 * ((length() + 7) / 8); }
    /** Returns the number of digits for a number, which is small. */
    [[nodiscard]] std::uint32_t digits() const { return 1 + static_cast<std::uint32_t>(round_) % 17; }
    [[nodiscard]] bool coin() const { return round_ % 2 == 0; }

    // Inputs.
    const std::uint8_t* in(const Bytes& bytes) { return place(bytes, false, false); }
    const std::uint8_t* bytes(std::size_t size) { return in(random.bytes(size)); }
    const std::uint32_t* words(std::size_t count) {
        return as<std::uint32_t>(place(random.bytes(4 * count), false, false));
    }
    template <typename T>
    const T* in(const T& value) {
        return as<T>(place(bytes_of(value), false, false));
    }
    const char* text(const std::string& text) {
        Bytes characters(text.begin(), text.end());
        characters.push_back(0);
        return as<char>(in(characters));
    }
    const vrx_data* data(std::size_t size) { return data(random.bytes(size)); }
    const vrx_data* data(const Bytes& content) {
        const std::uint8_t* const begin = in(content);
        return in(vrx_data{static_cast<std::uint32_t>(content.size()), const_cast<std::uint8_t*>(begin)});
    }

    // Outputs; all bytes are compared.
    template <typename T>
    T* out(std::size_t count = 1) {
        return as<T>(place(Bytes(count * sizeof(T), 0xA5), true, true));
    }
    template <typename T>
    T* inout(const T& value) {
        return as<T>(place(bytes_of(value), true, true));
    }
    std::uint8_t* inout(const Bytes& bytes) { return place(bytes, true, true); }
    vrx_data* data_out(std::size_t capacity) {
        return scratch(vrx_data{static_cast<std::uint32_t>(capacity), out<std::uint8_t>(capacity)});
    }
    /** An output that is not compared: a record with addresses, or a random result. */
    template <typename T>
    T* scratch(const T& value) {
        return as<T>(place(bytes_of(value), true, false));
    }

    /** Adds a number to the results. */
    template <typename T>
    void note(T value) {
        notes_.push_back(static_cast<std::uint64_t>(value));
    }
    [[nodiscard]] std::pair<std::vector<std::uint64_t>, std::vector<Bytes>> results() const {
        std::vector<Bytes> memory;
        for (const auto& [begin, size] : results_) memory.emplace_back(begin, begin + size);
        return {notes_, memory};
    }

private:
    template <typename T>
    static T* as(std::uint8_t* bytes) {
        return static_cast<T*>(static_cast<void*>(bytes));
    }
    template <typename T>
    static const T* as(const std::uint8_t* bytes) {
        return static_cast<const T*>(static_cast<const void*>(bytes));
    }
    template <typename T>
    static Bytes bytes_of(const T& value) {
        Bytes bytes(sizeof value);
        std::memcpy(bytes.data(), &value, sizeof value);
        return bytes;
    }
    std::uint8_t* place(const Bytes& content, bool writable, bool result) {
        std::uint8_t* begin = nullptr;
        if (fence_) {
            fenced_.emplace_back(content.size(), *fence_);
            begin = fenced_.back().begin();
        } else {
            unfenced_.push_back(std::make_unique<std::uint64_t[]>(content.size() / 8 + 1));
            begin = static_cast<std::uint8_t*>(static_cast<void*>(unfenced_.back().get()));
        }
        std::copy(content.begin(), content.end(), begin);
        if (fence_ && !writable) fenced_.back().make_read_only();
        if (result) results_.emplace_back(begin, content.size());
        return begin;
    }

    std::size_t round_;
    std::optional<Fence> fence_;
    std::deque<FencedBuffer> fenced_;
    std::vector<std::unique_ptr<std::uint64_t[]>> unfenced_;
    std::vector<std::pair<const std::uint8_t*, std::size_t>> results_;
    std::vector<std::uint64_t> notes_;
};

using Call = std::function<void(Arguments&)>;
using Calls = std::map<std::string, Call>;

void expect_fences_to_stand(const Calls& calls) {
    for (const auto& [name, call] : calls)
        for (std::size_t round = 0; round < 2 * std::size(lengths); ++round) {
            SCOPED_TRACE(testing::Message() << name << ", round " << round);
            const auto run = [&, &function = call](std::optional<Fence> fence) {
                Arguments arguments(round, fence);
                function(arguments);
                return arguments.results();
            };
            const auto anywhere = run(std::nullopt);
            ASSERT_EQ(run(Fence::behind), anywhere) << "page before the arguments";
            ASSERT_EQ(run(Fence::before), anywhere) << "page after the arguments";
        }
}

const vrx_tz* table(Arguments& a) { return a.in(TZ_28147_89[1]); }
const std::uint32_t* key(Arguments& a) { return a.words(VRX_KEY_WORDS); }

const Calls& table_calls() {
    static const Calls calls{
        {"vrx_crpt_deploy_TZ",
         [](Arguments& a) { a.note(vrx_crpt_deploy_TZ(a.bytes(VRX_NUM_TZ_SIZE), a.out<vrx_tz>())); }},
        {"vrx_crpt_init_num_TZ",
         [](Arguments& a) { a.note(vrx_crpt_init_num_TZ(a.bytes(VRX_NUM_TZ_SIZE), a.out<vrx_tz>())); }},
        {"vrx_crpt_TZ_str_to_num",
         [](Arguments& a) {
             const std::size_t size = a.coin() ? VRX_TZ_STRING_SIZE : a.length() % 140;
             a.note(vrx_crpt_TZ_str_to_num(a.text(std::string(size, 'B')), a.out<std::uint8_t>(VRX_NUM_TZ_SIZE)));
         }},
        {"vrx_crpt_init_new_TZ",
         [](Arguments& a) {
             const std::size_t size = a.coin() ? VRX_TZ_STRING_SIZE : a.length() % 140;
             a.note(vrx_crpt_init_new_TZ(a.text(std::string(size, '7')), a.out<vrx_tz>()));
         }},
        {"vrx_crpt_swap_num_TZ",
         [](Arguments& a) { a.note(vrx_crpt_swap_num_TZ(a.inout(a.random.bytes(VRX_NUM_TZ_SIZE)))); }},
        {"TZ_by_name", [](Arguments& a) { a.note(TZ_by_name(a.text(a.coin() ? "tz_c" : "tz_")) == nullptr); }},
        {"hash_TZ_by_name", [](Arguments& a) { a.note(hash_TZ_by_name(a.text(a.coin() ? "tz_1" : "")) == nullptr); }},
        {"ciph_mode_by_name", [](Arguments& a) { a.note(ciph_mode_by_name(a.text(a.coin() ? "gamm" : "gam"))); }},
        {"vrx_set_log_file",
         [](Arguments& a) {
             a.note(vrx_set_log_file(a.text("/dev/null")));
             a.note(vrx_set_log_file(nullptr));
         }},
    };
    return calls;
}

Bytes an_oid(Arguments& a) {
    const std::uint8_t* const oid = GOST28147_CRYPTO_PRO_OIDS[a.digits() % VRX_GOST28147_PAR_COUNT].oid;
    return {oid, oid + (a.coin() ? VRX_PAR_OID_SIZE : a.length() % VRX_PAR_OID_SIZE)};
}
std::uint32_t size_of(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

const Calls& registry_calls() {
    static const auto own = [](Arguments& a) {
        const std::uint8_t* const oid = a.bytes(5);
        return a.scratch(vrx_gost28147_par{5, oid, "1.2", "own", &TZ_28147_89[0], 2, 1, nullptr});
    };
    static const Calls calls{
        {"oidSetModeGOST28147Par", [](Arguments& a) { a.note(oidSetModeGOST28147Par(own(a), 3)); }},
        {"oidSetKeyMeshingGOST28147Par", [](Arguments& a) { a.note(oidSetKeyMeshingGOST28147Par(own(a), 1)); }},
        {"oidSetOIDGOST28147Par",
         [](Arguments& a) {
             vrx_gost28147_par* const record = own(a);
             a.note(oidSetOIDGOST28147Par(record, a.bytes(3), 3, a.text("1.2.3"), a.text("name")));
             a.note(record->oid_length);
         }},
        {"oidCopyGOST28147Par",
         [](Arguments& a) {
             auto* const copy = a.scratch<vrx_gost28147_par*>(nullptr);
             a.note(oidCopyGOST28147Par(a.in(GOST28147_CRYPTO_PRO_OIDS[1]), copy));
             a.note((*copy)->mode);
             std::free(*copy);
         }},
        {"oidRegisterGOST28147Par",
         [](Arguments& a) {
             const RegistryGuard guard;
             a.note(oidRegisterGOST28147Par(own(a)));
             a.note(oidRegisterGOST28147Par(own(a)));
             a.note(GOST28147_OIDS->next->oid_length);
         }},
        {"oidFindGOST28147Par",
         [](Arguments& a) {
             const RegistryGuard guard;
             oidRegisterGOST28147Par(own(a));
             oidRegisterGOST28147CryptoProPar();
             const Bytes oid = an_oid(a);
             a.note(oidFindGOST28147Par(a.in(oid), size_of(oid), a.scratch<vrx_gost28147_par*>(nullptr)));
         }},
        {"oidUnregisterGOST28147Par",
         [](Arguments& a) {
             const RegistryGuard guard;
             oidRegisterGOST28147Par(own(a));
             oidRegisterGOST28147CryptoProPar();
             const Bytes oid = an_oid(a);
             a.note(oidUnregisterGOST28147Par(a.in(oid), size_of(oid)));
         }},
        {"oidFindGOSTR3411Par",
         [](Arguments& a) {
             const Bytes oid(VRX_PAR_HASH_1_OID, VRX_PAR_HASH_1_OID + a.length() % 10);
             a.note(oidFindGOSTR3411Par(a.in(oid), size_of(oid), a.scratch<const vrx_gostr3411_par*>(nullptr)));
         }},
    };
    return calls;
}

const Calls& block_calls() {
    constexpr std::size_t n = VRX_BLOCK_SIZE;
    static const auto state = [](Arguments& a) { return a.inout(a.random.bytes(n)); };
    static const Calls calls{
        {"vrx_gost_encr_64_m",
         [](Arguments& a) { vrx_gost_encr_64_m(a.bytes(n), a.out<std::uint8_t>(n), key(a), table(a)); }},
        {"vrx_gost_decr_64_m",
         [](Arguments& a) { vrx_gost_decr_64_m(a.bytes(n), a.out<std::uint8_t>(n), key(a), table(a)); }},
        {"vrx_gost_imito_64_m", [](Arguments& a) { vrx_gost_imito_64_m(a.bytes(n), state(a), key(a), table(a)); }},
        {"vrx_gost_gamm_64_m",
         [](Arguments& a) { vrx_gost_gamm_64_m(a.bytes(n), a.out<std::uint8_t>(n), state(a), key(a), table(a)); }},
        {"vrx_gost_GFB_64_m",
         [](Arguments& a) {
             vrx_gost_GFB_64_m(a.bytes(n), a.out<std::uint8_t>(n), state(a), key(a), table(a), a.coin());
         }},
        {"vrx_gost_cbc_64_m",
         [](Arguments& a) {
             vrx_gost_cbc_64_m(a.bytes(n), a.out<std::uint8_t>(n), state(a), key(a), table(a), a.coin());
         }},
        {"make_last_block",
         [](Arguments& a) {
             const std::uint32_t size = a.length();
             a.note(make_last_block(a.bytes(size), size, a.out<std::uint8_t>(n), a.out<std::uint32_t>(),
                                    a.out<std::uint32_t>(), VRX_FLAG_PAD));
         }},
    };
    return calls;
}

const Calls& mode_calls() {
    constexpr int flags = VRX_FLAG_FIRST | VRX_FLAG_PAD;
    static const auto iv = [](Arguments& a) { return a.inout(a.random.bytes(VRX_BLOCK_SIZE)); };
    static const auto any_mode = [](Arguments& a) { return static_cast<int>(1 + a.digits() % 4); };
    static const Calls calls{
        {"VRX_Gost_SS_m",
         [](Arguments& a) {
             const std::uint32_t size = a.whole_blocks();
             a.note(VRX_Gost_SS_m(table(a), a.data(size), a.data_out(size), key(a), a.coin()));
         }},
        {"VRX_Gost_CBC_m",
         [](Arguments& a) {
             const std::uint32_t size = a.whole_blocks();
             a.note(VRX_Gost_CBC_m(table(a), a.data(size), a.data_out(size), iv(a), key(a), a.coin()));
         }},
        {"VRX_Gost_Gamm_m",
         [](Arguments& a) {
             a.note(VRX_Gost_Gamm_m(table(a), a.data(a.length()), a.data_out(a.length()), iv(a), key(a), flags));
         }},
        {"VRX_Gost_GFB_m",
         [](Arguments& a) {
             a.note(
                 VRX_Gost_GFB_m(table(a), a.data(a.length()), a.data_out(a.length()), iv(a), key(a), a.coin(), flags));
         }},
        {"VRX_Gost_Imito_m",
         [](Arguments& a) {
             a.note(VRX_Gost_Imito_m(table(a), a.data(a.length()), a.data_out(VRX_BLOCK_SIZE), key(a), flags));
         }},
        {"do_imito_low",
         [](Arguments& a) {
             a.note(do_imito_low(table(a), a.data(a.length()), a.data_out(VRX_BLOCK_SIZE), key(a), flags));
         }},
        {"do_cipher_low",
         [](Arguments& a) {
             const std::uint32_t size = a.whole_blocks();
             a.note(
                 do_cipher_low(table(a), any_mode(a), a.data(size), a.data_out(size), iv(a), key(a), a.coin(), flags));
         }},
        {"vrx_crpt_crypto_engine",
         [](Arguments& a) {
             const std::uint32_t size = a.whole_blocks();
             a.note(vrx_crpt_crypto_engine(static_cast<std::uint32_t>(any_mode(a)), table(a), a.data(size),
                                           a.data_out(size), iv(a), key(a), a.coin(), flags));
         }},
    };
    return calls;
}

vrx_crpt_ctx* context(Arguments& a, std::uint32_t mode) {
    vrx_crpt_ctx ctx;
    std::memset(&ctx, 0x3c, sizeof ctx);
    const Bytes iv = a.random.bytes(VRX_BLOCK_SIZE);
    std::uint32_t words[VRX_KEY_WORDS];
    a.random.fill({static_cast<std::uint8_t*>(static_cast<void*>(words)), sizeof words});
    vrx_crpt_init_context(&ctx, a.coin(), &TZ_28147_89[2], mode, 0, a.digits() % 2, 0, iv.data(), words);
    return a.inout(ctx);
}

old_crpt_params* old_parameters(Arguments& a) {
    const vrx_crpt_table_rec record{TZ_28147_89[1], VRX_MODE_GAMM, 0, 1, 0};
    const vrx_crpt_table_rec* const fenced = a.in(record);
    auto* const bytes = static_cast<std::uint8_t*>(static_cast<void*>(const_cast<vrx_crpt_table_rec*>(fenced)));
    vrx_data* const table_data = a.scratch(vrx_data{sizeof record, bytes});
    vrx_data* const key_data = a.scratch(vrx_data{VRX_KEY_SIZE, a.inout(a.random.bytes(VRX_KEY_SIZE))});
    return a.scratch(old_crpt_params{1, 1, table_data, key_data, {}});
}

const Calls& context_calls() {
    static const auto any_mode = [](Arguments& a) { return 1 + a.digits() % 5; };
    static const Calls calls{
        {"vrx_crpt_init_context",
         [](Arguments& a) {
             a.note(vrx_crpt_init_context(a.out<vrx_crpt_ctx>(), 1, table(a), any_mode(a), 0, 1, 0,
                                          a.bytes(VRX_BLOCK_SIZE), key(a)));
         }},
        {"old_crpt_init_context",
         [](Arguments& a) { a.note(old_crpt_init_context(a.out<vrx_crpt_ctx>(), 1, old_parameters(a))); }},
        {"vrx_crpt_reset", [](Arguments& a) { a.note(vrx_crpt_reset(context(a, any_mode(a)))); }},
        {"vrx_crpt_final", [](Arguments& a) { a.note(vrx_crpt_final(context(a, any_mode(a)))); }},
        {"vrx_crpt_update",
         [](Arguments& a) {
             const std::uint32_t mode = any_mode(a);
             vrx_crpt_ctx* const ctx = context(a, mode);
             // Block modes hold back an incomplete block.
             const std::uint32_t capacity =
                 mode == VRX_MODE_SS || mode == VRX_MODE_CBC ? a.length() / 8 * 8 : a.length();
             vrx_data* const out = mode == VRX_MODE_IMITO ? nullptr : a.data_out(capacity);
             a.note(vrx_crpt_update(ctx, a.data(a.length()), out));
             a.note(out == nullptr ? 0 : out->length);
         }},
        {"vrx_crpt_context_engine",
         [](Arguments& a) {
             const std::uint32_t size = a.whole_blocks();
             a.note(vrx_crpt_context_engine(context(a, 1 + a.digits() % 4), a.data(size), a.data_out(size)));
         }},
        {"vrx_crpt_CNT_ctx",
         [](Arguments& a) { a.note(vrx_crpt_CNT_ctx(context(a, 2), a.data(a.length()), a.data_out(a.length()))); }},
        {"vrx_crpt_CFB_ctx",
         [](Arguments& a) { a.note(vrx_crpt_CFB_ctx(context(a, 3), a.data(a.length()), a.data_out(a.length()))); }},
        {"vrx_crpt_IMITO_ctx", [](Arguments& a) { a.note(vrx_crpt_IMITO_ctx(context(a, 5), a.data(a.length()))); }},
        {"vrx_crpt_crypto_pro_key_meshing_engine",
         [](Arguments& a) {
             std::uint8_t* const words = a.inout(a.random.bytes(VRX_KEY_SIZE));
             a.note(vrx_crpt_crypto_pro_key_meshing_engine(table(a), a.inout(a.random.bytes(VRX_BLOCK_SIZE)),
                                                           static_cast<std::uint32_t*>(static_cast<void*>(words))));
         }},
        {"vrx_make_key_meshing", [](Arguments& a) { a.note(vrx_make_key_meshing(context(a, 2))); }},
        {"vrx_crpt_crypto_pro_key_meshing",
         [](Arguments& a) { a.note(vrx_crpt_crypto_pro_key_meshing(old_parameters(a))); }},
    };
    return calls;
}

const Calls& hash_calls() {
    constexpr std::uint32_t oid_size = VRX_PAR_OID_SIZE;
    static const auto oid = [](Arguments& a) { return a.in(Bytes(VRX_PAR_HASH_1_OID, VRX_PAR_HASH_1_OID + oid_size)); };
    static const auto context = [](Arguments& a) {
        GOSTR3411_CTX ctx;
        GOSTR3411_Init(&ctx, VRX_PAR_HASH_0_OID, oid_size);
        const Bytes some = a.random.bytes(1 + a.digits());
        GOSTR3411_Update(&ctx, some.data(), size_of(some));
        return a.inout(ctx);
    };
    static const auto keyed = [](Arguments& a) {
        GOSTR3411_HMAC_CTX ctx{};
        GOSTR3411_HMAC_Init(&ctx, nullptr, 0, nullptr, 0);
        return a.inout(ctx);
    };
    static const auto extra = [](Arguments& a) {
        return a.in(vrx_gostr3411_par{4, a.in(Bytes{6, 2, 1, 2}), "", "", table(a)});
    };
    static const Calls calls{
        {"GOSTR3411_Init", [](Arguments& a) { a.note(GOSTR3411_Init(a.out<GOSTR3411_CTX>(), oid(a), oid_size)); }},
        {"GOSTR3411_Init_more_oids",
         [](Arguments& a) {
             a.note(GOSTR3411_Init_more_oids(a.out<GOSTR3411_CTX>(), a.in(Bytes{6, 2, 1, 2}), 4, extra(a), 1));
         }},
        {"GOSTR3411_Init_ex", [](Arguments& a) { a.note(GOSTR3411_Init_ex(a.out<GOSTR3411_CTX>(), table(a))); }},
        {"GOSTR3411_Update",
         [](Arguments& a) { a.note(GOSTR3411_Update(context(a), a.bytes(a.length()), a.length())); }},
        {"GOSTR3411_Final",
         [](Arguments& a) { a.note(GOSTR3411_Final(context(a), a.out<std::uint8_t>(VRX_HASH_SIZE))); }},
        {"GOSTR3411_Transform",
         [](Arguments& a) {
             a.note(GOSTR3411_Transform(oid(a), oid_size, a.bytes(a.length()), a.length(),
                                        a.out<std::uint8_t>(VRX_HASH_SIZE)));
         }},
        {"GOSTR3411_Transform_more_oids",
         [](Arguments& a) {
             a.note(GOSTR3411_Transform_more_oids(a.in(Bytes{6, 2, 1, 2}), 4, extra(a), 1, a.bytes(a.length()),
                                                  a.length(), a.out<std::uint8_t>(VRX_HASH_SIZE)));
         }},
        {"GOSTR3411_Transform_ex",
         [](Arguments& a) {
             a.note(
                 GOSTR3411_Transform_ex(table(a), a.bytes(a.length()), a.length(), a.out<std::uint8_t>(VRX_HASH_SIZE)));
         }},
        {"gost_r_3411_94_hash_bytes",
         [](Arguments& a) {
             const auto numbers = [&] { return a.inout(a.random.value<std::array<std::uint32_t, VRX_HASH_WORDS>>()); };
             auto* const hash = numbers();
             auto* const sum = numbers();
             auto* const length = numbers();
             gost_r_3411_94_hash_bytes(table(a), hash->data(), sum->data(), length->data(),
                                       a.bytes(VRX_HASH_BLOCK_SIZE), 256);
         }},
        {"gost_r_3411_94_compress",
         [](Arguments& a) {
             auto* const hash = a.inout(a.random.value<std::array<std::uint32_t, VRX_HASH_WORDS>>());
             gost_r_3411_94_compress(hash->data(), a.words(VRX_HASH_WORDS), table(a));
         }},
        {"GOSTR3411_HMAC_Init",
         [](Arguments& a) {
             a.note(
                 GOSTR3411_HMAC_Init(a.out<GOSTR3411_HMAC_CTX>(), oid(a), oid_size, a.bytes(a.length()), a.length()));
         }},
        {"GOSTR3411_HMAC_Reset", [](Arguments& a) { a.note(GOSTR3411_HMAC_Reset(keyed(a))); }},
        {"GOSTR3411_HMAC_Update",
         [](Arguments& a) { a.note(GOSTR3411_HMAC_Update(keyed(a), a.bytes(a.length()), a.length())); }},
        {"GOSTR3411_HMAC_Final",
         [](Arguments& a) {
             a.note(GOSTR3411_HMAC_Final(keyed(a), a.out<std::uint8_t>(VRX_HMAC_SIZE), a.out<std::uint32_t>()));
         }},
        {"GOSTR3411_HMAC",
         [](Arguments& a) {
             a.note(GOSTR3411_HMAC(oid(a), oid_size, a.bytes(a.length()), a.length(), a.bytes(a.length()), a.length(),
                                   a.out<std::uint8_t>(VRX_HMAC_SIZE), a.out<std::uint32_t>()));
         }},
        {"GOSTR3411_PKCS5_PBKDF2",
         [](Arguments& a) {
             a.note(GOSTR3411_PKCS5_PBKDF2(a.bytes(a.length()), a.length(), a.bytes(a.length()), a.length(), 2, oid(a),
                                           oid_size, a.out<std::uint8_t>(VRX_PBKDF2_SIZE), VRX_PBKDF2_SIZE));
         }},
        {"GOSTR3411_PBA_Derive",
         [](Arguments& a) {
             const auto size = static_cast<std::int32_t>(a.length());
             a.note(GOSTR3411_PBA_Derive(a.bytes(a.length()), size, a.bytes(a.length()), size, 2, 1, oid(a), oid_size,
                                         a.out<std::uint8_t>(a.length()), size));
         }},
        {"shaInit", [](Arguments& a) { shaInit(a.out<sha_context>()); }},
        {"shaTransform", [](Arguments& a) { shaTransform(a.inout(a.random.value<sha_context>())); }},
        {"shaUpdate",
         [](Arguments& a) { shaUpdate(a.inout(a.random.value<sha_context>()), a.bytes(a.length()), a.length()); }},
        {"shaFinal",
         [](Arguments& a) { shaFinal(a.inout(a.random.value<sha_context>()), a.out<std::uint8_t>(VRX_SHA1_SIZE)); }},
    };
    return calls;
}

using W = std::uint32_t;

const Calls& arithmetic_calls() {
    // The round determines the number of digits. A modulus is odd and above 1.
    static const auto number = [](Arguments& a) { return a.words(a.digits()); };
    static const auto result = [](Arguments& a) { return a.out<W>(a.digits()); };
    static const auto modulus = [](Arguments& a) {
        Bytes bytes = a.random.bytes(4 * a.digits());
        bytes.front() |= 3;
        bytes.back() &= 0x7F;
        return static_cast<const W*>(static_cast<const void*>(a.in(bytes)));
    };
    static const auto changed = [](Arguments& a) {
        return static_cast<W*>(static_cast<void*>(a.inout(a.random.bytes(4 * a.digits()))));
    };
    const auto unary = [](auto f) { return [f](Arguments& a) { a.note(f(result(a), number(a), a.digits())); }; };
    const auto binary = [](auto f) {
        return [f](Arguments& a) { a.note(f(result(a), number(a), number(a), a.digits())); };
    };
    const auto bitwise = [](auto f) { return [f](Arguments& a) { f(result(a), number(a), number(a), a.digits()); }; };
    const auto question = [](auto f) { return [f](Arguments& a) { a.note(f(number(a), a.digits())); }; };
    const auto comparison = [](auto f) { return [f](Arguments& a) { a.note(f(number(a), number(a), a.digits())); }; };
    const auto with_digit = [](auto f) {
        return [f](Arguments& a) { a.note(f(result(a), number(a), W{12345}, a.digits())); };
    };
    const auto shift = [](auto f) {
        return [f](Arguments& a) { a.note(f(result(a), number(a), std::uint64_t{a.length()}, a.digits())); };
    };
    const auto modular = [](auto f) {
        return [f](Arguments& a) { a.note(f(result(a), number(a), number(a), modulus(a), a.digits())); };
    };
    static const Calls calls{
        {"spMultiply", [](Arguments& a) { a.note(spMultiply(a.out<W>(2), 77777777, 4000000001)); }},
        {"spDivide",
         [](Arguments& a) {
             a.note(spDivide(a.out<W>(), a.out<W>(), a.in(std::array<W, 2>{5, 6})->data(), 0x80000001));
         }},
        {"mpAdd", binary(mpAdd)},
        {"mpSubtract", binary(mpSubtract)},
        {"mpMultiply",
         [](Arguments& a) { a.note(mpMultiply(a.out<W>(2 * a.digits()), number(a), number(a), a.digits())); }},
        {"mpSquare", [](Arguments& a) { a.note(mpSquare(a.out<W>(2 * a.digits()), number(a), a.digits())); }},
        {"mpEqual", comparison(mpEqual)},
        {"mpCompare", comparison(mpCompare)},
        {"mpIsZero", question(mpIsZero)},
        {"mpSizeof", question(mpSizeof)},
        {"mpBitLength", question(mpBitLength)},
        {"mpIsNegative", question(mpIsNegative)},
        {"mpSetEqual", [](Arguments& a) { mpSetEqual(result(a), number(a), a.digits()); }},
        {"mpSetZero", [](Arguments& a) { mpSetZero(result(a), a.digits()); }},
        {"mpSetDigit", [](Arguments& a) { mpSetDigit(result(a), 7, a.digits()); }},
        {"mpShiftLeft", shift(mpShiftLeft)},
        {"mpShiftRight", shift(mpShiftRight)},
        {"mpSetBit", [](Arguments& a) { a.note(mpSetBit(changed(a), a.digits(), a.length(), 1)); }},
        {"mpGetBit", [](Arguments& a) { a.note(mpGetBit(number(a), a.digits(), a.length())); }},
        {"mpModPowerOf2", [](Arguments& a) { mpModPowerOf2(changed(a), a.digits(), a.length()); }},
        {"mpXorBits", bitwise(mpXorBits)},
        {"mpOrBits", bitwise(mpOrBits)},
        {"mpAndBits", bitwise(mpAndBits)},
        {"mpNotBits", [](Arguments& a) { mpNotBits(result(a), number(a), a.digits()); }},
        {"mpShortAdd", with_digit(mpShortAdd)},
        {"mpShortSub", with_digit(mpShortSub)},
        {"mpShortMult", with_digit(mpShortMult)},
        {"mpShortDiv", with_digit(mpShortDiv)},
        {"mpShortModMult",
         [](Arguments& a) { a.note(mpShortModMult(result(a), number(a), 99, modulus(a), a.digits())); }},
        {"mpShortMod", [](Arguments& a) { a.note(mpShortMod(number(a), 12345, a.digits())); }},
        {"mpShortCmp", [](Arguments& a) { a.note(mpShortCmp(number(a), 12345, a.digits())); }},
        {"mpDivide",
         [](Arguments& a) {
             const std::size_t n = a.digits() + a.length() % 9;
             a.note(mpDivide(a.out<W>(n), a.out<W>(n), a.words(n), n, number(a), a.digits()));
         }},
        {"mpModulo",
         [](Arguments& a) {
             const std::size_t n = a.digits() + a.length() % 9;
             a.note(mpModulo(result(a), a.words(n), n, number(a), a.digits()));
         }},
        {"mpChs", unary(mpChs)},
        {"mpAbs", unary(mpAbs)},
        {"mpSqrt", unary(mpSqrt)},
        {"mpModAdd", modular(mpModAdd)},
        {"mpModSub", modular(mpModSub)},
        {"mpModMult", modular(mpModMult)},
        {"mpModExp",
         [](Arguments& a) {
             // Only short numbers get an exponent of full length, because longer ones take too long.
             Bytes exponent(4 * a.digits());
             const Bytes low = a.random.bytes(std::min<std::size_t>(exponent.size(), 12));
             std::copy(low.begin(), low.end(), exponent.begin());
             const auto* const e = static_cast<const W*>(static_cast<const void*>(a.in(exponent)));
             a.note(mpModExp(result(a), number(a), e, modulus(a), a.digits()));
         }},
        {"mpModInv", [](Arguments& a) { a.note(mpModInv(result(a), number(a), modulus(a), a.digits())); }},
        {"mpGcd", binary(mpGcd)},
        {"mpJacobi", [](Arguments& a) { a.note(mpJacobi(number(a), modulus(a), a.digits())); }},
        {"mpRabinMiller", [](Arguments& a) { mpRabinMiller(modulus(a), a.digits(), 2); }},
        {"mpIsPrime", [](Arguments& a) { mpIsPrime(modulus(a), a.digits(), 2); }},
        {"mpConvFromOctets",
         [](Arguments& a) {
             const std::uint32_t size = a.length() % 80;
             a.note(mpConvFromOctets(result(a), a.digits(), a.bytes(size), size));
         }},
        {"mpConvToOctets",
         [](Arguments& a) {
             const std::uint32_t size = a.length() % 80;
             a.note(mpConvToOctets(number(a), a.digits(), a.out<std::uint8_t>(size), size));
         }},
        {"mpConvFromHex",
         [](Arguments& a) {
             a.note(mpConvFromHex(result(a), a.digits(), a.text(std::string(a.length() % 150, 'e'))));
         }},
        {"mpConvFromDecimal",
         [](Arguments& a) {
             a.note(mpConvFromDecimal(result(a), a.digits(), a.text(std::string(a.length() % 150, '9'))));
         }},
        {"mpConvToHex",
         [](Arguments& a) {
             const std::uint32_t size = 1 + a.length() % 150;
             a.note(mpConvToHex(number(a), a.digits(), a.out<char>(size), size));
         }},
        {"mpConvToDecimal",
         [](Arguments& a) {
             const std::uint32_t size = 1 + a.length() % 150;
             a.note(mpConvToDecimal(number(a), a.digits(), a.out<char>(size), size));
         }},
    };
    return calls;
}

const EcParamSet& set_of_round(Arguments& a) { return cp_ecc_par[a.digits() % VRX_ECC_SET_COUNT]; }

/** A source with the same numbers every time. */
int draw(void* buffer, std::uint32_t length) {
    std::memset(buffer, 0x35, length);
    return 0;
}

const Calls& curve_calls() {
    constexpr std::size_t n = VRX_ECC_DIGITS;
    static const auto set = [](Arguments& a) { return a.in(set_of_round(a)); };
    static const auto point = [](Arguments& a) {
        EcPoint p{};
        std::uint32_t k[n] = {2 + a.digits()};
        ecGeneratePublicKey(&set_of_round(a), k, &p);
        return a.in(p);
    };
    static const auto point_j = [](Arguments& a) {
        const EcPoint* const p = point(a);
        EcPointJ j;
        epA2J(&j, p);
        return a.in(j);
    };
    static const auto scalar = [](Arguments& a) {
        std::array<std::uint32_t, n> k{};
        a.random.fill({static_cast<std::uint8_t*>(static_cast<void*>(k.data())), 28});
        return a.in(k)->data();
    };
    static const auto any_point = [](Arguments& a) { return a.in(a.random.value<EcPoint>()); };
    static const Calls calls{
        {"epFindParByOid",
         [](Arguments& a) {
             const Bytes oid(ecc_C_oid, ecc_C_oid + a.length() % (VRX_ECC_OID_SIZE + 1));
             a.note(epFindParByOid(a.in(oid), size_of(oid), a.scratch<EcParamSet*>(nullptr)));
         }},
        {"epFindParByStrOid",
         [](Arguments& a) {
             a.note(epFindParByStrOid(a.text(std::string(ecc_B_str_oid).substr(0, a.coin() ? 16 : a.length() % 16)),
                                      a.scratch<EcParamSet*>(nullptr)));
         }},
        {"epConvFromDecimal",
         [](Arguments& a) { a.note(epConvFromDecimal(a.out<EcPoint>(), a.text("123456789"), a.text(""))); }},
        {"epConvToDecimal",
         [](Arguments& a) {
             const std::uint32_t size = 1 + a.length() % 90;
             a.note(epConvToDecimal(any_point(a), a.out<char>(size), a.out<char>(size), size));
         }},
        {"epIsEqual", [](Arguments& a) { a.note(epIsEqual(any_point(a), any_point(a))); }},
        {"epIsZero", [](Arguments& a) { a.note(epIsZero(any_point(a))); }},
        {"epSetZero", [](Arguments& a) { a.note(epSetZero(a.out<EcPoint>())); }},
        {"epSetEqual", [](Arguments& a) { a.note(epSetEqual(a.out<EcPoint>(), any_point(a))); }},
        {"epA2J", [](Arguments& a) { a.note(epA2J(a.out<EcPointJ>(), any_point(a))); }},
        {"epJ2A", [](Arguments& a) { a.note(epJ2A(a.out<EcPoint>(), point_j(a), set(a))); }},
        {"epDublJ", [](Arguments& a) { a.note(epDublJ(a.out<EcPointJ>(), point_j(a), set(a))); }},
        {"epAddJA", [](Arguments& a) { a.note(epAddJA(a.out<EcPointJ>(), point_j(a), any_point(a), set(a))); }},
        {"epAddJChud", [](Arguments& a) { a.note(epAddJChud(a.out<EcPointJ>(), point_j(a), point_j(a), set(a))); }},
        {"epAdd", [](Arguments& a) { a.note(epAdd(a.out<EcPoint>(), point(a), any_point(a), set(a))); }},
        {"epMultPP", [](Arguments& a) { a.note(epMultPP(a.out<EcPoint>(), scalar(a), set(a))); }},
        {"epMultJ", [](Arguments& a) { a.note(epMultJ(a.out<EcPoint>(), point(a), scalar(a), set(a))); }},
        {"epMult", [](Arguments& a) { a.note(epMult(a.out<EcPoint>(), point(a), scalar(a), set(a))); }},
        {"ecSign",
         [](Arguments& a) {
             a.note(ecSign(set(a), a.words(VRX_ECC_DIGEST_WORDS), draw, scalar(a), a.out<EcSignature>()));
         }},
        {"ecVerify",
         [](Arguments& a) {
             auto signature = a.random.value<EcSignature>();
             signature.r[8] = signature.s[8] = 0;
             a.note(ecVerify(set(a), a.words(VRX_ECC_DIGEST_WORDS), point(a), a.in(signature)));
         }},
        {"ecGenerateKeyPair",
         [](Arguments& a) { a.note(ecGenerateKeyPair(set(a), draw, a.out<W>(n), a.out<EcPoint>())); }},
        {"ecGeneratePublicKey", [](Arguments& a) { a.note(ecGeneratePublicKey(set(a), scalar(a), a.out<EcPoint>())); }},
        {"ecCheckPublicKey", [](Arguments& a) { a.note(ecCheckPublicKey(set(a), any_point(a))); }},
        {"Getbig_RND",
         [](Arguments& a) {
             std::array<W, n> q;
             std::memcpy(q.data(), set_of_round(a).q, sizeof q);
             a.note(Getbig_RND(draw, a.out<W>(n), a.in(q)->data()));
         }},
        {"test_rnd",
         [](Arguments& a) { a.note(test_rnd(a.scratch(std::array<std::uint8_t, 37>{}), 1 + a.length() % 37)); }},
        {"ecMakeKEK",
         [](Arguments& a) {
             Bytes ukm = a.random.bytes(VRX_UKM_SIZE);
             ukm.front() |= 1;
             const vrx_data* const oid = a.data(Bytes(VRX_PAR_HASH_1_OID, VRX_PAR_HASH_1_OID + VRX_PAR_OID_SIZE));
             a.note(ecMakeKEK(set(a), oid, a.in(ukm), scalar(a), point(a), a.out<std::uint8_t>(VRX_KEK_SIZE)));
         }},
        {"ecDiversifyKEK",
         [](Arguments& a) {
             a.note(ecDiversifyKEK(table(a), a.inout(a.random.bytes(VRX_KEK_SIZE)), a.bytes(VRX_UKM_SIZE)));
         }},
        {"ecLoadPrivateKeyValue",
         [](Arguments& a) { a.note(ecLoadPrivateKeyValue(a.bytes(VRX_PRIVATE_KEY_SIZE), a.out<W>(n))); }},
        {"ecUnloadPrivateKeyValue",
         [](Arguments& a) { a.note(ecUnloadPrivateKeyValue(a.words(n), a.out<std::uint8_t>(VRX_PRIVATE_KEY_SIZE))); }},
        {"ecLoadPublicKeyValue",
         [](Arguments& a) { a.note(ecLoadPublicKeyValue(a.bytes(VRX_PUBLIC_KEY_SIZE), a.out<EcPoint>())); }},
        {"ecUnloadPublicKeyValue",
         [](Arguments& a) { a.note(ecUnloadPublicKeyValue(any_point(a), a.out<std::uint8_t>(VRX_PUBLIC_KEY_SIZE))); }},
        {"ecLoadSignValue",
         [](Arguments& a) { a.note(ecLoadSignValue(a.bytes(VRX_SIGNATURE_SIZE), a.out<EcSignature>())); }},
        {"ecUnloadSignValue",
         [](Arguments& a) {
             a.note(ecUnloadSignValue(a.in(a.random.value<EcSignature>()), a.out<std::uint8_t>(VRX_SIGNATURE_SIZE)));
         }},
    };
    return calls;
}

/** Functions that print. */
const Calls& printing_calls() {
    static const auto number = [](Arguments& a) { return a.words(a.digits()); };
    static const Calls calls{
        {"mpPrint", [](Arguments& a) { mpPrint(number(a), a.digits()); }},
        {"mpPrintNL", [](Arguments& a) { mpPrintNL(number(a), a.digits()); }},
        {"mpPrintTrim", [](Arguments& a) { mpPrintTrim(number(a), a.digits()); }},
        {"mpPrintTrimNL", [](Arguments& a) { mpPrintTrimNL(number(a), a.digits()); }},
        {"epCalcPP", [](Arguments& a) { a.note(epCalcPP(a.inout(set_of_round(a)))); }},
    };
    return calls;
}

/** Functions without pointer arguments. */
const std::set<std::string> without_memory{"vrx_copyright_notice",
                                           "TZ_by_id",
                                           "hash_TZ_by_id",
                                           "get_GOSTR3411_par",
                                           "get_GOST28147_par",
                                           "get_GOST28147_default_par",
                                           "get_GOSTR3411_default_par",
                                           "oidRegisterGOST28147CryptoProPar",
                                           "bigdigits_copyright_notice",
                                           "mpVersion",
                                           "spSimpleRand",
                                           "get_GOSTR3410_par",
                                           "get_GOSTR3410_default_par",
                                           "get_GOSTR3410_oid_name",
                                           "epInitParams"};

TEST(Fences, tables_and_names_stay_in_bounds) { expect_fences_to_stand(table_calls()); }
TEST(Fences, registry_stays_in_bounds) { expect_fences_to_stand(registry_calls()); }
TEST(Fences, blocks_stay_in_bounds) { expect_fences_to_stand(block_calls()); }
TEST(Fences, modes_stay_in_bounds) { expect_fences_to_stand(mode_calls()); }
TEST(Fences, contexts_and_meshing_stay_in_bounds) { expect_fences_to_stand(context_calls()); }
TEST(Fences, hashes_and_derivations_stay_in_bounds) { expect_fences_to_stand(hash_calls()); }
TEST(Fences, arithmetic_stays_in_bounds) { expect_fences_to_stand(arithmetic_calls()); }
TEST(Fences, curves_stay_in_bounds) { expect_fences_to_stand(curve_calls()); }

TEST(Fences, printing_stays_in_bounds) {
    EXPECT_TRUE(passed(run_in_child([] { expect_fences_to_stand(printing_calls()); })));
}

TEST(FencesDeathTest, last_message_is_not_read_beyond_its_end) {
    for (const Fence fence : {Fence::before, Fence::behind}) {
        const std::string message = "the last words";
        const FencedBuffer text(message.size() + 1, fence);
        std::copy(message.begin(), message.end(), text.begin());
        EXPECT_EXIT(mpFail(static_cast<const char*>(static_cast<const void*>(text.begin()))),
                    testing::ExitedWithCode(1), message);
    }
}

TEST(FencesDeathTest, access_beyond_a_fence_is_detected) {
    const FencedBuffer behind(8, Fence::behind);
    const FencedBuffer before(8, Fence::before);
    FencedBuffer read_only(8, Fence::behind);
    read_only.make_read_only();
    const auto touch = [](std::uint8_t* at) { *static_cast<volatile std::uint8_t*>(at) = 1; };
    touch(behind.begin() + 7);
    touch(before.begin());
    EXPECT_DEATH(touch(behind.begin() + 8), "");
    EXPECT_DEATH(touch(before.begin() - 1), "");
    EXPECT_DEATH(touch(read_only.begin()), "");
}

TEST(Fences, every_function_with_pointer_arguments_is_tested) {
    std::set<std::string> called = without_memory;
    called.insert("mpFail");
    for (const Calls* calls : {&table_calls(), &registry_calls(), &block_calls(), &mode_calls(), &context_calls(),
                               &hash_calls(), &arithmetic_calls(), &curve_calls(), &printing_calls()})
        for (const auto& [name, call] : *calls) called.insert(name);
    std::set<std::string> exported;
    std::ifstream file(in_project("tests/abi/exports.txt"));
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string kind, name;
        fields >> kind >> name;
        if (kind == "F") exported.insert(name);
    }
    EXPECT_EQ(called, exported);
}

}  // namespace
