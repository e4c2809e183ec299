#!/usr/bin/env python3
"""Checks that shadex-suite's records are what shadex itself prints: runs the
bench's fixed corpus sample through `shadex-suite run` (one list line per
file, with the options tools/sweep.sh uses) and each file through shadex, and
compares the reports byte for byte. Exit 1 on a difference.

    check-suite-equality.py CORPUS BIN_DIR
"""
import json
import os
import subprocess
import sys

import corpus_sample

CORE = "Koro-N68"


def main():
    corpus, bin_dir = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    lines = corpus_sample.sample_lines(corpus)
    records = dict(corpus_sample.suite_records(bin_dir, lines, [CORE]))
    differences = 0
    for args in lines:
        record = records.get(corpus_sample.list_line(args))
        alone = subprocess.run([os.path.join(bin_dir, "shadex"), "-c", CORE, "--format", "json"] + args,
                               capture_output=True, text=True)
        printed = None if record is None or "report" not in record else \
            json.dumps(record["report"], separators=(",", ":"), ensure_ascii=False) + "\n"
        if record is None or record["status"] != alone.returncode or (printed is not None and printed != alone.stdout):
            differences += 1
            print("differs: %s" % " ".join(args), file=sys.stderr)
    print("check-suite-equality: %d runs, %d differ" % (len(lines), differences))
    return 1 if differences else 0


if __name__ == "__main__":
    sys.exit(main())
