#include "compiler/compiler.h"

#include <gtest/gtest.h>

#include "common/koro_exception.h"
#include "compiler/compiler_manager.h"
#include "unit/compiler/backend_fixture.h"

namespace {

const std::string NXX = "libKoro-Nxx_r20p0-01rel0.so";

Compiler make(const std::string& core, CompilerType type, std::vector<uint32_t> versions,
              std::vector<std::string> extensions = {}, const std::string& revision = "r0p0") {
    return Compiler("r1p0-00rel0", core, revision, type, versions, extensions, {}, nullptr);
}

Bytes bytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

using Options = std::vector<std::string>;

// One library with a compiler of every family on a current core, plus
// OpenGL ES and OpenCL on the oldest (Tarsel) core.
struct Catalogue {
    explicit Catalogue(const std::string& extra = "")
        : path(dir.add("graphics", NXX,
                       lines({"meta flexible_version | 4.6.0", "meta compiler_type | openglessl",
                              "meta compiler_type | opencl", "meta variant | per_fragment_shader",
                              "core Koro N1-Ultra | r0p0", "core Koro-L220 | r0p0",
                              "core_cap Koro N1-Ultra | openglessl_version | 320",
                              "core_cap Koro N1-Ultra | openglessl_extensions | GL_a",
                              "core_cap Koro N1-Ultra | spirv_version | 1.6",
                              "core_cap Koro N1-Ultra | opencl_c_version | 300",
                              "core_cap Koro-L220 | openglessl_version | 100 320",
                              "core_cap Koro-L220 | opencl_c_version | 120"}) +
                           extra)),
          manager(dir.path()) {}

    Compiler& get(const std::string& core, CompilerType type) {
        return *manager.get_compilers(core, type).at(0);
    }
    std::vector<std::string> log() const { return read_scripted_log(path); }

    BackendDir dir;
    std::string path;
    CompilerManager manager;
};

}  // namespace

TEST(Compiler, ParsesCoreRevisions) {
    using Numbers = std::array<uint32_t, 4>;
    EXPECT_EQ(Compiler::parse_core_revision("r0p1"), (Numbers{0, 1, 0, 0}));
    EXPECT_EQ(Compiler::parse_core_revision("r12p34"), (Numbers{12, 34, 0, 0}));
    EXPECT_EQ(Compiler::parse_core_revision("r1p0-dr3"), (Numbers{1, 0, 3, 0}));
    EXPECT_EQ(Compiler::parse_core_revision("r1p0-dr3-vl7"), (Numbers{1, 0, 3, 7}));
    EXPECT_EQ(Compiler::parse_core_revision("r2p1vl2"), (Numbers{2, 1, 0, 2}));
    EXPECT_EQ(Compiler::parse_core_revision(""), (Numbers{0, 0, 0, 0}));
    EXPECT_EQ(Compiler::parse_core_revision("p5r"), (Numbers{0, 0, 0, 0}));
    EXPECT_EQ(Compiler::parse_core_revision("r99999999999p1"), (Numbers{4294967295u, 1, 0, 0}));
}

TEST(Compiler, OrdersNewestCoreThenHighestRevision) {
    Compiler n1 = make("Koro N1", CompilerType::Vulkan, {130});
    Compiler n68_r1 = make("Koro-N68", CompilerType::Vulkan, {130}, {}, "r1p0");
    Compiler n68_r0 = make("Koro-N68", CompilerType::Vulkan, {130}, {}, "r0p9");
    Compiler n68_dr = make("Koro-N68", CompilerType::OpenCL, {130}, {}, "r0p9-dr1");
    Compiler unknown = make("Koro-Z1", CompilerType::Vulkan, {130}, {}, "r9p0");
    Compiler l220 = make("Koro-L220", CompilerType::Vulkan, {130}, {}, "r0p0");
    EXPECT_TRUE(Compiler::before(n1, n68_r1));
    EXPECT_FALSE(Compiler::before(n68_r1, n1));
    EXPECT_TRUE(Compiler::before(n68_r1, n68_r0));
    EXPECT_TRUE(Compiler::before(n68_dr, n68_r0));
    EXPECT_FALSE(Compiler::before(n68_r0, n68_r0));
    // An unknown core sorts with the oldest one.
    EXPECT_TRUE(Compiler::before(unknown, l220));
    EXPECT_FALSE(Compiler::before(l220, unknown));
    EXPECT_TRUE(Compiler::before(n68_r0, unknown));
}

