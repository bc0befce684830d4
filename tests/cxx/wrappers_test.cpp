// Tests that thin C++ wrappers give the same results as the C functions that they call.
#include <gtest/gtest.h>

#include <vrx.hpp>

#include "support/hex.hpp"
#include "support/log_capture.hpp"
#include "support/random.hpp"
#include "support/registry_guard.hpp"

using namespace vrx::test;

namespace {

namespace mp = vrx::mp;

// --- Numbers ---------------------------------------------------------------------------------------------------------

constexpr std::size_t n = 5;
using Five = std::array<std::uint32_t, n>;
using Ten = std::array<std::uint32_t, 2 * n>;

class CxxNumbers : public testing::Test {
protected:
    Random random;
    Five a = number(), b = number(), m = number(), w{}, x{};

    Five number() {
        Five digits;
        std::ranges::generate(digits, [&] { return random.word(); });
        digits[n - 1] >>= 2;  // a spare bit for sums modulo m
        return digits;
    }
};

TEST_F(CxxNumbers, single_digits) {
    std::uint32_t p[2], q, r;
    spMultiply(p, a[0], b[0]);
    EXPECT_EQ(mp::multiply(a[0], b[0]), std::to_array(p));
    const std::uint32_t d = b[0] | 0x80000000;
    const int carry = spDivide(&q, &r, p, d);
    const auto division = mp::divide(std::to_array(p), d);
    EXPECT_EQ(division.quotient, q);
    EXPECT_EQ(division.remainder, r);
    EXPECT_EQ(division.carry, carry);
    EXPECT_EQ(mp::divide({1, 2}, 1).carry, -1);
}

TEST_F(CxxNumbers, sums_and_products) {
    EXPECT_EQ(mp::add(w, a, b), mpAdd(x.data(), a.data(), b.data(), n));
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::subtract(w, a, b), mpSubtract(x.data(), a.data(), b.data(), n));
    EXPECT_EQ(w, x);
    Ten product{}, expected{};
    mp::multiply(product, a, b);
    mpMultiply(expected.data(), a.data(), b.data(), n);
    EXPECT_EQ(product, expected);
    mp::square(product, a);
    mpSquare(expected.data(), a.data(), n);
    EXPECT_EQ(product, expected);

    Ten q{}, r{};
    EXPECT_TRUE(mp::divide(q, r, product, a));
    EXPECT_TRUE(std::equal(a.begin(), a.end(), q.begin()));
    EXPECT_TRUE(mp::is_zero(r));
    EXPECT_FALSE(mp::divide(q, r, product, Five{}));
}

TEST_F(CxxNumbers, comparison_and_size) {
    EXPECT_TRUE(mp::equal(a, a));
    EXPECT_FALSE(mp::equal(a, b));
    EXPECT_EQ(mp::compare(a, b), mpCompare(a.data(), b.data(), n));
    EXPECT_EQ(mp::compare(b, a), mpCompare(b.data(), a.data(), n));
    EXPECT_FALSE(mp::is_zero(a));
    const Five small{0, 0x100, 0, 0, 0};
    EXPECT_EQ(mp::significant_digits(small), 2u);
    EXPECT_EQ(mp::bit_length(small), 41u);
}

TEST_F(CxxNumbers, copies_and_bits) {
    mp::copy(w, a);
    EXPECT_EQ(w, a);
    mp::set_digit(w, 7);
    EXPECT_EQ(w, (Five{7}));
    mp::set_zero(w);
    EXPECT_EQ(w, Five{});
    EXPECT_EQ(mp::shift_left(w, a, 37), mpShiftLeft(x.data(), a.data(), 37, n));
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::shift_right(w, a, 37), mpShiftRight(x.data(), a.data(), 37, n));
    EXPECT_EQ(w, x);
    mp::set_zero(w);
    EXPECT_TRUE(mp::set_bit(w, 33, true));
    EXPECT_EQ(w[1], 2u);
    EXPECT_EQ(mp::get_bit(w, 33), true);
    EXPECT_EQ(mp::get_bit(w, 34), false);
    EXPECT_EQ(mp::get_bit(w, 160), std::nullopt);
    EXPECT_TRUE(mp::set_bit(w, 33, false));
    EXPECT_TRUE(mp::is_zero(w));
    EXPECT_FALSE(mp::set_bit(w, 160, true));
    w = a;
    mp::modulo_power_of_2(w, 40);
    EXPECT_EQ(w, (Five{a[0], a[1] & 0xFF}));
    for (std::size_t i = 0; i < n; ++i) x[i] = a[i] ^ b[i];
    mp::bit_xor(w, a, b);
    EXPECT_EQ(w, x);
    for (std::size_t i = 0; i < n; ++i) x[i] = a[i] | b[i];
    mp::bit_or(w, a, b);
    EXPECT_EQ(w, x);
    for (std::size_t i = 0; i < n; ++i) x[i] = a[i] & b[i];
    mp::bit_and(w, a, b);
    EXPECT_EQ(w, x);
    for (std::size_t i = 0; i < n; ++i) x[i] = ~a[i];
    mp::bit_not(w, a);
    EXPECT_EQ(w, x);
}

