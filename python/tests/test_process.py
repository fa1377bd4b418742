"""What a process does meanwhile: threads, signals, forks, memory; what loads and what cannot; the documents."""
import ctypes
import doctest
import multiprocessing
import os
import pathlib
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import oprj
import pytest

from conftest import SOURCE

PLACES = np.random.default_rng(2).uniform((-78, 30), (-72, 45), (200_000, 2))
# a projection that takes long, and more points than are done in ten seconds
LONG_CALL = """
import numpy as np, oprj
t = oprj.Transformer("EPSG:4326", "Space Oblique Mercator; datum=WGS 84; satellite=5; path=15")
x = np.broadcast_to(-75.0, 40_000_000)
"""


def test_threads_share_transformers():
    t = oprj.Transformer("EPSG:4267", "EPSG:32618")
    wanted, back, failed = t.transform(PLACES), t.transform(t.transform(PLACES), inverse=True), []

    def work(number):
        for _ in range(3):
            single = t.transform(*PLACES[number])
            if not (np.array_equal(t.transform(PLACES, threads=1 + number % 3), wanted) and single == tuple(wanted[number])
                    and np.array_equal(t.transform(wanted, inverse=True), back)):
                failed.append(number)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(6)]
    [thread.start() for thread in threads], [thread.join() for thread in threads]
    assert not failed


def test_other_threads_run_meanwhile():
    t = oprj.Transformer("EPSG:4326", "Space Oblique Mercator; datum=WGS 84; satellite=5; path=15")
    done = threading.Event()
    thread = threading.Thread(target=lambda: (t.transform(np.tile(PLACES, (5, 1))), done.set()))
    turns = 0
    thread.start()
    while not done.is_set():
        turns += 1
        time.sleep(0.001)
    thread.join()
    assert turns > 20


def test_a_key_ends_a_long_call_within_a_second():
    program = LONG_CALL + """
print("begun", flush=True)
try:
    t.transform(x, x, threads=2, verify=1.0)
except KeyboardInterrupt:
    print("ended", t.transform(-75.0, 40.0) == t.transform(-75.0, 40.0))
"""
    with subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, text=True) as process:
        assert process.stdout.readline() == "begun\n"
        time.sleep(0.5)
        began = time.monotonic()
        process.send_signal(signal.SIGINT)
        out, _ = process.communicate(timeout=60)
        assert out == "ended True\n" and process.returncode == 0
        assert time.monotonic() - began < 1.0


def in_child(queue, t):
    queue.put((t.transform(PLACES).tobytes(), oprj.CRS("EPSG:32619").name, oprj.Transformer(3857, 4267).transform(-8e6, 5e6)))


@pytest.mark.parametrize("method", ["fork", "spawn"])
def test_child_processes(method):
    context = multiprocessing.get_context(method)
    t = oprj.Transformer("EPSG:4267", "EPSG:32618")
    wanted = t.transform(PLACES, threads=2).tobytes()
    queue = context.Queue()
    child = context.Process(target=in_child, args=(queue, t))
    child.start()
    assert queue.get(timeout=60) == (wanted, "UTM, Zone 19 North", oprj.Transformer(3857, 4267).transform(-8e6, 5e6))
    child.join()
    assert child.exitcode == 0


def test_nothing_is_left_behind():
    blocks = ctypes.CDLL(os.path.join(oprj._oprj.library_folder(), "liboPrjToolkit.so.0")).omsc_HeapBlockCount
    blocks.restype = ctypes.c_int64
    few = PLACES[:1000]

    def everything():
        t = oprj.Transformer("utm; zone=17; datum=NAD83", oprj.CRS(oprj.CRS("EPSG:2263").to_wkt()))
        t.transform(few, inverse=True), t.each(few[:, 0], few[:, 1], threads=2), t._pair.steps(), repr(t)
        oprj.list("spheroids"), oprj.CRS("EPSG:8857").to_wkt()
        for bad in (lambda: oprj.CRS("nonsense"), lambda: t.transform([1], [2, 3]),
                    lambda: t.transform(np.nan, 0.0, errors="raise")):
            with pytest.raises(Exception):
                bad()

    def resident():
        return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    for _ in range(20):
        everything()
    heap, memory = blocks(), resident()
    for _ in range(60):
        everything()
    assert blocks() == heap
    assert resident() - memory < 4 << 20


