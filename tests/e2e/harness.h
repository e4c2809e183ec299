// Runs the real shadex binary as a user would and captures what it prints.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct RunResult {
    std::string out;
    std::string err;
    int status = -1;  // exit status, or 128 + signal number when killed
};

struct RunOptions {
    std::string stdin_data;
    std::string working_dir;                 // "" keeps the current one
    std::map<std::string, std::string> env;  // set over the test's own
};

// Runs for at most a minute; one that takes longer is killed.
RunResult run_program(const std::string& program, const std::vector<std::string>& args, const RunOptions& options = {});

// A private directory removed with everything in it when the object dies.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return dir; }
    std::string file(const std::string& name) const { return dir + "/" + name; }
    std::string write(const std::string& name, const std::string& content) const;

private:
    std::string dir;
};

std::string read_file(const std::string& path);
// Expected output kept as data, under tests/e2e/golden/.
std::string golden(const std::string& name);

inline bool contains(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

// A copy of shadex in a private directory with empty graphics/ and opencl/
// beside it, so each test chooses exactly which back-ends exist.
class Install {
public:
    Install();
    const std::string& dir() const { return root.path(); }
    RunResult run(const std::vector<std::string>& args, const RunOptions& options = {}) const;
    RunResult run_suite(const std::vector<std::string>& args, const RunOptions& options = {}) const;

private:
    TempDir root;
};

// The shadex of the build tree, with whatever back-ends the build put beside it.
RunResult run_shadex(const std::vector<std::string>& args, const RunOptions& options = {});
RunResult run_shadex_suite(const std::vector<std::string>& args, const RunOptions& options = {});

// The version header every report and message opens with.
inline const std::string REPORT_HEADER =
    "Koro Offline Compiler v8.8.1 (Build 73b41e)\n"
    "Copyright (c) 2026 The shadex authors. All rights reserved.\n\n";

// What a run printed, once its exit status and closing line end are checked:
// the JSON document (null when there is none), or the text after the header.
nlohmann::json json_output(const RunResult& result, int status = 0);
std::string text_output(const RunResult& result, int status = 0);

// A usage error: status 2 and the message in TCLAP's frame on standard error.
void expect_usage_error(const RunResult& result, const std::string& message);

// A run-time error: status 2, nothing on standard output, and the message as
// the last line of standard error.
void expect_run_error(const RunResult& result, const std::string& message);
