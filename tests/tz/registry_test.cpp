// Tests of the list of registered sets, of searches in the list, and of the accessors.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "support/hex.hpp"
#include "support/log_capture.hpp"
#include "support/random.hpp"
#include "support/registry_guard.hpp"
#include "vrx/params.h"

namespace {

using vrx::test::Bytes;
using vrx::test::LogCapture;
using Record = vrx_gost28147_par;
using Chain = std::vector<const Record*>;

auto& builtin = GOST28147_CRYPTO_PRO_OIDS;

/** Returns the registered records in order. If the list is circular, the result is cut off. */
Chain listed() {
    Chain chain;
    for (const Record* r = GOST28147_OIDS; r != nullptr && chain.size() < 100; r = r->next) chain.push_back(r);
    return chain;
}

/** Built-in records by number. */
Chain numbers(std::initializer_list<std::size_t> indices) {
    Chain chain;
    for (const std::size_t i : indices) chain.push_back(&builtin[i]);
    return chain;
}

const Chain all_ten = numbers({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});

Chain operator+(Chain a, const Chain& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct Found {
    int rc;
    const Record* record;
    bool operator==(const Found&) const = default;
};

void PrintTo(const Found& found, std::ostream* out) { *out << "{" << found.rc << ", " << found.record << "}"; }

/** Returns the result of a search. The identifier is copied to memory that ends directly after it. */
Found find(const std::uint8_t* oid, std::uint32_t length = VRX_PAR_OID_SIZE) {
    const Bytes copy(oid, oid + length);
    Record never_written;
    Record* found = &never_written;
    const int rc = oidFindGOST28147Par(copy.data(), length, &found);
    EXPECT_NE(found, &never_written);
    return {rc, found};
}

int unregister(const std::uint8_t* oid, std::uint32_t length = VRX_PAR_OID_SIZE) {
    const Bytes copy(oid, oid + length);
    return oidUnregisterGOST28147Par(copy.data(), length);
}

const Found not_found{VRX_ERR_FAILED, nullptr};

class Registry : public testing::Test {
protected:
    /** Caller-supplied records, with custom identifiers and garbage in `next`. */
    Registry() {
        for (std::size_t i = 0; i < own.size(); ++i) {
            own_oids.at(i) = {0x06, 0x01, static_cast<std::uint8_t>(0x70 + i)};
            own.at(i) = {3, own_oids.at(i).data(), "1.2.3", "own", &TZ_28147_89[2], 4, 1, &builtin[7]};
        }
    }

    void register_builtins() { ASSERT_EQ(oidRegisterGOST28147CryptoProPar(), VRX_OK); }
    void register_own(std::initializer_list<std::size_t> indices) {
        for (const std::size_t i : indices) ASSERT_EQ(oidRegisterGOST28147Par(&own.at(i)), VRX_OK);
    }
    Chain owned(std::initializer_list<std::size_t> indices) {
        Chain chain;
        for (const std::size_t i : indices) chain.push_back(&own.at(i));
        return chain;
    }

    vrx::test::RegistryGuard guard;
    LogCapture log;
    std::array<std::array<std::uint8_t, 3>, 4> own_oids{};
    std::array<Record, 4> own{};
};

// Accessors.

TEST_F(Registry, records_are_found_by_number_and_null_beyond_the_last) {
    for (std::uint32_t i = 0; i < 600; ++i) {
        EXPECT_EQ(get_GOST28147_par(i), i < 10 ? &builtin[i] : nullptr) << i;
        EXPECT_EQ(get_GOSTR3411_par(i), i < 2 ? &GOSTR3411_OIDS[i] : nullptr) << i;
    }
    for (const std::uint32_t i : {0x10000U, 0x80000000U, 0x80000001U, 0xFFFFFFFFU}) {
        EXPECT_EQ(get_GOST28147_par(i), nullptr) << i;
        EXPECT_EQ(get_GOSTR3411_par(i), nullptr) << i;
    }
    EXPECT_EQ(log.take(), "");
    EXPECT_EQ(GOST28147_OIDS, nullptr) << "nothing is registered by that";
}

TEST_F(Registry, defaults_are_what_the_variables_hold) {
    EXPECT_EQ(get_GOST28147_default_par(), &builtin[1]);
    EXPECT_EQ(get_GOSTR3411_default_par(), &GOSTR3411_OIDS[1]);
    for (Record* record : {&own.at(0), &builtin[9], static_cast<Record*>(nullptr)}) {
        DEFAULT_GOST28147_OID = record;
        EXPECT_EQ(get_GOST28147_default_par(), record);
    }
    const vrx_gostr3411_par own_hash{};
    for (const vrx_gostr3411_par* record : {&own_hash, static_cast<const vrx_gostr3411_par*>(&GOSTR3411_OIDS[0]),
                                            static_cast<const vrx_gostr3411_par*>(nullptr)}) {
        DEFAULT_GOSTR3411_OID = record;
        EXPECT_EQ(get_GOSTR3411_default_par(), record);
    }
}

// Setters and the copy.

void expect_same_but(const Record& a, const Record& b, bool mode, bool key_meshing, bool oid) {
    if (!mode) {
        EXPECT_EQ(a.mode, b.mode);
    }
    if (!key_meshing) {
        EXPECT_EQ(a.key_meshing, b.key_meshing);
    }
    if (!oid) {
        EXPECT_EQ(a.oid_length, b.oid_length);
        EXPECT_EQ(a.oid, b.oid);
        EXPECT_EQ(a.str_oid, b.str_oid);
        EXPECT_EQ(a.name, b.name);
    }
    EXPECT_EQ(a.tz, b.tz);
    EXPECT_EQ(a.next, b.next);
}

TEST_F(Registry, mode_and_key_meshing_take_only_the_low_8_bits) {
    for (const int value : {0, 1, 2, 5, 127, 128, 255, 256, 257, 511, -1, -2, -256, 0x12345678, INT32_MAX, INT32_MIN}) {
        Record record = own.at(0);
        EXPECT_EQ(oidSetModeGOST28147Par(&record, value), VRX_OK);
        EXPECT_EQ(record.mode, static_cast<std::uint32_t>(value) % 256);
        expect_same_but(record, own.at(0), true, false, false);
        record = own.at(0);
        EXPECT_EQ(oidSetKeyMeshingGOST28147Par(&record, value), VRX_OK);
        EXPECT_EQ(record.key_meshing, static_cast<std::uint32_t>(value) % 256);
        expect_same_but(record, own.at(0), false, true, false);
    }
}

TEST_F(Registry, identifier_and_texts_are_kept_as_pointers) {
    Record record = own.at(0);
    const char dotted[] = "1.2.3.4";
    const char name[] = "a name";
    EXPECT_EQ(oidSetOIDGOST28147Par(&record, VRX_PAR_HASH_0_OID, 0x89ABCDEFU, dotted, name), VRX_OK);
    EXPECT_EQ(record.oid, VRX_PAR_HASH_0_OID);
    EXPECT_EQ(record.oid_length, 0x89ABCDEFU);
    EXPECT_EQ(record.str_oid, dotted);
    EXPECT_EQ(record.name, name);
    expect_same_but(record, own.at(0), false, false, true);
    EXPECT_EQ(oidSetOIDGOST28147Par(&record, nullptr, 0, nullptr, nullptr), VRX_OK);
    EXPECT_EQ(record.oid, nullptr);
    EXPECT_EQ(record.oid_length, 0U);
    EXPECT_EQ(record.str_oid, nullptr);
    EXPECT_EQ(record.name, nullptr);
    expect_same_but(record, own.at(0), false, false, true);
}

TEST_F(Registry, copy_is_on_the_heap_with_every_field_but_the_link) {
    register_builtins();
    for (Record* source : {&builtin[0], &builtin[4], &builtin[9], &own.at(1)}) {
        const Record before = *source;
        Record* copy = nullptr;
        ASSERT_EQ(oidCopyGOST28147Par(source, &copy), VRX_OK);
        const std::unique_ptr<Record, decltype(&std::free)> owner(copy, std::free);
        ASSERT_NE(copy, nullptr);
        EXPECT_NE(copy, source);
        Record expected = before;
        expected.next = nullptr;
        expect_same_but(*copy, expected, false, false, false);
        expect_same_but(*source, before, false, false, false);
    }
    EXPECT_EQ(listed(), all_ten) << "a copy is not registered";
}

TEST_F(Registry, copy_with_a_table_of_its_own_can_be_registered_and_found) {
    vrx_tz table{};
    Record* copy = nullptr;
    ASSERT_EQ(oidCopyGOST28147Par(&builtin[1], &copy), VRX_OK);
    const std::unique_ptr<Record, decltype(&std::free)> owner(copy, std::free);
    const std::uint8_t oid[] = {0x06, 0x02, 0x2A, 0x05};
    oidSetOIDGOST28147Par(copy, oid, sizeof oid, "1.2.5", "mine");
    oidSetModeGOST28147Par(copy, 4);
    oidSetKeyMeshingGOST28147Par(copy, 0);
    copy->tz = &table;
    register_builtins();
    ASSERT_EQ(oidRegisterGOST28147Par(copy), VRX_OK);
    EXPECT_EQ(find(oid, sizeof oid), (Found{VRX_OK, copy}));
    EXPECT_EQ(listed(), all_ten + Chain{copy});
}

// Registration.

TEST_F(Registry, first_record_becomes_the_head) {
    register_own({0});
    EXPECT_EQ(GOST28147_OIDS, &own.at(0));
    EXPECT_EQ(own.at(0).next, nullptr) << "whatever it was";
}

TEST_F(Registry, records_are_appended) {
    register_own({2, 0, 3});
    EXPECT_EQ(listed(), owned({2, 0, 3}));
    register_own({1});
    EXPECT_EQ(listed(), owned({2, 0, 3, 1}));
}

TEST_F(Registry, registering_the_last_record_again_changes_nothing) {
    register_own({0, 1, 2});
    register_own({2});
    EXPECT_EQ(listed(), owned({0, 1, 2}));
    register_own({2, 2, 3});
    EXPECT_EQ(listed(), owned({0, 1, 2, 3}));
}

TEST_F(Registry, registering_an_only_record_again_changes_nothing) {
    register_own({0, 0});
    EXPECT_EQ(listed(), owned({0}));
}

TEST_F(Registry, registering_a_listed_record_again_cuts_the_list_after_it) {
    register_own({0, 1, 2, 3});
    register_own({1});
    EXPECT_EQ(listed(), owned({0, 1}));
    EXPECT_EQ(own.at(2).next, &own.at(3)) << "the lost records keep their links";
    EXPECT_EQ(own.at(3).next, &own.at(1)) << "the former last one has got its new link";
}

TEST_F(Registry, registering_the_head_again_drops_the_rest) {
    register_own({0, 1, 2});
    register_own({0});
    EXPECT_EQ(listed(), owned({0}));
    EXPECT_EQ(own.at(2).next, &own.at(0));
}

TEST_F(Registry, several_records_of_one_identifier_can_be_registered) {
    oidSetOIDGOST28147Par(&own.at(1), own.at(0).oid, 3, "", "");
    register_own({0, 1});
    EXPECT_EQ(listed(), owned({0, 1}));
}

TEST_F(Registry, builtins_are_registered_in_order) {
    EXPECT_EQ(oidRegisterGOST28147CryptoProPar(), VRX_OK);
    EXPECT_EQ(listed(), all_ten);
    EXPECT_EQ(log.take(), "");
}

TEST_F(Registry, registering_the_builtins_again_leaves_the_same_ten) {
    for (int i = 0; i < 3; ++i) {
        register_builtins();
        EXPECT_EQ(listed(), all_ten);
    }
}

TEST_F(Registry, registering_the_builtins_again_drops_what_was_appended) {
    register_builtins();
    register_own({0, 1});
    EXPECT_EQ(listed(), all_ten + owned({0, 1}));
    register_builtins();
    EXPECT_EQ(listed(), all_ten);
}

TEST_F(Registry, registering_the_builtins_again_keeps_earlier_records) {
    register_own({0, 1});
    register_builtins();
    EXPECT_EQ(listed(), owned({0, 1}) + all_ten);
    register_own({2});
    register_builtins();
    EXPECT_EQ(listed(), owned({0, 1}) + all_ten);
}

TEST_F(Registry, registering_the_builtins_again_brings_back_removed_ones) {
    register_builtins();
    ASSERT_EQ(unregister(VRX_PAR_CIPHER_C_OID), VRX_OK);
    ASSERT_EQ(unregister(VRX_PAR_CIPHER_SD_OID), VRX_OK);
    register_builtins();
    EXPECT_EQ(listed(), all_ten);
}

// Search.

TEST_F(Registry, first_search_registers_the_builtins) {
    EXPECT_EQ(find(VRX_PAR_CIPHER_A_OID), (Found{VRX_OK, &builtin[1]}));
    EXPECT_EQ(builtin[1].mode, 3);
    EXPECT_EQ(builtin[1].key_meshing, 1);
    EXPECT_EQ(listed(), all_ten);
    EXPECT_EQ(log.take(), "");
}

TEST_F(Registry, first_search_registers_the_builtins_even_when_it_fails) {
    EXPECT_EQ(find(VRX_PAR_HASH_0_OID), not_found);
    EXPECT_EQ(listed(), all_ten);
}

TEST_F(Registry, each_builtin_is_found_and_the_list_stays) {
    for (int i = 0; i < 2; ++i)
        for (const Record& record : builtin) EXPECT_EQ(find(record.oid), (Found{VRX_OK, &record}));
    EXPECT_EQ(listed(), all_ten);
}

TEST_F(Registry, search_compares_length_and_every_byte) {
    Bytes oid(VRX_PAR_CIPHER_D_OID, VRX_PAR_CIPHER_D_OID + VRX_PAR_OID_SIZE);
    for (std::uint32_t length = 0; length < VRX_PAR_OID_SIZE; ++length) EXPECT_EQ(find(oid.data(), length), not_found);
    Bytes longer = oid;
    longer.push_back(0);
    EXPECT_EQ(find(longer.data(), 10), not_found);
    for (std::size_t i = 0; i < oid.size(); ++i)
        for (unsigned bit = 0; bit < 8; ++bit) {
            Bytes other = oid;
            other[i] = static_cast<std::uint8_t>(other[i] ^ 1U << bit);
            const Found found = find(other.data());
            // Identifiers of other sets differ only in the last arc.
            if (i + 1 < oid.size() || other[i] > 9) {
                EXPECT_EQ(found, not_found) << i << " " << bit;
            } else {
                EXPECT_EQ(found, (Found{VRX_OK, &builtin[other[i]]}));
            }
        }
}

TEST_F(Registry, bytes_are_read_only_where_the_lengths_agree) {
    register_builtins();
    const std::uint8_t short_oid[] = {0x06};
    Record* found = &own.at(0);
    EXPECT_EQ(oidFindGOST28147Par(short_oid, 0xFFFFFFFFU, &found), VRX_ERR_FAILED);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(oidUnregisterGOST28147Par(short_oid, 0xFFFFFFFFU), VRX_ERR_BAD_PARAMS);
    const vrx_gostr3411_par* hash = &GOSTR3411_OIDS[0];
    EXPECT_EQ(oidFindGOSTR3411Par(short_oid, 0xFFFFFFFFU, &hash), VRX_ERR_FAILED);
    EXPECT_EQ(hash, nullptr);
}

TEST_F(Registry, zero_bytes_in_identifiers_are_significant) {
    const std::uint8_t first[] = {0x06, 0x00, 0x01};
    const std::uint8_t second[] = {0x06, 0x00, 0x02};
    oidSetOIDGOST28147Par(&own.at(0), first, 3, "", "");
    oidSetOIDGOST28147Par(&own.at(1), second, 3, "", "");
    register_own({0, 1});
    EXPECT_EQ(find(second, 3), (Found{VRX_OK, &own.at(1)}));
}

TEST_F(Registry, zero_length_matches_a_record_of_length_zero) {
    register_own({0});
    oidSetOIDGOST28147Par(&own.at(1), nullptr, 0, nullptr, nullptr);
    oidSetOIDGOST28147Par(&own.at(2), VRX_PAR_CIPHER_A_OID, 0, nullptr, nullptr);
    register_own({1, 2});
    Record* found = nullptr;
    EXPECT_EQ(oidFindGOST28147Par(VRX_PAR_CIPHER_B_OID, 0, &found), VRX_OK);
    EXPECT_EQ(found, &own.at(1));
    EXPECT_EQ(oidFindGOST28147Par(nullptr, 0, &found), VRX_OK);
    EXPECT_EQ(found, &own.at(1));
    EXPECT_EQ(oidUnregisterGOST28147Par(nullptr, 0), VRX_OK);
    EXPECT_EQ(oidFindGOST28147Par(nullptr, 0, &found), VRX_OK);
    EXPECT_EQ(found, &own.at(2));
}

TEST_F(Registry, record_registered_first_wins) {
    oidSetOIDGOST28147Par(&own.at(0), VRX_PAR_CIPHER_A_OID, 9, "", "");
    register_builtins();
    register_own({0});
    EXPECT_EQ(find(VRX_PAR_CIPHER_A_OID), (Found{VRX_OK, &builtin[1]}));
}

TEST_F(Registry, record_registered_before_the_builtins_hides_one_of_them) {
    oidSetOIDGOST28147Par(&own.at(0), VRX_PAR_CIPHER_A_OID, 9, "", "");
    register_own({0});
    register_builtins();
    EXPECT_EQ(find(VRX_PAR_CIPHER_A_OID), (Found{VRX_OK, &own.at(0)}));
    EXPECT_EQ(find(VRX_PAR_CIPHER_B_OID), (Found{VRX_OK, &builtin[2]}));
}

TEST_F(Registry, builtins_are_not_registered_while_the_list_holds_anything) {
    register_own({0});
    EXPECT_EQ(find(VRX_PAR_CIPHER_A_OID), not_found);
    EXPECT_EQ(listed(), owned({0}));
    EXPECT_EQ(log.take(), "oidFindGOST28147Par: unsupported OID\n");
}

TEST_F(Registry, list_that_the_host_assigned_is_used) {
    own.at(0).next = &own.at(1);
    own.at(1).next = nullptr;
    GOST28147_OIDS = own.data();
    EXPECT_EQ(find(own.at(1).oid, 3), (Found{VRX_OK, &own.at(1)}));
    register_own({2});
    EXPECT_EQ(listed(), owned({0, 1, 2}));
    GOST28147_OIDS = nullptr;
    EXPECT_EQ(find(VRX_PAR_CIPHER_SD_OID), (Found{VRX_OK, &builtin[9]}));
    EXPECT_EQ(listed(), all_ten);
}

TEST_F(Registry, changed_identifier_of_a_builtin_record_is_used) {
    register_builtins();
    oidSetOIDGOST28147Par(&builtin[3], own_oids.at(0).data(), 3, "", "");
    EXPECT_EQ(find(own_oids.at(0).data(), 3), (Found{VRX_OK, &builtin[3]}));
    EXPECT_EQ(find(VRX_PAR_CIPHER_C_OID), not_found);
}

// Removal.

TEST_F(Registry, removal_from_an_empty_list_fails_and_registers_nothing) {
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_A_OID), VRX_ERR_FAILED);
    EXPECT_EQ(GOST28147_OIDS, nullptr);
}

