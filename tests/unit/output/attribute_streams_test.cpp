#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "output/attribute_streams.h"

namespace {

std::string describe(const std::vector<ShaderAttribute>& attributes) {
    std::string text;
    for (const auto& a : attributes) text += a.symbol + "(" + std::to_string(a.stream) + ") ";
    return text;
}

TEST(AttributeStreams, DecodingAndOrder) {
    std::vector<ShaderAttribute> attributes;
    decode_attributes("a:0,b:65535,c:2", attributes);
    EXPECT_EQ(describe(attributes), "a(0) b(-1) c(2) ");
    std::sort(attributes.begin(), attributes.end(), attribute_compare);
    EXPECT_EQ(describe(attributes), "a(0) c(2) b(-1) ");

    attributes.clear();
    decode_attributes("a:1,a:3,noStream,,b:4:extra", attributes);
    decode_attributes("", attributes);
    EXPECT_EQ(describe(attributes), "a(1) b(4) ");
    EXPECT_THROW(decode_attributes("c:x", attributes), std::invalid_argument);

    const ShaderAttribute uv{"uv", 1}, pos{"pos", 1}, posx{"posx", 1}, late{"a", -1};
    EXPECT_TRUE(attribute_compare(pos, uv));
    EXPECT_FALSE(attribute_compare(uv, pos));
    EXPECT_TRUE(attribute_compare(pos, posx));
    EXPECT_TRUE(attribute_compare(uv, late));
    EXPECT_FALSE(attribute_compare(late, late));
}

TEST(AttributeStreams, VulkanSymbolsBecomeSpirvReferences) {
    EXPECT_EQ(decode_vulkan_attribute_symbol("position"), "position");
    EXPECT_EQ(decode_vulkan_attribute_symbol("p_12"), "OpVariable %12");
    EXPECT_EQ(decode_vulkan_attribute_symbol("p_12_in_Position"), "OpVariable %12 'in_Position'");
}

}  // namespace
