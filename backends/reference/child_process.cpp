#include "child_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace reference {

namespace {

// Closes a descriptor when the scope ends, on every path.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1) : fd_(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd_; }
    void reset() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_;
};

std::string error_text(int error_number) {
    char buffer[256] = {};
    // The GNU variant may return a static string instead of filling buffer.
    return strerror_r(error_number, buffer, sizeof buffer);
}

bool is_executable_file(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

// Waits up to `limit` for the child to end; true when it did. A process
// descriptor wakes the wait the moment the child exits; where the kernel has
// none, short sleeps stand in.
bool wait_until_ended(pid_t pid, std::chrono::milliseconds limit) {
    const int process = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
    if (process >= 0) {
        FileDescriptor owner(process);
        const Readiness ready = wait_until_readable(process, limit);
        if (ready != Readiness::Failed) return ready == Readiness::Readable;
    }
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        siginfo_t info{};
        const int waited = ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT);
        if (waited == 0 && info.si_pid != 0) return true;
        if (waited < 0 && errno != EINTR) return true;  // nothing to wait for: the final wait says why
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

int wait_for(pid_t pid, bool block) {
    int status = 0;
    pid_t done;
    do {
        done = ::waitpid(pid, &status, block ? 0 : WNOHANG);
    } while (done < 0 && errno == EINTR);
    if (done < 0) throw std::runtime_error("waiting for a child process failed: " + error_text(errno));
    return done == 0 ? -1 : status;
}

}  // namespace

Readiness wait_until_readable(int fd, std::chrono::milliseconds limit) {
    pollfd watched{fd, POLLIN, 0};
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return Readiness::TimedOut;
        const int ready = ::poll(&watched, 1, static_cast<int>(std::min<long long>(left.count(), 1 << 30)));
        if (ready > 0) return Readiness::Readable;
        if (ready < 0 && errno != EINTR) return Readiness::Failed;
    }
}

std::string find_executable(const std::string& name) {
    if (name.empty()) return "";
    if (name.find('/') != std::string::npos) return is_executable_file(name) ? name : "";
    const char* path = std::getenv("PATH");
    std::string directories = path && *path ? path : "/usr/local/bin:/usr/bin:/bin";
    size_t start = 0;
    while (start <= directories.size()) {
        size_t end = directories.find(':', start);
        if (end == std::string::npos) end = directories.size();
        std::string directory = directories.substr(start, end - start);
        std::string candidate = (directory.empty() ? "." : directory) + "/" + name;
        if (is_executable_file(candidate)) return candidate;
        start = end + 1;
    }
    return "";
}

ChildProcessResult run_child_process(const std::vector<std::string>& command, const std::string& working_directory,
                                     const std::string& output_path, std::chrono::milliseconds time_limit) {
    if (command.empty()) throw std::runtime_error("no program to run");
    const std::string program = find_executable(command[0]);
    if (program.empty()) throw std::runtime_error(command[0] + " was not found");

    // Everything the child needs is prepared before it starts.
    std::vector<char*> argv;
    for (const std::string& argument : command) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    FileDescriptor input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (input.get() < 0) throw std::runtime_error("cannot open /dev/null: " + error_text(errno));
    FileDescriptor output(::open(output_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (output.get() < 0) throw std::runtime_error("cannot create " + output_path + ": " + error_text(errno));
    // Spawning does not copy this process's address space, which a large
    // host process (one that keeps front ends warm) would pay for on every run.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.get(), STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(&actions, working_directory.c_str());
    pid_t pid = -1;
    const int start_error = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (start_error != 0) throw std::runtime_error("cannot run " + program + ": " + error_text(start_error));

    ChildProcessResult result;
    if (!wait_until_ended(pid, time_limit)) {
        ::kill(pid, SIGKILL);
        result.timed_out = true;
    }
    const int status = wait_for(pid, true);
    if (WIFEXITED(status)) {
        result.exited = true;
        result.exit_status = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.signal_number = WTERMSIG(status);
    }
    return result;
}

}  // namespace reference
