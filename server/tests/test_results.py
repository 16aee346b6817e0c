"""What the jobs bring, beside what pandas makes of the same files."""

import collections

import numpy as np
import pandas as pd
import pytest
from conftest import (
    DATA_LIST,
    SAMPLING,
    SCHEMA,
    SECRETS,
    SUMMARY,
    file_body,
    sample_body,
    summary_body,
)

from veltrix_server.jobs.sampling import draw
from veltrix_server.requests import FileRequest, Keys, SamplingRequest

FILES = {
    "people.csv": {},
    "lines.csv": {"delimiters": "|"},
    "parts": {},
}


def rows_of(result):
    names = ["Row ID"] + [name for name, _ in result["schema"]]
    return pd.DataFrame(result["sampledData"], columns=names)


SAMPLES = [
    ("people.csv", {"size": 1000}),
    ("lines.csv", {"size": 40}),
    ("lines.csv", {"size": 0}),
    ("parts", {"fraction": 0.3}),
    ("lines.csv", {"size": 1500, "isSampleWithReplacement": True}),
    ("people.csv", {"fraction": 1.5, "isSampleWithReplacement": True}),
]


def request_of(body, size):
    file = FileRequest("f", ",", True, False, Keys())
    replaced, share = body["isSampleWithReplacement"], body.get("sampleFraction", 0.0)
    return SamplingRequest(file, (), size, share, replaced, body["randomSeed"], False)


@pytest.mark.parametrize(("name", "amount"), SAMPLES)
def test_samples_are_the_rows_drawn(server, data, name, amount):
    body = sample_body(name, ["note", "cost", "level", "ward"], **amount, **FILES[name])
    result = server.run(SAMPLING, body)
    drawn = rows_of(result)
    places = drawn["Row ID"].to_numpy(dtype=int)
    request = request_of(body, amount.get("size"))
    assert places.tolist() == [place + 1 for place in sorted(draw(1000, request, 5000).elements())]
    assert (result["numRowsTotal"], result["numRows"]) == (1000, len(drawn))
    wanted = data[1].iloc[places - 1]
    assert np.array_equal(drawn["cost"].astype(float), wanted["cost"], equal_nan=True)
    assert drawn["note"].tolist() == wanted["note"].tolist()
    if name == "people.csv":
        drawn["ward"] = drawn["ward"].str.replace("\n", " ")
    assert drawn["ward"].tolist() == wanted["ward"].tolist()
    if len(drawn) > 0:
        kinds = {"note": "string", "cost": "double", "level": "int", "ward": "string"}
        assert dict(result["schema"]) == kinds
        assert dict(result["schemaFull"]) == kinds | {"id": "int", "when": "date"}


@pytest.mark.parametrize(
    ("body", "size", "mean", "variance"),
    [
        ({"isSampleWithReplacement": False}, 5, 50.0, 200 * 0.25 * 0.75 * 20 / 19),
        ({"isSampleWithReplacement": True}, 5, 50.0, 50.0),
        ({"isSampleWithReplacement": False, "sampleFraction": 0.25}, None, 50.0, 200 * 0.25 * 0.75),
        ({"isSampleWithReplacement": True, "sampleFraction": 0.25}, None, 50.0, 50.0),
    ],
)
def test_every_row_is_drawn_equally_often_over_200_seeds(body, size, mean, variance):
    drawn = collections.Counter()
    for seed in range(200):
        drawn += draw(20, request_of(body | {"randomSeed": seed}, size), 1000)
    statistic = sum((drawn[k] - mean) ** 2 for k in range(20)) / variance
    assert 5.4 < statistic < 45.3  # beyond lie 0.1 % on either side for 19 and 20 degrees
    if size is None:
        assert abs(drawn.total() - 20 * mean) < 3 * np.sqrt(20 * variance)


NAMES = ["sum", "mean", "min", "max", "std", "count"]


@pytest.mark.parametrize("groups", [["ward"], ["ward", "level"], []])
def test_summaries_are_those_of_pandas(server, data, groups):
    frame = data[1]
    parted = frame.groupby(groups) if groups else frame.groupby(lambda _: 0)
    body = summary_body("lines.csv", ["cost", "id"], groups, delimiters="|")
    result = server.run(SUMMARY, body | {"computeSummaryStats": True})
    expected = parted[["cost", "id"]].agg(NAMES).sort_index()
    rows = result["resultData"]
    found = [row[len(groups) :] for row in rows]
    np.testing.assert_allclose(found, expected, rtol=1e-12)
    keys = [tuple(row[: len(groups)]) if len(groups) > 1 else row[0] for row in rows]
    assert not groups or keys == list(expected.index)
    assert result["counts"] == parted.size().sort_index().tolist()
    assert (result["numRowsTotal"], result["tooManyDistinct"]) == (1000, False)


def test_the_aggregation_asked_for_comes_first(server):
    body = summary_body("people.csv", ["cost"], [], 5)
    assert len(server.run(SUMMARY, body)["resultData"][0]) == 1
    result = server.run(SUMMARY, body | {"computeSummaryStats": True})
    names = [name for name, _ in result["schema"]]
    assert names == [f"{name}(cost)" for name in ("sd", "sum", "mean", "min", "max", "count")]


