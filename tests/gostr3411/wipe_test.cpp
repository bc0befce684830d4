// Tests that keys, passwords and derived secrets do not remain on the stack or the heap.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <utility>

#include "fields.hpp"
#include "messages.hpp"
#include "support/own_stack.hpp"
#include "support/random.hpp"

// Records the memory that is passed to free(). The linker redirects the library's calls to this file.
namespace {

using vrx::test::Bytes;

/** The content of the heap block that was freed. */
Bytes* freed = nullptr;

}  // namespace

extern "C" void __real_free(void* memory);
extern "C" void __wrap_free(void* memory) {
    if (freed != nullptr && memory != nullptr) {
        Bytes* const kept = std::exchange(freed, nullptr);  // the code below frees memory, too
        const auto* first = static_cast<const std::uint8_t*>(memory);
        kept->insert(kept->end(), first, first + malloc_usable_size(memory));
        freed = kept;
    }
    __real_free(memory);
}

namespace {

using namespace vrx::test;

/** The content of the heap block that the call frees. */
Bytes heap_after(const std::function<void()>& call) {
    Bytes memory;
    freed = &memory;
    call();
    freed = nullptr;
    return memory;
}

class WipeTest : public testing::Test {
protected:
    /** The two pads of a key of up to 32 bytes, and the hashes after the pads have been processed. */
    void add_derived(const Bytes& key) {
        secrets.push_back(key);
        for (const std::uint8_t pad : std::to_array<std::uint8_t>({0x00, 0x36, 0x5c})) {
            Octets block{};
            std::copy(key.begin(), key.end(), block.begin());
            for (std::uint8_t& octet : block) octet ^= pad;
            const ModelStep step = model_step({}, block, set);
            for (const Octets& secret :
                 {block, step.out, step.s, step.keys[0], step.keys[1], step.keys[2], step.keys[3]})
                secrets.emplace_back(secret.begin(), secret.end());
        }
    }
    void expect_none_left(const std::function<void()>& call) {
        const Bytes stack = stack_after(call);
        for (std::size_t i = 0; i < secrets.size(); ++i)
            EXPECT_FALSE(holds_part_of(stack, secrets[i])) << "secret " << i;
    }

    Random random;
    Substitution set = on_boxes(boxes_of_set(cryptopro_set));
    std::vector<Bytes> secrets;
    Bytes message = random.bytes(100);
    Octets out{};
    std::uint32_t size = 0;
};

// Control: the search finds a secret on the stack.
TEST_F(WipeTest, a_key_left_on_the_stack_is_found) {
    const Bytes key = random.bytes(32);
    const Bytes stack = stack_after([&] {
        std::uint8_t copy[32];
        std::copy(key.begin(), key.end(), copy);
        asm volatile("" : : "r"(copy) : "memory");
    });
    EXPECT_TRUE(holds_part_of(stack, key));
}

TEST_F(WipeTest, hmac_leaves_nothing_of_its_key) {
    const Bytes key = random.bytes(32);
    add_derived(key);
    expect_none_left([&] {
        GOSTR3411_HMAC(nullptr, 0, message.data(), length32(message), key.data(), length32(key), out.data(), &size);
    });
    GOSTR3411_HMAC_CTX ctx;
    expect_none_left([&] { GOSTR3411_HMAC_Init(&ctx, nullptr, 0, key.data(), length32(key)); });
    expect_none_left([&] { GOSTR3411_HMAC_Update(&ctx, message.data(), length32(message)); });
    expect_none_left([&] { GOSTR3411_HMAC_Final(&ctx, out.data(), &size); });
    expect_none_left([&] { GOSTR3411_HMAC_Reset(&ctx); });
}

TEST_F(WipeTest, hmac_leaves_nothing_of_a_long_key_and_its_hash) {
    const Bytes key = random.bytes(77);
    const Octets hashed = model_digest(set, key);
    add_derived({hashed.begin(), hashed.end()});
    secrets.push_back(key);
    expect_none_left([&] {
        GOSTR3411_HMAC(nullptr, 0, message.data(), length32(message), key.data(), length32(key), out.data(), &size);
    });
    // Nothing remains either if a later argument is invalid.
    expect_none_left([&] { GOSTR3411_HMAC(nullptr, 0, nullptr, 0, key.data(), length32(key), out.data(), &size); });
}

TEST_F(WipeTest, pbkdf2_leaves_nothing_of_password_and_result) {
    const Bytes password = random.bytes(32);
    add_derived(password);
    for (const std::uint64_t iterations : {1U, 2U, 5U}) {
        ASSERT_EQ(
            GOSTR3411_PKCS5_PBKDF2(password.data(), 32, message.data(), 100, iterations, nullptr, 0, out.data(), 32),
            VRX_OK);
        secrets.emplace_back(out.begin(), out.end());
        expect_none_left([&] {
            GOSTR3411_PKCS5_PBKDF2(password.data(), 32, message.data(), 100, iterations, nullptr, 0, out.data(), 32);
        });
    }
    expect_none_left([&] { GOSTR3411_PKCS5_PBKDF2(password.data(), 32, nullptr, 100, 1, nullptr, 0, out.data(), 32); });
}

TEST_F(WipeTest, pkcs12_derivation_leaves_nothing_of_password_and_result) {
    const Bytes password = random.bytes(32);
    secrets.push_back(password);
    const std::uint8_t oid[1] = {};
    for (const std::uint64_t iterations : {1U, 2U, 5U}) {
        ASSERT_EQ(GOSTR3411_PBA_Derive(password.data(), 32, message.data(), 8, iterations, 1, oid, 1, out.data(), 32),
                  VRX_OK);
        secrets.emplace_back(out.begin(), out.end());
        expect_none_left([&] {
            GOSTR3411_PBA_Derive(password.data(), 32, message.data(), 8, iterations, 1, oid, 1, out.data(), 32);
        });
    }
}

TEST_F(WipeTest, pkcs12_derivation_leaves_nothing_on_the_heap) {
    const Bytes password = random.bytes(70);
    const std::uint8_t oid[1] = {};
    // The computation of the second block of the result starts with the sum of the password and the first block.
    Bytes keys(64);
    const Bytes heap = heap_after(
        [&] { GOSTR3411_PBA_Derive(password.data(), 70, message.data(), 8, 3, 1, oid, 1, keys.data(), 64); });
    ASSERT_GE(heap.size(), 128U);  // the salt and the password in whole blocks
    EXPECT_TRUE(std::all_of(heap.begin(), heap.begin() + 128, [](std::uint8_t byte) { return byte == 0; }));
    EXPECT_FALSE(holds_part_of(heap, password));
}

// Control: the test finds memory that is not wiped.
TEST_F(WipeTest, a_password_left_on_the_heap_is_found) {
    const Bytes password = random.bytes(70);
    const Bytes heap = heap_after([&] {
        void* copy = std::malloc(password.size());
        std::copy(password.begin(), password.end(), static_cast<std::uint8_t*>(copy));
        asm volatile("" : : "r"(copy) : "memory");
        std::free(copy);
    });
    EXPECT_TRUE(holds_part_of(heap, password));
}

}  // namespace
