#!/usr/bin/env python3
"""Checks where the documents lead.

    check_links.py ROOT

- A link within the repository leads to a file or folder, and its anchor to a heading there.
- docs/index.md links to every document of docs/ and of the root, and to every other one that these
  link to: it is the contents of their site.
- Files that documents name, with their folder, exist.
- Names of code in docs/architecture.md stand in the sources, and where it says "`name` (`file`)" or
  "**`file`** `name`", in that file.

Links to other places are not followed.
"""

import os
import pathlib
import re
import sys

LINK = re.compile(r"\]\(([^)\s]+)\)")
CODE = re.compile(r"`([^`\n]+)`")
# Folders whose files are named from the root, or, those of src/, from there.
FOLDERS = "bench|cli|cmake|docs|examples|fuzz|host|packaging|python|report|scripts|src|tests"
LAYERS = "core|header|records|bam|sam|convert|check|gateway|quality"
FILE = re.compile(rf"(?:{FOLDERS}|{LAYERS})/(?:[\w.-]+/)*[\w-]+"
                  r"\.(?:cc|h|py|md|sh|json|js|txt|sam|html)")
NAME = re.compile(r"~?[A-Za-z_]\w*(?:::~?\w+)*")
PLACE = re.compile(r"`([\w:]+)`\s+\(`([\w./]+\.(?:cc|h))`")
STEP = re.compile(r"\*\*`([\w./]+)`\*\*\s+`([\w:]+)`")
NOT_OURS = {"build", "node_modules", "__pycache__"}


def documents(root):
    """Every Markdown file of the repository."""
    for folder, folders, files in os.walk(root):
        folders[:] = [name for name in folders if name not in NOT_OURS and not name.startswith(".")
                      or name == ".github"]
        for name in sorted(files):
            if name.endswith(".md"):
                yield pathlib.Path(folder, name)


def prose(path):
    """A document without its fenced blocks."""
    text = path.read_text(encoding="utf-8")
    return re.sub(r"^ *(```+).*?^ *\1$", "", text, flags=re.MULTILINE | re.DOTALL)


def anchors(path):
    """The anchors that code-hosting sites, and the site of docs/, give to headings."""
    found = []
    for heading in re.findall(r"^#{1,6} (.+?)\s*$", prose(path), re.MULTILINE):
        text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
        slug = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
        same = re.compile(rf"{re.escape(slug)}(-\d+)?")
        count = sum(same.fullmatch(other) is not None for other in found)
        found.append(f"{slug}-{count}" if count else slug)
    return found


def links(path):
    return LINK.findall(CODE.sub("``", prose(path)))


def check_links(root):
    headings = {}
    for path in documents(root):
        for link in links(path):
            if re.match(r"[a-z]+:", link):
                continue
            name, _, anchor = link.partition("#")
            target = pathlib.Path(os.path.normpath(path.parent / name)) if name else path
            place = f"{path.relative_to(root)}: {link}"
            if not target.is_relative_to(root) or not target.exists():
                yield f"{place} does not exist"
            elif anchor:
                if target not in headings:
                    headings[target] = anchors(target) if target.suffix == ".md" else []
                if anchor not in headings[target]:
                    yield f"{place} has no such heading"


def check_contents(root):
    index = root / "docs/index.md"
    listed = {os.path.normpath(index.parent / link) for link in links(index)}
    for path in [*sorted(root.glob("*.md")), *documents(root / "docs")]:
        if path != index and str(path) not in listed:
            yield f"docs/index.md: {path.relative_to(root)} is not in the contents"
    for path in [index, *(pathlib.Path(name) for name in sorted(listed) if name.endswith(".md"))]:
        for link in links(path):
            target = os.path.normpath(path.parent / link.partition("#")[0])
            if os.path.isdir(target):
                target = os.path.join(target, "README.md")
            if target.endswith(".md") and target not in {*listed, str(index)} and (
                    os.path.exists(target)):
                yield (f"docs/index.md: {os.path.relpath(target, root)}, to which "
                       f"{path.relative_to(root)} links, is not in the contents")


def check_files(root):
    for path in documents(root):
        for text in CODE.findall(prose(path)):
            if FILE.fullmatch(text) and not (root / text).exists() and (
                    not (root / "src" / text).exists()):
                yield f"{path.relative_to(root)}: there is no {text}"


def check_names(root):
    words = set()
    for folder in ("src", "host", "cli", "python", "tests", "report"):
        for path in (root / folder).rglob("*"):
            if path.suffix in (".h", ".cc", ".py", ".txt") and "node_modules" not in path.parts:
                words |= set(re.findall(r"\w+", path.read_text(encoding="utf-8")))
    document = prose(root / "docs/architecture.md")
    for text in CODE.findall(document):
        if NAME.fullmatch(text) and not set(re.findall(r"\w+", text)) <= words:
            yield f"docs/architecture.md: the sources have no {text}"
    steps = [(name, file) for file, name in STEP.findall(document)]
    for name, file in PLACE.findall(document) + steps:
        path = root / file
        text = path.read_text(encoding="utf-8") if path.exists() else ""
        if re.search(rf"\b{name.rpartition(':')[2]}\b", text) is None:
            yield f"docs/architecture.md: {name} does not stand in {file}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    wrong = [complaint for check in (check_links, check_contents, check_files, check_names)
             for complaint in check(root)]
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
