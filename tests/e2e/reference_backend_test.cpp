// The bundled reference back-end driven through the real program: the core
// list and core information it yields. Reports for every API on a core of
// every architecture run in annotate_test.cpp and suite_test.cpp.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"

namespace {

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
    nlohmann::json expected = nlohmann::json::array();
    for (const char* core : {"Koro N1",   "Solvaris-N909", "Solvaris-N707", "Koro-N709", "Koro-N707", "Koro-N609",
                             "Koro-N607", "Solvaris-N705", "Koro-N705",     "Koro-N703", "Koro-N605", "Koro-N603",
                             "Koro-N503", "Koro-N403",     "Koro-N68SX",    "Koro-N68",  "Koro-N67",  "Koro-N58",
                             "Koro-N47",  "Koro-N36",      "Koro-N32",      "Koro-N31",  "Koro-N22",  "Koro-N21",
                             "Koro-N11",  "Koro-L380",     "Koro-L360",     "Koro-L330", "Koro-L320", "Koro-L260"})
        expected.push_back({{"apis", every_api}, {"core", core}});
    expected.push_back({{"apis", {"OpenGL ES", "OpenCL"}}, {"core", "Koro-L220"}});
    const nlohmann::json list = nlohmann::json::parse(run_shadex({"--list", "--format", "json"}).out);
    EXPECT_EQ(list["cores"], expected);
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