def test_import_is_quick_and_takes_no_numpy(run_python):
    program = """
import sys, time
began = time.perf_counter()
import oprj
oprj.Transformer("utm; zone=17; datum=WGS 84", "geographic; datum=WGS 84").transform(5e5, 4e6)
print(time.perf_counter() - began, "numpy" in sys.modules)
"""
    seconds, loads = run_python(program).split()
    assert loads == "False" and float(seconds) < 1.0  # a guard for slow machines; bench/python.py has the figure


def test_data_of_ones_own_or_none(run_python, tmp_path):
    told = run_python("import oprj; oprj.CRS('geographic; datum=WGS 84')", {"ORVIK_PROJECTIONS_PATH": str(tmp_path)}, 1)
    assert "oprj.errors.Error: " in told and f"not found; searched (ORVIK_PROJECTIONS_PATH): \"{tmp_path}\"" in told
    (tmp_path / "spheroid_own.tab").write_text('"WGS 84" { 12 6378137 6356752.314245179 "My datum" parametric 1 2 3 0 0 0 0 }')
    program = "import oprj; print(oprj.CRS('geographic; datum=My datum').datum, oprj.CRS('EPSG:4267').datum)"
    assert run_python(program, {"ORVIK_DATUMS_PATH": str(tmp_path), "ORVIK_PROJECTIONS_PATH": ""}) == "My datum NAD27\n"


def test_programs_are_not_run_unasked(run_python, tmp_path):
    for table in (SOURCE / "data").glob("*.*a*"):
        (tmp_path / table.name).write_bytes(table.read_bytes())
    with open(tmp_path / "mapprojections.dat", "a") as dictionary:
        dictionary.write('"Outside" { External "nothing" "Spheroid" <spheroid> }')
    program = "import oprj; oprj.Transformer('EPSG:4326', 'Outside; datum=WGS 84')"
    assert "allow_external=True runs it" in run_python(program, {"ORVIK_PROJECTIONS_PATH": str(tmp_path)}, 1)


def test_a_package_without_its_library_says_so(run_python, tmp_path):
    package = tmp_path / "oprj"
    package.mkdir()
    for source in pathlib.Path(oprj.__file__).parent.glob("*.py"):
        (package / source.name).write_text(source.read_text())
    told = run_python(f"import sys; sys.path.insert(0, {str(tmp_path)!r}); import oprj", status=1)
    assert "the library oPrj cannot be loaded" in told and "build this package anew" in told


@pytest.mark.parametrize("document", ["docstrings", "docs/python.md"])
def test_documents_show_what_happens(document, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    names = {"oprj": oprj}
    if document == "docstrings":
        failed, tried = doctest.testmod(oprj, globs=names)
    else:
        failed, tried = doctest.testfile(str(SOURCE / document), module_relative=False, globs=names,
                                         optionflags=doctest.NORMALIZE_WHITESPACE | doctest.ELLIPSIS)
    assert tried > 15 and not failed


def test_pip_installs_it_from_its_folder(tmp_path):
    """Against the library of this build, without a network."""
    libraries = oprj._oprj.library_folder()
    packages = tmp_path / "packages"
    packages.mkdir()
    build = pathlib.Path(libraries).parent
    (packages / "oprj.pc").write_text(f"libdir={libraries}\nName: oPrj\nDescription: x\nVersion: 0.1.0\n"
                                      f"Libs: -L{libraries} -loPrj -loPrjToolkit\nCflags: -I{build}/include\n")
    source = tmp_path / "python"
    subprocess.run(["cp", "-rL", SOURCE / "python", source], check=True)
    pip = subprocess.run([sys.executable, "-m", "pip", "install", "--no-index", "--no-deps", "--target", tmp_path / "site", source],
                         capture_output=True, text=True, env={**os.environ, "PKG_CONFIG_PATH": str(packages)})
    if "No module named pip" in pip.stderr:
        pytest.skip("python3-pip is not installed")
    assert pip.returncode == 0, pip.stdout + pip.stderr
    program = "import oprj; print(oprj.__file__, oprj.Transformer('EPSG:4326', 32618).transform(-75.0, 40.0)[0])"
    # elsewhere: a module of the current folder would come first
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, cwd=tmp_path,
                          env={**os.environ, "PYTHONPATH": str(tmp_path / "site")})
    assert done.stdout.startswith(f"{tmp_path}/site/oprj/__init__.py "), done.stderr
    assert float(done.stdout.split()[1]) == oprj.Transformer(4326, 32618).transform(-75.0, 40.0)[0]
