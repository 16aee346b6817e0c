"""Which work belongs to which kind of request."""

from veltrix_server.jobs.datasets import data_list
from veltrix_server.jobs.sampling import sampling
from veltrix_server.jobs.schema import schema
from veltrix_server.jobs.summary import summary
from veltrix_server.jobs.work import Kind
from veltrix_server.requests import DataListRequest, SamplingRequest, SchemaRequest, SummaryRequest

KINDS: dict[type, Kind] = {
    SamplingRequest: sampling,
    SummaryRequest: summary,
    SchemaRequest: schema,
    DataListRequest: data_list,
}
