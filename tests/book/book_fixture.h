#pragma once
// Shared set-up for the book tests: a scratch directory the test runs in, book
// files written and read record by record, and positions reached by moves.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/notation.h"
#include "book/book_entry.h"
#include "book/book_index.h"
#include "book/book_key.h"
#include "book/book_settings.h"
#include "tests/fen_board.h"
#include "tests/scratch_directory.h"

namespace vorn {

// A position with its own history, set from the start position (or a FEN)
// and moved on by blank-separated moves in any notation parse_move reads.
struct Game : FenBoard {
    explicit Game(const std::string& moves = "", const char* fen = kStartFen) : FenBoard(fen) {
        std::istringstream words(moves);
        for (std::string word; words >> word;) EXPECT_TRUE(try_play(word.c_str())) << word;
    }
    // Plays one move; false, playing nothing, when the text names no move.
    bool try_play(const char* text) {
        Move move = kNoMove;
        if (!parse_move(pos, text, &move)) return false;
        make_move(pos, move);
        return true;
    }
    BookKey key() const { return compute_book_key(pos); }
};

// Each test runs in a fresh directory of its own, removed at the end, and
// leaves no book loaded and the book settings at their defaults.
class BookTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        init_attack_tables();
        init_hash_keys_tables();
    }
    void SetUp() override { ASSERT_FALSE(scratch_.path.empty()); }
    void TearDown() override {
        close_book();
        book_settings = BookSettings{};
    }

private:
    ScratchDirectory scratch_;
};

inline BookEntry record_of(const BookKey& key, uint16_t wins, uint16_t losses, uint16_t draws) {
    return BookEntry{key.key16, key.key32, wins, losses, draws};
}

// Writes the records in book order (the test sorts them itself).
inline void write_book(const std::string& name, std::vector<BookEntry> records) {
    std::sort(records.begin(), records.end(), [](const BookEntry& a, const BookEntry& b) {
        return a.key16 != b.key16 ? a.key16 > b.key16 : a.key32 > b.key32;
    });
    std::string bytes(records.size() * kBookEntrySize, '\0');
    for (std::size_t i = 0; i < records.size(); ++i)
        encode_book_entry(records[i], reinterpret_cast<uint8_t*>(bytes.data()) + i * kBookEntrySize);
    write_file(name, bytes);
}

// Reads a book that "mkbook" wrote, checking what every such book satisfies:
// whole records, keys strictly descending, no all-zero key, no record of 8
// games or fewer.
inline std::vector<BookEntry> read_built_book(const std::string& name) {
    const std::string bytes = read_file(name);
    EXPECT_EQ(bytes.size() % kBookEntrySize, 0u);
    std::vector<BookEntry> records;
    for (std::size_t at = 0; at + kBookEntrySize <= bytes.size(); at += kBookEntrySize) {
        const BookEntry e = decode_book_entry(reinterpret_cast<const uint8_t*>(bytes.data() + at));
        EXPECT_FALSE(e.key16 == 0 && e.key32 == 0);
        EXPECT_GT(e.stm_wins + e.stm_losses + e.draws, 8);
        if (!records.empty()) {
            EXPECT_LT(compare_book_keys(records.back(), e), 0) << "record " << records.size();
        }
        records.push_back(e);
    }
    return records;
}

}  // namespace vorn
