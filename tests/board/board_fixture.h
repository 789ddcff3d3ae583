#pragma once
// Shared set-up for board tests: tables built once, a position with its own
// history block, and a field-by-field comparison of two positions.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

#include "board/attacks.h"
#include "board/position.h"
#include "board/position_check.h"
#include "tests/fen_board.h"

namespace vorn {

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

}  // namespace vorn
