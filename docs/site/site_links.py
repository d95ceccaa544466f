"""What the site makes of the documents' Markdown, which is written for readers of the repository.

- A link to a file that has a page of its own in the site (pages.py) leads to that page, a link to a
  folder to its README.md. Other files of the repository are copied and can be downloaded.
- The lists of links in docs/index.md, under its headings, are the contents of the site. Pages that
  are made of code stand below the document that pages.py says; docs/cli.md gets a list of the
  manual pages, to which it has no links.
"""

import json
import os
import re

LINK = re.compile(r"\]\(([^)#\s]+)(#[^)]*)?\)")
FENCE = re.compile(r"^ *(`{3,})")


def outside_of_fences(text, change):
    """The text with `change` made to each of its lines outside of fenced blocks."""
    lines, fence = [], None
    for line in text.split("\n"):
        match = FENCE.match(line)
        if fence is None:
            lines.append(line if match else change(line))
            fence = match and match.group(1)
        else:
            lines.append(line)
            if line.strip() == fence:
                fence = None
    return "\n".join(lines)


def toctree(documents, caption=None):
    """A hidden table of contents of documents, named from the root with their suffix."""
    if not documents:
        return ""
    options = ":hidden:\n" + (f":caption: {caption}\n" if caption else "")
    names = "".join(f"/{name.removesuffix('.md')}\n" for name in documents)
    return f"\n\n```{{toctree}}\n{options}\n{names}```\n"


class Links:
    """The links of one document."""

    def __init__(self, root, docname, pages):
        self.root = root
        self.folder = os.path.dirname(docname)
        self.pages = pages
        self.documents = []  # to which it links, from the root, since the last heading

    def target(self, link):
        """Where a link leads in the site, from the root."""
        path = os.path.normpath(os.path.join(self.folder, link))
        if os.path.isdir(os.path.join(self.root, path)):
            path = os.path.join(path, "README.md")
        return self.pages.get(path, path)

    def line(self, line):
        def replace(match):
            link, anchor = match.group(1), match.group(2) or ""
            if re.match(r"[a-z]+:", link):
                return match.group()
            target = self.target(link)
            if target.endswith(".md"):
                self.documents.append(target)
            return f"]({os.path.relpath(target, self.folder)}{anchor})"
        return LINK.sub(replace, line)


def contents(text, links):
    """docs/index.md with a table of contents for each of its headings."""
    trees, heading = [], None

    def change(line):
        nonlocal heading
        if line.startswith("## "):
            heading, links.documents = line[3:], []
            trees.append((heading, links.documents))
        return links.line(line)

    text = outside_of_fences(text, change)
    return text + "".join(toctree(list(dict.fromkeys(found)), name) for name, found in trees)


def read_source(app, docname, source):
    pages = app.config.site_pages
    links = Links(app.srcdir, docname, pages["files"])
    if docname == app.config.root_doc:
        source[0] = contents(source[0], links)
        return
    if docname.startswith("made/"):
        return
    text = outside_of_fences(source[0], links.line)
    children = pages["children"].get(docname, [])
    if docname == "docs/cli":
        text += "\n\n## Manual pages\n\n" + "".join(
            f"- [{os.path.basename(name).removesuffix('.md')}]({os.path.relpath(name, 'docs')})\n"
            for name in children)
    source[0] = text + toctree(children)


def join_raises(_app, _what, _name, _object, _options, lines):
    """Makes a sentence of what a docstring says under "Raises:", which is no list of classes."""
    if "Raises:" not in lines:
        return
    begin = lines.index("Raises:")
    end = begin + 1
    while end < len(lines) and lines[end].startswith(" "):
        end += 1
    lines[begin:end] = ["**Raises** " + " ".join(line.strip() for line in lines[begin + 1:end]), ""]


def mark_front_page(app, doctree):
    if app.env.docname == app.config.root_doc:
        doctree[0]["classes"].append("cards")  # for site.css


def setup(app):
    with open(os.path.join(app.srcdir, "made/pages.json"), encoding="utf-8") as file:
        app.add_config_value("site_pages", json.load(file), "env")
    app.connect("source-read", read_source)
    # Before napoleon reads the docstrings, which has no priority of its own.
    app.connect("autodoc-process-docstring", join_raises, priority=400)
    app.connect("doctree-read", mark_front_page)
    return {"parallel_read_safe": True}
