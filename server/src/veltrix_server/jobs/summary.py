"""Summaries of columns by groups of rows.

Groups are counted first, approximately and without moving rows, so that a job with too many of them
ends before its shuffle. Delimited text is grouped by the texts of its cells; a column whose groups
all turn out to be numbers is grouped by their values.
"""

import time
from collections.abc import Callable, Iterator

from pyspark.sql import Column, Row
from pyspark.sql import functions as F  # noqa: N812

from veltrix_server import cells
from veltrix_server.errors import JobFailure
from veltrix_server.jobs.work import Work
from veltrix_server.reply import ResultWriter, json_text
from veltrix_server.requests import SummaryRequest
from veltrix_server.tables import GROUP_COUNT_ERROR, Table, internal, open_table

_COUNT = 6
_AGGREGATIONS: dict[int, tuple[str, Callable[[Column], Column]]] = {
    1: ("sum", F.sum),
    2: ("mean", F.avg),
    3: ("min", F.min),
    4: ("max", F.max),
    5: ("sd", F.stddev_samp),
    _COUNT: ("count", F.count),
}
_SAFETY = 1 + 4 * GROUP_COUNT_ERROR

Line = list[object]


class _Summary:
    """The expressions of a job over a table, and what comes of them."""

    def __init__(self, table: Table, request: SummaryRequest) -> None:
        self.table = table
        self.groups = table.places(request.groups)
        self.values = table.places(request.columns)
        wanted = list(_AGGREGATIONS) if request.statistics else [request.aggregation]
        self.aggregations = sorted(wanted, key=lambda code: code != request.aggregation)
        self.needs_numbers = self.aggregations != [_COUNT]
        self.group_types = {place: table.known_type(place) for place in self.groups}
        self._check_types()

    def _check_types(self) -> None:
        for place in self.values:
            kind = self.table.known_type(place)
            if self.needs_numbers and kind and not cells.is_number_type(kind):
                raise JobFailure(f'The column "{self.table.names[place]}" holds no numbers')
        for place in self.groups:
            if (self.group_types[place] or "").startswith(("array", "map", "struct")):
                raise JobFailure(f'The column "{self.table.names[place]}" makes no groups')

    def _cell(self, place: int) -> Column:
        """What is aggregated: the number of a cell, null for a missing one."""
        cell = internal(place)
        if self.table.is_text:
            return cells.value(cell) if self.needs_numbers else F.when(cells.present(cell), cell)
        return F.nanvl(cell.cast("double"), F.lit(None)) if self.needs_numbers else cell

    def _key(self, place: int) -> Column:
        key = internal(place)
        if not self.table.is_text:
            return key
        kind = self.group_types[place]
        return cells.value(key).cast(kind) if kind else F.when(key != "", key)

    def _aggregates(self) -> list[Column]:
        made = [F.count("*").alias("rows")]
        for place in self.values:
            made += [
                _AGGREGATIONS[code][1](F.col(f"v{place}")).alias(f"v{place}_{code}")
                for code in self.aggregations
            ]
            if self.table.is_text and self.needs_numbers:
                is_foreign = F.col(f"v{place}").isNull() & cells.is_foreign(internal(place))
                made.append(F.count_if(is_foreign).alias(f"bad{place}"))
        return made

    def aggregated(self, limit: int) -> list[Row]:
        """The groups; one more than the limit shows that there are too many."""
        wanted = sorted({*self.groups, *self.values})
        keys = [f"g{place}" for place in self.groups]
        # What a cell is worth is found out once here, and used by every aggregate.
        prepared = self.table.columns(wanted).select(
            "*",
            *(self._key(place).alias(f"g{place}") for place in self.groups),
            *(self._cell(place).alias(f"v{place}") for place in self.values),
        )
        found = prepared.groupBy(*keys).agg(*self._aggregates())
        open_types = [place for place in self.groups if self.group_types[place] is None]
        found = found.select(
            "*",
            *(cells.type_code(F.col(f"g{place}")).alias(f"t{place}") for place in open_types),
            *(cells.value(F.col(f"g{place}")).alias(f"n{place}") for place in open_types),
        )
        return found.limit(limit + 1).collect()

    def settle_types(self, rows: list[Row]) -> bool:
        """Settles the types of grouping columns of text by their groups. Whether texts that differ
        have turned out to be one number, so that the rows are to be grouped again."""
        open_types = [place for place in self.groups if self.group_types[place] is None]
        is_again = False
        for place in open_types:
            code = 0
            for row in rows:
                code |= row[f"t{place}"]
            kind = cells.type_of(code)
            if not cells.is_number_type(kind):
                continue
            self.group_types[place] = kind
            texts = {row[f"g{place}"] for row in rows}
            is_again |= len(texts) > len({row[f"n{place}"] for row in rows})
        return is_again

    def check_numbers(self, rows: list[Row]) -> None:
        if not (self.table.is_text and self.needs_numbers):
            return
        for place in self.values:
            foreign = sum(row[f"bad{place}"] for row in rows)
            if foreign:
                raise JobFailure(
                    f'The column "{self.table.names[place]}" holds {foreign} cells '
                    "that are no numbers"
                )

    def schema(self) -> list[tuple[str, str]]:
        """Names and types of the result's columns."""
        names = self.table.names
        described = [(names[place], self.group_types[place] or "string") for place in self.groups]
        for place in self.values:
            described += [
                (
                    f"{_AGGREGATIONS[code][0]}({names[place]})",
                    "bigint" if code == _COUNT else "double",
                )
                for code in self.aggregations
            ]
        return described

    def known_types(self) -> dict[int, str]:
        types = {place: "double" for place in self.values if self.needs_numbers}
        return types | {place: kind or "string" for place, kind in self.group_types.items()}

    def lines(self, rows: list[Row]) -> list[tuple[Line, int]]:
        """The cells and the count of each group, in ascending order, missing values first."""
        wanted = [f"v{place}_{code}" for place in self.values for code in self.aggregations]
        made = []
        for row in rows:
            keys = [self._key_of(row, place) for place in self.groups]
            made.append((keys + [row[name] for name in wanted], row["rows"]))
        count = len(self.groups)
        return sorted(made, key=lambda line: [(key is not None, key) for key in line[0][:count]])

    def _key_of(self, row: Row, place: int) -> object:
        key = row[f"g{place}"]
        if isinstance(key, str) and cells.is_number_type(self.group_types[place] or ""):
            number = row[f"n{place}"]
            is_whole = self.group_types[place] != "double" and number is not None
            return int(key) if is_whole else number
        return key


