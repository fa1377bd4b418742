#!/usr/bin/env python3
"""Reads the reference files back with a reader of its own and holds them against their sources.

    reference_data.py [DIRECTORY]     default: data/ of the tree

Sources are the tables in data/generate and, where Debian's proj-data is installed, the State
Plane definitions and the EPSG dataset that PROJ carries.  Prints a line per finding and a summary;
the exit status is 1 when anything is wrong.  A check that cannot run says why.
"""

import csv
import itertools
import json
import math
import re
import shlex
import sqlite3
import subprocess
import sys
import tempfile
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent
DATA = Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else TREE / "data"
SOURCES = TREE / "data" / "generate"
EXAMPLES = TREE / "examples"
PROJ = Path("/usr/share/proj")

findings = 0
facts_checked = 0


def expect(condition, *message):
    """Counts one fact; tells it when it does not hold."""
    global findings, facts_checked
    facts_checked += 1
    if not condition:
        findings += 1
        print("wrong:", *message)
    return condition


def table(name):
    with open(SOURCES / name, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


# --- a small reader for the three table languages ---------------------------------------------

TOKEN = re.compile(r"""(?P<blank>[\s,]+|\#[^\n]*)
                     | "(?P<text>[^"\n]*)"
                     | (?P<number>[-+]?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?)
                     | (?P<word>[A-Za-z]\w*)
                     | (?P<mark>[{}<>:])""", re.X)


class Reader:
    """Tokens of one file; every want_ either takes a token of its kind or ends the check."""

    def __init__(self, name):
        self.name = name
        self.source = (DATA / name).read_text(encoding="utf-8")
        self.tokens = []
        self.at = position = 0
        while position < len(self.source):
            match = TOKEN.match(self.source, position)
            if not match:
                self.fail(position, "no token of the language")
            if match.lastgroup != "blank":
                self.tokens.append((match.lastgroup, match[match.lastgroup], position))
            position = match.end()

    def fail(self, position, reason):
        """Ends the check; position None is the token taken last."""
        if position is None:
            position = self.tokens[self.at - 1][2]
        sys.exit(f"{self.name}:{self.source.count(chr(10), 0, position) + 1}: {reason}")

    def more(self):
        return self.at < len(self.tokens)

    def peek(self, kind, value=None):
        if not self.more():
            return False
        found, text, _ = self.tokens[self.at]
        return found == kind and value in (None, text)

    def want(self, kind, value=None):
        if not self.peek(kind, value):
            position = self.tokens[self.at][2] if self.more() else len(self.source)
            self.fail(position, f"expected {value or kind}")
        self.at += 1
        return self.tokens[self.at - 1][1]

    def take(self, kind, value=None):
        return self.want(kind, value) if self.peek(kind, value) else None

    def number(self):
        return float(self.want("number"))

    def integer(self):
        value = self.number()
        if not (value.is_integer() and abs(value) < 2**31):
            self.fail(None, "expected a 32-bit integer")
        return int(value)


# --- mapprojections.dat -----------------------------------------------------------------------

# Number: least count of slots its formulas ask for, and the slots that they read ("+" marks one
# that is only there to reach the count).
FAMILIES = """
    0: 0          | 1: 4 3       | 2: 1 0       | 3: 8 2-7     | 4: 8 2-7     | 5: 8 4-7
    6: 8 4-7      | 7: 8 4-7     | 8: 9 2-8     | 9: 8 2 4-7   | 10: 10 4-7 +9 | 11: 9 4-7 +8
    12: 8 4-7     | 13: 8 4-7    | 14: 8 4-7    | 15: 8 2 4-7  | 16: 8 4 6 7  | 17: 8 4-7
    18: 8 4 6 7   | 19: 8 4 6 7  | 20: 12 2-12  | 21: 8 4-7    | 22: 4 +3     | 23: 8 4-7
    24: 8 4 6 7   | 25: 13 2-4 6-8 10 12        | 26: 8 6 7    | 27: 0        | 28: 8 4 6 7
    29: 0         | 30: 8 4 6 7  | 31: 8 4 6 7  | 32: 8 4 6 7  | 33: 9 2-8    | 34: 8 4 6 7
    35: 8 4-7     | 36: 8 2 4-7  | 37: 8 4 6 7  | 38: 8 4 6 7  | 39: 8 4 6 7  | 40: 8 4 6 7
    41: 8 4 6 7   | 42: 8 4 6 7  | 43: 8 4 6 7  | 44: 8 4 6 7  | 45: 8 4-7    | 46: 8 4-7
    47: 8 4 6 7   | 48: 8 4-7    | 49: 8 4-7    | 50: 8 2 4-7  | 51: 8 2 4-7  | 52: 12 6-11
    53: 8 4-7     | 54: 12 2-11  | 55: 8 2 4-7  | 56: 8 4 6 7  | 57: 8 4 6 7  | 58: 8 4-7
    59: 8 4 6 7   | 60: 8 4 6 7  | 61: 8 4-7    | 62: 8 4 6 7  | 63: 8 2 4-7  | 64: 8 2-7
    65: 12 2 5-11 | 66: 12 2 5-11 | 67: 7 2-6   | 68: 8 4 6 7  | 69: 8 2 4 6 7
"""

REQUIRED_PROJECTIONS = {
    0: "Geographic", 1: "UTM", 2: "State Plane", 4: "Lambert Conformal Conic", 7: "Polyconic",
    9: "Transverse Mercator", 20: "Oblique Mercator (Hotine)",
}


def families():
    for family in FAMILIES.replace("\n", "|").split("|"):
        if family.strip():
            number, rest = family.split(":")
            least, *ranges = rest.split()
            slots = set()
            for item in ranges:
                first, _, last = item.lstrip("+").partition("-")
                slots.update(range(int(first), int(last or first) + 1))
            yield int(number), int(least), slots


def read_ending(reader):
    """The text between "<" and ">", checked against the grammar."""
    word = reader.take("word")
    if word:
        if word == "spheroidname":
            return f'spheroidname "{reader.want("text")}"'
        return word if word in ("spheroid", "utmzone", "spzone") else reader.fail(None, f"<{word}>")
    ending = [str(reader.integer())]
    kinds = {"number": (), "integer": (), "nadcode": (), "condition": (),
             "angle": ("dd", "radians"), "distance": ("feet", "meters")}
    reader.want("mark", ":")
    ending.append(reader.want("word"))
    if ending[-1] not in kinds:
        reader.fail(None, f"unknown kind of question {ending[-1]}")
    units = kinds[ending[-1]]
    if units:
        reader.want("mark", ":")
        ending.append(reader.want("word"))
        if ending[-1] not in units:
            reader.fail(None, f"unknown unit {ending[-1]}")
    return ":".join(ending)


def read_answer(reader):
    """What may stand behind ">": the key of a question and what holds when it is left out."""
    if not reader.take("word", "key"):
        return ""
    answer = f' key "{reader.want("text")}"'
    if reader.take("word", "needed"):
        return answer + " needed"
    if reader.take("word", "default"):
        other = reader.take("text")
        return answer + (f' default "{other}"' if other else " default %g" % reader.number())
    return answer


def read_entries(reader):
    entries = []
    while reader.peek("text"):
        prompt = reader.want("text")
        reader.want("mark", "<")
        ending = read_ending(reader)
        reader.want("mark", ">")
        answer, branches = "", None
        if ending.split(":")[1:2] and ending.split(":")[1] in ("number", "integer", "angle", "distance"):
            answer = read_answer(reader)
        if ending.endswith(":condition"):
            branches = []
            reader.want("mark", "{")
            while not reader.take("mark", "}"):
                value = reader.number()
                reader.want("mark", ":")
                label = reader.want("text")
                nested = []
                if reader.take("mark", ":"):
                    reader.want("mark", "{")
                    nested = read_entries(reader)
                    reader.want("mark", "}")
                branches.append((value, label, nested))
        entries.append((prompt, ending, branches, answer))
    return entries


def read_dictionary(name):
    reader = Reader(name)
    blocks = []
    while reader.more():
        title = reader.want("text")
        reader.want("mark", "{")
        reader.want("word", "Internal")
        blocks.append((title, reader.integer(), read_entries(reader)))
        reader.want("mark", "}")
    return reader.source, blocks


def print_entries(entries):
    out = ""
    for prompt, ending, branches, answer in entries:
        out += f'\t"{prompt}" <{ending}>{answer}'
        if branches is not None:
            out += " {\n"
            for value, label, nested in branches:
                out += "\t\t%g:\"%s\": {\n%s\t\t}\n" % (value, label, print_entries(nested))
            out += "\t}"
        out += "\n"
    return out


def flattened(entries):
    for prompt, ending, branches, _ in entries:
        yield prompt, ending
        for _, _, nested in branches or ():
            yield from flattened(nested)


def check_dictionary():
    source, blocks = read_dictionary("mapprojections.dat")
    printed = "".join('"%s" {\n\tInternal %d\n%s}\n' % (title, number, print_entries(entries))
                      for title, number, entries in blocks)
    bare = "".join(line for line in source.splitlines(True) if not line.startswith("#"))
    expect(bare == printed, "mapprojections.dat is not in the layout that printing gives")

    titles = [title.lower() for title, _, _ in blocks]
    expect(len(set(titles)) == len(titles), "projection names repeat")
    expect([number for _, number, _ in blocks] == list(range(70)), "not the numbers 0 to 69")
    named = {number: (title, entries) for title, number, entries in blocks}
    for number, title in REQUIRED_PROJECTIONS.items():
        expect(named[number][0] == title, f"projection {number} must be named {title}")

    for number, least, slots in families():
        title, entries = named[number]
        questions = list(flattened(entries))
        prompts = [prompt.lower() for prompt, _ in questions]
        expect(len(set(prompts)) == len(prompts), title, "repeats a prompt")
        asked = {int(ending.split(":")[0]) for _, ending in questions if ending[0].isdigit()}
        expect(asked == slots, title, "asks the slots", sorted(asked), "not", sorted(slots))
        expect(max(asked, default=-1) + 1 >= least, title, "needs", least, "slots")
        for _, _, branches, _ in (entry for entry in entries if entry[2] is not None):
            values = [value for value, _, _ in branches]
            labels = [label.lower() for _, label, _ in branches]
            expect(len(set(values)) == len(values) >= 2, title, "repeats a branch value")
            expect(len(set(labels)) == len(labels), title, "repeats a branch label")
            expect(0 in values, title, "has no branch for a record that holds zeros")
        numbered = [ending[0].isdigit() for _, ending, _, _ in entries]
        expect(numbered == sorted(numbered), title, "must ask spheroid and zone first")
        record = "spzone" if number == 2 else "spheroid"
        expect(record in {ending for _, ending, _, _ in entries}, title, "must ask", record)
    expect("utmzone" in {ending for _, ending, _, _ in named[1][1]}, "UTM must ask its zone")


# --- spheroid.tab, spheroid_epsg.tab ----------------------------------------------------------

NOMINAL_SPHERE = "Sphere of Nominal Radius of Earth"
SHIFT = ("dx_m", "dy_m", "dz_m", "rx_rad", "ry_rad", "rz_rad", "scale")


def read_spheroids(name):
    reader = Reader(name)
    spheroids = []
    if reader.take("word", "spheroidfile"):
        reader.want("text")
    while reader.more():
        title = reader.want("text")
        reader.want("mark", "{")
        head = (reader.integer(), reader.number(), reader.number())
        aliases, datums = [], []
        while reader.take("word", "alias"):
            aliases.append(reader.want("text"))
        if reader.take("word", "description"):
            reader.want("text")
        while not reader.take("mark", "}"):
            datum, kind = reader.want("text"), reader.want("word")
            if kind == "parametric":
                value = [reader.number() for _ in SHIFT]
            elif kind == "grid":
                value = reader.want("text")
            else:
                value = None
                if kind != "regression":
                    reader.fail(None, f"unknown kind of datum {kind}")
            if reader.take("word", "description"):
                reader.want("text")
            datums.append((datum, kind, value))
        spheroids.append((title, head, aliases, datums))
    return spheroids


def check_datums(name, spheroids, wanted):
    """Every row of the source table, on its spheroid, with exactly its figures; and no other."""
    wanted = {row["name"]: row for row in wanted}
    for title, _, _, datums in spheroids:
        for datum, kind, value in datums:
            row = wanted.pop(datum, None)
            if not expect(row, f"{name}: {datum} is in no source or twice in the file"):
                continue
            expect((row["spheroid"], row.get("kind", "parametric")) == (title, kind),
                   f"{name}: {datum} is of another spheroid or kind")
            if kind == "parametric":
                expect(value == [float(row[key]) for key in SHIFT], f"{name}: figures of {datum}")
                # The largest of all is Fatu Iva 72: 2858 m and 71 seconds of arc.
                expect(math.hypot(*value[:3]) < 3000 and max(map(abs, value[3:])) < 4e-4,
                       f"{name}: shift of {datum} is not a shift of metres and radians")
            elif kind == "grid":
                expect(value == row["grid"], f"{name}: grid of {datum}")
    expect(not wanted, f"{name} lacks {sorted(wanted)}")


def check_spheroids():
    spheroids = read_spheroids("spheroid.tab")
    epsg = read_spheroids("spheroid_epsg.tab")
    files = sorted(path.name.encode() for path in DATA.glob("spheroid*.tab"))
    expect(files == [b"spheroid.tab", b"spheroid_epsg.tab"],
           "spheroid.tab must be the first spheroid file in byte order, not", files)

    rows = table("spheroids.csv")
    expect([(row["name"], (int(row["number"]), float(row["a_m"]), float(row["b_m"])),
             [alias for alias in row["aliases"].split(";") if alias]) for row in rows]
           == [entry[:3] for entry in spheroids], "spheroid.tab differs from spheroids.csv")
    expect([int(row["number"]) for row in rows] == list(range(73)), "not the numbers 0 to 72")
    for row in rows:
        a, b = float(row["a_m"]), float(row["b_m"])
        expect(b <= a < 1.01 * b, row["name"], "is not an Earth spheroid")
        if row["inverse_flattening"] not in ("", "0"):
            # The table's flattening has up to nine decimals; b may be the defining figure.
            expect(abs(a - a / float(row["inverse_flattening"]) - b) < 2e-4, row["name"], "b")

    names = [title for title, _, _, _ in spheroids]
    aliases = [alias for _, _, given, _ in spheroids for alias in given]
    expect(len(set(names + aliases)) == len(names + aliases), "a spheroid name or alias repeats")
    first = {title: entry for title, *entry in spheroids}
    for title, head, given, _ in epsg:
        expect(first.get(title, [None])[:2] == [head, given],
               f"spheroid_epsg.tab: {title} is not as in spheroid.tab")

    check_datums("spheroid.tab", spheroids, table("datums.csv"))
    check_datums("spheroid_epsg.tab", epsg, table("datums-epsg.csv"))
    datums = [datum for entry in spheroids + epsg for datum, _, _ in entry[3]]
    expect(len(set(datums)) == len(datums) == 312 + 781, "datum names repeat, or not all are there")

    kinds = {(title, datum): kind for title, _, _, held in spheroids for datum, kind, _ in held}
    for title, datum, kind in (
            (NOMINAL_SPHERE, NOMINAL_SPHERE, "parametric"),
            ("Clarke 1866", "Clarke 1866", "parametric"), ("Clarke 1866", "NAD27", "grid"),
            ("Clarke 1866", "NAD27 (CONUS)", "parametric"), ("GRS 1980", "NAD83", "grid"),
            ("GRS 1980", "HARN", "grid"), ("GRS 1980", "NAD83 (DMA)", "parametric"),
            ("WGS 84", "WGS 84", "parametric"), ("WGS 72", "WGS 72", "parametric"),
            ("Clarke 1866", "NAD27 (CONUS) (MRE)", "regression"),
            ("South American 1969", "SAD69 (MRE)", "regression")):
        expect(kinds.get((title, datum)) == kind, f"{title} must have the {kind} datum {datum}")


def epsg_database():
    path = PROJ / "proj.db"
    if not path.exists():
        print(f"skipped: EPSG figures against PROJ's dataset ({path} is not there)")
        return None
    return sqlite3.connect(f"file:{path}?mode=ro", uri=True)


def check_against_epsg():
    """Spheroids with an EPSG code and all EPSG datums against the dataset that PROJ carries."""
    database = epsg_database()
    if database is None:
        return
    ellipsoid = {str(code): (a, a * (1 - 1 / flattening) if flattening else b or a)
                 for code, a, flattening, b in database.execute(
                     """SELECT e.code, semi_major_axis * conv_factor, inv_flattening,
                               semi_minor_axis * conv_factor
                        FROM ellipsoid e JOIN unit_of_measure u
                          ON u.auth_name = uom_auth_name AND u.code = uom_code
                        WHERE e.auth_name = 'EPSG'""")}
    axes = {}
    for row in table("spheroids.csv"):
        axes[row["name"]] = float(row["a_m"]), float(row["b_m"])
        code = re.search(r"EPSG (\d+)", row["codes"])
        if code and expect(code[1] in ellipsoid, row["name"], f"has no EPSG code {code[1]}"):
            expect(math.dist(axes[row["name"]], ellipsoid[code[1]]) < 1e-6, row["name"],
                   "has other axes than EPSG", code[1])

    unit = {(name, str(code)): factor for name, code, factor in database.execute(
        "SELECT auth_name, code, conv_factor FROM unit_of_measure")}
    for row in table("datums-epsg.csv"):
        found = database.execute(
            """SELECT tx, ty, tz, rx, ry, rz, scale_difference, translation_uom_auth_name,
                      translation_uom_code, rotation_uom_auth_name, rotation_uom_code,
                      scale_difference_uom_auth_name, scale_difference_uom_code, method_code,
                      d.ellipsoid_code, d.prime_meridian_code, target_crs_code
               FROM helmert_transformation_table h
               JOIN geodetic_crs g
                 ON g.auth_name = source_crs_auth_name AND g.code = source_crs_code
               JOIN geodetic_datum d ON d.auth_name = datum_auth_name AND d.code = datum_code
               WHERE h.auth_name = 'EPSG' AND h.code = ?""", (row["epsg_operation"],)).fetchone()
        if not expect(found, row["name"], "is not in the dataset"):
            continue
        metre, turn, part = (unit.get((found[i], str(found[i + 1])), 0) for i in (7, 9, 11))
        sign = -1 if str(found[13]) == "9606" else 1  # position vector
        theirs = [*(value * metre for value in found[:3]),
                  *((value or 0) * turn * sign for value in found[3:6]), (found[6] or 0) * part]
        ours = [float(row[key]) for key in SHIFT]
        expect(all(math.isclose(x, y, rel_tol=1e-12, abs_tol=1e-18) for x, y in zip(ours, theirs)),
               row["name"], "figures", ours, "not", theirs)
        expect(math.dist(axes[row["spheroid"]], ellipsoid[str(found[14])]) < 1e-6, row["name"],
               "is on another spheroid")
        expect((str(found[15]), str(found[16])) == ("8901", "4326"), row["name"],
               "is not from Greenwich to WGS 84")


# --- sptable.tab ------------------------------------------------------------------------------

PROJ_NAMES = {1: "tmerc", 2: "lcc", 3: "poly", 4: "omerc"}
NOT_IN_PROJ = {("nad83", 1600), ("nad83", 5400)}
AXES = {"nad27": (6378206.4, 6356583.8), "nad83": (6378137.0, 6356752.314140356)}
MICHIGAN = {("nad27", 2111), ("nad27", 2112), ("nad27", 2113)}
ENLARGED = 1.0000382  # the spheroid of Michigan's NAD27 Lambert zones against Clarke 1866


def read_zones(name):
    reader = Reader(name)
    zones = []
    while reader.more():
        state, title, number = reader.want("text"), reader.want("text"), reader.integer()
        nad = reader.want("word")
        zones.append((state, title, number, nad, reader.integer(), reader.integer(),
                      [reader.number() for _ in range(9)]))
    return zones


def unpacked(value):
    """Degrees of a packed DDDMMMSSS.SS angle; NaN when minutes or seconds are out of range."""
    degrees, rest = divmod(abs(value), 1e6)
    minutes, seconds = divmod(rest, 1e3)
    if degrees > 360 or minutes >= 60 or seconds >= 60:
        return math.nan
    return math.copysign(degrees + minutes / 60 + seconds / 3600, value)


def proj_degrees(text):
    sign, degrees, minutes, seconds = re.fullmatch(
        r"(-?)(\d+\.?\d*)(?:d(?:(\d+\.?\d*)'?)?(?:(\d+\.?\d*)\"?)?)?", text).groups()
    size = float(degrees) + float(minutes or 0) / 60 + float(seconds or 0) / 3600
    return -size if sign else size


def proj_zones(nad):
    text = "\n".join(line for line in (PROJ / nad).read_text(encoding="ascii").splitlines()
                     if not line.startswith("#"))
    return {int(number): dict(item.split("=") for item in body.split() if "=" in item)
            for number, body in re.findall(r"<(\d+)>([^<]*)<>", text)}


def check_zone_against_proj(label, kind, c, theirs):
    def degrees(*keys):
        return [proj_degrees(theirs.get(key, "0")) for key in keys]

    def numbers(*keys):
        return [float(theirs.get(key, "0")) for key in keys]

    if not expect(theirs["proj"] == PROJ_NAMES[kind], label, "kind"):
        return
    angles, lengths, scale, order = {
        1: ((c[2], c[6]), c[7:9], (c[3],), ("lon_0", "lat_0")),
        2: ((c[2], c[6]), c[7:9], (), ("lon_0", "lat_0")),
        3: ((c[2], c[3]), c[4:6], (), ("lon_0", "lat_0")),
        4: ((c[2], c[6], c[5]), c[7:9], (c[3],), ("lonc", "lat_0", "alpha")),
    }[kind]
    pairs = [(unpacked(x), y, 1e-9) for x, y in zip(angles, degrees(*order))]
    if kind == 2:  # the projection does not mind which parallel comes first
        ours, given = sorted(map(unpacked, c[4:6])), sorted(degrees("lat_1", "lat_2"))
        pairs += [(x, y, 1e-9) for x, y in zip(ours, given)]
    pairs += [(x, y, 1e-6) for x, y in zip(lengths, numbers("x_0", "y_0"))]
    pairs += [(x, y, 1e-12) for x, y in zip(scale, [float(theirs.get("k", "1"))])]
    expect(all(abs(x - y) <= bound for x, y, bound in pairs), label, "constants", pairs)


def check_zones():
    zones = read_zones("sptable.tab")
    rows = table("stateplane-zones.csv")
    expect([(row["state_name"], row["zone_name"], int(row["zone_number"]), row["nad"],
             int(row["kind"]), int(row["fips"]), [float(row[f"c{i}"]) for i in range(9)])
            for row in rows] == zones, "sptable.tab differs from stateplane-zones.csv")
    count = {nad: sum(zone[3] == nad for zone in zones) for nad in AXES}
    expect(len(zones) == 259 and count == {"nad27": 134, "nad83": 125}, "zones:", count)
    expect(len({(zone[3], zone[2]) for zone in zones}) == len(zones), "a zone number repeats")
    expect(len({(zone[0].lower(), zone[1].lower(), zone[3]) for zone in zones}) == len(zones),
           "a zone's names repeat")

    available = {nad: (PROJ / nad).exists() for nad in AXES}
    theirs = {nad: proj_zones(nad) if there else {} for nad, there in available.items()}
    for nad in (nad for nad, there in available.items() if not there):
        print(f"skipped: {nad} zones against PROJ ({PROJ / nad} is not there)")
    for state, title, number, nad, kind, fips, c in zones:
        label = f"sptable.tab: {state} {title} ({fips}, {nad}):"
        expect(number == fips > 0 and kind in PROJ_NAMES, label, "number or kind")
        factor = ENLARGED if (nad, fips) in MICHIGAN else 1
        expect(all(abs(x - y * factor) < 1e-6 for x, y in zip(c, AXES[nad])), label, "axes")
        angles = {1: (2, 6), 2: (2, 4, 5, 6), 3: (2, 3), 4: (2, 5, 6)}[kind]
        expect(not any(math.isnan(unpacked(c[i])) for i in angles), label, "packed angle")
        unused = {1: (4, 5), 2: (3,), 3: (6, 7, 8), 4: (4,)}[kind]
        expect(not any(c[i] for i in unused), label, "an unused constant is not 0")
        if available[nad] and (nad, fips) not in NOT_IN_PROJ:
            if expect(fips in theirs[nad], label, "PROJ does not have it"):
                check_zone_against_proj(label, kind, c, theirs[nad].pop(fips))
    for nad, left in theirs.items():
        expect(not left, "PROJ has more zones:", nad, sorted(left))


# --- coastline-*.txt --------------------------------------------------------------------------

# Millions of the scale, decimals, bytes at most; then the segments that close polygons on a flat map and
# are not drawn: across the antimeridian, along it, along the south edge.
COASTS = ((110, 2, 100_000, (7, 3, 0)),
          (50, 3, 1_000_000, (8, 8, 255)))


def check_coastlines():
    return "; ".join(check_coastline(*row) for row in COASTS)


def check_coastline(millions, decimals, most_bytes, expected):
    name = f"coastline-{millions}m.txt"
    words = re.sub(r"#[^\n]*", "", (DATA / name).read_text(encoding="ascii")).split()
    words.reverse()
    lines = []
    while words:
        count = int(words.pop())
        lines.append([(float(words.pop()), float(words.pop())) for _ in range(count)])
    expect((DATA / name).stat().st_size < most_bytes, name, "is large")
    expect(all(len(line) >= 2 for line in lines), name, "a coastline of one point")
    drawn = {frozenset(ends) for line in lines for ends in zip(line, line[1:])}

    # The source's segments, decoded on their own.
    topology = json.loads((SOURCES / f"land-{millions}m.json").read_text(encoding="ascii"))
    (sx, sy), (tx, ty) = topology["transform"]["scale"], topology["transform"]["translate"]
    source = set()
    for arc in topology["arcs"]:
        sums = zip(*(itertools.accumulate(column) for column in zip(*arc)))
        points = [(round(x * sx + tx, decimals), round(y * sy + ty, decimals)) for x, y in sums]
        source.update(map(frozenset, zip(points, points[1:])))
    source = {segment for segment in source if len(segment) == 2}
    expect(not drawn - source, name, "has lines of its own:", drawn - source)
    left_out = [sorted(segment) for segment in source - drawn]
    across = [ends for ends in left_out if ends[1][0] - ends[0][0] > 180]
    along = [ends for ends in left_out if ends[0][0] == ends[1][0] and abs(ends[0][0]) == 180]
    edge = [ends for ends in left_out if ends not in across and max(ends[0][1], ends[1][1]) < -89.9]
    expect((len(across), len(along), len(edge)) == expected and len(left_out) == sum(expected),
           name, "lacks lines:", left_out)
    return f"{len(lines)} coastlines with {len(drawn)} segments, {len(left_out)} left out"


# --- examples ---------------------------------------------------------------------------------

def check_places():
    zone_18 = ("places.csv", 45, -78, -72)
    for name, least, west, east in (zone_18, ("world-places.csv", 40, -180, 180)):
        path = EXAMPLES / name
        if not expect(path.exists(), f"{path} is not there"):
            continue
        with open(path, newline="", encoding="utf-8") as file:
            rows = list(csv.DictReader(file))
        expect(list(rows[0])[:3] == ["name", "longitude", "latitude"], name, "columns")
        expect(len(rows) >= least, name, "has only", len(rows), "places")
        expect(len({row["name"] for row in rows}) == len(rows), name, "repeats a name")
        for row in rows:
            lon, lat = float(row["longitude"]), float(row["latitude"])
            expect(west < lon < east and abs(lat) < 90, name, row["name"], "lies elsewhere")
            expect(None not in row and all(row.values()), name, row["name"], "columns")


# --- names.tab --------------------------------------------------------------------------------

def check_names():
    """Common names stand once, in the form that they are looked up, for names of the tables."""
    tables = "".join((DATA / name).read_text(encoding="utf-8") for name in ("spheroid.tab", "spheroid_epsg.tab"))
    known = {"datum": set(re.findall(r'^\t"([^"]+)" (?:parametric|grid|regression)', tables, re.M)),
             "spheroid": set(re.findall(r'^"([^"]+)" \{', tables, re.M))}
    reader, seen = Reader("names.tab"), set()
    while reader.more():
        kind, name = reader.want("word"), reader.want("text")
        expect(name == name.lower() and not re.search(r"[\s!-/:-@\[-`{-~]", name), name, "is not bare")
        expect((kind, name) not in seen, kind, name, "stands twice")
        seen.add((kind, name))
        targets = [reader.want("text")]
        while reader.peek("text"):
            targets.append(reader.want("text"))
        expect(known[kind] >= set(targets), kind, name, "stands for unknown names")


# --- code_texts.tab ---------------------------------------------------------------------------

def check_codes():
    """Texts stand in the order of the codes, one for nearly each, under the name that the code has there."""
    with (DATA / "codes.tab").open(encoding="utf-8") as file:
        rows = [shlex.split(line) for line in file if not line.startswith("#")]
    codes = {(row[0], int(row[1])): row for row in rows}
    seen = []
    with (DATA / "code_texts.tab").open(encoding="utf-8") as file:
        for line in file:
            if line.startswith("#"):
                continue
            authority, number, text = line.rstrip("\n").split(" ", 2)
            row = codes.get((authority, int(number)))
            expect(row is not None, authority, number, "has a text, but is no code")
            seen.append((authority, int(number)))
            start = {"projected": "PROJCS[", "geographic": "GEOGCS["}[row[2]] + f'"{row[8]}"'
            expect(text.startswith(start) or not row[8], authority, number, "is not", start)
            expect(text.count("[") == text.count("]") and text.count('"') % 2 == 0, authority, number, "is cut")
    expect(seen == sorted(set(seen)), "code_texts.tab is not in order")
    expect(len(codes) - len(seen) <= 4, len(codes) - len(seen), "codes have no text")


# --- all --------------------------------------------------------------------------------------

def check_reproducible():
    with tempfile.TemporaryDirectory() as directory:
        subprocess.run([sys.executable, SOURCES / "generate.py", directory], check=True)
        for path in Path(directory).iterdir():
            place = next(place for place in (DATA, TREE / "interchange", TREE / "docs") if (place / path.name).exists())
            expect(path.read_bytes() == (place / path.name).read_bytes(),
                   f"{path.name} is not what generate.py writes")


def main():
    check_dictionary()
    check_spheroids()
    check_against_epsg()
    check_zones()
    check_names()
    check_codes()
    coasts = check_coastlines()
    check_places()
    check_reproducible()
    print(f"{facts_checked} facts checked ({coasts}), {findings} wrong")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
