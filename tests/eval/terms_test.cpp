// Single evaluation terms, checked on the per-thread scratch record after a
// full evaluation: pawn structure, passers, pieces, hung and pinned pieces,
// and king safety.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "eval/eval_terms.h"
#include "eval/pawn_hash.h"
#include "tests/eval/eval_fixture.h"

namespace {

// Runs a full evaluation so that `info` holds every attack map, then lets a
// test re-run one term group on zeroed accumulators.
struct Scratch {
    Board board;
    Evaluator eval;
    EvalInfo& info;
    explicit Scratch(const char* fen) : board(fen), info(eval.state->info) {
        // A side to move in check would skip the evaluation and leave no maps.
        if (eval(board.pos) == kInCheckScore) {
            std::fprintf(stderr, "side to move in check: %s\n", fen);
            std::abort();
        }
        zero();
    }
    void zero() {
        for (int s = 0; s < 2; ++s) info.pos_op[s] = info.pos_en[s] = 0;
        info.stack->threat[0] = info.stack->threat[1] = 0;
        info.hung = info.pinned = 0;
    }
};

PawnHashEntry pawn_entry(const char* fen) {
    Board board(fen);
    PawnHashEntry e{};
    compute_pawn_entry(board.pos, e, nullptr);
    return e;
}

// Change of White's positional opening total when one parameter grows by
// `delta`: how often (and how scaled) the term applies.
int white_opening_effect(const char* fen, int16_t EngineParams::*field, int delta) {
    Board board(fen);
    Evaluator eval;
    eval(board.pos);
    const int before = eval.state->info.pos_op[0];
    const EngineParams saved = params;
    params.*field = int16_t(params.*field + delta);
    eval(board.pos);
    const int after = eval.state->info.pos_op[0];
    params = saved;
    return after - before;
}

TEST(PawnStructure, LoneRookPawnIsWeakIsolatedAndBackward) {
    PawnHashEntry e = pawn_entry("4k3/8/8/8/8/8/P7/4K3 w - -");
    const EngineParams& p = params;
    EXPECT_EQ(e.score_op[0], p.pst[kPawn][8].op + p.pawn_backward_op + p.pawn_isolated_op + p.pawn_weak_op);
    EXPECT_EQ(e.score_en[0], p.pst[kPawn][8].en + p.pawn_backward_en + p.pawn_isolated_en + p.pawn_weak_en);
}

TEST(PawnStructure, DoubledConnectedProtected) {
    // c2 and c3 doubled: both pay.
    PawnHashEntry doubled = pawn_entry("4k3/8/8/8/8/2P5/2P5/4K3 w - -");
    EngineParams saved = params;
    params.pawn_doubled_op = -105;
    PawnHashEntry heavier = pawn_entry("4k3/8/8/8/8/2P5/2P5/4K3 w - -");
    params = saved;
    EXPECT_EQ(doubled.score_op[0] - heavier.score_op[0], 2 * 100);

    const EngineParams& p = params;
    // d4 and e4 side by side: connected_bonus[3] = 5 each; each covers the
    // other's stop square, so nothing else applies.
    PawnHashEntry duo = pawn_entry("4k3/8/8/8/3PP3/8/8/4K3 w - -");
    EXPECT_EQ(duo.score_op[0], p.pst[1][27].op + p.pst[1][28].op + 10);
    EXPECT_EQ(duo.score_en[0], p.pst[1][27].en + p.pst[1][28].en + 10);
    // e4 defended by f3: protected_bonus[e4] = 4; f3 itself is backward and
    // weak (no pawn can cover f4), not isolated.
    PawnHashEntry chain = pawn_entry("4k3/8/8/8/4P3/5P2/8/4K3 w - -");
    EXPECT_EQ(chain.score_op[0], p.pst[1][28].op + 4 + p.pst[1][21].op + p.pawn_backward_op + p.pawn_weak_op);
    // Black's mirror image scores the same for Black.
    PawnHashEntry mirror = pawn_entry("4k3/8/5p2/4p3/8/8/8/4K3 b - -");
    EXPECT_EQ(mirror.score_op[1], chain.score_op[0]);
    EXPECT_EQ(mirror.score_en[1], chain.score_en[0]);
}

TEST(PawnStructure, PassedAndCandidateSets) {
    // The candidate test counts enemy pawns on the ranks beyond the stop
    // square, on the pawn's own file and both neighbours, against own pawns
    // beside it. In these pawn endings (stage 24) the candidate term is the
    // only passer term: ((r - 2) x 32 + 24 x d) x pawn_candidate / 256, with
    // d the enemy king's distance to the square two ahead.
    struct Case {
        const char* fen;
        Bitboard passed, candidates;
        int white_en, black_en;  // evaluate_passers' endgame terms
    } cases[] = {
        // d7 stands beyond e6 on a neighbouring file and nothing helps e5.
        {"1k6/3p4/8/4P3/8/8/8/6K1 w - -", 0, 0, 0, 0},
        // With d5 beside it, e5 may go through (d5 itself faces d7).
        {"1k6/3p4/8/3PP3/8/8/8/6K1 w - -", 0, square_bit(36), (2 * 32 + 24 * 3) * 48 / 256, 0},
        // Two enemies against one helper: no candidate.
        {"1k6/3p1p2/8/3PP3/8/8/8/6K1 w - -", 0, 0, 0, 0},
        // d6 stands on the stop square's rank, not beyond it.
        {"1k6/8/3p4/4P3/8/8/8/6K1 w - -", 0, square_bit(36), (2 * 32 + 24 * 3) * 48 / 256, 0},
        // Black's mirror images.
        {"6k1/8/8/8/4p3/8/3P4/1K6 b - -", 0, 0, 0, 0},
        {"6k1/8/8/8/3pp3/8/3P4/1K6 b - -", 0, square_bit(28), 0, (2 * 32 + 24 * 3) * 48 / 256},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(pawn_entry(c.fen).candidates, c.candidates) << c.fen;
        Scratch s(c.fen);
        EXPECT_EQ(s.info.pawn_entry->passed, c.passed) << c.fen;
        evaluate_passers(s.info);
        EXPECT_EQ(s.info.pos_en[0], c.white_en) << c.fen;
        EXPECT_EQ(s.info.pos_en[1], c.black_en) << c.fen;
        EXPECT_EQ(s.info.pos_op[0] + s.info.pos_op[1], 0) << c.fen;
    }
    // White: a5 passed; e5 against f7 with d5 beside it is a candidate;
    // passers are not candidates.
    PawnHashEntry e = pawn_entry("4k3/5p2/8/P2PP3/8/8/8/4K3 w - -");
    EXPECT_EQ(e.passed, square_bit(32) | square_bit(35));
    EXPECT_EQ(e.candidates, square_bit(36));
    // A pawn with an enemy pawn straight ahead is never a candidate.
    PawnHashEntry blocked = pawn_entry("4k3/4p3/8/4P3/8/8/8/4K3 w - -");
    EXPECT_EQ(blocked.candidates, 0u);
    EXPECT_EQ(blocked.passed, 0u);
}

TEST(PawnStructure, BlockedCentrePawnsCostTwentyEight) {
    Scratch s("4k3/8/8/8/8/3NB3/3PP3/4K3 w - -");
    const PawnHashEntry& e = *s.info.pawn_entry;
    evaluate_pawns(s.info, s.eval.state->pawn_hash, false, s.eval.state->pawn_probes, s.eval.state->pawn_hits);
    EXPECT_EQ(s.info.pos_op[0], e.score_op[0] - 28);
    EXPECT_EQ(s.info.pos_en[0], e.score_en[0] - 28);
    EXPECT_EQ(s.info.pos_op[1], e.score_op[1]);
}

TEST(Passers, FreePasserOnTheSeventh) {
    Scratch s("8/4P3/8/7k/8/8/8/KR5r w - -");
    evaluate_passers(s.info);
    EXPECT_EQ(s.info.stack->threat[1], 1600 + 100 + 800);
    EXPECT_EQ(s.info.stack->threat[0], 0);
    // base = 138 + 67 + 4 x 7 = 233, and base / 4 more with the enemy king
    // outside the square; kings 7 (a1) and 3 (h5) from e8:
    // (28 x 3 - 18 x 7) x 7 / 16 = -18, so 233 + 58 - 18.
    EXPECT_EQ(s.info.pos_en[0], 273);
    EXPECT_EQ(s.info.pos_op[0], 136);
}

TEST(Passers, UnsafeAdvanceEarnsNoExtra) {
    // e6-e7 would be taken by the rook on a7 for nothing.
    Scratch s("8/r7/4P3/7k/8/8/8/1K6 w - -");
    evaluate_passers(s.info);
    EXPECT_EQ(s.info.stack->threat[1], 0);
    // Defended by the king, the advance is safe again.
    Scratch t("5K2/r7/4P3/7k/8/8/8/8 w - -");
    evaluate_passers(t.info);
    EXPECT_GT(t.info.stack->threat[1], 0);
}

TEST(SafeAdvance, Exchanges) {
    struct Case {
        const char* fen;
        int from, to, expected;
    } cases[] = {
        {"4k3/8/3p4/8/4P3/8/8/4K3 w - -", 28, 36, -100},  // e4-e5, d6 takes
        {"4k3/8/3p4/8/4PP2/8/8/4K3 w - -", 28, 36, 0},    // f4 recaptures
        {"4k3/8/8/8/4P3/8/8/4K3 w - -", 28, 36, 0},       // nothing attacks e5
        // a2-a3 Rxa3 Rxa3 Rxa3: the a8 rook joins once a7 has gone.
        {"r3k3/r7/8/8/8/8/P7/R3K3 w - -", 8, 16, -100},
        {"r3k3/8/8/8/8/8/P7/R3K3 w - -", 8, 16, 0},  // Rxa3 Rxa3 loses the rook
    };
    for (const Case& c : cases) {
        Board b(c.fen);
        Bitboard occ = b.pos.pieces[0][0] | b.pos.pieces[1][0];
        EXPECT_EQ(safe_advance(b.pos, 0, c.from, c.to, occ), c.expected) << c.fen;
    }
}

TEST(Pieces, TrappedRookAndOutpost) {
    EXPECT_EQ(white_opening_effect("4k3/8/8/8/8/8/P1P5/RK6 w - -", &EngineParams::rook_trapped, -100), -100);
    // Without its own pawn on the a-file the rook counts as on an open file.
    EXPECT_EQ(white_opening_effect("4k3/8/8/8/8/8/2P5/RK6 w - -", &EngineParams::rook_trapped, -100), 0);
    // Knight on e5 defended by d4, out of reach of Black's pawns.
    EXPECT_EQ(white_opening_effect("4k3/8/8/4N3/3P4/8/8/4K3 w - -", &EngineParams::knight_outpost, 100), 100);
    // A knight that only eyes an outpost square gets half.
    EXPECT_EQ(white_opening_effect("4k3/8/8/8/3P4/5N2/8/4K3 w - -", &EngineParams::knight_outpost, 100), 50);
}

TEST(HungPieces, TwoHungPiecesPayExtra) {
    // Knight a5 and bishop h4 attacked by Black's queen and not defended.
    Scratch s("3qk3/8/8/N7/7B/8/8/4K3 b - -");
    evaluate_hung(s.info);
    const EngineParams& p = params;
    EXPECT_EQ(s.info.pos_op[0], 2 * p.hung_op - 12);
    EXPECT_EQ(s.info.pos_en[0], 2 * p.hung_en - 12);
    // The queen, attacked by the bishop, is hung on Black's side.
    EXPECT_EQ(s.info.hung, square_bit(32) | square_bit(31) | square_bit(59));
    EXPECT_EQ(s.info.stack->threat[0], 330);
    EXPECT_EQ(s.info.stack->threat[1], 1060);
    EXPECT_EQ(s.info.pos_op[1], p.hung_op);
}

TEST(HungPieces, DefendedPiecesAndHeavyPieces) {
    // Knight defended by a pawn is not hung; a rook attacked by a knight is,
    // defended or not; a queen attacked by a rook is.
    Scratch s("4k3/8/8/2n3r1/1N6/P7/8/R3K1Q1 w - -");
    evaluate_hung(s.info);
    EXPECT_FALSE(s.info.hung & square_bit(25));  // Nb4, pawn a3 defends
    EXPECT_TRUE(s.info.hung & square_bit(6));    // Qg1, rook g5 attacks
    EXPECT_EQ(s.info.stack->threat[0], 1060);
}

TEST(Pins, PinnedPawnScoresNothing) {
    Scratch s("4k3/8/8/b7/8/2P5/8/4K3 w - -");
    evaluate_pins(s.info);
    EXPECT_EQ(s.info.pinned, square_bit(18));
    EXPECT_EQ(s.info.pos_op[0], 0);
    Scratch t("4k3/8/8/b7/8/2N5/8/4K3 w - -");
    evaluate_pins(t.info);
    EXPECT_EQ(t.info.pos_op[0], params.pinned_op);
    EXPECT_EQ(t.info.pos_en[0], params.pinned_en);
    // A rook pinning a knight to its lone queen counts too.
    Scratch u("4k3/8/8/8/r1N1Q3/8/8/4K3 w - -");
    evaluate_pins(u.info);
    EXPECT_EQ(u.info.pos_op[0], params.pinned_op);
}

TEST(KingSafety, PawnShield) {
    // The enemy queen keeps the opening term whole (phase count 4 > 3):
    // f2, g2, h2 give s = 1 + 3 + 3 + 3 = 10, one unit of the shield.
    EXPECT_EQ(white_opening_effect("3qk3/8/8/8/8/8/5PPP/6K1 w - -", &EngineParams::pawn_shield, 100), 100);
    // No pawn around: s = 0, minus nine units.
    EXPECT_EQ(white_opening_effect("3qk3/8/8/8/8/8/8/N5K1 w - -", &EngineParams::pawn_shield, 100), -900);
}

TEST(KingSafety, NoEnemyQueenHalvesTheOpeningTerm) {
    // Knights and a bishop (phase count 3) that reach nothing near the king:
    // s = 10, no storm, no attacks, sheltered g1, index 0.
    Scratch s("nn2k3/7b/8/8/8/8/5PPP/6K1 w - -");
    evaluate_king(s.info, 0, 6);
    const EngineParams& p = params;
    EXPECT_EQ(s.info.pos_op[0], (p.pst[kKing][6].op + p.pawn_shield) / 2);
    // With only a rook (phase count 2) the shelter is not looked at at all.
    Scratch t("3rk3/8/8/8/8/8/5PPP/6K1 w - -");
    evaluate_king(t.info, 0, 6);
    EXPECT_EQ(t.info.pos_op[0], p.pst[kKing][6].op / 2);
}

TEST(KingSafety, StormOnlyAgainstTheOtherWing) {
    // Black's two rooks make the shelter count (phase count 4, no queen, so
    // the opening term is halved): three shield files without Black pawns.
    EXPECT_EQ(white_opening_effect("2k1r1r1/8/8/8/8/8/5PPP/6K1 w - -", &EngineParams::pawn_storm, -100), -150);
    EXPECT_EQ(white_opening_effect("4r1rk/8/8/8/8/8/5PPP/6K1 w - -", &EngineParams::pawn_storm, -100), 0);
}

}  // namespace
