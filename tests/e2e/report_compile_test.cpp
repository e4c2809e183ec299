// Compile reports as a user reads them: a scripted back-end reports raw
// statistics, and the text and JSON reports must show the normalised figures
// exactly, for each architecture generation.
#include <gtest/gtest.h>

#include <sstream>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"
#include "e2e/scripted_install.h"

namespace {

using nlohmann::json;

const std::string LIBRARY = "libKoro-Nxx_r40p0-00rel0.so";

// One OpenGL ES back-end for every core these tests compile for.
const std::string GRAPHICS_LIBRARY =
    "meta flexible_version | 3.0.0\nmeta compiler_type | openglessl\n"
    "meta openglessl_version | 100 300 310 320\ncore Koro-N22 | r1p0\ncore Koro-N503 | r0p0\n"
    "core Koro-L220 | r0p0\ncore Koro-L380 | r0p0\n";

// "name value; name value; variant" as scenario lines: a statistic for each
// pair, a bare word as it stands.
std::string stats(const std::string& items) {
    std::istringstream in(items);
    std::string text, item;
    while (std::getline(in >> std::ws, item, ';')) {
        size_t space = item.find(' ');
        text += space == std::string::npos ? item + "\n"
                                           : "stat " + item.substr(0, space) + " | " + item.substr(space + 1) + "\n";
    }
    return text;
}

// The worked example's figures as a Koro-N22 back-end reports them, before
// the per-core divisors (A 6, V 8, T 2).
const std::string WORKED_EXAMPLE_STATS = stats(
    "work_registers_used 24; uniform_registers_used 10; tls_size 0; spill_size 0;"
    "alloca_size 0; part_float16 0.25; part_v2float16_underused 0");
const std::string WORKED_EXAMPLE_PIPES =
    WORKED_EXAMPLE_STATS + stats("pipe_names A/LS/V/T; cycles 9/0/2/2; shortest 7.5/0/2/2.5; longest 9/0/2/2");

// A text report's section, from its title up to the next title given.
std::string section(const std::string& report, const std::string& title, const std::string& next) {
    const size_t start = report.find(title);
    return start == std::string::npos ? "" : report.substr(start, report.find(next, start) - start);
}

class CompileReport : public ::testing::Test {
protected:
    ScriptedShadex shadex;

    CompileReport() {
        shadex.write("shader.frag", "void main() {}\n");
        shadex.write("shader.vert", "void main() {}\n");
    }

    // Compile answers are tried in order; the first whose conditions hold is used.
    void answer_compiles_with(const std::string& stats, const std::string& earlier_answers = "") {
        shadex.add("graphics", LIBRARY, GRAPHICS_LIBRARY + earlier_answers + "compile\n" + stats + "end\n");
    }

    std::string text(const std::vector<std::string>& args, int status = 0) {
        return text_output(shadex.run(args), status);
    }

    json json_report(std::vector<std::string> args, int status = 0) {
        args.insert(args.end(), {"--format", "json"});
        return json_output(shadex.run(args), status);
    }
};

TEST_F(CompileReport, WorkedTextExample) {
    answer_compiles_with(WORKED_EXAMPLE_PIPES);
    EXPECT_EQ(text({"-c", "Koro-N22", "shader.frag"}), golden("worked_example.txt"));
}

TEST_F(CompileReport, WorkedJsonExample) {
    // Only fragment shaders keep the varying pipe, so for the compute shader
    // the back-end reports it twice and one survives.
    answer_compiles_with(WORKED_EXAMPLE_PIPES, "compile\nwhen option | shader_type | compute\n" + WORKED_EXAMPLE_STATS +
                                                   stats("pipe_names A/LS/V/V/T; cycles 9/0/2/2/2;"
                                                         "shortest 7.5/0/2/2/2.5; longest 9/0/2/2/2; end"));
    RunResult compute = shadex.run({"-c", "Koro-N22", "-C", "shader.frag", "--format", "json"});
    json expected = json::parse(golden("worked_example.json"));
    expected["producer"]["documentation"] = json::parse(compute.out)["producer"]["documentation"];
    EXPECT_EQ(compute.out, expected.dump() + "\n");

    // As a fragment shader the document gains the five fragment properties.
    json fragment = json_report({"-c", "Koro-N22", "shader.frag"});
    json& properties = fragment["shaders"][0]["properties"];
    std::vector<std::string> names;
    for (const auto& property : properties) {
        names.push_back(property["name"]);
        EXPECT_EQ(property["value"], false);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"has_uniform_computation", "has_side_effects", "modifies_coverage",
                                               "uses_late_zs_test", "uses_late_zs_update", "reads_color_buffer"}));
    properties.erase(properties.begin() + 1, properties.end());
    expected["shaders"][0]["shader"]["type"] = "Fragment";
    EXPECT_EQ(fragment, expected);
}

