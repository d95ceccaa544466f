#!/usr/bin/env python3
"""Formats the manual pages as `man` does, and looks for what help says.

    manual_test.py PROGRAM DOCUMENT

The document, docs/cli.md, must have a section for each command with all of its options.
"""

import re
import shutil
import subprocess
import sys
import unittest

PROGRAM = DOCUMENT = None
# Described in documents of their own, or shared by all commands.
ELSEWHERE = {"call", "quality"}
SHARED = {"--json", "--quiet", "--progress", "--no-progress", "--library", "--help"}


def output(*words):
    return subprocess.run(words, check=True, capture_output=True, text=True).stdout


def formatted(page):
    """The page as it is read, without the marks of bold and underlined letters."""
    done = subprocess.run(["groff", "-man", "-ww", "-Tascii", "-P-c", "-rLL=100n"], input=page,
                          check=True, capture_output=True, text=True)
    if done.stderr:
        raise AssertionError(done.stderr)
    return re.sub(".\b", "", done.stdout)


class ManualTest(unittest.TestCase):
    def test_every_command_has_a_page_with_what_its_help_has(self):
        commands = re.findall(r"^  ([a-z]+) ", output(PROGRAM, "--help"), re.MULTILINE)
        page = formatted(output(PROGRAM, "manual"))
        self.assertIn("EXIT STATUS", page)
        for command in commands:
            self.assertIn(f"readkit-{command}(1)", page)
            own = " ".join(formatted(output(PROGRAM, "manual", command)).split())
            self.assertIn(f"readkit-{command} - ", own)
            text = output(PROGRAM, command, "--help")
            # The first sentence, every option, and every example.
            self.assertIn(text.splitlines()[0], own)
            for option in re.findall(r"^  ((?:-\w, )?--[\w-]+)", text, re.MULTILINE):
                self.assertIn(option, own)
            for example in re.findall(r"^  (readkit .*[^\\])$", text, re.MULTILINE):
                self.assertIn(" ".join(example.split()), own)

    def test_the_document_has_every_option(self):
        with open(DOCUMENT, encoding="utf-8") as file:
            parts = re.split(r"^## (.*)$", file.read(), flags=re.MULTILINE)
        sections = dict(zip(parts[1::2], parts[2::2]))
        for option in SHARED:
            self.assertIn(f"`{option}", sections["All commands"])
        for command in re.findall(r"^  ([a-z]+) ", output(PROGRAM, "--help"), re.MULTILINE):
            if command in ELSEWHERE:
                continue
            section = next(text for name, text in sections.items() if command in name.split())
            text = output(PROGRAM, command, "--help")
            for line in re.findall(r"^  ((?:-\w, )?--[\w-]+)", text, re.MULTILINE):
                if line.split()[-1] in SHARED:
                    continue
                for option in line.split(", "):
                    self.assertRegex(section, rf"`{option}\b", command)


if __name__ == "__main__":
    PROGRAM, DOCUMENT = sys.argv[1:3]
    if shutil.which("groff") is None:
        print("skipped: groff is not installed")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
