"""Every error of the library as an exception: one class for each kind, all of them `Error`.

What an identifier means and what to do about it is in docs/errors.md of the project; the classes
here have the identifiers' last parts as names. Kinds that concern a file are `OSError` too, those
of wrong arguments `TypeError`, `ValueError` or `LookupError`.
"""

from __future__ import annotations

from typing import Any, Callable


class Error(Exception):
    """A call that failed.

    Attributes:
        identifier: for example ``"seqlab:readkit:FileNotFound"``.
        arguments: what the text was filled with, a tuple of str and int.
    """

    identifier: str
    arguments: tuple[str | int, ...]
    _text: str
    _input: str | None = None

    # Not in __init__: OSError, which some kinds are too, takes its arguments in __new__ already.
    @classmethod
    def _make(cls, identifier: str, arguments: tuple[str | int, ...], text: str) -> Error:
        error = cls(text)
        error.identifier = identifier
        error.arguments = arguments
        error._text = text
        return error

    @property
    def path(self) -> str | None:
        """The file that the error is about; None when it is about none or names none."""
        return self._input

    def _while_reading(self, path: str) -> None:
        """Says which file was worked on, where there were many: `path` and the text name it."""
        self._input = path

    def __str__(self) -> str:
        text = self._text if hasattr(self, "_text") else super().__str__()
        return text if self._input is None or self._input in text else f"{self._input}: {text}"

    def __reduce__(self) -> tuple[Callable[..., Any], tuple[Any, ...]]:
        return _error_again, (self.identifier, self.arguments, self._text, self._input)


class FileError(Error, OSError):
    """A kind that concerns a file: `path` and `filename` are its name as it was given."""

    @classmethod
    def _make(cls, identifier: str, arguments: tuple[str | int, ...], text: str) -> Error:
        error = super()._make(identifier, arguments, text)
        assert isinstance(error, FileError)
        error.filename = error.path
        return error

    @property
    def path(self) -> str | None:
        """The file's name as it was given; None when a kind leaves it open."""
        name = self.arguments[0] if self.arguments else None
        return name if isinstance(name, str) and name else self._input

    def _while_reading(self, path: str) -> None:
        super()._while_reading(path)
        self.filename = self.path


class ArgumentError(Error, TypeError):
    """Arguments of a wrong number or class."""


class RequestError(Error, ValueError):
    """Arguments whose values do not go together, or with the file."""


# ---- Files: seqlab:readkit, seqlab:scanqualities, Tessel:host --------------------------------


class FileNotFound(FileError, FileNotFoundError):
    """An input cannot be opened."""


class UnableToOpenFile(FileError, FileNotFoundError):
    """A FASTQ file cannot be opened or read on."""


class LibraryNotFound(FileError, FileNotFoundError):
    """There is no such library file."""


class CannotOpenOutFile(FileError):
    """An output cannot be created, or is one of the inputs."""


class FileWrite(FileError):
    """An output could not be written completely."""


class BAMReadOnly(FileError):
    """A file is not open for writing."""


class InvalidBAMFormat(FileError):
    """A block, a header or a record of a BAM file is malformed."""


class ZLIBInflate(FileError):
    """A compressed block cannot be decompressed."""


class ZLIBDeflate(FileError):
    """A block could not be compressed."""


class BGZFSeek(FileError):
    """A file cannot be positioned."""


class InvalidBAIFormat(FileError):
    """A file is no BAI index."""


class InvalidSAMFormat(FileError):
    """A line cannot be read, or a record cannot be written, as SAM text."""


class BAMRead(FileError):
    """A BAM file ends early."""


class BAIRead(FileError):
    """An index ends early."""


class SAMRead(FileError):
    """A SAM file cannot be read on."""


class AllNHTagsMissing(FileError):
    """No record has the field NH, which counting by it needs."""


class LibraryDoesNotLoad(FileError):
    """The library file does not load."""


class NoEntryPoint(FileError):
    """A library without the entry point of gateway functions."""


class NothingRegistered(FileError):
    """A library that registered no functions."""


# ---- Arguments and records -------------------------------------------------------------------


class InvalidArgCount(ArgumentError):
    """A function got too few or too many inputs."""


class TooManyOutputs(ArgumentError):
    """More outputs are asked for than the function gives."""


class InvalidInputType(ArgumentError):
    """An option of the wrong class or form: its name, and what was expected."""


class InvalidIndex(ArgumentError):
    """Record numbers that are no vector of uint32."""


class InvalidSequenceDictionaryType(ArgumentError):
    """A list of reference names without a name."""


class MustBeStringScalarOrCharacterVector(ArgumentError):
    """An argument that must be one text is none."""


class MissingNotSupported(ArgumentError):
    """A text is the missing string."""


class OutputCount(ArgumentError):
    """No possible number of outputs."""


class FunctionNotFound(Error, AttributeError):
    """The library has no such function."""


class ReferenceIDNotFound(Error, LookupError):
    """There is no such reference."""


class InvalidRegion(RequestError):
    """A region is not of the form name:begin-end."""


class InvalidHeaderSubset(RequestError):
    """None of the wanted references is in the header."""


class BadIndex(RequestError):
    """A record number is out of range."""


class InvalidInputFormat(RequestError):
    """The format of an input is not known."""


class InvalidOutputFormat(RequestError):
    """The format of an output is not known."""


class UnknownFeatureType(RequestError):
    """A field that records do not have."""


class PositionTooBig(RequestError):
    """A record lies where a BAI index has no place."""


class BAMUnsorted(RequestError):
    """The records are not in coordinate order."""


class InvalidTagType(RequestError):
    """An optional field of an unknown type."""


class InvalidData(RequestError):
    """Quality data are malformed, or a setting is out of its range."""


class MemoryDataInvalid(RequestError):
    """Reads in memory without sequences or qualities."""


class MemoryNotCell(RequestError):
    """Reads in memory that are no lists of texts."""


class NumSeqNotEqualNumQual(RequestError):
    """Different numbers of sequences and of qualities."""


class InvalidDataSourceType(RequestError):
    """A data source of an unknown type."""


# ---- Standard exceptions of the library ------------------------------------------------------


class OutOfRange(RequestError):
    """A value is out of range."""


class InvalidArgument(RequestError):
    """An argument is invalid."""


class LengthError(RequestError):
    """A length is too large, or negative."""


class OutOfMemory(Error, MemoryError):
    """There is not enough memory, or a record has a negative length."""


# ---- This package ----------------------------------------------------------------------------


class FileChanged(FileError):
    """A file does not hold what its index, or what was read of it before, says."""


class LossyConversion(FileError):
    """A file cannot be written in another form without a change of what it says."""


class WorkersDied(FileError):
    """Every worker of a cluster that worked on a file has died."""


_RENAMED = {
    "out_of_range": OutOfRange,
    "invalid_argument": InvalidArgument,
    "length_error": LengthError,
    "bad_alloc": OutOfMemory,
}
_KINDS: dict[str, type[Error]] = {
    **{name: kind for name, kind in list(globals().items())
       if isinstance(kind, type) and issubclass(kind, Error)},
    **_RENAMED,
}


def error_of(identifier: str, arguments: tuple[str | int, ...], text: str) -> Error:
    """The exception for an identifier; a plain `Error` for one that has no class of its own."""
    kind = _KINDS.get(identifier.rpartition(":")[2], Error)
    return kind._make(identifier, arguments, text)


def _error_again(identifier: str, arguments: tuple[str | int, ...], text: str,
                 path: str | None) -> Error:
    error = error_of(identifier, arguments, text)
    if path is not None:
        error._while_reading(path)
    return error
