// Hostile and unusual modules, and the storage and number rules.
#include <gtest/gtest.h>

#include <random>

#include "analysis/core_model.h"
#include "analysis/variant_statistics.h"
#include "model_shaders.h"

using namespace model_test;

namespace {

const std::string SHADER_WITH_CALLS = glsl(
    {"layout(set = 0, binding = 0) uniform sampler2D s;", "layout(location = 0) in vec4 a;",
     "layout(location = 1) in vec4 b;", "layout(location = 0) out vec4 o;", "vec4 square(vec4 x) { return x * x; }"},
    "vec4 t = square(a) + square(b);\n    for (int i = 0; i < int(b.w); ++i) t += texture(s, t.xy);\n"
    "    if (t.x > 0.0) discard;\n    o = t;");

reference::AnalysisRequest request_for(std::vector<uint32_t> module) {
    return request(std::move(module), "fragment", Options{"Koro-N68", true});
}

}  // namespace

TEST(ModelRobustness, CallsAreCostedThroughTheCallee) {
    Options unoptimised;
    unoptimised.optimise = false;
    const auto result = analyse(glsl({"layout(location = 0) in vec4 a;", "layout(location = 1) in vec4 b;",
                                      "layout(location = 0) out vec4 o;", "vec4 square(vec4 x) { return x * x; }"},
                                     "o = square(a) + square(b);"),
                                "fragment", unoptimised);
    ASSERT_EQ(result.variants.size(), 1u);
    // Two calls of a vec4 multiply and one vec4 add.
    EXPECT_EQ(figures(result.variants[0]), (Figures{3, 0, 0, 0, 8, 0}));
}

TEST(ModelRobustness, MalformedRequestsAreErrorsNotCrashes) {
    auto errors_of = [](reference::AnalysisRequest request) {
        const auto result = reference::analyse_module(request);
        EXPECT_TRUE(result.variants.empty());
        return result.errors;
    };
    const std::vector<uint32_t> valid = compile(SHADER_WITH_CALLS, "fragment");
    EXPECT_EQ(errors_of(request_for({})).size(), 1u);
    EXPECT_EQ(errors_of(request_for({0xDEADBEEF, 1, 2, 3, 4, 5})).size(), 1u);
    std::vector<uint32_t> zero_count = valid;
    zero_count[5] = 0;
    EXPECT_EQ(errors_of(request_for(zero_count)).size(), 1u);

    reference::AnalysisRequest unknown_core = request_for(valid);
    unknown_core.core = "Koro-N99";
    EXPECT_EQ(errors_of(unknown_core), std::vector<std::string>{"No cost model for core 'Koro-N99'"});
    reference::AnalysisRequest unknown_entry = request_for(valid);
    unknown_entry.entry_point = "other";
    EXPECT_EQ(errors_of(unknown_entry), std::vector<std::string>{"Entry point 'other' not found in the SPIR-V module"});
}

TEST(ModelRobustness, CorruptedModulesNeverCrash) {
    for (bool optimise : {false, true}) {
        const std::vector<uint32_t> valid = compile(SHADER_WITH_CALLS, "fragment", optimise);
        for (size_t length = 0; length < valid.size(); length += 3) {
            reference::analyse_module(request_for({valid.begin(), valid.begin() + length}));
        }
        std::mt19937 random(optimise ? 7 : 11);
        for (int round = 0; round < 400; ++round) {
            std::vector<uint32_t> module = valid;
            std::uniform_int_distribution<size_t> where(5, module.size() - 1);
            for (int flips = 0; flips < 1 + round % 4; ++flips) {
                const size_t at = where(random);
                switch (random() % 3) {
                    case 0: module[at] = random(); break;
                    case 1: module[at] = random() % 64; break;  // a plausible id
                    default: module[at] ^= 1u << (random() % 32); break;
                }
            }
            const auto result = reference::analyse_module(request_for(module));
            EXPECT_TRUE(result.errors.size() <= 1);
        }
    }
}

TEST(ModelRobustness, RegistersBeyondTheFileSpillFourBytesEach) {
    using reference::Architecture;
    reference::Statistics statistics;
    reference::add_storage(statistics, reference::architecture_profile(Architecture::Pelion), 70.5, 32, 0);
    EXPECT_EQ(statistics, (reference::Statistics{{"work_registers_used", "64"},
                                                 {"spilling_used", "true"},
                                                 {"spill_size", "28"},
                                                 {"alloca_size", "32"},
                                                 {"tls_size", "60"},
                                                 {"wls_size", "0"}}));
    statistics.clear();
    reference::add_storage(statistics, reference::architecture_profile(Architecture::Tarsel), 17, 0, 0);
    EXPECT_EQ(value(statistics, "spill_size"), "16");  // one vec4 register

    // 28 spilled bytes are two 16-byte messages out and two back, on every path.
    reference::PathFigures figures;
    figures.longest[reference::PipeLS] = 1;
    reference::add_spill_traffic(figures, reference::architecture_profile(Architecture::Pelion), 70.5);
    EXPECT_EQ(figures.total[reference::PipeLS], 4);
    EXPECT_EQ(figures.shortest[reference::PipeLS], 4);
    EXPECT_EQ(figures.longest[reference::PipeLS], 5);
    reference::add_spill_traffic(figures, reference::architecture_profile(Architecture::Pelion), 64);
    EXPECT_EQ(figures.total[reference::PipeLS], 4);
}

TEST(ModelRobustness, UniformsBeyondTheFileAreReadFromMemory) {
    using reference::Architecture;
    const auto& tarsel = reference::architecture_profile(Architecture::Tarsel);
    const reference::CoreModel& l380 = *reference::find_core_model("Koro-L380");
    // Tarsel's 24 vec4 registers are shared: 3 work registers leave 21.
    const uint64_t capacity = reference::uniform_register_capacity(l380, tarsel, 3);
    EXPECT_EQ(capacity, 21u);
    reference::PathFigures figures;
    EXPECT_EQ(reference::add_uniform_overflow(figures, tarsel, 24, capacity), 21u);
    EXPECT_EQ(figures.shortest[reference::PipeLS], 3);  // three vec4 registers, 16 bytes each
    EXPECT_EQ(figures.total[reference::PipeLS], 3);
    EXPECT_EQ(reference::add_uniform_overflow(figures, tarsel, 20, capacity), 20u);
    EXPECT_EQ(figures.total[reference::PipeLS], 3);

    const auto& pelion = reference::architecture_profile(Architecture::Pelion);
    EXPECT_EQ(reference::uniform_register_capacity(*reference::find_core_model("Koro-N68"), pelion, 60), 128u);
    EXPECT_EQ(reference::add_uniform_overflow(figures, pelion, 130, 128), 128u);  // 8 bytes: one message
    EXPECT_EQ(figures.longest[reference::PipeLS], 4);
}
