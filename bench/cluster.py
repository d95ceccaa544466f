#!/usr/bin/python3
"""Measures what the work of readkit.cluster costs: to start, for each file, for each megabyte.

usage: PYTHONPATH=build/release/python bench/cluster.py [--files N...] [--records N] [--out DIR]

Writes cluster.json and cluster.md. README.md tells more. What it prints is a model: a call takes what
the caller and scheduler need for each file, or the work divided by the workers, whichever is more.
"""

import argparse
import json
import os
import pathlib
import statistics
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent / "examples")]
sys.dont_write_bytecode = True

# pylint: disable=wrong-import-position
import numpy as np  # noqa: E402
import machine  # noqa: E402
import readkit  # noqa: E402
import readkit.cluster  # noqa: E402
import sam_to_bam  # noqa: E402

ROOT = HERE.parent
MB = 1e6


def arguments():
    """The command line."""
    parser = argparse.ArgumentParser(description="Measures what readkit.cluster costs.")
    parser.add_argument("--files", type=int, nargs="+", metavar="N",
                        default=[100, 300, 1000, 2000], help="numbers of tiny files (100 to 2,000)")
    parser.add_argument("--records", type=int, default=1_000_000, metavar="N",
                        help="records of the large file (1,000,000)")
    parser.add_argument("--workers", type=int, default=2, metavar="N", help="processes (2)")
    parser.add_argument("--rounds", type=int, default=3, metavar="N", help="runs of each (3)")
    parser.add_argument("--out", type=pathlib.Path, default=ROOT / "build" / "bench", metavar="DIR",
                        help="where results go (build/bench)")
    return parser.parse_args()


# ---- Files


def write_tiny(folder, count):
    """Copies of the example's nine records."""
    data = sam_to_bam.to_bam((ROOT / "examples" / "reads.sam").read_text())
    names = [folder / f"{i}.bam" for i in range(count)]
    for name in names:
        name.write_bytes(data)
    return names


def write_large(folder, records):
    """A sorted BAM file of reads of 100 bases over four references, with an index."""
    rng = np.random.default_rng(1)
    per_reference = records // 4
    sam = folder / "large.sam"
    with open(sam, "w", encoding="ascii") as out:
        for r in range(4):
            out.write(f"@SQ\tSN:chr{r + 1}\tLN:{30 * per_reference + 1000}\n")
        for r in range(4):
            for first in range(0, per_reference, 10_000):
                count = min(10_000, per_reference - first)
                bases = np.frombuffer(b"ACGT", "u1")[rng.integers(0, 4, (count, 100))]
                # As instruments give them: few different ones, in runs.
                qualities = np.frombuffer(b"FFFFF:,#", "u1")[
                    np.repeat(rng.integers(0, 8, (count, 20)), 5, axis=1)]
                out.writelines(
                    f"read:{r}:{first + i}\t0\tchr{r + 1}\t{1 + 30 * (first + i)}\t60\t100M\t*\t0\t0\t"
                    f"{bases[i].tobytes().decode()}\t{qualities[i].tobytes().decode()}\tNH:i:1\n"
                    for i in range(count))
    bam = folder / "large.bam"
    readkit.open(sam).convert(bam)
    sam.unlink()
    readkit.open(bam).index()
    return bam


# ---- Runs


def spent():
    """Seconds of processor that this process has used; called in workers, too."""
    return time.process_time()


def forget_peak():
    """Has `peak` begin anew."""
    with open("/proc/self/clear_refs", "w", encoding="ascii") as file:
        file.write("5")


def peak():
    """The most memory that this process has had, in bytes."""
    with open("/proc/self/status", encoding="ascii") as lines:
        return next(int(line.split()[1]) * 1024 for line in lines if line.startswith("VmHWM"))


def measure(machines, call):
    """Seconds: of wall time, of the caller and scheduler, of all workers."""
    workers = sum(machines.client.run(spent).values())
    begin, own = time.perf_counter(), time.process_time()
    call()
    wall, own = time.perf_counter() - begin, time.process_time() - own
    return wall, own, sum(machines.client.run(spent).values()) - workers


def medians(rounds, take):
    """The medians of several runs, column by column."""
    return [statistics.median(column) for column in zip(*(take() for _ in range(rounds)))]


def seconds(call):
    """Wall seconds of a call."""
    begin = time.perf_counter()
    call()
    return time.perf_counter() - begin


def measure_files(machines, options, folder):
    """What tiny files cost, by their number."""
    names = write_tiny(folder, max(options.files))
    machines.check(names[:20])
    rows = []
    for count in options.files:
        some = names[:count]
        wall, own, work = medians(options.rounds,
                                  lambda: measure(machines, lambda: machines.check(some)))
        alone = medians(options.rounds,
                        lambda: [seconds(lambda: [readkit.check(name) for name in some])])[0]
        rows.append({"files": count, "seconds": wall, "caller": own, "workers": work,
                     "one_machine": alone})
        print(f"{count} files: {wall:.2f} s", file=sys.stderr)
    return rows


