#!/usr/bin/env python3
"""Writes names.csv: what the datums and spheroids of the reference tables are called elsewhere.

    names.py [PROJ.DB]      default: /usr/share/proj/proj.db

Facts from the EPSG dataset and its aliases as PROJ's database holds them: the names of datums and of the
geographic systems on them, their aliases (other programs' spellings among them), the numbers of datums and
ellipsoids. generate.py makes names.tab of the result.
"""

import csv
import re
import sqlite3
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent

# Everyday names that the dataset does not have, by EPSG datum number.
EVERYDAY = {
    6289: ("RD", "RD/Amersfoort", "Rijksdriehoek"),
    6277: ("OSGB", "British National Grid"),
    6267: ("NAD 1927", "North American 1927", "North American Datum 27"),
    6269: ("NAD 1983", "North American 1983", "North American Datum 83"),
    6326: ("World Geodetic System 84", "GPS"),
    6322: ("World Geodetic System 72",),
    6314: ("Potsdam", "Rauenberg"),
    6674: ("SIRGAS",),
}

# Datums of the tables that are the datum itself and not one of several ways to shift it.
THE_DATUM = {6267: "NAD27", 6269: "NAD83", 6326: "WGS 84", 6322: "WGS 72", 6152: "HARN"}


def bare(name):
    """As the library looks names up: letters and digits alone, small ASCII letters."""
    return "".join(c.lower() if c.isascii() else c for c in name if c.isalnum() or not c.isascii())


def rows(name):
    with open(HERE / name, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


def datum_names(db):
    """Pairs of EPSG datum number and name: in the first list everyday names and names that objects of the
    dataset have, in the second aliases, which count where nothing of the first list has that name."""
    own, aliases = [], []

    def add(names, code, name):
        # "D_" and "GCS_" mark the kind of object in one family of spellings.
        for spelling in (name, re.sub(r"^(D|GCS)_", "", name)):
            names.append((code, re.sub(r" (ensemble|\(lat-lon\)|\(lon-lat\))$", "", spelling)))

    for code, name in db.execute("select code, name from geodetic_datum where auth_name = 'EPSG'"):
        add(own, code, name)
        own.append((code, f"EPSG {code}"))
    for code, name in db.execute("select code, alt_name from alias_name where table_name = 'geodetic_datum' "
                                 "and auth_name = 'EPSG'"):
        add(aliases, code, name)
    systems = ("select datum_code, {name} from geodetic_crs c {join} where c.auth_name = 'EPSG' and "
               "c.type = 'geographic 2D' and c.datum_auth_name = 'EPSG' and c.deprecated = 0")
    alias = "join alias_name a on a.table_name = 'geodetic_crs' and a.auth_name = 'EPSG' and a.code = c.code"
    for code, name in db.execute(systems.format(name="c.name", join="")):
        add(own, code, name)
    for code, name in db.execute(systems.format(name="a.alt_name", join=alias)):
        add(aliases, code, name)
    own.extend((code, name) for code, everyday in EVERYDAY.items() for name in everyday)
    return own, aliases


def datums_by_number(db):
    """EPSG datum number: the datums of the tables that shift it, those for large areas first, then the most
    accurate, then the latest."""
    source = dict(db.execute(
        "select h.code, c.datum_code from helmert_transformation_table h join geodetic_crs c on "
        "c.auth_name = h.source_crs_auth_name and c.code = h.source_crs_code where h.auth_name = 'EPSG'"))
    found, classic = {}, {}
    for datum in rows("datums.csv"):
        for number in re.findall(r"EPSG (\d+)", datum["same_as"]):
            classic[int(number)] = datum["name"]
    for datum in rows("datums-epsg.csv"):
        number = int(datum["epsg_operation"])
        name = classic.get(number, datum["name"])  # the same figures under a name that says the area
        west, south, east, north = (float(datum[side]) for side in ("west", "south", "east", "north"))
        area = (north - south) * ((east - west) % 360)
        entry = (-area, float(datum["accuracy_m"] or "inf"), -number, name)
        found.setdefault(source[number], []).append(entry)
    for code, name in THE_DATUM.items():
        found[code] = [(0, 0, 0, name)]
    return {code: list(dict.fromkeys(name for *_, name in sorted(entries)))
            for code, entries in found.items()}


def spheroid_names(db):
    spheroids = {}
    for spheroid in rows("spheroids.csv"):
        name = spheroid["name"]
        for code in spheroid["codes"].split(";"):
            kind, _, value = code.strip().partition(" ")
            if kind == "PROJ":
                spheroids.setdefault(value, set()).add(name)
            if kind == "EPSG":
                spheroids.setdefault(code.strip(), set()).add(name)
                for table, column in (("ellipsoid", "name"), ("alias_name", "alt_name")):
                    where = "and table_name = 'ellipsoid'" if table == "alias_name" else ""
                    for (other,) in db.execute(f"select {column} from {table} where auth_name = 'EPSG' and code = ? "
                                               f"{where}", (int(value),)):
                        spheroids.setdefault(other, set()).add(name)
    return spheroids


def main():
    db = sqlite3.connect(sys.argv[1] if len(sys.argv) > 1 else "/usr/share/proj/proj.db")
    targets = datums_by_number(db)
    known = {bare(datum["name"]) for table in ("datums.csv", "datums-epsg.csv") for datum in rows(table)}
    table = {}
    for names in datum_names(db):
        taken = set(table)
        for code, name in sorted(names):
            key = ("datum", bare(name))
            if code in targets and key not in taken and bare(name) not in known and len(bare(name)) > 1:
                entries = table.setdefault(key, [])
                entries.extend(target for target in targets[code] if target not in entries)
    own = {bare(name) for spheroid in rows("spheroids.csv")
           for name in (spheroid["name"], *spheroid["aliases"].split(";"))}
    for name, spheroids in spheroid_names(db).items():
        if bare(name) not in own:
            entry = table.setdefault(("spheroid", bare(name)), [])
            entry.extend(sorted(spheroids - set(entry)))
    with open(HERE / "names.csv", "w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(("kind", "name", "targets"))
        for (kind, name), entries in sorted(table.items()):
            writer.writerow((kind, name, ";".join(entries)))


main()
