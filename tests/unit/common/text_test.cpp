#include <gtest/gtest.h>

#include <stdexcept>

#include "common/text.h"

using Pieces = std::vector<std::string>;

TEST(Text, StartsAndEndsWith) {
    EXPECT_TRUE(starts_with("shader.frag", ""));
    EXPECT_TRUE(starts_with("shader.frag", "shader"));
    EXPECT_TRUE(starts_with("abc", "abc"));
    EXPECT_FALSE(starts_with("ab", "abc"));
    EXPECT_FALSE(starts_with("Shader", "shader"));

    EXPECT_TRUE(ends_with("a.frag", ""));
    EXPECT_TRUE(ends_with("a.cl.spv", ".cl.spv"));
    EXPECT_FALSE(ends_with("a.cl.spv", ".cl"));
    EXPECT_FALSE(ends_with("A.VERT", ".vert"));
    EXPECT_FALSE(ends_with("vert", ".vert"));
    EXPECT_TRUE(ends_with("", ""));
}

TEST(Text, SplitKeepsInnerEmptyPieces) {
    EXPECT_EQ(split("", ','), Pieces{});
    EXPECT_EQ(split("abc", ','), Pieces{"abc"});
    EXPECT_EQ(split("a,,b", ','), (Pieces{"a", "", "b"}));
    EXPECT_EQ(split("a,b,", ','), (Pieces{"a", "b"}));
    EXPECT_EQ(split("a,,", ','), (Pieces{"a", ""}));
    EXPECT_EQ(split(",a", ','), (Pieces{"", "a"}));
    EXPECT_EQ(split(",", ','), Pieces{""});
    EXPECT_EQ(split("line 1\nline 2\n", '\n'), (Pieces{"line 1", "line 2"}));
}

TEST(Text, SplitFloatConvertsEveryPiece) {
    EXPECT_EQ(split_float("1.5,2,-3e2", ','), (std::vector<float>{1.5f, 2.0f, -300.0f}));
    EXPECT_TRUE(split_float("", ',').empty());

    try {
        split_float("1,x", ',');
        FAIL() << "no error for a non-number";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find("stof"), std::string::npos);
    }
    try {
        split_float("1,1e99", ',');
        FAIL() << "no error for an out-of-range number";
    } catch (const std::out_of_range& error) {
        EXPECT_NE(std::string(error.what()).find("stof"), std::string::npos);
    }
    EXPECT_THROW(split_float("1,,2", ','), std::invalid_argument);
}

TEST(Text, QuoteWrapsOnlyTextWithSpaces) {
    EXPECT_EQ(quote("ab"), "ab");
    EXPECT_EQ(quote(""), "");
    EXPECT_EQ(quote("a\tb"), "a\tb");
    EXPECT_EQ(quote("a b"), "\"a b\"");
    EXPECT_EQ(quote(" "), "\" \"");
    EXPECT_EQ(quote("say \"hi\""), "\"say \"hi\"\"");
}
