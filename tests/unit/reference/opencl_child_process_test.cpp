#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "child_process.h"
#include "temporary_directory.h"

using reference::find_executable;
using reference::run_child_process;
using reference::TemporaryDirectory;
using namespace std::chrono_literals;

namespace {

std::string contents(const std::string& path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

TEST(OpenCLChildProcess, ArgumentsReachTheProgramUntouched) {
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
}

TEST(OpenCLChildProcess, FailuresAreReported) {
    TemporaryDirectory directory("child-test");
    const std::string output = directory.file("out.txt");
    EXPECT_THROW(run_child_process({"no-such-program-here"}, directory.path(), output, 10s), std::runtime_error);
    EXPECT_THROW(run_child_process({"true"}, directory.file("no-such-dir"), output, 10s), std::runtime_error);
    EXPECT_EQ(find_executable("no-such-program-here"), "");
    EXPECT_NE(find_executable("sh"), "");

    auto started = std::chrono::steady_clock::now();
    auto run = run_child_process({"sleep", "30"}, directory.path(), output, 200ms);
    EXPECT_TRUE(run.timed_out);
    EXPECT_FALSE(run.succeeded());
    EXPECT_LT(std::chrono::steady_clock::now() - started, 10s);
}

TEST(OpenCLChildProcess, TemporaryDirectoryIsRemovedWithItsFiles) {
    std::string path;
    {
        TemporaryDirectory directory("child-test");
        path = directory.path();
        std::ofstream(directory.file("a")) << "x";
        EXPECT_EQ(contents(directory.file("a")), "x");
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}
