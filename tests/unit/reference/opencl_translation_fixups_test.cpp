#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "opencl_translation_fixups.h"
#include "spirv_builder.h"

using reference::complete_entry_point_interfaces;
using reference::order_blocks_by_dominance;
using reference::replace_freeze_instructions;
using reference::undefined_function_names;

namespace {

using spirv_test::literal;
using spirv_test::operands;
using spirv_test::Words;

// A SPIR-V 1.0 module, hand-assembled.
struct ModuleBuilder : spirv_test::SpirvBuilder {
    ModuleBuilder() : SpirvBuilder(0x00010000) {}
};

Words labels_in_order(const Words& module) {
    Words labels;
    for (size_t at = 5; at < module.size(); at += module[at] >> 16)
        if ((module[at] & 0xffffu) == spv::OpLabel) labels.push_back(module[at + 1]);
    return labels;
}

}  // namespace

TEST(OpenCLTranslationFixups, BlocksFollowTheirDominators) {
    // Entry 20 branches to 22 then 21; 23 is unreachable; 30 is a second
    // function already in order.
    ModuleBuilder m;
    m.op(spv::OpTypeVoid, {1}).op(spv::OpTypeFunction, {2, 1});
    m.op(spv::OpFunction, {1, 10, 0, 2})
        .op(spv::OpLabel, {20})
        .op(spv::OpBranch, {22})
        .op(spv::OpLabel, {21})
        .op(spv::OpReturn)
        .op(spv::OpLabel, {23})
        .op(spv::OpBranch, {21})
        .op(spv::OpLabel, {22})
        .op(spv::OpBranchConditional, {5, 21, 21})
        .op(spv::OpFunctionEnd);
    m.op(spv::OpFunction, {1, 11, 0, 2}).op(spv::OpLabel, {30}).op(spv::OpReturn).op(spv::OpFunctionEnd);
    Words module = m.words;
    order_blocks_by_dominance(module);
    EXPECT_EQ(labels_in_order(module), (Words{20, 22, 21, 23, 30}));
    EXPECT_EQ(module.size(), m.words.size());

    // Already in order: nothing moves.
    Words again = module;
    order_blocks_by_dominance(again);
    EXPECT_EQ(again, module);
}

TEST(OpenCLTranslationFixups, SwitchTargetsFollowTheSelectorWidth) {
    // A 64-bit selector takes two words per case literal; reading one word
    // would lose the case target 22 and leave it after the unreachable 23.
    ModuleBuilder m;
    m.op(spv::OpTypeVoid, {1}).op(spv::OpTypeFunction, {2, 1}).op(spv::OpTypeInt, {3, 64, 0});
    m.op(spv::OpConstant, {3, 4, 7, 0});
    m.op(spv::OpFunction, {1, 10, 0, 2})
        .op(spv::OpLabel, {20})
        .op(spv::OpSwitch, {4, 21, 7, 0, 22})
        .op(spv::OpLabel, {21})
        .op(spv::OpReturn)
        .op(spv::OpLabel, {23})
        .op(spv::OpReturn)
        .op(spv::OpLabel, {22})
        .op(spv::OpBranch, {21})
        .op(spv::OpFunctionEnd);
    Words module = m.words;
    order_blocks_by_dominance(module);
    EXPECT_EQ(labels_in_order(module), (Words{20, 22, 21, 23}));
}

TEST(OpenCLTranslationFixups, MalformedModulesAreRejected) {
    Words truncated = ModuleBuilder().op(spv::OpTypeVoid, {1}).words;
    truncated[5] = (9u << 16) | spv::OpTypeVoid;
    EXPECT_THROW(order_blocks_by_dominance(truncated), std::runtime_error);
    Words not_spirv{1, 2, 3};
    EXPECT_THROW(undefined_function_names(not_spirv), std::runtime_error);
}

TEST(OpenCLTranslationFixups, EntryPointsListEveryInputVariable) {
    const uint32_t kernel = spv::ExecutionModelKernel, input = spv::StorageClassInput, own = spv::StorageClassPrivate;
    ModuleBuilder m;
    m.entry_point(kernel, 10, "first").op(spv::OpEntryPoint, operands({{kernel, 11}, literal("abc"), {8}}));
    m.type_int(3, 32, false).op(spv::OpTypePointer, {4, input, 3}).op(spv::OpTypePointer, {5, own, 3});
    m.op(spv::OpVariable, {4, 7, input}).op(spv::OpVariable, {4, 8, input}).op(spv::OpVariable, {5, 9, own});
    Words module = m.words;
    complete_entry_point_interfaces(module);

    // Both Input variables, once each; the Private one is not interface before 1.4.
    Words expected = ModuleBuilder()
                         .op(spv::OpEntryPoint, operands({{kernel, 10}, literal("first"), {7, 8}}))
                         .op(spv::OpEntryPoint, operands({{kernel, 11}, literal("abc"), {8, 7}}))
                         .words;
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), module.begin()));

    // From SPIR-V 1.4 on every module-scope variable belongs in the interface.
    Words newer = m.words;
    newer[1] = 0x00010400;
    complete_entry_point_interfaces(newer);
    Words first_entry(newer.begin() + 5, newer.begin() + 5 + (newer[5] >> 16));
    EXPECT_EQ(Words(first_entry.end() - 3, first_entry.end()), (Words{7, 8, 9}));
}

TEST(OpenCLTranslationFixups, FunctionsWithoutBodyAreUndefined) {
    // 10 has a body; 11 is imported under its linkage name; 12 has only a debug name.
    ModuleBuilder m;
    m.op(spv::OpName, operands({{11}, literal("op_debug")})).op(spv::OpName, operands({{12}, literal("helper")}));
    m.decorate(11, spv::DecorationLinkageAttributes, operands({literal("op"), {spv::LinkageTypeImport}}));
    m.op(spv::OpTypeVoid, {1}).op(spv::OpTypeFunction, {2, 1});
    m.op(spv::OpFunction, {1, 11, 0, 2}).op(spv::OpFunctionEnd);
    m.op(spv::OpFunction, {1, 10, 0, 2}).op(spv::OpLabel, {20}).op(spv::OpReturn).op(spv::OpFunctionEnd);
    m.op(spv::OpFunction, {1, 12, 0, 2}).op(spv::OpFunctionEnd);
    EXPECT_EQ(undefined_function_names(m.words), (std::vector<std::string>{"op", "helper"}));
}

TEST(OpenCLTranslationFixups, FreezeBecomesAnIdentityBitcast) {
    std::string assembly =
        "  %conv.frozen = freeze i32 %conv\n"
        "  %p.fr = freeze float addrspace(1)* %p\n"
        "  %v = freeze <2 x i32> %w\n"
        "  %s = freeze %struct.S %t\n"
        "  %c = freeze <2 x i32> <i32 1, i32 2>\n"
        "  %d = add i32 %a, %b\n";
    EXPECT_EQ(replace_freeze_instructions(assembly),
              "  %conv.frozen = bitcast i32 %conv to i32\n"
              "  %p.fr = bitcast float addrspace(1)* %p to float addrspace(1)*\n"
              "  %v = bitcast <2 x i32> %w to <2 x i32>\n"
              "  %s = freeze %struct.S %t\n"
              "  %c = freeze <2 x i32> <i32 1, i32 2>\n"
              "  %d = add i32 %a, %b\n");
}
