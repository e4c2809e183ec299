#include "child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
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
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

// Only async-signal-safe calls are allowed between fork and exec; a failure is
// reported to the parent as the errno value written to error_pipe.
[[noreturn]] void become_child(const std::string& program, char* const argv[], int input_fd,
                               int output_fd, const char* working_directory, int error_pipe) {
    if (::dup2(input_fd, STDIN_FILENO) >= 0 && ::dup2(output_fd, STDOUT_FILENO) >= 0 &&
        ::dup2(output_fd, STDERR_FILENO) >= 0 && ::chdir(working_directory) == 0)
        ::execv(program.c_str(), argv);
    int error_number = errno;
    ssize_t written = ::write(error_pipe, &error_number, sizeof error_number);
    (void)written;
    ::_exit(127);
}

// The errno the child sent before exec failed, or 0 once exec closed the pipe.
int read_start_error(int error_pipe) {
    int error_number = 0;
    ssize_t got;
    do {
        got = ::read(error_pipe, &error_number, sizeof error_number);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof error_number) ? error_number : 0;
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

ChildProcessResult run_child_process(const std::vector<std::string>& command,
                                     const std::string& working_directory,
                                     const std::string& output_path,
                                     std::chrono::milliseconds time_limit) {
    if (command.empty()) throw std::runtime_error("no program to run");
    const std::string program = find_executable(command[0]);
    if (program.empty()) throw std::runtime_error(command[0] + " was not found");

    // Everything the child needs is prepared before fork.
    std::vector<char*> argv;
    for (const std::string& argument : command) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    FileDescriptor input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (input.get() < 0) throw std::runtime_error("cannot open /dev/null: " + error_text(errno));
    FileDescriptor output(::open(output_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (output.get() < 0)
        throw std::runtime_error("cannot create " + output_path + ": " + error_text(errno));
    int pipe_ends[2];
    if (::pipe2(pipe_ends, O_CLOEXEC) != 0)
        throw std::runtime_error("cannot create a pipe: " + error_text(errno));
    FileDescriptor error_reader(pipe_ends[0]);
    FileDescriptor error_writer(pipe_ends[1]);

    const pid_t pid = ::fork();
    if (pid < 0) throw std::runtime_error("cannot start " + command[0] + ": " + error_text(errno));
    if (pid == 0)
        become_child(program, argv.data(), input.get(), output.get(), working_directory.c_str(),
                     error_writer.get());

    error_writer.reset();
    const int start_error = read_start_error(error_reader.get());
    if (start_error != 0) {
        wait_for(pid, true);
        throw std::runtime_error("cannot run " + program + ": " + error_text(start_error));
    }

    ChildProcessResult result;
    const auto deadline = std::chrono::steady_clock::now() + time_limit;
    int status = wait_for(pid, false);
    while (status < 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            result.timed_out = true;
            status = wait_for(pid, true);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        status = wait_for(pid, false);
    }
    if (WIFEXITED(status)) {
        result.exited = true;
        result.exit_status = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.signal_number = WTERMSIG(status);
    }
    return result;
}

}  // namespace reference
