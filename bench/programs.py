"""The programs of the build: what commands call them, and which functions the library has."""

import pathlib
import subprocess

from measuring import RunFailed

HERE = pathlib.Path(__file__).resolve().parent
# How the program answers to wrong usage, such as a function that it does not know.
_WRONG_USAGE = 2


class NotBuilt(Exception):
    """Something of our own is not there."""


class Programs:
    """The folder of `readkit`, and what lies beside it."""

    def __init__(self, readkit):
        self.readkit = pathlib.Path(readkit)
        self._known = {}

    def words(self, command, out):
        """The words of a command that writes to the folder `out`."""
        places = {"{out}": out, "{bench}": str(HERE), "{library}": str(self.library())}
        words = []
        for word in command.words:
            for name, place in places.items():
                word = word.replace(name, place)
            words.append(word)
        if words[0] in ("readkit", "many_calls", "kernels"):
            words[0] = str(self.program(words[0]))
        return words

    def program(self, name):
        """The path of a program of ours."""
        if name == "readkit":
            return self.readkit
        path = self.readkit.with_name(name)
        if not path.exists():
            raise NotBuilt(f"{name} is not built; scripts/build --benchmarks builds it")
        return path

    def library(self):
        """The fast flavour."""
        return self.readkit.parent.parent / "lib" / "libreadkit-fast.so"

    def has(self, function):
        """Whether the library has a function, registered or not: one that it has complains of
        missing inputs, one that it has not is wrong usage."""
        if function not in self._known:
            ran = subprocess.run([self.readkit, "call", function, "--args", "[]"], check=False,
                                 capture_output=True, text=True)
            if ran.returncode not in (1, _WRONG_USAGE) or "DoesNotLoad" in ran.stdout:
                raise RunFailed(f"readkit call {function}: {ran.stderr.strip()[-200:]}")
            self._known[function] = ran.returncode != _WRONG_USAGE
        return self._known[function]
