// Pilot shaders, position/varying split, 16-bit arithmetic and shader flags.
#include <gtest/gtest.h>

#include <string>

#include "model_shaders.h"

using namespace model_test;

namespace {

const char* const UNIFORM_ONLY_WORK =
    "#version 450\n"
    "layout(set = 0, binding = 0) uniform U { vec4 k; vec4 m; float x; } u;\n"
    "layout(location = 0) in vec4 a;\n"
    "layout(location = 0) out vec4 o;\n"
    "void main() { o = a * (u.k * u.m + sin(u.x)); }\n";

const char* const VERTEX_SHADER =
    "#version 450\n"
    "layout(set = 0, binding = 0) uniform U { mat4 mvp; } u;\n"
    "layout(location = 0) in vec4 a_position;\n"
    "layout(location = 1) in vec2 a_uv;\n"
    "layout(location = 2) in vec3 a_normal;\n"
    "layout(location = 0) out vec2 v_uv;\n"
    "layout(location = 1) out vec3 v_normal;\n"
    "void main() { gl_Position = u.mvp * a_position; v_uv = a_uv; v_normal = a_normal * 2.0; }\n";

}  // namespace

TEST(VariantModel, UniformOnlyWorkMovesToAPilotWhenAsked) {
    Options pilot;
    pilot.pilot = true;
    const auto split = analyse(UNIFORM_ONLY_WORK, "fragment", pilot);
    ASSERT_EQ(split.variants.size(), 2u);
    const Statistics* main = find_variant(split, "0");
    const Statistics* pilot_variant = find_pilot(split);
    ASSERT_NE(main, nullptr);
    ASSERT_NE(pilot_variant, nullptr);
    // Main: one vec4 multiply. Pilot: the vec4 multiply-add and a sine.
    EXPECT_EQ(figures(*main), (Figures{1, 0, 0, 0, 4, 0}));
    EXPECT_EQ(figures(*pilot_variant), (Figures{1.25, 0, 0.25, 0, 0, 0}));
    EXPECT_EQ(value(*main, "uniform_registers_used"), "4");  // the pilot's vec4 result

    const auto whole = analyse(UNIFORM_ONLY_WORK, "fragment");
    ASSERT_EQ(whole.variants.size(), 1u);
    EXPECT_EQ(figures(whole.variants[0]), (Figures{2.25, 0, 0.25, 0, 4, 0}));
    EXPECT_EQ(value(whole.variants[0], "uniform_registers_used"), "9");  // k, m and x read in place

    Options tarsel = pilot;
    tarsel.core = "Koro-L380";
    EXPECT_EQ(find_pilot(analyse(UNIFORM_ONLY_WORK, "fragment", tarsel)), nullptr);

    // Uniforms read without arithmetic on them give the pilot nothing to do.
    const auto nothing_to_do = analyse(
        "#version 450\n"
        "layout(set = 0, binding = 0) uniform U { vec4 k; } u;\n"
        "layout(location = 0) in vec4 a;\n"
        "layout(location = 0) out vec4 o;\n"
        "void main() { o = a * u.k; }\n",
        "fragment", pilot);
    EXPECT_EQ(find_pilot(nothing_to_do), nullptr);
}

TEST(VariantModel, VertexShaderSplitsIntoPositionAndVaryingVariants) {
    Options idvs;
    idvs.pilot = true;
    idvs.idvs = true;
    const auto split = analyse(VERTEX_SHADER, "vertex", idvs);
    ASSERT_EQ(split.variants.size(), 2u);
    const Statistics* position = find_variant(split, "256");
    const Statistics* varying = find_variant(split, "1");
    ASSERT_NE(position, nullptr);
    ASSERT_NE(varying, nullptr);
    // Vulkan symbols name the variable's id: in_ID_name.
    const std::vector<uint32_t> module = compile(VERTEX_SHADER, "vertex");
    auto symbol = [&module](const std::string& name, int location) {
        return "in_" + std::to_string(variable_id(module, name)) + "_" + name + ":" + std::to_string(location);
    };
    // Position: mat4 * vec4 (16 lanes), one attribute read, one position write.
    EXPECT_EQ(figures(*position), (Figures{4, 0, 0, 2, 0, 0}));
    EXPECT_EQ(value(*position, "uniform_registers_used"), "16");
    EXPECT_EQ(value(*position, "position_attribute_symbols"), symbol("a_position", 0));
    // Varying: vec3 multiply (3 lanes), two attribute reads, two varying writes.
    EXPECT_EQ(figures(*varying), (Figures{0.75, 0, 0, 4, 0, 0}));
    EXPECT_EQ(value(*varying, "varying_attribute_symbols"), symbol("a_uv", 1) + "," + symbol("a_normal", 2));

    reference::AnalysisRequest open_gl;
    open_gl.module = compile(VERTEX_SHADER, "vertex");
    open_gl.entry_point = "main";
    open_gl.stage = reference::Stage::Vertex;
    open_gl.core = "Koro-N68";
    open_gl.request_idvs = true;
    const auto plain_names = reference::analyse_module(open_gl);
    ASSERT_NE(find_variant(plain_names, "256"), nullptr);
    EXPECT_EQ(value(*find_variant(plain_names, "256"), "position_attribute_symbols"), "a_position:0");

    const auto whole = analyse(VERTEX_SHADER, "vertex");
    ASSERT_EQ(whole.variants.size(), 1u);
    EXPECT_EQ(value(whole.variants[0], "variant"), "0");
    EXPECT_EQ(figures(whole.variants[0]), (Figures{4.75, 0, 0, 6, 0, 0}));
    EXPECT_EQ(value(whole.variants[0], "position_attribute_symbols"), "<missing>");
}

