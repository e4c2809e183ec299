#include "resident_tools.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tool_messages.h"

namespace reference {

namespace {

const char* const RESIDENT_TOOLS_NAME = "shadex-opencl-tools";
const std::chrono::seconds STARTUP_LIMIT{30};

}  // namespace

std::string resident_tools_beside_this_library() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&resident_tools_beside_this_library), &info) == 0 || !info.dli_fname)
        return "";
    std::string path = info.dli_fname;
    const size_t slash = path.rfind('/');
    return find_executable((slash == std::string::npos ? std::string(".") : path.substr(0, slash)) + "/" +
                           RESIDENT_TOOLS_NAME);
}

ResidentTools::ResidentTools(std::string executable) : executable_(std::move(executable)) {}

ResidentTools::~ResidentTools() {
    if (pid_ > 0 && owner_ == ::getpid()) stop(false);
}

void ResidentTools::start() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error(std::string("cannot connect to the OpenCL tools: ") + std::strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    // Nothing else of the host's: a pipe it holds open would outlive the host.
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    char* argv[] = {const_cast<char*>(executable_.c_str()), nullptr};
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, executable_.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (error != 0) {
        ::close(ends[0]);
        throw std::runtime_error("cannot run " + executable_ + ": " + std::strerror(error));
    }
    pid_ = pid;
    owner_ = ::getpid();
    channel_ = ends[0];
    // It says when it is ready; one that cannot load its libraries never does.
    int32_t ready = -1;
    if (wait_until_readable(channel_, STARTUP_LIMIT) == Readiness::TimedOut || !receive_status(channel_, ready) ||
        ready != 0) {
        stop(true);
        throw std::runtime_error(executable_ + " did not start");
    }
}

// Ends the resident process (killing it when asked, letting it finish
// otherwise) and says how it ended.
ChildProcessResult ResidentTools::stop(bool kill) {
    if (kill) ::kill(pid_, SIGKILL);
    ::close(channel_);  // end of requests: a live server leaves
    int status = 0;
    pid_t done;
    do {
        done = ::waitpid(pid_, &status, 0);
    } while (done < 0 && errno == EINTR);
    pid_ = -1;
    channel_ = -1;
    ChildProcessResult result;
    if (done > 0 && WIFEXITED(status)) {
        result.exited = true;
        result.exit_status = WEXITSTATUS(status);
    } else if (done > 0 && WIFSIGNALED(status)) {
        result.signal_number = WTERMSIG(status);
    }
    return result;
}

// A run that got no reply did not succeed, however the process ended.
ChildProcessResult ResidentTools::stop_without_reply(bool kill) {
    ChildProcessResult result = stop(kill);
    if (result.exited && result.exit_status == 0) result.exit_status = 1;
    return result;
}

ChildProcessResult ResidentTools::run(const std::vector<std::string>& command, const std::string& working_directory,
                                      const std::string& output_path, std::chrono::milliseconds time_limit) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (pid_ > 0 && owner_ != ::getpid()) {  // inherited through fork: not ours to use or stop
        ::close(channel_);
        pid_ = -1;
    }
    if (pid_ <= 0) start();

    // The process moves from directory to directory: relative paths are this
    // process's, so they go over resolved.
    std::vector<std::string> request = {std::filesystem::absolute(working_directory).string(),
                                        std::filesystem::absolute(output_path).string()};
    request.insert(request.end(), command.begin(), command.end());
    int32_t status = 0;
    if (!send_strings(channel_, request)) return stop_without_reply(true);
    if (wait_until_readable(channel_, time_limit) == Readiness::TimedOut) {
        ChildProcessResult result = stop(true);
        result.timed_out = true;
        return result;
    }
    // No reply means the process died in the tool: its end is the tool's.
    if (!receive_status(channel_, status)) return stop_without_reply(false);
    if (leaves_after(status)) stop(false);
    ChildProcessResult result;
    result.exited = true;
    result.exit_status = status & 0xff;
    return result;
}

}  // namespace reference
