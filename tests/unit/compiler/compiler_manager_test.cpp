#include "compiler/compiler_manager.h"

#include <gtest/gtest.h>

#include "common/koro_exception.h"
#include "unit/compiler/backend_fixture.h"

namespace {

const std::string NXX = "libKoro-Nxx_r20p0-01rel0.so";

// A current library offering all three families for four cores.
const std::string FULL_LIBRARY = lines({
    "meta flexible_version | 4.6.0",
    "meta architecture | ignored",
    "meta compiler_type | openglessl",
    "meta compiler_type | opencl",
    "meta variant | per_fragment_shader",
    "core Koro-L100 | r0p0",
    "core Koro-L220 | r1p0",
    "core Koro-N68 | r0p1",
    "core Koro N1-Ultra | r0p0",
    "core_cap Koro-L220 | openglessl_version | 100 300 320",
    "core_cap Koro-L220 | opencl_c_version | 110",
    "core_cap Koro-N68 | openglessl_version | 310,320",
    "core_cap Koro-N68 | openglessl_extensions | GL_EXT_a GL_EXT_b",
    "core_cap Koro-N68 | spirv_version | 1.3",
    "core_cap Koro-N68 | spirv_extensions | SPV_KHR_x",
    "core_cap Koro-N68 | opencl_c_version | 120 300",
    "core_cap Koro N1-Ultra | openglessl_version | 320",
    "core_cap Koro N1-Ultra | spirv_version | 1.6",
    "core_cap Koro N1-Ultra | opencl_c_version | 3.0",
});

std::vector<std::string> describe(const std::vector<Compiler*>& compilers) {
    std::vector<std::string> text;
    for (const Compiler* compiler : compilers)
        text.push_back(compiler->core + "/" + compiler->revision + "/" +
                       to_string(compiler->type) + "/" + std::to_string(compiler->version));
    return text;
}

std::string load_error(const std::string& dir) {
    try {
        CompilerManager manager(dir);
    } catch (const KoroException_& error) {
        return error.what();
    }
    return "loaded";
}

}  // namespace

TEST(CoreTables, LookUpCores) {
    EXPECT_EQ(CompilerManager::get_architecture_for_core("Koro-L220"), ArchitectureType::Tarsel);
    EXPECT_EQ(CompilerManager::get_architecture_for_core("Koro-N36"), ArchitectureType::Ostrem);
    EXPECT_EQ(CompilerManager::get_architecture_for_core("Solvaris-N705"), ArchitectureType::Pelion);
    EXPECT_EQ(CompilerManager::get_architecture_for_core("Koro N1"), ArchitectureType::FifthGen);
    EXPECT_EQ(CompilerManager::get_architecture_for_core("koro-n68"), ArchitectureType::None);

    EXPECT_EQ(CompilerManager::get_sort_index_for_core("Koro-L220"), 0u);
    EXPECT_EQ(CompilerManager::get_sort_index_for_core("Koro-N68SX"), 16u);
    EXPECT_EQ(CompilerManager::get_sort_index_for_core("Koro N1"), 30u);
    EXPECT_EQ(CompilerManager::get_sort_index_for_core("Koro-X1"), 0u);

    for (const std::string variant : {"Koro N1-Premium", "Koro N1-Pro", "Koro N1-Ultra",
                                      "Koro-N1-Premium", "Koro-N1-Pro", "Koro-N1-Ultra", "Koro-N1"})
        EXPECT_EQ(CompilerManager::normalize_core_name(variant), "Koro N1") << variant;
    EXPECT_EQ(CompilerManager::normalize_core_name("Koro-N68"), "Koro-N68");
    EXPECT_EQ(CompilerManager::compilerize_core_name("Koro N1"), "Koro-N1-Ultra");
    EXPECT_EQ(CompilerManager::compilerize_core_name("Koro-N68"), "Koro-N68");
}

