#include <gtest/gtest.h>

#include "input/spirv_module.h"
#include "spirv_builder.h"

using namespace spirv_test;

namespace {

constexpr uint32_t USER_TYPE = spv::DecorationUserTypeGOOGLE;
constexpr uint32_t LOCATION = spv::DecorationLocation;

std::string unsupported(const std::string& name) {
    return "0:1: X0004: " + name + " semantic extension is not supported";
}

}  // namespace

TEST(PreprocessSpirv, StripsVendorExtensionsAndEveryFormOfUserTypeDecoration) {
    SpirvBuilder input;
    input.op(spv::OpCapability, {1})
        .extension("SPV_GOOGLE_user_type")
        .extension("SPV_KHR_storage_buffer_storage_class")
        .extension("SPV_GOOGLE_decorate_string")
        .decorate(5, USER_TYPE, literal("structuredbuffer"))
        .decorate(5, LOCATION, {0})
        .op(spv::OpDecorateId, {6, USER_TYPE, 7})
        .op(spv::OpDecorateString, operands({{8, USER_TYPE}, literal("texture2d")}))
        .op(spv::OpMemberDecorate, {9, 0, USER_TYPE})
        .op(spv::OpMemberDecorateString, operands({{9, 1, USER_TYPE}, literal("float4")}))
        // The member index, not the decoration, is the user-type number here: kept.
        .op(spv::OpMemberDecorate, {9, USER_TYPE, LOCATION, 1});

    SpirvBuilder expected;
    expected.op(spv::OpCapability, {1})
        .extension("SPV_KHR_storage_buffer_storage_class")
        .decorate(5, LOCATION, {0})
        .op(spv::OpMemberDecorate, {9, USER_TYPE, LOCATION, 1});

    Bytes module = input.bytes();
    EXPECT_EQ(preprocess_spirv(module), (std::vector<std::string>{unsupported("SPV_GOOGLE_user_type"),
                                                                  unsupported("SPV_GOOGLE_decorate_string")}));
    EXPECT_EQ(module, expected.bytes());

    // A stripped extension whose word count overruns the end is removed up to the end.
    module = SpirvBuilder()
                 .op(spv::OpCapability, {1})
                 .op_with_count(spv::OpExtension, 40, literal("SPV_GOOGLE_decorate_string"))
                 .bytes();
    EXPECT_EQ(preprocess_spirv(module), std::vector<std::string>{unsupported("SPV_GOOGLE_decorate_string")});
    EXPECT_EQ(module, SpirvBuilder().op(spv::OpCapability, {1}).bytes());
}

TEST(PreprocessSpirv, LeavesOtherInputAlone) {
    Bytes unterminated = SpirvBuilder().op_with_count(spv::OpExtension, 7, {}).bytes();
    std::string name = "SPV_GOOGLE_user_type";
    unterminated.insert(unterminated.end(), name.begin(), name.end());
    const Bytes cases[] = {
        {'v', 'o', 'i', 'd', ' ', 'm', 'a', 'i', 'n', '(', ')'},
        SpirvBuilder().bytes(),
        SpirvBuilder().extension("SPV_KHR_multiview").entry_point(0, 1, "main").bytes(),
        // The walk ends at a zero word count.
        SpirvBuilder().op_with_count(spv::OpCapability, 0, {}).extension(name).bytes(),
        SpirvBuilder().op_with_count(spv::OpDecorate, 3, {5}).bytes(),  // cut before its decoration operand
        unterminated,                                                   // the name reads as empty
    };
    for (const Bytes& original : cases) {
        Bytes module = original;
        EXPECT_TRUE(preprocess_spirv(module).empty());
        EXPECT_EQ(module, original);
    }
}
