// Costs per source line through the real program and its bundled back-end:
// after the driver's fix-ups the lines still add up to the totals for every
// API on a core of every architecture, and a vertex shader's position work
// falls on its transform. Which fragment lines come first is pinned by the
// back-end's unit tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"

using nlohmann::json;

namespace {

const std::vector<std::string> CORES = {"Koro-L380", "Koro-N22", "Koro-N68", "Koro N1"};
const std::string EXAMPLES = SHADEX_SOURCE_DIR "/examples/";

json annotated(const std::vector<std::string>& args) {
    std::vector<std::string> all = {"--annotate", "--format", "json"};
    all.insert(all.end(), args.begin(), args.end());
    return json_output(run_shadex(all))["shaders"][0];
}

}  // namespace

TEST(Annotate, LinesAddUpToTheTotalsForEveryApi) {
    TempDir files;
    const std::string spirv = files.file("gbuffer.frag.spv");
    ASSERT_EQ(run_program(SHADEX_BIN_DIR "/external/glslang",
                          {"-V", "-g", "-o", spirv, EXAMPLES + "gbuffer.vk.frag", "-S", "frag"})
                  .status,
              0);
    const std::vector<std::vector<std::string>> runs = {{EXAMPLES + "lighting.frag"},
                                                        {EXAMPLES + "raymarch.frag"},
                                                        {EXAMPLES + "skinning.vert"},
                                                        {EXAMPLES + "blur.comp"},
                                                        {"--vulkan", EXAMPLES + "gbuffer.vk.frag"},
                                                        {spirv},
                                                        {"-n", "saxpy", EXAMPLES + "saxpy.cl"}};
    for (const std::string& core : CORES) {
        for (std::vector<std::string> args : runs) {
            SCOPED_TRACE(core + " " + args.back());
            args.insert(args.begin(), {"-c", core});
            const json shader = annotated(args);
            for (const json& variant : shader["variants"]) {
                const json& pipes = variant["performance"]["pipelines"];
                const json& total = variant["performance"]["total_cycles"]["cycle_count"];
                bool attributed = false;
                for (size_t p = 0; p < pipes.size(); ++p) {
                    if (pipes[p] == "arith_total" || !total[p].is_number()) continue;  // the aggregate does not add
                    double sum = 0;
                    for (const json& line : variant["source_lines"]) {
                        if (line["cycles"][p].is_number()) sum += line["cycles"][p].get<double>();
                        attributed = attributed || (line["line"].is_number() && line["line"] > 0);
                    }
                    EXPECT_NEAR(sum, total[p].get<double>(), 1e-3 * (1 + total[p].get<double>())) << pipes[p];
                }
                EXPECT_TRUE(attributed) << variant["name"];
            }
        }
    }
}

// Tarsel has no Position variant; its only variant carries the transform.
TEST(Annotate, ThePositionTransformIsTheCostliestVertexLine) {
    TempDir files;
    const std::string vertex = files.write("mvp.vert",
                                           "#version 300 es\nuniform mat4 u_mvp;\nin vec4 a_position;\n"
                                           "in vec3 a_normal;\nout vec3 v_normal;\nvoid main() {\n"
                                           "    gl_Position = u_mvp * a_position;\n"  // 7
                                           "    v_normal = a_normal;\n}\n");
    for (const std::string& core : CORES) {
        const json shader = annotated({"-c", core, vertex});
        json variant = shader["variants"][0];
        for (const json& v : shader["variants"])
            if (v["name"] == "Position") variant = v;
        // The first of the costliest lines on the pipe the variant is bound by.
        const json& pipes = variant["performance"]["pipelines"];
        const auto pipe =
            std::find(pipes.begin(), pipes.end(), variant["performance"]["total_cycles"]["bound_pipelines"][0]) -
            pipes.begin();
        int hottest = 0;
        double most = -1;
        for (const json& line : variant["source_lines"]) {
            const json& cycles = line["cycles"][pipe];
            if (line["line"].is_number() && cycles.is_number() && cycles.get<double>() > most)
                std::tie(most, hottest) = std::pair{cycles.get<double>(), line["line"].get<int>()};
        }
        EXPECT_EQ(hottest, 7) << core;
    }
}