TEST_F(Registry, removal_of_an_unknown_identifier_changes_nothing) {
    register_builtins();
    EXPECT_EQ(unregister(VRX_PAR_HASH_0_OID), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_A_OID, 8), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_A_OID, 0), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(listed(), all_ten);
}

TEST_F(Registry, removed_record_is_unlinked_and_its_own_link_cleared) {
    register_builtins();
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_B_OID), VRX_OK);
    EXPECT_EQ(listed(), numbers({0, 1, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(builtin[2].next, nullptr);
    EXPECT_EQ(find(VRX_PAR_CIPHER_B_OID), not_found);
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_B_OID), VRX_ERR_BAD_PARAMS);
}

TEST_F(Registry, last_record_is_removed) {
    register_builtins();
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_SD_OID), VRX_OK);
    EXPECT_EQ(listed(), numbers({0, 1, 2, 3, 4, 5, 6, 7, 8}));
    register_own({0});
    EXPECT_EQ(listed(), numbers({0, 1, 2, 3, 4, 5, 6, 7, 8}) + owned({0}));
}

TEST_F(Registry, all_but_the_head_can_be_removed_one_by_one) {
    register_builtins();
    for (std::size_t i = 1; i < std::size(builtin); ++i) EXPECT_EQ(unregister(builtin[i].oid), VRX_OK);
    EXPECT_EQ(listed(), numbers({0}));
}

