#include "suite/task_queue.h"

#include <limits>

TaskQueue::TaskQueue(const std::vector<std::string>& needs, size_t workers) : warm_(workers) {
    for (size_t task = 0; task < needs.size(); ++task) waiting_[needs[task]].push_back(task);
    for (const auto& [need, tasks] : waiting_) fronts_.insert({tasks.front(), need});
}

bool TaskQueue::warm_anywhere(const std::string& need) const {
    for (const std::set<std::string>& warm : warm_)
        if (warm.count(need)) return true;
    return false;
}

size_t TaskQueue::take(size_t worker) {
    const std::string* chosen = nullptr;
    size_t first = std::numeric_limits<size_t>::max();
    auto consider = [&](const std::string& need) {
        auto found = waiting_.find(need);
        if (found != waiting_.end() && found->second.front() < first) {
            first = found->second.front();
            chosen = &found->first;
        }
    };
    consider("");
    for (const std::string& need : warm_[worker]) consider(need);
    if (chosen == nullptr)
        for (const auto& [front, need] : fronts_)
            if (!need.empty() && !warm_anywhere(need)) {
                chosen = &waiting_.find(need)->first;
                break;
            }
    if (chosen == nullptr) chosen = &waiting_.find(fronts_.begin()->second)->first;

    const std::string need = *chosen;
    std::deque<size_t>& tasks = waiting_[need];
    const size_t task = tasks.front();
    fronts_.erase({task, need});
    tasks.pop_front();
    if (tasks.empty()) {
        // Warm state nothing waits for any more no longer steers the choice.
        waiting_.erase(need);
        for (std::set<std::string>& warm : warm_) warm.erase(need);
    } else {
        fronts_.insert({tasks.front(), need});
        if (!need.empty()) warm_[worker].insert(need);
    }
    return task;
}
