#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "report/compile_report.h"
#include "report/json_report.h"
#include "unit/report/synthetic_output.h"

using nlohmann::json;

namespace {

std::string json_report(const CompileOutput& output, const std::string& filename = "shader.frag") {
    std::ostringstream out;
    print_compile_report(out, true, "", output, filename, ReportFormat::Json);
    return out.str();
}

}  // namespace

TEST(JsonReport, WorkedExampleCompactAndSorted) {
    CompileOutput output = worked_example_output();
    // The golden document lists a single shader property, which is what a
    // non-fragment stage gets.
    output.source_type = SourceType::Compute;
    std::string expected =
        R"j({"producer":{"build":"73b41e","documentation":")j" + LATEST_DOC +
        R"j(","name":"Koro Offline Compiler","version":[8,8,1]},)j"
        R"j("schema":{"name":"performance","version":2},)j"
        R"j("shaders":[{"driver":"r40p0-00rel0","filename":"shader.frag",)j"
        R"j("hardware":{"architecture":"Ostrem","core":"Koro-N22","pipelines":[)j"
        R"j({"description":"Arithmetic pipeline.","display_name":"Arithmetic","name":"arithmetic"},)j"
        R"j({"description":"Load/Store pipeline.","display_name":"Load/Store","name":"load_store"},)j"
        R"j({"description":"Texture pipeline.","display_name":"Texture","name":"texture"},)j"
        R"j({"description":"Varying pipeline.","display_name":"Varying","name":"varying"}],)j"
        R"j("revision":"r1p0"},"notes":[],)j"
        R"j("properties":[{"description":"If true the shader contains computation which produces the same value for every invocation in a draw call or compute dispatch.","display_name":"Has uniform computation","name":"has_uniform_computation","value":false}],)j"
        R"j("shader":{"api":"OpenGL ES","type":"Compute"},)j"
        R"j("variants":[{"name":"Main","performance":{)j"
        R"j("longest_path_cycles":{"bound_pipelines":["arithmetic"],"cycle_count":[1.5,0.0,0.25,1.0]},)j"
        R"j("pipelines":["arithmetic","load_store","varying","texture"],)j"
        R"j("shortest_path_cycles":{"bound_pipelines":["arithmetic","texture"],"cycle_count":[1.25,0.0,0.25,1.25]},)j"
        R"j("total_cycles":{"bound_pipelines":["arithmetic"],"cycle_count":[1.5,0.0,0.25,1.0]}},)j"
        R"j("properties":[)j"
        R"j({"description":"Number of read-write work registers used.","display_name":"Work Registers Used","name":"work_registers_used","value":24},)j"
        R"j({"description":"Shader core thread occupancy percentage.","display_name":"Thread Occupancy","name":"thread_occupancy","value":100},)j"
        R"j({"description":"Number of read-only uniform registers used.","display_name":"Uniform Registers Used","name":"uniform_registers_used","value":10},)j"
        R"j({"description":"Number of bytes of stack memory allocated.","display_name":"Stack Size","name":"stack_size","value":0},)j"
        R"j({"description":"True if one or more registers were spilled to the stack.","display_name":"Has Stack Spilling","name":"has_stack_spilling","value":false},)j"
        R"j({"description":"Number of bytes allocated to stack spilling.","display_name":"Stack Spill Size (bytes)","name":"stack_spill_bytes","value":0},)j"
        R"j({"description":"Number of bytes allocated to stack alloca.","display_name":"Stack Alloca Size (bytes)","name":"stack_alloca_bytes","value":0},)j"
        R"j({"description":"Percentage of narrow arithmetic ops.","display_name":"16-bit Arithmetic","name":"fp16_arithmetic","value":25},)j"
        R"j({"description":"Percentage of SIMD lanes idle in narrow arithmetic ops.","display_name":"16-bit Arithmetic Idle Lanes","name":"fp16_idle_lanes","value":0}]}],)j"
        R"j("warnings":[]}]})j"
        "\n";
    std::string actual = json_report(output);
    EXPECT_EQ(json::parse(actual), json::parse(expected));  // readable diff first
    EXPECT_EQ(actual, expected);
}

TEST(JsonReport, ErrorDocument) {
    CompileOutput output = SyntheticOutput()
                               .warning("careful")
                               .error("0:3: undeclared identifier")
                               .build(KORO_N22_FRAGMENT);
    json document = json::parse(json_report(output, "-"));
    EXPECT_EQ(document["schema"], json({{"name", "error"}, {"version", 0}}));
    const json& shader = document["shaders"].at(0);
    EXPECT_EQ(document["shaders"].size(), 1u);
    EXPECT_EQ(shader["filename"], "STDIN");
    EXPECT_EQ(shader["errors"], json({"0:3: undeclared identifier"}));
    EXPECT_EQ(shader["warnings"], json({"careful"}));
    for (const char* absent : {"notes", "variants", "properties", "attribute_streams"}) {
        EXPECT_FALSE(shader.contains(absent)) << absent;
    }
    EXPECT_FALSE(shader["hardware"].contains("pipelines"));
}