TEST_F(CxxNumbers, a_number_and_a_digit) {
    const std::uint32_t d = b[0];
    EXPECT_EQ(mp::add_digit(w, a, d), mpShortAdd(x.data(), a.data(), d, n));
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::subtract_digit(w, a, d), mpShortSub(x.data(), a.data(), d, n));
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::multiply_digit(w, a, d), mpShortMult(x.data(), a.data(), d, n));
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::multiply_digit_unreduced(w, a, d, m), mpShortModMult(x.data(), a.data(), d, m.data(), n));
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::divide_digit(w, a, d), mpShortDiv(x.data(), a.data(), d, n));
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::modulo_digit(a, d), mpShortMod(a.data(), d, n));
    EXPECT_EQ(mp::compare_digit(a, d), 1);
    EXPECT_EQ(mp::compare_digit(Five{d}, d), 0);
}

TEST_F(CxxNumbers, signs) {
    EXPECT_FALSE(mp::is_negative(a));
    EXPECT_FALSE(mp::negate(w, a));
    EXPECT_TRUE(mp::is_negative(w));
    EXPECT_TRUE(mp::negate(x, w));
    EXPECT_EQ(x, a);
    EXPECT_TRUE(mp::absolute(x, w));
    EXPECT_EQ(x, a);
}

TEST_F(CxxNumbers, modular_arithmetic) {
    m[0] |= 1;
    Ten wide;
    mp::multiply(wide, a, b);
    mp::modulo(w, wide, m);
    mpModulo(x.data(), wide.data(), 2 * n, m.data(), n);
    EXPECT_EQ(w, x);
    mp::modular_multiply(x, a, b, m);
    EXPECT_EQ(w, x);
    mp::modular_add(w, a, b, m);
    mpModAdd(x.data(), a.data(), b.data(), m.data(), n);
    EXPECT_EQ(w, x);
    mp::modular_subtract(w, a, b, m);
    mpModSub(x.data(), a.data(), b.data(), m.data(), n);
    EXPECT_EQ(w, x);
    mp::modular_power(w, a, b, m);
    mpModExp(x.data(), a.data(), b.data(), m.data(), n);
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::modular_inverse(w, a, m), mpModInv(x.data(), a.data(), m.data(), n) == 0);
    EXPECT_EQ(w, x);
    EXPECT_FALSE(mp::modular_inverse(w, Five{6}, Five{9}));
    mp::greatest_common_divisor(w, Five{12}, Five{18});
    EXPECT_EQ(w, Five{6});
    mp::square_root(w, Five{99});
    EXPECT_EQ(w, Five{9});
    EXPECT_EQ(mp::jacobi(Five{2}, Five{15}), 1);
    EXPECT_EQ(mp::jacobi(Five{7}, Five{15}), -1);
    EXPECT_TRUE(mp::is_prime(Five{65537}, 5));
    EXPECT_FALSE(mp::is_prime(Five{65535}, 5));
    EXPECT_TRUE(mp::passes_rabin_miller(Five{65537}, 5));
    EXPECT_EQ(mp::simple_random(9, 9), 9u);
    EXPECT_EQ(mp::version(), 2205);
    EXPECT_EQ(mp::copyright_notice(), bigdigits_copyright_notice());
}

