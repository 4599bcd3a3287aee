"""Calls of the C library: handles, failures, progress and interruptions, texts and settings."""

from __future__ import annotations

import ctypes
import os
import signal
import threading
from dataclasses import dataclass
from fractions import Fraction
from numbers import Integral, Rational, Real
from types import FrameType, TracebackType
from typing import Any, Callable, Iterator, List, Mapping, NoReturn, Optional, Sequence, Tuple, Type, TypeVar, Union

import numpy as np

from ._library import OK, STEPS, Array, Message, OptionStruct, Progress, ReportFunction, lib
from ._views import view
from .errors import ClosedError, Error, InputError, Note, Problem, error_of, misuse

Path = Union[str, "os.PathLike[str]"]
"""A file's path. ``-`` is a file of that name, not a standard stream."""

Number = Union[int, float, Fraction]

OptionValue = Union[None, bool, Number, str, "os.PathLike[str]", Sequence[Union[str, Number]], Mapping[str, Number]]
"""The value of an option: see `options`."""

ProgressFunction = Callable[[str, int, int], object]
"""Called as ``progress(stage, done, total)`` during a call, on the thread that made it and at most a few hundred
times in each stage: ``"reading"`` (bytes), ``"preparing"``, ``"solving"`` (frames), ``"writing"`` (values). Both
numbers are 0 if they are unknown. An exception that it raises stops the work and reaches the caller."""

Rate = Union[int, float, Fraction, str]
"""Frames per second: 120, 29.97 (which stands for 30000/1001), Fraction(30000, 1001), "30000/1001"."""

STAGES = ("reading", "preparing", "solving", "writing")


class Handle:
    """An object of the C library; it is freed with the last reference to this handle."""

    __slots__ = ("_as_parameter_", "_free")

    def __init__(self, pointer: int, free: Callable[[int], int]) -> None:
        self._as_parameter_ = pointer
        self._free = free

    def __del__(self) -> None:
        self._free(self._as_parameter_)


Self = TypeVar("Self", bound="Owner")


class Owner:
    """An object that owns a handle of the C library.

    The memory is freed with the object, or earlier by `close` or at the end of a ``with`` block. Arrays keep their
    memory and stay valid after that.
    """

    _handle: Optional[Handle] = None
    _title: Optional[str] = None
    """The name of the class in errors, where it has another one for users."""

    def _adopt(self: Self, pointer: int, free: Callable[[int], int]) -> Self:
        self._handle = Handle(pointer, free)
        return self

    @property
    def _open(self) -> Handle:
        """The handle. Callers must keep it in a variable while they use it: another thread may close this object."""
        handle = self._handle
        if handle is None:
            raise ClosedError([Problem("usage", "", self._title or type(self).__name__, "this is closed",
                                       "use it before close() and inside its with block")])
        return handle

    def close(self) -> None:
        """Frees the memory that no array uses. Everything but `closed` and `close` then raises `ClosedError`."""
        self._handle = None

    @property
    def closed(self) -> bool:
        """Whether `close` was called."""
        return self._handle is None

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], value: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def __copy__(self) -> NoReturn:
        raise TypeError(f"a mien.{type(self).__name__} cannot be copied")

    def __deepcopy__(self, memo: object) -> NoReturn:
        self.__copy__()

    def __reduce__(self) -> NoReturn:
        raise TypeError(f"a mien.{type(self).__name__} cannot be pickled; write it to a file")


def messages(pointer: Optional[int]) -> List[Message]:
    """The messages of a list. Their texts are valid as long as the list."""
    found = []
    for i in range(lib.messages_count(pointer)):
        message = Message(struct_size=ctypes.sizeof(Message))
        if lib.messages_get(pointer, i, ctypes.byref(message)) == OK:
            found.append(message)
    return found


def decoded(text: Optional[bytes]) -> str:
    return (text or b"").decode("utf-8", "replace")


def notes(pointer: Optional[int]) -> Tuple[Note, ...]:
    return tuple(Note(decoded(m.code), decoded(m.place), decoded(m.what)) for m in messages(pointer))


class Errors:
    """The last argument of a call that may fail, or the notes that it returns. Takes ownership of a given list."""

    __slots__ = ("_list", "_as_parameter_")

    def __init__(self, taken: Optional[ctypes.c_void_p] = None) -> None:
        self._list = ctypes.c_void_p()
        self._as_parameter_ = ctypes.byref(self._list)
        if taken is not None:
            self._list.value, taken.value = taken.value, None

    def __del__(self) -> None:
        if self._list.value is not None:
            lib.messages_free(self._list)

    def notes(self) -> Tuple[Note, ...]:
        return notes(self._list.value)

    def exception(self) -> Error:
        problems = [Problem(decoded(m.code), decoded(m.file), decoded(m.place), decoded(m.what), decoded(m.fix))
                    for m in messages(self._list.value)]
        return error_of(problems or [Problem("usage", "", "", "the call failed without a reason", "")])