TEST(Compiler, DerivesVersionExtensionsAndArchitecture) {
    Compiler l220 = make("Koro-L220", CompilerType::OpenGLES, {100, 320, 300});
    EXPECT_EQ(l220.version, 310u);
    EXPECT_EQ(l220.architecture, ArchitectureType::Tarsel);
    EXPECT_EQ(make("Koro-L220", CompilerType::OpenGLES, {300}).version, 300u);
    EXPECT_EQ(make("Koro-L220", CompilerType::OpenCL, {320}).version, 320u);
    EXPECT_EQ(make("Koro-N68", CompilerType::OpenGLES, {320, 310}).version, 320u);
    EXPECT_EQ(make("Koro-N68", CompilerType::OpenGLES, {}).version, 0u);
    EXPECT_EQ(make("Koro-X", CompilerType::OpenGLES, {100}).architecture, ArchitectureType::None);

    ASSERT_EQ(DEFAULT_OPENCL_EXTENSIONS.size(), 19u);
    EXPECT_EQ(DEFAULT_OPENCL_EXTENSIONS.front(), "cl_khr_global_int32_base_atomics");
    EXPECT_EQ(DEFAULT_OPENCL_EXTENSIONS.back(), "cl_ovyn_import_memory");
    ASSERT_EQ(DEFAULT_OPENGLES_EXTENSIONS.size(), 24u);
    EXPECT_EQ(DEFAULT_OPENGLES_EXTENSIONS.front(), "GL_OVYN_shader_framebuffer_fetch");
    EXPECT_EQ(DEFAULT_OPENGLES_EXTENSIONS.back(), "GL_EXT_texture_cube_map_array");
    // A Pelion OpenCL compiler keeps its list unprobed, so no library is needed.
    Compiler opencl = make("Koro-N68", CompilerType::OpenCL, {120});
    EXPECT_EQ(opencl.get_extensions(), std::set<std::string>(DEFAULT_OPENCL_EXTENSIONS.begin(),
                                                             DEFAULT_OPENCL_EXTENSIONS.end()));
    Compiler vulkan = make("Koro-N68", CompilerType::Vulkan, {130});
    EXPECT_TRUE(vulkan.get_extensions().empty());
    EXPECT_EQ(make("Koro-N68", CompilerType::Vulkan, {130}, {"b", "a", "b"}).get_extensions(),
              (std::set<std::string>{"a", "b"}));
}

TEST(Compiler, MatchesGivenFieldsOnly) {
    Compiler compiler = make("Koro-N68", CompilerType::OpenCL, {120, 300}, {}, "r0p1");
    EXPECT_TRUE(compiler.matches(std::nullopt, std::nullopt, std::nullopt, CompilerType::Any, 0));
    EXPECT_TRUE(compiler.matches("r1p0-00rel0", "Koro-N68", "r0p1", CompilerType::OpenCL, 300));
    EXPECT_FALSE(compiler.matches(std::nullopt, std::nullopt, std::nullopt, CompilerType::Any, 301));
    EXPECT_FALSE(compiler.matches(std::nullopt, "koro-n68", std::nullopt, CompilerType::Any, 0));
    EXPECT_FALSE(compiler.matches("r1p0", std::nullopt, std::nullopt, CompilerType::Any, 0));
    EXPECT_FALSE(compiler.matches(std::nullopt, std::nullopt, "r0p0", CompilerType::Any, 0));
    EXPECT_FALSE(compiler.matches(std::nullopt, std::nullopt, std::nullopt, CompilerType::Vulkan, 0));
}

