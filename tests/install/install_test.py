#!/usr/bin/env python3
"""Uses what is installed as its users do: compiles the examples with CMake and with pkg-config and
runs them, runs the program, imports the module.

    install_test.py --build BUILD [--compiler CXX]   installs a build into a folder of its own first
    install_test.py --prefix /usr                    takes what packages have installed
    --each-header                                    compiles each header alone, too (a minute)
"""

import argparse
import gzip
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
EXAMPLES = HERE.parents[1] / "examples"
PAGE = HERE.parents[1] / "docs/install.md"
OPTIONS = None

# Of examples/reads.sam: the references, their lengths, and their records.
COUNTS = "chr1 5000 5 chr2 3000 3 * 1".split()


def output_of(*words, **options):
    """What a command prints; it must end well."""
    done = subprocess.run([str(word) for word in words], capture_output=True, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}:\n{done.stderr.decode()}")
    return done.stdout.decode()


def block_of_page(kind, word):
    """The block of this kind in docs/install.md that has a word in it."""
    blocks = re.findall(rf"^```{kind}\n(.*?)^```", PAGE.read_text(), re.MULTILINE | re.DOTALL)
    found, = (block for block in blocks if word in block)
    return found


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="readkit-install-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.prefix = OPTIONS.prefix
        if OPTIONS.build:
            # Whatever knows where it was installed breaks when the folder moves.
            first = cls.folder / "first"
            output_of("cmake", "--install", OPTIONS.build, "--prefix", first)
            cls.prefix = cls.folder / "moved"
            first.rename(cls.prefix)
        cls.program = cls.prefix / "bin/readkit"
        cls.bam = cls.folder / "reads.bam"
        output_of(sys.executable, "-B", EXAMPLES / "sam_to_bam.py", EXAMPLES / "reads.sam", cls.bam)
        config, = cls.prefix.glob("lib/**/readkitConfig.cmake")
        cls.libraries = config.parents[2]
        cls.environment = {**os.environ, "PYTHONDONTWRITEBYTECODE": "1"}
        if OPTIONS.build:
            cls.environment["PKG_CONFIG_PATH"] = str(cls.libraries / "pkgconfig")
            cls.environment["LD_LIBRARY_PATH"] = str(cls.libraries)

    def pkg_config(self, *words):
        return output_of("pkg-config", *words, env=self.environment).split()

    def check_count_by_reference(self, program, library):
        self.assertEqual(output_of(program, library, self.bam, env=self.environment).split(), COUNTS)

    def check_small_host(self, program, library):
        self.assertEqual(
            output_of(program, library, self.bam, env=self.environment),
            "17 functions\nsorted by coordinate\nchr1: 5000 bases\nchr2: 3000 bases\n")

    def check_mapped_reads(self, program):
        # Records of chr2 that overlap its bases 1 to 45: "clipped", and the mapped one of "half".
        out = self.folder / "out.bam"
        self.assertEqual(output_of(program, self.bam, "chr2:1-45", out), "2 records\n")
        names = [line.split("\t")[0] for line in output_of(self.program, "view", out).splitlines()]
        self.assertEqual(names, ["clipped", "half"])

    def test_a_project_of_cmake(self):
        project, build = self.folder / "project", self.folder / "project/build"
        shutil.copytree(HERE / "consumer", project)
        for example in EXAMPLES.glob("*.cc"):
            shutil.copy(example, project)
        (project / "page.cmake").write_text(block_of_page("cmake", "find_package"))
        output_of("cmake", "-S", project, "-B", build, f"-DCMAKE_CXX_COMPILER={OPTIONS.compiler}",
                  *([f"-DCMAKE_PREFIX_PATH={self.prefix}"] if OPTIONS.build else []))
        output_of("cmake", "--build", build)
        version, exact, fast = (build / "found.txt").read_text().splitlines()
        self.assertEqual(version, self.version())
        for library in (exact, fast):
            self.check_count_by_reference(build / "count_by_reference", library)
            self.check_small_host(build / "small_host", library)
        self.check_mapped_reads(build / "mapped_reads")

    def test_commands_of_pkg_config(self):
        for package in ("readkit", "readkit-host", "readkit-core"):
            self.assertEqual(self.pkg_config("--modversion", package), [self.version()])
        exact, fast = (self.pkg_config(f"--variable={name}", "readkit")[-1]
                       for name in ("exact", "fast"))
        shutil.copy(EXAMPLES / "count_by_reference.cc", self.folder)
        output_of("sh", "-euc", block_of_page("sh", "pkg-config"), cwd=self.folder,
                  env=self.environment)
        self.check_count_by_reference(self.folder / "a.out", fast)
        self.assertTrue(pathlib.Path(exact).samefile(self.libraries / "libreadkit.so"))
        output_of(OPTIONS.compiler, "-std=c++20", EXAMPLES / "mapped_reads.cc", "-o", "mapped_reads",
                  *self.pkg_config("--cflags", "--libs", "readkit-core"), cwd=self.folder)
        self.check_mapped_reads(self.folder / "mapped_reads")

    def version(self):
        return re.match(r"readkit (\S+)", output_of(self.program, "--version")).group(1)

    def test_the_program(self):
        for library in ("fast", "exact"):
            self.assertEqual(output_of(self.program, "view", "-c", "--library", library, self.bam),
                             "9\n")

    def test_manual_pages_and_completions(self):
        pages = self.prefix / "share/man/man1"
        for page, words in (("readkit.1", ["manual"]), ("readkit-sort.1", ["manual", "sort"])):
            if (pages / page).exists():
                text = (pages / page).read_text()
            else:
                text = gzip.open(pages / f"{page}.gz", "rt").read()
            self.assertEqual(text, output_of(self.program, *words))
        for shell, place in (("bash", "bash-completion/completions/readkit"),
                             ("zsh", "zsh/site-functions/_readkit"),
                             ("fish", "fish/vendor_completions.d/readkit.fish")):
            self.assertEqual((self.prefix / "share" / place).read_text(),
                             output_of(self.program, "completion", shell))

    def test_the_module(self):
        modules = list(self.prefix.glob("lib/python3*/*-packages/readkit"))
        if not modules:
            self.skipTest("the Python package was not built")
        environment = dict(self.environment)
        if OPTIONS.build:
            environment["PYTHONPATH"] = str(modules[0].parent)
            del environment["LD_LIBRARY_PATH"]  # the module knows where the host is
        script = ("import importlib.metadata, readkit, sys; bam = readkit.open(sys.argv[1]);"
                  "print(readkit.__file__, readkit.__version__, importlib.metadata.version('readkit'),"
                  "*bam.counts, bam.unplaced, len(bam.starts('chr1').starts))")
        said = output_of("/usr/bin/python3", "-c", script, self.bam, env=environment)
        path, *rest = said.rsplit(" ", 6)
        self.assertEqual(path, str(modules[0] / "__init__.py"))
        self.assertEqual(rest, [self.version(), self.version(), "5", "3", "1", "5\n"])

    def test_libraries_have_versions(self):
        major = self.version().split(".")[0]
        for name in ("libreadkit", "libreadkit-fast", "libreadkit-host"):
            file = self.libraries / f"{name}.so.{self.version()}"
            self.assertFalse(file.is_symlink())
            soname = f"{name}.so.{major}"
            self.assertIn(f"soname: [{soname}]", output_of("readelf", "-d", file))
            for link in (soname, f"{name}.so"):
                self.assertTrue((self.libraries / link).samefile(file), link)

    def test_headers_are_complete(self):
        include = self.prefix / "include"
        headers = sorted(path.relative_to(include) for path in include.glob("readkit/**/*.h"))
        self.assertGreater(len(headers), 30)
        for header in headers:
            text = (include / header).read_text()
            for name in re.findall(r'#include "([^"]+)"', text):
                self.assertIn(pathlib.Path(name), headers, header)
        units = [headers]
        if OPTIONS.each_header:
            units += [[header, header] for header in headers]
        for unit in units:
            text = "".join(f"#include <{header}>\n" for header in unit)
            output_of(OPTIONS.compiler, "-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
                      "-fsyntax-only", "-x", "c++", f"-I{include}", "-", input=text.encode())

    def test_nothing_names_the_folder_of_the_build(self):
        files = [path for folder in ("cmake", "pkgconfig")
                 for path in self.libraries.glob(f"{folder}/**/*readkit*") if path.is_file()]
        self.assertGreater(len(files), 5)
        if OPTIONS.build:
            for path in files:
                self.assertNotIn(str(OPTIONS.build), path.read_text(), path)
                self.assertNotIn(str(HERE.parents[1]), path.read_text(), path)


def main():
    global OPTIONS
    parser = argparse.ArgumentParser()
    place = parser.add_mutually_exclusive_group(required=True)
    place.add_argument("--build", type=pathlib.Path)
    place.add_argument("--prefix", type=pathlib.Path)
    parser.add_argument("--compiler", default="c++")
    parser.add_argument("--each-header", action="store_true")
    OPTIONS = parser.parse_args()
    unittest.main(argv=sys.argv[:1])


if __name__ == "__main__":
    main()
