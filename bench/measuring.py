"""Measures commands: one run, runs in turn, and what they come to."""

import pathlib
import shutil
import statistics
import subprocess
import sys
from dataclasses import dataclass

_ONE_RUN = pathlib.Path(__file__).with_name("one_run.py")


class RunFailed(Exception):
    """A command did not end with status 0."""


@dataclass(frozen=True)
class Sample:
    """What one run took: seconds, and KiB at its peak."""

    wall: float
    user: float
    system: float
    peak: int

    @property
    def cpu(self):
        """User and system time together."""
        return self.user + self.system


def measure(argv, cwd, out, core):
    """Runs a command in the folder cwd, with an emptied folder `out` for what it writes.

    Its standard output is there as "stdout". Only the run itself is measured.
    """
    program = shutil.which(argv[0])
    if program is None:
        raise RunFailed(f"{argv[0]} is not installed")
    folder = pathlib.Path(cwd) / out
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    ran = subprocess.run(
        [sys.executable, "-I", "-S", str(_ONE_RUN), str(core), f"{out}/stdout", f"{out}/stderr",
         program, *argv[1:]],
        cwd=cwd, stdout=subprocess.PIPE, check=True, text=True)
    status, wall, user, system, peak = ran.stdout.split()
    if status != "0":
        words = (folder / "stderr").read_text(errors="replace").strip()[-400:]
        raise RunFailed(f"{argv[0]} ended with status {status}: {words}")
    return Sample(float(wall), float(user), float(system), int(peak))


def in_turn(sides, rounds):
    """Samples by name: the sides (name: function that runs once) take turns, round by round."""
    samples = {name: [] for name in sides}
    for _ in range(rounds):
        for name, run in sides.items():
            samples[name].append(run())
    return samples


def median(samples, field):
    """The median of one field of the samples."""
    return statistics.median(getattr(sample, field) for sample in samples)


def median_ratio(ours, theirs, field):
    """The median of the ratios of runs of the same round; None where a run took no time."""
    pairs = [(getattr(a, field), getattr(b, field)) for a, b in zip(ours, theirs, strict=True)]
    if not pairs or any(theirs == 0 for _, theirs in pairs):
        return None
    return statistics.median(ours / theirs for ours, theirs in pairs)