TEST_F(Registry, removing_the_head_keeps_it_and_drops_the_rest) {
    // Deliberate: the first record cannot be removed.
    register_builtins();
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_0_OID), VRX_OK);
    EXPECT_EQ(listed(), numbers({0}));
    EXPECT_EQ(builtin[1].next, &builtin[2]) << "the lost records keep their links";
    EXPECT_EQ(find(VRX_PAR_CIPHER_0_OID), (Found{VRX_OK, &builtin[0]}));
    EXPECT_EQ(find(VRX_PAR_CIPHER_A_OID), not_found);
    EXPECT_EQ(unregister(VRX_PAR_CIPHER_0_OID), VRX_OK);
    EXPECT_EQ(listed(), numbers({0}));
    EXPECT_EQ(log.take(), "oidFindGOST28147Par: unsupported OID\n");
}

TEST_F(Registry, only_the_first_of_several_matches_is_removed) {
    oidSetOIDGOST28147Par(&own.at(1), own.at(0).oid, 3, "", "");
    register_builtins();
    register_own({0, 2, 1});
    EXPECT_EQ(unregister(own.at(0).oid, 3), VRX_OK);
    EXPECT_EQ(listed(), all_ten + owned({2, 1}));
    EXPECT_EQ(find(own.at(1).oid, 3), (Found{VRX_OK, &own.at(1)}));
}

