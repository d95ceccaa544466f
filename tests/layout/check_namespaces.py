#!/usr/bin/env python3
"""Names the unit tests that are not in the namespace of their place.

    check_namespaces.py ROOT

tests/<folder>/<name>_test.cc is in readkit::<folder>_<name>_test, those of tests/host/ in
readkit::host::host_<name>_test: several sources are compiled as one, and what they define for
themselves must not meet.
"""

import pathlib
import re
import sys

from sources import code_of, report, sources


def namespace_of(test):
    outer = "readkit::host" if test.parts[1] == "host" else "readkit"
    return f"{outer}::{test.parts[1]}_{test.stem}"


def strangers(root):
    root = pathlib.Path(root)
    tests = [test for test in sources(root, ["tests"], suffixes=(".cc",))
             if test.stem.endswith("_test")]
    if not tests:
        return [f"{root}: no tests"]
    return [f"{test}: has no namespace {namespace_of(test)}" for test in tests
            if not re.search(rf"^namespace {namespace_of(test)} {{\nnamespace {{$",
                             code_of(root / test), re.MULTILINE)]


if __name__ == "__main__":
    sys.exit(report(strangers(sys.argv[1])))
