"""mif_encoder.py LIBRARIES: the designs of the records against an encoder of its own.

Reads the text of the start's dictionary, makes values of every design, encodes them by
docs/mif-format.md, lets the library read the bytes into a record, looks at the record as the
platform's C would lay it out, and lets the library write the bytes again.
"""
import ctypes as c
import hashlib
import os
import random
import re
import struct
import sys

TEXTS = {"start": (1292, "9bdf041d71fc77e3943b186f97bb609ed5c7bc1af6f6249047dc741aa80a3457"),
         "map info": (99, "4eb50ee4c15ec5b770dea25b6a3fde9a1e533e4501646f4de1842aa8cec4b168")}


def read_items(text, at, known):
    """Items up to "}", and the design's name: (name, kind, pointed, design of an object)."""
    items = []
    while text[at] != "}":
        count, pointer, kind = re.match(r"(\d+):([*p]?)(.)", text[at:]).groups()
        at = text.index(kind, text.index(":", at) + 1 + len(pointer)) + 1
        inner = None
        if kind == "e":
            values = int(re.match(r"(\d+):", text[at:]).group(1))
            at = text.index(":", at) + 1
            for _ in range(values):
                at = text.index(",", at) + 1
        elif kind == "o":
            inner = known[text[at:text.index(",", at)]]
            at = text.index(",", at) + 1
        elif kind == "x":
            _, inner, at = read_items(text, at + 1, known)
        end = text.index(",", at)
        items.append((text[at:end], kind, pointer, inner))
        at = end + 1
    end = text.index(",", at)
    return text[at + 1:end], items, end + 1


def read_dictionary(text):
    known, at = {}, 0
    while text[at] != ".":
        name, items, at = read_items(text, at + 1, known)
        known[name] = items
    return known


def value_of(item, draw):
    _, kind, pointer, inner = item
    if inner is not None:
        return None if pointer and draw.random() < 0.3 else [value_of(i, draw) for i in inner]
    if pointer:
        count = draw.randrange(5)
        if kind == "c":
            return bytes(draw.randrange(1, 256) for _ in range(count)) + b"\0" if count else None
        return [value_of((None, kind, "", None), draw) for _ in range(count)] or None
    return {"d": lambda: draw.uniform(-1e9, 1e9), "l": lambda: draw.randrange(-2**31, 2**31),
            "e": lambda: draw.randrange(65536), "C": lambda: draw.randrange(256)}[kind]()


def encode(items, values, base):
    out = b""
    for (_, kind, pointer, inner), value in zip(items, values):
        if pointer:
            count = 0 if value is None else 1 if inner is not None else len(value)
            out += struct.pack("<II", count, base + len(out) + 8 if count else 0)
        if value is None:
            continue
        if inner is not None:
            out += encode(inner, value, base + len(out))
        elif kind == "c":
            out += value
        else:
            out += b"".join(struct.pack({"d": "<d", "l": "<i", "e": "<H", "C": "<B"}[kind], v)
                            for v in (value if pointer else [value]))
    return out


def record_type(items):
    """The C record: ctypes lays it out as the platform's compiler does."""
    plain = {"d": c.c_double, "l": c.c_int32, "e": c.c_int32, "c": c.c_char, "C": c.c_uint8}

    def member(kind, pointer, inner):
        if inner is not None:
            return c.POINTER(record_type(inner)) if pointer else record_type(inner)
        if not pointer:
            return plain[kind]
        return type("Counted", (c.Structure,),
                    {"_fields_": [("count", c.c_int32), ("data", c.POINTER(plain[kind]))]})
    return type("Record", (c.Structure,),
                {"_fields_": [(name, member(*rest)) for name, *rest in items]})


def values_in(items, record):
    values = []
    for name, kind, pointer, inner in items:
        member = getattr(record, name)
        if inner is not None:
            member = (member.contents if member else None) if pointer else member
            values.append(None if member is None else values_in(inner, member))
        elif pointer:
            got = member.data[:member.count] if member.count else None
            values.append(got)
        else:
            values.append(member)
    return values


class ItemInfo(c.Structure):
    _fields_ = [("name", c.c_char_p), ("kind", c.c_char), ("pointer", c.c_char), ("count", c.c_int32),
                ("design", c.c_char_p), ("values", c.c_void_p), ("inPlace", c.c_void_p), ("offset", c.c_int64)]


def main(folder):
    toolkit = c.CDLL(os.path.join(folder, "liboPrjToolkit.so"), mode=c.RTLD_GLOBAL)
    library = c.CDLL(os.path.join(folder, "liboPrj.so"))
    for name in ("omif_DictionarySearchByName", "omif_ConvertToHost", "omif_DictionaryEncodeToString"):
        getattr(toolkit, name).restype = c.c_void_p
    toolkit.omif_DesignHostSize.restype = c.c_size_t
    library.oprj_InitDictionaryCreate.restype = c.c_void_p
    dictionary = c.c_void_p(library.oprj_InitDictionaryCreate((c.c_void_p * 16)(), None))
    text = c.string_at(toolkit.omif_DictionaryEncodeToString(dictionary, None)).decode()
    known, draw, faults = read_dictionary(text), random.Random(11), []

    def check(what, got, wanted):
        if got != wanted:
            faults.append("%s: %r instead of %r" % (what, got, wanted))

    def digest(data):
        return len(data), hashlib.sha256(data).hexdigest()
    check("start", digest(text.encode()), TEXTS["start"])
    check("map info", digest(encode(known["Oprj_MapInfo"], [
        b"UTM\0", [1000.0, 2000.0], [1030.0, 1970.0], [30.0, 30.0], b"meters\0"], 0)), TEXTS["map info"])
    for name, items in known.items():
        design = c.c_void_p(toolkit.omif_DictionarySearchByName(dictionary, name.encode(), None))
        layout, info = record_type(items), ItemInfo()
        if toolkit.omif_DesignHostSize(design, None) < c.sizeof(layout):
            faults.append(name + ": its record is too small")
        for index, (item, *_) in enumerate(items):
            toolkit.omif_DesignItem(design, index, c.byref(info))
            check("%s.%s" % (name, item), info.offset, getattr(layout, item).offset)
        for _ in range(200):
            values = [value_of(item, draw) for item in items]
            data = encode(items, values, 0)
            record = c.c_void_p(toolkit.omif_ConvertToHost(design, data, len(data), None, None))
            if not record:
                faults.append("%s: %s is not read" % (name, data.hex()))
                break
            check(name, values_in(items, c.cast(record, c.POINTER(layout)).contents), values)
            again = c.create_string_buffer(len(data))
            check(name, toolkit.omif_ConvertToMIF(design, record, again, len(data), None), len(data))
            check(name, again.raw, data)
            toolkit.omif_ObjectFree(design, c.byref(record))
    print("\n".join(faults[:10]) or "%d designs as they should be" % len(known))
    return 1 if faults or len(known) != 13 else 0


sys.exit(main(sys.argv[1]))
