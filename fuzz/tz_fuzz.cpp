// Fuzz target: substitution tables and the parameter registry. Tests texts, deployment and recovery, and look-ups by
// name, number and identifier. Compares sequences of registrations with a simple list.
#include <cstring>
#include <map>
#include <string>

#include "choices.hpp"
#include "support/log_capture.hpp"
#include "support/registry_guard.hpp"
#include "tz/deployments.hpp"
#include "tz/model.hpp"
#include "tz/sboxes.hpp"
#include "vrx.h"

namespace {

using namespace vrx::test;
using vrx::fuzz::require;

bool same_table(const vrx_tz& a, const vrx_tz& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

/** Text that consists mostly of hexadecimal digits. */
std::string any_text(Random& random) {
    const bool digits = random.below(4) != 0;
    std::string text;
    for (std::size_t size = random.below(4) == 0 ? random.below(300) : VRX_TZ_STRING_SIZE; size != 0; --size)
        text += digits ? "0123456789ABCDEF"[random.word() % 16] : static_cast<char>(1 + random.word() % 255);
    return text;
}

void text(Random& random) {
    const std::string given = any_text(random);
    const bool fits = given.size() == VRX_TZ_STRING_SIZE;
    const auto before = random.value<Numeric>();
    Numeric num = before;
    require(vrx_crpt_TZ_str_to_num(given.c_str(), num.data()) == (fits ? VRX_OK : VRX_ERR_UNKNOWN_TZ) &&
                num == (fits ? modelled(given) : before),
            "a text is converted");
    const auto untouched = random.value<vrx_tz>();
    vrx_tz table = untouched;
    vrx_tz expected = fits ? deployed(boxes_of(num)) : untouched;
    std::memcpy(expected.zero, untouched.zero, sizeof expected.zero);
    require(vrx_crpt_init_new_TZ(given.c_str(), &table) == (fits ? VRX_OK : VRX_ERR_UNKNOWN_TZ) &&
                same_table(table, expected),
            "a text is deployed");
}

void deployment(Random& random) {
    auto num = random.value<Numeric>();
    const Boxes boxes = boxes_of(num);
    const auto before = random.value<vrx_tz>();
    vrx_tz expected = deployed(boxes);
    std::memcpy(expected.zero, before.zero, sizeof expected.zero);
    vrx_tz table = before;
    require((random.coin() ? vrx_crpt_deploy_TZ : vrx_crpt_init_num_TZ)(num.data(), &table) == VRX_OK &&
                same_table(table, expected),
            "S-boxes are deployed");
    for (const auto& way : vrx::tz::deployments) {
        if (!vrx::cpu::offers(way.needs)) continue;
        table = before;
        way.run(num, table);
        require(same_table(table, expected), way.name);
    }
    if (vrx::cpu::offers(vrx::cpu::avx2_region)) {
        const vrx::tz::SBoxes wanted = vrx::tz::sboxes(num);
        vrx::tz::SBoxes found{};
        require(vrx::tz::recover_avx2(table, found) && std::memcmp(&found, &wanted, sizeof found) == 0,
                "the S-boxes of a table are recovered");
        // After a flipped bit, the table belongs to other S-boxes, or to none.
        table.t[random.below(4)][random.below(256)] ^= 1U << random.below(32);
        if (vrx::tz::recover_avx2(table, found)) {
            Numeric other{};
            for (unsigned i = 0; i < 16; ++i)
                for (unsigned m = 0; m < 4; ++m)
                    other.at(4 * i + m) = static_cast<std::uint8_t>(found.even[16 * m + i] | found.odd[16 * m + i]);
            vrx_tz again = table;
            vrx::tz::deploy(other, again);
            require(std::memcmp(again.t, table.t, sizeof again.t) == 0, "found S-boxes are the table's");
        }
    }
    Numeric swapped = num;
    require(vrx_crpt_swap_num_TZ(swapped.data()) == VRX_OK, "nibbles are exchanged");
    for (std::size_t i = 0; i < num.size(); ++i)
        require(swapped.at(i) == num.at(i) % 16 * 16 + num.at(i) / 16, "nibbles are exchanged");
}

/** A valid name, or one with a small change. */
std::string name(Random& random) {
    static const std::array names{"tz_test", "tz_a", "tz_b", "tz_c", "tz_d", "tz_0", "tz_1",
                                  "ss",      "gamm", "gfb",  "cbc",  "",     "tz_",  "tz_e"};
    std::string text = names.at(random.below(names.size()));
    switch (random.below(4)) {
        case 0:
            text += static_cast<char>(1 + random.below(255));
            break;
        case 1:
            if (!text.empty()) text.at(random.below(static_cast<std::uint32_t>(text.size()))) ^= 0x20;
            break;
        default:
            break;
    }
    return text;
}

void lookups(Random& random) {
    static const std::map<std::string, const vrx_tz*> cipher{{"tz_test", &TZ_28147_89[0]},
                                                             {"tz_a", &TZ_28147_89[1]},
                                                             {"tz_b", &TZ_28147_89[2]},
                                                             {"tz_c", &TZ_28147_89[3]},
                                                             {"tz_d", &TZ_28147_89[4]}};
    static const std::map<std::string, const vrx_tz*> hash{{"tz_0", &TZ_3411_94[0]}, {"tz_1", &TZ_3411_94[1]}};
    static const std::map<std::string, int> modes{{"ss", 1}, {"gamm", 2}, {"gfb", 3}, {"cbc", 4}};
    const auto of = [](const auto& map, const auto& key) {
        const auto found = map.find(key);
        return found == map.end() ? decltype(found->second){} : found->second;
    };
    const std::string asked = name(random);
    require(TZ_by_name(asked.c_str()) == of(cipher, asked), "a cipher table by name");
    require(hash_TZ_by_name(asked.c_str()) == of(hash, asked), "a hash table by name");
    require(ciph_mode_by_name(asked.c_str()) == of(modes, asked), "a mode by name");
    const std::uint32_t id = random.coin() ? random.below(16) : random.word();
    require(TZ_by_id(id) == (id % 256 < 5 ? &TZ_28147_89[id % 256] : nullptr), "a cipher table by number");
    require(hash_TZ_by_id(id) == (id % 256 < 2 ? &TZ_3411_94[id % 256] : nullptr), "a hash table by number");
}

/** A known identifier, or one with a small change, in memory of exactly its size. */
Bytes identifier(Random& random) {
    static const std::array known{VRX_PAR_HASH_0_OID,
                                  VRX_PAR_HASH_1_OID,
                                  VRX_PAR_CIPHER_0_OID,
                                  VRX_PAR_CIPHER_A_OID,
                                  VRX_PAR_CIPHER_B_OID,
                                  VRX_PAR_CIPHER_C_OID,
                                  VRX_PAR_CIPHER_D_OID,
                                  VRX_PAR_CIPHER_0S_OID,
                                  VRX_PAR_CIPHER_SA_OID,
                                  VRX_PAR_CIPHER_SB_OID,
                                  VRX_PAR_CIPHER_SC_OID,
                                  VRX_PAR_CIPHER_SD_OID,
                                  ecc_Test_oid,
                                  ecc_A_oid,
                                  ecc_B_oid,
                                  ecc_C_oid,
                                  ecc_XchA_oid,
                                  ecc_XchB_oid};
    const std::uint8_t* oid = known.at(random.below(known.size()));
    Bytes bytes(oid, oid + VRX_PAR_OID_SIZE);
    switch (random.below(6)) {
        case 0:
            bytes.resize(random.below(14));
            break;
        case 1:
            bytes.at(random.below(VRX_PAR_OID_SIZE)) ^= static_cast<std::uint8_t>(1 + random.below(255));
            break;
        default:
            break;
    }
    return bytes;
}

std::uint32_t length(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

void identifiers(Random& random) {
    const Bytes oid = identifier(random);
    const auto is = [&](const std::uint8_t* other, std::size_t size) {
        return std::equal(oid.begin(), oid.end(), other, other + size);
    };
    const vrx_gostr3411_par* hash = nullptr;
    for (const vrx_gostr3411_par& record : GOSTR3411_OIDS)
        if (is(record.oid, record.oid_length)) hash = &record;
    const vrx_gostr3411_par* found = &GOSTR3411_OIDS[0];
    require(oidFindGOSTR3411Par(oid.data(), length(oid), &found) == (hash != nullptr ? VRX_OK : VRX_ERR_FAILED) &&
                found == hash,
            "a hash set by identifier");
    EcParamSet* curve = nullptr;
    for (EcParamSet& set : cp_ecc_par)
        if (is(set.oid, set.oid_len)) curve = &set;
    EcParamSet* found_curve = &cp_ecc_par[0];
    require(epFindParByOid(oid.data(), length(oid), &found_curve) == (curve != nullptr ? VRX_OK : VRX_ERR_FAILED) &&
                found_curve == curve,
            "a curve by identifier");

    std::string dotted = cp_ecc_par[random.below(VRX_ECC_SET_COUNT)].str_oid;
    if (random.coin()) dotted.at(random.below(16)) = static_cast<char>(1 + random.below(255));
    if (random.below(4) == 0) dotted.resize(random.below(20), '1');
    curve = nullptr;
    for (EcParamSet& set : cp_ecc_par)
        if (dotted.c_str() == std::string(set.str_oid)) curve = &set;
    found_curve = &cp_ecc_par[0];
    require(epFindParByStrOid(dotted.c_str(), &found_curve) == (curve != nullptr ? VRX_OK : VRX_ERR_FAILED) &&
                found_curve == curve,
            "a curve by dotted identifier");
}

/** The registered list, and its expected contents. */
class Registry {
public:
    explicit Registry(Random& random) : random_(random) {
        for (std::size_t i = 0; i < own_.size(); ++i) {
            oids_.at(i) = identifier(random);
            own_.at(i) = {length(oids_.at(i)), oids_.at(i).data(), "1.2.3", "own", &TZ_28147_89[2], 4, 1, &own_.at(0)};
        }
    }

    void step() {
        switch (random_.below(5)) {
            case 0:
                require(oidRegisterGOST28147CryptoProPar() == VRX_OK, "the built-in records are registered");
                add_built_in();
                break;
            case 1: {
                vrx_gost28147_par& record =
                    random_.coin() ? own_.at(random_.below(4)) : GOST28147_CRYPTO_PRO_OIDS[random_.below(10)];
                require(oidRegisterGOST28147Par(&record) == VRX_OK, "a record is registered");
                add(record);
                break;
            }
            case 2:
                remove();
                break;
            default:
                find();
                break;
        }
        vrx_gost28147_par* next = GOST28147_OIDS;
        for (vrx_gost28147_par* record : list_) {
            require(next == record, "the list");
            next = next->next;
        }
        require(next == nullptr, "the end of the list");
    }

private:
    void add(vrx_gost28147_par& record) {
        const auto at = std::find(list_.begin(), list_.end(), &record);
        list_.erase(at, list_.end());  // the record and all records that follow it
        list_.push_back(&record);
    }
    void add_built_in() {
        for (vrx_gost28147_par& record : GOST28147_CRYPTO_PRO_OIDS) add(record);
    }
    [[nodiscard]] auto place_of(const Bytes& oid) const {
        return std::find_if(list_.begin(), list_.end(), [&](const vrx_gost28147_par* record) {
            return std::equal(oid.begin(), oid.end(), record->oid, record->oid + record->oid_length);
        });
    }
    void find() {
        const Bytes oid = identifier(random_);
        if (list_.empty()) add_built_in();
        const auto at = place_of(oid);
        vrx_gost28147_par* found = &own_.at(0);
        require(oidFindGOST28147Par(oid.data(), length(oid), &found) == (at != list_.end() ? VRX_OK : VRX_ERR_FAILED) &&
                    found == (at != list_.end() ? *at : nullptr),
                "a registered record by identifier");
    }
    void remove() {
        const Bytes oid = identifier(random_);
        const auto at = place_of(oid);
        const int expected = list_.empty() ? VRX_ERR_FAILED : at == list_.end() ? VRX_ERR_BAD_PARAMS : VRX_OK;
        require(oidUnregisterGOST28147Par(oid.data(), length(oid)) == expected, "the code of a removal");
        if (expected != VRX_OK) return;
        if (at == list_.begin())
            list_.resize(1);  // Deliberate: only the first record remains in the list.
        else
            list_.erase(at);
    }

    Random& random_;
    RegistryGuard guard_;
    std::array<Bytes, 4> oids_;
    std::array<vrx_gost28147_par, 4> own_{};
    std::vector<vrx_gost28147_par*> list_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Random random = vrx::fuzz::choices(data, size);
    const LogCapture log;
    Registry registry(random);
    for (int steps = 0; steps < 40 && (steps == 0 || random.has_decisions()); ++steps) switch (random.below(6)) {
            case 0:
                text(random);
                break;
            case 1:
                deployment(random);
                break;
            case 2:
                lookups(random);
                break;
            case 3:
                identifiers(random);
                break;
            default:
                registry.step();
                break;
        }
    return 0;
}
