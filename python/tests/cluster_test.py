"""Work on a cluster of two processes against the same work on one machine."""

from __future__ import annotations

import doctest
import os
import pathlib
import pickle
import random
import shutil
import signal
import subprocess
import sys
import textwrap
import threading
import time

import numpy as np
import pytest
from conftest import SANITIZED, real_files

import readkit
import readkit.cluster
import slow_bam
from readkit import gateway, outputs
from readkit.cluster import (machines as machines_module, running, sections, window_jobs, windowed_file,
                             windows)

REFERENCES = [("chr1", 400_000), ("empty", 100), ("chr:2", 300_000)]


@pytest.fixture(scope="module")
def machines():
    if SANITIZED:
        pytest.skip("the interpreters of workers have no sanitizers")
    pytest.importorskip("distributed", reason="Dask (python3-distributed) is missing")
    with readkit.cluster.Cluster(workers=2) as cluster:
        yield cluster


@pytest.fixture
def by_windows_only(monkeypatch):
    """Makes it an error that one worker reads a whole file."""
    one = windowed_file.WindowedBamFile._one

    def checked(self, function, **arguments):
        assert function is not window_jobs.whole_file
        return one(self, function, **arguments)

    monkeypatch.setattr(windowed_file.WindowedBamFile, "_one", checked)


def assert_equal(one, other):
    """Equal to the last bit, and of the same classes."""
    assert type(one) is type(other)
    if isinstance(one, np.ndarray):
        assert one.dtype == other.dtype
        np.testing.assert_array_equal(one, other)
    elif isinstance(one, readkit.TextColumn):
        np.testing.assert_array_equal(one.offsets - one.offsets[0], other.offsets - other.offsets[0])
        assert one.to_list() == other.to_list()
    elif isinstance(one, readkit.Table):
        assert list(one) == list(other) and one.rows == other.rows
        for name in one:
            assert_equal(one[name], other[name])
    elif isinstance(one, tuple):
        assert len(one) == len(other)
        for pair in zip(one, other):
            assert_equal(*pair)
    elif isinstance(one, dict):
        assert list(one) == list(other)
        for name in one:
            assert_equal(one[name], other[name])
    elif hasattr(one, "__dataclass_fields__"):
        assert_equal(vars(one), vars(other))
    else:
        assert one == other


