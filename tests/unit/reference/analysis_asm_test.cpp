// Cost-model figures of SPIR-V assembly, counted by hand from docs/cost-model.md; only multiply-adds are optimised.
#include <gtest/gtest.h>

#include <spirv-tools/libspirv.hpp>

#include <algorithm>
#include <stdexcept>

#include "analysis/register_pressure.h"
#include "analysis/shader_facts.h"
#include "model_shaders.h"
#include "spirv_optimiser.h"
#include "spirv_validation.h"

using namespace reference;

namespace {

// Shared by every module: only what the model reads is decorated, and nothing costs until main uses it. Fragment
// inputs a, b, c, i, bs[4] and outputs o, os[4]; a uniform block u {int n; vec4 k;}, a storage buffer, a tile.
const std::string DECLARATIONS = R"(OpDecorate %id BuiltIn LocalInvocationIndex  %void = OpTypeVoid
%fn = OpTypeFunction %void  %bool = OpTypeBool  %f32 = OpTypeFloat 32  %int = OpTypeInt 32 1  %uint = OpTypeInt 32 0
%v2 = OpTypeVector %f32 2  %v3 = OpTypeVector %f32 3  %v4 = OpTypeVector %f32 4  %int_0 = OpConstant %int 0
%int_1 = OpConstant %int 1  %int_2 = OpConstant %int 2  %int_3 = OpConstant %int 3  %uint_0 = OpConstant %uint 0
%uint_2 = OpConstant %uint 2  %uint_4 = OpConstant %uint 4  %uint_63 = OpConstant %uint 63
%uint_64 = OpConstant %uint 64  %half = OpConstant %f32 0.5  %two = OpConstant %f32 2  %zero = OpConstantNull %v4
%quad = OpTypeArray %v4 %uint_4  %in_quad = OpTypePointer Input %quad  %out_quad = OpTypePointer Output %quad
%in_f32 = OpTypePointer Input %f32  %in_v3 = OpTypePointer Input %v3  %in_v4 = OpTypePointer Input %v4
%in_int = OpTypePointer Input %int  %in_uint = OpTypePointer Input %uint  %out_v4 = OpTypePointer Output %v4
%a = OpVariable %in_v4 Input  %b = OpVariable %in_v4 Input  %c = OpVariable %in_v3 Input  %i = OpVariable %in_int Input
%bs = OpVariable %in_quad Input  %o = OpVariable %out_v4 Output  %os = OpVariable %out_quad Output
%id = OpVariable %in_uint Input  %U = OpTypeStruct %int %v4  %u_U = OpTypePointer Uniform %U
%u = OpVariable %u_U Uniform  %u_int = OpTypePointer Uniform %int  %u_v4 = OpTypePointer Uniform %v4
%pair = OpTypeArray %v4 %uint_2  %fn_pair = OpTypePointer Function %pair  %fn_v4 = OpTypePointer Function %v4
%tile_t = OpTypeArray %v4 %uint_64  %wg_tile = OpTypePointer Workgroup %tile_t  %tile = OpVariable %wg_tile Workgroup
%wg_v4 = OpTypePointer Workgroup %v4  %data = OpTypeRuntimeArray %v4  %B = OpTypeStruct %data
%sb_B = OpTypePointer StorageBuffer %B  %buffer = OpVariable %sb_B StorageBuffer
%sb_v4 = OpTypePointer StorageBuffer %v4)";
const char* const FRAGMENT = "Fragment %main \"main\" %a %b %c %i %bs %o %os  OpExecutionMode %main OriginUpperLeft";

// body: main after its first label, %entry; entry: OpEntryPoint's operands and modes; image: Dim and Depth of %s.
std::vector<uint32_t> assemble(const std::string& body, std::string entry = FRAGMENT, const char* image = "2D 0") {
    const std::string text =
        "OpCapability Shader  %glsl = OpExtInstImport \"GLSL.std.450\"  OpMemoryModel Logical GLSL450\nOpEntryPoint " +
        entry + "\n" + DECLARATIONS + "\n%image = OpTypeImage %f32 " + image + " 0 0 1 Unknown\n" +
        "%sampled = OpTypeSampledImage %image  %uc_sampled = OpTypePointer UniformConstant %sampled\n" +
        "%s = OpVariable %uc_sampled UniformConstant  %main = OpFunction %void None %fn  %entry = OpLabel\n" + body +
        "\nOpFunctionEnd\n";
    spvtools::SpirvTools tools(SPV_ENV_UNIVERSAL_1_3);
    std::vector<uint32_t> words;
    EXPECT_TRUE(tools.Assemble(text, &words) && tools.Validate(words)) << text;
    return words;
}

