// SPIR-V input: validation, the optimisation before analysis, and the limits
// of each core checked on what a module declares.
#include <gtest/gtest.h>

#include <glslang/SPIRV/spirv.hpp>
#include <spirv-tools/libspirv.hpp>
#include <spirv-tools/optimizer.hpp>

#include <cstring>

#include "analysis/loop_trips.h"
#include "analysis/spirv_defs.h"
#include "compile_pipeline.h"
#include "core_features.h"
#include "feature_checks.h"
#include "glsl_es_front_end.h"
#include "loop_trip_counts.h"
#include "spirv_module_info.h"
#include "spirv_optimiser.h"
#include "spirv_validation.h"

using namespace reference;

namespace {

std::vector<uint32_t> assemble(const std::string& text, spv_target_env environment = SPV_ENV_VULKAN_1_0) {
    std::vector<uint32_t> module;
    spvtools::SpirvTools tools(environment);
    EXPECT_TRUE(tools.Assemble(text, &module, SPV_TEXT_TO_BINARY_OPTION_PRESERVE_NUMERIC_IDS)) << text;
    return module;
}

// A Vulkan fragment shader writing a constant colour.
std::string fragment_assembly(const std::string& capabilities = "") {
    return "OpCapability Shader\n" + capabilities +
           R"(OpMemoryModel Logical GLSL450  OpEntryPoint Fragment %main "main" %color
OpExecutionMode %main OriginUpperLeft  OpDecorate %color Location 0  %void = OpTypeVoid  %fn = OpTypeFunction %void
%float = OpTypeFloat 32  %v4 = OpTypeVector %float 4  %out = OpTypePointer Output %v4
%color = OpVariable %out Output  %one = OpConstant %float 1  %white = OpConstantComposite %v4 %one %one %one %one
%main = OpFunction %void None %fn  %entry = OpLabel  OpStore %color %white  OpReturn  OpFunctionEnd
)";
}

std::vector<char> as_bytes(const std::vector<uint32_t>& module) {
    std::vector<char> bytes(module.size() * 4);
    std::memcpy(bytes.data(), module.data(), bytes.size());
    return bytes;
}

CompileOptions vulkan_options(const std::vector<uint32_t>& module, Stage stage) {
    CompileOptions options;
    options.compiler_type = "openglessl";
    options.stage = stage;
    options.spirv = true;
    options.spirv_length = module.size() * 4;
    return options;
}

const CoreInfo& core_named(const std::string& name) { return *find_core(name, "r0p0"); }

// An OpenGL ES fragment shader with a uniform float u and an output c, through the back-end's optimiser or,
// to keep its loops, only the standard performance passes.
std::vector<uint32_t> optimised_es_fragment(const std::string& body, bool as_compiles_do = true) {
    FrontEndResult front = compile_glsl_es_source(
        "#version 310 es\nprecision highp float;\nuniform float u;\nout vec4 c;\nvoid main() {\n" + body + "\n}\n",
        Stage::Fragment, {});
    EXPECT_TRUE(front.errors.empty()) << front.errors.front();
    if (as_compiles_do) return optimise_module(front.module, opengles_environment());
    spvtools::Optimizer optimizer(opengles_environment());
    optimizer.RegisterPerformancePasses();
    std::vector<uint32_t> ssa;
    EXPECT_TRUE(optimizer.Run(front.module.data(), front.module.size(), &ssa));
    return ssa;
}

}  // namespace

TEST(SpirvValidation, ExplainsAnInvalidModuleOnOneLine) {
    EXPECT_TRUE(validate_module(assemble(fragment_assembly()), SPV_ENV_VULKAN_1_0).errors.empty());

    // An entry point that writes an undeclared variable.
    std::string broken = fragment_assembly();
    broken.replace(broken.find("OpStore %color"), 14, "OpStore %nowhere");
    std::vector<uint32_t> module = assemble(broken);
    Validation validation = validate_module(module, SPV_ENV_VULKAN_1_0);
    ASSERT_FALSE(validation.errors.empty());
    EXPECT_FALSE(validation.newer_than_validator);
    EXPECT_EQ(validation.errors[0].rfind("Invalid SPIR-V module: ", 0), 0u);
    EXPECT_EQ(validation.errors[0].find('\n'), std::string::npos);

    // A capability number this validator has no name for.
    std::vector<uint32_t> newer = assemble(fragment_assembly());
    newer.insert(newer.begin() + 5, {(2u << 16) | spv::OpCapability, 6022u});
    validation = validate_module(newer, SPV_ENV_VULKAN_1_0);
    EXPECT_TRUE(validation.newer_than_validator);

    // A number the environment's grammar stops short of: the newest grammar says which version it needs.
    std::vector<uint32_t> later = assemble(fragment_assembly());
    later.insert(later.begin() + 5, {(2u << 16) | spv::OpCapability, spv::CapabilityGroupNonUniform});
    validation = validate_module(later, SPV_ENV_VULKAN_1_0);
    EXPECT_FALSE(validation.newer_than_validator);
    ASSERT_EQ(validation.errors.size(), 1u);
    EXPECT_NE(validation.errors[0].find("requires SPIR-V version 1.3"), std::string::npos) << validation.errors[0];
}

