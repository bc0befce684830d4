// Tests every function that allocates memory with failing allocations.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "faults.h"
#include "support/child_process.hpp"
#include "support/hex.hpp"
#include "support/log_capture.hpp"
#include "vrx.h"
#include "vrx.hpp"

namespace {

using namespace vrx::test;

/** Bytes that the C library may add to an allocation. They are not written to. */
constexpr std::size_t rounding = 24;

/**
 * Returns how many allocations a call leaks if the n-th allocation fails. GoogleTest does not allocate memory in
 * between.
 */
template <typename Call>
long left_over(long n, const Call& call) {
    const long before = live_allocations();
    fail_allocation(n);
    call();
    fail_allocation(0);
    return live_allocations() - before;
}

TEST(ShortMemory, copy_of_a_record_fails_with_null) {
    vrx_gost28147_par* copy = GOST28147_OIDS;
    int rc = VRX_OK;
    copy = &GOST28147_CRYPTO_PRO_OIDS[0];
    EXPECT_EQ(left_over(1, [&] { rc = oidCopyGOST28147Par(&GOST28147_CRYPTO_PRO_OIDS[1], &copy); }), 0);
    EXPECT_EQ(rc, VRX_ERR_FAILED);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(left_over(2, [&] { rc = oidCopyGOST28147Par(&GOST28147_CRYPTO_PRO_OIDS[1], &copy); }), 1);
    EXPECT_EQ(rc, VRX_OK);
    std::free(copy);
}

TEST(ShortMemory, pkcs12_derivation_fails_silently_and_writes_nothing) {
    LogCapture log;
    const Bytes text(40, 'p');
    Bytes out(70, 0x5a);
    int rc = VRX_OK;
    const auto derive = [&] {
        rc = GOSTR3411_PBA_Derive(text.data(), 40, text.data(), 30, 3, 1, VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE,
                                  out.data(), 70);
    };
    EXPECT_EQ(left_over(1, derive), 0);
    EXPECT_EQ(rc, VRX_ERR_FAILED);
    EXPECT_EQ(out, Bytes(70, 0x5a));
    EXPECT_EQ(log.take(), "");
    EXPECT_EQ(left_over(2, derive), 0) << "no leak";
    EXPECT_LE(octets_left_in_last(), rounding) << "salt and password are wiped";
    EXPECT_EQ(rc, VRX_OK);
    EXPECT_NE(out, Bytes(70, 0x5a));
}

TEST(ShortMemory, conversion_of_a_long_number_ends_the_process) {
    const ChildRun run = run_in_child([] {
        const std::vector<std::uint32_t> number(VRX_MP_MAX_DIGITS + 1, 1);
        std::vector<char> text(10 * number.size() + 11);
        const auto convert = [&] { mpConvToDecimal(number.data(), number.size(), text.data(), text.size()); };
        EXPECT_EQ(left_over(2, convert), 0) << "no leak";
        EXPECT_LE(octets_left_in_last(), rounding) << "the number is wiped";
        fail_allocation(1);
        convert();
        fail_allocation(0);
        std::printf("it went on");
    });
    EXPECT_TRUE(WIFEXITED(run.status) && WEXITSTATUS(run.status) == 1);
    EXPECT_NE(run.err.find("conv_to_base: Not enough memory"), std::string::npos) << run.err;
    EXPECT_EQ(run.out, "");
}

TEST(ShortMemory, log_that_cannot_be_opened_stays_off) {
    const std::string path = testing::TempDir() + "vrx_short_memory_log";
    int rc = VRX_ERR_FAILED;
    EXPECT_EQ(left_over(1, [&] { rc = vrx_set_log_file(path.c_str()); }), 0);
    EXPECT_EQ(rc, VRX_OK);
    EXPECT_EQ(vrxflog, nullptr);
    EXPECT_EQ(TZ_by_id(9), nullptr) << "the log is not used";
}

TEST(ShortMemory, log_works_without_a_buffer) {
    const std::string path = testing::TempDir() + "vrx_short_memory_log";
    std::remove(path.c_str());
    ASSERT_EQ(vrx_set_log_file(path.c_str()), VRX_OK);
    ASSERT_NE(vrxflog, nullptr);
    fail_allocation(1);
    const vrx_tz* const table = TZ_by_id(9);
    fail_allocation(0);
    vrx_set_log_file(nullptr);
    EXPECT_EQ(table, nullptr);
    std::ifstream file(path);
    const std::string logged{std::istreambuf_iterator<char>(file), {}};
    LogCapture log;
    static_cast<void>(TZ_by_id(9));
    EXPECT_EQ(logged, log.take());
    std::remove(path.c_str());
}

// --- The C++ headers -------------------------------------------------------------------------------------------------

TEST(ShortMemory, cxx_copy_of_a_record_is_freed) {
    EXPECT_EQ(left_over(0, [] { EXPECT_TRUE(vrx::copy_of(vrx::default_cipher_set())); }), 0);
    EXPECT_EQ(left_over(1, [] { EXPECT_EQ(vrx::copy_of(vrx::default_cipher_set()).error(), vrx::Error::failed); }), 0);
}

TEST(ShortMemory, cxx_hexadecimal_text_leaves_no_part_in_freed_memory) {
    const Bytes secret(200, 0xA5);
    void* volatile zeros = std::calloc(4096, 1);  // volatile, because compilers omit the pair of calls otherwise
    std::free(zeros);
    ASSERT_LE(octets_left_in_last(), rounding);
    const std::string text = vrx::to_hex(secret);
    EXPECT_LE(octets_left_in_last(), rounding);
    EXPECT_EQ(text.size(), 400u);
}

// Nothing reads the bytes, because the allocation fails before.
TEST(ShortMemory, cxx_pkcs12_derivation_takes_lengths_below_2_to_31) {
    std::uint8_t byte = 0;
    const vrx::MutableBytes one{&byte, 1}, longest{&byte, 0x7FFFFFFF}, longer{&byte, std::size_t{1} << 31};
    const auto error = [](vrx::Bytes password, vrx::Bytes salt, vrx::MutableBytes out) {
        fail_allocation(1);
        const auto done = vrx::derive_pkcs12(password, salt, 1, vrx::Pkcs12Purpose::key, out);
        fail_allocation(0);
        return done.error();
    };
    EXPECT_EQ(error(longest, one, one), vrx::Error::failed);
    EXPECT_EQ(error(one, longest, one), vrx::Error::failed);
    EXPECT_EQ(error(one, one, longest), vrx::Error::failed);
    EXPECT_EQ(error(longer, one, one), vrx::Error::bad_params);
    EXPECT_EQ(error(one, longer, one), vrx::Error::bad_params);
    EXPECT_EQ(error(one, one, longer), vrx::Error::bad_params);
}

}  // namespace
