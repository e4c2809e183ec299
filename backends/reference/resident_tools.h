// The OpenCL tools run by a resident process (tool_server/): the compiler and
// the translator are started once, not for every program, and a crash or a
// hang still ends only that process, as it would a child.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include <sys/types.h>

#include "child_process.h"

namespace reference {

class ResidentTools {
public:
    explicit ResidentTools(std::string executable);
    ~ResidentTools();
    ResidentTools(const ResidentTools&) = delete;
    ResidentTools& operator=(const ResidentTools&) = delete;

    // As run_child_process: the tool named by command[0] runs in
    // working_directory, its messages go to output_path, and it is stopped
    // once time_limit has passed. Throws std::runtime_error when the resident
    // process cannot be started (or does not say it is ready).
    ChildProcessResult run(const std::vector<std::string>& command, const std::string& working_directory,
                           const std::string& output_path, std::chrono::milliseconds time_limit);

private:
    void start();
    ChildProcessResult stop(bool kill);
    ChildProcessResult stop_without_reply(bool kill);

    std::string executable_;
    std::mutex mutex_;
    pid_t pid_ = -1;
    pid_t owner_ = -1;  // the process that started it: a forked copy starts its own
    int channel_ = -1;
};

// The resident tool program installed beside the library or program that
// holds this code; empty when there is none.
std::string resident_tools_beside_this_library();

}  // namespace reference
