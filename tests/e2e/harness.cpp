#include "e2e/harness.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
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
    std::map<std::string, std::string> merged;
    for (char** entry = environ; *entry; ++entry) {
        std::string text = *entry;
        size_t eq = text.find('=');
        if (eq != std::string::npos) merged[text.substr(0, eq)] = text.substr(eq + 1);
    }
    for (const auto& [name, value] : options.env) {
        if (value)
            merged[name] = *value;
        else
            merged.erase(name);
    }
    std::vector<std::string> result;
    for (const auto& [name, value] : merged) result.push_back(name + "=" + value);
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
    int in[2], out[2], err[2];
    if (pipe2(in, O_CLOEXEC) || pipe2(out, O_CLOEXEC) || pipe2(err, O_CLOEXEC)) throw std::runtime_error("pipe failed");

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    if (!options.working_dir.empty()) posix_spawn_file_actions_addchdir_np(&actions, options.working_dir.c_str());

    std::vector<std::string> argv_texts{program};
    argv_texts.insert(argv_texts.end(), args.begin(), args.end());
    std::vector<std::string> env_texts = build_environment(options);
    std::vector<char*> argv = as_argv(argv_texts);
    std::vector<char*> envp = as_argv(env_texts);

    pid_t child = 0;
    int spawned = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    close(err[1]);
    if (spawned != 0) {
        close(in[1]);
        close(out[0]);
        close(err[0]);
        throw std::runtime_error("cannot start " + program + ": " + std::strerror(spawned));
    }

    signal(SIGPIPE, SIG_IGN);
    RunResult result;
    size_t written = 0;
    int in_fd = in[1];
    if (options.stdin_data.empty()) {
        close(in_fd);
        in_fd = -1;
    }
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(options.timeout_seconds);
    bool out_open = true, err_open = true;
    while (out_open || err_open) {
        pollfd fds[3];
        int count = 0;
        if (out_open) fds[count++] = {out[0], POLLIN, 0};
        if (err_open) fds[count++] = {err[0], POLLIN, 0};
        if (in_fd >= 0) fds[count++] = {in_fd, POLLOUT, 0};
        int ready = poll(fds, count, 200);
        if (std::chrono::steady_clock::now() > deadline) {
            kill(child, SIGKILL);
            break;
        }
        if (ready <= 0) continue;
        for (int i = 0; i < count; ++i) {
            if (!fds[i].revents) continue;
            if (fds[i].fd == in_fd) {
                ssize_t n = write(in_fd, options.stdin_data.data() + written, options.stdin_data.size() - written);
                if (n > 0) written += static_cast<size_t>(n);
                if (n < 0 || written == options.stdin_data.size()) {
                    close(in_fd);
                    in_fd = -1;
                }
                continue;
            }
            char buffer[4096];
            ssize_t n = read(fds[i].fd, buffer, sizeof(buffer));
            std::string& target = fds[i].fd == out[0] ? result.out : result.err;
            if (n > 0) {
                target.append(buffer, static_cast<size_t>(n));
            } else {
                (fds[i].fd == out[0] ? out_open : err_open) = false;
            }
        }
    }
    if (in_fd >= 0) close(in_fd);
    close(out[0]);
    close(err[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
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

Install::Install() {
    fs::copy_file(SHADEX_BINARY, binary());
    fs::copy_file(SHADEX_SUITE_BINARY, suite_binary());
    fs::create_directories(root.file("graphics"));
    fs::create_directories(root.file("opencl"));
}

RunResult Install::run(const std::vector<std::string>& args, const RunOptions& options) const {
    return run_program(binary(), args, options);
}

RunResult Install::run_suite(const std::vector<std::string>& args, const RunOptions& options) const {
    return run_program(suite_binary(), args, options);
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
