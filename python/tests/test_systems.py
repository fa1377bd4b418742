"""Systems: what is taken, told, compared, pickled, listed and drawn."""
import pathlib
import pickle

import oprj
import pytest

UTM = "EPSG:32618"
EQUAL = "utm; zone=18; datum=WGS 84"


def test_every_way_of_naming_one(tmp_path):
    wkt = oprj.CRS(UTM).to_wkt()
    prj = tmp_path / "a.prj"
    prj.write_text(wkt)
    ways = [UTM, " epsg:32618 ", 32618, "WGS 84 / UTM zone 18N", EQUAL, wkt, str(prj), oprj.CRS(UTM)]
    for way in ways:
        crs = oprj.CRS(way)
        assert crs == oprj.CRS(UTM) and hash(crs) == hash(oprj.CRS(EQUAL)), way
        assert crs.name == "UTM, Zone 18 North" and crs.units == "meters" and crs.is_projected, way
        assert crs.datum == "WGS 84" and crs.spheroid == "WGS 84"
        again = pickle.loads(pickle.dumps(crs))
        assert again == crs and repr(again) == repr(crs)
    assert oprj.CRS.from_file(prj) == oprj.CRS.from_epsg(32618) == oprj.CRS.from_wkt(wkt) == oprj.CRS.from_user_input(UTM)
    saved = pickle.dumps(oprj.CRS(str(prj)))
    prj.unlink()
    assert pickle.loads(saved) == oprj.CRS(UTM)
    pyproj = pytest.importorskip("pyproj")
    assert oprj.CRS(pyproj.CRS(UTM)) == oprj.CRS(UTM)


def test_systems_of_the_engine_alone():
    crs = oprj.CRS("EPSG:8857")
    assert crs.units == "meters" and crs.is_projected and "Equal_Earth" in crs.to_wkt()
    assert pickle.loads(pickle.dumps(crs)) == crs != oprj.CRS("EPSG:8858")
    with pytest.raises(oprj.CRSError, match="No formula"):
        oprj.Transformer("EPSG:4326", crs.to_wkt().replace("Equal_Earth", "Fuller"))


def test_what_differs_is_not_equal():
    different = [UTM, "EPSG:32617", "EPSG:26918", "utm; zone=18; spheroid=WGS 84", "EPSG:4326", "EPSG:4269",
                 "geographic; datum=WGS 84; units=radians", EQUAL + "; units=kilometers"]
    for i, one in enumerate(different):
        for j, other in enumerate(different):
            with pytest.warns() if "spheroid" in one + other else _quiet():
                assert (oprj.CRS(one) == oprj.CRS(other)) == (i == j), (one, other)
    assert oprj.CRS(UTM) != UTM


class _quiet:
    def __enter__(self): pass
    def __exit__(self, *_): pass


@pytest.mark.parametrize("text, message, suggestion", [
    ("Mercatr; datum=WGS 84", "Mercatr", "Mercator"),
    ("EPSG:326181", "there is no coordinate system EPSG:326181", "EPSG:32618"),
    ("geographic; datum=Xyzzy", "Xyzzy", None),
    ("nowhere.prj", "nowhere.prj", None),
    ("nowhere.img::layer", "nowhere.img", None),
    ("", "empty", None),
    ("utm\0; zone=3", "zero character", None),
    ("GEOGCS[", "cannot be read", None),
])
def test_refusals_say_what_and_what_instead(text, message, suggestion):
    with pytest.raises(oprj.CRSError, match=message) as raised:
        oprj.CRS(text)
    assert raised.value.reports and raised.value.reports[0].message in str(raised.value)
    assert suggestion is None or suggestion in raised.value.suggestions
    assert str(pickle.loads(pickle.dumps(raised.value))) == str(raised.value)


@pytest.mark.parametrize("other", [None, 3.5, b"EPSG:4326", True, ["EPSG:4326"]])
def test_what_is_no_system(other):
    with pytest.raises(TypeError, match="a coordinate system is a text or a code"):
        oprj.CRS(other)


def test_a_system_that_cannot_be_used():
    with pytest.raises(oprj.CRSError) as raised:
        oprj.Transformer("EPSG:4326", "Lambert Conformal Conic; datum=WGS 84; lat_1=40; lat_2=-40")
    assert len(raised.value.reports) > 1 and "because" in str(raised.value)


def test_cautions_are_warnings():
    with pytest.warns(oprj.SystemWarning, match="without a datum"):
        oprj.CRS("geographic; spheroid=Airy")
    with pytest.warns(oprj.SystemWarning, match="on the sphere") as told:
        t = oprj.Transformer("EPSG:4326", "Orthographic; datum=WGS 84; lon_0=0; lat_0=0")
    assert tuple(str(warning.message) for warning in told) == t.cautions and told[0].filename == __file__


@pytest.mark.parametrize("what, count, named", [
    ("projections", 60, {"name": "UTM", "number": 1, "computed": True}),
    ("spheroids", 70, {"name": "WGS 84", "a": 6378137.0}),
    ("datums", 1000, {"name": "NAD27", "kind": "grid", "spheroid": "Clarke 1866"}),
    ("zones", 259, {"state": "California", "name": "V", "nad": "NAD83", "fips": 405}),
    ("units", 20, {"name": "us_survey_feet", "kind": "distance", "factor": 0.3048006096012192}),
    ("codes", 8000, {"code": "EPSG:32618", "kind": "projected", "deprecated": False}),
])
def test_tables(what, count, named):
    rows = oprj.list(what)
    assert len(rows) >= count
    assert any(all(getattr(row, key) == value for key, value in named.items()) for row in rows), named


def test_tables_that_are_none():
    with pytest.raises(ValueError, match="none of the tables: projections"):
        oprj.list("planets")


def test_drawings(tmp_path):
    oprj.draw("Mollweide; datum=WGS 84", tmp_path / "map.svg", width=400, title="M", area=(-20, 30, 40, 70), coast=False)
    assert "<svg" in (tmp_path / "map.svg").read_text()
    oprj.draw("EPSG:8857", tmp_path / "map.png", graticule=30)
    assert (tmp_path / "map.png").read_bytes().startswith(b"\x89PNG")
    with pytest.raises(oprj.Error, match="map.gif"):
        oprj.draw(UTM, tmp_path / "map.gif")


def test_the_stubs_describe_what_is_there():
    stub = pathlib.Path(oprj.__file__).with_name("_oprj.pyi").read_text()
    import ast

    for node in ast.parse(stub).body:
        if isinstance(node, ast.ClassDef):
            real = {name for name in vars(getattr(oprj._oprj, node.name)) if not name.startswith("_")}
            assert {item.name for item in node.body if not item.name.startswith("_")} == real
        elif isinstance(node, ast.FunctionDef):
            assert hasattr(oprj._oprj, node.name)
    mypy = pytest.importorskip("mypy.api")
    told, trouble, status = mypy.run(["--strict", "--no-error-summary", "-p", "oprj"])
    assert status == 0, told + trouble
