#pragma once
// The score scale shared by the evaluation, the search, the transposition
// table, the tools and the protocol printers. Scores are centipawns from the
// side to move's view and fit in 16 bits; the ends of the range are reserved
// for mates and tablebase results, so that no evaluation can reach them.
//
//   -kInfinite .. mated .. tablebase loss .. evaluations .. tablebase win .. mate .. kInfinite
//
// Plies count from 1 at the root.

namespace vorn {

// Wider than every score a search returns: the full window, "no score yet".
constexpr int kInfinite = 10000;

// The side to move that is checkmated at ply p scores p - kMate; the side
// that gave that mate, one ply earlier, scores kMate - p.
constexpr int kMate = 10000;
constexpr int mated_in(int ply) { return ply - kMate; }
constexpr int mate_in(int ply) { return kMate - ply; }

// Scores beyond +-kMateBound count as mates: the table stores them relative
// to the node, late-move pruning and the root reduction leave alone a node
// whose best so far is mated, and aspiration windows that reach the range
// open fully.
constexpr int kMateBound = 9696;
constexpr bool is_mate_win(int score) { return score > kMateBound; }
constexpr bool is_mated(int score) { return score < -kMateBound - 1; }
constexpr bool is_mate_score(int score) { return is_mate_win(score) || is_mated(score); }

// A tablebase win at ply p scores kTbWin - 1 - p, a loss p - kTbWin: below
// every mate, above every evaluation. A won or lost tablebase root is shown
// as +-kTbWin unless the search finds a mate.
constexpr int kTbWin = 9800;
constexpr int tb_win_in(int ply) { return kTbWin - 1 - ply; }
constexpr int tb_loss_in(int ply) { return ply - kTbWin; }

// From here on UCI prints "mate N" (N in moves) instead of "cp". One point
// below it a published result counts as a mate that a deeper iteration's
// ordinary score does not replace, and that the tablebase correction of a
// printed score leaves alone.
constexpr int kMateShown = 9900;
constexpr int kMateKept = kMateShown - 1;
constexpr int mate_moves(int score) { return (kMate - score) / 2; }    // score >= kMateShown
constexpr int mated_moves(int score) { return (score + kMate + 1) / 2; }  // score < -kMateShown

// A mate or tablebase score read from the table ends a PV node deep in the
// tree: the exact line no longer matters there, only the outcome.
constexpr bool is_decisive(int score) { return score < -8999 || score > 9001; }

// Ordering score of a root move not yet searched in the running iteration:
// below every search score, minus the number searched so far, so that the
// moves keep their order behind the ones already searched.
constexpr int kRootUnsearched = -11000;

// Mate scores go into the table as distances from the storing node and come
// back as distances from the probing node's ply.
constexpr int score_to_tt(int score, int ply) {
    return is_mated(score) ? score - ply : is_mate_win(score) ? score + ply : score;
}
constexpr int score_from_tt(int score, int ply) {
    return is_mated(score) ? score + ply : is_mate_win(score) ? score - ply : score;
}

}  // namespace vorn
