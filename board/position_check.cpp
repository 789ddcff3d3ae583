#include "board/position_check.h"

#include <bit>
#include <cstdio>
#include <cstdlib>

namespace vorn {

const char* position_fault(const Position& pos) {
    if (pos.board[kNoSquare] != kNoPiece) return "board[64] is not empty";
    if (pos.side_to_move > 1) return "side to move";
    if (pos.castling > 15) return "castling rights";
    if (pos.ep_square > kNoSquare) return "en-passant square";
    // A right held means its king and rook still stand where castling
    // starts: the generator trusts that, in Chess960 as in standard chess.
    for (int right = 0; right < 4; right++) {
        if (!(pos.castling & (1 << right))) continue;
        const int side = right / 2;
        if (pos.board[pos.castle_king[side]] != piece_code(side, kKing) ||
            pos.board[pos.castle_rook[right]] != piece_code(side, kRook))
            return "a castling right without its king or rook";
    }
    for (int side = 0; side < 2; side++) {
        Bitboard all = 0;
        int phase = 0, count = 0;
        for (int type = kPawn; type <= kKing; type++) {
            Bitboard on_board = 0;
            for (int sq = 0; sq < 64; sq++)
                if (pos.board[sq] == piece_code(side, type)) on_board |= square_bit(sq);
            if (pos.pieces[side][type] != on_board) return "a type bitboard differs from the mailbox";
            const uint8_t* list = pos.piece_list[side][type];
            Bitboard listed = 0;
            int n = 0;
            for (; n < kPieceListSize && list[n] != kNoSquare; n++) {
                if (list[n] > kNoSquare || (listed & square_bit(list[n])))
                    return "a square list holds a bad or repeated square";
                listed |= square_bit(list[n]);
            }
            if (n == kPieceListSize) return "a square list has no end mark";
            if (listed != on_board) return "a square list differs from the mailbox";
            all |= on_board;
            phase += kPhaseUnits[type] * n;
            count += kCountUnits[type] * n;
        }
        if (pos.pieces[side][0] != all) return "an all-pieces bitboard differs from its types";
        if (pos.phase_material[side] != phase) return "phase material";
        if (pos.piece_counts[side] != count) return "piece counts";
    }
    for (int sq = 0; sq < 64; sq++) {
        int code = pos.board[sq];
        if (code != kNoPiece && (piece_type(code) < kPawn || piece_type(code) > kKing))
            return "the mailbox holds an unknown piece code";
    }
    uint64_t hash = 0, pawns = 0;
    for (int sq = 0; sq < 64; sq++) {
        int code = pos.board[sq];
        if (code == kNoPiece) continue;
        hash ^= zobrist_piece[code][sq];
        if (piece_type(code) == kPawn) pawns ^= zobrist_piece[code][sq];
    }
    if (pos.hash_key != hash) return "hash key";
    if (pos.pawn_key != pawns) return "pawn key";
    return nullptr;
}

void abort_on_position_fault(const Position& pos, const char* fault) {
    char fen[kFenBufferSize];
    position_to_fen(pos, fen);
    std::fprintf(stderr, "inconsistent position: %s\n%s\n", fault, fen);
    std::abort();
}

}  // namespace vorn
