// Whole reports are compared against golden files end to end; these are the
// text report's rules no golden report reaches.
#include <gtest/gtest.h>

#include <sstream>

#include "report/compile_report.h"
#include "report/text_report.h"
#include "unit/output/backend_record.h"

namespace {

std::string text_report(const CompileOutput& output, const std::string& source = "") {
    std::ostringstream out;
    print_compile_report(out, false, source, output, "shader.frag", ReportFormat::Text);
    return out.str();
}

std::string context(const std::string& message, const std::vector<std::string>& lines) {
    std::ostringstream out;
    print_compiler_context(out, message, lines);
    return out.str();
}

bool contains(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

const Target KERNEL{ArchitectureType::Pelion, "Koro-N68", CompilerType::OpenCL, SourceType::Kernel};

}  // namespace

TEST(TextReport, ErrorContextWindow) {
    const std::vector<std::string> lines = {"one", "two", "three", ""};
    const std::pair<std::string, std::string> cases[] = {
        {"0:3: bad", "     two\n  >> three\n     \n"},  // the last line shown is empty
        {"0:4: bad", "     three\n  >> \n"},
        {"0: 2 : text", "     one\n  >> two\n     three\n\n"},
        {"0:5: beyond the end", ""},
        {"0:0: line zero", ""},
        {"0:2", ""},
        {"0:2:", ""},
        {"0:2: X0000: marked", ""},
    };
    for (const auto& [message, quoted] : cases) EXPECT_EQ(context(message, lines), quoted) << message;
    EXPECT_EQ(context("0:2:x", {"a", "b"}), "     a\n  >> b\n\n");
    EXPECT_THROW(context("0:abc: text", lines), std::invalid_argument);
    EXPECT_THROW(context("0:99999999999: text", lines), std::out_of_range);
}

TEST(TextReport, MessageSectionBlankLines) {
    const Target vulkan{ArchitectureType::Ostrem, "Koro-N68", CompilerType::Vulkan, SourceType::Fragment};
    const struct {
        Target target;
        std::string error, note, expected;
    } cases[] = {
        // Under OpenCL each error carries its own blank line.
        {KERNEL, "2:1: bad thing", "", "ERROR: 2:1: bad thing\n\nCompilation failed.\n"},
        // An OpenGL ES error with no usable line number prints no context and
        // still gets no closing blank line.
        {Target{}, "no line number", "", "ERROR: no line number\nCompilation failed.\n"},
        // Vulkan errors get neither context nor their own blank line.
        {vulkan, "0:1: bad", "", "ERROR: 0:1: bad\n\nCompilation failed.\n"},
        // Notes after an error close the section with a blank line.
        {Target{}, "0:9: bad", "a note", "ERROR: 0:9: bad\nINFO: a note\n\nCompilation failed.\n"},
    };
    for (const auto& c : cases) {
        CompileOutput output = compile(c.target, {}, {c.error});
        if (!c.note.empty()) output.messages.push_back(c.note);
        std::string report = text_report(output, "a\nb\n");
        EXPECT_TRUE(contains(report, "=\n\n" + c.expected)) << report;
    }
}

TEST(TextReport, StackAndSixteenBitBoundaries) {
    CompileOutput output = compile(Target{}, {with_pipes({})});
    ShaderVariant& variant = output.variants.at(0);
    variant.tls_size = -1;
    variant.fp16_percent = 0;
    variant.v2fp16_underused_percent = -1;
    EXPECT_TRUE(contains(text_report(output),
                         "(0% used)\nStack spilling: false\n"
                         "16-bit arithmetic: 0%\n\n"));
    variant.tls_size = 8;
    variant.stack_size = -1;
    variant.spill_size = 0;
    variant.fp16_percent = -2;
    EXPECT_TRUE(contains(text_report(output), "(0% used)\nStack use: 8 bytes\n\n"));
}

// The fifth generation has the register file of the two before it.
TEST(TextReport, FifthGenerationRegisterFile) {
    const Target n1{ArchitectureType::FifthGen, "Koro N1"};
    EXPECT_TRUE(contains(text_report(compile(n1, {with_pipes({"work_registers_used", "8"})})),
                         "Work registers: 8 (12% used at 100% occupancy)\n"));
}

TEST(TextReport, KernelTitleSharedStorageAndEmptyBinary) {
    std::string report = text_report(
        compile(KERNEL, {{"kernel_name", "reduce", "work_registers_used", "64", "wls_size", "256", "pipe_names",
                          "A1/A2/A3/LS/T", "cycles", "8/8/8/1/4", "shortest", "8/8/8/1/4", "longest", "8/8/8/1/4"}}));
    EXPECT_TRUE(
        contains(report, "Kernel 'reduce'\n===============\n\nWork registers: 64 (100% used at 50% occupancy)\n"))
        << report;
    EXPECT_TRUE(contains(report, "Shared storage size: 256 bytes\n"));

    CompileOutput empty = compile(KERNEL, {});
    empty.errors.clear();  // the empty-program error is not what this checks
    EXPECT_TRUE(
        contains(text_report(empty), "Shader type: OpenCL Kernel\n\nCompilation produced an empty shader binary.\n"));
}