TEST(JsonReport, InvalidUtf8StillGivesADocument) {
    CompileOutput output = worked_example_output();
    output.warnings.push_back("bad byte \xff here");
    std::string text = json_report(output, "sha\xc3(der.frag");
    json document = json::parse(text);
    EXPECT_EQ(document["shaders"][0]["warnings"][0], "bad byte \xef\xbf\xbd here");
}

TEST(JsonReport, UnknownCountsAndNotes) {
    CompileOutput output = worked_example_output();
    ShaderVariant& variant = output.variants.at(0);
    variant.longest_path = {-1.0f, -1.0f, -1.0f, -1.0f};
    variant.shortest_path = {0.0f, 0.0f, 0.0f, 0.0f};
    variant.fp16_percent = -1;
    variant.v2fp16_underused_percent = 3;
    variant.tls_size = -1;
    variant.spill_size = -1;
    output.messages = {"first line\nsecond line", "third"};

    json shader = json::parse(json_report(output))["shaders"][0];
    const json& performance = shader["variants"][0]["performance"];
    EXPECT_EQ(performance["longest_path_cycles"],
              json({{"cycle_count", {nullptr, nullptr, nullptr, nullptr}},
                    {"bound_pipelines", {nullptr}}}));
    EXPECT_EQ(performance["shortest_path_cycles"]["bound_pipelines"],
              json({"arithmetic", "load_store", "varying", "texture"}));
    EXPECT_EQ(shader["notes"], json({"first line", "second line", "third"}));

    std::map<std::string, json> values;
    for (const auto& entry : shader["variants"][0]["properties"]) values[entry["name"]] = entry["value"];
    EXPECT_EQ(values.count("stack_size"), 0u);
    EXPECT_EQ(values.count("stack_spill_bytes"), 0u);
    EXPECT_EQ(values.at("stack_alloca_bytes"), 0);
    EXPECT_TRUE(values.at("fp16_arithmetic").is_null());
    EXPECT_TRUE(values.at("fp16_idle_lanes").is_null());
}

TEST(JsonReport, VertexAttributeStreamsAndMissingFp16) {
    SyntheticTarget vertex{ArchitectureType::Pelion, "Koro-N68", CompilerType::OpenGLES,
                           SourceType::Vertex};
    Statistics statistics = {{"work_registers_used", "16"},
                             {"pipe_names", "A1/A2/A3/LS/T"},
                             {"cycles", "8/8/8/1/4"},
                             {"shortest", "8/8/8/1/4"},
                             {"longest", "8/8/8/1/4"},
                             {"position_attribute_symbols", "pos:0"},
                             {"varying_attribute_symbols", "uv:65535"}};
    json shader =
        json::parse(json_report(SyntheticOutput().variant(statistics).build(vertex)))["shaders"][0];
    EXPECT_EQ(shader["attribute_streams"],
              json({{"position", {{{"symbol", "pos"}, {"location", 0}}}},
                    {"nonposition", {{{"symbol", "uv"}, {"location", nullptr}}}}}));
    // The JSON report always lists the arithmetic sub-pipelines.
    EXPECT_EQ(shader["variants"][0]["performance"]["pipelines"],
              json({"arith_total", "arith_fma", "arith_cvt", "arith_sfu", "load_store", "texture"}));
    EXPECT_EQ(shader["hardware"]["pipelines"].size(), 7u);
    EXPECT_EQ(shader["hardware"]["pipelines"][1]["name"], "arith_cvt");
    for (const auto& entry : shader["variants"][0]["properties"]) {
        EXPECT_NE(entry["name"], "fp16_arithmetic");
        EXPECT_NE(entry["name"], "fp16_idle_lanes");
    }

    SyntheticTarget tarsel{ArchitectureType::Tarsel, "Koro-L380", CompilerType::OpenGLES,
                           SourceType::Vertex};
    Statistics tarsel_stats = {{"pipe_names", "A/LS/T"}, {"cycles", "3/1/1"},
                               {"shortest", "3/1/1"},    {"longest", "3/1/1"},
                               {"position_attribute_symbols", "pos:0"}};
    json tarsel_shader = json::parse(
        json_report(SyntheticOutput().variant(tarsel_stats).build(tarsel)))["shaders"][0];
    EXPECT_FALSE(tarsel_shader.contains("attribute_streams"));
}