def test_groups_of_numbers_are_groups_of_values(server, data):
    root = data[0]
    (root / "numbers.csv").write_text("g,x\n1,1\n1.0,2\n ,4\n,8\n10,16\n9,32\nNA,64\n")
    result = server.run(SUMMARY, summary_body("numbers.csv", ["x"], ["g"]))
    assert result["resultData"] == [[None, 76.0], [1.0, 3.0], [9.0, 32.0], [10.0, 16.0]]
    assert result["counts"] == [3, 2, 1, 1]


def test_too_many_groups_are_refused_before_and_after_the_shuffle(server):
    for name, groups, more in (
        ("people.csv", ["id"], {}),
        ("heavy.csv", ["v0"], {}),
        ("lines.csv", ["id", "ward"], {"delimiters": "|"}),
    ):
        result = server.run(SUMMARY, summary_body(name, [], groups, **more))
        assert result["tooManyDistinct"] is True
        assert "resultData" not in result


def test_schemas_tell_types_and_missing_cells(server, data):
    frame = data[1]
    expected = [
        ["id", "int"],
        ["ward", "string"],
        ["level", "int"],
        ["cost", "double"],
        ["when", "date"],
        ["note", "string"],
    ]
    for name, more in FILES.items():
        result = server.run(SCHEMA, file_body(name, **more))
        assert result["schema"] == expected
        assert result["header"] == [column for column, _ in expected]
        assert result["nullCounts"] == frame.isna().sum().tolist()
        assert result["numRows"] == 1000


@pytest.mark.parametrize(
    ("text", "names", "types"),
    [
        ("a,a,,b\n1,2,3,4\n", ["a", "a_2", "column3", "b"], ["int"] * 4),
        ("\ufeffx,y\n5000000000,1e400\n,Infinity\n", ["x", "y"], ["bigint", "double"]),
        (
            "t,b,d\n2026-01-02 03:04:05,TRUE,1d\n2026-01-02,false,2\n",
            ["t", "b", "d"],
            ["timestamp", "boolean", "string"],
        ),
        ("only\n\n \nNaN\n-.5e-3\n", ["only"], ["double"]),
    ],
)
def test_schemas_of_odd_files(server, data, text, names, types):
    (data[0] / "odd.csv").write_text(text, encoding="utf-8")
    result = server.run(SCHEMA, file_body("odd.csv"))
    assert result["schema"] == [list(pair) for pair in zip(names, types, strict=True)]
    if names[0] == "x":
        sampled = server.run(SAMPLING, sample_body("odd.csv", ["y", "x"], size=2))
        assert sampled["sampledData"] == [[1, None, 5000000000], [2, None, None]]


def test_parquet_keeps_its_types(server, parquet):
    names = ["id", "a.b", "x", "d", "even", "list", "day", "text"]
    kinds = ["bigint", "double", "double", "decimal(12,2)", "boolean", "array<bigint>", "date"]
    schema = server.run(SCHEMA, file_body(parquet, isParquet=True))
    assert schema["schema"] == [list(pair) for pair in zip(names, [*kinds, "string"], strict=True)]
    assert schema["nullCounts"] == [0, 0, 0, 0, 0, 0, 0, 100]
    sample = sample_body(parquet, [*reversed(names)], size=200, isParquet=True)
    rows = server.run(SAMPLING, sample)["sampledData"]
    assert len(rows) == 200
    for place, text, day, listed, even, decimal, x, remainder, row in rows:
        k = row - 1
        assert place == row
        assert text == (None if k % 10 == 0 else f't"{k % 4}')
        assert (day, listed) == (f"2026-01-0{1 + k % 3}", f"[{k},null]")
        assert (even, decimal) == (str(k % 2 == 0).lower(), k)
        assert (x, remainder) == (None if k % 5 == 0 else k / 4, k % 7)
    body = summary_body(parquet, ["x", "d"], ["day", "even"], 1, isParquet=True)
    result = server.run(SUMMARY, body)
    frame = pd.DataFrame({"k": np.arange(1000)})
    frame["x"] = np.where(frame["k"] % 5 == 0, np.nan, frame["k"] / 4)
    expected = frame.groupby([frame["k"] % 3, frame["k"] % 2 == 0])[["x", "k"]].sum()
    np.testing.assert_allclose([row[2:] for row in result["resultData"]], expected, rtol=1e-12)
    assert result["resultData"][0][:2] == ["2026-01-01", False]
    status, reply = server.submit(SUMMARY, summary_body(parquet, ["text"], [], isParquet=True))
    assert (status, reply["status"]) == (200, "ERROR")


def test_the_list_holds_data_sets_and_no_links(server):
    listed = server.run(DATA_LIST, {})["quorvanData"]
    assert {"people.csv", "parts/a.csv", "small.csv"} <= set(listed)
    assert "link.csv" not in listed
    assert listed == sorted(listed)


def test_keys_are_nowhere(server):
    job = server.start(SAMPLING, sample_body("people.csv", ["id"], size=1))
    server.wait(job)
    texts = [
        str(server.ask("GET", f"/jobs/{job}{path}")[1])
        for path in ("", "/config", "/jobStatusFull")
    ]
    texts.append(server.log_path.read_text())
    for text in texts:
        assert not any(secret in text for secret in SECRETS)
    assert server.ask("GET", f"/jobs/{job}/config")[1]["sampleSize"] == 1
    assert "people" not in texts[-1]
