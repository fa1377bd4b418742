"""python.py BUILD: what the Python package costs beside the C call and pyproj; prints Markdown tables, and at the end all
figures beside what they are to reach.

Medians of runs in turns, processor time of this thread alone. The C call is oprj_ProjectEach on pairs of coordinates, with
units, places alone and an array of results of its own, as each of the others has; coordinates in two arrays are gathered and scattered
besides, which a caller in C would have to do too.
"""
import ctypes
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time
import warnings

build = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "build-release").resolve()
sys.path.insert(0, str(build / "python"))
COUNT = 1_000_000


figures = []  # name, goal, measured


def figure(name, goal, measured, good):
    figures.append(f"| {name} | {goal} | {measured} | {'yes' if good else 'no'} |")


def import_seconds(module, then="pass"):
    """Seconds of importing a module in a new process, and of a statement after that."""
    program = f"import time; t = time.perf_counter(); import {module}; {then}; print(time.perf_counter() - t)"
    return statistics.median(float(subprocess.run([sys.executable, "-c", program], check=True, capture_output=True, text=True,
                                                  env={**os.environ, "PYTHONPATH": str(build / "python")}).stdout)
                             for _ in range(15))


imports = {module: import_seconds(module) for module in ("oprj", "numpy", "pyproj")}
firsts = {module: import_seconds(module, f"{module}.Transformer.from_crs(4326, 32618, always_xy=True)")
          for module in ("oprj", "pyproj")}

import numpy as np  # noqa: E402
import oprj  # noqa: E402
import pyproj  # noqa: E402

warnings.simplefilter("ignore")


def medians(runs, turns):
    """The median seconds of each, run in turns."""
    times = {name: [] for name in runs}
    for _ in range(turns):
        for name, run in runs.items():
            began = time.thread_time()
            run()
            times[name].append(time.thread_time() - began)
    return {name: statistics.median(spent) for name, spent in times.items()}


class Options(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("inUnit", ctypes.c_char_p), ("outUnit", ctypes.c_char_p),
                ("inStride", ctypes.c_int64), ("outStride", ctypes.c_int64), ("threads", ctypes.c_int32),
                ("verify", ctypes.c_double), ("keepUncovered", ctypes.c_int32), ("placesOnly", ctypes.c_int32)]


class CCall:
    """oprj_ProjectEach on a pair of the same systems."""

    def __init__(self, source, target):
        self.library = ctypes.CDLL(os.path.join(oprj._oprj.library_folder(), "liboPrj.so"))
        for name in ("oprj_ProParametersFromText", "oprj_ProjectionPairInit"):
            getattr(self.library, name).restype = ctypes.c_void_p
        self.library.oprj_ProjectEach.restype = ctypes.c_int64
        toolkit = ctypes.CDLL(os.path.join(oprj._oprj.library_folder(), "liboPrjToolkit.so")).oint_InitToolkit
        toolkit.restype = ctypes.c_void_p
        toolkit = ctypes.c_void_p(toolkit(None))
        records = [ctypes.c_void_p(self.library.oprj_ProParametersFromText(
            toolkit, oprj.CRS(system)._system.description.encode(), None, None, None)) for system in (source, target)]
        self.pair = ctypes.c_void_p(self.library.oprj_ProjectionPairInit(toolkit, *records, None))
        units = [oprj.CRS(system).units.encode() for system in (source, target)]
        self.options = Options(ctypes.sizeof(Options), *units, 0, 0, 0, 0.0, 0, 1)

    def __call__(self, points):
        out = np.empty_like(points)
        good = self.library.oprj_ProjectEach(self.pair, points.ctypes, out.ctypes, None, ctypes.byref(self.options),
                                             ctypes.c_int64(len(points)), None)
        assert good == len(points)


def peers_of(folder):
    grid = pathlib.Path(folder) / "nad27.tif"
    subprocess.run([build / "bin/oprj", "grid", "convert", build / "share/oPrj/nad27.dat", grid], check=True)
    yield "UTM", "EPSG:4326", "EPSG:32618", None
    yield "Lambert", "EPSG:4326", "EPSG:2154", None
    yield "NAD27 to NAD83 by grid", "EPSG:4267", "EPSG:4269", (
        "+proj=pipeline +step +proj=unitconvert +xy_in=deg +xy_out=rad "
        f"+step +proj=hgridshift +grids={grid} +step +proj=unitconvert +xy_in=rad +xy_out=deg")