def measure_bytes(machines, options, bam, folder):
    """What megabytes cost: copies of the large file at once, and the one by windows."""
    copies = [folder / f"copy{i}.bam" for i in range(options.workers)]
    for copy in copies:
        copy.unlink(missing_ok=True)
        os.link(bam, copy)
    size = bam.stat().st_size
    outs = {copy: folder / f"out{i}.bam" for i, copy in enumerate(copies)}
    fastqs = {copy: folder / f"out{i}.fastq" for i, copy in enumerate(copies)}
    wide, alone = machines.open(bam), readkit.open(bam)
    fields = ["Header", "Flag", "Position", "Signature", "Sequence", "Quality"]
    cases = [
        ("check", len(copies), lambda: machines.check(copies), lambda: readkit.check(bam)),
        ("index", len(copies), lambda: machines.index(copies),
         lambda: alone.index(folder / "alone.bai")),
        ("quality", len(copies), lambda: machines.quality(copies), lambda: readkit.quality(bam)),
        ("convert to FASTQ", len(copies), lambda: machines.convert(fastqs),
         lambda: alone.convert(folder / "alone.fastq")),
        ("sort", len(copies), lambda: machines.sort(outs),
         lambda: alone.sort(folder / "alone.bam")),
        ("count", len(copies), lambda: machines.count(copies), alone.count),
        ("count, windows", 1, wide.count, alone.count),
        ("starts of a reference, windows", 0.25, lambda: wide.starts("chr1"),
         lambda: readkit.open(bam).starts("chr1")),
        ("fields of a reference, windows", 0.25, lambda: wide.fields("chr1", fields),
         lambda: readkit.open(bam).fields("chr1", fields)),
    ]
    rows = []
    for name, files, call, one in cases:
        machines.client.run(forget_peak)
        before = max(machines.client.run(peak).values())
        wall, own, work = medians(options.rounds, lambda: measure(machines, call))
        most = max(machines.client.run(peak).values())
        single = medians(options.rounds, lambda: [seconds(one)])[0]
        megabytes = files * size / MB
        rows.append({"work": name, "megabytes": megabytes, "seconds": wall, "caller": own,
                     "workers": work, "one_machine": single * (files if files > 1 else 1),
                     "worker_memory": most, "idle_memory": before})
        print(f"{name}: {wall:.2f} s for {megabytes:.0f} MB", file=sys.stderr)
    return rows


def line_through(rows, column):
    """Seconds for each file, and without one: the line through what was measured."""
    return np.polyfit([row["files"] for row in rows], [row[column] for row in rows], 1).tolist()


def report(results):
    """The tables as text."""
    model = results["model"]
    lines = [f"Machine: {results['machine']['cpu']}, {results['machine']['cores']} cores; "
             f"{results['workers']} workers, {results['dask']}.", "",
             f"Start of the workers: {results['start']:.2f} s. For each file: "
             f"{1e3 * model['wall']:.2f} ms of wall time, {1e3 * model['caller']:.2f} ms of caller and "
             f"scheduler, {1e3 * model['worker']:.2f} ms of a worker.", "",
             "| Tiny files | Seconds | Caller, scheduler | Workers | One machine |",
             "|---|---|---|---|---|"]
    lines += [f"| {row['files']:,} | {row['seconds']:.2f} | {row['caller']:.2f} | "
              f"{row['workers']:.2f} | {row['one_machine']:.2f} |" for row in results["files"]]
    lines += ["", "| Work | MB | Seconds | Caller, ms/MB | Workers, ms/MB | One machine, ms/MB | "
              "Memory of a worker, MB |", "|---|---|---|---|---|---|---|"]
    for row in results["bytes"]:
        each = {name: 1e3 * row[name] / row["megabytes"]
                for name in ("caller", "workers", "one_machine")}
        lines.append(f"| {row['work']} | {row['megabytes']:.0f} | {row['seconds']:.2f} | "
                     f"{each['caller']:.2f} | {each['workers']:.1f} | {each['one_machine']:.1f} | "
                     f"{row['worker_memory'] / MB:.0f} |")
    return "\n".join(lines) + "\n"


def main():
    """Measures and writes."""
    options = arguments()
    options.out.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="cluster-", dir=options.out) as name:
        folder = pathlib.Path(name)
        bam = write_large(folder, options.records)
        starts = []
        for _ in range(options.rounds):
            begin = time.perf_counter()
            with readkit.cluster.Cluster(workers=options.workers) as machines:
                machines.check([bam.with_suffix(".bam.bai")])
                starts.append(time.perf_counter() - begin)
        with readkit.cluster.Cluster(workers=options.workers) as machines:
            files = measure_files(machines, options, folder)
            large = measure_bytes(machines, options, bam, folder)
    import distributed  # pylint: disable=import-outside-toplevel

    results = {
        "machine": machine.describe(), "workers": options.workers,
        "dask": f"distributed {distributed.__version__}", "start": statistics.median(starts),
        "files": files, "bytes": large,
        "model": {"wall": line_through(files, "seconds")[0],
                  "caller": line_through(files, "caller")[0],
                  "worker": line_through(files, "workers")[0]}}
    (options.out / "cluster.json").write_text(json.dumps(results, indent=1) + "\n")
    text = report(results)
    (options.out / "cluster.md").write_text(text)
    print(text, end="")


if __name__ == "__main__":
    main()
