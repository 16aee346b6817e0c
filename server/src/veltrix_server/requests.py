"""Bodies of job requests: checked text becomes typed values; nothing unknown gets through."""

import json
import math
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

from veltrix_server.configuration import Limits
from veltrix_server.errors import BadRequest

CREDENTIALS = ("awsAccessKey", "awsSecretKey")
_INT32 = 1 << 31
_MAX_TEXT = 4096
_MAX_COLUMNS = 10_000
_MAX_DELIMITER = 8

JsonObject = dict[str, Any]


@dataclass(frozen=True)
class Keys:
    """Keys of a storage; they do not show when printed."""

    access: str = field(default="", repr=False)
    secret: str = field(default="", repr=False)


@dataclass(frozen=True)
class FileRequest:
    """The file of a job and how to read it."""

    location: str
    delimiter: str
    has_header: bool
    is_parquet: bool
    keys: Keys


@dataclass(frozen=True)
class SamplingRequest:
    file: FileRequest
    columns: tuple[str, ...]
    size: int | None
    """Rows of an exact sample; None for one by `fraction`."""
    fraction: float
    with_replacement: bool
    seed: int
    row_ids: bool


@dataclass(frozen=True)
class SummaryRequest:
    file: FileRequest
    columns: tuple[str, ...]
    groups: tuple[str, ...]
    aggregation: int
    counts: bool
    statistics: bool


@dataclass(frozen=True)
class SchemaRequest:
    file: FileRequest


@dataclass(frozen=True)
class DataListRequest:
    pass


JobRequest = SamplingRequest | SummaryRequest | SchemaRequest | DataListRequest

_FILE = {
    "fileLocation",
    "isHeader",
    "delimiters",
    "isCorvalaCluster",
    "userID",
    "isParquet",
    "startTime",
    *CREDENTIALS,
}


class _Body:
    """Typed reading of a body's keys."""

    def __init__(self, body: JsonObject, known: set[str]) -> None:
        for key in body:
            if key not in known:
                raise BadRequest(f'unknown key "{key[:100]}"')
        self._body = body

    def __contains__(self, key: str) -> bool:
        return key in self._body

    def _get(self, key: str, default: object, kinds: tuple[type, ...], name: str) -> Any:  # noqa: ANN401
        value = self._body.get(key, default)
        if value is ...:
            raise BadRequest(f'the key "{key}" is missing')
        if type(value) not in kinds:
            raise BadRequest(f'"{key}" is no {name}')
        return value

    def flag(self, key: str, default: object = False) -> bool:
        return self._get(key, default, (bool,), "boolean")

    def text(self, key: str, default: object = "") -> str:
        text: str = self._get(key, default, (str,), "string")
        if len(text) > _MAX_TEXT:
            raise BadRequest(f'"{key}" is longer than {_MAX_TEXT} characters')
        return text

    def integer(self, key: str, default: object, least: int = -_INT32) -> int:
        value: int = self._get(key, default, (int,), "integer")
        if not least <= value < _INT32:
            raise BadRequest(f'"{key}" is out of range, expected {least} to {_INT32 - 1}')
        return value

    def number(self, key: str) -> float:
        try:
            value = float(self._get(key, ..., (int, float), "number"))
        except OverflowError:
            value = math.inf
        if not math.isfinite(value):
            raise BadRequest(f'"{key}" is no finite number')
        return value

    def names(self, key: str) -> tuple[str, ...]:
        names: list[object] = self._get(key, [], (list,), "array")
        if len(names) > _MAX_COLUMNS:
            raise BadRequest(f'"{key}" has more than {_MAX_COLUMNS} entries')
        for name in names:
            if type(name) is not str or not name or len(name) > _MAX_TEXT:
                raise BadRequest(f'"{key}" holds an entry that is no name')
        if len(set(names)) < len(names):
            raise BadRequest(f'"{key}" names a column twice')
        return tuple(str(name) for name in names)

    def file(self) -> FileRequest:
        delimiter = self.text("delimiters")
        if len(delimiter) > _MAX_DELIMITER or not {'"', "\n", "\r", "\0"}.isdisjoint(delimiter):
            raise BadRequest(
                '"delimiters" parts no cells, expected up to 8 characters, none of '
                "them a quote or an end of line"
            )
        self.flag("isCorvalaCluster")
        self.integer("userID", 0)
        self.text("startTime")
        return FileRequest(
            location=self.text("fileLocation", ...),
            delimiter=delimiter or ",",
            has_header=self.flag("isHeader"),
            is_parquet=self.flag("isParquet"),
            keys=Keys(self.text("awsAccessKey"), self.text("awsSecretKey")),
        )


