"""Map projections and datum shifts: coordinates from one system to another.

    >>> import oprj
    >>> t = oprj.Transformer("EPSG:4326", "EPSG:32618")
    >>> x, y = t.transform(-77.03524, 38.889468)
    >>> print(f"{x:.3f} {y:.3f}")
    323483.188 4306479.574

x stands before y everywhere, longitude before latitude, in the units of the systems: degrees and metres unless they
say otherwise.
"""
from __future__ import annotations

import os as _os
import sys as _sys
import warnings as _warnings
from collections import namedtuple as _namedtuple
from enum import IntEnum as _IntEnum
from functools import lru_cache as _lru_cache

try:
    from . import _oprj
except ImportError as _problem:
    raise ImportError(f"the library oPrj cannot be loaded ({_problem}): install it, or set LD_LIBRARY_PATH to its folder; "
                      "after an update of the library build this package anew") from _problem
from .errors import CRSError, Error, PointError, PointWarning, Report, SystemWarning

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any, Literal, Mapping, NamedTuple, Sequence

    import numpy as np
    from numpy.typing import NDArray

__all__ = ["CRS", "CRSError", "Each", "Error", "PointError", "PointWarning", "Reason", "Report", "Step", "Summary",
           "SystemWarning", "Transformer", "draw", "list"]
__version__ = "0.1.0"


def _beside_library(*path: str) -> str | None:
    """A file that is installed with the library."""
    for up in ("..", "../.."):
        # where the library really is: /lib may be a link to /usr/lib
        found = _os.path.normpath(_os.path.join(_os.path.realpath(_oprj.library_folder()), up, *path))
        if _os.path.exists(found):
            return found
    return None


def _find_data() -> None:
    """Lets the library find its installed reference data. Folders that the environment names go before; datums and
    grids of one's own add to the installed ones."""
    data = _beside_library("share", "oPrj")
    if data:
        if not _os.environ.get("ORVIK_PROJECTIONS_PATH"):
            _os.environ["ORVIK_PROJECTIONS_PATH"] = data
        own = _os.environ.get("ORVIK_DATUMS_PATH")
        if not own:
            _os.environ["ORVIK_DATUMS_PATH"] = data
        elif data not in own.split(";"):
            _os.environ["ORVIK_DATUMS_PATH"] = f"{own};{data}"


_find_data()


def _warn(text: str, category: type[Warning]) -> None:
    """A warning that tells the line outside of this file."""
    depth, frame = 2, _sys._getframe(1)
    while frame.f_back and frame.f_code.co_filename == __file__:
        depth, frame = depth + 1, frame.f_back
    _warnings.warn(text, category, stacklevel=depth)


class Reason(_IntEnum):
    """Why a point has no result; `text` says it in words.

    >>> oprj.Reason.OUTSIDE_DOMAIN.text
    "outside the projection's domain"
    """

    GOOD = 0
    NOT_A_NUMBER = 1
    OUTSIDE_DOMAIN = 2
    NO_CONVERGENCE = 3
    OUTSIDE_SHEET = 4
    OUTSIDE_GRID = 5
    OUTSIDE_REGRESSION = 6
    SHIFT_FAILED = 7
    INACCURATE = 8

    @property
    def text(self) -> str:
        return _oprj.reason_text(self)


_coded = _lru_cache(maxsize=1024)(_oprj.System)
_MOST_THREADS = 1024
_TOLD_ONLY_ON_REQUEST = (1, 3, 4)  # a common name, a grid that only a shift needs, who computes the system


