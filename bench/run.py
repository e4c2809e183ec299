#!/usr/bin/env python3
"""Measures shadex as a whole process on this machine and reports against its goals.

Usage: bench/run.py [--shadex PATH] [--corpus DIR] [--json PATH]
                    [--repeat N] [--quick] [--filter REGEX] [--jobs N]

In one run, side by side: --list and --info, a full compile with the text
report of every example and of a fixed corpus sample (bench/corpus_sample.txt)
beside the packaged validator on the same GLSL file, corpus throughput, peak
memory, and how time grows with program size. Figures are medians over
repeated runs. A table goes to standard output and every figure to a JSON
file. The bench reports; it does not fail on a missed goal (exit status 0),
only when it cannot run at all (2). See bench/README.md.
"""

import argparse
import datetime
import json
import os
import platform
import re
import shlex
import subprocess
import sys
import tempfile

# The bench's modules sit beside it in the source tree; keep that tree clean.
sys.dont_write_bytecode = True

import corpus as corpus_files  # noqa: E402
import measure  # noqa: E402
import report  # noqa: E402
import synthetic_shader  # noqa: E402

BENCH_DIR = os.path.dirname(os.path.abspath(__file__))
REPO_DIR = os.path.dirname(BENCH_DIR)
SAMPLE_LIST = os.path.join(BENCH_DIR, "corpus_sample.txt")
SCALES = (1, 10, 100)
DEFAULT_TIMEOUT = 300


def parse_arguments():
    parser = argparse.ArgumentParser(description="Whole-process benchmarks of shadex.")
    parser.add_argument("--shadex", default=os.path.join(REPO_DIR, "build", "bin", "shadex"),
                        help="the program to measure (default build/bin/shadex)")
    parser.add_argument("--corpus", default=os.path.join(REPO_DIR, "..", "shared", "corpus"),
                        help="corpus directory with MANIFEST.tsv (default ../shared/corpus)")
    parser.add_argument("--json", help="where the figures go (default: bench/results.json in "
                                       "the build directory that holds shadex)")
    parser.add_argument("--repeat", type=int, help="runs per measurement, whatever its length")
    parser.add_argument("--quick", action="store_true", help="3 runs per measurement, 1 for slow ones")
    parser.add_argument("--filter", help="only cases whose name matches this regular expression "
                                         "(list, info, examples/..., corpus/..., throughput, suite, annotate, scaling)")
    parser.add_argument("--jobs", type=int, default=2, help="processes at a time for throughput (default 2)")
    parser.add_argument("--timeout", type=float, default=DEFAULT_TIMEOUT,
                        help="seconds one run may take before it is killed (default %d)" % DEFAULT_TIMEOUT)
    arguments = parser.parse_args()
    if arguments.repeat is not None and arguments.repeat < 1:
        parser.error("--repeat must be at least 1")
    return arguments


def choose_repeats(arguments):
    if arguments.repeat:
        return measure.Repeats(arguments.repeat, arguments.repeat)
    if arguments.quick:
        return measure.Repeats(3, 1)
    return measure.Repeats(7, 3)


def progress(text):
    print(text, file=sys.stderr, flush=True)