TEST_F(CompileReport, ErrorsQuoteTheirSourceLines) {
    answer_compiles_with(
        "warning 0:2: 'precision' : ignored\nerror 0:1: '' : first line problem\n"
        "error 0:3: 'x' : middle line problem\nerror 0:3: 'x' : middle line problem\n"
        "error 0:5: '}' : last line problem\n");
    // Windows line ends are quoted without their carriage return.
    shadex.write("broken.frag",
                 "#version 310 es\r\nprecision mediump float;\r\nvoid main() {\r\n"
                 "    gl_FragColor = x;\r\n}\r\n");
    EXPECT_EQ(text({"-c", "Koro-N22", "broken.frag"}, 1), golden("ostrem_source_messages.txt"));

    json document = json_report({"-c", "Koro-N22", "broken.frag"}, 1);
    EXPECT_EQ(document["schema"], json({{"name", "error"}, {"version", 0}}));
    const json& shader = document["shaders"][0];
    EXPECT_EQ(shader["errors"],
              json({"0:1: '' : first line problem", "0:3: 'x' : middle line problem", "0:5: '}' : last line problem"}));
    EXPECT_EQ(shader["warnings"], json({"0:2: 'precision' : ignored"}));
    for (const char* absent : {"notes", "variants", "properties"}) EXPECT_FALSE(shader.contains(absent));
    EXPECT_FALSE(shader["hardware"].contains("pipelines"));
}

TEST_F(CompileReport, VariantsStacksAndAttributeStreams) {
    answer_compiles_with(
        stats("variant; variant 1; work_registers_used 40; uniform_registers_used 4; tls_size 32;"
              "spill_size 32; pipe_names A/LS/V/T; cycles 6/2/8/2; shortest 6/1/8/2; longest 12/-1/8/2;"
              "varying_attribute_symbols uv:1,normal:2,pos:0;"
              "variant; variant 0; work_registers_used 64; uniform_registers_used 128; tls_size 96;"
              "alloca_size 64; spill_size 32; part_float16 0.5; part_v2float16_underused 0.5;"
              "pipe_names A/LS/V/T; cycles 12/3/8/4; shortest 6/3/8/2; longest 12/3/8/4;"
              "position_attribute_symbols pos:0,extra:65535;"
              "variant; variant 256; work_registers_used 65; spilling_used true; part_float16 N/A;"
              "pipe_names A/LS/V/T; cycles 0/0/0/0; shortest 0/0/0/0; longest 0/0/0/0"));
    EXPECT_EQ(text({"-c", "Koro-N22", "shader.vert"}), golden("ostrem_vertex.txt"));

    json document = json_report({"-c", "Koro-N22", "shader.vert"});
    const json& shader = document["shaders"][0];
    EXPECT_EQ(shader["attribute_streams"], json::parse(R"({"nonposition":[{"location":1,"symbol":"uv"},
                  {"location":2,"symbol":"normal"}],
                  "position":[{"location":0,"symbol":"pos"},{"location":null,"symbol":"extra"}]})"));
    const json& varying = shader["variants"][2];
    EXPECT_EQ(varying["name"], "Varying");
    EXPECT_EQ(varying["performance"]["longest_path_cycles"],
              json::parse(R"({"bound_pipelines":[null],"cycle_count":[null,null,null]})"));
}

TEST_F(CompileReport, PelionDetailedModeAndN503Divisors) {
    // N503 divides A1-A3 by 12, V by 16 and T by 8, and leaves LS alone.
    answer_compiles_with(
        stats("work_registers_used 64; uniform_registers_used 128; tls_size 0;"
              "pipe_names A1/A2/A3/LS/V/T; cycles 24/12/12/5/32/16; shortest 12/12/24/1/16/8;"
              "longest 24/12/12/5/32/-1"));
    EXPECT_EQ(text({"-c", "Koro-N503", "-d", "shader.frag"}), golden("pelion_detailed.txt"));

    // In JSON the note splits into lines.
    EXPECT_EQ(json_report({"-c", "Koro-N503", "shader.frag"})["shaders"][0]["notes"],
              json({"Koro-N503 reports assume a 48 FMA/cycle and 8 Texture op/cycle core "
                    "configuration.",
                    "      Other core configurations might have 48-64 FMA/cycle and 4-8 Texture "
                    "op/cycle."}));
}

TEST_F(CompileReport, KoroL220KeepsEveryRenderTargetAndHasNoProperties) {
    answer_compiles_with(
        stats("variant; render_target 1; work_registers_used 2; uniform_registers_used 2;"
              "arithmetic_cycles 1; arithmetic_shortest_path 1; arithmetic_longest_path 1;"
              "variant; render_target 0; work_registers_used 6; uniform_registers_used 9;"
              "arithmetic_cycles 3; load_store_cycles 1; texture_cycles 2; arithmetic_shortest_path 2;"
              "load_store_shortest_path 1; texture_shortest_path 2; arithmetic_longest_path -1;"
              "load_store_longest_path 1; texture_longest_path 2"));
    // Tarsel registers: 16 work registers, and the 24-entry file shared with
    // the uniforms.
    EXPECT_EQ(text({"-c", "Koro-L220", "shader.frag"}), golden("tarsel_render_targets.txt"));
}

