// The OpenGL ES front end: the versions and stages it takes, how its messages
// read, and the core's limits checked on what it produces.
#include <gtest/gtest.h>

#include <glslang/SPIRV/spirv.hpp>
#include "core_features.h"
#include "glsl_es_front_end.h"
#include "glslang_log.h"
#include "opengles_rules.h"
#include "spirv_module_info.h"
#include "tile_features.h"

using namespace reference;

namespace {

size_t relaxed_precision_decorations(const std::vector<uint32_t>& module) {
    size_t count = 0;
    for (size_t at = 5; at < module.size() && (module[at] >> 16) != 0; at += module[at] >> 16) {
        if ((module[at] & 0xFFFF) == spv::OpDecorate && module[at + 2] == spv::DecorationRelaxedPrecision) ++count;
    }
    return count;
}

const CoreInfo& core_named(const std::string& name) { return *find_core(name, "r0p0"); }

}  // namespace

TEST(GlslangLog, KeepsOneMessagePerLineWithoutPrefixesOrSummaries) {
    LogLines lines = split_glslang_log(
        "ERROR: 0:5: 'x' : undeclared identifier \n"
        "ERROR: 0:5: '' : compilation terminated \n"
        "WARNING: 0:2: 'y' : unused\n"
        "ERROR: 2 compilation errors.  No code generated.\n\n"
        "ERROR: Linking fragment stage: No function definition (body) found: \n"
        "    shade(\n");
    EXPECT_EQ(lines.errors,
              (std::vector<std::string>{"0:5: 'x' : undeclared identifier",
                                        "Linking fragment stage: No function definition (body) found: shade("}));
    EXPECT_EQ(lines.warnings, std::vector<std::string>{"0:2: 'y' : unused"});
}

TEST(GlslEsFrontEnd, CompilesEveryVersionToAModuleThatRecordsIt) {
    const std::pair<std::string, uint32_t> versions[] = {{"", 100},
                                                         {"#version 100\n", 100},
                                                         {"#version 300 es\n", 300},
                                                         {"#version 310 es\n", 310},
                                                         {"#version 320 es\n", 320}};
    for (const auto& [line, number] : versions) {
        const bool es3 = number >= 300;
        const std::string source = line + "precision mediump float;\n" +
                                   (es3 ? "in vec2 v;\nout vec4 c;\n" : "varying vec2 v;\n") +
                                   "uniform float u_scale;\nvoid main() { " + (es3 ? "c" : "gl_FragColor") +
                                   " = vec4(v * u_scale, 0.0, 1.0); }\n";
        FrontEndResult result = compile_glsl_es_source(source, Stage::Fragment, {});
        ASSERT_TRUE(result.errors.empty()) << line << result.errors.front();
        EXPECT_EQ(module_version(result.module), 130u);
        EXPECT_EQ(source_declaration(result.module).version, number);
        // mediump arithmetic is what the 16-bit figures are made of.
        EXPECT_GT(relaxed_precision_decorations(result.module), 0u) << line;
    }
}

// Fragment, vertex and compute shaders compile through the program in PairedShaders.
TEST(GlslEsFrontEnd, CompilesTheStagesOfOpenGlEs32) {
    const std::pair<Stage, std::string> shaders[] = {
        {Stage::Geometry,
         "#version 320 es\nlayout(points) in;\nlayout(points, max_vertices = 1) out;\n"
         "void main() { gl_Position = gl_in[0].gl_Position; EmitVertex(); }\n"},
        {Stage::TessellationControl,
         "#version 320 es\nlayout(vertices = 3) out;\n"
         "void main() { gl_TessLevelInner[0] = 1.0; }\n"},
    };
    for (const auto& [stage, source] : shaders) {
        FrontEndResult result = compile_glsl_es_source(source, stage, {});
        ASSERT_TRUE(result.errors.empty()) << stage_text(stage) << ": " << result.errors.front();
        EXPECT_EQ(entry_points(result.module).at(0).execution_model, execution_model(stage));
    }
}

