"""The little of HTTP that the server needs, over ASGI."""

import asyncio
from collections.abc import Awaitable, Callable, MutableMapping
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any
from urllib.parse import parse_qsl

from veltrix_server.errors import BadRequest, Refusal
from veltrix_server.reply import json_text

Scope = MutableMapping[str, Any]
Receive = Callable[[], Awaitable[MutableMapping[str, Any]]]
Send = Callable[[MutableMapping[str, Any]], Awaitable[None]]

_CHUNK = 1 << 16
_MAX_PARAMETERS = 20


@dataclass(frozen=True)
class Reply:
    body: bytes
    status: int = 200
    content_type: bytes = b"application/json; charset=UTF-8"
    headers: tuple[tuple[bytes, bytes], ...] = ()


@dataclass(frozen=True)
class FileReply:
    """A JSON object whose last member's content is the text of a file."""

    before: bytes
    path: Path
    after: bytes = field(default=b"}")


def json_reply(content: object, status: int = 200) -> Reply:
    return Reply(json_text(content).encode(), status)


def text_reply(text: str) -> Reply:
    return Reply(text.encode(), content_type=b"text/plain; charset=UTF-8")


class Request:
    def __init__(self, scope: Scope, receive: Receive) -> None:
        self.method: str = scope["method"]
        self.path: str = scope["path"]
        self._query: bytes = scope["query_string"]
        self._headers: list[tuple[bytes, bytes]] = scope["headers"]
        self._receive = receive

    def header(self, name: bytes) -> bytes:
        return next((value for key, value in self._headers if key == name), b"")

    def query(self) -> dict[str, str]:
        try:
            pairs = parse_qsl(
                self._query.decode("ascii"),
                keep_blank_values=True,
                errors="strict",
                strict_parsing=bool(self._query),
                max_num_fields=_MAX_PARAMETERS,
            )
        except ValueError:
            raise BadRequest("the query cannot be read") from None
        made = dict(pairs)
        if len(made) < len(pairs):
            raise BadRequest("a parameter stands twice in the query")
        return made

    async def body(self, limit: int, seconds: float) -> bytes:
        try:
            return await asyncio.wait_for(self._read(limit), seconds)
        except TimeoutError:
            raise Refusal(408, "ERROR", "the body did not arrive in time") from None

    async def _read(self, limit: int) -> bytes:
        body = bytearray()
        while True:
            message = await self._receive()
            if message["type"] == "http.disconnect":
                raise ConnectionResetError
            body += message.get("body", b"")
            if len(body) > limit:
                raise Refusal(413, "ERROR", f"the body is longer than {limit} bytes")
            if not message.get("more_body", False):
                return bytes(body)

    async def disconnected(self) -> None:
        """Returns when the client has gone."""
        while (await self._receive())["type"] != "http.disconnect":
            pass


async def send_reply(reply: Reply | FileReply, send: Send) -> None:
    if isinstance(reply, FileReply):
        await _send_file(reply, send)
        return
    headers = [
        (b"content-type", reply.content_type),
        (b"content-length", str(len(reply.body)).encode()),
        *reply.headers,
    ]
    await send({"type": "http.response.start", "status": reply.status, "headers": headers})
    await send({"type": "http.response.body", "body": reply.body})


async def _send_file(reply: FileReply, send: Send) -> None:
    """Piece by piece, as fast as the client takes them."""
    with reply.path.open("rb") as file:
        length = len(reply.before) + reply.path.stat().st_size + len(reply.after)
        headers = [(b"content-type", Reply.content_type), (b"content-length", str(length).encode())]
        await send({"type": "http.response.start", "status": 200, "headers": headers})
        await send({"type": "http.response.body", "body": reply.before, "more_body": True})
        while chunk := file.read(_CHUNK):
            await send({"type": "http.response.body", "body": chunk, "more_body": True})
        await send({"type": "http.response.body", "body": reply.after})
