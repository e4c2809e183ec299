"""Whole-process measurements: wall time, CPU time and peak resident memory.

Every figure is taken from one child process, waited for with os.wait4 so the
kernel's own accounting is used. ru_maxrss of a waited-for child is the
largest resident set of that child and of any process it waited for in turn
(the packaged validator, clang), so a run's peak covers its whole process
tree. Only the processes started here are ever killed, by their own id.
"""

import os
import statistics
import subprocess
import threading
import time

# A run slower than this is "large": it gets the smaller number of repeats.
LARGE_RUN_SECONDS = 0.5


class Run:
    """One finished child process."""

    def __init__(self, wall, cpu, peak_kb, status, timed_out):
        self.wall = wall
        self.cpu = cpu
        self.peak_kb = peak_kb
        self.status = status
        self.timed_out = timed_out

    def outcome(self):
        if self.timed_out:
            return "timeout"
        if self.status < 0:
            return "signal %d" % -self.status
        return "exit%d" % self.status


def reset_own_peak():
    """Lowers this process's recorded peak to its current size.

    A child's peak starts from the parent's memory at the fork, so without
    this every run would carry the highest mark this interpreter ever reached.
    """
    try:
        with open("/proc/self/clear_refs", "w") as file:
            file.write("5")
    except OSError:
        pass


def launcher_floor_mb():
    """The peak a child that does nothing reports: the part of every figure
    that is this interpreter's, not the measured program's."""
    reset_own_peak()
    return run_once(["true"]).peak_kb / 1024.0


def run_once(argv, cwd=None, timeout=None):
    """Runs argv once with its output discarded and returns a Run."""
    reset_own_peak()
    start = time.perf_counter()
    process = subprocess.Popen(argv, cwd=cwd, stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    timed_out = threading.Event()

    def stop():
        timed_out.set()
        process.kill()

    timer = threading.Timer(timeout, stop) if timeout else None
    if timer:
        timer.start()
    try:
        _, wait_status, usage = os.wait4(process.pid, 0)
    finally:
        if timer:
            timer.cancel()
    wall = time.perf_counter() - start
    status = os.waitstatus_to_exitcode(wait_status)
    # Popen did not reap the child itself; tell it how the child ended.
    process.returncode = status
    return Run(wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss, status, timed_out.is_set())


class Measurement:
    """Medians over repeated runs of one command."""

    def __init__(self, runs):
        self.runs = runs

    @property
    def wall_ms(self):
        return 1000.0 * statistics.median(run.wall for run in self.runs)

    @property
    def cpu_ms(self):
        return 1000.0 * statistics.median(run.cpu for run in self.runs)

    @property
    def peak_mb(self):
        return max(run.peak_kb for run in self.runs) / 1024.0

    @property
    def outcome(self):
        """The outcome of the runs, or every distinct one when they differ."""
        outcomes = sorted({run.outcome() for run in self.runs})
        return "/".join(outcomes)

    def to_json(self):
        return {
            "wall_ms": round(self.wall_ms, 2),
            "cpu_ms": round(self.cpu_ms, 2),
            "peak_mb": round(self.peak_mb, 2),
            "outcome": self.outcome,
            "runs_wall_ms": [round(1000.0 * run.wall, 2) for run in self.runs],
        }


class Repeats:
    """How many times a command runs: more for quick commands, fewer for slow ones."""

    def __init__(self, small, large):
        self.small = small
        self.large = large


def measure_interleaved(commands, repeats, timeout=None):
    """Measures several commands, alternating between them run by run.

    commands is a list of (argv, cwd). Alternating keeps a burst of load from
    other processes on the machine from falling on one command only. The first
    round decides whether the commands count as large (any run slower than
    LARGE_RUN_SECONDS). Returns one Measurement per command, in order.
    """
    runs = [[run_once(argv, cwd, timeout)] for argv, cwd in commands]
    large = any(per_command[0].wall > LARGE_RUN_SECONDS for per_command in runs)
    total = repeats.large if large else repeats.small
    for _ in range(total - 1):
        for index, (argv, cwd) in enumerate(commands):
            runs[index].append(run_once(argv, cwd, timeout))
    return [Measurement(per_command) for per_command in runs]


def measure(argv, cwd, repeats, timeout=None):
    return measure_interleaved([(argv, cwd)], repeats, timeout)[0]


def run_all_parallel(commands, jobs, timeout=None):
    """Runs every (argv, cwd) once, jobs at a time.

    Returns (runs in command order, elapsed wall seconds for the whole set).
    """
    results = [None] * len(commands)
    next_index = [0]
    lock = threading.Lock()

    def worker():
        while True:
            with lock:
                index = next_index[0]
                next_index[0] += 1
            if index >= len(commands):
                return
            argv, cwd = commands[index]
            results[index] = run_once(argv, cwd, timeout)

    start = time.perf_counter()
    workers = [threading.Thread(target=worker) for _ in range(max(1, jobs))]
    for thread in workers:
        thread.start()
    for thread in workers:
        thread.join()
    return results, time.perf_counter() - start
