#include <gtest/gtest.h>

#include <cmath>

#include "backend_record.h"

namespace {

using Floats = std::vector<float>;

const Target OSTREM;
const Target KERNEL{ArchitectureType::Ostrem, "Koro-N68", CompilerType::OpenCL, SourceType::Kernel};

Target pelion(const std::string& core, SourceType source = SourceType::Fragment) {
    return {ArchitectureType::Pelion, core, CompilerType::OpenGLES, source};
}

TEST(Fixups, EmptyProgramsAndUnboundedPaths) {
    const std::vector<Texts> variants = {
        {"variant", "1"}, {"pipe_names", "A/LS/T", "cycles", "1/1/1", "longest", "3/-1/2"}};
    const auto output = compile(OSTREM, variants);
    ASSERT_EQ(output.variants.size(), 1u);
    EXPECT_EQ(output.variants[0].longest_path, (Floats{-1, -1, -1}));
    EXPECT_EQ(compile({ArchitectureType::Tarsel, "Koro-L220"}, variants).variants.size(), 2u);
}

TEST(Fixups, CyclesAreNormalisedPerCore) {
    const auto tarsel = compile({ArchitectureType::Tarsel, "Koro-L380"},
                                {{"arithmetic_cycles", "6", "arithmetic_shortest_path", "6",
                                  "arithmetic_longest_path", "6", "load_store_cycles", "6"}});
    EXPECT_EQ(tarsel.variants.at(0).cycles, (Floats{2, 6}));
    EXPECT_EQ(tarsel.variants.at(0).shortest_path, (Floats{6}));
    EXPECT_EQ(tarsel.variants.at(0).longest_path, (Floats{6}));

    const auto n503 = compile({ArchitectureType::Ostrem, "Koro-N503"},
                              {{"pipe_names", "A1/V/T/LS", "cycles", "24/32/16/4", "shortest",
                                "12/16/8/4", "longest", "24/32/16/4"}});
    EXPECT_EQ(n503.variants.at(0).cycles, (Floats{2, 2, 2, 4}));
    EXPECT_EQ(n503.variants.at(0).shortest_path, (Floats{1, 1, 1, 4}));
    EXPECT_EQ(n503.variants.at(0).longest_path, (Floats{2, 2, 2, 4}));

    EXPECT_EQ(failure_of([] { compile({ArchitectureType::Ostrem, "Koro-X"}, {}); }),
              "Unknown GPU for normalization : Koro-X");
}

TEST(Fixups, VaryingPipeIsReportedForFragmentShadersOnly) {
    const std::vector<Texts> variants = {{"pipe_names", "A/LS/V/T", "cycles", "1/2/3/4",
                                          "shortest", "1/2/3/4", "longest", "1/2/3/4"}};
    Target vertex;
    vertex.source = SourceType::Vertex;
    const auto stripped = compile(vertex, variants).variants.at(0);
    EXPECT_EQ(stripped.pipe_names, (Texts{"A", "LS", "T"}));
    EXPECT_EQ(stripped.cycles, (Floats{1, 2, 1}));
    EXPECT_EQ(stripped.longest_path, (Floats{1, 2, 1}));
    EXPECT_EQ(compile(OSTREM, variants).variants.at(0).pipe_names.size(), 4u);
    EXPECT_EQ(compile(KERNEL, variants).variants.at(0).pipe_names.size(), 4u);
}

TEST(Fixups, PelionPipesGetTheirOwnNamesAndAnAggregate) {
    // After the Koro-N503 divisors: FMA 1.0, CVT 0.5, SFU 0.4.
    const std::vector<Texts> variants = {{"pipe_names", "A1/A2/A3/LS/V/T", "cycles", "12/6/4.8/1/16/8"}};
    const auto fragment = compile(pelion("Koro-N503"), variants).variants.at(0);
    EXPECT_EQ(fragment.pipe_names, (Texts{"A", "FMA", "CVT", "SFU", "LS", "V", "T"}));
    ASSERT_EQ(fragment.cycles.size(), 7u);
    EXPECT_FLOAT_EQ(fragment.cycles[0], 1.6f);
    // A list the back-end left empty still lines up with the pipe names.
    ASSERT_EQ(fragment.shortest_path.size(), 1u);
    EXPECT_TRUE(std::isnan(fragment.shortest_path[0]));

    const auto vertex = compile(pelion("Koro-N503", SourceType::Vertex), variants).variants.at(0);
    EXPECT_EQ(vertex.pipe_names, (Texts{"A", "FMA", "CVT", "SFU", "LS", "T"}));

    const auto short_list = compile(pelion("Koro-N68"), {{"pipe_names", "A1/A2", "cycles", "8/8"}});
    EXPECT_EQ(short_list.variants.at(0).pipe_names, (Texts{"A", "FMA", "CVT"}));
    EXPECT_TRUE(std::isnan(short_list.variants.at(0).cycles.at(0)));
}

float aggregate_on(const std::string& core, const std::string& cycles) {
    return compile(pelion(core), {{"pipe_names", "A1/A2/A3", "cycles", cycles}})
        .variants.at(0).cycles.at(0);
}

TEST(Fixups, AggregateCostDependsOnTheCoreGroup) {
    EXPECT_FLOAT_EQ(aggregate_on("Koro-N68", "8/4/3.2"), 1.0f);
    EXPECT_FLOAT_EQ(aggregate_on("Koro-N403", "8/4/3.2"), 1.6f);
    // FMA, CVT and SFU all 1.0 after the divisors.
    EXPECT_FLOAT_EQ(aggregate_on("Koro-N605", "32/16/16"), 1.625f);
    EXPECT_FLOAT_EQ(aggregate_on("Koro-N609", "32/32/16"), 2.125f);
    EXPECT_TRUE(std::isnan(aggregate_on("Koro-N11", "1/1/1")));
}

TEST(Fixups, ConfigurableCoresGetANote) {
    EXPECT_EQ(compile(pelion("Koro-N403"), {}).messages,
              (Texts{"Koro-N403 reports assume a 32 FMA/cycle and 4 Texture op/cycle core "
                     "configuration.\n      Other core configurations might have 16-64 FMA/cycle "
                     "and 2-8 Texture op/cycle."}));
    EXPECT_EQ(compile(pelion("Koro-N503"), {}).messages,
              (Texts{"Koro-N503 reports assume a 48 FMA/cycle and 8 Texture op/cycle core "
                     "configuration.\n      Other core configurations might have 48-64 FMA/cycle "
                     "and 4-8 Texture op/cycle."}));
    EXPECT_TRUE(compile(pelion("Koro-N68"), {}).messages.empty());
}

TEST(Fixups, OpenclErrorsAreTidied) {
    const Texts errors = {"error: Compiler frontend failed (error code <unknown>)",
                          "<source>:3:5: error: bad thing\n", "x: error: a: error: b"};
    EXPECT_EQ(compile(KERNEL, {}, errors).errors, (Texts{"3:5: bad thing", "x: a: error: b"}));
    EXPECT_EQ(compile(OSTREM, {}, errors).errors, errors);
}

TEST(Fixups, StackAndTlsSizesAreCompleted) {
    const std::vector<Texts> variants = {
        with_pipes({"variant", "0", "spill_size", "16", "alloca_size", "8"}),
        with_pipes({"variant", "1", "tls_size", "40", "spill_size", "8"})};
    const auto opencl = compile(KERNEL, variants);
    EXPECT_EQ(opencl.variants.at(0).tls_size, 24);
    EXPECT_EQ(opencl.variants.at(1).stack_size, -1);
    const auto graphics = compile(OSTREM, variants);
    EXPECT_EQ(graphics.variants.at(0).tls_size, -1);
    EXPECT_EQ(graphics.variants.at(1).stack_size, 32);
    const auto tarsel = compile({ArchitectureType::Tarsel, "Koro-L220", CompilerType::OpenCL,
                                 SourceType::Kernel}, variants);
    EXPECT_EQ(tarsel.variants.at(0).tls_size, -1);
    EXPECT_EQ(tarsel.variants.at(1).stack_size, -1);
}

TEST(Fixups, VulkanVertexAttributesAreListedOnceWithReadableNames) {
    const std::vector<Texts> variants = {with_pipes(
        {"position_attribute_symbols", "p_12_in_Position:0", "varying_attribute_symbols",
         "p_14_uv:1,p_12_in_Position:0"})};
    Target vulkan{ArchitectureType::Ostrem, "Koro-N68", CompilerType::Vulkan, SourceType::Vertex};
    const auto output = compile(vulkan, variants);
    EXPECT_EQ(output.position_attributes.at(0).symbol, "OpVariable %12 'in_Position'");
    ASSERT_EQ(output.varying_attributes.size(), 1u);
    EXPECT_EQ(output.varying_attributes[0].symbol, "OpVariable %14 'uv'");
    vulkan.compiler = CompilerType::OpenGLES;
    EXPECT_EQ(compile(vulkan, variants).position_attributes.at(0).symbol, "p_12_in_Position");
}

}  // namespace
