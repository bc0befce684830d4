// The comb tables of the four curves.
#include "ecc/field/comb_tables.hpp"

namespace vrx::field {

// Each file holds the two tables of a curve, each followed by a comma.
constinit const CombTables comb_tables_test = {
#include "ecc/field/tables/comb_test.inc"
};
constinit const CombTables comb_tables_a = {
#include "ecc/field/tables/comb_a.inc"
};
constinit const CombTables comb_tables_b = {
#include "ecc/field/tables/comb_b.inc"
};
constinit const CombTables comb_tables_c = {
#include "ecc/field/tables/comb_c.inc"
};

}  // namespace vrx::field
