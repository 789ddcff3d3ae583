#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "board/make_move.h"
#include "board/notation.h"
#include "core/shell_state.h"
#include "tests/board/board_fixture.h"

namespace vorn {

namespace {

class NotationTest : public BoardTest {
protected:
    void TearDown() override { shell.protocol_mode = PROTOCOL_UCI; }

    struct Forms {
        std::string coordinate, san, with_file, with_rank;
    };
    Forms forms(const char* text, Move promotion = 0) {
        Move m = encode_move((text[1] - '1') * 8 + (text[0] - 'a'), (text[3] - '1') * 8 + (text[2] - 'a'),
                             promotion);
        char c[kMoveTextSize], s[kMoveTextSize], f[kMoveTextSize], r[kMoveTextSize];
        move_to_san(pos, m, c, s, f, r);
        return {c, s, f, r};
    }
    // The move parse_move finds, as coordinates, or "" when it finds none.
    std::string parsed(const char* text) {
        Move m = 0;
        if (!parse_move(pos, text, &m)) return "";
        char buffer[kMoveTextSize];
        shell.protocol_mode = PROTOCOL_UCI;
        return move_to_text(m, buffer);
    }
};

// The four forms move_to_san writes; nullptr where a case does not check one.
struct SanCase {
    const char* fen;
    const char* move;
    Move promotion;
    const char *coordinate, *san, *with_file, *with_rank;
};

const char* const kTwoKnights = "4k3/8/8/8/8/5N2/8/RN2K3 w - - 0 1";
const char* const kThreeQueens = "4k3/8/8/8/Q6Q/8/8/Q3K3 w - - 0 1";  // a1 shares a4's file, h4 its rank
const char* const kPawns = "1r6/P6k/8/3p4/4P3/8/8/4K3 w - - 0 1";
const char* const kCastles = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1";
const char* const kKingOnB = "rk5r/pppppppp/8/8/8/8/PPPPPPPP/RK5R w HAha - 0 1";

const SanCase kSanCases[] = {
    {kTwoKnights, "b1d2", 0, "b1d2", "Nbd2", "Nbd2", "N1d2"},
    {kThreeQueens, "a4d4", 0, nullptr, "Qa4d4", nullptr, nullptr},
    {kThreeQueens, "a1d4", 0, nullptr, "Q1d4", nullptr, nullptr},
    // A pinned knight still counts as a candidate.
    {"4k3/4r3/8/1N6/8/8/4N3/4K3 w - - 0 1", "b5c3", 0, nullptr, "Nbc3", nullptr, nullptr},
    {"4k3/8/8/3p4/8/2N5/8/4K3 w - - 0 1", "c3d5", 0, nullptr, "Nxd5", "Ncxd5", "N3xd5"},
    {kPawns, "e4e5", 0, nullptr, "e5", "", ""},
    {kPawns, "e4d5", 0, nullptr, "exd5", "ed", nullptr},
    {kPawns, "a7b8", kPromoteQueen, "a7b8=Q", "axb8=Q", "ab=Q", nullptr},
    {kPawns, "a7a8", kPromoteRook, "a7a8=R", "a8=R", nullptr, nullptr},
    {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", 0, nullptr, "exd6", nullptr, nullptr},
    {kCastles, "e1g1", 0, nullptr, "o-o", "O-O", "0-0"},
    {kCastles, "e1c1", 0, nullptr, "o-o-o", "O-O-O", "0-0-0"},
    // Chess960 castling is the king taking its rook; the rook may give check.
    {kKingOnB, "b1a1", 0, "b1a1", "o-o-o", "O-O-O", "0-0-0"},
    {"5k2/8/8/8/8/8/8/1K5R w H - 0 1", "b1h1", 0, "b1h1+", "o-o+", "O-O+", "0-0+"},
    {"4k3/8/8/8/8/8/8/R3K3 w - - 0 1", "a1a8", 0, "a1a8+", "Ra8+", "Raa8+", "R1a8+"},
    // Mate is not marked differently.
    {"6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1", "a1a8", 0, nullptr, "Ra8+", nullptr, nullptr},
};

TEST_F(NotationTest, SanForms) {
    for (const SanCase& c : kSanCases) {
        set(c.fen);
        Forms f = forms(c.move, c.promotion);
        const std::pair<const char*, const std::string&> checks[] = {
            {c.coordinate, f.coordinate}, {c.san, f.san}, {c.with_file, f.with_file}, {c.with_rank, f.with_rank}};
        for (const auto& [expected, actual] : checks) {
            if (!expected) continue;
            EXPECT_EQ(actual, expected) << c.fen << " " << c.move;
        }
    }
}

// Each spelling with the move it names ("" for none).
TEST_F(NotationTest, ParseEverySpelling) {
    const struct {
        const char* fen;
        std::vector<std::pair<const char*, const char*>> spellings;
    } cases[] = {
        {kStartFen, {{"e2e4", "e2e4"}, {"Nf3", "g1f3"}, {"Ngf3", "g1f3"}, {"N1f3", "g1f3"}, {"Nf3+", "g1f3"},
                     {"e4", "e2e4"}, {"E2E4", ""}, {"nf3", ""}, {"e2e5", ""}, {"Ke2", ""}}},
        {kCastles, {{"o-o", "e1g1"}, {"O-O", "e1g1"}, {"0-0", "e1g1"}, {"0-0-0", "e1c1"}}},
        {kKingOnB, {{"O-O-O", "b1a1"}, {"b1a1", "b1a1"}, {"O-O", "b1h1"}, {"b1h1", "b1h1"}, {"Kc1", "b1c1"}}},
        {"4k3/4P3/8/3p4/4P3/8/8/4K3 w - - 0 1", {{"exd5", "e4d5"}, {"ed", "e4d5"}}},
        // A promotion needs its piece.
        {"3rk3/2P5/8/8/8/8/8/4K3 w - - 0 1", {{"c8=Q", "c7c8q"}, {"c8q", "c7c8q"}, {"c7c8=Q", "c7c8q"},
                                              {"c7c8=n", "c7c8n"}, {"cxd8=R+", "c7d8r"}, {"cd=B", "c7d8b"},
                                              {"c7c8", ""}}},
        // A pawn-capture shorthand towards the b-file reads as a promotion.
        {"4k3/8/8/8/8/1p6/2P5/4K3 w - - 0 1", {{"cxb3", "c2b3"}, {"cb", ""}}},
        // The pinned knight's move is generated but illegal.
        {"4k3/4r3/8/8/8/8/4N3/4K3 w - - 0 1", {{"Nc3", ""}, {"Kd1", "e1d1"}}},
    };
    for (const auto& c : cases) {
        set(c.fen);
        for (const auto& [text, move] : c.spellings) EXPECT_EQ(parsed(text), move) << c.fen << " " << text;
    }
}

TEST_F(NotationTest, AmbiguityAndGarbage) {
    // Two knights reach d2 and the text names neither: two matches.
    set("4k3/8/8/8/8/5N2/8/1N2K3 w - - 0 1");
    testing::internal::CaptureStdout();
    EXPECT_EQ(parsed("Nd2"), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");  // "Nd2" matches no form at all
    EXPECT_EQ(parsed("Nbd2"), "b1d2");

    // Two rooks on one rank share the form with the rank digit.
    set("4k3/8/8/8/8/8/K7/R6R w - - 0 1");
    testing::internal::CaptureStdout();
    EXPECT_EQ(parsed("R1f1"), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ambiguous move\n");
    EXPECT_EQ(parsed("Raf1"), "a1f1");

    set(kStartFen);
    const char* garbage[] = {"", "+", "=", "=Q", "q", "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx",
                             "e2", "e9e4", "\x01\x02", "o", "0", "--", "Q=Q", "a1a1"};
    for (const char* text : garbage) EXPECT_EQ(parsed(text), "") << text;
}

}  // namespace

}  // namespace vorn
