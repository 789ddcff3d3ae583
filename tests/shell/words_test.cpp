#include "shell/words.h"

#include <gtest/gtest.h>

#include <string>

TEST(Words, NextTokenSkipsBlanksAndStopsAtLineEnds) {
    EXPECT_STREQ(next_token("   go wtime 5").text, "go");
    EXPECT_STREQ(next_token("isready\r\n").text, "isready");
    EXPECT_STREQ(next_token("").text, "");
    std::string long_word(500, 'a');
    EXPECT_EQ(std::string(next_token(long_word.c_str()).text), long_word.substr(0, 128));
}

TEST(Words, SplitWordsKeepsTenBoundedWords) {
    CommandWords words;
    split_words("  perft   5 ", words);
    EXPECT_STREQ(words[0], "perft");
    EXPECT_STREQ(words[1], "5");
    EXPECT_STREQ(words[2], "");
    std::string many;
    for (int i = 0; i < 12; ++i) {
        many += 'w';
        many += std::to_string(i);
        many += ' ';
    }
    many += std::string(300, 'z');
    split_words(many.c_str(), words);
    EXPECT_STREQ(words[9], "w9");
    split_words(std::string(300, 'q').c_str(), words);
    EXPECT_EQ(std::string(words[0]), std::string(127, 'q'));
}

TEST(Words, NumbersSaturateAndJunkReadsAsZero) {
    EXPECT_EQ(read_integer("42 rest"), 42);
    EXPECT_EQ(read_integer("-17"), -17);
    EXPECT_EQ(read_integer("abc"), 0);
    EXPECT_EQ(read_integer(nullptr), 0);
    EXPECT_EQ(read_clamped("99999999999999999999999", 0, 8192), 8192);
    EXPECT_EQ(read_clamped("-99999999999999999999999", 1, 64), 1);
    EXPECT_DOUBLE_EQ(read_decimal("2.5"), 2.5);
    EXPECT_DOUBLE_EQ(read_decimal("nan"), 0.0);
    EXPECT_DOUBLE_EQ(read_decimal("1e999"), 0.0);
}

TEST(Words, CopiesAreCutToTheirBuffers) {
    char small[5];
    copy_text(small, sizeof small, "abcdefgh");
    EXPECT_STREQ(small, "abcd");
    copy_word(small, sizeof small, "ab cd");
    EXPECT_STREQ(small, "ab");
    EXPECT_STREQ(find_after("go wtime 100", "wtime"), " 100");
    EXPECT_EQ(find_after("go", "wtime"), nullptr);
}
