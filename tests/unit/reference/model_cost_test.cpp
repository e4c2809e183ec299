// Cycle figures of small shaders whose cost can be counted by hand. On
// Koro-N68 (Pelion) one reported arithmetic unit is four lane operations.
#include <gtest/gtest.h>

#include <string>

#include "model_shaders.h"

using namespace model_test;

namespace {

const char* const FRAGMENT_HEADER =
    "#version 450\n"
    "layout(location = 0) in vec4 a;\n"
    "layout(location = 1) in vec4 b;\n"
    "layout(location = 0) out vec4 o;\n";

// N independent vec4 multiply-adds, each writing its own output.
std::string multiply_adds(int count) {
    std::string source =
        "#version 450\n"
        "layout(location = 0) in vec4 a;\n"
        "layout(location = 1) in vec4 b[4];\n"
        "layout(location = 0) out vec4 o[4];\n"
        "void main() {\n";
    for (int k = 0; k < count; ++k) {
        source += "    o[" + std::to_string(k) + "] = a * b[" + std::to_string(k) + "] + a;\n";
    }
    return source + "}\n";
}

Statistics main_variant(const std::string& source, const std::string& stage, const Options& options = {}) {
    const reference::AnalysisResult result = analyse(source, stage, options);
    EXPECT_TRUE(result.errors.empty()) << (result.errors.empty() ? "" : result.errors.front());
    const Statistics* variant = find_variant(result, "0");
    return variant != nullptr ? *variant : Statistics{};
}

}  // namespace

TEST(CostModel, IndependentMultiplyAddsCostOneFmaPerComponentOnEveryArchitecture) {
    const struct {
        int count;
        const char* pelion_cycles;    // FMA/CVT/SFU/LS/V/T
        const char* ostrem_cycles;    // A/LS/V/T: one vec4 operation each
        const char* tarsel_shortest;  // divided by the three arithmetic pipes of Koro-L380
    } cases[] = {
        {1, "1/0/0/0/8/0", "1/0/8/0", "0.333333333"},
        {2, "2/0/0/0/12/0", "2/0/12/0", "0.666666667"},
        {4, "4/0/0/0/20/0", "4/0/20/0", "1.33333333"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.count);
        const std::string source = multiply_adds(c.count);
        const Statistics pelion = main_variant(source, "fragment");
        EXPECT_EQ(value(pelion, "pipe_names"), "A1/A2/A3/LS/V/T");
        EXPECT_EQ(value(pelion, "cycles"), c.pelion_cycles);
        EXPECT_EQ(value(pelion, "shortest"), c.pelion_cycles);
        EXPECT_EQ(value(pelion, "longest"), c.pelion_cycles);
        EXPECT_EQ(value(main_variant(source, "fragment", {"Koro-N1-Ultra"}), "cycles"), c.pelion_cycles);

        const Statistics ostrem = main_variant(source, "fragment", {"Koro-N11"});
        EXPECT_EQ(value(ostrem, "pipe_names"), "A/LS/V/T");
        EXPECT_EQ(value(ostrem, "cycles"), c.ostrem_cycles);

        const Statistics tarsel = main_variant(source, "fragment", {"Koro-L380"});
        EXPECT_EQ(value(tarsel, "arithmetic_cycles"), std::to_string(c.count));
        EXPECT_EQ(value(tarsel, "arithmetic_shortest_path"), c.tarsel_shortest);
        EXPECT_EQ(value(tarsel, "texture_cycles"), "0");
        EXPECT_EQ(value(tarsel, "pipe_names"), "<missing>");
    }
}

