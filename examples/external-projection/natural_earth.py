#!/usr/bin/env python3
"""The same projection in Python: the protocol needs nothing but standard input and output.

A command is a header of two 32-bit numbers (little-endian), what is asked and how many bytes follow, and these bytes.
So is an answer, whose first number is 0, or a status behind which reports follow.
"""
import math
import struct
import sys

INIT, TO_LL, FROM_LL, QUIT = 0, 1, 2, 4


class NaturalEarth:
    """[Savric 2011], on the sphere of radius a."""

    def __init__(self, record):
        numbers = record["entries"]
        if record["a"] <= 0 or len(numbers) < 8:
            raise ValueError("a spheroid and 8 entries are needed, not %d" % len(numbers))
        self.a, self.lon0, self.x0, self.y0 = record["a"], numbers[4], numbers[6], numbers[7]

    @staticmethod
    def length(lat):
        p = lat * lat
        return 0.8707 + p * (-0.131979 + p * (-0.013791 + p * p * p * (0.003971 + p * -0.001529)))

    @staticmethod
    def height(lat):
        p = lat * lat
        return lat * (1.007226 + p * (0.015085 + p * p * (-0.044475 + p * (0.028874 + p * -0.005916))))

    @staticmethod
    def slope(lat):
        p = lat * lat
        return 1.007226 + p * (3 * 0.015085 + p * p * (7 * -0.044475 + p * (9 * 0.028874 + p * 11 * -0.005916)))

    def from_ll(self, lon, lat):
        if not abs(lat) <= math.pi / 2 or math.isinf(lon):
            return math.nan, math.nan
        lon = math.remainder(lon - self.lon0, 2 * math.pi)
        return self.x0 + self.a * lon * self.length(lat), self.y0 + self.a * self.height(lat)

    def to_ll(self, x, y):
        lat = height = (y - self.y0) / self.a
        for _ in range(20):
            step = (self.height(lat) - height) / self.slope(lat)
            lat -= step
            if abs(step) <= 1e-15:
                break
        lon = (x - self.x0) / (self.a * self.length(lat))
        if not (abs(lat) <= math.pi / 2 + 1e-9 and abs(lon) <= math.pi + 1e-9):
            return math.nan, math.nan
        return math.remainder(lon + self.lon0, 2 * math.pi), lat


def read_record(data):
    """The parameter record of INIT: counts with offsets stand in front of what they count."""
    at = 0

    def take(form):
        nonlocal at
        values = struct.unpack_from("<" + form, data, at)
        at += struct.calcsize("<" + form)
        return values if len(values) != 1 else values[0]

    def text():
        count, _ = take("ii")
        return take("%ds" % count)[:-1].decode() if count else ""

    record = {"type": take("H"), "number": take("i"), "executable": text(), "name": text(), "zone": take("i"), "a": 0}
    count, _ = take("ii")
    record["entries"] = [take("d") for _ in range(count)]
    if take("ii")[0]:
        record["spheroid"] = text()
        record["a"], record["b"], record["e2"], record["radius"] = take("dddd")
    return record


def report(message, code=1):
    """A list of one report: fields of five characters, texts with their lengths in front."""
    name, text = b"natural_earth.py", message.encode()[:500]
    return b"%5d%5d%b%5d%5d%b" % (code, len(name), name, 2, len(text), text)


def serve(read, write):
    projection = None
    while len(header := read(8)) == 8:
        command, size = struct.unpack("<II", header)
        data = read(size)
        status, answer = 0, b""
        try:
            if command == INIT:
                projection = NaturalEarth(read_record(data))
            elif command in (TO_LL, FROM_LL):
                point = projection.from_ll if command == FROM_LL else projection.to_ll
                answer = b"".join(struct.pack("=dd", *point(*pair)) for pair in struct.iter_unpack("=dd", data))
            elif command != QUIT:
                raise ValueError("there is no command %d" % command)
        except Exception as problem:  # whatever it is, the other side has to hear of it
            status, answer = 1, report(str(problem))
        write(struct.pack("<II", status, len(answer)) + answer)
        sys.stdout.buffer.flush()
        if command == QUIT:
            return


if __name__ == "__main__":
    serve(sys.stdin.buffer.read, sys.stdout.buffer.write)