TEST(GlslEsFrontEnd, DefinesComeBeforeTheSourceAndErrorsKeepTheirLines) {
    const std::string source =
        "#version 300 es\nprecision mediump float;\nout vec4 c;\nvoid main() {\n    c = vec4(SCALE);\n}\n";
    EXPECT_TRUE(compile_glsl_es_source(source, Stage::Fragment, {"SCALE=0.5"}).errors.empty());

    FrontEndResult undefined = compile_glsl_es_source(source, Stage::Fragment, {});
    ASSERT_FALSE(undefined.errors.empty());
    EXPECT_EQ(undefined.errors.front(), "0:5: 'SCALE' : undeclared identifier");
    EXPECT_TRUE(undefined.module.empty());

    EXPECT_EQ(define_preamble({"A=1", "B", "C=x=y"}), "#define A 1\n#define B\n#define C x=y\n");
}

TEST(GlslEsFrontEnd, AShaderThatOnlyFailsToLinkGivesWarningsAndNoCode) {
    FrontEndResult result = compile_glsl_es_source(
        "#version 100\nmediump vec4 shade();\nvoid main() { gl_FragColor = shade(); }\n", Stage::Fragment, {});
    EXPECT_TRUE(result.errors.empty());
    EXPECT_TRUE(result.module.empty());
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_NE(result.warnings[0].find("shade("), std::string::npos);
}

TEST(OpenglesRules, RefusesWhatTheCoreDoesNotOffer) {
    const CoreInfo& old_core = core_named("Koro-L220");
    const CoreInfo& new_core = core_named("Koro-N68");
    auto findings = [](const std::string& source, const CoreInfo& core) {
        FrontEndResult result = compile_glsl_es_source(source, Stage::Fragment, {});
        EXPECT_TRUE(result.errors.empty()) << result.errors.front();
        return check_opengles_rules(source, result.module, core, core_features(core));
    };

    const std::string es32 = "#version 320 es\nvoid main() {}\n";
    EXPECT_TRUE(findings(es32, new_core).errors.empty());
    EXPECT_EQ(findings(es32, old_core).errors,
              std::vector<std::string>{"0:1: '#version' : 320 es is not supported by Koro-L220 (highest: 310 es)"});

    const std::string required = "#version 310 es\n\n#extension GL_EXT_texture_buffer : require\nvoid main() {}\n";
    EXPECT_TRUE(findings(required, new_core).errors.empty());
    EXPECT_EQ(
        findings(required, old_core).errors,
        std::vector<std::string>{"0:3: '#extension' : extension not supported by Koro-L220: GL_EXT_texture_buffer"});
    RuleFindings enabled =
        findings("#version 310 es\n#extension GL_EXT_texture_buffer : enable\nvoid main() {}\n", old_core);
    EXPECT_TRUE(enabled.errors.empty());
    EXPECT_EQ(enabled.warnings.size(), 1u);

    RuleFindings desktop = findings("#version 450\nvoid main() {}\n", new_core);
    ASSERT_EQ(desktop.errors.size(), 1u);
    EXPECT_EQ(desktop.errors[0].rfind("0:1: '#version' : ", 0), 0u);
}

TEST(OpenglesRules, EveryListedExtensionCompilesAtEveryVersion) {
    // The program probes each listed extension this way and drops failures;
    // the tile extensions go through their rewrite first, as compiles do.
    const CoreInfo& core = core_named("Koro-N68");
    for (int version : {100, 300, 310, 320}) {
        for (const std::string& name : all_opengles_extensions()) {
            if (name == "GL_EXT_shader_pixel_local_storage" && version < 300) continue;
            const std::string source = "#version " + std::to_string(version) + (version == 100 ? "" : " es") +
                                       "\n#extension " + name + " : require\nvoid main() {}";
            const TileRewrite tile = rewrite_tile_features(source, Stage::Fragment, core, core_features(core));
            EXPECT_TRUE(tile.errors.empty()) << version << " " << name;
            EXPECT_TRUE(compile_glsl_es_source(tile.source, Stage::Fragment, {}).errors.empty())
                << version << " " << name;
        }
    }
}