TEST_F(CxxNumbers, conversions) {
    EXPECT_EQ(mp::from_octets(w, unhex("0102030405")), 2u);
    EXPECT_EQ(w, (Five{0x02030405, 1}));
    Bytes octets(7, 0xff);
    EXPECT_EQ(mp::to_octets(w, octets), 5u);
    EXPECT_EQ(hex(octets), "00000102030405");
    const Bytes long_one(24, 0x11);
    EXPECT_EQ(mp::from_octets(w, long_one), n);
    EXPECT_EQ(w, (Five{0x11111111, 0x11111111, 0x11111111, 0x11111111, 0x11111111}));
    mp::from_hex(w, "fedcba9876543210");
    EXPECT_EQ(w, (Five{0x76543210, 0xfedcba98}));
    EXPECT_EQ(mp::to_hex(w), "fedcba9876543210");
    EXPECT_EQ(mp::to_decimal(w), "18364758544493064720");
    mp::from_decimal(x, "18364758544493064720");
    EXPECT_EQ(w, x);
    EXPECT_EQ(mp::to_hex(Five{}), "0");
    EXPECT_EQ(mp::to_decimal(Five{}), "0");
}

TEST_F(CxxNumbers, printing) {
    const auto printed = [](auto layout) {
        testing::internal::CaptureStdout();
        mp::print(Five{0xab, 1}, layout);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(printed(mp::Layout::plain), "00000000 00000000 00000000 00000001 000000ab ");
    EXPECT_EQ(printed(mp::Layout::lines), "00000000 00000000 00000000 00000001 000000ab \n");
    EXPECT_EQ(printed(mp::Layout::trimmed), "00000001 000000ab ");
    EXPECT_EQ(printed(mp::Layout::trimmed_lines), "00000001 000000ab \n");
}

TEST(CxxNumbersDeathTest, fail_ends_the_process) { EXPECT_EXIT(mp::fail("no"), testing::ExitedWithCode(1), "no: "); }

template <typename W, typename U>
concept CanAdd = requires(W w, U u) {
    mp::add(w, u, u);
};
static_assert(CanAdd<Five&, Five> && CanAdd<std::uint32_t (&)[5], Five> && CanAdd<std::span<std::uint32_t, 5>, Five>);
static_assert(!CanAdd<Five&, Ten> && !CanAdd<const Five&, Five> && !CanAdd<std::vector<std::uint32_t>&, Five>);
static_assert(!CanAdd<std::array<std::uint64_t, 5>&, std::array<std::uint64_t, 5>>);

template <std::size_t count>
using Digits = std::array<std::uint32_t, count>;
static_assert(!mp::Number<Digits<0>> && mp::Number<Digits<1>>);
static_assert(mp::Number<Digits<VRX_MP_MAX_DIGITS>> && !mp::Number<Digits<VRX_MP_MAX_DIGITS + 1>>);

template <typename W>
concept CanMultiply = requires(W w) {
    mp::modular_multiply(w, w, w, w);
};
static_assert(CanMultiply<Digits<VRX_MP_MAX_DIGITS / 2>&> && !CanMultiply<Digits<VRX_MP_MAX_DIGITS / 2 + 1>&>);

TEST_F(CxxNumbers, of_octets_beyond_32_bit_lengths_the_last_are_read) {
    const Bytes octets = unhex("0102030405060708090a0b0c0d0e0f1011121314");
    const std::size_t size = (std::size_t{1} << 32) + octets.size();
    const auto end = reinterpret_cast<std::uintptr_t>(octets.data()) + octets.size();
    EXPECT_EQ(mp::from_octets(w, {reinterpret_cast<const std::uint8_t*>(end - size), size}), n);
    EXPECT_EQ(w, (Five{0x11121314, 0x0d0e0f10, 0x090a0b0c, 0x05060708, 0x01020304}));
}

// --- Tables and parameter sets ---------------------------------------------------------------------------------------

TEST(CxxTables, equal_those_of_the_library) {
    for (std::uint32_t i = 0; i < VRX_TZ_28147_89_COUNT; ++i) EXPECT_EQ(vrx::cipher_table(i), &vrx::cipher_tables()[i]);
    for (std::uint32_t i = 0; i < VRX_TZ_3411_94_COUNT; ++i) EXPECT_EQ(vrx::hash_table(i), &vrx::hash_tables()[i]);
    EXPECT_EQ(vrx::cipher_table("tz_b"), &TZ_28147_89[2]);
    EXPECT_EQ(vrx::hash_table("tz_1"), &TZ_3411_94[1]);
    EXPECT_EQ(vrx::cipher_table(7), nullptr);
    EXPECT_EQ(vrx::hash_table("tz_9"), nullptr);
    EXPECT_EQ(vrx::copyright_notice(), vrx_copyright_notice());
}

TEST(CxxTables, custom_ones_in_every_form) {
    const std::string text =
        "C6BC75814838FDE762525F2E2381A65DA92D89605AF41295B5AF6C189CD6DAC3"
        "E1E70BF48E10974FD47A38BA7745E1060BC3B4D93D9E43ACF0692E3B1F0BC072";
    vrx_tz expected{}, older{};
    ASSERT_EQ(vrx_crpt_init_new_TZ(text.c_str(), &expected), VRX_OK);
    const auto same = [&](const vrx_tz& table) { return std::memcmp(&table, &expected, sizeof table) == 0; };
    EXPECT_TRUE(same(vrx::deploy(text).value()));
    EXPECT_EQ(vrx::deploy(text + "x").error(), vrx::Error::unknown_tz);
    vrx::NumericTable sboxes = vrx::sboxes_from_text(text).value();
    EXPECT_TRUE(same(vrx::deploy(sboxes)));
    vrx::deploy(sboxes, older);
    EXPECT_TRUE(same(older));
    EXPECT_EQ(sboxes[0], 0x6C);
    vrx::swap_nibbles(sboxes);
    EXPECT_EQ(sboxes[0], 0xC6);
    for (const std::size_t length : {0u, 127u, 129u, 500u})
        EXPECT_EQ(vrx::sboxes_from_text(std::string(length, '0')).error(), vrx::Error::unknown_tz) << length;
    const std::string framed = "<" + text + ">";
    EXPECT_TRUE(same(vrx::deploy(std::string_view(framed).substr(1, 128)).value())) << "not NUL-terminated";
}

TEST(CxxTables, parameter_sets_are_found_and_registered) {
    const RegistryGuard guard;
    EXPECT_EQ(vrx::hash_set(0), &GOSTR3411_OIDS[0]);
    EXPECT_EQ(vrx::hash_set(2), nullptr);
    EXPECT_EQ(vrx::find_hash_set(vrx::oid::hash_test), &vrx::hash_sets()[0]);
    EXPECT_EQ(vrx::find_hash_set(vrx::oid::cipher_a), nullptr);
    EXPECT_EQ(&vrx::default_hash_set(), &GOSTR3411_OIDS[1]);
    EXPECT_EQ(vrx::cipher_set(9), &GOST28147_CRYPTO_PRO_OIDS[9]);
    EXPECT_EQ(vrx::cipher_set(10), nullptr);
    EXPECT_EQ(&vrx::default_cipher_set(), &GOST28147_CRYPTO_PRO_OIDS[1]);

    EXPECT_EQ(vrx::unregister_cipher_set(vrx::oid::cipher_b).error(), vrx::Error::failed);
    EXPECT_EQ(vrx::find_cipher_set(vrx::oid::cipher_d_simple), vrx::cipher_set(9));
    EXPECT_EQ(vrx::registered_cipher_sets(), vrx::cipher_set(0));
    ASSERT_TRUE(vrx::register_builtin_cipher_sets());

    const Bytes oid = unhex("06072a850302021f7f");
    auto own = vrx::copy_of(vrx::default_cipher_set()).value();
    ASSERT_TRUE(vrx::set_oid(*own, oid, "1.2.643.2.2.31.127", "own"));
    vrx::set_mode(*own, VRX_MODE_CBC);
    vrx::set_key_meshing(*own, true);
    EXPECT_EQ(own->key_meshing, 1u);
    vrx::set_key_meshing(*own, false);
    EXPECT_EQ(own->key_meshing, 0u);
    EXPECT_EQ(vrx::find_cipher_set(oid), nullptr);
    vrx::register_cipher_set(*own);
    EXPECT_EQ(vrx::find_cipher_set(oid), own.get());
    EXPECT_STREQ(own->name, "own");
    vrx::set_default_cipher_set(*own);
    const vrx::CipherParameters parameters;
    EXPECT_EQ(parameters.mode, vrx::Mode::cbc);
    EXPECT_FALSE(parameters.key_meshing);
    EXPECT_EQ(parameters.table, own->tz);
    ASSERT_TRUE(vrx::unregister_cipher_set(oid));
    EXPECT_EQ(vrx::unregister_cipher_set(oid).error(), vrx::Error::bad_params);

    vrx::set_default_hash_set(*vrx::hash_set(0));
    EXPECT_EQ(vrx::hash({}), vrx::hash({}, *vrx::hash_table("tz_0")));
    DEFAULT_GOST28147_OID = vrx::cipher_set(1);
    DEFAULT_GOSTR3411_OID = vrx::hash_set(1);
}

TEST(CxxTables, identifiers_have_the_order_of_the_sets) {
    const vrx::Bytes ciphers[] = {vrx::oid::cipher_test,     vrx::oid::cipher_a,        vrx::oid::cipher_b,
                                  vrx::oid::cipher_c,        vrx::oid::cipher_d,        vrx::oid::cipher_test_simple,
                                  vrx::oid::cipher_a_simple, vrx::oid::cipher_b_simple, vrx::oid::cipher_c_simple,
                                  vrx::oid::cipher_d_simple};
    for (std::size_t i = 0; i < std::size(ciphers); ++i) EXPECT_EQ(ciphers[i].data(), vrx::cipher_sets()[i].oid) << i;
    const vrx::Bytes curves[] = {vrx::oid::curve_test, vrx::oid::curve_a,     vrx::oid::curve_b,
                                 vrx::oid::curve_c,    vrx::oid::curve_xch_a, vrx::oid::curve_xch_b};
    for (std::uint32_t i = 0; i < std::size(curves); ++i) {
        const auto id = static_cast<vrx::CurveId>(i);
        EXPECT_EQ(vrx::find_curve(curves[i]), &vrx::curves()[i]);
        EXPECT_EQ(&vrx::curve(id), &vrx::curves()[i]);
        EXPECT_EQ(vrx::find_curve(vrx::curve_dotted_oids[i]), &vrx::curves()[i]);
        EXPECT_EQ(vrx::curve_name(id), vrx::curve_names()[i]);
    }
    EXPECT_EQ(vrx::find_curve(vrx::oid::hash_test), nullptr);
    EXPECT_EQ(vrx::find_curve("1.2"), nullptr);
    EXPECT_EQ(vrx::curve_name(static_cast<vrx::CurveId>(6)), nullptr);
    EXPECT_EQ(&vrx::curve(static_cast<vrx::CurveId>(6)), &vrx::default_curve());
    vrx::Curve* const before = vrx::program_curve();
    EXPECT_EQ(before, &cp_ecc_par[1]);
    vrx::set_program_curve(&cp_ecc_par[3]);
    EXPECT_EQ(default_cp_ecc_par, &cp_ecc_par[3]);
    vrx::set_program_curve(before);
}

TEST(CxxLog, writes_to_the_selected_stream) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    vrx::log_to(stream);
    EXPECT_EQ(vrx::cipher_table("nothing"), nullptr);
    vrx::log_to(nullptr);
    EXPECT_EQ(vrx::cipher_table("nothing"), nullptr);
    std::fclose(stream);
    EXPECT_EQ(std::string(text, size), "TZ_by_name: unsupported name nothing\n");
    std::free(text);
    vrx::log_to("/dev/null");
    EXPECT_NE(vrxflog, nullptr);
    vrx::log_to(static_cast<const char*>(nullptr));
    EXPECT_EQ(vrxflog, nullptr);
}