class CRS:
    """A coordinate system. It never changes, threads may share it, and it can be pickled.

    `system` is a description ("utm; zone=17; datum=NAD83"), a text of the Projection Engine (PROJCS[...],
    GEOGCS[...]), the path of a .prj file, a code ("EPSG:32618", or 32618), the name of one ("WGS 84 / UTM zone 18N"),
    FILE::LAYER of a node file, @LIBRARY/TITLE of a projection library, or whatever has a method `to_wkt` as the CRS of pyproj and GeoPandas. Points of a
    system are x, y: longitude, latitude or easting, northing, in its `units`.

    >>> crs = oprj.CRS("EPSG:32618")
    >>> crs
    <oprj.CRS EPSG:32618: UTM, Zone 18 North, datum "WGS 84", meters>
    >>> crs == oprj.CRS("utm; zone=18; datum=WGS 84")
    True
    """

    __slots__ = ("_system", "_written")
    _system: _oprj.System
    _written: str

    def __init__(self, system: Any) -> None:
        if isinstance(system, CRS):
            self._system, self._written = system._system, system._written
            return
        if isinstance(system, str):
            self._written = system
        elif isinstance(system, int) and not isinstance(system, bool):
            self._written = f"EPSG:{system}"
        elif hasattr(system, "to_wkt"):
            self._written = system.to_wkt("WKT1_ESRI")
        else:
            raise TypeError(f"a coordinate system is a text or a code, not {type(system).__name__}")
        code = self._written.strip().upper()
        self._system = _coded(code) if code.startswith(("EPSG:", "ESRI:")) else _oprj.System(self._written)
        for kind, text in self._system.notes:
            if kind not in _TOLD_ONLY_ON_REQUEST:
                _warn(text, SystemWarning)

    @classmethod
    def from_file(cls, path: str | _os.PathLike[str]) -> CRS:
        """The system in a .prj file, or in another file that holds a text of the Projection Engine or a description.

        >>> import os, tempfile
        >>> path = os.path.join(tempfile.mkdtemp(), "a.prj")
        >>> with open(path, "w") as file: _ = file.write(oprj.CRS("EPSG:2263").to_wkt())
        >>> oprj.CRS.from_file(path).units
        'us_survey_feet'
        """
        with open(path, encoding="utf-8-sig") as file:
            return cls(file.read())

    @classmethod
    def from_epsg(cls, code: int) -> CRS:
        """The system of an EPSG code: `CRS.from_epsg(32618)`."""
        return cls(int(code))

    @classmethod
    def from_user_input(cls, value: Any) -> CRS:
        """As `CRS(value)`; so are `from_wkt` and `from_string`."""
        return cls(value)

    from_wkt = from_string = from_user_input

    @property
    def name(self) -> str:
        """A title for people.

        >>> oprj.CRS("EPSG:2263").name
        'State Plane, New York Long Island (NAD83, FIPS Zone 3104)'
        """
        return self._system.name

    @property
    def units(self) -> str:
        """The unit of points, as `oprj.list("units")` has it: `dd` are degrees.

        >>> oprj.CRS("geographic; datum=WGS 84").units
        'dd'
        """
        return self._system.units

    @property
    def datum(self) -> str:
        """The name of the datum; "Undefined" for a system without one."""
        return self._system.datum

    @property
    def spheroid(self) -> str:
        """The name of the spheroid."""
        return self._system.spheroid

    @property
    def is_geographic(self) -> bool:
        """Whether points are longitude, latitude."""
        return self._system.is_geographic

    @property
    def is_projected(self) -> bool:
        """Whether points are easting, northing."""
        return not self._system.is_geographic

    @property
    def notes(self) -> tuple[str, ...]:
        """What was noticed when the text was read.

        >>> oprj.CRS("geographic; datum=EPSG:6326").notes
        ('"EPSG:6326" is taken as the datum "WGS 84"',)
        """
        return tuple(text for _, text in self._system.notes)

    def to_wkt(self) -> str:
        """The text of the Projection Engine, as .prj files hold it.

        >>> oprj.CRS("geographic; datum=WGS 84").to_wkt()[:36]
        'GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1'
        """
        return self._system.to_wkt()

    def to_text(self) -> str:
        """A description, from which an equal system is made.

        >>> oprj.CRS("EPSG:32618").to_text()
        'UTM; datum=WGS 84; zone=18N'
        """
        return self._system.to_text()

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, CRS):
            return NotImplemented
        return self._system is other._system or self._system.equals(other._system)

    def __hash__(self) -> int:
        return hash(self.units)  # systems are equal by what they compute, which no text tells

    def __repr__(self) -> str:
        written = " ".join(self._written.split())
        if len(written) > 40:
            written = written[:37] + "..."
        return f'<oprj.CRS {written}: {self.name}, datum "{self.datum}", {self.units}>'

    def __reduce__(self) -> tuple[Any, ...]:
        text = self._system.description
        is_place = text == self._written.strip() and ("::" in text or text.startswith("@"))
        return _restored, (self.to_text() if is_place else text, self._written)


