"""Recordings: messages one after the other, soundings and water columns as arrays."""

from __future__ import annotations

import os
import threading
from collections.abc import Iterator, Mapping, Sequence
from datetime import datetime, timezone
from typing import TYPE_CHECKING, Any, NamedTuple

from . import _errors, _qx5
from ._echoes import WaterColumn, need_numpy
from ._tree import Tree

if TYPE_CHECKING:
    import numpy as np
    import numpy.typing as npt


class Field(NamedTuple):
    """One field of a record."""

    name: str | None
    """The key, or what the field is called; None for a constant."""
    is_key: bool
    value: Any
    """In the unit of the key; what stands on the wire where that is no attribute."""
    wire: Any
    """What stands on the wire."""
    unit: str
    offset: int
    """Bytes from the start of the payload or of the item."""


class Record(NamedTuple):
    """A record, taken apart."""

    time: float | None
    """Of its frame, seconds since 1970 UTC."""
    id: int
    """Of the command within a remote-control record, otherwise the record's."""
    name: str | None
    """None for one that is not known."""
    is_command: bool
    device: int
    enumerator: int
    at: int
    """Where it begins in what was decoded."""
    size: int
    """Bytes with its frame."""
    payload: bytes
    values: Mapping[str, Any]
    """The attributes that it carries, by key."""
    fields: Sequence[Field]
    items: Sequence[Sequence[Field]]
    """Of a record with repeated items."""
    missing_bytes: int
    """How much its payload is too short."""
    text: str
    """As `qx5 decode` prints it."""


def _record_of(raw: dict[str, Any]) -> Record:
    raw = dict(raw)
    raw["fields"] = [Field(*each) for each in raw["fields"]]
    raw["items"] = [[Field(*each) for each in item] for item in raw["items"]]
    return Record(**raw)


class Decoded(Sequence[Record]):
    """The records of a raw stream, and what of it was none."""

    def __init__(self, records: list[Record], skipped_bytes: int, damaged: int) -> None:
        self._records = records
        self.skipped_bytes = skipped_bytes
        """Bytes that belong to no whole record."""
        self.damaged = damaged
        """Frames that began well and did not end so."""

    def __getitem__(self, place: Any) -> Any:
        return self._records[place]

    def __len__(self) -> int:
        return len(self._records)

    def __repr__(self) -> str:
        return f"<{len(self)} records, {self.skipped_bytes} bytes skipped>"


def decode(data: bytes | bytearray | memoryview) -> Decoded:
    """The records of a raw stream, in their order; what is damaged is passed over and counted."""
    records, skipped, damaged = _qx5.decode(data)
    return Decoded([_record_of(each) for each in records], skipped, damaged)


class Settings(NamedTuple):
    """At the start of a part: the sonar's name and its attributes."""

    name: str
    tree: Tree


class Asked(NamedTuple):
    """A request."""

    number: int
    who: str
    tree: Tree


class Outcome(NamedTuple):
    """What became of the request of that number."""

    number: int
    result: str
    got: Tree
    reason: str


class Attributes(NamedTuple):
    """What the sonar told, or the plug-in echoed."""

    echo: bool
    tree: Tree


class Written(NamedTuple):
    """What the host or a view put into the sonar's attributes by itself."""

    tree: Tree


class Link(NamedTuple):
    """How the connection stands."""

    state: str
    reason: str


class Mark(NamedTuple):
    """A word of the operator's."""

    text: str


class Loss(NamedTuple):
    """Messages that found no room."""

    messages: int
    bytes: int


class Frame:
    """A frame as it went over the wire. `bytes(frame)` and `memoryview(frame)` give it whole."""

    __slots__ = ("_native",)

    def __init__(self, native: _qx5.Frame) -> None:
        self._native = native

    @property
    def record_id(self) -> int:
        """Of the frame: 7500 for a command."""
        return self._native.record_id()

    @property
    def record(self) -> Record:
        """Taken apart."""
        return _record_of(self._native.record())

    def __bytes__(self) -> bytes:
        return bytes(self._native)

    def __len__(self) -> int:
        return len(self._native)

    @property
    def data(self) -> memoryview:
        """Its bytes, not copied."""
        return memoryview(self._native)  # type: ignore[arg-type]


Content = Frame | Settings | Asked | Outcome | Attributes | Written | Link | Mark | Loss

_contents: dict[str, Any] = {
    "sent": Frame,
    "received": Frame,
    "settings": lambda raw: Settings(*raw),
    "requests": lambda raw: Asked(*raw),
    "results": lambda raw: Outcome(*raw),
    "attributes": lambda raw: Attributes(*raw),
    "written": lambda raw: Written(*raw),
    "connection": lambda raw: Link(*raw),
    "marks": lambda raw: Mark(*raw),
    "lost": lambda raw: Loss(*raw),
}


