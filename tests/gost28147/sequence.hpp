// Sequences of calls on a context, chosen at random or by a fuzzer.
#ifndef VRX_TESTS_GOST28147_SEQUENCE_HPP
#define VRX_TESTS_GOST28147_SEQUENCE_HPP

#include <array>
#include <cstring>

#include "gost28147/twin_context.hpp"

namespace vrx::test {

/** Chooses valid and invalid calls of every kind at random, and runs them on the library and on the model. */
class Sequence {
public:
    explicit Sequence(Random& random) : random_(random), twins_(random) {}

    /** False after a difference between library and model. */
    bool open() {
        const TestTable& table = any_table(random_);
        const bool deployed = random_.below(10) != 0;
        if (random_.below(4) != 0)
            return twins_.init(table, deployed, direction(), mode(), meshing(), random_.below(3) != 0).has_value();
        OldParams p;
        p.mode = mode();
        p.aux1 = random_.word();
        p.aux2 = random_.word();
        p.key_meshing = meshing();
        p.first = random_.word() | 1;
        p.second = random_.word() | 0x80000000;
        p.key_length = 1 + random_.below(64);  // its value is ignored
        p.table_length = random_.below(2) != 0 ? random_.word() : 0;
        switch (random_.below(16)) {
            case 0:
                p.first = 0;
                break;
            case 1:
                p.second = 0;
                break;
            case 2:
                p.key_length = 0;
                break;
            case 3:
                p.null_key_data = true;
                break;
            case 4:
                p.null_table_data = true;
                break;
            default:
                break;
        }
        return twins_.old_init(table, deployed, direction(), p).has_value();
    }

    bool step() {
        // The count exceeds a section only if it started at a value that is not a multiple of 8.
        // vrx_crpt_context_engine() does not support such counts.
        if (twins_.record().mesh_count > VRX_MESHING_SECTION)
            twins_.poke([](vrx_crpt_ctx& ctx) { ctx.mesh_count = 0; });
        switch (random_.below(24)) {
            case 0:
                return twins_.reset().has_value();
            case 1:
                return twins_.final().has_value();
            case 2:
                return twins_.final().has_value() && twins_.final().has_value();
            case 3:
                return poke();
            case 4:
                return size_query();
            case 5:
                return run(static_cast<Stream>(random_.below(5)));
            case 6:
                return twins_.make_key_meshing().has_value();
            case 7:
                return open();
            default:
                return run(Stream::update);
        }
    }

private:
    int direction() { return rubbish_above(random_, random_.coin() ? 0 : 1 + random_.below(255)); }
    std::uint32_t mode() {
        constexpr std::array others{0u, 6u, 257u, 0x102u, 0x10003u, 0x80000004u, 0xFFFFFF05u, 0xFFFFFFFFu};
        const std::uint32_t drawn = random_.below(18);
        return drawn < 15 ? 1 + drawn % 5 : others[random_.below(others.size())];
    }
    std::uint32_t meshing() {
        constexpr std::array others{0u, 2u, 0x101u, 0xFFFFFFFFu};
        return random_.coin() ? 1 : others[random_.below(others.size())];
    }

    /** Changes fields that a caller may change, to valid values. */
    bool poke() {
        const std::uint32_t value = random_.word();
        const Bytes bytes = random_.bytes(32);
        const std::uint32_t which = random_.below(12);
        const std::uint32_t step = random_.below(4) == 0 ? 1 : 8;
        const std::uint32_t near = random_.coin() ? VRX_MESHING_SECTION - step * random_.below(4) : 0;
        twins_.poke([&](vrx_crpt_ctx& r) {
            switch (which) {
                case 0:
                    r.flags = static_cast<std::uint8_t>(value & 3);
                    break;
                case 1:
                    r.flags = static_cast<std::uint8_t>(value);
                    break;
                case 2:
                case 3:
                    r.mesh_count = near;
                    break;
                case 4:
                    r.block_len = value & 7;
                    break;
                case 5:
                    r.initialised = static_cast<std::uint8_t>(value % 3 == 0 ? 0 : value | 1);
                    break;
                case 6:
                    r.direction = static_cast<std::uint8_t>(value % 3 == 0 ? 0 : value);
                    break;
                case 7:
                    r.table.initialised = static_cast<std::uint8_t>(value % 4 == 0 ? 0 : value | 1);
                    break;
                case 8:
                    r.key_meshing = value % 2;
                    break;
                case 9:
                    std::memcpy(r.iv, bytes.data(), 8);
                    std::memcpy(r.mac, bytes.data() + 8, 8);
                    break;
                case 10:
                    std::memcpy(r.block, bytes.data(), 8);
                    break;
                default:
                    std::memcpy(r.key, bytes.data(), 32);
                    break;
            }
        });
        return true;
    }

    bool size_query() {
        Buffers at;
        at.in = 100;
        // A query for the size uses only the length of the input, not its bytes.
        at.length = twins_.record().mode == VRX_MODE_IMITO ? 5 : random_.coin() ? random_.below(100) : 0xFFFFFFF0;
        at.capacity = random_.word();
        at.null_out_data = true;
        return twins_.run(Stream::update, at).has_value();
    }

    bool run(Stream stream) {
        const vrx_crpt_ctx& r = twins_.record();
        const bool by_engine =
            stream == Stream::engine ||
            (stream == Stream::update && (r.mode < VRX_MODE_GAMM || r.mode > VRX_MODE_GFB) && r.mode != VRX_MODE_IMITO);
        const bool feedback = stream == Stream::cfb || (stream == Stream::update && r.mode == VRX_MODE_GFB);

        Buffers at;
        at.in = 3000 + random_.below(8);
        switch (random_.below(8)) {
            case 0:
                at.length = random_.below(2600);
                break;
            case 1:
                at.length = 8 * random_.below(200);
                break;
            case 2:
                at.length = 0;
                break;
            default:
                at.length = random_.below(40);
                break;
        }
        if (stream == Stream::engine && random_.below(4) != 0) at.length = at.length / 8 * 8;
        at.out = place(at, by_engine, feedback, stream == Stream::engine || r.block_len == 0);
        at.capacity = at.length + 8;
        switch (random_.below(12)) {
            case 0:
                at.capacity = at.length;
                break;
            case 1:
                at.capacity = at.length / 8 * 8;
                break;
            case 2:
                at.capacity = random_.below(at.length + 1);
                break;
            case 3:
                at.null_in = stream != Stream::engine;
                break;
            case 4:
                at.null_in_data = stream != Stream::engine;
                break;
            case 5:
                at.null_out = stream != Stream::engine;
                break;
            case 6:
                at.null_out_data = stream != Stream::engine;
                break;
            case 7:
                at.one_record = at.in == at.out && r.block_len == 0;
                break;
            default:
                break;
        }
        // vrx_crpt_context_engine() checks the capacity only for the first section, so the output has room for the
        // whole input.
        return twins_.run(stream, at).has_value();
    }

    /** An offset for the output: separate, in place, or with an overlap that has a defined result. */
    std::size_t place(const Buffers& at, bool by_engine, bool feedback, bool nothing_held) {
        if (random_.below(3) == 0) return 5600 - at.in > at.length ? 5600 + random_.below(8) : 0;
        if (by_engine && !nothing_held) return 0;
        if (random_.coin()) return at.in;
        const std::uint32_t distance = random_.below(60);
        if (random_.coin()) return at.in - distance;
        return at.in + (feedback ? distance : 8 * (distance / 8));
    }

    Random& random_;
    TwinContext twins_;
};

}  // namespace vrx::test

#endif
