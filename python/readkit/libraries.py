"""Which library is loaded: the fast flavour unless another one is asked for."""

from __future__ import annotations

import os
import threading

from readkit import _readkit

_FLAVOURS = ("fast", "exact")
_lock = threading.Lock()
_library: _readkit.Library | None = None
_chosen = ""


def use_library(name: str | os.PathLike[str]) -> None:
    """Has all further calls use this library.

    Args:
        name: ``"fast"`` (compresses with libdeflate; the one that is used unless told otherwise),
            ``"exact"`` (compresses byte for byte like zlib), or the path of a library file.

    Raises:
        LibraryNotFound, LibraryDoesNotLoad, NoEntryPoint, NothingRegistered.
    """
    global _library, _chosen
    text = os.fspath(name)
    is_flavour = text in _FLAVOURS
    path = _readkit.flavour_path(text) if is_flavour else text
    library = _readkit.Library(path)
    with _lock:
        _library = library
        _chosen = text if is_flavour else os.path.abspath(text)


def library() -> _readkit.Library:
    """The library of all calls: that of `use_library`, else that which the environment variable
    READKIT_LIBRARY names in the same way, else the fast one."""
    if _library is None:
        use_library(os.environ.get("READKIT_LIBRARY") or "fast")
    assert _library is not None
    return _library


def chosen() -> str:
    """What `use_library` needs to be told in another process for it to use the same library."""
    library()
    return _chosen
