#include "book/book_probe.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "book/book_index.h"
#include "book/book_key.h"
#include "book/book_settings.h"
#include "core/output.h"

namespace vorn {

namespace {

// Games the mover must not have lost before a move counts at all.
constexpr int kMinScoringGames = 8;

struct Candidate {
    Move move;
    double weight;
};

void print_book_line(Move move, const BookEntry& entry, double score, double weight) {
    char text[kMoveTextSize];
    send_linef("%s   %5d - %5d - %5d   %0.3f  %0.3f\n", move_to_text(move, text), entry.stm_losses,
               entry.stm_wins, entry.draws, score, weight);
}

}  // namespace

Move book_probe(Position& pos, bool verbose) {
    if (book_count == 0 || !pos.owner || pos.owner->history_count + 1 >= kMaxHistory) return kNoMove;
    MoveEntry moves[kMaxMoves];
    generate_all(pos, moves);
    if (pos.owner->history_count >= 1 && !book_lookup(compute_book_key(pos))) return kNoMove;

    const int side = pos.side_to_move;
    const double threshold = side == kWhite ? 0.45 : 0.41;
    double max_weight = 0.0;
    Candidate candidates[kMaxMoves];
    int candidate_count = 0;

    for (const MoveEntry* m = moves; m->move != kMoveListEnd; ++m) {
        if (!is_legal(pos, side, m->move)) continue;
        make_move(pos, m->move);
        const BookEntry* found = book_lookup(compute_book_key(pos));
        unmake_move(pos);
        if (!found || found->stm_losses + found->draws == 0) continue;
        // In the new position the side to move is the opponent: its losses
        // are the mover's wins.
        const double points = found->stm_losses + 0.5 * found->draws;
        const double score = points / (found->stm_wins + found->stm_losses + found->draws);
        const double weight = std::log(points);
        if (found->stm_losses + found->draws > kMinScoringGames && score > threshold) {
            candidates[candidate_count++] = Candidate{m->move, weight};
            if (weight > max_weight) max_weight = weight;
        }
        if (verbose) print_book_line(m->move, *found, score, weight);
    }

    const int variety = book_settings.book_variety < 1 ? 1 : book_settings.book_variety;
    Move choice = kNoMove;
    double best = 0.0;
    for (int i = 0; i < candidate_count; ++i) {
        const int r = std::rand() % variety;
        const double value = candidates[i].weight + 0.02 * r * max_weight;
        if (value > best) {
            best = value;
            choice = candidates[i].move;
        }
    }
    if (verbose && choice != kNoMove) {
        char text[kMoveTextSize];
        send_linef("book move is %s\n", move_to_text(choice, text));
    }
    return choice;
}

}  // namespace vorn
