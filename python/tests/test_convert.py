"""Files for other tools, read back by these tools and compared value by value."""

from __future__ import annotations

import datetime as dt
import subprocess
from pathlib import Path
from typing import Any

import duckdb
import numpy as np
import pyarrow
import pyarrow.csv
import pyarrow.parquet
import pytest

import kvex
from conftest import DATA
from kvex._command import main
from kvex._formats import filled, flattened
from kvex._names import UniqueNames, safe_file_name, variable_name

TABLE = ["2:Alt", "2:Lat", "2:Lon"]


@pytest.fixture(scope="module")
def converted(demo_path: Path, tmp_path_factory: pytest.TempPathFactory) -> dict[str, Path]:
    """The demonstration in every format: streams 0 to 2."""
    folder = tmp_path_factory.mktemp("converted")
    for kind in ("parquet", "arrow", "csv", "mf4", "mat", "hdf5"):
        (result,) = kvex.convert(demo_path, folder / kind, to=kind, streams=[0, 1, 2])
        assert not result.warnings and not result.damaged and result.error is None
        assert result.files and all(path.is_file() for path in result.files)
    assert not list(folder.rglob(".*")), "nothing temporary is left"
    return {kind.name: kind for kind in folder.iterdir()}


def expected(run: kvex.Run) -> pyarrow.Table:
    return run.table(TABLE, time="gps").to_arrow()


def test_column_files_have_the_values(run: kvex.Run, converted: dict[str, Path]) -> None:
    table = run.table(TABLE).to_arrow()
    parquet = pyarrow.parquet.read_table(converted["parquet"] / "Quon-2" / "position.parquet")
    assert parquet.equals(table)
    assert parquet.schema.field("Lat").metadata[b"unit"] == "°".encode()
    assert b"kvex.units" in parquet.schema.metadata
    with pyarrow.ipc.open_file(converted["arrow"] / "Quon-2" / "position.arrow") as file:
        assert file.read_all().equals(table)
    csv = pyarrow.csv.read_csv(converted["csv"] / "Quon-2" / "position.csv")
    assert csv["Lat"].to_pylist() == table["Lat"].to_pylist()
    listing = pyarrow.parquet.read_table(converted["parquet"] / "signals.parquet").to_pylist()
    (lat,) = [row for row in listing if row["name"] == "Lat"]
    assert (lat["folder"], lat["table"], lat["column"], lat["unit"]) == ("Quon-2", "position", "Lat", "°")
    assert len(listing) == sum(len(stream.signals) for stream in run.streams[:3])
    ((largest,),) = duckdb.sql(f"select max(Lat) from '{converted['parquet']}/Quon-2/position.parquet'").fetchall()
    assert largest == max(value for value in table["Lat"].to_pylist() if value is not None)


def test_mdf_has_the_values(run: kvex.Run, converted: dict[str, Path]) -> None:
    from asammdf import MDF

    table = expected(run)
    with MDF(converted["mf4"] / "run.mf4") as mdf:
        assert abs((mdf.start_time - dt.datetime(2025, 6, 2, 9, 0, 0, 90_000, dt.UTC)).total_seconds()) < 1e-3
        lat = mdf.get("Lat", raw=True, ignore_invalidation_bits=True)
        assert lat.unit == "°" and "atitude" in lat.comment
        valid = table["Lat"].is_valid().to_numpy(zero_copy_only=False)
        assert np.array_equal(lat.samples[valid], table["Lat"].drop_null().to_numpy())
        assert np.array_equal(~np.asarray(lat.invalidation_bits, dtype=bool), valid)
        assert np.allclose(lat.timestamps, (table["time"].to_numpy() - run.start_gps) / 1e9, rtol=0, atol=1e-9)
        texts = {str(text, "utf-8") if isinstance(text, bytes) else str(text) for text in mdf.get("GpsPosMode").samples}
        assert texts <= set(run["2:GpsPosMode"].texts.values()) | {""}


def test_mat_and_hdf5_have_the_values(run: kvex.Run, converted: dict[str, Path]) -> None:
    import h5py
    from scipy.io import loadmat

    table = expected(run)
    lat = table["Lat"].to_numpy()
    struct: Any = loadmat(converted["mat"] / "run.mat", squeeze_me=True)["Quon_2_position"]
    assert np.array_equal(struct["Lat"].item(), lat, equal_nan=True)
    assert struct["time"].item().tolist() == table["time"].to_pylist()
    with h5py.File(converted["hdf5"] / "run.h5") as file:
        position = file["Quon-2"]["position"]
        assert np.array_equal(position["Lat"][:], lat, equal_nan=True)
        assert position["Lat"].attrs["unit"] == "°"
        assert position["time"][:].tolist() == table["time"].to_pylist()


