#include <gtest/gtest.h>

#include "spirv_builder.h"
#include "input/spirv_module.h"

using namespace spirv_test;

namespace {

constexpr uint16_t OP_CAPABILITY = 17;
constexpr uint16_t OP_MEMBER_DECORATE = 72;
constexpr uint16_t OP_DECORATE_ID = 332;
constexpr uint16_t OP_DECORATE_STRING = 5632;
constexpr uint16_t OP_MEMBER_DECORATE_STRING = 5633;
constexpr uint32_t USER_TYPE = 5636;
constexpr uint32_t LOCATION = 30;

std::string unsupported(const std::string& name) {
    return "0:1: X0004: " + name + " semantic extension is not supported";
}

}  // namespace

TEST(PreprocessSpirv, StripsVendorExtensionsAndUserTypeDecorations) {
    SpirvBuilder input(0x00010300, 99);
    input.op(OP_CAPABILITY, {1})
        .extension("SPV_GOOGLE_user_type")
        .extension("SPV_KHR_storage_buffer_storage_class")
        .extension("SPV_GOOGLE_decorate_string")
        .entry_point(4, 2, "main")
        .decorate(5, USER_TYPE, literal("structuredbuffer"))
        .decorate(5, LOCATION, {0})
        .op(OP_DECORATE_ID, {6, USER_TYPE, 7})
        .op(OP_DECORATE_STRING, operands({{8, USER_TYPE}, literal("texture2d")}))
        .op(OP_MEMBER_DECORATE, {9, 0, USER_TYPE})
        .op(OP_MEMBER_DECORATE_STRING, operands({{9, 1, USER_TYPE}, literal("float4")}))
        // The member index, not the decoration, equals 5636 here: kept.
        .op(OP_MEMBER_DECORATE, {9, USER_TYPE, LOCATION, 1});

    SpirvBuilder expected(0x00010300, 99);
    expected.op(OP_CAPABILITY, {1})
        .extension("SPV_KHR_storage_buffer_storage_class")
        .entry_point(4, 2, "main")
        .decorate(5, LOCATION, {0})
        .op(OP_MEMBER_DECORATE, {9, USER_TYPE, LOCATION, 1});

    Bytes module = input.bytes();
    std::vector<std::string> warnings = preprocess_spirv(module);
    EXPECT_EQ(warnings, (std::vector<std::string>{unsupported("SPV_GOOGLE_user_type"),
                                                  unsupported("SPV_GOOGLE_decorate_string")}));
    EXPECT_EQ(module, expected.bytes());
}

TEST(PreprocessSpirv, LeavesOtherInputAlone) {
    Bytes not_spirv{'v', 'o', 'i', 'd', ' ', 'm', 'a', 'i', 'n', '(', ')'};
    Bytes header_only = SpirvBuilder().bytes();
    Bytes clean = SpirvBuilder().extension("SPV_KHR_multiview").entry_point(0, 1, "main").bytes();
    for (Bytes module : {not_spirv, header_only, clean}) {
        Bytes before = module;
        EXPECT_TRUE(preprocess_spirv(module).empty());
        EXPECT_EQ(module, before);
    }
}

TEST(PreprocessSpirv, StopsAtZeroWordCount) {
    SpirvBuilder builder;
    builder.op_with_count(OP_CAPABILITY, 0, {}).extension("SPV_GOOGLE_user_type");
    Bytes module = builder.bytes();
    EXPECT_TRUE(preprocess_spirv(module).empty());
    EXPECT_EQ(module, builder.bytes());
}

TEST(PreprocessSpirv, TruncatedInstructionsStayInsideTheBuffer) {
    // An OpDecorate cut off before its decoration operand is not tested and kept.
    Bytes cut_decoration = SpirvBuilder().op_with_count(71, 3, {5}).bytes();
    Bytes before = cut_decoration;
    EXPECT_TRUE(preprocess_spirv(cut_decoration).empty());
    EXPECT_EQ(cut_decoration, before);

    // A stripped extension whose word count overruns the end is removed up to the end.
    SpirvBuilder overrun;
    overrun.op(OP_CAPABILITY, {1}).op_with_count(10, 40, literal("SPV_GOOGLE_decorate_string"));
    Bytes module = overrun.bytes();
    EXPECT_EQ(preprocess_spirv(module),
              std::vector<std::string>{unsupported("SPV_GOOGLE_decorate_string")});
    EXPECT_EQ(module, SpirvBuilder().op(OP_CAPABILITY, {1}).bytes());

    // An extension name without a terminator reads as empty and is kept.
    Bytes unterminated = SpirvBuilder().op_with_count(10, 7, {}).bytes();
    std::string name = "SPV_GOOGLE_user_type";
    unterminated.insert(unterminated.end(), name.begin(), name.end());
    before = unterminated;
    EXPECT_TRUE(preprocess_spirv(unterminated).empty());
    EXPECT_EQ(unterminated, before);
}
