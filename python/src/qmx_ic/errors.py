"""What a call of the library says when it fails, and what a study refuses."""

from __future__ import annotations

from typing import Any

__all__ = ["QmxIcError", "StudyError", "StudyFileNotFoundError"]


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


class StudyError(ValueError):
    """What a file, an option or the data do not allow.

    Attributes
    ----------
    message : str
        What is wrong, where, and the remedy.
    code : str
        ``"wrong_usage"`` (a file, a column or an option), ``"analysis_failed"`` or ``"failed"``.
    file, line, column, option : str or int or None
        What it concerns, as far as that is known; lines count from 1.
    path : str or None
        The failing routine of the library and its callers, where the library failed.
    event_code : int or None
        The library's own number of the failure.
    """

    def __init__(
        self,
        message: str,
        *,
        code: str = "wrong_usage",
        file: str | None = None,
        line: int | None = None,
        option: str | None = None,
        column: str | None = None,
        path: str | None = None,
        event_code: int | None = None,
    ) -> None:
        super().__init__(message)
        self.message = message
        self.code = code
        self.file = file
        self.line = line
        self.option = _argument_of(option)
        self.column = column
        self.path = path
        self.event_code = event_code

    def __str__(self) -> str:
        return self.message

    def __reduce__(self) -> tuple[Any, ...]:
        return (_error_again, (type(self), dict(self.__dict__)))


class StudyFileNotFoundError(StudyError, FileNotFoundError):
    """A file that was to be read is not there."""


def _error_again(kind: type[StudyError], known: dict[str, Any]) -> StudyError:
    """An error that went from one process to another."""
    return kind(known.pop("message"), **known)


def _argument_of(option: str | None) -> str | None:
    """The argument that stands for an option of the program: ``--target-passes``, ``--pass``."""
    if option is None:
        return None
    name = option.lstrip("-").replace("-", "_")
    return "pass_" if name == "pass" else name
