"""The results of benchmarks: what Result.h is to those in C++."""

import json
import os

RELATIONS = {"<=": "≤", ">=": "≥"}


def record(promise, figure, unit, **rest):
    """Adds a line to the file that KOPERTAL_BENCH_RESULTS names, if it names one; and prints it for people.

    `rest`: reference and reference_figure (what it is compared with, in the same unit), ratio, relation ("<=" or
    ">=") and mark, which is of the ratio when there is one, else of the figure.
    """
    result = {"promise": promise, "figure": figure, "unit": unit, **rest}
    path = os.environ.get("KOPERTAL_BENCH_RESULTS")
    if path:
        with open(path, "a", encoding="utf-8") as file:
            file.write(json.dumps(result) + "\n")
    print("  ".join(cells(result)), flush=True)


def read(path):
    with open(path, encoding="utf-8") as file:
        return [json.loads(line) for line in file]


def is_kept(result):
    """None when there is nothing to reach."""
    if "mark" not in result:
        return None
    value = result.get("ratio", result["figure"])
    return value <= result["mark"] if result["relation"] == "<=" else value >= result["mark"]


HEADINGS = ("promise", "mark", "figure", "reference", "ratio", "mark kept")


def cells(result):
    """The result as texts under HEADINGS."""
    unit = f" {result['unit']}" if result["unit"] else ""
    mark = ""
    if "mark" in result:
        of_ratio = "ratio" in result
        mark = f"{RELATIONS[result['relation']]} {result['mark']:g}{' times' if of_ratio else unit}"
    reference = f"{result['reference']}: {number(result['reference_figure'])}{unit}" if "reference" in result else ""
    ratio = f"{result['ratio']:.2f}" if "ratio" in result else ""
    kept = {None: "", True: "kept", False: "MISSED"}[is_kept(result)]
    return tuple(cell or "–" for cell in (result["promise"], mark, number(result["figure"]) + unit, reference, ratio,
                                          kept))


def number(value):
    """With three digits that count."""
    for limit, decimals in ((10, 2), (100, 1)):
        if abs(value) < limit and value != int(value):
            return f"{value:.{3 if abs(value) < 1 else decimals}f}"
    return f"{value:.0f}"
