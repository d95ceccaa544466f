"""Progress and interrupts of work on a cluster, and workers that die."""

from __future__ import annotations

import os
import pathlib
import signal
import subprocess
import sys
import textwrap
import threading
import time

import pytest
from cluster_support import assert_equal, wait_for, write_reads

import readkit
import readkit.cluster
import slow_bam
from readkit import outputs
from readkit.cluster import running


def test_progress_counts_files_and_windows(machines, some_files, tmp_path):
    seen = []
    machines.check(some_files, progress=lambda *now: seen.append(now))
    assert seen == [(done, 5) for done in range(1, 6)]
    readkit.open(some_files[1]).index()
    seen.clear()
    machines.open(some_files[1], window=1000).starts("chr1", progress=lambda *now: seen.append(now))
    assert len(seen) > 2 and seen == [(done, len(seen)) for done in range(1, len(seen) + 1)]
    pytest.importorskip("tqdm")
    machines.check(some_files, progress=True)


@pytest.fixture(scope="module")
def long_bam(tmp_path_factory):
    """A file that takes more than a second to sort."""
    path = tmp_path_factory.mktemp("long") / "long.bam"
    slow_bam.write_long(str(path), 400_000)
    return str(path)


def test_what_ends_a_call_leaves_nothing(machines, long_bam, some_files, tmp_path):
    out = tmp_path / "out"
    out.mkdir()

    class Enough(Exception):
        pass

    def stop(done, total):
        # The short one is done; the long one is about to be.
        wait_for(lambda: list(out.glob(".readkit-*/.readkit-*")))
        raise Enough

    begin = time.monotonic()
    with pytest.raises(Enough):
        machines.sort({some_files[0]: out / "short.bam", long_bam: out / "long.bam"}, progress=stop)
    assert [path.name for path in out.iterdir()] == ["short.bam"]
    # Nothing goes on that nobody waits for, and workers take other work.
    assert machines.client.processing() and not any(machines.client.processing().values())
    assert machines.check([some_files[0]])[some_files[0]].records == 320
    assert time.monotonic() - begin < 30


def kill_one_that_writes(machines, folder, killed):
    """Kills a worker, once, while it writes into the folder."""
    wait_for(lambda: list(folder.glob(".readkit-*/.readkit-*/*")))
    processes = machines.client.run(os.getpid)
    busy = [worker for worker, tasks in machines.client.processing().items() if tasks]
    os.kill(processes[busy[0]], signal.SIGKILL)
    killed.append(processes[busy[0]])


def test_what_a_dead_worker_was_doing_is_done_again(machines, long_bam, tmp_path):
    out = tmp_path / "out"
    out.mkdir()
    links = [tmp_path / f"{i}.bam" for i in range(3)]
    for link in links:
        link.symlink_to(long_bam)
    killed = []
    killer = threading.Thread(target=kill_one_that_writes, args=(machines, out, killed))
    killer.start()
    seen = []
    made = machines.sort({link: out / link.name for link in links},
                         progress=lambda done, _: seen.append((done, list(killed))))
    killer.join()
    # It died before anything was done.
    assert killed and seen[0] == (1, killed)
    assert killed[0] not in machines.client.run(os.getpid).values()
    readkit.open(long_bam).sort(tmp_path / "alone.bam")
    for path in made.values():
        assert pathlib.Path(path).read_bytes() == (tmp_path / "alone.bam").read_bytes()
    # Not even what the dead one had begun.
    assert sorted(path.name for path in out.iterdir()) == [link.name for link in links]


def test_windows_of_a_dead_worker_are_read_again(machines, tmp_path, by_windows_only):
    wait_for(lambda: len(machines.client.scheduler_info()["workers"]) == 2)
    path = write_reads(tmp_path / "reads.bam", 11, count=3000)
    bam = readkit.open(path)
    bam.index()
    killed = []

    def kill(done, total):
        if not killed and done > total // 4:
            busy = [worker for worker, tasks in machines.client.processing().items() if tasks]
            killed.append(machines.client.run(os.getpid, workers=busy)[busy[0]])
            os.kill(killed[0], signal.SIGKILL)

    wide = machines.open(path, window=300)
    assert_equal(wide.count(progress=kill), bam.count())
    assert killed


def die(path, *, stop):
    """A job that its worker does not survive."""
    pathlib.Path(path).touch()
    with outputs.whole_output(path) as out:
        pathlib.Path(out).touch()
        os.kill(os.getpid(), signal.SIGKILL)


def test_work_that_kills_every_worker_is_an_error(machines, reads_bam, tmp_path):
    def allow(deaths, dask_scheduler):
        before, dask_scheduler.allowed_failures = dask_scheduler.allowed_failures, deaths
        return before

    path = str(tmp_path / "deadly")
    before = machines.client.run_on_scheduler(allow, 0)
    results = {}
    try:
        running.run(machines.client, "test", [
            running.Job(die, path, {}, path),
            running.Job(readkit.cluster.jobs.check, reads_bam, {"other": None})],
            results.__setitem__)
    finally:
        machines.client.run_on_scheduler(allow, before)
    assert isinstance(results[0].error, readkit.errors.WorkersDied)
    assert results[0].error.path == path
    assert results[1].records == 9
    assert sorted(os.listdir(tmp_path)) == ["deadly", "reads.bam"]


INTERRUPTED = """
    import glob, os, sys, threading, time, signal
    import readkit.cluster

    def interrupt():
        while not glob.glob(sys.argv[2] + "/.readkit-*/.readkit-*/*"):
            time.sleep(0.01)
        os.killpg(0, signal.SIGINT)

    if __name__ == "__main__":
        with readkit.cluster.Cluster(workers=1) as machines:
            threading.Thread(target=interrupt, daemon=True).start()
            try:
                machines.sort({sys.argv[1]: sys.argv[2] + "/out.bam"})
            except KeyboardInterrupt:
                print("interrupted")
"""


def test_interrupts_of_a_terminal_end_everything(machines, long_bam, tmp_path):
    script = tmp_path / "script.py"
    script.write_text(textwrap.dedent(INTERRUPTED))
    out = tmp_path / "out"
    out.mkdir()
    run = subprocess.run([sys.executable, "-B", str(script), long_bam, str(out)],
                         capture_output=True, text=True, timeout=60, start_new_session=True)
    assert run.stdout == "interrupted\n", run.stderr
    assert not list(out.iterdir())
