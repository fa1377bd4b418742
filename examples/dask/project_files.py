"""Projects more points than fit into memory, out of files and into files, on two worker processes that it starts itself.

    python3 examples/dask/project_files.py [POINTS] [FOLDER]

The points (20 million without an argument) are generated into FOLDER as .npy files, moved from NAD27 to UTM zone 18 on
NAD83 by the installed grid, and written beside them. What one process makes of every tenth file must be the same, bit for bit.
"""
import pathlib
import resource
import sys
import tempfile
import time

import dask
import numpy as np
import oprj
import oprj.dask
from dask.distributed import Client, LocalCluster

SOURCE, TARGET = "EPSG:4267", "EPSG:26918"
# Workers keep the memory that partitions take, instead of giving it back after each and asking for it anew.
KEPT = {"MALLOC_TRIM_THRESHOLD_": 256 << 20, "MALLOC_MMAP_THRESHOLD_": 32 << 20, "MALLOC_ARENA_MAX": 1}
dask.config.set({f"distributed.nanny.pre-spawn-environ.{name}": value for name, value in KEPT.items()})
PARTITION = 1_000_000  # points: 16 MB, which take several times as long as handing out their tasks


def generate(path, seed, count):
    random = np.random.default_rng(seed)
    np.save(path, random.uniform((-78, 30), (-72, 41), (count, 2)))


def write(block, folder, block_id=None):
    np.save(pathlib.Path(folder) / f"projected-{block_id[0]}.npy", block)
    return np.full((1, 1), resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024)


def main(points, folder):
    import dask.array as da

    files = [pathlib.Path(folder) / f"points-{i}.npy" for i in range(-(-points // PARTITION))]
    counts = [min(PARTITION, points - i * PARTITION) for i in range(len(files))]
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, Client(cluster):
        dask.compute(*(dask.delayed(generate)(*job) for job in zip(files, range(len(files)), counts)))
        read = [da.from_delayed(dask.delayed(np.load)(file), (count, 2), float) for file, count in zip(files, counts)]
        began = time.perf_counter()
        moved = oprj.dask.transform(da.concatenate(read), SOURCE, TARGET)
        memory = moved.map_blocks(write, folder, chunks=(1, 1), dtype=float).compute().max()
        seconds = time.perf_counter() - began
    t = oprj.Transformer(SOURCE, TARGET)
    same = all(t.transform(np.load(file)).tobytes() == np.load(file.with_name(f"projected-{i}.npy")).tobytes()
               for i, file in enumerate(files) if i % 10 == 0)
    print(f"{points} points in {seconds:.1f} s; the larger worker took {memory:.0f} MiB; the same bits as one process: {same}")
    return 0 if same else 1


if __name__ == "__main__":
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 20_000_000
    if len(sys.argv) > 2:
        sys.exit(main(count, sys.argv[2]))
    with tempfile.TemporaryDirectory() as temporary:
        sys.exit(main(count, temporary))
