#!/usr/bin/env python3
"""Tests the layout checks: each of them finds what is planted for it, and nothing else."""

import pathlib
import tempfile
import unittest

from check_functions import long_functions
from check_layers import check
from check_namespaces import strangers
from check_own_headers import check as check_own_headers
from check_shared_state import unknown
from draw_layers import picture, reduced, uses
from check_symbols import declared, difference, names
from list_missing_tests import missing_tests


class Tree:
    """A small source tree in a temporary folder."""

    def __init__(self, files):
        self._folder = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self._folder.name)
        for name, text in files.items():
            path = self.root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)

    def __enter__(self):
        return self.root

    def __exit__(self, *_):
        self._folder.cleanup()


HEADERS = {
    "src/core/bytes.h": "",
    "src/header/bam_header.h": "",
    "src/records/alignment.h": "",
    "src/bam/bam.h": "",
    "src/sam/sam.h": "",
    "src/convert/subset.h": "",
    "src/check/check.h": "",
    "src/gateway/gateways.h": "",
    "src/gateway/tx_array.h": "",
    "src/quality/encoding.h": "",
    "host/array.h": "",
    "cli/call/call.h": "",
    "cli/job/job.h": "",
}


class LayersTest(unittest.TestCase):
    def complaints(self, name, text):
        with Tree({**HEADERS, name: text}) as root:
            return check(root)

    def assert_allowed(self, name, text):
        self.assertEqual(self.complaints(name, text), [], f"{name}: {text}")

    def assert_found(self, name, text, words, line=1):
        found = self.complaints(name, text)
        self.assertEqual(len(found), 1, f"{name}: {text}: {found}")
        self.assertTrue(found[0].startswith(f"{name}:{line}: "), found[0])
        self.assertIn(words, found[0])

    def test_own_folder_and_those_to_the_left(self):
        for name in ("src/quality/scan.cc", "src/quality/scan.h"):
            for header in HEADERS:
                if header.startswith("src/"):
                    self.assert_allowed(name, f'#include "{header[4:]}"\n')

    def test_folders_to_the_right(self):
        for folder, right in (("core", "header/bam_header.h"), ("header", "records/alignment.h"),
                              ("records", "bam/bam.h"), ("bam", "convert/subset.h"),
                              ("sam", "check/check.h"), ("convert", "check/check.h"),
                              ("check", "convert/subset.h"), ("convert", "gateway/gateways.h"),
                              ("gateway", "quality/encoding.h"), ("core", "host/array.h")):
            for suffix in (".h", ".cc"):
                self.assert_found(f"src/{folder}/x{suffix}", f'#include "{right}"\n',
                                  f'may not include "{right}"')

    def test_bam_and_sam_know_each_other_in_their_sources_only(self):
        self.assert_allowed("src/bam/merge.cc", '#include "sam/sam.h"\n')
        self.assert_allowed("src/sam/sort.cc", '#include "bam/bam.h"\n')
        self.assert_found("src/bam/merge.h", '#include "sam/sam.h"\n', "may not include")
        self.assert_found("src/sam/sort.h", '#include "bam/bam.h"\n', "may not include")

    def test_host_and_program(self):
        self.assert_allowed("host/x.cc", '#include "gateway/tx_array.h"\n#include "core/bytes.h"\n')
        self.assert_found("host/x.cc", '#include "gateway/gateways.h"\n', "may not include")
        self.assert_found("host/x.cc", '#include "cli/call/call.h"\n', "may not include")
        self.assert_allowed("cli/job/x.cc", '#include "host/array.h"\n#include "core/bytes.h"\n')
        self.assert_found("cli/job/x.cc", '#include "bam/bam.h"\n', "may not include")
        self.assert_allowed("python/x.cc", '#include "host/array.h"\n#include "core/bytes.h"\n')
        self.assert_found("python/x.cc", '#include "cli/call/call.h"\n', "may not include")

    def test_headers_that_do_not_exist_or_are_not_spelled_from_the_root(self):
        self.assert_found("src/core/x.cc", '#include "core/none.h"\n', "no header of the project")
        self.assert_found("src/core/x.cc", '\n#include "bytes.h"\n', "spelled from its root", line=2)

    def test_folders_of_the_program(self):
        self.assert_allowed("cli/job/x.h", '#include "cli/job/job.h"\n#include "cli/call/call.h"\n')
        self.assert_found("cli/call/x.cc", '#include "cli/job/job.h"\n', "may not include")
        self.assert_found("cli/json/x.cc", '#include "cli/call/call.h"\n', "may not include")
        self.assert_allowed("cli/main.cc", '#include "cli/job/job.h"\n')

    def test_folder_without_a_layer(self):
        for name in ("src/extra/x.cc", "src/x.cc", "cli/extra/x.cc", "cli/x.cc"):
            with Tree({**HEADERS, name: ""}) as root:
                self.assertEqual(check(root), [f"{name}: is in no folder that has a layer"])

    def test_codecs(self):
        for header in ("zlib.h", "libdeflate.h"):
            self.assert_found("src/core/bgzf.cc", f"#include <{header}>\n", "codec files")
            self.assert_found("host/x.cc", f"#  include <{header}>\n", "codec files")
            for name in ("inflate", "deflate_zlib", "deflate_libdeflate"):
                self.assert_allowed(f"src/core/{name}.cc", f"#include <{header}>\n")

    def test_file_handles(self):
        for text in ("std::FILE* f;", "FILE *f;", 'auto f = fopen("x", "r");', "std::ifstream in;"):
            self.assert_found("src/core/bgzf.cc", f"\n{text}\n", "core/file.h", line=2)
        self.assert_allowed("src/core/file.cc", "std::FILE* f = std::fopen(a, b);")
        self.assert_allowed("src/core/file.h", "std::FILE* f;")
        self.assert_allowed("src/core/x.cc", "// FILE and fopen, in words\nint FILEs;\n")

    def test_raw_new_and_delete(self):
        self.assert_found("src/core/x.cc", "\nauto p = new int;\n", "raw new", line=2)
        self.assert_found("src/core/x.cc", "void f(int* p) { delete p; }", "raw delete")
        self.assert_found("src/core/x.cc", "void f(int* p) { delete[] p; }", "raw delete")
        self.assert_found("src/core/x.cc", "int n = 1'000; auto p = new int; n = 2'000;", "raw new")
        self.assert_allowed("src/core/x.cc", "#include <new>\nX(const X&) = delete;  // new\n")
        self.assert_allowed("src/core/x.cc", 'f("new // "); /* delete\n new */ g(\'"\'); h("new");')
        self.assert_allowed("src/core/x.cc", 'auto t = R"(a " new)"; auto u = "\\" new";')

    def test_empty_tree(self):
        with Tree({}) as root:
            self.assertEqual(len(check(root)), 1)


