// Probe results against an independent engine's verdicts on random legal
// positions of every shared table (both sides to move, en-passant cases
// included; scripts/tb_oracle.py made the data), the root probe against its
// ranking of root moves with 90 to 100 plies on the fifty-move counter, and
// the evaluation's own king-and-pawn table against KPvK on every placement,
// for either pawn colour.

#include <algorithm>
#include <fstream>
#include <sstream>
#include <vector>

#include "eval/kpk.h"
#include "tests/tablebase/tb_fixture.h"

namespace vorn {

namespace {

struct OracleCase {
    std::string fen;
    int wdl, dtz;
};

std::vector<OracleCase> load_cases() {
    std::ifstream in(std::string(VORN_SOURCE_DIR) + "/tests/tablebase/oracle_positions.txt");
    std::vector<OracleCase> cases;
    std::string placement, side, ep;
    int wdl, dtz;
    while (in >> placement >> side >> ep >> wdl >> dtz) cases.push_back({placement + " " + side + " - " + ep, wdl, dtz});
    return cases;
}

// The placement with every square's number XORed with `flip`: 7 mirrors the
// files; 56 turns the board upside down, and then colours and turn swap too.
TbPosition flipped(const TbPosition& p, int flip) {
    auto move = [flip](Bitboard b) {
        Bitboard out = 0;
        for (; b; b &= b - 1) out |= square_bit(std::countr_zero(b) ^ flip);
        return out;
    };
    TbPosition m = p;
    for (Bitboard TbPosition::*field : {&TbPosition::white, &TbPosition::black, &TbPosition::kings,
                                        &TbPosition::queens, &TbPosition::rooks, &TbPosition::bishops,
                                        &TbPosition::knights, &TbPosition::pawns})
        m.*field = move(p.*field);
    m.ep = p.ep ? uint8_t(p.ep ^ flip) : 0;
    if (flip == 56) {
        std::swap(m.white, m.black);
        m.turn = uint8_t(m.turn ^ 1);
    }
    return m;
}

TEST(TbOracle, WdlAndDtzMatchOnEveryCaseAndItsMirrorImages) {
    use_shared_tables();
    const std::vector<OracleCase> cases = load_cases();
    ASSERT_GE(cases.size(), 3000u);
    int wrong = 0, en_passant = 0;
    for (const OracleCase& c : cases) {
        const TbPosition p = TbBoard(c.fen).tb();
        en_passant += p.ep != 0;
        for (const TbPosition& q : {p, flipped(p, 56), flipped(p, 7)}) {
            int ok_wdl, ok_dtz;
            const int wdl = probe_wdl(q, ok_wdl);
            const int dtz = probe_dtz(q, ok_dtz);
            if ((!ok_wdl || !ok_dtz || wdl != c.wdl || dtz != c.dtz) && ++wrong <= 10)
                ADD_FAILURE() << c.fen << ": wdl " << wdl << " dtz " << dtz << ", oracle " << c.wdl << " " << c.dtz;
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GE(en_passant, 200);
}

// Near the fifty-move limit the counter decides between a win and a draw:
// the root's class, the moves that keep it and the chosen one must agree
// with the oracle's ranking of every root move under the rule. From 99 plies
// on, the oracle calls every move that is neither mate nor zeroing a draw
// outright (the position after it can be claimed) where the tables still
// tell a cursed win or blessed loss: there only the band is compared.
TEST(TbOracle, RootProbeNearTheFiftyMoveLimit) {
    use_shared_tables();
    std::ifstream in(std::string(VORN_SOURCE_DIR) + "/tests/tablebase/fifty_positions.txt");
    std::string line;
    int cases = 0, wrong = 0;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string placement, side, move;
        int counter, result;
        fields >> placement >> side >> counter >> result;
        std::vector<std::string> keeping;
        while (fields >> move) keeping.push_back(move);
        int wdl, dtz;
        Move chosen;
        const int got = tb_probe_root(TbBoard(placement + " " + side + " - -", counter).pos, &wdl, &dtz, &chosen);
        std::vector<std::string> kept;
        for (const Move* m = root_tb_moves; *m; m++) kept.push_back(coordinates(*m));
        std::sort(kept.begin(), kept.end());
        const bool agrees = counter >= 99 && result >= 1 && result <= 3
                                ? got >= 1 && got <= 3
                                : got == result && kept == keeping &&
                                      std::find(kept.begin(), kept.end(), coordinates(chosen)) != kept.end();
        cases++;
        if (!agrees && ++wrong <= 10)
            ADD_FAILURE() << line << "\n  got " << got << " " << coordinates(chosen) << ", kept "
                          << testing::PrintToString(kept);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GE(cases, 300);
}

TEST(TbOracle, KingAndPawnTableAgreesWithKPvK) {
    use_shared_tables();
    init_kpk_table();
    int compared = 0, wrong = 0;
    for (int pawn = 8; pawn < 56; pawn++)
        for (int wk = 0; wk < 64; wk++)
            for (int bk = 0; bk < 64; bk++)
                for (int turn = 0; turn < 2; turn++) {
                    if (wk == pawn || bk == pawn || wk == bk || (king_attacks[wk] & square_bit(bk))) continue;
                    TbPosition p{};
                    p.white = square_bit(wk) | square_bit(pawn);
                    p.black = p.kings = square_bit(bk);
                    p.kings |= square_bit(wk);
                    p.pawns = square_bit(pawn);
                    p.turn = uint8_t(turn);
                    if (turn == 1 && (pawn_attacks[kWhite][pawn] & square_bit(bk))) continue;  // Black in check, White to move
                    int ok;
                    const int wdl = probe_wdl(p, ok);
                    ASSERT_TRUE(ok);
                    const bool won = (turn == 1 ? wdl : -wdl) == 2;
                    compared++;
                    // The same placement turned round for a black pawn reads the same entry.
                    const bool black_won = kpk_won(kBlack, 63 - pawn, 63 - wk, 63 - bk, turn == 1);
                    if ((kpk_won(kWhite, pawn, wk, bk, turn == 1) != won || black_won != won) && ++wrong <= 5)
                        ADD_FAILURE() << "pawn " << pawn << " wk " << wk << " bk " << bk << " turn " << turn;
                }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(compared, 300000);
}

}  // namespace

}  // namespace vorn
