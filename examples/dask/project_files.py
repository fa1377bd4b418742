"""Projects more points than fit into memory, out of files and into files, on two worker processes that it starts itself.

    python3 examples/dask/project_files.py [POINTS] [FOLDER]

The points (20 million without an argument) are generated into FOLDER as .npy files of UTM coordinates on NAD27, moved to NAD83
by the installed grid, and written beside them. What one process makes of every tenth file must be the same, bit for bit.
"""
import resource
import sys
import tempfile
import time

import dask
import dask.array as da
import numpy as np
import oprj
import oprj.dask
from dask.distributed import Client, LocalCluster

SOURCE, TARGET = "EPSG:26718", "EPSG:26918"
OPTIONS = {"verify": 0.001}  # metres: each point is also projected back, and bad if it does not return so near
# Workers keep the memory that partitions take, instead of giving it back after each and asking for it anew.
KEPT = {"MALLOC_TRIM_THRESHOLD_": 256 << 20, "MALLOC_MMAP_THRESHOLD_": 32 << 20, "MALLOC_ARENA_MAX": 1}
dask.config.set({f"distributed.nanny.pre-spawn-environ.{name}": value for name, value in KEPT.items()})
# What Dask does a hundred times a second beside the work, looking where threads are, it does once a second.
dask.config.set({"distributed.worker.profile.interval": "1s", "distributed.admin.tick.interval": "1s"})
PARTITION = 1_000_000  # points: 16 MB, which take several times as long as handing out their tasks


def generate(folder, number, count):
    random = np.random.default_rng(number)
    places = random.uniform((-78, 30), (-72, 41), (count, 2))
    np.save(f"{folder}/points-{number}.npy", oprj.Transformer("EPSG:4267", SOURCE).transform(places))


def read(folder, block_id=None):
    return np.load(f"{folder}/points-{block_id[0]}.npy")


def write(block, folder, block_id=None):
    np.save(f"{folder}/projected-{block_id[0]}.npy", block)
    return np.full((1, 1), resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024)


def project(counts, source, target):
    """Reading, projecting and writing a partition are one task: nothing waits between them. The greatest memory of a worker, MiB."""
    points = da.map_blocks(read, source, chunks=(tuple(counts), (2,)), dtype=float, meta=np.empty((0, 2)))
    moved = oprj.dask.transform(points, SOURCE, TARGET, **OPTIONS)
    return moved.map_blocks(write, target, chunks=(1, 1), dtype=float).compute().max()


def main(points, folder):
    counts = [min(PARTITION, points - i) for i in range(0, points, PARTITION)]
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=":0") as cluster, Client(cluster):
        dask.compute(*(dask.delayed(generate)(folder, *job) for job in enumerate(counts)))
        began = time.perf_counter()
        memory = project(counts, folder, folder)
        seconds = time.perf_counter() - began
    t = oprj.Transformer(SOURCE, TARGET)
    same = all(t.transform(read(folder, (i,)), **OPTIONS).tobytes() == np.load(f"{folder}/projected-{i}.npy").tobytes()
               for i in range(0, len(counts), 10))
    print(f"{points} points in {seconds:.1f} s; the larger worker took {memory:.0f} MiB; the same bits as one process: {same}")
    return 0 if same else 1


if __name__ == "__main__":
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 20_000_000
    if len(sys.argv) > 2:
        sys.exit(main(count, sys.argv[2]))
    with tempfile.TemporaryDirectory() as temporary:
        sys.exit(main(count, temporary))
