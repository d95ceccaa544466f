"""Commands of rows: our own and those of other tools.

They run in the folder of inputs. In their words, "{out}" is the side's own folder for what it
writes, "{bench}" the folder of this file; "readkit" and "many_calls" are the programs of the build,
"{library}" is the library beside them.
"""

import json
from dataclasses import dataclass

ALL = {"class": "uint32", "dims": [0, 0], "data": []}
# What a Debian package installs its modules for, whatever other Python comes first.
PYTHON = "/usr/bin/python3"


@dataclass(frozen=True)
class Command:
    """A program, and the words that call it; `words` has the program's name, too."""

    program: str
    words: tuple


def call(function, *arguments, nlhs=0, flavour="fast", quiet=False):
    """Our own command; `quiet` for outputs that are made and not printed."""
    words = ["readkit", "call", function, "--library", flavour]
    if nlhs:
        words += ["--nlhs", str(nlhs)]
    if quiet:
        words.append("--quiet")
    return Command("readkit", (*words, "--args", json.dumps(arguments)))


def peer(*words, program=None):
    """A peer's command; `program` is what counts where a shell runs it."""
    return Command(program or words[0], words)


def shell(program, line):
    """A peer's command that needs a pipe."""
    return peer("sh", "-c", line, program=program)


def pysam(*words):
    """A job of peers/with_pysam.py."""
    return peer(PYTHON, "{bench}/peers/with_pysam.py", *words, program="pysam")


def picard(tool, source, target, *words):
    """A Picard tool that makes a file of another one."""
    return peer("PicardCommandLine", tool, "-I", source, "-O", target, "--VERBOSITY", "ERROR",
                "--QUIET", "true", *words)


def scan(kind, file):
    """All six tables of a quality scan, of qualities from 0 to 60, of all reads."""
    return call("scanQualities", kind, file, 0, 60, 33, -1, -1, 0, -1, [], -1, 0, -1, True, nlhs=6)


def convert(source, kind, to, flavour="fast"):
    """A conversion of all records."""
    return call("convertFormat", source, kind, f"{{out}}/result.{to}", to, ALL, flavour=flavour)
