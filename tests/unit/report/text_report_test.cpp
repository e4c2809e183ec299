#include <gtest/gtest.h>

#include <sstream>

#include "report/compile_report.h"
#include "report/text_report.h"
#include "unit/report/synthetic_output.h"

namespace {

std::string text_report(const CompileOutput& output, bool detailed = false,
                        const std::string& source = "") {
    std::ostringstream out;
    print_compile_report(out, detailed, source, output, "shader.frag", ReportFormat::Text);
    return out.str();
}

std::string context(const std::string& message, const std::vector<std::string>& lines) {
    std::ostringstream out;
    print_compiler_context(out, message, lines);
    return out.str();
}

// The lines of `report` from the one equal to `first` up to (not including) the
// next blank line.
std::string block(const std::string& report, const std::string& first) {
    size_t start = report.find(first + "\n");
    if (start == std::string::npos) return "<missing " + first + ">";
    size_t end = report.find("\n\n", start);
    return report.substr(start, end == std::string::npos ? std::string::npos : end + 1 - start);
}

const char* const WORKED_EXAMPLE =
    "Configuration\n"
    "=============\n"
    "\n"
    "Hardware: Koro-N22 r1p0\n"
    "Architecture: Ostrem\n"
    "Driver: r40p0-00rel0\n"
    "Shader type: OpenGL ES Fragment\n"
    "\n"
    "Main shader\n"
    "===========\n"
    "\n"
    "Work registers: 24 (37% used at 100% occupancy)\n"
    "Uniform registers: 10 (7% used)\n"
    "Stack use: false\n"
    "16-bit arithmetic: 25%\n"
    "\n"
    "                                A      LS       V       T    Bound\n"
    "Total instruction cycles:    1.50    0.00    0.25    1.00        A\n"
    "Shortest path cycles:        1.25    0.00    0.25    1.25     A, T\n"
    "Longest path cycles:         1.50    0.00    0.25    1.00        A\n"
    "\n"
    "A = Arithmetic, LS = Load/Store, V = Varying, T = Texture\n"
    "\n"
    "Shader properties\n"
    "=================\n"
    "\n"
    "Has uniform computation: false\n"
    "Has side-effects: false\n"
    "Modifies coverage: false\n"
    "Uses late ZS test: false\n"
    "Uses late ZS update: false\n"
    "Reads color buffer: false\n"
    "\n"
    "Note: This tool shows only the shader-visible property state.\n"
    "API configuration may also impact the value of some properties.\n"
    "\n";

}  // namespace

TEST(TextReport, WorkedExampleByteForByte) {
    EXPECT_EQ(text_report(worked_example_output()), WORKED_EXAMPLE);
}

TEST(TextReport, OpenGLESErrorQuotesTheSourceAndStops) {
    CompileOutput output = SyntheticOutput()
                               .warning("0:1: P0001: something odd")
                               .error("0:3: undeclared identifier")
                               .build(KORO_N22_FRAGMENT);
    std::string source = "#version 310 es\r\nline two\r\nline three\r\nline four\r\n";
    std::string report = text_report(output, false, source);
    std::string expected_tail =
        "Shader type: OpenGL ES Fragment\n"
        "\n"
        "Compiler messages\n"
        "=================\n"
        "\n"
        "WARNING: 0:1: P0001: something odd\n"
        "ERROR: 0:3: undeclared identifier\n"
        "     line two\n"
        "  >> line three\n"
        "     line four\n"
        "\n"
        "Compilation failed.\n";
    ASSERT_GE(report.size(), expected_tail.size());
    EXPECT_EQ(report.substr(report.size() - expected_tail.size()), expected_tail);
}

