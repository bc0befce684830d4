// Tests of the built-in parameter sets, their look-up, and the output of the generators.
#include "ecc/generate.hpp"
#include "ecc_support.hpp"
#include "support/child_process.hpp"
#include "support/log_capture.hpp"
#include "support/memory_map.hpp"
#include "support/project.hpp"

#include <fstream>
#include <sstream>

using namespace vrx::test;

namespace {

std::string contents(const std::string& path) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

constexpr struct {
    const char* name;
    const char* dotted;
    std::uint8_t branch, leaf;
} identities[VRX_ECC_SET_COUNT] = {{"id-GostR3410-2001-TestParamSet", "1.2.643.2.2.35.0", 0x23, 0},
                                   {"id-GostR3410-2001-CryptoPro-A-ParamSet", "1.2.643.2.2.35.1", 0x23, 1},
                                   {"id-GostR3410-2001-CryptoPro-B-ParamSet", "1.2.643.2.2.35.2", 0x23, 2},
                                   {"id-GostR3410-2001-CryptoPro-C-ParamSet", "1.2.643.2.2.35.3", 0x23, 3},
                                   {"id-GostR3410-2001-CryptoPro-XchA-ParamSet", "1.2.643.2.2.36.0", 0x24, 0},
                                   {"id-GostR3410-2001-CryptoPro-XchB-ParamSet", "1.2.643.2.2.36.1", 0x24, 1}};

Bytes der(std::uint32_t index) { return {6, 7, 0x2A, 0x85, 3, 2, 2, identities[index].branch, identities[index].leaf}; }

TEST(sets, have_their_names_and_identifiers) {
    const std::uint8_t* const oids[] = {ecc_Test_oid, ecc_A_oid, ecc_B_oid, ecc_C_oid, ecc_XchA_oid, ecc_XchB_oid};
    const char* const texts[] = {ecc_Test_str_oid, ecc_A_str_oid,    ecc_B_str_oid,
                                 ecc_C_str_oid,    ecc_XchA_str_oid, ecc_XchB_str_oid};
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const EcParamSet* set = get_GOSTR3410_par(i);
        ASSERT_EQ(set, &cp_ecc_par[i]);
        EXPECT_STREQ(get_GOSTR3410_oid_name(i), identities[i].name);
        EXPECT_EQ(get_GOSTR3410_oid_name(i), cp_ecc_par_name[i]);
        EXPECT_EQ(set->oid_len, 9u);
        EXPECT_EQ(set->oid, oids[i]);
        EXPECT_EQ(Bytes(oids[i], oids[i] + 9), der(i));
        EXPECT_EQ(set->str_oid, texts[i]);
        EXPECT_STREQ(texts[i], identities[i].dotted);
        EXPECT_EQ(set->has_precomp, i == 0 ? 0u : 1u);
    }
}

TEST(sets, index_above_5_yields_null) {
    for (const std::uint32_t i : {6u, 7u, 256u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(get_GOSTR3410_par(i), nullptr);
        EXPECT_EQ(get_GOSTR3410_oid_name(i), nullptr);
    }
}

TEST(sets, default_is_a_regardless_of_the_pointer) {
    EXPECT_EQ(default_cp_ecc_par, &cp_ecc_par[1]);
    default_cp_ecc_par = &cp_ecc_par[3];
    EXPECT_EQ(get_GOSTR3410_default_par(), &cp_ecc_par[1]);
    default_cp_ecc_par = nullptr;
    EXPECT_EQ(get_GOSTR3410_default_par(), &cp_ecc_par[1]);
    default_cp_ecc_par = &cp_ecc_par[1];
}

TEST(sets, exchange_sets_repeat_the_curves_of_a_and_c) {
    for (const auto& [exchange, original] : {std::pair{4, 1}, std::pair{5, 3}}) {
        const EcParamSet &x = cp_ecc_par[exchange], &o = cp_ecc_par[original];
        EXPECT_EQ(std::memcmp(&x, &o, offsetof(EcParamSet, oid_len)), 0);
        EXPECT_EQ(std::memcmp(x.pp, o.pp, sizeof x.pp), 0);
    }
}

TEST(sets, table_of_the_test_set_is_zeros) {
    for (const EcPoint& entry : cp_ecc_par[0].pp) EXPECT_EQ(epIsZero(&entry), 1u);
}

TEST(sets, are_writable_and_their_identifiers_are_not) {
    EXPECT_FALSE(is_read_only(cp_ecc_par, sizeof cp_ecc_par));
    EXPECT_TRUE(is_read_only(ecc_A_oid, sizeof ecc_A_oid));
    EXPECT_TRUE(is_read_only(ecc_A_str_oid, sizeof ecc_A_str_oid));
}

TEST(look_up, finds_each_set_by_either_identifier_and_logs_nothing) {
    LogCapture log;
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        EcParamSet* found = nullptr;
        const Bytes oid = der(i);
        EXPECT_EQ(epFindParByOid(oid.data(), 9, &found), VRX_OK);
        EXPECT_EQ(found, &cp_ecc_par[i]);
        EXPECT_EQ(epFindParByStrOid(std::string(identities[i].dotted).c_str(), &found), VRX_OK);
        EXPECT_EQ(found, &cp_ecc_par[i]);
    }
    EXPECT_EQ(log.take(), "");
}

