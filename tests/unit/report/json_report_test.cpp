// Whole documents are compared against golden files end to end; these are
// the JSON report's rules no golden document reaches.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

#include "common/text.h"
#include "report/compile_report.h"
#include "report/json_report.h"
#include "unit/output/backend_record.h"

using nlohmann::json;

namespace {

const Texts STATISTICS = split(
    "work_registers_used 16 pipe_names A1/A2/A3/LS/T cycles 8/8/8/1/4 shortest 8/8/8/1/4 longest 8/8/8/1/4 "
    "position_attribute_symbols pos:0",
    ' ');

json shader_json(const CompileOutput& output, const std::string& filename = "shader.vert") {
    std::ostringstream out;
    print_compile_report(out, true, "", output, filename, ReportFormat::Json);
    return json::parse(out.str())["shaders"][0];
}

}  // namespace

TEST(JsonReport, FileNamesStreamsAndPipelines) {
    const Target pelion{ArchitectureType::Pelion, "Koro-N68", CompilerType::OpenGLES, SourceType::Vertex};
    json shader = shader_json(compile(pelion, {STATISTICS}), "-");
    EXPECT_EQ(shader["filename"], "STDIN");
    EXPECT_EQ(shader["hardware"]["pipelines"].size(), 7u);
    EXPECT_EQ(shader["hardware"]["pipelines"][1]["name"], "arith_cvt");  // in byte order
    // Tarsel reports no attribute streams (Pelion's are PairedShaders.PositionOnlyInputsGoToThePositionStream's).
    const Target tarsel{ArchitectureType::Tarsel, "Koro-L380", CompilerType::OpenGLES, SourceType::Vertex};
    EXPECT_FALSE(shader_json(compile(tarsel, {with_pipes({"position_attribute_symbols", "pos:0"})}))
                     .contains("attribute_streams"));
}

TEST(JsonReport, InvalidUtf8StillGivesADocument) {
    json shader = shader_json(compile(Target{}, {with_pipes({})}, {}, {"bad byte \xff here"}), "sha\xc3(der.frag");
    EXPECT_EQ(shader["warnings"][0], "bad byte \xef\xbf\xbd here");
}

TEST(JsonReport, UnreportedAndUnknownFigures) {
    CompileOutput output = compile(Target{}, {with_pipes({})});
    ShaderVariant& variant = output.variants.at(0);
    variant.fp16_percent = -1;
    variant.v2fp16_underused_percent = 3;
    variant.tls_size = -1;
    variant.spill_size = -1;
    variant.stack_size = 0;
    const json shader = shader_json(output);
    std::map<std::string, json> values;
    for (const auto& entry : shader["variants"][0]["properties"]) values[entry["name"]] = entry["value"];
    EXPECT_EQ(values.count("stack_size"), 0u);
    EXPECT_EQ(values.count("stack_spill_bytes"), 0u);
    EXPECT_EQ(values.at("stack_alloca_bytes"), 0);
    EXPECT_TRUE(values.at("fp16_arithmetic").is_null());
    EXPECT_TRUE(values.at("fp16_idle_lanes").is_null());

    // A cost the back-end could not give is null, and so is the bound it leaves unknown.
    output.variants.at(0).cycles.at(0) = NAN;
    const json total = shader_json(output)["variants"][0]["performance"]["total_cycles"];
    EXPECT_TRUE(total["cycle_count"][0].is_null());
    EXPECT_EQ(total["bound_pipelines"], json::array({nullptr}));
}
