"""The gateway functions, as a host calls them.

``readkit.gateway.NAME(*args, nargout=n)`` calls the function NAME with these inputs and gives its
first n outputs: one object for an n of 0 or 1 (None where there is none), a tuple for more. Without
``nargout`` it is 1, or 0 for a function that gives nothing.

=========================  =================================================================
input                      becomes
=========================  =================================================================
str, bytes, os.PathLike    a character vector
bool; int, float           a logical scalar; a double scalar
NumPy array or scalar      the same class and shape; one dimension is a column
list of texts              a cell column; with None in it, strings of which that is missing
list of numbers            a column of doubles (of logicals, when all are bool)
dict                       a structure
None                       the empty array
=========================  =================================================================

Numbers come back as NumPy arrays over the host's memory, columns with one dimension; logical
scalars as bool, characters as str, cells of texts as `TextColumn`, structures as dict.

Other threads run during a call. A signal whose handler raises, such as Ctrl-C, ends it;
``progress(path, position, is_write)`` is called now and then with the file and the offset that are
being read or written, and may raise to end it. What a call that ends early has written stays
behind, unlike with the methods of files.

The functions and their rules are described in docs/gateway.md of the project; they count
references from 0, records from 1 and positions mostly from 1.
"""

from __future__ import annotations

from typing import Any, Callable, Protocol

from readkit.errors import TooManyOutputs
from readkit.libraries import library

Progress = Callable[[str, int, bool], object]

_SIGNATURES = {
    "getNumReferences": "count = getNumReferences(bam)",
    "getReferenceID": "index = getReferenceID(bam, name)",
    "getReferenceString": "name = getReferenceString(bam, index)",
    "getHeader": "text, names, lengths = getHeader(bam)",
    "bamInfo": "sorted, counts = bamInfo(bam)",
    "samInfo": "sorted, counts, names = samInfo(sam)",
    "getFeatureCountData": (
        "names, cigars, starts, ends, references, flags, mateStarts, tallies, someNHMissing = "
        "getFeatureCountData(bam, countMultiMapped, requireBothEndsMapped, "
        "requireProperlyMapped, minQuality)"
    ),
    "bamIndex": "bamIndex(bam, index)",
    "getStartsInReference": "starts, ends, flags = getStartsInReference(bam, index, reference)",
    "getFeatures": "fields = getFeatures(bam, index, names, reference, ordinals, starts)",
    "bamSort": "bamSort(bam, base)",
    "samSort": "samSort(sam, base)",
    "convertFormat": "convertFormat(in, inFormat, out, outFormat, ordinals[, references])",
    "samToBam": "samToBam(sam, bam)",
    "samWrite": "samWrite(bam, index, out, region, withTags, contained)",
    "samWriteUnaligned": "samWriteUnaligned(bam, out, withTags)",
    "scanQualities": (
        "averages, qualities, gc, bases, reads, lengths = scanQualities(type, source, minQuality, "
        "maxQuality, offset, ignoreValue, readLength, minAverage, selectedCount, selected, "
        "minLength, scanStart, scanEnd, flag)"
    ),
    "kxBamIndexComplete": "kxBamIndexComplete(bam, index)",
    "kxBamShuffle": "kxBamShuffle(bam, base)",
    "kxBamShuffleSeeded": "kxBamShuffleSeeded(bam, base, seed)",
    "kxCheck": "result = kxCheck(file[, index])",
    "kxVerified": "outputs = kxVerified(name, inputs...)",
    "kxFields": (
        "counts, rows, fields = kxFields(bam, index, names, references, firsts, lasts[, ordinals])"
    ),
    "kxSamWriteRegions": (
        "kxSamWriteRegions(bam, index, out, references, firsts, lasts, with_tags)"
    ),
}


class GatewayFunction(Protocol):
    """A gateway function."""

    __name__: str

    def __call__(
        self, *args: Any, nargout: int | None = None, progress: Progress | None = None
    ) -> Any:
        """Calls it; see the module."""


def _function(name: str) -> GatewayFunction:
    def function(*args: Any, nargout: int | None = None, progress: Progress | None = None) -> Any:
        call = library().call
        if nargout is None:
            try:
                return call(name, args, 1, progress)[0]
            except TooManyOutputs:
                # Counts are checked before any work is done, so nothing happens twice.
                return call(name, args, 0, progress)[0]
        outputs = call(name, args, nargout, progress)
        return outputs[0] if nargout < 2 else outputs

    function.__name__ = function.__qualname__ = name
    function.__module__ = __name__
    function.__doc__ = _SIGNATURES.get(name, name)
    return function


def __getattr__(name: str) -> GatewayFunction:
    if name.startswith("_") or not library().has(name):
        raise AttributeError(f"there is no gateway function {name!r}")
    # Found by this name from now on, without this function.
    function: GatewayFunction = globals().setdefault(name, _function(name))
    return function


def __dir__() -> list[str]:
    return sorted({*globals(), *_SIGNATURES})


def names() -> list[str]:
    """The names of the registered functions, in the order in which the library registers them, and
    of those that it exports besides."""
    registered = [name.rpartition(".")[2] for name in library().function_names()]
    return registered + [name for name in _SIGNATURES
                         if name not in registered and library().has(name)]


__all__ = ["GatewayFunction", "Progress", "names"]
