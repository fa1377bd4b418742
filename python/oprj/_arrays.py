"""What people hand in as coordinates, as arrays of doubles; and results in the form of what came."""
from __future__ import annotations

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any, Callable

    import numpy as np
    from numpy.typing import NDArray

    Doubles = NDArray[np.float64]


def _refuse(name: str, kind: str) -> TypeError:
    return TypeError(f"{name} holds {kind}, not numbers: convert it first, for instance by numpy.asarray({name}, float)")


def doubles(value: Any, name: str) -> Doubles:
    """The values as an array of doubles: themselves where they are one, else copied."""
    import numpy as np

    if isinstance(value, np.ma.MaskedArray):
        raise TypeError(f"{name} is a masked array: fill it first, for instance by {name}.filled(numpy.nan)")
    if type(value) is not np.ndarray:
        if getattr(value, "dtype", None) is not None and hasattr(value, "to_numpy") and _is_nullable(value):
            value = value.to_numpy(dtype=np.float64, na_value=np.nan)
        try:
            value = np.asarray(value)
        except (TypeError, ValueError) as problem:
            raise type(problem)(f"{name} is no array of numbers: {problem}") from None
    if value.dtype.kind == "O" and hasattr(value.flat[0] if value.size else None, "geom_type"):
        raise TypeError(f"{name} holds geometries: hand in their coordinates, as shapely.get_coordinates gives them, or "
                        "shapely.ops.transform the method")
    if value.dtype.kind not in "fiu":
        raise _refuse(name, "objects" if value.dtype.kind == "O" else f"values of type {value.dtype}")
    result: Doubles = value if value.dtype == np.float64 and value.dtype.isnative else value.astype(np.float64)
    return result


def _is_nullable(value: Any) -> bool:
    """A pandas column whose values are numbers or missing."""
    return getattr(value.dtype, "kind", "O") in "fiu" and hasattr(value.dtype, "na_value")


def former(value: Any) -> Callable[[Doubles], Any]:
    """What gives results the form of `value`: numbers, lists, tuples, pandas objects; else arrays."""
    import numpy as np

    if isinstance(value, list):
        return lambda result: result.tolist()
    if isinstance(value, tuple):
        return lambda result: tuple(result.tolist())
    if hasattr(value, "columns") and hasattr(value, "index"):
        return lambda result: type(value)(result, index=value.index, columns=value.columns)
    if hasattr(value, "to_numpy") and hasattr(value, "index"):
        return lambda result: type(value)(result, index=value.index, name=value.name)
    if np.ndim(value) == 0:
        return float
    return lambda result: result


class Coordinates:
    """Coordinates that came as x and y or as points, and the arrays of their results."""

    def __init__(self, x: Any, y: Any, inplace: bool, wants_reasons: bool) -> None:
        import numpy as np

        self._points = y is None
        self._forms = [former(x)] if self._points else [former(x), former(y)]
        if self._points:
            given = [doubles(x, "points")]
            if given[0].ndim < 1 or given[0].shape[-1] != 2:
                raise ValueError(f"points are pairs: an array of shape (..., 2), not {given[0].shape}; "
                                 "single coordinates are handed in as x and y")
            self.x, self.y = given[0][..., 0], given[0][..., 1]
        else:
            given = [doubles(x, "x"), doubles(y, "y")]
            self.x, self.y = given
            if self.x.shape != self.y.shape:
                raise ValueError(f"x and y differ in shape: {self.x.shape} and {self.y.shape}")
            if hasattr(x, "index") and hasattr(y, "index") and hasattr(x, "to_numpy") and not x.index.equals(y.index):
                raise ValueError("x and y have different indexes: align them first, for instance by y.reindex(x.index)")
        if inplace:
            for array, origin, name in zip(given, (x, y), ("points" if self._points else "x", "y")):
                if array is not origin or not array.flags.writeable:
                    raise TypeError(f"inplace=True writes into NumPy arrays of doubles: {name} is none that can be "
                                    "written; leave inplace out")
            if not self._points and np.shares_memory(self.x, self.y):
                raise ValueError("inplace=True: x and y lie in the same memory")
            self._results = given
        elif self._points:
            self._results = [np.empty(given[0].shape)]
        else:
            self._results = [np.empty(self.x.shape), np.empty(self.x.shape)]
        self.shape = self.x.shape
        out = self._results[0]
        self.out_x, self.out_y = (out[..., 0], out[..., 1]) if self._points else self._results
        self.reasons = np.zeros(self.shape, np.uint8) if wants_reasons else None

    def index(self, place: int) -> int | tuple[int, ...] | None:
        """The place of a point that was counted in C order, as it indexes the coordinates; None for a single point."""
        import numpy as np

        if len(self.shape) > 1:
            return tuple(int(i) for i in np.unravel_index(place, self.shape))
        return place if self.shape else None

    def results(self) -> Any:
        formed = [form(result) for form, result in zip(self._forms, self._results)]
        return formed[0] if self._points else tuple(formed)
