#include <gtest/gtest.h>

#include <stdexcept>

#include "common/text.h"

using Pieces = std::vector<std::string>;

TEST(Text, PrefixAndSuffix) {
    EXPECT_TRUE(starts_with("shader.frag", ""));
    EXPECT_FALSE(starts_with("ab", "abc"));
    EXPECT_FALSE(starts_with("Shader", "shader"));
    EXPECT_TRUE(ends_with("a.cl.spv", ".cl.spv"));
    EXPECT_FALSE(ends_with("a.cl.spv", ".cl"));
    EXPECT_FALSE(ends_with("vert", ".vert"));
}

TEST(Text, SplitKeepsInnerEmptyPieces) {
    const std::pair<std::string, Pieces> cases[] = {
        {"", {}},          {"abc", {"abc"}}, {"a,,b", {"a", "", "b"}}, {"a,b,", {"a", "b"}}, {"a,,", {"a", ""}},
        {",a", {"", "a"}}, {",", {""}},
    };
    for (const auto& [text, pieces] : cases) EXPECT_EQ(split(text, ','), pieces) << text;

    EXPECT_EQ(split_float("1.5,2,-3e2", ','), (std::vector<float>{1.5f, 2.0f, -300.0f}));
    EXPECT_THROW(split_float("1,x", ','), std::invalid_argument);
    EXPECT_THROW(split_float("1,,2", ','), std::invalid_argument);
    EXPECT_THROW(split_float("1,1e99", ','), std::out_of_range);
}
