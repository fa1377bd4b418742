"""TopoJSON outlines, and points on land that stand for equal areas."""

import json
import math


def arcs_of(topology):
    """The shared lines of a topology as lists of longitude and latitude."""
    scale, shift = topology["transform"]["scale"], topology["transform"]["translate"]
    arcs = []
    for deltas in topology["arcs"]:
        x = y = 0
        points = []
        for dx, dy in deltas:
            x, y = x + dx, y + dy
            points.append((x * scale[0] + shift[0], y * scale[1] + shift[1]))
        arcs.append(points)
    return arcs


def rings_of(shape, arcs):
    """The rings of a polygon or of several."""
    polygons = shape["arcs"] if shape["type"] == "MultiPolygon" else [shape["arcs"]]
    for ring in (ring for polygon in polygons for ring in polygon):
        points = []
        for index in ring:
            arc = arcs[index] if index >= 0 else arcs[~index][::-1]
            points += arc[1:] if points else arc
        yield points


class Outlines:
    """The areas of one object of a TopoJSON file by their names."""

    def __init__(self, text, name):
        topology = json.loads(text)
        self.arcs = arcs_of(topology)
        self.shapes = {shape["properties"]["name"]: shape
                       for shape in topology["objects"][name]["geometries"]}

    def names(self):
        return list(self.shapes)

    def points(self, name, step):
        """Points inside, `step` degrees of latitude apart, as far apart on the ground in longitude.

        Scan lines lie at odd multiples of half a step, so that none runs along a parallel that is a
        border."""
        crossings = {}
        for ring in rings_of(self.shapes[name], self.arcs):
            for (x1, y1), (x2, y2) in zip(ring, ring[1:] + ring[:1]):
                if y1 > y2:
                    x1, y1, x2, y2 = x2, y2, x1, y1
                for line in range(math.ceil(y1 / step - 0.5), math.ceil(y2 / step - 0.5)):
                    at = (line + 0.5) * step
                    crossings.setdefault(line, []).append(x1 + (x2 - x1) * (at - y1) / (y2 - y1))
        for line, xs in sorted(crossings.items()):
            lat = (line + 0.5) * step
            width = step / math.cos(math.radians(lat))
            xs.sort()
            for left, right in zip(xs[0::2], xs[1::2]):
                for column in range(math.ceil(left / width - 0.5), math.ceil(right / width - 0.5)):
                    yield (column + 0.5) * width, lat
