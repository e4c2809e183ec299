// Figures per source line, from the back-end itself.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "child_process.h"
#include "compile_pipeline.h"
#include "core_catalogue.h"
#include "temporary_directory.h"

using namespace reference;

namespace {

using Statistics = std::vector<std::pair<std::string, std::string>>;
using Figures = std::vector<double>;
const char* const CORES[] = {"Koro-L380", "Koro-N22", "Koro-N68", "Koro-N1-Ultra"};

std::string stat(const Statistics& variant, const std::string& key) {
    for (const auto& [name, value] : variant)
        if (name == key) return value;
    return "";
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::stringstream in(text);
    for (std::string piece; std::getline(in, piece, separator);) pieces.push_back(piece);
    return pieces;
}

Figures numbers(const std::string& slash_list) {
    Figures values;
    for (const std::string& piece : split(slash_list, '/')) values.push_back(std::stod(piece));
    return values;
}

// "FILE:LINE" -> what the entry after it says.
std::map<std::string, std::string> by_line(const std::string& list) {
    std::map<std::string, std::string> entries;
    for (const std::string& entry : split(list, ';')) {
        const size_t second = entry.find(':', entry.find(':') + 1);
        entries[entry.substr(0, second)] = entry.substr(second + 1);
    }
    return entries;
}

// A compile as the plug-in makes it; `options` brings what else it needs.
CompileResult annotate(const std::string& core, const std::string& source, Stage stage, bool source_costs = true,
                       CompileOptions options = {}) {
    options.compiler_type = stage == Stage::Kernel ? "opencl" : "openglessl";
    options.stage = stage;
    options.request_source_costs = source_costs;
    options.request_idvs = stage == Stage::Vertex;
    return compile_program(options.compiler_type, *find_core(core, "r0p0"), options, source.data());
}

// The line whose figure on pipe p is highest, with that figure; the
// arithmetic sub-pipes count as one.
std::pair<std::string, double> dearest(const Statistics& variant, size_t pipe) {
    const bool sub_pipes = stat(variant, "pipe_names").rfind("A1/", 0) == 0;
    std::pair<std::string, double> best{"", -1};
    for (const auto& [place, figures] : by_line(stat(variant, "source_line_costs"))) {
        const Figures line = numbers(figures);
        const double value = sub_pipes && pipe == 0 ? line[0] + line[1] + line[2] : line.at(pipe);
        if (value > best.second) best = {place, value};
    }
    return best;
}

}  // namespace

