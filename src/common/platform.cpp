#include "common/platform.h"

#include <fcntl.h>
#include <libgen.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "common/koro_exception.h"

extern char** environ;

std::string get_path_sep() { return "/"; }

std::string get_executable_dir() {
    char buffer[4096 + 1];
    ssize_t length = readlink("/proc/self/exe", buffer, 4096);
    if (length < 1 || length > 4096) return "";
    buffer[length] = '\0';
    return dirname(buffer);
}

std::string get_temp_dir() {
    const char* base = std::getenv("TMP");
    std::string pattern = std::string(base ? base : "/tmp") + "/shadex-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr) throw std::runtime_error("Cannot get valid temp directory.");
    return buffer.data();
}

void remove_dir(const std::string& path) { rmdir(path.c_str()); }

bool does_file_exist(const std::string& path) {
    if (path.empty()) return false;
    struct stat info;
    if (stat(path.c_str(), &info) != 0) return false;
    return S_ISREG(info.st_mode);
}

bool is_file_empty(std::ifstream& file) {
    std::streampos current = file.tellg();
    file.seekg(0, std::ios::beg);
    std::streampos start = file.tellg();
    file.seekg(0, std::ios::end);
    std::streampos end = file.tellg();
    file.seekg(current);
    return start == end;
}

namespace {

// Closes a descriptor when the scope ends.
struct Descriptor {
    int fd = -1;
    ~Descriptor() {
        if (fd >= 0) close(fd);
    }
};

bool wait_for_exit(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

bool execute_command(const std::vector<std::string>& argv, std::string& output) {
    if (argv.empty()) return false;
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return false;
    Descriptor read_end{fds[0]};
    Descriptor write_end{fds[1]};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, write_end.fd, STDOUT_FILENO);

    std::vector<char*> args;
    for (const auto& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);

    pid_t child = 0;
    int spawned = posix_spawnp(&child, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(write_end.fd);
    write_end.fd = -1;
    if (spawned != 0) return false;

    char chunk[64];
    for (;;) {
        ssize_t count = read(read_end.fd, chunk, sizeof(chunk) - 1);
        if (count > 0) {
            output.append(chunk, static_cast<size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return wait_for_exit(child);
}

std::string get_absolute_path(const std::string& path) {
    char resolved[PATH_MAX > 4096 ? PATH_MAX : 4096];
    if (realpath(path.c_str(), resolved) != nullptr) return resolved;
    int error = errno;
    char reason[256];
    // The GNU variant may return a static text instead of filling the buffer.
    const char* text = strerror_r(error, reason, sizeof(reason));
    std::string detail = (text && *text) ? text : "Unknown error.";
    throw KoroException_("Failed to get absolute path of \"" + path + "\":\n    " + detail);
}