// --- The cipher ------------------------------------------------------------------------------------------------------

class CxxModes : public testing::Test {
protected:
    Random random;
    const vrx::Key key = vrx::Key::from(random.bytes(32)).value();
    const vrx::Iv iv = vrx::Iv::from(random.bytes(8)).value();
    const vrx_tz& table = TZ_28147_89[3];
    const Bytes text = random.bytes(24), odd = random.bytes(21);

    /**
     * Checks that the wrapper and the C function give the same bytes, count and register for the same input, output and
     * IV.
     */
    template <typename Wrapper, typename Function>
    void expect_same(const Bytes& in, Wrapper wrapper, Function function) {
        Bytes out(in.size()), expected(in.size());
        vrx::Iv registers = iv, expected_registers = iv;
        const vrx_data from = vrx::detail::record(in);
        vrx_data to = vrx::detail::record(vrx::Bytes(expected));
        ASSERT_EQ(function(&from, &to, expected_registers.data()), VRX_OK);
        const auto done = wrapper(vrx::Bytes(in), vrx::MutableBytes(out), registers);
        ASSERT_TRUE(done);
        EXPECT_EQ(done.value(), to.length);
        EXPECT_EQ(hex(out), hex(expected));
        EXPECT_EQ(registers, expected_registers);
        EXPECT_EQ(wrapper({in.data(), 0}, out, registers).error(), vrx::Error::buffer_length);
        const std::size_t too_much = std::size_t{1} << 32;
        EXPECT_EQ(wrapper({in.data(), too_much}, out, registers).error(), vrx::Error::buffer_length);
    }
};