TEST(TextReport, ErrorContextWindow) {
    std::vector<std::string> lines = {"one", "two", "three", ""};
    EXPECT_EQ(context("0:1: bad", lines), "  >> one\n     two\n\n");
    EXPECT_EQ(context("0:2: bad", lines), "     one\n  >> two\n     three\n\n");
    // The last shown line is empty: no blank line after it.
    EXPECT_EQ(context("0:3: bad", lines), "     two\n  >> three\n     \n");
    EXPECT_EQ(context("0:4: bad", lines), "     three\n  >> \n");
    EXPECT_EQ(context("0:2:x", {"a", "b"}), "     a\n  >> b\n\n");

    EXPECT_EQ(context("0:5: beyond the end", lines), "");
    EXPECT_EQ(context("0:0: line zero", lines), "");
    EXPECT_EQ(context("0:2", lines), "");
    EXPECT_EQ(context("0:2:", lines), "");
    EXPECT_EQ(context("0:2: X0000: marked", lines), "");
    EXPECT_EQ(context("0: 2 : text", lines), "     one\n  >> two\n     three\n\n");
    EXPECT_THROW(context("0:abc: text", lines), std::invalid_argument);
    EXPECT_THROW(context("0:99999999999: text", lines), std::out_of_range);
}

TEST(TextReport, MessageSectionBlankLines) {
    // Under OpenCL each error carries its own blank line.
    SyntheticTarget kernel{ArchitectureType::Pelion, "Koro-N68", CompilerType::OpenCL,
                           SourceType::Kernel};
    EXPECT_NE(text_report(SyntheticOutput().error("2:1: bad thing").build(kernel))
                  .find("ERROR: 2:1: bad thing\n\nCompilation failed.\n"),
              std::string::npos);

    // An OpenGL ES error without a usable line number prints no context and
    // still gets no closing blank line.
    CompileOutput no_context = SyntheticOutput().error("no line number").build(KORO_N22_FRAGMENT);
    EXPECT_NE(text_report(no_context, false, "a\nb\n")
                  .find("ERROR: no line number\nCompilation failed.\n"),
              std::string::npos);

    // Vulkan errors get neither context nor their own blank line.
    SyntheticTarget vulkan{ArchitectureType::Ostrem, "Koro-N22", CompilerType::Vulkan,
                           SourceType::Fragment};
    EXPECT_NE(text_report(SyntheticOutput().error("0:1: bad").build(vulkan), false, "x\n")
                  .find("ERROR: 0:1: bad\n\nCompilation failed.\n"),
              std::string::npos);

    // Notes after an error close the section with a blank line.
    CompileOutput with_note = SyntheticOutput().error("0:9: bad").build(KORO_N22_FRAGMENT);
    with_note.messages.push_back("a note");
    EXPECT_NE(text_report(with_note).find("ERROR: 0:9: bad\nINFO: a note\n\nCompilation failed.\n"),
              std::string::npos);
}

TEST(TextReport, SeveralVariantsGetSubtitlesAndVertexStreams) {
    SyntheticTarget vertex{ArchitectureType::Ostrem, "Koro-N22", CompilerType::OpenGLES,
                           SourceType::Vertex};
    Statistics varying = {{"variant", "1"},          {"work_registers_used", "40"},
                          {"pipe_names", "A/LS/T"}, {"cycles", "6/1/2"},
                          {"shortest", "6/1/2"},    {"longest", "-1/1/2"},
                          {"varying_attribute_symbols", "uv:1,normal:65535"}};
    Statistics position = {{"variant", "256"},         {"work_registers_used", "8"},
                           {"pipe_names", "A/LS/T"},  {"cycles", "6/2/0"},
                           {"shortest", "6/2/0"},     {"longest", "6/2/0"},
                           {"position_attribute_symbols", "pos:0"}};
    std::string report = text_report(SyntheticOutput().variant(varying).variant(position).build(vertex));

    size_t position_at = report.find("Position variant\n----------------\n\nWork registers: 8 (12% used at 100% occupancy)\n");
    size_t varying_at = report.find("Varying variant\n---------------\n\nWork registers: 40 (62% used at 50% occupancy)\n");
    EXPECT_NE(position_at, std::string::npos);
    EXPECT_NE(varying_at, std::string::npos);
    EXPECT_LT(position_at, varying_at);
    EXPECT_EQ(report.find("Main shader\n===========\n\nPosition variant"), report.find("Main shader"));

    // A negative longest path (a loop) makes the whole row unknown.
    EXPECT_NE(report.find("Longest path cycles:          N/A     N/A     N/A      N/A\n"),
              std::string::npos);
    EXPECT_NE(report.find("Shortest path cycles:        1.00    2.00    0.00       LS\n"),
              std::string::npos);
    EXPECT_NE(report.find("\nA = Arithmetic, LS = Load/Store, T = Texture\n\n"), std::string::npos);

    std::string streams_tail =
        "Shader properties\n"
        "=================\n"
        "\n"
        "Has uniform computation: false\n"
        "\n"
        "Recommended attribute streams\n"
        "=============================\n"
        "\n"
        "Position attributes\n"
        " - pos (location=0)\n"
        "\n"
        "Non-position attributes\n"
        " - uv (location=1)\n"
        " - normal (location=dynamic)\n"
        "\n";
    ASSERT_GE(report.size(), streams_tail.size());
    EXPECT_EQ(report.substr(report.size() - streams_tail.size()), streams_tail);
}

