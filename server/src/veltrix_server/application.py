"""The ASGI application: from requests to the contexts and jobs, and back to replies."""

import asyncio
import contextlib
import functools
import tempfile
import time
from collections.abc import Awaitable, Callable
from pathlib import Path
from typing import cast

from veltrix_server import log, protocol
from veltrix_server.authorization import Authorization
from veltrix_server.configuration import Configuration
from veltrix_server.contexts import Contexts
from veltrix_server.engine import Engine, Run
from veltrix_server.errors import NotFound, Refusal
from veltrix_server.http import (
    FileReply,
    Receive,
    Reply,
    Request,
    Scope,
    Send,
    json_reply,
    send_reply,
    text_reply,
)
from veltrix_server.jobs.work import Work, perform
from veltrix_server.kinds import KINDS
from veltrix_server.locations import Locations
from veltrix_server.protocol import Submission, check_query
from veltrix_server.registry import Job, Registry, State, new_job_id
from veltrix_server.requests import READERS, parse_body, public

Answer = Reply | FileReply
Handler = Callable[..., Awaitable[Answer]]


class Application:
    def __init__(self, configuration: Configuration, engine: Engine) -> None:
        self._configuration = configuration
        self._limits = configuration.limits
        self._authorization = Authorization(configuration)
        self._engine = engine
        default_system = dict(configuration.spark).get("spark.hadoop.fs.defaultFS", "")
        self._locations = Locations(
            configuration.data_root, default_system.removeprefix("hdfs://").rstrip("/")
        )
        self._contexts = Contexts(engine)
        self._registry = Registry(configuration.limits)
        self._folder = tempfile.TemporaryDirectory(prefix="veltrix-server-")
        self._routes: dict[tuple[str, ...], dict[str, Handler]] = {
            ("healthz",): {"GET": self._health},
            ("contexts",): {"GET": self._list_contexts},
            ("contexts", "*"): {"POST": self._create_context},
            ("jobs",): {"GET": self._list_jobs, "POST": self._submit},
            ("jobs", "*"): {"GET": self._result, "DELETE": self._delete},
            ("jobs", "*", "jobStatusFull"): {"GET": self._status},
            ("jobs", "*", "config"): {"GET": self._config},
        }

    async def __call__(self, scope: Scope, receive: Receive, send: Send) -> None:
        if scope["type"] == "lifespan":
            await self._live(receive, send)
        elif scope["type"] == "http":
            await self._serve(Request(scope, receive), send)

    async def drain(self) -> None:
        """Lets the jobs end, and takes no more."""
        await self._registry.drain(self._limits.drain_seconds)

    async def _live(self, receive: Receive, send: Send) -> None:
        await receive()
        sweeping = asyncio.create_task(self._registry.sweep())
        await send({"type": "lifespan.startup.complete"})
        await receive()
        sweeping.cancel()
        await self.drain()
        await self._contexts.stop()
        self._folder.cleanup()
        await send({"type": "lifespan.shutdown.complete"})

    async def _serve(self, request: Request, send: Send) -> None:
        started = time.monotonic()
        reply = await self._answer(request)
        if reply is None:
            return
        await send_reply(reply, send)
        if request.path != "/healthz":
            log.event(
                "request",
                method=request.method,
                status=reply.status if isinstance(reply, Reply) else 200,
                seconds=round(time.monotonic() - started, 3),
            )

    async def _answer(self, request: Request) -> Answer | None:
        try:
            handler, names = self._route(request)
            return await handler(request, *names)
        except Refusal as refusal:
            reply = json_reply(
                {
                    "status": refusal.label,
                    "result": protocol.failure(refusal.message, type(refusal).__name__),
                },
                refusal.status,
            )
            if refusal.status != 401:
                return reply
            return Reply(reply.body, 401, headers=((b"www-authenticate", b"Bearer, Basic"),))
        except ConnectionResetError:
            return None
        except Exception as error:
            log.event("request broke", error=type(error).__name__)
            return json_reply({"status": "ERROR", "result": "The server failed"}, 500)

    def _route(self, request: Request) -> tuple[Handler, list[str]]:
        """The handler of the path, and what stands in the path's free segments."""
        segments = request.path.removeprefix("/").split("/")
        if segments != ["healthz"] and not self._authorization.allows(
            request.header(b"authorization")
        ):
            raise Refusal(401, "ERROR", "the request carries no credentials that are accepted")
        # Pages in a browser have no business here.
        if request.header(b"origin"):
            raise Refusal(403, "ERROR", "requests of other origins are refused")
        for pattern, methods in self._routes.items():
            if len(pattern) == len(segments) and all(
                free in ("*", found) for free, found in zip(pattern, segments, strict=True)
            ):
                if request.method not in methods:
                    raise Refusal(405, "ERROR", f"{request.method} is not allowed here")
                names = [
                    found for free, found in zip(pattern, segments, strict=True) if free == "*"
                ]
                return methods[request.method], names
        raise NotFound("there is nothing under this path")

    async def _health(self, _request: Request) -> Answer:
        return text_reply("OK")

    async def _list_contexts(self, request: Request) -> Answer:
        check_query(request.query(), ())
        return json_reply(await self._contexts.running())

    async def _create_context(self, request: Request, name: str) -> Answer:
        check_query(request.query(), ("context-factory",))
        await self._contexts.create(name)
        return text_reply("OK")

    async def _list_jobs(self, request: Request) -> Answer:
        check_query(request.query(), ())
        return json_reply([protocol.report(job) for job in self._registry.reports()])

    def _find(self, request: Request, job_id: str) -> Job:
        check_query(request.query(), ())
        job = self._registry.find(job_id)
        if job is None:
            raise NotFound(f"No such job ID {job_id[:100]}")
        return job

    async def _status(self, request: Request, job_id: str) -> Answer:
        return json_reply(protocol.report(self._find(request, job_id)))

    async def _config(self, request: Request, job_id: str) -> Answer:
        return json_reply(self._find(request, job_id).config)

    async def _result(self, request: Request, job_id: str) -> Answer:
        return self._result_of(self._find(request, job_id))

    def _result_of(self, job: Job) -> Answer:
        if job.state is State.FINISHED:
            return FileReply(b'{"status":"OK","result":', cast("Path", job.result))
        if job.state is State.ERROR:
            return json_reply(protocol.error_of(job))
        return json_reply({"status": "RUNNING"})

    async def _delete(self, request: Request, job_id: str) -> Answer:
        job = self._find(request, job_id)
        if job.is_over:
            raise NotFound(f"No running job with ID {job_id}")
        await self._registry.cancel(job, "The job was cancelled")
        return json_reply({"status": "KILLED"})

    async def _submit(self, request: Request) -> Answer:
        submission = Submission(request.query(), self._configuration.app_name)
        content_type = request.header(b"content-type").split(b";")[0].strip().lower()
        if content_type != b"application/json":
            raise Refusal(415, "ERROR", "the body is not application/json")
        body = parse_body(await request.body(self._limits.body, self._limits.receive_seconds))
        job = self._job(submission, body)
        await self._contexts.require(submission.context)
        self._registry.submit(job, submission.seconds)
        if not submission.is_sync:
            return json_reply(protocol.started(job), 202)
        return await self._wait(request, job)

    def _job(self, submission: Submission, body: dict[str, object]) -> Job:
        job_request = READERS[submission.class_path](body, self._limits)
        file = getattr(job_request, "file", None)
        location = None if file is None else self._locations.resolve(file.location)
        job_id = new_job_id()
        run = Run(self._engine, job_id)
        work = Work(run, job_request, location, self._locations, public(body), self._limits)
        task = functools.partial(perform, KINDS[type(job_request)], work, Path(self._folder.name))
        return Job(submission.class_path, submission.context, work.config, run, task, job_id)

    async def _wait(self, request: Request, job: Job) -> Answer:
        """The result of a synchronous job, which ends with the connection of its submitter."""
        gone = asyncio.create_task(request.disconnected())
        done = asyncio.create_task(job.done.wait())
        await asyncio.wait((gone, done), return_when=asyncio.FIRST_COMPLETED)
        gone.cancel()
        with contextlib.suppress(asyncio.CancelledError):
            await gone
        if not job.is_over:
            done.cancel()
            await self._registry.cancel(job, "The client has gone")
            raise ConnectionResetError
        reply = self._result_of(job)
        if job.error is not None and job.error[1] == "JobCancelled":
            return Reply(cast("Reply", reply).body, 500)
        return reply