def _sampling(json_body: JsonObject, limits: Limits) -> SamplingRequest:
    body = _Body(
        json_body,
        _FILE
        | {
            "isApproximateSampling",
            "sampleFraction",
            "sampleSize",
            "isSampleWithReplacement",
            "randomSeed",
            "trackRowID",
            "selectedVars",
        },
    )
    approximate = body.flag("isApproximateSampling", ...)
    with_replacement = body.flag("isSampleWithReplacement")
    if ("sampleSize" in body) == approximate or ("sampleFraction" in body) != approximate:
        raise BadRequest(
            'expected "sampleFraction" for approximate sampling, otherwise '
            '"sampleSize", and not the other'
        )
    size = None if approximate else body.integer("sampleSize", ..., 0)
    fraction = body.number("sampleFraction") if approximate else 0.0
    if size is not None and size > limits.rows:
        raise BadRequest(f'"sampleSize" is {size}, the server sends at most {limits.rows} rows')
    if fraction < 0 or (fraction > 1 and not with_replacement) or fraction > limits.rows:
        raise BadRequest('"sampleFraction" is out of range, expected 0 to 1')
    columns = body.names("selectedVars")
    if not columns:
        raise BadRequest('"selectedVars" names no column')
    return SamplingRequest(
        body.file(),
        columns,
        size,
        fraction,
        with_replacement,
        body.integer("randomSeed", 0),
        body.flag("trackRowID"),
    )


def _summary(json_body: JsonObject, _limits: Limits) -> SummaryRequest:
    body = _Body(
        json_body,
        _FILE | {"aggType", "computeCounts", "computeSummaryStats", "selectedVars", "groupVars"},
    )
    columns, groups = body.names("selectedVars"), body.names("groupVars")
    aggregation = body.integer("aggType", 1)
    if not 1 <= aggregation <= 6:
        raise BadRequest('"aggType" is out of range, expected 1 to 6')
    counts = body.flag("computeCounts")
    if not columns and not (groups and counts):
        raise BadRequest('"selectedVars" names no column')
    return SummaryRequest(
        body.file(), columns, groups, aggregation, counts, body.flag("computeSummaryStats")
    )


def _schema(json_body: JsonObject, _limits: Limits) -> SchemaRequest:
    return SchemaRequest(_Body(json_body, _FILE).file())


def _data_list(json_body: JsonObject, _limits: Limits) -> DataListRequest:
    _Body(json_body, set())
    return DataListRequest()


READERS: dict[str, Callable[[JsonObject, Limits], JobRequest]] = {
    "quorvan.spark.sampling.SamplingApplication": _sampling,
    "quorvan.spark.summarization.SummarizationApplication": _summary,
    "quorvan.spark.InferSchemaApplication": _schema,
    "quorvan.spark.DataList": _data_list,
}
"""What reads the body of each class path."""


def _unique_keys(pairs: list[tuple[str, object]]) -> JsonObject:
    made = dict(pairs)
    if len(made) < len(pairs):
        raise ValueError("a key stands twice")
    return made


def _no_constant(text: str) -> object:
    raise ValueError(f"{text} is no JSON")


def parse_body(data: bytes) -> JsonObject:
    """The JSON object of a body; strict."""
    try:
        body = json.loads(
            data.decode("utf-8"), object_pairs_hook=_unique_keys, parse_constant=_no_constant
        )
    except (ValueError, RecursionError) as error:
        reason = str(error) if type(error) is ValueError else "it cannot be read"
        raise BadRequest(f"the body is no JSON: {reason[:100]}") from None
    if type(body) is not dict:
        raise BadRequest("the body is no JSON object")
    return body


def public(body: JsonObject) -> JsonObject:
    """The configuration that is kept and echoed: without credentials."""
    return {key: value for key, value in body.items() if key not in CREDENTIALS}