TEST(CompilerManager, BuildsTheCatalogueNewestCoreFirst) {
    BackendDir dir;
    std::string path = dir.add("graphics", NXX, FULL_LIBRARY);
    CompilerManager manager(dir.path());

    std::vector<Compiler*> all = manager.get_compilers(std::nullopt, CompilerType::Any);
    ASSERT_EQ(all.size(), 8u);
    // Equal entries have no fixed order, so compare each core's group as a set.
    std::vector<std::string> text = describe(all);
    EXPECT_EQ(std::multiset<std::string>(text.begin(), text.begin() + 3),
              (std::multiset<std::string>{"Koro N1/r0p0/OpenGL ES/320", "Koro N1/r0p0/Vulkan/160",
                                          "Koro N1/r0p0/OpenCL/300"}));
    EXPECT_EQ(std::multiset<std::string>(text.begin() + 3, text.begin() + 6),
              (std::multiset<std::string>{"Koro-N68/r0p1/OpenGL ES/320",
                                          "Koro-N68/r0p1/Vulkan/130", "Koro-N68/r0p1/OpenCL/300"}));
    // Koro-L220: capped at 310 for OpenGL ES, no Vulkan; Koro-L100 dropped.
    EXPECT_EQ(std::multiset<std::string>(text.begin() + 6, text.end()),
              (std::multiset<std::string>{"Koro-L220/r1p0/OpenGL ES/310",
                                          "Koro-L220/r1p0/OpenCL/110"}));

    for (const Compiler* compiler : all) {
        EXPECT_EQ(compiler->driver, "r20p0-01rel0");
        EXPECT_NE(compiler->core, "Koro-L100");
    }
    EXPECT_TRUE(manager.get_compilers("Koro-L220", CompilerType::Vulkan).empty());
    EXPECT_EQ(manager.get_compilers("Koro-L220", CompilerType::OpenGLES).size(), 1u);
    EXPECT_TRUE(manager.get_compilers("Koro N1-Ultra", CompilerType::Any).empty());

    Compiler* first = manager.get_default_compiler(CompilerType::Any);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->core, "Koro N1");
    Compiler* opencl = manager.get_default_compiler(CompilerType::OpenCL);
    ASSERT_NE(opencl, nullptr);
    EXPECT_EQ(opencl->core, "Koro N1");
    EXPECT_EQ(opencl->type, CompilerType::OpenCL);

    EXPECT_EQ(describe(manager.get_compilers(std::nullopt, std::nullopt, std::nullopt,
                                             CompilerType::OpenGLES, 311)),
              (std::vector<std::string>{"Koro N1/r0p0/OpenGL ES/320",
                                        "Koro-N68/r0p1/OpenGL ES/320"}));
    EXPECT_EQ(manager.get_compilers("r20p0-01rel0", "Koro-N68", "r0p1", CompilerType::Any).size(),
              3u);
    EXPECT_TRUE(manager.get_compilers("r20p0-01rel0", "Koro-N68", "r0p0", CompilerType::Any).empty());
    EXPECT_TRUE(manager.get_compilers("other", std::nullopt, std::nullopt, CompilerType::Any).empty());

    // Per-core extensions replace the defaults; the library-wide variant set is shared.
    Compiler* n68 = manager.get_compilers("Koro-N68", CompilerType::Vulkan).at(0);
    EXPECT_EQ(n68->get_extensions(), (std::set<std::string>{"SPV_KHR_x"}));

    std::vector<std::string> log = read_scripted_log(path);
    // Three families for three cores, the denied core never asked.
    EXPECT_EQ(count_calls(log, "get_core_specific_capabilities"), 8u);
    for (const std::string& line : calls_of(log, "get_core_specific_capabilities"))
        EXPECT_EQ(line.find("Koro-L100"), std::string::npos);
    EXPECT_EQ(count_calls(log, "get_core_specific_capabilities\tKoro N1-Ultra\tr0p0"), 3u);
    expect_all_released(log);
}

