"""Plain-text tables and the goals the bench reports against."""

import statistics

# (key, description, limit, unit, comparison): a figure passes when
# comparison(measured, limit) holds.
GOALS = [
    ("list_ms", "--list wall time", 20.0, "ms", "<"),
    ("info_ms", "--info --core Koro-N68 wall time", 120.0, "ms", "<"),
    ("median_ratio", "median shadex/validator, corpus sample", 1.5, "", "<="),
    ("max_ratio", "worst shadex/validator, any GLSL file", 4.0, "", "<="),
    ("largest_shader_peak_mb", "peak memory, largest corpus shader", 100.0, "MB", "<"),
    ("scaling_100x", "time at 100x size / time at 1x", 120.0, "", "<="),
    ("scaling_100x_memory", "peak memory at 100x size / at 1x", 30.0, "", "<="),
    ("suite_corpus_s", "shadex-suite, whole corpus on one core", 10.0, "s", "<"),
    ("suite_speedup", "shadex-suite files/s over one shadex per file", 10.0, "", ">="),
    ("suite_gles_spirv_rate", "shadex-suite runs/s, OpenGL ES and SPIR-V files", 200.0, "/s", ">="),
    ("suite_peak_mb", "shadex-suite peak memory of a worker, corpus 5x", 150.0, "MB", "<"),
    ("suite_peak_growth", "shadex-suite peak at 5x / at 1x", 1.2, "", "<="),
    ("annotate_ratio", "median shadex --annotate / shadex, examples and corpus sample", 1.5, "", "<="),
]


def holds(measured, limit, comparison):
    if comparison == ">=":
        return measured >= limit
    return measured < limit if comparison == "<" else measured <= limit


def evaluate_goals(figures):
    """One row per goal: the figure when it was measured, PASS or FAIL, or
    'not run' when the bench skipped what it needs."""
    rows = []
    for key, description, limit, unit, comparison in GOALS:
        measured = figures.get(key)
        if measured is None:
            verdict = "not run"
        else:
            verdict = "PASS" if holds(measured, limit, comparison) else "FAIL"
        rows.append({
            "goal": key,
            "description": description,
            "limit": limit,
            "comparison": comparison,
            "unit": unit,
            "measured": None if measured is None else round(measured, 3),
            "result": verdict,
        })
    return rows


def format_number(value, digits=1):
    if value is None:
        return "-"
    if isinstance(value, str):
        return value
    return "%.*f" % (digits, value)


def print_table(headings, rows, right_aligned, indent="  "):
    """Prints rows of already formatted cells under their headings.
    right_aligned holds the indices of numeric columns."""
    widths = [len(heading) for heading in headings]
    for row in rows:
        widths = [max(width, len(cell)) for width, cell in zip(widths, row)]

    def line(cells):
        parts = [cell.rjust(width) if index in right_aligned else cell.ljust(width)
                 for index, (cell, width) in enumerate(zip(cells, widths))]
        return (indent + "  ".join(parts)).rstrip()

    print(line(headings))
    for row in rows:
        print(line(row))


def print_goals(goal_rows):
    rows = []
    for row in goal_rows:
        limit = "%s %s %s" % (row["comparison"], format_number(row["limit"]), row["unit"])
        digits = 2 if row["unit"] == "" else 1
        measured = format_number(row["measured"], digits)
        if row["measured"] is not None and row["unit"]:
            measured += " " + row["unit"]
        rows.append([row["description"], limit.strip(), measured, row["result"]])
    print_table(["goal", "limit", "measured", "result"], rows, right_aligned={1, 2})


def median_or_none(values):
    values = list(values)
    return statistics.median(values) if values else None
