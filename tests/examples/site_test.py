#!/usr/bin/env python3
"""Tests what makes the site of the documents, as far as it needs neither Sphinx nor doxygen."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "docs/site"))

from check_site import complaints
from pages import linked, members, opening_comment
from site_links import Links, contents, outside_of_fences


class Folder(unittest.TestCase):
    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self._folder.name).resolve()
        self.addCleanup(self._folder.cleanup)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return path


class PagesTest(Folder):
    def test_files_that_a_document_links_to_come_once_and_in_its_order(self):
        document = self.write("docs/cpp.md", "[b](../b.h) [a](../a.h#x) [b](../b.h) [c](c.md)\n")
        self.assertEqual(linked(document, ".h"), [self.root / "b.h", self.root / "a.h"])

    def test_code_in_the_opening_comment_of_a_header(self):
        header = self.write("x.h", "// What it is.\n//\n//   Code code;\n//\n// More.\n"
                                   "#pragma once\n// not\n")
        self.assertEqual(opening_comment(header),
                         "What it is.\n\n```cpp\nCode code;\n\n```\nMore.")

    def test_members_of_a_schema(self):
        schema = {"properties": {"a": {"const": 1}, "b": {"type": "array", "items": {
            "type": "object",
            "properties": {"c": {"type": ["string", "null"], "description": "d"}}}}},
                  "required": ["a"]}
        self.assertEqual(list(members(schema)),
                         [("a", "`1`", ""), ("b", "array of object, may be missing", ""),
                          ("b[].c", "string or null, may be missing", "d")])


class LinksTest(Folder):
    def links(self, docname="docs/page"):
        return Links(str(self.root), docname, {"src/x.h": "made/cpp/x.md"})

    def test_a_file_with_a_page_and_a_folder(self):
        self.write("docs/schemas/README.md", "")
        self.assertEqual(
            self.links().line("[x](../src/x.h#y) [s](schemas) [o](other.md#z) [e](a:b)"),
            "[x](../made/cpp/x.md#y) [s](schemas/README.md) [o](other.md#z) [e](a:b)")

    def test_blocks_stay_as_they_are(self):
        text = "a\n```sh\na\n```\n````\n```\na\n````\na"
        self.assertEqual(outside_of_fences(text, lambda line: line.replace("a", "b")),
                         "b\n```sh\na\n```\n````\n```\na\n````\nb")

    def test_lists_under_headings_are_the_contents(self):
        text = "# T\n[no](no.md)\n## One\n- [a](a.md)\n- [x](../src/x.h)\n## Two\n- [a](http://b)\n"
        found = contents(text, self.links("docs/index"))
        self.assertEqual(found.count("{toctree}"), 1)
        self.assertIn("```{toctree}\n:hidden:\n:caption: One\n\n/docs/a\n/made/cpp/x\n```", found)


class SiteTest(Folder):
    def test_what_is_wrong_with_a_site(self):
        self.write("sound.html", '<p id="a"><a href="#a"></a><a href="page.html#b"></a>'
                                 '<a href="https://example.org"></a><img src="x.svg?1">')
        self.write("page.html", '<p id="b">')
        self.write("x.svg", "")
        self.assertEqual(list(complaints(self.root)), [])
        self.write("page.html", '<a href="none.html"></a><a href="sound.html#none"></a><p id="b">'
                                '<script src="https://example.org/x.js"></script>'
                                '<link href="//example.org/x.css">')
        self.write("x.css", "@font-face { src: url('https://example.org/x.woff'); }\n"
                            '@import "https://example.org/y.css";')
        found = sorted(complaints(self.root))
        self.assertEqual(len(found), 6, found)

    def test_an_empty_folder_is_no_site(self):
        self.assertEqual(len(list(complaints(self.root))), 1)


if __name__ == "__main__":
    unittest.main()