random = np.random.default_rng(1)
x, y = random.uniform(-78, -72, COUNT), random.uniform(30, 41, COUNT)
points = np.column_stack([x, y])
processor = next(line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name"))
print(f"{processor}; Python {sys.version.split()[0]}, NumPy {np.__version__}, pyproj {pyproj.__version__}, "
      f"PROJ {pyproj.proj_version_str}; load {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors\n\n"
      f"Nanoseconds a point, {COUNT} points, one thread:\n")
print("| pair | C call | points (n, 2) | x, y | in place | pyproj | points / C | x, y / C | pyproj / x, y |\n"
      "|---|---|---|---|---|---|---|---|---|")
single = []
with tempfile.TemporaryDirectory() as folder:
    for name, source, target, pipeline in peers_of(folder):
        ours, call = oprj.Transformer(source, target), CCall(source, target)
        peer = (pyproj.Transformer.from_pipeline(pipeline) if pipeline
                else pyproj.Transformer.from_crs(source, target, always_xy=True))
        changed = points.copy()

        def in_place():
            changed[:] = points
            return ours.transform(changed, inplace=True)

        runs = medians({"C": lambda: call(points), "points": lambda: ours.transform(points), "xy": lambda: ours.transform(x, y),
                        "place": in_place, "copy": lambda: changed.__setitem__(slice(None), points)}, 31)
        runs["peer"] = medians({"peer": lambda: peer.transform(x, y)}, 5)["peer"]
        runs["place"] -= runs["copy"]
        row = [f"{runs[key] / COUNT * 1e9:.1f}" for key in ("C", "points", "xy", "place", "peer")]
        row += [f"{runs['points'] / runs['C']:.3f}", f"{runs['xy'] / runs['C']:.3f}", f"{runs['peer'] / runs['xy']:.1f}"]
        print(f"| {name} | {' | '.join(row)} |")
        for form, key in (("points (n, 2)", "points"), ("x, y", "xy")):
            ratio = runs[key] / runs["C"]
            figure(f"transform of a million points, {form}, {name}", "1.05 of the C call", f"{ratio:.2f}", ratio <= 1.05)
        ratio = runs["peer"] / runs["xy"]
        figure(f"the same, x, y, {name}", "10 times pyproj", f"{ratio:.0f}", ratio >= 10)

        def thousand(transform):
            for _ in range(1000):
                transform(-75.0, 40.0)

        one = medians({"ours": lambda: thousand(ours.transform), "peer": lambda: thousand(peer.transform)}, 15)
        figure(f"one point a call, {name}", "3 times pyproj", f"{one['peer'] / one['ours']:.1f}", one["peer"] >= 3 * one["ours"])
        single.append(f"| {name} | {one['ours'] * 1e3:.2f} | {one['peer'] * 1e3:.2f} | {one['peer'] / one['ours']:.1f} |")
print("\nMicroseconds a call of one point:\n\n| pair | oprj | pyproj | ratio |\n|---|---|---|---|")
print("\n".join(single))


def make_other(maker, times, *codes):
    codes = iter(codes)
    return lambda: [maker("EPSG:4326", f"EPSG:{next(codes)}") for _ in range(times)]


ZONES = [*range(32601, 32661), *range(32701, 32761)]
NATIONAL = [2154, 27700, 28992, 31467, 31370, 2056, 3035, 5070, 3006, 2180, 3067, 3763, 5514, 3812, 2393]


print("\nMicroseconds from two codes to a transformer:\n\n| codes | oprj | pyproj | ratio |\n|---|---|---|---|")


def again(maker, *codes):
    return lambda: [maker(*codes) for _ in range(10)]


for name, ours, peer, times, turns in (
        ("the same pair again", again(oprj.Transformer, "EPSG:4326", "EPSG:32618"),
         again(pyproj.Transformer.from_crs, "EPSG:4326", "EPSG:32618"), 10, 15),
        ("NAD27 and NAD83, again", again(oprj.Transformer, "EPSG:4267", "EPSG:4269"),
         again(pyproj.Transformer.from_crs, "EPSG:4267", "EPSG:4269"), 10, 3),
        ("to another zone of UTM each time, each for the first time", make_other(oprj.Transformer, 20, *ZONES),
         make_other(pyproj.Transformer.from_crs, 20, *ZONES), 20, len(ZONES) // 20),
        ("to another national system each time, each for the first time", make_other(oprj.Transformer, 5, *NATIONAL),
         make_other(pyproj.Transformer.from_crs, 5, *NATIONAL), 5, len(NATIONAL) // 5)):
    made = medians({"ours": ours, "peer": peer}, turns)
    ratio = made["peer"] / made["ours"]
    figure(f"a transformer from two codes, {name}", "50 times pyproj", f"{ratio:.0f}", ratio >= 50)
    print(f"| {name} | {made['ours'] / times * 1e6:.1f} | {made['peer'] / times * 1e6:.0f} | {ratio:.0f} |")
print("\nMilliseconds of a new process, wall time:\n\n| what | oprj | pyproj |\n|---|---|---|")
for what, spent in (("the import", imports), ("the import and a first transformer from two codes", firsts)):
    print(f"| {what} | {spent['oprj'] * 1e3:.0f} | {spent['pyproj'] * 1e3:.0f} |")
figure("the import", "60 ms", f"{imports['oprj'] * 1e3:.0f} ms", imports["oprj"] < 0.06)
print(f"\n({imports['numpy'] * 1e3:.0f} for NumPy, which oprj loads with the first array.)")
print("\n| figure | to reach | measured | reached |\n|---|---|---|---|\n" + "\n".join(figures))