TEST_F(CxxModes, one_shot_functions) {
    using vrx::Direction, vrx::Flags, vrx::Iv, vrx::Mode, vrx::MutableBytes;
    namespace raw = vrx::raw;
    for (const Direction way : {Direction::encrypt, Direction::decrypt}) {
        const int d = static_cast<int>(way);
        expect_same(
            text, [&](vrx::Bytes in, MutableBytes out, Iv&) { return raw::codebook(table, in, out, key, way); },
            [&](auto* in, auto* out, auto*) { return VRX_Gost_SS_m(&table, in, out, key.words(), d); });
        expect_same(
            text, [&](vrx::Bytes in, MutableBytes out, Iv& r) { return raw::cbc(table, in, out, r, key, way); },
            [&](auto* in, auto* out, auto* r) { return VRX_Gost_CBC_m(&table, in, out, r, key.words(), d); });
        expect_same(
            odd,
            [&](vrx::Bytes in, MutableBytes out, Iv& r) {
                return raw::feedback(table, in, out, r, key, way, Flags::pad);
            },
            [&](auto* in, auto* out, auto* r) { return VRX_Gost_GFB_m(&table, in, out, r, key.words(), d, 2); });
        expect_same(
            odd,
            [&](vrx::Bytes in, MutableBytes out, Iv& r) {
                return raw::cipher_low(table, Mode::feedback, in, out, r, key, way, Flags::pad);
            },
            [&](auto* in, auto* out, auto* r) { return do_cipher_low(&table, 3, in, out, r, key.words(), d, 2); });
        expect_same(
            text,
            [&](vrx::Bytes in, MutableBytes out, Iv& r) {
                return raw::crypto_engine(Mode::cbc, table, in, out, r, key, way, Flags::none);
            },
            [&](auto* in, auto* out, auto* r) {
                return vrx_crpt_crypto_engine(4, &table, in, out, r, key.words(), static_cast<std::uint8_t>(d), 0);
            });
    }
    expect_same(
        odd,
        [&](vrx::Bytes in, MutableBytes out, Iv& r) {
            return raw::counter(table, in, out, r, key, Flags::first | Flags::pad);
        },
        [&](auto* in, auto* out, auto* r) { return VRX_Gost_Gamm_m(&table, in, out, r, key.words(), 3); });
}

