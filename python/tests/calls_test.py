"""Calls: threads, signals, progress, forks, and that nothing is left over."""

from __future__ import annotations

import gc
import os
import resource
import signal
import subprocess
import sys
import textwrap
import threading
import time

import numpy as np
import pytest

import readkit
import slow_bam
from conftest import SANITIZED
from readkit import _readkit


@pytest.fixture(scope="module")
def long_bam(tmp_path_factory):
    """A file whose sort takes a while."""
    path = tmp_path_factory.mktemp("long") / "long.bam"
    slow_bam.write_long(str(path), 400_000)
    return str(path)


def resident_bytes():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * resource.getpagesize()


def test_a_hundred_thousand_calls_leave_nothing(echo, reads_bam):
    numbers = np.arange(1000.0)

    def calls(count):
        for _ in range(count):
            echo("text", numbers, ["a", "b"], {"field": numbers}, True, nargout=5)
        for _ in range(count // 50):
            with pytest.raises(readkit.errors.FileNotFound):
                readkit.gateway.getHeader("none.bam")
            readkit.gateway.getHeader(reads_bam, nargout=3)[1].__arrow_c_array__()

    calls(1000)
    gc.collect()
    arrays, blocks, memory = _readkit.live_arrays(), _readkit.live_blocks(), resident_bytes()
    calls(2_000 if SANITIZED else 100_000)
    gc.collect()
    assert (_readkit.live_arrays(), _readkit.live_blocks()) == (arrays, blocks)
    if not SANITIZED:
        assert resident_bytes() < memory + (4 << 20)


def test_other_threads_run_during_a_call(long_bam):
    done = threading.Event()
    thread = threading.Thread(
        target=lambda: (readkit.gateway.bamInfo(long_bam, nargout=2), done.set()))
    turns = 0
    thread.start()
    while not done.is_set():
        turns += 1
        time.sleep(0.001)
    thread.join()
    assert turns > 5


def test_threads_call_at_the_same_time(reads_bam, tmp_path):
    paths = [tmp_path / f"{i}.bam" for i in range(4)]
    lines = [[f"r{i}\t0\tchr1\t{i + 1}\t60\t4M\t*\t0\t0\tACGT\tIIII"] * (50 * i + 50)
             for i in range(4)]
    for path, some in zip(paths, lines):
        slow_bam.write(str(path), [("chr1", 1000)], some)
    shared = readkit.open(reads_bam)
    failures = []

    def work(number):
        try:
            for _ in range(50):
                own = readkit.open(paths[number])
                assert own.fields("chr1", "Header")["Header"].to_list() == \
                    [f"r{number}"] * (50 * number + 50)
                assert shared.starts("chr1" if number % 2 else "chr2").starts.tolist() == \
                    ([100, 100, 120, 150, 400] if number % 2 else [11, 41, 41])
                assert shared.fields("chr2", "Flag")["Flag"].tolist() == [256, 73, 133]
        except BaseException as error:
            failures.append(error)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures


def test_objects_work_in_forked_processes(reads_bam):
    bam = readkit.open(reads_bam)
    own = bam._own_index().path
    child = os.fork()
    if child == 0:
        is_right = bam.starts("chr2").starts.tolist() == [11, 41, 41]
        # Everything goes as at the end of a process, and leaves the parent's files alone.
        del bam
        gc.collect()
        os._exit(0 if is_right else 1)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    assert os.path.exists(own)
    assert bam.starts("chr1").starts[0] == 100
    del bam
    gc.collect()
    assert not os.path.exists(own)


INTERRUPTED = """
    import _thread, os, signal, sys, threading, time
    import readkit
    bam = readkit.open(sys.argv[1])
    when = []
    def interrupt():
        when.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)
    threading.Timer(float(sys.argv[2]), interrupt).start()
    try:
        getattr(bam, sys.argv[3])(sys.argv[4])
    except KeyboardInterrupt:
        print(time.monotonic() - when[0])
"""


@pytest.mark.parametrize("after", [0.02, 0.1, 0.2])
@pytest.mark.parametrize("method", ["sort", "shuffle"])
def test_interrupts_end_a_call_soon_and_leave_nothing(long_bam, tmp_path, method, after):
    target = tmp_path / "out.bam"
    target.write_text("what was there before")
    run = subprocess.run(
        [sys.executable, "-B", "-c", textwrap.dedent(INTERRUPTED), long_bam, str(after), method,
         str(target)], capture_output=True, text=True, timeout=60)
    assert [path.name for path in tmp_path.iterdir()] == ["out.bam"]
    if target.stat().st_size > 100:
        # It was done before.
        assert after > 0.02 and readkit.open(target).records == 400_000
        return
    assert target.read_text() == "what was there before"
    assert run.stdout, run.stderr
    assert float(run.stdout) < (2 if SANITIZED else 0.2)


def test_signals_are_handled_during_a_call(long_bam):
    handled = []
    before = signal.signal(signal.SIGALRM, lambda *_: handled.append(time.monotonic()))
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.01)
        assert readkit.gateway.bamInfo(long_bam, nargout=2)[1].sum() == 400_000
        end = time.monotonic()
    finally:
        signal.signal(signal.SIGALRM, before)
    assert handled and handled[0] < end


def test_progress_shows_a_bar(long_bam, tmp_path, capsys):
    pytest.importorskip("tqdm")
    size = f"{os.stat(long_bam).st_size / 1e6:.1f}M"
    ordered = readkit.open(long_bam).sort(tmp_path / "out.bam", progress=True)
    shown = capsys.readouterr().err
    assert "long.bam: 100%" in shown and f"{size}/{size}" in shown
    assert ordered.records == 400_000


def test_progress_tells_how_far_a_call_is_and_ends_it(long_bam, tmp_path):
    size = os.stat(long_bam).st_size
    seen = []
    readkit.open(long_bam).sort(tmp_path / "out.bam", progress=lambda *now: seen.append(now))
    assert len(seen) >= 2 and seen[-1] == (size, size)
    assert all(total == size and 0 <= done <= size for done, total in seen)
    (tmp_path / "out.bam").unlink()

    class Enough(Exception):
        pass

    def stop(done, total):
        raise Enough

    with pytest.raises(Enough):
        readkit.open(long_bam).sort(tmp_path / "out.bam", progress=stop)
    assert not list(tmp_path.iterdir())
    paths = set()
    readkit.gateway.bamInfo(long_bam, nargout=2,
                            progress=lambda path, position, is_write: paths.add((path, is_write)))
    assert paths <= {(long_bam, False)}
