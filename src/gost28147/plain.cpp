#include "gost28147/plain.hpp"

#include "gost28147/in_order.hpp"

namespace vrx::gost28147::plain {
namespace {

/** The cipher for one block, with look-ups. */
struct LookUps {
    Cipher c;

    [[nodiscard]] Block encrypt(Block b) const { return gost28147::encrypt(b, c.key, c.table); }
    [[nodiscard]] Block decrypt(Block b) const { return gost28147::decrypt(b, c.key, c.table); }
    [[nodiscard]] Block mac(Block b) const { return mac_rounds(b, c.key, c.table); }
};

}  // namespace

void run(Mode mode, const Run& run) { in_order(mode, run, LookUps{run.cipher}); }

}  // namespace vrx::gost28147::plain
