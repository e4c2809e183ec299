// Costs per source line through the real program and its bundled back-end:
// the lines a shader author would point at come first, and the lines add up
// to the totals for every API on a core of every architecture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"

using nlohmann::json;

namespace {

const std::vector<std::string> CORES = {"Koro-L380", "Koro-N22", "Koro-N68", "Koro N1"};
const std::string EXAMPLES = SHADEX_SOURCE_DIR "/examples/";

json annotated(const std::vector<std::string>& args) {
    std::vector<std::string> all = {"--annotate", "--format", "json"};
    all.insert(all.end(), args.begin(), args.end());
    const RunResult result = run_shadex(all);
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    const json report = json::parse(result.out, nullptr, false);
    return report.is_discarded() ? json() : report["shaders"][0];
}

size_t pipe_index(const json& variant, const std::string& name) {
    const json& pipes = variant["performance"]["pipelines"];
    return static_cast<size_t>(std::find(pipes.begin(), pipes.end(), name) - pipes.begin());
}

// Line numbers, costliest first on the pipe the variant's total is bound by.
std::vector<int> hottest_lines(const json& variant) {
    const size_t pipe = pipe_index(variant, variant["performance"]["total_cycles"]["bound_pipelines"][0]);
    std::vector<std::pair<double, int>> ranked;
    for (const json& line : variant["source_lines"])
        if (line["line"].is_number() && line["cycles"][pipe].is_number())
            ranked.emplace_back(-line["cycles"][pipe].get<double>(), line["line"].get<int>());
    std::stable_sort(ranked.begin(), ranked.end());
    std::vector<int> lines;
    for (const auto& entry : ranked) lines.push_back(entry.second);
    return lines;
}

const json& variant_named(const json& shader, const std::string& name) {
    for (const json& variant : shader["variants"])
        if (variant["name"] == name) return variant;
    return shader["variants"][0];
}

}  // namespace

TEST(Annotate, TheLinesThatDoTheWorkComeFirstOnEveryArchitecture) {
    TempDir files;
    const std::string fragment =
        files.write("heavy.frag",
                    "#version 310 es\nprecision highp float;\nuniform sampler2D u_image;\nin vec2 v_uv;\n"
                    "out vec4 color;\nvoid main() {\n    vec4 sum = vec4(0.0);\n"
                    "    for (int i = 0; i < 64; ++i) {\n"
                    "        sum += texture(u_image, v_uv + vec2(float(i) * 0.01));\n"  // 9
                    "    }\n"
                    "    float glow = pow(exp(sin(v_uv.x) * 3.0), log(v_uv.y + 2.0));\n"  // 11
                    "    color = sum;\n    color.a = glow;\n}\n");
    const std::string vertex = files.write("mvp.vert",
                                           "#version 300 es\nuniform mat4 u_mvp;\nin vec4 a_position;\n"
                                           "in vec3 a_normal;\nout vec3 v_normal;\nvoid main() {\n"
                                           "    gl_Position = u_mvp * a_position;\n"  // 7
                                           "    v_normal = a_normal;\n}\n");
    for (const std::string& core : CORES) {
        SCOPED_TRACE(core);
        const json shader = annotated({"-c", core, fragment});
        std::vector<int> hot = hottest_lines(shader["variants"][0]);
        ASSERT_GE(hot.size(), 2u);
        std::sort(hot.begin(), hot.begin() + 2);
        EXPECT_EQ(std::vector<int>(hot.begin(), hot.begin() + 2), (std::vector<int>{9, 11}));
        const std::string text = run_shadex({"-c", core, "--annotate", fragment}).out;
        EXPECT_TRUE(contains(text, "\n* 9 ") && contains(text, "\n* 11 ")) << text;
        EXPECT_FALSE(contains(text, "\n* 12 ")) << text;  // moves cost no arithmetic

        hot = hottest_lines(variant_named(annotated({"-c", core, vertex}), "Position"));
        ASSERT_FALSE(hot.empty());
        EXPECT_EQ(hot.front(), 7);
    }
}

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
