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
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SAMPLE = os.path.join(HERE, "..", "bench", "corpus_sample.txt")
CORE = "Koro-N68"


def manifest(corpus):
    apis = {}
    with open(os.path.join(corpus, "MANIFEST.tsv"), encoding="utf-8") as table:
        header = table.readline().rstrip("\n").split("\t")
        for line in table:
            row = dict(zip(header, line.rstrip("\n").split("\t")))
            apis[row["path"]] = row["api"]
    return apis


def first_kernel(path):
    with open(path, encoding="utf-8", errors="replace") as source:
        words = source.read().replace("(", " ( ").split()
    for index, word in enumerate(words[:-2]):
        if word in ("kernel", "__kernel") and words[index + 1] == "void":
            return words[index + 2]
    return None


def main():
    corpus, bin_dir = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    apis = manifest(corpus)
    lines = []
    with open(SAMPLE, encoding="utf-8") as sample:
        for entry in sample:
            entry = entry.strip()
            if not entry or entry.startswith("#") or entry not in apis:
                continue
            path = os.path.join(corpus, entry)
            api = apis[entry]
            if api == "opencl":
                kernel = first_kernel(path)
                if not kernel:
                    continue
                lines.append(["--opencl", "1.2", "-n", kernel, path])
            else:
                lines.append(["--opengles" if api == "gles" else "--vulkan", path])
    with tempfile.TemporaryDirectory(prefix="shadex-equality-") as scratch:
        listing = os.path.join(scratch, "sample.txt")
        with open(listing, "w", encoding="utf-8") as out:
            for args in lines:
                out.write(" ".join("'%s'" % arg for arg in args) + "\n")
        results = os.path.join(scratch, "results.json")
        subprocess.run([os.path.join(bin_dir, "shadex-suite"), "run", "-q", "-c", CORE, "-o", results,
                        "@" + listing], check=True)
        with open(results, encoding="utf-8") as document:
            records = {record["id"]: record for record in json.load(document)["records"]}
    differences = 0
    for args in lines:
        record = records.get(listing + ": " + " ".join("'%s'" % arg for arg in args))
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
