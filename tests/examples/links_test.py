#!/usr/bin/env python3
"""Tests check_links.py: it finds what is planted, and nothing else."""

import pathlib
import tempfile
import unittest

from check_links import check_contents, check_files, check_links, check_names

SOUND = {
    "README.md": "# The project\n"
                 "[a](docs/index.md) [b](docs/page.md#a-heading-of-code) [c](docs)\n",
    "docs/index.md": "# Contents\n- [Page](page.md), [out](https://example.org/none#none)\n"
                     "```\n[no link](none.md)\n```\n`[none](none.md)`\n",
    "docs/page.md": "# Page\n## A heading of `code`\n## Twice\n## Twice\n"
                    "[1](#twice) [2](#twice-1) `core/file.h` `src/core/file.h` `DIR/file.h`\n",
    "docs/architecture.md": "# Architecture\n`BAM::sort` `not a name` `src/core/`\n",
    "src/core/file.h": "class BAM { void sort(); };\n",
    "build/none.md": "[x](none.md)\n",
}


class LinksTest(unittest.TestCase):
    def complaints(self, check, files=()):
        """What a check says of the sound tree with files changed."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder).resolve()
            for name, text in {**SOUND, **dict(files)}.items():
                path = root / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            return list(check(root))

    def test_sound_tree(self):
        for check in (check_links, check_files, check_names):
            self.assertEqual(self.complaints(check), [], check.__name__)

    def test_links_that_lead_nowhere(self):
        for link in ("none.md", "docs/none.md#x", "#none", "docs/page.md#none",
                     "docs/page.md#twice-2", "../elsewhere.md", "src/core/file.h#x",
                     "docs/none.svg"):
            found = self.complaints(check_links,
                                    files={"README.md": f"# R\ntext [x]({link}) text\n"})
            self.assertEqual(len(found), 1, f"{link}: {found}")
            self.assertIn(f"README.md: {link} ", found[0])

    def test_a_document_that_is_not_in_the_contents(self):
        self.assertEqual(self.complaints(check_contents),
                         [f"docs/index.md: {name} is not in the contents"
                          for name in ("README.md", "docs/architecture.md")])

    def test_files_that_are_not_there(self):
        for name in ("src/core/none.h", "core/none.cc", "docs/none.md", "tests/x/none_test.cc"):
            found = self.complaints(check_files, files={"docs/page.md": f"# P\n`{name}`\n"})
            self.assertEqual(found, [f"docs/page.md: there is no {name}"])

    def test_names_that_stand_elsewhere(self):
        for text in ("`BAM::sort` (`src/core/page.h`)", "`sort`\n   (`src/core/other.h`, which)",
                     "1. **`src/core/other.h`** `sort` does"):
            found = self.complaints(check_names, files={"docs/architecture.md": text,
                                                        "src/core/other.h": "int sorted;"})
            self.assertEqual(len(found), 1, f"{text}: {found}")
            self.assertIn("sort does not stand in src/core/", found[0])
        self.assertEqual(self.complaints(check_names, files={
            "docs/architecture.md": "**`src/core/file.h`** `BAM` (`src/core/file.h`)"}), [])

    def test_names_that_no_source_has(self):
        found = self.complaints(check_names,
                                files={"docs/architecture.md": "`BAM::none` `BAM` `sort`\n"})
        self.assertEqual(found, ["docs/architecture.md: the sources have no BAM::none"])


if __name__ == "__main__":
    unittest.main()
