"""Coordinates of every form, through pairs of systems; PROJ and the program as oracles."""
import array
import pickle
import subprocess
import warnings

import numpy as np
import oprj
import pytest
from conftest import SOURCE
from oprj import Reason

WGS84, UTM = "EPSG:4326", "EPSG:32618"
GLOBE = "geographic; spheroid=Sphere of Nominal Radius of Earth; datum=Undefined"
SPHERE = "Orthographic; spheroid=Sphere of Nominal Radius of Earth; datum=Undefined; lon_0=0; lat_0=0"


def places(n, seed=1):
    random = np.random.default_rng(seed)
    return random.uniform(-78, -72, n), random.uniform(30, 45, n)


@pytest.fixture(scope="module")
def utm():
    return oprj.Transformer(WGS84, UTM)


@pytest.fixture(scope="module")
def expected(utm):
    x, y = places(60)
    return x, y, utm.transform(x, y)


def program():
    return oprj._beside_library("bin", "oprj")


@pytest.mark.parametrize("source, target", [(WGS84, UTM), (UTM, "EPSG:4267"), ("EPSG:4267", "EPSG:2154"),
                                            (WGS84, "EPSG:8857"), ("EPSG:4267", "EPSG:8857"), (UTM, "EPSG:8857")])
@pytest.mark.parametrize("inverse", [False, True])
def test_bits_are_those_of_the_program(source, target, inverse):
    t = oprj.Transformer(source, target)
    x, y = places(5000)
    points = np.column_stack([x, y])
    if not t.source.is_geographic:
        points = oprj.Transformer(WGS84, source).transform(points)
    if inverse:
        points = t.transform(points)
        source, target = target, source
    done = subprocess.run([program(), "-q", "project", "--binary", "--from", source, "--to", target], check=True,
                          input=points.tobytes(), capture_output=True)
    assert t.transform(points, inverse=inverse, threads=3).tobytes() == done.stdout


@pytest.mark.parametrize("source, target, tolerance", [
    (WGS84, UTM, 3e-4),  # three degrees from its meridian the series of the zone ends
    (WGS84, "EPSG:5070", 2e-4), ("EPSG:4269", "EPSG:2263", 1e-6), (WGS84, "EPSG:3857", 1e-8), (WGS84, "EPSG:8857", 1e-8),
    ("EPSG:4267", "EPSG:4269", 1e-10)])
def test_against_proj(source, target, tolerance, tmp_path):
    pyproj = pytest.importorskip("pyproj")
    x, y = places(2000)
    if source == "EPSG:4267":  # by the same grid, in a format that both read, where no other overlaps it
        y -= 4
        grid = tmp_path / "nad27.tif"
        subprocess.run([program(), "grid", "convert", SOURCE / "data/nad27.dat", grid], check=True)
        peer = pyproj.Transformer.from_pipeline(
            "+proj=pipeline +step +proj=unitconvert +xy_in=deg +xy_out=rad "
            f"+step +proj=hgridshift +grids={grid} +step +proj=unitconvert +xy_in=rad +xy_out=deg")
    else:
        peer = pyproj.Transformer.from_crs(source, target, always_xy=True)
    got, wanted = oprj.Transformer(source, target).transform(x, y), peer.transform(x, y)
    assert np.abs(np.subtract(got, wanted)).max() < tolerance


def arrays_of(x, y):
    """Arrays of 60 points in many forms, and what brings their results back to two rows."""
    flat = np.ravel
    grid = x.reshape(3, 4, 5), y.reshape(3, 4, 5)
    spread = np.zeros((60, 7))
    spread[:, 3], spread[:, 1] = x, y
    records = np.zeros(60, [("pad", "u1"), ("x", "f8"), ("y", "f8")])
    records["x"], records["y"] = x, y
    backwards = x[::-1].copy()[::-1], y[::-1].copy()[::-1]
    frozen = x.copy(), y.copy()
    for each in frozen:
        each.flags.writeable = False
    yield "contiguous", (x, y), flat
    yield "shaped", grid, flat
    yield "fortran", tuple(np.asfortranarray(a) for a in grid), flat
    yield "transposed", tuple(a.T for a in grid), lambda a: a.T.ravel()
    yield "strided", (spread[:, 3], spread[:, 1]), flat
    yield "sliced", tuple(np.repeat(a, 2, -1)[:, :, ::2] for a in grid), flat
    yield "misaligned", (records["x"], records["y"]), flat
    yield "reversed", backwards, flat
    yield "read-only", frozen, flat
    yield "big-endian", (x.astype(">f8"), y.astype(">f8")), flat
    yield "long double", (x.astype(np.longdouble), y.astype(np.longdouble)), flat
    yield "memoryviews", (memoryview(x), memoryview(y)), flat
    yield "arrays of the standard library", (array.array("d", x), array.array("d", y)), flat


