#!/usr/bin/env python3
"""Checks a site that was built: every link within it leads to a place that is there, and no page
fetches anything from elsewhere.

    check_site.py FOLDER
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse

# What a browser fetches by itself; other links are followed by readers.
FETCHED = {("link", "href"), ("script", "src"), ("img", "src"), ("iframe", "src"),
           ("source", "src"), ("object", "data")}


class Page(html.parser.HTMLParser):
    """The links and anchors of a page."""

    def __init__(self, path):
        super().__init__()
        self.links, self.fetched, self.anchors = [], [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("id", "name") and value:
                self.anchors.add(value)
            if (tag, name) in FETCHED:
                self.fetched.append(value)
            if (tag, name) == ("a", "href") or (tag, name) in FETCHED:
                self.links.append(value)


def complaints(root):
    pages = {path: Page(path) for path in root.rglob("*.html")}
    if len(pages) < 2:
        yield f"{root}: is no site"
    for path, page in pages.items():
        name = path.relative_to(root)
        for link in page.fetched:
            if re.match(r"([a-z]+:)?//", link):
                yield f"{name}: fetches {link}"
        for link in page.links:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc:
                continue
            target = path
            if parts.path:
                target = (path.parent / urllib.parse.unquote(parts.path)).resolve()
            if not target.is_file():
                yield f"{name}: {link} is not there"
            elif parts.fragment and target in pages and (
                    urllib.parse.unquote(parts.fragment) not in pages[target].anchors):
                yield f"{name}: {link} has no such anchor"
    for path in root.rglob("*.css"):
        for link in re.findall(r"(?:url\(\s*|@import\s+)['\"]?([^)'\"\s]+)",
                               path.read_text(encoding="utf-8")):
            if re.match(r"([a-z]+:)?//", link):
                yield f"{path.relative_to(root)}: fetches {link}"


def main():
    wrong = sorted(set(complaints(pathlib.Path(sys.argv[1]).resolve())))
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
