#!/usr/bin/env python3
"""Lays out the sources of the site: the project's own documents, and pages that are made of code.

    pages.py ROOT PROGRAM FOLDER

FOLDER becomes a picture of ROOT with links instead of files, and beside them `made/` with a page
for each header that docs/cpp.md links to, each schema that docs/schemas/README.md does, each manual
page of PROGRAM, and for the Python package; FOLDER/../xml is what doxygen says of the headers.
`made/pages.json` tells which file of ROOT has which page, where site_links.py leads links to it,
and which pages stand below which document.
"""

import json
import pathlib
import re
import subprocess
import sys
from xml.etree import ElementTree

LINK = re.compile(r"\]\(([^)#\s]+)(?:#[^)]*)?\)")


def linked(document, suffix):
    """The files with this suffix to which a document links, in its order."""
    targets = LINK.findall(document.read_text(encoding="utf-8"))
    files = [(document.parent / target).resolve() for target in targets if target.endswith(suffix)]
    return list(dict.fromkeys(files))


def opening_comment(header):
    """What a header says at its head, as Markdown: lines that are indented are code."""
    lines, in_code = [], False
    for line in header.read_text(encoding="utf-8").splitlines():
        if not line.startswith("//"):
            break
        text = line[2:].removeprefix(" ")
        is_code = text.startswith("  ")
        if is_code != in_code and text:
            lines.append("```cpp" if is_code else "```")
            in_code = is_code
        lines.append(text.removeprefix("  ") if in_code else text)
    return "\n".join(lines + ["```"] * in_code)


class Declarations:
    """What doxygen has read of some headers."""

    DIRECTIVES = {"function": "doxygenfunction", "variable": "doxygenvariable",
                  "typedef": "doxygentypedef", "enum": "doxygenenum"}

    def __init__(self, xml):
        self.found = {}  # header: [(line, directive, name)]
        files = [compound for path in sorted(xml.glob("*_8h.xml"))
                 for compound in ElementTree.parse(path).iter("compounddef")]
        for compound in files:
            names = {entry.text for entry in compound.iter("innerclass")}
            for entry in compound.iter("innerclass"):
                if entry.text.rpartition("::")[0] not in names:  # is shown with its class
                    self.add_class(ElementTree.parse(xml / f"{entry.get('refid')}.xml"))
        members = [member for path in [*xml.glob("namespace*.xml"), *xml.glob("*_8h.xml")]
                   for member in ElementTree.parse(path).iter("memberdef")]
        for member in members:
            self.add_member(member)

    def add(self, element, directive, name):
        place = element.find("location")
        entry = (int(place.get("line")), directive, name)
        entries = self.found.setdefault(place.get("declfile") or place.get("file"), [])
        if entry not in entries:
            entries.append(entry)

    def add_class(self, tree):
        compound = tree.find("compounddef")
        self.add(compound, f"doxygen{compound.get('kind')}", compound.findtext("compoundname"))

    def add_member(self, member):
        directive = self.DIRECTIVES.get(member.get("kind"))
        if directive is not None:
            name = member.findtext("qualifiedname") or member.findtext("name")
            arguments = member.findtext("argsstring") if directive == "doxygenfunction" else ""
            self.add(member, directive, name + arguments)

    def of(self, name):
        return sorted(self.found.get(name, []))


def header_page(root, header, declarations):
    """A page that goes through a header in its order, with its headings."""
    name = header.relative_to(root).as_posix()
    parts = [(line, f"## {heading}\n")
             for line, text in enumerate(header.read_text(encoding="utf-8").splitlines(), start=1)
             for heading in re.findall(r"^// -{4} (.+?) -*$", text)]
    for line, directive, what in declarations.of(name):
        options = "" if directive in ("doxygenfunction", "doxygenvariable", "doxygentypedef",
                                      "doxygenenum") else ":members:\n"
        parts.append((line, f"```{{{directive}}} {what}\n{options}```\n"))
    if not declarations.of(name):
        raise ValueError(f"{name}: doxygen finds no declarations")
    short = name.removeprefix("src/")
    return (f"# {short}\n\n{opening_comment(header)}\n\n```cpp\n#include <readkit/{short}>\n```\n\n"
            + "\n".join(text for _, text in sorted(parts)))


def type_of(schema):
    """The type of a value in words."""
    if "const" in schema:
        return f"`{json.dumps(schema['const'])}`"
    if "enum" in schema:
        return " or ".join(f"`{json.dumps(value)}`" for value in schema["enum"])
    if "$ref" in schema:
        return f"`{schema['$ref'].rpartition('/')[2]}`"
    for choice in ("oneOf", "anyOf"):
        if choice in schema:
            return " or ".join(type_of(case) for case in schema[choice])
    types = schema.get("type", "any")
    text = " or ".join(types) if isinstance(types, list) else types
    items = schema.get("items")
    return f"{text} of {type_of(items)}" if isinstance(items, dict) else text


