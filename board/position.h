#pragma once
// The position record, the move history that belongs to a thread block, the
// hash keys, and conversion from and to FEN text.

#include <cstddef>
#include <cstdint>

#include "board/types.h"

namespace vorn {

// State before a move, enough to unmake it and to find repetitions.
struct HistoryEntry {
    uint16_t move;
    uint8_t captured;     // type of the piece taken on the to-square, 0 if none,
                          // kCastledWithRook for castling written as king takes rook
    uint8_t ep_square;
    uint8_t fifty_count;
    uint8_t castling;
    uint64_t hash_key;
    uint64_t pawn_key;
};

constexpr int kMaxHistory = 800;
// Longest game the shell accepts, so that a search of up to 128 plies on top
// of it still fits in the history.
constexpr int kMaxSearchPlies = 128;
constexpr int kGameHistoryLimit = kMaxHistory - kMaxSearchPlies;

// The part of a thread block the board works with; the search's thread block
// derives from it.
struct BoardHistory {
    HistoryEntry history[kMaxHistory];
    int16_t history_count = 0;  // entries in use; the one below is the last move
    int16_t ply = 1;            // 1 at a freshly set position
    uint16_t last_move = 0;     // move that led here, 0 if none
};

// Castling rights bits. A right's index is its bit number: 0 white king
// side, 1 white queen side, 2 black king side, 3 black queen side.
constexpr uint8_t kCastleWhiteKing = 1;
constexpr uint8_t kCastleWhiteQueen = 2;
constexpr uint8_t kCastleBlackKing = 4;
constexpr uint8_t kCastleBlackQueen = 8;
constexpr int castle_right(int side, bool king_side) { return 2 * side + (king_side ? 0 : 1); }

// Where castling puts the king and the rook, wherever they started: g1 and f1
// on the king side, c1 and d1 on the queen side (g8/f8, c8/d8 for Black).
constexpr int castled_king_square(int side, bool king_side) { return 56 * side + (king_side ? 6 : 2); }
constexpr int castled_rook_square(int side, bool king_side) { return 56 * side + (king_side ? 5 : 3); }

// Marks a history entry whose move was castling written as the king taking
// its own rook (no piece type is 7).
constexpr uint8_t kCastledWithRook = 7;

// Each square list holds at most this many squares plus the end mark 64.
constexpr int kPieceListSize = 10;
constexpr int kMaxPiecesPerList = kPieceListSize - 1;

struct Position {
    BoardHistory* owner = nullptr;
    uint8_t board[65];                 // piece code per square; [64] is always 0
    Bitboard pieces[2][7];             // [side][0] all, [side][type] per type
    uint8_t piece_list[2][7][kPieceListSize];  // [side][type 1..6]; [side][0] unused
    uint64_t hash_key;                 // placement only
    uint64_t pawn_key;                 // pawns of both sides
    int32_t piece_counts[2];           // P*1 + N*16 + B*256 + R*4096 + Q*65536
    int16_t phase_material[2];         // N*3 + B*3 + R*5 + Q*10
    uint8_t side_to_move;
    uint8_t fifty_count;
    uint8_t castling;
    uint8_t ep_square;
    // Castling geometry, fixed when the position is set (rights are only lost
    // afterwards), indexed by right. In a standard game the king starts on
    // e1/e8 and the rooks in the corners; in Chess960 anywhere on the back
    // rank with the king between its rooks.
    uint8_t castle_king[2];      // square each side's king castles from
    uint8_t castle_rook[4];      // square of each right's rook
    Move castle_move[4];         // the move that castles, 0 for a right never held
    Bitboard castle_empty[4];    // must be empty apart from that king and rook
    Bitboard castle_path[4];     // the king's squares from start to end: none may be attacked
    uint8_t castle_mask[64];     // rights lost when a move starts or ends on a square
};

// Key tables, filled once by init_hash_keys_tables and read-only afterwards.
extern uint64_t zobrist_piece[16][64];
extern uint64_t zobrist_extra[66];
extern const uint64_t zobrist_side[2];

// Fills the key tables on the first call; later calls do nothing. Always
// produces the same keys. Prints "bad hashcode" if a key cannot be made
// distinct enough.
void init_hash_keys_tables();

void clear_position(Position& pos);
void compute_keys(Position& pos);

// Drops the rights in pos.castling whose king or rook does not stand on the
// recorded square (or stands on the wrong side of the other), then rebuilds
// the castling tables. Returns true when a right was dropped.
bool drop_unsupported_castling(Position& pos);

// Rebuilds the castling tables from the rights held and their squares. The
// castling move is the king's two-square step for a king on e1/e8 with a
// corner rook, unless shell.chess960 asks for every castling to be written
// as the king taking its own rook, which is the only unambiguous form once
// the king may stand next to its rook or not move at all.
void build_castling_tables(Position& pos);

// Material units per piece type, for phase_material and piece_counts.
constexpr int16_t kPhaseUnits[7] = {0, 0, 3, 3, 5, 10, 0};
constexpr int32_t kCountUnits[7] = {0, 1, 16, 256, 4096, 65536, 0};

// The three primitives below run inside every make and unmake, so they are
// defined here to be inlined there.

// Puts a piece on an empty square (keys untouched). A piece that would not
// fit in its full square list is not placed at all.
inline void add_piece(Position& pos, int side, int type, int square) {
    uint8_t* list = pos.piece_list[side][type];
    int n = 0;
    while (list[n] != kNoSquare) n++;
    if (n >= kMaxPiecesPerList) return;  // list full: the piece is not placed
    list[n] = uint8_t(square);
    list[n + 1] = kNoSquare;
    pos.board[square] = uint8_t(piece_code(side, type));
    pos.phase_material[side] = int16_t(pos.phase_material[side] + kPhaseUnits[type]);
    pos.piece_counts[side] += kCountUnits[type];
    pos.pieces[side][0] |= square_bit(square);
    pos.pieces[side][type] |= square_bit(square);
}

// Takes off whatever stands on the square (keys untouched).
inline void remove_piece(Position& pos, int square) {
    int code = pos.board[square];
    if (code == 0) return;
    int side = piece_side(code);
    int type = piece_type(code);
    uint8_t* list = pos.piece_list[side][type];
    int n = 0;
    while (list[n] != square) n++;
    do {
        list[n] = list[n + 1];
    } while (list[n++] != kNoSquare);
    pos.board[square] = 0;
    pos.phase_material[side] = int16_t(pos.phase_material[side] - kPhaseUnits[type]);
    pos.piece_counts[side] -= kCountUnits[type];
    pos.pieces[side][0] ^= square_bit(square);
    pos.pieces[side][type] ^= square_bit(square);
}

inline void toggle_key(Position& pos, int code, int square) {
    uint64_t key = zobrist_piece[code][square];
    pos.hash_key ^= key;
    if (piece_type(code) == kPawn) pos.pawn_key ^= key;
}


inline uint64_t full_key(const Position& pos) {
    return pos.hash_key ^ zobrist_extra[pos.castling] ^ zobrist_extra[pos.ep_square] ^
           zobrist_side[pos.side_to_move];
}

inline constexpr const char* kStartFen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

// Sets the position from a FEN or EPD record; pos.owner must be set. Reads
// placement, side, castling and en-passant field only. The castling field
// may name rooks by K/Q/k/q (the outermost rook on that side of the king) or
// by file letter (capital for White), as Chess960 positions need.
void parse_fen(Position& pos, const char* text);

// Four-field FEN; buffer must hold kFenBufferSize characters. A right whose
// rook is not the outermost one on its side is written by the rook's file.
constexpr size_t kFenBufferSize = 96;
void position_to_fen(const Position& pos, char* buffer);

// The board as text for a person (FEN, eight rows, side to move, each line
// ending in a newline), and the routine that sends that text through the
// output sink, whose own newline then leaves an empty line after the board.
// The text buffer must hold kBoardTextSize characters.
constexpr size_t kBoardTextSize = 256;
void board_text(const Position& pos, char* buffer);
void print_board(const Position& pos);

}  // namespace vorn