class Bench:
    def __init__(self, arguments):
        self.shadex = os.path.abspath(arguments.shadex)
        self.suite = os.path.join(os.path.dirname(self.shadex), "shadex-suite")
        validator = os.path.join(os.path.dirname(self.shadex), "external", "glslang")
        self.validator = validator if os.access(validator, os.X_OK) else None
        self.corpus = os.path.abspath(arguments.corpus)
        self.repeats = choose_repeats(arguments)
        self.filter = re.compile(arguments.filter) if arguments.filter else None
        self.jobs = arguments.jobs
        self.timeout = arguments.timeout
        self.notes = []
        self.figures = {}
        self.results = {}
        self.scratch = tempfile.TemporaryDirectory(prefix="shadex-bench-")
        self.floor_mb = 0.0

    def wanted(self, name):
        return self.filter is None or self.filter.search(name) is not None

    def has_corpus(self):
        return os.path.isfile(os.path.join(self.corpus, "MANIFEST.tsv"))

    # Start-up ---------------------------------------------------------------

    def run_startup(self):
        cases = [("list", ["--list"], "list_ms"),
                 ("info", ["--info", "--core", corpus_files.DEFAULT_CORE], "info_ms")]
        rows = []
        for name, options, figure in cases:
            if not self.wanted(name):
                continue
            progress("startup: shadex %s" % " ".join(options))
            result = measure.measure([self.shadex] + options, None, self.repeats, self.timeout)
            self.figures[figure] = result.wall_ms
            rows.append({"name": name, "command": ["shadex"] + options, **result.to_json()})
        self.results["startup"] = rows

    # Compiles beside the validator ----------------------------------------

    def spirv_versions(self):
        """The SPIR-V version shadex asks the validator for on each core used."""
        versions = {}
        for core in (corpus_files.DEFAULT_CORE, corpus_files.RAY_TRACING_CORE):
            try:
                text = subprocess.run([self.shadex, "--info", "--core", core, "--format", "json"],
                                      capture_output=True, check=True, timeout=self.timeout).stdout
                versions[core] = "%.1f" % json.loads(text)["apis"]["vulkan"]["max_version"]
            except (subprocess.SubprocessError, ValueError, KeyError, TypeError):
                self.notes.append("no Vulkan version for %s from shadex --info; its Vulkan GLSL "
                                  "files are measured without the validator" % core)
        return versions

    def compile_programs(self):
        if getattr(self, "_compile_programs", None) is None:
            self._compile_programs = self.find_compile_programs()
        return self._compile_programs

    def find_compile_programs(self):
        programs = corpus_files.example_programs(os.path.join(REPO_DIR, "examples"))
        for program in programs:
            program.group = "examples"
        if self.has_corpus():
            sample, missing = corpus_files.sample_programs(self.corpus, SAMPLE_LIST)
            for program in sample:
                program.group = "corpus sample"
            programs += sample
            if missing:
                self.notes.append("sample files not in the corpus: " + ", ".join(missing))
        else:
            self.notes.append("no corpus at %s: the corpus sample, throughput and the memory "
                              "goal are skipped" % self.corpus)
        return [program for program in programs if self.wanted(program.name)]

    def run_compiles(self):
        programs = self.compile_programs()
        if not programs:
            return
        versions = self.spirv_versions()
        if self.validator is None:
            self.notes.append("no packaged validator beside shadex: no ratios")
        rows = []
        for number, program in enumerate(programs, 1):
            progress("compile %d/%d: %s" % (number, len(programs), program.name))
            commands = [corpus_files.shadex_command(self.shadex, program)]
            validator = None
            if self.validator and (program.api != "vulkan" or program.core in versions):
                validator = corpus_files.validator_command(self.validator, program, versions,
                                                           self.scratch.name)
            if validator:
                commands.append(validator)
            measured = measure.measure_interleaved(commands, self.repeats, self.timeout)
            row = {
                "name": program.name, "group": program.group, "api": program.api,
                "stage": program.stage, "core": program.core, "bytes": program.size,
                "lines": program.lines, "command": display_command(commands[0]),
                "shadex": measured[0].to_json(),
            }
            if validator:
                row["validator_command"] = display_command(validator)
                row["validator"] = measured[1].to_json()
                row["ratio"] = round(measured[0].wall_ms / measured[1].wall_ms, 3)
                row["cpu_ratio"] = round(measured[0].cpu_ms / max(measured[1].cpu_ms, 0.001), 3)
            rows.append(row)
        self.results["compiles"] = rows

        sample_ratios = [row["ratio"] for row in rows if "ratio" in row and row["group"] == "corpus sample"]
        self.figures["median_ratio"] = report.median_or_none(sample_ratios)
        with_ratio = [row for row in rows if "ratio" in row]
        if with_ratio:
            worst = max(with_ratio, key=lambda row: row["ratio"])
            self.figures["max_ratio"] = worst["ratio"]
            self.results["worst_ratio_file"] = worst["name"]
        sample = [row for row in rows if row["group"] == "corpus sample"]
        if sample:
            largest = max(sample, key=lambda row: row["bytes"])
            self.figures["largest_shader_peak_mb"] = largest["shadex"]["peak_mb"]
            self.results["largest_shader"] = largest["name"]

    # Throughput ----------------------------------------------------------

    def run_throughput(self):
        if not self.wanted("throughput") or not self.has_corpus():
            return
        programs = corpus_files.throughput_programs(self.corpus)
        progress("throughput: %d corpus files, %d at a time" % (len(programs), self.jobs))
        commands = [corpus_files.shadex_command(self.shadex, program) for program in programs]
        runs, elapsed = measure.run_all_parallel(commands, self.jobs, self.timeout)
        outcomes = {}
        for run in runs:
            outcomes[run.outcome()] = outcomes.get(run.outcome(), 0) + 1
        files = [{"name": program.name, "core": program.core, "wall_ms": round(1000 * run.wall, 1),
                  "cpu_ms": round(1000 * run.cpu, 1), "peak_mb": round(run.peak_kb / 1024, 1),
                  "outcome": run.outcome()} for program, run in zip(programs, runs)]
        self.results["throughput"] = {
            "files": len(programs), "jobs": self.jobs, "elapsed_s": round(elapsed, 2),
            "files_per_s": round(len(programs) / elapsed, 2) if elapsed else None,
            "cpu_s": round(sum(run.cpu for run in runs), 2), "outcomes": outcomes, "per_file": files,
        }

    # The same files through shadex-suite ----------------------------------

    def suite_list(self, programs, copies):
        """A list file with one line per program (absolute paths), `copies` times."""
        path = os.path.join(self.scratch.name, "suite-%d.txt" % copies)
        with open(path, "w", encoding="utf-8") as listing:
            for _ in range(copies):
                for program in programs:
                    argv, cwd = corpus_files.shadex_command(self.shadex, program)
                    argv = [arg for arg in argv[1:] if arg not in ("--core", program.core)]
                    argv[-1] = os.path.join(cwd, argv[-1])
                    listing.write(" ".join(shlex.quote(arg) for arg in argv) + "\n")
        return path

    def run_suite(self):
        if not self.wanted("suite") or not self.has_corpus() or not os.access(self.suite, os.X_OK):
            return
        programs = [program for program in corpus_files.throughput_programs(self.corpus)
                    if program.core == corpus_files.DEFAULT_CORE]
        rows = {}
        for copies in (1, 5):
            listing = self.suite_list(programs, copies)
            progress("suite: %d corpus files x %d, %d workers" % (len(programs), copies, self.jobs))
            argv = [self.suite, "run", "-q", "-j", str(self.jobs), "-c", corpus_files.DEFAULT_CORE,
                    "-o", os.path.join(self.scratch.name, "suite.json"), "@" + listing]
            # One pass is measured like every other command (a median); five
            # passes, there to watch the memory, once.
            if copies == 1:
                measured = measure.measure(argv, None, self.repeats, self.timeout * 10)
                wall, peak_mb = measured.wall_ms / 1000, measured.peak_mb
            else:
                run = measure.run_once(argv, None, self.timeout * 10)
                wall, peak_mb = run.wall, run.peak_kb / 1024
            rows[copies] = {"runs": len(programs) * copies, "elapsed_s": round(wall, 2),
                            "runs_per_s": round(len(programs) * copies / wall, 1), "peak_mb": round(peak_mb, 1)}
        by_api = {}
        kinds = {
            "gles": lambda program: program.api == "gles",
            "vulkan": lambda program: program.api == "vulkan",
            "opencl": lambda program: program.api == "opencl",
            # The goal's set: what needs neither the validator nor clang.
            "gles+spirv": lambda program: program.api == "gles" or program.path.endswith(".spv"),
        }
        for api, is_kind in kinds.items():
            chosen = [program for program in programs if is_kind(program)]
            if not chosen:
                continue
            argv = [self.suite, "run", "-q", "-j", str(self.jobs), "-c", corpus_files.DEFAULT_CORE,
                    "-o", os.path.join(self.scratch.name, "suite.json"), "@" + self.suite_list(chosen, 1)]
            wall = measure.measure(argv, None, self.repeats, self.timeout * 10).wall_ms / 1000
            by_api[api] = {"runs": len(chosen), "elapsed_s": round(wall, 2), "runs_per_s": round(len(chosen) / wall, 1)}
        self.results["suite"] = {"jobs": self.jobs, "whole": rows[1], "repeated_5x": rows[5], "by_api": by_api}
        self.figures["suite_corpus_s"] = rows[1]["elapsed_s"]
        if "gles+spirv" in by_api:
            self.figures["suite_gles_spirv_rate"] = by_api["gles+spirv"]["runs_per_s"]
        self.figures["suite_peak_mb"] = rows[5]["peak_mb"]
        self.figures["suite_peak_growth"] = rows[5]["peak_mb"] / max(rows[1]["peak_mb"], 0.1)
        per_process = self.results.get("throughput", {}).get("files_per_s")
        if per_process:
            self.figures["suite_speedup"] = rows[1]["runs_per_s"] / per_process

    # Costs per source line -------------------------------------------------

    def run_annotate(self):
        """The examples and the corpus sample with and without --annotate, interleaved."""
        if not self.wanted("annotate"):
            return
        rows = []
        programs = self.compile_programs()
        for number, program in enumerate(programs, 1):
            progress("annotate %d/%d: %s" % (number, len(programs), program.name))
            argv, cwd = corpus_files.shadex_command(self.shadex, program)
            annotated = argv[:-1] + ["--annotate"] + argv[-1:]
            plain, with_lines = measure.measure_interleaved([(argv, cwd), (annotated, cwd)], self.repeats,
                                                            self.timeout)
            if plain.outcome != "exit0" or with_lines.outcome != "exit0":
                continue
            rows.append({"name": program.name, "plain_ms": round(plain.wall_ms, 1),
                         "annotated_ms": round(with_lines.wall_ms, 1),
                         "ratio": round(with_lines.wall_ms / plain.wall_ms, 3)})
        if rows:
            self.results["annotate"] = rows
            self.figures["annotate_ratio"] = report.median_or_none([row["ratio"] for row in rows])

    # Scaling -------------------------------------------------------------

    def run_scaling(self):
        if not self.wanted("scaling"):
            return
        rows = []
        for scale in SCALES:
            path = os.path.join(self.scratch.name, "synthetic_x%d.frag" % scale)
            with open(path, "w", encoding="utf-8") as file:
                file.write(synthetic_shader.generate(scale))
            program = corpus_files.Program("synthetic x%d" % scale, path, "gles", "frag")
            progress("scaling: %s (%d lines)" % (program.name, program.lines))
            commands = [corpus_files.shadex_command(self.shadex, program)]
            if self.validator:
                commands.append(corpus_files.validator_command(self.validator, program, {}, self.scratch.name))
            measured = measure.measure_interleaved(commands, self.repeats, self.timeout)
            row = {"scale": scale, "lines": program.lines, "bytes": program.size,
                   "shadex": measured[0].to_json()}
            if self.validator:
                row["validator"] = measured[1].to_json()
            rows.append(row)
        base = rows[0]["shadex"]
        for row in rows:
            row["time_ratio"] = round(row["shadex"]["wall_ms"] / base["wall_ms"], 2)
            row["cpu_ratio"] = round(row["shadex"]["cpu_ms"] / max(base["cpu_ms"], 0.001), 2)
        self.results["scaling"] = rows
        self.figures["scaling_100x"] = rows[-1]["time_ratio"]
        self.figures["scaling_100x_memory"] = rows[-1]["shadex"]["peak_mb"] / max(base["peak_mb"], 0.1)

    # Memory --------------------------------------------------------------

    def summarise_memory(self):
        """The largest peak of any run of a real program (the synthetic
        shader's scaling runs are reported on their own)."""
        peaks = [(row["shadex"]["peak_mb"], row["name"]) for row in self.results.get("compiles", [])]
        peaks += [(row["peak_mb"], "shadex --" + row["name"]) for row in self.results.get("startup", [])]
        peaks += [(row["peak_mb"], row["name"])
                  for row in self.results.get("throughput", {}).get("per_file", [])]
        if peaks:
            peak, name = max(peaks)
            self.results["largest_peak"] = {"peak_mb": peak, "name": name}


