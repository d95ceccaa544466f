"""Outputs that appear whole or not at all."""

from __future__ import annotations

import contextlib
import contextvars
import os
import shutil
import tempfile
from typing import Iterator


_PREFIX = ".readkit-"
_attempts: contextvars.ContextVar[str | None] = contextvars.ContextVar("attempts", default=None)


@contextlib.contextmanager
def attempt(work: str) -> Iterator[None]:
    """Work that may be done again when the process that does it dies: what an earlier attempt at
    the work of this name has left beside an output is removed before the next one begins. No other
    work may have the name."""
    token = _attempts.set(work)
    try:
        yield
    finally:
        _attempts.reset(token)


def remove_attempts(target: str, work: str) -> None:
    """Removes what attempts at the work of this name have left beside the file `target`."""
    shutil.rmtree(_attempts_folder(target, work), ignore_errors=True)


def _attempts_folder(target: str, work: str) -> str:
    return os.path.join(os.path.dirname(os.path.abspath(target)), _PREFIX + work)


@contextlib.contextmanager
def private_folder(target: str) -> Iterator[str]:
    """A new folder beside the file `target`, which goes in the end with all that is in it.

    Raises:
        OSError: there is no such place, or no right to write there.
    """
    beside = os.path.dirname(os.path.abspath(target))
    work = _attempts.get()
    if work is not None:
        # A folder in that of all attempts: one that is taken for dead and goes on has its files
        # taken away, and cannot put anything in the place of the target.
        remove_attempts(target, work)
        beside = _attempts_folder(target, work)
        os.mkdir(beside)
    folder = tempfile.mkdtemp(prefix=_PREFIX, dir=beside)
    try:
        yield folder
    finally:
        shutil.rmtree(folder, ignore_errors=True)
        if work is not None:
            with contextlib.suppress(OSError):
                os.rmdir(beside)


@contextlib.contextmanager
def whole_output(target: str, ending: str = "") -> Iterator[str]:
    """The name of a file to write, with this ending, that becomes `target` in the end; an error on
    the way leaves `target` as it was."""
    with private_folder(target) as folder:
        path = os.path.join(folder, "output" + ending)
        yield path
        os.replace(path, target)
