#include <gtest/gtest.h>

#include <algorithm>

#include "output/attribute_streams.h"

namespace {

std::string describe(const std::vector<ShaderAttribute>& attributes) {
    std::string text;
    for (const auto& a : attributes) text += a.symbol + "(" + std::to_string(a.stream) + ") ";
    return text;
}

// Well-formed lists and their order are covered end to end.
TEST(AttributeStreams, OddEntriesAndTies) {
    std::vector<ShaderAttribute> attributes;
    decode_attributes("b:1,b:3,noStream,,a:1:extra,c:65535", attributes);
    std::sort(attributes.begin(), attributes.end(), attribute_compare);
    EXPECT_EQ(describe(attributes), "a(1) b(1) c(-1) ");  // the first report of a name wins
    EXPECT_THROW(decode_attributes("d:x", attributes), std::invalid_argument);
    EXPECT_FALSE(attribute_compare(attributes[2], attributes[2]));

    EXPECT_EQ(decode_vulkan_attribute_symbol("position"), "position");
    EXPECT_EQ(decode_vulkan_attribute_symbol("p_12"), "OpVariable %12");
}

}  // namespace