TEST(CompilerManager, EmptyInstallGivesAnEmptyCatalogue) {
    BackendDir dir;
    CompilerManager manager(dir.path());
    EXPECT_TRUE(manager.get_compilers(std::nullopt, CompilerType::Any).empty());
    EXPECT_EQ(manager.get_default_compiler(CompilerType::Any), nullptr);
}

TEST(CompilerManager, FlexibleVersionDecidesWhereCapabilitiesComeFrom) {
    BackendDir dir;
    // 3.x: library-wide lists only; "spirv" announces Vulkan.
    std::string v3 = dir.add("graphics", "libKoro-Nxx_r10p0-00rel0.so",
                             lines({"meta flexible_version | 3.1.0",
                                    "meta compiler_type | openglessl", "meta spirv | true",
                                    "meta openglessl_version | 300 310",
                                    "meta openglessl_extensions | GL_EXT_geometry_shader",
                                    "core Koro-N21 | r0p0",
                                    "core_cap Koro-N21 | openglessl_version | 320"}));
    // 4.0: per-core for the graphics families, library-wide for OpenCL.
    std::string v40 = dir.add("opencl", "libKoro-Nxx_r11p0-00rel0.so",
                              lines({"meta flexible_version | 4.0.2",
                                     "meta compiler_type | opencl",
                                     "meta opencl_version | 200",
                                     "meta opencl_extensions | cl_khr_fp16",
                                     "core Koro-N31 | r0p0",
                                     "core_cap Koro-N31 | opencl_c_version | 300"}));
    // 3.x OpenCL without "opencl_version" is taken as 1.2.
    std::string seeded = dir.add("opencl", "libKoro-Nxx_r12p0-00rel0.so",
                                 lines({"meta flexible_version | 3.0.0",
                                        "meta compiler_type | opencl",
                                        "core Koro-N32 | r0p0"}));
    CompilerManager manager(dir.path());

    EXPECT_EQ(describe(manager.get_compilers("Koro-N21", CompilerType::Any)).size(), 2u);
    Compiler* gles = manager.get_compilers("Koro-N21", CompilerType::OpenGLES).at(0);
    EXPECT_EQ(gles->version, 310u);
    Compiler* vulkan = manager.get_compilers("Koro-N21", CompilerType::Vulkan).at(0);
    EXPECT_EQ(vulkan->version, 100u);
    EXPECT_EQ(manager.get_compilers("Koro-N31", CompilerType::OpenCL).at(0)->version, 200u);
    EXPECT_EQ(manager.get_compilers("Koro-N31", CompilerType::OpenCL).at(0)->get_extensions(),
              (std::set<std::string>{"cl_khr_fp16"}));
    EXPECT_EQ(describe(manager.get_compilers("Koro-N32", CompilerType::Any)),
              (std::vector<std::string>{"Koro-N32/r0p0/OpenCL/120"}));

    for (const std::string& path : {v3, v40, seeded}) {
        std::vector<std::string> log = read_scripted_log(path);
        EXPECT_EQ(count_calls(log, "get_core_specific_capabilities"), 0u) << path;
        expect_all_released(log);
    }
}

TEST(CompilerManager, SortsByCoreAgeThenRevision) {
    BackendDir dir;
    dir.add("opencl", NXX,
            lines({"meta flexible_version | 3.0.0", "meta compiler_type | opencl",
                   "core Koro-N11 | r9p9", "core Koro-N68 | r0p1", "core Koro-N68 | r1p0",
                   "core Koro-X9 | r5p0", "core Koro-N68 | r0p1-dr2", "core Koro-N21 | r0p0"}));
    CompilerManager manager(dir.path());
    std::vector<std::string> order;
    for (const Compiler* compiler : manager.get_compilers(std::nullopt, CompilerType::Any))
        order.push_back(compiler->core + " " + compiler->revision);
    EXPECT_EQ(order, (std::vector<std::string>{"Koro-N68 r1p0", "Koro-N68 r0p1-dr2",
                                               "Koro-N68 r0p1", "Koro-N21 r0p0", "Koro-N11 r9p9",
                                               "Koro-X9 r5p0"}));
}

