"""The jobs of the server: waiting for their turn, running, and remembered for a while."""

import asyncio
import contextlib
import enum
import time
import uuid
from collections import deque
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field
from pathlib import Path

from veltrix_server import log
from veltrix_server.configuration import Limits
from veltrix_server.engine import Run
from veltrix_server.errors import JobCancelled, JobFailure, NoSlots
from veltrix_server.requests import JsonObject

_CANCEL_INTERVAL = 0.5
_SWEEP_INTERVAL = 5.0


class State(enum.Enum):
    WAITING = "waiting"
    RUNNING = "running"
    FINISHED = "finished"
    ERROR = "error"


@dataclass
class Job:
    class_path: str
    context: str
    config: JsonObject
    run: Run
    perform: Callable[[], Path] | None
    """Does the work and returns the file of the result; None once that is over, as it holds the
    request's keys."""
    job_id: str
    state: State = State.WAITING
    submitted: float = field(default_factory=time.time)
    ended: float | None = None
    seconds: float = 0.0
    """What the job took from its submission on."""
    result: Path | None = None
    error: tuple[str, str] | None = None
    """Message and class of the failure."""
    done: asyncio.Event = field(default_factory=asyncio.Event)

    @property
    def is_over(self) -> bool:
        return self.state in (State.FINISHED, State.ERROR)


def new_job_id() -> str:
    return str(uuid.uuid4())


class Registry:
    """All operations belong to the event loop's thread; the work itself runs on others."""

    def __init__(self, limits: Limits) -> None:
        self._limits = limits
        self._jobs: dict[str, Job] = {}
        self._waiting: deque[Job] = deque()
        self._running: dict[str, asyncio.Task[None]] = {}
        self._pool = ThreadPoolExecutor(limits.running, thread_name_prefix="job")
        self._timers: dict[str, asyncio.TimerHandle] = {}
        self._tasks: set[asyncio.Task[None]] = set()
        self._is_draining = False

    def submit(self, job: Job, seconds: float) -> None:
        """Takes a job, which is ended when it is not done after `seconds`."""
        if self._is_draining:
            raise NoSlots("the server is about to end")
        if len(self._waiting) + len(self._running) >= self._limits.running + self._limits.waiting:
            raise NoSlots("all slots are taken")
        self._jobs[job.job_id] = job
        self._waiting.append(job)
        allowed = min(seconds, self._limits.job_seconds)
        loop = asyncio.get_running_loop()
        self._timers[job.job_id] = loop.call_later(
            allowed, self._start_cancelling, job, f"The job was not done within {allowed:g} seconds"
        )
        log.event("job submitted", job=job.job_id, kind=job.class_path)
        self._start_next()

    def find(self, job_id: str) -> Job | None:
        return self._jobs.get(job_id)

    def reports(self) -> list[Job]:
        """All jobs that are remembered, in order of submission."""
        return list(self._jobs.values())

    async def cancel(self, job: Job, reason: str) -> None:
        """Ends a job and returns when it is over."""
        if job in self._waiting:
            self._waiting.remove(job)
            self._finish(job, None, JobCancelled(reason))
        while not job.is_over:
            await asyncio.to_thread(job.run.cancel, reason)
            with contextlib.suppress(TimeoutError):
                await asyncio.wait_for(job.done.wait(), _CANCEL_INTERVAL)

    async def drain(self, seconds: float) -> None:
        """Takes no more jobs; returns when all are over, those that are not in time cancelled."""
        self._is_draining = True
        left = [job for job in self._jobs.values() if not job.is_over]
        log.event("draining", jobs=len(left))
        if left:
            await asyncio.wait(
                [asyncio.create_task(job.done.wait()) for job in left], timeout=seconds
            )
        await asyncio.gather(*(self.cancel(job, "The server ends") for job in left))

    async def sweep(self) -> None:
        """Forgets what is old, again and again."""
        while True:
            self.evict()
            await asyncio.sleep(min(_SWEEP_INTERVAL, self._limits.keep_seconds))

    def evict(self) -> None:
        over = sorted(
            (job for job in self._jobs.values() if job.ended is not None),
            key=lambda job: job.ended or 0.0,
        )
        oldest = time.time() - self._limits.keep_seconds
        surplus = len(over) - self._limits.kept
        for rank, job in enumerate(over):
            if rank < surplus or (job.ended or 0.0) < oldest:
                del self._jobs[job.job_id]
                if job.result is not None:
                    job.result.unlink(missing_ok=True)

    def _start_next(self) -> None:
        while self._waiting and len(self._running) < self._limits.running:
            job = self._waiting.popleft()
            job.state = State.RUNNING
            self._running[job.job_id] = asyncio.create_task(self._execute(job))

    async def _execute(self, job: Job) -> None:
        result, error = None, None
        try:
            assert job.perform is not None
            result = await asyncio.get_running_loop().run_in_executor(self._pool, job.perform)
        except JobFailure as failure:
            error = failure
        except Exception as failure:
            log.event("job broke", job=job.job_id, error=type(failure).__name__)
            error = JobFailure("The server failed to run the job")
        del self._running[job.job_id]
        self._finish(job, result, error)
        self._start_next()

    def _finish(self, job: Job, result: Path | None, error: JobFailure | None) -> None:
        job.perform = None
        job.ended = time.time()
        job.seconds = job.ended - job.submitted
        job.result = result
        if error is not None:
            job.error = (str(error), type(error).__name__)
        job.state = State.FINISHED if error is None else State.ERROR
        self._timers.pop(job.job_id).cancel()
        job.done.set()
        log.event(
            "job ended",
            job=job.job_id,
            state=job.state.value,
            error=job.error[1] if job.error else None,
            seconds=round(job.seconds, 3),
        )
        self.evict()

    def _start_cancelling(self, job: Job, reason: str) -> None:
        task = asyncio.create_task(self.cancel(job, reason))
        self._tasks.add(task)
        task.add_done_callback(self._tasks.discard)