TEST_F(Registry, head_that_matches_is_taken_before_a_later_match) {
    oidSetOIDGOST28147Par(&own.at(1), own.at(0).oid, 3, "", "");
    register_own({0, 2, 1});
    EXPECT_EQ(unregister(own.at(0).oid, 3), VRX_OK);
    EXPECT_EQ(listed(), owned({0}));
}

TEST_F(Registry, removed_record_can_be_registered_again) {
    register_builtins();
    ASSERT_EQ(unregister(VRX_PAR_CIPHER_A_OID), VRX_OK);
    ASSERT_EQ(oidRegisterGOST28147Par(&builtin[1]), VRX_OK);
    EXPECT_EQ(listed(), numbers({0, 2, 3, 4, 5, 6, 7, 8, 9, 1}));
}

TEST_F(Registry, identifier_may_be_the_records_own) {
    register_builtins();
    EXPECT_EQ(oidUnregisterGOST28147Par(builtin[5].oid, builtin[5].oid_length), VRX_OK);
    EXPECT_EQ(listed(), numbers({0, 1, 2, 3, 4, 6, 7, 8, 9}));
}

TEST_F(Registry, random_calls_behave_like_a_model_of_links) {
    // The model of the list: for each record, the number of the next record, or -1 if there is none. Records 0 to 9 are
    // built in; records 10 to 13 are caller-supplied.
    vrx::test::Random random;
    std::array<Record*, 14> records{};
    for (std::size_t i = 0; i < records.size(); ++i) records.at(i) = i < 10 ? &builtin[i] : &own.at(i - 10);
    oidSetOIDGOST28147Par(&own.at(3), VRX_PAR_CIPHER_SA_OID, 9, "", "");
    const auto identifier = [](int i) { return i == 13 ? 6 : i; };
    std::array<int, 14> next{};
    next.fill(-1);
    for (Record& record : own) record.next = nullptr;
    int head = -1;
    const auto append = [&](int i) {
        int last = head;
        while (last >= 0 && next.at(static_cast<std::size_t>(last)) >= 0)
            last = next.at(static_cast<std::size_t>(last));
        (last < 0 ? head : next.at(static_cast<std::size_t>(last))) = i;
        next.at(static_cast<std::size_t>(i)) = -1;
    };
    const auto append_builtins = [&] {
        for (int i = 0; i < 10; ++i) append(i);
    };
    for (int step = 0; step < 5000; ++step) {
        const int i = static_cast<int>(random.below(14));
        Record& record = *records.at(static_cast<std::size_t>(i));
        int match = head;
        int before = -1;
        const auto search = [&] {
            for (match = head, before = -1; match >= 0 && identifier(match) != identifier(i);) {
                before = match;
                match = next.at(static_cast<std::size_t>(match));
            }
        };
        switch (random.below(16)) {
            case 0:
                append_builtins();
                ASSERT_EQ(oidRegisterGOST28147CryptoProPar(), VRX_OK);
                break;
            case 1:
                head = -1;
                GOST28147_OIDS = nullptr;
                break;
            case 2:
            case 3:
            case 4:
            case 5:
            case 6:
                append(i);
                ASSERT_EQ(oidRegisterGOST28147Par(&record), VRX_OK);
                break;
            case 7:
            case 8:
            case 9: {
                search();
                const int expected = head < 0 ? VRX_ERR_FAILED : match < 0 ? VRX_ERR_BAD_PARAMS : VRX_OK;
                if (match >= 0) {
                    if (before >= 0)
                        next.at(static_cast<std::size_t>(before)) = next.at(static_cast<std::size_t>(match));
                    next.at(static_cast<std::size_t>(match)) = -1;
                }
                ASSERT_EQ(unregister(record.oid, record.oid_length), expected);
                break;
            }
            default:
                if (head < 0) append_builtins();
                search();
                ASSERT_EQ(find(record.oid, record.oid_length),
                          match < 0 ? not_found : (Found{VRX_OK, records.at(static_cast<std::size_t>(match))}));
        }
        ASSERT_EQ(GOST28147_OIDS, head < 0 ? nullptr : records.at(static_cast<std::size_t>(head))) << "step " << step;
        for (std::size_t r = 0; r < records.size(); ++r)
            ASSERT_EQ(records.at(r)->next, next.at(r) < 0 ? nullptr : records.at(static_cast<std::size_t>(next.at(r))))
                << "step " << step << ", record " << r;
    }
}

