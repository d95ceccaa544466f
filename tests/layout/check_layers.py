#!/usr/bin/env python3
"""Checks what each folder may include and use.

    check_layers.py ROOT

core <- header <- records <- bam | sam <- convert | check <- gateway <- quality
host -> gateway/tx_*.h, core        report -> host, core        cli, python -> report, host, core
terminal <- json | files | command_line <- call <- job <- alignments <- quality <- commands   (of cli)

A file includes its own folder and those to its left; cli/main.cc includes any of cli. The sources of bam and sam may use each
other's headers, their headers may not. Compression libraries, file handles, and raw new and delete
each have their one place, or none.
"""

import pathlib
import re
import sys

from sources import code_of, includes_of, report, sources

LAYERS = [["core"], ["header"], ["records"], ["bam", "sam"], ["convert", "check"], ["gateway"],
          ["quality"]]
CLI_LAYERS = [["terminal"], ["json", "files", "command_line"], ["call"], ["job"], ["alignments"],
              ["quality"], ["commands"]]


def levels(layers):
    return {folder: level for level, folders in enumerate(layers) for folder in folders}


LEVEL = levels(LAYERS)
CLI_LEVEL = levels(CLI_LAYERS)
CLI_MAIN = "cli/main.cc"

CODEC_FILES = {"src/core/inflate.cc", "src/core/deflate_zlib.cc", "src/core/deflate_libdeflate.cc",
               "cli/files/gunzip.cc", "cli/files/npz.cc", "cli/command_line/version.cc"}
CODEC_HEADERS = {"zlib.h", "libdeflate.h"}
FILE_HANDLE_FILES = {"src/core/file.h", "src/core/file.cc", "src/core/file_stream.h",
                     "src/core/file_stream.cc", "src/core/interrupted.h",
                     "src/core/pending_output.h", "src/core/pending_output.cc"}
FILE_HANDLE = re.compile(r"\b(FILE|fopen|fdopen|freopen|fread|fwrite|fclose|[io]?fstream)\b")
RAW_NEW = re.compile(r"\bnew\b")
RAW_DELETE = re.compile(r"(?<!operator )\bdelete\b")
DELETED_FUNCTION = re.compile(r"=\s*delete\b")


def may_include(user, name):
    """Whether the file `user` (from the root) may include "name"."""
    folder = name.split("/")[0]
    if user.parts[0] == "host":
        return folder in ("host", "core") or re.fullmatch(r"gateway/tx_\w+\.h", name) is not None
    if user.parts[0] == folder == "cli" and user.as_posix() != CLI_MAIN:
        own, other = user.parts[1], name.split("/")[1]
        return own == other or CLI_LEVEL.get(other, len(CLI_LEVEL)) < CLI_LEVEL[own]
    if user.parts[0] in ("cli", "python", "report"):
        return folder in (user.parts[0], "report", "host", "core")
    own = user.parts[1]
    if folder not in LEVEL:
        return False
    if folder == own or LEVEL[folder] < LEVEL[own]:
        return True
    return {own, folder} == {"bam", "sam"} and user.suffix == ".cc"


def exists(root, name):
    return (root / "src" / name).is_file() or (
        name.split("/")[0] in ("host", "cli", "python", "report") and (root / name).is_file())


def complaints_about(root, user):
    layers = {"src": LEVEL, "cli": CLI_LEVEL}.get(user.parts[0])
    has_layer = len(user.parts) == 3 and layers is not None and user.parts[1] in layers
    if layers is not None and not has_layer and user.as_posix() != CLI_MAIN:
        yield f"{user}: is in no folder that has a layer"
        return
    code = code_of(root / user)
    for number, name, is_system in includes_of(code):
        place = f"{user}:{number}"
        if is_system:
            if name in CODEC_HEADERS and user.as_posix() not in CODEC_FILES:
                yield f"{place}: only the codec files include <{name}>"
        elif not exists(root, name):
            yield f'{place}: "{name}" is no header of the project, spelled from its root'
        elif not may_include(user, name):
            yield f'{place}: may not include "{name}"'
    for number, line in enumerate(code.split("\n"), start=1):
        place = f"{user}:{number}"
        if line.lstrip().startswith("#"):
            line = "" if "include" in line else line
        handle = FILE_HANDLE.search(line)
        if user.parts[0] == "src" and handle and user.as_posix() not in FILE_HANDLE_FILES:
            yield f"{place}: {handle.group()} is for core/file.h and core/file.cc only"
        if user.parts[0] == "src":
            if RAW_NEW.search(line):
                yield f"{place}: raw new"
            if RAW_DELETE.search(DELETED_FUNCTION.sub("", line)):
                yield f"{place}: raw delete"


def check(root):
    root = pathlib.Path(root)
    users = sources(root, ["src", "host", "cli", "python", "report"])
    if not users:
        return [f"{root}: no sources"]
    return [complaint for user in users for complaint in complaints_about(root, user)]


if __name__ == "__main__":
    sys.exit(report(check(sys.argv[1])))
