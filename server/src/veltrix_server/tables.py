"""Files as tables of Spark. Columns are called c0, c1, … inside, so that no name of a file can mean
anything to Spark."""

from dataclasses import dataclass

from pyspark.sql import Column, DataFrame, DataFrameReader, Row, SparkSession
from pyspark.sql import functions as F  # noqa: N812

from veltrix_server import cells
from veltrix_server.errors import JobFailure
from veltrix_server.locations import Location
from veltrix_server.requests import FileRequest

_QUOTE = '"'
_HADOOP_ANONYMOUS = "org.apache.hadoop.fs.s3a.AnonymousAWSCredentialsProvider"
_HADOOP_WITH_KEYS = "org.apache.hadoop.fs.s3a.SimpleAWSCredentialsProvider"


GROUP_COUNT_ERROR = 0.02
"""Relative standard error of approximate counts of groups."""

_SURELY_FILLED = 64
"""Bytes of a line that is not looked at for being blank."""


def internal(place: int) -> Column:
    return F.col(f"c{place}")


@dataclass(frozen=True)
class Block:
    """A run of a file's rows that one task reads. Rows carry numbers that Spark gives them,
    consecutive within a block; `offset` rows stand before the block in the file."""

    first: int
    count: int
    offset: int


class Table:
    """A file, opened: its columns are known, its rows are not read."""

    names: list[str]
    is_text = False
    """Whether cells are texts whatever they hold."""

    def __init__(self, session: SparkSession, request: FileRequest, location: Location) -> None:
        self._session = session
        self._request = request
        self._location = location

    def _reader(self) -> DataFrameReader:
        """Keys go with this reading only: neither the session nor a cached connection has them."""
        reader = self._session.read
        if not self._location.is_s3:
            return reader
        keys = self._request.keys
        options = {
            "fs.s3a.impl.disable.cache": "true",
            "fs.s3a.aws.credentials.provider": _HADOOP_ANONYMOUS,
        }
        if keys.access or keys.secret:
            options |= {
                "fs.s3a.aws.credentials.provider": _HADOOP_WITH_KEYS,
                "fs.s3a.access.key": keys.access,
                "fs.s3a.secret.key": keys.secret,
            }
        return reader.options(**options)

    def places(self, names: tuple[str, ...]) -> list[int]:
        """Where columns stand in the file."""
        place_of = {name: place for place, name in enumerate(self.names)}
        missing = [name for name in names if name not in place_of]
        if missing:
            raise JobFailure(f'The file has no column "{missing[0]}"')
        return [place_of[name] for name in names]

    def columns(self, places: list[int]) -> DataFrame:
        """Columns of all rows, under their internal names."""
        raise NotImplementedError

    def numbered(self, places: list[int]) -> DataFrame:
        """Rows with the number Spark gives each ("number"), the file ("path") and where in it the
        block of their task starts ("start"). `parsed`, which is worth storing, and then `unpacked`
        make internal columns of those that were picked."""
        raise NotImplementedError

    def parsed(self, picked: DataFrame) -> DataFrame:
        return picked

    def unpacked(self, parsed: DataFrame) -> DataFrame:
        return parsed

    def count_groups(self, places: list[int]) -> int:
        """About how many groups of rows the columns make: a sketch of each task's rows is all that
        leaves it."""
        keys = F.xxhash64(*(internal(place) for place in places))
        return self.columns(places).agg(F.approx_count_distinct(keys, GROUP_COUNT_ERROR)).head()[0]

    def known_type(self, place: int) -> str | None:
        """The type of a column where the file tells it."""
        return None

    def blocks(self) -> list[Block]:
        """Where the rows of the file are, in the order of the file."""
        found = self.numbered([]).groupBy("path", "start").agg(*_of_block()).collect()
        return _in_order([(row["first"], row["count"]) for row in sorted(found)])

    def types(self, frame: DataFrame, places: list[int]) -> dict[int, str]:
        """Types of columns of a frame with internal names."""
        raise NotImplementedError

    def json(self, place: int, kind: str) -> Column:
        raise NotImplementedError

    def described(self, types: dict[int, str]) -> list[tuple[str, str]]:
        """Names of all columns with the types that are known."""
        return [(name, types.get(place, "")) for place, name in enumerate(self.names)]


