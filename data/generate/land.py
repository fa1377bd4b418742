"""Points on land: TopoJSON outlines, covered with points that stand for equal areas."""

import json
import math


class Outlines:
    """The areas of one object of a TopoJSON file by their names."""

    def __init__(self, text, name):
        topology = json.loads(text)
        scale, translate = topology["transform"]["scale"], topology["transform"]["translate"]
        self.arcs = []
        for arc in topology["arcs"]:
            x = y = 0
            points = []
            for dx, dy in arc:
                x, y = x + dx, y + dy
                points.append((x * scale[0] + translate[0], y * scale[1] + translate[1]))
            self.arcs.append(points)
        self.geometries = {geometry["properties"]["name"]: geometry
                           for geometry in topology["objects"][name]["geometries"]}

    def names(self):
        return list(self.geometries)

    def rings(self, name):
        geometry = self.geometries[name]
        polygons = geometry["arcs"]
        if geometry["type"] == "Polygon":
            polygons = [polygons]
        for polygon in polygons:
            for ring in polygon:
                points = []
                for arc in ring:
                    line = self.arcs[arc] if arc >= 0 else self.arcs[~arc][::-1]
                    points += line[1:] if points else line
                yield points

    def points(self, name, step):
        """Points inside, `step` degrees of latitude apart, as far apart on the ground in longitude.

        Scan lines lie at odd multiples of half a step, so that none runs along a parallel that is a
        border."""
        crossings = {}
        for ring in self.rings(name):
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
