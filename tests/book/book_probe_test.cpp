// Choosing book moves, looking records up through the index and its window,
// and reading bad book files.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <set>

#include "board/movegen.h"
#include "book/book_index.h"
#include "book/book_probe.h"
#include "book/book_settings.h"
#include "tests/book/book_fixture.h"

namespace {

class BookProbe : public BookTest {
protected:
    // Writes the records as the book file and loads it.
    static void use_book(const std::vector<BookEntry>& records, int variety = 1) {
        write_book("test.opn", records);
        use_book_file("test.opn", variety);
    }
    static void use_book_file(const char* name, int variety = 1) {
        std::strcpy(book_settings.book_file, name);
        book_settings.book_variety = static_cast<int16_t>(variety);
        init_book();
    }

    // The book move after `played`, as coordinate text ("" for none); the
    // position must come back unchanged.
    static std::string probe(const std::string& played, bool verbose = false) {
        Game game(played);
        char before[kFenBufferSize], after[kFenBufferSize];
        position_to_fen(game.pos, before);
        const uint64_t key = game.pos.hash_key;
        const Move move = book_probe(game.pos, verbose);
        position_to_fen(game.pos, after);
        EXPECT_STREQ(before, after);
        EXPECT_EQ(game.pos.hash_key, key);
        EXPECT_EQ(game.history->history_count, Game(played).history->history_count);
        char text[kMoveTextSize];
        return move ? move_to_text(move, text) : "";
    }
};

struct Child {
    const char* move;
    uint16_t wins, losses, draws;  // for the side to move after the move
};

std::vector<BookEntry> book_of(const std::string& played, std::initializer_list<Child> children,
                               bool position_in_book = true) {
    std::vector<BookEntry> records;
    if (position_in_book) records.push_back(record_of(Game(played).key(), 1, 1, 1));
    for (const Child& c : children)
        records.push_back(record_of(Game(played + " " + c.move).key(), c.wins, c.losses, c.draws));
    return records;
}

TEST_F(BookProbe, ChoosesOnlyWellScoredMovesWithEnoughGames) {
    struct Case {
        const char* what;
        const char* played;
        std::initializer_list<Child> children;
        bool position_in_book;
        int variety;
        const char* expected;
    } const cases[] = {
        {"8 scoring games are too few, however good", "", {{"e2e4", 0, 8, 0}}, true, 1, ""},
        {"9 are enough", "", {{"e2e4", 0, 8, 0}, {"d2d4", 0, 0, 9}}, true, 1, "d2d4"},
        {"losses and draws both count", "", {{"e2e4", 0, 4, 5}}, true, 1, "e2e4"},
        {"highest weight wins", "", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 40}, {"g1f3", 0, 0, 30}}, true, 1, "d2d4"},
        {"variety 0 counts as 1", "", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 40}}, true, 0, "d2d4"},
        {"negative variety counts as 1", "", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 40}}, true, -5, "d2d4"},
        {"all-zero counts are ignored", "", {{"e2e4", 0, 0, 0}}, true, 1, ""},
        {"moves that only lost are ignored", "", {{"e2e4", 50, 0, 0}}, true, 1, ""},
        {"white needs more than 0.45", "", {{"e2e4", 11, 9, 0}}, true, 1, ""},
        {"white: 9 of 19", "", {{"e2e4", 10, 9, 0}}, true, 1, "e2e4"},
        {"black needs more than 0.41", "e2e4", {{"e7e5", 13, 9, 0}}, true, 1, ""},
        {"black: 9 of 21", "e2e4", {{"e7e5", 12, 9, 0}}, true, 1, "e7e5"},
        {"after a move the position must be in the book", "e2e4", {{"e7e5", 0, 0, 50}}, false, 1, ""},
        {"at the start it need not be", "", {{"e2e4", 0, 0, 50}}, false, 1, "e2e4"},
    };
    for (const Case& c : cases) {
        use_book(book_of(c.played, c.children, c.position_in_book), c.variety);
        EXPECT_EQ(probe(c.played), c.expected) << c.what;
    }
}

TEST_F(BookProbe, TiesGoToTheFirstMoveInGenerationOrder) {
    use_book(book_of("", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 20}}));
    Game start;
    MoveEntry list[kMaxMoves];
    generate_all(start.pos, list);
    std::string first;
    char text[kMoveTextSize];
    for (const MoveEntry* m = list; first.empty(); ++m) {
        move_to_text(m->move, text);
        if (!std::strcmp(text, "e2e4") || !std::strcmp(text, "d2d4")) first = text;
    }
    EXPECT_EQ(probe(""), first);
}

TEST_F(BookProbe, VarietySpreadsTheChoiceAndTheListingShowsEveryFoundMove) {
    use_book(book_of("", {{"e2e4", 0, 0, 200}, {"d2d4", 0, 0, 100}, {"g1f3", 30, 2, 0}}), 30);
    std::srand(7);
    std::set<std::string> chosen;
    for (int i = 0; i < 200; ++i) chosen.insert(probe(""));
    EXPECT_EQ(chosen, (std::set<std::string>{"e2e4", "d2d4"}));

    book_settings.book_variety = 1;
    testing::internal::CaptureStdout();
    probe("", true);
    const std::string listing = testing::internal::GetCapturedStdout();
    for (const char* line : {"e2e4       0 -     0 -   200   0.500  4.605\n",
                             "d2d4       0 -     0 -   100   0.500  3.912\n",
                             "g1f3       2 -    30 -     0   0.062  0.693\n", "book move is e2e4\n"})
        EXPECT_NE(listing.find(line), std::string::npos) << line << listing;
    EXPECT_EQ(std::count(listing.begin(), listing.end(), '\n'), 4) << listing;
}

