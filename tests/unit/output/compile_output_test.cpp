#include <gtest/gtest.h>

#include "backend_record.h"

namespace {

const Target OSTREM;
const Target TARSEL{ArchitectureType::Tarsel, "Koro-L380"};

TEST(CompileOutput, KeepsEachMessageOnceAndDropsTheBindingWarning) {
    const auto output = compile(
        OSTREM, {}, {"e1", "e2", "e1"},
        {"0:1: SPV01: Warning: 'Binding' is larger than allowed maximum", "w", "w"});
    EXPECT_EQ(output.errors, (Texts{"e1", "e2"}));
    EXPECT_EQ(output.warnings, (Texts{"w"}));
    EXPECT_TRUE(output.variants.empty());
}

TEST(CompileOutput, OccupancyFollowsTheArchitectureTable) {
    const auto wide = compile(OSTREM, {with_pipes({"variant", "0", "work_registers_used", "33"}),
                                       with_pipes({"variant", "1", "work_registers_used", "65"})});
    ASSERT_EQ(wide.variants.size(), 2u);
    EXPECT_EQ(wide.variants[0].work_registers_allocated, 64);
    EXPECT_EQ(wide.variants[0].occupancy, 50);
    EXPECT_EQ(wide.variants[0].uniform_registers_available, 128);
    EXPECT_EQ(wide.variants[1].work_registers_allocated, 0);
    EXPECT_EQ(wide.variants[1].occupancy, 0);

    const auto narrow = compile(TARSEL, {{"work_registers_used", "5"}}).variants.at(0);
    EXPECT_EQ(narrow.work_registers_allocated, 8);
    EXPECT_EQ(narrow.occupancy, 50);
    EXPECT_EQ(narrow.uniform_registers_available, 19);
}

TEST(CompileOutput, PercentagesDistinguishNotApplicableFromMissing) {
    const auto output = compile(
        OSTREM, {with_pipes({"variant", "0", "part_float16", "0.5", "part_v2float16_underused", "0.5"}),
                 with_pipes({"variant", "256", "part_float16", "N/A", "part_v2float16_underused", "nan"}),
                 with_pipes({"variant", "1", "spilling_used", "true", "spill_size", "0"})});
    ASSERT_EQ(output.variants.size(), 3u);
    EXPECT_EQ(output.variants[0].fp16_percent, 50);
    EXPECT_EQ(output.variants[0].v2fp16_underused_percent, 25);
    EXPECT_EQ(output.variants[1].fp16_percent, -1);
    EXPECT_EQ(output.variants[1].v2fp16_underused_percent, -1);
    EXPECT_EQ(output.variants[2].fp16_percent, -2);
    EXPECT_FALSE(output.variants[2].has_spilling);  // the size has the last word
}

TEST(CompileOutput, DroppedVariants) {
    const auto pilot = compile(OSTREM, {with_pipes({"is_pilot", "false"}),
                                        {"is_pilot", "true", "shader_flag", "HAS_SIDE_EFFECTS"}});
    EXPECT_EQ(pilot.variants.size(), 1u);
    EXPECT_TRUE(pilot.has_property(HAS_DROPPED_VARIANT));
    EXPECT_FALSE(pilot.has_property(HAS_SIDE_EFFECTS));

    const std::vector<Texts> targets = {{"render_target", "0"}, {"render_target", "2"}};
    const auto tarsel = compile(TARSEL, targets);
    ASSERT_EQ(tarsel.variants.size(), 1u);
    EXPECT_EQ(tarsel.variants[0].name, "Main");
    EXPECT_TRUE(tarsel.has_property(HAS_DROPPED_VARIANT));

    const auto l220 = compile({ArchitectureType::Tarsel, "Koro-L220"}, targets);
    ASSERT_EQ(l220.variants.size(), 2u);
    EXPECT_EQ(l220.variants[1].name, "Render target 2");
    EXPECT_FALSE(l220.has_property(HAS_DROPPED_VARIANT));
}

TEST(CompileOutput, VariantsAreOrderedByKind) {
    // 4352 is 0x1100: only bit 8 counts, a position variant.
    const auto output = compile(OSTREM, {with_pipes({"variant", "1"}),
                                         with_pipes({"variant", "4352"}),
                                         with_pipes({"variant", "0"})});
    ASSERT_EQ(output.variants.size(), 3u);
    EXPECT_EQ(output.variants[0].name, "Main");
    EXPECT_EQ(output.variants[1].name, "Position");
    EXPECT_EQ(output.variants[2].name, "Varying");
    ShaderVariant unknown, last_known;
    unknown.name = "Extra";
    last_known.name = "Render target 3";
    EXPECT_TRUE(ShaderVariant::before(last_known, unknown));
    EXPECT_FALSE(ShaderVariant::before(unknown, unknown));
}

TEST(CompileOutput, ShaderFlagsAndSlowPaths) {
    const auto output = compile(
        OSTREM,
        {with_pipes({"variant", "0", "shader_flag", "HAS_SIDE_EFFECTS", "shader_flag", "NOT_A_FLAG",
                     "shader_flag", "HAS_SLOW_RQ"}),
         with_pipes({"variant", "1", "shader_flag", "MODIFIES_COVERAGE", "vrs_mask", "1"})},
        {}, {"w"});
    EXPECT_TRUE(output.has_property(HAS_SIDE_EFFECTS));
    EXPECT_TRUE(output.has_property(MODIFIES_COVERAGE));
    EXPECT_FALSE(output.has_property(COLOR_BUFFER_READ));
    EXPECT_TRUE(output.has_stack_or_slow_rq);
    EXPECT_FALSE(output.last_slow_rq);  // only the last variant read counts
    EXPECT_TRUE(output.has_vrs);
    EXPECT_FALSE(output.has_slow_vrs);
    EXPECT_EQ(output.warnings, (Texts{"w"}));

    const auto slow = compile(OSTREM, {with_pipes({"shader_flag", "HAS_SLOW_RQ", "vrs_mask", "64"})});
    EXPECT_EQ(slow.warnings,
              (Texts{"Using a ray query traversal slow path.",
                     "Using a VRS slow path due to a block footprint larger than 2x2."}));
    EXPECT_TRUE(compile(OSTREM, {with_pipes({"vrs_mask", "256"})}).has_slow_vrs);
}

}  // namespace
