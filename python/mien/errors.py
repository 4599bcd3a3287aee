"""Errors and notes about inputs."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Sequence


@dataclass(frozen=True)
class Problem:
    """One fault of an input.

    ``code`` is its kind for programs, such as ``"not-found"`` or ``"syntax"``; docs/file-formats.md lists them all.
    ``file`` and ``place`` (a line, ``"byte 512"``, a JSON pointer, an argument) say where it is, ``what`` says what is
    wrong, and ``fix`` how to correct it. ``file``, ``place`` and ``fix`` may be empty.
    """

    code: str
    file: str
    place: str
    what: str
    fix: str

    def __str__(self) -> str:
        where = ":".join(part for part in (self.file, self.place) if part)
        text = f"{where}: {self.what}" if where else self.what
        return f"{text}; {self.fix}" if self.fix else text


@dataclass(frozen=True)
class Note:
    """Something that was corrected or noticed: its kind as in `Problem`, its place in the file, a sentence."""

    code: str
    place: str
    what: str

    def __str__(self) -> str:
        return f"{self.place}: {self.what}" if self.place else self.what


class Error(Exception):
    """An input or an output is wrong, in one or more places. The text is the same as in the command.

    All errors of this package are of this class, except those that Python itself detects (a missing argument). The
    subclasses are also the built-in exceptions that Python programs expect.
    """

    def __init__(self, problems: Sequence[Problem]) -> None:
        super().__init__("\n".join(map(str, problems)))
        self.problems = tuple(problems)
        """What is wrong; at least one problem."""

    def __str__(self) -> str:
        return "\n".join(map(str, self.problems))

    def __reduce__(self) -> tuple[type[Error], tuple[tuple[Problem, ...]]]:
        return type(self), (self.problems,)  # errors of worker processes arrive whole


class InputError(Error, ValueError):
    """The content of a file, an array or an argument is wrong."""


class FileError(Error, OSError):
    """A file cannot be read or written."""


class FileMissingError(FileError, FileNotFoundError):
    """A file does not exist."""


class OutOfMemoryError(Error, MemoryError):
    """Memory ran out."""


class ClosedError(Error, ValueError):
    """An object was used after `close()`."""


def error_of(problems: Sequence[Problem]) -> Error:
    """The exception for these problems (at least one); the first one determines its class."""
    first = problems[0]
    if first.code == "memory":
        return OutOfMemoryError(problems)
    if first.code == "not-found" and first.file and not first.place and not os.path.exists(first.file):
        return FileMissingError(problems)
    if first.code in ("unreadable", "unwritable"):
        return FileError(problems)
    return InputError(problems)


def misuse(what: str, fix: str, place: str = "") -> InputError:
    """The error for a wrong argument that the package itself finds."""
    return InputError([Problem("usage", "", place, what, fix)])
