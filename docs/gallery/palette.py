"""Rewrites PNG pictures with a palette of at most 256 colours: python3 palette.py FILE.png ..."""
import struct
import sys
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"


def read(data):
    """Width, height and rows of an 8-bit RGB picture without interlacing."""
    assert data.startswith(SIGNATURE)
    at, packed = len(SIGNATURE), b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        if kind == b"IHDR":
            width, height, *layout = struct.unpack(">IIBBBBB", body)
            assert layout == [8, 2, 0, 0, 0], "not 8-bit RGB"
        elif kind == b"IDAT":
            packed += body
        at += 12 + length
    raw, size = zlib.decompress(packed), 3 * width
    above, rows = bytearray(size), []
    for y in range(height):
        start = y * (size + 1)
        method, row = raw[start], bytearray(raw[start + 1:start + 1 + size])
        for i in range(size):
            a = row[i - 3] if i >= 3 else 0
            b, c = above[i], above[i - 3] if i >= 3 else 0
            if method == 1:
                row[i] = row[i] + a & 255
            elif method == 2:
                row[i] = row[i] + b & 255
            elif method == 3:
                row[i] = row[i] + (a + b) // 2 & 255
            elif method == 4:
                p = a + b - c
                nearest = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
                row[i] = row[i] + nearest & 255
        rows.append(row)
        above = row
    return width, height, rows


def write(width, height, rows):
    pixels = [[tuple(row[3 * x:3 * x + 3]) for x in range(width)] for row in rows]
    counts = {}
    for row in pixels:
        for colour in row:
            counts[colour] = counts.get(colour, 0) + 1
    # The most frequent colours stay as they are; the others are blends that round off to a coarser
    # grid of colours.
    frequent = sorted(counts, key=counts.get, reverse=True)[:16]
    for step in (8, 16, 32, 64):
        coarse = lambda c: c if c in kept else tuple(min(255, (v + step // 2) // step * step) for v in c)
        kept = set(frequent)
        palette = sorted({coarse(c) for c in counts})
        if len(palette) <= 256:
            break
    index = {colour: i for i, colour in enumerate(palette)}
    lookup = {colour: index[coarse(colour)] for colour in counts}
    raw = b"".join(b"\0" + bytes(lookup[c] for c in row) for row in pixels)

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    return (SIGNATURE + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 3, 0, 0, 0)) +
            chunk(b"PLTE", b"".join(bytes(c) for c in palette)) +
            chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


for name in sys.argv[1:]:
    with open(name, "rb") as file:
        picture = read(file.read())
    with open(name, "wb") as file:
        file.write(write(*picture))