TEST_F(CompileReport, TarselNormalisesOnlyTheArithmeticTotal) {
    answer_compiles_with(
        stats("variant; render_target 0; work_registers_used 4; uniform_registers_used 10;"
              "arithmetic_cycles 6; load_store_cycles 3; texture_cycles 1; arithmetic_shortest_path 6;"
              "load_store_shortest_path 3; texture_shortest_path 1; arithmetic_longest_path 6;"
              "load_store_longest_path 3; texture_longest_path 1;"
              "variant; render_target 1; work_registers_used 16; arithmetic_cycles 9"));
    // Koro-L380 has three arithmetic pipes; its dropped second render target
    // still counts as uniform computation.
    EXPECT_EQ(text({"-c", "Koro-L380", "shader.frag"}), golden("tarsel_uniform_computation.txt"));
}

// Per-line costs go through the totals' fix-ups and map back to the user's
// files: two inputs joined, an included file, the costs of no line.
TEST_F(CompileReport, SourceLineCostsOnPelion) {
    shadex.write("a.frag", "#version 310 es\nprecision mediump float;\nlayout(location = 0) out vec4 color;\n");
    shadex.write(
        "b.frag",
        "#include \"inc/light.glsl\"\nvoid main() {\n \t  color = light(vec3(1.0)) * vec4(0.25, 0.5, 0.75, 1.0);\n"
        "    for (int i = 0; i < 8; ++i) color += vec4(0.1);\n}\n");
    shadex.write("inc/light.glsl", "// lighting\n\nvec4 light(vec3 n) { return vec4(n, 1.0); }\n");
    // N503: A1-A3 / 12, V / 16, T / 8; the aggregate A is FMA + CVT + SFU / 4.
    answer_compiles_with(stats("work_registers_used 12; pipe_names A1/A2/A3/LS/V/T; cycles 48/12/12/1/16/8;"
                               "shortest 48/12/12/1/16/8; longest 48/12/12/1/16/8") +
                         "stat source_file_names | b.frag|inc/light.glsl\n"
                         "stat source_line_costs | 0:2:12/0/0/2/16/0;0:6:24/12/0/0/0/8;1:3:12/0/12/0/0/0;"
                         "0:0:0/0/0/1/0/0;1:0:0/0/0/1/0/0\n"
                         "stat source_line_registers | 0:2:4;0:6:9;0:1:2\n"
                         "stat source_line_stack | 0:7:16\n"
                         "stat source_line_loops | 0:7:8;0:6:unknown\n");
    const std::vector<std::string> args = {"-c", "Koro-N503", "-d", "--annotate", "a.frag", "b.frag"};
    EXPECT_EQ(section(text(args), "Source line costs", "Shader properties"), golden("pelion_source_lines.txt"));
    EXPECT_EQ(json_report(args)["shaders"][0]["variants"][0]["source_lines"],
              json::parse(golden("pelion_source_lines.json")));
}

// Tarsel's per-pipe keys put its pipes in key order; a line's figures come as
// arithmetic, load/store, texture. Five lines are marked, earlier ones first on a tie.
TEST_F(CompileReport, SourceLineCostsOnTarsel) {
    shadex.write("t.frag",
                 "precision mediump float;\nuniform sampler2D s;\nvarying vec2 uv;\nvoid main() {\n"
                 "    gl_FragColor = texture2D(s, uv) * 2.0;\n}\n");
    answer_compiles_with(stats("variant; render_target 0; work_registers_used 4; arithmetic_cycles 30;"
                               "texture_cycles 1; load_store_cycles 3; arithmetic_shortest_path 30;"
                               "texture_shortest_path 1; load_store_shortest_path 3; arithmetic_longest_path 30;"
                               "texture_longest_path 1; load_store_longest_path 3") +
                         "stat source_line_costs | 0:1:6/0/0;0:2:3/1/0;0:3:9/0/0;0:4:3/0/0;0:5:3/0/1;0:6:12/2/0\n");
    const std::vector<std::string> args = {"-c", "Koro-L380", "--annotate", "t.frag"};
    EXPECT_EQ(section(text(args), "Source line costs", "Shader properties"), golden("tarsel_source_lines.txt"));
    EXPECT_EQ(json_report(args)["shaders"][0]["variants"][0]["source_lines"][1]["cycles"], json({1.0, 0.0, 1.0}));
}

}  // namespace
