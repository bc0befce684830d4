#include "probes.hpp"

#include <cstdlib>
#include <cstring>
#include <string>

#include "vrx.h"

namespace vrx::test {
namespace {

constexpr std::uint32_t sizes[] = {8, 16, 24, 32, 40, 64, 128, 256, 512, 1024, 1032, 2048, 8192};
constexpr std::uint32_t odd_sizes[] = {1, 13, 77, 1027};
constexpr std::uint32_t hash_sizes[] = {8, 16, 31, 32, 33, 64, 100, 256, 1024, 8192};

/** A random source that returns secret bytes of the arena. */
const std::uint8_t* random_source;
std::size_t random_left;
int random_bytes(void* to, std::uint32_t size) {
    if (size > random_left) return -1;
    std::memcpy(to, random_source, size);
    random_source += size;
    random_left -= size;
    return 0;
}
void seed_random(Arena& a) {
    random_left = 256;
    random_source = a.secret(random_left);
}

vrx_data* data_of(Arena& a, std::uint8_t* bytes, std::uint32_t size) { return a.value(vrx_data{size, bytes}); }

/** Three tables: a built-in table, a custom table made from S-boxes, and a table that no S-boxes produce. */
const vrx_tz* tables(unsigned kind) {
    static const vrx_tz copy = TZ_28147_89[1];
    static const vrx_tz strange = [] {
        vrx_tz t = TZ_28147_89[1];
        t.t[0][5] ^= 0x1000;
        return t;
    }();
    return kind == 0 ? &TZ_28147_89[1] : kind == 1 ? &copy : &strange;
}
const char* const table_names[] = {"", "/copied_table", "/strange_table"};

/** Plaintext is secret; ciphertext is public. */
struct Text {
    vrx_data* in;
    vrx_data* out;
};
Text text(Arena& a, std::uint32_t size, bool encrypts) {
    std::uint8_t* const in = encrypts ? a.secret(size) : a.open(size);
    std::uint8_t* const out = encrypts ? a.result(size) : a.cleared(size);
    return {data_of(a, in, size), data_of(a, out, size)};
}

class Table {
public:
    template <typename Prepare>
    void add(const std::string& name, Prepare prepare, bool registers = true) {
        all.push_back({name, prepare, registers});
    }
    std::vector<Probe> all;
};

const char* direction(bool encrypts) { return encrypts ? "/encrypt/" : "/decrypt/"; }

void add_blocks(Table& t) {
    const auto block = [](Arena& a, bool encrypts) {
        struct {
            std::uint8_t *in, *out;
        } const b{encrypts ? a.secret(8) : a.open(8), encrypts ? a.result(8) : a.cleared(8)};
        return b;
    };
    t.add("vrx_gost_encr_64_m", [=](Arena& a) -> Body {
        const auto b = block(a, true);
        const auto* key = a.secret<std::uint32_t>(8);
        return [=] { vrx_gost_encr_64_m(b.in, b.out, key, tables(0)); };
    });
    t.add("vrx_gost_decr_64_m", [=](Arena& a) -> Body {
        const auto b = block(a, false);
        const auto* key = a.secret<std::uint32_t>(8);
        return [=] { vrx_gost_decr_64_m(b.in, b.out, key, tables(0)); };
    });
    t.add("vrx_gost_imito_64_m", [=](Arena& a) -> Body {
        const auto* in = a.secret(8);
        const auto* key = a.secret<std::uint32_t>(8);
        auto* state = a.secret(8);
        return [=] { vrx_gost_imito_64_m(in, state, key, tables(0)); };
    });
    t.add("vrx_gost_gamm_64_m", [=](Arena& a) -> Body {
        const auto b = block(a, true);
        const auto* key = a.secret<std::uint32_t>(8);
        auto* state = a.secret(8);
        return [=] { vrx_gost_gamm_64_m(b.in, b.out, state, key, tables(0)); };
    });
    for (const bool encrypts : {true, false}) {
        t.add(std::string("vrx_gost_GFB_64_m") + direction(encrypts) + "8", [=](Arena& a) -> Body {
            const auto b = block(a, encrypts);
            const auto* key = a.secret<std::uint32_t>(8);
            auto* state = a.open(8);
            a.publish(state, 8);
            return [=] { vrx_gost_GFB_64_m(b.in, b.out, state, key, tables(0), encrypts); };
        });
        t.add(std::string("vrx_gost_cbc_64_m") + direction(encrypts) + "8", [=](Arena& a) -> Body {
            const auto b = block(a, encrypts);
            const auto* key = a.secret<std::uint32_t>(8);
            auto* state = a.open(8);
            a.publish(state, 8);
            return [=] { vrx_gost_cbc_64_m(b.in, b.out, state, key, tables(0), encrypts); };
        });
    }
    t.add("make_last_block", [](Arena& a) -> Body {
        const auto* data = a.secret(13);
        auto* last = a.cleared(8);
        auto* tail = a.cleared<std::uint32_t>();
        auto* full = a.cleared<std::uint32_t>();
        return [=] { make_last_block(data, 13, last, tail, full, VRX_FLAG_PAD); };
    });
}

void add_modes(Table& t) {
    constexpr int flags = VRX_FLAG_FIRST | VRX_FLAG_PAD;
    for (unsigned kind = 0; kind < 3; ++kind) {
        const vrx_tz* const table = tables(kind);
        const auto name = [kind](const char* function, const char* what, std::uint32_t size) {
            return std::string(function) + table_names[kind] + what + std::to_string(size);
        };
        std::vector<std::uint32_t> all(std::begin(sizes), std::end(sizes));
        for (const std::uint32_t size : all) {
            for (const bool encrypts : {true, false}) {
                const char* const way = direction(encrypts);
                t.add(name("VRX_Gost_SS_m", way, size), [=](Arena& a) -> Body {
                    const Text x = text(a, size, encrypts);
                    const auto* key = a.secret<std::uint32_t>(8);
                    return [=] { VRX_Gost_SS_m(table, x.in, x.out, key, encrypts); };
                });
                const auto with_iv = [=](auto call) {
                    return [=](Arena& a) -> Body {
                        const Text x = text(a, size, encrypts);
                        const auto* key = a.secret<std::uint32_t>(8);
                        auto* iv = a.open(8);
                        a.publish(iv, 8);
                        return [=] { call(x, iv, key); };
                    };
                };
                t.add(name("VRX_Gost_CBC_m", way, size),
                      with_iv([=](Text x, std::uint8_t* iv, const std::uint32_t* key) {
                          VRX_Gost_CBC_m(table, x.in, x.out, iv, key, encrypts);
                      }));
                t.add(name("VRX_Gost_GFB_m", way, size),
                      with_iv([=](Text x, std::uint8_t* iv, const std::uint32_t* key) {
                          VRX_Gost_GFB_m(table, x.in, x.out, iv, key, encrypts, flags);
                      }));
                t.add(name("VRX_Gost_GFB_m/in_place", way, size), [=](Arena& a) -> Body {
                    const Text x = text(a, size, encrypts);
                    const auto* key = a.secret<std::uint32_t>(8);
                    auto* iv = a.open(8);
                    a.publish(iv, 8);
                    std::memcpy(x.out->data, x.in->data, size);
                    return [=] { VRX_Gost_GFB_m(table, x.out, x.out, iv, key, encrypts, flags); };
                });
                t.add(name("VRX_Gost_Gamm_m", way, size), [=](Arena& a) -> Body {
                    const Text x = text(a, size, encrypts);
                    const auto* key = a.secret<std::uint32_t>(8);
                    auto* iv = a.open(8);
                    return [=] { VRX_Gost_Gamm_m(table, x.in, x.out, iv, key, flags); };
                });
                if (kind != 0) continue;
                for (int mode = 1; mode <= 4; ++mode) {
                    t.add(name("do_cipher_low", (std::string("/") + std::to_string(mode) + way).c_str(), size),
                          with_iv([=](Text x, std::uint8_t* iv, const std::uint32_t* key) {
                              do_cipher_low(table, mode, x.in, x.out, iv, key, encrypts, flags);
                          }));
                    t.add(name("vrx_crpt_crypto_engine", (std::string("/") + std::to_string(mode) + way).c_str(), size),
                          with_iv([=](Text x, std::uint8_t* iv, const std::uint32_t* key) {
                              vrx_crpt_crypto_engine(static_cast<std::uint32_t>(mode), table, x.in, x.out, iv, key,
                                                     encrypts, flags);
                          }));
                }
            }
            for (const bool low : {true, false})
                t.add(name(low ? "do_imito_low" : "VRX_Gost_Imito_m", "/", size), [=](Arena& a) -> Body {
                    const auto* in = data_of(a, a.secret(size), size);
                    auto* mac = data_of(a, a.result(8), 8);
                    const auto* key = a.secret<std::uint32_t>(8);
                    return [=] { (low ? do_imito_low : VRX_Gost_Imito_m)(table, in, mac, key, flags); };
                });
        }
    }
}

vrx_crpt_ctx* context(Arena& a, std::uint32_t mode, bool encrypts, bool meshing, const vrx_tz* table) {
    auto* const ctx = a.cleared<vrx_crpt_ctx>();
    vrx_crpt_init_context(ctx, encrypts, table, mode, 0, meshing, 0, a.open(8), a.secret<std::uint32_t>(8));
    return ctx;
}

old_crpt_params* old_parameters(Arena& a) {
    auto* const record = a.value(vrx_crpt_table_rec{TZ_28147_89[1], VRX_MODE_GAMM, 0, 1, 0});
    auto* const table = data_of(a, static_cast<std::uint8_t*>(static_cast<void*>(record)), sizeof *record);
    auto* const key = data_of(a, a.secret(32), 32);
    return a.value(old_crpt_params{1, 1, table, key, {}});
}

void add_contexts(Table& t) {
    const auto add_update = [&t](std::uint32_t size, std::uint32_t mode, bool encrypts, bool meshing, unsigned kind) {
        const std::string what = std::string(table_names[kind]) + (meshing ? "/meshed/" : "/") + std::to_string(mode) +
                                 direction(encrypts) + std::to_string(size);
        const vrx_tz* const table = tables(kind);
        t.add("vrx_crpt_update" + what, [=](Arena& a) -> Body {
            const Text x = text(a, size, encrypts);
            auto* ctx = context(a, mode, encrypts, meshing, table);
            return [=] { vrx_crpt_update(ctx, x.in, x.out); };
        });
        if (size % 8 != 0 || kind != 0) return;
        const auto pieces = [&](const char* function, std::uint32_t its_mode, auto f) {
            if (mode == its_mode || its_mode == 0)
                t.add(function + what, [=](Arena& a) -> Body {
                    const Text x = text(a, size, encrypts);
                    auto* ctx = context(a, mode, encrypts, meshing, table);
                    return [=] { f(ctx, x.in, x.out); };
                });
        };
        if (mode != VRX_MODE_IMITO) pieces("vrx_crpt_context_engine", 0, vrx_crpt_context_engine);
        pieces("vrx_crpt_CNT_ctx", VRX_MODE_GAMM, vrx_crpt_CNT_ctx);
        pieces("vrx_crpt_CFB_ctx", 3, vrx_crpt_CFB_ctx);
        pieces("vrx_crpt_IMITO_ctx", VRX_MODE_IMITO,
               [](vrx_crpt_ctx* ctx, const vrx_data* in, vrx_data*) { return vrx_crpt_IMITO_ctx(ctx, in); });
    };
    for (std::uint32_t mode = 1; mode <= 5; ++mode)
        for (const bool encrypts : {true, false})
            for (const bool meshing : {false, true}) {
                for (const std::uint32_t size : sizes)
                    for (unsigned kind = 0; kind < 3; ++kind) add_update(size, mode, encrypts, meshing, kind);
                for (const std::uint32_t size : odd_sizes) add_update(size, mode, encrypts, meshing, 0);
                const std::string what =
                    "/" + std::to_string(mode) + direction(encrypts) + (meshing ? "meshed" : "plain");
                t.add("vrx_crpt_init_context" + what, [=](Arena& a) -> Body {
                    auto* ctx = a.cleared<vrx_crpt_ctx>();
                    const auto* iv = a.open(8);
                    const auto* key = a.secret<std::uint32_t>(8);
                    return [=] { vrx_crpt_init_context(ctx, encrypts, tables(0), mode, 0, meshing, 0, iv, key); };
                });
                for (const bool final : {false, true})
                    t.add((final ? "vrx_crpt_final" : "vrx_crpt_reset") + what, [=](Arena& a) -> Body {
                        const Text x = text(a, 13, encrypts);
                        auto* ctx = context(a, mode, encrypts, meshing, tables(0));
                        vrx_crpt_update(ctx, x.in, x.out);
                        return [=] { (final ? vrx_crpt_final : vrx_crpt_reset)(ctx); };
                    });
                t.add("vrx_make_key_meshing" + what, [=](Arena& a) -> Body {
                    auto* ctx = context(a, mode, encrypts, meshing, tables(0));
                    return [=] { vrx_make_key_meshing(ctx); };
                });
            }
    t.add("old_crpt_init_context", [](Arena& a) -> Body {
        auto* ctx = a.cleared<vrx_crpt_ctx>();
        const auto* p = old_parameters(a);
        return [=] { old_crpt_init_context(ctx, 1, p); };
    });
    t.add("vrx_crpt_crypto_pro_key_meshing", [](Arena& a) -> Body {
        auto* p = old_parameters(a);
        return [=] { vrx_crpt_crypto_pro_key_meshing(p); };
    });
    for (unsigned kind = 0; kind < 3; ++kind)
        t.add(std::string("vrx_crpt_crypto_pro_key_meshing_engine") + table_names[kind], [=](Arena& a) -> Body {
            auto* iv = a.open(8);
            auto* key = a.secret<std::uint32_t>(8);
            return [=] { vrx_crpt_crypto_pro_key_meshing_engine(tables(kind), iv, key); };
        });
}

const std::uint8_t* oid() { return VRX_PAR_HASH_1_OID; }
constexpr std::uint32_t oid_size = VRX_PAR_OID_SIZE;

void add_hash(Table& t) {
    for (const std::uint32_t size : hash_sizes) {
        const std::string n = "/" + std::to_string(size);
        for (unsigned kind = 0; kind < 3; ++kind) {
            const vrx_tz* const table = kind == 0 ? &TZ_3411_94[1] : tables(kind);
            t.add(std::string("GOSTR3411_Transform_ex") + table_names[kind] + n, [=](Arena& a) -> Body {
                const auto* data = a.secret(size);
                auto* out = a.result(32);
                return [=] { GOSTR3411_Transform_ex(table, data, size, out); };
            });
            const auto opened = [=](Arena& a, std::uint32_t before) {
                auto* ctx = a.cleared<GOSTR3411_CTX>();
                GOSTR3411_Init_ex(ctx, table);
                if (before != 0) GOSTR3411_Update(ctx, a.secret(before), before);
                return ctx;
            };
            t.add(std::string("GOSTR3411_Update") + table_names[kind] + n, [=](Arena& a) -> Body {
                auto* ctx = opened(a, 5);
                const auto* data = a.secret(size);
                return [=] { GOSTR3411_Update(ctx, data, size); };
            });
            t.add(std::string("GOSTR3411_Final") + table_names[kind] + n, [=](Arena& a) -> Body {
                auto* ctx = opened(a, size);
                auto* out = a.result(32);
                return [=] { GOSTR3411_Final(ctx, out); };
            });
        }
        t.add("GOSTR3411_Transform" + n, [=](Arena& a) -> Body {
            const auto* data = a.secret(size);
            auto* out = a.result(32);
            return [=] { GOSTR3411_Transform(oid(), oid_size, data, size, out); };
        });
        t.add("GOSTR3411_Transform_more_oids" + n, [=](Arena& a) -> Body {
            const auto* data = a.secret(size);
            auto* out = a.result(32);
            return [=] { GOSTR3411_Transform_more_oids(oid(), oid_size, nullptr, 0, data, size, out); };
        });
        t.add("GOSTR3411_HMAC" + n, [=](Arena& a) -> Body {
            const auto* data = a.secret(size);
            const auto* key = a.secret(size);
            auto* out = a.result(VRX_HMAC_SIZE);
            auto* length = a.cleared<std::uint32_t>();
            return [=] { GOSTR3411_HMAC(oid(), oid_size, data, size, key, size, out, length); };
        });
        t.add("GOSTR3411_HMAC_Init" + n, [=](Arena& a) -> Body {
            auto* ctx = a.cleared<GOSTR3411_HMAC_CTX>();
            const auto* key = a.secret(size);
            return [=] { GOSTR3411_HMAC_Init(ctx, oid(), oid_size, key, size); };
        });
        const auto keyed = [=](Arena& a) {
            auto* ctx = a.cleared<GOSTR3411_HMAC_CTX>();
            GOSTR3411_HMAC_Init(ctx, oid(), oid_size, a.secret(20), 20);
            return ctx;
        };
        t.add("GOSTR3411_HMAC_Update" + n, [=](Arena& a) -> Body {
            auto* ctx = keyed(a);
            const auto* data = a.secret(size);
            return [=] { GOSTR3411_HMAC_Update(ctx, data, size); };
        });
        t.add("GOSTR3411_HMAC_Final" + n, [=](Arena& a) -> Body {
            auto* ctx = keyed(a);
            GOSTR3411_HMAC_Update(ctx, a.secret(size), size);
            auto* out = a.result(VRX_HMAC_SIZE);
            auto* length = a.cleared<std::uint32_t>();
            return [=] { GOSTR3411_HMAC_Final(ctx, out, length); };
        });
        t.add("GOSTR3411_HMAC_Reset" + n, [=](Arena& a) -> Body {
            auto* ctx = keyed(a);
            GOSTR3411_HMAC_Update(ctx, a.secret(size), size);
            return [=] { GOSTR3411_HMAC_Reset(ctx); };
        });
        if (size > 100) continue;
        t.add("GOSTR3411_PKCS5_PBKDF2" + n, [=](Arena& a) -> Body {
            const auto* password = a.secret(size);
            const auto* salt = a.open(16);
            auto* out = a.cleared(VRX_PBKDF2_SIZE);
            return [=] { GOSTR3411_PKCS5_PBKDF2(password, size, salt, 16, 3, oid(), oid_size, out, VRX_PBKDF2_SIZE); };
        });
        t.add("GOSTR3411_PBA_Derive" + n, [=](Arena& a) -> Body {
            const auto* password = a.secret(size);
            const auto* salt = a.open(16);
            auto* out = a.cleared(size);
            const auto signed_size = static_cast<std::int32_t>(size);
            return
                [=] { GOSTR3411_PBA_Derive(password, signed_size, salt, 16, 3, 1, oid(), oid_size, out, signed_size); };
        });
    }
    t.add("gost_r_3411_94_hash_bytes", [](Arena& a) -> Body {
        auto* hash = a.secret<std::uint32_t>(8);
        auto* sum = a.secret<std::uint32_t>(8);
        auto* length = a.open<std::uint32_t>(8);
        const auto* block = a.secret(32);
        return [=] { gost_r_3411_94_hash_bytes(&TZ_3411_94[1], hash, sum, length, block, 256); };
    });
    t.add("gost_r_3411_94_compress", [](Arena& a) -> Body {
        auto* hash = a.secret<std::uint32_t>(8);
        const auto* block = a.secret<std::uint32_t>(8);
        return [=] { gost_r_3411_94_compress(hash, block, &TZ_3411_94[1]); };
    });
}

void add_sha1(Table& t) {
    for (const std::uint32_t size : hash_sizes) {
        const std::string n = "/" + std::to_string(size);
        const auto opened = [](Arena& a, std::uint32_t before) {
            auto* ctx = a.cleared<sha_context>();
            shaInit(ctx);
            shaUpdate(ctx, a.secret(before), before);
            return ctx;
        };
        t.add("shaUpdate" + n, [=](Arena& a) -> Body {
            auto* ctx = opened(a, 5);
            const auto* data = a.secret(size);
            return [=] { shaUpdate(ctx, data, size); };
        });
        t.add("shaFinal" + n, [=](Arena& a) -> Body {
            auto* ctx = opened(a, size);
            auto* out = a.result(20);
            a.publish(ctx->digest, sizeof ctx->digest);
            return [=] { shaFinal(ctx, out); };
        });
    }
    t.add("shaTransform", [](Arena& a) -> Body {
        auto* ctx = a.secret<sha_context>();
        return [=] { shaTransform(ctx); };
    });
}

/** A private key below the order of every set. */
std::uint32_t* private_key(Arena& a) {
    auto* d = a.secret<std::uint32_t>(VRX_ECC_DIGITS);
    d[VRX_ECC_DIGITS - 1] = 0;
    d[7] &= 0x3fffffff;
    return d;
}

/** id-tc26-gost-3410-2012-256-paramSetA of RFC 7836. This curve is not built in, and its coefficient a is not p - 3. */
EcParamSet other_curve() {
    EcParamSet set{};
    const auto number = [](std::uint32_t* digits, const char* hexadecimal) {
        mpConvFromHex(digits, VRX_ECC_DIGITS, hexadecimal);
    };
    number(set.p, "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd97");
    number(set.a, "c2173f1513981673af4892c23035a27ce25e2013bf95aa33b22c656f277e7335");
    number(set.b, "295f9bae7428ed9ccc20e7c359a9d41a22fccd9108e17bf7ba9337a6f8ae9513");
    number(set.q, "400000000000000000000000000000000fd8cddfc87b6635c115af556c360c67");
    number(set.G.x, "91e38443a5e82c0d880923425712b2bb658b9196932e02c78b2582fe742daa28");
    number(set.G.y, "32879423ab1a0375895786c4bb46e9565fde0b5344766740af268adb32322e5c");
    return set;
}

/** A built-in curve with another base point, with or without the use of its table. */
EcParamSet other_base(bool has_table) {
    EcParamSet set = *get_GOSTR3410_par(1);
    const EcPoint base = set.G;
    epAdd(&set.G, &base, &base, &set);
    set.has_precomp = has_table ? 1 : 0;
    set.pp[0] = set.G;
    for (std::size_t i = 1; i < VRX_ECC_PP_COUNT; ++i) {
        EcPoint& entry = set.pp[i] = set.pp[i - 1];
        for (int doubling = 0; doubling < 4; ++doubling) {
            const EcPoint half = entry;
            epAdd(&entry, &half, &half, &set);
        }
    }
    return set;
}

struct NamedSet {
    std::string name;
    const EcParamSet* set;
};

/** The built-in sets, and custom sets, for which other methods run. */
std::vector<NamedSet> sets() {
    static const EcParamSet custom[] = {other_base(false), other_base(true), other_curve()};
    std::vector<NamedSet> all;
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i)
        all.push_back({std::string("/") + std::to_string(i), get_GOSTR3410_par(i)});
    all.push_back({"/other_base", &custom[0]});
    all.push_back({"/other_base_table", &custom[1]});
    all.push_back({"/other_curve", &custom[2]});
    return all;
}

void add_curves(Table& t) {
    for (const NamedSet& named : sets()) {
        const std::string& n = named.name;
        const EcParamSet* const set = named.set;
        t.add("ecSign" + n, [=](Arena& a) -> Body {
            const auto* digest = a.open<std::uint32_t>(8);
            const auto* d = private_key(a);
            auto* signature = a.result<EcSignature>();
            seed_random(a);
            return [=] { ecSign(set, digest, random_bytes, d, signature); };
        });
        t.add("ecGenerateKeyPair" + n, [=](Arena& a) -> Body {
            auto* d = a.cleared<std::uint32_t>(VRX_ECC_DIGITS);
            auto* q = a.result<EcPoint>();
            seed_random(a);
            return [=] { ecGenerateKeyPair(set, random_bytes, d, q); };
        });
        t.add("ecGeneratePublicKey" + n, [=](Arena& a) -> Body {
            const auto* d = private_key(a);
            auto* q = a.result<EcPoint>();
            return [=] { ecGeneratePublicKey(set, d, q); };
        });
        t.add("Getbig_RND" + n, [=](Arena& a) -> Body {
            auto* out = a.cleared<std::uint32_t>(VRX_ECC_DIGITS);
            seed_random(a);
            return [=] { Getbig_RND(random_bytes, out, set->q); };
        });
        t.add("ecMakeKEK" + n, [=](Arena& a) -> Body {
            const auto* ukm = a.open(VRX_UKM_SIZE);
            const auto* d = private_key(a);
            auto* kek = a.cleared(VRX_KEK_SIZE);
            const auto* id = a.value(vrx_data{oid_size, const_cast<std::uint8_t*>(oid())});
            return [=] { ecMakeKEK(set, id, ukm, d, &set->G, kek); };
        });
        t.add("epMultPP" + n, [=](Arena& a) -> Body {
            const auto* k = private_key(a);
            auto* r = a.result<EcPoint>();
            return [=] { epMultPP(r, k, set); };
        });
        t.add("epMultJ" + n, [=](Arena& a) -> Body {
            const auto* k = private_key(a);
            auto* r = a.result<EcPoint>();
            return [=] { epMultJ(r, &set->G, k, set); };
        });
        t.add("epMult" + n, [=](Arena& a) -> Body {
            const auto* k = private_key(a);
            auto* r = a.result<EcPoint>();
            return [=] { epMult(r, &set->G, k, set); };
        });
    }
    // A point may be secret, for example the shared point of an agreement.
    const auto point = [&](const char* name, auto call) {
        for (const NamedSet& named : {sets()[1], sets().back()}) {
            const EcParamSet* const set = named.set;
            t.add(name + named.name, [=](Arena& a) -> Body {
                auto* p = a.cleared<EcPoint>();
                auto* q = a.cleared<EcPoint>();
                auto* r = a.cleared<EcPoint>();
                auto* pj = a.cleared<EcPointJ>();
                auto* qj = a.cleared<EcPointJ>();
                auto* rj = a.cleared<EcPointJ>();
                epMult(p, &set->G, private_key(a), set);
                epMult(q, &set->G, private_key(a), set);
                epA2J(pj, p);
                epDublJ(qj, pj, set);
                return [=] { call(p, q, r, pj, qj, rj, set); };
            });
        }
    };
    using P = EcPoint*;
    using J = EcPointJ*;
    using S = const EcParamSet*;
    point("epIsEqual", [](P p, P q, P, J, J, J, S) { epIsEqual(p, q); });
    point("epIsZero", [](P p, P, P, J, J, J, S) { epIsZero(p); });
    point("epSetEqual", [](P p, P, P r, J, J, J, S) { epSetEqual(r, p); });
    point("epA2J", [](P p, P, P, J, J, J rj, S) { epA2J(rj, p); });
    point("epJ2A", [](P, P, P r, J, J qj, J, S set) { epJ2A(r, qj, set); });
    point("epDublJ", [](P, P, P, J pj, J, J rj, S set) { epDublJ(rj, pj, set); });
    point("epAddJA", [](P, P q, P, J pj, J, J rj, S set) { epAddJA(rj, pj, q, set); });
    point("epAddJChud", [](P, P, P, J pj, J qj, J rj, S set) { epAddJChud(rj, pj, qj, set); });
    point("epAdd", [](P p, P q, P r, J, J, J, S set) { epAdd(r, p, q, set); });
    t.add("test_rnd", [](Arena& a) -> Body {
        auto* drawn = a.cleared(32);
        test_rnd(drawn, 4);  // the first call sets the seed from the clock
        std::srand(*a.secret<std::uint32_t>());
        return [=] { test_rnd(drawn, 32); };
    });
    t.add("ecDiversifyKEK", [](Arena& a) -> Body {
        auto* key = a.secret(VRX_KEK_SIZE);
        const auto* ukm = a.open(VRX_UKM_SIZE);
        return [=] { ecDiversifyKEK(&TZ_28147_89[1], key, ukm); };
    });
    t.add("ecLoadPrivateKeyValue", [](Arena& a) -> Body {
        const auto* octets = a.secret(VRX_PRIVATE_KEY_SIZE);
        auto* d = a.cleared<std::uint32_t>(VRX_ECC_DIGITS);
        return [=] { ecLoadPrivateKeyValue(octets, d); };
    });
    t.add("ecUnloadPrivateKeyValue", [](Arena& a) -> Body {
        const auto* d = private_key(a);
        auto* octets = a.cleared(VRX_PRIVATE_KEY_SIZE);
        return [=] { ecUnloadPrivateKeyValue(d, octets); };
    });
}

/** Arithmetic with temporaries. Operands and results are secret; return values are public. */
void add_numbers(Table& t) {
    for (const std::uint32_t n : {1U, 2U, 8U, 9U, 10U, 16U, 17U, 32U, 64U}) {
        const std::string name = "/" + std::to_string(n);
        const auto three = [=](auto f) {
            return [=](Arena& a) -> Body {
                auto* w = a.cleared<std::uint32_t>(2 * n);
                const auto* u = a.secret<std::uint32_t>(n);
                const auto* v = a.secret<std::uint32_t>(n);
                auto* m = a.open<std::uint32_t>(n);
                m[0] |= 1;
                m[n - 1] |= 0x80000000;
                auto* returned = a.result<std::uint64_t>();
                return [=] { *returned = static_cast<std::uint64_t>(f(w, u, v, m)); };
            };
        };
        using Digits = const std::uint32_t*;
        using Out = std::uint32_t*;
        // Functions for fixed digit counts compute in registers, and leave parts of the operands there.
        const bool columns = n == 8 || n == 9 || n == 16;
        t.add("mpMultiply" + name, three([=](Out w, Digits u, Digits v, Digits) { return mpMultiply(w, u, v, n); }),
              !columns);
        t.add("mpSquare" + name, three([=](Out w, Digits u, Digits, Digits) { return mpSquare(w, u, n); }), !columns);
        t.add("mpDivide" + name,
              three([=](Out w, Digits u, Digits v, Digits) { return mpDivide(w, w + n, u, n, v, (n + 1) / 2); }));
        t.add("mpModulo" + name, three([=](Out w, Digits u, Digits, Digits m) { return mpModulo(w, u, n, m, n); }));
        t.add("mpModAdd" + name, three([=](Out w, Digits u, Digits v, Digits m) { return mpModAdd(w, u, v, m, n); }));
        t.add("mpModSub" + name, three([=](Out w, Digits u, Digits v, Digits m) { return mpModSub(w, u, v, m, n); }));
        t.add("mpModMult" + name, three([=](Out w, Digits u, Digits v, Digits m) { return mpModMult(w, u, v, m, n); }));
        t.add("mpModInv" + name, three([=](Out w, Digits u, Digits, Digits m) { return mpModInv(w, u, m, n); }));
        t.add("mpModExp" + name, three([=](Out w, Digits u, Digits v, Digits m) { return mpModExp(w, u, v, m, n); }));
        t.add("mpGcd" + name, three([=](Out w, Digits u, Digits v, Digits) { return mpGcd(w, u, v, n); }));
        t.add("mpSqrt" + name, three([=](Out w, Digits u, Digits, Digits) { return mpSqrt(w, u, n); }));
        t.add("mpJacobi" + name, three([=](Out, Digits u, Digits, Digits m) { return mpJacobi(u, m, n); }));
        t.add("mpShortDiv" + name, three([=](Out w, Digits u, Digits v, Digits) { return mpShortDiv(w, u, v[0], n); }));
        t.add("mpShortMod" + name, three([=](Out, Digits u, Digits v, Digits) { return mpShortMod(u, v[0], n); }));
        // Functions without temporaries leave nothing on the stack, but parts of the operands in registers.
        t.add("mpAdd" + name, three([=](Out w, Digits u, Digits v, Digits) { return mpAdd(w, u, v, n); }), false);
        t.add("mpSubtract" + name, three([=](Out w, Digits u, Digits v, Digits) { return mpSubtract(w, u, v, n); }),
              false);
        t.add("mpShortMult" + name, three([=](Out w, Digits u, Digits, Digits) { return mpShortMult(w, u, 5, n); }),
              false);
    }
}

void add_control(Table& t) {
    t.add("stack", [](Arena& a) -> Body {
        const auto* secret = a.secret<std::uint32_t>(8);
        return [=] {
            std::uint32_t copy[8];
            std::memcpy(copy, secret, sizeof copy);
            asm volatile("" : : "r"(copy) : "memory");
        };
    });
    t.add("vector", [](Arena& a) -> Body {
        const auto* secret = a.secret<std::uint32_t>(8);
        return [=] { asm volatile("movdqu (%0), %%xmm7" : : "r"(secret) : "xmm7"); };
    });
    t.add("general", [](Arena& a) -> Body {
        const auto* secret = a.secret<std::uint64_t>(8);
        return [=] { asm volatile("mov (%0), %%r10" : : "r"(secret) : "r10"); };
    });
}

}  // namespace

std::vector<Probe> probes_of(std::string_view family) {
    Table t;
    if (family == "cipher") {
        add_blocks(t);
        add_modes(t);
        add_contexts(t);
    }
    if (family == "hash") add_hash(t);
    if (family == "sha1") add_sha1(t);
    if (family == "curves") add_curves(t);
    if (family == "numbers") add_numbers(t);
    if (family == "control") add_control(t);
    return t.all;
}

}  // namespace vrx::test
