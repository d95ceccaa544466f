"""The Python package against pysam: what one asks of each in a script, timed within the process."""

import statistics

import machine
from answers import Mismatch, expect_equal
from commands import PYTHON, Command
from rows import FAILED, FAILURES, MET, MISSED, NOT_BUILT, SKIPPED

NAME = "python"
# Job, title, what it is about, and the ratio to reach.
JOBS = (
    ("starts", "starts, ends, flags of a reference", "chr3", 0.25),
    ("fields", "names, flags, positions, sequences, qualities of a reference", "chr3", 0.25),
    ("regions", "names, flags, positions of 1,000 random regions of 10 kb", "regions.bed", 0.50),
)
_SCRIPT = "{bench}/peers/in_python.py"


def measured(bench, given):
    """Rows of the section; `bench` is a rows.Bench."""
    del given
    package = bench.programs.readkit.parent.parent / "python"
    if not (package / "readkit").is_dir():
        return {"rows": [], "result": NOT_BUILT, "why": f"there is no {package}/readkit"}
    if not machine.is_there("pysam"):
        return {"rows": [], "result": SKIPPED, "why": "pysam is not installed"}
    for name in ("m.bam", "m.bam.bai", "regions.bed"):
        bench.inputs.get(name)
    return {"rows": [_row(bench, package, *job) for job in JOBS]}


def _row(bench, package, job, title, about, reach):
    row = {"name": f"python-{job}", "title": title, "reach": reach}
    try:
        sides = {side: _side(bench, Command(side, (
            PYTHON, "-B", _SCRIPT, side, job, "m.bam", about, str(package))))
            for side in ("readkit", "pysam")}
        # The first run of each is not counted; it shows whether both find the same.
        first = {side: run() for side, run in sides.items()}
        expect_equal("records", first["readkit"][1], first["pysam"][1])
        if first["readkit"][2] != first["pysam"][2]:
            raise Mismatch("the values differ")
        seconds = {side: [] for side in sides}
        for _ in range(bench.rounds):
            for side, run in sides.items():
                seconds[side].append(run()[0])
        ratio = statistics.median(
            ours / theirs for ours, theirs in zip(seconds["readkit"], seconds["pysam"], strict=True))
        return {**row, "records": first["readkit"][1], "ratio": ratio, "seconds": seconds,
                "result": MET if ratio <= reach else MISSED}
    except FAILURES as error:
        return {**row, "result": FAILED, "why": str(error)}


def _side(bench, command):
    run = bench.side(command)

    def once():
        run()
        text = (bench.inputs.folder / f"out/{command.program}/stdout").read_text()
        seconds, records, digest = text.split()
        return float(seconds), int(records), digest

    return once


def failed(found):
    """The titles of rows that failed."""
    return [f"{row['name']}: {row['why']}" for row in found["rows"] if row["result"] == FAILED]


def markdown(found):
    """The section."""
    text = ["\n## In Python\n\nSeconds within the process, from opening the file to the last value in "
            "memory, without the imports.\n\n"]
    if "why" in found:
        return text[0] + f"{found['result']}: {found['why']}\n"
    text += ["| Of Python | Records | readkit s | pysam s | Ratio | To reach | Result |\n",
             "|" + " --- |" * 7 + "\n"]
    for row in found["rows"]:
        if row["result"] == FAILED:
            text.append(f"| {row['title']} | | | | | {row['reach']:.2f} | FAILED: {row['why']} |\n")
            continue
        ours, theirs = (statistics.median(row["seconds"][side]) for side in ("readkit", "pysam"))
        text.append(f"| {row['title']} | {row['records']:,} | {ours:.3f} | {theirs:.3f} | "
                    f"{row['ratio']:.2f} | {row['reach']:.2f} | {row['result']} |\n")
    return "".join(text)
