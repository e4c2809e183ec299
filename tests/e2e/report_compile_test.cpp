// Compile reports as a user reads them: a scripted back-end reports raw
// statistics, and the text and JSON reports must show the normalised figures
// exactly, for each architecture generation.
#include <gtest/gtest.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"
#include "e2e/scripted_install.h"

namespace {

using nlohmann::json;

const std::string HEADER =
    "Koro Offline Compiler v8.8.1 (Build 73b41e)\n"
    "Copyright (c) 2026 The shadex authors. All rights reserved.\n\n";

const std::string LIBRARY = "libKoro-Nxx_r40p0-00rel0.so";

// One OpenGL ES back-end for every core these tests compile for.
const std::string GRAPHICS_LIBRARY = R"(meta flexible_version | 3.0.0
meta compiler_type | openglessl
meta openglessl_version | 100 300 310 320
core Koro-N22 | r1p0
core Koro-N68 | r0p0
core Koro-N503 | r0p0
core Koro-N603 | r0p0
core Koro-N605 | r0p0
core Koro-N609 | r0p0
core Koro-N1-Ultra | r0p0
core Koro-L220 | r0p0
core Koro-L380 | r0p0
)";

// The worked example's figures as a Koro-N22 back-end reports them, before
// the per-core divisors (A 6, V 8, T 2).
const std::string WORKED_EXAMPLE_STATS = R"(stat work_registers_used | 24
stat uniform_registers_used | 10
stat tls_size | 0
stat spill_size | 0
stat alloca_size | 0
stat part_float16 | 0.25
stat part_v2float16_underused | 0
)";
const std::string WORKED_EXAMPLE_PIPES = WORKED_EXAMPLE_STATS + R"(stat pipe_names | A/LS/V/T
stat cycles | 9/0/2/2
stat shortest | 7.5/0/2/2.5
stat longest | 9/0/2/2
)";

std::string golden(const std::string& name) {
    return read_file(std::string(SHADEX_SOURCE_DIR) + "/tests/e2e/golden/" + name);
}

bool ends_with_line_end(const std::string& text) { return !text.empty() && text.back() == '\n'; }

// The text report after the version header.
std::string text_body(const RunResult& result) {
    EXPECT_EQ(result.out.compare(0, HEADER.size(), HEADER), 0) << result.out;
    EXPECT_TRUE(ends_with_line_end(result.out));
    return result.out.substr(std::min(HEADER.size(), result.out.size()));
}

json json_body(const RunResult& result) {
    EXPECT_TRUE(ends_with_line_end(result.out));
    json document = json::parse(result.out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << result.out;
    return document;
}

class CompileReport : public ::testing::Test {
protected:
    Install install;
    TempDir files;

    // Compile answers are tried in order; the first whose conditions hold is used.
    void answer_compiles_with(const std::string& stats, const std::string& earlier_answers = "") {
        add_backend(install, "graphics", LIBRARY,
                    GRAPHICS_LIBRARY + earlier_answers + "compile\n" + stats + "end\n");
    }

    RunResult run(const std::vector<std::string>& args, int expected_status = 0) {
        files.write("shader.frag", "void main() {}\n");
        files.write("shader.vert", "void main() {}\n");
        RunOptions options;
        options.working_dir = files.path();
        RunResult result = install.run(args, options);
        EXPECT_EQ(result.status, expected_status) << result.err;
        return result;
    }

    std::string text(const std::vector<std::string>& args, int expected_status = 0) {
        return text_body(run(args, expected_status));
    }

    json json_report(std::vector<std::string> args, int expected_status = 0) {
        args.insert(args.end(), {"--format", "json"});
        return json_body(run(args, expected_status));
    }
};

TEST_F(CompileReport, WorkedTextExample) {
    answer_compiles_with(WORKED_EXAMPLE_PIPES);
    EXPECT_EQ(text({"-c", "Koro-N22", "shader.frag"}), golden("worked_example.txt"));
}

TEST_F(CompileReport, WorkedJsonExample) {
    // Only fragment shaders keep the varying pipe, so for the compute shader
    // the back-end reports it twice and one survives.
    const std::string compute_answer = "compile\nwhen option | shader_type | compute\n" +
                                       WORKED_EXAMPLE_STATS + R"(stat pipe_names | A/LS/V/V/T
stat cycles | 9/0/2/2/2
stat shortest | 7.5/0/2/2/2.5
stat longest | 9/0/2/2/2
end
)";
    answer_compiles_with(WORKED_EXAMPLE_PIPES, compute_answer);
    RunResult compute = run({"-c", "Koro-N22", "-C", "shader.frag", "--format", "json"});
    json expected = json::parse(golden("worked_example.json"));
    expected["producer"]["documentation"] = json_body(compute)["producer"]["documentation"];
    EXPECT_EQ(compute.out, expected.dump() + "\n");

    // As a fragment shader the document gains the five fragment properties.
    json fragment = json_report({"-c", "Koro-N22", "shader.frag"});
    json& properties = fragment["shaders"][0]["properties"];
    std::vector<std::string> names;
    for (const auto& property : properties) {
        names.push_back(property["name"]);
        EXPECT_EQ(property["value"], false);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"has_uniform_computation", "has_side_effects",
                                               "modifies_coverage", "uses_late_zs_test",
                                               "uses_late_zs_update", "reads_color_buffer"}));
    properties.erase(properties.begin() + 1, properties.end());
    expected["shaders"][0]["shader"]["type"] = "Fragment";
    EXPECT_EQ(fragment, expected);
}

