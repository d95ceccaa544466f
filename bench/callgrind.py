"""Counts the instructions of a call with callgrind, object by object.

Counted is what happens within the gateway function, functions that it calls included: not the
loading of libraries, not the reading of JSON. What lies in our own library stays the same from
run to run and does not know what the processor can do; what other libraries do depends on their
versions and, where they choose their loops at run time, on the processor.
"""

import pathlib
import re
import subprocess

# A cost line: a position (absolute or relative), and the count. "calls=" says that the next one is
# the cost of the function that is called, which has lines of its own.
_COST = re.compile(r"^[+\-*\d]\S* (\d+)")
_OBJECT = re.compile(r"^ob=\((\d+)\)(?: (.*))?$")
_NAME = re.compile(r"^c?ob=\((\d+)\) (.*)$")


class CountFailed(Exception):
    """Nothing was counted."""


def by_object(lines):
    """The instructions of each object file of a callgrind profile."""
    names, found, current, skip = {}, {}, None, False
    for line in lines:
        line = line.rstrip("\n")
        named = _NAME.match(line)
        if named:
            names[named.group(1)] = named.group(2)
        if match := _OBJECT.match(line):
            current = match.group(1)
        elif line.startswith("calls="):
            skip = True
        elif match := _COST.match(line):
            if not skip:
                found[current] = found.get(current, 0) + int(match.group(1))
            skip = False
    return {names.get(number, "?"): count for number, count in found.items()}


def count(words, function, folder, library):
    """Instructions within `function` of a command: in our library, and in all."""
    profile = pathlib.Path(folder) / "callgrind.out"
    profile.unlink(missing_ok=True)
    ran = subprocess.run(
        ["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}",
         f"--toggle-collect=readkit::{function}(*", *map(str, words)],
        cwd=folder, check=False, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if ran.returncode != 0 or not profile.exists():
        raise CountFailed(f"{' '.join(map(str, words[:3]))}: {ran.stderr.strip()[-400:]}")
    with open(profile, encoding="utf-8", errors="replace") as lines:
        objects = by_object(lines)
    # The name of the file that is loaded goes on with the version.
    own = sum(count for name, count in objects.items()
              if pathlib.Path(name).name.startswith(pathlib.Path(library).name))
    if own == 0:
        raise CountFailed(f"{function}: nothing was counted in {library}")
    return {"own": own, "all": sum(objects.values())}
