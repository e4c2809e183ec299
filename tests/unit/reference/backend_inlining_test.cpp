// The inlining budget: which functions stay calls.
#include <gtest/gtest.h>

#include <glslang/SPIRV/spirv.hpp>
#include "inlining_budget.h"
#include "model_shaders.h"

namespace {

bool stays_a_call(const std::vector<uint32_t>& module, const std::string& name) {
    const uint32_t id = model_test::variable_id(module, name);
    for (size_t at = 5; at < module.size(); at += module[at] >> 16) {
        if ((module[at] & 0xFFFF) == spv::OpFunction && module[at + 2] == id)
            return (module[at + 3] & spv::FunctionControlDontInlineMask) != 0;
        if ((module[at] >> 16) == 0) break;
    }
    ADD_FAILURE() << "no function " << name;
    return false;
}

}  // namespace

TEST(InliningBudget, KeepsTheCalleeWhoseCopiesCostMostAsACall) {
    // leaf is copied 64 times by inlining everything, mid 8 times.
    std::string leaf_body;
    for (int i = 0; i < 40; ++i) leaf_body += "    x = x * 1.5 + sin(x);\n";
    const std::string source =
        "#version 450\n"
        "layout(location = 0) in float a;\n"
        "layout(location = 0) out float o;\n"
        "float leaf(float x) {\n" +
        leaf_body +
        "    return x;\n}\n"
        "float mid(float x) {\n"
        "    return leaf(x) + leaf(x + 1.0) + leaf(x + 2.0) + leaf(x + 3.0) +\n"
        "           leaf(x + 4.0) + leaf(x + 5.0) + leaf(x + 6.0) + leaf(x + 7.0);\n}\n"
        "void main() {\n"
        "    o = mid(a) + mid(a + 1.0) + mid(a + 2.0) + mid(a + 3.0) +\n"
        "        mid(a + 4.0) + mid(a + 5.0) + mid(a + 6.0) + mid(a + 7.0);\n}\n";
    const std::vector<uint32_t> module = model_test::compile(source, "fragment", false);

    const std::vector<uint32_t> limited = reference::limit_inlining(module, {3.0, 0});
    EXPECT_TRUE(stays_a_call(limited, "leaf(f1;"));
    EXPECT_FALSE(stays_a_call(limited, "mid(f1;"));
    EXPECT_FALSE(stays_a_call(limited, "main"));

    // A generous budget inlines everything.
    const std::vector<uint32_t> all = reference::limit_inlining(module, {100.0, 0});
    EXPECT_FALSE(stays_a_call(all, "leaf(f1;"));
    EXPECT_FALSE(stays_a_call(all, "mid(f1;"));
}
