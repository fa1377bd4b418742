#!/usr/bin/env python3
"""Writes the projection libraries ../utm.plib, ../state-plane.plib and ../national-grids.plib.

    libraries.py BUILD [PROJ.DB [DIRECTORY]]    default: /usr/share/proj/proj.db, the directory above this one
    libraries.py --check BUILD                  compares what it would write; status 1 when it is something else

BUILD is a build tree: its library translates systems and writes the files. Systems, names and areas of use are those
of the EPSG dataset in PROJ's database, State Plane zones those of stateplane-zones.csv. Systems that cannot be
translated are told and left out. The same input gives the same bytes.
"""

import csv
import ctypes
import math
import os
import re
import sqlite3
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
Pointer, Text = ctypes.c_void_p, ctypes.c_char_p
EPSG = "EPSG Geodetic Parameter Dataset 10.076"
HEADER = ("# Written by data/generate/libraries.py; docs/projection-libraries.md describes the language, data/SOURCES.md\n"
          "# the sources.\n")

# What texts call the datums of the UTM library, and where EPSG has its zones.
UTM_DATUMS = {"WGS 84": "WGS 84", "WGS 72": "WGS 72", "NAD27": "NAD27", "NAD83": "NAD83",
              "ED50": "European 1950 (Mean)"}


class Item(ctypes.Structure):
    _fields_ = [("title", Text), ("category", Text), ("code", Text), ("unit", Text), ("hasArea", ctypes.c_int32),
                ("west", ctypes.c_double), ("south", ctypes.c_double), ("east", ctypes.c_double),
                ("north", ctypes.c_double), ("elevation", Text), ("system", Pointer), ("string", Text),
                ("record", Pointer)]


class Library:
    """The built library: functions by name, with their results' types."""

    def __init__(self, build, tables=HERE.parent):
        os.environ["ORVIK_PROJECTIONS_PATH"] = os.environ["ORVIK_DATUMS_PATH"] = str(tables)
        self.toolkit = ctypes.CDLL(f"{build}/lib/liboPrjToolkit.so", ctypes.RTLD_GLOBAL)
        self.library = ctypes.CDLL(f"{build}/lib/liboPrj.so", ctypes.RTLD_GLOBAL)
        self.handle = self.call("oint_InitToolkit", None)

    def call(self, name, *arguments, result=Pointer):
        function = getattr(self.toolkit if name[:5] in ("oint_", "oerr_", "omsc_") else self.library, name)
        function.restype = result
        return function(*(Pointer(each) if isinstance(each, int) and each > 2**31 else each for each in arguments))

    def reason(self, report):
        root = self.call("oerr_RootCauseGet", report.value)
        return self.call("oerr_MessageGet", root, result=Text).decode()

    def text(self, pointer):
        """A text of the library's, which is freed."""
        if not pointer:
            return None
        value = ctypes.cast(pointer, Text).value.decode()
        self.call("omsc_HeapFree", pointer, result=None)
        return value

    def record_of_text(self, text):
        report = Pointer()
        record = self.call("oprj_ProParametersFromText", self.handle, text.encode(), None, None, ctypes.byref(report))
        if not record:
            raise ValueError(f"{text}: {self.reason(report)}")
        return record

    def predefined(self):
        """Code and object of the engine's projected systems."""
        count = ctypes.c_int32()
        table = self.call("oawp_PE_pe_predefined_projcs", ctypes.byref(count))
        for each in ctypes.cast(table, ctypes.POINTER(Pointer))[:count.value]:
            yield self.call("oawp_PE_pe_factory_code", each, result=ctypes.c_int32), each

    def system_of(self, text):
        return self.call("oawp_PE_pe_coordsys_from_string", text.encode())

    def text_of(self, system):
        return self.text(self.call("oawp_PE_pe_coordsys_to_string", system, None, 0))

    def translated(self, system):
        """Record and unit of an engine's system, or nothing."""
        report, unit = Pointer(), Pointer()
        record = self.call("oprj_ProParametersFromCOORDSYS", system, ctypes.byref(unit), None, ctypes.byref(report))
        return (record, self.text(unit.value)) if record else (None, None)

    def computes(self, system, area):
        """Whether the engine has a formula for a system."""
        west, south, east, north = area
        place = (ctypes.c_double * 2)((west + east + (360 if east < west else 0)) / 2, (south + north) / 2)
        return self.call("oawp_PE_pe_geog_to_proj", system, 1, place, result=ctypes.c_int32) == 1


