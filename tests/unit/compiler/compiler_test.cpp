// Options sent to the back-end, probing and result handling are covered end
// to end; these are the per-compiler rules.
#include "compiler/compiler.h"

#include <gtest/gtest.h>

#include "compiler/compiler_manager.h"
#include "unit/compiler/backend_fixture.h"

namespace {

Compiler make(const std::string& core, CompilerType type, std::vector<uint32_t> versions,
              std::vector<std::string> extensions = {}, const std::string& revision = "r0p0") {
    return Compiler("r1p0-00rel0", core, revision, type, versions, extensions, {}, nullptr);
}

}  // namespace

TEST(Compiler, ParsesAndOrdersCoreRevisions) {
    using Numbers = std::array<uint32_t, 4>;
    const std::pair<std::string, Numbers> revisions[] = {
        {"r12p34", {12, 34, 0, 0}}, {"r1p0-dr3-vl7", {1, 0, 3, 7}}, {"r2p1vl2", {2, 1, 0, 2}},
        {"", {0, 0, 0, 0}},         {"p5r", {0, 0, 0, 0}},          {"r99999999999p1", {4294967295u, 1, 0, 0}},
    };
    for (const auto& [text, numbers] : revisions) EXPECT_EQ(Compiler::parse_core_revision(text), numbers) << text;

    // Newest core first, then highest revision; an unknown core sorts with the oldest.
    Compiler n1 = make("Koro N1", CompilerType::Vulkan, {130});
    Compiler n68_r1 = make("Koro-N68", CompilerType::Vulkan, {130}, {}, "r1p0");
    Compiler n68_r0 = make("Koro-N68", CompilerType::Vulkan, {130}, {}, "r0p9");
    Compiler n68_dr = make("Koro-N68", CompilerType::OpenCL, {130}, {}, "r0p9-dr1");
    Compiler unknown = make("Koro-Z1", CompilerType::Vulkan, {130}, {}, "r9p0");
    Compiler l220 = make("Koro-L220", CompilerType::Vulkan, {130}, {}, "r0p0");
    const std::vector<const Compiler*> order = {&n1, &n68_r1, &n68_dr, &n68_r0, &unknown, &l220};
    for (size_t i = 0; i < order.size(); ++i) {
        for (size_t j = 0; j < order.size(); ++j)
            EXPECT_EQ(Compiler::before(*order[i], *order[j]), i < j) << i << " before " << j;
    }
}

TEST(Compiler, VersionsAndExtensions) {
    // Koro-L220 is held at OpenGL ES 3.1 (BackendCatalogue.ExtensionsAreProbedOncePerCompiler), and only there.
    EXPECT_EQ(make("Koro-L220", CompilerType::OpenGLES, {300}).version, 300u);
    EXPECT_EQ(make("Koro-L220", CompilerType::OpenCL, {320}).version, 320u);
    EXPECT_EQ(make("Koro-N68", CompilerType::OpenGLES, {}).version, 0u);
    // Unprobed lists: Vulkan has no defaults, a non-Tarsel OpenCL compiler keeps them.
    EXPECT_TRUE(make("Koro-N68", CompilerType::Vulkan, {130}).get_extensions().empty());
    EXPECT_EQ(make("Koro-N68", CompilerType::OpenCL, {120}).get_extensions().size(), DEFAULT_OPENCL_EXTENSIONS.size());
}

TEST(Compiler, ProbesWithoutEsForVersion100) {
    BackendDir dir;
    std::string path = dir.add(
        "graphics", "libKoro-Nxx_r20p0-01rel0.so",
        lines({"meta flexible_version | 3.0.0", "meta compiler_type | openglessl", "meta openglessl_version | 100",
               "meta openglessl_extensions | GL_OES_texture_3D", "core Koro-L220 | r0p0"}));
    CompilerManager manager(dir.path());
    EXPECT_TRUE(manager.get_compilers("Koro-L220", CompilerType::OpenGLES).at(0)->has_extension("GL_OES_texture_3D"));
    std::vector<std::string> probes = calls_of(read_scripted_log(path), "compile");
    ASSERT_EQ(probes.size(), 1u);
    const std::string source = "\tsource=#version 100\\n#extension GL_OES_texture_3D : require\\nvoid main() {}";
    EXPECT_EQ(probes[0].substr(probes[0].size() - std::min(probes[0].size(), source.size())), source);
}