TEST_F(CompileReport, ErrorsQuoteTheirSourceLines) {
    answer_compiles_with(R"(warning 0:2: 'precision' : ignored
error 0:1: '' : first line problem
error 0:3: 'x' : middle line problem
error 0:3: 'x' : middle line problem
error 0:5: '}' : last line problem
)");
    // Windows line ends are quoted without their carriage return.
    files.write("broken.frag",
                "#version 310 es\r\nprecision mediump float;\r\nvoid main() {\r\n"
                "    gl_FragColor = x;\r\n}\r\n");
    EXPECT_EQ(text({"-c", "Koro-N22", "broken.frag"}, 1), R"(Configuration
=============

Hardware: Koro-N22 r1p0
Architecture: Ostrem
Driver: r40p0-00rel0
Shader type: OpenGL ES Fragment

Compiler messages
=================

WARNING: 0:2: 'precision' : ignored
ERROR: 0:1: '' : first line problem
  >> #version 310 es
     precision mediump float;

ERROR: 0:3: 'x' : middle line problem
     precision mediump float;
  >> void main() {
         gl_FragColor = x;

ERROR: 0:5: '}' : last line problem
         gl_FragColor = x;
  >> }

Compilation failed.
)");

    json document = json_report({"-c", "Koro-N22", "broken.frag"}, 1);
    EXPECT_EQ(document["schema"], json({{"name", "error"}, {"version", 0}}));
    const json& shader = document["shaders"][0];
    EXPECT_EQ(shader["errors"], json({"0:1: '' : first line problem",
                                      "0:3: 'x' : middle line problem",
                                      "0:5: '}' : last line problem"}));
    EXPECT_EQ(shader["warnings"], json({"0:2: 'precision' : ignored"}));
    for (const char* absent : {"notes", "variants", "properties"}) EXPECT_FALSE(shader.contains(absent));
    EXPECT_FALSE(shader["hardware"].contains("pipelines"));
}

TEST_F(CompileReport, VariantsStacksAndAttributeStreams) {
    answer_compiles_with(R"(variant
stat variant | 1
stat work_registers_used | 40
stat uniform_registers_used | 4
stat tls_size | 32
stat spill_size | 32
stat pipe_names | A/LS/V/T
stat cycles | 6/2/8/2
stat shortest | 6/1/8/2
stat longest | 12/-1/8/2
stat varying_attribute_symbols | uv:1,normal:2,pos:0
variant
stat variant | 0
stat work_registers_used | 64
stat uniform_registers_used | 128
stat tls_size | 96
stat alloca_size | 64
stat spill_size | 32
stat part_float16 | 0.5
stat part_v2float16_underused | 0.5
stat pipe_names | A/LS/V/T
stat cycles | 12/3/8/4
stat shortest | 6/3/8/2
stat longest | 12/3/8/4
stat position_attribute_symbols | pos:0,extra:65535
variant
stat variant | 256
stat work_registers_used | 65
stat spilling_used | true
stat part_float16 | N/A
stat pipe_names | A/LS/V/T
stat cycles | 0/0/0/0
stat shortest | 0/0/0/0
stat longest | 0/0/0/0
)");
    EXPECT_EQ(text({"-c", "Koro-N22", "shader.vert"}), golden("ostrem_vertex.txt"));

    json document = json_report({"-c", "Koro-N22", "shader.vert"});
    const json& shader = document["shaders"][0];
    EXPECT_EQ(shader["attribute_streams"],
              json::parse(R"({"nonposition":[{"location":1,"symbol":"uv"},
                  {"location":2,"symbol":"normal"}],
                  "position":[{"location":0,"symbol":"pos"},{"location":null,"symbol":"extra"}]})"));
    const json& varying = shader["variants"][2];
    EXPECT_EQ(varying["name"], "Varying");
    EXPECT_EQ(varying["performance"]["longest_path_cycles"],
              json::parse(R"({"bound_pipelines":[null],"cycle_count":[null,null,null]})"));
}

