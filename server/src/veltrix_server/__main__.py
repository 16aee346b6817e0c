"""Starts the server."""

import asyncio
import signal
import sys
from types import FrameType

import uvicorn

from veltrix_server import configuration, log
from veltrix_server.application import Application
from veltrix_server.configuration import Configuration
from veltrix_server.engine import Engine


class _Server(uvicorn.Server):
    """Drains at the first signal to end, and ends at the second."""

    def __init__(self, settings: uvicorn.Config, application: Application) -> None:
        super().__init__(settings)
        self._application = application
        self._drainage: asyncio.Task[None] | None = None

    async def startup(self, sockets: list | None = None) -> None:  # type: ignore[type-arg]
        await super().startup(sockets)
        for server in self.servers:
            for socket in server.sockets:
                log.event("listening", port=socket.getsockname()[1])

    def handle_exit(self, sig: int, frame: FrameType | None) -> None:
        if self._drainage is not None or sig == signal.SIGINT:
            super().handle_exit(sig, frame)
            return
        loop = asyncio.get_event_loop()
        self._drainage = loop.create_task(self._drain())
        loop.call_soon_threadsafe(lambda: None)

    async def _drain(self) -> None:
        await self._application.drain()
        self.should_exit = True


def serve(settings: Configuration) -> None:
    application = Application(settings, Engine(settings))
    server = _Server(
        uvicorn.Config(
            application,
            host=settings.host,
            port=settings.port,
            log_config=None,
            access_log=False,
            server_header=False,
            http="h11",
            ws="none",
            lifespan="on",
            limit_concurrency=settings.limits.connections,
            timeout_keep_alive=5,
            timeout_graceful_shutdown=30,
        ),
        application,
    )
    server.run()


def main() -> None:
    try:
        serve(configuration.parse(sys.argv[1:]))
    except ValueError as error:
        sys.exit(f"veltrix-server: {error}")


if __name__ == "__main__":
    main()
