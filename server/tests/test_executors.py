"""Spark with executors in processes of their own: nothing may depend on a shared heap, and the
loss of an executor is survived."""

import os
import signal
import time
from pathlib import Path

import pytest
from conftest import (
    CONTEXT,
    SAMPLING,
    SCHEMA,
    SUMMARY,
    Server,
    file_body,
    sample_body,
    summary_body,
)


@pytest.fixture(scope="module")
def cluster(data):
    server = Server(data[0], "--master", "local-cluster[2,1,1024]")
    assert server.ask("POST", f"/contexts/{CONTEXT}")[0] == 200
    yield server
    assert server.stop() == 0


def executors(server):
    """Processes that run executors."""
    found = []
    for pid in server.children():
        try:
            line = Path(f"/proc/{pid}/cmdline").read_bytes()
        except OSError:
            continue
        if b"CoarseGrainedExecutorBackend" in line:
            found.append(pid)
    return found


def test_executors_may_be_lost(cluster, server):
    for kind, body in (
        (SAMPLING, sample_body("parts", ["id", "ward"], size=100)),
        (SUMMARY, summary_body("people.csv", ["cost"], ["ward"], 2)),
    ):
        near, far = server.run(kind, body), cluster.run(kind, body)
        rows = "sampledData" if kind == SAMPLING else "resultData"
        assert far["sparkMaster"].startswith("local-cluster")
        if kind == SAMPLING:
            assert far[rows] == near[rows]
        else:
            assert [row[1] for row in far[rows]] == pytest.approx([row[1] for row in near[rows]])
    alive = executors(cluster)
    assert len(alive) == 2
    job = cluster.start(SCHEMA, file_body("heavy.csv"))
    time.sleep(1.5)
    os.kill(alive[0], signal.SIGKILL)
    report = cluster.wait(job)
    assert report["status"] in ("FINISHED", "ERROR")
    if report["status"] == "FINISHED":
        assert cluster.ask("GET", f"/jobs/{job}")[1]["result"]["numRows"] == 200_000
    else:
        assert report["result"]["message"]
    assert cluster.run(SAMPLING, sample_body("people.csv", ["id"], size=3))["numRows"] == 3
