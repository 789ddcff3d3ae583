#include "tablebase/tb_position.h"

#include <bit>

#include "board/attacks.h"

namespace vorn {

namespace {

// One odd 64-bit constant per (colour, type) for pawn..queen. Any values do
// as long as registration and lookup share them; these spread every material
// of up to six pieces over the registry's hash buckets with at most five keys
// to a bucket (checked by a test).
constexpr uint64_t kMaterialConstant[2][6] = {
    {0, 0x9E3779B97F4A7C15ull, 0xC2B2AE3D27D4EB4Full, 0x165667B19E3779F9ull, 0xD6E8FEB86659FD93ull,
     0xFF51AFD7ED558CCDull},
    {0, 0xC4CEB9FE1A85EC53ull, 0x94D049BB133111EBull, 0xBF58476D1CE4E5B9ull, 0x2545F4914F6CDD1Dull,
     0x8CB92BA72F3D8DD7ull},
};

Bitboard attackers_of(const TbPosition& p, int square, int colour, Bitboard occupied) {
    const Bitboard own = tb_side(p, colour);
    Bitboard hit = pawn_attacks[colour ^ 1][square] & p.pawns;
    hit |= knight_attacks[square] & p.knights;
    hit |= king_attacks[square] & p.kings;
    hit |= bishop_attacks(square, occupied) & (p.bishops | p.queens);
    hit |= rook_attacks(square, occupied) & (p.rooks | p.queens);
    return hit & own;
}

bool king_attacked(const TbPosition& p, int colour) {
    Bitboard king = tb_pieces(p, colour, kKing);
    if (!king) return false;
    return attackers_of(p, std::countr_zero(king), colour ^ 1, tb_occupied(p)) != 0;
}

// The bitboard of one type (kPawn..kKing), writable when the position is.
template <class AnyPosition>
auto& type_board(AnyPosition& p, int type) {
    switch (type) {
        case kPawn: return p.pawns;
        case kKnight: return p.knights;
        case kBishop: return p.bishops;
        case kRook: return p.rooks;
        case kQueen: return p.queens;
        default: return p.kings;
    }
}

int type_on(const TbPosition& p, int square) {
    const Bitboard b = square_bit(square);
    if (p.pawns & b) return kPawn;
    if (p.knights & b) return kKnight;
    if (p.bishops & b) return kBishop;
    if (p.rooks & b) return kRook;
    if (p.queens & b) return kQueen;
    if (p.kings & b) return kKing;
    return kNoPiece;
}

// Appends a move if it does not leave the mover's king attacked.
int add_if_legal(const TbPosition& p, TbMove* list, int n, int from, int to, int promotion) {
    TbMove m{uint8_t(from), uint8_t(to), uint8_t(promotion)};
    TbPosition child = tb_make_move(p, m);
    if (!king_attacked(child, tb_mover(p))) list[n++] = m;
    return n;
}

int add_pawn_move(const TbPosition& p, TbMove* list, int n, int from, int to) {
    if (rank_of(to) == 0 || rank_of(to) == 7) {
        for (int type = kQueen; type >= kKnight; type--) n = add_if_legal(p, list, n, from, to, type);
        return n;
    }
    return add_if_legal(p, list, n, from, to, 0);
}

}  // namespace

TbPosition tb_position_from(const Position& pos, int rule50) {
    TbPosition p{};
    p.white = pos.pieces[kWhite][0];
    p.black = pos.pieces[kBlack][0];
    for (int side = 0; side < 2; side++) {
        p.pawns |= pos.pieces[side][kPawn];
        p.knights |= pos.pieces[side][kKnight];
        p.bishops |= pos.pieces[side][kBishop];
        p.rooks |= pos.pieces[side][kRook];
        p.queens |= pos.pieces[side][kQueen];
        p.kings |= pos.pieces[side][kKing];
    }
    p.rule50 = uint8_t(rule50);
    p.ep = pos.ep_square < 64 ? pos.ep_square : 0;
    p.turn = pos.side_to_move == kWhite ? 1 : 0;
    return p;
}

Bitboard tb_type(const TbPosition& p, int type) { return type_board(p, type); }

uint64_t tb_material_key(const int counts[2][7], bool swap) {
    uint64_t key = 0;
    for (int colour = 0; colour < 2; colour++)
        for (int type = kPawn; type <= kQueen; type++)
            key += uint64_t(counts[colour][type]) * kMaterialConstant[colour ^ int(swap)][type];
    return key;
}

uint64_t tb_material_key(const TbPosition& p, bool swap) {
    int counts[2][7] = {};
    for (int colour = 0; colour < 2; colour++)
        for (int type = kPawn; type <= kQueen; type++)
            counts[colour][type] = std::popcount(tb_pieces(p, colour, type));
    return tb_material_key(counts, swap);
}

TbPosition tb_make_move(const TbPosition& p, TbMove m) {
    TbPosition c = p;
    const Bitboard from = square_bit(m.from), to = square_bit(m.to);
    const int mover = tb_mover(p);
    const int type = type_on(p, m.from);
    const int victim = type_on(p, m.to);
    Bitboard& own = mover == kWhite ? c.white : c.black;
    Bitboard& their = mover == kWhite ? c.black : c.white;
    c.ep = 0;
    c.rule50 = uint8_t(p.rule50 < 255 ? p.rule50 + 1 : 255);
    if (victim != kNoPiece) {
        type_board(c, victim) &= ~to;
        their &= ~to;
        c.rule50 = 0;
    }
    own ^= from | to;
    type_board(c, type) &= ~from;
    type_board(c, m.promotion ? m.promotion : type) |= to;
    if (type == kPawn) {
        c.rule50 = 0;
        const int step = mover == kWhite ? 8 : -8;
        if (p.ep && m.to == p.ep) {
            const Bitboard taken = square_bit(m.to - step);
            c.pawns &= ~taken;
            their &= ~taken;
        } else if (m.to - m.from == 2 * step) {
            // Record the square only when an enemy pawn could use it, so that
            // equal placements compare equal.
            const int target = m.from + step;
            if (pawn_attacks[mover][target] & c.pawns & their) c.ep = uint8_t(target);
        }
    }
    c.turn = uint8_t(p.turn ^ 1);
    return c;
}

int tb_legal_moves(const TbPosition& p, TbMove* list, bool captures_only) {
    const int mover = tb_mover(p);
    const Bitboard own = tb_side(p, mover), their = tb_side(p, mover ^ 1);
    const Bitboard occupied = own | their;
    const Bitboard targets = captures_only ? their : ~own;
    int n = 0;

    const int step = mover == kWhite ? 8 : -8;
    const int start_rank = mover == kWhite ? 1 : 6;
    for (Bitboard b = own & p.pawns; b; b &= b - 1) {
        const int from = std::countr_zero(b);
        Bitboard hits = pawn_attacks[mover][from] & their;
        if (p.ep && (pawn_attacks[mover][from] & square_bit(p.ep))) hits |= square_bit(p.ep);
        for (; hits; hits &= hits - 1) n = add_pawn_move(p, list, n, from, std::countr_zero(hits));
        if (captures_only) continue;
        const int one = from + step;
        if (one < 0 || one > 63 || (occupied & square_bit(one))) continue;
        n = add_pawn_move(p, list, n, from, one);
        const int two = one + step;
        if (rank_of(from) == start_rank && !(occupied & square_bit(two))) n = add_if_legal(p, list, n, from, two, 0);
    }
    for (Bitboard b = own & ~p.pawns; b; b &= b - 1) {
        const int from = std::countr_zero(b);
        const Bitboard piece = square_bit(from);
        Bitboard reach = 0;
        if (p.knights & piece) reach = knight_attacks[from];
        else if (p.kings & piece) reach = king_attacks[from];
        else {
            if (p.bishops & piece || p.queens & piece) reach |= bishop_attacks(from, occupied);
            if (p.rooks & piece || p.queens & piece) reach |= rook_attacks(from, occupied);
        }
        for (reach &= targets; reach; reach &= reach - 1) n = add_if_legal(p, list, n, from, std::countr_zero(reach), 0);
    }
    return n;
}

bool tb_in_check(const TbPosition& p) { return king_attacked(p, tb_mover(p)); }

bool tb_is_en_passant(const TbPosition& p, TbMove m) {
    return p.ep && m.to == p.ep && (p.pawns & square_bit(m.from));
}

bool tb_is_capture(const TbPosition& p, TbMove m) {
    return (tb_occupied(p) & square_bit(m.to)) || tb_is_en_passant(p, m);
}

bool tb_is_pawn_move(const TbPosition& p, TbMove m) { return (p.pawns & square_bit(m.from)) != 0; }

bool tb_is_mate(const TbPosition& p) {
    if (!tb_in_check(p)) return false;
    TbMove moves[kTbMaxMoves];
    return tb_legal_moves(p, moves, false) == 0;
}

Move tb_engine_move(TbMove m) {
    static constexpr Move kFlag[7] = {0, 0, kPromoteKnight, kPromoteBishop, kPromoteRook, kPromoteQueen, 0};
    return encode_move(m.from, m.to, kFlag[m.promotion]);
}

}  // namespace vorn
