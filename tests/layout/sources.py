"""What the layout checks share: finding sources, and reading them without comments and texts."""

import pathlib
import re

_TOKEN = re.compile(
    r"""
    (?P<raw>R"(?P<delimiter>[^ ()\\\t\n]*)\(.*?\)(?P=delimiter)")  # R"x(...)x"
    | (?P<comment>//(?:[^\n\\]|\\.)*|/\*.*?\*/)
    | (?P<include>^[ \t]*\#[ \t]*include[^\n]*)                   # its file name is no text
    | (?P<text>"(?:[^"\\\n]|\\.)*")
    | (?P<letter>(?<![0-9a-fA-F])'(?:[^'\\\n]|\\.)*')             # not a digit separator
    """,
    re.DOTALL | re.MULTILINE | re.VERBOSE,
)


def sources(root, folders, suffixes=(".h", ".cc")):
    """The C++ files below some folders of the root, as paths relative to it."""
    root = pathlib.Path(root)
    found = []
    for folder in folders:
        for path in (root / folder).rglob("*"):
            if path.is_file() and path.suffix in suffixes:
                found.append(path.relative_to(root))
    return sorted(found)


def code_of(path):
    """The file's text with comments, character and string literals blanked, line for line."""

    def blank(match):
        if match.lastgroup == "include" or match.group("include"):
            return match.group()
        lines = match.group().count("\n")
        return '""' + "\n" * lines if match.group("text") or match.group("raw") else "\n" * lines + " "

    return _TOKEN.sub(blank, path.read_text(encoding="utf-8"))


def includes_of(code):
    """(line number, name, True for <name>) of every include in code."""
    pattern = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:<([^>\n]+)>|"([^"\n]+)")')
    for number, line in enumerate(code.split("\n"), start=1):
        match = pattern.match(line)
        if match:
            yield number, match.group(1) or match.group(2), match.group(1) is not None


def report(complaints):
    """Prints the complaints; the exit status that they make."""
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0
