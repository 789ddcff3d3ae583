#include "board/legal_line.h"

#include <bit>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"

namespace vorn {

bool is_legal_move(const Position& pos, Move move) {
    if (move == kNoMove) return false;
    MoveEntry list[kMaxMoves];
    generate_all(pos, list);
    for (const MoveEntry* entry = list; entry->move != kMoveListEnd; ++entry) {
        if (entry->move == move) return is_legal(pos, pos.side_to_move, move);
    }
    return false;
}

namespace {

// Castling is recognised by the generator itself: a king move that is no
// single step, or that lands on its own piece, counts only if the quiet-move
// generator produces it. Such a move is rare enough to afford the list.
bool is_generated_quiet(const Position& pos, Move move) {
    MoveEntry list[kMaxMoves];
    const MoveEntry* end = gen_quiet_moves(pos, pos.side_to_move, list);
    for (const MoveEntry* entry = list; entry != end; ++entry)
        if (entry->move == move) return true;
    return false;
}

bool is_pseudo_legal_pawn_move(const Position& pos, int side, int from, int to, Move move) {
    const int step = pawn_step[side];
    const int target = pos.board[to];
    const bool enemy_target = target != kNoPiece && piece_side(target) != side;
    const bool diagonal = (pawn_attacks[side][from] & square_bit(to)) != 0;
    if (rank_of(to) == (side == kWhite ? 7 : 0)) {
        // Exactly one promotion flag, to a type whose square list has room.
        if (std::popcount(unsigned(move & kPromotionMask)) != 1) return false;
        if (pos.piece_list[side][promotion_type(move)][kMaxPiecesPerList - 1] != kNoSquare) return false;
        return to == from + step ? target == kNoPiece : diagonal && enemy_target;
    }
    if (is_promotion(move)) return false;
    if (to == from + step) return target == kNoPiece;
    if (to == from + 2 * step)
        return rank_of(from) == (side == kWhite ? 1 : 6) && pos.board[from + step] == kNoPiece &&
               target == kNoPiece;
    return diagonal && (enemy_target || to == pos.ep_square);
}

}  // namespace

bool is_pseudo_legal(const Position& pos, Move move) {
    const int side = pos.side_to_move;
    const int from = move_from(move), to = move_to(move);
    const int mover = pos.board[from];
    if (from == to || mover == kNoPiece || piece_side(mover) != side) return false;
    const int type = piece_type(mover);
    if (type == kPawn) return is_pseudo_legal_pawn_move(pos, side, from, to, move);
    if (is_promotion(move)) return false;
    const int target = pos.board[to];
    const bool own_target = target != kNoPiece && piece_side(target) == side;
    const Bitboard to_bit = square_bit(to);
    if (type == kKing && (own_target || !(king_attacks[from] & to_bit))) return is_generated_quiet(pos, move);
    if (own_target) return false;
    const Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    switch (type) {
        case kKnight: return (knight_attacks[from] & to_bit) != 0;
        case kBishop: return (bishop_attacks(from, occupancy) & to_bit) != 0;
        case kRook: return (rook_attacks(from, occupancy) & to_bit) != 0;
        case kQueen: return (queen_attacks(from, occupancy) & to_bit) != 0;
        default: return true;  // a king's single step
    }
}

int legal_line_length(const Position& pos, const uint16_t* line, int max_length) {
    // Played on a copy with a history of its own, so the owner's is untouched.
    BoardHistory history;
    Position copy = pos;
    copy.owner = &history;
    int length = 0;
    if (max_length > kMaxHistory) max_length = kMaxHistory;
    while (length < max_length && is_legal_move(copy, line[length])) make_move(copy, line[length++]);
    return length;
}

}  // namespace vorn
