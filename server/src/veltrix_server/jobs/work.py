"""What all kinds of jobs share."""

import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from veltrix_server.configuration import Limits
from veltrix_server.engine import Run
from veltrix_server.locations import Location, Locations
from veltrix_server.reply import ResultWriter
from veltrix_server.requests import JobRequest, JsonObject


@dataclass(frozen=True)
class Work:
    """A job as it is handed to its kind. `config` is the request's body without credentials."""

    run: Run
    request: JobRequest
    location: Location | None
    locations: Locations
    config: JsonObject
    limits: Limits

    def write_run(self, writer: ResultWriter, started: float) -> None:
        """The members that tell of the run."""
        writer.member("sparkMaster", self.run.engine.master)
        writer.member("numTotalCores", self.run.engine.cores)
        writer.member("jobConfig", self.config)
        writer.member("clusterTime", round(time.monotonic() - started, 3))


Kind = Callable[[Work, ResultWriter], None]


def perform(kind: Kind, work: Work, folder: Path) -> Path:
    """Runs a job and returns the file with its result. Throws `JobFailure`."""
    with ResultWriter(folder, work.limits.reply) as writer:
        kind(work, writer)
        work.run.check()
        return writer.commit()
