// Running a helper tool as a child process: an argument vector handed
// straight to exec, never through a shell, so no text in it is interpreted.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace reference {

struct ChildProcessResult {
    bool exited = false;     // ended by returning from main or calling exit
    int exit_status = 0;     // valid when exited
    int signal_number = 0;   // the signal that ended it otherwise
    bool timed_out = false;  // killed because it ran past the time limit

    bool succeeded() const { return exited && exit_status == 0; }
};

// Waits up to limit for something to read on fd (or its end).
enum class Readiness { Readable, TimedOut, Failed };
Readiness wait_until_readable(int fd, std::chrono::milliseconds limit);

// The full path of an executable: a name holding '/' is taken as it is, any
// other is looked for in PATH. Empty when there is none.
std::string find_executable(const std::string& name);

// Runs command[0] (looked up with find_executable) with command as its
// argument vector, in working_directory, with standard input from /dev/null
// and standard output and error both written to output_path. Waits for it, and
// kills it once time_limit has passed. Throws std::runtime_error when the
// program cannot be found or started.
ChildProcessResult run_child_process(const std::vector<std::string>& command, const std::string& working_directory,
                                     const std::string& output_path, std::chrono::milliseconds time_limit);

}  // namespace reference
