"""A server with Spark for all tests, its data, and a client that speaks plain HTTP to it."""

import contextlib
import json
import os
import shutil
import signal
import subprocess
import sys
import time
import urllib.error
import urllib.parse
import urllib.request
from pathlib import Path

import numpy as np
import pandas as pd
import pytest

SAMPLING = "quorvan.spark.sampling.SamplingApplication"
SUMMARY = "quorvan.spark.summarization.SummarizationApplication"
SCHEMA = "quorvan.spark.InferSchemaApplication"
DATA_LIST = "quorvan.spark.DataList"
CONTEXT = "spark-sql-context"
SECRETS = ("AKIDTESTACCESS", "tests-secret-key")


class Server:
    """A server process; requests return the status and the JSON or text of the reply."""

    def __init__(self, root: Path, *options: str):
        command = [sys.executable, "-m", "veltrix_server", "--data-root", str(root), "--port", "0"]
        self.log_path = root.parent / f"log-{time.monotonic_ns()}"
        with self.log_path.open("w") as log:
            self.process = subprocess.Popen([*command, *options], stderr=log)
        self.headers = {}
        self.port = self._wait_for_port()

    def _wait_for_port(self):
        for _ in range(600):
            for entry in self.events("listening"):
                return entry["port"]
            assert self.process.poll() is None, self.log_path.read_text()
            time.sleep(0.05)
        raise AssertionError("the server does not listen")

    def events(self, name):
        lines = [line for line in self.log_path.read_text().splitlines() if line.startswith("{")]
        return [entry for entry in map(json.loads, lines) if entry["event"] == name]

    def ask(self, method, path, body=None, headers=None, timeout=300):
        data = body if body is None or isinstance(body, bytes) else json.dumps(body).encode()
        sent = {"Content-Type": "application/json"} if data is not None else {}
        request = urllib.request.Request(
            f"http://127.0.0.1:{self.port}{path}",
            data,
            sent | self.headers | (headers or {}),
            method=method,
        )
        try:
            with urllib.request.urlopen(request, timeout=timeout) as reply:
                return reply.status, self._content(reply)
        except urllib.error.HTTPError as reply:
            return reply.code, self._content(reply)

    @staticmethod
    def _content(reply):
        text = reply.read().decode()
        return json.loads(text) if "json" in reply.headers["Content-Type"] else text

    def submit(self, kind, body, patience=300, **query):
        query = {
            "appName": "samplingApp",
            "classPath": kind,
            "context": CONTEXT,
            "sync": "true",
            "timeout": 21474835,
        } | query
        path = "/jobs?" + urllib.parse.urlencode(query)
        return self.ask("POST", path, body, timeout=patience)

    def run(self, kind, body):
        status, reply = self.submit(kind, body)
        assert (status, reply["status"]) == (200, "OK"), reply
        return reply["result"]

    def start(self, kind, body, **query):
        status, reply = self.submit(kind, body, sync="false", **query)
        assert (status, reply["status"]) == (202, "STARTED"), reply
        return reply["result"]["jobId"]

    def state(self, job):
        return self.ask("GET", f"/jobs/{job}/jobStatusFull")[1]

    def wait(self, job, seconds=120):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            report = self.state(job)
            if report["status"] != "RUNNING":
                return report
            time.sleep(0.05)
        raise AssertionError("the job is not over")

    def children(self):
        """Processes below the server's own."""
        parents = {}
        for path in Path("/proc").glob("[0-9]*/stat"):
            with contextlib.suppress(OSError):
                parents[int(path.parent.name)] = int(path.read_text().rpartition(")")[2].split()[1])
        found = [self.process.pid]
        for parent in found:
            found += [pid for pid, above in parents.items() if above == parent]
        return found[1:]

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        return self.process.wait(120)


