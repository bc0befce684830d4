// Forms of private keys, parameters, and the structures around them.
#include "key_files.hpp"

namespace {

using namespace vrx::test;

/** Reads a private key. Returns its number as octets, least significant first, or the name of the error. */
std::string number_of(const Bytes& value) {
    vrx_private_key key;
    const int rc = read(private_file(value), key);
    if (rc != VRX_OK) return vrx_key_error_name(rc);
    Bytes octets(VRX_PRIVATE_KEY_SIZE);
    ecUnloadPrivateKeyValue(key.d, octets.data());
    return hex(octets);
}

Bytes octet_string(const Bytes& contents) { return element(0x04, {contents}); }
Bytes integer(const Bytes& contents) { return element(0x02, {contents}); }

/** The order of CryptoPro-A plus a small number, most significant octet first. */
Bytes order(int more) {
    Bytes octets(VRX_PRIVATE_KEY_SIZE);
    mpConvToOctets(get_GOSTR3410_par(1)->q, VRX_ECC_DIGITS, octets.data(), VRX_PRIVATE_KEY_SIZE);
    octets.back() = static_cast<std::uint8_t>(octets.back() + more);
    return octets;
}
Bytes reversed(Bytes octets) {
    std::ranges::reverse(octets);
    return octets;
}

TEST(forms, octets_are_the_number_least_significant_first) {
    Bytes octets = number(0x12);
    octets[31] = 0x34;
    EXPECT_EQ(number_of(octets), hex(octets));
    EXPECT_EQ(number_of(octet_string(octets)), hex(octets));
    for (const std::size_t size : {31U, 33U, 64U, 96U}) {
        EXPECT_EQ(number_of(Bytes(size, 1)), "VRX_ERR_KEY_DER") << size;
        if (size > 32) {
            EXPECT_EQ(number_of(octet_string(Bytes(size, 1))), "VRX_ERR_KEY_DER") << size;
        }
    }
}

TEST(forms, zeros_at_the_end_of_an_octet_string_are_all_there_or_all_missing) {
    for (std::size_t size = 1; size < VRX_PRIVATE_KEY_SIZE; ++size) {
        Bytes octets = number(1);
        octets[size - 1] |= 2;
        Bytes cut = octets;
        cut.resize(size);
        // An OCTET STRING of 30 octets has 32 octets with its tag and length, so it is read as the number itself.
        const Bytes expected = size == 30 ? octet_string(cut) : octets;
        EXPECT_EQ(number_of(octet_string(cut)), hex(expected)) << size;
        if (size == 29) continue;
        cut.push_back(0);
        EXPECT_EQ(number_of(octet_string(cut)), size == 31 ? hex(octets) : "VRX_ERR_KEY_DER") << size;
    }
    EXPECT_EQ(number_of(octet_string({})), "VRX_ERR_KEY_DER");
}

TEST(forms, integers_have_the_most_significant_octet_first_and_no_superfluous_zero) {
    EXPECT_EQ(number_of(integer({1})), hex(number(1)));
    EXPECT_EQ(number_of(integer({0, 0x80})), hex(number(0x80)));
    for (const char* const bad : {"", "00", "0000", "0001", "80", "ff", "000080", "ff80"})
        EXPECT_EQ(number_of(integer(unhex(bad))), "VRX_ERR_KEY_DER") << bad;
    EXPECT_EQ(number_of(integer(order(0))), "VRX_ERR_KEY_DER") << "a negative number";
    EXPECT_EQ(number_of(integer(Bytes(33, 1))), "VRX_ERR_KEY_DER");
    for (std::size_t size = 1; size <= VRX_PRIVATE_KEY_SIZE; ++size) {
        if (size == 30) continue;  // with its header, it has 32 octets
        Bytes octets(size, 0x11);
        Bytes expected(VRX_PRIVATE_KEY_SIZE);
        std::ranges::fill_n(expected.begin(), static_cast<std::ptrdiff_t>(size), std::uint8_t{0x11});
        EXPECT_EQ(number_of(integer(octets)), hex(expected)) << size;
        octets.insert(octets.begin(), 0);
        if (size != 29) {
            EXPECT_EQ(number_of(integer(octets)), "VRX_ERR_KEY_DER") << size;
        }
    }
}

TEST(forms, number_must_be_from_1_to_q_minus_1) {
    const auto all = [](const Bytes& octets, const std::string& expected) {
        EXPECT_EQ(number_of(octets), expected);
        EXPECT_EQ(number_of(octet_string(octets)), expected);
        Bytes digits = reversed(octets);
        while (digits.size() > 1 && digits.front() == 0) digits.erase(digits.begin());
        if (digits.front() >= 0x80) digits.insert(digits.begin(), 0);
        EXPECT_EQ(number_of(integer(digits)), digits == Bytes{0} ? "VRX_ERR_KEY_DER" : expected);
    };
    all(number(1), hex(number(1)));
    all(reversed(order(-1)), hex(reversed(order(-1))));
    all(reversed(order(0)), "VRX_ERR_KEY_NUMBER");
    all(reversed(order(1)), "VRX_ERR_KEY_NUMBER");
    all(Bytes(32, 0xFF), "VRX_ERR_KEY_NUMBER");
    all(number(0), "VRX_ERR_KEY_NUMBER");
}

TEST(forms, nothing_else_is_a_number) {
    for (const char* const bad :
         {"", "00", "0500", "020101020101", "0401010401", "0401", "0481010100", "30030201", "24030401"})
        EXPECT_EQ(number_of(unhex(bad)), "VRX_ERR_KEY_DER") << bad;
}

TEST(forms, attributes_and_public_key_are_ignored) {
    const Bytes attribute = element(0x30, {unhex("06032a0304"), element(0x31, {unhex("0500")})});
    const Bytes attributes = element(0xA0, {attribute, attribute});
    const Bytes bits = element(0x81, {Bytes(1), base_point()});
    const Bytes version_1 = unhex("020101");
    const auto with = [](const Bytes& version, const Bytes& rest) {
        return private_result(private_file(number(1), algorithm_a, version, rest));
    };
    EXPECT_EQ(with(version_0, attributes), "VRX_OK");
    EXPECT_EQ(with(version_0, element(0xA0, {})), "VRX_OK");
    EXPECT_EQ(with(version_1, bits), "VRX_OK");
    EXPECT_EQ(with(version_1, join({attributes, bits})), "VRX_OK");
    for (const Bytes& version : {unhex("020102"), unhex("02020000"), unhex("0200"), unhex("0201ff"), unhex("0a0100")})
        EXPECT_NE(with(version, {}), "VRX_OK") << hex(version);
    EXPECT_EQ(with(version_1, {}), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_1, attributes), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_0, bits), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_1, join({bits, attributes})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_1, join({bits, bits})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_1, element(0x81, {})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_1, element(0x81, {Bytes{1}, base_point()})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_0, join({attributes, attributes})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(with(version_0, unhex("a0020500")), "VRX_OK") << "the contents are ignored";
    for (const char* const bad : {"a0", "a001", "a00000", "0500", "800100"}) {
        EXPECT_EQ(with(version_0, unhex(bad)), "VRX_ERR_KEY_DER") << bad;
    }
}