def _restored(text: str, written: str) -> CRS:
    crs = CRS.__new__(CRS)
    crs._system, crs._written = _oprj.System(text), written
    return crs


class Summary:
    """How many points have results, and why the others have none.

    >>> t = oprj.Transformer("EPSG:4326", "Mercator; datum=WGS 84")
    >>> each = t.each([-75, -75, float("nan")], [40, 90, 40])
    >>> print(each.summary)
    2 of 3 points have no result: 1 not a number, 1 outside the projection's domain
    >>> each.summary.good, each.summary.bad
    (1, 2)
    """

    __slots__ = ("total", "good", "counts", "_kept")

    def __init__(self, counts: Sequence[int], keep_uncovered: bool = False) -> None:
        self.total = sum(counts)
        self.counts: Mapping[Reason, int] = {Reason(i): n for i, n in enumerate(counts) if n}
        self._kept = (Reason.OUTSIDE_GRID, Reason.OUTSIDE_REGRESSION) if keep_uncovered else ()
        self.good = sum(self.counts.get(reason, 0) for reason in (Reason.GOOD, *self._kept))

    @property
    def bad(self) -> int:
        return self.total - self.good

    def __str__(self) -> str:
        def those(kept: bool) -> str:
            return ", ".join(f"{n} {reason.text}" for reason, n in self.counts.items()
                             if reason and (reason in self._kept) == kept)

        verb = "has" if self.bad == 1 else "have"
        text = f"{self.bad} of {self.total} points {verb} no result: {those(False)}" if self.bad else ""
        kept = f"{self.good - self.counts.get(Reason.GOOD, 0)} stay as the shift leaves them: {those(True)}"
        return "; ".join(part for part in (text, those(True) and kept) if part) or f"all {self.total} points have results"

    def __repr__(self) -> str:
        return f"<oprj.Summary: {self}>"


if TYPE_CHECKING:
    class Each(NamedTuple):
        points: Any
        reasons: Any
        summary: Summary

    class Step(NamedTuple):
        kind: str
        method: str
        source: str
        target: str
        source_spheroid: str
        target_spheroid: str
        moved: int
        tried: int
        least: float
        median: float
        greatest: float
        trouble: str
else:
    Each = _namedtuple("Each", "points reasons summary")
    Each.__doc__ = "Results in the form of what came, an array of reasons (values of `oprj.Reason`), a `Summary`."
    Step = _namedtuple("Step", "kind method source target source_spheroid target_spheroid moved tried "
                               "least median greatest trouble")
    Step.__doc__ = """A step between two systems: `kind` is "copy", "inverse", "shift" or "forward".

    A shift was tried at `tried` places and moved `moved` of them by `least` to `greatest` metres; `trouble` tells why
    none can be shifted."""

_KINDS = ("copy", "inverse", "shift", "forward")
_METHODS = ("nothing to do", "the system's projection", "no shift: a datum is undefined", "no shift: the same datum",
            "standard Molodensky formulas (geocentric beyond 88.95 degrees)",
            "seven-parameter geocentric shift (Bowring's formula back)", "the routes of the datums")
_ROUTES = {1: "the grid of the datum, by way of NAD83", 2: "multiple regression equations, by way of WGS 84",
           4: "the datum's shift surface"}
_ROUTE = 6


