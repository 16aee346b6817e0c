"""Replies of the wire protocol: the public Spark job server's, versions 0.4 to 0.6.0."""

import time

from veltrix_server.configuration import MAX_TIMEOUT
from veltrix_server.errors import BadRequest, NotFound
from veltrix_server.registry import Job, State
from veltrix_server.requests import READERS, JsonObject

_STATUS = {
    State.WAITING: "RUNNING",
    State.RUNNING: "RUNNING",
    State.FINISHED: "FINISHED",
    State.ERROR: "ERROR",
}


def failure(message: str, error_class: str) -> JsonObject:
    return {"message": message, "errorClass": error_class}


def started(job: Job) -> JsonObject:
    return {"status": "STARTED", "result": {"jobId": job.job_id, "context": job.context}}


def error_of(job: Job) -> JsonObject:
    """The reply to whoever asks for the result of a job that failed."""
    message, error_class = job.error or ("", "")
    said = failure(message, error_class)
    return {"status": "ERROR", "result": said, "ERROR": said}


def report(job: Job) -> JsonObject:
    """The full state of a job. "phase" tells a waiting job from a running one."""
    stamp = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(job.submitted))
    made: JsonObject = {
        "jobId": job.job_id,
        "startTime": stamp,
        "classPath": job.class_path,
        "context": job.context,
        "duration": f"{job.seconds:.3f} secs" if job.is_over else "Job not done yet",
        "status": _STATUS[job.state],
        "phase": job.state.value,
    }
    if job.error is not None:
        made["result"] = failure(*job.error)
    return made


class Submission:
    """The query of a submission, checked."""

    _KNOWN = ("appName", "classPath", "context", "sync", "timeout")

    def __init__(self, query: dict[str, str], app_name: str) -> None:
        check_query(query, self._KNOWN)
        for name in self._KNOWN[:3]:
            if not query.get(name):
                raise BadRequest(f"the parameter {name} is missing")
        if query["appName"] != app_name:
            raise NotFound(f"appName {query['appName'][:100]} not found")
        self.class_path = query["classPath"]
        if self.class_path not in READERS:
            raise NotFound(f"classPath {self.class_path[:100]} not found")
        self.context = query["context"]
        sync = query.get("sync", "false")
        if sync not in ("true", "false"):
            raise BadRequest('the parameter sync is neither "true" nor "false"')
        self.is_sync = sync == "true"
        timeout = query.get("timeout", str(MAX_TIMEOUT))
        if not (
            timeout.isascii()
            and timeout.isdigit()
            and len(timeout) <= len(str(MAX_TIMEOUT))
            and 1 <= int(timeout) <= MAX_TIMEOUT
        ):
            raise BadRequest(f"the parameter timeout is no number from 1 to {MAX_TIMEOUT}")
        self.seconds = float(timeout)


def check_query(query: dict[str, str], known: tuple[str, ...]) -> None:
    for name in query:
        if name not in known:
            raise BadRequest(f'unknown parameter "{name[:100]}"')
