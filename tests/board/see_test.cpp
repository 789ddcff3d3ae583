#include <gtest/gtest.h>

#include "board/see.h"
#include "tests/board/board_fixture.h"

namespace vorn {

namespace {

class SeeTest : public BoardTest {
protected:
    Bitboard occupancy() const { return pos.pieces[0][0] | pos.pieces[1][0]; }
    static int square(const char* name) { return (name[1] - '1') * 8 + (name[0] - 'a'); }
};

constexpr int kSkip = -99999;

// Exchange values worked out by hand: `see` forced to make the first capture
// and free to decline it, and whether capture_not_losing lets it through.
const struct SeeCase {
    const char* fen;
    const char* move;
    int forced, may_stop;
    int not_losing;  // 1, 0, or kSkip
} kSeeCases[] = {
    // Rook takes a pawn defended by a pawn: 100 - 530.
    {"4k3/8/2p5/3p4/8/8/8/3RK3 w - -", "d1d5", -430, 0, 0},
    // Queen takes an undefended knight; knight takes a bishop defended by a pawn.
    {"4k3/8/8/3n4/8/8/8/3QK3 w - -", "d1d5", 330, kSkip, 1},
    {"4k3/8/2p5/3b4/8/4N3/8/4K3 w - -", "e3d5", kSkip, kSkip, 1},
    // The d8 rook seems to defend e5 but does not.
    {"1k1r4/1pp4p/p7/4p3/8/P5P1/1PP4P/2K1R3 w - -", "e1e5", 100, kSkip, 1},
    // NxP, NxN, RxN, BxR, QxB (x-ray behind the rook), QxQ (x-ray behind the
    // bishop); White stops before the last loss.
    {"1k1r3q/1ppn3p/p4b2/4p3/8/P2N2P1/1PP1R1BP/2K1Q3 w - -", "d3e5", -230, 0, 0},
    // The queen may not recapture into the rook behind.
    {"4k3/8/3q4/4p3/3P4/8/8/4RK2 w - -", "d4e5", 100, kSkip, kSkip},
    {"4k3/8/3q4/4p3/3P4/8/8/5K2 w - -", "d4e5", 0, kSkip, kSkip},
    {"3qk3/8/8/3r4/8/8/3R4/3RK3 w - -", "d2d5", 530, kSkip, 1},
    {"4k3/8/4p3/3n4/8/8/8/B3K3 w - -", "a1d5", 0, kSkip, 1},
    // Losing beyond the 74 margin: RxN and BxP, each retaken by a pawn.
    {"4k3/8/4p3/3n4/8/8/8/3RK3 w - -", "d1d5", kSkip, kSkip, 0},
    {"4k3/8/4p3/3p4/8/8/8/B3K3 w - -", "a1d5", kSkip, kSkip, 0},
    // The king recaptures last: here the pawn first, else the bishop takes the king.
    {"8/8/2p1k3/3p4/8/5B2/8/3RK3 w - -", "d1d5", -430, 0, kSkip},
    // The rook recaptures before the queen; -30 is within the margin.
    {"3r4/7k/8/q2p4/8/2N2B2/8/4K3 w - -", "c3d5", -30, 0, 1},
    // RxB, NxR, PxN: the recapture is answered.
    {"4k3/8/5n2/3b4/2P5/8/8/3RK3 w - -", "d1d5", 130, kSkip, 1},
    // En passant wins nothing: free when undefended, losing when the pawn is retaken.
    {"4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5d6", kSkip, kSkip, 1},
    {"4k3/2p5/8/3pP3/8/8/8/4K3 w - d6", "e5d6", kSkip, kSkip, 0},
};

TEST_F(SeeTest, ExchangesAgainstWorkedValues) {
    for (const SeeCase& c : kSeeCases) {
        SCOPED_TRACE(std::string(c.fen) + " " + c.move);
        set(c.fen);
        const Position before = pos;
        const int from = square(c.move), to = square(c.move + 2);
        if (c.forced != kSkip) {
            EXPECT_EQ(see(pos, kWhite, from, to, occupancy(), false), c.forced);
        }
        if (c.may_stop != kSkip) {
            EXPECT_EQ(see(pos, kWhite, from, to, occupancy(), true), c.may_stop);
        }
        if (c.not_losing != kSkip) {
            EXPECT_EQ(capture_not_losing(pos, encode_move(from, to)), c.not_losing == 1);
        }
        EXPECT_TRUE(same_position(pos, before));
    }
}

TEST_F(SeeTest, KingTargetAndNoAttacker) {
    set("8/8/8/3k4/8/8/8/3RK3 w - -");
    EXPECT_EQ(see(pos, kWhite, square("d1"), square("d5"), occupancy(), false), 9999);
    EXPECT_EQ(see(pos, kWhite, kNoSquare, square("d5"), occupancy(), false), 9999);
    EXPECT_EQ(see(pos, kBlack, kNoSquare, square("d1"), occupancy(), true), 0);
}

}  // namespace

}  // namespace vorn
