// A position and its colour-flipped twin evaluate the same, threats swapped,
// over random playouts from openings and from every specially scored ending.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "board/make_move.h"
#include "board/movegen.h"
#include "tests/eval/eval_fixture.h"

namespace vorn {

namespace {

// Random legal playout, collecting every position on the way.
void playout(const char* start, unsigned seed, int plies, std::vector<std::string>& fens) {
    Board board(start);
    std::mt19937 rng(seed);
    for (int ply = 0; ply < plies; ++ply) {
        fens.push_back(fen_of(board.pos));
        MoveEntry list[kMaxMoves];
        MoveEntry* end = generate_all(board.pos, list);
        std::vector<Move> legal;
        for (MoveEntry* m = list; m != end; ++m)
            if (is_legal(board.pos, board.pos.side_to_move, m->move)) legal.push_back(m->move);
        if (legal.empty() || board.history->history_count >= kGameHistoryLimit) break;
        make_move(board.pos, legal[rng() % legal.size()]);
    }
}

const char* const kStarts[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r1bqkb1r/pppp1ppp/2n2n2/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - -", "8/8/4k3/8/2B5/4K3/4P3/8 w - -", "8/5k2/8/3b4/8/2B1K3/3P4/8 w - -",
    "8/8/8/3k4/8/3K4/3P4/8 w - -", "8/8/3k4/8/8/3K4/2N1N3/8 w - -", "8/8/3k4/8/8/3K4/1R6/8 w - -",
    "8/8/3k4/8/1q6/3K4/1R6/8 w - -", "8/8/3k4/8/8/3K4/1B2N3/8 w - -", "1k6/8/8/8/8/8/P7/1K1B4 w - -",
    "4k3/8/8/3p4/3P4/8/8/4K3 w - -", "4k3/4r3/8/8/8/8/R3P3/4K3 w - -", "2k5/8/8/8/8/8/6Q1/2K3R1 w - -",
    "4k3/pppppppp/8/8/8/8/PPPPPPPP/4K3 w - -", "r3k3/1p6/8/8/8/8/6P1/4K2R b K -",
    // One position for every ending and term the evaluator treats specially.
    "k7/8/8/8/8/2K5/3N4/2B5 w - -", "k7/8/8/8/8/2K5/3N4/3B4 b - -", "8/8/5k2/8/3K4/8/8/R7 w - -",
    "K7/8/3k4/8/8/8/8/4qr2 b - -", "8/8/4k3/5n2/8/3K4/2B5/8 b - -", "8/4k3/8/4K3/4P3/8/8/8 w - -",
    "8/4k3/8/4K3/4P3/8/8/8 b - -", "k7/8/8/8/8/8/P7/1KB5 w - -", "4k3/7p/2b5/8/8/2B5/3PP3/4K3 w - -",
    "8/8/8/r4k2/8/8/4P3/R3K3 w - -", "8/8/4k3/8/8/3K2p1/2N1N3/8 b - -", "8/8/3k4/8/8/3K4/1B2B3/4n3 w - -",
    "1k6/8/P7/7p/8/8/8/7K w - -", "3qk3/8/8/N7/7B/8/8/4K3 b - -", "4k3/8/8/b7/8/2N5/8/4K3 w - -",
    "8/4P3/8/7k/8/8/8/KR5r w - -",
};

std::vector<std::string> sample_positions() {
    std::vector<std::string> fens;
    unsigned seed = 1;
    for (const char* start : kStarts)
        for (int run = 0; run < 3; ++run) playout(start, seed++, 70, fens);
    return fens;
}

TEST(Symmetry, FlippedTwinsEvaluateAlike) {
    // The twin of a position with castling rights and an en-passant square.
    ASSERT_EQ(flip_fen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3"),
              "rnbqkbnr/pppp1ppp/8/4p3/8/8/PPPPPPPP/RNBQKBNR w KQkq e6");
    std::vector<std::string> fens = sample_positions();
    ASSERT_GT(fens.size(), 1500u);
    Evaluator eval;
    int checked = 0, nonzero = 0;
    for (const std::string& fen : fens) {
        Board board(fen.c_str());
        Board twin(flip_fen(fen).c_str());
        int a = eval(board.pos);
        EvalStackOutput oa = eval.out;
        int b = eval(twin.pos);
        EvalStackOutput ob = eval.out;
        ASSERT_EQ(a, b) << fen << "  vs  " << flip_fen(fen);
        ASSERT_EQ(oa.threat[0], ob.threat[1]) << fen;
        ASSERT_EQ(oa.threat[1], ob.threat[0]) << fen;
        ASSERT_EQ(oa.material_draw, ob.material_draw) << fen;
        ++checked;
        nonzero += a != 0;
    }
    EXPECT_GT(nonzero, checked / 2);
}

}  // namespace

}  // namespace vorn
