// Which waiting task a worker takes next. A worker keeps what its tasks
// warmed up (the front end's built-in tables of one API and GLSL version, the
// translations of one OpenCL C file), and building that again in a second
// worker is a large share of a small shader's time: so a worker takes, in
// order of preference, the first task that needs what it has warmed up (or
// needs nothing), the first that needs what no worker has warmed up yet, and
// only then the first task waiting. Tasks of one need thus go to one worker
// while there is other work for the others.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

class TaskQueue {
public:
    // needs[i] names what task i reuses when it is warm ("" for nothing);
    // workers are numbered 0..workers-1.
    TaskQueue(const std::vector<std::string>& needs, size_t workers);

    bool empty() const { return fronts_.empty(); }

    // Takes the next task for a worker; the queue must not be empty.
    size_t take(size_t worker);

    // The worker was replaced: nothing is warm in its successor.
    void forget(size_t worker) { warm_[worker].clear(); }

private:
    bool warm_anywhere(const std::string& need) const;

    std::map<std::string, std::deque<size_t>> waiting_;   // by need, in task order
    std::set<std::pair<size_t, std::string>> fronts_;     // each need's first waiting task
    std::vector<std::set<std::string>> warm_;             // by worker, needs with tasks waiting
};