// Hash parameter sets.

int find_hash(const Bytes& oid, const vrx_gostr3411_par** found) {
    return oidFindGOSTR3411Par(oid.data(), static_cast<std::uint32_t>(oid.size()), found);
}

TEST_F(Registry, hash_sets_are_found_whatever_is_registered) {
    for (int i = 0; i < 2; ++i) {
        for (const vrx_gostr3411_par& record : GOSTR3411_OIDS) {
            const vrx_gostr3411_par* found = nullptr;
            EXPECT_EQ(find_hash(Bytes(record.oid, record.oid + record.oid_length), &found), VRX_OK);
            EXPECT_EQ(found, &record);
        }
        EXPECT_EQ(GOST28147_OIDS, i == 0 ? nullptr : own.data()) << "the list is not touched";
        register_own({0});
    }
    EXPECT_EQ(log.take(), "");
}

TEST_F(Registry, other_identifiers_yield_no_hash_set) {
    const Bytes good(VRX_PAR_HASH_1_OID, VRX_PAR_HASH_1_OID + VRX_PAR_OID_SIZE);
    std::vector<Bytes> others = {{}, {0x06}, Bytes(good.begin(), good.end() - 1), good, good};
    others[3].push_back(0);
    others[4].back() = 2;
    others.emplace_back(VRX_PAR_CIPHER_A_OID, VRX_PAR_CIPHER_A_OID + VRX_PAR_OID_SIZE);
    for (std::size_t i = 0; i + 1 < good.size(); ++i) {
        others.push_back(good);
        others.back()[i] ^= 0x80;
    }
    for (const Bytes& oid : others) {
        const vrx_gostr3411_par* found = &GOSTR3411_OIDS[0];
        EXPECT_EQ(find_hash(oid, &found), VRX_ERR_FAILED) << vrx::test::hex(oid);
        EXPECT_EQ(found, nullptr);
        EXPECT_EQ(log.take(), "oidFindGOSTR3411Par: unsupported OID\n");
    }
}

}  // namespace
