"""The list of data sets below the data root."""

import time

from veltrix_server.jobs.work import Work
from veltrix_server.reply import ResultWriter


def data_list(work: Work, writer: ResultWriter) -> None:
    started = time.monotonic()
    writer.member("quorvanData", work.locations.data_sets())
    writer.member("clusterTime", round(time.monotonic() - started, 3))