def _step(row: tuple[Any, ...]) -> Step:
    kind, formula, source, target, on, to, from_type, to_type, *rest = row
    method = _METHODS[formula]
    if formula == _ROUTE:
        method = (f'from "{source}" by {_ROUTES.get(from_type, "its parameters")}, '
                  f'to "{target}" by {_ROUTES.get(to_type, "its parameters")}')
    return Step(_KINDS[kind], method, source, target, on, to, *rest)


def _nothing(step: Step) -> str:
    return f" ({step.method})" if step.method == _METHODS[0] else ""


def _told(step: Step) -> str:
    if step.kind == "copy":
        return "both systems are equal: points are copied"
    if step.kind == "inverse":
        return f'inverse: {step.source} to longitude, latitude on "{step.source_spheroid}"{_nothing(step)}'
    if step.kind == "forward":
        return f'forward: longitude, latitude on "{step.target_spheroid}" to {step.target}{_nothing(step)}'
    text = f'shift: "{step.source}" to "{step.target}", {step.method}'
    if step.trouble:
        return f"{text}; it cannot be made: {step.trouble}"
    if step.moved:
        text += (f"; it moves coordinates by {step.least:.1f} to {step.greatest:.1f} m, median {step.median:.1f} m, "
                 f"at {step.moved} of {step.tried} places")
    return text


