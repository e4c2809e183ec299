// Denylists, library-wide lists and the core-name mapping are covered end
// to end; these are the catalogue's finer rules.
#include "compiler/compiler_manager.h"

#include <gtest/gtest.h>

#include "common/koro_exception.h"
#include "unit/compiler/backend_fixture.h"
#include "unit/thrown.h"

namespace {

const std::string NXX = "libKoro-Nxx_r20p0-01rel0.so";

std::vector<std::string> describe(const std::vector<Compiler*>& compilers) {
    std::vector<std::string> text;
    for (const Compiler* compiler : compilers)
        text.push_back(compiler->core + "/" + compiler->revision + "/" + to_string(compiler->type) + "/" +
                       std::to_string(compiler->version));
    return text;
}

}  // namespace

// Mapping back to the back-end's name is BackendCatalogue.DenylistsAndCoreNameMappings'.
TEST(CoreTables, EveryVariantNameIsTheBaseCore) {
    for (const std::string variant : {"Koro N1-Premium", "Koro N1-Pro", "Koro N1-Ultra", "Koro-N1-Premium",
                                      "Koro-N1-Pro", "Koro-N1-Ultra", "Koro-N1"})
        EXPECT_EQ(CompilerManager::normalize_core_name(variant), "Koro N1") << variant;
}

TEST(CompilerManager, CatalogueFiltersAndDefaults) {
    BackendDir dir;
    std::string path = dir.add(
        "graphics", NXX,
        lines({"meta flexible_version | 4.6.0", "meta compiler_type | openglessl", "meta compiler_type | opencl",
               "core Koro-L100 | r0p0", "core Koro-L220 | r1p0", "core Koro-N68 | r0p1",
               "core_cap Koro-L220 | openglessl_version | 100 300 320", "core_cap Koro-L220 | opencl_c_version | 110",
               "core_cap Koro-N68 | openglessl_version | 310,320", "core_cap Koro-N68 | spirv_version | 1.3",
               "core_cap Koro-N68 | spirv_extensions | SPV_KHR_x", "core_cap Koro-N68 | opencl_c_version | 120 300"}));
    CompilerManager manager(dir.path());
    // Equal entries have no fixed order, so compare each core's group as a set.
    std::vector<std::string> all = describe(manager.get_compilers(std::nullopt, CompilerType::Any));
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(std::multiset<std::string>(all.begin(), all.begin() + 3),
              (std::multiset<std::string>{"Koro-N68/r0p1/OpenGL ES/320", "Koro-N68/r0p1/Vulkan/130",
                                          "Koro-N68/r0p1/OpenCL/300"}));
    EXPECT_EQ(std::multiset<std::string>(all.begin() + 3, all.end()),
              (std::multiset<std::string>{"Koro-L220/r1p0/OpenGL ES/310", "Koro-L220/r1p0/OpenCL/110"}));

    EXPECT_EQ(manager.get_compilers("r20p0-01rel0", "Koro-N68", "r0p1", CompilerType::Any).size(), 3u);
    EXPECT_TRUE(manager.get_compilers("r20p0-01rel0", "Koro-N68", "r0p0", CompilerType::Any).empty());
    EXPECT_TRUE(manager.get_compilers("koro-n68", CompilerType::Any).empty());
    // Per-core extensions replace the defaults.
    EXPECT_EQ(manager.get_compilers("Koro-N68", CompilerType::Vulkan).at(0)->get_extensions(),
              (std::set<std::string>{"SPV_KHR_x"}));
    EXPECT_EQ(release_problems(read_scripted_log(path)), "");
}

// The newest core of the API asked for, at its highest revision.
TEST(CompilerManager, DefaultCoreIsTheNewestForTheApi) {
    BackendDir dir;
    dir.add("graphics", NXX,
            lines({"meta flexible_version | 3.0.0", "meta compiler_type | openglessl", "meta openglessl_version | 310",
                   "core Koro-N22 | r1p0", "core Koro-N68 | r0p0", "core Koro-N68 | r1p0"}));
    dir.add("opencl", NXX,
            lines({"meta flexible_version | 3.0.0", "meta compiler_type | opencl", "core Koro-N22 | r0p0"}));
    CompilerManager manager(dir.path());
    EXPECT_EQ(
        describe({manager.get_default_compiler(CompilerType::Any), manager.get_default_compiler(CompilerType::OpenCL)}),
        (std::vector<std::string>{"Koro-N68/r1p0/OpenGL ES/310", "Koro-N22/r0p0/OpenCL/120"}));
}

