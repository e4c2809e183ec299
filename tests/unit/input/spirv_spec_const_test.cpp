#include <gtest/gtest.h>

#include <limits>

#include "spirv_builder.h"
#include "input/spirv_module.h"

using namespace spirv_test;

namespace {

constexpr uint32_t BOOL_TYPE = 2;
constexpr uint32_t FLAG_ID = 10;
constexpr uint32_t OTHER_FLAG_ID = 11;
constexpr uint32_t CONSTANT_ID = 12;
constexpr uint32_t INT_TYPE = 3;
constexpr uint32_t FLOAT_TYPE = 4;

// Module with two boolean constants: FLAG_ID at location 0 (false) and
// OTHER_FLAG_ID at location 1 (true). Returns the word index of FLAG_ID's
// instruction.
Bytes bool_module(size_t& flag_word) {
    SpirvBuilder builder;
    builder.spec_id(FLAG_ID, 0).spec_id(OTHER_FLAG_ID, 1).type_bool(BOOL_TYPE);
    flag_word = builder.words.size();
    builder.spec_false(BOOL_TYPE, FLAG_ID).spec_true(BOOL_TYPE, OTHER_FLAG_ID);
    return builder.bytes();
}

// One integer constant of the given type at location 5, initially 0.
Bytes int_module(uint32_t width, bool is_signed) {
    std::vector<uint32_t> initial(width == 64 ? 2 : 1, 0);
    return SpirvBuilder()
        .spec_id(CONSTANT_ID, 5)
        .type_int(INT_TYPE, width, is_signed)
        .spec_constant(INT_TYPE, CONSTANT_ID, initial)
        .bytes();
}

// First literal word of int_module's constant: header (5), OpDecorate (4),
// OpTypeInt (4), then the constant's instruction word, type and id.
constexpr size_t LITERAL_WORD = 5 + 4 + 4 + 3;

struct IntType {
    uint32_t width;
    bool is_signed;
};

struct IntCase {
    IntType type;
    int64_t value;
    uint32_t low_word;
};

std::string describe(const IntType& type, int64_t value) {
    return std::to_string(type.width) + (type.is_signed ? " signed " : " unsigned ") +
           std::to_string(value);
}

}  // namespace

TEST(SpecConstBool, FlipsOpcodeOnlyWhenTheValueDiffers) {
    size_t flag_word = 0;
    Bytes original = bool_module(flag_word);

    Bytes module = original;
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 0, true), "");
    EXPECT_EQ(word_at(module, flag_word), 3u << 16 | 48);
    Bytes restored = module;
    restored[flag_word * 4] = 49;
    EXPECT_EQ(restored, original);

    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 1, false), "");
    EXPECT_EQ(word_at(module, flag_word + 3), 3u << 16 | 49);

    // Asking for the value a constant already has changes nothing.
    module = original;
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 0, false), "");
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 1, true), "");
    EXPECT_EQ(module, original);
}

TEST(SpecConstBool, ReportsWhatIsMissing) {
    size_t flag_word = 0;
    Bytes module = bool_module(flag_word);
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 7, true),
              "No boolean specialization constant at location 7");

    Bytes int_constant = int_module(32, true);
    EXPECT_EQ(rewrite_spirv_spec_const_bool(int_constant, 5, true),
              "No boolean specialization constant at location 5");

    Bytes text{'a', 'b', 'c', 'd', 'e'};
    EXPECT_EQ(rewrite_spirv_spec_const_bool(text, 0, true), "Program is not SPIR-V");
    Bytes header_only = SpirvBuilder().bytes();
    EXPECT_EQ(rewrite_spirv_spec_const_bool(header_only, 0, true),
              "No boolean specialization constant at location 0");
}

TEST(SpecConstBool, LastDecorationBeforeTheConstantWins) {
    SpirvBuilder builder;
    builder.spec_id(FLAG_ID, 0).spec_id(OTHER_FLAG_ID, 0).type_bool(BOOL_TYPE);
    size_t flag_word = builder.words.size();
    builder.spec_false(BOOL_TYPE, FLAG_ID).spec_false(BOOL_TYPE, OTHER_FLAG_ID);
    Bytes module = builder.bytes();
    EXPECT_EQ(rewrite_spirv_spec_const_bool(module, 0, true), "");
    EXPECT_EQ(word_at(module, flag_word) & 0xFFFF, 49u);
    EXPECT_EQ(word_at(module, flag_word + 3) & 0xFFFF, 48u);
}

