// Tests that threads calling the library at the same time get the same results as one thread. ThreadSanitizer finds
// data races in them. Every test is a separate process, so the threads also make the first calls of a process.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "support/log_capture.hpp"
#include "support/random.hpp"
#include "vrx.h"

namespace {

using vrx::test::Bytes;
using vrx::test::LogCapture;
using vrx::test::Random;

constexpr unsigned thread_count = 8;
constexpr unsigned rounds = 20;

/** Runs task(i) for each i below thread_count, each in a thread of its own. All threads start together. */
template <typename Task>
void at_once(Task task) {
    std::latch ready(thread_count);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < thread_count; ++i)
        threads.emplace_back([&ready, &task, i] {
            ready.arrive_and_wait();
            task(i);
        });
    for (std::thread& thread : threads) thread.join();
}

/** A job for concurrent threads: a function whose result depends only on a number. */
struct Job {
    const char* name;
    std::function<Bytes(unsigned)> result_for;
};

// Shared by the threads and only read.
constexpr std::array<std::uint32_t, VRX_KEY_WORDS> shared_key = {1, 2, 3, 4, 5, 6, 7, 8};

Bytes message_for(unsigned number) { return Random(number).bytes(3000 + 8 * std::size_t{number % 16}); }

vrx_data record(Bytes& bytes) { return {static_cast<std::uint32_t>(bytes.size()), bytes.data()}; }

void expect_ok(int rc) { EXPECT_EQ(rc, VRX_OK); }

Bytes octets(const void* record, std::size_t size) {
    const auto* first = static_cast<const std::uint8_t*>(record);
    return {first, first + size};
}

Job one_shot(const char* name, int mode) {
    return {name, [mode](unsigned number) {
                Bytes text = message_for(number);
                std::array<std::uint8_t, VRX_BLOCK_SIZE> iv{};
                const vrx_data in = record(text);
                vrx_data out = record(text);
                expect_ok(do_cipher_low(&TZ_28147_89[1], mode, &in, &out, iv.data(), shared_key.data(), 1,
                                        VRX_FLAG_FIRST | VRX_FLAG_PAD));
                return text;
            }};
}

Job one_shot_mac() {
    return {"one_shot_mac", [](unsigned number) {
                Bytes text = message_for(number);
                Bytes mac(VRX_BLOCK_SIZE);
                const vrx_data in = record(text);
                vrx_data out = record(mac);
                expect_ok(VRX_Gost_Imito_m(&TZ_28147_89[1], &in, &out, shared_key.data(), VRX_FLAG_FIRST));
                return mac;
            }};
}

/** Encryption in pieces with key meshing, in a context of this thread. */
Job context(const char* name, std::uint32_t mode) {
    return {name, [mode](unsigned number) {
                Bytes text = message_for(number);
                vrx_crpt_ctx ctx;
                expect_ok(vrx_crpt_init_context(&ctx, 1, get_GOST28147_par(1)->tz, mode, 0, 1, 0, nullptr,
                                                shared_key.data()));
                for (std::size_t done = 0; done < text.size();) {
                    const std::size_t piece = std::min<std::size_t>(1000, text.size() - done);
                    const vrx_data in{static_cast<std::uint32_t>(piece), text.data() + done};
                    vrx_data out = in;
                    expect_ok(vrx_crpt_update(&ctx, &in, &out));
                    done += piece;
                }
                expect_ok(vrx_crpt_final(&ctx));
                text.insert(text.end(), ctx.mac, ctx.mac + sizeof ctx.mac);
                return text;
            }};
}

Job deployment() {
    return {"deployment", [](unsigned number) {
                const Bytes numeric = Random(number).bytes(VRX_NUM_TZ_SIZE);
                vrx_tz table{};
                expect_ok(vrx_crpt_deploy_TZ(numeric.data(), &table));
                return octets(&table, sizeof table);
            }};
}

Job look_ups() {
    return {"look_ups", [](unsigned number) {
                const void* found[] = {TZ_by_id(number % VRX_TZ_28147_89_COUNT),
                                       hash_TZ_by_id(number % 2),
                                       TZ_by_name("tz_c"),
                                       hash_TZ_by_name("tz_1"),
                                       get_GOSTR3411_par(1),
                                       get_GOSTR3411_default_par(),
                                       get_GOST28147_par(9),
                                       get_GOST28147_default_par(),
                                       vrx_copyright_notice(),
                                       bigdigits_copyright_notice()};
                const vrx_gostr3411_par* set = nullptr;
                expect_ok(oidFindGOSTR3411Par(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, &set));
                EXPECT_EQ(set, &GOSTR3411_OIDS[1]);
                return octets(found, sizeof found);
            }};
}