TEST(SpirvValidation, KnowsRulesSpirvHasRelaxedSinceThisValidator) {
    // A 16-bit derivative: valid SPIR-V today, refused by this validator.
    const std::string half_derivative = R"(OpCapability Shader  OpCapability Float16  OpMemoryModel Logical GLSL450
OpEntryPoint Fragment %main "main" %color  OpExecutionMode %main OriginUpperLeft  OpDecorate %color Location 0
%void = OpTypeVoid  %fn = OpTypeFunction %void  %half = OpTypeFloat 16  %out = OpTypePointer Output %half
%color = OpVariable %out Output  %one = OpConstant %half 1  %main = OpFunction %void None %fn  %entry = OpLabel
%d = OpDPdx %half %one  OpStore %color %d  OpReturn  OpFunctionEnd)";
    const Validation validation = validate_module(assemble(half_derivative), universal_environment(100));
    ASSERT_FALSE(validation.errors.empty());
    EXPECT_TRUE(validation.rule_relaxed_since_validator);
    EXPECT_FALSE(validation.newer_than_validator);

    // Vulkan modules answer to SPIR-V's rules, not to one Vulkan release's
    // capability list.
    const std::vector<uint32_t> rect = assemble(fragment_assembly("OpCapability SampledRect\n"));
    EXPECT_FALSE(validate_module(rect, SPV_ENV_VULKAN_1_0).errors.empty());
    EXPECT_TRUE(validate_module(rect, universal_environment(100)).errors.empty());
}

// Control-flow nesting is HostileInput's: its 1000-level message gives the depth.
TEST(SpirvModuleInfo, TellsProbesApart) {
    const std::string empty_main = R"(OpCapability Shader  OpMemoryModel Logical GLSL450
OpEntryPoint Fragment %main "main"  OpExecutionMode %main OriginUpperLeft  %void = OpTypeVoid
%fn = OpTypeFunction %void  %main = OpFunction %void None %fn  %entry = OpLabel  OpReturn  OpFunctionEnd)";
    EXPECT_TRUE(has_only_empty_functions(assemble(empty_main)));
    EXPECT_FALSE(has_only_empty_functions(assemble(fragment_assembly())));
    EXPECT_FALSE(has_only_empty_functions(assemble("OpCapability Shader\nOpMemoryModel Logical GLSL450\n")));
}

TEST(LoopTripCounts, CountPlainCountersAndNothingElse) {
    auto trips = [](const std::string& loop) {
        std::vector<LoopShape> loops = loop_shapes(
            optimised_es_fragment("float sum = 0.0;\n" + loop + " sum += sin(u * float(i));\nc = vec4(sum);", false),
            100);
        EXPECT_EQ(loops.size(), 1u) << loop;
        if (loops.empty()) return std::optional<uint32_t>(999);
        EXPECT_GT(loops[0].body_words, 10u);
        return loops[0].trips;
    };
    EXPECT_EQ(trips("for (int i = 0; i <= 4; i += 2)"), 3u);
    EXPECT_EQ(trips("for (int i = 10; i > 0; i -= 3)"), 4u);
    EXPECT_EQ(trips("for (uint i = 0u; i != 7u; ++i)"), 7u);
    EXPECT_EQ(trips("for (int i = 0; i < 100000; ++i)"), 101u);  // stops counting past the limit
}

