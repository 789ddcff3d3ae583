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

// The least valuable piece of `side` attacking `to`, or 64. Pawns, knights
// and the king come straight from their type bitboards (pieces already used
// in the exchange have been taken out of those); sliders count only with a
// clear line under `occupancy`, so pieces behind a used one join in.
int least_valuable_attacker(const Position& pos, int side, int to, Bitboard occupancy) {
    const Bitboard* p = pos.pieces[side];
    if (Bitboard b = p[kPawn] & pawn_attacks[side ^ 1][to]) return lowest_square(b);
    if (Bitboard b = p[kKnight] & knight_attacks[to]) return lowest_square(b);
    int sq = first_unblocked(p[kBishop] & diagonal_mask[to], to, occupancy);
    if (sq != kNoSquare) return sq;
    sq = first_unblocked(p[kRook] & orthogonal_mask[to], to, occupancy);
    if (sq != kNoSquare) return sq;
    sq = first_unblocked(p[kQueen] & (diagonal_mask[to] | orthogonal_mask[to]), to, occupancy);
    if (sq != kNoSquare) return sq;
    if (Bitboard b = p[kKing] & king_attacks[to]) return lowest_square(b);
    return kNoSquare;
}

// Puts the piece on `from` onto `to` for the exchange: board and its type
// bitboard only. Returns what stood on `to`.
inline int play_capture(Position& pos, int from, int to) {
    int victim = pos.board[to];
    int code = pos.board[from];
    pos.board[to] = uint8_t(code);
    pos.board[from] = 0;
    pos.pieces[piece_side(code)][piece_type(code)] ^= square_bit(from);
    return victim;
}

inline void undo_capture(Position& pos, int from, int to, int victim) {
    int code = pos.board[to];
    pos.board[from] = uint8_t(code);
    pos.board[to] = uint8_t(victim);
    pos.pieces[piece_side(code)][piece_type(code)] ^= square_bit(from);
}

}  // namespace

int see(Position& pos, int side, int from, int to, Bitboard occupancy, bool may_stop) {
    if (from == kNoSquare) {
        from = least_valuable_attacker(pos, side, to, occupancy);
        if (from == kNoSquare) return 0;
    }
    if (piece_type(pos.board[to]) == kKing) return kKingExchangeValue;
    int value = see_value[piece_type(pos.board[to])];
    int victim = play_capture(pos, from, to);
    int result = value - see(pos, side ^ 1, kNoSquare, to, occupancy & ~square_bit(from), true);
    undo_capture(pos, from, to, victim);
    return (result >= 0 || !may_stop) ? result : 0;
}

bool capture_not_losing(Position& pos, Move move) {
    int from = move_from(move), to = move_to(move);
    int mover = pos.board[from];
    int target = pos.board[to];
    int mover_type = piece_type(mover), target_type = piece_type(target);
    if (capture_rank[mover_type] <= capture_rank[target_type] || target_type == kKing) return true;

    int side = piece_side(mover);
    Bitboard occupancy = (pos.pieces[0][0] | pos.pieces[1][0]) & ~square_bit(from);
    play_capture(pos, from, to);
    int loss = 0;
    int recapturer = least_valuable_attacker(pos, side ^ 1, to, occupancy);
    if (recapturer != kNoSquare) {
        if (mover_type == kKing) {
            loss = kKingExchangeValue;
        } else {
            int taken = play_capture(pos, recapturer, to);
            int gain = see(pos, side, kNoSquare, to, occupancy & ~square_bit(recapturer), true);
            undo_capture(pos, recapturer, to, taken);
            loss = see_value[mover_type] - gain;
            if (loss < 0) loss = 0;
        }
    }
    undo_capture(pos, from, to, target);
    return see_value[target_type] - loss >= -74;
}

}  // namespace vorn