TEST_F(CxxModes, macs) {
    vrx::MacValue state, low;
    ASSERT_TRUE(vrx::raw::mac(table, text, state, key, vrx::Flags::first));
    ASSERT_TRUE(vrx::raw::mac_low(table, text, low, key, vrx::Flags::first));
    EXPECT_EQ(state, low);
    EXPECT_EQ(state, vrx::mac(key, text, {table, vrx::Mode::mac}).value());
    EXPECT_EQ(vrx::raw::mac(table, odd, state, key, vrx::Flags::none).error(), vrx::Error::block_multiple);
    EXPECT_EQ(state, low);
    vrx::MacValue by_blocks;
    for (std::size_t at = 0; at < text.size(); at += 8)
        vrx::mac_block(vrx::Block::from(vrx::Bytes(text).subspan(at, 8)).value(), by_blocks, key, table);
    EXPECT_EQ(by_blocks, state);
}

TEST_F(CxxModes, single_blocks) {
    const vrx::Block in = vrx::Block::from(random.bytes(8)).value();
    vrx::Block out;
    vrx::Iv mine = iv, theirs = iv;
    vrx_gost_gamm_64_m(in.data(), out.data(), theirs.data(), key.words(), &table);
    EXPECT_EQ(vrx::counter_block(in, mine, key, table), out);
    EXPECT_EQ(mine, theirs);
    for (const auto way : {vrx::Direction::encrypt, vrx::Direction::decrypt}) {
        vrx_gost_GFB_64_m(in.data(), out.data(), theirs.data(), key.words(), &table, static_cast<int>(way));
        EXPECT_EQ(vrx::feedback_block(in, mine, key, table, way), out);
        EXPECT_EQ(mine, theirs);
        vrx_gost_cbc_64_m(in.data(), out.data(), theirs.data(), key.words(), &table, static_cast<int>(way));
        EXPECT_EQ(vrx::cbc_block(in, mine, key, table, way), out);
        EXPECT_EQ(mine, theirs);
    }
}

