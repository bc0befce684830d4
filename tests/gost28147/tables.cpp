#include "gost28147/tables.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace vrx::test {

const vrx_tz* built_in(const std::string& name) {
    static const std::map<std::string, const char*> short_names{
        {"id-Gost28147-89-TestParamSet", "tz_test"},      {"id-Gost28147-89-CryptoPro-A-ParamSet", "tz_a"},
        {"id-Gost28147-89-CryptoPro-B-ParamSet", "tz_b"}, {"id-Gost28147-89-CryptoPro-C-ParamSet", "tz_c"},
        {"id-Gost28147-89-CryptoPro-D-ParamSet", "tz_d"}, {"id-GostR3411-94-TestParamSet", "tz_0"},
        {"id-GostR3411-94-CryptoProParamSet", "tz_1"}};
    const char* short_name = short_names.at(name);
    const vrx_tz* table = name.starts_with("id-GostR3411") ? hash_TZ_by_name(short_name) : TZ_by_name(short_name);
    if (table == nullptr) throw std::runtime_error(name + " is not built in");
    return table;
}

TestTable published_table(const std::string& name) {
    return {name, *built_in(name), model::Substitution(model::published_s_boxes().at(name))};
}

TestTable deployed_table(const std::string& name, const model::SBoxes& boxes) {
    vrx_tz record{};
    if (vrx_crpt_deploy_TZ(model::numeric_form(boxes).data(), &record) != VRX_OK)
        throw std::runtime_error("cannot deploy " + name);
    return {name, record, model::Substitution(boxes)};
}

const std::vector<TestTable>& test_tables() {
    static const std::vector<TestTable> tables = [] {
        std::vector<TestTable> all;
        for (const auto& [name, boxes] : model::published_s_boxes()) all.push_back(published_table(name));
        Random random;
        for (const char* name : {"random S-boxes", "more random S-boxes"}) {
            model::SBoxes boxes;
            for (auto& box : boxes)
                for (std::uint8_t& output : box) output = static_cast<std::uint8_t>(random.below(16));
            all.push_back(deployed_table(name, boxes));
        }
        for (const char* name : {"random bytes", "more random bytes"}) {
            auto record = random.value<vrx_tz>();
            record.initialised |= 0x80;  // any value but 0 is a deployed table
            all.push_back({name, record, model::Substitution(record)});
        }
        return all;
    }();
    return tables;
}

const TestTable& any_table(Random& random) {
    return test_tables()[random.below(static_cast<std::uint32_t>(test_tables().size()))];
}

std::string TwinMemory::difference() const {
    const auto [in_library, in_model] = std::ranges::mismatch(library, model);
    if (in_library == library.end()) return "no difference";
    return "byte " + std::to_string(in_library - library.begin()) + " is " + hex({&*in_library, 1}) + ", should be " +
           hex({&*in_model, 1});
}

}  // namespace vrx::test