// count independent os[#] = a * bs[#] + a; the optimiser fuses each into an fma.
std::vector<uint32_t> multiply_adds(int count) {
    std::string body = "%x = OpLoad %v4 %a\n";
    for (char n = '0'; n < '0' + count; ++n) {
        std::string line = R"(%b# = OpAccessChain %in_v4 %bs %int_#  %y# = OpLoad %v4 %b#  %m# = OpFMul %v4 %x %y#
%s# = OpFAdd %v4 %m# %x  %o# = OpAccessChain %out_v4 %os %int_#  OpStore %o# %s#)";
        std::replace(line.begin(), line.end(), '#', n);
        body += line + "\n";
    }
    return optimise_module(assemble(body + "OpReturn"), vulkan_environment(130));
}

// for (int n = 0; n < u.n; ++n) acc = fma(a, u.k, acc); o = acc;
const std::string LOOP = R"(OpBranch %head
%head = OpLabel  %acc = OpPhi %v4 %zero %entry %next %body  %n = OpPhi %int %int_0 %entry %n1 %body
%limit_at = OpAccessChain %u_int %u %int_0  %limit = OpLoad %int %limit_at  %more = OpSLessThan %bool %n %limit
OpLoopMerge %exit %body None  OpBranchConditional %more %body %exit
%body = OpLabel  %x = OpLoad %v4 %a  %k_at = OpAccessChain %u_v4 %u %int_1  %k = OpLoad %v4 %k_at
%next = OpExtInst %v4 %glsl Fma %x %k %acc  %n1 = OpIAdd %int %n %int_1  OpBranch %head
%exit = OpLabel  OpStore %o %acc  OpReturn)";

// if (a.x > 0.5): a.x is fetched before the branch, each side fetches the other seven components it reads.
const std::string IF_A_X = R"(%x_at = OpAccessChain %in_f32 %a %uint_0  %x = OpLoad %f32 %x_at
%big = OpFOrdGreaterThan %bool %x %half  OpSelectionMerge %join None  OpBranchConditional %big %then %else  )";
// ... o = a * b; else o = sin(a) * cos(b);
const std::string SIDES = IF_A_X + R"(%then = OpLabel  %p = OpLoad %v4 %a  %q = OpLoad %v4 %b  %pq = OpFMul %v4 %p %q
OpStore %o %pq  OpBranch %join  %else = OpLabel  %r = OpLoad %v4 %a  %t = OpLoad %v4 %b
%sin = OpExtInst %v4 %glsl Sin %r  %cos = OpExtInst %v4 %glsl Cos %t  %waves = OpFMul %v4 %sin %cos  OpStore %o %waves
OpBranch %join  %join = OpLabel  OpReturn)";

struct Facts : PathFigures {  // what the model finds in the whole program, before per-core reporting
    double registers;
    std::vector<std::string> flags;
    uint64_t stack, workgroup;
};

Facts measure(const std::vector<uint32_t>& words, Architecture arch = Architecture::Pelion) {
    std::string error;
    const Module module = parse_module(words, error);
    const EntryPointDecl* entry = find_entry_point(module, "main", std::nullopt);
    if (!error.empty() || entry == nullptr) throw std::runtime_error("unreadable module: " + error);
    const Program program(module, architecture_profile(arch), stage_of_execution_model(entry->execution_model), *entry);
    const InstructionMask all(module, true);
    return {path_figures(program, all), peak_registers(program, all), shader_flags(program), stack_bytes(program),
            workgroup_bytes(program)};
}

}  // namespace

