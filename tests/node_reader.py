"""An independent reader and writer of node files, written from docs/node-files.md alone.

node_reader.py OPRJ: files that the program writes are read here as `oprj info --json` shows them, and a file
that is written here, with every kind of item, other designs and entries at odd places, is shown as it was meant.
"""
import json
import math
import os
import struct
import subprocess
import sys
import tempfile

PLAIN = {"c": ("c", 1), "C": ("B", 1), "s": ("H", 2), "S": ("h", 2), "t": ("I", 4), "l": ("i", 4), "L": ("I", 4),
         "f": ("f", 4), "d": ("d", 8), "m": ("ff", 8), "M": ("dd", 16), "e": ("H", 2)}
BITS = {"1": 1, "2": 2, "4": 4}


class Text:
    def __init__(self, text):
        self.text, self.at = text, 0

    def until(self, mark):
        end = self.text.index(mark, self.at)
        part, self.at = self.text[self.at:end], end + len(mark)
        return part

    def take(self, choices):
        if self.text[self.at] in choices:
            self.at += 1
            return self.text[self.at - 1]
        return ""


def parse_items(text, designs):
    items = []
    while not text.take("}"):
        item = {"count": int(text.until(":")), "pointer": text.take("*p"), "kind": text.text[text.at]}
        text.at += 1
        if item["kind"] == "e":
            item["values"] = [text.until(",") for _ in range(int(text.until(":")))]
        elif item["kind"] == "o":
            item["items"] = designs[text.until(",")]
        elif item["kind"] == "x":
            text.until("{")
            item["items"] = parse_items(text, designs)
            text.until(",")
        item["name"] = text.until(",")
        items.append(item)
    return items


def parse_dictionary(text):
    text, designs = Text(text), {}
    while not text.take("."):
        assert text.take("{"), text.text[text.at:]
        items = parse_items(text, designs)
        designs[text.until(",")] = items
    return designs


def number(value):
    """As JSON has it: what is no number is a text."""
    if isinstance(value, float) and not math.isfinite(value):
        return "nan" if math.isnan(value) else "inf" if value > 0 else "-inf"
    return value


