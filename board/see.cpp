#include "board/see.h"

#include "board/attacks.h"

namespace vorn {

const int16_t see_value[7] = {0, 100, 330, 330, 530, 1060, 10000};
const int32_t capture_rank[7] = {0, 1, 3, 3, 5, 10, 0};

namespace {

// Lowest-numbered square of `candidates` with nothing between it and `to`.
inline int first_unblocked(Bitboard candidates, int to, Bitboard occupancy) {
    for (; candidates; candidates &= candidates - 1) {
        int sq = lowest_square(candidates);
        if (!(between[sq][to] & occupancy)) return sq;
    }
    return kNoSquare;
}

// The least valuable piece of `side` attacking `to`, or 64, leaving out the
// pieces on `used` (those already in the exchange). Sliders count only with
// a clear line under `occupancy`, so pieces behind a used one join in.
int least_valuable_attacker(const Position& pos, int side, int to, Bitboard occupancy, Bitboard used) {
    const Bitboard* p = pos.pieces[side];
    const Bitboard free = ~used;
    if (Bitboard b = p[kPawn] & free & pawn_attacks[side ^ 1][to]) return lowest_square(b);
    if (Bitboard b = p[kKnight] & free & knight_attacks[to]) return lowest_square(b);
    int sq = first_unblocked(p[kBishop] & free & diagonal_mask[to], to, occupancy);
    if (sq != kNoSquare) return sq;
    sq = first_unblocked(p[kRook] & free & orthogonal_mask[to], to, occupancy);
    if (sq != kNoSquare) return sq;
    sq = first_unblocked(p[kQueen] & free & (diagonal_mask[to] | orthogonal_mask[to]), to, occupancy);
    if (sq != kNoSquare) return sq;
    if (Bitboard b = p[kKing] & free & king_attacks[to]) return lowest_square(b);
    return kNoSquare;
}

// see() for a piece of type `victim` standing on `to` and the pieces on
// `used` gone from the board (and from `occupancy`). The captures are
// followed forward until a side has no attacker left or could take a king,
// then valued backward: each side after the first may stop when going on
// would lose.
int exchange(const Position& pos, int side, int from, int to, int victim, Bitboard occupancy, Bitboard used,
             bool may_stop) {
    int gain[64];  // each capture takes a piece of its own off the board
    int captures = 0, result = 0;
    for (;;) {
        if (from == kNoSquare) {
            from = least_valuable_attacker(pos, side, to, occupancy, used);
            if (from == kNoSquare) break;
        }
        if (victim == kKing) {
            result = kKingExchangeValue;
            break;
        }
        gain[captures++] = see_value[victim];
        victim = piece_type(pos.board[from]);
        used |= square_bit(from);
        occupancy &= ~square_bit(from);
        side ^= 1;
        from = kNoSquare;
    }
    while (captures-- > 0) {
        result = gain[captures] - result;
        if (result < 0 && (captures > 0 || may_stop)) result = 0;
    }
    return result;
}

}  // namespace

int see(const Position& pos, int side, int from, int to, Bitboard occupancy, bool may_stop) {
    return exchange(pos, side, from, to, piece_type(pos.board[to]), occupancy, 0, may_stop);
}

bool capture_not_losing(const Position& pos, Move move) {
    int from = move_from(move), to = move_to(move);
    int mover = pos.board[from];
    int target = pos.board[to];
    int mover_type = piece_type(mover), target_type = piece_type(target);
    if (capture_rank[mover_type] <= capture_rank[target_type] || target_type == kKing) return true;

    // What the opponent wins back on `to` from the capturing piece, free to
    // stop as soon as going on would lose.
    const Bitboard occupancy = (pos.pieces[0][0] | pos.pieces[1][0]) & ~square_bit(from);
    const int loss = exchange(pos, piece_side(mover) ^ 1, kNoSquare, to, mover_type, occupancy,
                              square_bit(from), true);
    return see_value[target_type] - loss >= -74;
}

}  // namespace vorn
