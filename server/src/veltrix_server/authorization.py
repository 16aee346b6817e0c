"""Who may ask: a bearer token or basic credentials, compared in constant time."""

import base64
import hmac
import stat
from pathlib import Path

from veltrix_server.configuration import Configuration

_SHORTEST_SECRET = 8


def _secret_text(path: Path) -> str:
    """The text of a file that nobody else may read."""
    if path.stat().st_mode & (stat.S_IRWXG | stat.S_IRWXO):
        raise ValueError(f"{path} can be read by others; take their rights away (chmod 600)")
    return path.read_text(encoding="utf-8")


def _basic(line: str) -> bytes:
    return b"Basic " + base64.b64encode(line.encode())


class Authorization:
    """The values of the header "Authorization" that are let in; without any, all requests are."""

    def __init__(self, configuration: Configuration) -> None:
        self._accepted: list[bytes] = []
        if configuration.token_file is not None:
            token = _secret_text(configuration.token_file).strip()
            self._add(token, b"Bearer " + token.encode(), configuration.token_file)
        if configuration.users_file is not None:
            for line in _secret_text(configuration.users_file).splitlines():
                if line.strip():
                    self._add(line.partition(":")[2], _basic(line), configuration.users_file)
        if not self._accepted and (configuration.token_file or configuration.users_file):
            raise ValueError("the file of credentials is empty")

    def _add(self, secret: str, header: bytes, path: Path) -> None:
        if len(secret) < _SHORTEST_SECRET:
            raise ValueError(f"{path}: a secret is shorter than {_SHORTEST_SECRET} characters")
        self._accepted.append(header)

    def allows(self, header: bytes) -> bool:
        if not self._accepted:
            return True
        # Every entry is compared, so that the time tells nothing.
        return any([hmac.compare_digest(header, accepted) for accepted in self._accepted])