// That the lines add up to the totals, and which lines come first, is
// checked through the program (e2e Annotate); these are the rules it does not
// reach: asking for lines changes no figure, and what each line carries.
TEST(SourceLineCosts, AskingForThemChangesNoFigure) {
    const std::pair<const char*, Stage> examples[] = {
        {"alpha_test.frag", Stage::Fragment}, {"lighting.frag", Stage::Fragment}, {"raymarch.frag", Stage::Fragment},
        {"blur.comp", Stage::Compute},        {"skinning.vert", Stage::Vertex},   {"saxpy.cl", Stage::Kernel}};
    for (const auto& [file, stage] : examples) {
        std::ifstream in(std::string(SHADEX_SOURCE_DIR) + "/examples/" + file);
        const std::string source((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        for (const char* core : CORES) {
            SCOPED_TRACE(std::string(file) + " on " + core);
            const CompileResult result = annotate(core, source, stage);
            const CompileResult plain = annotate(core, source, stage, false);
            ASSERT_TRUE(result.errors.empty()) << result.errors.front();
            ASSERT_EQ(plain.variants.size(), result.variants.size());
            for (size_t v = 0; v < plain.variants.size(); ++v) {
                for (const auto& [key, value] : plain.variants[v])
                    EXPECT_EQ(stat(result.variants[v], key), value) << key;
                EXPECT_FALSE(by_line(stat(result.variants[v], "source_line_registers")).empty());
                EXPECT_EQ(split(stat(result.variants[v], "source_file_names"), '|').size(), 1u);
            }
        }
    }
}

TEST(SourceLineCosts, EachPipeLoopsStackAndKernelLinesFallWhereTheWorkIs) {
    const std::string fragment =
        "#version 310 es\nprecision highp float;\nuniform sampler2D u_image;\nin vec2 v_uv;\nout vec4 color;\n"
        "void main() {\n    vec4 sum = vec4(0.0);\n    for (int i = 0; i < 64; ++i) {\n"
        "        sum += texture(u_image, v_uv + vec2(float(i) * 0.01));\n"           // 9
        "    }\n    float glow = pow(exp(sin(v_uv.x) * 3.0), log(v_uv.y + 2.0));\n"  // 11
        "    color = sum * glow;\n}\n";
    for (const char* core : CORES) {
        SCOPED_TRACE(core);
        const CompileResult result = annotate(core, fragment, Stage::Fragment);
        ASSERT_TRUE(result.errors.empty()) << result.errors.front();
        const Statistics& main = result.variants.at(0);
        const size_t texture = numbers(by_line(stat(main, "source_line_costs")).begin()->second).size() - 1;
        EXPECT_EQ(dearest(main, texture).first, "0:9");
        EXPECT_EQ(dearest(main, 0).first, "0:11");
        EXPECT_EQ(by_line(stat(main, "source_line_loops"))["0:9"], "64");
        EXPECT_EQ(by_line(stat(main, "source_line_loops")).count("0:11"), 0u);
    }

    const CompileResult stack = annotate("Koro-N68",
                                         "#version 310 es\nprecision highp float;\nuniform int u_index;\n"
                                         "in float v;\nout vec4 color;\nvoid main() {\n    float table[8];\n"
                                         "    for (int i = 0; i < 8; ++i) table[i] = v * float(i);\n"
                                         "    color = vec4(table[u_index]);\n}\n",
                                         Stage::Fragment);
    ASSERT_TRUE(stack.errors.empty()) << stack.errors.front();
    const auto stack_lines = by_line(stat(stack.variants.at(0), "source_line_stack"));
    ASSERT_EQ(stack_lines.size(), 1u);
    EXPECT_EQ(stack_lines.begin()->second, "32");

    const CompileResult kernel = annotate("Koro-N68",
                                          "kernel void scale(global float* data, float k) {\n"
                                          "    size_t i = get_global_id(0);\n    data[i] = sqrt(data[i]) * k;\n}\n",
                                          Stage::Kernel);
    ASSERT_TRUE(kernel.errors.empty()) << kernel.errors.front();
    EXPECT_EQ(dearest(kernel.variants.at(0), 0).first, "0:3");
}

TEST(SourceLineCosts, SpirvModulesBringTheirOwnLines) {
    TemporaryDirectory directory("lines-test");
    std::ofstream(directory.file("shade.frag"))
        << "#version 450\nlayout(location = 0) in vec4 v;\nlayout(location = 0) out vec4 c;\nvoid main() {\n"
           "    c = sqrt(v) * 2.0;\n}\n";
    // Plain OpLine, non-semantic DebugLine, and no line information at all.
    for (const char* debug : {"-g", "-gVS", "-g0"}) {
        SCOPED_TRACE(debug);
        const ChildProcessResult run =
            run_child_process({SHADEX_BIN_DIR "/external/glslang", "-V", debug, "shade.frag", "-o", "shade.spv"},
                              directory.path(), directory.file("log"), std::chrono::seconds(60));
        ASSERT_TRUE(run.succeeded());
        std::ifstream in(directory.file("shade.spv"), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        CompileOptions spirv;
        spirv.spirv = true;
        spirv.spirv_length = bytes.size();
        const CompileResult result = annotate("Koro-N68", bytes, Stage::Fragment, true, spirv);
        ASSERT_TRUE(result.errors.empty()) << result.errors.front();
        EXPECT_EQ(dearest(result.variants.at(0), 0).first, std::string(debug) == "-g0" ? "0:0" : "0:5");
    }
}

TEST(SourceLineCosts, IncludedLinesKeepTheirFileAndMessagesTheirForm) {
    TemporaryDirectory directory("include-lines-test");
    std::ofstream(directory.file("light.glsl")) << "vec4 shade(vec2 v) {\n    return vec4(sin(v.x) * cos(v.y));\n}\n";
    const std::string main_source =
        "#version 310 es\n#extension GL_GOOGLE_include_directive : require\nprecision highp float;\n"
        "#include \"light.glsl\"\nin vec2 v;\nout vec4 c;\nvoid main() {\n    c = shade(v) * 2.0;\n}\n";
    CompileOptions includes;
    includes.include_paths = {directory.path()};
    const CompileResult result = annotate("Koro-N68", main_source, Stage::Fragment, true, includes);
    ASSERT_TRUE(result.errors.empty()) << result.errors.front();
    const Statistics& main = result.variants.at(0);
    const std::vector<std::string> files = split(stat(main, "source_file_names"), '|');
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[1].substr(files[1].size() - 10), "light.glsl");
    const auto costs = by_line(stat(main, "source_line_costs"));
    EXPECT_EQ(costs.count("0:8") + costs.count("1:2"), 2u) << stat(main, "source_line_costs");

    const std::string broken = "#version 310 es\nprecision highp float;\nout vec4 c;\nvoid main() { c = x; }\n";
    EXPECT_EQ(annotate("Koro-N68", broken, Stage::Fragment).errors,
              annotate("Koro-N68", broken, Stage::Fragment, false).errors);
}
