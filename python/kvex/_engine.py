"""Dask, as the conversions use it."""

from __future__ import annotations

import itertools
import logging
import os
import signal
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from multiprocessing import resource_tracker
from types import TracebackType
from typing import Any

from ._errors import KvexError

_PER_CORE = 2  #: Tasks that are with the scheduler at a time: enough that nobody waits, and it remembers few.


# No pages of a dashboard behind the address, on this machine only, that each process listens at.
_LOCAL: dict[str, list[str]] = {"distributed.scheduler.http.routes": [], "distributed.worker.http.routes": []}


class Engine:
    """A Dask cluster: one that runs (``scheduler``), or processes of this machine that end with it. A task whose worker
    dies is begun again by another one."""

    def __init__(self, workers: int | None = None, scheduler: str | None = None) -> None:
        try:
            import dask
            import distributed
        except ImportError as error:
            raise KvexError("several recordings need Dask: pip install 'kvex[fleet]'") from error
        cluster: Any = distributed.LocalCluster
        client: Any = distributed.Client
        self._cluster: Any = None
        if scheduler is None:
            with _interrupts_blocked(), dask.config.set(_LOCAL):
                self._cluster = cluster(
                    n_workers=workers or os.cpu_count() or 1,
                    threads_per_worker=1,
                    processes=True,
                    host="127.0.0.1",
                    dashboard_address="127.0.0.1:0",
                    scheduler_kwargs={"dashboard": False},
                    worker_dashboard_address="127.0.0.1:0",
                    silence_logs=logging.CRITICAL,
                )
        try:
            self._client = client(self._cluster or scheduler, set_as_default=False)
        except (OSError, ValueError) as error:
            raise KvexError(f'no scheduler answers at "{scheduler}": {error}') from error

    def __enter__(self) -> Engine:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self._client.close()
        if self._cluster is not None:
            self._cluster.close()

    def cores(self) -> int:
        return max(1, sum(int(count) for count in self._client.nthreads().values()))

    def run(self, function: Callable[..., Any], jobs: Iterator[tuple[Any, tuple[Any, ...]]]) -> Iterator[Any]:
        """Calls the function for each of the jobs, a key with arguments, and gives the key, the result and the error of
        each as it is done."""
        import distributed

        keys: dict[Any, Any] = {}
        as_completed: Any = distributed.as_completed
        completed = as_completed([], loop=self._client.loop)

        def submit(count: int) -> None:
            for key, arguments in itertools.islice(jobs, count):
                future = self._client.submit(_attempt, function, arguments, pure=False)
                keys[future] = key
                completed.add(future)

        try:
            submit(max(4, _PER_CORE * self.cores()))
            for future in completed:
                key = keys.pop(future)
                try:
                    result, error = future.result()
                except Exception as raised:  # its workers died again and again
                    result, error = None, _explained(raised)
                future.release()
                submit(1)
                yield key, result, error
        finally:
            self._client.cancel(list(keys))


@contextmanager
def _interrupts_blocked() -> Iterator[None]:
    """Threads and processes that begin in here never see Ctrl-C, which a terminal sends to all: only the one that
    started them acts on it, and ends them. One that comes meanwhile comes at the end."""
    resource_tracker.ensure_running()  # its first start would let interrupts through again
    before = signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGINT])
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, before)


def _attempt(function: Callable[..., Any], arguments: tuple[Any, ...]) -> tuple[Any, Exception | None]:
    """What a function returns, or raises: an error of a recording is a result, and none of the cluster."""
    try:
        return function(*arguments), None
    except Exception as error:
        return None, error


def _explained(error: Exception) -> Exception:
    if type(error).__name__ == "KilledWorker":
        return KvexError("each process that read it was killed: it may need more memory than there is")
    return error
