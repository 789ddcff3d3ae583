#include "board/make_move.h"

#include <cassert>
#include <utility>

#include "board/attacks.h"
#include "board/position_check.h"

namespace vorn {

MoveTraceHook move_trace_hook = nullptr;

namespace {

// Moves the piece on `from` to the empty square `to`: board, square list (in
// place, so list order is kept), bitboards. Keys are the caller's.
inline void relocate(Position& pos, int code, int from, int to) {
    int side = piece_side(code), type = piece_type(code);
    pos.board[to] = uint8_t(code);
    pos.board[from] = 0;
    uint8_t* s = pos.piece_list[side][type];
    while (*s != from) s++;
    *s = uint8_t(to);
    Bitboard change = square_bit(from) | square_bit(to);
    pos.pieces[side][0] ^= change;
    pos.pieces[side][type] ^= change;
}

// Castling written as the king taking its own rook: both pieces go to their
// castled squares (or back, undoing it). Either may land where the other
// stood, or stay where it is, so both leave the board before either is put
// down. Keys are the caller's.
void castle_with_rook(Position& pos, int side, int king_from, int rook_from, bool undo) {
    const bool king_side = rook_from > king_from;
    int king_to = castled_king_square(side, king_side), rook_to = castled_rook_square(side, king_side);
    if (undo) {
        std::swap(king_from, king_to);
        std::swap(rook_from, rook_to);
    }
    const int king = piece_code(side, kKing), rook = piece_code(side, kRook);
    pos.board[king_from] = pos.board[rook_from] = 0;
    pos.board[king_to] = uint8_t(king);
    pos.board[rook_to] = uint8_t(rook);
    uint8_t* s = pos.piece_list[side][kKing];
    while (*s != king_from) s++;
    *s = uint8_t(king_to);
    for (s = pos.piece_list[side][kRook]; *s != rook_from;) s++;
    *s = uint8_t(rook_to);
    const Bitboard king_change = square_bit(king_from) ^ square_bit(king_to);
    const Bitboard rook_change = square_bit(rook_from) ^ square_bit(rook_to);
    pos.pieces[side][kKing] ^= king_change;
    pos.pieces[side][kRook] ^= rook_change;
    pos.pieces[side][0] ^= king_change ^ rook_change;
}

inline void move_keys(Position& pos, int code, int from, int to) {
    uint64_t change = zobrist_piece[code][from] ^ zobrist_piece[code][to];
    pos.hash_key ^= change;
    if (piece_type(code) == kPawn) pos.pawn_key ^= change;
}

inline int previous_move(const BoardHistory& h) {
    return h.history_count > 0 ? h.history[h.history_count - 1].move : 0;
}

// Records what a move changes beyond recovery from the board: the state
// flags and the keys, so that unmaking restores them instead of recomputing.
inline HistoryEntry& push_history(const Position& pos, BoardHistory& h, Move move, int captured) {
    assert(h.history_count >= 0 && h.history_count < kMaxHistory);
    HistoryEntry& entry = h.history[h.history_count];
    entry.move = move;
    entry.captured = uint8_t(captured);
    entry.ep_square = pos.ep_square;
    entry.fifty_count = pos.fifty_count;
    entry.castling = pos.castling;
    entry.hash_key = pos.hash_key;
    entry.pawn_key = pos.pawn_key;
    h.history_count++;
    h.ply++;
    h.last_move = move;
    return entry;
}

// Takes the last entry back and restores the state it kept. The placement
// is the caller's to undo.
inline const HistoryEntry& pop_history(Position& pos) {
    BoardHistory& h = *pos.owner;
    assert(h.history_count > 0);
    h.history_count--;
    h.ply--;
    const HistoryEntry& entry = h.history[h.history_count];
    h.last_move = uint16_t(previous_move(h));
    pos.ep_square = entry.ep_square;
    pos.castling = entry.castling;
    pos.fifty_count = entry.fifty_count;
    pos.hash_key = entry.hash_key;
    pos.pawn_key = entry.pawn_key;
    pos.side_to_move ^= 1;
    return entry;
}

// Whether `square` is attacked by `by`, with the occupancy given explicitly
// and the pieces on `removed` left out of the attackers.
inline bool attacked_with(const Position& pos, int square, int by, Bitboard occupancy,
                          Bitboard removed) {
    const Bitboard* p = pos.pieces[by];
    if (((p[kPawn] & pawn_attacks[by ^ 1][square]) | (p[kKnight] & knight_attacks[square]) |
         (p[kKing] & king_attacks[square])) & ~removed)
        return true;
    for (Bitboard b = (p[kBishop] | p[kQueen]) & diagonal_mask[square] & ~removed; b; b &= b - 1)
        if (!(between[lowest_square(b)][square] & occupancy)) return true;
    for (Bitboard b = (p[kRook] | p[kQueen]) & orthogonal_mask[square] & ~removed; b; b &= b - 1)
        if (!(between[lowest_square(b)][square] & occupancy)) return true;
    return false;
}

// Castling written as the king taking its own rook: the right must still be
// held for that rook, nothing else may stand where either piece goes or
// passes, and no square of the king's way, its start and end included, may
// be attacked. The rook is left out of the occupancy: standing beyond the
// king's destination on the same rank, it may be all that screens it.
bool castling_is_legal(const Position& pos, int side, Move move) {
    const int right = castle_right(side, move_to(move) > move_from(move));
    if (!(pos.castling & (1 << right)) || pos.castle_move[right] != move) return false;
    Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    if (occupancy & pos.castle_empty[right]) return false;
    occupancy ^= square_bit(move_to(move));
    for (Bitboard path = pos.castle_path[right]; path; path &= path - 1)
        if (attacked_with(pos, lowest_square(path), side ^ 1, occupancy, 0)) return false;
    return true;
}

// gives_check for castling written as the king taking its own rook: the rook
// on its new square checks directly; a line opened by either piece leaving
// its square is a discovered check.
int castling_gives_check(const Position& pos, int side, int king_from, int rook_from) {
    const int enemy_king = pos.piece_list[side ^ 1][kKing][0];
    if (enemy_king >= 64) return 0;
    const bool king_side = rook_from > king_from;
    const int rook_to = castled_rook_square(side, king_side);
    const Bitboard after = ((pos.pieces[0][0] | pos.pieces[1][0]) ^ square_bit(king_from) ^ square_bit(rook_from)) |
                           square_bit(castled_king_square(side, king_side)) | square_bit(rook_to);
    if (rook_attacks(rook_to, after) & square_bit(enemy_king)) return 1;
    const Bitboard* own = pos.pieces[side];
    Bitboard sliders = ((own[kBishop] | own[kQueen]) & diagonal_mask[enemy_king]) |
                       ((own[kRook] | own[kQueen]) & orthogonal_mask[enemy_king] & ~square_bit(rook_from));
    for (; sliders; sliders &= sliders - 1)
        if (!(between[enemy_king][lowest_square(sliders)] & after)) return 2;
    return 0;
}

}  // namespace

void make_move(Position& pos, Move move) {
    if (move_trace_hook) move_trace_hook(pos, move);
    BoardHistory& h = *pos.owner;
    int from = move_from(move), to = move_to(move);
    int p = pos.board[from], c = pos.board[to];
    int s = pos.side_to_move;

    HistoryEntry& entry = push_history(pos, h, move, piece_type(c));

    pos.fifty_count = uint8_t(pos.fifty_count + (pos.fifty_count < 255));  // stops at 255 rather than wrap
    pos.ep_square = kNoSquare;
    pos.castling &= uint8_t(~(pos.castle_mask[from] | pos.castle_mask[to]));
    pos.side_to_move = uint8_t(s ^ 1);

    if (c) {
        if (piece_side(c) == s) [[unlikely]] {  // the king takes its own rook: castling
            entry.captured = kCastledWithRook;
            castle_with_rook(pos, s, from, to, false);
            const bool king_side = to > from;
            move_keys(pos, p, from, castled_king_square(s, king_side));
            move_keys(pos, c, to, castled_rook_square(s, king_side));
            pos.fifty_count = 0;
            return;
        }
        remove_piece(pos, to);
        toggle_key(pos, c, to);
        pos.fifty_count = 0;
    }
    relocate(pos, p, from, to);
    move_keys(pos, p, from, to);

    int type = piece_type(p);
    if (type == kPawn) {
        pos.fifty_count = 0;
        int step = pawn_step[s];
        if (to == from + 2 * step) {
            pos.ep_square = uint8_t(from + step);
        } else if (to == entry.ep_square) {
            remove_piece(pos, to - step);
            toggle_key(pos, piece_code(s ^ 1, kPawn), to - step);
        } else if (is_promotion(move)) {
            remove_piece(pos, to);
            toggle_key(pos, p, to);
            int promoted = promotion_type(move);
            add_piece(pos, s, promoted, to);
            toggle_key(pos, piece_code(s, promoted), to);
        }
    } else if (type == kKing && (to == from + 2 || to == from - 2)) {
        int rook_from = to > from ? from + 3 : from - 4;
        int rook_to = to > from ? from + 1 : from - 1;
        int rook = piece_code(s, kRook);
        relocate(pos, rook, rook_from, rook_to);
        move_keys(pos, rook, rook_from, rook_to);
        pos.fifty_count = 0;
    }
    assert_consistent(pos);
}

void unmake_move(Position& pos) {
    const HistoryEntry& entry = pop_history(pos);
    int s = pos.side_to_move;

    Move move = entry.move;
    int from = move_from(move), to = move_to(move);
    int p = pos.board[to];
    if (const int captured = entry.captured) {
        if (captured == kCastledWithRook) [[unlikely]] {
            castle_with_rook(pos, s, from, to, true);
            return;
        }
        relocate(pos, p, to, from);
        add_piece(pos, s ^ 1, captured, to);
    } else {
        relocate(pos, p, to, from);
    }

    int type = piece_type(p);
    if (type == kPawn) {
        if (to == entry.ep_square) add_piece(pos, s ^ 1, kPawn, to - pawn_step[s]);
    } else if (type == kKing && (to == from + 2 || to == from - 2)) {
        int rook_from = to > from ? from + 3 : from - 4;
        int rook_to = to > from ? from + 1 : from - 1;
        relocate(pos, piece_code(s, kRook), rook_to, rook_from);
    }
    if (is_promotion(move)) {
        remove_piece(pos, from);
        add_piece(pos, s, kPawn, from);
    }
    assert_consistent(pos);
}

void make_null_move(Position& pos) {
    push_history(pos, *pos.owner, 0, 0);
    pos.fifty_count = uint8_t(pos.fifty_count + (pos.fifty_count < 255));  // stops at 255 rather than wrap
    pos.ep_square = kNoSquare;
    pos.side_to_move ^= 1;
    assert_consistent(pos);
}

void unmake_null_move(Position& pos) {
    pop_history(pos);
    assert_consistent(pos);
}

bool is_legal(const Position& pos, int side, Move move) {
    if (move == 0) return false;
    int enemy = side ^ 1;
    int from = move_from(move), to = move_to(move);
    int king = pos.piece_list[side][kKing][0];
    Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    Bitboard from_bit = square_bit(from), to_bit = square_bit(to);
    // An enemy piece on the to-square is captured and no longer attacks.
    Bitboard captured = pos.pieces[enemy][0] & to_bit;

    if (from == king) {
        if (pos.pieces[side][0] & to_bit) return castling_is_legal(pos, side, move);
        if (to == from + 2 || to == from - 2) {
            return !attacked_with(pos, from, enemy, occupancy, 0) &&
                   !attacked_with(pos, (from + to) / 2, enemy, occupancy, 0) &&
                   !attacked_with(pos, to, enemy, occupancy, 0);
        }
        return !attacked_with(pos, to, enemy, (occupancy ^ from_bit) | to_bit, captured);
    }
    Bitboard after = (occupancy ^ from_bit) | to_bit;
    if (to == pos.ep_square && piece_type(pos.board[from]) == kPawn) {
        // The captured pawn leaves its square too, which may open the rank.
        Bitboard taken = square_bit(to - pawn_step[side]);
        captured |= taken;
        after ^= taken;
    }
    return !attacked_with(pos, king, enemy, after, captured);
}

int gives_check(const Position& pos, int side, const MoveEntry& entry) {
    int enemy_king = pos.piece_list[side ^ 1][kKing][0];
    int from = move_from(entry.move), to = move_to(entry.move);
    int type = is_promotion(entry.move) ? promotion_type(entry.move) : piece_type(entry.mover);
    Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    Bitboard to_bit = square_bit(to);

    switch (type) {
        case kPawn:
            if (pawn_attacks[side ^ 1][enemy_king] & to_bit) return 1;
            break;
        case kKnight:
            if (knight_attacks[enemy_king] & to_bit) return 1;
            break;
        case kBishop:
            if ((diagonal_mask[enemy_king] & to_bit) && !(between[enemy_king][to] & occupancy)) return 1;
            break;
        case kRook:
            if ((orthogonal_mask[enemy_king] & to_bit) && !(between[to][enemy_king] & occupancy)) return 1;
            break;
        case kQueen:
            if ((diagonal_mask[enemy_king] & to_bit) && !(between[enemy_king][to] & occupancy)) return 1;
            if ((orthogonal_mask[enemy_king] & to_bit) && !(between[to][enemy_king] & occupancy)) return 1;
            break;
        case kKing:
            if (pos.pieces[side][0] & to_bit) return castling_gives_check(pos, side, from, to);
            break;
        default:
            break;
    }

    // Discovered checks need a slider of our own behind the moving piece.
    if ((pos.piece_counts[side] & ~0xFF) == 0) return 0;
    Bitboard after = (occupancy ^ square_bit(from)) | to_bit;
    Bitboard from_bit = square_bit(from);
    const Bitboard* own = pos.pieces[side];
    if (orthogonal_mask[enemy_king] & from_bit) {
        for (Bitboard b = (own[kRook] | own[kQueen]) & orthogonal_mask[enemy_king] & orthogonal_mask[from];
             b; b &= b - 1)
            if (!(between[enemy_king][lowest_square(b)] & after)) return 2;
        return 0;
    }
    if (diagonal_mask[enemy_king] & from_bit) {
        for (Bitboard b = (own[kBishop] | own[kQueen]) & diagonal_mask[enemy_king] & diagonal_mask[from];
             b; b &= b - 1)
            if (!(between[enemy_king][lowest_square(b)] & after)) return 2;
    }
    return 0;
}

CheckShortcut check_shortcut(const Position& pos, int side) {
    CheckShortcut shortcut{};
    const int enemy_king = pos.piece_list[side ^ 1][kKing][0];
    if (enemy_king >= 64) return shortcut;
    const Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    const Bitboard* own = pos.pieces[side];
    shortcut.squares[kPawn] = pawn_attacks[side ^ 1][enemy_king];
    shortcut.squares[kKnight] = knight_attacks[enemy_king];
    shortcut.squares[kBishop] = bishop_attacks(enemy_king, occupancy);
    shortcut.squares[kRook] = rook_attacks(enemy_king, occupancy);
    shortcut.squares[kQueen] = shortcut.squares[kBishop] | shortcut.squares[kRook];
    Bitboard sliders = ((own[kBishop] | own[kQueen]) & diagonal_mask[enemy_king]) |
                       ((own[kRook] | own[kQueen]) & orthogonal_mask[enemy_king]);
    for (; sliders; sliders &= sliders - 1) {
        const Bitboard line = between[enemy_king][lowest_square(sliders)] & occupancy;
        // A king already in check (a position set up so) answers every move
        // aligned with it; the full test sorts those out.
        if (!line) return {{}, ~Bitboard(0)};
        if (!(line & (line - 1))) shortcut.needs_test |= line & own[0];
    }
    return shortcut;
}

bool in_check(const Position& pos, int side) {
    return is_attacked(pos, pos.piece_list[side][kKing][0], side ^ 1);
}

namespace {

// From-squares of `side` whose moves need the full test: the kings' and the
// pinned pieces'.
inline Bitboard needing_full_test(const Position& pos, int side, int king, Bitboard occupancy) {
    const Bitboard* e = pos.pieces[side ^ 1];
    // The king's own moves always need the test (as does every other king
    // of the side, in positions set up with more than one).
    Bitboard needs_test = pos.pieces[side][kKing];
    Bitboard snipers = ((e[kBishop] | e[kQueen]) & diagonal_mask[king]) |
                       ((e[kRook] | e[kQueen]) & orthogonal_mask[king]);
    for (; snipers; snipers &= snipers - 1) {
        Bitboard line = between[king][lowest_square(snipers)] & occupancy;
        if (line && !(line & (line - 1))) needs_test |= line & pos.pieces[side][0];
    }
    return needs_test;
}

// Squares where a move other than the king's must land to answer the check
// on `king`: each checker or a square between it and the king. In a double
// check no square answers both.
Bitboard evasion_squares(const Position& pos, int side, int king, Bitboard occupancy) {
    const Bitboard* e = pos.pieces[side ^ 1];
    Bitboard evasions = ~Bitboard(0);
    for (Bitboard b = (e[kPawn] & pawn_attacks[side][king]) | (e[kKnight] & knight_attacks[king]) |
                      (e[kKing] & king_attacks[king]);
         b; b &= b - 1)
        evasions &= b & -b;
    Bitboard sliders = ((e[kBishop] | e[kQueen]) & diagonal_mask[king]) |
                       ((e[kRook] | e[kQueen]) & orthogonal_mask[king]);
    for (; sliders; sliders &= sliders - 1) {
        const int checker = lowest_square(sliders);
        if (!(between[checker][king] & occupancy)) evasions &= between[checker][king] | square_bit(checker);
    }
    return evasions;
}

inline LegalityShortcut shortcut_for(const Position& pos, int side, int king, Bitboard occupancy,
                                     bool side_in_check) {
    // In check every move that may answer it takes the full test anyway, so
    // the pins are not looked for.
    if (side_in_check) return {pos.pieces[side][kKing], true, evasion_squares(pos, side, king, occupancy)};
    return {needing_full_test(pos, side, king, occupancy), false, ~Bitboard(0)};
}

}  // namespace

LegalityShortcut legality_shortcut(const Position& pos, int side) {
    const int king = pos.piece_list[side][kKing][0];
    const Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    return shortcut_for(pos, side, king, occupancy, attacked_with(pos, king, side ^ 1, occupancy, 0));
}

LegalityShortcut legality_shortcut(const Position& pos, int side, bool side_in_check) {
    const int king = pos.piece_list[side][kKing][0];
    return shortcut_for(pos, side, king, pos.pieces[0][0] | pos.pieces[1][0], side_in_check);
}

}  // namespace vorn
