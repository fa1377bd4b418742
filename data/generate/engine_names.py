#!/usr/bin/env python3
"""Writes engine-datums.csv and engine-spheroids.csv: what the datums and spheroids of the reference tables are
called in texts of the Projection Engine.

    engine_names.py [PROJ.DB]      default: /usr/share/proj/proj.db

Facts from the EPSG dataset and the ESRI names of its objects as PROJ's database holds them. generate.py
makes the translation's tables of the result.
"""

import csv
import re
import sqlite3
import sys
from collections import Counter
from pathlib import Path

HERE = Path(__file__).resolve().parent

# Datums that neither their name nor their figures lead to, by what the name has in front of " (".
OWN = {
    "NAD27": "D_North_American_1927", "NAD83": "D_North_American_1983", "HARN": "D_North_American_1983_HARN",
    "WGS 84": "D_WGS_1984", "Voirol 1960": "D_Voirol_Unifie_1960", "Korean Geodetic Datum 1995": "D_Korean_Datum_1995",
    # Named like its spheroid, and so like the datum of figures that has this name elsewhere.
    "South American 1969": "D_Spheroid_South_American_1969",
}
UNDEFINED = ("D_Undefined", "D_Unknown")


def rows(name):
    with open(HERE / name, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


def write(name, header, table):
    with open(HERE / name, "w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(header)
        writer.writerows(table)


def bare(name):
    return re.sub(r"[^a-z0-9]", "", re.sub(r"^D_", "", name).lower())


def engine_spelling(name):
    """As the engine's names are spelled where it has none of its own."""
    return "D_" + re.sub(r"[()]", "", name.replace(" ", "_").replace("/", "_"))


class Datums:
    """The engine's names of datums, and which datum an operation departs from."""

    def __init__(self, db):
        self.name = {}
        for auth, code, name in db.execute("select auth_name, code, name from geodetic_datum "
                                           "where auth_name in ('EPSG', 'ESRI') order by deprecated desc"):
            self.name[auth, str(code)] = name if auth == "ESRI" else engine_spelling(name)
        for code, name in db.execute("select code, alt_name from alias_name where source = 'ESRI' and "
                                     "table_name = 'geodetic_datum' and auth_name = 'EPSG'"):
            self.name["EPSG", str(code)] = name if name.startswith("D_") else "D_" + name
        self.by_bare = {bare(name): name for name in self.name.values()}
        self.source = {(auth, str(code)): (datum_auth, str(datum)) for auth, code, datum_auth, datum in db.execute(
            "select h.auth_name, h.code, c.datum_auth_name, c.datum_code from helmert_transformation_table h "
            "join geodetic_crs c on c.auth_name = h.source_crs_auth_name and c.code = h.source_crs_code")}

    def of_operation(self, auth, code):
        return self.name.get(self.source.get((auth, code)))


def classic_names(datums):
    """The engine's name of each datum of datums.csv. A name that the engine has for the datum's own (or the
    part in front of its variant) goes before the figures: equal figures also stand under other datums."""
    found, groups = {}, {}
    for row in rows("datums.csv"):
        operations = re.findall(r"(EPSG|ESRI) (\d+)", row["same_as"])
        names = [datums.of_operation(*operation) for operation in operations]
        base = row["name"].split(" (")[0]
        groups.setdefault(base, []).append((row["name"], next(filter(None, names), None)))
    for base, members in groups.items():
        counts = Counter(name for _, name in members if name)
        most, times = counts.most_common(1)[0] if counts else (None, 0)
        shared = OWN.get(base) or datums.by_bare.get(bare(base)) or (most if 2 * times > len(members) else None)
        for name, own in members:
            whole = OWN.get(name) or datums.by_bare.get(bare(name))
            # Two datums that share the base: "Old Hawaiian (Clarke 1866) (Mean)" and "(International)".
            if base not in OWN and shared and counts[own] > 1 and bare(own).startswith(bare(shared)):
                whole = own
            found[name] = whole or shared or own or engine_spelling(base)
    return found


def read_choice(names, engine):
    """The datum that a bare engine name means: the bare one, else the mean, else the only one; none of several."""
    bases = {name.split(" (")[0] for name in names}
    for choice in (*sorted(bases), *(f"{base} (Mean)" for base in sorted(bases))):
        if choice in names:
            return choice
    whole = [name for name in names if bare(name) == bare(engine)]
    means = [name for name in names if name.endswith("(Mean)")]
    choices = whole or means or names
    return choices[0] if len(choices) == 1 else ""


def datum_table(db):
    datums = Datums(db)
    reading, writing = {}, {}
    classic = classic_names(datums)
    bases = {}
    regressions = {row["name"] for row in rows("datums.csv") if row["kind"] == "regression"}
    for name, engine in classic.items():
        if name not in regressions:
            reading.setdefault(engine, []).append(name)
        bases.setdefault(name.split(" (")[0], set()).add(engine)
    for name, engine in classic.items():
        base = name.split(" (")[0]
        writing[base if len(bases[base]) == 1 else name] = engine
    figures, modern = {}, {}
    for row in rows("datums-epsg.csv"):
        engine = datums.of_operation("EPSG", row["epsg_operation"])
        shift = tuple(row[key] for key in row if key.endswith(("_m", "_rad")) or key == "scale")
        shift = shift[:7]
        modern.setdefault(engine, []).append((row["name"], shift))
        writing.setdefault(row["datum"], engine)
        if writing[row["datum"]] != engine:
            writing[row["name"]] = engine
    choices = {engine: read_choice(names, engine) for engine, names in reading.items()}
    for engine, members in modern.items():
        if engine not in choices:
            choices[engine] = members[0][0] if len({shift for _, shift in members}) == 1 else ""
    by_engine = {}
    for name, engine in writing.items():
        by_engine.setdefault(engine, []).append(name)
    for engine in UNDEFINED:
        choices[engine] = "Undefined"
    by_engine[UNDEFINED[0]] = ["Undefined"]
    return [(engine, choices[engine], ";".join(sorted(by_engine.get(engine, ()))))
            for engine in sorted(choices, key=bare)]


def spheroid_table(db):
    """Engine name, a, 1/f and our names, of which the first is read. The constants are those of the engine's own
    texts where it has some."""
    stored = {}
    for (text,) in db.execute("select text_definition from projected_crs where text_definition is not null"):
        for name, a, rf in re.findall(r'SPHEROID\["([^"]+)",([^,]+),([^\]]+)\]', text):
            stored[name] = (float(a), float(rf))
    alias = dict(db.execute("select code, alt_name from alias_name where source = 'ESRI' and auth_name = 'EPSG' "
                            "and table_name = 'ellipsoid'"))
    table = {}
    for row in rows("spheroids.csv"):
        a, b = float(row["a_m"]), float(row["b_m"])
        code = re.search(r"EPSG (\d+)", row["codes"])
        name = (code and alias.get(int(code[1]))) or re.sub(r"[()]", "", row["name"].replace(" ", "_"))
        if name in table:
            table[name][2].append(row["name"])
            continue
        shape = stored.get(name)
        if not shape or abs(shape[0] - a) > 1e-3 or abs(minor_axis(*shape) - b) > 1e-3:
            shape = (a, float(row["inverse_flattening"] or (a / (a - b) if a != b else 0)))
        if abs(minor_axis(*shape) - b) > 1e-3:
            raise ValueError(f"{row['name']}: axes and flattening differ")
        table[name] = (*shape, [row["name"]])
    return [(name, repr(a), repr(rf), ";".join(names)) for name, (a, rf, names) in
            sorted(table.items(), key=lambda item: item[0].lower())]


def minor_axis(a, rf):
    return a - (a / rf if rf else 0)


def main():
    db = sqlite3.connect(sys.argv[1] if len(sys.argv) > 1 else "/usr/share/proj/proj.db")
    write("engine-datums.csv", ("engine", "reads", "writes"), datum_table(db))
    write("engine-spheroids.csv", ("engine", "a", "rf", "spheroids"), spheroid_table(db))


main()
