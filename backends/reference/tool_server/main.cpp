// A resident stand-in for the OpenCL tools: the back-end starts it once and
// sends it one tool run at a time, which saves starting the compiler and the
// translator (and loading their libraries) for every program.
//
// Standard input is a socket: first this process says it is ready (status 0);
// then each request is working directory, output file and the command, and
// its reply the exit status the tool's own program would have had. The run's
// messages go to the output file, as they would from a child process.

#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <llvm/Support/raw_ostream.h>

#include "in_process_tools.h"
#include "tool_messages.h"

namespace {

int run_tool(const std::vector<std::string>& command) {
    const std::string name = command.empty() ? "" : command[0];
    if (name.rfind("clang", 0) == 0) return reference::run_clang(command);
    if (name.rfind("llvm-spirv", 0) == 0) return reference::run_translator(command);
    llvm::errs() << "no such tool: " << name << "\n";
    return 127;
}

void point_output_at(int fd) {
    std::fflush(stdout);
    std::fflush(stderr);
    llvm::outs().flush();
    llvm::errs().flush();
    ::dup2(fd, STDOUT_FILENO);
    ::dup2(fd, STDERR_FILENO);
}

}  // namespace

int main() {
    // The back-end's process owns this one: when it goes, so does this.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int channel = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (channel < 0 || nowhere < 0 || ::getppid() == 1) return 1;
    ::dup2(nowhere, STDIN_FILENO);
    point_output_at(nowhere);

    if (!reference::send_status(channel, 0)) return 1;  // ready
    std::vector<std::string> request;
    while (reference::receive_strings(channel, request)) {
        if (request.size() < 3) return 1;
        const int output = ::open(request[1].c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        int status = 127;
        if (output >= 0 && ::chdir(request[0].c_str()) == 0) {
            point_output_at(output);
            status = run_tool(std::vector<std::string>(request.begin() + 2, request.end()));
            point_output_at(nowhere);
        }
        if (output >= 0) ::close(output);
        if (!reference::send_status(channel, status) || reference::leaves_after(status)) break;
    }
    return 0;
}
