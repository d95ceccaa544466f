#!/usr/bin/env python3
"""Installs the build into a folder, and uses the program from there.

    install_test.py PROGRAM BUILD_FOLDER
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

import small_bam

BUILD = None


class InstallTest(unittest.TestCase):
    def test_what_is_installed_works_where_it_lies(self):
        with tempfile.TemporaryDirectory() as folder:
            prefix = pathlib.Path(folder) / "a prefix"
            subprocess.run(["cmake", "--install", BUILD, "--prefix", prefix], check=True,
                           capture_output=True)
            bam = pathlib.Path(folder) / "small.bam"
            bam.write_bytes(small_bam.small_bam())
            program = prefix / "bin" / "readkit"
            for library in ("fast", "exact"):
                done = subprocess.run([program, "view", "-c", "--library", library, bam],
                                      check=True, capture_output=True)
                self.assertEqual(done.stdout, b"5\n")
            pages = prefix / "share" / "man" / "man1"
            for page, words in (("readkit.1", ["manual"]), ("readkit-sort.1", ["manual", "sort"])):
                done = subprocess.run([program, *words], check=True, capture_output=True)
                self.assertEqual((pages / page).read_bytes(), done.stdout)
            for shell, place in (("bash", "bash-completion/completions/readkit"),
                                 ("zsh", "zsh/site-functions/_readkit"),
                                 ("fish", "fish/vendor_completions.d/readkit.fish")):
                done = subprocess.run([program, "completion", shell], check=True,
                                      capture_output=True)
                self.assertEqual((prefix / "share" / place).read_bytes(), done.stdout)


if __name__ == "__main__":
    BUILD = sys.argv[2]
    unittest.main(argv=sys.argv[:1])