def make_data(root):
    """Files of the tests; the frame is what pandas makes of people.csv."""
    generator = np.random.default_rng(7)
    count = 1000
    frame = pd.DataFrame(
        {
            "id": np.arange(1, count + 1),
            "ward": generator.choice(["A", "B, upper", 'C "new"', "D\nback"], count),
            "level": generator.choice([1, 2, 10], count),
            "cost": np.round(generator.normal(1e3, 250.0, count), 6),
            "when": pd.Timestamp("2026-01-01") + pd.to_timedelta(np.arange(count), unit="D"),
            "note": generator.choice(["x", "1e3", "é中🙂", "007"], count),
        }
    )
    frame.loc[::17, "cost"] = np.nan
    frame.to_csv(root / "people.csv", index=False)
    frame["ward"] = frame["ward"].str.replace("\n", " ")
    frame.to_csv(root / "lines.csv", index=False, sep="|", na_rep="NA")
    (root / "parts").mkdir()
    frame.iloc[:300].to_csv(root / "parts" / "a.csv", index=False)
    frame.iloc[300:].to_csv(root / "parts" / "b.csv", index=False)
    (root / "small.csv").write_text("k\n" + "".join(f"{k}\n" for k in range(20)))
    wide = np.char.mod("%.6f", generator.normal(size=(200_000, 8)))
    with (root / "heavy.csv").open("w") as file:
        file.write(",".join(f"v{k}" for k in range(8)) + "\n")
        file.writelines(",".join(row) + "\n" for row in wide)
    (root / "link.csv").symlink_to("/etc/hostname")
    (root / "linked").mkdir()
    (root / "linked" / "passwd.csv").symlink_to("/etc/passwd")
    return frame


MAKE_PARQUET = """
import sys
from pyspark.sql import SparkSession
session = SparkSession.builder.master("local[1]").config("spark.ui.enabled", "false").getOrCreate()
frame = session.range(0, 1000, 1, 4).selectExpr(
    "id + 1 as id", "cast(id % 7 as double) as `a.b`", "if(id % 5 = 0, double('nan'), id / 4) as x",
    "cast(id as decimal(12, 2)) as d", "id % 2 = 0 as even", "array(id, null) as list",
    "date_add(date'2026-01-01', cast(id % 3 as int)) as day",
    "if(id % 10 = 0, null, concat('t\\"', id % 4)) as text")
frame.write.parquet(sys.argv[1])
"""


@pytest.fixture(scope="session")
def parquet(data):
    """A folder of four Parquet files."""
    path = data[0] / "typed.parquet"
    subprocess.run(
        [sys.executable, "-c", MAKE_PARQUET, str(path)],
        check=True,
        timeout=300,
        stderr=subprocess.DEVNULL,
    )
    return path.name


@pytest.fixture(scope="session")
def data(tmp_path_factory):
    root = tmp_path_factory.mktemp("data") / "root"
    root.mkdir()
    frame = make_data(root)
    return root, frame


@pytest.fixture(scope="session")
def server(data):
    made = Server(
        data[0],
        "--master",
        "local[2]",
        "--max-rows",
        "5000",
        "--max-groups",
        "500",
        "--max-waiting",
        "60",
        "--max-kept",
        "250",
    )
    assert made.ask("POST", f"/contexts/{CONTEXT}")[0] == 200
    yield made
    assert made.stop() == 0


@pytest.fixture(scope="session")
def veltrix():
    """Runs the command-line client."""
    program = os.environ.get("VELTRIX") or shutil.which("veltrix")
    if program is None:
        pytest.skip("the command-line client is not built")

    def run(*arguments):
        return subprocess.run(
            [program, *map(str, arguments)],
            capture_output=True,
            text=True,
            check=False,
            timeout=300,
        )

    return run


def file_body(name, **more):
    """The body of a data job as the client writes it."""
    return {
        "fileLocation": name,
        "isHeader": True,
        "delimiters": ",",
        "isCorvalaCluster": False,
        "userID": 0,
        "awsAccessKey": SECRETS[0],
        "awsSecretKey": SECRETS[1],
        "isParquet": False,
    } | more


def sample_body(name, columns, size=None, fraction=None, **more):
    amount = {"sampleSize": size} if fraction is None else {"sampleFraction": fraction}
    return (
        file_body(
            name,
            selectedVars=columns,
            isApproximateSampling=size is None,
            isSampleWithReplacement=False,
            randomSeed=7,
            trackRowID=True,
            startTime="Sat Nov 21 09:05:00 2026\n",
        )
        | amount
        | more
    )


def summary_body(name, columns, groups, aggregation=1, **more):
    return (
        file_body(
            name,
            selectedVars=columns,
            groupVars=groups,
            aggType=aggregation,
            computeCounts=True,
            computeSummaryStats=False,
            startTime="Sat Nov 21 09:05:00 2026\n",
        )
        | more
    )