def checked(errors: Errors, status: int) -> None:
    """Raises the error of a call that returned this status, if it failed."""
    if status != OK:
        raise errors.exception()


def created(errors: Errors, pointer: Optional[int]) -> int:
    """Returns the handle that a call returned, or raises its error."""
    if pointer is None:
        raise errors.exception()
    return pointer


class Work:
    """A long call: it reports its progress, and can be stopped.

        errors = Errors()
        with Work(progress) as work:
            pointer = lib.solve(..., work.progress, errors)
        created(errors, pointer)

    While it runs on the main thread, SIGINT (Ctrl-C) is noted, stops the work at its next report, and reaches the
    handler that Python had for it afterwards: by default, KeyboardInterrupt is raised.
    """

    def __init__(self, report: Optional[ProgressFunction]) -> None:
        self._report = report
        self._raised: Optional[BaseException] = None
        self._interrupted = False
        self._former: Optional[Callable[[int, Optional[FrameType]], Any]] = None
        self._struct = Progress(struct_size=ctypes.sizeof(Progress), report=ReportFunction(self._step), user=None)
        self.progress = ctypes.byref(self._struct)

    def _step(self, user: Optional[int], stage: int, done: int, total: int) -> int:
        # ctypes would print an exception from here and drop it.
        try:
            if self._report is not None and not self._interrupted:
                self._report(STAGES[stage], done, total)
        except BaseException as raised:
            self._raised = raised
            return 1
        return 1 if self._interrupted else 0

    def _note_interruption(self, number: int, frame: Optional[FrameType]) -> None:
        self._interrupted = True

    def __enter__(self) -> "Work":
        if threading.current_thread() is threading.main_thread():
            former = signal.getsignal(signal.SIGINT)
            if callable(former):  # not if the signal is ignored, or ends the process
                self._former = former
                signal.signal(signal.SIGINT, self._note_interruption)
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], value: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        if self._former is not None:
            signal.signal(signal.SIGINT, self._former)
        former, self._former = self._former, None
        raised, self._raised = self._raised, None
        del self._struct, self.progress  # they refer back to this object
        if raised is not None:
            raise raised
        if self._interrupted and former is not None:
            former(signal.SIGINT, None)


def encoded(text: str, place: str) -> bytes:
    """A text for the library. `place` is the argument's name."""
    if not isinstance(text, str):
        raise TypeError(f"{place} must be a str, not {type(text).__name__}")
    try:
        value = text.encode("utf-8")
    except UnicodeEncodeError as fault:
        raise misuse("the text is not Unicode", "use characters without surrogates", place) from fault
    if b"\0" in value:
        raise misuse("the text has a 0 byte", "leave it out", place)
    return value


def encoded_path(path: Path, place: str = "path") -> bytes:
    if not isinstance(path, (str, bytes, os.PathLike)):
        raise TypeError(f"{place} must be a name or a path, not {type(path).__name__}")
    value = os.fsencode(path)
    if b"\0" in value:
        raise misuse("the path has a 0 byte", "leave it out", place)
    return b"./-" if value == b"-" else value


def encoded_list(texts: Sequence[str], place: str) -> "ctypes.Array[ctypes.c_char_p]":
    if isinstance(texts, (str, bytes)):
        raise TypeError(f"{place} must be a sequence of names, not one name")
    values = [encoded(text, place) for text in texts]
    return (ctypes.c_char_p * len(values))(*values)


def taken_text(pointer: int) -> bytes:
    """The bytes of a mien_text; frees it."""
    text = Handle(pointer, lib.text_free)
    return ctypes.string_at(lib.text_data(text), lib.text_size(text))


def bytes_of(data: object, place: str) -> "np.ndarray[Any, np.dtype[np.uint8]]":
    """The bytes of a buffer, copied only if they are not contiguous. `place` names it if it is none."""
    try:
        buffer = memoryview(data)  # type: ignore[arg-type]
    except TypeError:
        raise TypeError(f"{place} must be a path, bytes or an open file, not {type(data).__name__}") from None
    try:
        return np.frombuffer(buffer.cast("B"), np.uint8)
    except TypeError:
        return np.frombuffer(buffer.tobytes(), np.uint8)


_TYPES = (np.dtype(np.float64), np.dtype(np.int64), np.dtype(np.uint8))


def array_of(get: Callable[..., int], handle: Handle, which: int) -> "np.ndarray[Any, np.dtype[Any]]":
    """A view of one of a handle's arrays."""
    array = Array(struct_size=ctypes.sizeof(Array))
    errors = Errors()
    checked(errors, get(handle, which, ctypes.byref(array), errors))
    n = array.dimensions
    return view(handle, array.data, tuple(array.shape[:n]), _TYPES[array.type], tuple(array.strides[:n]))


