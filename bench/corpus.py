"""Which programs the bench compiles, and how shadex and the validator are called for each.

A program is run the way tools/sweep.sh runs it: from the file's own directory
(so relative includes resolve), with the API switch its manifest row names,
and an OpenCL file with --opencl 1.2 and --name set to its first kernel.
"""

import csv
import os
import re

DEFAULT_CORE = "Koro-N68"
# Ray-tracing stages need a core of the fifth generation.
RAY_TRACING_CORE = "Koro-N1-Ultra"
RAY_TRACING_STAGES = {"rgen", "rint", "rahit", "rchit", "rmiss", "rcall"}
APIS = {"gles", "vulkan", "opencl"}

# The first kernel defined in an OpenCL file; attributes and preprocessor
# lines may stand between "kernel" and "void".
FIRST_KERNEL = re.compile(
    r"\b(?:__)?kernel\s+(?:(?:__attribute__\s*\(\([^;{]*?\)\)|#[^\n]*)\s*)*void\s+([A-Za-z_]\w*)")


class Program:
    """One shader or kernel file and what it is."""

    def __init__(self, name, path, api, stage, valid="yes"):
        self.name = name          # how the bench reports it
        self.path = path          # absolute
        self.api = api            # gles, vulkan or opencl
        self.stage = stage        # the manifest's stage, e.g. frag, rgen, cl
        self.valid = valid
        self.group = ""           # examples or corpus sample, for the report
        self.size = os.path.getsize(path)
        self.lines = count_lines(path)

    @property
    def is_spirv(self):
        return self.path.endswith(".spv")

    @property
    def is_glsl(self):
        return self.api in ("gles", "vulkan") and not self.is_spirv

    @property
    def core(self):
        return RAY_TRACING_CORE if self.stage in RAY_TRACING_STAGES else DEFAULT_CORE


def count_lines(path):
    if path.endswith(".spv"):
        return 0
    with open(path, "rb") as file:
        return file.read().count(b"\n")


def first_kernel_name(path):
    with open(path, encoding="utf-8", errors="replace") as file:
        found = FIRST_KERNEL.search(file.read())
    return found.group(1) if found else "no_kernel_found"


def read_manifest(corpus):
    """The manifest's rows as dicts keyed by its header."""
    with open(os.path.join(corpus, "MANIFEST.tsv"), encoding="utf-8", newline="") as file:
        return list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))


def program_from_row(corpus, row):
    return Program("corpus/" + row["path"], os.path.join(corpus, row["path"]),
                   row["api"], row["stage"], row["valid"])


def throughput_programs(corpus):
    """Every file the sweep compiles and expects to succeed or may fail:
    valid=yes and valid=unknown, never include files."""
    return [program_from_row(corpus, row) for row in read_manifest(corpus)
            if row["api"] in APIS and row["stage"] != "include" and row["valid"] in ("yes", "unknown")]


def read_sample_list(path):
    """Paths listed one per line; blank lines and # comments are skipped."""
    paths = []
    with open(path, encoding="utf-8") as file:
        for line in file:
            line = line.split("#", 1)[0].strip()
            if line:
                paths.append(line)
    return paths


def sample_programs(corpus, sample_list):
    """The fixed sample, in the list's order. Paths missing from the manifest
    or the disk are returned separately so the report can name them."""
    rows = {row["path"]: row for row in read_manifest(corpus)}
    programs, missing = [], []
    for path in read_sample_list(sample_list):
        row = rows.get(path)
        if row is None or not os.path.isfile(os.path.join(corpus, path)):
            missing.append(path)
        else:
            programs.append(program_from_row(corpus, row))
    return programs, missing


def example_programs(examples_dir):
    """The examples: *.vk.* is Vulkan GLSL, *.cl OpenCL C, the rest OpenGL ES."""
    programs = []
    for name in sorted(os.listdir(examples_dir)):
        path = os.path.join(examples_dir, name)
        if not os.path.isfile(path):
            continue
        stage = name.rsplit(".", 1)[-1]
        api = "opencl" if stage == "cl" else "vulkan" if ".vk." in name else "gles"
        programs.append(Program("examples/" + name, path, api, stage))
    return programs


def shadex_command(shadex, program):
    """(argv, cwd) of a full compile with the text report."""
    argv = [shadex, "--core", program.core]
    if program.api == "gles":
        argv.append("--opengles")
    elif program.api == "vulkan":
        argv.append("--vulkan")
    else:
        argv += ["--opencl", "1.2", "--name", first_kernel_name(program.path)]
    argv.append(os.path.basename(program.path))
    return argv, os.path.dirname(program.path)


def validator_command(validator, program, spirv_versions, output_dir):
    """(argv, cwd) of the packaged validator alone on a GLSL file, or None.

    Vulkan GLSL is compiled to SPIR-V for the same SPIR-V version shadex asks
    for (the core's highest), into a scratch file so nothing is written beside
    the source; OpenGL ES GLSL is only validated.
    """
    if not program.is_glsl:
        return None
    argv = [validator]
    if program.api == "vulkan":
        argv += ["-V", "-o", os.path.join(output_dir, "validator.spv"),
                 "--target-env", "spirv" + spirv_versions[program.core]]
    argv.append(os.path.basename(program.path))
    return argv, os.path.dirname(program.path)
