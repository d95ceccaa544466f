#!/usr/bin/env python3
"""Sends values of every class through the program and a library that gives back what it gets.

    round_trip_test.py PROGRAM ECHO_LIBRARY
"""

import json
import math
import pathlib
import random
import struct
import subprocess
import sys
import tempfile
import unittest

PROGRAM = ECHO = None

INTEGERS = {f"{sign}int{bits}": (0 if sign else -(2 ** (bits - 1)), 2 ** (bits - (not sign)) - 1)
            for bits in (8, 16, 32, 64) for sign in ("", "u")}


def call(text, nlhs):
    """The printed document, as text."""
    with tempfile.NamedTemporaryFile("w", encoding="ascii") as file:
        file.write(text)
        file.flush()
        done = subprocess.run([PROGRAM, "call", "echo", "--library", ECHO, "--nlhs", str(nlhs),
                               "--args-file", file.name], capture_output=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{done.returncode}: {done.stderr}")
    return done.stdout.decode("utf-8")


def echo(values):
    """The outputs for these inputs. What is printed is read again as inputs, and printed alike."""
    printed = call(json.dumps(values), len(values))
    outputs = json.loads(printed)["outputs"]
    again = call(json.dumps(outputs), len(values))
    if again != printed:
        raise AssertionError(f"{printed}\nbut, read again:\n{again}")
    return outputs


def spelled(class_name, data, dims=None):
    return {"class": class_name, "dims": dims or [len(data), 1], "data": data}


class RoundTripTest(unittest.TestCase):
    def assert_same(self, *values):
        self.assertEqual(echo(list(values)), list(values))

    def test_integers(self):
        for name, (least, most) in INTEGERS.items():
            numbers = [least, most, 0, 1, most // 2, most // 3 + 1]
            self.assert_same(spelled(name, numbers), spelled(name, numbers, [2, 3]),
                             spelled(name, [], [0, 5]))

    def test_doubles(self):
        rng = random.Random(7)
        numbers = [0.0, 0.1, 1 / 3, 5e-324, 2.2250738585072014e-308, 1.7976931348623157e308,
                   1e15, 1e15 + 0.5, 1e16, 1e17, 123456789012345680.0, 2.0 ** 53, 2.0 ** 53 + 2,
                   2.0 ** 64, 1e22, 1e23, -1.5]
        while len(numbers) < 3000:
            number = struct.unpack("<d", rng.randbytes(8))[0]
            if math.isfinite(number):
                numbers.append(number)
        outputs = echo([spelled("double", numbers)])
        self.assertEqual([x.hex() for x in map(float, outputs[0]["data"])],
                         [x.hex() for x in numbers])

    def test_digits_of_doubles(self):
        rng = random.Random(8)
        numbers = [rng.uniform(-1, 1) * 10.0 ** rng.randint(-30, 30) for _ in range(2000)]
        printed = call(json.dumps([spelled("double", numbers)]), 1)
        shown = printed.split('"data": [')[1].split("]")[0].split(", ")
        self.assertEqual(shown, ["%.17g" % x for x in numbers])

    def test_digits_of_singles(self):
        rng = random.Random(9)
        numbers = []
        while len(numbers) < 2000:
            number = struct.unpack("<f", rng.randbytes(4))[0]
            if math.isfinite(number):
                numbers.append(number)
        printed = call(json.dumps([spelled("single", numbers)]), 1)
        shown = printed.split('"data": [')[1].split("]")[0].split(", ")
        self.assertEqual(shown, ["%.9g" % x for x in numbers])
        echo([spelled("single", numbers)])

    def test_numbers_that_json_has_not(self):
        for name in ("double", "single"):
            self.assert_same(spelled(name, ["NaN", "Infinity", "-Infinity", 1]))

    def test_negative_zero(self):
        for name in ("double", "single"):
            self.assertIn('"data": [-0, 0, -0]', call(json.dumps(
                [spelled(name, [-0.0, 0, -0.0])]), 1))
            self.assertIn('"data": [-0]', call(
                '[{"class": "%s", "dims": [1, 1], "data": [-0]}]' % name, 1))

    def test_complex(self):
        self.assert_same({**spelled("double", [1, "NaN"]), "imag": [2, -0.5]})

    def test_logical(self):
        self.assert_same(spelled("logical", [True, False, True, True], [2, 2]))
        self.assertEqual(echo([spelled("logical", [1, 0])]), [spelled("logical", [True, False])])

    def test_every_unit(self):
        # Low surrogates come before high ones, so that no two make a pair.
        units = "".join(map(chr, [*range(0xD800), *range(0xDC00, 0xE000), *range(0xD800, 0xDC00),
                                  *range(0xE000, 0x10000)]))
        self.assertEqual(echo([units]), [spelled("char", units, [1, 0x10000])])
        self.assert_same(spelled("string", list(units), [0x10000, 1]))

    def test_texts(self):
        texts = ["", "a", "\0", "\ud83d\ude00", "\U0001F600", "\ue000", "\ue000\ue100", "\ue100",
                 "\ue000\udcff", "\udcff\ue000\ue000", "\udcff", "\udc80\udcff", "\ud800",
                 "\udc00\ud800", "\ud800\ud800\udc00", "\\udcff", "\\\udcff", "\"\\/\b\f\n\r\t",
                 "\x7f\x80\u07ff\u0800\uffff\U0010ffff"]
        outputs = echo(texts)
        self.assertEqual([text.encode("utf-16-le", "surrogatepass") for text in texts],
                         [o["data"].encode("utf-16-le", "surrogatepass") for o in outputs])
        for text, output in zip(texts, outputs):
            units = len(text.encode("utf-16-le", "surrogatepass")) // 2
            self.assertEqual((output["class"], output["dims"]), ("char", [1, units]))

    def test_texts_as_they_stand(self):
        # json.dumps escapes everything beyond ASCII; these come as UTF-8 and as mixed cases.
        for text, data in (('"\u00e9\U0001F600\ue000\ue100"', "\u00e9\U0001F600\ue000\ue100"),
                           ('"\\uDCFF\\uD83d\\uDe00"', "\udcff\U0001F600"),
                           ('"\\ue000\ue000\\uE100"', "\ue000\ue000\ue100"),
                           ('"\\\\ue000\\\\udcff"', "\\ue000\\udcff")):
            with tempfile.NamedTemporaryFile("w", encoding="utf-8") as file:
                file.write(f"[{text}]")
                file.flush()
                done = subprocess.run([PROGRAM, "call", "echo", "--library", ECHO, "--args-file",
                                       file.name], capture_output=True, check=True)
            self.assertEqual(json.loads(done.stdout)["outputs"][0]["data"], data)

    def test_characters_in_rows(self):
        self.assert_same(spelled("char", "acbd", [2, 2]), spelled("char", "", [0, 0]))

    def test_strings(self):
        self.assert_same(spelled("string", ["a", None, "", "\udcff"], [2, 2]))

    def test_cells(self):
        self.assert_same(spelled("cell", []), spelled("cell", [
            spelled("cell", [spelled("int8", [-5])]), spelled("char", "x", [1, 1]),
            spelled("double", [], [0, 0])]))

    def test_structures(self):
        one = {"class": "struct", "dims": [1, 1],
               "fields": {"b": spelled("double", [1]), "a": spelled("cell", []), "\u00e9": spelled(
                   "struct", [])}}
        one["fields"]["\u00e9"] = {"class": "struct", "dims": [1, 1], "fields": {}}
        outputs = echo([one])
        self.assertEqual(outputs, [one])
        self.assertEqual(list(outputs[0]["fields"]), ["b", "a", "\u00e9"])
        self.assert_same({"class": "struct", "dims": [1, 2], "elements": [
            {"n": spelled("double", [1])}, {"n": spelled("char", "x", [1, 1])}]},
            {"class": "struct", "dims": [0, 0], "elements": []})

    def test_dimensions(self):
        self.assert_same(spelled("uint8", list(range(24)), [2, 3, 4]),
                         spelled("uint8", [], [3, 0, 7]), spelled("cell", [], [0, 1]))
        # Ones at the end are no dimensions.
        self.assertEqual(echo([spelled("uint8", [1, 2], [2, 1, 1, 1])]), [spelled("uint8", [1, 2])])

    def test_short_forms(self):
        self.assertEqual(
            echo(["text", 3.5, 7, True, False, None, [], ["a", "", "\udcff"]]),
            [spelled("char", "text", [1, 4]), spelled("double", [3.5]), spelled("double", [7]),
             spelled("logical", [True]), spelled("logical", [False]),
             spelled("double", [], [0, 0]), spelled("cell", []),
             spelled("cell", [spelled("char", "a", [1, 1]), spelled("char", "", [1, 0]),
                              spelled("char", "\udcff", [1, 1])])])

    def test_without_dims(self):
        self.assertEqual(
            echo([{"class": "int16", "data": [1, 2]}, {"class": "char", "data": "ab"},
                  {"class": "string", "data": ["a"]}, {"class": "cell", "data": [1.5, "x"]}]),
            [spelled("int16", [1, 2]), spelled("char", "ab", [1, 2]), spelled("string", ["a"]),
             spelled("cell", [spelled("double", [1.5]), spelled("char", "x", [1, 1])])])

    def test_whole_numbers_in_other_spellings(self):
        printed = call('[{"class": "uint32", "data": [3.0, 1e6, 0.0]}]', 1)
        self.assertIn('"data": [3, 1000000, 0]', printed)

    def test_many_elements(self):
        rng = random.Random(10)
        numbers = [rng.randrange(2 ** 32) for _ in range(300000)]
        self.assert_same(spelled("uint32", numbers))
        text = "x\u00e9" * 200000
        self.assertEqual(echo([text])[0]["data"], text)


if __name__ == "__main__":
    PROGRAM, ECHO = (str(pathlib.Path(name).resolve()) for name in sys.argv[1:3])
    unittest.main(argv=sys.argv[:1])