class Transformer:
    """Points from one coordinate system to another: x, y in the source's units to x, y in the target's, longitude
    before latitude.

    `source` and `target` are `CRS` or whatever CRS takes. Threads may share a transformer, and it can be pickled.
    What a careful user should know of the way (`cautions`) is told as a SystemWarning. Programs and plug-ins that a
    system names are run only with `allow_external`.

    >>> t = oprj.Transformer("EPSG:4267", "EPSG:4326")
    >>> x, y = t.transform(-122.4194, 37.7749)
    >>> print(f"{x:.9f} {y:.9f}")
    -122.420482174 37.774829514
    """

    __slots__ = ("source", "target", "_pair", "_point")

    def __init__(self, source: Any, target: Any, *, allow_external: bool = False) -> None:
        self.source = source if isinstance(source, CRS) else CRS(source)
        self.target = target if isinstance(target, CRS) else CRS(target)
        for crs in (self.source, self.target):
            if crs._system.is_external and not allow_external:
                raise CRSError((Report("oprj.Transformer", 1, 2, f"{crs.name} is computed outside of this process, by a "
                                       "program or a plug-in: allow_external=True runs it"),))
        self._pair = _oprj.Pair(self.source._system, self.target._system)
        self._point = self._pair.point_call()
        for text in self.cautions:
            _warn(text, SystemWarning)

    @classmethod
    def from_crs(cls, crs_from: Any, crs_to: Any, *,
                 always_xy: bool = True) -> Transformer:
        """As `Transformer(crs_from, crs_to)`. x always stands before y: `always_xy` is there for those who write it.

        >>> t = oprj.Transformer.from_crs("EPSG:4326", 3857, always_xy=True)
        """
        if not always_xy:
            raise ValueError("x (longitude) always stands before y (latitude): exchange the coordinates, and leave "
                             "always_xy out")
        return cls(crs_from, crs_to)

    @property
    def cautions(self) -> tuple[str, ...]:
        """What a careful user should know of both systems and the shift between them."""
        return tuple(self._pair.cautions())

    def transform(self, x: Any, y: Any = None, *, inverse: bool = False, inplace: bool = False, threads: int = 1,
                  verify: float = 0.0, keep_uncovered: bool = False,
                  errors: Literal["nan", "raise"] = "nan") -> Any:
        """Projects coordinates: x, y (longitude, latitude or easting, northing) in the units of the source system to
        those of the target system.

        `x` and `y` are numbers, lists, tuples, NumPy arrays of any numbers, shape and strides, or pandas columns, which
        keep their index; `x` alone are points, an array of shape (..., 2). The result has the form of what came, a
        tuple (x, y) or points. Arrays of doubles are read where they are, and never written unless `inplace`, which
        puts the results in place of the coordinates.

        `inverse` goes from target to source. `threads` share the work; the bits are the same for any number. `verify`
        (metres, 0: not) also projects back: points that return farther away are bad. `keep_uncovered`: points that no grid of
        the datum shift covers stay unshifted, instead of being bad.

        Bad points, places beyond a pole among them, become NaN, with one PointWarning that counts the reasons; errors="raise" raises PointError for the
        first one instead. Ctrl-C ends a long call; arrays that are changed in place are then changed in part.

        >>> t = oprj.Transformer("EPSG:4326", "utm; zone=18; datum=WGS 84")
        >>> x, y = t.transform([-77.0, -75.0], [39.0, 40.5])
        >>> x[1], [round(value, 6) for value in t.transform(x, y, inverse=True)[0]]
        (500000.0, [-77.0, -75.0])
        """
        if y.__class__ is float and x.__class__ is float and threads == 1 and not inplace and not verify:
            result = self._point(x, y, inverse, keep_uncovered)
            if result is not None:
                return result
        raises = errors == "raise"
        if not raises and errors != "nan":
            raise ValueError(f'errors is "nan" or "raise", not {errors!r}')
        points, _, counts, first = self._run(x, y, inverse, inplace, threads, verify, keep_uncovered, raises, False)
        if raises and first >= 0:
            raise self._error(points, first, inverse, verify, keep_uncovered)
        if counts[0] != sum(counts):
            _warn(str(Summary(counts, keep_uncovered)), PointWarning)
        return points.results()

    def each(self, x: Any, y: Any = None, *, inverse: bool = False, inplace: bool = False, threads: int = 1,
             verify: float = 0.0, keep_uncovered: bool = False) -> Each:
        """As `transform`, x before y in the systems' units, with a reason for every point instead of warnings:
        `(points, reasons, summary)`.

        `reasons` is an array of small numbers, the values of `oprj.Reason`.

        >>> t = oprj.Transformer("EPSG:4326", "Mercator; datum=WGS 84")
        >>> points, reasons, summary = t.each([-75.0, -75.0], [40.0, 90.0])
        >>> reasons == oprj.Reason.OUTSIDE_DOMAIN
        array([False,  True])
        """
        points, reasons, counts, _ = self._run(x, y, inverse, inplace, threads, verify, keep_uncovered, False, True)
        return Each(points.results(), reasons, Summary(counts, keep_uncovered))

    def _run(self, x: Any, y: Any, inverse: bool, inplace: bool, threads: int, verify: float,
             keep_uncovered: bool, raises: bool, wants_reasons: bool) -> tuple[Any, Any, Sequence[int], int]:
        from ._arrays import Coordinates

        if not isinstance(threads, int) or not 1 <= threads <= _MOST_THREADS:
            raise ValueError(f"threads are 1 to {_MOST_THREADS}, not {threads}")
        if not 0 <= verify < float("inf"):
            raise ValueError(f"verify is a distance in metres, not {verify}")
        points = Coordinates(x, y, inplace, wants_reasons)
        if raises and inplace:  # else the coordinates of the bad point would be gone
            points.x, points.y = points.x.copy(), points.y.copy()
        counts, first = self._pair.project(points.x, points.y, points.out_x, points.out_y, points.reasons, inverse,
                                           threads, verify, keep_uncovered, raises)
        return points, points.reasons, counts, first

    def _error(self, points: Any, first: int, inverse: bool, verify: float, keep_uncovered: bool) -> PointError:
        point = float(points.x.flat[first]), float(points.y.flat[first])
        reason = Reason(self._pair.reason(*point, inverse, verify, keep_uncovered))
        error = PointError(self._pair.reports(*point, inverse) or (Report("oprj_ProjectEach", 0, 2, reason.text),))
        error.index, error.point, error.reason = points.index(first), point, reason
        return error

    def explain(self) -> tuple[Step, ...]:
        """Prints what happens to a point on its way, longitude before latitude all along, and returns it as `Step`s.

        >>> steps = oprj.Transformer("utm; zone=17; datum=NAD27 (CONUS)", "EPSG:4326").explain()
        1. inverse: UTM, Zone 17 North to longitude, latitude on "Clarke 1866"
        2. shift: "NAD27 (CONUS)" to "WGS 84", standard Molodensky formulas (geocentric beyond 88.95 degrees); it moves \
coordinates by 8.0 to 476.4 m, median 222.5 m, at 264 of 264 places
        3. forward: longitude, latitude on "WGS 84" to Geographic (nothing to do)
        >>> steps[1].kind, round(steps[1].median)
        ('shift', 223)
        """
        steps = tuple(_step(row) for row in self._pair.steps())
        for number, step in enumerate(steps, 1):
            print(f"{number}. {_told(step)}")
        for text in self.cautions:
            print(f"Note: {text}.")
        return steps

    def __reduce__(self) -> tuple[Any, ...]:
        return Transformer, (self.source, self.target)

    def __repr__(self) -> str:
        return f"<oprj.Transformer from {self.source!r} to {self.target!r}>"


