// Work and uniform registers, and the OpenGL ES form of modules.
#include <gtest/gtest.h>

#include "model_shaders.h"

using namespace model_test;

namespace {

reference::AnalysisResult analyse_es(const std::string& source, const std::string& stage) {
    reference::AnalysisRequest request;
    request.module = compile_es(source, stage);
    request.entry_point = "main";
    request.stage = reference::parse_stage(stage);
    request.core = "Koro-N68";
    request.request_pilot = true;
    request.request_idvs = stage == "vertex";
    return reference::analyse_module(request);
}

}  // namespace

TEST(RegisterModel, WorkRegistersArePeakLiveComponents) {
    const struct {
        const char* core;
        const char* precision;
        const char* registers;
    } cases[] = {
        {"Koro-N68", "highp", "12"},   // a, b and c live at the multiply-add
        {"Koro-N68", "mediump", "6"},  // 16-bit components pack two to a register
        {"Koro-N11", "mediump", "12"},
        {"Koro-L380", "highp", "3"},  // vec4 registers
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.core) + " " + c.precision);
        const std::string p = c.precision;
        const std::string source =
            "#version 450\n"
            "layout(location = 0) in " +
            p +
            " vec4 a;\n"
            "layout(location = 1) in " +
            p +
            " vec4 b;\n"
            "layout(location = 2) in " +
            p +
            " vec4 c;\n"
            "layout(location = 0) out " +
            p +
            " vec4 o;\n"
            "void main() { o = a * b + c; }\n";
        Options options;
        options.core = c.core;
        const auto result = analyse(source, "fragment", options);
        ASSERT_EQ(result.variants.size(), 1u);
        EXPECT_EQ(value(result.variants[0], "work_registers_used"), c.registers);
        EXPECT_EQ(value(result.variants[0], "spilling_used"), "false");
    }
}

TEST(RegisterModel, LoadsAreScheduledNextToTheirOnlyReader) {
    // Four inputs copied up front, then used one at a time: loaded where
    // they are read, at most the running product and one input are live.
    const auto result = analyse(
        "#version 450\n"
        "layout(location = 0) in vec4 a;\n"
        "layout(location = 1) in vec4 b;\n"
        "layout(location = 2) in vec4 c;\n"
        "layout(location = 3) in vec4 d;\n"
        "layout(location = 0) out vec4 o;\n"
        "void main() {\n"
        "    vec4 ta = a; vec4 tb = b; vec4 tc = c; vec4 td = d;\n"
        "    o = ((ta * 2.0) * tb) * tc * td;\n"
        "}\n",
        "fragment");
    ASSERT_EQ(result.variants.size(), 1u);
    EXPECT_EQ(value(result.variants[0], "work_registers_used"), "8");
}

TEST(RegisterModel, OpenGlEsLooseUniformsFeedThePilotAndUniformRegisters) {
    const auto fragment = analyse_es(
        "precision mediump float;\n"
        "uniform vec4 k;\n"
        "uniform vec4 m;\n"
        "uniform sampler2D s;\n"
        "varying vec2 uv;\n"
        "void main() { gl_FragColor = texture2D(s, uv) * (k * m); }\n",
        "fragment");
    ASSERT_TRUE(fragment.errors.empty());
    const Statistics* main = find_variant(fragment, "0");
    const Statistics* pilot = find_pilot(fragment);
    ASSERT_NE(main, nullptr);
    ASSERT_NE(pilot, nullptr);
    // 16-bit vec4 multiplies: two lanes each, one in the pilot.
    EXPECT_EQ(figures(*main), (Figures{0.5, 0, 0, 0, 1, 1}));
    EXPECT_EQ(figures(*pilot), (Figures{0.5, 0, 0, 0, 0, 0}));
    EXPECT_EQ(value(*main, "uniform_registers_used"), "4");
    EXPECT_EQ(value(*main, "part_float16"), "1");

    // Attributes without a location are assigned at run time.
    const auto vertex = analyse_es(
        "#version 300 es\n"
        "uniform mat4 mvp;\n"
        "in vec4 pos;\n"
        "in vec2 tc;\n"
        "out vec2 uv;\n"
        "void main() { gl_Position = mvp * pos; uv = tc; }\n",
        "vertex");
    ASSERT_NE(find_variant(vertex, "256"), nullptr);
    ASSERT_NE(find_variant(vertex, "1"), nullptr);
    EXPECT_EQ(value(*find_variant(vertex, "256"), "position_attribute_symbols"), "pos:65535");
    EXPECT_EQ(value(*find_variant(vertex, "1"), "varying_attribute_symbols"), "tc:65535");
    EXPECT_EQ(figures(*find_variant(vertex, "1")), (Figures{0, 0, 0, 2, 0, 0}));
}
