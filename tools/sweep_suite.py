#!/usr/bin/env python3
"""The sweep's runs through shadex-suite: one list file and one suite run per
core, the records turned back into the sweep's result lines (core, api,
stage, valid, path, outcome, verdict). Output of unexpected runs is kept
under LOG_DIR/logs/CORE/PATH.log, as tools/sweep.sh keeps its own.

    sweep_suite.py RUN_LIST SUITE JOBS TIMEOUT LOG_DIR CORPUS
"""
import json
import os
import shlex
import signal
import subprocess
import sys


def runs_of(run_list):
    with open(run_list, "rb") as listing:
        fields = listing.read().split(b"\0")
    fields = [field.decode() for field in fields if field != b""] if fields else []
    return [fields[index:index + 7] for index in range(0, len(fields) - len(fields) % 7, 7)]


def arguments(api, kernel, path):
    args = {"gles": ["--opengles"], "vulkan": ["--vulkan"]}.get(api, ["--opencl", "1.2", "--name", kernel])
    return args + [path]


def outcome_of(record):
    failure = record.get("failure")
    if failure is None:
        return "exit%d" % record["status"]
    if failure.startswith("timed out"):
        return "timeout"
    words = failure.split()
    if "signal" in words and words.index("signal") + 1 < len(words):
        number = int(words[words.index("signal") + 1])
        try:
            return "crash(%s)" % signal.Signals(number).name[3:]
        except ValueError:
            return "crash(%d)" % number
    return "crash(?)"


def verdict_of(valid, outcome, documented):
    if documented != "-":
        return "documented" if outcome == documented else "unexpected"
    if (valid, outcome) in (("yes", "exit0"), ("no", "exit1"), ("unknown", "exit0"), ("unknown", "exit1")):
        return "ok"
    return "unexpected"


def main():
    run_list, suite, jobs, timeout, log_dir, corpus = sys.argv[1:7]
    by_core = {}
    for run in runs_of(run_list):
        by_core.setdefault(run[0], []).append(run)
    for core, runs in by_core.items():
        listing = os.path.join(log_dir, "runs-%s.txt" % core.replace(" ", "_"))
        lines = []
        with open(listing, "w", encoding="utf-8") as out:
            for _, api, _, _, path, kernel, _ in runs:
                line = " ".join(shlex.quote(arg) for arg in arguments(api, kernel, os.path.join(corpus, path)))
                lines.append(line)
                out.write(line + "\n")
        results = os.path.join(log_dir, "records-%s.json" % core.replace(" ", "_"))
        subprocess.run([suite, "run", "-q", "-j", jobs, "--timeout", timeout, "-c", core, "-o", results,
                        "@" + listing], check=True)
        with open(results, encoding="utf-8") as document:
            records = {record["id"]: record for record in json.load(document)["records"]}
        for run, line in zip(runs, lines):
            _, api, stage, valid, path, kernel, documented = run
            record = records.get(listing + ": " + line, {"status": None, "failure": "no record"})
            outcome = outcome_of(record)
            verdict = verdict_of(valid, outcome, documented)
            if verdict == "unexpected":
                kept = os.path.join(log_dir, "logs", core, path + ".log")
                os.makedirs(os.path.dirname(kept), exist_ok=True)
                with open(kept, "w", encoding="utf-8") as log:
                    log.write("$ shadex -c %s %s\n" % (shlex.quote(core), line))
                    log.write(json.dumps(record, indent=1) + "\n")
            print("\t".join([core, api, stage, valid, path, outcome, verdict]))


if __name__ == "__main__":
    main()
