// Running the OpenCL tools: as child processes, or in the resident process
// that must behave exactly like them.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "child_process.h"
#include "resident_tools.h"
#include "temporary_directory.h"

using reference::ChildProcessResult;
using reference::find_executable;
using reference::ResidentTools;
using reference::run_child_process;
using reference::TemporaryDirectory;
using namespace std::chrono_literals;

namespace {

const std::string SERVER = std::string(SHADEX_BIN_DIR) + "/opencl/shadex-opencl-tools";

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void write(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

// A stand-in for the resident program: a script that misbehaves as asked.
std::string fake_server(const TemporaryDirectory& directory, const std::string& name, const std::string& body) {
    const std::string path = directory.file(name);
    write(path, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

}  // namespace

TEST(OpenCLChildProcess, ArgumentsReachTheProgramUntouchedAndFailuresAreReported) {
    TemporaryDirectory directory("child-test");
    const std::string output = directory.file("out.txt");
    const std::string tricky = "a;b|c&d $(touch pwned) `id` 'q' \"r\" * \\";
    auto run = run_child_process({"printf", "%s|%s", tricky, ""}, directory.path(), output, 10s);
    EXPECT_TRUE(run.succeeded());
    EXPECT_EQ(contents(output), tricky + "|");

    // Runs in the directory it is given, with stderr in the same file.
    run = run_child_process({"ls", "out.txt", "missing-file"}, directory.path(), output, 10s);
    EXPECT_TRUE(run.exited);
    EXPECT_NE(run.exit_status, 0);
    EXPECT_NE(contents(output).find("out.txt"), std::string::npos);
    EXPECT_NE(contents(output).find("missing-file"), std::string::npos);

    // A program that cannot start, or run where asked, is an exception; one that runs too long is stopped.
    EXPECT_THROW(run_child_process({"no-such-program-here"}, directory.path(), output, 10s), std::runtime_error);
    EXPECT_THROW(run_child_process({"true"}, directory.file("no-such-dir"), output, 10s), std::runtime_error);
    EXPECT_EQ(find_executable("no-such-program-here"), "");
    EXPECT_NE(find_executable("sh"), "");

    auto started = std::chrono::steady_clock::now();
    run = run_child_process({"sleep", "30"}, directory.path(), output, 200ms);
    EXPECT_TRUE(run.timed_out);
    EXPECT_FALSE(run.succeeded());
    EXPECT_LT(std::chrono::steady_clock::now() - started, 10s);
}

// Every file a compile leaves, and every message, is what the programs give.
TEST(ResidentTools, WritesWhatTheProgramsWrite) {
    if (!std::filesystem::exists(SERVER)) GTEST_SKIP() << "built without the compiler's libraries";
    const std::vector<std::vector<std::string>> steps = {
        {"clang-14", "-c", "-target", "spir64", "-emit-llvm", "-S", "-x", "cl", "-cl-std=CL1.2", "-O2",
         "-fno-color-diagnostics", "kernel.cl", "-o", "kernel.ll"},
        {"clang-14", "-c", "-target", "spir64", "-emit-llvm", "-x", "ir", "kernel.ll", "-o", "kernel.bc"},
        {"llvm-spirv-14", "--spirv-max-version=1.4", "kernel.bc", "-o", "kernel.spv"},
        {"clang-14", "-c", "-target", "spir64", "-emit-llvm", "-x", "cl", "-fno-color-diagnostics", "broken.cl", "-o",
         "broken.bc"},
        {"llvm-spirv-14", "--spirv-max-version=1.4", "broken.bc", "-o", "broken.spv"},
    };
    const std::string kernel =
        "kernel void scale(global float* data, float by) {\n"
        "  int unused;\n  data[get_global_id(0)] *= native_exp(by);\n}\n";
    TemporaryDirectory by_program("resident-test"), by_resident("resident-test");
    ResidentTools tools(SERVER);
    for (const TemporaryDirectory* directory : {&by_program, &by_resident}) {
        write(directory->file("kernel.cl"), kernel);
        write(directory->file("broken.cl"), "kernel void k() { undeclared(); }\n");
    }
    for (size_t step = 0; step < steps.size(); ++step) {
        const std::string log = "step" + std::to_string(step) + ".txt";
        ChildProcessResult expected =
            reference::run_child_process(steps[step], by_program.path(), by_program.file(log), 60s);
        ChildProcessResult got = tools.run(steps[step], by_resident.path(), by_resident.file(log), 60s);
        EXPECT_EQ(got.succeeded(), expected.succeeded()) << step;
        EXPECT_EQ(got.exit_status, expected.exit_status) << step;
        EXPECT_EQ(contents(by_resident.file(log)), contents(by_program.file(log))) << step;
    }
    for (const char* file : {"kernel.ll", "kernel.bc", "kernel.spv"}) {
        EXPECT_FALSE(contents(by_program.file(file)).empty()) << file;
        EXPECT_EQ(contents(by_resident.file(file)), contents(by_program.file(file))) << file;
    }
    EXPECT_NE(contents(by_resident.file("step3.txt")).find("broken.cl:1:19: error:"), std::string::npos);

    // A compile that never ends (its input is a pipe nobody writes) is
    // stopped; the next one gets a new process.
    ASSERT_EQ(::mkfifo(by_resident.file("stuck.cl").c_str(), 0600), 0);
    ChildProcessResult stuck = tools.run({"clang-14", "-c", "-x", "cl", "stuck.cl", "-o", "stuck.bc"},
                                         by_resident.path(), by_resident.file("stuck.txt"), 300ms);
    EXPECT_TRUE(stuck.timed_out);
    // Relative paths are the caller's, however often the process has moved.
    char relative[] = "resident-test-XXXXXX";
    ASSERT_NE(::mkdtemp(relative), nullptr);
    std::filesystem::copy_file(by_resident.file("kernel.bc"), std::string(relative) + "/kernel.bc");
    for (int run = 0; run < 2; ++run)
        EXPECT_TRUE(tools.run(steps[2], relative, std::string(relative) + "/again.txt", 60s).succeeded()) << run;
    std::filesystem::remove_all(relative);
}

TEST(ResidentTools, AProcessThatDiesEndsOnlyItsRun) {
    TemporaryDirectory directory("resident-test");
    const std::string log = directory.file("log.txt");
    const std::vector<std::string> command = {"clang-14", "--version"};

    // Says it is ready, reads the start of a request, then ends as asked.
    const std::string ready = "printf '\\0\\0\\0\\0' >&0; head -c 4 <&0 >/dev/null; ";
    ResidentTools crashing(fake_server(directory, "crashing", ready + "kill -SEGV $$"));
    EXPECT_EQ(crashing.run(command, directory.path(), log, 10s).signal_number, SIGSEGV);
    EXPECT_EQ(crashing.run(command, directory.path(), log, 10s).signal_number, SIGSEGV);

    ResidentTools silent(fake_server(directory, "silent", ready + "exit 0"));
    EXPECT_FALSE(silent.run(command, directory.path(), log, 10s).succeeded());

    // Never ready (its libraries missing, say): the caller falls back.
    ResidentTools broken(fake_server(directory, "broken", "exit 127"));
    EXPECT_THROW(broken.run(command, directory.path(), log, 10s), std::runtime_error);

    ResidentTools missing(directory.file("no-such-server"));
    EXPECT_THROW(missing.run(command, directory.path(), log, 10s), std::runtime_error);
}