def display_command(command):
    argv, cwd = command
    shown = [os.path.basename(argv[0])] + argv[1:]
    return {"argv": shown, "cwd": cwd}


def print_report(bench, goal_rows, load_before, load_after):
    results = bench.results
    print()
    print("shadex bench: %s" % bench.shadex)
    print("machine: %d CPUs; load average %.2f before, %.2f after; runs per figure %d (%d when a run "
          "takes over %.1f s)" % (os.cpu_count() or 0, load_before, load_after, bench.repeats.small,
                                  bench.repeats.large, measure.LARGE_RUN_SECONDS))
    print("peak memory is the largest resident set of a run's process tree; figures near %.1f MB are "
          "the bench's own floor (a child is counted from the fork)" % bench.floor_mb)
    if load_before >= (os.cpu_count() or 1):
        print("note: the machine was busy with other work; wall times are noisy, CPU times less so")
    for note in bench.notes:
        print("note: " + note)

    if results.get("startup"):
        print("\nStart-up (medians)")
        rows = [["shadex " + " ".join(row["command"][1:]), report.format_number(row["wall_ms"]),
                 report.format_number(row["cpu_ms"]), report.format_number(row["peak_mb"]),
                 row["outcome"]] for row in results["startup"]]
        report.print_table(["command", "wall ms", "cpu ms", "peak MB", "outcome"], rows, {1, 2, 3})

    if results.get("compiles"):
        print("\nFull compile + text report beside the validator alone (medians; ratio = shadex / validator)")
        rows = []
        for row in results["compiles"]:
            validator = row.get("validator", {})
            rows.append([row["name"], row["core"], str(row["lines"]),
                         report.format_number(row["shadex"]["wall_ms"]),
                         report.format_number(row["shadex"]["cpu_ms"]),
                         report.format_number(row["shadex"]["peak_mb"]), row["shadex"]["outcome"],
                         report.format_number(validator.get("wall_ms")),
                         report.format_number(row.get("ratio"), 2),
                         report.format_number(row.get("cpu_ratio"), 2)])
        report.print_table(["file", "core", "lines", "wall ms", "cpu ms", "peak MB", "outcome",
                            "validator ms", "ratio", "cpu ratio"], rows, {2, 3, 4, 5, 7, 8, 9})
        unexpected = [row["name"] for row in results["compiles"] if row["shadex"]["outcome"] != "exit0"]
        if unexpected:
            print("  note: not every run ended with exit status 0, so these figures time something else: "
                  + ", ".join(unexpected))
        ratios = [row["ratio"] for row in results["compiles"] if "ratio" in row]
        examples = [row["ratio"] for row in results["compiles"] if "ratio" in row and row["group"] == "examples"]
        if ratios:
            print("  ratio: corpus sample median %s; examples median %s; worst %.2f (%s)" % (
                report.format_number(bench.figures.get("median_ratio"), 2),
                report.format_number(report.median_or_none(examples), 2),
                bench.figures["max_ratio"], results["worst_ratio_file"]))

    throughput = results.get("throughput")
    if throughput:
        print("\nCorpus throughput (every valid=yes and valid=unknown file once)")
        outcomes = ", ".join("%s %d" % item for item in sorted(throughput["outcomes"].items()))
        print("  %d files, %d at a time: %.1f s, %.2f files/s (%.1f s of CPU); %s" % (
            throughput["files"], throughput["jobs"], throughput["elapsed_s"], throughput["files_per_s"],
            throughput["cpu_s"], outcomes))
        slowest = sorted(throughput["per_file"], key=lambda row: -row["wall_ms"])[:5]
        print("  slowest: " + "; ".join("%s %.0f ms" % (row["name"], row["wall_ms"]) for row in slowest))

    suite = results.get("suite")
    if suite:
        print("\nshadex-suite over the same files on %s, %d workers" % (corpus_files.DEFAULT_CORE, suite["jobs"]))
        for label, row in (("once", suite["whole"]), ("5 times", suite["repeated_5x"])):
            print("  %s: %d runs in %.1f s, %.1f runs/s, peak %.1f MB" % (
                label, row["runs"], row["elapsed_s"], row["runs_per_s"], row["peak_mb"]))
        print("  by API: " + "; ".join("%s %.1f runs/s" % (api, row["runs_per_s"]) for api, row in suite["by_api"].items()))

    if results.get("annotate"):
        print("\nCosts per source line: --annotate beside the same run without it (medians)")
        rows = [[row["name"], report.format_number(row["plain_ms"]), report.format_number(row["annotated_ms"]),
                 report.format_number(row["ratio"], 2)] for row in results["annotate"]]
        report.print_table(["file", "plain ms", "--annotate ms", "ratio"], rows, {1, 2, 3})
        worst = max(results["annotate"], key=lambda row: row["ratio"])
        print("  worst %.2f (%s)" % (worst["ratio"], worst["name"]))

    if results.get("largest_peak") or results.get("largest_shader"):
        print("\nPeak resident memory (largest process of a run's tree)")
        if results.get("largest_peak"):
            print("  largest of any run: %.1f MB (%s)" % (results["largest_peak"]["peak_mb"],
                                                        results["largest_peak"]["name"]))
        if results.get("largest_shader"):
            print("  largest corpus shader: %.1f MB (%s)" % (bench.figures["largest_shader_peak_mb"],
                                                            results["largest_shader"]))

    if results.get("scaling"):
        print("\nScaling: synthetic OpenGL ES fragment shader (bench/synthetic_shader.py)")
        rows = [["%dx" % row["scale"], str(row["lines"]), str(row["bytes"]),
                 report.format_number(row["shadex"]["wall_ms"]), report.format_number(row["shadex"]["cpu_ms"]),
                 report.format_number(row["shadex"]["peak_mb"]), row["shadex"]["outcome"],
                 report.format_number(row.get("validator", {}).get("wall_ms")),
                 report.format_number(row["time_ratio"], 2), report.format_number(row["cpu_ratio"], 2)]
                for row in results["scaling"]]
        report.print_table(["scale", "lines", "bytes", "wall ms", "cpu ms", "peak MB", "outcome",
                            "validator ms", "time / 1x", "cpu / 1x"], rows, {1, 2, 3, 4, 5, 7, 8, 9})

    print("\nGoals")
    report.print_goals(goal_rows)