TEST(TextReport, PelionHidesArithmeticSubPipesUnlessDetailed) {
    SyntheticTarget pelion{ArchitectureType::Pelion, "Koro-N68", CompilerType::OpenGLES,
                           SourceType::Fragment};
    // N68 divisors: A1..A3 and V by 8, T by 4; the aggregate is the largest arithmetic pipe.
    Statistics statistics = {{"work_registers_used", "32"},
                             {"pipe_names", "A1/A2/A3/LS/V/T"},
                             {"cycles", "16/8/4/1/8/4"},
                             {"shortest", "16/8/4/1/8/4"},
                             {"longest", "16/8/4/1/8/4"}};
    CompileOutput output = SyntheticOutput().variant(statistics).build(pelion);

    EXPECT_EQ(block(text_report(output, true), std::string(26, ' ') +
                                                   "      A     FMA     CVT     SFU      LS       V       T    Bound"),
              std::string(26, ' ') +
                  "      A     FMA     CVT     SFU      LS       V       T    Bound\n"
                  "Total instruction cycles:    2.00    2.00    1.00    0.50    1.00    1.00    1.00   A, FMA\n"
                  "Shortest path cycles:        2.00    2.00    1.00    0.50    1.00    1.00    1.00   A, FMA\n"
                  "Longest path cycles:         2.00    2.00    1.00    0.50    1.00    1.00    1.00   A, FMA\n");
    EXPECT_NE(text_report(output, true)
                  .find("\nA = Arithmetic, FMA = Arith FMA, CVT = Arith CVT, SFU = Arith SFU,\n"
                        "LS = Load/Store, V = Varying, T = Texture\n\n"),
              std::string::npos);

    EXPECT_NE(text_report(output, false)
                  .find(std::string(26, ' ') +
                        "      A      LS       V       T    Bound\n"
                        "Total instruction cycles:    2.00    1.00    1.00    1.00        A\n"),
              std::string::npos);
    EXPECT_NE(text_report(output, false)
                  .find("\nA = Arithmetic, LS = Load/Store, V = Varying, T = Texture\n\n"),
              std::string::npos);
}

