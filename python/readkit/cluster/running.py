"""Runs jobs on the workers of a Dask cluster, each until it is done.

A job whose worker dies is done again by another one. Jobs end early on all workers when the caller
does, and clean up behind themselves before the caller goes on.
"""

from __future__ import annotations

import asyncio
import collections
import contextlib
import importlib
import threading
import time
import uuid
from dataclasses import dataclass
from typing import Any, Callable, Iterator, Sequence

from readkit import libraries, outputs
from readkit.errors import Error, error_of
from readkit.progress import Progress, counting


def distributed() -> Any:
    """The module of Dask, which is loaded when it is needed.

    Raises:
        ImportError: it is not installed.
    """
    try:
        return importlib.import_module("distributed")
    except ImportError as error:
        raise ImportError(f"readkit.cluster needs Dask (python3-distributed): {error}",
                          name=error.name) from error


@dataclass(frozen=True)
class Job:
    """A call of a function of a module, which gets `stop` besides: a progress callback that ends
    the call when nobody waits for it.

    Attributes:
        function: what is called.
        path: the file that it is about.
        arguments: what it gets besides the path, by name.
        target: a file beside which it may write.
    """

    function: Callable[..., Any]
    path: str
    arguments: dict[str, Any]
    target: str | None = None


@dataclass(frozen=True)
class Failure:
    """What came instead of a result."""

    error: BaseException


@dataclass(frozen=True)
class _Task:
    run: str
    number: int
    library: str
    job: Job

    @property
    def name(self) -> str:
        return f"{self.run}-{self.number}"


#: The longest that the caller waits for jobs that were told to end.
_SECONDS_TO_END = 30.0

# ---- The caller's side


def run(client: Any, what: str, jobs: Sequence[Job], take: Callable[[int, Any], object],
        progress: Progress = None) -> None:
    """Does all jobs and hands the number and the result of each to `take` as they are done; in the
    place of the result of one that raises, a `Failure`. What `take` or `progress` raise, or a
    signal, ends all jobs.

    Args:
        client: a `distributed.Client`.
        what: a word for it, in bars and Dask's displays.
        jobs: what is to be done.
        take: called in this thread.
        progress: told the number of jobs that are done, and of all.
    """
    name = uuid.uuid4().hex
    tasks = {number: _Task(name, number, libraries.chosen(), job) for number, job in enumerate(jobs)}
    done = 0
    with counting(what, len(jobs), progress) as tell:

        def taken(number: int, result: Any) -> None:
            nonlocal done
            take(number, result)
            done += 1
            tell(done)

        # Dask suspects all that a dead worker was to do. Alone, only what kills is guilty.
        for number in _round(client, what, tasks, taken):
            _round(client, what, {number: tasks[number]}, taken)


def _round(client: Any, what: str, tasks: dict[int, _Task],
           take: Callable[[int, Any], object]) -> list[int]:
    """Does tasks together; gives those of several whose workers died too often."""
    futures = client.map(_do, list(tasks.values()), key=f"readkit-{what}", pure=False)
    numbers = {future.key: number for future, number in zip(futures, tasks)}
    suspects: list[int] = []
    is_done = False
    try:
        # Not `with_results`: it waits forever for one that cannot be unpickled.
        completed = distributed().as_completed(futures, loop=client.loop)
        for batch in completed.batches():
            whole = [future for future in batch if future.status == "finished"]
            results = dict(zip(whole, client.gather(whole)))
            for future in batch:
                number = numbers[future.key]
                if future in results:
                    take(number, results.pop(future))
                elif future.status not in ("error", "cancelled"):
                    # Its result has died with its worker, and is being made again.
                    completed.add(future)
                    continue
                elif _killed(future) and len(tasks) > 1:
                    suspects.append(number)
                else:
                    take(number, Failure(_lost(client, tasks[number], future)))
                future.release()
        is_done = True
    finally:
        if not is_done:
            _end(client, next(iter(tasks.values())).run, futures)
    return suspects


def _killed(future: Any) -> bool:
    killed = importlib.import_module("distributed.scheduler").KilledWorker
    return future.status == "error" and isinstance(future.exception(), killed)


def _lost(client: Any, task: _Task, future: Any) -> BaseException:
    """What became of a task that has no result, not even the failure that `_do` makes of errors."""
    if future.status == "cancelled":
        # The cluster is gone, or somebody cancelled it: raises CancelledError.
        future.result()
    error: BaseException = future.exception()
    if not _killed(future):
        return error
    if task.job.target is not None:
        client.submit(outputs.remove_attempts, task.job.target, task.name, pure=False).result()
    path = task.job.path
    return error_of("readkit:python:WorkersDied", (path,),
                    f"All workers that worked on the file {path!r} have died: {error}")


def _end(client: Any, name: str, futures: Sequence[Any]) -> None:
    # A cluster that is gone has nothing to end.
    with contextlib.suppress(Exception):
        client.cancel(list(futures))
        client.run(_end_here, name, on_error="ignore")


# ---- The workers' side

_lock = threading.Lock()
_running: collections.Counter[str] = collections.Counter()
_ended: set[str] = set()


class _Ended(Exception):
    """Nobody waits for this any more."""


def _do(task: _Task) -> Any:
    def stop(*_: object) -> None:
        if task.run in _ended:
            raise _Ended

    with _taking_part(task.run), outputs.attempt(task.name):
        try:
            stop()
            if libraries.chosen() != task.library:
                libraries.use_library(task.library)
            return task.job.function(task.job.path, stop=stop, **task.job.arguments)
        except Exception as error:
            if isinstance(error, Error):
                error._while_reading(task.job.path)
            elif hasattr(error, "add_note"):
                error.add_note(f"While working on the file {task.job.path!r}.")
            return Failure(error)


@contextlib.contextmanager
def _taking_part(name: str) -> Iterator[None]:
    with _lock:
        _running[name] += 1
    try:
        yield
    finally:
        with _lock:
            _running[name] -= 1
            if not _running[name]:
                del _running[name]


async def _end_here(name: str) -> None:
    _ended.add(name)
    deadline = time.monotonic() + _SECONDS_TO_END
    while name in _running and time.monotonic() < deadline:
        await asyncio.sleep(0.01)


__all__ = ["Failure", "Job", "distributed", "run"]
