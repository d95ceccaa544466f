#!/usr/bin/env python3
"""Checks that the documents say what the sources say.

    check_documents.py ROOT

- docs/errors.md lists the kinds of src/core/errors.h in their order, and every text of the host's
  message catalog as it stands.
- docs/gateway.md describes every registered function, or lists it as not built yet.
- docs/check.md lists the identifiers of src/check/findings.cc in their order.
- The changelogs begin with the version of CMakeLists.txt, which is the only place for it.
- Tests that documents name exist.
- What the README says to be in a source is in it.

Where they lead is for check_links.py.
"""

import pathlib
import re
import sys

STRINGS = r'((?:"(?:[^"\\]|\\.)*"\s*)+)'


def joined(literals):
    """The text of adjacent C++ string literals."""
    return "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals)).replace('\\"', '"')


def error_kinds(root):
    text = (root / "src/core/errors.h").read_text(encoding="utf-8")
    macro = r'^READKIT_ERROR_KIND(?:_WITH_TEXT)?\(\s*"([^"]+)",\s*(\w+)'
    written_out = r'MsgIdException\("([^"]+)",\s*"(\w+)"'
    return [":".join(filter(None, match.groups()))
            for match in re.finditer(f"{macro}|{written_out}", text, re.MULTILINE)]


def catalog(root):
    """(identifier, texts) of every entry."""
    source = (root / "host/catalog.cc").read_text(encoding="utf-8")
    entry = re.compile(r"\{" + STRINGS + r",\s*" + STRINGS + r",\s*(?:\{\}|" + STRINGS + r")\}")
    return [(joined(match.group(1)), [joined(text) for text in match.groups()[1:] if text])
            for match in entry.finditer(source)]


def check_errors(root):
    document = (root / "docs/errors.md").read_text(encoding="utf-8")
    kinds, entries = error_kinds(root), catalog(root)
    if len(kinds) < 30 or not set(kinds) <= {identifier for identifier, _ in entries}:
        yield "errors.h or catalog.cc could not be understood"
    listed = [kind for kind in re.findall(r"^\| `([^`]+)`", document, re.MULTILINE)
              if kind in kinds]
    if listed != kinds:
        yield f"docs/errors.md: the kinds or their order differ: {listed} instead of {kinds}"
    for identifier, texts in entries:
        if f"`{identifier}`" not in document:
            yield f"docs/errors.md: {identifier} is missing"
        for text in texts:
            if text != "{0}" and text not in document:
                yield f"docs/errors.md: {identifier} lacks the text '{text}'"


def check_gateways(root):
    document = (root / "docs/gateway.md").read_text(encoding="utf-8")
    exported = re.findall(r"^READKIT_GATEWAY\((\w+)\);",
                          (root / "src/gateway/gateways.h").read_text(encoding="utf-8"),
                          re.MULTILINE)
    if len(exported) < 17:
        yield f"gateways.h could not be understood: {exported}"
    for name in exported:
        if f"\n### {name}\n" not in document:
            yield f"docs/gateway.md: {name} is not described"


def check_findings(root):
    document = (root / "docs/check.md").read_text(encoding="utf-8")
    source = (root / "src/check/findings.cc").read_text(encoding="utf-8")
    identifiers = re.findall(r'^    "(\w+)",$', source, re.MULTILINE)
    if len(identifiers) < 40:
        yield f"findings.cc could not be understood: {identifiers}"
    listed = re.findall(r"^\| `(\w+)` \|", document, re.MULTILINE)
    if listed != identifiers:
        yield f"docs/check.md: the identifiers or their order differ: {listed}"


def check_version(root):
    version, = re.findall(r"^project\(readkit VERSION (\S+)",
                          (root / "CMakeLists.txt").read_text(encoding="utf-8"), re.MULTILINE)
    for name, entry in (("CHANGELOG.md", r"^## (\S+)"),
                        ("packaging/debian/changelog", r"^readkit \((\S+)-\d+\)")):
        first = re.search(entry, (root / name).read_text(encoding="utf-8"), re.MULTILINE)
        if not first or first.group(1) != version:
            yield f"{name}: does not begin with version {version}"
    for name in ("python/setup.py", "python/pyproject.toml", "report/package.json"):
        if re.search(r"\bversion\W{1,4}\d", (root / name).read_text(encoding="utf-8")):
            yield f"{name}: has a version of its own"


def documents(root):
    return [*root.glob("*.md"), *root.glob("docs/**/*.md")]


def check_test_names(root):
    tests = set()
    for path in root.glob("tests/**/*_test.cc"):
        text = path.read_text(encoding="utf-8")
        tests |= {".".join(pair) for pair in
                  re.findall(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", text, re.MULTILINE)}
    for path in documents(root):
        for name in re.findall(r"`([A-Z]\w+\.[A-Z]\w+)`", path.read_text(encoding="utf-8")):
            if name not in tests:
                yield f"{path.relative_to(root)}: there is no test {name}"


def check_places(root):
    text = (root / "README.md").read_text(encoding="utf-8")
    places = re.findall(r"`([\w:]+)` in \[[^\]]+\]\(([^)]+)\)", text)
    if len(places) < 4:
        yield f"README.md could not be understood: {places}"
    for name, source in places:
        code = (root / source).read_text(encoding="utf-8")
        if not re.search(rf"\b{name}\b", code):
            yield f"README.md: {name} is not in {source}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    wrong = [complaint for check in (check_errors, check_gateways, check_findings, check_version,
                                           check_test_names, check_places)
             for complaint in check(root)]
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