TEST(look_up, by_another_identifier_yields_null_and_logs_nothing) {
    LogCapture log;
    Bytes longer = der(4);
    longer.push_back(0);
    Bytes other = der(1);
    other[8] = 4;
    const struct {
        Bytes oid;
        std::uint32_t length;
    } wrong[] = {{der(4), 8}, {longer, 10}, {other, 9}, {der(1), 0}, {Bytes(9, 0), 9}};
    for (const auto& [oid, length] : wrong) {
        EcParamSet* found = &cp_ecc_par[2];
        EXPECT_EQ(epFindParByOid(oid.data(), length, &found), VRX_ERR_FAILED);
        EXPECT_EQ(found, nullptr);
    }
    for (const char* text : {"1.2.643.2.2.35.1 ", " 1.2.643.2.2.35.1", "1.2.643.2.2.35", "1.2.643.2.2.35.4",
                             "1.2.643.2.2.30.1", "", "1.2.643.2.2.35.11"}) {
        EcParamSet* found = &cp_ecc_par[2];
        EXPECT_EQ(epFindParByStrOid(text, &found), VRX_ERR_FAILED);
        EXPECT_EQ(found, nullptr);
    }
    EXPECT_EQ(log.take(), "");
}

TEST(look_up, compares_the_current_records_and_returns_the_first) {
    const SetsGuard guard;
    EcParamSet* found = nullptr;
    cp_ecc_par[2].oid = ecc_XchA_oid;
    cp_ecc_par[2].str_oid = ecc_XchA_str_oid;
    EXPECT_EQ(epFindParByOid(ecc_XchA_oid, 9, &found), VRX_OK);
    EXPECT_EQ(found, &cp_ecc_par[2]);
    EXPECT_EQ(epFindParByStrOid(ecc_XchA_str_oid, &found), VRX_OK);
    EXPECT_EQ(found, &cp_ecc_par[2]);
    EXPECT_EQ(epFindParByOid(ecc_B_oid, 9, &found), VRX_ERR_FAILED);
    cp_ecc_par[1].oid_len = 8;
    EXPECT_EQ(epFindParByOid(ecc_A_oid, 9, &found), VRX_ERR_FAILED);
    EXPECT_EQ(epFindParByOid(ecc_A_oid, 8, &found), VRX_OK);
    EXPECT_EQ(found, &cp_ecc_par[1]);
    cp_ecc_par[3].oid_len = 0;
    EXPECT_EQ(epFindParByOid(nullptr, 0, &found), VRX_OK);
    EXPECT_EQ(found, &cp_ecc_par[3]);
}

TEST(decimal, coordinates_there_and_back) {
    EcPoint p = filled<EcPoint>();
    EXPECT_EQ(
        epConvFromDecimal(&p, "115792089237316195423570985008687907853269984665640564039457584007913129639319", "166"),
        0);
    EXPECT_EQ(coordinates(p), (std::array{Digits(cp_ecc_par[1].p), Digits(0xA6)}));
    char x[100], y[100];
    EXPECT_EQ(epConvToDecimal(&p, x, y, sizeof x), 0);
    EXPECT_STREQ(x, "115792089237316195423570985008687907853269984665640564039457584007913129639319");
    EXPECT_STREQ(y, "166");
}

TEST(decimal, capacity_holds_for_each_of_the_two_texts) {
    const EcPoint p = point(123456, 98765);
    char x[] = "----------", y[] = "----------";
    EXPECT_EQ(epConvToDecimal(&p, x, y, 4), 0);
    EXPECT_EQ(std::string(x, 10), std::string("123\0------", 10));
    EXPECT_EQ(std::string(y, 10), std::string("987\0------", 10));
}

