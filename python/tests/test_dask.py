"""Collections of Dask: the same bits as one process, and workers that have something else."""
import pathlib
import subprocess
import sys

import numpy as np
import oprj
import pytest

from conftest import SOURCE

da = pytest.importorskip("dask.array")
distributed = pytest.importorskip("distributed")
import oprj.dask  # noqa: E402

NAD27, LONG_ISLAND = "EPSG:4267", "EPSG:2263"
POINTS = np.random.default_rng(3).uniform((-78, 30), (-72, 41), (9000, 2))


@pytest.fixture(scope="module")
def client():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        yield client


def moved(options=None):
    return oprj.dask.transform(da.from_array(POINTS, chunks=(2000, 1)), NAD27, LONG_ISLAND, **(options or {}))


def test_arrays_and_frames(client):
    wanted = oprj.Transformer(NAD27, LONG_ISLAND).transform(POINTS)
    assert moved().compute().tobytes() == wanted.tobytes()
    frames, pandas = pytest.importorskip("dask.dataframe"), pytest.importorskip("pandas")
    frame = pandas.DataFrame({"n": range(9000), "lon": POINTS[:, 0], "lat": POINTS[:, 1]})
    got = oprj.dask.transform(frames.from_pandas(frame, npartitions=4), NAD27, LONG_ISLAND, columns=("lon", "lat")).compute()
    assert np.array_equal(got[["lon", "lat"]], wanted) and (got.n == frame.n).all() and list(got.columns) == list(frame.columns)


def test_nothing_is_computed_before(client):
    with pytest.raises(oprj.CRSError, match="Mercatr"):
        oprj.dask.transform(da.from_array(POINTS), NAD27, "Mercatr")
    with pytest.raises(ValueError, match="shape"):
        oprj.dask.transform(da.from_array(POINTS[:, 0]), NAD27, LONG_ISLAND)
    with pytest.raises(ValueError, match="inplace"):
        moved({"inplace": True})
    assert oprj.dask.transform(da.from_array(np.zeros((0, 2))), NAD27, LONG_ISLAND).compute().shape == (0, 2)


def set_path(path):
    import os

    before, os.environ["ORVIK_DATUMS_PATH"] = os.environ["ORVIK_DATUMS_PATH"], path
    oprj.dask._transformer.cache_clear()
    return before


def set_version(version):
    before, oprj.dask.__version__ = oprj.dask.__version__, version
    oprj.dask._transformer.cache_clear()
    return before


def test_workers_with_something_else_are_an_error(client, tmp_path):
    grid = bytearray((SOURCE / "data/nad27.dat").read_bytes())
    grid[-100] ^= 1
    for content in (grid, None):  # another one, and none
        (tmp_path / "nad27.dat").unlink(missing_ok=True)
        if content:
            (tmp_path / "nad27.dat").write_bytes(content)
        before = client.run(set_path, str(tmp_path))
        with pytest.raises(oprj.Error, match="the grid nad27.dat of this worker is not the caller's"):
            moved().compute()
        client.run(set_path, next(iter(before.values())))
    before = client.run(set_version, "0.0.9")
    with pytest.raises(oprj.Error, match="this worker has version 0.0.9 of oprj, the caller has"):
        moved().compute()
    client.run(set_version, next(iter(before.values())))
    assert moved().compute().shape == (9000, 2)


def test_the_example():
    example = pathlib.Path(SOURCE / "examples/dask/project_files.py")
    done = subprocess.run([sys.executable, example, "2400000"], capture_output=True, text=True, timeout=300)
    assert done.returncode == 0 and "the same bits as one process: True" in done.stdout, done.stderr