def names_of(count: int, name: Callable[[int], Any]) -> Tuple[str, ...]:
    return tuple(decoded(name(i)) for i in range(count))


def rate_of(get: Callable[..., int], handle: Handle) -> Optional[Fraction]:
    numerator, denominator = ctypes.c_int64(), ctypes.c_int64()
    get(handle, ctypes.byref(numerator), ctypes.byref(denominator))
    return Fraction(numerator.value, denominator.value) if numerator.value > 0 else None


def number_text(value: Number) -> str:
    if isinstance(value, Integral):
        return str(int(value))
    if isinstance(value, Rational):
        return f"{value.numerator}/{value.denominator}"
    return repr(float(value))  # of NumPy's numbers as well


def parsed_rate(rate: Rate) -> Fraction:
    """A rate as a fraction, as the command reads it."""
    text = rate if isinstance(rate, str) else number_text(rate)
    numerator, denominator = ctypes.c_int64(), ctypes.c_int64()
    errors = Errors()
    try:
        checked(errors, lib.rate_from_text(encoded(text, "rate"), ctypes.byref(numerator), ctypes.byref(denominator),
                                           errors))
    except InputError as error:  # whose place is the C function's parameter
        raise misuse(error.problems[0].what, error.problems[0].fix, "rate") from None
    return Fraction(numerator.value, denominator.value)


def _option_texts(value: OptionValue, name: str) -> Iterator[str]:
    if isinstance(value, (bool, np.bool_)):
        yield "true" if value else "false"
    elif isinstance(value, Real):
        yield number_text(value)
    elif isinstance(value, str):
        yield value
    elif isinstance(value, os.PathLike):
        yield os.fspath(value)
    elif isinstance(value, Mapping):
        for key, number in value.items():
            yield f"{key}={number_text(number)}"
    elif isinstance(value, Sequence):
        for item in value:
            yield item if isinstance(item, str) else number_text(item)
    else:
        raise TypeError(f"the option {name} cannot be a {type(value).__name__}")


def settings(step: str, options: Mapping[str, OptionValue]) -> Optional[Handle]:
    """The settings of a step; None for the defaults."""
    given = {name: value for name, value in options.items() if value is not None}
    if not given:
        return None
    errors = Errors()
    handle = Handle(created(errors, lib.settings_new(STEPS[step], errors)), lib.settings_free)
    for name, value in given.items():
        option = encoded(name, "option").replace(b"_", b"-")
        texts = list(_option_texts(value, name))
        if isinstance(value, Sequence) and not isinstance(value, str) and not _repeatable(handle, name):
            texts = [",".join(texts)]
        add = lib.settings_add if len(texts) > 1 else lib.settings_set
        for text in texts:
            checked(errors, add(handle, option, encoded(text, name), errors))
    return handle


@dataclass(frozen=True)
class Option:
    """An option of a step of the work.

    ``name`` is the keyword argument (``"smooth_weights"``), ``type`` describes its value (``"HZ"``; empty for a bool),
    ``values`` has the accepted words (empty if others are possible), ``repeatable`` says whether it accepts a sequence
    of values, and ``help`` what it does.
    """

    name: str
    type: str
    values: Tuple[str, ...]
    repeatable: bool
    help: str


def _listed_options(handle: Handle) -> Iterator[Option]:
    for i in range(lib.settings_option_count(handle)):
        option = OptionStruct(struct_size=ctypes.sizeof(OptionStruct))
        lib.settings_option(handle, i, ctypes.byref(option))
        words = decoded(option.values)
        yield Option(decoded(option.name).replace("-", "_"), decoded(option.type),
                     tuple(words.split(",")) if words else (), option.repeatable != 0, decoded(option.help))


def _repeatable(handle: Handle, name: str) -> bool:
    return any(option.repeatable for option in _listed_options(handle) if option.name == name)


def options(step: str) -> Tuple[Option, ...]:
    """The options of a step: ``"read"``, ``"solve"``, ``"retarget"``, ``"calibrate"``, ``"convert"`` (`Take.write`) or
    ``"write"`` (`Animation.write`).

    They are those of the command, with underscores for dashes; pass them as keyword arguments. A value is a bool for an
    option without a type, otherwise a number or a text as on the command line. An option with several values takes a
    sequence; ``expression`` takes a mapping from names to weights. None stands for the default. Raises `InputError` for
    an unknown step.
    """
    if step not in STEPS:
        raise misuse(f'there is no step "{step}"', "the steps are " + ", ".join(STEPS), "step")
    errors = Errors()
    return tuple(_listed_options(Handle(created(errors, lib.settings_new(STEPS[step], errors)), lib.settings_free)))
