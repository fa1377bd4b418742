"""Checks the floors of docs/architecture.md.

layers.py SOURCES: no include climbs a floor or reaches a neighbour on the same one, in either form
("room/name.h", <oprj/name.h>, "name.h"), and the program sees public headers only.
layers.py SOURCES BUILD: the same for symbols: what the objects of a room take from a higher room (or a
neighbour) must be on the list tests/upward_symbols.txt, and nothing on the list may be unneeded.
layers.py --self-test SOURCES: plants faults in a copy and expects each to be found.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

FLOORS = {"toolkit": 0, "lanes": 0, "engine": 1, "records": 1, "tables": 2, "projections": 3, "datum": 3, "pipeline": 4,
          "interchange": 5, "apps": 6, "examples": 6, "python": 6}

OUTSIDE = ("apps", "examples", "python")  # users of the library, which see its public headers only


def may_use(room, other):
    return room == other or FLOORS[other] < FLOORS[room]


def public_headers(root):
    public = {}
    for room in FLOORS:
        cmake = os.path.join(root, room, "CMakeLists.txt")
        text = open(cmake, encoding="utf-8").read() if os.path.exists(cmake) else ""
        for listed in re.findall(r"oprj_public_headers\(([^)]*)\)", text):
            public.update((header, room) for header in listed.split())
    return public


def target_of(include, room, root, public):
    """The room that an include reaches, and its header; None for what is not ours."""
    if include.startswith("oprj/"):
        return public.get(include[5:], "?"), include[5:]
    head, _, tail = include.partition("/")
    if tail and head in FLOORS:
        return head, tail
    if not tail and os.path.exists(os.path.join(root, room, include)):
        return room, include
    if not tail and include in public:  # public headers include each other by their bare names
        return public[include], include
    return None


def check_includes(root):
    public, faults = public_headers(root), []
    for room in FLOORS:
        folder = os.path.join(root, room)
        if not os.path.isdir(folder):
            continue
        names = [os.path.relpath(os.path.join(where, name), folder)
                 for where, _, found in os.walk(folder) for name in found]
        for name in sorted(names):
            if not name.endswith((".h", ".cpp", ".c")):
                continue
            text = open(os.path.join(folder, name), encoding="utf-8").read()
            for include in re.findall(r'^[ \t]*#[ \t]*include[ \t]*["<]([^">]+)[">]', text, re.M):
                target = target_of(include, room, root, public)
                if not target:
                    continue
                where = "%s/%s includes %s" % (room, name, include)
                if target[0] == "?":
                    faults.append(where + ", which is no public header")
                elif not may_use(room, target[0]):
                    faults.append("%s: floor %d reaches %s on floor %d" % (
                        where, FLOORS[room], target[0], FLOORS[target[0]]))
                elif room in OUTSIDE and target[0] != room and include.startswith(target[0] + "/"):
                    faults.append(where + ", an internal header")
    return faults


def symbols_of(build):
    """Symbols that the objects of each room define and those that they take."""
    defined, taken = {}, {}
    for room in FLOORS:
        folder = os.path.join(build, room, "CMakeFiles")
        objects = [os.path.join(where, name) for where, _, names in os.walk(folder) for name in names
                   if name.endswith(".o")]
        if room in OUTSIDE or not objects:
            continue
        listing = subprocess.run(["nm", "-P"] + objects, capture_output=True, text=True, check=True).stdout
        taken[room] = set()
        for line in listing.splitlines():
            fields = line.split()
            if len(fields) < 2 or line.endswith(":"):
                continue
            if fields[1] in "Uw":
                taken[room].add(fields[0])
            elif fields[1] in "TDRB":  # not weak ones: the compiler makes those wherever they are used
                defined[fields[0]] = room
    return defined, taken


def check_symbols(root, build):
    listed = set()
    for line in open(os.path.join(root, "tests/upward_symbols.txt"), encoding="utf-8"):
        if line.strip() and not line.startswith("#"):
            listed.add(tuple(line.split()))
    defined, taken = symbols_of(build)
    found = {(room, symbol, defined[symbol]) for room in taken for symbol in taken[room]
             if symbol in defined and not may_use(room, defined[symbol])}
    return (["%s takes %s from %s, which is not listed" % fault for fault in sorted(found - listed)] +
            ["%s does not take %s from %s, which is listed" % fault for fault in sorted(listed - found)])


def self_test(root):
    plants = [("records/values.h", '#include "project.h"'), ("records/spheroid.cpp", "#include <oprj/tables.h>"),
              ("records/spheroid.cpp", '#include "tables/reference_data.h"'),
              ("datum/shift_plan.cpp", '#include "projections/family.h"'),
              ("projections/mollweide.cpp", '#include "datum/parametric.h"'),
              ("lanes/lanes.h", "#  include <oprj/parameters.h>"), ("apps/main.cpp", '#include "records/records.h"')]
    faults = []
    for path, line in plants:
        with tempfile.TemporaryDirectory() as copy:
            for room in FLOORS:
                if os.path.isdir(os.path.join(root, room)):
                    shutil.copytree(os.path.join(root, room), os.path.join(copy, room))
            file = os.path.join(copy, path)
            text = open(file, encoding="utf-8").read()
            open(file, "w", encoding="utf-8").write(line + "\n" + text)
            if not any(fault.startswith(path) for fault in check_includes(copy)):
                faults.append("%s in %s is not found" % (line, path))
    return faults


if sys.argv[1] == "--self-test":
    found = self_test(sys.argv[2])
elif len(sys.argv) > 2:
    found = check_symbols(sys.argv[1], sys.argv[2])
else:
    found = check_includes(sys.argv[1])
print("\n".join(found) or "no room climbs a floor")
sys.exit(1 if found else 0)
