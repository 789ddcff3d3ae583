#pragma once
// The tablebase code's own position form and its move generator. Probes
// search a little around the position (captures, and one ply for DTZ), on
// copies: a move makes a new small record instead of changing the engine's
// position, so a probe never disturbs the search that asked for it.

#include <cstdint>

#include "board/position.h"
#include "board/types.h"

namespace vorn {

// Colours by bitboard, types covering both colours.
struct TbPosition {
    Bitboard white, black;
    Bitboard kings, queens, rooks, bishops, knights, pawns;
    uint8_t rule50;  // plies since the last capture or pawn move
    uint8_t ep;      // en-passant target square, 0 when none
    uint8_t turn;    // 1 white to move, 0 black to move
};

// Engine position to probe form (castling rights are not carried: the
// callers refuse such positions before converting).
TbPosition tb_position_from(const Position& pos, int rule50);

inline Bitboard tb_occupied(const TbPosition& p) { return p.white | p.black; }
inline Bitboard tb_side(const TbPosition& p, int colour) { return colour == kWhite ? p.white : p.black; }
// Pieces of one type (kPawn..kKing) regardless of colour.
Bitboard tb_type(const TbPosition& p, int type);
inline Bitboard tb_pieces(const TbPosition& p, int colour, int type) {
    return tb_type(p, type) & tb_side(p, colour);
}
inline int tb_mover(const TbPosition& p) { return p.turn ? kWhite : kBlack; }

// Material key: a sum of fixed 64-bit constants per (colour, type) piece,
// pawn to queen; kings are not counted. `swap` keys the colour-reversed
// material. Counts are [colour][type].
uint64_t tb_material_key(const int counts[2][7], bool swap);
uint64_t tb_material_key(const TbPosition& p, bool swap);

// Move of the probe code: from, to and promotion type (0 none).
struct TbMove {
    uint8_t from, to, promotion;
};

// Room for every legal move of a position (the known maximum is 218).
constexpr int kTbMaxMoves = 256;

// Legal moves of the side to move; with `captures_only` only captures
// (en passant and capturing promotions included). Returns the count.
int tb_legal_moves(const TbPosition& p, TbMove* list, bool captures_only);

TbPosition tb_make_move(const TbPosition& p, TbMove m);

bool tb_in_check(const TbPosition& p);
bool tb_is_capture(const TbPosition& p, TbMove m);  // en passant included
bool tb_is_en_passant(const TbPosition& p, TbMove m);
bool tb_is_pawn_move(const TbPosition& p, TbMove m);
// True when the side to move is checkmated.
bool tb_is_mate(const TbPosition& p);

// The engine's move word for a probe move.
Move tb_engine_move(TbMove m);

}  // namespace vorn
