#!/usr/bin/env python3
"""Writes ../codes.tab: codes, names and areas of use of coordinate systems.

    codes.py [PROJ.DB]      default: /usr/share/proj/proj.db

Facts of the EPSG dataset and of ESRI's systems as PROJ's database holds them.
"""

import sqlite3
import sys
from pathlib import Path

HEADER = """\
# Coordinate systems of the EPSG dataset and of ESRI, from PROJ's database:
#
#     AUTHORITY CODE KIND WEST SOUTH EAST NORTH "NAME" "ENGINE NAME" [deprecated]
#
# KIND is projected or geographic; the area of use is in degrees. The engine's name is what texts of the Projection
# Engine call the system, empty where it is not known to have another one.
"""

QUERY = """
select c.auth_name, c.code, {kind}, c.name, c.deprecated,
       coalesce((select a.alt_name from alias_name a where a.table_name = '{table}' and a.source = 'ESRI'
                 and a.auth_name = c.auth_name and a.code = c.code), ''),
       (select group_concat(e.west_lon || ' ' || e.south_lat || ' ' || e.east_lon || ' ' || e.north_lat)
        from (select * from usage where object_table_name = '{table}' and object_auth_name = c.auth_name
              and object_code = c.code limit 1) u
        join extent e on e.auth_name = u.extent_auth_name and e.code = u.extent_code)
from {table} c where c.auth_name in ('EPSG', 'ESRI') {condition}
"""


def lines(db):
    for table, kind, condition in (("projected_crs", "projected", ""),
                                   ("geodetic_crs", "geographic", "and c.type = 'geographic 2D'")):
        for auth, code, kind, name, deprecated, engine, area in db.execute(
                QUERY.format(table=table, kind=f"'{kind}'", condition=condition)):
            if not area or '"' in name:
                continue
            yield auth, int(code), (f'{auth} {code} {kind} {" ".join(f"{float(side):g}" for side in area.split())} '
                                    f'"{name}" "{engine}"' + (" deprecated" if deprecated else "") + "\n")


def main():
    db = sqlite3.connect(sys.argv[1] if len(sys.argv) > 1 else "/usr/share/proj/proj.db")
    target = Path(__file__).resolve().parent.parent / "codes.tab"
    target.write_text(HEADER + "".join(line for *_, line in sorted(lines(db))), encoding="utf-8", newline="\n")


main()
