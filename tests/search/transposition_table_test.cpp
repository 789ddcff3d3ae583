#include <gtest/gtest.h>

#include <array>
#include <vector>

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
// another position's entry: these rules are checked here alone. Each store
// is {generation, key, depth} into one bucket; then the keys read back.
TEST_F(SmallTable, WhatAFullBucketKeeps) {
    const struct {
        std::vector<std::array<uint32_t, 3>> stores;
        std::vector<uint32_t> kept, lost;
    } cases[] = {
        // Deep entries of this search stay against a shallow newcomer (10 - 7 > 2) ...
        {{{4, 101, 10}, {4, 102, 10}, {4, 103, 10}, {4, 104, 10}, {4, 200, 2}}, {101, 102}, {200}},
        // ... while a depth-3 one replaces the oldest, shallowest slot.
        {{{4, 101, 10}, {4, 102, 10}, {4, 103, 10}, {4, 104, 10}, {4, 200, 3}}, {200, 102}, {101}},
        // An older generation loses first, however deep.
        {{{2, 1, 9}, {2, 2, 9}, {2, 3, 9}, {1, 4, 20}, {3, 5, 14}}, {5}, {4}},
    };
    for (const auto& c : cases) {
        tt_clear();
        for (const auto& [generation, key, depth] : c.stores) {
            tt_generation = int16_t(generation);
            tt_store(key_in_bucket(key), 0, 1, int(depth), 0, 50, 5, 0);
        }
        for (uint32_t key : c.kept) EXPECT_TRUE(tt_read(key_in_bucket(key), 0, 1, pos).hit) << key;
        for (uint32_t key : c.lost) EXPECT_FALSE(tt_read(key_in_bucket(key), 0, 1, pos).hit) << key;
    }
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
