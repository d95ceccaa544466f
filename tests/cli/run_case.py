#!/usr/bin/env python3
"""Runs one shell script and compares what it prints with the files beside it.

    run_case.py [--update] --readkit PROGRAM --version VERSION --library LIBRARY
                --echo ECHO_LIBRARY CASE.sh

The script runs in a folder of its own, which holds small.bam and small.sam, as `sh -u`. It finds the
program as `readkit`, and in the variables `library` and `echo` what it may give to --library.
Temporary files, which the program makes in TMPDIR and beside its outputs, must be gone at the end.
Beside CASE.sh
are CASE.stdout.exact, CASE.stderr.exact and CASE.exit; a missing one stands for nothing printed
and status 0. --update writes them. In them, @VERSION@ behind the program's name stands for VERSION.
"""

import argparse
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import small_bam


# What the sanitizers say in the first place when there is no /proc.
NO_PROC = re.compile(rb"^==\d+==WARNING: reading executable name failed.*\n", re.MULTILINE)


def run(arguments, folder):
    """Standard output, standard error and exit status of the script."""
    programs = folder / "programs"
    programs.mkdir()
    (programs / "readkit").symlink_to(arguments.readkit)
    work = folder / "a folder"
    work.mkdir()
    temporaries = folder / "temporaries"
    temporaries.mkdir()
    (work / "small.bam").write_bytes(small_bam.small_bam())
    (work / "small.sam").write_bytes(small_bam.SMALL_SAM)
    environment = {
        **os.environ,
        "PATH": f"{programs}{os.pathsep}{os.environ['PATH']}",
        "LC_ALL": "C",
        "TMPDIR": str(temporaries),
        "library": arguments.library,
        "echo": str(arguments.echo),
    }
    done = subprocess.run(["sh", "-u", arguments.case], cwd=work, env=environment,
                          stdin=subprocess.DEVNULL, capture_output=True, timeout=300, check=False)
    left = [*temporaries.iterdir(), *work.rglob(".*readkit-*")]
    if left:
        raise AssertionError(f"left behind: {left}")
    version = re.compile(rb'(readkit"?:? "?)' + re.escape(arguments.version.encode()) + rb"\b")
    out = version.sub(rb"\1@VERSION@", NO_PROC.sub(b"", done.stdout))
    return {".stdout.exact": out,
            ".stderr.exact": NO_PROC.sub(b"", done.stderr),
            ".exit": b"" if done.returncode == 0 else b"%d\n" % done.returncode}


def differences(name, expected, actual):
    lines = [[repr(line)[2:-1] for line in text.splitlines(keepends=True)]
             for text in (expected, actual)]
    return list(difflib.unified_diff(*lines, f"{name}, expected", f"{name}, printed", lineterm=""))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--readkit", type=pathlib.Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--library", required=True)
    parser.add_argument("--echo", type=pathlib.Path, required=True)
    parser.add_argument("case", type=pathlib.Path)
    arguments = parser.parse_args()
    for name in ("readkit", "echo", "case"):
        setattr(arguments, name, getattr(arguments, name).resolve())
    with tempfile.TemporaryDirectory() as folder:
        printed = run(arguments, pathlib.Path(folder))
    wrong = []
    for ending, actual in printed.items():
        path = arguments.case.with_suffix(ending)
        if arguments.update:
            if actual:
                path.write_bytes(actual)
            else:
                path.unlink(missing_ok=True)
        expected = path.read_bytes() if path.exists() else b""
        if expected != actual:
            wrong += differences(path.name, expected, actual)
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