TEST_F(CompileReport, PelionDetailedModeAndN503Divisors) {
    // N503 divides A1-A3 by 12, V by 16 and T by 8, and leaves LS alone.
    answer_compiles_with(R"(stat work_registers_used | 64
stat uniform_registers_used | 128
stat tls_size | 0
stat pipe_names | A1/A2/A3/LS/V/T
stat cycles | 24/12/12/5/32/16
stat shortest | 12/12/24/1/16/8
stat longest | 24/12/12/5/32/-1
)");
    EXPECT_EQ(text({"-c", "Koro-N503", "-d", "shader.frag"}), golden("pelion_detailed.txt"));

    std::string brief = text({"-c", "Koro-N503", "shader.frag"});
    EXPECT_NE(brief.find("\n                                A      LS       V       T    Bound\n"
                         "Total instruction cycles:    3.25    5.00    2.00    2.00       LS\n"),
              std::string::npos)
        << brief;
    EXPECT_NE(brief.find("\n\nA = Arithmetic, LS = Load/Store, V = Varying, T = Texture\n\n"),
              std::string::npos);

    // JSON never hides the arithmetic sub-pipelines; the note splits into lines.
    json shader = json_report({"-c", "Koro-N503", "shader.frag"})["shaders"][0];
    EXPECT_EQ(shader["variants"][0]["performance"]["pipelines"],
              json({"arith_total", "arith_fma", "arith_cvt", "arith_sfu", "load_store", "varying",
                    "texture"}));
    EXPECT_EQ(shader["variants"][0]["performance"]["total_cycles"]["cycle_count"],
              json({3.25, 2.0, 1.0, 1.0, 5.0, 2.0, 2.0}));
    EXPECT_EQ(shader["notes"],
              json({"Koro-N503 reports assume a 48 FMA/cycle and 8 Texture op/cycle core "
                    "configuration.",
                    "      Other core configurations might have 48-64 FMA/cycle and 4-8 Texture "
                    "op/cycle."}));
}

TEST_F(CompileReport, PelionAggregateFollowsTheCoreGroup) {
    answer_compiles_with(R"(stat work_registers_used | 8
stat pipe_names | A1/A2/A3/LS/V/T
stat cycles | 16/32/16/0/0/0
stat shortest | 16/32/16/0/0/0
stat longest | 16/32/16/0/0/0
)");
    struct Case {
        const char* core;
        double aggregate;  // of FMA, CVT, SFU after the core's divisors
    };
    for (const Case& c : {Case{"Koro-N68", 4.0},        // 2, 4, 2: the largest
                          Case{"Koro-N603", 3.25},      // 1, 2, 1: sum with a quarter SFU
                          Case{"Koro-N605", 2.25},      // 0.5, 2, 1: CVT-limited
                          Case{"Koro-N609", 1.625},     // 0.5, 1, 1
                          Case{"Koro-N1-Ultra", 1.625}}) {
        json shader = json_report({"-c", c.core, "shader.frag"})["shaders"][0];
        EXPECT_EQ(shader["variants"][0]["performance"]["total_cycles"]["cycle_count"][0],
                  c.aggregate)
            << c.core;
    }
    // The catalogue calls that core Koro N1; its back-end is told its own name.
    std::string n1 = text({"-c", "Koro-N1-Ultra", "shader.frag"});
    EXPECT_NE(n1.find("Hardware: Koro N1 r0p0\nArchitecture: Ovyn 5th Generation\n"),
              std::string::npos);
    EXPECT_NE(n1.find("Work registers: 8 (12% used at 100% occupancy)\n"
                      "Uniform registers: 0 (0% used)\n"),
              std::string::npos);
    std::vector<std::string> compiles = calls_of(read_log(install, "graphics", LIBRARY), "compile");
    ASSERT_FALSE(compiles.empty());
    EXPECT_EQ(compiles.back().rfind("compile\tcore=Koro-N1-Ultra\t", 0), 0u) << compiles.back();
}