def write_reads(path, seed, count=300, in_block=7, sort=True):
    """Reads in clusters, of which some are spliced, unmapped, or as long as a window."""
    draw = random.Random(seed)
    lines = []
    for name, length in REFERENCES[::2]:
        starts = [draw.choice([draw.randint(1, length), draw.randint(5000, 5050)])
                  for _ in range(count // 2)]
        for number, start in enumerate(sorted(starts) if sort else starts):
            flag = draw.choice([0, 4, 16, 73, 83, 99, 133, 256, 2048])
            cigar = "*" if flag & 4 else draw.choice(["4M", "2M100000N2M", "3S1M", "1M5D3M"])
            mate = draw.choice(["*\t0", "=\t77", "chr:2\t1"])
            bases = draw.choice(["ACGT", "GGCC"])
            nh = draw.choice(["", "\tNH:i:1", "\tNH:i:3"])
            lines.append(f"{name}-{number}\t{flag}\t{name}\t{start}\t{draw.randrange(61)}\t{cigar}\t"
                         f"{mate}\t0\t{bases}\t{draw.choice(['IIII', 'I#5?'])}{nh}")
    lines += [f"none-{i}\t{draw.choice([4, 0])}\t*\t0\t0\t*\t*\t0\t0\tAC\tII" for i in range(20)]
    slow_bam.write(str(path), REFERENCES, lines, in_block=in_block)
    return str(path)


@pytest.fixture
def some_files(tmp_path):
    """BAM files, one of them without order, and the same as SAM and FASTQ."""
    folder = tmp_path / "in"
    folder.mkdir()
    files = [write_reads(folder / f"{i}.bam", i, sort=i > 0) for i in range(3)]
    readkit.open(files[1]).convert(folder / "3.sam")
    readkit.open(files[1]).convert(folder / "4.fastq")
    return files + [str(folder / "3.sam"), str(folder / "4.fastq")]


# ---- Many files


def test_many_files_give_what_one_machine_gives(machines, some_files, tmp_path):
    bams, sam, fastq = some_files[:3], some_files[3], some_files[4]
    checks = machines.check(some_files)
    assert list(checks) == some_files and not checks[fastq] is None
    assert_equal(checks, {path: readkit.check(path) for path in some_files})
    filters = {"min_quality": 20, "multi_mapped": "drop_by_nh", "properly_mapped": True}
    assert_equal(machines.count(bams, **filters),
                 {path: readkit.open(path).count(**filters) for path in bams})
    for settings in ({}, {"min_average": 20, "first": 1, "unplaced": True}):
        total = machines.quality(some_files, **settings)
        assert_equal(total, readkit.quality(some_files, **settings))
        assert_equal(total.mean, readkit.quality(some_files, **settings).mean)
    assert machines.quality(some_files).reads > 1000
    assert_equal(machines.quality([fastq, fastq]), readkit.quality([fastq, fastq]))

    ordered = machines.sort(bams + [sam])
    assert ordered == {path: path.replace(".bam", ".sorted.bam").replace(".sam", ".sorted.sam")
                       for path in bams + [sam]}
    named = machines.sort({sam: tmp_path / "named"})
    assert named == {sam: str(tmp_path / "named")}
    for path, out in {**ordered, **named}.items():
        alone = readkit.open(path).sort(tmp_path / "alone").path
        assert pathlib.Path(out).read_bytes() == pathlib.Path(alone).read_bytes()

    some = [ordered[path] for path in bams]
    made = machines.index(some) | machines.index({bams[1]: tmp_path / "sparse"}, complete=False)
    assert made == {**{path: path + ".bai" for path in some}, bams[1]: str(tmp_path / "sparse")}
    for path, out in made.items():
        alone = readkit.open(path).index(tmp_path / "alone", complete=path != bams[1])
        assert pathlib.Path(out).read_bytes() == pathlib.Path(alone).read_bytes()
    assert_equal(machines.check({path: path + ".bai" for path in some}),
                 {path: readkit.check(path, path + ".bai") for path in some})

    files = {path: str(tmp_path / f"{i}.fastq") for i, path in enumerate(bams + [sam])}
    assert machines.convert(files) == files
    machines.convert({bams[1]: tmp_path / "part"}, "sam", references=["chr1", "empty", "chr:2"])
    for path, out in files.items():
        readkit.open(path).convert(tmp_path / "alone.fastq")
        assert pathlib.Path(out).read_bytes() == (tmp_path / "alone.fastq").read_bytes()
    assert readkit.open(tmp_path / "part").records == readkit.open(bams[1]).records
    assert not [path for path in tmp_path.rglob(".readkit-*")]


@pytest.mark.parametrize("folder", ["bam", "fastq"])
def test_real_files_give_what_one_machine_gives(machines, folder, tmp_path):
    files = [param.values[0] for param in real_files(f"{folder}/*.{folder}")]
    if files == [None]:
        pytest.skip("READKIT_TEST_DATA has no such files")
    files = [path for path in files if os.stat(path).st_size < 200_000]
    assert_equal(machines.check(files), {path: readkit.check(path) for path in files})
    failed, wrong = {}, {}
    reads = machines.quality(files, failed=failed)
    good = []
    for path in files:
        try:
            readkit.quality(path)
            good.append(path)
        except readkit.Error as error:
            wrong[path] = error
    assert_equal(reads, readkit.quality(good))
    found, expected = ({path: (type(error), error.identifier, error.arguments)
                        for path, error in errors.items()} for errors in (failed, wrong))
    assert found == expected
    assert all(path in str(error) and error.path for path, error in failed.items())


def test_a_wrong_file_is_named_and_loses_no_others(machines, some_files, tmp_path):
    unsorted, good, fastq = some_files[0], some_files[1], some_files[4]
    cut = tmp_path / "cut.bam"
    cut.write_bytes(pathlib.Path(good).read_bytes()[:3000])
    names = [good, unsorted, str(tmp_path / "none.bam"), fastq, str(cut)]
    failed = {}
    assert machines.index(names, failed=failed) == {good: good + ".bai"}
    kinds = {name: type(error).__name__ for name, error in failed.items()}
    with pytest.raises(readkit.Error) as alone:
        readkit.open(cut).index()
    assert kinds == {names[1]: "BAMUnsorted", names[2]: "FileNotFound",
                     names[3]: "InvalidInputFormat", names[4]: type(alone.value).__name__}
    for name, error in failed.items():
        assert error.path == name and name in str(error)
        again = pickle.loads(pickle.dumps(error))
        assert type(again) is type(error) and str(again) == str(error) and again.path == name
        assert (again.identifier, again.arguments) == (error.identifier, error.arguments)
    assert failed[names[2]].filename == names[2]
    with pytest.raises(readkit.errors.BAMUnsorted) as raised:
        machines.index([unsorted])
    assert raised.value.path == unsorted
    with pytest.raises(OSError) as raised:
        machines.sort({good: tmp_path / "no such folder" / "out.bam"})
    assert good in raised.value.__notes__[0]
    assert machines.quality([fastq, cut], failed=(failed := {})).reads == 320
    assert list(failed) == [str(cut)] or list(failed) == [cut]
    with pytest.raises(ValueError):
        machines.quality([cut], failed={})


def test_wrong_calls_are_errors(machines, some_files, tmp_path):
    for wrong in (lambda: machines.check(some_files[0]), lambda: machines.quality({"a": "b"}),
                  lambda: machines.convert(some_files), lambda: machines.count(some_files[:1], x=1)):
        with pytest.raises(TypeError):
            wrong()
    for wrong in (lambda: machines.check([some_files[0]] * 2), lambda: machines.quality([]),
                  lambda: machines.sort({some_files[0]: "x.bam", some_files[1]: "./x.bam"}),
                  lambda: machines.count(some_files[:1], multi_mapped="other"),
                  lambda: machines.open(some_files[0], window=0),
                  lambda: readkit.cluster.Cluster(machines.client, workers=2)):
        with pytest.raises(ValueError):
            wrong()
    with pytest.raises(readkit.errors.InvalidInputFormat):
        machines.open(some_files[3])
    assert machines.check([]) == {}


def test_clients_and_addresses_are_used(machines, reads_bam, monkeypatch):
    monkeypatch.chdir(pathlib.Path(reads_bam).parent)
    address = machines.client.scheduler.address
    with readkit.cluster.Cluster(address) as other:
        assert repr(other) == "<Cluster of 2 workers>"
        # Names begin at the caller's folder, and are what results are found by.
        assert other.check(["reads.bam"])["reads.bam"].records == 9
    with readkit.cluster.Cluster(machines.client) as same:
        assert same.count(["reads.bam"])["reads.bam"].tallies["total"] == 9
    assert machines.client.status == "running"


def test_workers_use_the_same_library(machines, some_files, tmp_path):
    out = {}
    for name in ("exact", "fast"):
        readkit.use_library(name)
        machines.sort({some_files[0]: tmp_path / name})
        readkit.open(some_files[0]).sort(tmp_path / "alone")
        out[name] = (tmp_path / name).read_bytes()
        assert out[name] == (tmp_path / "alone").read_bytes()
    assert out["exact"] != out["fast"]


# ---- One large file


@pytest.mark.parametrize("seed, window, count", [(1, 1, 60), (2, 1500, 300), (3, 1 << 30, 60)])
def test_windows_give_what_one_machine_gives(machines, tmp_path, by_windows_only, seed, window,
                                             count):
    path = write_reads(tmp_path / "reads.bam", seed, count, in_block=5)
    bam = readkit.open(path)
    bam.index()
    wide = machines.open(path, window=window)
    assert wide.header == bam.header and wide.references == bam.references
    draw = random.Random(seed)
    for name in ("chr1", "chr:2"):
        count = len(bam.starts(name).starts)
        region = f"{name}:{draw.randint(1, 6000)}-{draw.randint(6000, 200_000)}"
        some = [draw.randrange(count) for _ in range(20)]
        fields = ["Header", "EndPosition", "QueryLength", "MatePosition", "Quality"]
        # Before anything is known of the windows, and after.
        for _ in range(2):
            assert_equal(wide.fields(name), bam.fields(name))
            assert_equal(wide.fields(region=region), bam.fields(region=region))
        assert (len(wide._plans[0 if name == "chr1" else 2].spans) > 2) == (window < 2000)
        assert_equal(wide.fields(name, fields, records=some), bam.fields(name, fields, records=some))
        mask = np.array([draw.random() < 0.1 for _ in range(count)])
        wide._forget()
        assert_equal(wide.fields(name, "Flag", records=mask), bam.fields(name, "Flag", records=mask))
        assert_equal(wide.fields(region=f"{name}:390000-390001"),
                     bam.fields(region=f"{name}:390000-390001"))
        assert_equal(wide.fields(name, [], records=[]), bam.fields(name, [], records=[]))
        wide._forget()
        assert_equal(wide.starts(name), bam.starts(name))
    for filters in ({}, {"min_quality": 30, "multi_mapped": "drop_by_nh"},
                    {"multi_mapped": "drop_secondary", "both_ends_mapped": True},
                    {"properly_mapped": True}):
        assert_equal(wide.count(**filters), bam.count(**filters))


def test_what_windows_cannot_give_one_worker_gives(machines, tmp_path):
    path = write_reads(tmp_path / "reads.bam", 5, in_block=3)
    bam = readkit.open(path)
    for make in (lambda: None, lambda: bam.index(complete=False), bam.index):
        make()
        wide = machines.open(path, window=900)
        assert_equal(wide.starts("chr1"), bam.starts("chr1"))
        assert_equal(wide.starts("empty"), bam.starts("empty"))
        assert_equal(wide.fields(2, "Header"), bam.fields(2, "Header"))
        assert_equal(wide.count(), bam.count())
        for wrong in (lambda file: file.starts("none"), lambda file: file.fields("chr1", "None"),
                      lambda file: file.fields("chr1", records=[10**6]), lambda file: file.fields(),
                      lambda file: file.fields(region="chr1:5"),
                      lambda file: file.count(multi_mapped="none")):
            kinds = []
            for file in (wide, bam):
                with pytest.raises((readkit.Error, TypeError, ValueError)) as raised:
                    wrong(file)
                kinds.append(type(raised.value))
            assert kinds[0] is kinds[1]
    # An index that counts right, and says that the first record is one in the middle.
    data = bytearray(pathlib.Path(path + ".bai").read_bytes())
    at = data.index((37450).to_bytes(4, "little") + b"\2\0\0\0") + 8
    places = windows.places_in(sections.read_sections(path + ".bai", 3).sections[:1])
    data[at : at + 8] = int(places[len(places) // 2]).to_bytes(8, "little")
    pathlib.Path(path + ".bai").write_bytes(data)
    assert_equal(machines.open(path).starts("chr1"), bam.starts("chr1"))
    assert_equal(machines.open(path, window=900).fields("chr1"), bam.fields("chr1"))


def test_no_nh_field_is_one_error_over_all_windows(machines, tmp_path, by_windows_only,
                                                   monkeypatch):
    lines = [f"r{i}\t0\tchr1\t{i * 20_000 + 1}\t60\t4M\t*\t0\t0\tACGT\tIIII{nh}"
             for i, nh in enumerate(["", "", "\tNH:i:2", "", "\tNH:i:1", "", ""])]
    path = str(tmp_path / "some.bam")
    slow_bam.write(path, REFERENCES, lines, in_block=1)
    bam = readkit.open(path)
    bam.index()
    found = machines.open(path, window=1).count(multi_mapped="drop_by_nh")
    assert_equal(found, bam.count(multi_mapped="drop_by_nh"))
    assert found.some_nh_missing and found.tallies["multi_mapped"] == 1
    monkeypatch.undo()
    slow_bam.write(path, REFERENCES, [line.partition("\tNH")[0] for line in lines], in_block=1)
    bam.index()
    with pytest.raises(readkit.errors.AllNHTagsMissing) as raised:
        machines.open(path, window=1).count(multi_mapped="drop_by_nh")
    assert raised.value.path == path
    none = machines.open(path, window=1).count(multi_mapped="drop_by_nh", min_quality=61)
    assert none.table.rows == 0


def test_a_damaged_file_gives_the_error_of_one_machine(machines, tmp_path):
    path = write_reads(tmp_path / "reads.bam", 6)
    readkit.open(path).index()
    data = bytearray(pathlib.Path(path).read_bytes())
    place = data.index(b"BC\2\0", len(data) // 2) - 12
    data[place : place + 4] = b"none"
    pathlib.Path(path).write_bytes(data)
    os.utime(path + ".bai")
    for ask in (lambda file: file.starts("chr:2"), lambda file: file.count(),
                lambda file: file.fields("chr:2", "Header")):
        errors = []
        for file in (machines.open(path, window=2000), readkit.open(path)):
            with pytest.raises(readkit.Error) as raised:
                ask(file)
            errors.append((type(raised.value), raised.value.identifier, raised.value.arguments))
        assert errors[0] == errors[1]


def test_a_file_that_changes_is_planned_again(machines, tmp_path, by_windows_only):
    path = write_reads(tmp_path / "reads.bam", 7)
    readkit.open(path).index()
    wide = machines.open(path, window=3000)
    before = wide.starts("chr1")
    write_reads(path, 8, count=500)
    bam = readkit.open(path)
    bam.index()
    assert_equal(wide.starts("chr1"), bam.starts("chr1"))
    assert len(wide.starts("chr1").starts) > len(before.starts)
    write_reads(path, 9)
    bam.index()
    assert_equal(wide.count(), bam.count())


def some_real_files():
    """Every third of those that make some windows."""
    found = real_files("bam/*.bam")
    return [file for file in found if not file.values[0]
            or 30_000 <= os.stat(file.values[0]).st_size <= 400_000][::3]


@pytest.mark.parametrize("path", some_real_files())
def test_windows_of_real_files_give_what_one_machine_gives(machines, path, tmp_path):
    bam = readkit.open(shutil.copy(path, tmp_path / "copy.bam"))
    try:
        bam = bam if bam.is_sorted else bam.sort(tmp_path / "sorted.bam")
        bam.index()
    except readkit.Error:
        pytest.skip("no file with an index")
    wide = machines.open(bam.path, window=20_000)
    assert_equal(wide.count(), bam.count())
    for number in np.flatnonzero(bam.counts)[:1].tolist():
        assert_equal(wide.starts(number), bam.starts(number))
        assert_equal(wide.fields(number), bam.fields(number))


def test_spans_are_whole_blocks_and_their_ends(tmp_path):
    path = write_reads(tmp_path / "reads.bam", 10, in_block=4)
    bam = readkit.open(path)
    bam.index()
    index = sections.read_sections(path + ".bai", 3)
    first = windows.first_record(path)
    size = os.stat(path).st_size
    for window in (1, 1000, 10**9):
        spans = windows.cut(windows.Span(first, size << 16), windows.places_in(index.sections),
                            window)
        assert spans[0].begin == first and spans[-1].end == size << 16
        assert all(one.end == other.begin for one, other in zip(spans, spans[1:]))
        assert all((span.end >> 16) - (span.begin >> 16) >= window for span in spans[:-1])
        records, findings = [], []
        for span in spans:
            windows.copy_span(path, first, span, str(tmp_path / "copy.bam"))
            findings += readkit.check(tmp_path / "copy.bam").findings["text"]
            records += slow_bam.read(str(tmp_path / "copy.bam"))[1]
        assert records == slow_bam.read(path)[1]
        assert findings == readkit.check(path).findings["text"].to_list()
    data = pathlib.Path(path).read_bytes()
    for wrong in (data[:10], data[:40], b"\0" * 100, data[:30] + b"\0" * 10 + data[40:]):
        (tmp_path / "wrong.bam").write_bytes(wrong)
        with pytest.raises(ValueError):
            windows.first_record(str(tmp_path / "wrong.bam"))


# ---- Progress, interrupts, workers that die


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


def wait_for(condition):
    deadline = time.monotonic() + 30
    while not condition():
        assert time.monotonic() < deadline
        time.sleep(0.005)


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


# ---- Forms


def test_columns_are_pickled_and_joined(reads_bam):
    names = readkit.open(reads_bam).fields("chr1", "Header")["Header"]
    missing = gateway.getFeatures  # Rows that are not found have no text.
    index = readkit.open(reads_bam).index()
    odd = missing(reads_bam, index, ["Header"], 0, np.array([1, 5, 9], np.uint32),
                  np.array([99, 99, 119, 149, 399] + [399] * 4, np.uint32))
    assert odd.to_list() == ["pair1", "split", None]
    for column in (names, names[1:3], names[:0], odd, odd[1:], odd[2:]):
        for protocol in (2, 4, 5):
            assert_equal(pickle.loads(pickle.dumps(column, protocol)), column)
    joined = readkit.TextColumn.concatenate([names[3:], odd[1:], names[:0]])
    assert joined.to_list() == ["pair1", "split", "split", None]
    assert readkit.TextColumn.concatenate([]).to_list() == []
    table = readkit.open(reads_bam).fields("chr2")
    assert_equal(pickle.loads(pickle.dumps(table)), table)
    make = readkit.TextColumn.__setstate__
    texts = np.frombuffer(b"abc", np.uint8)
    for wrong in ((np.array([0, 4]), texts, None), (np.array([1, 3]), texts, None),
                  (np.array([0, 9, 3]), texts, None), (np.array([], np.int64), texts, None),
                  (np.array([0, 3]), texts, np.array([True, True])), (1,)):
        with pytest.raises(ValueError):
            make(readkit.TextColumn.__new__(readkit.TextColumn), wrong)


def test_attempts_begin_without_what_earlier_ones_left(tmp_path):
    target = tmp_path / "out"
    with outputs.attempt("work"):
        with outputs.private_folder(str(target)) as first:
            (pathlib.Path(first) / "left").touch()
            with outputs.whole_output(str(target)) as second:
                # The one that is taken for dead finds its place gone.
                assert not os.path.exists(first)
                pathlib.Path(second).write_text("whole")
    assert target.read_text() == "whole" and os.listdir(tmp_path) == ["out"]


def test_dask_is_loaded_when_it_is_needed(monkeypatch):
    done = subprocess.run(
        [sys.executable, "-B", "-c",
         "import sys, readkit.cluster; print('distributed' in sys.modules)"],
        capture_output=True, text=True, timeout=60)
    assert done.stdout == "False\n", done.stderr
    monkeypatch.setitem(sys.modules, "distributed", None)
    with pytest.raises(ImportError, match="python3-distributed"):
        readkit.cluster.Cluster()


def test_the_examples_are_right(machines, reads_bam, monkeypatch):
    monkeypatch.chdir(pathlib.Path(reads_bam).parent)
    readkit.open(reads_bam).index()
    # The workers are there already.
    monkeypatch.setattr(readkit.cluster, "Cluster",
                        lambda workers: machines_module.Cluster(machines.client))
    failed, tried = doctest.testmod(readkit.cluster)
    assert tried > 3 and failed == 0
