// The command line as a user meets it: help, version, option rules and their
// exact messages and exit statuses, with no back-end installed; and the manual
// pages, which name every option of --help so that the two cannot drift apart.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "common/text.h"
#include "e2e/scripted_install.h"
#include "spirv_builder.h"

namespace {

std::set<std::string> long_options(const std::string& help) {
    std::set<std::string> options;
    const std::regex option("--([a-z_]+)");
    for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at) options.insert((*at)[1]);
    options.erase("ignore_rest");  // TCLAP's own "--", not an option of ours
    return options;
}

void expect_page_names(const std::string& page, const std::string& help, const std::string& what) {
    const std::set<std::string> options = long_options(help);
    EXPECT_GE(options.size(), 3u) << help;
    // Option names hold no '-' of their own: only the leading two are escaped.
    for (const std::string& option : options)
        EXPECT_TRUE(contains(page, "\\-\\-" + option)) << what << ": --" << option;
}

class CommandLine : public ::testing::Test {
protected:
    ScriptedShadex shadex;  // no back-end added
};

TEST_F(CommandLine, HelpPrintsLongUsageAndVersionOnlyTheHeader) {
    RunResult result = shadex.run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(starts_with(result.out, REPORT_HEADER));
    for (const char* piece :
         {"Usage: \n\n   shadex ", "Where: \n\n", "   --opengles\n     Target the OpenGL ES API.\n",
          "Target the OpenCL API (1.1, 1.2, 2.0, or 3.0).", "   -v,  --vertex\n", "         -- OR --\n",
          "   No shader type flag\n", "     Infer shader type from input file extensions, where:\n",
          "       .vert      - Source vertex shader\n", "       .rahit.spv - SPIR-V binary ray any hit shader\n",
          "       .cl.spv    - OpenCL SPIR-V binary compute kernel\n", "   -l,  --list\n", "   --format <text|json>\n",
          "{-v|-t|-e|-g|-f|-C|-k"}) {
        EXPECT_NE(result.out.find(piece), std::string::npos) << piece;
    }
    // The stage block precedes --spirv, which is not one of the alternatives.
    EXPECT_LT(result.out.find("No shader type flag"), result.out.find("--spirv\n"));

    RunResult version = shadex.run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, REPORT_HEADER);
}

TEST_F(CommandLine, TclapErrorsUseTheSameFrame) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--bogus", "a.frag"}, "ERROR: Argument: --bogus\n   Couldn't find match for argument\n"},
        {{"--format", "xml", "a.frag"}, "   Invalid format: xml\n"},
    };
    for (const auto& [args, piece] : cases) {
        RunResult result = shadex.run(args);
        EXPECT_EQ(result.status, 2);
        EXPECT_TRUE(contains(result.err, piece)) << result.err;
    }
}

// Each rule's message, in TCLAP's frame with status 2, and no compile tried.
TEST_F(CommandLine, UsageErrors) {
    for (const char* name : {"a.frag", "b.frag", "a.vert", "x.txt"}) shadex.write(name, "void main() {}\n");
    shadex.write("empty.frag", "");
    shadex.write("k.cl", "kernel void k() {}\n");
    const std::string module = spirv_test::SpirvBuilder().entry_point(spv::ExecutionModelFragment, 1, "main").text();
    for (const char* name : {"a.frag.spv", "b.frag.spv", "m.bin"}) shadex.write(name, module);
    shadex.write("dir.frag/inside", "");  // makes dir.frag a directory
    auto missing = [](const std::string& api) {
        return "Unable to find the " + api + " compiler library. Run shadex --info to see supported API capabilities.";
    };
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "No input files specified."},
        {{"m.frag"}, "Input file m.frag does not exist."},
        {{"dir.frag"}, "Input file dir.frag does not exist."},
        {{"empty.frag"}, "Input file is empty."},
        {{"-v", "-f", "a.frag"}, "Arguments -v (--vertex), and -f (--fragment) are mutually exclusive."},
        {{"--opengles", "--vulkan", "a.frag"}, "Arguments --opengles, and --vulkan are mutually exclusive."},
        {{"-v", "--list", "--info", "a.frag"},
         "Arguments -v (--vertex), -l (--list), and -i (--info) are mutually exclusive."},
        {{"a.vert", "b.frag"}, "Only one input source type is allowed."},
        {{"-f", "a.vert", "b.frag"}, missing("OpenGL ES")},
        // --spirv is not a stage: it combines with one.
        {{"--spirv", "-v", "a.frag"}, "For OpenGL ES, using SPIR-V input is not allowed."},
        {{"x.txt"}, "No implicit or explicit shader type specified."},
        {{"k.cl"}, "For OpenCL, a kernel entrypoint name must be specified."},
        {{"k.cl", "-n", "k"}, missing("OpenCL")},
        {{"--opencl", "2.1", "k.cl", "-n", "k"}, "For OpenCL, the API version must be one of 1.1, 1.2, 2.0, or 3.0"},
        {{"a.frag.spv"}, missing("Vulkan")},
        // The stage comes from the module; a name without .spv selects a source row.
        {{"m.bin"}, "For OpenGL ES, using SPIR-V input is not allowed."},
        {{"--vulkan", "k.cl", "-n", "k"}, "For Vulkan, only graphics shaders are allowed."},
        {{"--opengles", "k.cl"}, "For OpenGL ES, only graphics shaders are allowed."},
        {{"--opengles", "a.frag.spv"}, "For OpenGL ES, only source shaders are allowed."},
        {{"--opencl", "1.2", "a.frag"}, "For OpenCL, only compute kernels are allowed."},
        {{"a.frag", "-n", "main"}, "For OpenGL ES, setting an entrypoint name is not allowed."},
        {{"a.frag", "-S", "1=2"}, "For OpenGL ES, specialization constant overrides are not allowed."},
        {{"a.frag.spv", "b.frag.spv"}, "For Vulkan, only one SPIR-V binary input is allowed."},
        {{"a.frag.spv", "b.frag.spv", "-D", "X"},
         "For Vulkan, SPIR-V binary input with preprocessor defines are not allowed."},
        {{"k.cl", "-n", "k", "-S", "1=2"}, "For OpenCL, specialization constant overrides are not allowed."},
        {{"-c", "Koro-N68", "a.frag"}, "Koro-N68 is an invalid target core."},
        {{"-o", "missing-dir/report.txt", "a.frag"}, "Could not create output file: missing-dir/report.txt"},
    };
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(message);
        expect_usage_error(shadex.run(args), message);
    }
    // Standard input is read once; a module read from it is told apart as m.bin is.
    expect_usage_error(shadex.run({"-", "a.frag", "-"}), "Stdin can only be used once.");
}

TEST_F(CommandLine, JobErrorsWithoutBackEnds) {
    RunResult info = shadex.run({"--info"});
    EXPECT_EQ(info.status, 2);
    EXPECT_EQ(info.err, REPORT_HEADER + "\nERROR: No compiler found matching target GPU\n");
}

TEST(ManPages, NameEveryOptionOfHelp) {
    const std::string page = read_file(SHADEX_BUILD_DIR "/man/shadex.1");
    ASSERT_FALSE(page.empty());
    expect_page_names(page, run_shadex({"--help"}).out, "shadex(1)");

    const std::string suite_page = read_file(SHADEX_SOURCE_DIR "/docs/man/shadex-suite.1");
    for (const char* command : {"run", "diff", "check", "merge"})
        expect_page_names(suite_page, run_shadex_suite({command, "--help"}).out, command);
}

}  // namespace