Job hash() {
    return {"hash", [](unsigned number) {
                const Bytes text = message_for(number);
                Bytes digest(VRX_HASH_SIZE);
                expect_ok(GOSTR3411_Transform(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, text.data(),
                                              static_cast<std::uint32_t>(text.size()), digest.data()));
                return digest;
            }};
}

Job hmac() {
    return {"hmac", [](unsigned number) {
                const Bytes text = message_for(number);
                Bytes mac(VRX_HMAC_SIZE);
                std::uint32_t size = 0;
                GOSTR3411_HMAC_CTX ctx;
                expect_ok(GOSTR3411_HMAC_Init(&ctx, nullptr, 0, text.data(), 40));
                expect_ok(GOSTR3411_HMAC_Update(&ctx, text.data(), static_cast<std::uint32_t>(text.size())));
                expect_ok(GOSTR3411_HMAC_Final(&ctx, mac.data(), &size));
                return mac;
            }};
}

Job derivation() {
    return {"derivation", [](unsigned number) {
                const Bytes text = message_for(number);
                Bytes keys(VRX_PBKDF2_SIZE + 50);
                expect_ok(GOSTR3411_PKCS5_PBKDF2(text.data(), 20, text.data(), 8, 10, nullptr, 0, keys.data(),
                                                 VRX_PBKDF2_SIZE));
                expect_ok(GOSTR3411_PBA_Derive(text.data(), 20, text.data(), 8, 10, 1, VRX_PAR_HASH_1_OID,
                                               VRX_PAR_OID_SIZE, &keys[VRX_PBKDF2_SIZE], 50));
                return keys;
            }};
}

Job sha1() {
    return {"sha1", [](unsigned number) {
                const Bytes text = message_for(number);
                Bytes digest(VRX_SHA1_SIZE);
                sha_context ctx;
                shaInit(&ctx);
                shaUpdate(&ctx, text.data(), text.size());
                shaFinal(&ctx, digest.data());
                return digest;
            }};
}

using Private = std::array<std::uint32_t, VRX_ECC_DIGITS>;

/** A deterministic random source, seeded with the number of the job, one for each thread. */
struct Drawing {
    static inline thread_local Random random{0};
    static int draw(void* buffer, std::uint32_t length) {
        random.fill({static_cast<std::uint8_t*>(buffer), length});
        return 0;
    }
};

/** Key agreement with one's own public key, and key diversification. */
Job agreement(const char* name, std::uint32_t index) {
    return {name, [index](unsigned number) {
                Drawing::random = Random(number);
                const EcParamSet* set = get_GOSTR3410_par(index);
                const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
                const std::uint8_t ukm[VRX_UKM_SIZE] = {1, 2, 3, 4, 5, 6, 7, static_cast<std::uint8_t>(number)};
                Private d{};
                EcPoint key;
                Bytes kek(VRX_KEK_SIZE);
                expect_ok(ecGenerateKeyPair(set, Drawing::draw, d.data(), &key));
                expect_ok(ecMakeKEK(set, &oid, ukm, d.data(), &key, kek.data()));
                expect_ok(ecDiversifyKEK(&TZ_28147_89[1], kek.data(), ukm));
                return kek;
            }};
}

/** Key generation, signing and verification on a built-in record. */
Job signatures(const char* name, std::uint32_t index) {
    return {name, [index](unsigned number) {
                Drawing::random = Random(number);
                const EcParamSet* set = get_GOSTR3410_par(index);
                const std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {number, 1, 2, 3, 4, 5, 6, 7};
                struct {
                    std::uint32_t d[VRX_ECC_DIGITS];
                    EcPoint key;
                    EcSignature signature;
                } made;
                expect_ok(ecGenerateKeyPair(set, Drawing::draw, made.d, &made.key));
                expect_ok(ecSign(set, digest, Drawing::draw, made.d, &made.signature));
                expect_ok(ecVerify(set, digest, &made.key, &made.signature));
                return octets(&made, sizeof made);
            }};
}

const std::vector<Job> jobs = {one_shot("one_shot_ss", VRX_MODE_SS),
                               one_shot("one_shot_gamm", VRX_MODE_GAMM),
                               one_shot("one_shot_gfb", VRX_MODE_GFB),
                               one_shot("one_shot_cbc", VRX_MODE_CBC),
                               one_shot_mac(),
                               context("context_ss", VRX_MODE_SS),
                               context("context_gamm", VRX_MODE_GAMM),
                               context("context_gfb", VRX_MODE_GFB),
                               context("context_cbc", VRX_MODE_CBC),
                               context("context_imito", VRX_MODE_IMITO),
                               deployment(),
                               look_ups(),
                               hash(),
                               hmac(),
                               derivation(),
                               sha1(),
                               signatures("signatures_test", 0),
                               signatures("signatures_a", 1),
                               signatures("signatures_b", 2),
                               signatures("signatures_c", 3),
                               signatures("signatures_xch_a", 4),
                               signatures("signatures_xch_b", 5),
                               agreement("agreement_a", 1),
                               agreement("agreement_c", 3)};