TEST(generators, print_the_numbers_byte_for_byte_and_set_them_anew) {
    const ChildRun run = run_in_child([] {
        static EcParamSet before[VRX_ECC_SET_COUNT];
        std::memcpy(before, cp_ecc_par, sizeof before);
        for (EcParamSet& set : cp_ecc_par) std::memset(&set, 0x55, offsetof(EcParamSet, oid_len));
        EXPECT_EQ(epInitParams(), 0);
        EXPECT_EQ(std::memcmp(before, cp_ecc_par, sizeof before), 0);
        std::fflush(stdout);
    });
    EXPECT_TRUE(passed(run));
    EXPECT_EQ(run.out, vrx_copyright_notice() + std::string("\n") + contents(in_project("tests/ecc/numbers.expected")));
    EXPECT_EQ(run.err, "");
}

TEST(generators, leave_the_other_fields_of_the_records_alone) {
    const ChildRun run = run_in_child([] {
        cp_ecc_par[1].has_precomp = 7;
        cp_ecc_par[1].pp[3].x[0] = 99;
        cp_ecc_par[1].oid = nullptr;
        cp_ecc_par[1].oid_len = 3;
        EXPECT_EQ(epInitParams(), 0);
        EXPECT_EQ(cp_ecc_par[1].has_precomp, 7u);
        EXPECT_EQ(cp_ecc_par[1].pp[3].x[0], 99u);
        EXPECT_EQ(cp_ecc_par[1].oid, nullptr);
        EXPECT_EQ(cp_ecc_par[1].oid_len, 3u);
    });
    EXPECT_TRUE(passed(run));
}

TEST(generators, tell_when_a_base_point_is_off_its_curve) {
    const ChildRun run = run_in_child([] {
        EcParamSet set{};
        vrx::ecc::DecimalSet decimal = vrx::ecc::decimal_sets()[3];
        EXPECT_TRUE(vrx::ecc::generate_numbers(set, decimal, vrx::ecc::BasePoint::together));
        decimal.b = "32859";
        EXPECT_FALSE(vrx::ecc::generate_numbers(set, decimal, vrx::ecc::BasePoint::together));
    });
    EXPECT_TRUE(passed(run));
}

/** Converts a checked-in table, which has an entry on each line, to the layout that epCalcPP() prints. */
std::string as_printed(const std::string& table) {
    std::istringstream lines(table);
    std::string line, printed;
    std::getline(lines, line);
    EXPECT_EQ(line, "// generated by gen/curve_table");
    std::getline(lines, line);
    EXPECT_EQ(line, "{");
    printed = "{\n";
    while (std::getline(lines, line) && line != "},") {
        printed += "    {\n";
        for (std::size_t at = 1; line.compare(at, 2, "},") != 0;) {
            const std::size_t end = line.find('}', at);
            std::string digits = line.substr(at + 1, end - at - 2);
            for (std::size_t comma = 0; (comma = digits.find(',', comma)) != std::string::npos; ++comma)
                digits.insert(++comma, " ");
            printed += "        {\n            " + digits + "\n        },\n";
            at = end + 2;
        }
        printed += "    },\n";
    }
    EXPECT_FALSE(std::getline(lines, line)) << "more than a table";
    return printed + "},\n";
}

TEST(generators, print_the_tables_byte_for_byte_and_fill_them) {
    const std::string sources = in_project("src/ecc/tables/");
    const struct {
        std::uint32_t index;
        std::string file;
    } tables[] = {{1, sources + "a.inc"},
                  {2, sources + "b.inc"},
                  {3, sources + "c.inc"},
                  {4, sources + "a.inc"},
                  {5, sources + "c.inc"}};
    for (const auto& [index, file] : tables) {
        const ChildRun run = run_in_child([index = index] {
            EcParamSet& set = cp_ecc_par[index];
            const EcParamSet before = set;
            std::memset(set.pp, 0x55, sizeof set.pp);
            EXPECT_EQ(epCalcPP(&set), 0);
            EXPECT_TRUE(same_bytes(before, set));
        });
        EXPECT_TRUE(passed(run));
        EXPECT_EQ(run.out, as_printed(contents(file)));
    }
}

TEST(generators, table_of_the_test_set_uses_the_formulas_for_a_minus_3) {
    const ChildRun run = run_in_child([] {
        EXPECT_EQ(epCalcPP(&cp_ecc_par[0]), 0);
        EXPECT_EQ(epIsEqual(&cp_ecc_par[0].pp[0], &cp_ecc_par[0].G), 1u);
        EcPoint sixteen_times;
        epMult(&sixteen_times, &cp_ecc_par[0].G, Digits(16).data(), &cp_ecc_par[0]);
        EXPECT_EQ(epIsEqual(&cp_ecc_par[0].pp[1], &sixteen_times), 0u);
        EXPECT_EQ(cp_ecc_par[0].has_precomp, 0u);
    });
    EXPECT_TRUE(passed(run));
    EXPECT_EQ(run.out, contents(in_project("tests/ecc/table_test.expected")));
}

}  // namespace
