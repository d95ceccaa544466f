"""What all comparisons share: the two folders of outputs, and what samtools reads there."""

import contextlib
import itertools
import json
import pathlib
import subprocess
import tempfile
from dataclasses import dataclass


class Mismatch(Exception):
    """The answers differ; the text says where."""


@dataclass(frozen=True)
class Answers:
    """The folders with what readkit and a peer wrote, and the folder of inputs."""

    ours: pathlib.Path
    theirs: pathlib.Path
    inputs: pathlib.Path
    peer: str


def expect_equal(what, ours, theirs):
    """Raises Mismatch unless both are the same."""
    if ours != theirs:
        raise Mismatch(f"{what}: {str(ours)[:200]} here, {str(theirs)[:200]} there")


def expect_same_lines(what, ours, theirs):
    """Compares two streams of anything, one by one; gives their length."""
    number = 0
    absent = object()
    for number, (our, their) in enumerate(
            itertools.zip_longest(ours, theirs, fillvalue=absent), start=1):
        if our is absent or their is absent:
            raise Mismatch(f"{what}: only {number - 1} {'here' if our is absent else 'there'}")
        if our != their:
            raise Mismatch(f"{what} {number}: {our!r:.200} here, {their!r:.200} there")
    if number == 0:
        raise Mismatch(f"{what}: nothing to compare")
    return number


def result(folder, suffix):
    """The file that a side wrote: result.SUFFIX, or else what it printed."""
    named = folder / f"result.{suffix}"
    return named if named.exists() else folder / "stdout"


def outputs(folder):
    """Each output that readkit printed, parsed one by one: lists of a million cells are large."""
    with open(folder / "stdout", encoding="utf-8") as lines:
        for line in lines:
            line = line.strip().rstrip(",")
            if line.startswith('{"class"'):
                yield json.loads(line)


def text_lines(path, header=False):
    """The record lines of a SAM text, or those of its header."""
    with open(path, "rb") as lines:
        for line in lines:
            if line.startswith(b"@") == header:
                yield line


@contextlib.contextmanager
def lines_of(*argv):
    """The lines that a command prints; it must succeed when they have been read to the end."""
    with tempfile.TemporaryFile() as words, \
            subprocess.Popen(argv, stdout=subprocess.PIPE, stderr=words) as process:
        yield process.stdout
        process.stdout.read()
        if process.wait() != 0:
            words.seek(0)
            text = words.read().decode(errors="replace").strip()
            raise Mismatch(f"{' '.join(map(str, argv[:2]))} cannot read a file: {text[-200:]}")


def samtools_text(*arguments):
    """What samtools prints, all of it."""
    ran = subprocess.run(["samtools", *map(str, arguments)], check=False, capture_output=True,
                         text=True)
    if ran.returncode != 0:
        raise Mismatch(f"samtools {arguments[0]} cannot do its work: {ran.stderr.strip()[-200:]}")
    return ran.stdout
