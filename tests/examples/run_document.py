#!/usr/bin/env python3
"""Runs the examples of a document and compares what they print with what the document shows.

    run_document.py [--update] --source ROOT --build BUILD DOCUMENT.md

Fenced blocks of the kind `console` are run: every line that begins with "$ " is a command for sh
(a backslash at its end or an open quote continues it), and the lines up to the next command are
what it prints on standard output and standard error. The commands of a document share a folder of
their own, with the source's examples as examples/ and the build as build/demo/, whose programs are
on the PATH. Blocks of the kind `cpp` must stand in one of the examples as they are. Other blocks
are left alone. --update writes what was printed into the document.
"""

import argparse
import difflib
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

FENCE = re.compile(r"^```(\w*)$")


def is_open(command_lines):
    """Whether a command goes on in the next line."""
    try:
        shlex.split("\n".join(command_lines))
    except ValueError:  # an open quote, or a backslash without a character after it
        return True
    return False


def commands_of(lines):
    """(command lines, output lines) pairs of the lines of a block."""
    pairs = []
    continued = False
    for line in lines:
        if continued:
            pairs[-1][0].append(line)
        elif line.startswith("$ "):
            pairs.append(([line], []))
        elif pairs:
            pairs[-1][1].append(line)
        else:
            raise ValueError(f"a block begins with no command: {line}")
        continued = (continued or line.startswith("$ ")) and is_open(pairs[-1][0])
    return pairs


class Runner:
    """Runs commands in a folder that looks like the source's root after `make build`."""

    def __init__(self, source, build, folder):
        self.folder = folder
        (folder / "examples").symlink_to(source / "examples")
        (folder / "build").mkdir()
        (folder / "build" / "demo").symlink_to(build)
        self.environment = {
            **os.environ,
            "PATH": f"{build / 'bin'}{os.pathsep}{os.environ['PATH']}",
            "PYTHONDONTWRITEBYTECODE": "1",
            "LC_ALL": "C",
        }

    def run(self, command_lines):
        command = "\n".join(command_lines)[len("$ "):]
        done = subprocess.run(["sh", "-u", "-c", command], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=300, check=False)
        return done.stdout.decode("utf-8", "backslashreplace").splitlines()


def console_block(lines, runner):
    """The lines of a block with what its commands print now."""
    printed = []
    for command, _ in commands_of(lines):
        printed += command + runner.run(command)
    return printed


def checked_lines(text, runner, sources):
    """The document's lines as they should be; counts the blocks that were checked."""
    result, block, kind, checked = [], [], None, 0
    for line in text.splitlines():
        fence = FENCE.match(line)
        if kind is None:
            result.append(line)
            if fence:
                kind, block = fence.group(1), []
        elif line != "```":
            block.append(line)
        else:
            if kind == "console":
                block = console_block(block, runner)
                checked += 1
            elif kind == "cpp":
                if not any("\n".join(block) in source for source in sources):
                    block = ["(stands in no file of examples/)"] + block
                checked += 1
            result += block + [line]
            kind = None
    if kind is not None:
        raise ValueError("a fenced block does not end")
    return result, checked


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("document", type=pathlib.Path)
    arguments = parser.parse_args()
    source, build = arguments.source.resolve(), arguments.build.resolve()
    text = arguments.document.read_text(encoding="utf-8")
    sources = [path.read_text(encoding="utf-8") for path in (source / "examples").glob("*.cc")]
    with tempfile.TemporaryDirectory(prefix="readkit examples ") as folder:
        runner = Runner(source, build, pathlib.Path(folder))
        lines, checked = checked_lines(text, runner, sources)
    if arguments.update:
        arguments.document.write_text("\n".join(lines) + "\n", encoding="utf-8")
        return 0
    name = arguments.document.name
    wrong = list(difflib.unified_diff(text.splitlines(), lines, f"{name}, as it stands",
                                      f"{name}, as it should be", lineterm=""))
    if checked == 0:
        wrong.append(f"{name} has no example")
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
