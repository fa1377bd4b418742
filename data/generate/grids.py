#!/usr/bin/env python3
"""Makes the datum shift grids nad27.dat and harn.dat from the official grids.

    grids.py INPUTS [DIRECTORY]     default: the directory above this one

INPUTS is a directory with the files that grid-sources.sha256 lists (SOURCES.md tells where they come
from); any that differs is refused.  Run by hand: the inputs are not part of this repository, the
results are.  The same inputs give the same bytes.

grid-sources.csv names the official grids with their published accuracy, grid-pieces.csv says which
grids and rectangles cut from them make a file and in which order (the first that contains a point
serves it), grid-areas.csv which grid is made for which area.  Prints how much of each area's land is
served by its own grid, or by one that differs from it there by less than SAME metres; the exit
status is 1 when that is less than LEAST percent anywhere.
"""

import csv
import hashlib
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the source tree stays as it is
from grid_files import multi_grid, read_ctable2, read_ntv1, read_ntv2  # noqa: E402
from land import Outlines  # noqa: E402

HERE = Path(__file__).resolve().parent
READERS = {"ctable2": read_ctable2, "ntv1": read_ntv1, "ntv2": read_ntv2}
SAME = 0.05  # metres
LEAST = {"nad27.dat": 96.5, "harn.dat": 95.0}  # percent; NAD27: the line through the Great Lakes
STEP = 0.05  # degrees between the points that stand for an area's land
FEWEST = 2000  # points of an area; small ones are sampled more densely
TORONTO = "canada 6"  # the piece beside the Niagara frontier, which must hold no land of the US


def table(name):
    with open(HERE / name, newline="", encoding="ascii") as file:
        return list(csv.DictReader(file))


def checked_inputs(directory):
    """The bytes of all inputs by name."""
    inputs = {}
    for line in (HERE / "grid-sources.sha256").read_text(encoding="ascii").splitlines():
        digest, name = line.split()
        inputs[name] = (directory / name).read_bytes()
        if hashlib.sha256(inputs[name]).hexdigest() != digest:
            raise SystemExit(f"{directory / name}: not the file that this script is made for")
    return inputs


def cut(piece, grid):
    sides = [piece[side] for side in ("west", "south", "east", "north")]
    if not any(sides):
        return grid.turned(piece["name"], 0)
    sides = [float(side) for side in sides]
    # Grids that cross the antimeridian are cut there; what lies beyond turns by 360 degrees.
    if sides[0] - grid.west >= 360:
        grid = grid.turned(grid.name, 360)
    return grid.piece(piece["name"], *sides)


def information(pieces, sources):
    """NAME.info: published accuracy and origin of each sub-grid."""
    return "".join(f'"{piece["name"]}" {sources[piece["grid"]]["metres"]} '
                   f'"{sources[piece["grid"]]["source"]}"\n' for piece in pieces)


def land_points(outlines, area):
    step, points = STEP, []
    while len(points) < FEWEST:
        points = list(outlines.points(area, step))
        step /= 2
    return points


def served_percent(pieces, grids, own, points):
    """How much of the points is served by a grid of `own` or by one that says the same there."""
    served = 0
    for lon, lat in points:
        serving = next((origin for piece, origin in pieces if piece.contains(lon, lat)), None)
        if serving is None:
            continue
        served += serving in own or any(
            grids[name].contains(lon, lat) and
            grids[serving].metres_between(grids[name], lon, lat) < SAME for name in own)
    return 100 * served / len(points)


def main():
    if len(sys.argv) not in (2, 3):
        raise SystemExit(__doc__)
    inputs = checked_inputs(Path(sys.argv[1]))
    target = Path(sys.argv[2]) if len(sys.argv) == 3 else HERE.parent
    sources = {row["grid"]: row for row in table("grid-sources.csv")}
    grids = {name: READERS[row["kind"]](name, inputs[row["input"]])
             for name, row in sources.items()}
    files = {}
    for piece in table("grid-pieces.csv"):
        files.setdefault(piece["file"], []).append(piece)
    served = {}
    for name, pieces in files.items():
        made = [cut(piece, grids[piece["grid"]]) for piece in pieces]
        data = multi_grid(made)
        (target / name).write_bytes(data)
        information_text = information(pieces, sources)
        (target / name).with_suffix(".info").write_text(information_text, encoding="ascii")
        print(f"{name}: {len(made)} sub-grids, {len(data)} bytes")
        served[name] = list(zip(made, (piece["grid"] for piece in pieces)))

    states = Outlines(inputs["states-10m.json"], "states")
    countries = Outlines(inputs["countries-10m.json"], "countries")
    toronto = next(grid for grid, _ in served["nad27.dat"] if grid.name == TORONTO)
    poor = False
    print(f"percent of land served by its own grid (or within {SAME} m of it): {' '.join(served)}")
    for area in table("grid-areas.csv"):
        name = area["area"]
        points = land_points(states if name in states.names() else countries, name)
        line = f"{name:28}"
        for file, pieces in served.items():
            own = area[file.removesuffix(".dat")].split()
            share = served_percent(pieces, grids, own, points) if own else None
            line += f"{share:8.2f}" if own else "       -"
            poor = poor or (own and share < LEAST[file])
        print(line)
        if name != "Canada" and any(toronto.contains(*point) for point in points):
            raise SystemExit(f"{name} has land in {TORONTO}")
    return int(poor)


if __name__ == "__main__":
    sys.exit(main())