class Collection:
    def __init__(self, library, name):
        self.library, self.report = library, Pointer()
        self.made = library.call("oprj_ProjectionLibraryCreate", name.encode(), ctypes.byref(self.report))

    def add(self, title, category, code, area, record=None, unit=None, string=None):
        """Whether the item could be added; self.report tells why not."""
        own = unit if unit not in ("meters", "dd") else None
        item = Item(title.encode(), category.encode(), code.encode() if code else None, own.encode() if own else None,
                    1, *area, None, None, string.encode() if string else None, record)
        return self.library.call("oprj_ProjectionLibraryAdd", self.made, ctypes.byref(item),
                                 ctypes.byref(self.report), result=ctypes.c_int32)

    def need(self, *arguments, **named):
        if not self.add(*arguments, **named):
            raise ValueError(f"{arguments}: {self.library.reason(self.report)}")

    def write(self, path, description):
        if not self.library.call("oprj_ProjectionLibraryWrite", self.made, str(path).encode(),
                                 ctypes.byref(self.report), result=ctypes.c_int32):
            raise OSError(self.library.reason(self.report))
        head, rest = path.read_text(encoding="utf-8").split("\n", 1)
        path.write_text(f'{HEADER}{head} description "{description}"\n{rest}', encoding="utf-8", newline="\n")


def systems_of(db):
    """Code: name, area and its name of EPSG's projected systems that are not deprecated."""
    query = """select p.code, p.name, e.west_lon, e.south_lat, e.east_lon, e.north_lat, e.name
               from projected_crs p
               join usage u on u.object_table_name = 'projected_crs' and u.object_auth_name = p.auth_name
                            and u.object_code = p.code
               join extent e on e.auth_name = u.extent_auth_name and e.code = u.extent_code
               where p.auth_name = 'EPSG' and p.deprecated = 0 order by p.code, u.code desc"""
    return {int(code): (name, tuple(area), place) for code, name, *area, place in db.execute(query)}


def write_utm(library, systems, target):
    codes = {name: code for code, (name, *_) in systems.items()}
    utm = Collection(library, "UTM")
    for datum, known in UTM_DATUMS.items():
        for side, south, north in (("N", 0.0, 84.0), ("S", -80.0, 0.0)):
            for zone in range(1, 61):
                title = f"{datum} / UTM zone {zone}{side}"
                code = codes.get(title)
                utm.need(title, datum, code and f"EPSG:{code}", (zone * 6 - 186.0, south, zone * 6 - 180.0, north),
                         record=library.record_of_text(f"utm; zone={zone}{side}; datum={known}"))
    utm.write(target / "utm.plib", f"The 120 zones on five datums; codes of the {EPSG}")


def write_state_plane(library, systems, names, target):
    """Zones in the unit that is law: that of NAD27's definitions, feet since NAD83 where EPSG has the zone in feet."""
    collection = Collection(library, "State Plane")
    codes = {name: code for code, (name, *_) in systems.items()}
    with open(HERE / "stateplane-zones.csv", newline="", encoding="utf-8") as file:
        zones = list(csv.DictReader(file))
    for zone in zones:
        nad = zone["nad"][3:]
        title, code = names[int(zone["epsg"])], int(zone["epsg"])
        unit = {"us-ft": "us_survey_feet", "m": "meters"}[zone["epsg_unit"]]
        for mark, feet in ((" (ftUS)", "us_survey_feet"), (" (ft)", "feet")):
            if title + mark in codes:
                title, code, unit = title + mark, codes[title + mark], feet
                break
        collection.need(title, f"NAD{nad}/{zone['state_name']}", f"EPSG:{code}",
                        tuple(float(zone[side]) for side in ("west", "south", "east", "north")), unit=unit,
                        record=library.record_of_text(f"state plane; zone={zone['zone_number']}; nad={nad}"))
    collection.write(target / "state-plane.plib",
                     f"The zones of NAD27 and NAD83 in their legal units; codes and names of the {EPSG}")


