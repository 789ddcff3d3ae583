#include "core/words.h"

#include <gtest/gtest.h>

#include <string>

namespace vorn {

TEST(Words, TokensAndWordsAreBounded) {
    EXPECT_STREQ(next_token("   go wtime 5").text, "go");
    EXPECT_STREQ(next_token("isready\r\n").text, "isready");
    EXPECT_EQ(std::string(next_token(std::string(500, 'a').c_str()).text), std::string(128, 'a'));
    CommandWords words;
    split_words("  perft   5 ", words);
    EXPECT_STREQ(words[0], "perft");
    EXPECT_STREQ(words[1], "5");
    EXPECT_STREQ(words[2], "");
    split_words("0 1 2 3 4 5 6 7 8 9 10 11", words);
    EXPECT_STREQ(words[9], "9");
    split_words(std::string(300, 'q').c_str(), words);
    EXPECT_EQ(std::string(words[0]), std::string(127, 'q'));
    char small[5];
    copy_text(small, sizeof small, "abcdefgh");
    EXPECT_STREQ(small, "abcd");
}

TEST(Words, NumbersSaturateAndJunkReadsAsZero) {
    EXPECT_EQ(read_integer("-17 rest"), -17);
    EXPECT_EQ(read_integer("abc"), 0);
    EXPECT_EQ(read_integer(nullptr), 0);
    EXPECT_EQ(read_clamped("99999999999999999999999", 0, 8192), 8192);
    EXPECT_EQ(read_clamped("-99999999999999999999999", 1, 64), 1);
    EXPECT_DOUBLE_EQ(read_decimal("2.5"), 2.5);
    EXPECT_DOUBLE_EQ(read_decimal("nan"), 0.0);
    EXPECT_DOUBLE_EQ(read_decimal("1e999"), 0.0);
}

}  // namespace vorn
