#include <gtest/gtest.h>

#include <string>

#include "board/make_move.h"
#include "board/notation.h"
#include "search/search.h"
#include "tests/search/search_fixture.h"

namespace vorn {

namespace {

struct MateCase {
    const char* fen;
    int moves;  // negative: the side to move is mated
    const char* first_move;
};

// Verified with an independent engine used as an oracle.
const MateCase kMates[] = {
    // Black's only move Kb8 runs into Rh8 mate: mated at ply 3.
    {"k7/8/1K6/8/8/8/8/7R b - -", -1, "a8b8"},
    {"r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq -", 1, "h5f7"},
    {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - -", 1, "d1d8"},
    {"r2qkb1r/pp2nppp/3p4/2pNN1B1/2BnP3/3P4/PPP2PPP/R2bK2R w KQkq -", 2, "d5f6"},
    {"6k1/pp4p1/2p5/2bp4/8/P5Pb/1P3rrP/2BRRN1K b - -", 2, "g2g1"},
    {"r1b1kb1r/pppp1ppp/5q2/4n3/3KP3/2N3PN/PPP4P/R1BQ1B1R b kq -", 3, "f8c5"},
    {"r5rk/5p1p/5R2/4B3/8/8/7P/7K w - -", 3, "f6a6"},
    {"7R/r1p1q1pp/3k4/1p1n1Q2/3N4/8/1PP2PPP/2B3K1 w - -", 4, "h8d8"},
};

}  // namespace

TEST(Mates, FindsForcedMatesAndReportsTheirLength) {
    engine_up(1);
    shell.noise = 0.0;
    for (const MateCase& c : kMates) {
        testing::internal::CaptureStdout();
        const int plies = c.moves > 0 ? 2 * c.moves : 1 - 2 * c.moves;  // the score is +-(10000 - plies)
        const SearchResult& r = search_to_depth(c.fen, plies + 4);
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(r.score, c.moves > 0 ? 10000 - plies : plies - 10000) << c.fen;
        EXPECT_EQ(text_of(r.best_move), c.first_move) << c.fen;
        std::string mate = "score mate " + std::to_string(c.moves > 0 ? c.moves : -1 - plies / 2) + " ";
        EXPECT_NE(out.find(mate), std::string::npos) << c.fen << "\n" << out;
        // A found mate ends the iterations well before the depth limit.
        EXPECT_LE(r.depth, plies + 1) << c.fen;
    }
    shell.noise = 9999.0;
}

namespace {

void play(const char* const* moves, int count) {
    ThreadData& td = *thread_table[0];
    for (int i = 0; i < count; i++) {
        Move m;
        ASSERT_EQ(parse_move(td.pos, moves[i], &m), 1) << moves[i];
        make_move(td.pos, m);
    }
}

// Calls search() on block 0 as if the node were at `ply`.
int search_node(int ply, int depth, int alpha, int beta, PrincipalVariation& pv) {
    ThreadData& td = *thread_table[0];
    td.ply = static_cast<int16_t>(ply);
    return search(td.pos, td.pos.side_to_move, ply, depth, alpha, beta, 0, pv);
}

}  // namespace

TEST(Draws, RepetitionNeedsOneEarlierOccurrenceBelowTheRootsGrandchildren) {
    engine_up(1);
    const char* const knights_out_and_back[] = {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3"};
    set_game_position("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
    play(knights_out_and_back, 4);
    block_for_direct_search();
    draw_value[0] = 20;
    draw_value[1] = -20;
    PrincipalVariation pv;

    // The start position again, seen once before: a draw at ply >= 4 ...
    const SearchStackEntry* stack = thread_table[0]->stack;
    EXPECT_EQ(search_node(5, 3, -300, 300, pv), 20);
    EXPECT_EQ(stack[5].legal_moves, 0);
    // ... but the root's children and grandchildren need two earlier occurrences.
    for (int ply : {3, 2}) {
        search_node(ply, 3, -300, 300, pv);
        EXPECT_GT(stack[ply].legal_moves, 0) << ply;
    }

    // The value belongs to the side: Black to move after 3.Nf3 sees -20.
    play(knights_out_and_back + 4, 1);
    EXPECT_EQ(search_node(6, 3, -300, 300, pv), -20);

    // Twice repeated: a draw for the root's grandchildren as well.
    play(knights_out_and_back + 1, 3);
    EXPECT_EQ(search_node(3, 3, -300, 300, pv), 20);
    draw_value[0] = draw_value[1] = 0;
}

TEST(Draws, FiftyMoveRule) {
    engine_up(1);
    PrincipalVariation pv;
    // A rook up, but the fifty moves are over: 0 as long as a move exists.
    set_game_position("4k3/8/8/8/8/8/8/R3K3 w Q -");
    block_for_direct_search();
    thread_table[0]->pos.fifty_count = 100;
    EXPECT_EQ(search_node(2, 4, -10000, 10000, pv), 0);
    thread_table[0]->pos.fifty_count = 99;
    EXPECT_GT(search_node(2, 4, -10000, 10000, pv), 300);

    // A checkmated side is still mated at the hundredth ply.
    set_game_position("R5k1/5ppp/8/8/8/8/5PPP/6K1 b - -");
    block_for_direct_search();
    thread_table[0]->pos.fifty_count = 100;
    EXPECT_EQ(search_node(2, 4, -10000, 10000, pv), 2 - 10000);
}

}  // namespace vorn