def test_arrays_of_every_form(utm, expected):
    x, y, wanted = expected
    for name, given, back in arrays_of(x, y):
        before = [np.array(a) for a in given]
        got = utm.transform(*given, threads=2)
        assert [back(np.asarray(a)).tobytes() for a in got] == [a.tobytes() for a in wanted], name
        assert got[0].shape == np.shape(given[0]), name
        assert all((np.asarray(a) == b).all() for a, b in zip(given, before)), name
    for points in (np.column_stack([x, y]), np.stack([x, y]).T, np.stack([x, y], -1).reshape(3, 20, 2),
                   np.column_stack([x, y, x])[:, :2], np.column_stack([x, y, x, y])[::1, 2:]):
        got = utm.transform(points)
        assert got.shape == points.shape and (got.reshape(60, 2).T == wanted).all()


def test_shorter_numbers_and_whole_ones(utm):
    for kind in (np.float16, np.float32, np.int8, np.int64, np.uint16):
        x, y = np.array([-75, -70]).astype(kind), np.array([40, 41]).astype(kind)
        got = utm.transform(x, y)
        assert got[0].dtype == np.float64
        assert np.array_equal(got, utm.transform(x.astype(float), y.astype(float)))


def test_results_have_the_form_of_what_came(utm):
    point = utm.transform(-75.0, 40.0)
    assert [type(value) for value in point] == [float, float]
    for x, y in ((np.float64(-75), np.float64(40)), (np.float32(-75), 40), (np.array(-75.0), np.array(40.0)), (-75, 40)):
        assert utm.transform(x, y) == point and type(utm.transform(x, y)[0]) is float
    assert utm.transform([-75.0], [40.0]) == ([point[0]], [point[1]])
    assert utm.transform((-75.0,), (40.0,)) == ((point[0],), (point[1],))
    assert utm.transform((-75.0, 40.0)) == point
    assert utm.transform([[-75.0, 40.0]]) == [list(point)]
    assert utm.transform(np.zeros((0, 2))).shape == (0, 2) and utm.transform([], []) == ([], [])
    assert len(utm.each([], []).reasons) == 0


def test_pandas_and_shapely(utm):
    pd = pytest.importorskip("pandas")
    frame = pd.DataFrame({"lon": [-75.0, -76.0], "lat": [40.0, 41.0]}, index=["a", "b"])
    x, y = utm.transform(frame.lon, frame.lat)
    assert list(x.index) == ["a", "b"] and x.name == "lon" and y.name == "lat"
    both = utm.transform(frame)
    assert list(both.columns) == ["lon", "lat"] and (both.lon == x).all() and (both.index == frame.index).all()
    nullable = pd.Series([-75.0, None], dtype="Float64")
    with pytest.warns(oprj.PointWarning, match="1 of 2 points has no result: 1 not a number"):
        assert np.isnan(utm.transform(nullable, pd.Series([40.0, 41.0]))[0][1])
    with pytest.raises(ValueError, match="different indexes"):
        utm.transform(frame.lon, frame.lat.rename({"a": "c"}))
    shapely = pytest.importorskip("shapely")
    from shapely.ops import transform

    points = np.empty(1, object)
    points[0] = shapely.geometry.Polygon([(1, 2), (3, 4), (5, 5)])
    with pytest.raises(TypeError, match="holds geometries"):
        utm.transform(points, points)
    line = shapely.geometry.LineString(frame.to_numpy())
    assert np.array_equal(utm.transform(np.asarray(line.coords)), both)
    assert np.array_equal(transform(utm.transform, line).coords, both)
    if hasattr(shapely, "get_coordinates"):
        assert np.array_equal(utm.transform(shapely.get_coordinates([line])), both)


def test_geopandas_systems():
    geopandas = pytest.importorskip("geopandas")
    assert oprj.CRS(geopandas.GeoSeries([], crs=32618).crs) == oprj.CRS(UTM)


