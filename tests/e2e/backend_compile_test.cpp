// Compiles as the back-end receives them and as the program reads back what
// it answers: the options sent for each API and stage, the SPIR-V module after
// the program's edits, the checks made once a compiler is chosen, and the
// normalised statistics. Every record a back-end hands out must come back to
// it exactly once, whatever the run's outcome.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>

#include "e2e/harness.h"
#include "e2e/scripted_install.h"
#include "spirv_builder.h"

namespace {

using nlohmann::json;
using spirv_test::SpirvBuilder;

const std::string LIBRARY = "libKoro-Nxx_r40p0-00rel0.so";

const std::string GRAPHICS =
    "meta flexible_version | 3.0.0\nmeta compiler_type | openglessl\nmeta spirv | true\n"
    "meta openglessl_version | 300 310 320\nmeta variant | per_fragment_shader\n"
    "core Koro-N68 | r0p0\ncore Koro-L380 | r0p0\ncore Koro-L220 | r0p0\n";

const std::string OPENCL =
    "meta flexible_version | 4.1.0\nmeta compiler_type | opencl\ncore Koro-N68 | r0p0\ncore Koro-N22 | r0p0\n"
    "core_cap Koro-N68 | opencl_c_version | 1.2 3.0\ncore_cap Koro-N22 | opencl_c_version | 120,200\n";

// A private shadex with a scripted graphics (library 0) and OpenCL (1) back-end.
class Backends : public ScriptedShadex {
public:
    explicit Backends(const std::string& graphics_answers = "") {
        add("graphics", LIBRARY, GRAPHICS + graphics_answers);
        add("opencl", LIBRARY, OPENCL);
    }
};

// The option fields of the only compile call, joined by spaces.
std::string options_sent(const std::vector<std::string>& compiles) {
    if (compiles.size() != 1) return std::to_string(compiles.size()) + " compile calls";
    const std::string& line = compiles[0];
    size_t start = line.find('\t', line.find("\trevision=") + 1) + 1;
    std::string options = line.substr(start, line.find("\tsource_length=") - start);
    std::replace(options.begin(), options.end(), '\t', ' ');
    return options;
}

constexpr uint32_t SPIRV_1_0 = 0x10000;

// A module whose only content is an entry point (or two, for a second name).
std::string entry_module(uint32_t model, const std::string& name, uint32_t version = SPIRV_1_0) {
    return SpirvBuilder(version).entry_point(model, 1, name).text();
}

// SpecId 3 on a bool constant, SpecId 4 on a 32-bit int.
SpirvBuilder& add_specialization_constants(SpirvBuilder& builder, bool flag, uint32_t int_value) {
    return builder.spec_id(7, 3)
        .spec_id(8, 4)
        .type_bool(2)
        .type_int(3, 32, true)
        .spec_bool(2, 7, flag)
        .spec_constant(3, 8, {int_value});
}

TEST(BackendCompile, OptionsSentForEachApiAndStage) {
    Backends shadex;
    const std::tuple<const char*, uint32_t, std::string> stages[] = {
        {"vert", spv::ExecutionModelVertex, "vertex"},
        {"tesc", spv::ExecutionModelTessellationControl, "tessellation_control"},
        {"tese", spv::ExecutionModelTessellationEvaluation, "tessellation_evaluation"},
        {"geom", spv::ExecutionModelGeometry, "geometry"},
        {"frag", spv::ExecutionModelFragment, "fragment"},
        {"comp", spv::ExecutionModelGLCompute, "compute"},
        {"rgen", spv::ExecutionModelRayGenerationKHR, "ray_generation"},
        {"rint", spv::ExecutionModelIntersectionKHR, "ray_intersection"},
        {"rahit", spv::ExecutionModelAnyHitKHR, "ray_anyhit"},
        {"rchit", spv::ExecutionModelClosestHitKHR, "ray_closest_hit"},
        {"rmiss", spv::ExecutionModelMissKHR, "ray_miss"},
        {"rcall", spv::ExecutionModelCallableKHR, "callable"}};
    for (const auto& [extension, model, stage] : stages) {
        std::string idvs = model == spv::ExecutionModelVertex ? " request-idvs=true" : "";
        shadex.write(std::string("s.") + extension, "void main() {}\n");
        EXPECT_EQ(shadex.run({"-c", "Koro-N68", std::string("s.") + extension}).status, 0);
        EXPECT_EQ(options_sent(shadex.compiles()),
                  "compiler_type=openglessl shader_type=" + stage + " request-pilot=true" + idvs +
                      (model == spv::ExecutionModelFragment ? " variants=per_fragment_shader" : ""));
        // Without a stage suffix the module's entry point names the stage.
        shadex.write("s.spv", entry_module(model, "main"));
        EXPECT_EQ(shadex.run({"-c", "Koro-N68", "s.spv"}).status, 0);
        EXPECT_EQ(options_sent(shadex.compiles()), "compiler_type=openglessl shader_type=" + stage +
                                                       " spirv=true spirv_binary_length=40 spirv_entrypoint_name=main"
                                                       " request-pilot=true" +
                                                       idvs);
    }

    shadex.write("k.cl.spv", entry_module(spv::ExecutionModelKernel, "k"));
    shadex.write("k.cl", "kernel void k() {}\n");
    shadex.write("v.spv", entry_module(spv::ExecutionModelVertex, "main"));
    shadex.write("inc/keep", "");
    const std::tuple<std::vector<std::string>, size_t, std::string> rows[] = {
        {{"-c", "Koro-N68", "-D", "FOO", "-D", "BAR=2", "s.frag"},
         0,
         "compiler_type=openglessl shader_type=fragment define=FOO=1 define=BAR=2 "
         "request-pilot=true variants=per_fragment_shader"},
        // Tarsel gets no pilot. The source's own directory first, then each -I in order.
        {{"-c", "Koro-L380", "s.frag", "-I", "inc", "-I", "/"},
         0,
         "compiler_type=openglessl shader_type=fragment variants=per_fragment_shader "
         "include_path=. include_path=inc include_path=/"},
        {{"-c", "Koro-L380", "s.vert"}, 0, "compiler_type=openglessl shader_type=vertex"},
        // A module of the core's own SPIR-V version passes Tarsel's check.
        {{"-c", "Koro-L380", "v.spv"},
         0,
         "compiler_type=openglessl shader_type=vertex spirv=true spirv_binary_length=40 "
         "spirv_entrypoint_name=main"},
        {{"-c", "Koro-N68", "k.cl", "-n", "k"},
         1,
         "compiler_type=opencl shader_type=kernel kernel_name=k cl_std=CL1.2 request-pilot=true"},
        {{"-c", "Koro-N68", "--opencl", "3.0", "k.cl.spv", "-n", "k"},
         1,
         "compiler_type=opencl shader_type=kernel spirv=true spirv_binary_length=36 "
         "kernel_name=k cl_std=CL3.0 request-pilot=true"},
    };
    for (const auto& [args, library, options] : rows) {
        EXPECT_EQ(shadex.run(args).status, 0) << options;
        EXPECT_EQ(options_sent(shadex.compiles(library)), options);
    }
}

TEST(BackendCompile, ChecksOnceTheCompilerIsChosen) {
    Backends shadex;
    shadex.write("k.cl", "kernel void k() {}\n");
    shadex.write("k.cl.spv", entry_module(spv::ExecutionModelKernel, "k"));
    shadex.write("f.spv", entry_module(spv::ExecutionModelFragment, "main"));
    shadex.write("f13.spv", entry_module(spv::ExecutionModelFragment, "main", 0x10300));
    shadex.write("two.spv", SpirvBuilder(SPIRV_1_0)
                                .entry_point(spv::ExecutionModelFragment, 1, "a")
                                .entry_point(spv::ExecutionModelFragment, 1, "b")
                                .text());
    SpirvBuilder consts(SPIRV_1_0);
    consts.entry_point(spv::ExecutionModelFragment, 1, "main");
    shadex.write("consts.spv", add_specialization_constants(consts, true, 7).text());
    shadex.write("f.frag", "void main() {}\n");
    shadex.write("plain", "");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"k.cl.spv", "-n", "k"}, "OpenCL 1.2 does not support SPIR-V binary input."},
        {{"-c", "Koro-N22", "--opencl", "3.0", "k.cl", "-n", "k"}, "OpenCL 3.0 is not supported by Koro-N22."},
        {{"-c", "Koro-L220", "f.spv"}, "Koro-L220 does not support Vulkan."},
        // Only Tarsel compilers check the module's version.
        {{"-c", "Koro-L380", "f13.spv"}, "SPIR-V 1.3 is not supported by Koro-L380."},
        {{"-v", "two.spv"}, "Specified shader stage does not match SPIR-V binary."},
        {{"-f", "two.spv"}, "Specified shader stage is ambiguous and needs an explicit entrypoint name."},
        {{"-f", "-n", "c", "two.spv"}, "Specified shader entrypoint does not match SPIR-V binary."},
        // Which overrides a module takes is the input layer's rule, unit-tested; here, that a
        // refusal stops the run. The driver itself refuses a location that is not a number.
        {{"consts.spv", "-S", "9=true"}, "No boolean specialization constant at location 9"},
        {{"consts.spv", "-S", "x=1"}, "Specialization constant location x=1 is invalid."},
        {{"f.frag", "-I", "nowhere"}, "Include directory nowhere does not exist."},
        {{"f.frag", "-I", "plain"}, "Include directory plain is not a directory."},
    };
    for (const auto& [args, message] : cases) {
        expect_usage_error(shadex.run(args), message);
        EXPECT_EQ(shadex.compiles(0).size() + shadex.compiles(1).size(), 0u) << message;
    }
    EXPECT_EQ(shadex.run({"-c", "Koro-N68", "f13.spv"}).status, 0);
    EXPECT_EQ(shadex.run({"-f", "-n", "b", "two.spv"}).status, 0);
    EXPECT_TRUE(contains(options_sent(shadex.compiles()), " spirv_entrypoint_name=b "));
}

