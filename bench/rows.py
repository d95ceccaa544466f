"""One row of the results: runs both sides, compares their answers, and sums the samples up."""

import shlex
import shutil
import struct
import subprocess
from dataclasses import asdict

import machine
from answers import Answers, Mismatch
from inputs import InputError
from measuring import RunFailed, in_turn, measure, median, median_ratio

# What one row can come to, and the others need not: also answers that cannot even be read.
_FAILURES = (Mismatch, RunFailed, InputError, OSError, subprocess.CalledProcessError, struct.error,
             ValueError, KeyError, IndexError, StopIteration)
MET, MISSED, FAILED, SKIPPED, NOT_BUILT = "met", "missed", "FAILED", "skipped", "not built"


class Bench:
    """Runs rows: where the inputs are, our program, the core, how many rounds, which peers."""

    def __init__(self, inputs, readkit, core, rounds, all_peers):
        self._inputs = inputs
        self._readkit = readkit
        self._core = core
        self._rounds = rounds
        self._all_peers = all_peers

    def row(self, operation):
        """Measures one operation; a dictionary for the report."""
        row = {"name": operation.name, "title": operation.title, "reach": operation.reach,
               "peer": operation.peers[0].program, "ours": shown(operation.ours.words, "readkit")}
        wanted = operation.peers if self._all_peers else operation.peers[:1]
        there = [peer for peer in wanted if machine.is_there(peer.program)]
        row["absent"] = [peer.program for peer in wanted if peer not in there]
        if operation.peers[0] not in there:
            return {**row, "result": SKIPPED, "why": f"{row['peer']} is not installed"}
        try:
            for name in operation.needs:
                self._inputs.get(name)
            return {**row, **self._measured(operation, there)}
        except _FAILURES as error:
            return {**row, "result": FAILED, "why": f"{type(error).__name__}: {error}"}
        finally:
            shutil.rmtree(self._inputs.folder / "out", ignore_errors=True)

    def _measured(self, operation, peers):
        sides = {"readkit": self._side(operation.ours)}
        for peer in peers:
            sides[peer.program] = self._side(peer)
        for run in sides.values():
            run()
        self._compare(operation, peers)
        samples = in_turn(sides, self._rounds)
        ours = samples["readkit"]
        found = {"samples": {name: [asdict(sample) for sample in some]
                             for name, some in samples.items()},
                 "readkit": summary(ours), "peers": {}}
        for peer in peers:
            theirs = samples[peer.program]
            found["peers"][peer.program] = {
                **summary(theirs), "command": shown(peer.words, peer.program),
                "ratio": median_ratio(ours, theirs, "wall"),
                "cpu_ratio": median_ratio(ours, theirs, "cpu")}
        ratio = found["peers"][operation.peers[0].program]["ratio"]
        found["result"] = MET if ratio is not None and ratio <= operation.reach else MISSED
        return found

    def _side(self, command, out=None):
        """The function that runs a command once and gives its sample."""
        out = out or f"out/{command.program}"
        words = [self._readkit if word == "readkit" else word.replace("{out}", out)
                 for word in command.words]
        return lambda: measure(words, self._inputs.folder, out, self._core)

    def _compare(self, operation, peers):
        """Compares the answers of the runs that were just made."""
        folder = self._inputs.folder
        if operation.once:
            self._side(operation.once, "out/once")()
            (folder / "out/once/stdout").rename(folder / "out/readkit/all")
        for peer in peers:
            try:
                operation.check(Answers(folder / "out/readkit", folder / f"out/{peer.program}",
                                        folder, peer.program))
            except Mismatch as error:
                raise Mismatch(f"against {peer.program}: {error}") from error


def shown(words, program):
    """A command as one would type it."""
    return " ".join(shlex.quote(word.replace("{out}", f"out/{program}")) for word in words)


def summary(samples):
    """Medians of a side's samples."""
    return {"wall": median(samples, "wall"), "cpu": median(samples, "cpu"),
            "peak": median(samples, "peak")}