TEST(forms, parameters_name_built_in_sets) {
    const auto named = [](const Bytes& parameters, const Bytes& oid = signing_oid) {
        vrx_public_key key;
        const int rc = read(public_file(algorithm(parameters, oid)), key);
        const std::string secret = private_result(private_file(number(1), algorithm(parameters, oid)));
        EXPECT_EQ(secret, vrx_key_error_name(rc));
        if (rc != VRX_OK) return secret;
        return std::to_string(key.curve - get_GOSTR3410_par(0)) + std::to_string(key.hash - get_GOSTR3411_par(0)) +
               std::to_string(key.cipher - get_GOST28147_par(0));
    };
    const auto sets = [](std::initializer_list<Bytes> oids) { return element(0x30, oids); };
    const Bytes test_hash = unhex("06072a850302021e00");
    const Bytes cipher_d = unhex("06072a850302021f04");
    const Bytes hash_itself = unhex("06062a8503020209");
    const Bytes unknown = unhex("06072a850302021e02");
    EXPECT_EQ(named(sets({curve_a_oid})), "111");
    EXPECT_EQ(named(sets({curve_a_oid, test_hash})), "101");
    EXPECT_EQ(named(sets({curve_a_oid, cryptopro_oid, cipher_d})), "114");
    EXPECT_EQ(named(sets({curve_a_oid, hash_itself, cipher_d})), "114");
    EXPECT_EQ(named(sets({curve_a_oid, test_hash, hash_itself})), "101");
    EXPECT_EQ(named(sets({curve_a_oid}), unhex("06062a8503020262")), "111") << "the identifier for key agreement";
    EXPECT_EQ(named({}), "VRX_ERR_KEY_CURVE");
    EXPECT_EQ(named(unhex("0500")), "VRX_ERR_KEY_CURVE");
    for (const Bytes& bad : {unknown, cryptopro_oid, hash_itself, signing_oid})
        EXPECT_EQ(named(sets({bad, cryptopro_oid})), "VRX_ERR_KEY_PARAMETERS") << hex(bad);
    for (const Bytes& bad : {unknown, curve_a_oid, cipher_d, signing_oid})
        EXPECT_EQ(named(sets({curve_a_oid, bad})), "VRX_ERR_KEY_PARAMETERS") << hex(bad);
    for (const Bytes& bad : {unknown, curve_a_oid, cryptopro_oid, signing_oid})
        EXPECT_EQ(named(sets({curve_a_oid, cryptopro_oid, bad})), "VRX_ERR_KEY_PARAMETERS") << hex(bad);
    EXPECT_EQ(named(sets({curve_a_oid, cryptopro_oid, cipher_d, cipher_d})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(named(sets({})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(named(unhex("050100")), "VRX_ERR_KEY_DER");
    EXPECT_EQ(named(unhex("05000500")), "VRX_ERR_KEY_DER");
    EXPECT_EQ(named(join({unhex("0500"), sets({curve_a_oid})})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(named(join({sets({curve_a_oid}), unhex("0500")})), "VRX_ERR_KEY_DER");
    EXPECT_EQ(named(curve_a_oid), "VRX_ERR_KEY_DER");
    for (const char* const bad : {"0600", "06072a850302028001", "06022a83", "06018f"})
        EXPECT_EQ(named(sets({unhex(bad)})), "VRX_ERR_KEY_DER") << bad;
}

TEST(forms, all_curves_are_read_by_their_identifier) {
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const EcParamSet& set = *get_GOSTR3410_par(i);
        const Bytes oid(set.oid, set.oid + set.oid_len);
        vrx_private_key key;
        ASSERT_EQ(read(private_file(number(7), algorithm(element(0x30, {oid, cryptopro_oid}))), key), VRX_OK);
        EXPECT_EQ(key.curve, &set);
    }
}

TEST(forms, other_algorithms_are_told_apart_from_malformed_files) {
    const Bytes rsa = unhex("06092a864886f70d010101");
    for (const Bytes& parameters : {Bytes{}, unhex("0500"), unhex("06032a0304"), unhex("3000")}) {
        const Bytes identifier = algorithm(parameters, rsa);
        EXPECT_EQ(private_result(private_file(Bytes(200), identifier)), "VRX_ERR_KEY_ALGORITHM");
        EXPECT_EQ(public_result(public_file(identifier, Bytes(200))), "VRX_ERR_KEY_ALGORITHM");
    }
    // GOST R 34.10-94 and GOST R 34.10-2012 are other algorithms, too.
    for (const char* const oid : {"06062a8503020214", "06082a85030701010101"}) {
        EXPECT_EQ(private_result(private_file(number(1), algorithm({}, unhex(oid)))), "VRX_ERR_KEY_ALGORITHM");
        EXPECT_EQ(public_result(public_file(algorithm({}, unhex(oid)))), "VRX_ERR_KEY_ALGORITHM");
    }
    EXPECT_EQ(private_result(private_file(number(1), algorithm(unhex("05000500"), rsa))), "VRX_ERR_KEY_DER");
    EXPECT_EQ(private_result(private_file(number(1), algorithm({}, unhex("0600")))), "VRX_ERR_KEY_DER");
    EXPECT_EQ(private_result(private_file(number(1), Bytes{})), "VRX_ERR_KEY_DER");
}

TEST(forms, other_structures_are_told_apart_from_malformed_files) {
    const Bytes encrypted = element(0x30, {element(0x30, {unhex("06092a864886f70d01050d")}), unhex("0404deadbeef")});
    const Bytes certificate = element(0x30, {element(0x30, {}), element(0x30, {}), unhex("030100")});
    EXPECT_EQ(private_result(encrypted), "VRX_ERR_KEY_ENCRYPTED");
    EXPECT_EQ(public_result(encrypted), "VRX_ERR_KEY_KIND");
    EXPECT_EQ(private_result(bytes_of(pem("ENCRYPTED PRIVATE KEY", encrypted))), "VRX_ERR_KEY_ENCRYPTED");
    EXPECT_EQ(public_result(bytes_of(pem("ENCRYPTED PRIVATE KEY", encrypted))), "VRX_ERR_KEY_KIND");
    for (const bool in_pem : {false, true}) {
        const Bytes file = in_pem ? bytes_of(pem("CERTIFICATE", certificate)) : certificate;
        EXPECT_EQ(private_result(file), "VRX_ERR_KEY_KIND");
        EXPECT_EQ(public_result(file), "VRX_ERR_KEY_KIND");
    }
    for (const char* const nothing : {"3000", "30020500", "3003020100", "30030101ff"}) {
        EXPECT_NE(private_result(unhex(nothing)), "VRX_OK");
        EXPECT_NE(public_result(unhex(nothing)), "VRX_OK");
    }
    for (const char* const text : {"", "\n", "not a key", "4", "0", "02"}) {
        const std::string expected = text[0] == '0' ? "VRX_ERR_KEY_DER" : "VRX_ERR_KEY_FILE";
        EXPECT_EQ(private_result(bytes_of(text)), expected) << text;
        EXPECT_EQ(public_result(bytes_of(text)), expected) << text;
    }
}

TEST(forms, bit_string_has_no_unused_bits_and_holds_one_octet_string) {
    const Bytes point = base_point();
    EXPECT_EQ(public_result(public_file()), "VRX_OK");
    for (const int unused : {1, 7, 8, 0x80, 0xFF})
        EXPECT_EQ(
            public_result(public_file(algorithm_a, join({{static_cast<std::uint8_t>(unused)}, octet_string(point)}))),
            "VRX_ERR_KEY_DER");
    for (const Bytes& bits :
         {Bytes{}, Bytes{0}, join({{0}, point}), octet_string(point), join({{0}, octet_string(point), {0}}),
          join({{0}, octet_string(Bytes(63, 1))}), join({{0}, octet_string(Bytes(65, 1))}),
          join({{0}, element(0x24, {octet_string(point)})})})
        EXPECT_EQ(public_result(public_file(algorithm_a, bits)), "VRX_ERR_KEY_DER") << hex(bits);
}

TEST(forms, point_must_be_on_the_curve_with_coordinates_below_p) {
    const auto with = [](const EcParamSet& set, const EcPoint& point) {
        Bytes octets(VRX_PUBLIC_KEY_SIZE);
        ecUnloadPublicKeyValue(&point, octets.data());
        const Bytes oid(set.oid, set.oid + set.oid_len);
        return public_result(public_file(algorithm(element(0x30, {oid})), join({{0}, octet_string(octets)})));
    };
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const EcParamSet& set = *get_GOSTR3410_par(i);
        EXPECT_EQ(with(set, set.G), "VRX_OK");
        EXPECT_EQ(with(set, EcPoint{}), "VRX_ERR_KEY_POINT");
        bool tried[2] = {false, false};
        for (std::uint32_t d = 1; d < 2000 && !(tried[0] && tried[1]); ++d) {
            const std::uint32_t scalar[VRX_ECC_DIGITS] = {d};
            EcPoint point;
            ASSERT_EQ(ecGeneratePublicKey(&set, scalar, &point), VRX_OK);
            for (const bool of_x : {true, false}) {
                EcPoint larger = point;
                std::uint32_t* const coordinate = of_x ? larger.x : larger.y;
                mpAdd(coordinate, coordinate, set.p, VRX_ECC_DIGITS);
                if (coordinate[VRX_ECC_DIGITS - 1] != 0) continue;  // does not fit in 256 bits
                EXPECT_EQ(ecCheckPublicKey(&set, &larger), VRX_OK);
                EXPECT_EQ(with(set, larger), "VRX_ERR_KEY_POINT");
                tried[of_x ? 0 : 1] = true;
            }
        }
        // On curves whose p begins with 32 one bits, the sum of a coordinate and p practically never fits in 256 bits.
        if (set.p[7] != 0xFFFFFFFF) {
            EXPECT_TRUE(tried[0] && tried[1]) << i;
        }
    }
}

}  // namespace
