#include <gtest/gtest.h>

#include <limits>
#include <optional>

#include "input/spirv_module.h"
#include "spirv_builder.h"

using namespace spirv_test;

namespace {

// One integer constant (id 12, type 3) at location 5.
Bytes int_module(uint32_t width, bool is_signed, const Words& literal_words = {0, 0}) {
    return SpirvBuilder()
        .spec_id(12, 5)
        .type_int(3, width, is_signed)
        .spec_constant(3, 12, Words(literal_words.begin(), literal_words.begin() + (width == 64 ? 2 : 1)))
        .bytes();
}

}  // namespace

TEST(SpecConstBool, FlipsTheOpcodeOfTheLastDecoratedConstant) {
    // Ids 10 and 11 both claim location 0; the later decoration wins. Id 13 is at location 1.
    SpirvBuilder builder;
    builder.spec_id(10, 0).spec_id(11, 0).spec_id(13, 1).type_bool(2);
    const size_t first = builder.words.size();
    builder.spec_bool(2, 10, false).spec_bool(2, 11, false).spec_bool(2, 13, true);
    const Bytes original = builder.bytes();

    Bytes module = original;
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 0, true), "");
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 1, false), "");
    EXPECT_EQ(word_at(module, first), 3u << 16 | spv::OpSpecConstantFalse);
    EXPECT_EQ(word_at(module, first + 3), 3u << 16 | spv::OpSpecConstantTrue);
    EXPECT_EQ(word_at(module, first + 6), 3u << 16 | spv::OpSpecConstantFalse);
    module[(first + 3) * 4] = 49;
    module[(first + 6) * 4] = 48;
    EXPECT_EQ(module, original);  // nothing else changed

    // Asking for the value a constant already has changes nothing.
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 1, true), "");
    EXPECT_EQ(module, original);
}

// A value the type holds is written as its two's complement, sign-extended
// to the whole word; 64-bit literals take two words, low word first.
TEST(SpecConstInt, WritesOnlyRepresentableValues) {
    constexpr int64_t MIN64 = std::numeric_limits<int64_t>::min();
    constexpr int64_t MAX64 = std::numeric_limits<int64_t>::max();
    const struct {
        uint32_t width;
        bool is_signed;
        std::vector<int64_t> held, out_of_range;
    } cases[] = {{8, true, {-128}, {128, -129}},
                 {8, false, {255}, {256, -1}},
                 {16, true, {-32768, 32767}, {32768}},
                 {16, false, {65535}, {65536}},
                 {32, true, {-5, 2147483647}, {2147483648, -2147483649}},
                 {32, false, {4294967295}, {4294967296, -1}},
                 {64, true, {MIN64, -2}, {}},
                 {64, false, {MAX64, 0x123456789}, {-1}}};
    for (const auto& c : cases) {
        const Bytes original = int_module(c.width, c.is_signed);
        for (int64_t value : c.held) {
            SCOPED_TRACE(std::to_string(c.width) + (c.is_signed ? " signed " : " unsigned ") + std::to_string(value));
            Bytes module = original;
            ASSERT_EQ(rewrite_spirv_spec_const_int(module, 5, value), "");
            EXPECT_EQ(module, int_module(c.width, c.is_signed, {uint32_t(value), uint32_t(uint64_t(value) >> 32)}));
        }
        for (int64_t value : c.out_of_range) {
            SCOPED_TRACE(std::to_string(c.width) + (c.is_signed ? " signed " : " unsigned ") + std::to_string(value));
            Bytes module = original;
            EXPECT_EQ(rewrite_spirv_spec_const_int(module, 5, value),
                      "Value out of range for int specialization constant at location 5");
            EXPECT_EQ(module, original);
        }
    }
}

TEST(SpecConst, WhatIsNotAConstantOfTheKind) {
    Bytes short_literal = int_module(64, true);
    short_literal.resize(short_literal.size() - 4);  // the second literal word is missing
    const Bytes on_int_type = SpirvBuilder().spec_id(12, 5).spec_constant(3, 12, {1}).bytes();
    const Bytes bool_constant = SpirvBuilder().spec_id(12, 5).type_bool(3).spec_bool(3, 12, true).bytes();
    const Bytes float_constant =
        SpirvBuilder().spec_id(12, 5).op(spv::OpTypeFloat, {3, 32}).spec_constant(3, 12, {0x3F800000}).bytes();
    const Bytes one_word_64 = SpirvBuilder()
                                  .spec_id(12, 5)
                                  .type_int(3, 64, true)
                                  .spec_constant(3, 12, {7})
                                  .op(spv::OpCapability, {1})
                                  .bytes();
    const Bytes text{'#', 'v', 'e', 'r'};

    const std::string no_int = "No integer specialization constant at location 5";
    const std::string no_bool = "No boolean specialization constant at location 5";
    const std::pair<Bytes, std::string> int_cases[] = {
        {float_constant, no_int},        {on_int_type, no_int}, {bool_constant, no_int},
        {int_module(24, true), no_int},  {one_word_64, no_int}, {short_literal, no_int},
        {text, "Program is not SPIR-V"},
    };
    for (const auto& [original, message] : int_cases) {
        Bytes module = original;
        EXPECT_EQ(rewrite_spirv_spec_const_int(module, 5, 1), message);
        EXPECT_EQ(module, original);
    }
    Bytes module = int_module(32, true);
    EXPECT_EQ(rewrite_spirv_spec_const_int(module, 6, 1), "No integer specialization constant at location 6");
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 5, true), no_bool);
    module = SpirvBuilder().bytes();
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 5, true), no_bool);
    module = text;
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 5, true), "Program is not SPIR-V");
}