// Every record of a large book is found through the index and the window,
// whatever the order of the lookups; keys not in it are not. One key16 holds
// many records, and one block more records than a window takes.
TEST_F(BookProbe, LookupFindsEveryRecordThroughTheWindow) {
    std::mt19937 random(12345);
    std::vector<BookEntry> records;
    std::set<std::pair<uint16_t, uint32_t>> keys;
    auto add = [&](uint16_t key16, uint32_t key32) {
        if (keys.insert({key16, key32}).second)
            records.push_back(BookEntry{key16, key32, uint16_t(key32), uint16_t(key16), uint16_t(records.size())});
    };
    for (int i = 0; i < 6000; ++i) add(uint16_t(random()), uint32_t(random()));
    for (int i = 0; i < 300; ++i) add(0x4321, uint32_t(random()));               // one crowded key16
    for (int i = 0; i < 2100; ++i) add(uint16_t(0x1000 + i % 64), uint32_t(random()));  // one overfull block
    use_book(records);
    ASSERT_EQ(book_count, static_cast<int32_t>(records.size()));

    // The overfull block's records past its first 2048 cannot be reached.
    std::vector<BookEntry> sorted = read_book("test.opn");
    std::set<std::pair<uint16_t, uint32_t>> unreachable;
    int in_block = 0;
    for (const BookEntry& e : sorted)
        if ((e.key16 >> 6) == (0x1000 >> 6) && ++in_block > kBookWindowSize) unreachable.insert({e.key16, e.key32});

    std::shuffle(records.begin(), records.end(), random);
    int missing = 0;
    for (const BookEntry& e : records) {
        const BookEntry* found = book_lookup(BookKey{e.key16, e.key32});
        if (unreachable.count({e.key16, e.key32})) {
            EXPECT_EQ(found, nullptr);
        } else if (!found || found->stm_wins != e.stm_wins || found->stm_losses != e.stm_losses ||
                   found->draws != e.draws) {
            ++missing;
        }
    }
    EXPECT_EQ(missing, 0);
    for (int i = 0; i < 2000; ++i) {
        const BookKey key{uint16_t(random()), uint32_t(random())};
        if (!keys.count({key.key16, key.key32})) {
            EXPECT_EQ(book_lookup(key), nullptr);
        }
    }
}

TEST_F(BookProbe, BadFilesNeverBreakTheProbe) {
    const std::vector<BookEntry> good = book_of("", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 40}});
    write_book("good.opn", good);
    const std::string bytes = read_bytes("good.opn");
    std::string reversed;
    for (std::size_t at = bytes.size(); at >= kBookEntrySize; at -= kBookEntrySize)
        reversed += bytes.substr(at - kBookEntrySize, kBookEntrySize);
    std::mt19937 random(99);
    std::string noise(14 * 1000 + 5, '\0');
    for (char& c : noise) c = char(random());

    struct Case {
        const char* what;
        std::string content;
        bool exists;
        int32_t records;
        const char* move;
    } const cases[] = {
        {"missing", "", false, 0, ""},
        {"empty", "", true, 0, ""},
        {"shorter than a record", bytes.substr(0, 13), true, 0, ""},
        {"a partial last record", bytes + "\x01\x02\x03", true, 3, "d2d4"},
        {"unsorted", reversed, true, 3, nullptr},
        {"random bytes", noise, true, 1000, nullptr},
        {"all bits set", std::string(14 * 50, '\xff'), true, 50, ""},
    };
    for (const Case& c : cases) {
        std::remove("bad.opn");
        if (c.exists) write_text("bad.opn", c.content);
        use_book_file("bad.opn");
        EXPECT_EQ(book_count, c.records) << c.what;
        const std::string start = probe("");
        if (c.move) {
            EXPECT_EQ(start, c.move) << c.what;
        }
        probe("e2e4 e7e5");
    }
    // The file vanishing after it was indexed only loses the book's moves.
    use_book_file("good.opn");
    std::remove("good.opn");
    EXPECT_EQ(probe(""), "");
}

// Mutated books: bytes changed, cut or added at random. Nothing may crash;
// the sanitizer builds check every read.
TEST_F(BookProbe, FuzzedBooksAreReadSafely) {
    std::vector<BookEntry> records = book_of("", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 40}, {"g1f3", 3, 9, 9}});
    for (const char* line : {"e2e4", "e2e4 e7e5", "d2d4 d7d5", "e2e4 c7c5 g1f3"})
        records.push_back(record_of(Game(line).key(), 5, 10, 20));
    write_book("good.opn", records);
    const std::string good = read_bytes("good.opn");
    std::mt19937 random(2024);
    for (int round = 0; round < 300; ++round) {
        std::string bytes = good;
        for (int n = int(random() % 8); n >= 0; --n) bytes[random() % bytes.size()] = char(random());
        if (random() % 4 == 0) bytes.resize(random() % bytes.size());
        if (random() % 4 == 0) bytes += std::string(random() % 30, char(random()));
        write_text("fuzz.opn", bytes);
        use_book_file("fuzz.opn", int(random() % 40));
        for (const char* played : {"", "e2e4", "e2e4 e7e5", "d2d4 d7d5"}) probe(played);
    }
}

}  // namespace