// Long loops are counted in one step once the first turns are stepped through;
// a counter that would wrap round, or never reach its bound, is not counted.
TEST(LoopTripCounts, LongAndWrappingCounters) {
    using namespace reference::spirv;
    const struct {
        uint16_t comparison;
        bool counter_on_left, stay_when_true;
        int64_t start, step, bound;
        std::optional<uint64_t> trips;
    } cases[] = {
        {OpSLessThan, true, true, 0, 1, 100000, 100000},
        {OpSLessThanEqual, true, true, 0, 3, 1000, 334},
        {OpSGreaterThan, true, true, 1000, -7, 0, 143},
        {OpSLessThan, false, true, 1000, -1, 0, 1000},            // 0 < i, counting down
        {OpSGreaterThanEqual, true, false, 0, 2, 999, 500},       // leaves once i >= 999
        {OpULessThan, true, true, 0, 1, 0xFFFFFFF0, 0xFFFFFFF0},  // unsigned bounds above INT32_MAX
        {OpINotEqual, true, true, 0, 4, 4000, 1000},
        {OpINotEqual, true, true, 0, 3, 4000, std::nullopt},                // steps over its bound
        {OpSLessThan, true, true, 0, -1, 10, std::nullopt},                 // walks away from its bound
        {OpSLessThanEqual, true, true, 0, 1, INT32_MAX, std::nullopt},      // i <= INT_MAX always holds
        {OpSLessThan, true, true, 0, 0x40000000, INT32_MAX, std::nullopt},  // wraps round, never ends
        {OpSLessThan, true, true, 10, 1, 5, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.start) + " step " + std::to_string(c.step) + " bound " + std::to_string(c.bound));
        EXPECT_EQ(
            reference::counted_iterations(c.comparison, c.counter_on_left, c.stay_when_true, c.start, c.step, c.bound),
            c.trips);
    }
}

TEST(SpirvOptimiser, UnrollsOnlySmallConstantLoops) {
    auto loops_left = [](const std::string& bound) {
        return count_loops(optimised_es_fragment("float sum = 0.0;\nfor (int i = 0; i < " + bound +
                                                 "; ++i) sum += sin(float(i) * u);\nc = vec4(sum);"));
    };
    EXPECT_EQ(loops_left("4"), 0u);
    EXPECT_EQ(loops_left("1000"), 1u);       // constant but far too long
    EXPECT_EQ(loops_left("100000000"), 1u);  // and never tried: that would take minutes
    EXPECT_EQ(loops_left("int(u)"), 1u);     // trip count unknown
}

TEST(SpirvOptimiser, InlinesFoldsAndRemovesDeadCode) {
    std::vector<uint32_t> plain = optimised_es_fragment("c = vec4(u * 2.0);");
    std::vector<uint32_t> noisy = optimised_es_fragment(
        "float unused = sin(u);\nfloat two = 1.0 + 1.0;\nif (two > 3.0) { c = vec4(cos(u)); return; }\nc = vec4(u * "
        "two);");
    EXPECT_EQ(noisy.size(), plain.size());
    EXPECT_TRUE(validate_module(noisy, opengles_environment()).errors.empty());
}

TEST(FeatureChecks, RefuseStagesAndVersionsACoreDoesNotHave) {
    const CoreInfo& tarsel = core_named("Koro-L220");
    const CoreInfo& pelion = core_named("Koro-N68");
    const CoreInfo& fifth = core_named("Koro-N1-Ultra");
    auto refusal = [](Api api, Stage stage, const CoreInfo& core, int opencl = 0) {
        return unsupported_request(api, stage, opencl, core, core_features(core));
    };
    EXPECT_EQ(refusal(Api::OpenGLES, Stage::Geometry, tarsel), "Koro-L220 does not support geometry shaders");
    EXPECT_EQ(refusal(Api::OpenGLES, Stage::TessellationControl, tarsel),
              "Koro-L220 does not support tessellation shaders");
    EXPECT_EQ(refusal(Api::OpenGLES, Stage::Geometry, pelion), "");
    EXPECT_EQ(refusal(Api::Vulkan, Stage::Fragment, tarsel), "Koro-L220 does not support Vulkan");
    EXPECT_EQ(refusal(Api::Vulkan, Stage::RayGeneration, pelion),
              "Koro-N68 does not support ray tracing (ray generation shaders)");
    EXPECT_EQ(refusal(Api::Vulkan, Stage::RayClosestHit, fifth), "");
    EXPECT_EQ(refusal(Api::OpenGLES, Stage::RayMiss, fifth), "OpenGL ES has no ray miss shaders");
    EXPECT_EQ(refusal(Api::OpenCLSource, Stage::Kernel, tarsel, 200),
              "OpenCL C 2.0 is not supported by Koro-L220 (supported: 1.1, 1.2, 3.0)");
    EXPECT_EQ(refusal(Api::OpenCLSource, Stage::Kernel, tarsel, 300), "");
    EXPECT_EQ(refusal(Api::OpenCLSource, Stage::Kernel, tarsel, 310),
              "OpenCL C 3.1 is not supported by Koro-L220 (highest: 3.0)");
    EXPECT_EQ(refusal(Api::OpenCLSource, Stage::Vertex, pelion), "OpenCL compiles kernels, not vertex shaders");
    EXPECT_EQ(refusal(Api::OpenGLES, Stage::Kernel, pelion), "Kernels are compiled for OpenCL, not OpenGL ES");

    std::vector<uint32_t> spirv15 = assemble(fragment_assembly(), SPV_ENV_UNIVERSAL_1_5);
    const CoreInfo& ostrem = core_named("Koro-N36");
    EXPECT_EQ(unsupported_module_features(Api::Vulkan, spirv15, ostrem, core_features(ostrem)),
              std::vector<std::string>{"SPIR-V 1.5 is not supported by Koro-N36 (highest: 1.3)"});
    EXPECT_TRUE(unsupported_module_features(Api::Vulkan, spirv15, pelion, core_features(pelion)).empty());
}

