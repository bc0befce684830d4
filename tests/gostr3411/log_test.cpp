// The return codes and log lines of each failing call of the hash, of HMAC and of the derivations, byte for byte.
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "support/log_capture.hpp"
#include "support/registry_guard.hpp"
#include "vrx.h"

namespace {

using vrx::test::LogCapture;
using vrx::test::RegistryGuard;

struct Row {
    const char* call;
    std::function<int()> run;
    int result;
    std::string log;
};

// The arguments of the calls.
const std::uint8_t* const oid = VRX_PAR_HASH_1_OID;
constexpr std::uint32_t oid_len = VRX_PAR_OID_SIZE;
const std::uint8_t unknown_oid[VRX_PAR_OID_SIZE] = {6, 7, 0x2a, 0x85, 3, 2, 2, 0x1e, 2};
const std::uint8_t data[40] = {1, 2, 3};
const vrx_tz* const table = &TZ_3411_94[1];
const vrx_gostr3411_par without_table = {sizeof unknown_oid, unknown_oid, "", "", nullptr};
std::uint8_t out[32];
std::uint32_t out_len;
GOSTR3411_CTX ctx;
GOSTR3411_HMAC_CTX hmac;

int opened(const std::function<int()>& call) {
    EXPECT_EQ(GOSTR3411_Init_ex(&ctx, table), VRX_OK);
    return call();
}

int keyed(const std::function<int()>& call) {
    EXPECT_EQ(GOSTR3411_HMAC_Init(&hmac, oid, oid_len, data, 32), VRX_OK);
    return call();
}

/** The default parameter set has no table here. */
int tableless(const std::function<int()>& call) {
    DEFAULT_GOSTR3411_OID = &without_table;
    return call();
}

const std::string code_1 = " failed, rc = 0xffffffff\n";
const std::string code_2 = " failed, rc = 0xfffffffe\n";
const std::string code_3001 = " failed, rc = 0xfffff447\n";

const std::string init_bad = "GOSTR3411_Init_more_oids: bad params\n";
const std::string init_unsupported = "GOSTR3411_Init_more_oids: unsupported OID\n";
const std::string init_ex_bad = "GOSTR3411_Init_ex: bad params\n";
const std::string update_bad = "GOSTR3411_Update: bad params\n";
const std::string final_bad = "GOSTR3411_Final: bad params\n";
const std::string find_failed = "oidFindGOSTR3411Par: unsupported OID\noidFindGOSTR3411Par" + code_1;

std::vector<Row> hash_rows() {
    return {
        // GOSTR3411_Init() logs the name of GOSTR3411_Init_more_oids(), which it calls.
        {"Init(NULL, oid)", [] { return GOSTR3411_Init(nullptr, oid, oid_len); }, -2, init_bad},
        {"Init(ctx, NULL)", [] { return GOSTR3411_Init(&ctx, nullptr, oid_len); }, -2, init_bad},
        {"Init(ctx, oid of 0)", [] { return GOSTR3411_Init(&ctx, oid, 0); }, -2, init_bad},
        {"Init(ctx, unknown)", [] { return GOSTR3411_Init(&ctx, unknown_oid, oid_len); }, -3001, init_unsupported},
        {"Init(ctx, oid of 8)", [] { return GOSTR3411_Init(&ctx, oid, 8); }, -3001, init_unsupported},
        {"Init_more_oids(NULL, unknown)",
         [] { return GOSTR3411_Init_more_oids(nullptr, unknown_oid, oid_len, nullptr, 0); }, -2, init_bad},
        {"Init_more_oids(ctx, unknown, no extra)",
         [] { return GOSTR3411_Init_more_oids(&ctx, unknown_oid, oid_len, &without_table, 0); }, -3001,
         init_unsupported},
        {"Init_more_oids(ctx, a record without a table)",
         [] { return GOSTR3411_Init_more_oids(&ctx, unknown_oid, oid_len, &without_table, 1); }, -2, init_ex_bad},
        {"Init_ex(NULL, table)", [] { return GOSTR3411_Init_ex(nullptr, table); }, -2, init_ex_bad},
        {"Init_ex(ctx, NULL)", [] { return GOSTR3411_Init_ex(&ctx, nullptr); }, -2, init_ex_bad},
        {"Init_ex(NULL, NULL)", [] { return GOSTR3411_Init_ex(nullptr, nullptr); }, -2, init_ex_bad},
        {"Update(NULL, data)", [] { return GOSTR3411_Update(nullptr, data, 1); }, -2, update_bad},
        {"Update(ctx, NULL)", [] { return opened([] { return GOSTR3411_Update(&ctx, nullptr, 1); }); }, -2, update_bad},
        {"Update(ctx, data of 0)", [] { return opened([] { return GOSTR3411_Update(&ctx, data, 0); }); }, -2,
         update_bad},
        {"Final(NULL, out)", [] { return GOSTR3411_Final(nullptr, out); }, -2, final_bad},
        {"Final(ctx, NULL)", [] { return opened([] { return GOSTR3411_Final(&ctx, nullptr); }); }, -2, final_bad},
    };
}

std::vector<Row> one_shot_rows() {
    const std::string init_failed = "GOSTR3411_Init_more_oids";
    const std::string update_failed = update_bad + "GOSTR3411_Update" + code_2;
    const std::string final_failed = final_bad + "GOSTR3411_Final" + code_2;
    return {
        {"Transform(NULL)", [] { return GOSTR3411_Transform(nullptr, oid_len, nullptr, 0, nullptr); }, -2,
         init_bad + init_failed + code_2},
        {"Transform(oid of 0)", [] { return GOSTR3411_Transform(oid, 0, nullptr, 0, nullptr); }, -2,
         init_bad + init_failed + code_2},
        {"Transform(unknown)", [] { return GOSTR3411_Transform(unknown_oid, oid_len, nullptr, 0, nullptr); }, -3001,
         init_unsupported + init_failed + code_3001},
        {"Transform(oid, NULL, NULL)", [] { return GOSTR3411_Transform(oid, oid_len, nullptr, 1, nullptr); }, -2,
         update_failed},
        {"Transform(oid, data of 0)", [] { return GOSTR3411_Transform(oid, oid_len, data, 0, out); }, -2,
         update_failed},
        {"Transform(oid, data, NULL)", [] { return GOSTR3411_Transform(oid, oid_len, data, 1, nullptr); }, -2,
         final_failed},
        {"Transform_more_oids(unknown)",
         [] { return GOSTR3411_Transform_more_oids(unknown_oid, oid_len, nullptr, 1, data, 1, out); }, -3001,
         init_unsupported + init_failed + code_3001},
        {"Transform_more_oids(a record without a table)",
         [] { return GOSTR3411_Transform_more_oids(unknown_oid, oid_len, &without_table, 1, data, 1, out); }, -2,
         init_ex_bad + init_failed + code_2},
        {"Transform_more_oids(oid, data of 0)",
         [] { return GOSTR3411_Transform_more_oids(oid, oid_len, nullptr, 0, data, 0, nullptr); }, -2, update_failed},
        {"Transform_more_oids(oid, data, NULL)",
         [] { return GOSTR3411_Transform_more_oids(oid, oid_len, nullptr, 0, data, 1, nullptr); }, -2, final_failed},
        {"Transform_ex(NULL)", [] { return GOSTR3411_Transform_ex(nullptr, nullptr, 0, nullptr); }, -2,
         init_ex_bad + "GOSTR3411_Init_ex" + code_2},
        {"Transform_ex(table, NULL)", [] { return GOSTR3411_Transform_ex(table, nullptr, 1, out); }, -2, update_failed},
        {"Transform_ex(table, data of 0)", [] { return GOSTR3411_Transform_ex(table, data, 0, nullptr); }, -2,
         update_failed},
        {"Transform_ex(table, data, NULL)", [] { return GOSTR3411_Transform_ex(table, data, 1, nullptr); }, -2,
         final_failed},
    };
}

std::vector<Row> hmac_rows() {
    const std::string init_1 = init_ex_bad + "GOSTR3411_Init_ex #1" + code_2;
    const std::string init_2 = init_ex_bad + "GOSTR3411_Init_ex #2" + code_2;
    const std::string update_1 = update_bad + "GOSTR3411_Update #1" + code_2;
    const std::string update_3 = update_bad + "GOSTR3411_Update #3" + code_2;
    return {
        {"HMAC_Init(unknown)", [] { return GOSTR3411_HMAC_Init(&hmac, unknown_oid, oid_len, nullptr, 33); }, -1,
         find_failed},
        {"HMAC_Init(oid of 0)", [] { return GOSTR3411_HMAC_Init(&hmac, oid, 0, data, 1); }, -1, find_failed},
        {"HMAC_Init(no key of 33)", [] { return GOSTR3411_HMAC_Init(&hmac, oid, oid_len, nullptr, 33); }, -2, update_1},
        {"HMAC_Init(no table, key of 33)",
         [] { return tableless([] { return GOSTR3411_HMAC_Init(&hmac, nullptr, 0, data, 33); }); }, -2, init_1},
        {"HMAC_Init(no table, no key of 33)",
         [] { return tableless([] { return GOSTR3411_HMAC_Init(&hmac, nullptr, 0, nullptr, 33); }); }, -2, init_1},
        {"HMAC_Init(no table, key of 32)",
         [] { return tableless([] { return GOSTR3411_HMAC_Init(&hmac, nullptr, 0, data, 32); }); }, -2, init_2},
        {"HMAC_Init(no table, no key)",
         [] { return tableless([] { return GOSTR3411_HMAC_Init(&hmac, nullptr, 0, nullptr, 0); }); }, -2, init_2},
        {"HMAC_Reset(a set without a table)",
         [] {
             return keyed([] {
                 hmac.par = &without_table;
                 return GOSTR3411_HMAC_Reset(&hmac);
             });
         },
         -2, init_ex_bad + "GOSTR3411_Init_ex" + code_2},
        {"HMAC_Update(ctx, NULL)", [] { return keyed([] { return GOSTR3411_HMAC_Update(&hmac, nullptr, 1); }); }, -2,
         update_bad + "GOSTR3411_Update" + code_2},
        {"HMAC_Update(ctx, data of 0)", [] { return keyed([] { return GOSTR3411_HMAC_Update(&hmac, data, 0); }); }, -2,
         update_bad + "GOSTR3411_Update" + code_2},
        {"HMAC(unknown)",
         [] { return GOSTR3411_HMAC(unknown_oid, oid_len, nullptr, 0, nullptr, 33, nullptr, &out_len); }, -1,
         find_failed},
        {"HMAC(no table, key of 33)",
         [] { return tableless([] { return GOSTR3411_HMAC(nullptr, 0, data, 1, data, 33, out, &out_len); }); }, -2,
         init_1},
        {"HMAC(no key of 33)", [] { return GOSTR3411_HMAC(oid, oid_len, nullptr, 0, nullptr, 33, nullptr, &out_len); },
         -2, update_1},
        {"HMAC(no table, key of 32)",
         [] { return tableless([] { return GOSTR3411_HMAC(nullptr, 0, nullptr, 0, data, 32, out, &out_len); }); }, -2,
         init_2},
        {"HMAC(no data)", [] { return GOSTR3411_HMAC(oid, oid_len, nullptr, 1, data, 3, nullptr, &out_len); }, -2,
         update_3},
        {"HMAC(data of 0)", [] { return GOSTR3411_HMAC(oid, oid_len, data, 0, data, 3, out, &out_len); }, -2, update_3},
        {"HMAC(no out)", [] { return GOSTR3411_HMAC(oid, oid_len, data, 1, data, 3, nullptr, &out_len); }, -2,
         final_bad + "GOSTR3411_Final #2" + code_2},
    };
}

std::vector<Row> kdf_rows() {
    // A line that ends with a return code, without a newline.
    const std::string update_returned =
        update_bad + "GOSTR3411_Update" + code_2 + "GOSTR3411_HMAC_Update returned 0xfffffffe";
    return {
        {"PBKDF2(31 bytes of output)",
         [] { return GOSTR3411_PKCS5_PBKDF2(nullptr, 33, nullptr, 0, 1, unknown_oid, oid_len, nullptr, 31); }, -1,
         "GOSTR3411_PKCS5_PBKDF2: output key length < 32\n"},
        {"PBKDF2(unknown)", [] { return GOSTR3411_PKCS5_PBKDF2(data, 8, data, 8, 1, unknown_oid, oid_len, out, 32); },
         -1, find_failed + "GOSTR3411_HMAC_Init returned 0xffffffff"},
        {"PBKDF2(no password of 33)",
         [] { return GOSTR3411_PKCS5_PBKDF2(nullptr, 33, nullptr, 0, 1, oid, oid_len, out, 32); }, -2,
         update_bad + "GOSTR3411_Update #1" + code_2 + "GOSTR3411_HMAC_Init returned 0xfffffffe"},
        {"PBKDF2(no table)",
         [] { return tableless([] { return GOSTR3411_PKCS5_PBKDF2(data, 8, data, 8, 1, nullptr, 0, out, 32); }); }, -2,
         init_ex_bad + "GOSTR3411_Init_ex #2" + code_2 + "GOSTR3411_HMAC_Init returned 0xfffffffe"},
        {"PBKDF2(no salt)", [] { return GOSTR3411_PKCS5_PBKDF2(data, 8, nullptr, 8, 2, oid, oid_len, out, 32); }, -2,
         update_returned},
        {"PBKDF2(salt of 0)", [] { return GOSTR3411_PKCS5_PBKDF2(data, 8, data, 0, 2, oid, oid_len, out, 32); }, -2,
         update_returned},
        {"PBA(NULL identifier)", [] { return GOSTR3411_PBA_Derive(data, 8, data, 8, 1, 1, nullptr, 8, out, 32); }, -1,
         "oidFindGOSTR3411Par: unsupported OID\noidFindGOSTR3411Par returned 0xffffffff"},
        {"PBA(NULL identifier, nothing to do)",
         [] { return GOSTR3411_PBA_Derive(nullptr, 0, nullptr, 0, 1, 1, nullptr, 0, out, 0); }, -1,
         "oidFindGOSTR3411Par: unsupported OID\noidFindGOSTR3411Par returned 0xffffffff"},
        {"PBA(no table)",
         [] { return tableless([] { return GOSTR3411_PBA_Derive(data, 8, data, 8, 1, 1, oid, oid_len, out, 32); }); },
         -2, init_ex_bad + "GOSTR3411_Init_ex returned 0xfffffffe"},
        {"PBA(no table, nothing to do)",
         [] {
             return tableless([] { return GOSTR3411_PBA_Derive(nullptr, 0, nullptr, 0, 1, 1, oid, oid_len, out, 0); });
         },
         -2, init_ex_bad + "GOSTR3411_Init_ex returned 0xfffffffe"},
        {"PBA(neither salt nor password)",
         [] { return GOSTR3411_PBA_Derive(data, 0, data, -1, 1, 1, oid, oid_len, out, 32); }, -2,
         update_bad + "GOSTR3411_Update returned 0xfffffffe"},
    };
}

struct Family {
    const char* name;
    std::vector<Row> (*rows)();
};
void PrintTo(const Family& family, std::ostream* stream) { *stream << family.name; }

class LogTest : public testing::TestWithParam<Family> {};
INSTANTIATE_TEST_SUITE_P(families, LogTest,
                         testing::Values(Family{"hash", hash_rows}, Family{"one_shot", one_shot_rows},
                                         Family{"hmac", hmac_rows}, Family{"derivation", kdf_rows}),
                         [](const auto& suite) { return suite.param.name; });

TEST_P(LogTest, failing_calls_log_the_listed_line_and_write_nothing) {
    for (const Row& row : GetParam().rows()) {
        SCOPED_TRACE(row.call);
        const RegistryGuard guard;
        LogCapture log;
        std::fill(std::begin(out), std::end(out), std::uint8_t{0x5a});
        EXPECT_EQ(row.run(), row.result);
        EXPECT_EQ(log.take(), row.log);
        for (const std::uint8_t byte : out) EXPECT_EQ(byte, 0x5a);
    }
}

TEST_P(LogTest, code_is_the_same_without_a_log) {
    for (const Row& row : GetParam().rows()) {
        SCOPED_TRACE(row.call);
        const RegistryGuard guard;
        ASSERT_EQ(vrxflog, nullptr);
        EXPECT_EQ(row.run(), row.result);
    }
}

TEST(log, of_calls_that_succeed_is_empty) {
    LogCapture log;
    EXPECT_EQ(GOSTR3411_Init(&ctx, oid, oid_len), VRX_OK);
    EXPECT_EQ(GOSTR3411_Update(&ctx, data, 40), VRX_OK);
    EXPECT_EQ(GOSTR3411_Final(&ctx, out), VRX_OK);
    EXPECT_EQ(GOSTR3411_Transform(oid, oid_len, data, 40, out), VRX_OK);
    EXPECT_EQ(keyed([] { return GOSTR3411_HMAC_Update(&hmac, data, 40); }), VRX_OK);
    EXPECT_EQ(GOSTR3411_HMAC_Final(&hmac, out, &out_len), VRX_OK);
    EXPECT_EQ(GOSTR3411_HMAC_Reset(&hmac), VRX_OK);
    EXPECT_EQ(GOSTR3411_HMAC(oid, oid_len, data, 40, data, 40, out, &out_len), VRX_OK);
    EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(data, 40, data, 40, 2, oid, oid_len, out, 32), VRX_OK);
    EXPECT_EQ(GOSTR3411_PBA_Derive(data, 40, data, 40, 2, 1, oid, oid_len, out, 32), VRX_OK);
    EXPECT_EQ(log.take(), "");
}

}  // namespace
