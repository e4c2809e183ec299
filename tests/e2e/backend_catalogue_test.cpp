// The back-end layer as a user meets it: which libraries load, which cores
// and APIs the catalogue then offers, and which extensions survive probing.
// Every record a back-end hands out must come back to it exactly once,
// whatever the run's outcome.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"
#include "e2e/scripted_install.h"

namespace {

using nlohmann::json;

const std::string LIBRARY = "libKoro-Nxx_r40p0-00rel0.so";

TEST(BackendCatalogue, LibraryLoading) {
    const std::string v3 = "meta flexible_version | 3.0.0\nmeta compiler_type | opencl\n";
    const std::string v41 = "meta flexible_version | 4.1.0\nmeta compiler_type | opencl\n";
    const ScriptedVariant full = ScriptedVariant::Full;
    const struct {
        std::string file, scenario;
        ScriptedVariant variant;
        std::string message;  // "@" stands for the library's path; empty: it loads
    } cases[] = {
        {LIBRARY, v3, ScriptedVariant::NoCompile, "Library load error : @"},
        {LIBRARY, "api 1 2\n" + v3, full, "Library load error : @"},
        {LIBRARY, "meta flexible_version | 4.7.0\n", full,
         "Flexible_version is expected to be 3.x or 4.0/6 but its 4.7.0 : @"},
        {LIBRARY, "meta compiler_type | opencl\n", full,
         "Flexible_version is expected to be 3.x or 4.0/6 but its 0.0.0 : @"},
        {LIBRARY, "meta flexible_version | 4.6\n", full, "Library load error : @"},
        // A file name without a driver release refuses the library (the patterns are DriverName's).
        {"libshader.so", v3, full, "Library load error : shader"},
        {LIBRARY, "fail get_capabilities | 5\n" + v3, full, "Library load error : @"},
        {LIBRARY, "break metadata_odd\n" + v3, full,
         "Library load error : @ : malformed metadata (odd entry count 5, the last key has no "
         "value)"},
        // The second capabilities call, and core capabilities, build the catalogue.
        {LIBRARY, "fail get_capabilities | 5 | 1\n" + v3, full, "Compiler load error"},
        {LIBRARY, "break cores\n" + v3, full,
         "Compiler load error : @ : malformed core list (1 cores announced but none given)"},
        {LIBRARY, v41 + "core Koro-N68 | r0p0\nfail get_core_specific_capabilities | 3\n", full, "Compiler load error"},
        // Interface 1.0 needs no core-specific entry points, but cannot answer them.
        {LIBRARY, "api 1 0\n" + v41 + "core Koro-N68 | r0p0\n", ScriptedVariant::NoCoreSpecific, "Compiler load error"},
        {LIBRARY, "api 1 0\nmeta flexible_version | 3.99.0\n", ScriptedVariant::NoCoreSpecific, ""},
        {LIBRARY, "meta flexible_version | 4.6.9\n", full, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file + "\n" + c.scenario);
        ScriptedShadex shadex;
        std::string path = shadex.add("graphics", c.file, c.scenario, c.variant);
        std::string message = c.message;
        if (size_t at = message.find('@'); at != std::string::npos) message.replace(at, 1, path);
        if (message.empty())
            EXPECT_EQ(shadex.run({"--list"}).status, 0);
        else
            expect_run_error(shadex.run({"--list"}), message);
    }
}

TEST(BackendCatalogue, DenylistsAndCoreNameMappings) {
    ScriptedShadex shadex;
    std::string library =
        shadex.add("graphics", LIBRARY,
                   "meta flexible_version | 4.0.0\nmeta compiler_type | openglessl\ncore Koro-L100 | r0p0\n"
                   "core Koro-L120 | r0p0\ncore Koro-L220 | r0p0\ncore Koro N1-Ultra | r0p0\n"
                   R"(core_cap Koro-L220 | openglessl_version | 100 300
core_cap Koro N1-Ultra | openglessl_version | 300,320
core_cap Koro N1-Ultra | openglessl_extensions | GL_EXT_shader_io_blocks
core_cap Koro N1-Ultra | spirv_version | 1.0 1.3
)");
    EXPECT_EQ(json_output(shadex.run({"--list", "--format", "json"}))["cores"], json::parse(R"([
        {"apis": ["OpenGL ES", "Vulkan"], "core": "Koro N1"},
        {"apis": ["OpenGL ES"], "core": "Koro-L220"}])"));
    // Denylisted cores are never asked about; Koro-L220 only for OpenGL ES.
    EXPECT_EQ(calls_of(read_scripted_log(library), "get_core_specific_capabilities"),
              (std::vector<std::string>{"get_core_specific_capabilities\tKoro-L220\tr0p0",
                                        "get_core_specific_capabilities\tKoro N1-Ultra\tr0p0",
                                        "get_core_specific_capabilities\tKoro N1-Ultra\tr0p0"}));

    json info = json_output(shadex.run({"--info", "-c", "Koro-N1-Ultra", "--format", "json"}));
    EXPECT_EQ(info["hardware"]["core"], "Koro N1");
    EXPECT_EQ(info["apis"]["opengles"]["max_version"], 320);
    EXPECT_FLOAT_EQ(info["apis"]["vulkan"]["max_version"].get<float>(), 1.3f);
    // The extension probe, like a compile, names the core in the back-end's spelling.
    EXPECT_EQ(shadex.compiles().at(0).rfind("compile\tcore=Koro-N1-Ultra\t", 0), 0u);

    shadex.write("a.frag", "void main() {}\n");
    RunResult result = shadex.run({"-c", "Koro N1-Pro", "a.frag"});
    EXPECT_TRUE(contains(result.out, "Hardware: Koro N1 r0p0\n")) << result.err;
    EXPECT_EQ(shadex.compiles().at(0).rfind("compile\tcore=Koro-N1-Ultra\t", 0), 0u);
    expect_usage_error(shadex.run({"-c", "Koro-L100", "a.frag"}), "Koro-L100 is an invalid target core.");
}

TEST(BackendCatalogue, ExtensionsAreProbedOncePerCompiler) {
    ScriptedShadex shadex;
    const std::string cores = "core Koro-L220 | r0p0\ncore Koro-N68 | r0p0\n";
    shadex.add("graphics", LIBRARY,
               "meta flexible_version | 3.0.0\nmeta compiler_type | openglessl\n"
               "meta openglessl_version | 100 300 310 320\nmeta openglessl_extensions | "
               "GL_OES_texture_3D GL_EXT_tessellation_shader GL_EXT_geometry_shader\n" +
                   cores +
                   "compile\nwhen source | GL_EXT_geometry_shader\nstatus 4\nend\n"
                   "compile\nwhen source | GL_EXT_tessellation_shader\nerror 0:2: extension not supported\n"
                   "end\n");
    shadex.add("opencl", LIBRARY,
               "meta flexible_version | 3.0.0\nmeta compiler_type | opencl\n"
               "meta opencl_extensions | cl_khr_fp16 cl_khr_fp64\n" +
                   cores + "compile\nwhen source | ifdef cl_khr_fp64\nstatus 1\nend\n");
    // Koro-L220 is held at version 310, which has neither stage built in.
    shadex.write("a.geom", "void main() {}\n");
    shadex.write("a.tesc", "void main() {}\n");
    expect_usage_error(shadex.run({"-c", "Koro-L220", "a.geom"}), "Koro-L220 does not support geometry shaders.");
    std::vector<std::string> probes = shadex.compiles(0);
    ASSERT_EQ(probes.size(), 3u);
    EXPECT_TRUE(contains(probes[0],
                         "\tshader_type=fragment\tsource_length=74\tsource=#version "
                         "310 es\\n#extension GL_EXT_geometry_shader : require\\nvoid main() {}"))
        << probes[0];
    expect_usage_error(shadex.run({"-c", "Koro-L220", "a.tesc"}), "Koro-L220 does not support tessellation shaders.");

    json info = json_output(shadex.run({"--info", "-c", "Koro-L220", "--format", "json"}));
    EXPECT_EQ(info["apis"]["opengles"], json::parse(R"({"extensions": ["GL_OES_texture_3D"], "max_version": 310})"));
    EXPECT_EQ(info["apis"]["opencl"]["extensions"], json::parse(R"(["cl_khr_fp16"])"));
    EXPECT_EQ(shadex.compiles(0).size(), 3u);
    EXPECT_EQ(shadex.compiles(1).size(), 2u);

    // Version 320 has both stages; only Tarsel OpenCL compilers are probed.
    EXPECT_EQ(shadex.run({"-c", "Koro-N68", "a.geom"}).status, 0);
    EXPECT_EQ(shadex.compiles(0).size(), 1u);
    info = json_output(shadex.run({"--info", "-c", "Koro-N68", "--format", "json"}));
    EXPECT_EQ(info["apis"]["opencl"]["extensions"].size(), 2u);
    EXPECT_EQ(shadex.compiles(1).size(), 0u);
}

}  // namespace
