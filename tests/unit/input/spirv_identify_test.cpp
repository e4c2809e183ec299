// Stages of well-formed single-entry modules are covered through the binary;
// these are the walker's rules for odd and damaged modules.
#include <gtest/gtest.h>

#include "input/spirv_module.h"
#include "spirv_builder.h"

using namespace spirv_test;

TEST(IdentifySpirv, OddModules) {
    const Bytes magic = to_bytes({spv::MagicNumber});
    Bytes ragged =
        SpirvBuilder().op(spv::OpCapability, {1}).entry_point(4, 4, "main").op(spv::OpExecutionMode, {4, 7}).bytes();
    ragged.insert(ragged.end(), {1, 2, 3});  // bytes short of a whole word are ignored
    Bytes unterminated = SpirvBuilder().op_with_count(spv::OpEntryPoint, 4, {4, 1}).bytes();
    unterminated.insert(unterminated.end(), {'m', 'a', 'i', 'n', 'x'});
    const struct {
        const char* what;
        Bytes module;
        bool is_spirv;
        SourceType stage;
        std::string entry;
    } cases[] = {
        {"short", Bytes(magic.begin(), magic.begin() + 3), false, SourceType::None, ""},
        {"big-endian", to_bytes({0x03022307, 0x00010300, 0, 8, 0}), false, SourceType::None, ""},
        {"header only", SpirvBuilder().bytes(), true, SourceType::None, ""},
        {"ragged", ragged, true, SourceType::Fragment, "main"},
        {"two entry points", SpirvBuilder().entry_point(0, 1, "a").entry_point(4, 2, "b").bytes(), true,
         SourceType::None, ""},
        {"model outside the table", SpirvBuilder().entry_point(7, 1, "e").bytes(), true, static_cast<SourceType>(8),
         "e"},
        {"zero word count ends the walk",
         SpirvBuilder()
             .entry_point(0, 1, "first")
             .op_with_count(spv::OpEntryPoint, 0, {})
             .entry_point(4, 2, "x")
             .bytes(),
         true, SourceType::Vertex, "first"},
        {"operands past the end", SpirvBuilder().op_with_count(spv::OpEntryPoint, 4, {}).bytes(), true,
         SourceType::Vertex, ""},
        {"unterminated name", unterminated, true, SourceType::Fragment, ""},
        {"huge word count", SpirvBuilder().op_with_count(spv::OpCapability, 0xFFFF, {1}).entry_point(0, 1, "m").bytes(),
         true, SourceType::None, ""},
    };
    for (const auto& c : cases) {
        SourceType stage = SourceType::Compute;  // stale values are always reset
        std::string entry = "stale";
        EXPECT_EQ(identify_spirv(c.module, stage, entry), c.is_spirv) << c.what;
        EXPECT_EQ(stage, c.stage) << c.what;
        EXPECT_EQ(entry, c.entry) << c.what;
    }
    EXPECT_EQ(enumerate_spirv_entrypoints(cases[4].module),
              (std::vector<SpirvEntryPoint>{{SourceType::Vertex, "a"}, {SourceType::Fragment, "b"}}));
}

TEST(SpirvVersion, MajorAndMinorBytesOnly) {
    EXPECT_EQ(get_spirv_version(SpirvBuilder(0x00010600).bytes()), 160u);
    EXPECT_EQ(get_spirv_version(SpirvBuilder(0xFF0105FF).bytes()), 150u);
    Bytes module = SpirvBuilder().bytes();
    EXPECT_EQ(get_spirv_version(Bytes(module.begin(), module.begin() + 7)), 0u);
    EXPECT_EQ(get_spirv_version(Bytes(module.begin(), module.begin() + 8)), 130u);
}
