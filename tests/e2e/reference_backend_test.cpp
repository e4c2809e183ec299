// The bundled reference back-end driven through the real program: the core
// list and core information it yields, and costs per source line. After the
// driver's fix-ups the lines still add up to the totals for every API on a
// core of every architecture, and a vertex shader's position work falls on
// its transform; which fragment lines come first is pinned by the back-end's
// unit tests.
#include <gtest/gtest.h>

#include <sys/resource.h>

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

// CPU seconds used by the children waited for so far: unlike the wall clock,
// not stretched by whatever else the machine is doing.
double children_cpu_seconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Sanitizer instrumentation makes the program about ten times slower; time
// limits scale with it so that they still tell a per-probe set-up apart.
#if defined(__SANITIZE_ADDRESS__)
constexpr double INSTRUMENTATION_SLOWDOWN = 10;
#else
constexpr double INSTRUMENTATION_SLOWDOWN = 1;
#endif

}  // namespace

// The back-end's one core table against the program's own tables: the list
// shows every core with its APIs, and each one compiles a small program.
TEST(ReferenceBackend, EveryListedCoreCompilesASmallProgram) {
    TempDir files;
    const std::string shader = files.write("s.frag",
                                           "precision mediump float;\nuniform sampler2D t;\nvarying vec2 uv;\n"
                                           "void main() { gl_FragColor = texture2D(t, uv) * 0.5; }\n");
    const std::vector<std::string> every_api = {"OpenGL ES", "Vulkan", "OpenCL"};
    json expected = json::array();
    for (const char* core : {"Koro N1",   "Solvaris-N909", "Solvaris-N707", "Koro-N709", "Koro-N707", "Koro-N609",
                             "Koro-N607", "Solvaris-N705", "Koro-N705",     "Koro-N703", "Koro-N605", "Koro-N603",
                             "Koro-N503", "Koro-N403",     "Koro-N68SX",    "Koro-N68",  "Koro-N67",  "Koro-N58",
                             "Koro-N47",  "Koro-N36",      "Koro-N32",      "Koro-N31",  "Koro-N22",  "Koro-N21",
                             "Koro-N11",  "Koro-L380",     "Koro-L360",     "Koro-L330", "Koro-L320", "Koro-L260"})
        expected.push_back({{"apis", every_api}, {"core", core}});
    expected.push_back({{"apis", {"OpenGL ES", "OpenCL"}}, {"core", "Koro-L220"}});
    const json list = json::parse(run_shadex({"--list", "--format", "json"}).out);
    EXPECT_EQ(list["cores"], expected);
    for (const auto& entry : list["cores"]) {
        const std::string core = entry["core"];
        SCOPED_TRACE(core);
        json report = json_output(run_shadex({"-c", core, "--format", "json", shader}));
        EXPECT_FALSE(report["shaders"][0]["variants"].empty());
    }
}

TEST(ReferenceBackend, InfoShowsVersionsAndProbedExtensionsQuickly) {
    const double before = children_cpu_seconds();
    RunResult result = run_shadex({"--info", "--core", "Koro-N68"});
    const double cpu_seconds = children_cpu_seconds() - before;
    ASSERT_EQ(result.status, 0) << result.err;
    for (const char* line :
         {"OpenGL ES: Version 320", "Vulkan: SPIR-V 1.5", "OpenCL: Version 300", "\nGL_EXT_geometry_shader\n",
          "\nGL_OES_standard_derivatives\n", "\nSPV_KHR_multiview\n", "\ncl_khr_fp16\n"})
        EXPECT_TRUE(contains(result.out, line)) << line << "\n" << result.out;
    // One probe compile per extension: glslang set up once, not per probe.
    EXPECT_LT(cpu_seconds, 0.5 * INSTRUMENTATION_SLOWDOWN);

    RunResult first = run_shadex({"--info", "--core", "Koro-L220"});
    EXPECT_TRUE(contains(first.out, "OpenGL ES: Version 310"));
    EXPECT_FALSE(contains(first.out, "GL_EXT_geometry_shader"));
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