def test_long_arrays(utm, expected):
    n, bad = 120_001, 70_003
    x, y, *wanted = (np.resize(a, n) for a in (*expected[:2], *expected[2]))
    y[bad] = 95.0
    for a in wanted:
        a[bad] = np.nan
    slices = [np.append(0.0, a)[1:] for a in (x, y)]  # not aligned as vectors are
    for threads in (1, 3):
        for given in ((x, y), (np.column_stack([x, y]),), np.repeat([x, y], 2, 1)[:, ::2], slices):
            points, reasons, summary = utm.each(*given, threads=threads)
            assert np.array_equal(np.reshape(points, (-1, 2)).T if len(given) == 1 else points, wanted, equal_nan=True)
            assert summary.bad == 1 and reasons[bad] == oprj.Reason.OUTSIDE_DOMAIN
    utm.each(*slices, inplace=True)
    assert np.array_equal(slices, wanted, equal_nan=True)


def test_in_place(utm, expected):
    x, y, wanted = expected
    for given in ((x.copy(), y.copy()), (np.column_stack([x, y]),), tuple(np.column_stack([x, y]).T)):
        got = utm.transform(*given, inplace=True, threads=2)
        got = (got,) if len(given) == 1 else got
        assert all(a is b for a, b in zip(got, given))
        assert np.array_equal(np.ravel(wanted, "F" if len(given) == 1 else "C"), np.ravel(given))
    frozen = x.copy()
    frozen.flags.writeable = False
    for bad, error in (((frozen, y.copy()), TypeError), (([1.0], [2.0]), TypeError), ((-75.0, 40.0), TypeError),
                       ((x.astype("f4"), y.astype("f4")), TypeError), ((x.astype(">f8"), y.copy()), TypeError)):
        with pytest.raises(error, match="inplace=True writes into NumPy arrays of doubles"):
            utm.transform(*bad, inplace=True)
    both = np.linspace(1, 2, 10)
    with pytest.raises(ValueError, match="same memory"):
        utm.transform(both[1:], both[:-1], inplace=True)


@pytest.mark.parametrize("x, y, error, message", [
    ([1.0, 2.0], [1.0], ValueError, r"x and y differ in shape: \(2,\) and \(1,\)"),
    (1.0, [1.0, 2.0], ValueError, "differ in shape"),
    ([[1.0, 2.0], [1.0]], [1.0, 2.0], ValueError, "x is no array of numbers"),
    (np.zeros((3, 3)), None, ValueError, r"pairs: an array of shape \(..., 2\), not \(3, 3\)"),
    (1.0, None, ValueError, "handed in as x and y"),
    ([1.0, None], [1.0, 1.0], TypeError, "x holds objects, not numbers"),
    (np.array([1.0, "a"], object), np.ones(2), TypeError, "x holds objects"),
    (["1", "2"], [1.0, 2.0], TypeError, "values of type <U1"),
    (np.ones(2), np.ones(2, complex), TypeError, "y holds values of type complex128"),
    (np.ones(2, bool), np.ones(2), TypeError, "values of type bool"),
    (np.ones(2, "M8[s]"), np.ones(2), TypeError, "values of type datetime64"),
    (np.ma.array([1.0, 2.0], mask=[0, 1]), np.ones(2), TypeError, "masked array: fill it first"),
])
def test_what_is_no_coordinates(utm, x, y, error, message):
    with pytest.raises(error, match=message):
        utm.transform(x, y)


def test_counts_beyond_all_memory(utm):
    huge = np.broadcast_to(1.0, 10**13)
    with pytest.raises(MemoryError):
        utm.transform(huge, huge)


@pytest.mark.parametrize("options, message", [({"threads": 0}, "1 to 1024"), ({"threads": 5000}, "1 to 1024"),
                                              ({"threads": 1.5}, "1 to 1024"), ({"verify": -1.0}, "a distance in metres"),
                                              ({"verify": float("nan")}, "a distance in metres"),
                                              ({"errors": "ignore"}, 'errors is "nan" or "raise"')])
def test_options_that_mean_nothing(utm, options, message):
    with pytest.raises(ValueError, match=message):
        utm.transform([1.0], [2.0], **options)


