"""Which files a job may read: below the data root, or in a storage with the request's own keys."""

import os
import stat
from dataclasses import dataclass
from pathlib import Path
from urllib.parse import urlsplit

from veltrix_server.errors import BadRequest

_MAX_LENGTH = 4096
_MAX_ENTRIES = 10_000
_PATTERN_CHARACTERS = frozenset("*?[]{}\\")
_DATA_SUFFIXES = (".csv", ".tsv", ".txt", ".parquet", ".csv.gz", ".tsv.gz", ".txt.gz")


@dataclass(frozen=True)
class Location:
    """An address as Spark is given it."""

    address: str
    is_s3: bool = False


def _check_text(text: str) -> None:
    if not text:
        raise BadRequest("fileLocation is empty")
    if len(text) > _MAX_LENGTH:
        raise BadRequest(f"fileLocation is longer than {_MAX_LENGTH} characters")
    if any(ord(c) < 32 or ord(c) == 127 or 0xD800 <= ord(c) < 0xE000 for c in text):
        raise BadRequest("fileLocation holds control characters")
    # Spark would take these for a pattern of names.
    if not _PATTERN_CHARACTERS.isdisjoint(text):
        raise BadRequest("fileLocation holds one of the characters *?[]{}\\")


class Locations:
    def __init__(self, root: Path, default_authority: str = "") -> None:
        """`default_authority` is the HDFS name node that Spark is configured with."""
        self._root = root.resolve(strict=True)
        self._default_authority = default_authority

    def resolve(self, text: str) -> Location:
        """The address of a "fileLocation"; relative paths start at the data root."""
        _check_text(text)
        scheme, colon, _ = text.partition(":")
        if not colon or "/" in scheme:
            return self._local(text)
        parts = urlsplit(text)
        if scheme == "file":
            if parts.netloc:
                raise BadRequest("fileLocation: file addresses name no host")
            return self._local(text.removeprefix("file:").removeprefix("//"))
        if parts.username is not None or ".." in parts.path.split("/"):
            raise BadRequest("fileLocation: no credentials and no .. in an address")
        if scheme == "s3a" and parts.netloc and parts.path.strip("/"):
            return Location(text, is_s3=True)
        if scheme == "hdfs" and parts.netloc in ("", self._default_authority):
            return Location(text)
        raise BadRequest(
            "fileLocation: expected a path below the data root, s3a://BUCKET/KEY, or hdfs:///PATH"
        )

    def _local(self, text: str) -> Location:
        path = Path(os.path.realpath(self._root / text))
        if not path.is_relative_to(self._root):
            raise BadRequest("fileLocation lies outside the data root")
        try:
            mode = path.stat().st_mode
        except OSError:
            raise BadRequest("fileLocation names no file below the data root") from None
        if stat.S_ISDIR(mode):
            self._check_folder(path)
        elif not stat.S_ISREG(mode):
            raise BadRequest("fileLocation is neither a file nor a folder")
        return Location(f"file:{path}")

    def _check_folder(self, folder: Path) -> None:
        """What Spark finds in a folder must not lead out of the root either."""
        entries = 0
        for parent, folders, files in os.walk(folder):
            for name in folders + files:
                entries += 1
                path = Path(parent, name)
                mode = path.lstat().st_mode
                if not (stat.S_ISREG(mode) or stat.S_ISDIR(mode)):
                    raise BadRequest("fileLocation holds links or special files")
                if entries > _MAX_ENTRIES:
                    raise BadRequest(f"fileLocation holds more than {_MAX_ENTRIES} files")
        if not entries:
            raise BadRequest("fileLocation is an empty folder")

    def data_sets(self) -> list[str]:
        """Paths, relative to the root and in ascending order, of delimited text and Parquet files;
        a folder that is named like one counts as one. Links and hidden entries are passed over."""
        found: list[str] = []
        for parent, folders, files in os.walk(self._root):
            base = Path(parent)
            sets = [name for name in folders if name.endswith(_DATA_SUFFIXES)]
            folders[:] = [name for name in folders if name not in sets and name[0] not in "._"]
            for name in sets + [name for name in files if name.endswith(_DATA_SUFFIXES)]:
                path = base / name
                if name[0] not in "._" and not path.is_symlink():
                    found.append(path.relative_to(self._root).as_posix())
            if len(found) > _MAX_ENTRIES:
                break
        return sorted(found)[:_MAX_ENTRIES]