TEST_F(CxxModes, names_and_last_blocks) {
    EXPECT_EQ(vrx::mode_by_name("ss"), vrx::Mode::codebook);
    EXPECT_EQ(vrx::mode_by_name("cbc"), vrx::Mode::cbc);
    EXPECT_EQ(vrx::mode_by_name("xts"), std::nullopt);
    const auto last = vrx::raw::last_block(odd, vrx::Flags::pad).value();
    EXPECT_EQ(last.blocks, 2u);
    EXPECT_EQ(last.tail, 5u);
    EXPECT_EQ(vrx::to_hex(last.padded), hex(vrx::Bytes(odd).last(5)) + "000000");
    EXPECT_EQ(vrx::raw::last_block(odd, vrx::Flags::none).error(), vrx::Error::block_multiple);
    const auto whole = vrx::raw::last_block(text, vrx::Flags::none).value();
    EXPECT_EQ(whole.blocks, 3u);
    EXPECT_EQ(whole.tail, 0u);
    EXPECT_EQ(whole.padded, vrx::Block());
}

TEST_F(CxxModes, contexts) {
    vrx::Encryptor counter(key, iv, {table, vrx::Mode::counter}), same(key, iv, {table, vrx::Mode::counter});
    Bytes out(21), expected(21);
    ASSERT_TRUE(same.update(odd, expected));
    EXPECT_EQ(vrx::raw::update_counter(counter.native(), odd, out).value(), 21u);
    EXPECT_EQ(out, expected);
    vrx::Encryptor feedback(key, iv, {table, vrx::Mode::feedback}), engine(key, iv, {table, vrx::Mode::cbc});
    ASSERT_TRUE(vrx::encrypt(key, iv, odd, expected, {table, vrx::Mode::feedback}));
    EXPECT_EQ(vrx::raw::update_feedback(feedback.native(), odd, out).value(), 21u);
    EXPECT_EQ(out, expected);
    Bytes blocks(24), chained(24);
    ASSERT_TRUE(vrx::encrypt(key, iv, text, chained, {table, vrx::Mode::cbc}));
    EXPECT_EQ(vrx::raw::context_engine(engine.native(), text, blocks).value(), 24u);
    EXPECT_EQ(blocks, chained);
    vrx::Mac mac(key, {table, vrx::Mode::mac});
    ASSERT_TRUE(vrx::raw::update_mac(mac.native(), text));
    EXPECT_EQ(mac.finish().value(), vrx::mac(key, text, {table, vrx::Mode::mac}).value());
}

TEST_F(CxxModes, key_meshing_and_the_older_entry_points) {
    vrx::Key mine = key.copy(), theirs = key.copy();
    vrx::Iv my_iv = iv, their_iv = iv;
    ASSERT_TRUE(vrx::raw::mesh_key(table, my_iv, mine));
    ASSERT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&table, their_iv.data(), theirs.words()), VRX_OK);
    EXPECT_EQ(mine, theirs);
    EXPECT_EQ(my_iv, their_iv);
    EXPECT_FALSE(mine == key);

    vrx_crpt_table_rec record{table, VRX_MODE_CBC, 0, 1, 0};
    vrx::Key in_block = key.copy();
    vrx_data table_data{sizeof record, reinterpret_cast<std::uint8_t*>(&record)};
    vrx_data key_data{32, in_block.data()};
    old_crpt_params parameters{1, 1, &table_data, &key_data, {}};
    std::ranges::copy(iv, parameters.iv);
    vrx_crpt_ctx ctx;
    ASSERT_TRUE(vrx::raw::open_old(ctx, vrx::Direction::encrypt, parameters));
    Bytes out(24), expected(24);
    ASSERT_TRUE(vrx::encrypt(key, iv, text, expected, {table, vrx::Mode::cbc, true}));
    ASSERT_TRUE(vrx::raw::context_engine(ctx, text, out));
    EXPECT_EQ(out, expected);
    ctx.mesh_count = 1024;
    std::ranges::copy(iv, ctx.iv);
    ASSERT_TRUE(vrx::raw::mesh_key_where_due(ctx));
    EXPECT_TRUE(std::ranges::equal(ctx.key, std::span(mine.words(), 8)));
    ASSERT_TRUE(vrx::raw::mesh_key(parameters));
    EXPECT_EQ(in_block, mine);
    parameters.first = 0;
    EXPECT_EQ(vrx::raw::open_old(ctx, vrx::Direction::encrypt, parameters).error(), vrx::Error::bad_params);
}