TEST(CompilePipeline, TurnsEveryProblemWithTheInputIntoErrorLines) {
    const CoreInfo& pelion = core_named("Koro-N68");
    std::vector<uint32_t> module = assemble(fragment_assembly());
    std::vector<char> bytes = as_bytes(module);

    // A module for another stage than the one asked for.
    CompileResult wrong_stage =
        compile_program("openglessl", pelion, vulkan_options(module, Stage::Vertex), bytes.data());
    EXPECT_EQ(wrong_stage.errors, std::vector<std::string>{"The module has no vertex entry point"});

    CompileOptions named = vulkan_options(module, Stage::Fragment);
    named.entry_point = "other";
    EXPECT_EQ(compile_program("openglessl", pelion, named, bytes.data()).errors,
              std::vector<std::string>{"The module has no fragment entry point named 'other'"});

    CompileOptions truncated = vulkan_options(module, Stage::Fragment);
    truncated.spirv_length = 18;
    EXPECT_EQ(compile_program("openglessl", pelion, truncated, bytes.data()).errors.size(), 1u);

    std::vector<char> garbage(bytes.size(), '\x7f');
    std::memcpy(garbage.data(), bytes.data(), 20);  // a good header, nothing after it that parses
    CompileResult invalid =
        compile_program("openglessl", pelion, vulkan_options(module, Stage::Fragment), garbage.data());
    ASSERT_FALSE(invalid.errors.empty());
    EXPECT_TRUE(invalid.variants.empty());

    // Vulkan modules answer to Vulkan's rules and to their own version's: a
    // block member off its alignment; subgroups in a SPIR-V 1.0 module.
    auto compute = [](const std::string& capability, const std::string& offset) {
        return "OpCapability Shader  " + capability + R"(  OpMemoryModel Logical GLSL450
OpEntryPoint GLCompute %main "main"  OpExecutionMode %main LocalSize 1 1 1  OpDecorate %S Block
OpMemberDecorate %S 0 Offset 0  OpMemberDecorate %S 1 Offset )" +
               offset + R"(  OpDecorate %u DescriptorSet 0
OpDecorate %u Binding 0  %void = OpTypeVoid  %fn = OpTypeFunction %void  %float = OpTypeFloat 32
%S = OpTypeStruct %float %float  %ptr = OpTypePointer Uniform %S  %u = OpVariable %ptr Uniform
%main = OpFunction %void None %fn  %entry = OpLabel  OpReturn  OpFunctionEnd)";
    };
    const std::vector<uint32_t> misaligned = assemble(compute("", "2"));
    std::vector<uint32_t> subgroups = assemble(compute("OpCapability GroupNonUniform", "4"), SPV_ENV_UNIVERSAL_1_3);
    subgroups[1] = 0x10000;
    for (const auto& [shader, error] :
         {std::pair{misaligned, "is not aligned to 4"}, {subgroups, "requires SPIR-V version 1.3 or later"}}) {
        const CompileResult result =
            compile_program("openglessl", pelion, vulkan_options(shader, Stage::Compute), as_bytes(shader).data());
        ASSERT_EQ(result.errors.size(), 1u) << error;
        EXPECT_NE(result.errors[0].find(error), std::string::npos) << result.errors[0];
    }

    CompileOptions opencl = vulkan_options(module, Stage::Fragment);
    opencl.compiler_type = "opencl";
    EXPECT_EQ(compile_program("openglessl", pelion, opencl, bytes.data()).errors,
              std::vector<std::string>{"This compiler compiles for 'openglessl', not for 'opencl'"});
}