TEST(CompilerManager, FailuresReleaseEveryRecordObtained) {
    struct Case {
        std::string name;
        std::string scenario;
        std::string error_prefix;
    };
    const std::string base = lines({"meta flexible_version | 4.6.0",
                                    "meta compiler_type | openglessl", "core Koro-N68 | r0p1",
                                    "core Koro-N58 | r0p0",
                                    "core_cap Koro-N68 | openglessl_version | 320"});
    const std::vector<Case> cases = {
        {"capabilities", base + "fail get_capabilities | 4 | 1\n", "Compiler load error"},
        {"core", base + "fail get_core_specific_capabilities | 5 | 1\n", "Compiler load error"},
        {"meta_version", base + "meta openglessl_version | 3.2.0\n",
         "Compiler load error : malformed version list openglessl_version = \"3.2.0\""},
        {"core_version", base + "core_cap Koro-N58 | openglessl_version | three\n",
         "Compiler load error : malformed version list openglessl_version = \"three\""},
        {"null_core", base + "core <null> | r0p0\n", "Compiler load error : "},
        {"null_revision", base + "core Koro-N47 | <null>\n", "Compiler load error : "},
        {"cores", base + "break cores\n", "Compiler load error : "},
        {"core_cap", base + "break core_cap\n", "Compiler load error : "},
        {"core_cap_null", base + "core_cap Koro-N68 | <null> | 1\n", "Compiler load error : "},
    };
    for (const Case& test : cases) {
        BackendDir dir;
        std::string path = dir.add("graphics", NXX, test.scenario);
        std::string error = load_error(dir.path());
        EXPECT_EQ(error.rfind(test.error_prefix, 0), 0u) << test.name << ": " << error;
        if (test.error_prefix == "Compiler load error") {
            EXPECT_EQ(error, "Compiler load error") << test.name;
        }
        expect_all_released(read_scripted_log(path));
    }
}

TEST(CompilerManager, CoreSpecificCapabilitiesMissingFailCleanly) {
    // Interface 1.1 without the symbols loads, but a 4.x catalogue needs them.
    BackendDir missing;
    std::string path = missing.add("graphics", NXX,
                                   lines({"meta flexible_version | 4.1.0",
                                          "meta compiler_type | opencl", "core Koro-N68 | r0p0"}),
                                   ScriptedVariant::NoCoreSpecific);
    std::string error = load_error(missing.path());
    EXPECT_EQ(error.rfind("Compiler load error : " + path, 0), 0u) << error;
    expect_all_released(read_scripted_log(path));

    // Interface 1.0: the built-in getter answers status 2.
    BackendDir old;
    old.add("graphics", NXX,
            lines({"api 1 0", "meta flexible_version | 4.0.0", "meta compiler_type | openglessl",
                   "core Koro-N68 | r0p0"}),
            ScriptedVariant::NoCoreSpecific);
    EXPECT_EQ(load_error(old.path()), "Compiler load error");

    // Without core-specific needs the same library is fine.
    BackendDir fine;
    fine.add("graphics", NXX,
             lines({"api 1 0", "meta flexible_version | 3.5.0", "meta compiler_type | opencl",
                    "core Koro-N68 | r0p0"}),
             ScriptedVariant::NoCoreSpecific);
    EXPECT_EQ(load_error(fine.path()), "loaded");
}

TEST(CompilerManager, LibraryErrorsPassThrough) {
    BackendDir dir;
    std::string path = dir.add("graphics", NXX, "meta flexible_version | 4.7.0\n");
    EXPECT_EQ(load_error(dir.path()),
              "Flexible_version is expected to be 3.x or 4.0/6 but its 4.7.0 : " + path);
}
