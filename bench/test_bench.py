#!/usr/bin/env python3
"""Checks of the bench's own logic: python3 bench/test_bench.py"""

import os
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import corpus  # noqa: E402
import measure  # noqa: E402
import report  # noqa: E402
import synthetic_shader  # noqa: E402

BENCH_DIR = os.path.dirname(os.path.abspath(__file__))
REPO_DIR = os.path.dirname(BENCH_DIR)
DEFAULT_CORPUS = os.path.join(REPO_DIR, "..", "shared", "corpus")


def python_child(code):
    return [sys.executable, "-c", code]


class MeasureTest(unittest.TestCase):
    def test_outcomes_of_a_run(self):
        self.assertEqual(measure.run_once(python_child("raise SystemExit(3)")).outcome(), "exit3")
        self.assertEqual(measure.run_once(python_child("import os; os.kill(os.getpid(), 9)")).outcome(), "signal 9")
        started = time.perf_counter()
        stopped = measure.run_once(python_child("import time; time.sleep(30)"), timeout=0.5)
        self.assertEqual(stopped.outcome(), "timeout")
        self.assertLess(time.perf_counter() - started, 10)

    def test_peak_memory_and_cpu_are_the_childs(self):
        floor_mb = measure.launcher_floor_mb()
        hungry = measure.run_once(python_child("b = bytearray(80 * 1024 * 1024); b[::4096] = b'x' * len(b[::4096])"))
        self.assertGreater(hungry.peak_kb / 1024, max(floor_mb, 80))
        busy = measure.run_once(python_child("import time\nend = time.process_time() + 0.3\n"
                                             "while time.process_time() < end: pass"))
        self.assertGreaterEqual(busy.cpu, 0.25)

    def test_slow_commands_get_fewer_repeats(self):
        quick = measure.measure(python_child("pass"), None, measure.Repeats(4, 2))
        self.assertEqual(len(quick.runs), 4)
        slow = measure.measure(python_child("import time; time.sleep(0.6)"), None, measure.Repeats(4, 2))
        self.assertEqual(len(slow.runs), 2)

    def test_parallel_runs_keep_their_order(self):
        commands = [(python_child("import time; time.sleep(1); raise SystemExit(%d)" % n), None)
                    for n in range(4)]
        runs, elapsed = measure.run_all_parallel(commands, jobs=2)
        self.assertEqual([run.status for run in runs], [0, 1, 2, 3])
        self.assertLess(elapsed, 3.5)  # one at a time would take 4 s; a busy machine adds to the 2


