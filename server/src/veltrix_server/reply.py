"""Results on disk: a job writes its result into a file, and every reply streams that file."""

import json
import os
import tempfile
from collections.abc import Iterable
from pathlib import Path
from types import TracebackType
from typing import Any

from veltrix_server.errors import JobFailure


def json_text(content: object) -> str:
    return json.dumps(content, allow_nan=False, separators=(",", ":"))


class ResultWriter:
    """Writes one JSON object, member by member, and never more than the limit. What is not
    committed is gone when the context ends."""

    def __init__(self, folder: Path, limit: int) -> None:
        handle, name = tempfile.mkstemp(dir=folder, suffix=".json")
        self._file = os.fdopen(handle, "w", encoding="utf-8")
        self._path = Path(name)
        self._left = limit
        self._opening = "{"
        self._is_whole = False

    def __enter__(self) -> "ResultWriter":
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self._file.close()
        if not self._is_whole:
            self._path.unlink(missing_ok=True)

    def member(self, name: str, content: Any) -> None:  # noqa: ANN401
        self._write(f"{self._opening}{json_text(name)}:{json_text(content)}")
        self._opening = ","

    def rows(self, name: str, rows: Iterable[str]) -> None:
        """An array of rows that are JSON already."""
        self._write(f"{self._opening}{json_text(name)}:[")
        self._opening = ","
        comma = ""
        for row in rows:
            self._write(comma + row)
            comma = ","
        self._write("]")

    def commit(self) -> Path:
        self._write("}")
        self._file.close()
        self._is_whole = True
        return self._path

    def _write(self, text: str) -> None:
        # A character is at least a byte; the rest is looked at where bytes are counted.
        self._left -= len(text)
        if self._left < 0:
            raise JobFailure("The result is larger than the server's limit")
        self._file.write(text)