TEST_F(CompileReport, UnknownAggregateIsNaN) {
    // A pipe the back-end could not cost leaves the aggregate unknown.
    answer_compiles_with(R"(stat work_registers_used | 8
stat pipe_names | A1/A2/A3/LS/V/T
stat cycles | nan/16/16/4/0/8
stat shortest | 16/16/16/4/0/8
stat longest | 16/16/16/4/0/8
)");
    std::string report = text({"-c", "Koro-N603", "shader.frag"});
    EXPECT_NE(report.find("Total instruction cycles:     nan    4.00    0.00    1.00      N/A\n"
                          "Shortest path cycles:        2.25    4.00    0.00    1.00       LS\n"),
              std::string::npos)
        << report;

    json total = json_report({"-c", "Koro-N603", "shader.frag"})["shaders"][0]["variants"][0]
                            ["performance"]["total_cycles"];
    EXPECT_EQ(total, json::parse(R"({"bound_pipelines":[null],
                                     "cycle_count":[null,null,1.0,1.0,4.0,0.0,1.0]})"));
}

TEST_F(CompileReport, KoroL220KeepsEveryRenderTargetAndHasNoProperties) {
    answer_compiles_with(R"(variant
stat render_target | 1
stat work_registers_used | 2
stat uniform_registers_used | 2
stat arithmetic_cycles | 1
stat arithmetic_shortest_path | 1
stat arithmetic_longest_path | 1
variant
stat render_target | 0
stat work_registers_used | 6
stat uniform_registers_used | 9
stat arithmetic_cycles | 3
stat load_store_cycles | 1
stat texture_cycles | 2
stat arithmetic_shortest_path | 2
stat load_store_shortest_path | 1
stat texture_shortest_path | 2
stat arithmetic_longest_path | -1
stat load_store_longest_path | 1
stat texture_longest_path | 2
)");
    // Tarsel registers: 16 work registers, and the 24-entry file shared with
    // the uniforms.
    EXPECT_EQ(text({"-c", "Koro-L220", "shader.frag"}), R"(Configuration
=============

Hardware: Koro-L220 r0p0
Architecture: Tarsel
Driver: r40p0-00rel0
Shader type: OpenGL ES Fragment

Main shader
===========

Render target 0 variant
-----------------------

Work registers: 6 (37% used at 50% occupancy)
Uniform registers: 9 (50% used)
Stack spilling: false

                                A      LS       T    Bound
Total instruction cycles:    3.00    1.00    2.00        A
Shortest path cycles:        2.00    1.00    2.00     A, T
Longest path cycles:          N/A     N/A     N/A      N/A

A = Arithmetic, LS = Load/Store, T = Texture

Render target 1 variant
-----------------------

Work registers: 2 (12% used at 100% occupancy)
Uniform registers: 2 (9% used)
Stack spilling: false

                                A    Bound
Total instruction cycles:    1.00        A
Shortest path cycles:        1.00        A
Longest path cycles:         1.00        A

A = Arithmetic

)");
}

TEST_F(CompileReport, TarselNormalisesOnlyTheArithmeticTotal) {
    answer_compiles_with(R"(variant
stat render_target | 0
stat work_registers_used | 4
stat uniform_registers_used | 10
stat arithmetic_cycles | 6
stat load_store_cycles | 3
stat texture_cycles | 1
stat arithmetic_shortest_path | 6
stat load_store_shortest_path | 3
stat texture_shortest_path | 1
stat arithmetic_longest_path | 6
stat load_store_longest_path | 3
stat texture_longest_path | 1
variant
stat render_target | 1
stat work_registers_used | 16
stat arithmetic_cycles | 9
)");
    // Koro-L380 has three arithmetic pipes; its dropped second render target
    // still counts as uniform computation.
    EXPECT_EQ(text({"-c", "Koro-L380", "shader.frag"}), R"(Configuration
=============

Hardware: Koro-L380 r0p0
Architecture: Tarsel
Driver: r40p0-00rel0
Shader type: OpenGL ES Fragment

Main shader
===========

Work registers: 4 (25% used at 100% occupancy)
Uniform registers: 10 (50% used)
Stack spilling: false

                                A      LS       T    Bound
Total instruction cycles:    2.00    3.00    1.00       LS
Shortest path cycles:        6.00    3.00    1.00        A
Longest path cycles:         6.00    3.00    1.00        A

A = Arithmetic, LS = Load/Store, T = Texture

Shader properties
=================

Has uniform computation: true

Note: This tool shows only the shader-visible property state.
API configuration may also impact the value of some properties.

)");
}

}  // namespace