TEST(Compiler, AnswersStageSupport) {
    // None of these needs to probe extensions.
    EXPECT_FALSE(make("Koro-N68", CompilerType::OpenGLES, {300}).supports_compute_shaders());
    EXPECT_TRUE(make("Koro-N68", CompilerType::OpenGLES, {310}).supports_compute_shaders());
    EXPECT_FALSE(make("Koro-N68", CompilerType::OpenCL, {300}).supports_compute_shaders());
    EXPECT_TRUE(make("Koro-N68", CompilerType::Vulkan, {100}).supports_compute_shaders());
    Compiler gles32 = make("Koro-N68", CompilerType::OpenGLES, {320});
    EXPECT_TRUE(gles32.supports_geometry_shaders());
    EXPECT_TRUE(gles32.supports_tessellation_shaders());
    Compiler opencl = make("Koro-N68", CompilerType::OpenCL, {300});
    EXPECT_FALSE(opencl.supports_geometry_shaders());
    EXPECT_FALSE(opencl.supports_tessellation_shaders());
    Compiler vulkan = make("Koro-N68", CompilerType::Vulkan, {100});
    EXPECT_TRUE(vulkan.supports_geometry_shaders());
    EXPECT_TRUE(vulkan.supports_tessellation_shaders());
}

TEST(Compiler, SendsOptionsInOrderForEachApiAndStage) {
    Catalogue catalogue;
    Compiler& gles = catalogue.get("Koro N1", CompilerType::OpenGLES);
    gles.compile(bytes("void main() {}"), SourceType::Fragment, "", {"A=1", "B=2"});
    gles.compile(bytes("void main() {}"), SourceType::Vertex, "", {"A=1"});
    Compiler& opencl = catalogue.get("Koro N1", CompilerType::OpenCL);
    opencl.compile(bytes("kernel void k() {}"), SourceType::Kernel, "3.0", {"N=4"}, "k");
    opencl.compile(bytes("kernel void k() {}"), SourceType::Kernel, "1.2");
    Compiler& vulkan = catalogue.get("Koro N1", CompilerType::Vulkan);
    Bytes module = {0x03, 0x02, 0x23, 0x07, 0x00, 0x00, 0x01, 0x00};
    vulkan.compile_spirv(module, SourceType::Fragment, "", "main");
    vulkan.compile_spirv(module, SourceType::Vertex, "");
    opencl.compile_spirv(module, SourceType::Kernel, "3.0", "k");
    Compiler& tarsel = catalogue.get("Koro-L220", CompilerType::OpenGLES);
    tarsel.compile(bytes("void main() {}"), SourceType::Vertex, "");
    tarsel.compile(bytes("void main() {}"), SourceType::Fragment, "");

    std::vector<std::string> log = catalogue.log();
    EXPECT_EQ(compile_options(log, 0),
              (Options{"compiler_type=openglessl", "shader_type=fragment", "define=A=1",
                       "define=B=2", "request-pilot=true", "variants=per_fragment_shader"}));
    EXPECT_EQ(compile_options(log, 1),
              (Options{"compiler_type=openglessl", "shader_type=vertex", "define=A=1",
                       "request-pilot=true", "request-idvs=true"}));
    EXPECT_EQ(compile_options(log, 2),
              (Options{"compiler_type=opencl", "shader_type=kernel", "define=N=4", "kernel_name=k",
                       "cl_std=3.0", "request-pilot=true"}));
    EXPECT_EQ(compile_options(log, 3), (Options{"compiler_type=opencl", "shader_type=kernel",
                                                "cl_std=1.2", "request-pilot=true"}));
    EXPECT_EQ(compile_options(log, 4),
              (Options{"compiler_type=openglessl", "shader_type=fragment", "spirv=true",
                       "spirv_binary_length=8", "spirv_entrypoint_name=main",
                       "request-pilot=true"}));
    EXPECT_EQ(compile_options(log, 5),
              (Options{"compiler_type=openglessl", "shader_type=vertex", "spirv=true",
                       "spirv_binary_length=8", "request-pilot=true", "request-idvs=true"}));
    EXPECT_EQ(compile_options(log, 6),
              (Options{"compiler_type=opencl", "shader_type=kernel", "spirv=true",
                       "spirv_binary_length=8", "kernel_name=k", "cl_std=3.0",
                       "request-pilot=true"}));
    EXPECT_EQ(compile_options(log, 7),
              (Options{"compiler_type=openglessl", "shader_type=vertex"}));
    // The per-fragment variant is offered by the library, not tied to the core.
    EXPECT_EQ(compile_options(log, 8), (Options{"compiler_type=openglessl", "shader_type=fragment",
                                                "variants=per_fragment_shader"}));

    // The catalogue name goes out in the back-end's spelling.
    EXPECT_EQ(compile_field(log, "core", 0), "Koro-N1-Ultra");
    EXPECT_EQ(compile_field(log, "revision", 0), "r0p0");
    EXPECT_EQ(compile_field(log, "core", 7), "Koro-L220");
    // Text arrives NUL-terminated; a module's length travels as an option.
    EXPECT_EQ(compile_field(log, "source_length", 0), "14");
    EXPECT_EQ(compile_field(log, "source", 0), "void main() {}");
    EXPECT_EQ(compile_field(log, "source_length", 4), "8");
    EXPECT_EQ(compile_field(log, "source", 4), "\\x03\\x02#\\x07\\x00\\x00\\x01\\x00");
    expect_all_released(log);
}