def test_reasons_and_warnings():
    t = oprj.Transformer(GLOBE, SPHERE)
    x, y = np.array([0.0, 120.0, np.nan, 10.0, 130.0, np.inf]), np.zeros(6)
    points, reasons, summary = t.each(x, y)
    assert list(reasons[:5]) == [Reason.GOOD, Reason.OUTSIDE_DOMAIN, Reason.NOT_A_NUMBER, 0, Reason.OUTSIDE_DOMAIN]
    assert (np.isnan(points[0]) == (reasons != 0)).all() and np.isnan(points[1][1])
    assert (summary.total, summary.good, summary.bad) == (6, 2, 4) and summary.counts[Reason.NOT_A_NUMBER] == 1
    with pytest.warns(oprj.PointWarning) as told:
        assert np.array_equal(t.transform(x, y), points, equal_nan=True)
    assert [str(warning.message) for warning in told] == [str(summary)] and told[0].filename == __file__
    with pytest.warns(oprj.PointWarning, match="1 of 1 points has no result: 1 outside the projection's domain"):
        assert np.isnan(t.transform(120.0, 0.0)).all()
    with pytest.warns(oprj.PointWarning, match="1 of 2 points has no result: 1 outside the projection's domain"):
        exchanged = oprj.Transformer(WGS84, UTM).transform([-75.0, 40.0], [40.0, -95.0])
    assert exchanged[0][0] == 500000.0 and np.isnan([exchanged[0][1], exchanged[1][1]]).all()
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        t.each(x, y)
        t.transform(1.0, 1.0)


def test_the_first_bad_point_is_raised():
    t = oprj.Transformer(GLOBE, SPHERE)
    x = np.zeros((500, 500))
    x[321, 123], x[321, 124], x[499, 499] = 170, 175, np.nan
    for options in ({}, {"threads": 4}, {"inplace": True}):
        with pytest.raises(oprj.PointError) as raised:
            t.transform(x.copy(), np.zeros_like(x), errors="raise", **options)
        error = raised.value
        assert (error.index, error.point, error.reason) == ((321, 123), (170.0, 0.0), Reason.OUTSIDE_DOMAIN)
        assert error.reports[-1].function and "point (321, 123) (170.0, 0.0): " in str(error)
        assert str(error).count("because") == len(error.reports) - 1 > 0
    with pytest.raises(oprj.PointError, match="not a number"):
        t.transform(float("nan"), 0.0, errors="raise")
    assert t.transform([0.0], [0.0], errors="raise") == ([0.0], [0.0])


def test_verify_finds_what_does_not_return(utm):
    x, y = np.array([-75.0, -15.0]), np.array([40.0, 40.0])
    assert list(utm.each(x, y).reasons) == [0, 0]
    assert list(utm.each(x, y, verify=1e-4).reasons) == [Reason.GOOD, Reason.INACCURATE]


def test_points_that_no_grid_covers():
    t = oprj.Transformer("EPSG:4267", "EPSG:4269")
    x, y = np.array([-75.0, 10.0]), np.array([40.0, 50.0])
    assert list(t.each(x, y).reasons) == [Reason.GOOD, Reason.OUTSIDE_GRID]
    with pytest.warns(oprj.PointWarning, match="^1 stay as the shift leaves them: 1 outside the grid"):
        kept = t.transform(x, y, keep_uncovered=True)
    assert kept[0][1] == 10.0 and kept[0][0] != -75.0


def test_bad_points_of_a_way_with_several_pairs():
    t = oprj.Transformer("EPSG:26918", "EPSG:8857")
    x, y = np.array([5e5, np.nan, 5e5]), np.array([4e6, 4e6, np.inf])
    points, reasons, summary = t.each(x, y)
    assert list(reasons[:2]) == [Reason.GOOD, Reason.NOT_A_NUMBER] and reasons[2] and summary.good == 1
    steps = t.explain()
    assert [step.kind for step in steps] == ["inverse", "shift", "forward"]
    assert (steps[1].source, steps[1].target) == ("NAD83", "WGS 84") and "Equal_Earth" in steps[2].target


def test_transformers_are_pickled_and_told():
    t = pickle.loads(pickle.dumps(oprj.Transformer("EPSG:4267", UTM)))
    assert t.transform(-75.0, 40.0) == oprj.Transformer("EPSG:4267", UTM).transform(-75.0, 40.0)
    assert "EPSG:4267" in repr(t) and t.source == oprj.CRS("EPSG:4267")
    with pytest.raises(ValueError, match="x .longitude. always stands before"):
        oprj.Transformer.from_crs(WGS84, UTM, always_xy=False)


def test_the_chain_is_told(capsys):
    steps = oprj.Transformer("EPSG:26717", UTM).explain()
    assert [step.kind for step in steps] == ["inverse", "shift", "forward"]
    assert "by the grid of the datum" in steps[1].method and steps[1].moved > 0 and not steps[1].trouble
    assert capsys.readouterr().out.startswith('1. inverse: UTM, Zone 17 North to longitude, latitude on "Clarke 1866"\n2. ')
    assert [step.kind for step in oprj.Transformer(UTM, UTM).explain()] == ["copy"]
