// The cipher engines: vectorised or interleaved implementations of runs of blocks. The library selects one of them.
#ifndef VRX_GOST28147_ENGINE_LIST_HPP
#define VRX_GOST28147_ENGINE_LIST_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/choice.hpp"
#include "frame/engines.hpp"
#include "gost28147/mode.hpp"

namespace vrx::gost28147 {

/** A method by which an engine runs a parallelizable mode. */
struct Way {
    /** The minimum number of blocks. For fewer blocks, the set-up takes longer than the method saves. */
    std::size_t fewest;
    /** Returns false, with nothing written, if the method does not support the table. */
    bool (*run)(Mode mode, const Run& run) noexcept;
};

struct Engine : cpu::EngineInfo {
    /** The methods in the order of preference. The last one supports every run. */
    std::array<Way, 3> ways;
    /**
     * Runs sections of 128 blocks, and meshes `key` and the register before each section. Returns false, with nothing
     * written, if it does not support the table. May be nullptr.
     */
    bool (*sections)(Mode mode, const Run& run, std::uint32_t* key) noexcept;
    /** Runs a chained mode on at least one block. `out` may overlap `in` in any way. */
    void (*chain)(Mode mode, const Run& run) noexcept;

    /** Runs a parallelizable mode. `out` is `in`, precedes it, or starts at least widest_step blocks after it. */
    void parallel(Mode mode, const Run& run) const noexcept {
        for (const Way& way : ways)
            if (run.blocks >= way.fewest && way.run(mode, run)) return;
    }
};

/** The maximum number of blocks that an engine reads before it writes the first block. */
inline constexpr std::size_t widest_step = 128;

/** Makes four look-ups in each round, for any table. */
bool look_up(Mode mode, const Run& run) noexcept;
/** Supports tables made from S-boxes. Looks up S-boxes with shuffles of planes of bytes. */
bool shuffle_planes(Mode mode, const Run& run) noexcept;
/** Supports any table. Looks up its entries with permutes of planes of bytes. */
bool permute_planes(Mode mode, const Run& run) noexcept;
/** Supports tables made from S-boxes. Looks up S-boxes with permutes of the bytes of words. */
bool permute_words(Mode mode, const Run& run) noexcept;
bool permute_sections(Mode mode, const Run& run, std::uint32_t* key) noexcept;
void chain_baseline(Mode mode, const Run& run) noexcept;
void chain_bmi(Mode mode, const Run& run) noexcept;
/** Permutes for tables made from S-boxes. Uses look-ups for other tables, or scans with VRX_CONSTANT_TIME. */
void chain_permutes(Mode mode, const Run& run) noexcept;

#ifndef VRX_CONSTANT_TIME

inline constexpr std::array<Engine, 4> engines{{
    {cpu::named(cpu::cipher_engines, "vbmi_chain"),
     {{{5, permute_words}, {32, permute_planes}, {0, look_up}}},
     permute_sections,
     chain_permutes},
    {cpu::named(cpu::cipher_engines, "vbmi"),
     {{{5, permute_words}, {32, permute_planes}, {0, look_up}}},
     permute_sections,
     chain_bmi},
    {cpu::named(cpu::cipher_engines, "avx2"), {{{32, shuffle_planes}, {0, look_up}}}, nullptr, chain_bmi},
    {cpu::named(cpu::cipher_engines, "baseline"), {{{0, look_up}}}, nullptr, chain_baseline},
}};

#else

// No address depends on a secret. With these engines, `chain` runs every mode, block by block.

/** The same as chain_permutes, for runs of few blocks. */
bool permute_in_order(Mode mode, const Run& run) noexcept;
/** Supports tables made from S-boxes. Looks up S-boxes with shuffles of the nibbles of words. */
bool shuffle_words(Mode mode, const Run& run) noexcept;
/** The same for one block at a time. Calls chain_scan_table for other tables. */
void chain_shuffle(Mode mode, const Run& run) noexcept;
/** Supports tables made from S-boxes. Reads all outputs of each S-box. */
bool scan_sboxes(Mode mode, const Run& run) noexcept;
/** The same for one block at a time. Calls chain_scan_table for other tables. */
void chain_scan(Mode mode, const Run& run) noexcept;
/** Reads all entries of any table. */
bool scan_table(Mode mode, const Run& run) noexcept;
void chain_scan_table(Mode mode, const Run& run) noexcept;

inline constexpr std::array<Engine, 4> engines{{
    {cpu::named(cpu::cipher_engines, "vbmi"),
     {{{4, permute_words}, {4, permute_planes}, {0, permute_in_order}}},
     permute_sections,
     chain_permutes},
    {cpu::named(cpu::cipher_engines, "avx2"),
     {{{32, shuffle_planes}, {0, shuffle_words}, {0, scan_table}}},
     nullptr,
     chain_shuffle},
    {cpu::named(cpu::cipher_engines, "ssse3"), {{{0, shuffle_words}, {0, scan_table}}}, nullptr, chain_shuffle},
    {cpu::named(cpu::cipher_engines, "baseline"), {{{0, scan_sboxes}, {0, scan_table}}}, nullptr, chain_scan},
}};

#endif

extern cpu::Choice<engines> choice;
/** The selected engine. */
inline const Engine& engine() noexcept { return choice(); }

}  // namespace vrx::gost28147

#endif