TEST(VariantModel, MediumPrecisionArithmeticPacksTwoPerLane) {
    const std::string body =
        "layout(location = 0) out vec4 o;\n"
        "void main() { o = a * a + vec4(b * b, 1.0); }\n";
    const auto half = analyse(
        "#version 450\nlayout(location = 0) in mediump vec4 a;\n"
        "layout(location = 1) in mediump vec3 b;\n" +
            body,
        "fragment");
    const auto full = analyse(
        "#version 450\nlayout(location = 0) in vec4 a;\n"
        "layout(location = 1) in vec3 b;\n" +
            body,
        "fragment");
    ASSERT_EQ(half.variants.size(), 1u);
    ASSERT_EQ(full.variants.size(), 1u);
    // vec4 multiply-add and vec3 multiply: 7 lanes at 32 bits, 2 + 2 at 16
    // bits with one half of the vec3's second lane idle.
    EXPECT_EQ(figures(full.variants[0]), (Figures{1.75, 0, 0, 0, 7, 0}));
    EXPECT_EQ(value(full.variants[0], "part_float16"), "0");
    EXPECT_EQ(figures(half.variants[0]), (Figures{1, 0, 0, 0, 4, 0}));
    EXPECT_EQ(value(half.variants[0], "part_float16"), "1");
    EXPECT_EQ(value(half.variants[0], "part_v2float16_underused"), "0.25");

    Options ostrem;
    ostrem.core = "Koro-N11";
    const auto older = analyse(
        "#version 450\nlayout(location = 0) in mediump vec4 a;\n"
        "layout(location = 1) in mediump vec3 b;\n" +
            body,
        "fragment", ostrem);
    ASSERT_EQ(older.variants.size(), 1u);
    EXPECT_EQ(value(older.variants[0], "part_float16"), "1");
    EXPECT_EQ(value(older.variants[0], "part_v2float16_underused"), "<missing>");
}

TEST(VariantModel, ShaderFlagsFollowWhatTheProgramDoes) {
    const struct {
        const char* stage;
        const char* source;
        std::vector<std::string> flags;
    } cases[] = {
        {"fragment",
         "#version 450\nlayout(early_fragment_tests) in;\nlayout(location = 0) in vec4 a;\n"
         "layout(location = 0) out vec4 o;\nvoid main() { o = a; }\n",
         {"HAS_EARLY_FRAGMENT_TESTS"}},
        {"fragment",
         "#version 450\nlayout(location = 0) in vec4 a;\nlayout(location = 0) out vec4 o;\n"
         "void main() { o = a; gl_FragDepth = a.x; gl_SampleMask[0] = 1; }\n",
         {"DEPTH_BUFFER_WRITTEN", "MODIFIES_COVERAGE"}},
        {"fragment",
         "#version 450\nlayout(input_attachment_index = 0, set = 0, binding = 0) uniform subpassInput c;\n"
         "layout(location = 0) out vec4 o;\nvoid main() { o = subpassLoad(c) * 0.5; }\n",
         {"COLOR_BUFFER_READ"}},
        {"fragment",
         "#version 450\nlayout(set = 0, binding = 0) buffer B { vec4 v; } b;\nlayout(location = 0) in vec4 a;\n"
         "void main() { b.v = a; }\n",
         {"HAS_SIDE_EFFECTS"}},
        {"compute",
         "#version 450\nlayout(local_size_x = 8) in;\nlayout(set = 0, binding = 0) buffer B { uint n; } b;\n"
         "shared uint s[8];\nvoid main() { s[gl_LocalInvocationIndex] = 1u; atomicAdd(b.n, s[0]); }\n",
         {"HAS_SIDE_EFFECTS"}},
        {"compute",
         "#version 450\nlayout(local_size_x = 8) in;\nlayout(set = 0, binding = 0) readonly buffer B { uint n[]; } b;\n"
         "shared uint s[8];\nvoid main() { s[gl_LocalInvocationIndex] = b.n[gl_LocalInvocationIndex]; }\n",
         {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const auto result = analyse(c.source, c.stage);
        ASSERT_EQ(result.variants.size(), 1u);
        EXPECT_EQ(values(result.variants[0], "shader_flag"), c.flags);
    }
}
