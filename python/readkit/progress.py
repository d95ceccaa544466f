"""How far a call is, for people who wait for it."""

from __future__ import annotations

import contextlib
import os
from typing import Any, Callable, Iterator, Union

from readkit.gateway import Progress as Transfers

#: Called with the bytes read of the input so far, and with its size; what it raises ends the call.
#: True shows a bar of tqdm.
Progress = Union[Callable[[int, int], object], bool, None]


@contextlib.contextmanager
def watching(path: str, progress: Progress) -> Iterator[Transfers | None]:
    """What to hand to a gateway function that reads `path`, so that `progress` learns of it."""
    if not progress:
        yield None
        return
    size = os.stat(path).st_size
    with contextlib.ExitStack() as stack:
        tell = progress if progress is not True else stack.enter_context(
            _bar(os.path.basename(path), size, unit="B", unit_scale=True))
        done = 0

        def transfers(name: str, position: int, is_write: bool) -> None:
            nonlocal done
            if not is_write and name == path:
                done = min(position, size)
            # While other files are read and written, too: it may want to end the call.
            tell(done, size)

        yield transfers
        tell(size, size)


@contextlib.contextmanager
def counting(what: str, total: int, progress: Progress) -> Iterator[Callable[[int], object]]:
    """What to call with the number of pieces of work that are done, so that `progress` learns of
    it, with all of them as its second argument."""
    if not progress:
        yield lambda done: None
    elif progress is True:
        with _bar(what, total) as tell:
            yield lambda done: tell(done, total)
    else:
        given = progress
        yield lambda done: given(done, total)


@contextlib.contextmanager
def _bar(what: str, total: int, **settings: Any) -> Iterator[Callable[[int, int], object]]:
    from tqdm.auto import tqdm  # type: ignore[import]

    with tqdm(total=total, desc=what, **settings) as bar:
        yield lambda done, _: bar.update(done - bar.n)