TEST(TextReport, TarselProperties) {
    Statistics statistics = {{"work_registers_used", "2"},
                             {"uniform_registers_used", "11"},
                             {"pipe_names", "A/LS/T"},
                             {"cycles", "1/1/1"},
                             {"shortest", "1/1/1"},
                             {"longest", "1/1/1"}};
    SyntheticTarget l220{ArchitectureType::Tarsel, "Koro-L220", CompilerType::OpenGLES,
                         SourceType::Fragment};
    std::string report = text_report(SyntheticOutput().variant(statistics).build(l220));
    EXPECT_EQ(report.find("Shader properties"), std::string::npos);
    // 2 of 16 work registers; the register file is shared: 24 - 2 uniform
    // registers remain.
    EXPECT_NE(report.find("Work registers: 2 (12% used at 100% occupancy)\n"
                          "Uniform registers: 11 (50% used)\n"),
              std::string::npos);
    std::string l220_tail = "A = Arithmetic, LS = Load/Store, T = Texture\n\n";
    EXPECT_EQ(report.substr(report.size() - l220_tail.size()), l220_tail);

    SyntheticTarget l380{ArchitectureType::Tarsel, "Koro-L380", CompilerType::OpenGLES,
                         SourceType::Fragment};
    std::string properties = block(text_report(SyntheticOutput().variant(statistics).build(l380)),
                                   "Has uniform computation: false");
    EXPECT_EQ(properties, "Has uniform computation: false\n");
}

TEST(TextReport, StackAndSixteenBitLines) {
    auto stats_block = [](void (*adjust)(ShaderVariant&)) {
        CompileOutput output = worked_example_output();
        adjust(output.variants.at(0));
        return block(text_report(output), "Work registers: 24 (37% used at 100% occupancy)");
    };
    const std::string head = "Work registers: 24 (37% used at 100% occupancy)\nUniform registers: 10 (7% used)\n";

    EXPECT_EQ(stats_block([](ShaderVariant& v) {
                  v.tls_size = 96;
                  v.stack_size = 0;
                  v.spill_size = 32;
                  v.fp16_percent = -2;
              }),
              head + "Stack use: 96 bytes - Spill region: 32 bytes\n");
    EXPECT_EQ(stats_block([](ShaderVariant& v) {
                  v.tls_size = 96;
                  v.stack_size = 64;
                  v.spill_size = 32;
                  v.fp16_percent = -1;
              }),
              head + "Stack use: 96 bytes - Alloca region: 64 bytes - Spill region: 32 bytes\n"
                     "16-bit arithmetic: N/A\n");
    EXPECT_EQ(stats_block([](ShaderVariant& v) {
                  v.tls_size = -1;
                  v.has_spilling = true;
                  v.fp16_percent = 40;
                  v.v2fp16_underused_percent = 12;
              }),
              head + "Stack spilling: true\n16-bit arithmetic: 40% - Idle SIMD lanes: 12%\n");
    EXPECT_EQ(stats_block([](ShaderVariant& v) {
                  v.tls_size = -1;
                  v.fp16_percent = 0;
                  v.v2fp16_underused_percent = -1;
              }),
              head + "Stack spilling: false\n16-bit arithmetic: 0%\n");
}

TEST(TextReport, KernelTitleSharedStorageAndEmptyBinary) {
    SyntheticTarget kernel{ArchitectureType::Pelion, "Koro-N68", CompilerType::OpenCL,
                           SourceType::Kernel};
    Statistics statistics = {{"kernel_name", "reduce"},
                             {"work_registers_used", "64"},
                             {"wls_size", "256"},
                             {"pipe_names", "A1/A2/A3/LS/T"},
                             {"cycles", "8/8/8/1/4"},
                             {"shortest", "8/8/8/1/4"},
                             {"longest", "8/8/8/1/4"}};
    std::string report = text_report(SyntheticOutput().variant(statistics).build(kernel));
    EXPECT_NE(report.find("Kernel 'reduce'\n===============\n\nWork registers: 64 (100% used at 50% occupancy)\n"),
              std::string::npos);
    EXPECT_NE(report.find("Shared storage size: 256 bytes\n"), std::string::npos);

    CompileOutput empty = SyntheticOutput().build(kernel);
    empty.errors.clear();  // the empty-program error is not what this checks
    std::string empty_report = text_report(empty);
    std::string tail = "Shader type: OpenCL Kernel\n\nCompilation produced an empty shader binary.\n";
    ASSERT_GE(empty_report.size(), tail.size());
    EXPECT_EQ(empty_report.substr(empty_report.size() - tail.size()), tail);
}
