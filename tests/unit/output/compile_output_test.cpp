// Occupancy, percentages, variant names, render-target dropping and errors
// kept once are covered end to end; these are the rules no report run reaches.
#include <gtest/gtest.h>

#include "backend_record.h"

namespace {

const Target OSTREM;

TEST(CompileOutput, StatisticsReadingRules) {
    const auto output =
        compile(OSTREM, {with_pipes({"variant", "1", "part_float16", "nan", "part_v2float16_underused", "N/A"}),
                         with_pipes({"variant", "4352", "spilling_used", "true", "spill_size", "0"}),
                         with_pipes({"is_pilot", "false", "variant", "0"}),
                         {"is_pilot", "true", "shader_flag", "HAS_SIDE_EFFECTS"}});
    ASSERT_EQ(output.variants.size(), 3u);
    EXPECT_EQ(output.variants[0].name, "Main");
    // 4352 is 0x1100: only bits 0 and 8 name the variant.
    EXPECT_EQ(output.variants[1].name, "Position");
    EXPECT_FALSE(output.variants[1].has_spilling);   // the size has the last word
    EXPECT_EQ(output.variants[1].fp16_percent, -2);  // never reported
    EXPECT_EQ(output.variants[2].name, "Varying");
    EXPECT_EQ(output.variants[2].fp16_percent, -1);  // not applicable
    EXPECT_EQ(output.variants[2].v2fp16_underused_percent, -1);
    // A pilot variant is dropped with its flags.
    EXPECT_TRUE(output.has_property(HAS_DROPPED_VARIANT));
    EXPECT_FALSE(output.has_property(HAS_SIDE_EFFECTS));

    ShaderVariant unknown, last_known;
    unknown.name = "Extra";
    last_known.name = "Render target 3";
    EXPECT_TRUE(ShaderVariant::before(last_known, unknown));
    EXPECT_FALSE(ShaderVariant::before(unknown, unknown));
}

TEST(CompileOutput, ShaderFlagsSlowPathsAndWarnings) {
    const auto output = compile(OSTREM,
                                {with_pipes({"variant", "0", "shader_flag", "HAS_SIDE_EFFECTS", "shader_flag",
                                             "NOT_A_FLAG", "shader_flag", "HAS_SLOW_RQ"}),
                                 with_pipes({"variant", "1", "shader_flag", "MODIFIES_COVERAGE", "vrs_mask", "1"})},
                                {}, {"0:1: SPV01: Warning: 'Binding' is larger than allowed maximum", "w", "w"});
    EXPECT_TRUE(output.has_property(HAS_SIDE_EFFECTS));
    EXPECT_TRUE(output.has_property(MODIFIES_COVERAGE));
    EXPECT_FALSE(output.has_property(COLOR_BUFFER_READ));
    EXPECT_TRUE(output.has_stack_or_slow_rq);
    EXPECT_FALSE(output.last_slow_rq);  // only the last variant read counts
    EXPECT_TRUE(output.has_vrs);
    EXPECT_EQ(output.warnings, (Texts{"w"}));  // kept once, the binding warning dropped

    const auto slow = compile(OSTREM, {with_pipes({"shader_flag", "HAS_SLOW_RQ", "vrs_mask", "64"})});
    EXPECT_EQ(slow.warnings, (Texts{"Using a ray query traversal slow path.",
                                    "Using a VRS slow path due to a block footprint larger than 2x2."}));
    EXPECT_TRUE(compile(OSTREM, {with_pipes({"vrs_mask", "256"})}).has_slow_vrs);
    EXPECT_FALSE(compile(OSTREM, {with_pipes({"vrs_mask", "17"})}).has_slow_vrs);
}

}  // namespace
