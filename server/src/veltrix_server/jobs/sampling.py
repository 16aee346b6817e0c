"""Random samples of a file's rows.

A sample is drawn as places in the file. One pass counts rows (of delimited text it only looks for
line ends), a second picks the rows drawn, and only those are parsed. The rows depend on the file
and the seed alone, not on how the file is cut into blocks.

An exact sample has places that are uniform, each once or, with replacement, any number of times. A
sample by a share f takes every row by itself: with probability f, by geometric gaps between the
rows taken; with replacement a number of times that is Poisson with mean f, as arrivals of rate f in
the rows' unit intervals.
"""

import math
import random
import time
from bisect import bisect_right
from collections import Counter
from collections.abc import Iterator
from itertools import islice

from pyspark import StorageLevel
from pyspark.sql import DataFrame, SparkSession
from pyspark.sql import functions as F  # noqa: N812

from veltrix_server.errors import JobFailure
from veltrix_server.jobs.work import Work
from veltrix_server.reply import ResultWriter
from veltrix_server.requests import SamplingRequest
from veltrix_server.tables import Block, Table, open_table

_ROWS_OF_ONE_TASK = 20_000


def sampling(work: Work, writer: ResultWriter) -> None:
    started = time.monotonic()
    request = work.request
    assert isinstance(request, SamplingRequest) and work.location is not None
    with work.run.steps() as session:
        table = open_table(session, request.file, work.location)
        places = table.places(request.columns)
        blocks = table.blocks()
        total = blocks[-1].offset + blocks[-1].count if blocks else 0
        work.run.check()
        drawn = draw(total, request, work.limits.rows)
        picked = _pick(session, table, places, blocks, drawn)
        stored = table.parsed(picked).persist(StorageLevel.MEMORY_AND_DISK)
        try:
            _write(work, writer, table, table.unpacked(stored), places, drawn.total())
        finally:
            stored.unpersist()
    writer.member("numRowsTotal", total)
    work.write_run(writer, started)


def draw(total: int, request: SamplingRequest, limit: int) -> Counter[int]:
    """Places from 0 to `total` - 1 with the number of times each is drawn."""
    generator = random.Random(request.seed)
    if request.size is None:
        drawn = Counter(islice(_by_chance(total, request, generator), limit + 1))
        if drawn.total() > limit:
            raise JobFailure(f"The sample has more rows than the server sends, {limit}")
        return drawn
    if not request.with_replacement:
        return Counter(generator.sample(range(total), min(request.size, total)))
    return Counter(generator.randrange(total) for _ in range(request.size if total else 0))


def _by_chance(total: int, request: SamplingRequest, generator: random.Random) -> Iterator[int]:
    share = request.fraction
    if share == 0:
        return
    if share >= 1 and not request.with_replacement:
        yield from range(total)
        return
    arrival = 0.0
    # Logarithm of the probability that a row is not taken; of a whole gap it is its multiple.
    rate = share if request.with_replacement else -math.log1p(-share)
    while True:
        arrival += generator.expovariate(rate)
        if arrival >= total:
            return
        yield int(arrival)
        if not request.with_replacement:
            arrival = math.floor(arrival) + 1.0


def _pick(
    session: SparkSession,
    table: Table,
    places: list[int],
    blocks: list[Block],
    drawn: Counter[int],
) -> DataFrame:
    """The rows at the places drawn, each once, with "place" and "copies"."""
    offsets = [block.offset for block in blocks]
    wanted = []
    for place, copies in drawn.items():
        block = blocks[bisect_right(offsets, place) - 1]
        wanted.append((block.first + place - block.offset, place, copies))
    numbers = session.createDataFrame(wanted, "number bigint, place bigint, copies int")
    return table.numbered(places).join(F.broadcast(numbers), "number").drop("path", "start")


def _write(
    work: Work,
    writer: ResultWriter,
    table: Table,
    frame: DataFrame,
    places: list[int],
    count: int,
) -> None:
    request = work.request
    assert isinstance(request, SamplingRequest)
    known = [place for place in range(len(table.names)) if f"c{place}" in frame.columns]
    types = table.types(frame, known)
    work.run.check()
    parts = [table.json(place, types[place]) for place in places]
    if request.row_ids:
        parts.insert(0, (F.col("place") + 1).cast("string"))
    row = F.concat(F.lit("["), F.concat_ws(",", *parts), F.lit("]"))
    # Few rows are sorted by one task; many come in ranges, which the driver gets one by one.
    is_small = count <= _ROWS_OF_ONE_TASK
    ordered = (
        frame.coalesce(1).sortWithinPartitions("place") if is_small else frame.orderBy("place")
    )
    lines = ordered.select(row, "copies").toLocalIterator()
    writer.rows("sampledData", _repeated(work, lines))
    writer.member("trackRowID", request.row_ids)
    writer.member("numRows", count)
    writer.member("numCols", len(places))
    writer.member("numColsTotal", len(table.names))
    writer.member("schema", [[table.names[place], types[place]] for place in places])
    writer.member("schemaFull", table.described(types))


def _repeated(work: Work, lines: Iterator[tuple[str, int]]) -> Iterator[str]:
    for line, copies in lines:
        work.run.check()
        for _ in range(copies):
            yield line
