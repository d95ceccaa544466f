#!/usr/bin/env python3
"""Tests the benchmark's functions: measuring with fake commands, inputs, rows, the report.

    bench_test.py FOLDER-OF-BENCH [unittest arguments]
"""

import os
import pathlib
import sys
import tempfile
import unittest
import xml.etree.ElementTree

sys.path.insert(0, sys.argv.pop(1))

# pylint: disable=wrong-import-position
import answers  # noqa: E402
import answers_values as values  # noqa: E402
import chart  # noqa: E402
import inputs  # noqa: E402
import machine  # noqa: E402
import measuring  # noqa: E402
import operations  # noqa: E402
import report  # noqa: E402
import rows  # noqa: E402
from measuring import RunFailed, Sample  # noqa: E402

CORE = max(os.sched_getaffinity(0))


def record(name, position, reference="chr1", flag=0, bases="ACGT", qualities="ABCD"):
    """A SAM line."""
    fields = (name, flag, reference, position, 60, f"{len(bases)}M", "=", 9, 0, bases, qualities)
    return ("\t".join(map(str, fields)) + "\n").encode()


class Measuring(unittest.TestCase):
    """One run, and runs in turn."""

    def test_run_has_its_folder_its_core_and_its_output(self):
        with tempfile.TemporaryDirectory() as folder:
            old = pathlib.Path(folder, "out", "old")
            old.parent.mkdir()
            old.touch()
            script = "echo printed; taskset -p $$ 2>/dev/null || true; test ! -e out/old"
            sample = measuring.measure(["sh", "-c", script], folder, "out", CORE)
            printed = pathlib.Path(folder, "out", "stdout").read_text().splitlines()
        self.assertEqual(printed[0], "printed")
        if len(printed) > 1:
            self.assertEqual(int(printed[1].split()[-1], 16), 1 << CORE)
        self.assertGreater(sample.wall, 0)
        self.assertGreater(sample.peak, 0)

    def test_failing_command_tells_its_status_and_words(self):
        with tempfile.TemporaryDirectory() as folder:
            with self.assertRaisesRegex(RunFailed, "status 3: no luck"):
                measuring.measure(["sh", "-c", "echo no luck >&2; exit 3"], folder, "out", CORE)
            with self.assertRaisesRegex(RunFailed, "not installed"):
                measuring.measure(["no-such-program"], folder, "out", CORE)

    def test_sides_take_turns(self):
        calls = []
        sides = {name: (lambda name=name: calls.append(name) or len(calls)) for name in "AB"}
        self.assertEqual(measuring.in_turn(sides, 2), {"A": [1, 3], "B": [2, 4]})
        self.assertEqual(calls, ["A", "B", "A", "B"])

    def test_ratio_is_the_median_of_the_rounds(self):
        ours = [Sample(wall, 1, 1, 1) for wall in (1, 9, 4)]
        theirs = [Sample(wall, 0, 0, 1) for wall in (2, 3, 4)]
        self.assertEqual(measuring.median_ratio(ours, theirs, "wall"), 1)
        self.assertEqual(measuring.median(ours, "wall"), 4)
        self.assertIsNone(measuring.median_ratio(ours, theirs, "cpu"))


class MakingInputs(unittest.TestCase):
    """What the reads go through."""

    def test_seed_keeps_reads_that_can_be_multiplied(self):
        good = record("a", 5).decode().rstrip("\n")
        lines = ["@HD\tVN:1.6\n", "@SQ\tSN:chr1\tLN:9\n", f"{good}\tNM:i:1\tXX:Z:x\n",
                 record("secondary", 5, flag=256).decode(),
                 record("long", 5, bases="A" * 256, qualities="A" * 256).decode()]
        self.assertEqual(list(inputs.seed_lines(lines)), [lines[1], f"{good}\tNM:i:1\n"])

    def test_shuffle_is_the_same_every_time(self):
        lines = [b"@HD\tSO:coordinate\n", *(record("r", i) for i in range(50))]
        mixed = inputs.shuffled(lines)
        self.assertEqual(mixed, inputs.shuffled(lines))
        self.assertNotEqual(mixed[1:], lines[1:])
        self.assertEqual(sorted(mixed[1:]), sorted(lines[1:]))
        self.assertEqual(mixed[0], b"@HD\tSO:unsorted\n")

    def test_file_is_kept_until_what_it_is_made_of_changes(self):
        with tempfile.TemporaryDirectory() as folder:
            seed = pathlib.Path(folder, "given.bam")
            seed.write_bytes(b"first")
            made = inputs.Inputs(folder, 10, 10, seed).get("seed.bam")
            made.write_bytes(b"kept")
            again = inputs.Inputs(folder, 20, 10, seed).get("seed.bam")
            self.assertEqual(again.read_bytes(), b"kept")
            seed.write_bytes(b"second")
            again = inputs.Inputs(folder, 20, 10, seed).get("seed.bam")
            self.assertEqual(again.read_bytes(), b"second")


def fake_bench(folder, rounds=1):
    """A bench whose own program is a script that prints 7 or what it is told."""
    program = pathlib.Path(folder, "own")
    program.write_text("#!/bin/sh\necho ${1:-7}\n")
    program.chmod(0o755)
    return rows.Bench(inputs.Inputs(folder, 10, 10), str(program), CORE, rounds, True)


