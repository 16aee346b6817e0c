"""Structured logs: one JSON object a line on standard error.

Events carry identifiers, counts and times. Bodies, locations, column names, cells, keys and the
texts of Spark's exceptions (which quote data) never go in.
"""

import json
import sys
import time

Value = str | int | float | bool | None


def event(name: str, **fields: Value) -> None:
    """Writes one event with the time in UTC."""
    stamp = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())
    print(json.dumps({"time": stamp, "event": name, **fields}), file=sys.stderr, flush=True)