TEST(CompilerManager, FlexibleVersionDecidesWhereCapabilitiesComeFrom) {
    BackendDir dir;
    // 3.x: library-wide lists only; "spirv" announces Vulkan.
    std::string v3 = dir.add("graphics", "libKoro-Nxx_r10p0-00rel0.so",
                             lines({"meta flexible_version | 3.1.0", "meta compiler_type | openglessl",
                                    "meta spirv | true", "meta openglessl_version | 300 310", "core Koro-N21 | r0p0",
                                    "core_cap Koro-N21 | openglessl_version | 320"}));
    // 4.0: per-core for the graphics families, library-wide for OpenCL.
    std::string v40 = dir.add("opencl", "libKoro-Nxx_r11p0-00rel0.so",
                              lines({"meta flexible_version | 4.0.2", "meta compiler_type | opencl",
                                     "meta opencl_version | 200", "meta opencl_extensions | cl_khr_fp16",
                                     "core Koro-N31 | r0p0", "core_cap Koro-N31 | opencl_c_version | 300"}));
    // 3.x OpenCL without "opencl_version" is taken as 1.2.
    std::string seeded =
        dir.add("opencl", "libKoro-Nxx_r12p0-00rel0.so",
                lines({"meta flexible_version | 3.0.0", "meta compiler_type | opencl", "core Koro-N32 | r0p0"}));
    CompilerManager manager(dir.path());
    std::vector<std::string> n21 = describe(manager.get_compilers("Koro-N21", CompilerType::Any));
    EXPECT_EQ(std::multiset<std::string>(n21.begin(), n21.end()),
              (std::multiset<std::string>{"Koro-N21/r0p0/OpenGL ES/310", "Koro-N21/r0p0/Vulkan/100"}));
    EXPECT_EQ(describe(manager.get_compilers("Koro-N31", CompilerType::Any)),
              (std::vector<std::string>{"Koro-N31/r0p0/OpenCL/200"}));
    EXPECT_EQ(manager.get_compilers("Koro-N31", CompilerType::OpenCL).at(0)->get_extensions(),
              (std::set<std::string>{"cl_khr_fp16"}));
    EXPECT_EQ(describe(manager.get_compilers("Koro-N32", CompilerType::Any)),
              (std::vector<std::string>{"Koro-N32/r0p0/OpenCL/120"}));
    for (const std::string& path : {v3, v40, seeded})
        EXPECT_TRUE(calls_of(read_scripted_log(path), "get_core_specific_capabilities").empty()) << path;
}

// Malformed records from a back-end end in a clear error, with every record
// obtained so far handed back.
TEST(CompilerManager, FailuresReleaseEveryRecordObtained) {
    const std::string base =
        lines({"meta flexible_version | 4.6.0", "meta compiler_type | openglessl", "core Koro-N68 | r0p1",
               "core Koro-N58 | r0p0", "core_cap Koro-N68 | openglessl_version | 320"});
    const std::string malformed = "Compiler load error : malformed version list openglessl_version = ";
    const struct {
        std::string scenario;
        std::string error_prefix;
        ScriptedVariant variant = ScriptedVariant::Full;
    } cases[] = {
        {base + "meta openglessl_version | 3.2.0\n", malformed + "\"3.2.0\""},
        {base + "core_cap Koro-N58 | openglessl_version | three\n", malformed + "\"three\""},
        {base + "core <null> | r0p0\n", "Compiler load error : "},
        {base + "core Koro-N47 | <null>\n", "Compiler load error : "},
        {base + "break core_cap\n", "Compiler load error : "},
        {base + "core_cap Koro-N68 | <null> | 1\n", "Compiler load error : "},
        // Interface 1.1 without the core-specific symbols loads, but a 4.x catalogue needs them.
        {base, "Compiler load error : @ : shadex_get_core_specific_capabilities or", ScriptedVariant::NoCoreSpecific},
    };
    for (const auto& test : cases) {
        BackendDir dir;
        std::string path = dir.add("graphics", NXX, test.scenario, test.variant);
        std::string prefix = test.error_prefix;
        if (size_t at = prefix.find('@'); at != std::string::npos) prefix.replace(at, 1, path);
        std::string error = thrown<KoroException_>([&] { CompilerManager manager(dir.path()); });
        EXPECT_EQ(error.rfind(prefix, 0), 0u) << test.scenario << "\n" << error;
        EXPECT_EQ(release_problems(read_scripted_log(path)), "");
    }
}