// Exact figures for 1, 2 and 4 on every core, the Koro-L ones Tarsel: adding work never lowers them.
TEST(AssembledCost, MultiplyAddsCostOneFmaPerComponentOnEveryCore) {
    for (int count : {1, 2, 4}) {
        const std::vector<uint32_t> module = multiply_adds(count);
        const PipeCycles expected{double(count), 0, 0, 0, 4.0 + 4 * count, 0};
        for (const CoreRow& row : core_table()) {
            SCOPED_TRACE(row.name + " with " + std::to_string(count));
            const CoreModel* core = find_core_model(row.name);
            ASSERT_NE(core, nullptr);
            EXPECT_EQ(core->architecture == Architecture::Tarsel, row.name.rfind("Koro-L", 0) == 0);
            const Facts f = measure(module, core->architecture);
            for (const PipeCycles& path : {f.total, f.shortest, f.longest}) EXPECT_EQ(path, expected);
        }
    }
}

// What the program reads: each generation's pipe keys, Tarsel's paths divided
// by its three arithmetic pipes, and -1 for every pipe of an unbounded path.
TEST(AssembledCost, EachGenerationReportsItsOwnKeys) {
    auto reported = [](const std::vector<uint32_t>& module, const char* core, std::vector<std::string> keys) {
        const AnalysisResult result = analyse_module(model_test::request(module, "", model_test::Options{core}));
        std::string values;
        for (const std::string& key : keys) values += " " + model_test::value(result.variants.at(0), key);
        return values;
    };
    EXPECT_EQ(reported(assemble(SIDES), "Koro-N68", {"pipe_names", "cycles"}), " A1/A2/A3/LS/V/T 4.25/0/2/0/15/0");
    EXPECT_EQ(reported(multiply_adds(4), "Koro-N11", {"pipe_names", "cycles"}), " A/LS/V/T 4/0/20/0");
    EXPECT_EQ(reported(multiply_adds(4), "Koro-L380", {"pipe_names", "arithmetic_cycles", "arithmetic_shortest_path"}),
              " <missing> 4 1.33333333");
    EXPECT_EQ(reported(multiply_adds(4), "Koro-L380", {"texture_cycles"}), " 0");
    EXPECT_EQ(reported(assemble(LOOP), "Koro-N1-Ultra", {"longest"}), " -1/-1/-1/-1/-1/-1");
}

// o = a sample of s at c in several forms; c is three components of V.
TEST(AssembledCost, TextureSamplesCostMoreForVolumesCubesAndGradients) {
    auto sample = [](const char* image, double fma, double texture, const std::string& code) {
        const std::string body = R"(%h = OpLoad %sampled %s  %c3 = OpLoad %v3 %c  %z = OpCompositeExtract %f32 %c3 2
%st = OpVectorShuffle %v2 %c3 %c3 0 1  %ts = OpVectorShuffle %v2 %c3 %c3 1 0
)" + code + "\nOpStore %o %r  OpReturn";
        EXPECT_EQ(measure(assemble(body, FRAGMENT, image)).total, (PipeCycles{fma, 0, 0, 0, 3, texture})) << code;
    };
    sample("2D 0", 0, 1, "%r = OpImageSampleImplicitLod %v4 %h %st");
    sample("2D 1", 0, 1, "%d = OpImageSampleDrefImplicitLod %f32 %h %st %z  %r = OpCompositeConstruct %v4 %d %d %d %d");
    sample("3D 0", 0, 2, "%r = OpImageSampleImplicitLod %v4 %h %c3");
    sample("Cube 0", 0, 2, "%r = OpImageSampleImplicitLod %v4 %h %c3");
    sample("2D 0", 0, 2, "%r = OpImageSampleExplicitLod %v4 %h %st Grad %st %ts");
    sample("2D 0", 1, 2,
           "%p = OpImageSampleImplicitLod %v4 %h %st  %q = OpImageSampleImplicitLod %v4 %h %ts\n"
           "%r = OpFAdd %v4 %p %q");
}

