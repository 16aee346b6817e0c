"""What the server is told at its start."""

import argparse
import ipaddress
from dataclasses import dataclass
from pathlib import Path

MAX_TIMEOUT = 21474835
"""Seconds of the longest time-out that the protocol knows."""


@dataclass(frozen=True)
class Limits:
    """Bounds of everything that a client could make grow."""

    body: int = 1 << 20
    """Bytes of a request's body."""
    rows: int = 1_000_000
    """Rows of a sample."""
    groups: int = 100_000
    """Groups of a summary."""
    reply: int = 256 << 20
    """Bytes of a reply."""
    running: int = 1
    """Jobs that run at once; more than one may finish out of turn."""
    waiting: int = 100
    """Jobs that wait for their turn."""
    kept: int = 100
    """Ended jobs that are remembered with their results."""
    keep_seconds: float = 3600.0
    """How long an ended job is remembered."""
    job_seconds: float = float(MAX_TIMEOUT)
    """How long a job may take, waiting included, whatever its submitter allows."""
    receive_seconds: float = 30.0
    """How long a request's body may take to arrive."""
    drain_seconds: float = 60.0
    """How long jobs may go on after the signal to end."""
    connections: int = 256
    """Connections at once."""


@dataclass(frozen=True)
class Configuration:
    data_root: Path
    host: str = "127.0.0.1"
    port: int = 8090
    app_name: str = "samplingApp"
    master: str = "local[*]"
    driver_memory: str = "512m"
    spark: tuple[tuple[str, str], ...] = ()
    """Further settings of Spark."""
    jars: tuple[str, ...] = ()
    token_file: Path | None = None
    users_file: Path | None = None
    limits: Limits = Limits()

    def __post_init__(self) -> None:
        if not self.data_root.is_dir():
            raise ValueError(f"--data-root: {self.data_root} is no folder")
        has_credentials = self.token_file is not None or self.users_file is not None
        if not has_credentials and not is_loopback(self.host):
            raise ValueError(
                f"--host: {self.host} can be reached from elsewhere; give --token-file or "
                "--users-file as well"
            )


def is_loopback(host: str) -> bool:
    """Whether only this machine reaches the address."""
    try:
        return ipaddress.ip_address(host.strip("[]")).is_loopback
    except ValueError:
        return host == "localhost"


def _setting(text: str) -> tuple[str, str]:
    name, equals, value = text.partition("=")
    if not (name and equals):
        raise argparse.ArgumentTypeError(f'"{text}" is not of the form NAME=VALUE')
    return name, value


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="veltrix-server",
        description="Runs sampling, summary and schema jobs on Apache Spark.",
        formatter_class=argparse.ArgumentDefaultsHelpFormatter,
    )
    usual = Configuration(Path("/"))
    limits = usual.limits
    add = parser.add_argument
    add("--data-root", type=Path, required=True, help="folder whose files jobs may read")
    add("--host", default=usual.host, help="address to listen on")
    add("--port", type=int, default=usual.port, help="port to listen on")
    add("--app", default=usual.app_name, help="name of the application that clients ask for")
    add("--master", default=usual.master, help="master of Spark")
    add("--driver-memory", default=usual.driver_memory, help="heap of Spark's driver")
    add(
        "--spark",
        type=_setting,
        action="append",
        default=[],
        metavar="NAME=VALUE",
        help="a setting of Spark; repeatable",
    )
    add("--jar", action="append", default=[], help="further jar of Spark; repeatable")
    add("--token-file", type=Path, help="file with the bearer token that requests must carry")
    add("--users-file", type=Path, help="file of name:password lines for basic credentials")
    numbers = (
        ("body", int, "bytes of a request's body"),
        ("rows", int, "rows of a sample"),
        ("groups", int, "groups of a summary"),
        ("reply", int, "bytes of a reply"),
        ("running", int, "jobs that run at once"),
        ("waiting", int, "jobs that wait for their turn"),
        ("kept", int, "ended jobs that are remembered"),
        ("keep-seconds", float, "how long an ended job is remembered"),
        ("job-seconds", float, "how long a job may take"),
        ("receive-seconds", float, "how long a request's body may take to arrive"),
        ("drain-seconds", float, "how long jobs may go on after SIGTERM"),
        ("connections", int, "connections at once"),
    )
    group = parser.add_argument_group("limits")
    for name, kind, text in numbers:
        default = getattr(limits, name.replace("-", "_"))
        group.add_argument(
            f"--max-{name}" if kind is int else f"--{name}",
            dest=f"limit_{name.replace('-', '_')}",
            type=kind,
            default=default,
            help=text,
        )
    return parser


def parse(arguments: list[str]) -> Configuration:
    """The configuration of a command line; ends the program with a message for a wrong one."""
    parser = _parser()
    found = parser.parse_args(arguments)
    limits = {
        name.removeprefix("limit_"): value
        for name, value in vars(found).items()
        if name.startswith("limit_")
    }
    for name, value in limits.items():
        if value < (0 if name == "waiting" else 1):
            parser.error(f"the limit {name} is {value}, expected 1 or more")
    try:
        return Configuration(
            data_root=found.data_root,
            host=found.host,
            port=found.port,
            app_name=found.app,
            master=found.master,
            driver_memory=found.driver_memory,
            spark=tuple(found.spark),
            jars=tuple(found.jar),
            token_file=found.token_file,
            users_file=found.users_file,
            limits=Limits(**limits),
        )
    except ValueError as error:
        parser.error(str(error))
