// Comb tables: precomputed multiples of the base points, and the digits of a scalar that index them.
#ifndef VRX_ECC_FIELD_COMB_TABLES_HPP
#define VRX_ECC_FIELD_COMB_TABLES_HPP

#include "ecc/field/curves.hpp"
#include "ecc/field/limbs52.hpp"

namespace vrx::field {

// The table for eight lanes: an odd k below 2^256 is the sum of d_i 16^i over 64 odd digits d_i from -15 to 15. They
// are d_i = 2 n_i - 15, where n_i are the nibbles of k' = (k - 1) / 2 + 2^255. Lane l uses the digits 8l to 8l + 7, one
// in each round.
inline constexpr std::size_t comb_rounds = 8;
inline constexpr std::size_t comb_entries = 8;

/**
 * word[r][e][0][i][l] is limb i of the x-coordinate of (2e + 1) 16^(8l + r) G, and word[r][e][1][i][l] of its
 * y-coordinate.
 */
struct LaneTable {
    std::uint64_t word[comb_rounds][comb_entries][2][limb_count][lane_count];
};

// The table for one point at a time: k is the sum of +-2^i over 264 bits. The sign is + if bit i of k' = (k + 2^264 -
// 1) / 2 modulo q is set. In step s, block B uses the bits 4 (6 B + t) + s for t from 0 to 5. Steps run from s = 3 down
// to s = 0, with a doubling between two steps.
inline constexpr std::size_t comb_steps = 4;
inline constexpr std::size_t comb_teeth = 6;
inline constexpr std::size_t comb_blocks = 11;
inline constexpr std::size_t block_entries = std::size_t{1} << (comb_teeth - 1);

/**
 * word[B][e] is the point (x, y) that is the sum of +-2^(4 (6 B + t)) G for t from 0 to 5. The sign is + for t = 5, and
 * for each other t if bit t of e is set. Coordinates are scalar elements.
 */
struct WordTable {
    std::uint64_t word[comb_blocks][block_entries][2][4];
};

struct CombTables {
    LaneTable lanes;
    WordTable words;
};

extern const CombTables comb_tables_test;
extern const CombTables comb_tables_a;
extern const CombTables comb_tables_b;
extern const CombTables comb_tables_c;

constexpr const CombTables& comb_tables(CurveTest) { return comb_tables_test; }
constexpr const CombTables& comb_tables(CurveA) { return comb_tables_a; }
constexpr const CombTables& comb_tables(CurveB) { return comb_tables_b; }
constexpr const CombTables& comb_tables(CurveC) { return comb_tables_c; }

}  // namespace vrx::field

#endif