def same_text(given):
    """A comparison."""
    answers.expect_equal("text", values.printed(given.ours), values.printed(given.theirs))


class Rows(unittest.TestCase):
    """A row from its commands to the report."""

    def row(self, ours=("readkit",), peer=("echo", "7"), reach=1e9, check=same_text, others=()):
        """The row of a made-up operation."""
        operation = operations.Operation(
            "name", "Title <1>", operations.Command("readkit", ours),
            (operations.peer(*peer), *others), check, reach, (), memory=None)
        with tempfile.TemporaryDirectory() as folder:
            return fake_bench(folder).row(operation)

    @staticmethod
    def results(*made):
        """Results with these rows."""
        return {"date": "2000-01-01", "core": 0, "rounds": 2, "floor": 1024, "start": 2048,
                "rows": list(made), "sections": {},
                "machine": machine.describe(), "versions": {"readkit": "1.2.3"},
                "inputs": {"records": 10, "large": 20, "source": "a file", "ratio": 1.0,
                           "bytes_per_base": 0.5}}

    def test_met_and_missed(self):
        row = self.row()
        self.assertEqual(row["result"], rows.MET, row)
        self.assertEqual(len(row["samples"]["readkit"]), 1)
        self.assertEqual(self.row(reach=0)["result"], rows.MISSED)

    def test_wrong_answer_fails(self):
        row = self.row(ours=("readkit", "8"))
        self.assertEqual(row["result"], rows.FAILED)
        self.assertIn("against echo: text", row["why"])
        self.assertTrue(report.failed(self.results(row)))

    def test_wrong_answer_of_another_peer_is_told(self):
        row = self.row(others=(operations.peer("printf", "8"),))
        self.assertEqual(row["result"], rows.MET, row)
        self.assertIn("8 there", row["differing"]["printf"])
        self.assertIn("printf differs", report.as_markdown(self.results(row)))

    def test_row_without_a_ratio_to_reach(self):
        self.assertEqual(self.row(reach=None)["result"], rows.MEASURED)

    def test_answer_that_cannot_be_read_fails_its_row(self):
        row = self.row(check=lambda given: int(values.printed(given.ours) + "x"))
        self.assertEqual(row["result"], rows.FAILED)
        self.assertIn("ValueError", row["why"])

    def test_missed_or_skipped_is_no_failure(self):
        skipped = self.row(peer=("no-such-program",))
        self.assertEqual(skipped["result"], rows.SKIPPED)
        results = self.results(skipped, self.row(reach=0))
        self.assertFalse(report.failed(results))
        self.assertIn("no-such-program is not installed", report.as_markdown(results))

    def test_report_and_chart(self):
        results = self.results(self.row(), {"title": "To come", "name": "x", "peer": "p",
                                            "reach": 0.5, "result": rows.NOT_BUILT})
        text = report.as_markdown(results)
        self.assertIn("| Title <1> | echo |", text)
        self.assertIn("| To come | p | – |", text)
        self.assertIn("# Title <1>\nreadkit\necho 7\n", report.commands(results))
        self.assertIn("not built", report.as_text(results))
        drawing = xml.etree.ElementTree.fromstring(chart.draw(results))
        bars = drawing.findall("{http://www.w3.org/2000/svg}rect")
        self.assertEqual([bar.get("class") for bar in bars], ["met"])

    def test_chart_cuts_what_is_too_long(self):
        def row(title, ratio, reach):
            return {"title": title, "peer": "p", "reach": reach, "result": rows.MISSED,
                    "peers": {"p": {"ratio": ratio}}}

        def widths(*made):
            drawing = xml.etree.ElementTree.fromstring(chart.draw(self.results(*made)))
            cuts = drawing.findall("{http://www.w3.org/2000/svg}path")
            bars = drawing.findall("{http://www.w3.org/2000/svg}rect")
            return [float(bar.get("width")) for bar in bars], len(cuts)

        self.assertEqual(widths(row("a", 0.75, 0.5), row("b", 0.375, 0.5)),
                         ([chart.BAR / 2, chart.BAR / 4], 0))
        self.assertEqual(widths(row("a", 30, 0.5), row("b", 1, 0.5)),
                         ([chart.BAR, chart.BAR / 2], 1))

    def test_versions(self):
        self.assertEqual(machine.version_in("\nVersion: 1.3-r106 of 2.0"), "1.3-r106")
        self.assertEqual(machine.version_in("nothing"), "unknown")


class Table(unittest.TestCase):
    """The table of operations."""

    def test_names_are_chosen(self):
        self.assertEqual(len(operations.chosen([])), len(operations.OPERATIONS))
        chosen = operations.chosen(["bamSort"])
        self.assertEqual([operation.name for operation in chosen], ["bamSort"])
        with self.assertRaisesRegex(ValueError, "no such operation: x; there are bamInfo"):
            operations.chosen(["x"])

    def test_names_differ_and_inputs_can_be_made(self):
        names = [operation.name for operation in operations.OPERATIONS]
        self.assertEqual(len(set(names)), len(names))
        for operation in operations.OPERATIONS:
            for name in operation.needs:
                self.assertIn(name, inputs._RECIPES)  # pylint: disable=protected-access


if __name__ == "__main__":
    unittest.main()
