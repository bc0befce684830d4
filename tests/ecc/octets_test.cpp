// Tests of keys and signatures as octets.
#include "ecc_support.hpp"
#include "support/log_capture.hpp"

using namespace vrx::test;

namespace {

Bytes octets_with(std::size_t size, std::initializer_list<std::pair<std::size_t, std::uint8_t>> set) {
    Bytes octets(size);
    for (const auto& [at, value] : set) octets[at] = value;
    return octets;
}

TEST(octets, of_small_numbers_follow_the_formats) {
    Bytes out(32, 0xEE);
    EXPECT_EQ(ecUnloadPrivateKeyValue(Digits(1).data(), out.data()), VRX_OK);
    EXPECT_EQ(out, octets_with(32, {{0, 1}}));

    out.assign(64, 0xEE);
    const EcPoint q = point(1, 2);
    EXPECT_EQ(ecUnloadPublicKeyValue(&q, out.data()), VRX_OK);
    EXPECT_EQ(out, octets_with(64, {{0, 1}, {32, 2}}));

    out.assign(64, 0xEE);
    EcSignature sig{};
    sig.r[0] = 1;
    sig.s[0] = 2;
    EXPECT_EQ(ecUnloadSignValue(&sig, out.data()), VRX_OK);
    EXPECT_EQ(out, octets_with(64, {{31, 2}, {63, 1}}));
}

TEST(octets, every_octet_has_its_position_in_the_number) {
    for (std::size_t i = 0; i < 64; ++i) {
        const Bytes in = octets_with(64, {{i, 0x80}});
        const auto little = [&](std::size_t at, unsigned i32) {
            Digits n;
            if (at / 32 == i32) n.flip(static_cast<unsigned>(at % 32 * 8 + 7));
            return n;
        };
        if (i < 32) {
            Digits d = filled<Digits>();
            EXPECT_EQ(ecLoadPrivateKeyValue(in.data(), d.data()), VRX_OK);
            EXPECT_EQ(d, little(i, 0));
        }
        EcPoint q = filled<EcPoint>();
        EXPECT_EQ(ecLoadPublicKeyValue(in.data(), &q), VRX_OK);
        EXPECT_EQ(coordinates(q), (std::array{little(i, 0), little(i, 1)}));
        EcSignature sig = filled<EcSignature>();
        EXPECT_EQ(ecLoadSignValue(in.data(), &sig), VRX_OK);
        // A signature is the 512-bit number s 2^256 + r, most significant octet first.
        EXPECT_EQ(halves(sig), (std::array{little(63 - i, 0), little(63 - i, 1)}));
    }
}

TEST(octets, survive_a_round_trip_at_any_alignment) {
    Random random;
    for (int i = 0; i < 200; ++i) {
        const Bytes original = random.bytes(64);
        for (std::size_t shift = 0; shift < 4; ++shift) {
            Bytes in(70), out(70, 0xCC);
            std::copy(original.begin(), original.end(), in.begin() + static_cast<long>(shift));
            Bytes expected = out;
            const auto expect = [&](std::size_t size) {
                std::copy_n(original.begin(), size, expected.begin() + 1);
                EXPECT_EQ(out, expected);
            };
            Digits d = filled<Digits>();
            ASSERT_EQ(ecLoadPrivateKeyValue(in.data() + shift, d.data()), VRX_OK);
            EXPECT_EQ(d.d[8], 0u);
            ASSERT_EQ(ecUnloadPrivateKeyValue(d.data(), out.data() + 1), VRX_OK);
            expect(32);
            EcPoint q = filled<EcPoint>();
            ASSERT_EQ(ecLoadPublicKeyValue(in.data() + shift, &q), VRX_OK);
            EXPECT_EQ(q.x[8] | q.y[8], 0u);
            ASSERT_EQ(ecUnloadPublicKeyValue(&q, out.data() + 1), VRX_OK);
            expect(64);
            EcSignature sig = filled<EcSignature>();
            ASSERT_EQ(ecLoadSignValue(in.data() + shift, &sig), VRX_OK);
            EXPECT_EQ(sig.r[8] | sig.s[8], 0u);
            std::fill(out.begin(), out.end(), std::uint8_t{0xCC});
            ASSERT_EQ(ecUnloadSignValue(&sig, out.data() + 1), VRX_OK);
            expect(64);
        }
    }
}

TEST(octets, may_overlap_the_record) {
    Random random;
    for (std::size_t at = 0; at <= sizeof(EcPoint) - 64; ++at) {
        const Bytes octets = random.bytes(64);
        const auto apart_and_in_place = [&]<typename Record>(int (*load)(const std::uint8_t*, Record*)) {
            Record expected, record;
            load(octets.data(), &expected);
            auto* bytes = reinterpret_cast<std::uint8_t*>(&record);
            std::copy(octets.begin(), octets.end(), bytes + at);
            EXPECT_EQ(load(bytes + at, &record), VRX_OK);
            EXPECT_TRUE(same_bytes(record, expected)) << at;
        };
        apart_and_in_place(ecLoadPublicKeyValue);
        apart_and_in_place(ecLoadSignValue);
    }
    Digits d, expected;
    const Bytes octets = random.bytes(32);
    ecLoadPrivateKeyValue(octets.data(), expected.data());
    std::memcpy(d.data(), octets.data(), octets.size());
    EXPECT_EQ(ecLoadPrivateKeyValue(reinterpret_cast<const std::uint8_t*>(d.data()), d.data()), VRX_OK);
    EXPECT_EQ(d, expected);
}

TEST(octets, ignore_the_ninth_digit) {
    Random random;
    const Digits low = edgy(random, 8);
    Digits high = low;
    high.d[8] = 0xDEADBEEF;
    Bytes a(64), b(64);
    ecUnloadPrivateKeyValue(low.data(), a.data());
    ecUnloadPrivateKeyValue(high.data(), b.data());
    EXPECT_EQ(a, b);
    const EcPoint p = point(low, low), q = point(high, high);
    ecUnloadPublicKeyValue(&p, a.data());
    ecUnloadPublicKeyValue(&q, b.data());
    EXPECT_EQ(a, b);
    EcSignature s, t;
    std::memcpy(&s, &p, sizeof s);
    std::memcpy(&t, &q, sizeof t);
    ecUnloadSignValue(&s, a.data());
    ecUnloadSignValue(&t, b.data());
    EXPECT_EQ(a, b);
}

TEST(octets, null_pointers_are_logged_and_nothing_is_written) {
    LogCapture log;
    const auto refused = [&](int rc, const char* function) {
        EXPECT_EQ(rc, VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(log.take(), function + std::string(": bad params\n"));
    };
    const Bytes in(64, 1);
    Bytes out(64, 0xA5);
    Digits d = filled<Digits>();
    EcPoint q = filled<EcPoint>();
    EcSignature sig = filled<EcSignature>();
    refused(ecLoadPrivateKeyValue(nullptr, d.data()), "ecLoadPrivateKeyValue");
    refused(ecLoadPrivateKeyValue(in.data(), nullptr), "ecLoadPrivateKeyValue");
    refused(ecUnloadPrivateKeyValue(nullptr, out.data()), "ecUnloadPrivateKeyValue");
    refused(ecUnloadPrivateKeyValue(d.data(), nullptr), "ecUnloadPrivateKeyValue");
    refused(ecLoadPublicKeyValue(nullptr, &q), "ecLoadPublicKeyValue");
    refused(ecLoadPublicKeyValue(in.data(), nullptr), "ecLoadPublicKeyValue");
    refused(ecUnloadPublicKeyValue(nullptr, out.data()), "ecUnloadPublicKeyValue");
    refused(ecUnloadPublicKeyValue(&q, nullptr), "ecUnloadPublicKeyValue");
    refused(ecLoadSignValue(nullptr, &sig), "ecLoadSignValue");
    refused(ecLoadSignValue(in.data(), nullptr), "ecLoadSignValue");
    refused(ecUnloadSignValue(nullptr, out.data()), "ecUnloadSignValue");
    refused(ecUnloadSignValue(&sig, nullptr), "ecUnloadSignValue");
    EXPECT_EQ(d, filled<Digits>());
    EXPECT_TRUE(same_bytes(q, filled<EcPoint>()));
    EXPECT_TRUE(same_bytes(sig, filled<EcSignature>()));
    EXPECT_EQ(out, Bytes(64, 0xA5));
}

}  // namespace
