// Tests of return codes and exact log lines for every failing call of the frame, the tables and the registry.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "support/child_process.hpp"
#include "support/log_capture.hpp"
#include "support/registry_guard.hpp"
#include "vrx.h"

namespace {

using vrx::test::LogCapture;
using vrx::test::passed;
using vrx::test::RegistryGuard;
using vrx::test::run_in_child;

/** Converts the results of look-ups, which have no return code. */
enum LookUp { nothing = 1, something = 2 };

LookUp seen(const void* found) { return found == nullptr ? nothing : something; }

struct Row {
    std::string call;
    std::function<int()> run; /**< the registered list is empty before the call */
    int result;
    std::string log;
};

const std::uint8_t numeric[VRX_NUM_TZ_SIZE] = {};
const std::uint8_t unknown_oid[VRX_PAR_OID_SIZE] = {0x06, 0x07, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x1F, 0x0A};

int with_builtin_records(const std::function<int()>& call) {
    EXPECT_EQ(oidRegisterGOST28147CryptoProPar(), VRX_OK);
    return call();
}

int find_cipher(const std::uint8_t* oid, std::uint32_t length) {
    vrx_gost28147_par* found = &GOST28147_CRYPTO_PRO_OIDS[3];
    const int rc = oidFindGOST28147Par(oid, length, &found);
    EXPECT_EQ(found == nullptr, rc != VRX_OK);
    return rc;
}

int find_hash(const std::uint8_t* oid, std::uint32_t length) {
    const vrx_gostr3411_par* found = &GOSTR3411_OIDS[1];
    const int rc = oidFindGOSTR3411Par(oid, length, &found);
    EXPECT_EQ(found == nullptr, rc != VRX_OK);
    return rc;
}

std::vector<Row> failing_calls() {
    std::vector<Row> rows;
    const auto add = [&](std::string call, std::function<int()> run, int result, std::string log) {
        rows.push_back({std::move(call), std::move(run), result, std::move(log)});
    };
    static vrx_tz table;
    static std::uint8_t octets[VRX_NUM_TZ_SIZE];

    // Deployment.
    const std::string deploy_null = "vrx_crpt_deploy_TZ: NULL data pointer\n";
    const std::string deploy_returned = deploy_null + "vrx_crpt_deploy_TZ returned 0xfffffffe";
    add(
        "deploy(NULL, out)", [] { return vrx_crpt_deploy_TZ(nullptr, &table); }, -2, deploy_null);
    add(
        "deploy(num, NULL)", [] { return vrx_crpt_deploy_TZ(numeric, nullptr); }, -2, deploy_null);
    add(
        "deploy(NULL, NULL)", [] { return vrx_crpt_deploy_TZ(nullptr, nullptr); }, -2, deploy_null);
    add(
        "init_num(NULL, out)", [] { return vrx_crpt_init_num_TZ(nullptr, &table); }, -2, deploy_returned);
    add(
        "init_num(num, NULL)", [] { return vrx_crpt_init_num_TZ(numeric, nullptr); }, -2, deploy_returned);
    add(
        "init_num(NULL, NULL)", [] { return vrx_crpt_init_num_TZ(nullptr, nullptr); }, -2, deploy_returned);

    // TZ strings.
    const std::string bad_text = "vrx_crpt_TZ_str_to_num: bad params\n";
    const std::string bad_text_returned = bad_text + "vrx_crpt_TZ_str_to_num returned 0xfffffc18";
    for (const unsigned length : {0U, 1U, 64U, 127U, 129U, 255U, 256U, 384U, 1000U}) {
        const std::string text(length, 'A');
        const std::string call = "(" + std::to_string(length) + " characters, ";
        add(
            "str_to_num" + call + "num)", [=] { return vrx_crpt_TZ_str_to_num(text.c_str(), octets); }, -1000,
            bad_text);
        add(
            "init_new" + call + "out)", [=] { return vrx_crpt_init_new_TZ(text.c_str(), &table); }, -1000,
            bad_text_returned);
        add(
            "init_new" + call + "NULL)", [=] { return vrx_crpt_init_new_TZ(text.c_str(), nullptr); }, -1000,
            bad_text_returned);
    }
    add(
        "init_new(128 characters, NULL)",
        [] { return vrx_crpt_init_new_TZ(std::string(VRX_TZ_STRING_SIZE, '0').c_str(), nullptr); }, -2,
        deploy_returned);

    // Tables by number: only the low 8 bits are used.
    for (const std::uint32_t id : {5U, 6U, 255U, 261U, 0xFFFFFF05U, 0xFFFFFFFFU})
        add(
            "TZ_by_id(" + std::to_string(id) + ")", [=] { return seen(TZ_by_id(id)); }, nothing,
            "TZ_by_id: index out of range\n");
    for (const std::uint32_t id : {2U, 4U, 255U, 258U, 0xFFFFFF02U, 0xFFFFFFFFU})
        add(
            "hash_TZ_by_id(" + std::to_string(id) + ")", [=] { return seen(hash_TZ_by_id(id)); }, nothing,
            "hash_TZ_by_id: index out of range\n");

    // Tables by name. Format specifiers in a name are not interpreted.
    add(
        "TZ_by_name(NULL)", [] { return seen(TZ_by_name(nullptr)); }, nothing, "TZ_by_name: NULL name\n");
    add(
        "hash_TZ_by_name(NULL)", [] { return seen(hash_TZ_by_name(nullptr)); }, nothing,
        "hash_TZ_by_name: NULL name\n");
    const std::vector<std::string> names = {"",
                                            "tz",
                                            "tz_e",
                                            "TZ_A",
                                            "tz_a ",
                                            " tz_0",
                                            "%s",
                                            "%n",
                                            "%s%s%s%s%n%n",
                                            "100%",
                                            "%%",
                                            "%1$*2$d%.999999x",
                                            "two\nlines\n",
                                            "\x80\xFF\x01",
                                            std::string(10000, 'x')};
    for (const std::string& name : names) {
        add(
            "TZ_by_name(" + name.substr(0, 20) + ")", [=] { return seen(TZ_by_name(name.c_str())); }, nothing,
            "TZ_by_name: unsupported name " + name + "\n");
        add(
            "hash_TZ_by_name(" + name.substr(0, 20) + ")", [=] { return seen(hash_TZ_by_name(name.c_str())); }, nothing,
            "hash_TZ_by_name: unsupported name " + name + "\n");
    }
    for (const char* const name : {"tz_0", "tz_1"})
        add(
            std::string("TZ_by_name(") + name + ")", [=] { return seen(TZ_by_name(name)); }, nothing,
            std::string("TZ_by_name: unsupported name ") + name + "\n");
    for (const char* const name : {"tz_test", "tz_a", "tz_d"})
        add(
            std::string("hash_TZ_by_name(") + name + ")", [=] { return seen(hash_TZ_by_name(name)); }, nothing,
            std::string("hash_TZ_by_name: unsupported name ") + name + "\n");

    // Records by number: no log line.
    for (const std::uint32_t index : {10U, 11U, 256U, 0x80000000U, 0xFFFFFFFFU})
        add(
            "get_GOST28147_par(" + std::to_string(index) + ")", [=] { return seen(get_GOST28147_par(index)); }, nothing,
            "");
    for (const std::uint32_t index : {2U, 3U, 256U, 0x80000000U, 0xFFFFFFFFU})
        add(
            "get_GOSTR3411_par(" + std::to_string(index) + ")", [=] { return seen(get_GOSTR3411_par(index)); }, nothing,
            "");

    // The registry.
    const std::string not_found = "oidFindGOST28147Par: unsupported OID\n";
    add(
        "find(unknown) on the empty list", [] { return find_cipher(unknown_oid, 9); }, -1, not_found);
    add(
        "find(unknown) on the full list",
        [] { return with_builtin_records([] { return find_cipher(unknown_oid, 9); }); }, -1, not_found);
    add(
        "find(A, 8 of 9 bytes)", [] { return find_cipher(VRX_PAR_CIPHER_A_OID, 8); }, -1, not_found);
    add(
        "find(A, no byte)", [] { return find_cipher(VRX_PAR_CIPHER_A_OID, 0); }, -1, not_found);
    add(
        "find(a hash set)", [] { return find_cipher(VRX_PAR_HASH_1_OID, 9); }, -1, not_found);
    const std::string hash_not_found = "oidFindGOSTR3411Par: unsupported OID\n";
    add(
        "find hash(unknown)", [] { return find_hash(unknown_oid, 9); }, -1, hash_not_found);
    add(
        "find hash(8 of 9 bytes)", [] { return find_hash(VRX_PAR_HASH_0_OID, 8); }, -1, hash_not_found);
    add(
        "find hash(no byte)", [] { return find_hash(VRX_PAR_HASH_0_OID, 0); }, -1, hash_not_found);
    add(
        "find hash(a cipher set)", [] { return find_hash(VRX_PAR_CIPHER_A_OID, 9); }, -1, hash_not_found);
    add(
        "unregister(A) on the empty list", [] { return oidUnregisterGOST28147Par(VRX_PAR_CIPHER_A_OID, 9); }, -1,
        "oidUnregisterGOST28147Par: no registered params\n");
    const std::string none_to_remove = "oidUnregisterGOST28147Par: no params found for OID\n";
    add(
        "unregister(unknown)",
        [] { return with_builtin_records([] { return oidUnregisterGOST28147Par(unknown_oid, 9); }); }, -2,
        none_to_remove);
    add(
        "unregister(A, 8 of 9 bytes)",
        [] { return with_builtin_records([] { return oidUnregisterGOST28147Par(VRX_PAR_CIPHER_A_OID, 8); }); }, -2,
        none_to_remove);
    return rows;
}

TEST(log, has_the_listed_line_for_each_failing_call) {
    for (const Row& row : failing_calls()) {
        SCOPED_TRACE(row.call);
        const RegistryGuard guard;
        LogCapture log;
        EXPECT_EQ(row.run(), row.result);
        EXPECT_EQ(log.take(), row.log);
    }
}

TEST(log, turned_off_does_not_change_return_codes) {
    const auto child = run_in_child([] {
        vrxflog = nullptr;
        for (const Row& row : failing_calls()) {
            SCOPED_TRACE(row.call);
            const RegistryGuard guard;
            EXPECT_EQ(row.run(), row.result);
        }
    });
    EXPECT_TRUE(passed(child));
    EXPECT_EQ(child.out + child.err, "");
}

TEST(log, that_cannot_be_written_does_not_change_return_codes) {
    std::FILE* const before = vrxflog;
    std::FILE* const full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    std::setvbuf(full, nullptr, _IONBF, 0);
    vrxflog = full;
    for (const Row& row : failing_calls()) {
        SCOPED_TRACE(row.call);
        const RegistryGuard guard;
        EXPECT_EQ(row.run(), row.result);
    }
    EXPECT_NE(std::ferror(full), 0) << "the lines were written";
    vrxflog = before;
    std::fclose(full);
}

TEST(log, messages_without_a_newline_run_together) {
    LogCapture log;
    EXPECT_EQ(vrx_crpt_init_num_TZ(nullptr, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(TZ_by_id(5), nullptr);
    EXPECT_EQ(log.take(),
              "vrx_crpt_deploy_TZ: NULL data pointer\n"
              "vrx_crpt_deploy_TZ returned 0xfffffffeTZ_by_id: index out of range\n");
}

TEST(log, stays_empty_on_success) {
    const RegistryGuard guard;
    LogCapture log;
    vrx_tz table;
    std::array<std::uint8_t, VRX_NUM_TZ_SIZE> octets{};
    const std::string text(VRX_TZ_STRING_SIZE, '5');
    EXPECT_EQ(vrx_crpt_TZ_str_to_num(text.c_str(), octets.data()), VRX_OK);
    EXPECT_EQ(vrx_crpt_swap_num_TZ(octets.data()), VRX_OK);
    EXPECT_EQ(vrx_crpt_deploy_TZ(octets.data(), &table), VRX_OK);
    EXPECT_EQ(vrx_crpt_init_num_TZ(octets.data(), &table), VRX_OK);
    EXPECT_EQ(vrx_crpt_init_new_TZ(text.c_str(), &table), VRX_OK);
    EXPECT_EQ(seen(TZ_by_id(4)), something);
    EXPECT_EQ(seen(hash_TZ_by_id(1)), something);
    EXPECT_EQ(seen(TZ_by_name("tz_d")), something);
    EXPECT_EQ(seen(hash_TZ_by_name("tz_1")), something);
    EXPECT_EQ(seen(get_GOST28147_par(9)), something);
    EXPECT_EQ(seen(get_GOST28147_default_par()), something);
    EXPECT_EQ(seen(get_GOSTR3411_par(1)), something);
    EXPECT_EQ(seen(get_GOSTR3411_default_par()), something);
    EXPECT_EQ(find_cipher(VRX_PAR_CIPHER_A_OID, VRX_PAR_OID_SIZE), VRX_OK);
    EXPECT_EQ(find_hash(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE), VRX_OK);
    EXPECT_EQ(oidUnregisterGOST28147Par(VRX_PAR_CIPHER_B_OID, VRX_PAR_OID_SIZE), VRX_OK);
    EXPECT_EQ(oidRegisterGOST28147CryptoProPar(), VRX_OK);
    EXPECT_EQ(oidRegisterGOST28147Par(&GOST28147_CRYPTO_PRO_OIDS[9]), VRX_OK);
    vrx_gost28147_par* copy = nullptr;
    EXPECT_EQ(oidCopyGOST28147Par(&GOST28147_CRYPTO_PRO_OIDS[1], &copy), VRX_OK);
    EXPECT_EQ(oidSetModeGOST28147Par(copy, 4), VRX_OK);
    EXPECT_EQ(oidSetKeyMeshingGOST28147Par(copy, 0), VRX_OK);
    EXPECT_EQ(oidSetOIDGOST28147Par(copy, unknown_oid, 9, "1.2", "own"), VRX_OK);
    std::free(copy);
    EXPECT_NE(vrx_copyright_notice(), nullptr);
    EXPECT_EQ(mpVersion(), 2205);
    EXPECT_EQ(log.take(), "");
}

}  // namespace
