"""One row of the results: runs both sides, compares their answers, and sums the samples up."""

import shlex
import shutil
import struct
import subprocess
from dataclasses import asdict

import machine
import memory
from answers import Answers, Mismatch
from inputs import InputError
from measuring import RunFailed, in_turn, measure, median, median_ratio
from programs import NotBuilt, Programs

# What one row can come to, and the others need not: also answers that cannot even be read.
FAILURES = (Mismatch, RunFailed, InputError, OSError, subprocess.CalledProcessError, struct.error,
            ValueError, KeyError, IndexError, StopIteration)
MET, MISSED, FAILED, SKIPPED, NOT_BUILT = "met", "missed", "FAILED", "skipped", "not built"
MEASURED = "measured"


class Bench:
    """Runs rows: where the inputs are, our programs, the core, how many rounds, which peers.

    `start` is the peak of a call that does next to nothing, in KiB.
    """

    def __init__(self, inputs, readkit, core, rounds, all_peers):
        self.inputs = inputs
        self.programs = Programs(readkit)
        self.core = core
        self.rounds = rounds
        self._all_peers = all_peers
        self.start = 0

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
            if operation.function and not self.programs.has(operation.function):
                raise NotBuilt(f"the library has no {operation.function}")
            for name in operation.needs:
                self.inputs.get(name)
            row["prepared"] = self._prepare(operation.prepare)
            return {**row, **self._measured(operation, there)}
        except NotBuilt as error:
            return {**row, "result": NOT_BUILT, "why": str(error)}
        except FAILURES as error:
            return {**row, "result": FAILED, "why": said(error)}
        finally:
            shutil.rmtree(self.inputs.folder / "out", ignore_errors=True)

    def _prepare(self, commands):
        """Runs the first command whose function there is; it, as one would type it."""
        for command in commands:
            if self.programs.has(command.words[2]):
                self.side(command, "out/prepared")()
                return [shown(command.words, "readkit")]
        return []

    def _measured(self, operation, peers):
        sides = {"readkit": self.side(operation.ours)}
        for peer in peers:
            sides[peer.program] = self.side(peer)
        for run in sides.values():
            run()
        differing = self._compare(operation, peers)
        samples = in_turn(sides, self.rounds)
        ours = samples["readkit"]
        found = {"samples": {name: [asdict(sample) for sample in some]
                             for name, some in samples.items()},
                 "readkit": summary(ours), "peers": {}, "differing": differing}
        for peer in peers:
            theirs = samples[peer.program]
            found["peers"][peer.program] = {
                **summary(theirs), "command": shown(peer.words, peer.program),
                "ratio": median_ratio(ours, theirs, "wall"),
                "cpu_ratio": median_ratio(ours, theirs, "cpu")}
        first = found["peers"][operation.peers[0].program]
        found["result"] = result_of(first["ratio"], operation.reach)
        found["memory"] = memory.verdict(operation.memory, found["readkit"]["peak"], self.start,
                                         first["peak"], self._held(operation))
        return found

    def _held(self, operation):
        """The bytes that an operation may hold besides: the header, and what it names."""
        if operation.memory is None:
            return 0
        return self.inputs.header_size(operation.needs[0]) + sum(
            self.inputs.get(name).stat().st_size for name in operation.holds)

    def side(self, command, out=None):
        """The function that runs a command once and gives its sample."""
        out = out or f"out/{command.program}"
        words = self.programs.words(command, out)
        return lambda: measure(words, self.inputs.folder, out, self.core)

    def _compare(self, operation, peers):
        """Compares the answers of the runs that were just made.

        The first peer's must be the same; how those of others differ is returned, by name.
        """
        folder = self.inputs.folder
        if operation.once:
            self.side(operation.once, "out/once")()
            (folder / "out/once/stdout").rename(folder / "out/readkit/all")
        differing = {}
        for peer in peers:
            try:
                operation.check(Answers(folder / "out/readkit", folder / f"out/{peer.program}",
                                        folder, peer.program))
            except FAILURES as error:
                if peer == peers[0]:
                    raise Mismatch(f"against {peer.program}: {said(error)}") from error
                differing[peer.program] = said(error)
        return differing


def said(error):
    """What an error says, with its kind where that says more."""
    known = isinstance(error, (Mismatch, RunFailed, InputError))
    return str(error) if known else f"{type(error).__name__}: {error}"


def result_of(ratio, reach):
    """Whether a ratio is what is to be reached; a row without one is there to be looked at."""
    if reach is None:
        return MEASURED
    return MET if ratio is not None and ratio <= reach else MISSED


def shown(words, program):
    """A command as one would type it."""
    return " ".join(shlex.quote(word.replace("{out}", f"out/{program}").replace("{bench}", "bench")
                                .replace("{library}", "libreadkit-fast.so")) for word in words)


def summary(samples):
    """Medians of a side's samples."""
    return {"wall": median(samples, "wall"), "cpu": median(samples, "cpu"),
            "peak": median(samples, "peak")}
