#include <gtest/gtest.h>

#include "spirv_builder.h"
#include "input/spirv_module.h"

using namespace spirv_test;

namespace {

constexpr uint32_t MODEL_VERTEX = 0;
constexpr uint32_t MODEL_FRAGMENT = 4;
constexpr uint32_t MODEL_KERNEL = 6;
constexpr uint32_t MODEL_RAY_GENERATION = 5313;
constexpr uint32_t MODEL_CALLABLE = 5318;

struct Identified {
    bool is_spirv;
    SourceType stage;
    std::string entry;
};

// Starts from non-default out values to show that they are always reset.
Identified identify(const Bytes& module) {
    Identified result{false, SourceType::Compute, "stale"};
    result.is_spirv = identify_spirv(module, result.stage, result.entry);
    return result;
}

}  // namespace

TEST(IdentifySpirv, RejectsShortOrForeignInput) {
    Bytes magic = to_bytes({MAGIC});
    Identified short_input = identify(Bytes(magic.begin(), magic.begin() + 3));
    EXPECT_FALSE(short_input.is_spirv);
    EXPECT_EQ(short_input.stage, SourceType::None);
    EXPECT_EQ(short_input.entry, "");

    EXPECT_FALSE(identify({}).is_spirv);
    EXPECT_FALSE(identify(to_bytes({0x03022307, 0x00010300, 0, 8, 0})).is_spirv);  // big-endian
    Bytes glsl{'#', 'v', 'e', 'r', 's', 'i', 'o', 'n'};
    EXPECT_FALSE(identify(glsl).is_spirv);
}

TEST(IdentifySpirv, HeaderOnlyModulesAreSpirvWithoutStage) {
    for (const Bytes& module : {to_bytes({MAGIC}), SpirvBuilder().bytes()}) {
        Identified result = identify(module);
        EXPECT_TRUE(result.is_spirv);
        EXPECT_EQ(result.stage, SourceType::None);
        EXPECT_EQ(result.entry, "");
        EXPECT_TRUE(enumerate_spirv_entrypoints(module).empty());
    }
}

TEST(IdentifySpirv, SingleEntryPointGivesStageAndName) {
    SpirvBuilder builder;
    builder.op(17, {1}).entry_point(MODEL_FRAGMENT, 4, "main").op(16, {4, 7});
    Identified result = identify(builder.bytes());
    EXPECT_TRUE(result.is_spirv);
    EXPECT_EQ(result.stage, SourceType::Fragment);
    EXPECT_EQ(result.entry, "main");

    // Trailing bytes that do not make a whole word are ignored.
    Bytes ragged = builder.bytes();
    ragged.insert(ragged.end(), {1, 2, 3});
    EXPECT_EQ(identify(ragged).entry, "main");
}

TEST(IdentifySpirv, ExecutionModelsMapOntoStages) {
    const std::pair<uint32_t, SourceType> cases[] = {
        {MODEL_VERTEX, SourceType::Vertex},
        {MODEL_KERNEL, SourceType::Kernel},
        {MODEL_RAY_GENERATION, SourceType::RayGeneration},
        {MODEL_CALLABLE, SourceType::RayCallable},
        {7, static_cast<SourceType>(8)},  // outside the table: still model + 1
    };
    for (const auto& [model, stage] : cases) {
        Identified result = identify(SpirvBuilder().entry_point(model, 1, "entry").bytes());
        EXPECT_EQ(result.stage, stage) << "model " << model;
        EXPECT_EQ(result.entry, "entry");
    }
}

TEST(IdentifySpirv, SeveralEntryPointsAreListedButNotChosen) {
    SpirvBuilder builder;
    builder.entry_point(MODEL_VERTEX, 1, "vs_main").entry_point(MODEL_FRAGMENT, 2, "fs");
    Identified result = identify(builder.bytes());
    EXPECT_TRUE(result.is_spirv);
    EXPECT_EQ(result.stage, SourceType::None);
    EXPECT_EQ(result.entry, "");

    std::vector<SpirvEntryPoint> expected{{SourceType::Vertex, "vs_main"},
                                          {SourceType::Fragment, "fs"}};
    EXPECT_EQ(enumerate_spirv_entrypoints(builder.bytes()), expected);
    EXPECT_TRUE(enumerate_spirv_entrypoints(Bytes{1, 2, 3, 4, 5, 6}).empty());
}

TEST(IdentifySpirv, ZeroWordCountEndsTheWalk) {
    SpirvBuilder builder;
    builder.entry_point(MODEL_VERTEX, 1, "first")
        .op_with_count(15, 0, {})
        .entry_point(MODEL_FRAGMENT, 2, "hidden");
    Identified result = identify(builder.bytes());
    EXPECT_EQ(result.stage, SourceType::Vertex);
    EXPECT_EQ(result.entry, "first");
}

TEST(IdentifySpirv, OperandsPastTheEndReadAsMissing) {
    // Only the instruction word of an OpEntryPoint survives: model 0, no name.
    Identified bare = identify(SpirvBuilder().op_with_count(15, 4, {}).bytes());
    EXPECT_EQ(bare.stage, SourceType::Vertex);
    EXPECT_EQ(bare.entry, "");

    // A name without a terminator before the end of the module is empty.
    Bytes unterminated = SpirvBuilder().op_with_count(15, 4, {MODEL_FRAGMENT, 1}).bytes();
    unterminated.insert(unterminated.end(), {'m', 'a', 'i', 'n', 'x'});
    Identified result = identify(unterminated);
    EXPECT_EQ(result.stage, SourceType::Fragment);
    EXPECT_EQ(result.entry, "");

    // A word count running far past the end hides what follows it.
    SpirvBuilder huge;
    huge.op_with_count(17, 0xFFFF, {1}).entry_point(MODEL_VERTEX, 1, "main");
    EXPECT_EQ(identify(huge.bytes()).entry, "");
}

TEST(SpirvVersion, EncodesMajorAndMinor) {
    EXPECT_EQ(get_spirv_version(SpirvBuilder(0x00010000).bytes()), 100u);
    EXPECT_EQ(get_spirv_version(SpirvBuilder(0x00010300).bytes()), 130u);
    EXPECT_EQ(get_spirv_version(SpirvBuilder(0x00010600).bytes()), 160u);
    // Generator bits above and below the version bytes are ignored.
    EXPECT_EQ(get_spirv_version(SpirvBuilder(0xFF0105FF).bytes()), 150u);

    Bytes module = SpirvBuilder().bytes();
    for (size_t size = 4; size < 8; ++size)
        EXPECT_EQ(get_spirv_version(Bytes(module.begin(), module.begin() + size)), 0u);
    EXPECT_EQ(get_spirv_version(Bytes(module.begin(), module.begin() + 8)), 130u);
}