class Threads : public testing::TestWithParam<Job> {};

TEST_P(Threads, concurrent_results_equal_sequential_ones) {
    std::array<std::array<Bytes, rounds>, thread_count> results;
    at_once([&](unsigned i) {
        // Half of the threads use the same numbers; each of the others has its own numbers.
        for (unsigned round = 0; round < rounds; ++round) results[i][round] = GetParam().result_for(i % 5 + 8 * round);
    });
    for (unsigned i = 0; i < thread_count; ++i)
        for (unsigned round = 0; round < rounds; ++round)
            ASSERT_EQ(results[i][round], GetParam().result_for(i % 5 + 8 * round)) << "thread " << i;
}

INSTANTIATE_TEST_SUITE_P(jobs, Threads, testing::ValuesIn(jobs),
                         [](const testing::TestParamInfo<Job>& job) { return std::string(job.param.name); });

// Each thread has a different job, so that the first calls of all families occur at the same time, and hashing runs
// during look-ups in the registry.
TEST(MixedWork, concurrent_results_equal_sequential_ones) {
    std::array<std::array<Bytes, rounds>, thread_count> results;
    const auto job = [](unsigned i, unsigned round) -> const Job& { return jobs[(5 * i + round) % jobs.size()]; };
    at_once([&](unsigned i) {
        for (unsigned round = 0; round < rounds; ++round) results[i][round] = job(i, round).result_for(round);
    });
    for (unsigned i = 0; i < thread_count; ++i)
        for (unsigned round = 0; round < rounds; ++round)
            ASSERT_EQ(results[i][round], job(i, round).result_for(round)) << "thread " << i;
}

// One thread fills the registry. Then all threads may look up records in it at the same time.
TEST(Registry, look_ups_run_while_other_threads_hash_and_encrypt) {
    vrx_gost28147_par* first = nullptr;
    expect_ok(oidFindGOST28147Par(VRX_PAR_CIPHER_A_OID, VRX_PAR_OID_SIZE, &first));
    const Job hashing = hash();
    const Job encrypting = context("context_gamm", VRX_MODE_GAMM);
    at_once([&](unsigned i) {
        for (unsigned round = 0; round < rounds; ++round) {
            if (i % 2 == 0) {
                const Job& work = i % 4 == 0 ? hashing : encrypting;
                EXPECT_EQ(work.result_for(round), work.result_for(round));
                continue;
            }
            for (unsigned time = 0; time < 50; ++time) {
                vrx_gost28147_par* found = nullptr;
                expect_ok(oidFindGOST28147Par(VRX_PAR_CIPHER_A_OID, VRX_PAR_OID_SIZE, &found));
                EXPECT_EQ(found, first);
                const vrx_gostr3411_par* hash_set = nullptr;
                expect_ok(oidFindGOSTR3411Par(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, &hash_set));
                EXPECT_EQ(hash_set, &GOSTR3411_OIDS[1]);
            }
        }
    });
}

TEST(Log, lines_of_concurrent_failures_are_not_mixed) {
    LogCapture log;
    at_once([](unsigned) {
        for (unsigned round = 0; round < rounds; ++round) EXPECT_EQ(TZ_by_id(5), nullptr);
    });
    std::string expected;
    for (unsigned line = 0; line < thread_count * rounds; ++line) expected += "TZ_by_id: index out of range\n";
    EXPECT_EQ(log.take(), expected);
}

/** Calls that select engines. They must be the first calls of the process. */
TEST(FirstCalls, of_all_families_may_run_concurrently) {
    const std::uint8_t num[VRX_NUM_TZ_SIZE] = {};
    at_once([&num](unsigned) {
        vrx_tz table{};
        vrx_crpt_deploy_TZ(num, &table);
        std::uint8_t data[VRX_BLOCK_SIZE] = {};
        const std::uint32_t key[VRX_KEY_WORDS] = {};
        const vrx_data in = {sizeof data, data};
        std::uint8_t encrypted[VRX_BLOCK_SIZE];
        vrx_data out = {sizeof encrypted, encrypted};
        VRX_Gost_SS_m(&table, &in, &out, key, 1);
        std::uint8_t digest[VRX_HASH_SIZE];
        GOSTR3411_Transform_ex(&table, data, sizeof data, digest);
        sha_context sha;
        shaInit(&sha);
        shaUpdate(&sha, data, sizeof data);
        shaFinal(&sha, digest);
        const EcParamSet& set = *get_GOSTR3410_par(0);
        EcPoint point;
        ecGeneratePublicKey(&set, set.G.x, &point);
    });
}

}  // namespace
