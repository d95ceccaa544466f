#!/usr/bin/env python3
"""Names the functions that are longer than a screen.

    check_functions.py ROOT

Those of Python, everywhere, and those of C++ where clang-tidy does not look: in tests, fuzz, bench and
examples. It takes C++ as clang-format leaves it, where a function ends at the brace that stands as far
in as the line that begins it.
"""

import ast
import pathlib
import re
import sys

from sources import code_of, report

MOST = 60
FOLDERS = ["bench", "cli", "docs", "examples", "fuzz", "host", "python", "report", "scripts", "src",
           "tests"]
CPP_FOLDERS = ["bench", "examples", "fuzz", "tests"]
NO_FUNCTION = re.compile(r"\s*(namespace|class|struct|enum|union|extern)\b|[^(]*=\s*\{$")


def python_functions(text):
    """(first line, length, name) of every function."""
    for node in ast.walk(ast.parse(text)):
        if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)):
            yield node.lineno, node.end_lineno - node.lineno + 1, node.name


def cpp_functions(code):
    """The same of code without comments; the name is the line that begins the function."""
    lines = code.split("\n")
    opened = []
    for at, line in enumerate(lines):
        if line.lstrip().startswith("}"):
            while opened and indent_of(lines[opened[-1]]) > indent_of(line):
                opened.pop()
            if opened and indent_of(lines[opened[-1]]) == indent_of(line):
                first = opened.pop()
                name = lines[first]
                if "(" in name and not NO_FUNCTION.match(name):
                    yield first + 1, at - first + 1, name.strip()
        if line.endswith("{"):
            opened.append(begin_of(lines, at))


def indent_of(line):
    return len(line) - len(line.lstrip())


def begin_of(lines, at):
    """The line that opens the brackets which line `at` closes."""
    first, missing = at, lines[at].count(")") - lines[at].count("(")
    while missing > 0 and first > 0:
        first -= 1
        missing += lines[first].count(")") - lines[first].count("(")
    return first


def is_python(path):
    if path.suffix:
        return path.suffix == ".py"
    return path.read_bytes()[:60].split(b"\n")[0].endswith(b"python3")


def long_functions(root, most=MOST):
    root = pathlib.Path(root)
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if not path.is_file() or "node_modules" in path.parts:
                continue
            functions = ()
            if is_python(path):
                functions = python_functions(path.read_text(encoding="utf-8"))
            elif folder in CPP_FOLDERS and path.suffix in (".h", ".cc"):
                functions = cpp_functions(code_of(path))
            for first, length, name in functions:
                if length > most:
                    yield f"{path.relative_to(root)}:{first}: {length} lines: {name}"


if __name__ == "__main__":
    sys.exit(report(list(long_functions(sys.argv[1]))))
