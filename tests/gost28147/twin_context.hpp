// A context of the library and its model, which must agree on everything after every call.
#ifndef VRX_TESTS_GOST28147_TWIN_CONTEXT_HPP
#define VRX_TESTS_GOST28147_TWIN_CONTEXT_HPP

#include <optional>
#include <string>

#include "gost28147/tables.hpp"
#include "support/log_capture.hpp"
#include "vrx/context.h"

namespace vrx::test {

/**
 * Returns the names of the fields that differ, with both values. The text is empty if all bytes of the records are
 * equal.
 */
std::string difference(const vrx_crpt_ctx& actual, const vrx_crpt_ctx& expected);

/** The functions that take a context and buffers. */
enum class Stream { update, cnt, cfb, imito, engine };

/** The offsets of a call's buffers in the twin memory, and which of them are NULL. */
struct Buffers {
    std::size_t in = 0;
    std::size_t out = 0;
    std::uint32_t length = 0;
    std::uint32_t capacity = 0;
    bool null_in = false, null_out = false, null_in_data = false, null_out_data = false;
    bool one_record = false;  // the same vrx_data as input and output
};

/** The arguments of the older initialisation other than the table. */
struct OldParams {
    std::uint32_t first = 1;
    std::uint32_t second = 1;
    std::uint32_t mode = 0, aux1 = 0, key_meshing = 0, aux2 = 0;
    std::uint32_t table_length = sizeof(vrx_crpt_table_rec);
    std::uint32_t key_length = VRX_KEY_SIZE;
    bool null_table_data = false, null_key_data = false;
};

class TwinContext {
public:
    /** Both records start from the same random bytes. */
    explicit TwinContext(Random& random, std::size_t memory = 9000);

    // Each of these functions returns the code of the call, or nothing if library and model differ. A difference is
    // reported.
    std::optional<int> init(const TestTable& table, bool deployed, int direction, std::uint32_t mode,
                            std::uint32_t key_meshing, bool with_iv);
    std::optional<int> old_init(const TestTable& table, bool deployed, int direction, OldParams p);
    std::optional<int> reset();
    std::optional<int> final();
    std::optional<int> run(Stream stream, const Buffers& at);
    std::optional<int> make_key_meshing();

    /** Change the same bytes of both records. */
    template <typename Change>
    void poke(Change change) {
        change(library_);
        change(model_.record);
    }
    [[nodiscard]] const vrx_crpt_ctx& record() const { return library_; }
    [[nodiscard]] TwinMemory& memory() { return memory_; }
    /** The output of the last run. */
    [[nodiscard]] std::uint32_t out_length() const { return out_length_; }

private:
    std::optional<int> expect_same(int actual, int expected, const std::string& call);

    Random& random_;
    TwinMemory memory_;
    vrx_crpt_ctx library_;
    model::Substitution first_substitution_;  // the substitution of the random table before the first initialisation
    model::Context model_;
    model::Log log_;
    LogCapture capture_;
    std::uint32_t out_length_ = 0;
};

}  // namespace vrx::test

#endif