def _of_block() -> list[Column]:
    return [F.min("number").alias("first"), F.count("*").alias("count")]


def _in_order(found: list[tuple[int, int]]) -> list[Block]:
    blocks = []
    offset = 0
    for first, count in found:
        if count > 0:
            blocks.append(Block(first, count, offset))
            offset += count
    return blocks


def _numbered(frame: DataFrame, *payload: Column) -> DataFrame:
    return frame.select(
        *payload,
        F.monotonically_increasing_id().alias("number"),
        F.col("_metadata.file_path").alias("path"),
        F.col("_metadata.file_block_start").alias("start"),
    )


class ParquetTable(Table):
    def __init__(self, session: SparkSession, request: FileRequest, location: Location) -> None:
        super().__init__(session, request, location)
        self._frame = self._reader().parquet(location.address)
        self.names = self._frame.columns
        self._types = [kind for _, kind in self._frame.dtypes]

    def columns(self, places: list[int]) -> DataFrame:
        return self._frame.select(*self._payload(places))

    def _payload(self, places: list[int]) -> list[Column]:
        quoted = [self.names[place].replace("`", "``") for place in places]
        return [
            F.col(f"`{name}`").alias(f"c{place}")
            for name, place in zip(quoted, places, strict=True)
        ]

    def numbered(self, places: list[int]) -> DataFrame:
        return _numbered(self._frame, *self._payload(places))

    def types(self, frame: DataFrame, places: list[int]) -> dict[int, str]:
        return {place: self._types[place] for place in places}

    def known_type(self, place: int) -> str | None:
        return self._types[place]

    def described(self, types: dict[int, str]) -> list[tuple[str, str]]:
        return list(zip(self.names, self._types, strict=True))

    def json(self, place: int, kind: str) -> Column:
        return cells.json_of_typed(internal(place), kind)


