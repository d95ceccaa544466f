"""What the figures were measured on: the machine, and the version of every program."""

import os
import pathlib
import platform
import re
import shutil
import subprocess

from commands import PYTHON

# How to ask each program for its version. The first number with a point in what it prints is it.
_VERSIONS = {
    "readkit": ("readkit", "--version"),
    "samtools": ("samtools", "--version"),
    "sambamba": ("sambamba", "--version"),
    "bamtools": ("bamtools", "--version"),
    "bamsort": ("bamsort", "--version"),
    "PicardCommandLine": ("PicardCommandLine", "SortSam", "--version"),
    "seqtk": ("seqtk",),
    "mawk": ("mawk", "-W", "version"),
    "bamrecompress": ("bamrecompress", "--version"),
    "bamtofastq": ("bamtofastq", "--version"),
    "pysam": (PYTHON, "-c", "import pysam; print(pysam.__version__)"),
}


def describe():
    """Processor, cores, kernel and memory."""
    return {"cpu": _field("/proc/cpuinfo", "model name"), "cores": os.cpu_count(),
            "kernel": platform.release(), "memory": _field("/proc/meminfo", "MemTotal")}


def _field(path, name):
    try:
        for line in pathlib.Path(path).read_text().splitlines():
            key, _, value = line.partition(":")
            if key.strip() == name:
                return value.strip()
    except OSError:
        pass
    return "unknown"


def is_there(program):
    """Whether a program can be run, or a module of Python be imported."""
    if program == "pysam":
        return subprocess.run([PYTHON, "-c", "import pysam"], check=False,
                              stdin=subprocess.DEVNULL, capture_output=True).returncode == 0
    return shutil.which(program) is not None


def version(program, path=None):
    """The version that a program states, "unknown" for one that states none."""
    words = list(_VERSIONS.get(program, (program, "--version")))
    if path:
        words[0] = str(path)
    ran = subprocess.run(words, check=False, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT)
    return version_in(ran.stdout.decode(errors="replace"))


def version_in(text):
    """The first version number of a text."""
    found = re.search(r"\d+(\.\d+)+(-[a-z]\d+)?", text)
    return found.group() if found else "unknown"
