// Stubs without built-in tables, so engines recover the S-boxes of every table.
#include "prove/blocks.hpp"

#include "tz/sboxes.hpp"

namespace vrx::tz {
const SBoxes* built_in_sboxes(const vrx_tz& /*table*/) noexcept { return nullptr; }
#if !__has_include("gostr3411/wide_table.hpp")
const Wide* built_in_wide(const vrx_tz& /*table*/) noexcept { return nullptr; }
#endif
}  // namespace vrx::tz

#if __has_include("gostr3411/wide_table.hpp")
#include "gostr3411/wide_table.hpp"

namespace vrx::gostr3411 {
const WideTable* built_in_wide_table(const vrx_tz& /*table*/) noexcept { return nullptr; }
}  // namespace vrx::gostr3411
#endif
