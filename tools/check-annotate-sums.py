#!/usr/bin/env python3
"""Checks per-source-line costs on real files: runs the bench's fixed corpus
sample with --annotate through shadex-suite on one core of each architecture
and checks that in every variant the lines' cycles add up to the total cycles,
pipe by pipe (the Pelion-and-later aggregate aside, which is not a sum), and
that some line carries any cost there is. Exit 1 on a mismatch.

    check-annotate-sums.py CORPUS BIN_DIR
"""
import os
import sys

import corpus_sample

CORES = ["Koro-L380", "Koro-N22", "Koro-N68", "Koro N1"]


def problems_of(report):
    """What is wrong with one compile report's source lines."""
    problems = []
    for shader in report.get("shaders", []):
        for variant in shader.get("variants", []):
            pipes = variant["performance"]["pipelines"]
            total = variant["performance"]["total_cycles"]["cycle_count"]
            lines = variant.get("source_lines")
            if not lines:
                if any(figure for figure in total):
                    problems.append("%s: costs, but no source lines" % variant["name"])
                continue
            for index, pipe in enumerate(pipes):
                if pipe == "arith_total" or total[index] is None:
                    continue
                summed = sum(line["cycles"][index] or 0 for line in lines)
                if abs(summed - total[index]) > 1e-3 * (1 + abs(total[index])):
                    problems.append("%s %s: lines add up to %g, total %g" % (variant["name"], pipe, summed,
                                                                             total[index]))
    return problems


def main():
    corpus, bin_dir = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    lines = corpus_sample.sample_lines(corpus)
    records = [record for _, record in corpus_sample.suite_records(bin_dir, [["--annotate"] + args for args in lines], CORES)]
    failures = 0
    for record in records:
        if record["status"] != 0 or "report" not in record:
            continue
        for problem in problems_of(record["report"]):
            failures += 1
            print("%s on %s: %s" % (record["id"], record["core"], problem), file=sys.stderr)
    compiled = sum(1 for record in records if record["status"] == 0)
    print("check-annotate-sums: %d runs (%d compiled), %d problems" % (len(records), compiled, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