# Of systems whose axes point west or south the texts tell these alone.
WESTERN = ("Transverse Mercator (South Orientated)", "Krovak")
WIDE = 5.0  # degrees beside the meridian


def as_meant(text, area):
    """A text of PROJ's in the projection that it means."""
    # The equal-area cylinder of an ellipsoid; the engine's Behrmann is that of a sphere.
    text = text.replace('PROJECTION["Behrmann"]', 'PROJECTION["Cylindrical_Equal_Area"]')
    # The same projection by the longer series, good to micrometres this far from the meridian.
    meridian = re.search(r'PROJECTION\["Transverse_Mercator"\].*PARAMETER\["Central_Meridian",([^\]]+)\]', text)
    if meridian:
        greenwich = float(re.search(r'PRIMEM\["[^"]*",([^\]]+)\]', text)[1])
        off = (math.remainder(side - float(meridian[1]) - greenwich, 360) for side in (area[0], area[2]))
        if max(map(abs, off)) > WIDE:
            text = text.replace('PROJECTION["Transverse_Mercator"]', 'PROJECTION["Gauss_Kruger"]')
    return text


def write_national(library, systems, western, target):
    grids = Collection(library, "National grids")
    objects = dict(library.predefined())
    for code, (name, area, place) in sorted(systems.items(), key=lambda item: (item[1][2].split(" - ")[0], item[0])):
        item = name, place.split(" - ")[0].replace("/", " or "), f"EPSG:{code}", area
        text = objects.get(code) and library.text_of(objects[code])
        if not text or code in western:
            print(f"left out, no text tells its axes or its projection: EPSG:{code} {name}")
            continue
        text = as_meant(text, area)
        system = library.system_of(text)
        record, unit = library.translated(system)
        if record and '"' not in unit and grids.add(*item, record=record, unit=unit):
            continue
        if library.computes(system, area):
            grids.need(*item, string=text)
        else:
            print(f"left out, there is no formula: EPSG:{code} {name}")
    grids.write(target / "national-grids.plib", f"The projected systems of the {EPSG} that are not deprecated")


def write_all(build, database, target):
    library, db = Library(build), sqlite3.connect(database)
    systems = systems_of(db)
    names = {int(code): name for code, name in db.execute("select code, name from projected_crs where auth_name = 'EPSG'")}
    write_utm(library, systems, target)
    write_state_plane(library, systems, names, target)
    western = {int(code) for code, method in db.execute(
        """select p.code, c.method_name from projected_crs p
           join conversion c on c.auth_name = p.conversion_auth_name and c.code = p.conversion_code
           join axis a on a.coordinate_system_auth_name = p.coordinate_system_auth_name
                       and a.coordinate_system_code = p.coordinate_system_code
           where p.auth_name = 'EPSG' and a.orientation = 'west'""") if method not in WESTERN}
    write_national(library, systems, western, target)


def check(build, database="/usr/share/proj/proj.db"):
    version = sqlite3.connect(database).execute("select value from metadata where key = 'EPSG.VERSION'").fetchone()[0]
    if f"v{EPSG.split()[-1]}" != version:
        print(f"not compared: the database has EPSG {version}")
        return 0
    with tempfile.TemporaryDirectory() as folder:
        write_all(build, database, Path(folder))
        changed = [path.name for path in sorted(Path(folder).iterdir())
                   if path.read_bytes() != (HERE.parent / path.name).read_bytes()]
    print("written otherwise: " + ", ".join(changed) if changed else "the same bytes")
    return 1 if changed else 0


def main():
    if sys.argv[1] == "--check":
        return check(*sys.argv[2:])
    defaults = ["/usr/share/proj/proj.db", HERE.parent]
    build, database, target = sys.argv[1:] + defaults[len(sys.argv) - 2:]
    write_all(build, database, Path(target).resolve())
    return 0


if __name__ == "__main__":
    sys.exit(main())
