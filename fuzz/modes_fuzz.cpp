// Fuzz target: one-shot modes and block functions, with any lengths, flags, missing arguments and defined overlaps. The
// return code, the log and every byte of memory equal those of the slow model.
#include "choices.hpp"
#include "gost28147/twin_call.hpp"

namespace {

using namespace vrx::test;
using vrx::fuzz::require;

constexpr std::size_t in_at = 3000;
constexpr std::size_t longest = 2600;
constexpr std::size_t apart_at = in_at + longest + 100;
constexpr std::size_t iv_at = apart_at + longest + 20;
constexpr std::size_t key_at_most = iv_at + 30;
constexpr std::size_t memory_size = key_at_most + 50;

/**
 * If the output starts after the input, it starts at least one block later, so that each block is read before it is
 * overwritten.
 */
std::size_t place_of_output(Random& random, std::size_t in) {
    const std::uint32_t distance = random.below(random.coin() ? 40 : 2400);
    switch (random.below(4)) {
        case 0:
            return in;
        case 1:
            return in - distance;
        case 2:
            return in + (distance < 8 ? 8 * distance : distance);
        default:
            return apart_at + random.below(8);
    }
}

void leave_something_out(Random& random, Place& at) {
    for (bool* missing :
         {&at.null_table, &at.null_in, &at.null_out, &at.null_iv, &at.null_key, &at.null_in_data, &at.null_out_data})
        *missing = random.below(6) == 0;
}

void whole_buffer(Random& random, TwinMemory& memory, LogCapture& log) {
    const Call call{static_cast<Function>(random.below(7)),
                    rubbish_above(random, random.coin() ? 0 : 1 + random.below(255)),
                    rubbish_above(random, random.below(4)), rubbish_above(random, random.below(7))};
    Place at;
    at.in = in_at + random.below(8);
    at.iv = iv_at + random.below(8);
    at.key = key_at_most + random.below(8);
    at.length = random.below(random.coin() ? 40 : longest);
    if (random.coin()) at.length = at.length / 8 * 8;
    at.out = call.is_mac() ? apart_at + random.below(8) : place_of_output(random, at.in);
    at.capacity = call.is_mac() ? 8 : at.length;
    switch (random.below(8)) {
        case 0:
            at.capacity = random.below(longest);
            break;
        case 1:
            leave_something_out(random, at);
            break;
        case 2:
            at.one_record = !call.is_mac();
            break;
        default:
            break;
    }
    if (at.one_record) at.out = at.in;
    // The next argument lies directly after the output, so an overrun would change it.
    at.capacity = std::min<std::uint32_t>(at.capacity, longest);
    TestTable table = any_table(random);
    if (random.below(8) == 0) table.record.initialised = 0;
    require(expect_equal(memory, log, table, call, at).has_value(), "a mode does what the model does");
}

void one_block(Random& random, TwinMemory& memory) {
    const TestTable& table = any_table(random);
    const std::size_t in = in_at + random.below(8);
    const std::size_t out = random.coin() ? in : in + 8 + random.below(100);
    const std::size_t state = iv_at + random.below(8);
    const std::size_t key = key_at_most + random.below(8);
    const int direction = rubbish_above(random, random.coin() ? 0 : 1 + random.below(255));
    std::uint8_t* a = memory.library.data();
    std::uint8_t* b = memory.model.data();
    const vrx_tz* tz = &table.record;
    const model::Substitution& f = table.substitution;
    switch (random.below(6)) {
        case 0:
            vrx_gost_encr_64_m(a + in, a + out, key_at(a + key), tz);
            model::encr_64(b + in, b + out, b + key, f);
            break;
        case 1:
            vrx_gost_decr_64_m(a + in, a + out, key_at(a + key), tz);
            model::decr_64(b + in, b + out, b + key, f);
            break;
        case 2:
            vrx_gost_imito_64_m(a + in, a + state, key_at(a + key), tz);
            model::imito_64(b + in, b + state, b + key, f);
            break;
        case 3:
            vrx_gost_gamm_64_m(a + in, a + out, a + state, key_at(a + key), tz);
            model::gamm_64(b + in, b + out, b + state, b + key, f);
            break;
        case 4:
            vrx_gost_GFB_64_m(a + in, a + out, a + state, key_at(a + key), tz, direction);
            model::gfb_64(b + in, b + out, b + state, b + key, f, direction);
            break;
        default:
            vrx_gost_cbc_64_m(a + in, a + out, a + state, key_at(a + key), tz, direction);
            model::cbc_64(b + in, b + out, b + state, b + key, f, direction);
            break;
    }
    require(memory.equal(), "a block function does what the model does");
}

void last_block(Random& random, const TwinMemory& memory) {
    struct Split {
        std::array<std::uint8_t, VRX_BLOCK_SIZE> last{1, 2, 3, 4, 5, 6, 7, 8};
        std::uint32_t tail = 9, blocks = 9;
        bool operator==(const Split&) const = default;
    };
    const std::uint32_t length = random.below(longest);
    const int flags = rubbish_above(random, random.below(4));
    const std::uint8_t* data = memory.library.data() + in_at;
    Split actual, expected;
    const int rc = make_last_block(data, length, actual.last.data(), &actual.tail, &actual.blocks, flags);
    require(rc == model::make_last_block(data, length, expected.last.data(), &expected.tail, &expected.blocks, flags) &&
                actual == expected,
            "a length is split like the model splits it");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Random random = vrx::fuzz::choices(data, size);
    vrx::fuzz::choose_engine(random);
    LogCapture log;
    TwinMemory memory(memory_size);
    memory.refill(random);
    for (int steps = 0; steps < 12 && (steps == 0 || random.has_decisions()); ++steps) switch (random.below(8)) {
            case 0:
                last_block(random, memory);
                break;
            case 1:
                one_block(random, memory);
                break;
            default:
                whole_buffer(random, memory, log);
                break;
        }
    return 0;
}
