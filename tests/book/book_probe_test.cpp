// Choosing book moves, looking records up through the index and its window,
// and reading bad book files.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <set>

#include "book/book_index.h"
#include "book/book_probe.h"
#include "book/book_settings.h"
#include "tests/book/book_fixture.h"

namespace vorn {

namespace {

class BookProbe : public BookTest {
protected:
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
        const std::string before = fen_of(game.pos);
        const int plies = game.history->history_count;
        const Move move = book_probe(game.pos, verbose);
        EXPECT_EQ(fen_of(game.pos), before);
        EXPECT_EQ(game.history->history_count, plies);
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
        {"a tie goes to the move generated first", "", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 20}}, true, 1, "d2d4"},
        {"variety 0 counts as 1", "", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 40}}, true, 0, "d2d4"},
        {"all-zero counts are ignored", "", {{"e2e4", 0, 0, 0}}, true, 1, ""},
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

TEST_F(BookProbe, VarietySpreadsTheChoiceAmongWellScoredMoves) {
    use_book(book_of("", {{"e2e4", 0, 0, 200}, {"d2d4", 0, 0, 100}, {"g1f3", 30, 2, 0}}), 30);
    std::srand(7);
    std::set<std::string> chosen;
    for (int i = 0; i < 200; ++i) chosen.insert(probe(""));
    EXPECT_EQ(chosen, (std::set<std::string>{"e2e4", "d2d4"}));
    // The listing shows every move found, the losing one too.
    testing::internal::CaptureStdout();
    probe("", true);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("g1f3       2 -    30 -     0   0.062  0.693\n"),
              std::string::npos);
}

// Every record of a large book is found through the index and the window,
// in file order and shuffled; keys not in it are not. One key16 holds many
// records: 0x433F, the top of its block, so a window read for the blocks above
// ends on its first record. One block holds more records than a window takes.
TEST_F(BookProbe, LookupFindsEveryRecordThroughTheWindow) {
    std::mt19937 random(12345);
    std::set<std::pair<uint16_t, uint32_t>> keys;
    auto add = [&](int key16, uint32_t key32) { keys.insert({uint16_t(key16), key32}); };
    for (int i = 0; i < 6000; ++i) add(int(random() % 65536), uint32_t(random()));
    for (int i = 0; i < 300; ++i) add(0x433F, uint32_t(random()));
    for (int i = 0; i < 2100; ++i) add(0x1000 + i % 64, uint32_t(random()));
    std::vector<BookEntry> records;  // in book order; counts tell records apart
    for (auto it = keys.rbegin(); it != keys.rend(); ++it)
        records.push_back(BookEntry{it->first, it->second, uint16_t(records.size()), 1, 2});
    use_book(records);
    ASSERT_EQ(book_count, static_cast<int32_t>(records.size()));

    // Records of a block past its first 2048 cannot be reached.
    std::set<std::pair<uint16_t, uint32_t>> unreachable;
    int in_full_block = 0;
    for (const BookEntry& e : records)
        if ((e.key16 >> 6) == (0x1000 >> 6) && ++in_full_block > kBookWindowSize) unreachable.insert({e.key16, e.key32});
    for (const char* order : {"in file order", "shuffled"}) {
        int wrong = 0;
        for (const BookEntry& e : records) {
            const BookEntry* found = book_lookup(BookKey{e.key16, e.key32});
            wrong += unreachable.count({e.key16, e.key32}) ? found != nullptr : !found || found->stm_wins != e.stm_wins;
        }
        EXPECT_EQ(wrong, 0) << order;
        std::shuffle(records.begin(), records.end(), random);
    }
    for (int i = 0; i < 2000; ++i) {
        const BookKey key{uint16_t(random()), uint32_t(random())};
        if (!keys.count({key.key16, key.key32})) {
            EXPECT_EQ(book_lookup(key), nullptr);
        }
    }
}

// Missing, empty, cut and random files, then mutated copies of a
// good one (bytes changed, cut or added at random): the probe reads them all
// without fault (the sanitizer builds check every read) and still uses what
// is sound.
TEST_F(BookProbe, BadFilesNeverBreakTheProbe) {
    std::vector<BookEntry> records = book_of("", {{"e2e4", 0, 0, 20}, {"d2d4", 0, 0, 40}, {"g1f3", 3, 9, 9}});
    for (const char* line : {"e2e4 e7e5", "d2d4 d7d5", "e2e4 c7c5 g1f3"})
        records.push_back(record_of(Game(line).key(), 5, 10, 20));
    write_book("good.opn", records);
    const std::string good = read_file("good.opn");
    std::mt19937 random(99);
    std::string noise(14 * 1000 + 5, '\0');
    for (char& c : noise) c = char(random());

    struct Case {
        const char* what;
        std::string content;
        int32_t records;  // -1: no file
        const char* move;  // nullptr: any
    } const cases[] = {
        {"missing", "", -1, ""},
        {"empty", "", 0, ""},
        {"a partial last record", good + "\x01\x02\x03", int32_t(records.size()), "d2d4"},
        {"random bytes", noise, 1000, nullptr},
    };
    for (const Case& c : cases) {
        std::remove("bad.opn");
        if (c.records >= 0) write_file("bad.opn", c.content);
        use_book_file("bad.opn");
        EXPECT_EQ(book_count, std::max(c.records, 0)) << c.what;
        const std::string start = probe("");
        if (c.move) {
            EXPECT_EQ(start, c.move) << c.what;
        }
        probe("e2e4 e7e5");
    }
    for (int round = 0; round < 300; ++round) {
        std::string bytes = good;
        for (int n = int(random() % 8); n >= 0; --n) bytes[random() % bytes.size()] = char(random());
        if (random() % 4 == 0) bytes.resize(random() % bytes.size());
        if (random() % 4 == 0) bytes += std::string(random() % 30, char(random()));
        write_file("fuzz.opn", bytes);
        use_book_file("fuzz.opn", int(random() % 40));
        for (const char* played : {"", "e2e4", "e2e4 e7e5", "d2d4 d7d5"}) probe(played);
    }
    // The file vanishing after it was indexed only loses the book's moves.
    use_book_file("good.opn");
    std::remove("good.opn");
    EXPECT_EQ(probe(""), "");
}

}  // namespace

}  // namespace vorn