// --- Steps of the hashes ---------------------------------------------------------------------------------------------

TEST(CxxSteps, of_the_hashes) {
    Random random;
    const vrx_tz& table = TZ_3411_94[1];
    const Bytes block = random.bytes(32);
    std::array<std::uint32_t, 8> words, mine{1, 2, 3}, theirs{1, 2, 3}, sum{}, length{}, their_sum{}, their_length{};
    std::memcpy(words.data(), block.data(), 32);
    vrx::raw::hash_step(mine, words, table);
    gost_r_3411_94_compress(theirs.data(), words.data(), &table);
    EXPECT_EQ(mine, theirs);
    vrx::raw::hash_block(table, mine, sum, length, std::span<const std::uint8_t, 32>(block), 256);
    gost_r_3411_94_hash_bytes(&table, theirs.data(), their_sum.data(), their_length.data(), block.data(), 256);
    EXPECT_EQ(mine, theirs);
    EXPECT_EQ(sum, their_sum);
    EXPECT_EQ(length, their_length);
    EXPECT_EQ(length[0], 256u);

    vrx::Sha1 sha1;
    std::ranges::fill(sha1.native().data, random.word());
    sha_context expected = sha1.native();
    vrx::raw::sha1_step(sha1.native());
    shaTransform(&expected);
    EXPECT_TRUE(std::ranges::equal(sha1.native().digest, expected.digest));
}

// --- Points ----------------------------------------------------------------------------------------------------------

TEST(CxxPoints, are_added_and_multiplied) {
    const vrx::Curve& curve = vrx::curve(vrx::CurveId::b);
    const vrx::Point g(curve.G);
    EXPECT_TRUE(g.is_on(curve));
    EXPECT_TRUE(vrx::Point().is_infinite());
    EXPECT_FALSE(g.is_infinite());
    const vrx::Point two = vrx::add(g, g, curve);
    const vrx::Point three = vrx::add(two, g, curve);
    const vrx::JacobianPoint two_j = vrx::twice(vrx::to_jacobian(g), curve);
    EXPECT_EQ(vrx::to_affine(two_j, curve), two);
    EXPECT_EQ(vrx::to_affine(vrx::add(two_j, g, curve), curve), three);
    EXPECT_EQ(vrx::to_affine(vrx::add(two_j, vrx::to_jacobian(g), curve), curve), three);
    EXPECT_EQ(vrx::multiply(vrx::Scalar(3), g, curve), three);
    EXPECT_EQ(vrx::multiply_base(vrx::Scalar(3), curve), three);
    EXPECT_EQ(vrx::multiply_jacobian(vrx::Scalar(3), g, curve).value(), three);
    EXPECT_EQ(vrx::multiply_jacobian(vrx::Scalar(), g, curve).error(), vrx::Error::failed);
    EXPECT_TRUE(vrx::multiply_base(vrx::Scalar(), curve).is_infinite());

    const auto k = vrx::Scalar::random_below(curve.q).value();
    EXPECT_EQ(vrx::mp::compare(k.digits(), curve.q), -1);
    EXPECT_EQ(vrx::multiply_base(k, curve), vrx::multiply(k, g, curve));

    char x[100], y[100];
    three.to_decimal(x, y, sizeof x);
    EXPECT_EQ(x, vrx::mp::to_decimal(three.native().x));
    EXPECT_EQ(vrx::Point::from_decimal(x, y), three);
}

TEST(CxxPoints, table_of_multiples_is_filled_and_curves_are_printed) {
    vrx::Curve curve = vrx::curve(vrx::CurveId::b);
    std::ranges::fill(std::as_writable_bytes(std::span(curve.pp)), std::byte{0});
    testing::internal::CaptureStdout();
    vrx::raw::fill_table(curve);
    EXPECT_TRUE(vrx::raw::print_curves());
    std::fflush(stdout);
    EXPECT_GT(testing::internal::GetCapturedStdout().size(), 10'000u);
    EXPECT_EQ(std::memcmp(curve.pp, cp_ecc_par[2].pp, sizeof curve.pp), 0);
    std::uint32_t words[2] = {};
    EXPECT_EQ(vrx::raw::test_random(words, sizeof words), 0);
    EXPECT_NE(words[0], words[1]);
}

}  // namespace