def test_a_grid_is_one_table(run: kvex.Run, tmp_path: Path) -> None:
    kvex.convert(run.path, tmp_path, to="parquet", signals=["2:Lat", "5:Lat"], period=0.5, start="+1", end="+3")
    table = pyarrow.parquet.read_table(tmp_path / "run.parquet")
    assert table.column_names == ["time", "2:Lat", "5:Lat"]
    assert table.equals(run.table(["2:Lat", "5:Lat"], period=0.5, start="+1", end="+3").to_arrow())


def test_arrays_are_columns_where_a_format_has_no_lists(tmp_path: Path) -> None:
    path = DATA / "yeld_chase2_lanes_11.yeld"
    kvex.convert(path, tmp_path, to="csv", signals=["Hunter_PolygonPointsLat"])
    (file,) = [found for found in tmp_path.rglob("*.csv") if found.name != "signals.csv"]
    csv = pyarrow.csv.read_csv(file)
    assert csv.column_names[1:3] == ["Hunter_PolygonPointsLat[0]", "Hunter_PolygonPointsLat[1]"]
    samples = kvex.open(path)["Hunter_PolygonPointsLat"].read()
    assert [v for v in csv["Hunter_PolygonPointsLat[3]"].to_pylist() if v is not None] == pytest.approx(
        samples.values[:, 3][samples.valid[:, 3]].tolist()
    )


def test_arrays_without_a_sample_stay_null() -> None:
    lists = pyarrow.array([[1, None], None, [3, 4]], pyarrow.list_(pyarrow.int32()))
    fields = [pyarrow.field("a", lists.type, metadata={"count": "2"})]
    flat = flattened(pyarrow.RecordBatch.from_arrays([lists], schema=pyarrow.schema(fields)))
    assert flat.to_pydict() == {"a[0]": [1, None, 3], "a[1]": [None, None, 4]}


@pytest.mark.parametrize(
    ("values", "kind", "names", "shown"),
    [
        ([1.5, None, float("inf")], pyarrow.float64(), ["x"], [1.5, np.nan, np.inf]),
        ([1, 2], pyarrow.uint8(), ["x"], [1, 2]),
        ([1, None], pyarrow.uint8(), ["x"], [1.0, np.nan]),
        ([True, None], pyarrow.bool_(), ["x"], [1.0, np.nan]),
        ([2**63 + 1, None], pyarrow.uint64(), ["x", "x_valid"], [2**63 + 1, 0]),
    ],
)
def test_nulls_are_never_made_up_numbers(values: list[Any], kind: Any, names: list[str], shown: list[Any]) -> None:
    warnings: list[str] = []
    columns = filled("x", pyarrow.chunked_array([pyarrow.array(values, kind)]), warnings)
    assert list(columns) == names and len(warnings) == len(names) - 1
    assert np.array_equal(columns["x"], np.array(shown, columns["x"].dtype), equal_nan=columns["x"].dtype.kind == "f")


def test_names_made_of_hostile_texts_are_safe() -> None:
    assert safe_file_name("../a b/°") == "%2E.%2Fa%20b%2F%C2%B0"
    assert safe_file_name("") == "%"
    assert len(safe_file_name("°" * 200)) <= 100
    names = UniqueNames()
    assert [names.add("Run"), names.add("run"), names.add("run")] == ["Run", "run-2", "run-3"]
    cut = UniqueNames(5, "_")
    assert [cut.add("abcdefgh"), cut.add("abcdexyz")] == ["abcde", "abc_2"]
    assert [variable_name(text) for text in ("2:Lat", "a b", "_x")] == ["x2_Lat", "a_b", "x_x"]


def test_the_command_says_what_became_of_each_file(
    demo_path: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    broken = tmp_path / "broken.vrel"
    broken.write_bytes(b"nothing")
    convert = ["convert", "-o", str(tmp_path / "out"), "--to", "parquet", "--signals", "2:Lat", "--stream", "2"]
    assert main([*convert, str(demo_path)]) == 0
    assert main([*convert, str(broken)]) == 1
    assert "no packets of a known kind" in capsys.readouterr().err
    assert main([*convert, "--start", "180", str(demo_path)]) == 1
    with pytest.raises(SystemExit) as usage:
        main(["convert", str(demo_path)])
    assert usage.value.code == 2


def test_what_is_damaged_is_converted_and_told(tmp_path: Path, vrel: Path) -> None:
    path = tmp_path / "hole.vrel"
    content = (DATA / "zint_plain_11.vrel").read_bytes()
    path.write_bytes(content[:20_000] + content[29_000:])
    result = subprocess.run(
        [vrel.with_name("kvex"), "convert", path, "-o", tmp_path / "out", "--to", "hdf5"],
        capture_output=True,
        text=True,
    )
    assert result.returncode == 3 and "damaged or lost" in result.stderr
    assert (tmp_path / "out" / "hole.h5").is_file()
