#include "shell/settings_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <string>

#include "book/book_settings.h"
#include "eval/engine_params.h"
#include "eval/param_keys.h"
#include "tablebase/probe.h"
#include "tools/settings_writer.h"

namespace vorn {

namespace {

class SettingsFile : public ::testing::Test {
protected:
    std::string path = "/tmp/vorn-rc-" + std::to_string(getpid());
    EngineParams p;
    std::string printed;

    void SetUp() override {
        set_default_params(p);
        book_settings = BookSettings{};
        SyzygyPath[0] = '\0';
    }
    void TearDown() override { unlink(path.c_str()); }

    int load(const std::string& content) {
        std::ofstream(path) << content;
        testing::internal::CaptureStdout();
        int result = read_settings_file(path.c_str(), p);
        printed = testing::internal::GetCapturedStdout();
        return result;
    }

    // Twelve complete tables; each counts a8 = 0 .. h1 = 63.
    static std::string all_tables() {
        std::string text;
        for (const char* piece : {"pawn", "knight", "bishop", "rook", "queen", "king"}) {
            for (const char* phase : {"_op", "_en"}) {
                text += std::string("PST_") + piece + phase + " 1 2\n";
                for (int square = 0; square < 64; ++square)
                    text += std::to_string(square) + (square % 8 == 7 ? "\n" : " ");
            }
        }
        return text;
    }
};

// (A byte-order mark before the first key does not hide it.)
TEST_F(SettingsFile, KeysWithEqualsSignsAndCommas) {
    EXPECT_EQ(load("\xEF\xBB\xBFpawn_value= 90, 120\nBookDepth 12\npawn_candidate 5 60\nking_safety 80 3\n"
                   "passed_pawn_rank7 150\nUnknownKey 5\npawn_weak abc\n"),
              0);
    EXPECT_EQ(p.pawn_value_en, 120);
    EXPECT_EQ(book_settings.book_depth, 12);
    EXPECT_EQ(p.pawn_candidate, 60);  // its parameter is the second number
    EXPECT_EQ(p.king_safety, 80);     // the others' is the first
    EXPECT_EQ(p.ppawn_r7, 150);
    EXPECT_EQ(p.pawn_weak_op, 0);
    // No tables in the file: the built-in ones stay in force.
    EXPECT_EQ(printed, "loaded parameters from " + path + "\n\nfile vorn.rc contains invalid PST\n");
    EXPECT_EQ(p.pst_from_params, 1);
    // Nothing but a regular file is read: a FIFO would block, /dev/zero never end.
    unlink(path.c_str());
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    for (const std::string& name : {path, std::string("/dev/zero")}) EXPECT_EQ(read_settings_file(name.c_str(), p), 0);
}

TEST_F(SettingsFile, PathsAreReadFromAnyLineButNotFromComments) {
    load("# SyzygyPath /commented\nBookDepth 3 SyzygyPath \"/tb/wdl\" more\nVornBook=my.opn\n");
    EXPECT_STREQ(SyzygyPath, "/tb/wdl");
    EXPECT_STREQ(book_settings.book_file, "my.opn");
    EXPECT_EQ(book_settings.book_depth, 24);  // a path line is not a key line
    load("SyzygyPath " + std::string(300, 'x') + "\n");
    EXPECT_EQ(std::string(SyzygyPath), std::string(143, 'x'));
}

TEST_F(SettingsFile, CompleteTablesReplaceTheBuiltInOnesAndSevenNumbersSpoilThem) {
    EXPECT_EQ(load(all_tables()), 1);
    EXPECT_EQ(p.pst_from_params, 0);
    EXPECT_EQ(p.pst[1][56].op, 0);  // a8: first number of the first line
    EXPECT_EQ(p.pst[1][7].op, 63);  // h1: last number of the last line
    EXPECT_EQ(p.pst[6][0].en, 56);  // a1

    set_default_params(p);
    std::string tables = all_tables();
    std::size_t line = tables.find('\n', tables.find("PST_rook_en")) + 1;
    tables.replace(line, tables.find('\n', line) - line, "1 2 3 4 5 6 7");
    EXPECT_EQ(load(tables), 0);
    EXPECT_NE(printed.find("file vorn.rc contains invalid PST"), std::string::npos);
    EXPECT_EQ(p.pst_from_params, 1);
}

TEST_F(SettingsFile, WrittenFileReadsBackToTheSameValues) {
    // Every value a key or a table sets, each different; -1000 is the
    // reader's "unset" mark and is written as -999.
    EngineParams written;
    set_default_params(written);
    int value = -70;
    for (const OneNumberKey& k : kOneNumberKeys) written.*k.field = int16_t(value++);
    for (const TwoNumberKey& k : kTwoNumberKeys) {
        written.*k.first = int16_t(value++);
        written.*k.second = int16_t(value++);
    }
    for (int piece = 1; piece <= 6; ++piece)
        for (int sq = 0; sq < 64; ++sq) written.pst[piece][sq] = {int16_t(piece * 100 + sq - 900), int16_t(-sq)};
    written.pst[3][9].op = -1000;
    ASSERT_TRUE(write_settings_file(path.c_str(), written, "a comment\nof two lines"));

    testing::internal::CaptureStdout();
    EXPECT_EQ(read_settings_file(path.c_str(), p), 1);
    testing::internal::GetCapturedStdout();
    for (const OneNumberKey& k : kOneNumberKeys) EXPECT_EQ(p.*k.field, written.*k.field) << k.key;
    for (const TwoNumberKey& k : kTwoNumberKeys) {
        EXPECT_EQ(p.*k.first, written.*k.first) << k.key;
        EXPECT_EQ(p.*k.second, written.*k.second) << k.key;
    }
    written.pst[3][9].op = -999;
    EXPECT_EQ(std::memcmp(p.pst, written.pst, sizeof p.pst), 0);
}

}  // namespace

}  // namespace vorn
