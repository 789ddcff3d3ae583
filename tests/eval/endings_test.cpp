// Whole evaluations: the endings scored without the full evaluation, the
// material draws and the draw-scaling factors.

#include <gtest/gtest.h>

#include "eval/eval_terms.h"
#include "eval/eval_trace.h"
#include "tests/eval/eval_fixture.h"

namespace vorn {

namespace {

// The endings scored without the full evaluation lie beyond the benchmark's
// trees; what chess decides about them is pinned here.
TEST(Evaluate, WorkedScores) {
    const struct {
        const char* fen;
        int score;
    } cases[] = {
        // King and pawn against king: opposition, the side to move gives way
        // (a black pawn's scores are the symmetry test's).
        {"8/4k3/8/4K3/4P3/8/8/8 w - -", 0},
        {"8/4k3/8/4K3/4P3/8/8/8 b - -", -800},
        // Rook pawn with the defender in the corner: drawn even with the opposition.
        {"k7/8/PK6/8/8/8/8/8 w - -", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(eval_fen(c.fen), c.score) << c.fen;
    // Bishop and knight: the bishop's corner, nearer kings score more.
    EXPECT_GT(eval_fen("k7/8/8/8/8/2K5/3N4/3B4 w - -"), eval_fen("k7/8/8/8/8/2K5/3N4/2B5 w - -"));
    EXPECT_GT(eval_fen("8/8/8/8/8/1K6/3N4/k1B5 w - -"), eval_fen("8/8/8/3k4/8/8/3N1K2/2B5 w - -"));
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
    Evaluator eval;
    for (const char* fen : draws) {
        EXPECT_EQ(eval(Board(fen).pos), 0) << fen;
        EXPECT_EQ(eval.out.material_draw, 1) << fen;
    }
    // Two bishops are not a dead draw.
    EXPECT_GT(eval(Board("8/8/4k3/8/8/3K4/2B1B3/8 w - -").pos), 0);
    EXPECT_EQ(eval.out.material_draw, 0);
}

TEST(DrawScaling, Factors) {
    const struct {
        const char* fen;
        double factor;
    } cases[] = {
        // Opposite bishops, one extra pawn (two against one), nothing else.
        {"4k3/7p/2b5/8/8/2B5/3PP3/4K3 w - -", 0.2125},
        // Two knights (and nothing else) against a pawn.
        {"8/8/4k3/8/8/3K2p1/2N1N3/8 w - -", 0.05},
        // Rook and pawn against rook: the defending king in front of the pawn.
        {"4k3/4r3/8/8/8/8/R3P3/4K3 w - -", 0.8 * 0.75},
        // Rook pawn with a wrong bishop, defender in the corner ...
        {"k7/8/8/8/8/8/P7/1KB5 w - -", 0.06},
        // ... but the bishop of the promotion square's colour wins.
        {"k7/8/8/8/8/8/P7/1K1B4 w - -", 1.0},
        // A pawn each: the leader's pawn alone decides, drawn (a6 against
        // Kb8) or won (h2 queens, the leader is not to move).
        {"1k6/8/P7/7p/8/8/8/7K w - -", 0.25},
        {"8/8/1k6/8/8/2K5/3P3p/8 w - -", 1.0},
        // Full material: never scaled.
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBN1 w Qkq -", 1.0},
    };
    Evaluator eval;
    for (const auto& c : cases) {
        traced_evaluation_report(Board(c.fen).pos, *eval.state);
        EXPECT_DOUBLE_EQ(eval_trace.draw_adj, c.factor) << c.fen;
    }
    // Scores below 15 either way are never scaled.
    Board bare("4k3/8/8/8/8/8/8/4K3 w - -");
    EvalInfo info{};
    info.pos = &bare.pos;
    double adj = 0;
    EXPECT_EQ(draw_scale(info, 14, adj), 14);
    EXPECT_EQ(adj, 1.0);
    EXPECT_EQ(draw_scale(info, -14, adj), -14);
}

}  // namespace

}  // namespace vorn
