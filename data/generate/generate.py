#!/usr/bin/env python3
"""Writes the reference files of the library from the tables beside this script.

    generate.py [DIRECTORY]     default: the directory above this one, and the places of PLACES

The same input gives the same bytes.  tests/reference_data.py reads the result with a reader of its own.
"""

import csv
import json
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the source tree stays as it is
from dictionary import HEADINGS, PROJECTIONS  # noqa: E402
from land import arcs_of, rings_of  # noqa: E402

HERE = Path(__file__).resolve().parent


def rows(name):
    with open(HERE / name, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


def digits(text):
    """The shortest digits that read back as the same double."""
    shortest = repr(float(text))
    return shortest[:-2] if shortest.endswith(".0") else shortest


def quoted(text):
    if '"' in text or "\n" in text:
        raise ValueError(f"the table languages have no escapes: {text!r}")
    return f'"{text}"'


def commented(text):
    return "".join(f"# {line}".rstrip() + "\n" for line in text.strip("\n").split("\n"))


# --- mapprojections.dat -----------------------------------------------------------------------

DICTIONARY_HEADER = """
Projection dictionary: what each projection asks, and which slot each answer fills.

    "NAME" {  Internal NUMBER  or  External "EXECUTABLE"
      "PROMPT" <spheroid>  <utmzone>  <spzone>  <spheroidname "NAME">
      "PROMPT" <SLOT:number>  <SLOT:integer>  <SLOT:nadcode>
      "PROMPT" <SLOT:angle:dd>  <SLOT:angle:radians>  <SLOT:distance:meters>  <SLOT:distance:feet>
      key "KEY" [needed | default VALUE | default "OTHER KEY"]   behind each of the last two lines
      "PROMPT" <SLOT:condition> { VALUE:"LABEL": { questions of this branch } ... }
    }

A key stands for the question in texts (NAME; KEY=VALUE; ...); left out and not needed it is 0.
A new parameter record has room up to the highest slot asked, branches included.  Without its
comments the file is exactly what printing the dictionary writes.
"""


def entry_lines(entry):
    ending, prompt, rest = entry
    if isinstance(rest, str):
        return [f"\t{quoted(prompt)} <{ending}>{rest}\n"]
    lines = [f"\t{quoted(prompt)} <{ending}> {{\n"]
    for value, label, entries in rest:
        lines.append(f"\t\t{value:g}:{quoted(label)}: {{\n")
        lines += (line for nested in entries for line in entry_lines(nested))
        lines.append("\t\t}\n")
    return lines + ["\t}\n"]


def dictionary_text():
    lines = [commented(DICTIONARY_HEADER)]
    for number, (name, entries) in sorted(PROJECTIONS.items()):
        if number in HEADINGS:
            lines.append(f"#\n# {HEADINGS[number]}\n#\n")
        lines.append(f"{quoted(name)} {{\n\tInternal {number}\n")
        lines += (line for entry in entries for line in entry_lines(entry))
        lines.append("}\n")
    return "".join(lines)


# --- spheroid.tab, spheroid_epsg.tab ----------------------------------------------------------

SPHEROID_HEADER = """
Spheroids, each with the datums that lie on it.

    "SPHEROID" { NUMBER A B  alias "NAME" ...  description "TEXT"  datums }
    "DATUM" parametric DX DY DZ RX RY RZ SCALE  description "TEXT"
    "DATUM" grid "FILE"                         description "TEXT"
    "DATUM" regression                          description "TEXT"

A and B are metres.  A parametric datum's shift is the one to WGS 84, coordinate-frame rotations:
DX to DZ metres, RX to RZ radians, SCALE the scale difference as a pure number.
"""

EPSG_HEADER = """
Datums of the EPSG Geodetic Parameter Dataset 10.076: every valid operation to WGS 84 by three
translations or seven parameters.  The number in a datum's name is the operation's code.  Units and
signs as in spheroid.tab; position-vector rotations have their signs turned.

The spheroids repeat spheroid.tab, which is read first and keeps its numbers and axes.
"""


def described(text):
    return f" description {quoted(text)}" if text else ""


def datum_line(datum, description):
    shift = ("dx_m", "dy_m", "dz_m", "rx_rad", "ry_rad", "rz_rad", "scale")
    body = {
        "parametric": lambda: " ".join(["parametric", *(digits(datum[key]) for key in shift)]),
        "grid": lambda: f"grid {quoted(datum['grid'])}",
        "regression": lambda: "regression",
    }[datum["kind"]]()
    return f"\t{quoted(datum['name'])} {body}{described(description)}\n"


def spheroid_lines(spheroid, datum_lines):
    names = filter(None, spheroid["aliases"].split(";"))
    aliases = "".join(f" alias {quoted(name)}" for name in names)
    head = f"{spheroid['number']} {digits(spheroid['a_m'])} {digits(spheroid['b_m'])}"
    text = described(spheroid["codes"])
    return [f"{quoted(spheroid['name'])} {{ {head}{aliases}{text}\n", *datum_lines, "}\n"]


def classic_description(datum):
    """Area (unless the name tells it), source, and the deviations that the source gives."""
    area = datum["area"] if f"({datum['area']})" not in datum["name"] else ""
    sigma = [datum[f"sigma_{axis}"] for axis in "xyz"]
    spread = f"sigma {' '.join(sigma)} m" if any(sigma) else ""
    parts = (datum["note"], area, datum["source_code"], datum["same_as"], spread)
    return "; ".join(part for part in parts if part)


def epsg_description(datum):
    return f"{datum['area']}; accuracy {digits(datum['accuracy_m'])} m"


def spheroid_text():
    kinds = ("grid", "parametric", "regression")
    datums = {}
    for datum in rows("datums.csv"):
        # The datum named like its spheroid comes first, then grids, shifts, regressions.
        rank = (datum["name"] != datum["spheroid"], kinds.index(datum["kind"]))
        line = datum_line(datum, classic_description(datum))
        datums.setdefault(datum["spheroid"], []).append((rank, line))
    lines = [commented(SPHEROID_HEADER), 'spheroidfile "Spheroids and datums"\n']
    for spheroid in rows("spheroids.csv"):
        ranked = sorted(datums.pop(spheroid["name"], []), key=lambda pair: pair[0])
        lines += spheroid_lines(spheroid, [line for _, line in ranked])
    if datums:
        raise ValueError(f"datums on unknown spheroids: {sorted(datums)}")
    return "".join(lines)


def epsg_text():
    datums = {}
    for datum in rows("datums-epsg.csv"):
        datum["kind"] = "parametric"
        line = datum_line(datum, epsg_description(datum))
        datums.setdefault(datum["spheroid"], []).append(line)
    lines = [commented(EPSG_HEADER), 'spheroidfile "Datums of the EPSG dataset"\n']
    for spheroid in rows("spheroids.csv"):
        if spheroid["name"] in datums:
            lines += spheroid_lines(spheroid, datums.pop(spheroid["name"]))
    if datums:
        raise ValueError(f"datums on unknown spheroids: {sorted(datums)}")
    return "".join(lines)


# --- sptable.tab ------------------------------------------------------------------------------

ZONE_HEADER = """
State Plane zones: state, zone ("---" where the state has only one), zone number, nad27 or nad83,
kind of projection, FIPS code, and nine constants.  The zone number is the FIPS code.

Lengths are metres.  Angles are packed DDDMMMSSS.SS (degrees x 1000000 + minutes x 1000 + seconds,
the sign in front of the whole).  c0 and c1 are the semi-major and semi-minor axis.  By kind:

    kind                        c2           c3         c4         c5         c6          c7  c8
    1  Transverse Mercator      meridian     scale      0          0          latitude    FE  FN
    2  Lambert Conformal Conic  meridian     0          parallel   parallel   latitude    FE  FN
                                                        (second)   (first)    of origin
    3  Polyconic                meridian     latitude   FE         FN         0           0   0
    4  Oblique Mercator         longitude    scale      0          azimuth    latitude    FE  FN
                                of centre                                     of centre
"""


def zone_text():
    keys = ("zone_number", "nad", "kind", "fips")
    text = commented(ZONE_HEADER)
    zones = rows("stateplane-zones.csv")
    for nad, title in (("nad27", "NAD27: Clarke 1866, defined in US survey feet (1200/3937 m)"),
                       ("nad83", "NAD83: GRS 1980")):
        section = [zone for zone in zones if zone["nad"] == nad]
        table = [[quoted(zone["state_name"]), quoted(zone["zone_name"]),
                  *(zone[key] for key in keys), *(digits(zone[f"c{i}"]) for i in range(9))]
                 for zone in section]
        widths = [max(map(len, column)) for column in zip(*table)]
        text += f"\n# {title}\n"
        state = None
        for zone, cells in zip(section, table):
            if zone["state_name"] != state:
                state = zone["state_name"]
                text += f"# {state}\n"
            if zone["note"]:
                text += f"# {zone['fips']}: {zone['note']}\n"
            cells = [cell.ljust(width) if column < 2 else cell.rjust(width)
                     for column, (cell, width) in enumerate(zip(cells, widths))]
            text += " ".join(cells) + "\n"
    return text


# --- coastline-*.txt --------------------------------------------------------------------------

COAST_HEADER = """
Coastlines of the world, 1:{},000,000: Natural Earth 4.1.0, public domain.

A polyline is its number of points, then that many pairs of longitude and latitude in degrees
(east and north positive).  White space separates; "#" starts a comment.
"""

ANTIMERIDIAN = 180 - 1e-6  # degrees
SOUTH_EDGE = -89.9         # degrees; farther south the data follow the edge of a flat map


def is_coast(start, end):
    """False for the lines that close a polygon on a flat map of the world."""
    (lon0, lat0), (lon1, lat1) = start, end
    if abs(lon1 - lon0) > 180:
        return False
    if abs(lon0) >= ANTIMERIDIAN and abs(lon1) >= ANTIMERIDIAN:
        return False
    return not (lat0 < SOUTH_EDGE and lat1 < SOUTH_EDGE)


def coast_rings(topology):
    arcs = arcs_of(topology)
    for shape in topology["objects"]["land"]["geometries"]:
        yield from rings_of(shape, arcs)


def coast_pieces(ring):
    """The coast of a closed ring, as one polyline or, where it is cut, as several."""
    pieces = [[ring[0]]]
    for start, end in zip(ring, ring[1:]):
        if is_coast(start, end):
            pieces[-1].append(end)
        else:
            pieces.append([end])
    if len(pieces) > 1:  # the last piece runs on into the first
        pieces[0] = pieces.pop() + pieces[0][1:]
    return pieces


def coast_text(millions, decimals):
    topology = json.loads((HERE / f"land-{millions}m.json").read_text(encoding="ascii"))
    text = commented(COAST_HEADER.format(millions))
    for piece in (piece for ring in coast_rings(topology) for piece in coast_pieces(ring)):
        pairs = []
        for lon, lat in piece:
            pair = " ".join(digits(round(value, decimals) + 0.0) for value in (lon, lat))
            if not pairs or pair != pairs[-1]:
                pairs.append(pair)
        if len(pairs) < 2:
            continue
        text += f"{len(pairs)}\n"
        line = ""
        for pair in pairs:
            if line and len(line) + 2 + len(pair) > 100:
                text, line = text + line + "\n", ""
            line += ("  " if line else "") + pair
        text += line + "\n"
    return text


# --- names.tab ----------------------------------------------------------------------------------

NAMES_HEADER = """
Common names of datums and spheroids: letters and digits alone, then the names of the tables that one
stands for.  Where there are several, those for large areas come first, then the most accurate.

    datum "NAME" "DATUM" ...
    spheroid "NAME" "SPHEROID" ...
"""


def names_text():
    lines = [commented(NAMES_HEADER)]
    for row in rows("names.csv"):
        targets = " ".join(quoted(target) for target in row["targets"].split(";"))
        lines.append(f"{row['kind']} {quoted(row['name'])} {targets}\n")
    return "".join(lines)


# --- names of the Projection Engine -----------------------------------------------------------

# A parameter of a projection: its name as it is written, then what it stands for.
BINDING = re.compile(r"(?P<name>\w+) (?P<slot>\d+)?(?P<form>[-!?=]?)(?P<value>\d+)?$")
FORMS = {"": "kSlot", "!": "kNeeded", "=": "kFixed", "?": "kAccepted", "-": "kAbsent"}
RULES = {"": "kNone", "sphere": "kSphere", "north": "kNorth", "south": "kSouth", "pole": "kPole",
         "true scale": "kTrueScale", "two parallels": "kTwoParallels", "turned": "kTurned",
         "origin": "kOrigin", "azimuth": "kAzimuth", "two points": "kTwoPoints"}


def folded(name):
    return name.lower().removeprefix("d_")


def parameter_numbers():
    return {name: number for number, row in enumerate(rows("engine-parameters.csv"))
            for name in (row["name"], *filter(None, row["aliases"].split(";")))}


def bindings_of(row):
    """(name, form, slot or -1, value) of each parameter; the offsets go before unless they are named."""
    found = []
    for part in row["parameters"].split("; "):
        match = BINDING.match(part)
        if not match:
            raise ValueError(f"{row['name']}: {part!r} is no parameter")
        found.append((match["name"], FORMS[match["form"]], int(match["slot"] or -1), float(match["value"] or 0)))
    names = [name for name, *_ in found]
    offsets = [(name, "kSlot", slot, 0.0) for name, slot in (("False_Easting", 6), ("False_Northing", 7))
               if name not in names]
    return offsets + found


def array(kind, name, lines):
    return f"constexpr {kind} {name}[] = {{\n" + "".join(f"    {line},\n" for line in lines) + "};\n"


def engine_tables():
    numbers = parameter_numbers()
    parameters = [f'{{"{row["name"]}", Quantity::k{row["kind"].capitalize()}, {row["default"]}}}'
                  for row in rows("engine-parameters.csv")]
    names = [f'{{"{name}", {numbers[name]}}}' for name in sorted(numbers, key=folded)]
    bindings, projections, readable = [], [], []
    for index, row in enumerate(rows("engine-projections.csv")):
        own = bindings_of(row)
        uses = ", ".join("true" if use in row["use"] else "false" for use in "rw")
        projections.append(f'{{"{row["name"]}", {row["number"]}, {uses}, Rule::{RULES[row["rule"]]}, '
                           f'{len(bindings)}, {len(own)}}}')
        bindings += [f'{{"{name}", {numbers[name]}, Form::{form}, {slot}, {value:g}}}'
                     for name, form, slot, value in own]
        if "r" in row["use"]:
            readable += [(name, index) for name in (row["name"], *filter(None, row["aliases"].split(";")))]
    readable.sort(key=lambda pair: (folded(pair[0]), pair[1]))
    datums = rows("engine-datums.csv")
    datums.sort(key=lambda row: folded(row["engine"]))
    written = sorted((name, index) for index, row in enumerate(datums)
                     for name in filter(None, row["writes"].split(";")))
    spheroids = sorted(rows("engine-spheroids.csv"), key=lambda row: folded(row["engine"]))
    axes = sorted((name, index) for index, row in enumerate(spheroids) for name in row["spheroids"].split(";"))
    pair = '{{"{}", {}}}'.format
    return "".join((
        "// Written by data/generate/generate.py from the tables engine-*.csv beside it.\n",
        array("ParameterRow", "kParameters", parameters),
        array("NamedRow", "kParameterNames", names),
        array("Binding", "kBindings", bindings),
        array("ProjectionRow", "kProjections", projections),
        array("NamedRow", "kProjectionNames", [pair(*entry) for entry in readable]),
        array("DatumRow", "kDatums", [f'{{"{row["engine"]}", "{row["reads"]}"}}' for row in datums]),
        array("NamedRow", "kDatumsWritten", [pair(*entry) for entry in written]),
        array("SpheroidRow", "kSpheroids", [
            f'{{"{row["engine"]}", {row["a"]}, {row["rf"]}, "{row["spheroids"].split(";")[0]}"}}'
            for row in spheroids]),
        array("NamedRow", "kSpheroidsWritten", [pair(*entry) for entry in axes]),
    ))


ENGINE_PAGE = """# Names of the Projection Engine

How coordinate systems are translated between records and texts of the Projection Engine
([engine-strings.md](engine-strings.md)). This page is written by `data/generate/generate.py` from the tables
`engine-*.csv` beside it, as are the tables that the library compiles in.

## Projections

Names and parameters are taken in any case; `Longitude_Of_Center` and `Longitude_Of_Origin` are
`Central_Meridian`, `Latitude_Of_Center` is `Latitude_Of_Origin`. A parameter that is left out is 1 for scales and
0 for others; one that a projection does not read must have that value. Every row reads and writes
`False_Easting` and `False_Northing` (slots 6 and 7 of the record) unless it says otherwise. Behind a name stands
its slot, or the value that it must have; "at most" is a value that may be given, "needed" and "never" what must and must not be given.
One name is one number: rows that only write belong to numbers whose texts are read as another's.

{projections}
Transverse Mercator is read as UTM (1) where zone, scale factor and offsets are those of a zone, and Transverse
Mercator, Lambert, Polyconic and Oblique Mercator as State Plane (2) where datum, axes and all parameters are
those of a zone; both are written with the projection that they stand on. (ESRI:26788 to 26790 bear the names of Michigan's
zones of 1964 but lie on Clarke 1866 as it is, which for these zones is enlarged by 38 parts in a million: Lambert.) 21 to 23,
25, 26, 29 and 33 have no counterpart.

## Datums

What a name in a text is read as: the datum of the tables that has just this name, else its mean, else its only
variant. Where there are several (no entry) the text's name is kept and the system is not shifted. Every variant of
a name in the last column is written as that row's.

{datums}
## Spheroids

Read by name where both axes agree within a millimetre, else by axes.

{spheroids}"""

RULE_WORDS = {"": "", "sphere": "on spheres only", "north": "parallel not below 0", "south": "parallel below 0",
              "pole": "latitude a pole", "true scale": "latitude of true scale", "two parallels": "slot 8 is 1",
              "turned": "scale factor negated", "origin": "offsets moved to the centre",
              "azimuth": "slot 12 not 0", "two points": "slot 12 is 0"}


def binding_words(name, form, slot, value):
    words = {"kSlot": f"{slot}", "kNeeded": f"{slot}, needed", "kAbsent": "never", "kAccepted": f"at most {value:g}",
             "kFixed": f"{slot} = {value:g}" if slot >= 0 else f"= {value:g}"}[form]
    return f"{name} ({words})"


def markdown(header, lines):
    table = ["| " + " | ".join(cells) + " |" for cells in (header, ["---"] * len(header), *lines)]
    return "\n".join(table) + "\n"


def engine_page():
    uses = {"rw": "both", "r": "read", "w": "written"}
    projections = []
    for row in rows("engine-projections.csv"):
        implied = ("False_Easting", "kSlot", 6, 0.0), ("False_Northing", "kSlot", 7, 0.0)
        own = ", ".join(binding_words(*each) for each in bindings_of(row) if each not in implied)
        names = ", ".join(f"`{name}`" for name in (row["name"], *filter(None, row["aliases"].split(";"))))
        projections.append((row["number"], names, uses[row["use"]], own, RULE_WORDS[row["rule"]]))
    return ENGINE_PAGE.format(
        projections=markdown(("No.", "Name", "Use", "Parameters (slot)", "Where"), projections),
        datums=markdown(("Engine", "Read as", "Written for"), [
            (f"`{row['engine']}`", row["reads"], row["writes"].replace(";", "; ")) for row in rows("engine-datums.csv")]),
        spheroids=markdown(("Engine", "a (m)", "1/f", "Ours"), [
            (f"`{row['engine']}`", digits(row["a"]), digits(row["rf"]), row["spheroids"].replace(";", "; "))
            for row in rows("engine-spheroids.csv")]))


FILES = {
    "mapprojections.dat": dictionary_text,
    "spheroid.tab": spheroid_text,
    "spheroid_epsg.tab": epsg_text,
    "sptable.tab": zone_text,
    "names.tab": names_text,
    "coastline-110m.txt": lambda: coast_text(110, 2),
    "coastline-50m.txt": lambda: coast_text(50, 3),
    "translation_tables.inc": engine_tables,
    "engine-names.md": engine_page,
}
# Where files lie that are no reference data.
PLACES = {"translation_tables.inc": HERE.parent.parent / "interchange", "engine-names.md": HERE.parent.parent / "docs"}


def main():
    target = Path(sys.argv[1]) if len(sys.argv) > 1 else None
    for name, make in FILES.items():
        ((target or PLACES.get(name, HERE.parent)) / name).write_text(make(), encoding="utf-8", newline="\n")


if __name__ == "__main__":
    main()
