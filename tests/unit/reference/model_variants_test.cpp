// Pilot shaders, position/varying split, 16-bit arithmetic and shader flags.
#include <gtest/gtest.h>

#include <string>

#include "model_shaders.h"

using namespace model_test;

namespace {

const std::string IN_A = "layout(location = 0) in vec4 a;", OUT_O = "layout(location = 0) out vec4 o;";
const std::string UNIFORM_ONLY_WORK =
    glsl({"layout(set = 0, binding = 0) uniform U { vec4 k; vec4 m; float x; } u;", IN_A, OUT_O},
         "o = a * (u.k * u.m + sin(u.x));");

const std::string VERTEX_SHADER =
    glsl({"layout(set = 0, binding = 0) uniform U { mat4 mvp; } u;", "layout(location = 0) in vec4 a_position;",
          "layout(location = 1) in vec2 a_uv;", "layout(location = 2) in vec3 a_normal;",
          "layout(location = 0) out vec2 v_uv;", "layout(location = 1) out vec3 v_normal;"},
         "gl_Position = u.mvp * a_position; v_uv = a_uv; v_normal = a_normal * 2.0;");

}  // namespace

TEST(VariantModel, UniformOnlyWorkMovesToAPilotWhenAsked) {
    const Options pilot{"Koro-N68", true};
    const auto split = analyse(UNIFORM_ONLY_WORK, "fragment", pilot);
    ASSERT_EQ(split.variants.size(), 2u);
    const Statistics* main = find_variant(split, "0");
    const Statistics* pilot_variant = find_pilot(split);
    ASSERT_TRUE(main && pilot_variant);
    // Main: one vec4 multiply. Pilot: the vec4 multiply-add and a sine.
    EXPECT_EQ(figures(*main), (Figures{1, 0, 0, 0, 4, 0}));
    EXPECT_EQ(figures(*pilot_variant), (Figures{1.25, 0, 0.25, 0, 0, 0}));
    EXPECT_EQ(value(*main, "uniform_registers_used"), "4");  // the pilot's vec4 result

    const auto whole = analyse(UNIFORM_ONLY_WORK, "fragment");
    ASSERT_EQ(whole.variants.size(), 1u);
    EXPECT_EQ(figures(whole.variants[0]), (Figures{2.25, 0, 0.25, 0, 4, 0}));
    EXPECT_EQ(value(whole.variants[0], "uniform_registers_used"), "9");  // k, m and x read in place

    EXPECT_NE(find_pilot(analyse(UNIFORM_ONLY_WORK, "fragment", Options{"Koro-N1-Ultra", true})), nullptr);
    EXPECT_EQ(find_pilot(analyse(UNIFORM_ONLY_WORK, "fragment", Options{"Koro-L380", true})), nullptr);
    // Uniforms read without arithmetic on them give the pilot nothing to do.
    const std::string nothing_to_do =
        glsl({"layout(set = 0, binding = 0) uniform U { vec4 k; } u;", IN_A, OUT_O}, "o = a * u.k;");
    EXPECT_EQ(find_pilot(analyse(nothing_to_do, "fragment", pilot)), nullptr);
}

TEST(VariantModel, VertexShaderSplitsIntoPositionAndVaryingVariants) {
    const auto split = analyse(VERTEX_SHADER, "vertex", Options{"Koro-N68", true, true});
    ASSERT_EQ(split.variants.size(), 2u);
    const Statistics* position = find_variant(split, "256");
    const Statistics* varying = find_variant(split, "1");
    ASSERT_TRUE(position && varying);
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

    const auto whole = analyse(VERTEX_SHADER, "vertex");
    ASSERT_EQ(whole.variants.size(), 1u);
    EXPECT_EQ(value(whole.variants[0], "variant"), "0");
    EXPECT_EQ(figures(whole.variants[0]), (Figures{4.75, 0, 0, 6, 0, 0}));
    EXPECT_EQ(value(whole.variants[0], "position_attribute_symbols"), "<missing>");
}

TEST(VariantModel, MediumPrecisionArithmeticPacksTwoPerLane) {
    auto shader = [](const std::string& precision, const char* core) {
        const auto result = analyse(glsl({"layout(location = 0) in " + precision + " vec4 a;",
                                          "layout(location = 1) in " + precision + " vec3 b;", OUT_O},
                                         "o = a * a + vec4(b * b, 1.0);"),
                                    "fragment", Options{core});
        EXPECT_EQ(result.variants.size(), 1u);
        return result.variants.at(0);
    };
    // vec4 multiply-add and vec3 multiply: 7 lanes at 32 bits, 2 + 2 at 16
    // bits with one half of the vec3's second lane idle.
    const Statistics full = shader("highp", "Koro-N68"), half = shader("mediump", "Koro-N68");
    EXPECT_EQ(figures(full), (Figures{1.75, 0, 0, 0, 7, 0}));
    EXPECT_EQ(value(full, "part_float16"), "0");
    EXPECT_EQ(figures(half), (Figures{1, 0, 0, 0, 4, 0}));
    EXPECT_EQ(value(half, "part_float16"), "1");
    EXPECT_EQ(value(half, "part_v2float16_underused"), "0.25");
    EXPECT_EQ(figures(shader("mediump", "Koro-N1-Ultra")), figures(half));

    const Statistics older = shader("mediump", "Koro-N11");
    EXPECT_EQ(value(older, "part_float16"), "1");
    EXPECT_EQ(value(older, "part_v2float16_underused"), "<missing>");
}

TEST(VariantModel, ShaderFlagsFollowWhatTheProgramDoes) {
    const std::string compute = "layout(local_size_x = 8) in;";
    const struct {
        const char* stage;
        std::string source;
        std::vector<std::string> flags;
    } cases[] = {
        {"fragment", glsl({"layout(early_fragment_tests) in;", IN_A, OUT_O}, "o = a;"), {"HAS_EARLY_FRAGMENT_TESTS"}},
        {"fragment",
         glsl({IN_A, OUT_O}, "o = a; gl_FragDepth = a.x; gl_SampleMask[0] = 1;"),
         {"DEPTH_BUFFER_WRITTEN", "MODIFIES_COVERAGE"}},
        {"fragment",
         glsl({"layout(input_attachment_index = 0, set = 0, binding = 0) uniform subpassInput c;", OUT_O},
              "o = subpassLoad(c) * 0.5;"),
         {"COLOR_BUFFER_READ"}},
        {"fragment",
         glsl({"layout(set = 0, binding = 0) buffer B { vec4 v; } b;", IN_A}, "b.v = a;"),
         {"HAS_SIDE_EFFECTS"}},
        {"compute",
         glsl({compute, "layout(set = 0, binding = 0) buffer B { uint n; } b;", "shared uint s[8];"},
              "s[gl_LocalInvocationIndex] = 1u; atomicAdd(b.n, s[0]);"),
         {"HAS_SIDE_EFFECTS"}},
        {"compute",
         glsl({compute, "layout(set = 0, binding = 0) readonly buffer B { uint n[]; } b;", "shared uint s[8];"},
              "s[gl_LocalInvocationIndex] = b.n[gl_LocalInvocationIndex];"),
         {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const auto result = analyse(c.source, c.stage);
        ASSERT_EQ(result.variants.size(), 1u);
        EXPECT_EQ(values(result.variants[0], "shader_flag"), c.flags);
    }
}
