#!/usr/bin/env python3
"""Names the sources that have no unit test.

    list_missing_tests.py ROOT

src/<folder>/<name>.cc wants tests/<folder>/<name>_test.cc, host/<name>.cc wants
tests/host/<name>_test.cc.
"""

import pathlib
import sys

from sources import report, sources


def test_of(source):
    folder = source.parts[-2]
    return pathlib.PurePosixPath("tests", folder, f"{source.stem}_test.cc")


def missing_tests(root):
    root = pathlib.Path(root)
    found = sources(root, ["src", "host"], suffixes=(".cc",))
    if not found:
        return [f"{root}: no sources"]
    return [f"{source}: has no {test_of(source)}" for source in found
            if not (root / test_of(source)).is_file()]


if __name__ == "__main__":
    sys.exit(report(missing_tests(sys.argv[1])))