TEST(BackendCompile, VulkanModuleIsEditedBeforeTheBackEndSeesIt) {
    Backends shadex;
    SpirvBuilder input(SPIRV_1_0), edited(SPIRV_1_0);
    input.extension("SPV_GOOGLE_user_type")
        .entry_point(spv::ExecutionModelFragment, 1, "main")
        .op(spv::OpDecorateString, spirv_test::operands({{5, spv::DecorationUserTypeGOOGLE}, spirv_test::literal("x")}))
        .op(spv::OpMemberDecorateString,
            spirv_test::operands({{6, 0, spv::DecorationUserTypeGOOGLE}, spirv_test::literal("y")}));
    shadex.write("m.spv", add_specialization_constants(input, true, 7).text());
    edited.entry_point(spv::ExecutionModelFragment, 1, "main");
    const std::string expected = add_specialization_constants(edited, false, 0xFFFFFFF4u).text();

    json shader = json_output(shadex.run({"m.spv", "-S", "3=false", "-S", "4=-12", "--format", "json"}))["shaders"][0];
    EXPECT_EQ(shader["warnings"], json::array({"0:1: X0004: SPV_GOOGLE_user_type semantic "
                                               "extension is not supported"}));
    std::vector<std::string> compiles = shadex.compiles();
    ASSERT_EQ(compiles.size(), 1u);
    EXPECT_EQ(compiles[0].substr(compiles[0].find("\tsource=") + 8), scripted_log_escape(expected));
}

TEST(BackendCompile, BackEndFailuresEndTheRunCleanly) {
    Backends shadex(
        "compile\nwhen source | FAIL\nstatus 7\nerror 0:1: broken\nend\n"
        "compile\nwhen source | NULLTEXT\nstat part_float16 | <null>\nend\n");
    for (const auto& [marker, message] :
         {std::pair{"FAIL", "Compile error : 7"},
          {"NULLTEXT", "Compile error : malformed statistics from the back-end (null text)"}}) {
        shadex.write("a.frag", std::string("// ") + marker + "\nvoid main() {}\n");
        expect_run_error(shadex.run({"a.frag"}), message);
        EXPECT_EQ(shadex.compiles().size(), 1u);
    }
}

}  // namespace