TEST(Compiler, ReturnsTheBackEndResult) {
    Catalogue catalogue(lines({"compile", "when option | shader_type | fragment", "variant",
                               "stat work_registers_used | 40", "stat pipe_names | A1/A2/A3/LS/T",
                               "stat cycles | 1/2/3/4/5", "error 0:1: bad thing",
                               "warning careful", "end"}));
    Compiler& compiler = catalogue.get("Koro N1", CompilerType::OpenGLES);
    CompileOutputPtr output = compiler.compile(bytes("x"), SourceType::Fragment, "");
    ASSERT_NE(output, nullptr);
    EXPECT_EQ(output->core, "Koro N1");
    EXPECT_EQ(output->revision, "r0p0");
    EXPECT_EQ(output->driver, "r20p0-01rel0");
    EXPECT_EQ(output->architecture, ArchitectureType::FifthGen);
    EXPECT_EQ(output->compiler_type, CompilerType::OpenGLES);
    EXPECT_EQ(output->source_type, SourceType::Fragment);
    ASSERT_EQ(output->variants.size(), 1u);
    EXPECT_EQ(output->variants[0].work_registers_used, 40);
    EXPECT_EQ(output->errors, std::vector<std::string>{"0:1: bad thing"});
    EXPECT_EQ(output->warnings, std::vector<std::string>{"careful"});

    // A back-end that fills nothing yields an empty result.
    CompileOutputPtr empty = compiler.compile(bytes("x"), SourceType::Vertex, "");
    EXPECT_TRUE(empty->variants.empty());
    EXPECT_TRUE(empty->errors.empty());
    expect_all_released(catalogue.log());
}

TEST(Compiler, ReleasesOutputsOnFailures) {
    Catalogue catalogue(lines({"compile", "when source | fail", "status 7", "error ignored",
                               "end", "compile", "when source | malformed", "variant",
                               "stat work_registers_used | many", "end"}));
    Compiler& compiler = catalogue.get("Koro N1", CompilerType::OpenGLES);
    try {
        compiler.compile(bytes("fail"), SourceType::Fragment, "");
        ADD_FAILURE() << "no exception";
    } catch (const KoroException_& error) {
        EXPECT_EQ(std::string(error.what()), "Compile error : 7");
    }
    EXPECT_ANY_THROW(compiler.compile(bytes("malformed"), SourceType::Fragment, ""));
    EXPECT_ANY_THROW(compiler.compile_spirv(bytes("fail"), SourceType::Fragment, ""));

    std::vector<std::string> log = catalogue.log();
    EXPECT_EQ(count_calls(log, "compile"), 3u);
    EXPECT_EQ(count_calls(log, "compile_failed"), 2u);
    expect_all_released(log);
}