class Message(NamedTuple):
    """One message of a recording."""

    kind: str
    """sent, received, settings, requests, results, attributes, written, connection, marks or lost"""
    sonar: str | None
    """Its id, 1.78.1.1; None for what concerns none."""
    time: int
    """Nanoseconds since 1970 UTC; never goes back within a file."""
    system_time: int
    """The same by the system's clock as it then was."""
    content: Content

    @property
    def utc(self) -> datetime:
        """The time to the microsecond."""
        seconds, rest = divmod(self.time, 1_000_000_000)
        return datetime.fromtimestamp(seconds, timezone.utc).replace(microsecond=rest // 1000)


class RecordedSonar(NamedTuple):
    """A sonar of a recording."""

    id: str
    name: str


_arrays_lock = threading.Lock()
_arrays_prepared = False


def _prepare_arrays() -> None:
    global _arrays_prepared
    with _arrays_lock:
        if not _arrays_prepared:
            need_numpy()
            _qx5.prepare_arrays()
            _arrays_prepared = True


class Recording:
    """A recording (`qx5 run --record`, qx5.Sonar.record): iterate over it for its messages in their order.

    Raises qx5.RecordingError for a file that is none. What of a damaged one is whole is read; at the end
    qx5.RecordingDamaged tells what was not, unless `tolerant`. Times are in nanoseconds since 1970 UTC, both included;
    a sonar is named by its id or its name. Each iteration reads the file anew, a few messages ahead.
    """

    def __init__(self, file: str | os.PathLike[str], *, tolerant: bool = False) -> None:
        self._file = os.fspath(file)
        self._tolerant = tolerant
        self._native = _qx5.Recording(self._file)
        self._known: dict[str, Any] | None = None

    def _summary(self) -> dict[str, Any]:
        if self._known is None:
            self._known = self._native.summary()
        return self._known

    @property
    def start(self) -> int | None:
        """Of the first message; None when there is none."""
        start: int | None = self._summary()["start"]
        return start

    @property
    def end(self) -> int | None:
        """Of the last message."""
        end: int | None = self._summary()["end"]
        return end

    @property
    def records(self) -> int:
        """Frames, both ways."""
        return int(self._summary()["records"])

    @property
    def requests(self) -> int:
        """Requests that were asked for."""
        return int(self._summary()["requests"])

    @property
    def complete(self) -> bool:
        """Whether it was closed in order."""
        return bool(self._summary()["complete"])

    @property
    def sonars(self) -> list[RecordedSonar]:
        """In the order of their ids."""
        return [RecordedSonar(*each) for each in self._summary()["sonars"]]

    @property
    def program(self) -> dict[str, str]:
        """What wrote it."""
        return dict(self._summary()["program"])

    def __repr__(self) -> str:
        return f"<qx5.Recording {self._file}>"

    def _id_of(self, sonar: str | None) -> str:
        if sonar is None:
            return ""
        found = self._native.find_sonar(sonar)
        if found is None:
            names = ", ".join(f"{each.id} {each.name}" for each in self.sonars) or "none"
            raise _errors.RecordingError(f"{self._file}: there is no sonar '{sonar}' in it; there is {names}")
        return found

    def _complain(self, damage: str) -> None:
        if damage and not self._tolerant:
            raise _errors.RecordingDamaged(f"{self._file}: passed over {damage}")

    def __iter__(self) -> Iterator[Message]:
        return self.messages()

    def messages(self, start: int | None = None, end: int | None = None, *, sonar: str | None = None,
                 kinds: Sequence[str] = ()) -> Iterator[Message]:
        """Those of that time, sonar and kind."""
        return self._walk(self._native.messages(start, end, self._id_of(sonar), list(kinds), None))

    def _walk(self, cursor: _qx5.Cursor) -> Iterator[Message]:
        while True:
            raw = cursor.next()
            if raw is None:
                break
            kind, sonar, time, system_time, content = raw
            yield Message(kind, sonar, time, system_time, _contents[kind](content))
        error, damage = cursor.problems()
        if error:
            raise _errors.RecordingError(error)
        self._complain(damage)

    def detections(self, start: int | None = None, end: int | None = None, *,
                   sonar: str | None = None) -> npt.NDArray[np.void]:
        """What was taken for the bottom, a row each, as a structured array.

        ping (int32), time (float64, s since 1970 UTC, of transmission), beam (uint16, from 0), angle (float32, degrees
        across track off the vertical, positive to starboard), travel_time (float32, s there and back), level (float32,
        dB re 1 uPa, gain included), quality (float32, 0 doubtful to 1).
        """
        return self._soundings(start, end, sonar)[0]

    def pings(self, start: int | None = None, end: int | None = None, *,
              sonar: str | None = None) -> npt.NDArray[np.void]:
        """The pings of the detections, a row each, as a structured array.

        ping (int32), time (float64, s since 1970 UTC), and as float64 sound_velocity (m/s), east, north, depth (m, of
        the sonar), heading, roll (starboard down), pitch (bow up) in degrees, heave (m, up), steering (degrees); beams
        and detections (uint32): how many there are.
        """
        return self._soundings(start, end, sonar)[1]

    def _soundings(self, start: int | None, end: int | None,
                   sonar: str | None) -> tuple[npt.NDArray[np.void], npt.NDArray[np.void]]:
        _prepare_arrays()
        detections, pings, damage = self._native.detections(start, end, self._only(sonar))
        self._complain(damage)
        return detections, pings

    def _only(self, sonar: str | None) -> str:
        if sonar is None and len(self.sonars) > 1:
            names = ", ".join(f"{each.id} {each.name}" for each in self.sonars)
            raise _errors.RecordingError(f"{self._file}: tell which sonar's, there are {names}")
        return self._id_of(sonar)

    def water_column(self, start: int | None = None, end: int | None = None, *,
                     sonar: str | None = None) -> Iterator[WaterColumn]:
        """What the sonar heard, a ping each."""
        _prepare_arrays()
        return self._columns(
            self._native.messages(start, end, self._only(sonar), ["received"], _qx5.WATER_COLUMN))

    def _columns(self, cursor: _qx5.Cursor) -> Iterator[WaterColumn]:
        for message in self._walk(cursor):
            assert isinstance(message.content, Frame)
            raw = message.content._native.water_column()
            if raw is not None:
                head, *rest = raw
                yield WaterColumn(*head, *rest)
