#include "gost28147/block.hpp"

namespace vrx::gost28147 {

Block encrypt(Block b, Key key, const vrx_tz& table) {
    const Block r = rounds<encryption_order>(b, key, table);
    return {r.n2, r.n1};
}

Block decrypt(Block b, Key key, const vrx_tz& table) {
    const Block r = rounds<decryption_order>(b, key, table);
    return {r.n2, r.n1};
}

Block mac_rounds(Block b, Key key, const vrx_tz& table) { return rounds<mac_order>(b, key, table); }

}  // namespace vrx::gost28147
