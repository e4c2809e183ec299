// Every SPIR-V function must stay inside the buffer whatever the bytes: a
// valid module is cut at every length and has each word overwritten in turn,
// and every function runs on each result. A stray access shows up as a crash
// (or a sanitizer report in instrumented builds).
#include <gtest/gtest.h>

#include "input/spirv_module.h"
#include "spirv_builder.h"

using namespace spirv_test;

TEST(SpirvHostileInput, CutAndDamagedModules) {
    SpirvBuilder builder;
    builder.op(spv::OpCapability, {1}).extension("SPV_GOOGLE_user_type").extension("SPV_GOOGLE_decorate_string");
    builder.entry_point(4, 20, "main").entry_point(0, 21, "vertex_main");
    builder.decorate(30, spv::DecorationUserTypeGOOGLE, literal("cbuffer"))
        .op(spv::OpMemberDecorateString, operands({{31, 0, spv::DecorationUserTypeGOOGLE}, literal("float")}));
    builder.spec_id(40, 0).spec_id(41, 1).spec_id(42, 2);
    builder.type_bool(2).type_int(3, 32, true).type_int(4, 64, false);
    builder.spec_bool(2, 40, false).spec_constant(3, 41, {9}).spec_constant(4, 42, {1, 0});
    const Bytes full = builder.bytes();
    // Word counts running far past the end, an OpDecorate cut short, text
    // with no terminator, and a zero word count.
    const uint32_t damage[] = {0xFFFF000F, 0xFFFF000A, 0x00020047, 0x61616161, 0};

    for (size_t size = 0; size <= full.size(); ++size) {
        std::vector<Bytes> modules = {Bytes(full.begin(), full.begin() + size)};
        if (size % 4 == 0 && size >= 20 && size < full.size()) {
            for (uint32_t word : damage) {
                modules.push_back(full);
                for (size_t i = 0; i < 4; ++i) modules.back()[size + i] = uint8_t(word >> (8 * i));
            }
        }
        for (Bytes& module : modules) {
            SCOPED_TRACE("size " + std::to_string(module.size()) + ", word " + std::to_string(size / 4));
            module.shrink_to_fit();  // any read past the end leaves the allocation
            SourceType stage;
            std::string entry;
            if (identify_spirv(module, stage, entry)) get_spirv_version(module);
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
    }
}
