// Every SPIR-V function must stay inside the buffer whatever the bytes. These
// tests feed damaged modules through all of them; a stray access shows up as
// a crash (or a sanitizer report in instrumented builds).
#include <gtest/gtest.h>

#include <random>

#include "spirv_builder.h"
#include "input/spirv_module.h"

using namespace spirv_test;

namespace {

Bytes rich_module() {
    return SpirvBuilder()
        .op(17, {1})
        .extension("SPV_GOOGLE_user_type")
        .extension("SPV_GOOGLE_decorate_string")
        .entry_point(4, 20, "main")
        .entry_point(0, 21, "vertex_main")
        .decorate(30, 5636, literal("cbuffer"))
        .op(5633, operands({{31, 0, 5636}, literal("float")}))
        .spec_id(40, 0)
        .spec_id(41, 1)
        .spec_id(42, 2)
        .type_bool(2)
        .type_int(3, 32, true)
        .type_int(4, 64, false)
        .spec_false(2, 40)
        .spec_constant(3, 41, {9})
        .spec_constant(4, 42, {1, 0})
        .bytes();
}

// Runs every function; rewrites must keep the size, stripping may only shrink.
void exercise(const Bytes& module) {
    SourceType stage = SourceType::None;
    std::string entry;
    bool is_spirv = identify_spirv(module, stage, entry);
    if (is_spirv) get_spirv_version(module);
    std::vector<SpirvEntryPoint> entry_points = enumerate_spirv_entrypoints(module);
    if (entry_points.size() == 1) {
        EXPECT_EQ(entry_points.front().second, entry);
    }

    Bytes stripped = module;
    preprocess_spirv(stripped);
    EXPECT_LE(stripped.size(), module.size());

    for (uint32_t location = 0; location < 3; ++location) {
        Bytes rewritten = module;
        rewrite_spirv_spec_const_bool(rewritten, location, true);
        rewrite_spirv_spec_const_int(rewritten, location, -1);
        rewrite_spirv_spec_const_int(rewritten, location, 1);
        EXPECT_EQ(rewritten.size(), module.size());
    }
}

}  // namespace

TEST(SpirvHostileInput, EveryTruncationOfAValidModule) {
    Bytes full = rich_module();
    for (size_t size = 0; size <= full.size(); ++size) {
        SCOPED_TRACE("size " + std::to_string(size));
        // An exact-size copy, so that any read past the end leaves the allocation.
        Bytes prefix(full.begin(), full.begin() + size);
        prefix.shrink_to_fit();
        exercise(prefix);
    }
}

TEST(SpirvHostileInput, HugeWordCountsAndMissingTerminators) {
    Bytes full = rich_module();
    size_t words = full.size() / 4;
    for (size_t index = 5; index < words; ++index) {
        SCOPED_TRACE("word " + std::to_string(index));
        for (uint32_t replacement : {0xFFFF0000u | 15, 0xFFFF000Au, 0x00020047u, 0x61616161u}) {
            Bytes damaged = full;
            for (size_t i = 0; i < 4; ++i) damaged[index * 4 + i] = uint8_t(replacement >> (8 * i));
            exercise(damaged);
        }
    }
}

TEST(SpirvHostileInput, RandomWordsAfterAValidHeader) {
    std::mt19937 random(1234);
    // Opcodes the functions look at, so that random modules reach their branches.
    const uint16_t opcodes[] = {10, 15, 21, 48, 49, 50, 71, 72, 332, 5632, 5633, 17};
    for (int round = 0; round < 2000; ++round) {
        SpirvBuilder builder;
        size_t extra_words = random() % 24;
        for (size_t i = 0; i < extra_words; ++i) {
            uint32_t word = uint32_t(random());
            if (random() % 2) word = uint32_t(random() % 6) << 16 | opcodes[random() % 12];
            else if (random() % 2) word %= 8;
            builder.words.push_back(word);
        }
        Bytes module = builder.bytes();
        module.resize(module.size() - random() % 4);
        module.shrink_to_fit();
        exercise(module);
    }
}
