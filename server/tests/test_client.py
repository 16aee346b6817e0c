"""The command-line client against the server: every job, waiting for it or not, and every error."""

import json

import numpy as np
import pytest
from conftest import CONTEXT


@pytest.fixture
def cluster(veltrix, server):
    def run(task, *arguments):
        return veltrix("cluster", task, "--host", "127.0.0.1", "--port", server.port, *arguments)

    return run


def tables(result):
    assert result.returncode == 0, result.stderr
    return json.loads(result.stdout)


def test_every_job_comes_through(cluster, data, tmp_path):
    frame = data[1]
    sample = (
        "sample",
        "--file",
        "people.csv",
        "--columns",
        "id,cost,note",
        "--size",
        50,
        "--row-ids",
        "--rows",
    )
    texts = []
    for way in ((), ("--wait",)):
        path = tmp_path / f"rows{len(way)}.csv"
        result = cluster(*sample, path, *way)
        assert result.returncode == 0, result.stderr
        texts.append(path.read_text())
    assert texts[0] == texts[1]
    assert len(texts[0].splitlines()) == 51
    ids = [line.split(",")[:2] for line in texts[0].splitlines()[1:]]
    assert all(row_id == person for row_id, person in ids)

    started = cluster(
        "summarize",
        "--file",
        "people.csv",
        "--columns",
        "cost",
        "--group-by",
        "level",
        "--aggregation",
        "sd",
        "--counts",
        "--async",
    )
    job = next(line.split()[-1] for line in started.stdout.splitlines() if line.startswith("Job"))
    path = tmp_path / "summary.csv"
    assert cluster("results", "--job", job, "--wait", "--rows", path).returncode == 0
    found = np.loadtxt(path, delimiter=",", skiprows=1)
    expected = frame.groupby("level")["cost"].std()
    np.testing.assert_allclose(found, np.column_stack([expected.index, expected]), rtol=1e-12)
    assert "finished" in cluster("status", "--job", job).stdout
    assert "when" in cluster("schema", "--file", "lines.csv", "--delimiter", "|").stdout
    assert "parts/a.csv" in cluster("datasets").stdout
    assert "yes" in cluster("health").stdout
    assert CONTEXT in cluster("context").stdout


def test_every_error_is_told(cluster):
    data = ("--file", "people.csv")
    missing = cluster("sample", *data, "--columns", "none", "--size", 1, "--async")
    job = next(line.split()[-1] for line in missing.stdout.splitlines() if line.startswith("Job"))
    cases = (
        (("sample", "--file", "none.csv", "--columns", "id", "--size", 1), "no file below"),
        (("sample", *data, "--columns", "none", "--size", 1), "could not been completed"),
        (("sample", *data, "--columns", "none", "--size", 1, "--wait"), 'no column "none"'),
        (("results", "--wait", "--job", job), 'no column "none"'),
        (("summarize", *data, "--columns", "cost", "--group-by", "id"), "too many distinct"),
        (
            ("summarize", *data, "--columns", "cost", "--group-by", "id", "--wait"),
            "too many distinct",
        ),
        (("schema", "--file", "linked"), "links"),
        (("results", "--job", "none"), "No such job ID"),
        (("context", "--context", "other"), f"Context is: {CONTEXT}"),
    )
    for arguments, words in cases:
        result = cluster(*arguments)
        assert result.returncode == 1, arguments
        assert words in result.stderr, arguments


def test_summaries_are_those_of_the_engine(cluster, veltrix, data, tmp_path):
    """Group means beside those of the engine's discriminant analysis."""
    frame = data[1].dropna()
    frame[["id", "cost", "level"]].to_csv(data[0] / "whole.csv", index=False)
    path = tmp_path / "means.csv"
    cluster(
        "summarize",
        "--file",
        "whole.csv",
        "--columns",
        "id,cost",
        "--group-by",
        "level",
        "--aggregation",
        "mean",
        "--rows",
        path,
    )
    found = np.loadtxt(path, delimiter=",", skiprows=1)
    report = veltrix(
        "discriminant",
        "--data",
        data[0] / "whole.csv",
        "--target",
        "level",
        "--predictors",
        "id,cost",
        "--format",
        "json",
    )
    means = next(table for table in tables(report)["tables"] if table["title"] == "Group means")
    expected = np.array([row[1:] for row in means["rows"]]).T
    levels = [float(level) for level in means["columns"][1:]]
    order = np.argsort(levels)
    np.testing.assert_allclose(found[:, 0], np.sort(levels))
    np.testing.assert_allclose(found[:, 1:], expected[order], rtol=1e-12)
