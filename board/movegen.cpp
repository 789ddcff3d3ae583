#include "board/movegen.h"

#include "board/attacks.h"

namespace vorn {

namespace {

inline MoveEntry* emit(MoveEntry* list, int from, int to, int mover, int victim) {
    list->move = encode_move(from, to);
    list->mover = uint8_t(mover);
    list->victim = uint8_t(victim);
    return list + 1;
}

inline Bitboard ep_bit(const Position& pos) {
    return pos.ep_square < 64 ? square_bit(pos.ep_square) : 0;
}

// Captures of pawns whose target squares are `to_set`; from = to - shift.
inline MoveEntry* emit_pawn_captures(const Position& pos, Bitboard to_set, int shift, int mover,
                                     MoveEntry* list) {
    for (; to_set; to_set &= to_set - 1) {
        int to = lowest_square(to_set);
        list = emit(list, to - shift, to, mover, pos.board[to]);
    }
    return list;
}

// Slider captures: targets on the piece's lines with nothing in between.
inline MoveEntry* emit_slider_captures(const Position& pos, const uint8_t* squares,
                                       const Bitboard* masks, Bitboard targets, Bitboard occupancy,
                                       int mover, MoveEntry* list) {
    for (; *squares != kNoSquare; squares++) {
        int from = *squares;
        for (Bitboard t = masks[from] & targets; t; t &= t - 1) {
            int to = lowest_square(t);
            if (!(between[from][to] & occupancy)) list = emit(list, from, to, mover, pos.board[to]);
        }
    }
    return list;
}

inline MoveEntry* emit_targets(const Position& pos, int from, Bitboard targets, int mover,
                               MoveEntry* list) {
    for (; targets; targets &= targets - 1) {
        int to = lowest_square(targets);
        list = emit(list, from, to, mover, pos.board[to]);
    }
    return list;
}

// Quiet targets: nothing stands on them.
inline MoveEntry* emit_quiet(int from, Bitboard targets, int mover, MoveEntry* list) {
    for (; targets; targets &= targets - 1) list = emit(list, from, lowest_square(targets), mover, 0);
    return list;
}

}  // namespace

MoveEntry* gen_pawn_captures(const Position& pos, int side, MoveEntry* list) {
    Bitboard targets = pos.pieces[side ^ 1][0] | ep_bit(pos);
    int mover = piece_code(side, kPawn);
    if (side == kWhite) {
        Bitboard pawns = pos.pieces[kWhite][kPawn] & ~(rank_bits(6) | rank_bits(7));
        list = emit_pawn_captures(pos, ((pawns & ~file_bits(0)) << 7) & targets, 7, mover, list);
        list = emit_pawn_captures(pos, ((pawns & ~file_bits(7)) << 9) & targets, 9, mover, list);
    } else {
        Bitboard pawns = pos.pieces[kBlack][kPawn] & ~(rank_bits(1) | rank_bits(0));
        list = emit_pawn_captures(pos, ((pawns & ~file_bits(7)) >> 7) & targets, -7, mover, list);
        list = emit_pawn_captures(pos, ((pawns & ~file_bits(0)) >> 9) & targets, -9, mover, list);
    }
    return list;
}

MoveEntry* gen_piece_captures(const Position& pos, int side, MoveEntry* list) {
    Bitboard targets = pos.pieces[side ^ 1][0];
    Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    const auto& lists = pos.piece_list[side];
    for (const uint8_t* s = lists[kKnight]; *s != kNoSquare; s++)
        list = emit_targets(pos, *s, knight_attacks[*s] & targets, piece_code(side, kKnight), list);
    list = emit_slider_captures(pos, lists[kBishop], diagonal_mask, targets, occupancy,
                                piece_code(side, kBishop), list);
    list = emit_slider_captures(pos, lists[kRook], orthogonal_mask, targets, occupancy,
                                piece_code(side, kRook), list);
    int queen = piece_code(side, kQueen);
    for (const uint8_t* s = lists[kQueen]; *s != kNoSquare; s++) {
        int from = *s;
        for (Bitboard t = (diagonal_mask[from] | orthogonal_mask[from]) & targets; t; t &= t - 1) {
            int to = lowest_square(t);
            if (!(between[from][to] & occupancy)) list = emit(list, from, to, queen, pos.board[to]);
        }
    }
    for (const uint8_t* s = lists[kKing]; *s != kNoSquare; s++)
        list = emit_targets(pos, *s, king_attacks[*s] & targets, piece_code(side, kKing), list);
    return list;
}

MoveEntry* gen_promotions(const Position& pos, int side, MoveEntry* list) {
    Bitboard pawns = pos.pieces[side][kPawn] & (side == kWhite ? rank_bits(6) : rank_bits(1));
    if (!pawns) return list;
    // A promotion to a type whose square list is already full is not
    // generated: the new piece would have nowhere to be recorded.
    static constexpr Move kPromotionBits[4] = {kPromoteQueen, kPromoteKnight, kPromoteBishop,
                                               kPromoteRook};
    static constexpr int kPromotionTypes[4] = {kQueen, kKnight, kBishop, kRook};
    Move allowed[4];
    int allowed_count = 0;
    for (int i = 0; i < 4; i++)
        if (pos.piece_list[side][kPromotionTypes[i]][kMaxPiecesPerList - 1] == kNoSquare)
            allowed[allowed_count++] = kPromotionBits[i];

    int mover = piece_code(side, kPawn);
    int step = side == kWhite ? 8 : -8;
    auto emit_all = [&](int from, int to) {
        for (int i = 0; i < allowed_count; i++) {
            list->move = Move(encode_move(from, to) | allowed[i]);
            list->mover = uint8_t(mover);
            list->victim = pos.board[to];
            list++;
        }
    };
    auto enemy_on = [&](int square) {
        int code = pos.board[square];
        return code != 0 && piece_side(code) != side;
    };
    for (; pawns; pawns &= pawns - 1) {
        int from = lowest_square(pawns);
        int ahead = from + step;
        if (pos.board[ahead] == 0) emit_all(from, ahead);
        if (file_of(from) != 0 && enemy_on(ahead - 1)) emit_all(from, ahead - 1);
        if (file_of(from) != 7 && enemy_on(ahead + 1)) emit_all(from, ahead + 1);
    }
    return list;
}

MoveEntry* gen_quiet_moves(const Position& pos, int side, MoveEntry* list) {
    Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    Bitboard empty = ~occupancy;
    const auto& lists = pos.piece_list[side];

    int pawn = piece_code(side, kPawn);
    int step = side == kWhite ? 8 : -8;
    int second_rank = side == kWhite ? 1 : 6;
    int last_ranks_low = side == kWhite ? 6 : 0;  // seventh and eighth rank of the side
    for (const uint8_t* s = lists[kPawn]; *s != kNoSquare; s++) {
        int from = *s;
        int rank = rank_of(from);
        if (rank == last_ranks_low || rank == last_ranks_low + 1) continue;
        int ahead = from + step;
        if (pos.board[ahead]) continue;
        list = emit(list, from, ahead, pawn, 0);
        if (rank == second_rank && !pos.board[ahead + step]) list = emit(list, from, ahead + step, pawn, 0);
    }
    for (const uint8_t* s = lists[kKnight]; *s != kNoSquare; s++)
        list = emit_quiet(*s, knight_attacks[*s] & empty, piece_code(side, kKnight), list);
    for (const uint8_t* s = lists[kBishop]; *s != kNoSquare; s++)
        list = emit_quiet(*s, bishop_attacks(*s, occupancy) & empty, piece_code(side, kBishop), list);
    for (const uint8_t* s = lists[kRook]; *s != kNoSquare; s++)
        list = emit_quiet(*s, rook_attacks(*s, occupancy) & empty, piece_code(side, kRook), list);
    for (const uint8_t* s = lists[kQueen]; *s != kNoSquare; s++)
        list = emit_quiet(*s, queen_attacks(*s, occupancy) & empty, piece_code(side, kQueen), list);
    int king = piece_code(side, kKing);
    for (const uint8_t* s = lists[kKing]; *s != kNoSquare; s++)
        list = emit_quiet(*s, king_attacks[*s] & empty, king, list);

    // Castling, king side first. A right still held means king and rook
    // stand on their squares; attacks on the king's way are is_legal's test.
    if (!(pos.castling & (side == kWhite ? kCastleWhiteKing | kCastleWhiteQueen
                                         : kCastleBlackKing | kCastleBlackQueen)))
        return list;
    for (int right = castle_right(side, true); right <= castle_right(side, false); right++) {
        if ((pos.castling & (1 << right)) && !(occupancy & pos.castle_empty[right]))
            *list++ = MoveEntry{pos.castle_move[right], 0, uint8_t(king), 0};
    }
    return list;
}

MoveEntry* generate_all(const Position& pos, MoveEntry* list) {
    int side = pos.side_to_move;
    list = gen_pawn_captures(pos, side, list);
    list = gen_piece_captures(pos, side, list);
    list = gen_promotions(pos, side, list);
    list = gen_quiet_moves(pos, side, list);
    list->move = kMoveListEnd;
    return list;
}

}  // namespace vorn