class CsvTable(Table):
    """Delimited text. Its lines are read apart wherever they can be, as a block of lines is cut out
    of a file of any size; only where a quoted cell spans lines is a file read as a whole by one
    task."""

    is_text = True

    def __init__(self, session: SparkSession, request: FileRequest, location: Location) -> None:
        super().__init__(session, request, location)
        reader = self._csv(multi_line=True, has_header=False).option("nullValue", "")
        head = reader.csv(location.address).head()
        if head is None:
            raise JobFailure("The file is empty")
        self.names = _column_names(list(head) if request.has_header else [None] * len(head))
        self._schema = ", ".join(f"c{place} string" for place in range(len(self.names)))
        self._spans: bool | None = None

    def _options(self) -> dict[str, str]:
        return {
            "sep": self._request.delimiter,
            "quote": _QUOTE,
            "escape": _QUOTE,
            "nullValue": cells.MISSING_TEXT,
            "mode": "PERMISSIVE",
        }

    def _csv(self, multi_line: bool, has_header: bool) -> DataFrameReader:
        return self._reader().options(**self._options(), multiLine=multi_line, header=has_header)

    def _lines(self) -> DataFrame:
        lines = self._reader().text(self._location.address)
        return lines.where((F.octet_length("value") > _SURELY_FILLED) | (F.trim("value") != ""))

    @property
    def spans_lines(self) -> bool:
        """Whether a quoted cell holds an end of line: a line has an odd number of quotes then."""
        if self._spans is None:
            self._spans = bool(self._lines().agg(F.max(_has_odd_quotes())).head()[0])
        return self._spans

    def count_groups(self, places: list[int]) -> int:
        """Of lines without quotes the cells are cut out, which takes no parser; the same pass finds
        out whether cells span lines."""
        cut = [_cell_of_line(self._request.delimiter, place) for place in places]
        parsed = F.from_csv("value", self._schema, self._options())
        whole = [F.coalesce(parsed.getField(f"c{place}"), F.lit("")) for place in places]
        key = F.when(F.col("value").contains(_QUOTE), F.xxhash64(*whole)).otherwise(
            F.xxhash64(*cut)
        )
        about, spans = (
            self._lines()
            .agg(F.approx_count_distinct(key, GROUP_COUNT_ERROR), F.max(_has_odd_quotes()))
            .head()
        )
        self._spans = bool(spans)
        return super().count_groups(places) if self._spans else about

    def _cells(self) -> DataFrame:
        reader = self._csv(self.spans_lines, self._request.has_header).schema(self._schema)
        return reader.csv(self._location.address)

    def columns(self, places: list[int]) -> DataFrame:
        return self._cells().select(*(internal(place) for place in places))

    def numbered(self, places: list[int]) -> DataFrame:
        if self.spans_lines:
            # All columns, as of lines, where one is wanted: the types of all are told then.
            return _numbered(self._cells(), *([F.col("*")] if places else []))
        return _numbered(self._lines(), F.col("value"))

    def parsed(self, picked: DataFrame) -> DataFrame:
        if self.spans_lines:
            return picked
        row = F.from_csv("value", self._schema, self._options()).alias("row")
        return picked.withColumn("row", row).drop("value")

    def unpacked(self, parsed: DataFrame) -> DataFrame:
        return parsed if self.spans_lines else parsed.select("*", "row.*")

    def blocks(self) -> list[Block]:
        if self._spans is None:
            odd = F.max(_has_odd_quotes()).alias("odd")
            lines = _numbered(self._lines(), F.col("value"))
            found = lines.groupBy("path", "start").agg(*_of_block(), odd).collect()
            self._spans = any(row["odd"] for row in found)
            if not self._spans:
                return _in_order([self._without_header(row) for row in sorted(found)])
        return super().blocks()

    def _without_header(self, block: Row) -> tuple[int, int]:
        """The header is the first line of a file."""
        has_header = self._request.has_header and block["start"] == 0
        return block["first"] + has_header, block["count"] - has_header

    def types(self, frame: DataFrame, places: list[int]) -> dict[int, str]:
        codes = [F.bit_or(cells.type_code(internal(place))).alias(f"{place}") for place in places]
        found = frame.agg(*codes).head() if codes else ()
        return {place: cells.type_of(code) for place, code in zip(places, found, strict=True)}

    def json(self, place: int, kind: str) -> Column:
        return cells.json_of_text(internal(place), kind)


def _has_odd_quotes() -> Column:
    value = F.col("value")
    quotes = F.octet_length(value) - F.octet_length(F.translate(value, _QUOTE, ""))
    return value.contains(_QUOTE) & (quotes % 2 == 1)


def _cell_of_line(delimiter: str, place: int) -> Column:
    """A cell of a line without quotes."""
    upto = F.substring_index("value", delimiter, place + 1)
    return F.substring_index(upto, delimiter, -1)


def _column_names(cells_of_header: list[str | None]) -> list[str]:
    """Unique names: what has none is called by its place, what has another's gets a number."""
    names: list[str] = []
    taken: set[str] = set()
    for place, cell in enumerate(cells_of_header, start=1):
        wanted = (cell or "").removeprefix("\ufeff") or f"column{place}"
        name, copy = wanted, 1
        while name in taken:
            copy += 1
            name = f"{wanted}_{copy}"
        taken.add(name)
        names.append(name)
    return names


def open_table(session: SparkSession, request: FileRequest, location: Location) -> Table:
    made = ParquetTable if request.is_parquet else CsvTable
    return made(session, request, location)