def main():
    arguments = parse_arguments()
    if not os.access(arguments.shadex, os.X_OK):
        print("bench: shadex is not built at %s" % arguments.shadex, file=sys.stderr)
        return 2
    bench = Bench(arguments)
    load_before = os.getloadavg()[0]
    started = datetime.datetime.now(datetime.timezone.utc)
    bench.floor_mb = measure.launcher_floor_mb()
    with bench.scratch:
        bench.run_startup()
        bench.run_compiles()
        bench.run_throughput()
        bench.run_suite()
        bench.run_annotate()
        bench.run_scaling()
    bench.summarise_memory()
    load_after = os.getloadavg()[0]
    goal_rows = report.evaluate_goals(bench.figures)
    print_report(bench, goal_rows, load_before, load_after)

    json_path = arguments.json or os.path.join(os.path.dirname(os.path.dirname(bench.shadex)),
                                               "bench", "results.json")
    document = {
        "started": started.isoformat(timespec="seconds"),
        "machine": {"cpus": os.cpu_count(), "platform": platform.platform(),
                    "load_before": round(load_before, 2), "load_after": round(load_after, 2),
                    "peak_floor_mb": round(bench.floor_mb, 2)},
        "settings": {"shadex": bench.shadex, "corpus": bench.corpus, "repeats": bench.repeats.small,
                     "repeats_large": bench.repeats.large, "filter": arguments.filter,
                     "jobs": bench.jobs},
        "notes": bench.notes,
        "goals": goal_rows,
        **bench.results,
    }
    os.makedirs(os.path.dirname(os.path.abspath(json_path)), exist_ok=True)
    with open(json_path, "w", encoding="utf-8") as file:
        json.dump(document, file, indent=1)
        file.write("\n")
    print("\nFigures: %s" % json_path)
    return 0


if __name__ == "__main__":
    sys.exit(main())