class FunctionsTest(unittest.TestCase):
    def found(self, name, text):
        with Tree({name: text}) as root:
            return [complaint.split(": ")[0] + ": " + complaint.split(": ")[1]
                    for complaint in long_functions(root, most=3)]

    def test_python(self):
        self.assertEqual(self.found("docs/x.py", "def f():\n    a\n    b\n"), [])
        self.assertEqual(self.found("docs/x.py", "\ndef f():\n    a\n    b\n    c\n"),
                         ["docs/x.py:2: 4 lines"])
        self.assertEqual(self.found("bench/x", "#!/usr/bin/env python3\ndef f():\n a\n b\n c\n"),
                         ["bench/x:2: 4 lines"])

    def test_cpp(self):
        self.assertEqual(self.found("tests/x.cc", "void f() {\n  a;\n}\n"), [])
        self.assertEqual(self.found("tests/x.cc", "void f(int a,\n       int b) {\n  a;\n}\n"),
                         ["tests/x.cc:1: 4 lines"])
        self.assertEqual(self.found("tests/x.cc", "class F {\n  int f() {\n    // {\n    a;\n  }\n};\n"),
                         ["tests/x.cc:2: 4 lines"])
        self.assertEqual(self.found("fuzz/x.cc", "const T kRows[] = {\n  a(),\n  b(),\n};\n"), [])
        self.assertEqual(self.found("src/x.cc", "void f() {\n  a;\n  b;\n}\n"), [])


class PictureTest(unittest.TestCase):
    FILES = {**HEADERS, "src/header/x.cc": '#include "core/bytes.h"\n',
             "src/bam/x.cc": '#include "core/bytes.h"\n#include "header/bam_header.h"\n'
                             '#include "sam/sam.h"\n',
             "host/x.cc": '// #include "bam/bam.h"\n#include "gateway/tx_array.h"\n'}

    def test_uses_are_those_of_the_includes_but_between_neighbours(self):
        with Tree(self.FILES) as root:
            graph = uses(root)
        self.assertEqual(graph["bam"], {"core", "header"})
        self.assertEqual(graph["host"], {"gateway/tx_*.h"})
        self.assertEqual(graph["gateway"], set())

    def test_what_others_imply_is_left_out(self):
        with Tree(self.FILES) as root:
            self.assertEqual(reduced(uses(root))["bam"], {"header"})

    def test_a_new_use_changes_the_picture(self):
        with Tree(self.FILES) as root:
            before = picture(uses(root))
            (root / "cli/job/x.cc").write_text('#include "host/array.h"\n')
            after = picture(uses(root))
        self.assertEqual(after.count("<path d") - before.count("<path d"), 1)


class MissingTestsTest(unittest.TestCase):
    def test_names_what_lacks_a_test(self):
        with Tree({"src/core/bgzf.cc": "", "src/core/file.cc": "", "host/call.cc": "",
                   "tests/core/bgzf_test.cc": ""}) as root:
            self.assertEqual(missing_tests(root),
                             ["host/call.cc: has no tests/host/call_test.cc",
                              "src/core/file.cc: has no tests/core/file_test.cc"])

    def test_complete_tree(self):
        with Tree({"src/core/bgzf.cc": "", "src/core/bytes.h": "",
                   "tests/core/bgzf_test.cc": ""}) as root:
            self.assertEqual(missing_tests(root), [])

    def test_empty_tree(self):
        with Tree({}) as root:
            self.assertEqual(len(missing_tests(root)), 1)


