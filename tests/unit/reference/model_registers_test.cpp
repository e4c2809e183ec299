// Work and uniform registers, and the OpenGL ES form of modules. An OpenGL
// ES vertex shader's split is PairedShaders' (its position stream), the
// split's figures VariantModel's.
#include <gtest/gtest.h>

#include "model_shaders.h"

using namespace model_test;

TEST(RegisterModel, WorkRegistersArePeakLiveComponents) {
    const struct {
        const char* core;
        std::string precision;
        const char* registers;
    } cases[] = {
        {"Koro-N68", "highp", "12"},   // a, b and c live at the multiply-add
        {"Koro-N68", "mediump", "6"},  // 16-bit components pack two to a register
        {"Koro-N11", "mediump", "12"},
        {"Koro-L380", "highp", "3"},  // vec4 registers
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.core) + " " + c.precision);
        const std::string vec4 = " " + c.precision + " vec4 ";
        const auto result =
            analyse(glsl({"layout(location = 0) in" + vec4 + "a;", "layout(location = 1) in" + vec4 + "b;",
                          "layout(location = 2) in" + vec4 + "c;", "layout(location = 0) out" + vec4 + "o;"},
                         "o = a * b + c;"),
                    "fragment", Options{c.core});
        ASSERT_EQ(result.variants.size(), 1u);
        EXPECT_EQ(value(result.variants[0], "work_registers_used"), c.registers);
        EXPECT_EQ(value(result.variants[0], "spilling_used"), "false");
    }
}

TEST(RegisterModel, LoadsAreScheduledNextToTheirOnlyReader) {
    // Four inputs copied up front, then used one at a time: loaded where
    // they are read, at most the running product and one input are live.
    const auto result = analyse(
        glsl({"layout(location = 0) in vec4 a;", "layout(location = 1) in vec4 b;", "layout(location = 2) in vec4 c;",
              "layout(location = 3) in vec4 d;", "layout(location = 0) out vec4 o;"},
             "vec4 ta = a; vec4 tb = b; vec4 tc = c; vec4 td = d;\n"
             "o = ((ta * 2.0) * tb) * tc * td;"),
        "fragment");
    ASSERT_EQ(result.variants.size(), 1u);
    EXPECT_EQ(value(result.variants[0], "work_registers_used"), "8");
}

TEST(RegisterModel, OpenGlEsLooseUniformsFeedThePilotAndUniformRegisters) {
    const std::string source =
        "precision mediump float;\nuniform vec4 k;\nuniform vec4 m;\nuniform sampler2D s;\nvarying vec2 uv;\n"
        "void main() { gl_FragColor = texture2D(s, uv) * (k * m); }\n";
    Options es{"Koro-N68", true};
    es.vulkan = false;
    const auto fragment = reference::analyse_module(request(compile_es(source, "fragment"), "fragment", es));
    const Statistics* main = find_variant(fragment, "0");
    const Statistics* pilot = find_pilot(fragment);
    ASSERT_TRUE(main && pilot);
    // 16-bit vec4 multiplies: two lanes each, one in the pilot.
    EXPECT_EQ(figures(*main), (Figures{0.5, 0, 0, 0, 1, 1}));
    EXPECT_EQ(figures(*pilot), (Figures{0.5, 0, 0, 0, 0, 0}));
    EXPECT_EQ(value(*main, "uniform_registers_used"), "4");
}
