#include "gost28147/twin_context.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace vrx::test {
namespace {

struct Field {
    const char* name;
    std::size_t at, size;
};

constexpr Field fields[] = {{"table", offsetof(vrx_crpt_ctx, table), sizeof(vrx_tz)},
                            {"mode", offsetof(vrx_crpt_ctx, mode), 4},
                            {"aux1", offsetof(vrx_crpt_ctx, aux1), 4},
                            {"key_meshing", offsetof(vrx_crpt_ctx, key_meshing), 4},
                            {"aux2", offsetof(vrx_crpt_ctx, aux2), 4},
                            {"key", offsetof(vrx_crpt_ctx, key), VRX_KEY_SIZE},
                            {"iv", offsetof(vrx_crpt_ctx, iv), 8},
                            {"mesh_count", offsetof(vrx_crpt_ctx, mesh_count), 4},
                            {"block", offsetof(vrx_crpt_ctx, block), 8},
                            {"mac", offsetof(vrx_crpt_ctx, mac), 8},
                            {"block_len", offsetof(vrx_crpt_ctx, block_len), 4},
                            {"initialised", offsetof(vrx_crpt_ctx, initialised), 1},
                            {"direction", offsetof(vrx_crpt_ctx, direction), 1},
                            {"flags", offsetof(vrx_crpt_ctx, flags), 1},
                            {"byte behind the fields", offsetof(vrx_crpt_ctx, flags) + 1, 1}};
static_assert(fields[14].at + 1 == sizeof(vrx_crpt_ctx));

const std::uint8_t* bytes_of(const vrx_crpt_ctx& ctx) {
    return static_cast<const std::uint8_t*>(static_cast<const void*>(&ctx));
}

}  // namespace

std::string difference(const vrx_crpt_ctx& actual, const vrx_crpt_ctx& expected) {
    if (std::memcmp(&actual, &expected, sizeof actual) == 0) return "";
    std::string text;
    for (const Field& field : fields) {
        const std::uint8_t* a = bytes_of(actual) + field.at;
        const std::uint8_t* e = bytes_of(expected) + field.at;
        if (std::memcmp(a, e, field.size) == 0) continue;
        text += std::string(field.name);
        if (field.size <= VRX_KEY_SIZE) text += " is " + hex({a, field.size}) + ", should be " + hex({e, field.size});
        text += "; ";
    }
    return text;
}

TwinContext::TwinContext(Random& random, std::size_t memory)
    : random_(random),
      memory_(memory),
      library_(random.value<vrx_crpt_ctx>()),
      first_substitution_(library_.table),
      model_{library_, &first_substitution_} {
    memory_.refill(random);
    // Do not start from counts that no call can produce.
    poke([](vrx_crpt_ctx& r) {
        r.block_len &= 7;
        r.mesh_count = 0;
    });
}

std::optional<int> TwinContext::expect_same(int actual, int expected, const std::string& call) {
    const std::string logged = capture_.take();
    const std::string record = difference(library_, model_.record);
    const bool same = actual == expected && logged == log_ && record.empty() && memory_.equal();
    EXPECT_TRUE(same) << call << ": code " << actual << ", should be " << expected << "; record: " << record
                      << "; memory: " << memory_.difference() << "; log:\n"
                      << logged << "should be:\n"
                      << log_;
    log_.clear();
    if (!same) return std::nullopt;
    return actual;
}

std::optional<int> TwinContext::init(const TestTable& table, bool deployed, int direction, std::uint32_t mode,
                                     std::uint32_t key_meshing, bool with_iv) {
    vrx_tz record = table.record;
    if (!deployed) record.initialised = 0;
    const std::size_t odd = random_.below(8);
    const Bytes iv = random_.bytes(odd + 8);
    const Bytes key = random_.bytes(odd + 32);
    const std::uint8_t* vector = with_iv ? iv.data() + odd : nullptr;
    const std::uint32_t aux1 = random_.word();
    const std::uint32_t aux2 = random_.word();
    const int actual = vrx_crpt_init_context(&library_, direction, &record, mode, aux1, key_meshing, aux2, vector,
                                             key_at(key.data() + odd));
    const int expected = model::init_context(&model_, direction, &record, table.substitution, mode, aux1, key_meshing,
                                             aux2, vector, key.data() + odd);
    return expect_same(actual, expected, "init");
}

