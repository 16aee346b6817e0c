"""Columns of a file, with the types that all of their cells have, and how many are missing."""

import time

from pyspark.sql import functions as F  # noqa: N812

from veltrix_server import cells
from veltrix_server.jobs.work import Work
from veltrix_server.reply import ResultWriter
from veltrix_server.requests import SchemaRequest
from veltrix_server.tables import internal, open_table


def schema(work: Work, writer: ResultWriter) -> None:
    """One pass over the file; numbers of cells are all that comes back."""
    started = time.monotonic()
    request = work.request
    assert isinstance(request, SchemaRequest) and work.location is not None
    with work.run.steps() as session:
        table = open_table(session, request.file, work.location)
        places = list(range(len(table.names)))
        frame = table.columns(places)
        is_text = table.is_text
        aggregates = [F.count("*").alias("rows")]
        for place in places:
            cell = internal(place)
            filled = cells.present(cell) if is_text else cell.isNotNull()
            aggregates.append(F.count_if(~filled).alias(f"{place}_null"))
            if is_text:
                aggregates.append(F.bit_or(cells.type_code(cell)).alias(f"{place}_type"))
        found = frame.agg(*aggregates).head().asDict()
        if is_text:
            types = {place: cells.type_of(found[f"{place}_type"]) for place in places}
        else:
            types = table.types(frame, places)
        writer.member("header", table.names)
        writer.member("schema", [[table.names[place], types[place]] for place in places])
        writer.member("nullCounts", [found[f"{place}_null"] for place in places])
        writer.member("numRows", found["rows"])
        work.write_run(writer, started)
