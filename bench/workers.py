"""workers.py BUILD [POINTS]: the example's job (examples/dask/project_files.py) by a loop in one process, by one worker and by two;
prints a Markdown table. Medians of turns, wall time: the machine should have nothing else to do."""
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
import dask.array as da  # noqa: E402
import numpy as np  # noqa: E402
import oprj.dask  # noqa: E402
from dask.distributed import Client, LocalCluster  # noqa: E402

TURNS = 5
source = importlib.util.spec_from_file_location("example", pathlib.Path(__file__).parents[1] / "examples/dask/project_files.py")
example = importlib.util.module_from_spec(source)
source.loader.exec_module(example)


def write(block, folder, block_id=None):
    np.save(f"{folder}/projected-{block_id[0]}.npy", block)
    return np.zeros((1, 1))


def by_loop(files, count, folder):
    t = oprj.Transformer(example.SOURCE, example.TARGET)
    for number, file in enumerate(files):
        np.save(f"{folder}/projected-{number}.npy", t.transform(np.load(file)))


def by_workers(files, count, folder):
    read = [da.from_delayed(dask.delayed(np.load)(file), (count, 2), float) for file in files]
    moved = oprj.dask.transform(da.concatenate(read), example.SOURCE, example.TARGET)
    moved.map_blocks(write, folder, chunks=(1, 1), dtype=float).compute()


def seconds_of(job, *arguments):
    spent = []
    for _ in range(TURNS):
        began = time.perf_counter()
        job(*arguments)
        spent.append(time.perf_counter() - began)
    return statistics.median(spent)


if __name__ == "__main__":
    points = int(sys.argv[2]) if len(sys.argv) > 2 else 20_000_000
    with tempfile.TemporaryDirectory() as folder:
        files = [f"{folder}/points-{i}.npy" for i in range(max(points // example.PARTITION, 1))]
        for number, file in enumerate(files):
            example.generate(file, number, example.PARTITION)
        job = files, example.PARTITION, folder
        load = os.getloadavg()[0]
        times = {"loop": seconds_of(by_loop, *job)}
        for workers in (1, 2):
            with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=None) as cluster:
                with Client(cluster):
                    by_workers(*job)  # workers load what they need
                    times[workers] = seconds_of(by_workers, *job)
    print(f"{len(files) * example.PARTITION} points, load {load:.1f} on {os.cpu_count()} processors before\n\n"
          f"| | seconds | |\n|---|---|---|\n| a loop in one process | {times['loop']:.2f} | |\n"
          f"| one worker | {times[1]:.2f} | {100 * (times[1] / times['loop'] - 1):.0f} % beyond one process |\n"
          f"| two workers | {times[2]:.2f} | {times[1] / times[2]:.2f} times one |")
