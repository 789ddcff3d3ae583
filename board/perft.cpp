#include "board/perft.h"

#include "board/make_move.h"
#include "board/movegen.h"
#include "core/output.h"

uint64_t perft(Position& pos, int side, int depth) {
    if (depth <= 0) return 0;
    MoveEntry moves[kMaxMoves];
    generate_all(pos, moves);
    // Pins and check are found once per node; only the moves they affect
    // (and king moves and en passant) go through the full legality test.
    LegalityShortcut shortcut = legality_shortcut(pos, side);
    uint64_t nodes = 0;
    for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) {
        if (!is_legal_with(pos, side, shortcut, m->move)) continue;
        if (depth == 1) {
            nodes++;
        } else {
            make_move(pos, m->move);
            nodes += perft(pos, side ^ 1, depth - 1);
            unmake_move(pos);
        }
    }
    return nodes;
}

void print_perft_result(uint64_t nodes, double seconds) {
    send_linef("visited %0.0f nodes in %0.3f seconds, nps= %0.0f", double(nodes), seconds,
               double(nodes) / (seconds + 0.001));
}
