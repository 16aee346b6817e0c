"""The context of the server: one Spark session under the name of its first asker."""

import asyncio
import re

from veltrix_server import log
from veltrix_server.engine import Engine
from veltrix_server.errors import BadRequest, NotFound, Refusal

_NAME = re.compile(r"[\w .-]{1,128}")


class Contexts:
    def __init__(self, engine: Engine) -> None:
        self._engine = engine
        self._name: str | None = None
        self._lock = asyncio.Lock()

    async def running(self) -> list[str]:
        await self._forget_lost()
        return [] if self._name is None else [self._name]

    async def create(self, name: str) -> None:
        """Starts Spark; a context of that name that runs already is left as it is."""
        if not _NAME.fullmatch(name):
            raise BadRequest(
                "the name of a context is 1 to 128 letters, digits and _ . - or blanks"
            )
        async with self._lock:
            await self._forget_lost()
            if self._name == name:
                return
            if self._name is not None:
                raise BadRequest(f"context {self._name} runs, and there can be one only")
            try:
                await asyncio.to_thread(self._engine.start)
            except Exception as error:
                log.event("context failed", error=type(error).__name__)
                raise Refusal(500, "CONTEXT INIT ERROR", "Spark cannot be started") from error
            self._name = name
            log.event("context started", master=self._engine.master)

    async def require(self, name: str) -> None:
        if name not in await self.running():
            raise NotFound(f"context {name} not found")

    async def _forget_lost(self) -> None:
        if self._name is not None and not await asyncio.to_thread(self._engine.is_alive):
            log.event("context lost")
            self._name = None

    async def stop(self) -> None:
        self._name = None
        await asyncio.to_thread(self._engine.stop)