TEST(AssembledCost, LoopsBranchesAndDiscardSeparateTheShortestAndLongestPaths) {
    // Compare (1 lane), fma (4), increment (1): the loop body counts once, and
    // the input read inside is fetched once, before it, on every path.
    const Facts loop = measure(assemble(LOOP));
    EXPECT_EQ(loop.total, (PipeCycles{1.5, 0, 0, 0, 4, 0}));
    EXPECT_EQ(loop.shortest, (PipeCycles{0.25, 0, 0, 0, 4, 0}));
    EXPECT_TRUE(loop.unbounded);
    // sin and cos take 4 SFU and 4 FMA lanes each, the multiplies 4 FMA lanes.
    const Facts sides = measure(assemble(SIDES));
    EXPECT_EQ(sides.total, (PipeCycles{4.25, 0, 2, 0, 15, 0}));
    EXPECT_EQ(sides.shortest, (PipeCycles{1.25, 0, 0, 0, 8, 0}));
    EXPECT_EQ(sides.longest, (PipeCycles{3.25, 0, 2, 0, 8, 0}));
    // discard; o = a * b;
    const Facts discard = measure(assemble(IF_A_X + R"(%then = OpLabel  OpKill  %else = OpLabel  OpBranch %join
%join = OpLabel  %p = OpLoad %v4 %a  %q = OpLoad %v4 %b  %pq = OpFMul %v4 %p %q  OpStore %o %pq  OpReturn)"));
    EXPECT_EQ(discard.shortest, (PipeCycles{0.25, 0, 0, 0, 1, 0}));
    EXPECT_EQ(discard.longest, (PipeCycles{1.25, 0, 0, 0, 8, 0}));
}

// vec4 t[2] = {a, a * 2}; o = t[index]: with a dynamic index 32 bytes on the stack, stored in two 16-byte messages
// and read in one; registers far below the file, so nothing spills and the stack is all the thread storage.
TEST(AssembledCost, DynamicallyIndexedArrayLivesOnTheStack) {
    auto indexed = [](const std::string& index) {
        return measure(assemble(R"(%t = OpVariable %fn_pair Function  %x = OpLoad %v4 %a
%x2 = OpVectorTimesScalar %v4 %x %two  %both = OpCompositeConstruct %pair %x %x2  OpStore %t %both  %n = OpLoad %int %i
%y = OpAccessChain %fn_v4 %t )" +
                                index + "  %ty = OpLoad %v4 %y  OpStore %o %ty  OpReturn"));
    };
    const Facts dynamic = indexed("%n"), constant = indexed("%int_1");
    EXPECT_EQ(dynamic.total, (PipeCycles{1, 0, 0, 3, 5, 0}));
    EXPECT_EQ(dynamic.stack, 32u);
    EXPECT_EQ(dynamic.registers, 8);
    EXPECT_EQ(constant.stack, 0u);
}

// i = local index; tile[i] = buffer[i] * 2; buffer[i] = tile[63 - i]: a vec4
// multiply, an integer subtract and four 16-byte messages.
TEST(AssembledCost, ComputeBuffersAndSharedMemoryUseTheLoadStoreUnit) {
    const Facts f = measure(assemble(R"(%x = OpLoad %uint %id  %mine = OpAccessChain %sb_v4 %buffer %int_0 %x
%y = OpLoad %v4 %mine  %y2 = OpVectorTimesScalar %v4 %y %two  %slot = OpAccessChain %wg_v4 %tile %x  OpStore %slot %y2
%mirror = OpISub %uint %uint_63 %x  %theirs = OpAccessChain %wg_v4 %tile %mirror  %z = OpLoad %v4 %theirs
OpStore %mine %z  OpReturn)",
                                     "GLCompute %main \"main\" %id  OpExecutionMode %main LocalSize 64 1 1"));
    EXPECT_EQ(f.total, (PipeCycles{1.25, 0, 0, 4, 0, 0}));
    EXPECT_EQ(f.workgroup, 1024u);
    EXPECT_EQ(f.flags, std::vector<std::string>{"HAS_SIDE_EFFECTS"});

    // Shared memory alone is seen by the workgroup only: no side effect.
    const Facts shared = measure(assemble(R"(%x = OpLoad %uint %id  %slot = OpAccessChain %wg_v4 %tile %x
OpStore %slot %zero  OpReturn)",
                                          "GLCompute %main \"main\" %id  OpExecutionMode %main LocalSize 64 1 1"));
    EXPECT_TRUE(shared.flags.empty());
}
