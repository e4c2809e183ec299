// The bundled reference back-end driven through the real program: the core
// list and core information it yields, a full report for every API on a core
// of every architecture, and errors that point at their lines.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"

namespace {

const std::string EXAMPLES = SHADEX_SOURCE_DIR "/examples/";
const std::string VALIDATOR = SHADEX_BIN_DIR "/external/glslang";

// One core of each architecture, newest first.
const std::vector<std::string> CORES = {"Koro N1", "Koro-N68", "Koro-N36", "Koro-L380"};

const std::string VULKAN_FRAGMENT = R"(#version 450
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;
layout(set = 0, binding = 0) uniform sampler2D albedo;
void main() { color = texture(albedo, uv) * vec4(uv, 1.0, 1.0); }
)";


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

// A report with cycle figures for at least one variant.
void expect_full_report(const RunResult& result, const std::string& what) {
    EXPECT_EQ(result.status, 0) << what << "\n" << result.out << result.err;
    EXPECT_TRUE(contains(result.out, "Total instruction cycles:")) << what << "\n" << result.out;
    EXPECT_TRUE(contains(result.out, "Work registers:")) << what;
}

}  // namespace

TEST(ReferenceBackend, ListsEveryCoreWithItsApis) {
    RunResult result = run_shadex({"--list"});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> cores = {"Koro N1",   "Solvaris-N909", "Solvaris-N707", "Koro-N709", "Koro-N707",
                                            "Koro-N609", "Koro-N607",     "Solvaris-N705", "Koro-N705", "Koro-N703",
                                            "Koro-N605", "Koro-N603",     "Koro-N503",     "Koro-N403", "Koro-N68SX",
                                            "Koro-N68",  "Koro-N67",      "Koro-N58",      "Koro-N47",  "Koro-N36",
                                            "Koro-N32",  "Koro-N31",      "Koro-N22",      "Koro-N21",  "Koro-N11",
                                            "Koro-L380", "Koro-L360",     "Koro-L330",     "Koro-L320", "Koro-L260"};
    for (const std::string& core : cores)
        EXPECT_TRUE(contains(result.out, "\n" + core + " (OpenGL ES, Vulkan, OpenCL)\n")) << core;
    EXPECT_TRUE(contains(result.out, "\nKoro-L220 (OpenGL ES, OpenCL)\n"));
}

// The back-end's one core table against the program's own tables: every
// core the list shows compiles a small program and reports itself.
TEST(ReferenceBackend, EveryListedCoreCompilesASmallProgram) {
    TempDir files;
    const std::string shader = files.write("s.frag",
                                           "precision mediump float;\nuniform sampler2D t;\nvarying vec2 uv;\n"
                                           "void main() { gl_FragColor = texture2D(t, uv) * 0.5; }\n");
    const nlohmann::json list = nlohmann::json::parse(run_shadex({"--list", "--format", "json"}).out);
    ASSERT_EQ(list["cores"].size(), 31u);
    for (const auto& entry : list["cores"]) {
        const std::string core = entry["core"];
        RunResult result = run_shadex({"-c", core, "--format", "json", shader});
        EXPECT_EQ(result.status, 0) << core << "\n" << result.out << result.err;
        const nlohmann::json report = nlohmann::json::parse(result.out, nullptr, false);
        ASSERT_FALSE(report.is_discarded()) << core;
        EXPECT_FALSE(report["shaders"][0]["variants"].empty()) << core;
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

TEST(ReferenceBackend, EveryApiGivesAFullReportOnEachArchitecture) {
    TempDir files;
    const std::string glsl = files.write("shade.frag", VULKAN_FRAGMENT);
    const std::string spirv = files.file("shade.frag.spv");
    ASSERT_EQ(run_program(VALIDATOR, {"-V", "-o", spirv, glsl}).status, 0);

    for (const std::string& core : CORES) {
        expect_full_report(run_shadex({"-c", core, EXAMPLES + "lighting.frag"}), core + " OpenGL ES fragment");
        expect_full_report(run_shadex({"-c", core, EXAMPLES + "skinning.vert"}), core + " OpenGL ES vertex");
        expect_full_report(run_shadex({"-c", core, "--vulkan", glsl}), core + " Vulkan GLSL");
        expect_full_report(run_shadex({"-c", core, spirv}), core + " Vulkan SPIR-V");
        expect_full_report(run_shadex({"-c", core, "-n", "saxpy", EXAMPLES + "saxpy.cl"}), core + " OpenCL C");
    }
}

TEST(ReferenceBackend, InvalidShaderErrorsPointAtTheirLines) {
    TempDir files;
    const std::string shader = files.write("broken.frag",
                                           "#version 300 es\nprecision mediump float;\nout vec4 color;\nvoid main() {\n"
                                           "    color = vec4(undefined_thing, 1.0);\n}\n");
    RunResult result = run_shadex({"-c", "Koro-N68", shader});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.out, "ERROR: 0:5: 'undefined_thing' : undeclared identifier\n")) << result.out;
    EXPECT_TRUE(contains(result.out, ">>     color = vec4(undefined_thing, 1.0);")) << result.out;
}

