#include "suite/worker_pool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "suite/task_queue.h"

namespace {

using Clock = std::chrono::steady_clock;

bool write_all(int fd, const void* data, size_t size) {
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t written = write(fd, bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool read_all(int fd, void* data, size_t size) {
    char* bytes = static_cast<char*>(data);
    while (size > 0) {
        ssize_t got = read(fd, bytes, size);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

// A text as read_text reads it: its length, then its bytes.
void append_text(std::string& message, const std::string& text) {
    const uint64_t size = text.size();
    message.append(reinterpret_cast<const char*>(&size), sizeof size);
    message += text;
}

// Status, then both texts: one write, so the parent wakes once per reply
// instead of once per field.
std::string reply_message(const TaskOutcome& outcome) {
    const int32_t status = outcome.status;
    std::string message(reinterpret_cast<const char*>(&status), sizeof status);
    append_text(message, outcome.out);
    append_text(message, outcome.err);
    return message;
}

bool read_text(int fd, std::string& text) {
    uint64_t size = 0;
    if (!read_all(fd, &size, sizeof size)) return false;
    text.resize(size);
    return read_all(fd, text.data(), size);
}

// The worker's side: take a task number, run it, send the outcome back,
// until the parent closes the pipe.
[[noreturn]] void serve(int requests, int replies, const std::function<TaskOutcome(size_t)>& task) {
    // Whatever a back-end prints on its own must not mix with the protocol
    // or with the reports.
    int null = open("/dev/null", O_WRONLY);
    if (null >= 0) dup2(null, STDOUT_FILENO);
    uint64_t index = 0;
    while (read_all(requests, &index, sizeof index)) {
        const std::string message = reply_message(task(static_cast<size_t>(index)));
        if (!write_all(replies, message.data(), message.size())) break;
    }
    _exit(0);
}

struct Worker {
    pid_t pid = -1;
    std::string scratch;  // its own temporary directory (TMP, TMPDIR)
    int requests = -1;  // parent writes task numbers
    int replies = -1;   // parent reads outcomes
    bool busy = false;
    size_t task = 0;
    Clock::time_point deadline;
};

Worker start_worker(const std::function<TaskOutcome(size_t)>& task, const std::vector<Worker>& others) {
    int to_worker[2], from_worker[2];
    if (pipe(to_worker) != 0) throw std::runtime_error("Cannot start a worker: " + std::string(strerror(errno)));
    if (pipe(from_worker) != 0) {
        close(to_worker[0]);
        close(to_worker[1]);
        throw std::runtime_error("Cannot start a worker: " + std::string(strerror(errno)));
    }
    // Whatever a run leaves in its temporary directory when it is killed goes
    // with the worker's own directory.
    const char* tmp = std::getenv("TMP");
    std::string scratch = std::string(tmp && *tmp ? tmp : "/tmp") + "/shadex-worker-XXXXXX";
    if (mkdtemp(scratch.data()) == nullptr) scratch.clear();
    pid_t pid = fork();
    if (pid < 0) throw std::runtime_error("Cannot start a worker: " + std::string(strerror(errno)));
    if (pid == 0) {
        // Its own process group: stopping it stops the tools it runs too.
        setpgid(0, 0);
        if (!scratch.empty()) {
            setenv("TMP", scratch.c_str(), 1);
            setenv("TMPDIR", scratch.c_str(), 1);
        }
        // The other workers' pipes are not this one's business: holding them
        // open would hide their end from the parent.
        for (const Worker& other : others) {
            close(other.requests);
            close(other.replies);
        }
        close(to_worker[1]);
        close(from_worker[0]);
        serve(to_worker[0], from_worker[1], task);
    }
    close(to_worker[0]);
    close(from_worker[1]);
    setpgid(pid, pid);  // as the child does, whichever runs first
    Worker worker;
    worker.pid = pid;
    worker.scratch = scratch;
    worker.requests = to_worker[1];
    worker.replies = from_worker[0];
    return worker;
}

// Ends a worker for good and says how it ended.
std::string stop_worker(Worker& worker, bool kill_it) {
    if (kill_it) {
        kill(-worker.pid, SIGKILL);  // the worker and the tools it started
        kill(worker.pid, SIGKILL);   // the worker, should its group not have been made yet
    }
    close(worker.requests);
    close(worker.replies);
    int status = 0;
    while (waitpid(worker.pid, &status, 0) < 0 && errno == EINTR) {}
    worker.pid = -1;
    if (!worker.scratch.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(worker.scratch, ignored);
    }
    if (WIFSIGNALED(status))
        return "stopped by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    return "ended without a result (exit status " + std::to_string(WEXITSTATUS(status)) + ")";
}

}  // namespace

void run_in_workers(const std::vector<std::string>& needs, unsigned workers, std::chrono::seconds limit,
                    const std::function<TaskOutcome(size_t)>& task,
                    const std::function<void(size_t, TaskOutcome)>& done) {
    const size_t count = needs.size();
    // A worker that died must not take the parent with it through a write.
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    struct sigaction previous {};
    sigaction(SIGPIPE, &ignore, &previous);

    if (workers == 0) workers = 1;
    if (workers > count) workers = static_cast<unsigned>(count);
    std::vector<Worker> pool;
    for (unsigned index = 0; index < workers; ++index) pool.push_back(start_worker(task, pool));

    TaskQueue waiting(needs, pool.size());
    size_t finished = 0;
    auto assign = [&](Worker& worker) {
        if (waiting.empty()) return;
        const size_t slot = static_cast<size_t>(&worker - pool.data());
        uint64_t index = waiting.take(slot);
        worker.task = index;
        worker.busy = true;
        worker.deadline = limit.count() > 0 ? Clock::now() + limit : Clock::time_point::max();
        if (!write_all(worker.requests, &index, sizeof index)) {
            // Dead before it was asked: its reply pipe says so below.
        }
    };
    auto replace = [&](Worker& worker, const std::string& failure) {
        TaskOutcome outcome;
        outcome.failure = failure;
        const size_t failed_task = worker.task;
        worker.busy = false;
        std::vector<Worker> others;
        for (const Worker& other : pool)
            if (&other != &worker && other.pid > 0) others.push_back(other);
        worker = start_worker(task, others);
        waiting.forget(static_cast<size_t>(&worker - pool.data()));
        ++finished;
        assign(worker);
        done(failed_task, std::move(outcome));
    };
    for (Worker& worker : pool) assign(worker);

    while (finished < count) {
        std::vector<pollfd> watched;
        std::vector<Worker*> owners;
        Clock::time_point soonest = Clock::time_point::max();
        for (Worker& worker : pool) {
            if (!worker.busy) continue;
            watched.push_back({worker.replies, POLLIN, 0});
            owners.push_back(&worker);
            if (worker.deadline < soonest) soonest = worker.deadline;
        }
        int wait_ms = -1;
        if (soonest != Clock::time_point::max()) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(soonest - Clock::now()).count();
            wait_ms = left < 0 ? 0 : static_cast<int>(std::min<long long>(left, 60000));
        }
        int ready = poll(watched.data(), watched.size(), wait_ms);
        if (ready < 0 && errno != EINTR)
            throw std::runtime_error("Waiting for the workers failed: " + std::string(strerror(errno)));
        for (size_t index = 0; index < watched.size(); ++index) {
            Worker& worker = *owners[index];
            if (watched[index].revents != 0) {
                TaskOutcome outcome;
                int32_t status = 0;
                if (read_all(worker.replies, &status, sizeof status) && read_text(worker.replies, outcome.out) &&
                    read_text(worker.replies, outcome.err)) {
                    outcome.status = status;
                    worker.busy = false;
                    ++finished;
                    // The worker gets its next task before the parent turns
                    // this one into a record, so it does not wait for that.
                    const size_t finished_task = worker.task;
                    assign(worker);
                    done(finished_task, std::move(outcome));
                } else {
                    replace(worker, stop_worker(worker, true));
                }
            } else if (Clock::now() >= worker.deadline) {
                stop_worker(worker, true);
                replace(worker, "timed out after " + std::to_string(limit.count()) + " s");
            }
        }
    }
    for (Worker& worker : pool) stop_worker(worker, false);
    sigaction(SIGPIPE, &previous, nullptr);
}