class CorpusTest(unittest.TestCase):
    def write(self, directory, name, text):
        path = os.path.join(directory, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path

    def test_first_kernel_skips_attributes_and_preprocessor_lines(self):
        with tempfile.TemporaryDirectory() as directory:
            cases = {
                "plain.cl": ("void helper() {}\n__kernel void first(global int* a) {}\nkernel void second() {}", "first"),
                "attributed.cl": ("kernel __attribute__((reqd_work_group_size(64, 1, 1)))\n#ifdef X\n#endif\n"
                                  "void tuned(global float* b) {}", "tuned"),
                "none.cl": ("void helper() {}", "no_kernel_found"),
            }
            for name, (text, kernel) in cases.items():
                self.assertEqual(corpus.first_kernel_name(self.write(directory, name, text)), kernel, name)

    def test_commands_follow_the_api_and_stage(self):
        with tempfile.TemporaryDirectory() as directory:
            vulkan = corpus.Program("v", self.write(directory, "a/ray.rgen", "x"), "vulkan", "rgen")
            gles = corpus.Program("g", self.write(directory, "b/light.frag", "x"), "gles", "frag")
            kernel = corpus.Program("k", self.write(directory, "c/k.cl", "kernel void k1() {}"), "opencl", "cl")
            module = corpus.Program("s", self.write(directory, "d/m.comp.spv", "x"), "vulkan", "comp")

            argv, cwd = corpus.shadex_command("/bin/shadex", vulkan)
            self.assertEqual(argv, ["/bin/shadex", "--core", corpus.RAY_TRACING_CORE, "--vulkan", "ray.rgen"])
            self.assertEqual(cwd, os.path.join(directory, "a"))
            self.assertEqual(corpus.shadex_command("/bin/shadex", kernel)[0][3:],
                             ["--opencl", "1.2", "--name", "k1", "k.cl"])

            versions = {corpus.RAY_TRACING_CORE: "1.6"}
            argv, _ = corpus.validator_command("/bin/glslang", vulkan, versions, "/scratch")
            self.assertEqual(argv, ["/bin/glslang", "-V", "-o", "/scratch/validator.spv",
                                    "--target-env", "spirv1.6", "ray.rgen"])
            self.assertEqual(corpus.validator_command("/bin/glslang", gles, {}, "/scratch")[0],
                             ["/bin/glslang", "light.frag"])
            self.assertIsNone(corpus.validator_command("/bin/glslang", kernel, {}, "/scratch"))
            self.assertIsNone(corpus.validator_command("/bin/glslang", module, {}, "/scratch"))

    def test_sample_names_files_the_manifest_lacks(self):
        with tempfile.TemporaryDirectory() as directory:
            header = "path\tsource_repo\tsource_path\tlicence\tapi\tstage\tvalid\n"
            self.write(directory, "MANIFEST.tsv", header + "x/a.frag\tr\tp\tMIT\tgles\tfrag\tyes\n")
            self.write(directory, "x/a.frag", "void main() {}\n")
            sample = self.write(directory, "sample.txt", "# comment\n\nx/a.frag  # inline note\nx/gone.frag\n")
            programs, missing = corpus.sample_programs(directory, sample)
            self.assertEqual([program.name for program in programs], ["corpus/x/a.frag"])
            self.assertEqual(missing, ["x/gone.frag"])

    @unittest.skipUnless(os.path.isfile(os.path.join(DEFAULT_CORPUS, "MANIFEST.tsv")), "no corpus")
    def test_committed_sample_is_in_the_corpus(self):
        programs, missing = corpus.sample_programs(DEFAULT_CORPUS, os.path.join(BENCH_DIR, "corpus_sample.txt"))
        self.assertEqual(missing, [])
        self.assertGreaterEqual(len(programs), 20)
        self.assertEqual({program.api for program in programs}, corpus.APIS)


class GoalsTest(unittest.TestCase):
    def test_limits_and_missing_figures(self):
        rows = {row["goal"]: row["result"] for row in report.evaluate_goals(
            {"list_ms": 20.0, "info_ms": 119.9, "median_ratio": 1.5, "max_ratio": 4.01})}
        self.assertEqual(rows["list_ms"], "FAIL")        # strictly below 20 ms
        self.assertEqual(rows["info_ms"], "PASS")
        self.assertEqual(rows["median_ratio"], "PASS")   # at most 1.5
        self.assertEqual(rows["max_ratio"], "FAIL")
        self.assertEqual(rows["scaling_100x"], "not run")


class SyntheticShaderTest(unittest.TestCase):
    def test_grows_linearly_with_distinct_functions(self):
        small, large = synthetic_shader.generate(1), synthetic_shader.generate(10)
        self.assertAlmostEqual(len(large) / len(small), 10, delta=1)
        calls = [line.strip() for line in large.splitlines() if line.strip().startswith("acc = ")]
        self.assertEqual(len(calls), 10 * synthetic_shader.FUNCTIONS_PER_SCALE)
        self.assertEqual(len(set(calls)), len(calls))
        self.assertIn("for (int i = 0; i < u_steps; ++i)", small)
        self.assertRaises(ValueError, synthetic_shader.generate, 0)


if __name__ == "__main__":
    unittest.main()
