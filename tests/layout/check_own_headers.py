#!/usr/bin/env python3
"""Checks that a source begins with the header of its name, which holds its content once.

    check_own_headers.py ROOT

Compiling src/core/bgzf.cc then shows that src/core/bgzf.h needs nothing before it, and no source of
its own is compiled for that.
"""

import pathlib
import sys

from sources import code_of, includes_of, report, sources


def check(root):
    root = pathlib.Path(root)
    found = sources(root, ["src", "host", "cli"], suffixes=(".h",))
    if not found:
        return [f"{root}: no headers"]
    complaints = []
    for header in found:
        source = header.with_suffix(".cc")
        if not (root / source).is_file():
            continue
        name = "/".join(header.parts[1:] if header.parts[0] == "src" else header.parts)
        first = next((include[1:] for include in includes_of(code_of(root / source))), None)
        if first != (name, False):
            complaints.append(f'{source}: does not begin with #include "{name}"')
        if "#pragma once" not in code_of(root / header).split("\n"):
            complaints.append(f"{header}: has no #pragma once")
    return complaints


if __name__ == "__main__":
    sys.exit(report(check(sys.argv[1])))
