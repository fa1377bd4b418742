"""Checks that no include climbs a floor (docs/architecture.md) and that the program sees public headers only."""
import os
import re
import sys

root = sys.argv[1]
floors = {"toolkit": 0, "core": 1, "projections": 3, "datum": 3, "interchange": 5, "apps": 6}
# core/ holds three floors: records and tables (1, 2) below the families, objects and pipeline (4) above.
upper_core = {"default_set.cpp", "equality.cpp", "function_sets.h", "handles.cpp", "map_projection.cpp", "native_set.cpp",
              "pairs.cpp", "pipeline.cpp", "units.cpp", "units.h", "projection.h", "project.h", "mapinfo.h", "oprj.h",
              "wrap.h", "mapping.h"}


def floor(room, name):
    return 4 if room == "core" and name in upper_core else floors[room]


public = {}
for room in floors:
    cmake = os.path.join(root, room, "CMakeLists.txt")
    text = open(cmake, encoding="utf-8").read() if os.path.exists(cmake) else ""
    for listed in re.findall(r"oprj_public_headers\(([^)]*)\)", text):
        for header in listed.split():
            public[header] = room
faults = []
for room in floors:
    folder = os.path.join(root, room)
    for name in sorted(os.listdir(folder)):
        if not name.endswith((".h", ".cpp")):
            continue
        for include in re.findall(r'^#include ["<]([^">]+)[">]', open(os.path.join(folder, name), encoding="utf-8").read(), re.M):
            if include.startswith("oprj/"):
                target = include[5:]
                if target not in public:
                    faults.append("%s/%s: <%s> is not a public header" % (room, name, include))
                    continue
                target_room = public[target]
            elif include.split("/")[0] in floors:
                target_room, target = include.split("/")[0], include.split("/")[1]
                if room == "apps":
                    faults.append("apps/%s sees the internal header %s" % (name, include))
            else:
                continue
            if name != "oprj.h" and floor(target_room, target) > floor(room, name):
                faults.append("%s/%s (floor %d) includes %s/%s (floor %d)" % (
                    room, name, floor(room, name), target_room, target, floor(target_room, target)))
print("\n".join(faults) or "no include climbs a floor")
sys.exit(1 if faults else 0)
