"""Datum shift grids: reads the formats of the sources, cuts pieces, writes the multi-grid layout.

A grid here has its nodes in rows from the south, each row from the west; a node is the shift in
longitude, positive west, and in latitude, positive north, both in arc-seconds.
"""

import math
import struct
from array import array

SECONDS = 648000 / math.pi  # of a radian
SNAP = 1e-6  # degrees: bounds nearer than this to a multiple of a second are meant to be there


def snapped(degrees):
    """The multiple of a second that rounding in the source has missed."""
    seconds = round(degrees * 3600)
    return seconds / 3600 if abs(seconds / 3600 - degrees) < SNAP else degrees


class Grid:
    def __init__(self, name, west, south, lon_step, lat_step, columns, rows, lon, lat):
        self.name = name
        self.west, self.south = snapped(west), snapped(south)
        self.lon_step, self.lat_step = lon_step, lat_step
        self.columns, self.rows = columns, rows
        self.east = snapped(west + lon_step * (columns - 1))
        self.north = snapped(south + lat_step * (rows - 1))
        self.lon, self.lat = lon, lat  # of one array each, row after row
        if not len(lon) == len(lat) == columns * rows:
            raise ValueError(f"{name}: {len(lon)} nodes for {columns} x {rows}")

    def contains(self, lon, lat):
        return self.west <= lon <= self.east and self.south <= lat <= self.north

    def cell(self, lon, lat):
        """Index of the cell's first node and the place inside the cell."""
        x = (lon - self.west) / self.lon_step
        y = (lat - self.south) / self.lat_step
        column = min(int(x), self.columns - 2)
        row = min(int(y), self.rows - 2)
        return row * self.columns + column, x - column, y - row

    def at(self, lon, lat):
        """Shift by bilinear interpolation: arc-seconds west, north."""
        k, u, v = self.cell(lon, lat)
        up = k + self.columns
        corner = ((1 - u) * (1 - v), u * (1 - v), (1 - u) * v, u * v)
        return tuple(sum(weight * values[index] for weight, index
                         in zip(corner, (k, k + 1, up, up + 1)))
                     for values in (self.lon, self.lat))

    def metres_between(self, other, lon, lat):
        """How far apart two grids put a point."""
        (lon1, lat1), (lon2, lat2) = self.at(lon, lat), other.at(lon, lat)
        return 30.9 * math.hypot((lon1 - lon2) * math.cos(math.radians(lat)), lat1 - lat2)

    def piece(self, name, west, south, east, north):
        """The nodes of a rectangle whose sides are lines of nodes."""
        first = (west - self.west) / self.lon_step
        last = (east - self.west) / self.lon_step
        low = (south - self.south) / self.lat_step
        high = (north - self.south) / self.lat_step
        sides = [round(side) for side in (first, last, low, high)]
        if any(abs(side - exact) > 1e-6 for side, exact in zip(sides, (first, last, low, high))):
            raise ValueError(f"{name}: a side lies between nodes of {self.name}")
        first, last, low, high = sides
        if not (0 <= first < last < self.columns and 0 <= low < high < self.rows):
            raise ValueError(f"{name}: reaches beyond {self.name}")
        starts = [row * self.columns for row in range(low, high + 1)]
        values = [array("d", (value for start in starts
                              for value in source[start + first:start + last + 1]))
                  for source in (self.lon, self.lat)]
        return Grid(name, west, south, self.lon_step, self.lat_step, last - first + 1,
                    high - low + 1, *values)

    def turned(self, name, degrees):
        return Grid(name, self.west + degrees, self.south, self.lon_step, self.lat_step,
                    self.columns, self.rows, self.lon, self.lat)


def read_ctable2(name, data):
    """CTABLE V2: little-endian, radians."""
    if not data.startswith(b"CTABLE V2"):
        raise ValueError(f"{name}: not of CTABLE V2")
    west, south, lon_step, lat_step = struct.unpack_from("<4d", data, 96)
    columns, rows = struct.unpack_from("<2i", data, 128)
    nodes = array("f")
    nodes.frombytes(data[160:160 + 8 * columns * rows])
    degrees = [math.degrees(value) for value in (west, south, lon_step, lat_step)]
    # the steps are known to few digits in some files: take those that the bounds are made of
    steps = [snapped(step) for step in degrees[2:]]
    return Grid(name, *degrees[:2], *steps, columns, rows,
                array("d", (value * SECONDS for value in nodes[0::2])),
                array("d", (value * SECONDS for value in nodes[1::2])))


def read_ntv1(name, data):
    """NTv1: big-endian, bounds in degrees west positive, rows from the east, latitude first."""
    south, north, east, west, lat_step, lon_step = (
        struct.unpack_from(">d", data, 16 * record + 8)[0] for record in (1, 2, 3, 4, 5, 6))
    columns = round((west - east) / lon_step) + 1
    rows = round((north - south) / lat_step) + 1
    nodes = struct.unpack_from(f">{2 * columns * rows}d", data, 192)
    return Grid(name, -west, south, lon_step, lat_step, columns, rows,
                westwards_turned(nodes[1::2], columns), westwards_turned(nodes[0::2], columns))


def read_ntv2(name, data):
    """NTv2 with one sub-grid: little-endian, bounds in seconds west positive, rows from the east."""
    if struct.unpack_from("<i", data, 40)[0] != 1:
        raise ValueError(f"{name}: more than one sub-grid")
    south, north, east, west, lat_step, lon_step = (
        struct.unpack_from("<d", data, 176 + 16 * record + 8)[0] / 3600
        for record in (4, 5, 6, 7, 8, 9))
    columns = round((west - east) / lon_step) + 1
    rows = round((north - south) / lat_step) + 1
    nodes = array("f")
    nodes.frombytes(data[352:352 + 16 * columns * rows])
    return Grid(name, -west, south, lon_step, lat_step, columns, rows,
                westwards_turned(nodes[1::4], columns), westwards_turned(nodes[0::4], columns))


def westwards_turned(values, columns):
    """Rows that run from the east, turned round."""
    return array("d", (value for start in range(0, len(values), columns)
                       for value in reversed(values[start:start + columns])))


def multi_grid(grids):
    """The bytes of a file of the multi-grid layout; the first grid that contains a point wins."""
    position = 44 * len(grids) + 1
    table, body = b"", b""
    for grid in grids:
        name = grid.name.encode("ascii")
        if len(name) > 16:
            raise ValueError(f"{grid.name}: more than 16 characters")
        bounds = (grid.west, grid.south, grid.east, grid.north)
        if struct.unpack("<4f", struct.pack("<4f", *bounds)) != bounds:
            raise ValueError(f"{grid.name}: bounds are no single precision numbers")
        table += struct.pack("<16si4f2i", name, position, *bounds, grid.columns, grid.rows)
        nodes = array("f", (value for pair in zip(grid.lon, grid.lat) for value in pair))
        body += nodes.tobytes()
        position += 8 * grid.columns * grid.rows
    return table + body
