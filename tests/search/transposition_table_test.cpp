#include <gtest/gtest.h>

#include "board/attacks.h"
#include "board/position.h"
#include "core/score.h"
#include "search/transposition_table.h"

namespace vorn {

namespace {

// Keys sharing one bucket for white: same low bits, different high halves.
uint64_t key_in_bucket(uint32_t high, uint32_t low = 0x1234) { return (uint64_t(high) << 32) | low; }

struct SmallTable : ::testing::Test {
    void SetUp() override {
        hash_size_mb = 1;
        ASSERT_EQ(tt_allocate(), 0);
        tt_generation = 1;
        init_attack_tables();
        init_hash_keys_tables();
        pos.owner = &history;
        parse_fen(pos, "8/8/8/8/8/8/8/8 w - -");
    }
    void TearDown() override {
        hash_size_mb = 16;
        ASSERT_EQ(tt_allocate(), 0);
    }
    BoardHistory history;
    Position pos;
};

}  // namespace

// A size that is not a power of two indexes only up to the power below it
// (else the last bucket lies past the end); a negative one keeps only the
// spare entries. Either colour's last bucket, counted from opposite ends,
// stays inside.
TEST_F(SmallTable, SizesMasksAndBucketsInsideTheTable) {
    const struct {
        int mb;
        uint32_t entries;
        uint64_t mask;
    } cases[] = {{3, 196608, 131071}, {-5, 0, 0}};
    for (const auto& c : cases) {
        hash_size_mb = int16_t(c.mb);
        ASSERT_EQ(tt_allocate(), 0);
        EXPECT_EQ(tt_entries, c.entries);
        EXPECT_EQ(tt_mask, c.mask);
        EXPECT_EQ(tt_load(tt_end + 15).depth, -50) << c.mb;  // spare entries are cleared too
        EXPECT_LE(tt_bucket(~0ULL, 0) + 4, tt_end + 32) << c.mb;
        EXPECT_GE(tt_bucket(~0ULL, 1), tt_base) << c.mb;
    }
}

TEST_F(SmallTable, StoredMateScoreReadsBackAtAnotherPly) {
    uint64_t key = key_in_bucket(77);
    tt_store(key, 0, 5, 6, -10000, 10000, 9990, 0);
    EXPECT_EQ(tt_load(tt_bucket(key, 0)).score, 9995);
    TTRead r = tt_read(key, 0, 7, pos);
    ASSERT_TRUE(r.hit);
    EXPECT_EQ(r.score, 9988);
    EXPECT_EQ(r.bound, BOUND_EXACT);
    EXPECT_EQ(r.depth, 6);
    // Losing mates likewise; ordinary scores and the band edges pass unchanged.
    static_assert(score_from_tt(score_to_tt(-9990, 5), 7) == -9988);
    static_assert(score_to_tt(9696, 5) == 9696 && score_to_tt(-9697, 5) == -9697);
    static_assert(score_to_tt(-9698, 5) == -9703);
}

// The benchmark's table is far larger than its trees, so it never replaces
// another position's entry: these rules are checked here alone.
TEST_F(SmallTable, AFullBucketKeepsDeepEntriesOfThisSearch) {
    // A full bucket of depth-10 entries of this search keeps them against a
    // depth-2 result for another key (10 - 7 > 2) ...
    tt_generation = 4;
    for (uint32_t k = 1; k <= 4; k++) tt_store(key_in_bucket(100 + k), 0, 1, 10, 0, 50, 5, 0);
    uint64_t newcomer = key_in_bucket(200);
    tt_store(newcomer, 0, 1, 2, 0, 50, 5, 0);
    EXPECT_FALSE(tt_read(newcomer, 0, 1, pos).hit);
    // ... while a depth-3 result replaces the oldest, shallowest slot.
    tt_store(newcomer, 0, 1, 3, 0, 50, 5, 0);
    EXPECT_TRUE(tt_read(newcomer, 0, 1, pos).hit);
    EXPECT_FALSE(tt_read(key_in_bucket(101), 0, 1, pos).hit);
    EXPECT_TRUE(tt_read(key_in_bucket(102), 0, 1, pos).hit);
}

TEST_F(SmallTable, OlderGenerationsLoseFirst) {
    tt_generation = 2;
    for (uint32_t k = 1; k <= 3; k++) tt_store(key_in_bucket(k), 0, 1, 9, 0, 50, 5, 0);
    tt_generation = 1;
    tt_store(key_in_bucket(4), 0, 1, 20, 0, 50, 5, 0);  // deep but old
    tt_generation = 3;
    tt_store(key_in_bucket(5), 0, 1, 14, 0, 50, 5, 0);
    EXPECT_FALSE(tt_read(key_in_bucket(4), 0, 1, pos).hit);
    EXPECT_TRUE(tt_read(key_in_bucket(5), 0, 1, pos).hit);
}

TEST_F(SmallTable, MoveThePositionCannotPlayIsAMissButRefreshesTheAge) {
    uint64_t key = key_in_bucket(55);
    Move move = encode_move(12, 28);  // e2e4
    tt_generation = 3;
    tt_store(key, 0, 1, 5, 0, 50, 20, move);
    tt_generation = 8;
    TTRead r = tt_read(key, 0, 1, pos);  // e2 is empty on this board
    EXPECT_FALSE(r.hit);
    EXPECT_EQ(r.depth, -97);
    EXPECT_EQ(tt_load(tt_bucket(key, 0)).generation, 8);

    parse_fen(pos, "4k3/8/8/8/8/8/4P3/4K3 w - -");
    r = tt_read(key, 0, 1, pos);
    EXPECT_TRUE(r.hit);
    EXPECT_EQ(r.move, move);
    parse_fen(pos, "4k3/8/8/8/8/4n3/4P3/4K3 w - -");  // the path is blocked
    EXPECT_FALSE(tt_read(key, 0, 1, pos).hit);
}

TEST_F(SmallTable, TornEntryFailsTheCheckWord) {
    uint64_t key = key_in_bucket(66);
    tt_store(key, 0, 1, 5, 0, 50, 20, 0);
    HashEntry* e = tt_bucket(key, 0);
    e->score = 21;  // as if another thread's write landed half-way
    TTRead r = tt_read(key, 0, 1, pos);
    EXPECT_FALSE(r.hit);
    EXPECT_EQ(r.depth, -98);
}

}  // namespace vorn
