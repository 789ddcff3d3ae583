// Whole evaluations: the start position, the endings scored without the
// full evaluation, the material draws and the draw-scaling factors.

#include <gtest/gtest.h>

#include "eval/eval_terms.h"
#include "eval/eval_trace.h"
#include "tests/eval/eval_fixture.h"

namespace {

struct Result {
    int score;
    EvalStackOutput out;
};

Result run(const char* fen) {
    Board board(fen);
    Evaluator eval;
    Result r;
    r.score = eval(board.pos);
    r.out = eval.out;
    return r;
}

// draw_adj of a traced evaluation.
double draw_factor(const char* fen) {
    Board board(fen);
    Evaluator eval;
    traced_evaluation_report(board.pos, *eval.state);
    return eval_trace.draw_adj;
}

TEST(Evaluate, StartPositionIsTheTempo) {
    // Every term but the tempo cancels: 14 x 148 / 128 = 16.
    EXPECT_EQ(eval_fen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"), 16);
    EXPECT_EQ(eval_fen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq -"), 16);
    // Symmetric pawn ending (stage 24): the endgame tempo, 7 x 148 / 128.
    EXPECT_EQ(eval_fen("4k3/pppp4/8/8/8/8/PPPP4/4K3 b - -"), 8);
    // Symmetric with one knight each (stage 22): (16 x 2 + 8 x 22) / 24.
    EXPECT_EQ(eval_fen("1n2k3/pppp4/8/8/8/8/PPPP4/1N2K3 w - -"), (16 * 2 + 8 * 22) / 24);
}

TEST(Endings, InCheckShortcut) {
    EXPECT_EQ(eval_fen("4k3/8/8/8/8/8/4r3/4K3 w - -"), -10000);
    EXPECT_EQ(eval_fen("rnbqkbnr/ppppp2p/5p2/6pQ/4P3/8/PPPP1PPP/RNB1KBNR b KQkq -"), -10000);
}

TEST(Endings, DeadDrawsByMaterial) {
    const char* draws[] = {
        "8/8/4k3/8/8/3K4/8/8 w - -",          // bare kings
        "8/8/4k3/8/8/3KN3/8/8 w - -",         // knight
        "8/8/4k3/8/8/3KB3/8/8 b - -",         // bishop
        "8/8/4k3/8/8/3K4/2N1N3/8 w - -",      // two knights
        "8/8/4k3/5n2/8/3K4/2N5/8 w - -",      // knight against knight
        "8/8/4k3/5n2/8/3K4/2B5/8 b - -",      // bishop against knight
    };
    for (const char* fen : draws) {
        Result r = run(fen);
        EXPECT_EQ(r.score, 0) << fen;
        EXPECT_EQ(r.out.material_draw, 1) << fen;
    }
    // Two bishops are not a dead draw.
    Result r = run("8/8/4k3/8/8/3K4/2B1B3/8 w - -");
    EXPECT_EQ(r.out.material_draw, 0);
    EXPECT_GT(r.score, 0);
}

TEST(Endings, BishopAndKnightDriveToTheBishopsCorner) {
    // Dark bishop: a8 is the wrong corner (pull 6); v = 2 + 200 + 12 - 10.
    EXPECT_EQ(eval_fen("k7/8/8/8/8/2K5/3N4/2B5 w - -"), 4 * 204);
    EXPECT_EQ(eval_fen("k7/8/8/8/8/2K5/3N4/2B5 b - -"), -4 * 204);
    // Light bishop: a8 is mirrored onto h8, pull 20; v = 2 + 200 + 40 - 10.
    EXPECT_EQ(eval_fen("k7/8/8/8/8/2K5/3N4/3B4 w - -"), 4 * 232);
    // Black with the pieces, White's king in the right corner (h1 for a light bishop).
    EXPECT_EQ(eval_fen("8/8/8/8/8/5k2/4n3/5b1K b - -"), 4 * (2 + 200 + 2 * 20 - 2 * 2));
    // Nearer the corner and nearer kings score more.
    EXPECT_GT(eval_fen("8/8/8/8/8/1K6/3N4/k1B5 w - -"), eval_fen("8/8/8/3k4/8/8/3N1K2/2B5 w - -"));
}

TEST(Endings, HeavyPieceAgainstBareKing) {
    // 500 + 200 - 10 x distance 2 + edge_push[f6] 20.
    EXPECT_EQ(eval_fen("8/8/5k2/8/3K4/8/8/R7 w - -"), 700);
    EXPECT_EQ(eval_fen("8/8/5k2/8/3K4/8/8/R7 b - -"), -700);
    // Queen and rook for Black against a cornered king at distance 3.
    EXPECT_EQ(eval_fen("K7/8/3k4/8/8/8/8/4qr2 w - -"), -(1500 + 200 - 30 + 60));
}

TEST(DrawScaling, Factors) {
    // Opposite bishops, one extra pawn (two against one), nothing else: F3 of
    // the first row.
    EXPECT_DOUBLE_EQ(draw_factor("4k3/7p/2b5/8/8/2B5/3PP3/4K3 w - -"), 0.2125);
    // Two knights (and nothing else) against a pawn: 0.05.
    EXPECT_DOUBLE_EQ(draw_factor("8/8/4k3/8/8/3K2p1/2N1N3/8 w - -"), 0.05);
    // Rook and pawn against rook: the single-pawn rule starts at 0.8; the
    // defending king in front of the pawn takes 0.75.
    EXPECT_DOUBLE_EQ(draw_factor("4k3/4r3/8/8/8/8/R3P3/4K3 w - -"), 0.8 * 0.75);
    // Defending king beside the pawn's path, covering squares in front.
    EXPECT_DOUBLE_EQ(draw_factor("8/5k2/8/r7/8/8/4P3/R3K3 w - -"), 0.8 * 0.85);
    // ... and nearer than the pawn's own king to the square two ahead.
    EXPECT_DOUBLE_EQ(draw_factor("8/8/8/r4k2/8/8/4P3/R3K3 w - -"), 0.8 * 0.85 * 0.8);
    // Same, defending king far away: 0.8 only.
    EXPECT_DOUBLE_EQ(draw_factor("7k/7r/8/8/8/8/R3P3/4K3 w - -"), 0.8);
    // Rook pawn with a wrong bishop, defender in the corner.
    EXPECT_DOUBLE_EQ(draw_factor("k7/8/8/8/8/8/P7/1KB5 w - -"), 0.06);
    // ... but the bishop of the promotion square's colour wins.
    EXPECT_DOUBLE_EQ(draw_factor("k7/8/8/8/8/8/P7/1K1B4 w - -"), 1.0);
    // Full material: never scaled.
    EXPECT_DOUBLE_EQ(draw_factor("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBN1 w Qkq -"), 1.0);
}

TEST(DrawScaling, PawnEachUsesTheLeadersKpkPosition) {
    const char* fens[] = {"1k6/8/P7/7p/8/8/8/7K w - -", "1k6/8/P7/7p/8/8/8/7K b - -",
                          "8/8/1k6/8/8/2K5/3P3p/8 w - -", "8/8/1k6/8/8/2K5/3P3p/8 b - -"};
    int checked = 0;
    for (const char* fen : fens) {
        Board board(fen);
        Evaluator eval;
        traced_evaluation_report(board.pos, *eval.state);
        int score = eval(board.pos);
        if (score > -15 && score < 15) continue;
        const Position& pos = board.pos;
        int lead = score > 0 ? pos.side_to_move : pos.side_to_move ^ 1;
        int pawn = __builtin_ctzll(pos.pieces[lead][kPawn]);
        int kings[2] = {__builtin_ctzll(pos.pieces[0][kKing]), __builtin_ctzll(pos.pieces[1][kKing])};
        bool won = kpk_won(lead, pawn, kings[lead], kings[lead ^ 1], pos.side_to_move == lead);
        EXPECT_DOUBLE_EQ(eval_trace.draw_adj, won ? 1.0 : 0.25) << fen;
        ++checked;
    }
    EXPECT_GE(checked, 2);
}

TEST(DrawScaling, SmallScoresAreLeftAlone) {
    // Bare minor piece ahead by a few pawns' worth of position: score below
    // 15 is never scaled.
    Board board("4k3/8/8/8/8/8/8/4K3 w - -");
    EvalInfo info{};
    info.pos = &board.pos;
    double adj = 0;
    EXPECT_EQ(draw_scale(info, 14, adj), 14);
    EXPECT_EQ(adj, 1.0);
    EXPECT_EQ(draw_scale(info, -14, adj), -14);
}

}  // namespace

namespace {

// Placements no game can reach still get a score, without reading outside
// any table.
TEST(Robustness, MalformedPlacements) {
    const char* fens[] = {
        "8/8/8/8/8/8/8/8 w - -",
        "PPPPPPPP/8/8/8/8/8/8/pppppppp w - -",
        "4k3/PPPPPPPP/8/8/8/8/pppppppp/4K3 b - -",
        "QQQQQQQQ/QQQQQQQQ/8/8/8/8/qqqqqqqq/K6k w - -",
        "k7/8/8/8/8/8/8/7P w - -",
        "kK6/pP6/8/8/8/8/8/8 w - -",
        "rnbq1bnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQ1BNR w - -",
    };
    for (const char* fen : fens) {
        Board board(fen);
        auto state = std::make_unique<EvalThreadState>();
        clear_eval_state(*state);
        EvalStackOutput out{};
        for (int searching = 0; searching < 2; ++searching) {
            state->searching = searching;
            int score = evaluate(board.pos, *state, out, 2, false);
            EXPECT_GT(score, -32768) << fen;
            EXPECT_LT(score, 32768) << fen;
        }
    }
}

}  // namespace