def members(schema, prefix=""):
    """(path, type, description) of each member of a document, those of its parts behind it."""
    for name, part in schema.get("properties", {}).items():
        optional = "" if name in schema.get("required", []) else ", may be missing"
        yield f"{prefix}{name}", type_of(part) + optional, part.get("description", "")
        yield from members(part, f"{prefix}{name}.")
        if isinstance(part.get("items"), dict):
            yield from members(part["items"], f"{prefix}{name}[].")


def schema_page(root, path):
    schema = json.loads(path.read_text(encoding="utf-8"))
    parts = [("", schema)] + [(f"`{name}`", part) for name, part in schema.get("$defs", {}).items()]
    text = f"# {schema['title']}\n\n{schema.get('description', '')}\n"
    for name, part in parts:
        rows = [" | ".join(cell.replace("|", "\\|") for cell in (f"`{member}`", kind, meaning))
                for member, kind, meaning in members(part)]
        if name:
            text += f"\n## {name}\n\n{part.get('description', '')}\n"
        if rows:
            text += "\n| Member | Type | Meaning |\n|---|---|---|\n"
            text += "".join(f"| {row} |\n" for row in rows)
    return (f"{text}\n## The schema\n\n"
            f"```{{literalinclude}} /{path.relative_to(root).as_posix()}\n:language: json\n```\n")


def manual_page(source):
    """A manual page as HTML, with headings that follow that of the page."""
    html = subprocess.run(["mandoc", "-Thtml", "-Ofragment", source], check=True,
                          capture_output=True, text=True).stdout
    html = re.sub(r'<table class="(?:head|foot)">.*?</table>', "", html, flags=re.DOTALL)
    html = re.sub(r"<(/?)h1\b", r"<\1h2", html)
    return f'# {source.stem}\n\n```{{raw}} html\n<div class="manual">\n{html}\n</div>\n```\n'


PYTHON_PAGE = """# Classes and functions in Python

```{eval-rst}
.. automodule:: readkit
   :members:
   :inherited-members: object, tuple, Mapping, BaseException
   :exclude-members: errors, gateway, count, index

``readkit.gateway``
-------------------

.. automodule:: readkit.gateway
   :members:

``readkit.errors``
------------------

.. automodule:: readkit.errors
   :members:
   :exclude-members: with_traceback, add_note
```
"""


def read_headers(root, headers, folder):
    """Has doxygen read headers into folder/xml."""
    settings = (root / "docs/site/doxygen.conf").read_text(encoding="utf-8")
    names = " ".join(header.relative_to(root).as_posix() for header in headers)
    settings += f"INPUT = {names}\nOUTPUT_DIRECTORY = {folder}\n"
    subprocess.run(["doxygen", "-"], input=settings, text=True, cwd=root, check=True)
    return Declarations(folder / "xml")


def make_pages(root, program, made):
    """Writes the pages; gives the page of each file that has one, and those below each document."""
    files, children = {}, {}

    def write(name, text, document=None, file=None):
        path = made / f"{name}.md"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        if file is not None:
            files[file.relative_to(root).as_posix()] = f"made/{name}.md"
        if document is not None:
            children.setdefault(document, []).append(f"made/{name}.md")

    headers = linked(root / "docs/cpp.md", ".h")
    declarations = read_headers(root, headers, made.parent.parent)
    for header in headers:
        name = header.relative_to(root).with_suffix("").as_posix().removeprefix("src/")
        write(f"cpp/{name.replace('/', '_')}", header_page(root, header, declarations), "docs/cpp",
              header)
    for schema in linked(root / "docs/schemas/README.md", ".json"):
        write(f"schemas/{schema.stem}", schema_page(root, schema), "docs/schemas/README", schema)
    write("python", PYTHON_PAGE, file=root / "python/readkit/__init__.py")

    manual = made / "manual"
    manual.mkdir(parents=True)
    subprocess.run([program, "manual", "--all", manual], check=True)
    for source in sorted(manual.glob("*.1")):
        write(f"manual/{source.stem}", manual_page(source), "docs/cli")
        source.unlink()
    return {"files": files, "children": children}


def main():
    root, program, folder = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    folder.mkdir(parents=True)  # doxygen writes beside it
    for entry in root.iterdir():
        if entry.name != "build" and not entry.name.startswith("."):
            (folder / entry.name).symlink_to(entry)
    made = folder / "made"
    made.mkdir()
    pages = make_pages(root, program, made)
    (made / "pages.json").write_text(json.dumps(pages, indent=1), encoding="utf-8")


if __name__ == "__main__":
    main()
