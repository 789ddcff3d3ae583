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

TbPosition mirrored_files(const TbPosition& p) {
    auto mirror = [](Bitboard b) {
        Bitboard out = 0;
        for (; b; b &= b - 1) out |= square_bit(std::countr_zero(b) ^ 7);
        return out;
    };
    TbPosition m = p;
    for (Bitboard TbPosition::*field : {&TbPosition::white, &TbPosition::black, &TbPosition::kings,
                                        &TbPosition::queens, &TbPosition::rooks, &TbPosition::bishops,
                                        &TbPosition::knights, &TbPosition::pawns})
        m.*field = mirror(p.*field);
    m.ep = p.ep ? uint8_t(p.ep ^ 7) : 0;
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
        for (const TbPosition& q : {p, colour_reversed(p), mirrored_files(p)}) {
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

// Moving along the table's best line shortens the distance by one ply, up
// to the rounding of tables that store full moves: the fastest winning
// move fits the position's DTZ, no move wins faster, and a losing side's
// longest resistance fits its DTZ the same way.
TEST(TbOracle, DtzAgreesWithTheChildrensDtz) {
    use_shared_tables();
    const std::vector<std::vector<std::string>> classes = {
        {"KQvK", "KRvK", "KPvK"},
        {"KBNvK", "KQvKR", "KRvKP", "KPPvK", "KPvKP", "KBBvK", "KQvKP", "KRvKN"},
        {"KQRvKR", "KRPvKR", "KRBvKR", "KRNvKR", "KRRvKR"}};
    std::mt19937 rng(7);
    for (const auto& group : classes) {
        int checked = 0, wrong = 0;
        for (int n = 0; n < 1200; n++) {
            const std::string& material = group[n % group.size()];
            const TbPosition p = random_position(material, rng);
            int ok;
            const int dtz = probe_dtz(p, ok);
            ASSERT_TRUE(ok) << material;
            if (dtz == 0 || dtz > 100 || dtz < -100) continue;
            TbMove moves[kTbMaxMoves];
            const int count = tb_legal_moves(p, moves, false);
            bool zeroing_win = false, zeroing_loss_only = true;
            int fastest = 1000, longest = 0;
            for (int i = 0; i < count; i++) {
                const TbPosition child = tb_make_move(p, moves[i]);
                if (child.rule50 == 0 || tb_is_mate(child)) {
                    const int w = -probe_wdl(child, ok);
                    zeroing_win |= w == 2 || tb_is_mate(child);
                    zeroing_loss_only &= w == -2;
                    continue;
                }
                const int d = probe_dtz(child, ok);
                if (d < 0 && d >= -100) fastest = std::min(fastest, 1 - d);
                if (d > 0 && d <= 100) longest = std::max(longest, d + 1);
            }
            checked++;
            bool fits;
            if (dtz > 0) fits = zeroing_win ? dtz == 1 : std::abs(fastest - dtz) <= 1;
            else if (dtz == -1) fits = true;  // mated, or every move hands over a zeroing win
            else fits = zeroing_loss_only && std::abs(longest + dtz) <= 1;
            if (!fits && ++wrong <= 5) ADD_FAILURE() << material << " dtz " << dtz << " fastest " << fastest << " longest " << longest;
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_GT(checked, 500);
    }
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