def decode(items, data, at):
    record = {}
    for item in items:
        count = item["count"]
        if item["pointer"]:
            count, offset = struct.unpack_from("<II", data, at)
            at += 8
            assert count == 0 or offset == at, (item["name"], offset, at)
        kind = item["kind"]
        if count == 0:
            value = None
        elif "items" in item:
            value = []
            for _ in range(count):
                element, at = decode(item["items"], data, at)
                value.append(element)
            value = value if count > 1 else value[0]
        elif kind == "b":
            rows, columns = struct.unpack_from("<ii", data, at)
            record[item["name"]] = {"rows": rows, "columns": columns}
            return record, at
        elif kind == "c":
            value = data[at:at + count].split(b"\0")[0].decode("utf-8")
            at += count
        elif kind in BITS:
            bits = BITS[kind]
            value = [data[at + i * bits // 8] >> (i * bits % 8) & (1 << bits) - 1 for i in range(count)]
            at += (count * bits + 7) // 8
        else:
            code, size = PLAIN[kind]
            value = [number(each) for i in range(count) for each in struct.unpack_from("<" + code, data, at + i * size)]
            at += count * size
        if kind == "e" and count:
            value = [item["values"][n] if n < len(item["values"]) else n for n in value]
        if isinstance(value, list) and "items" not in item and len(value) == 1 and item["pointer"] != "p":
            value = value[0]
        record[item["name"]] = value
    return record, at


def read(path):
    data = open(path, "rb").read()
    assert data[:16] == b"OHFA_HEADER_TAG\0"
    record, = struct.unpack_from("<I", data, 16)
    version, _, root, length, dictionary = struct.unpack_from("<iIIhI", data, record)
    assert version == 1 and length == 128
    designs = parse_dictionary(data[dictionary:data.index(b"\0", dictionary)].decode("ascii"))

    def children(entry):
        nodes = []
        at, = struct.unpack_from("<I", data, entry + 12)
        while at:
            following, _, _, _, position, size, name, design, time = struct.unpack_from("<IIIIIi64s32sI", data, at)
            name, design = (text.split(b"\0")[0].decode("utf-8") for text in (name, design))
            node = {"name": name, "design": design, "bytes": size, "time": time}
            if design:
                node["object"], _ = decode(designs[design], data, position)
            node["children"] = children(at)
            nodes.append(node)
            at = following
        return nodes

    return children(root)


def shown(oprj, path):
    return json.loads(subprocess.run([oprj, "info", "--json", path], check=True, capture_output=True).stdout)


def compare(oprj, path):
    mine, theirs = read(path), shown(oprj, path)
    assert mine == theirs, f"{path}:\n{json.dumps(mine)}\n{json.dumps(theirs)}"
    return mine


EVERY_KIND = ("{1:lnumber,3:dvalues,}Inner,"
              "{5:1bits,3:2pairs,3:4nibbles,4:cfixed,0:pctext,0:pCbytes,1:swide,2:Ssmall,1:ttime,1:llong,1:Lunsigned,"
              "1:fsingle,1:ddouble,1:mcomplex,1:MComplex,1:e3:no,yes,not sure,word,0:poInner,many,1:*oInner,one,"
              "1:x{0:pdlist,}Placed,placed,1:*oInner,absent,1:btable,}Every,.")


def object_bytes(base):
    """Bytes of EVERY_KIND for a position."""
    data = b""

    def pointer(count, elements):
        nonlocal data
        data += struct.pack("<II", count, base + len(data) + 8) + elements

    inner = struct.pack("<i3d", -7, 0.5, math.inf, -0.0)
    data += bytes([0b10110, 0b111001, 0x21, 0x0F]) + b"ab\0c"
    pointer(4, b"t\xc3\xa9\0")
    pointer(3, b"\x00\xfe\x80")
    data += struct.pack("<HhhIiIfdffddH", 65535, -2, 3, 4000000000, -5, 4000000001, 0.25, math.pi, 1, 2, 3, 4, 2)
    pointer(2, inner + inner)
    pointer(1, inner)
    pointer(2, struct.pack("<2d", 1e300, 5e-324))
    data += struct.pack("<II", 0, 99)  # absent, whatever the offset
    return data + struct.pack("<iihh", 2, 3, 1, 0) + b"what follows is not known"


def write(path):
    """A file whose parts lie in an unusual order, entries not at multiples of their size."""
    text = EVERY_KIND.encode() + b"\0"
    record, dictionary = 31, 77
    root = dictionary + len(text) + 5
    node, leaf, position = root + 128, root + 300, root + 500

    def entry(following, previous, parent, first, data, size, name, design):
        return struct.pack("<IIIIIi64s32sI4x", following, previous, parent, first, data, size, name, design, 12345)

    item = object_bytes(position)
    parts = {0: b"OHFA_HEADER_TAG\0" + struct.pack("<I", record),
             record: struct.pack("<iIIhI", 1, 4711, root, 128, dictionary), dictionary: text,
             root: entry(0, 0, 0, node, 0, 0, b"root", b"root"),
             node: entry(0, 0, root, leaf, 0, 0, b"a node", b""),
             leaf: entry(0, 0, node, 0, position, len(item), b"every kind", b"Every"), position: item}
    with open(path, "wb") as file:
        for at, part in parts.items():
            file.seek(at)
            file.write(part)


def main(oprj):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "systems.nod")
        systems = ["utm; zone=17; datum=NAD83", "geographic; datum=NAD27", "state plane; zone=California Zone 5; nad=83",
                   "Lambert Conformal Conic; datum=WGS 84; lat_1=33; lat_2=45; lon_0=-96; lat_0=39"]
        for i, system in enumerate(systems):
            subprocess.run([oprj, "convert", system, "--to", "node", "-o", f"{path}::deep:layer {i}"], check=True)
        subprocess.run([oprj, "mapinfo", f"{path}::deep:layer 0", "--units", "meters", "--pixel", "30,30"], check=True,
                       stdout=subprocess.DEVNULL)
        tree = compare(oprj, path)
        assert [layer["name"] for layer in tree[0]["children"]] == [f"layer {i}" for i in range(len(systems))]
        assert tree[0]["children"][0]["children"][0]["object"]["proZone"] == 17
        subprocess.run([oprj, "compact", path, "-o", path + "2"], check=True)
        assert read(path + "2") == tree and os.path.getsize(path + "2") < os.path.getsize(path)

        odd = os.path.join(folder, "odd.nod")
        write(odd)
        every = compare(oprj, odd)[0]["children"][0]["object"]
        assert every["bits"] == [0, 1, 1, 0, 1] and every["word"] == "not sure" and every["text"] == "té", every
        assert every["many"][1]["values"] == [0.5, "inf", -0.0] and every["table"] == {"rows": 2, "columns": 3}, every
        subprocess.run([oprj, "check", odd], check=True, stdout=subprocess.DEVNULL)
        # What cannot be moved is refused by name.
        refused = subprocess.run([oprj, "compact", odd, "-o", odd + "2"], capture_output=True, text=True)
        assert refused.returncode == 3 and "a node:every kind" in refused.stderr, refused
        assert not os.path.exists(odd + "2")
    print("node files are read alike")


main(sys.argv[1])