def summary(work: Work, writer: ResultWriter) -> None:
    started = time.monotonic()
    request = work.request
    assert isinstance(request, SummaryRequest) and work.location is not None
    limit = work.limits.groups
    with work.run.steps() as session:
        table = open_table(session, request.file, work.location)
        made = _Summary(table, request)
        rows: list[Row] = []
        is_too_many = bool(made.groups) and table.count_groups(made.groups) > limit * _SAFETY
        if not is_too_many:
            work.run.check()
            rows = made.aggregated(limit)
            is_too_many = len(rows) > limit
        writer.member("tooManyDistinct", is_too_many)
        if not is_too_many:
            if made.settle_types(rows):
                rows = made.aggregated(limit)
            made.check_numbers(rows)
            _write(writer, made, rows, request)
        work.write_run(writer, started)


def _write(writer: ResultWriter, made: _Summary, rows: list[Row], request: SummaryRequest) -> None:
    schema = made.schema()
    lines = made.lines(rows)
    writer.member("schema", schema)
    writer.member("schemaFull", made.table.described(made.known_types()))
    writer.member("numRows", len(lines))
    writer.member("numRowsTotal", sum(count for _, count in lines))
    writer.member("numCols", len(schema))
    writer.member("numColsTotal", len(made.table.names))
    writer.member("counts", [count for _, count in lines] if request.counts else [])
    writer.rows("resultData", _json_lines(lines))


def _json_lines(lines: list[tuple[Line, int]]) -> Iterator[str]:
    for line, _ in lines:
        yield json_text([_plain(cell) for cell in line])


def _plain(cell: object) -> object:
    """A cell as JSON has it: what is no finite number is missing, other kinds are texts."""
    if isinstance(cell, float):
        return cell if abs(cell) < float("inf") else None
    return cell if cell is None or isinstance(cell, int | str) else str(cell)
