#include <gtest/gtest.h>

#include "input/spirv_module.h"
#include "spirv_builder.h"

using namespace spirv_test;

namespace {

constexpr uint32_t USER_TYPE = 5636;
constexpr uint32_t LOCATION = 30;

std::string unsupported(const std::string& name) {
    return "0:1: X0004: " + name + " semantic extension is not supported";
}

}  // namespace

TEST(PreprocessSpirv, StripsVendorExtensionsAndEveryFormOfUserTypeDecoration) {
    SpirvBuilder input;
    input.op(17, {1})
        .extension("SPV_GOOGLE_user_type")
        .extension("SPV_KHR_storage_buffer_storage_class")
        .extension("SPV_GOOGLE_decorate_string")
        .decorate(5, USER_TYPE, literal("structuredbuffer"))
        .decorate(5, LOCATION, {0})
        .op(332, {6, USER_TYPE, 7})                                  // OpDecorateId
        .op(5632, operands({{8, USER_TYPE}, literal("texture2d")}))  // OpDecorateString
        .op(72, {9, 0, USER_TYPE})                                   // OpMemberDecorate
        .op(5633, operands({{9, 1, USER_TYPE}, literal("float4")}))  // OpMemberDecorateString
        // The member index, not the decoration, equals 5636 here: kept.
        .op(72, {9, USER_TYPE, LOCATION, 1});

    SpirvBuilder expected;
    expected.op(17, {1})
        .extension("SPV_KHR_storage_buffer_storage_class")
        .decorate(5, LOCATION, {0})
        .op(72, {9, USER_TYPE, LOCATION, 1});

    Bytes module = input.bytes();
    EXPECT_EQ(preprocess_spirv(module), (std::vector<std::string>{unsupported("SPV_GOOGLE_user_type"),
                                                                  unsupported("SPV_GOOGLE_decorate_string")}));
    EXPECT_EQ(module, expected.bytes());

    // A stripped extension whose word count overruns the end is removed up to the end.
    module = SpirvBuilder().op(17, {1}).op_with_count(10, 40, literal("SPV_GOOGLE_decorate_string")).bytes();
    EXPECT_EQ(preprocess_spirv(module), std::vector<std::string>{unsupported("SPV_GOOGLE_decorate_string")});
    EXPECT_EQ(module, SpirvBuilder().op(17, {1}).bytes());
}

TEST(PreprocessSpirv, LeavesOtherInputAlone) {
    Bytes unterminated = SpirvBuilder().op_with_count(10, 7, {}).bytes();
    std::string name = "SPV_GOOGLE_user_type";
    unterminated.insert(unterminated.end(), name.begin(), name.end());
    const Bytes cases[] = {
        {'v', 'o', 'i', 'd', ' ', 'm', 'a', 'i', 'n', '(', ')'},
        SpirvBuilder().bytes(),
        SpirvBuilder().extension("SPV_KHR_multiview").entry_point(0, 1, "main").bytes(),
        // The walk ends at a zero word count.
        SpirvBuilder().op_with_count(17, 0, {}).extension(name).bytes(),
        SpirvBuilder().op_with_count(71, 3, {5}).bytes(),  // cut before its decoration operand
        unterminated,                                      // the name reads as empty
    };
    for (const Bytes& original : cases) {
        Bytes module = original;
        EXPECT_TRUE(preprocess_spirv(module).empty());
        EXPECT_EQ(module, original);
    }
}
