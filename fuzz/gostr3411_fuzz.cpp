// Fuzz target: GOST R 34.11-94. Sequences of calls on hash and HMAC contexts, and both derivations, compared with the
// slow model.
#include "choices.hpp"
#include "gostr3411/fields.hpp"
#include "gostr3411/messages.hpp"
#include "support/registry_guard.hpp"

namespace {

using namespace vrx::test;
using vrx::fuzz::require;

struct Table {
    vrx_tz record;
    Substitution substitute;
};

/** A built-in set, and a table that the model builds from the published S-boxes. */
const Table& built_in(std::uint32_t index) {
    // The model looks up bytes in a table of its own, because looking up nibbles would take most of the time.
    static const std::array tables{Table{TZ_3411_94[0], on_table(deployed(boxes_of_set(test_set)))},
                                   Table{TZ_3411_94[1], on_table(deployed(boxes_of_set(cryptopro_set)))}};
    return tables.at(index);
}

Table any_table(Random& random) {
    switch (random.below(4)) {
        case 0: {
            std::array<std::uint8_t, VRX_NUM_TZ_SIZE> num;
            random.fill(num);
            Table table{{}, on_boxes(boxes_of(num))};
            require(vrx_crpt_deploy_TZ(num.data(), &table.record) == VRX_OK, "any S-boxes are deployed");
            return table;
        }
        case 1: {
            const auto record = random.value<vrx_tz>();
            return {record, on_table(record)};
        }
        default:
            return built_in(random.below(2));
    }
}

Bytes piece(Random& random) { return random.bytes(1 + random.below(random.coin() ? 70 : 300)); }

void poke(Random& random, GOSTR3411_CTX& ctx, ModelContext& model) {
    switch (random.below(5)) {
        case 0:
            model.sum = random.value<Octets>();
            if (random.coin()) model.sum.fill(0xff);
            break;
        case 1:
            model.hash = random.value<Octets>();
            break;
        case 2:
            model.length = random.value<Octets>();
            std::fill_n(model.length.begin(), random.below(33), std::uint8_t{0xff});
            break;
        case 3:
            model.buffer = random.value<Octets>();
            break;
        default:
            model.count = random.below(33);
            break;
    }
    put_fields(ctx, model);
}

void hash(Random& random) {
    const Table table = any_table(random);
    ModelContext model{.substitute = table.substitute};
    auto ctx = random.value<GOSTR3411_CTX>();
    require(GOSTR3411_Init_ex(&ctx, &table.record) == VRX_OK, "a context opens");
    for (int steps = 0; steps < 16 && random.has_decisions(); ++steps) {
        switch (random.below(8)) {
            case 0: {
                Octets digest;
                require(GOSTR3411_Final(&ctx, digest.data()) == VRX_OK && digest == model.final(), "the digest");
                break;
            }
            case 1:
                poke(random, ctx, model);
                break;
            default: {
                const Bytes data = piece(random);
                require(GOSTR3411_Update(&ctx, data.data(), length32(data)) == VRX_OK, "a piece is taken in");
                model.update(data);
                break;
            }
        }
        expect_fields(ctx, model, table.record);
    }
    Octets digest;
    require(GOSTR3411_Final(&ctx, digest.data()) == VRX_OK && digest == model.final(), "the digest at the end");
}

void step(Random& random) {
    const Table table = any_table(random);
    const auto h = random.value<Octets>(), m = random.value<Octets>();
    GOSTR3411_CTX words;
    std::memcpy(words.hash, h.data(), h.size());
    std::memcpy(words.sum, m.data(), m.size());
    const bool same = random.below(4) == 0;
    gost_r_3411_94_compress(words.hash, same ? words.hash : words.sum, &table.record);
    require(octets(words.hash) == model_step(h, same ? h : m, table.substitute).out, "the step function");
}

void one_call(Random& random) {
    const std::uint32_t set = random.below(2);
    const Bytes data = piece(random);
    const vrx_gostr3411_par& par = GOSTR3411_OIDS[set];
    Octets digest;
    require(GOSTR3411_Transform(par.oid, par.oid_length, data.data(), length32(data), digest.data()) == VRX_OK &&
                digest == model_digest(built_in(set).substitute, data),
            "a message in one call");
    const Table table = any_table(random);
    Bytes own = random.bytes(1 + random.below(12));
    const vrx_gostr3411_par extra{length32(own), own.data(), "", "", &table.record};
    if (std::equal(own.begin(), own.end(), par.oid, par.oid + par.oid_length)) return;
    require(GOSTR3411_Transform_more_oids(own.data(), length32(own), &extra, 1, data.data(), length32(data),
                                          digest.data()) == VRX_OK &&
                digest == model_digest(table.substitute, data),
            "a message with the caller's own set");
}

void hmac(Random& random, const vrx_gostr3411_par* par, const Substitution& substitute) {
    const std::uint8_t* oid = par == nullptr ? nullptr : par->oid;
    const std::uint32_t oid_length = par == nullptr ? random.word() : par->oid_length;
    const Bytes key = random.bytes(random.below(random.coin() ? 34 : 100));
    auto ctx = random.value<GOSTR3411_HMAC_CTX>();
    require(GOSTR3411_HMAC_Init(&ctx, oid, oid_length, key.empty() ? nullptr : key.data(), length32(key)) == VRX_OK,
            "an HMAC opens");
    const std::uint32_t messages = 1 + random.below(3);
    for (std::uint32_t i = 0; i < messages; ++i) {
        if (i != 0) require(GOSTR3411_HMAC_Reset(&ctx) == VRX_OK, "an HMAC starts again");
        Bytes message;
        for (std::uint32_t pieces = random.below(5); pieces != 0; --pieces) {
            const Bytes data = piece(random);
            require(GOSTR3411_HMAC_Update(&ctx, data.data(), length32(data)) == VRX_OK, "an HMAC takes a piece");
            message.insert(message.end(), data.begin(), data.end());
        }
        const Octets expected = model_hmac(substitute, key, message);
        Octets mac{};
        std::uint32_t size = 0;
        const bool wanted = random.coin();
        require(GOSTR3411_HMAC_Final(&ctx, wanted ? mac.data() : nullptr, &size) == VRX_OK && size == 32,
                "an HMAC ends");
        require(octets(ctx.digest) == expected && (!wanted || mac == expected), "the MAC");
        if (message.empty()) continue;
        require(GOSTR3411_HMAC(oid, oid_length, message.data(), length32(message), key.empty() ? nullptr : key.data(),
                               length32(key), mac.data(), &size) == VRX_OK &&
                    mac == expected,
                "the MAC in one call");
    }
}

void pbkdf2(Random& random, const vrx_gostr3411_par* par, const Substitution& substitute) {
    const Bytes password = random.bytes(random.below(random.coin() ? 34 : 80));
    const Bytes salt = random.bytes(1 + random.below(70));
    const std::uint32_t iterations = random.below(6);
    Bytes out(32 + random.below(3), 0x5a);
    require(GOSTR3411_PKCS5_PBKDF2(password.empty() ? nullptr : password.data(), length32(password), salt.data(),
                                   std::uint64_t{random.word()} << 32 | salt.size(), iterations,
                                   par == nullptr ? nullptr : par->oid, par == nullptr ? 0 : par->oid_length,
                                   out.data(), out.size()) == VRX_OK,
            "PBKDF2 derives");
    const Octets key = model_pbkdf2(substitute, password, salt, iterations);
    Bytes expected(key.begin(), key.end());
    expected.resize(out.size(), 0x5a);
    require(out == expected, "PBKDF2");
}

void pba(Random& random, const Substitution& substitute) {
    const Bytes password = random.bytes(random.below(random.coin() ? 34 : 100));
    const Bytes salt = random.bytes((password.empty() ? 1 : 0) + random.below(random.coin() ? 34 : 100));
    const std::uint32_t iterations = random.below(6);
    const int id = static_cast<int>(random.word());
    const std::size_t wanted = random.below(140);
    Bytes out(wanted + 1, 0x5a);
    require(GOSTR3411_PBA_Derive(password.data(), static_cast<int>(password.size()), salt.data(),
                                 static_cast<int>(salt.size()), iterations, id, VRX_PAR_HASH_0_OID, VRX_PAR_OID_SIZE,
                                 out.data(), static_cast<int>(wanted)) == VRX_OK,
            "PKCS #12 derives");
    Bytes expected = model_pba(substitute, password, salt, iterations, id, wanted);
    expected.push_back(0x5a);
    require(out == expected, "the derivation of PKCS #12");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Random random = vrx::fuzz::choices(data, size);
    const RegistryGuard guard;
    const std::uint32_t standard = random.below(2);
    DEFAULT_GOSTR3411_OID = &GOSTR3411_OIDS[standard];
    const std::uint32_t set = random.below(3);
    const vrx_gostr3411_par* par = set == 2 ? nullptr : &GOSTR3411_OIDS[set];
    const Substitution& substitute = built_in(set == 2 ? standard : set).substitute;
    for (int steps = 0; steps < 6 && (steps == 0 || random.has_decisions()); ++steps) switch (random.below(8)) {
            case 0:
                step(random);
                break;
            case 1:
                one_call(random);
                break;
            case 2:
            case 3:
                hmac(random, par, substitute);
                break;
            case 4:
                pbkdf2(random, par, substitute);
                break;
            case 5:
                pba(random, built_in(standard).substitute);
                break;
            default:
                hash(random);
                break;
        }
    return 0;
}
