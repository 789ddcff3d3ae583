#pragma once
// Basic vocabulary of the board: squares, sides, piece codes, the 16-bit move
// word and the move-list element.

#include <cstdint>

namespace vorn {

using Bitboard = uint64_t;
using Move = uint16_t;

// Squares run a1 = 0, b1 = 1, ..., h8 = 63; 64 means "no square".
constexpr int kNoSquare = 64;
constexpr int file_of(int square) { return square & 7; }
constexpr int rank_of(int square) { return square >> 3; }
constexpr Bitboard square_bit(int square) { return Bitboard(1) << square; }
constexpr Bitboard file_bits(int file) { return Bitboard(0x0101010101010101ull) << file; }
constexpr Bitboard rank_bits(int rank) { return Bitboard(0xFF) << (8 * rank); }

constexpr int kWhite = 0;
constexpr int kBlack = 1;

// Piece types; a piece code is type + 8 * side, 0 is an empty square.
constexpr int kNoPiece = 0;
constexpr int kPawn = 1;
constexpr int kKnight = 2;
constexpr int kBishop = 3;
constexpr int kRook = 4;
constexpr int kQueen = 5;
constexpr int kKing = 6;

constexpr int piece_code(int side, int type) { return type + 8 * side; }
constexpr int piece_type(int code) { return code & 7; }
constexpr int piece_side(int code) { return code >> 3; }

// Move word: to-square in bits 0-5, from-square in bits 8-13, one promotion
// bit among 6 (queen), 7 (knight), 14 (bishop), 15 (rook).
constexpr Move kNoMove = 0;
constexpr Move kMoveListEnd = 0xFFFF;
constexpr Move kPromoteQueen = 0x0040;
constexpr Move kPromoteKnight = 0x0080;
constexpr Move kPromoteBishop = 0x4000;
constexpr Move kPromoteRook = 0x8000;
constexpr Move kPromotionMask = 0xC0C0;

constexpr Move encode_move(int from, int to, Move promotion = 0) {
    return Move((from << 8) | to | promotion);
}
constexpr int move_from(Move m) { return (m >> 8) & 63; }
constexpr int move_to(Move m) { return m & 63; }
constexpr bool is_promotion(Move m) { return (m & kPromotionMask) != 0; }

// Piece type a promotion produces (queen when no other bit is set).
constexpr int promotion_type(Move m) {
    return (m & kPromoteKnight) ? kKnight
         : (m & kPromoteBishop) ? kBishop
         : (m & kPromoteRook)   ? kRook
                                : kQueen;
}

// One element of a move list. The generators fill move, mover and victim;
// score belongs to the move picker.
struct MoveEntry {
    uint16_t move;
    int16_t score;
    uint8_t mover;
    uint8_t victim;
};

// Room for every pseudo-legal move of one position (the known maximum is 218).
constexpr int kMaxMoves = 256;

}  // namespace vorn
