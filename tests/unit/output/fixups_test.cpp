// Per-core divisors, the Tarsel arithmetic total and the configurable-core
// note are covered end to end through the golden reports; these are the
// fix-ups' remaining rules, and the aggregate of each core group.
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

TEST(Fixups, VariantsAndPipesKept) {
    // A variant without pipes is an empty program, except on Tarsel.
    const std::vector<Texts> variants = {{"variant", "1"}, {"pipe_names", "A/LS/V/T", "cycles", "1/2/3/4"}};
    EXPECT_EQ(compile(OSTREM, variants).variants.size(), 1u);
    EXPECT_EQ(compile({ArchitectureType::Tarsel, "Koro-L220"}, variants).variants.size(), 2u);
    EXPECT_EQ(compile(KERNEL, variants).variants.at(0).pipe_names, (Texts{"A", "LS", "V", "T"}));
    const std::string unknown = thrown<KoroException_>([] { compile({ArchitectureType::Ostrem, "Koro-X"}, {}); });
    EXPECT_EQ(unknown, "Unknown GPU for normalization : Koro-X");
}

TEST(Fixups, PelionPipeNamesAndAggregateEdges) {
    const std::vector<Texts> variants = {{"pipe_names", "A1/A2/A3/LS/V/T", "cycles", "12/6/4.8/1/16/8"}};
    const auto fragment = compile(pelion("Koro-N503"), variants).variants.at(0);
    // A list the back-end left empty still lines up with the pipe names.
    ASSERT_EQ(fragment.shortest_path.size(), 1u);
    EXPECT_TRUE(std::isnan(fragment.shortest_path[0]));
    EXPECT_EQ(compile(pelion("Koro-N503", SourceType::Vertex), variants).variants.at(0).pipe_names,
              (Texts{"A", "FMA", "CVT", "SFU", "LS", "T"}));

    const auto short_list = compile(pelion("Koro-N68"), {{"pipe_names", "A1/A2", "cycles", "8/8"}});
    EXPECT_EQ(short_list.variants.at(0).pipe_names, (Texts{"A", "FMA", "CVT"}));
    EXPECT_TRUE(std::isnan(short_list.variants.at(0).cycles.at(0)));

    // The aggregate of FMA, CVT and SFU after each core's divisors, as the core's group issues them.
    auto aggregate_on = [](const std::string& core, const std::string& cycles = "16/32/16") {
        const Texts statistics = {"pipe_names", "A1/A2/A3", "cycles", cycles};
        return compile(pelion(core), {statistics}).variants.at(0).cycles.at(0);
    };
    for (const auto& [core, aggregate] : {std::pair{"Koro-N68", 4.0f},  // 2, 4, 2: the largest
                                          {"Koro-N403", 6.5f},          // 2, 4, 2: sum with a quarter SFU
                                          {"Koro-N603", 3.25f},         // 1, 2, 1
                                          {"Koro-N605", 2.25f},         // 0.5, 2, 1: CVT-limited
                                          {"Koro-N609", 1.625f},        // 0.5, 1, 1
                                          {"Koro N1", 1.625f}})
        EXPECT_FLOAT_EQ(aggregate_on(core), aggregate) << core;
    EXPECT_TRUE(std::isnan(aggregate_on("Koro-N11")));
    EXPECT_TRUE(std::isnan(aggregate_on("Koro-N603", "nan/16/16")));  // a pipe the back-end could not cost
    EXPECT_TRUE(compile(pelion("Koro-N68"), {}).messages.empty());
}

TEST(Fixups, OpenclErrorsAreTidied) {
    const Texts errors = {"error: Compiler frontend failed (error code <unknown>)", "<source>:3:5: error: bad thing\n",
                          "x: error: a: error: b"};
    EXPECT_EQ(compile(KERNEL, {}, errors).errors, (Texts{"3:5: bad thing", "x: a: error: b"}));
    EXPECT_EQ(compile(OSTREM, {}, errors).errors, errors);
}

TEST(Fixups, StackAndTlsSizesAreCompleted) {
    // OpenCL: TLS is spill plus alloca when missing. Graphics: alloca is TLS
    // minus spill. Tarsel: neither.
    const std::vector<Texts> variants = {with_pipes({"variant", "0", "spill_size", "16", "alloca_size", "8"}),
                                         with_pipes({"variant", "1", "tls_size", "40", "spill_size", "8"})};
    const Target tarsel{ArchitectureType::Tarsel, "Koro-L220", CompilerType::OpenCL, SourceType::Kernel};
    const std::tuple<Target, int32_t, int32_t> cases[] = {{KERNEL, 24, -1}, {OSTREM, -1, 32}, {tarsel, -1, -1}};
    for (const auto& [target, main_tls, varying_stack] : cases) {
        const auto output = compile(target, variants);
        EXPECT_EQ(output.variants.at(0).tls_size, main_tls) << target.core << to_string(target.compiler);
        EXPECT_EQ(output.variants.at(1).stack_size, varying_stack) << target.core << to_string(target.compiler);
    }
}

TEST(Fixups, VulkanVertexAttributesAreListedOnceWithReadableNames) {
    const std::vector<Texts> variants = {with_pipes({"position_attribute_symbols", "p_12_in_Position:0",
                                                     "varying_attribute_symbols", "p_14_uv:1,p_12_in_Position:0"})};
    Target vulkan{ArchitectureType::Ostrem, "Koro-N68", CompilerType::Vulkan, SourceType::Vertex};
    const auto output = compile(vulkan, variants);
    EXPECT_EQ(output.position_attributes.at(0).symbol, "OpVariable %12 'in_Position'");
    ASSERT_EQ(output.varying_attributes.size(), 1u);
    EXPECT_EQ(output.varying_attributes[0].symbol, "OpVariable %14 'uv'");
    vulkan.compiler = CompilerType::OpenGLES;
    EXPECT_EQ(compile(vulkan, variants).position_attributes.at(0).symbol, "p_12_in_Position");
}

}  // namespace
