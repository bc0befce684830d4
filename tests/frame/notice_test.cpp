#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/memory_map.hpp"
#include "vrx/bigdigits.h"
#include "vrx/frame.h"

namespace {

using vrx::test::is_read_only;

static_assert(VRX_OK == 0);
static_assert(VRX_ERR_FAILED == -1);
static_assert(VRX_ERR_BAD_PARAMS == -2);
static_assert(VRX_ERR_RANDOM == -3);
static_assert(VRX_ERR_BUFFER_LENGTH == -4);
static_assert(VRX_ERR_BLOCK_MULTIPLE == -6);
static_assert(VRX_ERR_CONTEXT_STATE == -152);
static_assert(VRX_ERR_UNKNOWN_TZ == -1000);
static_assert(VRX_ERR_UNKNOWN_MODE == -1102);
static_assert(VRX_ERR_UNSUPPORTED_OID == -3001);

void expect_one_constant_line(const char* (*notice)()) {
    const char* const text = notice();
    ASSERT_NE(text, nullptr);
    EXPECT_GT(std::strlen(text), 20U) << "names an origin and a permission";
    for (const char* c = text; *c != '\0'; ++c) EXPECT_TRUE(*c >= ' ' && *c <= '~') << "printable ASCII only";
    EXPECT_EQ(notice(), text) << "the same text at every call";
    EXPECT_TRUE(is_read_only(text, std::strlen(text) + 1));
}

TEST(notice, of_the_library_is_one_constant_line) { expect_one_constant_line(vrx_copyright_notice); }

TEST(notice, of_the_arithmetic_is_one_constant_line) { expect_one_constant_line(bigdigits_copyright_notice); }

TEST(notice, of_the_arithmetic_differs) { EXPECT_STRNE(vrx_copyright_notice(), bigdigits_copyright_notice()); }

TEST(version, of_the_arithmetic_module_is_2205) { EXPECT_EQ(mpVersion(), 2205); }

}  // namespace
