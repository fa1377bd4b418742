"""What can go wrong: exceptions with the library's reports, and warnings."""
from __future__ import annotations

from collections import namedtuple

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import NamedTuple

    class Report(NamedTuple):
        function: str
        code: int
        severity: int
        message: str
else:
    Report = namedtuple("Report", "function code severity message")
    Report.__doc__ = "A report of the library: the operation that failed, its code, severity (2: an error) and message."


class Error(Exception):
    """An operation of the library failed.

    `reports` is the chain of reports, the outermost first, the root cause last; the exception's text tells all of
    them, a line each. `suggestions` are names that could stand instead of one that was refused.
    """

    def __init__(self, reports: tuple[Report, ...], suggestions: tuple[str, ...] = ()) -> None:
        super().__init__(reports, suggestions)
        self.reports = reports
        self.suggestions = suggestions

    def __str__(self) -> str:
        first, *causes = self.reports
        return "\n".join([first.message] + [f"  because {cause.function}: {cause.message}" for cause in causes])


class CRSError(Error):
    """A coordinate system, or a pair of them, cannot be used."""


class PointError(Error):
    """A point has no result (errors="raise").

    `index` is the point's place in the array (a tuple for arrays of several dimensions, None for a single point),
    `point` its coordinates as given, `reason` an `oprj.Reason`.
    """

    index: int | tuple[int, ...] | None = None
    point: tuple[float, float]
    reason: int

    def __str__(self) -> str:
        place = "" if self.index is None else f" {self.index}"
        return f"point{place} {self.point}: {super().__str__()}"


class PointWarning(UserWarning):
    """Points have no result and became NaN."""


class SystemWarning(UserWarning):
    """What a careful user should know of a coordinate system or of a datum shift."""
