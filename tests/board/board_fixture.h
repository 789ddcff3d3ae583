#pragma once
// Shared set-up for board tests: tables built once, a position with its own
// history block, and a check that the three copies of the placement agree.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

#include "board/attacks.h"
#include "board/position.h"

inline constexpr const char* kKiwipeteFen =
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";

class BoardTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        init_attack_tables();
        init_hash_keys_tables();
    }
    void set(const char* fen) {
        pos.owner = history.get();
        pos.side_to_move = 0;
        parse_fen(pos, fen);
    }
    std::unique_ptr<BoardHistory> history = std::make_unique<BoardHistory>();
    Position pos{};
};

// Squares of one piece list in list order.
inline std::vector<int> list_squares(const Position& pos, int side, int type) {
    std::vector<int> squares;
    for (const uint8_t* s = pos.piece_list[side][type]; *s != kNoSquare; s++) squares.push_back(*s);
    return squares;
}

// Mailbox, bitboards, square lists, counters and keys describe one placement.
inline ::testing::AssertionResult placement_consistent(const Position& pos) {
    static constexpr int kPhase[7] = {0, 0, 3, 3, 5, 10, 0};
    static constexpr int kCount[7] = {0, 1, 16, 256, 4096, 65536, 0};
    if (pos.board[64] != 0) return ::testing::AssertionFailure() << "board[64] not empty";
    for (int side = 0; side < 2; side++) {
        Bitboard all = 0;
        int phase = 0, count = 0;
        for (int type = 1; type <= 6; type++) {
            Bitboard from_board = 0;
            for (int sq = 0; sq < 64; sq++)
                if (pos.board[sq] == piece_code(side, type)) from_board |= square_bit(sq);
            if (pos.pieces[side][type] != from_board)
                return ::testing::AssertionFailure() << "bitboard of side " << side << " type " << type;
            std::vector<int> squares = list_squares(pos, side, type);
            if (squares.size() > size_t(kMaxPiecesPerList))
                return ::testing::AssertionFailure() << "list too long";
            Bitboard from_list = 0;
            for (int sq : squares) from_list |= square_bit(sq);
            if (from_list != from_board || squares.size() != size_t(std::popcount(from_board)))
                return ::testing::AssertionFailure() << "list of side " << side << " type " << type;
            all |= from_board;
            phase += kPhase[type] * int(squares.size());
            count += kCount[type] * int(squares.size());
        }
        if (pos.pieces[side][0] != all) return ::testing::AssertionFailure() << "all-pieces bitboard";
        if (pos.phase_material[side] != phase) return ::testing::AssertionFailure() << "phase_material";
        if (pos.piece_counts[side] != count) return ::testing::AssertionFailure() << "piece_counts";
    }
    uint64_t hash = 0, pawn = 0;
    for (int sq = 0; sq < 64; sq++) {
        int code = pos.board[sq];
        if (!code) continue;
        hash ^= zobrist_piece[code][sq];
        if (piece_type(code) == kPawn) pawn ^= zobrist_piece[code][sq];
    }
    if (pos.hash_key != hash) return ::testing::AssertionFailure() << "hash_key";
    if (pos.pawn_key != pawn) return ::testing::AssertionFailure() << "pawn_key";
    return ::testing::AssertionSuccess();
}

// Every field equal, square lists compared as sets (a capture undone
// re-appends the piece at the end of its list).
#define VORN_SAME(field) \
    if (a.field != b.field) return ::testing::AssertionFailure() << #field
inline ::testing::AssertionResult same_position(const Position& a, const Position& b) {
    if (!std::equal(a.board, a.board + 65, b.board)) return ::testing::AssertionFailure() << "board";
    for (int side = 0; side < 2; side++) {
        for (int type = 0; type <= 6; type++) {
            if (a.pieces[side][type] != b.pieces[side][type])
                return ::testing::AssertionFailure() << "pieces " << side << " " << type;
            if (type == 0) continue;
            std::vector<int> la = list_squares(a, side, type), lb = list_squares(b, side, type);
            std::sort(la.begin(), la.end());
            std::sort(lb.begin(), lb.end());
            if (la != lb) return ::testing::AssertionFailure() << "piece_list " << side << " " << type;
        }
        VORN_SAME(piece_counts[side]);
        VORN_SAME(phase_material[side]);
    }
    VORN_SAME(hash_key);
    VORN_SAME(pawn_key);
    VORN_SAME(side_to_move);
    VORN_SAME(fifty_count);
    VORN_SAME(castling);
    VORN_SAME(ep_square);
    VORN_SAME(owner);
#undef VORN_SAME
    return ::testing::AssertionSuccess();
}