class OwnHeadersTest(unittest.TestCase):
    def complaints(self, source, header="#pragma once\n", folder="src/core"):
        with Tree({f"{folder}/file.h": header, f"{folder}/file.cc": source,
                   "src/core/bytes.h": "", "src/core/other.cc": "#include <map>\n"}) as root:
            return check_own_headers(root)

    def test_header_that_comes_first(self):
        self.assertEqual(self.complaints('// A file.\n#include "core/file.h"\n#include <map>\n'), [])
        self.assertEqual(self.complaints('#include "host/file.h"\n', folder="host"), [])

    def test_header_that_does_not(self):
        for source in ('#include <map>\n\n#include "core/file.h"\n', '#include "core/bytes.h"\n',
                       '// #include "core/file.h"\n', "#include <core/file.h>\n"):
            self.assertEqual(self.complaints(source),
                             ['src/core/file.cc: does not begin with #include "core/file.h"'])

    def test_header_that_may_come_twice(self):
        self.assertEqual(self.complaints('#include "core/file.h"\n', "// #pragma once\nint a;\n"),
                         ["src/core/file.h: has no #pragma once"])

    def test_empty_tree(self):
        with Tree({}) as root:
            self.assertEqual(len(check_own_headers(root)), 1)


class NamespacesTest(unittest.TestCase):
    def test_names_what_is_elsewhere(self):
        with Tree({"tests/core/bgzf_test.cc": "namespace readkit::core_bgzf_test {\nnamespace {\n",
                   "tests/core/file_test.cc": "namespace readkit {\nnamespace {\n",
                   "tests/bam/bam_test.cc": "// namespace readkit::bam_bam_test {\nnamespace {\n",
                   "tests/host/call_test.cc":
                   "namespace readkit::host::host_call_test {\nnamespace {\n"}) as root:
            self.assertEqual(strangers(root),
                             ["tests/bam/bam_test.cc: has no namespace readkit::bam_bam_test",
                              "tests/core/file_test.cc: has no namespace readkit::core_file_test"])

    def test_empty_tree(self):
        with Tree({}) as root:
            self.assertEqual(len(strangers(root)), 1)


class SharedState(unittest.TestCase):
    """Lines of `objdump -t`."""

    def test_what_threads_share_is_named(self):
        symbols = (
            "0000000000061c80 l     O .bss\t0000000000000030              _ZN7readkitL7g_namesE\n"
            "0000000000061c40 g     O .data\t0000000000000008 .hidden _ZN7readkit7g_countE\n"
        )
        self.assertEqual(unknown(symbols), ["readkit::g_count", "readkit::g_names"])

    def test_constants_and_what_each_thread_has_are_not(self):
        symbols = (
            "0000000000000078 l       .tbss\t0000000000000008              _ZN7readkit1tE\n"
            "0000000000061c40 l     O .data.rel.ro\t0000000000000008              _ZN7readkit1kE\n"
            "0000000000061c40 l     O .data\t0000000000000000              __dso_handle\n"
        )
        self.assertEqual(unknown(symbols), [])

    def test_what_is_known_to_be_safe_is_not_whatever_linkers_call_it(self):
        name = "_ZZN7readkit12_GLOBAL__N_16in_useEvE3use"
        for suffix in ("", ".lto_priv.0"):
            line = f"0000000000061c90 l     O .bss\t0000000000000001              {name}{suffix}\n"
            self.assertEqual(unknown(line), [])


class Symbols(unittest.TestCase):
    """Lines of `nm -DC`."""

    def test_names_of_functions_and_none_of_types(self):
        lines = ("0000000000012340 T readkit::bamInfo(int, txArray**, int, txArray const**)\n"
                 "0000000000012350 T matrix::get_string[abi:cxx11](txArray const*)\n"
                 "0000000000012360 W std::vector<int>::resize(unsigned long)\n"
                 "0000000000012370 R typeinfo name for readkit::BAMRead\n"
                 "0000000000012380 D typeinfo for std::mutex\n"
                 "                 U txGetM\n"
                 "                 w __gmon_start__\n")
        self.assertEqual(names(lines),
                         ["__gmon_start__", "matrix::get_string", "readkit::bamInfo",
                          "std::vector<int>::resize", "txGetM", "typeinfo for std::mutex"])

    def test_declared_operations(self):
        header = ("READKIT_EXPORT std::size_t txGetM(const txArray* a);\n"
                  "[[noreturn]] READKIT_EXPORT void gwErr(const char* id);\n"
                  "READKIT_EXPORT Owned create_cell(const std::vector<std::size_t>& dims);\n"
                  "READKIT_EXPORT std::optional<readkit::UString> getString(const txArray* a);\n"
                  "inline txArray* to_tessel(Owned handle) { return handle.release(); }\n")
        self.assertEqual(declared([header]), ["create_cell", "getString", "gwErr", "txGetM"])

    def test_both_sides_of_a_difference(self):
        self.assertEqual(difference("it", ["a", "b"], ["b", "c"]),
                         ["it: a is not expected", "it: c is missing"])


if __name__ == "__main__":
    unittest.main()
