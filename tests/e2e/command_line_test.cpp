// The command line as a user meets it: help, version, option rules and their
// exact messages and exit statuses, with no back-end installed.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "common/text.h"
#include "e2e/harness.h"
#include "spirv_builder.h"

namespace {

const std::string HEADER_LINE = "Koro Offline Compiler v8.8.1 (Build 73b41e)\n";

// A SPIR-V module with one fragment entry point named main.
std::string fragment_module() {
    return spirv_test::SpirvBuilder().entry_point(spv::ExecutionModelFragment, 1, "main").text();
}

class CommandLine : public ::testing::Test {
protected:
    Install install;
    TempDir files;

    RunResult run(const std::vector<std::string>& args, const RunOptions& options = {}) {
        RunOptions in_files = options;
        in_files.working_dir = files.path();
        return install.run(args, in_files);
    }
};

TEST_F(CommandLine, HelpPrintsHeaderAndLongUsage) {
    RunResult result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(starts_with(result.out, HEADER_LINE));
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
}

TEST_F(CommandLine, VersionPrintsOnlyTheHeader) {
    RunResult result = run({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(starts_with(result.out, HEADER_LINE));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 3);
    EXPECT_TRUE(ends_with(result.out, "\n\n"));
}

TEST_F(CommandLine, TclapErrorsUseTheSameFrame) {
    RunResult unknown = run({"--bogus", "a.frag"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("ERROR: Argument: --bogus\n   Couldn't find match for argument\n"), std::string::npos)
        << unknown.err;

    RunResult missing = run({"a.frag", "-c"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find("ERROR: Argument: -c (--core)\n   Missing a value for this argument!"),
              std::string::npos)
        << missing.err;

    RunResult format = run({"--format", "xml", "a.frag"});
    EXPECT_EQ(format.status, 2);
    EXPECT_NE(format.err.find("   Invalid format: xml\n"), std::string::npos) << format.err;
}

TEST_F(CommandLine, InputFileProblems) {
    expect_usage_error(run({}), "No input files specified.");
    expect_usage_error(run({"m.frag"}), "Input file m.frag does not exist.");
    files.write("empty.frag", "");
    expect_usage_error(run({"empty.frag"}), "Input file is empty.");
    files.write("x.frag", "void main() {}\n");
    RunOptions with_stdin;
    with_stdin.stdin_data = "void main() {}\n";
    expect_usage_error(run({"-", "x.frag", "-"}, with_stdin), "Stdin can only be used once.");
    std::filesystem::create_directory(files.file("dir.frag"));
    expect_usage_error(run({"dir.frag"}), "Input file dir.frag does not exist.");
}

TEST_F(CommandLine, ExclusiveGroups) {
    files.write("a.frag", "void main() {}\n");
    expect_usage_error(run({"-v", "-f", "a.frag"}),
                       "Arguments -v (--vertex), and -f (--fragment) are mutually exclusive.");
    expect_usage_error(run({"--opengles", "--vulkan", "a.frag"}),
                       "Arguments --opengles, and --vulkan are mutually exclusive.");
    expect_usage_error(run({"-v", "--list", "--info", "a.frag"}),
                       "Arguments -v (--vertex), -l (--list), and -i (--info) are mutually exclusive.");
    // --spirv is not a stage: it combines with one.
    RunResult spirv = run({"--spirv", "-v", "a.frag"});
    EXPECT_EQ(spirv.err.find("mutually exclusive"), std::string::npos) << spirv.err;
}

TEST_F(CommandLine, StageAndApiInference) {
    files.write("a.vert", "void main() {}\n");
    files.write("b.frag", "void main() {}\n");
    files.write("x.txt", "void main() {}\n");
    files.write("k.cl", "kernel void k() {}\n");
    files.write("a.frag.spv", fragment_module());
    files.write("b.frag.spv", fragment_module());
    files.write("m.bin", fragment_module());

    expect_usage_error(run({"a.vert", "b.frag"}), "Only one input source type is allowed.");
    expect_usage_error(run({"-f", "a.vert", "b.frag"}),
                       "Unable to find the OpenGL ES compiler library. Run shadex --info to see "
                       "supported API capabilities.");
    expect_usage_error(run({"x.txt"}), "No implicit or explicit shader type specified.");
    expect_usage_error(run({"k.cl"}), "For OpenCL, a kernel entrypoint name must be specified.");
    expect_usage_error(run({"k.cl", "-n", "k"}),
                       "Unable to find the OpenCL compiler library. Run shadex --info to see "
                       "supported API capabilities.");
    expect_usage_error(run({"--opencl", "2.1", "k.cl", "-n", "k"}),
                       "For OpenCL, the API version must be one of 1.1, 1.2, 2.0, or 3.0");
    expect_usage_error(run({"a.frag.spv"}),
                       "Unable to find the Vulkan compiler library. Run shadex --info to see "
                       "supported API capabilities.");
    // The stage comes from the module; a name without .spv selects a source row.
    expect_usage_error(run({"m.bin"}), "For OpenGL ES, using SPIR-V input is not allowed.");
    RunOptions module_on_stdin;
    module_on_stdin.stdin_data = fragment_module();
    expect_usage_error(run({"-"}, module_on_stdin), "For OpenGL ES, using SPIR-V input is not allowed.");
    expect_usage_error(run({"--vulkan", "-"}, module_on_stdin),
                       "Unable to find the Vulkan compiler library. Run shadex --info to see "
                       "supported API capabilities.");
}

TEST_F(CommandLine, PerApiRules) {
    files.write("a.frag", "void main() {}\n");
    files.write("k.cl", "kernel void k() {}\n");
    files.write("a.frag.spv", fragment_module());
    files.write("b.frag.spv", fragment_module());

    expect_usage_error(run({"--vulkan", "k.cl", "-n", "k"}), "For Vulkan, only graphics shaders are allowed.");
    expect_usage_error(run({"--opengles", "k.cl"}), "For OpenGL ES, only graphics shaders are allowed.");
    expect_usage_error(run({"--opengles", "a.frag.spv"}), "For OpenGL ES, only source shaders are allowed.");
    expect_usage_error(run({"--opencl", "1.2", "a.frag"}), "For OpenCL, only compute kernels are allowed.");
    expect_usage_error(run({"a.frag", "-n", "main"}), "For OpenGL ES, setting an entrypoint name is not allowed.");
    expect_usage_error(run({"a.frag", "-S", "1=2"}),
                       "For OpenGL ES, specialization constant overrides are not allowed.");
    expect_usage_error(run({"a.frag.spv", "b.frag.spv"}), "For Vulkan, only one SPIR-V binary input is allowed.");
    expect_usage_error(run({"a.frag.spv", "b.frag.spv", "-D", "X"}),
                       "For Vulkan, SPIR-V binary input with preprocessor defines are not allowed.");
    expect_usage_error(run({"k.cl", "-n", "k", "-S", "1=2"}),
                       "For OpenCL, specialization constant overrides are not allowed.");
    expect_usage_error(run({"-c", "Koro-N68", "a.frag"}), "Koro-N68 is an invalid target core.");
}

TEST_F(CommandLine, OutputFile) {
    files.write("a.frag", "void main() {}\n");
    expect_usage_error(run({"-o", "missing-dir/report.txt", "a.frag"}),
                       "Could not create output file: missing-dir/report.txt");

    // Opened before the other checks, removed again when one of them fails.
    RunResult failed = run({"-o", "report.txt", "x.vert", "y.frag"});
    EXPECT_EQ(failed.status, 2);
    EXPECT_FALSE(std::filesystem::exists(files.file("report.txt")));
}

TEST_F(CommandLine, JobErrorsWithoutBackEnds) {
    RunResult info = run({"--info"});
    EXPECT_EQ(info.status, 2);
    EXPECT_TRUE(starts_with(info.err, HEADER_LINE));
    EXPECT_TRUE(ends_with(info.err, "\n\nERROR: No compiler found matching target GPU\n")) << info.err;
}

}  // namespace
