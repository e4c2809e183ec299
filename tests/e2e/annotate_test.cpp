// Costs per source line through the real program and its bundled back-end:
// after the driver's fix-ups the lines still add up to the totals, for every
// API on a core of every architecture. Which lines are the costliest is the
// back-end's own rule, pinned by its unit tests.
#include <gtest/gtest.h>

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