TEST(CostModel, TextureSamplesCostMoreForVolumesCubesAndGradients) {
    const struct {
        const char* sampler;
        const char* call;
        const char* cycles;
    } cases[] = {
        {"sampler2D", "texture(s, uv.xy)", "0/0/0/0/3/1"},
        {"sampler2DShadow", "vec4(texture(s, uv))", "0/0/0/0/3/1"},
        {"sampler3D", "texture(s, uv)", "0/0/0/0/3/2"},
        {"samplerCube", "texture(s, uv)", "0/0/0/0/3/2"},
        {"sampler2D", "textureGrad(s, uv.xy, uv.xy, uv.yx)", "0/0/0/0/3/2"},
        {"sampler2D", "texture(s, uv.xy) + texture(s, uv.yx)", "1/0/0/0/3/2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.call);
        const std::string source = std::string("#version 450\n") + "layout(set = 0, binding = 0) uniform " + c.sampler +
                                   " s;\n" +
                                   "layout(location = 0) in vec3 uv;\n"
                                   "layout(location = 0) out vec4 o;\n"
                                   "void main() { o = " +
                                   c.call + "; }\n";
        EXPECT_EQ(value(main_variant(source, "fragment"), "cycles"), c.cycles);
    }
}

TEST(CostModel, LoopMakesTheLongestPathUnboundedAndTheShortestSkipsIt) {
    const Statistics loop = main_variant(
        "#version 450\n"
        "layout(set = 0, binding = 0) uniform U { int n; vec4 k; } u;\n"
        "layout(location = 0) in vec4 a;\n"
        "layout(location = 0) out vec4 o;\n"
        "void main() { vec4 acc = vec4(0); for (int i = 0; i < u.n; ++i) acc += a * u.k; o = acc; }\n",
        "fragment");
    // Compare (1 lane), multiply-add (4), increment (1): the body counts once.
    // The input read inside is fetched once, before the loop, on every path.
    EXPECT_EQ(value(loop, "cycles"), "1.5/0/0/0/4/0");
    EXPECT_EQ(value(loop, "shortest"), "0.25/0/0/0/4/0");
    EXPECT_EQ(value(loop, "longest"), "-1/-1/-1/-1/-1/-1");
}

TEST(CostModel, BranchWithUnequalSidesSeparatesShortestAndLongestPaths) {
    const Statistics branch = main_variant(
        std::string(FRAGMENT_HEADER) + "void main() { if (a.x > 0.5) o = a * b; else o = sin(a) * cos(b); }\n",
        "fragment");
    // Compare 1 lane; then side one: 4 FMA lanes; side two: sin and cos take
    // 4 SFU and 4 FMA lanes each, the multiply 4 FMA lanes. a.x is fetched
    // before the branch; each side fetches the other seven components.
    EXPECT_EQ(value(branch, "cycles"), "4.25/0/2/0/15/0");
    EXPECT_EQ(value(branch, "shortest"), "1.25/0/0/0/8/0");
    EXPECT_EQ(value(branch, "longest"), "3.25/0/2/0/8/0");
}

TEST(CostModel, DiscardModifiesCoverageAndEndsTheShortestPath) {
    const Statistics discard =
        main_variant(std::string(FRAGMENT_HEADER) + "void main() { if (a.x > 0.5) discard; o = a * b; }\n", "fragment");
    EXPECT_EQ(values(discard, "shader_flag"), std::vector<std::string>{"MODIFIES_COVERAGE"});
    EXPECT_EQ(value(discard, "shortest"), "0.25/0/0/0/1/0");
    EXPECT_EQ(value(discard, "longest"), "1.25/0/0/0/8/0");
}

TEST(CostModel, DynamicallyIndexedArrayLivesOnTheStack) {
    const Statistics stack = main_variant(
        "#version 450\n"
        "layout(location = 0) in vec4 a;\n"
        "layout(location = 1) flat in int i;\n"
        "layout(location = 0) out vec4 o;\n"
        "void main() {\n"
        "    float t[8] = float[8](a.x, a.y, a.z, a.w, a.x * 2.0, a.y * 2.0, a.z * 2.0, a.w * 2.0);\n"
        "    o = vec4(t[i]);\n"
        "}\n",
        "fragment");
    EXPECT_EQ(value(stack, "alloca_size"), "32");
    EXPECT_EQ(value(stack, "tls_size"), "32");
    EXPECT_EQ(value(stack, "spilling_used"), "false");
    // The 32-byte array is stored in two 16-byte messages and read in one.
    EXPECT_EQ(value(stack, "cycles"), "1/0/0/3/5/0");

    const Statistics constant_index = main_variant(
        std::string(FRAGMENT_HEADER) + "void main() { float t[2] = float[2](a.x, b.x); o = vec4(t[1]); }\n",
        "fragment");
    EXPECT_EQ(value(constant_index, "alloca_size"), "0");
}

TEST(CostModel, ComputeBuffersAndSharedMemoryUseTheLoadStoreUnit) {
    const Statistics compute = main_variant(
        "#version 450\n"
        "layout(local_size_x = 64) in;\n"
        "layout(set = 0, binding = 0) buffer B { vec4 data[]; } b;\n"
        "shared vec4 tile[64];\n"
        "void main() {\n"
        "    uint i = gl_LocalInvocationID.x;\n"
        "    tile[i] = b.data[i] * 2.0;\n"
        "    barrier();\n"
        "    b.data[i] = tile[63 - i];\n"
        "}\n",
        "compute");
    EXPECT_EQ(value(compute, "cycles"), "1.25/0/0/4/0/0");
    EXPECT_EQ(value(compute, "wls_size"), "1024");
    EXPECT_EQ(values(compute, "shader_flag"), std::vector<std::string>{"HAS_SIDE_EFFECTS"});
}

TEST(CostModel, AddingWorkNeverLowersTheTotalOnAnyCore) {
    const char* const cores[] = {
        "Koro-L220", "Koro-L260",     "Koro-L320",     "Koro-L330", "Koro-L360", "Koro-L380",     "Koro-N11",
        "Koro-N21",  "Koro-N22",      "Koro-N31",      "Koro-N32",  "Koro-N36",  "Koro-N47",      "Koro-N58",
        "Koro-N67",  "Koro-N68",      "Koro-N68SX",    "Koro-N403", "Koro-N503", "Koro-N603",     "Koro-N703",
        "Koro-N605", "Koro-N705",     "Solvaris-N705", "Koro-N607", "Koro-N707", "Solvaris-N707", "Koro-N609",
        "Koro-N709", "Solvaris-N909", "Koro-N1-Ultra"};
    const reference::AnalysisRequest base = [] {
        reference::AnalysisRequest request;
        request.entry_point = "main";
        request.stage = reference::Stage::Fragment;
        return request;
    }();
    const std::vector<uint32_t> one = compile(multiply_adds(1), "fragment");
    const std::vector<uint32_t> three = compile(multiply_adds(3), "fragment");
    for (const char* core : cores) {
        SCOPED_TRACE(core);
        reference::AnalysisRequest request = base;
        request.core = core;
        request.module = one;
        const auto smaller = reference::analyse_module(request);
        request.module = three;
        const auto larger = reference::analyse_module(request);
        ASSERT_EQ(smaller.variants.size(), 1u);
        ASSERT_EQ(larger.variants.size(), 1u);
        const std::string key = std::string(core).rfind("Koro-L", 0) == 0 ? "arithmetic_cycles" : "cycles";
        const double before = std::stod(value(smaller.variants[0], key));
        const double after = std::stod(value(larger.variants[0], key));
        EXPECT_GT(after, before);
    }
}