TEST(Compiler, ProbesOpenGlesExtensionsOnce) {
    // GL_a comes from the core; the probe for it fails with an error line,
    // the probe for a default extension fails with a status.
    Catalogue catalogue(lines({"compile", "when source | GL_a :", "error not supported", "end",
                               "compile", "when source | GL_EXT_geometry_shader", "status 3",
                               "end"}));
    Compiler& n1 = catalogue.get("Koro N1", CompilerType::OpenGLES);
    EXPECT_TRUE(n1.get_extensions().empty());
    EXPECT_FALSE(n1.has_extension("GL_a"));
    std::vector<std::string> log = catalogue.log();
    ASSERT_EQ(count_calls(log, "compile"), 1u);
    EXPECT_EQ(compile_field(log, "source", 0),
              "#version 320 es\\n#extension GL_a : require\\nvoid main() {}");
    EXPECT_EQ(compile_options(log, 0),
              (Options{"compiler_type=openglessl", "shader_type=fragment", "request-pilot=true",
                       "variants=per_fragment_shader"}));

    // Koro-L220 names no extensions: the 24 defaults are probed at version 310.
    Compiler& l220 = catalogue.get("Koro-L220", CompilerType::OpenGLES);
    EXPECT_TRUE(l220.supports_compute_shaders());
    EXPECT_FALSE(l220.supports_geometry_shaders());
    EXPECT_TRUE(l220.supports_tessellation_shaders());
    std::set<std::string> expected(DEFAULT_OPENGLES_EXTENSIONS.begin(),
                                   DEFAULT_OPENGLES_EXTENSIONS.end());
    expected.erase("GL_EXT_geometry_shader");
    EXPECT_EQ(l220.get_extensions(), expected);
    log = catalogue.log();
    EXPECT_EQ(count_calls(log, "compile"), 25u);
    EXPECT_EQ(compile_field(log, "source", 1).rfind("#version 310 es\\n#extension ", 0), 0u);
    expect_all_released(log);
}

TEST(Compiler, ProbesWithoutEsForVersion100) {
    BackendDir dir;
    std::string path = dir.add("graphics", NXX,
                               lines({"meta flexible_version | 3.0.0",
                                      "meta compiler_type | openglessl",
                                      "meta openglessl_version | 100",
                                      "meta openglessl_extensions | GL_OES_texture_3D",
                                      "core Koro-L220 | r0p0"}));
    CompilerManager manager(dir.path());
    Compiler& compiler = *manager.get_compilers("Koro-L220", CompilerType::OpenGLES).at(0);
    EXPECT_EQ(compiler.version, 100u);
    EXPECT_TRUE(compiler.has_extension("GL_OES_texture_3D"));
    std::vector<std::string> log = read_scripted_log(path);
    EXPECT_EQ(compile_field(log, "source", 0),
              "#version 100\\n#extension GL_OES_texture_3D : require\\nvoid main() {}");
}

TEST(Compiler, ProbesOpenClExtensionsOnTarselOnly) {
    Catalogue catalogue(lines({"compile", "when source | #error cl_khr_fp64", "error missing",
                               "end"}));
    Compiler& tarsel = catalogue.get("Koro-L220", CompilerType::OpenCL);
    std::set<std::string> expected(DEFAULT_OPENCL_EXTENSIONS.begin(),
                                   DEFAULT_OPENCL_EXTENSIONS.end());
    expected.erase("cl_khr_fp64");
    EXPECT_EQ(tarsel.get_extensions(), expected);
    std::vector<std::string> log = catalogue.log();
    ASSERT_EQ(count_calls(log, "compile"), 19u);
    EXPECT_EQ(compile_field(log, "source", 0),
              "\\n#ifdef cl_khr_3d_image_writes\\nkernel void k() {}\\n#else\\n#error "
              "cl_khr_3d_image_writes\\n#endif\\n");
    EXPECT_EQ(compile_options(log, 0), (Options{"compiler_type=opencl", "shader_type=kernel",
                                                "kernel_name=k", "cl_std=CL1.2"}));

    Compiler& current = catalogue.get("Koro N1", CompilerType::OpenCL);
    current.get_extensions();
    EXPECT_EQ(count_calls(catalogue.log(), "compile"), 19u);
    expect_all_released(catalogue.log());
}
