#!/usr/bin/env python3
"""Counts the lines and branches of a source tree that tests take.

    coverage_report.py [--least PERCENT] [--uncovered FILE] TREE EXPORT

EXPORT is what `llvm-cov export` gives. A branch is one of the two ways of a condition that the source
spells out, each part of an && or || by itself, and neither way of one that compiling decides
(`while (true)`, `if constexpr`); a template's counts are those of all that it became.
Prints a line for each folder of TREE; --uncovered writes a line for each branch that is never taken.
Ends with status 1 when fewer than PERCENT of all branches are.
"""

import argparse
import collections
import json
import pathlib
import sys


def counts_of(export, tree):
    """{file: (lines that are taken, lines, {(line, column, way): count})} of the files in `tree`."""
    files = {}
    for entry in export["data"][0]["files"]:
        path = pathlib.Path(entry["filename"]).resolve()
        if not path.is_relative_to(tree):
            continue
        text = path.read_text(encoding="utf-8").splitlines()
        branches = collections.Counter()
        for line, column, _, _, taken, passed, *_ in entry["branches"]:
            if is_decided(text[line - 1], column):
                continue
            branches[line, column, True] += taken
            branches[line, column, False] += passed
        lines = entry["summary"]["lines"]
        files[path.relative_to(tree)] = (lines["covered"], lines["count"], branches)
    return files


def is_decided(line, column):
    """Whether the condition that begins at a column, counted from 1, is none at run time."""
    return line[column - 1:].startswith("true)") or "if constexpr" in line[:column]


def share(taken, all_of):
    return f"{taken:6} of {all_of:6} {100 * taken / max(all_of, 1):6.2f} %"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--least", type=float, default=0)
    parser.add_argument("--uncovered")
    parser.add_argument("tree", type=pathlib.Path)
    parser.add_argument("export")
    options = parser.parse_args()
    tree = options.tree.resolve()
    with open(options.export, encoding="utf-8") as file:
        files = counts_of(json.load(file), tree)
    if not files:
        sys.exit(f"{options.export}: counts nothing in {tree}")

    sums = collections.defaultdict(lambda: [0, 0, 0, 0])
    uncovered = []
    for path, (lines_taken, lines, branches) in sorted(files.items()):
        for name in (path.parts[0], "all"):
            sums[name][0] += lines_taken
            sums[name][1] += lines
            sums[name][2] += sum(count > 0 for count in branches.values())
            sums[name][3] += len(branches)
        uncovered += [f"{path}:{line}:{column}: never {'true' if way else 'false'}"
                      for (line, column, way), count in sorted(branches.items()) if count == 0]
    print(f"{'':10}  {'lines':25}  branches")
    for name in sorted(sums, key=lambda name: (name == "all", name)):
        lines_taken, lines, taken, branches = sums[name]
        print(f"{name:10}  {share(lines_taken, lines)}  {share(taken, branches)}")
    if options.uncovered:
        pathlib.Path(options.uncovered).write_text("".join(f"{line}\n" for line in uncovered))
    _, _, taken, branches = sums["all"]
    return 0 if 100 * taken >= options.least * branches else 1


if __name__ == "__main__":
    sys.exit(main())
