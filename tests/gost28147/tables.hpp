// The substitution tables with which the cipher is tested, each with the corresponding table of the model.
#ifndef VRX_TESTS_GOST28147_TABLES_HPP
#define VRX_TESTS_GOST28147_TABLES_HPP

#include <memory>
#include <string>
#include <vector>

#include "gost28147/model.hpp"
#include "support/random.hpp"

namespace vrx::test {

struct TestTable {
    std::string name;
    vrx_tz record;
    model::Substitution substitution;

    [[nodiscard]] model::Table model() const { return {&substitution, record.initialised}; }
};

/** The library's table of a set of RFC 4357. */
const vrx_tz* built_in(const std::string& name);

/** A set of RFC 4357: the library's own table, and the published S-boxes. */
TestTable published_table(const std::string& name);

/** Caller-supplied S-boxes, deployed by the library. */
TestTable deployed_table(const std::string& name, const model::SBoxes& boxes);

/** All published sets, two of random S-boxes, and two of random bytes that no S-boxes produced. */
const std::vector<TestTable>& test_tables();

const TestTable& any_table(Random& random);

/** A key at any address, as the type that the library takes. */
inline const std::uint32_t* key_at(const std::uint8_t* bytes) {
    return static_cast<const std::uint32_t*>(static_cast<const void*>(bytes));
}
inline std::uint32_t* key_at(std::uint8_t* bytes) { return static_cast<std::uint32_t*>(static_cast<void*>(bytes)); }

/** Two copies of the same bytes: one for the library, and one for the model. */
struct TwinMemory {
    Bytes library;
    Bytes model;

    explicit TwinMemory(std::size_t size) : library(size), model(size) {}
    void refill(Random& random) {
        random.fill(library);
        model = library;
    }
    [[nodiscard]] bool equal() const { return library == model; }
    /** The position of the first difference, for messages. */
    [[nodiscard]] std::string difference() const;
};

/** A number whose low 8 bits are `low` and whose other bits are random. */
inline int rubbish_above(Random& random, unsigned low) {
    return static_cast<int>((random.word() & 0xFFFFFF00u) | (low & 0xFFu));
}

}  // namespace vrx::test

#endif