_ROWS = {
    "projections": "number name computed",
    "spheroids": "number name a b aliases",
    "datums": "name kind spheroid description",
    "zones": "zone fips nad state name",
    "units": "name kind factor aliases",
    "codes": "code kind name engine_name west south east north deprecated",
}


@_lru_cache(maxsize=None)
def _row_class(what: str) -> Any:
    return _namedtuple(what[:-1].capitalize(), _ROWS[what])


def list(what: Literal["projections", "spheroids", "datums", "zones", "units", "codes"],
         *words: str) -> Sequence[Any]:
    """What the reference tables hold, a named tuple each; `words` must all be in its texts. Lengths are metres, factors
    lead to metres and radians, areas of codes are degrees.

    >>> len(oprj.list("datums")) > 1000
    True
    >>> [code.code for code in oprj.list("codes", "wgs 84 /", "utm", "18n")]
    ['EPSG:32618']
    """
    if what not in _ROWS:
        raise ValueError(f"{what!r} is none of the tables: {', '.join(_ROWS)}")
    rows = [_row_class(what)._make(row) for row in _oprj.rows(what)]
    for word in words:
        rows = [row for row in rows if any(word.lower() in text.lower() for text in row if isinstance(text, str))]
    return rows


def draw(crs: Any, path: str | _os.PathLike[str], *, width: int | None = None,
         graticule: float | None = None, coast: bool = True,
         area: tuple[float, float, float, float] | None = None, title: str | None = None) -> None:
    """Draws a map of a system, with outline, graticule and coastlines, into an .svg or .png file.

    `width` in pixels, `graticule` in degrees, `area` west, south, east, north in degrees. The program `oprj` draws it,
    which is installed with the library.

    >>> import os, tempfile
    >>> path = os.path.join(tempfile.mkdtemp(), "map.svg")
    >>> oprj.draw("Mollweide; datum=WGS 84", path)
    >>> open(path).read(5)
    '<?xml'
    """
    import shutil
    import subprocess

    program = _beside_library("bin", "oprj") or shutil.which("oprj")
    if not program:
        raise FileNotFoundError("the program oprj, which draws, is not installed beside the library nor on PATH")
    crs = crs if isinstance(crs, CRS) else CRS(crs)
    command = [program, "draw", crs._system.description, "-o", _os.fspath(path)]
    for option, value in (("--width", width), ("--graticule", graticule), ("--title", title)):
        if value is not None:
            command += [option, str(value)]
    if area is not None:
        command += ["--area", *(str(float(side)) for side in area)]
    if not coast:
        command.append("--no-coast")
    run = subprocess.run(command, capture_output=True, text=True)
    told = [line.removeprefix("oprj: ") for line in run.stderr.splitlines()]
    if run.returncode:
        raise Error((Report("oprj draw", run.returncode, 2, "\n".join(told)),))
    for line in told:
        _warn(line.removeprefix("warning: "), SystemWarning)
