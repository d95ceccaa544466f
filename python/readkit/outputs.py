"""Outputs that appear whole or not at all."""

from __future__ import annotations

import contextlib
import os
import shutil
import tempfile
from typing import Iterator


@contextlib.contextmanager
def private_folder(target: str) -> Iterator[str]:
    """A new folder beside the file `target`, which goes in the end with all that is in it.

    Raises:
        OSError: there is no such place, or no right to write there.
    """
    folder = tempfile.mkdtemp(prefix=".readkit-", dir=os.path.dirname(os.path.abspath(target)))
    try:
        yield folder
    finally:
        shutil.rmtree(folder, ignore_errors=True)


@contextlib.contextmanager
def whole_output(target: str, ending: str = "") -> Iterator[str]:
    """The name of a file to write, with this ending, that becomes `target` in the end; an error on
    the way leaves `target` as it was."""
    with private_folder(target) as folder:
        path = os.path.join(folder, "output" + ending)
        yield path
        os.replace(path, target)
