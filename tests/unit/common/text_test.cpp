#include <gtest/gtest.h>

#include <stdexcept>

#include "common/text.h"

using Pieces = std::vector<std::string>;

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
