// Reads an input piece by piece.
#ifndef VRX_APP_PIECES_HPP
#define VRX_APP_PIECES_HPP

#include "io/files.hpp"
#include "io/progress.hpp"

namespace vrx::app {

/** Pass an input to `take` in pieces of at least one byte, as they arrive, and show the progress. */
template <typename Take>
void for_each_piece(Input& input, Piece& piece, const Take& take) {
    Progress progress(input);
    while (const std::size_t got = input.read(piece)) {
        take(std::span(piece).first(got));
        progress.advance(got);
    }
}

}  // namespace vrx::app

#endif
