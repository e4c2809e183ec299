"""The bench's fixed corpus sample as shadex argument lists, for the CI checks
that run real files (tools/check-suite-equality.py, tools/check-annotate-sums.py)."""
import json
import os
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SAMPLE = os.path.join(HERE, "..", "bench", "corpus_sample.txt")


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


def sample_lines(corpus):
    """One argument list per sample file (OpenCL files by their first kernel)."""
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
                if kernel:
                    lines.append(["--opencl", "1.2", "-n", kernel, path])
            else:
                lines.append(["--opengles" if api == "gles" else "--vulkan", path])
    return lines


def list_line(args):
    return " ".join("'%s'" % arg for arg in args)


def suite_records(bin_dir, argument_lists, cores):
    """shadex-suite's records for one list line per argument list, on each core,
    as (list line, record) pairs."""
    with tempfile.TemporaryDirectory(prefix="shadex-sample-") as scratch:
        listing = os.path.join(scratch, "sample.txt")
        with open(listing, "w", encoding="utf-8") as out:
            for args in argument_lists:
                out.write(list_line(args) + "\n")
        results = os.path.join(scratch, "results.json")
        command = [os.path.join(bin_dir, "shadex-suite"), "run", "-q", "-o", results]
        for core in cores:
            command += ["-c", core]
        subprocess.run(command + ["@" + listing], check=True)
        with open(results, encoding="utf-8") as document:
            records = json.load(document)["records"]
    prefix = listing + ": "
    return [(record["id"][len(prefix):], record) for record in records]
