"""workers.py BUILD [POINTS]: the example's job (examples/dask/project_files.py) by a loop in one process, by one worker and by two;
prints a Markdown table. Medians of turns, in which each does the job once, wall time: the machine should have nothing else to do.
Files are in memory where the system has such a folder, so that the disk is not what is measured."""
import importlib.util
import os
import pathlib
import statistics
import sys
import tempfile
import time

build = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "build-release").resolve()
os.environ["PYTHONPATH"] = str(build / "python")  # of the workers
sys.path.insert(0, os.environ["PYTHONPATH"])

import dask  # noqa: E402
import numpy as np  # noqa: E402
import oprj.dask  # noqa: E402
from dask.distributed import Client, LocalCluster  # noqa: E402

TURNS, REPEATS = 7, 3
MEMORY = "/dev/shm" if os.path.isdir("/dev/shm") else None
source = importlib.util.spec_from_file_location("example", pathlib.Path(__file__).parents[1] / "examples/dask/project_files.py")
example = importlib.util.module_from_spec(source)
source.loader.exec_module(example)


def seconds_of(project, counts, folder):
    """The median of some runs, into folders of their own: what Dask has by name it does not compute again."""
    spent = []
    for _ in range(1 + REPEATS):
        with tempfile.TemporaryDirectory(dir=MEMORY) as target:
            began = time.perf_counter()
            project(counts, folder, target)
            spent.append(time.perf_counter() - began)
    return statistics.median(spent[1:])  # in the first they load what they need


def by_loop(counts, folder, target):
    t = oprj.Transformer(example.SOURCE, example.TARGET)
    for number in range(len(counts)):
        example.write(t.transform(example.read(folder, (number,)), **example.OPTIONS), target, (number,))


def seconds_of_workers(workers, *job):
    with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=":0") as cluster, Client(cluster):
        return seconds_of(example.project, *job)


if __name__ == "__main__":
    points = int(sys.argv[2]) if len(sys.argv) > 2 else 20_000_000
    counts = [example.PARTITION] * max(points // example.PARTITION, 1)
    load = os.getloadavg()[0]
    spent = {"loop": [], 1: [], 2: []}
    with tempfile.TemporaryDirectory(dir=MEMORY) as folder:
        for job in enumerate(counts):
            example.generate(folder, *job)
        for turn in range(TURNS):
            spent["loop"].append(seconds_of(by_loop, counts, folder))
            for workers in (1, 2):
                spent[workers].append(seconds_of_workers(workers, counts, folder))
    times = {name: statistics.median(seconds) for name, seconds in spent.items()}
    print(f"{len(counts) * example.PARTITION} points, load {load:.1f} on {os.cpu_count()} processors before\n\n"
          f"| | seconds | |\n|---|---|---|\n| a loop in one process | {times['loop']:.2f} | |\n"
          f"| one worker | {times[1]:.2f} | {100 * (times[1] / times['loop'] - 1):.0f} % beyond one process |\n"
          f"| two workers | {times[2]:.2f} | {times[1] / times[2]:.2f} times one |")