TEST(SpecConstInt, WritesInRangeValuesInTheTypesEncoding) {
    constexpr int64_t MIN64 = std::numeric_limits<int64_t>::min();
    constexpr int64_t MAX64 = std::numeric_limits<int64_t>::max();
    // Narrow signed values are sign-extended to the whole word.
    const IntCase cases[] = {
        {{8, true}, -128, 0xFFFFFF80},
        {{8, false}, 255, 0xFF},
        {{16, true}, -32768, 0xFFFF8000},
        {{16, true}, 32767, 0x7FFF},
        {{16, false}, 65535, 0xFFFF},
        {{32, true}, -5, 0xFFFFFFFB},
        {{32, true}, 2147483647, 0x7FFFFFFF},
        {{32, false}, 4294967295, 0xFFFFFFFF},
        {{64, true}, MIN64, 0},
        {{64, true}, -2, 0xFFFFFFFE},
        {{64, false}, MAX64, 0xFFFFFFFF},
        {{64, false}, 0x123456789, 0x23456789},
    };
    for (const IntCase& c : cases) {
        SCOPED_TRACE(describe(c.type, c.value));
        Bytes original = int_module(c.type.width, c.type.is_signed);
        Bytes module = original;
        ASSERT_EQ(rewrite_spirv_spec_const_int(module, 5, c.value), "");
        ASSERT_EQ(module.size(), original.size());
        EXPECT_EQ(word_at(module, LITERAL_WORD), c.low_word);
        if (c.type.width == 64) {
            EXPECT_EQ(word_at(module, LITERAL_WORD + 1), uint32_t(uint64_t(c.value) >> 32));
        }
        for (size_t i = 0; i < LITERAL_WORD; ++i)
            EXPECT_EQ(word_at(module, i), word_at(original, i)) << "word " << i;
    }
}

TEST(SpecConstInt, RejectsValuesOutsideTheType) {
    const std::pair<IntType, int64_t> cases[] = {
        {{8, true}, 128},          {{8, true}, -129},         {{8, false}, 256},
        {{8, false}, -1},          {{16, true}, 32768},       {{16, false}, 65536},
        {{32, true}, 2147483648},  {{32, true}, -2147483649}, {{32, false}, 4294967296},
        {{32, false}, -1},         {{64, false}, -1},
    };
    for (const auto& [type, value] : cases) {
        SCOPED_TRACE(describe(type, value));
        Bytes original = int_module(type.width, type.is_signed);
        Bytes module = original;
        EXPECT_EQ(rewrite_spirv_spec_const_int(module, 5, value),
                  "Value out of range for int specialization constant at location 5");
        EXPECT_EQ(module, original);
    }
}

TEST(SpecConstInt, OnlyDeclaredIntegerConstantsQualify) {
    const std::string missing = "No integer specialization constant at location 5";
    Bytes float_constant = SpirvBuilder()
                               .spec_id(CONSTANT_ID, 5)
                               .type_float(FLOAT_TYPE, 32)
                               .spec_constant(FLOAT_TYPE, CONSTANT_ID, {0x3F800000})
                               .bytes();
    Bytes undeclared_type =
        SpirvBuilder().spec_id(CONSTANT_ID, 5).spec_constant(INT_TYPE, CONSTANT_ID, {1}).bytes();
    Bytes bool_constant = SpirvBuilder()
                              .spec_id(CONSTANT_ID, 5)
                              .type_bool(BOOL_TYPE)
                              .spec_true(BOOL_TYPE, CONSTANT_ID)
                              .bytes();
    Bytes odd_width = SpirvBuilder()
                          .spec_id(CONSTANT_ID, 5)
                          .type_int(INT_TYPE, 24, true)
                          .spec_constant(INT_TYPE, CONSTANT_ID, {0})
                          .bytes();
    // A 64-bit constant carrying a single literal word is not rewritten.
    Bytes short_literal = SpirvBuilder()
                              .spec_id(CONSTANT_ID, 5)
                              .type_int(INT_TYPE, 64, true)
                              .spec_constant(INT_TYPE, CONSTANT_ID, {7})
                              .op(17, {1})
                              .bytes();
    Bytes cut_off = int_module(64, true);
    cut_off.resize(cut_off.size() - 4);
    for (Bytes module :
         {float_constant, undeclared_type, bool_constant, odd_width, short_literal, cut_off}) {
        Bytes before = module;
        EXPECT_EQ(rewrite_spirv_spec_const_int(module, 5, 1), missing);
        EXPECT_EQ(module, before);
    }
    Bytes other_location = int_module(32, true);
    EXPECT_EQ(rewrite_spirv_spec_const_int(other_location, 6, 1),
              "No integer specialization constant at location 6");

    Bytes text{'#', 'v', 'e', 'r'};
    EXPECT_EQ(rewrite_spirv_spec_const_int(text, 5, 1), "Program is not SPIR-V");
}
