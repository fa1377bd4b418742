"""Points of Dask collections, on one machine or many: partitions are tasks, what is shipped is the text of two systems.

    import dask.array as da
    import oprj.dask

    points = da.from_array(...)                    # shape (n, 2)
    projected = oprj.dask.transform(points, "EPSG:4267", "EPSG:32618")
    projected.to_zarr(...)                         # nothing is computed before

Each worker finds the grids of a datum shift itself, and they are compared with the caller's by SHA-256: a worker that has
another grid, or none, is an error and never another result. x stands before y, as everywhere.
"""
from __future__ import annotations

import hashlib
import os
import pathlib
import pickle
from functools import lru_cache

from . import CRS, Error, Report, Transformer, __version__

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any, Mapping, Sequence

__all__ = ["transform"]


def _digests(*systems: CRS) -> Mapping[str, str]:
    """The SHA-256 of the grids that the systems' datums name, as this process finds them; "" for one that is not there."""
    folders = [folder for part in os.environ.get("ORVIK_DATUMS_PATH", ".").split(";") for folder in part.split(":")]
    digests = {}
    for name in {system._system.grid for system in systems} - {""}:
        found = next((path for path in (pathlib.Path(folder) / name for folder in folders) if path.is_file()), None)
        digests[name] = hashlib.sha256(found.read_bytes()).hexdigest() if found else ""
    return digests


@lru_cache(maxsize=64)
def _transformer(job: bytes) -> Transformer:
    """What the caller has, made in this process once; throws where it would be another."""
    version, source, target, digests = pickle.loads(job)
    if version != __version__:
        raise Error((Report("oprj.dask", 1, 2, f"this worker has version {__version__} of oprj, the caller has {version}"),))
    for name, digest in _digests(source, target).items():
        if digest != digests[name]:
            raise Error((Report("oprj.dask", 2, 2, f"the grid {name} of this worker is not the caller's: install the same "
                                                   "file on both"),))
    return Transformer(source, target)


def _array(block: Any, job: bytes, options: Mapping[str, Any]) -> Any:
    return _transformer(job).transform(block, **options)


def _frame(part: Any, job: bytes, columns: Sequence[str], options: Mapping[str, Any]) -> Any:
    x, y = columns
    moved = _transformer(job).transform(part[x].astype(float), part[y].astype(float), **options)
    return part.assign(**{x: moved[0], y: moved[1]})


def transform(collection: Any, source: Any, target: Any, columns: Sequence[str] | None = None, **options: Any) -> Any:
    """A collection of the same kind with its points projected, longitude before latitude, in the systems' units.

    `collection` is a Dask array of shape (..., 2), or a Dask data frame with the two `columns` that are replaced.
    `options` are those of `Transformer.transform`, but for `inplace`.

    >>> import dask.array as da
    >>> import oprj.dask
    >>> points = da.from_array([[-75.0, 40.0], [-75.0, 41.0]], chunks=(1, 2))
    >>> oprj.dask.transform(points, "EPSG:4326", "EPSG:32618").compute().round(1).tolist()
    [[500000.0, 4427757.2], [500000.0, 4538764.6]]
    """
    if options.get("inplace"):
        raise ValueError("inplace=True: Dask's collections do not change")
    systems = CRS(source), CRS(target)
    Transformer(*systems)  # what cannot be done is told here
    job = pickle.dumps((__version__, *systems, dict(_digests(*systems))))
    if columns is not None:
        x, y = columns
        meta = collection._meta.assign(**{x: 0.0, y: 0.0}).astype({x: float, y: float})
        return collection.map_partitions(_frame, job, (x, y), options, meta=meta)
    if collection.ndim < 1 or collection.shape[-1] != 2:
        raise ValueError(f"points are pairs: an array of shape (..., 2), not {collection.shape}")
    return collection.rechunk({-1: 2}).map_blocks(_array, job, options, dtype=float, meta=collection._meta.astype(float))
