// Tasks run in worker processes forked from this one, so that they share
// what the parent loaded (the back-ends) and keep what they warm up (the
// front ends' tables) from task to task, while a crash or a hang ends only
// the task that caused it.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

struct TaskOutcome {
    int status = 0;       // the task's own status
    std::string out;      // what it printed as its report
    std::string err;      // what it printed as errors
    std::string failure;  // why it did not finish ("timed out after 30 s"); empty when it did
};

// Runs tasks 0..count-1 on up to `workers` processes, count = needs.size()
// (needs[i]: what task i reuses when a worker has it warm, see TaskQueue);
// `task` runs inside a worker, `done` in this process as each result comes in (in completion
// order). A task that kills its worker or outlives `limit` (zero: no limit)
// is reported with a failure and its worker replaced. Throws
// std::runtime_error when no worker can be started.
void run_in_workers(const std::vector<std::string>& needs, unsigned workers, std::chrono::seconds limit,
                    const std::function<TaskOutcome(size_t)>& task,
                    const std::function<void(size_t, TaskOutcome)>& done);