std::optional<int> TwinContext::old_init(const TestTable& table, bool deployed, int direction, OldParams p) {
    vrx_crpt_table_rec record{table.record, p.mode, p.aux1, p.key_meshing, p.aux2};
    if (!deployed) record.table.initialised = 0;
    const std::size_t odd = random_.below(8);
    Bytes key = random_.bytes(odd + 32);
    vrx_data table_data{p.table_length,
                        p.null_table_data ? nullptr : static_cast<std::uint8_t*>(static_cast<void*>(&record))};
    vrx_data key_data{p.key_length, p.null_key_data ? nullptr : key.data() + odd};
    old_crpt_params params{p.first, p.second, &table_data, &key_data, {}};
    random_.fill(params.iv);
    const int actual = old_crpt_init_context(&library_, direction, &params);
    const int expected = model::old_init_context(&model_, direction, &params, table.substitution);
    return expect_same(actual, expected, "old init");
}

std::optional<int> TwinContext::reset() {
    const int actual = vrx_crpt_reset(&library_);
    return expect_same(actual, model::reset(log_, &model_), "reset");
}

std::optional<int> TwinContext::final() {
    const int actual = vrx_crpt_final(&library_);
    return expect_same(actual, model::final(log_, &model_), "final");
}

std::optional<int> TwinContext::make_key_meshing() {
    const int actual = vrx_make_key_meshing(&library_);
    return expect_same(actual, model::make_key_meshing(log_, &model_), "make_key_meshing");
}

std::optional<int> TwinContext::run(Stream stream, const Buffers& at) {
    struct Outcome {
        int rc;
        std::uint32_t in_length, out_length;
    };
    const auto with_buffers = [&](Bytes& bytes, auto function) {
        vrx_data in{at.length, at.null_in_data ? nullptr : bytes.data() + at.in};
        vrx_data out{at.capacity, at.null_out_data ? nullptr : bytes.data() + at.out};
        vrx_data* target = at.one_record ? &in : &out;
        const int rc = function(at.null_in ? nullptr : &in, at.null_out ? nullptr : target);
        return Outcome{rc, in.length, target->length};
    };
    const Outcome actual = with_buffers(memory_.library, [&](const vrx_data* in, vrx_data* out) {
        switch (stream) {
            case Stream::update:
                return vrx_crpt_update(&library_, in, out);
            case Stream::cnt:
                return vrx_crpt_CNT_ctx(&library_, in, out);
            case Stream::cfb:
                return vrx_crpt_CFB_ctx(&library_, in, out);
            case Stream::imito:
                return vrx_crpt_IMITO_ctx(&library_, in);
            default:
                return vrx_crpt_context_engine(&library_, in, out);
        }
    });
    const Outcome expected = with_buffers(memory_.model, [&](const vrx_data* in, vrx_data* out) {
        switch (stream) {
            case Stream::update:
                return model::update(log_, &model_, in, out);
            case Stream::cnt:
                return model::cnt_ctx(log_, &model_, in, out);
            case Stream::cfb:
                return model::cfb_ctx(log_, &model_, in, out);
            case Stream::imito:
                return model::imito_ctx(log_, &model_, in);
            default:
                return model::context_engine(log_, &model_, in, out);
        }
    });
    out_length_ = actual.out_length;
    const bool lengths = actual.in_length == expected.in_length && actual.out_length == expected.out_length;
    const auto rc = expect_same(actual.rc, expected.rc,
                                "stream function " + std::to_string(static_cast<int>(stream)) + " on mode " +
                                    std::to_string(library_.mode) + ", " + std::to_string(at.length) + " bytes at " +
                                    std::to_string(at.in) + " to " + std::to_string(at.out));
    EXPECT_TRUE(lengths) << "output length " << actual.out_length << ", should be " << expected.out_length;
    return lengths ? rc : std::nullopt;
}

}  // namespace vrx::test
