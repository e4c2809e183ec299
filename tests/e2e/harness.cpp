#include "e2e/harness.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace fs = std::filesystem;

namespace {

std::vector<std::string> build_environment(const RunOptions& options) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        if (options.env.count(text.substr(0, text.find('='))) == 0) result.push_back(text);
    }
    for (const auto& [name, value] : options.env) result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> as_argv(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

RunResult run_program(const std::string& program, const std::vector<std::string>& args, const RunOptions& options) {
    // The child's standard streams are files: nothing to pump while it runs,
    // and nothing it leaves running can hold the test up.
    TempDir io;
    const std::string in = io.write("in", options.stdin_data), out = io.file("out"), err = io.file("err");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (!options.working_dir.empty()) posix_spawn_file_actions_addchdir_np(&actions, options.working_dir.c_str());

    std::vector<std::string> argv_texts{program};
    argv_texts.insert(argv_texts.end(), args.begin(), args.end());
    std::vector<std::string> env_texts = build_environment(options);
    std::vector<char*> argv = as_argv(argv_texts), envp = as_argv(env_texts);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) throw std::runtime_error("cannot start " + program + ": " + std::strerror(spawned));

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            break;
        }
        usleep(2000);
    }
    return {read_file(out), read_file(err), WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status)};
}

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "shadex-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    dir = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::permissions(dir, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(dir, ignored);
}

std::string TempDir::write(const std::string& name, const std::string& content) const {
    std::string path = file(name);
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

std::string golden(const std::string& name) { return read_file(SHADEX_SOURCE_DIR "/tests/e2e/golden/" + name); }

Install::Install() {
    fs::copy_file(SHADEX_BINARY, root.file("shadex"));
    fs::copy_file(SHADEX_SUITE_BINARY, root.file("shadex-suite"));
    fs::create_directories(root.file("graphics"));
    fs::create_directories(root.file("opencl"));
}

RunResult Install::run(const std::vector<std::string>& args, const RunOptions& options) const {
    return run_program(root.file("shadex"), args, options);
}

RunResult Install::run_suite(const std::vector<std::string>& args, const RunOptions& options) const {
    return run_program(root.file("shadex-suite"), args, options);
}

RunResult run_shadex_suite(const std::vector<std::string>& args, const RunOptions& options) {
    return run_program(SHADEX_SUITE_BINARY, args, options);
}

RunResult run_shadex(const std::vector<std::string>& args, const RunOptions& options) {
    return run_program(SHADEX_BINARY, args, options);
}

void expect_usage_error(const RunResult& result, const std::string& message) {
    EXPECT_EQ(result.status, 2) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind(REPORT_HEADER.substr(0, REPORT_HEADER.find('\n') + 1), 0), 0u) << result.err;
    // TCLAP shows no argument for the program's own rules.
    EXPECT_TRUE(contains(result.err, "\nERROR:  \n   " + message + "\n\nUsage: \n\n   shadex ")) << result.err;
    const std::string hint = "\n\nRun shadex --help for more detail.\n";
    EXPECT_EQ(result.err.substr(result.err.size() - std::min(result.err.size(), hint.size())), hint) << result.err;
}

void expect_run_error(const RunResult& result, const std::string& message) {
    const std::string last_line = "\nERROR: " + message + "\n";
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(result.err.size() - std::min(result.err.size(), last_line.size())), last_line);
}

static const std::string& checked_output(const RunResult& result, int status) {
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_TRUE(!result.out.empty() && result.out.back() == '\n') << result.out;
    return result.out;
}

nlohmann::json json_output(const RunResult& result, int status) {
    nlohmann::json document = nlohmann::json::parse(checked_output(result, status), nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << result.out;
    return document.is_discarded() ? nlohmann::json() : document;
}

std::string text_output(const RunResult& result, int status) {
    EXPECT_EQ(checked_output(result, status).compare(0, REPORT_HEADER.size(), REPORT_HEADER), 0) << result.out;
    return result.out.substr(std::min(REPORT_HEADER.size(), result.out.size()));
}
