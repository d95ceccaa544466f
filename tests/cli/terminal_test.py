#!/usr/bin/env python3
"""Runs the program on a pseudo-terminal: progress, colours, interrupts, binary data.

    terminal_test.py PROGRAM

Without pseudo-terminals it is skipped (exit status 77).
"""

import fcntl
import os
import pathlib
import pty
import random
import re
import select
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

import pseudo_terminals
import small_bam

PROGRAM = None
PATIENCE = 60


def large_bam(records):
    """A file of many blocks, in random order: work that takes a while."""
    rng = random.Random(7)
    sequence = "".join(rng.choice("ACGT") for _ in range(100))
    one = small_bam.record(b"name", 0, 0, [(100, "M")], sequence)
    data = []
    for _ in range(records):
        # The position stands behind the block's size and the reference.
        data.append(one[:8] + struct.pack("<i", rng.randrange(10**6)) + one[12:])
    text = b"@SQ\tSN:chr1\tLN:2000000\n"
    head = (b"BAM\1" + struct.pack("<i", len(text)) + text + struct.pack("<i", 1)
            + struct.pack("<i", 5) + b"chr1\0" + struct.pack("<i", 2000000))
    per_block = 60000 // len(one)
    blocks = [small_bam.block(head)]
    for i in range(0, records, per_block):
        blocks.append(small_bam.block(b"".join(data[i:i + per_block])))
    return b"".join(blocks) + small_bam.END_OF_FILE


class Terminal:
    """A program whose standard error is a terminal, and its other streams too unless given."""

    def __init__(self, words, folder, stdin=subprocess.DEVNULL, stdout=None, environment=None):
        self.master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 60, 0, 0))
        temporaries = folder / "temporaries"
        temporaries.mkdir(exist_ok=True)
        variables = {**os.environ, "TERM": "xterm", "TMPDIR": str(temporaries)}
        variables.pop("NO_COLOR", None)
        self.process = subprocess.Popen(
            [PROGRAM, *words], cwd=folder, stdin=stdin, stdout=slave if stdout is None else stdout,
            stderr=slave, env={**variables, **(environment or {})})
        os.close(slave)
        self.shown = b""

    def read_until(self, wanted):
        """Reads until the pattern was shown; False when the program ends before."""
        end = time.monotonic() + PATIENCE
        while not re.search(wanted, self.shown):
            if time.monotonic() > end:
                raise AssertionError(f"never shown: {wanted}; shown: {self.shown}")
            if select.select([self.master], [], [], 0.1)[0]:
                try:
                    piece = os.read(self.master, 65536)
                except OSError:  # all who could write have gone
                    return False
                if not piece:
                    return False
                self.shown += piece
        return True

    def finish(self):
        """The exit status; all that is shown is read."""
        self.read_until(rb"(?!)")
        status = self.process.wait(PATIENCE)
        os.close(self.master)
        return status


class TerminalTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.large = large_bam(60000)

    def setUp(self):
        self.holder = tempfile.TemporaryDirectory()
        self.addCleanup(self.holder.cleanup)
        self.folder = pathlib.Path(self.holder.name)
        (self.folder / "small.bam").write_bytes(small_bam.small_bam())
        (self.folder / "large.bam").write_bytes(self.large)

    def assert_clean(self, *expected):
        """Nothing but these files and the inputs is left."""
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()),
                         sorted(["small.bam", "large.bam", "temporaries", *expected]))
        self.assertEqual(list((self.folder / "temporaries").iterdir()), [])

    def test_progress_has_part_rate_and_time_left_and_is_taken_away(self):
        run = Terminal(["sort", "--progress", "-o", "sorted.bam", "large.bam"], self.folder)
        self.assertEqual(run.finish(), 0)
        self.assertRegex(run.shown, rb"\rreadkit sort: large\.bam: reading, \d+ %, [\d.]+ MB/s")
        parts = [int(part) for part in re.findall(rb" (\d+) %", run.shown)]
        self.assertEqual(parts, sorted(parts))
        self.assertTrue(all(part <= 100 for part in parts), parts)
        self.assertTrue(run.shown.endswith(b"\r\x1b[K"), run.shown)
        # No line is longer than the terminal is wide.
        for line in re.split(rb"[\r\n]", run.shown.replace(b"\x1b[K", b"")):
            self.assertLess(len(line), 60)
        self.assert_clean("sorted.bam")

    def test_short_work_shows_no_progress(self):
        for _ in range(5):  # on a busy machine nothing is short
            run = Terminal(["sort", "-f", "-o", "sorted.bam", "small.bam"], self.folder)
            self.assertEqual(run.finish(), 0)
            if run.shown == b"":
                return
        self.fail(run.shown)

    def test_quiet_and_no_progress_show_none(self):
        for word in ("-q", "--no-progress"):
            run = Terminal(["info", "--progress", word, "large.bam"], self.folder)
            self.assertEqual(run.finish(), 0)
            self.assertNotIn(b"MB/s", run.shown)

    def test_output_on_the_terminal_is_not_mixed_with_progress(self):
        run = Terminal(["view", "--progress", "large.bam", "chr1:1-20"], self.folder)
        self.assertEqual(run.finish(), 0)
        self.assertNotIn(b"MB/s", run.shown)

    def test_off_a_terminal_nothing_moves(self):
        done = subprocess.run([PROGRAM, "info", "large.bam"], cwd=self.folder, check=True,
                              capture_output=True)
        self.assertEqual(done.stderr, b"")
        done = subprocess.run([PROGRAM, "info", "--progress", "large.bam"], cwd=self.folder,
                              check=True, capture_output=True)
        self.assertRegex(done.stderr, rb"^readkit info: large\.bam: reading, \d+ %")
        self.assertNotIn(b"\r", done.stderr)
        self.assertNotIn(b"\x1b", done.stderr)

    def test_the_rate_of_a_pipe_has_no_part(self):
        reader, writer = os.pipe()
        run = Terminal(["info", "--progress", "-"], self.folder, stdin=reader,
                       stdout=subprocess.DEVNULL)
        os.close(reader)
        os.write(writer, self.large[:60000])
        self.assertTrue(run.read_until(rb"standard input: reading, [\d.]+ MB, [\d.]+ MB/s"))
        with os.fdopen(writer, "wb") as rest:
            rest.write(self.large[60000:])
        self.assertEqual(run.finish(), 0)
        self.assert_clean()

    def test_binary_data_is_refused(self):
        for words in (["sort", "small.bam"], ["shuffle", "small.bam"],
                      ["index", "small.bam", "-o", "-"],
                      ["convert", "--to", "bam", "small.bam", "-"]):
            run = Terminal(words, self.folder)
            self.assertEqual(run.finish(), 2)
            self.assertIn(b"standard output is a terminal", run.shown)
        self.assert_clean()

    def test_colours(self):
        (self.folder / "small.bam.bai").write_bytes(b"nothing")
        words = ["view", "-c", "small.bam", "chr1"]
        for environment, coloured in (({}, True), ({"NO_COLOR": "1"}, False),
                                      ({"NO_COLOR": ""}, True), ({"TERM": "dumb"}, False)):
            run = Terminal(words, self.folder, environment=environment)
            self.assertEqual(run.finish(), 0)
            self.assertIn(b"is no sound BAI index", run.shown)
            self.assertEqual(b"\x1b[1;33mwarning:\x1b[0m" in run.shown, coloured)

    def interrupt(self, number, words, **streams):
        """The signal comes when progress is shown. Work that is done before it comes is repeated."""
        for _ in range(20):
            run = Terminal(words, self.folder, **streams)
            self.assertTrue(run.read_until(rb"MB/s"), run.shown)
            run.process.send_signal(number)
            status = run.finish()
            if status != 0:
                break
            for path in self.folder.glob("*.out"):
                path.unlink()
        self.assertEqual(status, 130, run.shown)
        self.assertIn(b"interrupted; nothing is left behind", run.shown)
        self.assert_clean()

    def test_signals_amid_a_sort_leave_nothing(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            self.interrupt(number, ["sort", "--progress", "-o", "sorted.out", "large.bam"])

    def test_signals_amid_other_work_leave_nothing(self):
        self.interrupt(signal.SIGINT, ["shuffle", "--progress", "-o", "mixed.out", "large.bam"])
        self.interrupt(signal.SIGTERM, ["info", "--progress", "large.bam"])
        self.interrupt(signal.SIGINT, ["convert", "--progress", "--to", "sam", "large.bam", "large.out"])

    def test_a_signal_is_heard_while_input_does_not_come(self):
        reader, writer = os.pipe()
        os.write(writer, self.large[:60000])  # as much as a pipe holds
        self.interrupt(signal.SIGINT, ["sort", "--progress", "-o", "sorted.out", "-"],
                       stdin=reader)
        os.close(reader)
        os.close(writer)

    def test_a_signal_is_heard_while_nobody_takes_the_output(self):
        reader, writer = os.pipe()
        run = Terminal(["view", "large.bam"], self.folder, stdout=writer)
        os.close(writer)
        self.assertTrue(os.read(reader, 1))  # then the pipe fills
        time.sleep(0.5)
        run.process.send_signal(signal.SIGTERM)
        self.assertEqual(run.finish(), 130, run.shown)
        os.close(reader)
        self.assert_clean()

    def test_a_reader_that_goes_away_ends_the_work(self):
        reader, writer = os.pipe()
        run = Terminal(["view", "large.bam"], self.folder, stdout=writer)
        os.close(writer)
        os.read(reader, 1)
        os.close(reader)
        self.assertEqual(run.finish(), 1)
        self.assertEqual(run.shown, b"")
        self.assert_clean()

    def test_signals_that_are_ignored_stay_ignored(self):
        done = subprocess.run(["sh", "-c", 'trap "" INT; kill -INT $$; "$0" info small.bam',
                               PROGRAM], cwd=self.folder, check=False, capture_output=True)
        self.assertEqual(done.returncode, 0, done.stderr)


if __name__ == "__main__":
    PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
    pseudo_terminals.skip_without()
    unittest.main(argv=sys.argv[:1])
