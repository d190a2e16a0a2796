"""What a call of the library says when it fails."""

from __future__ import annotations

from typing import Any

__all__ = ["QmxIcError"]


class QmxIcError(Exception):
    """An analysis that the library could not make of the data.

    Parameters
    ----------
    description : str
        What went wrong.
    path : str
        The failing routine and its callers, innermost first, parted by "/".
    code : int
        101, or 102 where a fit was given a NaN; 0 where the package itself refused the result.
    results : object, optional
        What the failed call still delivers, of the type that the function returns; None where there
        is nothing. Each function says what stands in it.
    """

    description: str
    path: str
    code: int
    results: Any

    def __init__(
        self, description: str, path: str = "", code: int = 0, results: object | None = None
    ) -> None:
        super().__init__(description, path, code, results)  # so that it survives pickling
        self.description = description
        self.path = path
        self.code = code
        self.results = results

    def __str__(self) -> str:
        place = f" [{self.path}, code {self.code}]" if self.path else ""
        return self.description + place


def error_of(failure: tuple[str, str, int], results: object | None = None) -> QmxIcError:
    """The error of a failed call, with what the call still delivers."""
    description, path, code = failure
    return QmxIcError(description, path, code, results)
