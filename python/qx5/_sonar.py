"""A sonar on its connection: what it has, what it is asked for, what changes."""

from __future__ import annotations

import os
import threading
import time
from collections.abc import Callable, Iterator, Mapping
from types import TracebackType
from typing import TYPE_CHECKING, Any, NamedTuple, TypeVar

from . import _errors, _qx5
from ._dispatch import dispatcher, is_closed, is_open, refuse_after_fork
from ._echoes import Sounding, WaterColumn, need_numpy
from ._keys import Keys
from ._tree import Tree

_T = TypeVar("_T")
_Own = TypeVar("_Own", bound="Sonar")


class Change(NamedTuple):
    """A key that has another value than before."""

    sonar: Sonar
    key: str
    """x5Range"""
    value: Any
    """None when it is not there any more."""
    before: Any
    """None when it was not there."""
    time: float
    """Seconds since 1970 UTC."""


class Limits(NamedTuple):
    """What a sonar takes, both included; None where there is no limit."""

    least: float | None
    greatest: float | None


class Connection(NamedTuple):
    """How a connection stands."""

    state: str
    """closed, connecting, connected, lost or waiting"""
    reason: str
    """Why, in one line; empty when there is nothing to say."""


_failures: dict[str, type[_errors.RequestError]] = {
    "differs": _errors.RequestDiffers,
    "unanswered": _errors.RequestUnanswered,
    "not sent": _errors.RequestNotSent,
    "dropped": _errors.RequestDropped,
    "refused": _errors.RequestRefused,
    "failed": _errors.RequestFailed,
    "replaced": _errors.RequestReplaced,
    "lost": _errors.ConnectionLost,
}


class Request:
    """One request, from the asking to what the sonar then has. Any thread."""

    __slots__ = ("_native",)

    def __init__(self, native: _qx5.Request) -> None:
        self._native = native

    def wait(self, timeout: float | None = 10.0) -> Request:
        """Waits until it is known what became of it, and gives the request.

        Raises what `error` is when the sonar does not have what was asked for, qx5.Timeout after so many seconds (a
        sonar that does not answer within a second has not answered; None waits without end).
        """
        if not self._native.wait(timeout):
            raise _errors.Timeout(f"it is not known within {timeout} s what became of the request")
        error = self.error
        if error is not None:
            raise error
        return self

    @property
    def done(self) -> bool:
        """Whether it is known what became of it."""
        return self._native.stands

    @property
    def result(self) -> str:
        """pending, agrees, differs, unanswered, not sent, dropped, refused, failed or replaced"""
        return self._native.outcome()[0]

    @property
    def reason(self) -> str:
        """Why, in one line; empty where there is nothing to say."""
        return self._native.outcome()[1]

    @property
    def error(self) -> _errors.RequestError | None:
        """The exception that tells the result; None for a request that agrees or is pending."""
        result, reason, is_lost, holder = self._native.outcome()
        if result in ("pending", "agrees"):
            return None
        if holder is not None:
            return _errors.LeaseHeld(reason, self, holder or None)
        kind = _failures["lost" if is_lost else result]
        return kind(reason or f"the request was {result}", self)

    @property
    def asked(self) -> Tree:
        """What was asked for."""
        return self._native.asked

    @property
    def echoed(self) -> Tree:
        """What the plug-in reported of it when it had carried it out."""
        return self._native.echoed

    @property
    def got(self) -> Tree:
        """What the sonar then has of it, as far as it has told."""
        return self._native.got

    def add_done_callback(self, callback: Callable[[Request], object]) -> None:
        """Calls it on the thread of callbacks when it is known what became of it."""

        def done() -> None:
            dispatcher.remove(sign)
            callback(self)

        dispatcher.start()
        sign = dispatcher.add(done)
        self._native.tell_when_it_stands(dispatcher.mailbox, sign)

    def __repr__(self) -> str:
        result, reason, *_ = self._native.outcome()
        return f"<qx5.Request {self.asked!r}: {result}{', ' + reason if reason else ''}>"


class Subscription:
    """Calls back at changes until unsubscribe, the end of its `with`, or of the sonar."""

    def __init__(self, sonar: Sonar, callback: Callable[[Change], object], keys: tuple[str, ...]) -> None:
        self._sonar = sonar
        self._callback = callback
        self._idle = threading.Event()
        self._idle.set()
        self._ended = False
        dispatcher.start()
        self._sign = dispatcher.sign()
        self._feed = sonar._native.follow(list(keys), dispatcher.mailbox, self._sign)
        # Not before: a sign that comes while there is no feed would be lost, and it is given once until it is answered.
        dispatcher.listen(self._sign, self._deliver)

    def unsubscribe(self) -> None:
        """The callback is not called any more when this returns; within the callback it returns at once."""
        self._ended = True
        dispatcher.remove(self._sign)
        self._feed.end()
        if not dispatcher.is_this_thread():
            self._idle.wait()

    @property
    def lost(self) -> int:
        """Changes that were not told because more than 10,000 waited for the callback."""
        return self._feed.lost

    @property
    def active(self) -> bool:
        """Whether it still calls back."""
        return not self._ended and not self._feed.ended

    def _deliver(self) -> None:
        self._idle.clear()
        try:
            for key, value, before, when in self._feed.take(10_000):
                if self._ended:
                    return
                dispatcher.call(self._callback, Change(self._sonar, key, value, before, when))
        finally:
            self._idle.set()
            if self._feed.ended:
                dispatcher.remove(self._sign)

    def __enter__(self) -> Subscription:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.unsubscribe()


class Recorder:
    """A file that all that passes goes into until it is closed."""

    def __init__(self, native: _qx5.Recorder, echoes: list[_qx5.Echoes]) -> None:
        self._native = native
        self._echoes = echoes
        self._closed = False

    def mark(self, text: str) -> None:
        """A word for this moment."""
        self._native.mark(text)

    @property
    def messages(self) -> int:
        """Written until now."""
        return self._native.counts()[0]

    @property
    def lost(self) -> int:
        """Messages that found no room."""
        return self._native.counts()[2]

    def close(self) -> None:
        """Writes what waits and the file's end. Raises qx5.RecordingError when the disk refused something."""
        if not self._closed:
            self._closed = True
            for each in self._echoes:
                each.end()
            problem = self._native.finish()
            if problem:
                raise _errors.RecordingError(problem)

    def __enter__(self) -> Recorder:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()


class Sonar(Keys):
    """A sonar; qx5.connect makes it. Any thread may use it.

    Each key of the sonar is a property: getting it gives what the sonar has (None when it has told nothing of it),
    setting it requests it and raises what is known at once to stand in its way.
    """

    __slots__ = ("__weakref__", "_address", "_name", "_native")

    def __init__(self, native: _qx5.Sonar, address: str, name: str) -> None:
        set_own = object.__setattr__
        set_own(self, "_native", native)
        set_own(self, "_address", address)
        set_own(self, "_name", name)
        is_open(self)

    if TYPE_CHECKING:
        _native: _qx5.Sonar
        _address: str
        _name: str

    # Its life.

    @property
    def address(self) -> str:
        """HOST:PORT"""
        return self._address

    @property
    def name(self) -> str:
        """What people call it."""
        return self._name

    @property
    def connected(self) -> bool:
        """Whether the connection stands; a lost one is sought again by itself until the sonar is closed."""
        return self._native.connected

    @property
    def connection(self) -> Connection:
        """How it stands, and why."""
        return Connection(*self._native.connection())

    @property
    def condition(self) -> str:
        """not connected, well, or silent: its pings are on and it tells nothing"""
        return self._native.condition()

    @property
    def closed(self) -> bool:
        """Whether it was closed."""
        return self._native.closed

    def close(self) -> None:
        """Ends connection and subscriptions; whoever waits is told qx5.ConnectionLost. Again is fine."""
        self._native.close()
        is_closed(self)

    def __enter__(self: _Own) -> _Own:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<qx5.Sonar {self._address}, {self.connection.state}>"

    # What it has.

    def get(self, key: str) -> Any:
        """What the sonar has of that key (x5Range or range); None when it has told nothing of it."""
        return self._native.get(key)

    def __getitem__(self, key: str) -> Any:
        return self._native.get(key)

    def __setitem__(self, key: str, value: Any) -> None:
        self._assign(key, value)

    @property
    def attributes(self) -> Tree:
        """All that it has told and all that was echoed, as it stands."""
        return self._native.attributes()

    def limits(self, key: str) -> Limits | tuple[Limits, Limits] | None:
        """What the sonar tells that it takes of that key, of a pair for each number; None for a key without limits."""
        ranges = [Limits(*each) for each in self._native.limits(key)]
        if len(ranges) == 2:
            return ranges[0], ranges[1]
        return ranges[0] if ranges else None

    # What it is asked for.

    def request(self, settings: Mapping[str, object] | None = None, /, **keys: object) -> Request:
        """Asks for all of it in one request, which has been carried out and echoed when this returns.

        Keys are x5Range or range. A wrong key or kind raises before anything is sent; what became of the request tells
        its `wait`.
        """
        pairs = list(keys.items()) if settings is None else [*settings.items(), *keys.items()]
        return Request(self._native.request_and_wait(pairs))

    def _assign(self, key: str, value: object) -> None:
        request = Request(self._native.request_and_wait(((key, value),)))
        error = request.error
        if error is not None:
            raise error

    # What changes.

    def subscribe(self, callback: Callable[[Change], object], *keys: str) -> Subscription:
        """Calls back at each change of these keys, of any key when there are none; on a thread of its own, one call at
        a time. What a callback raises is logged."""
        return Subscription(self, callback, keys)

    def changes(self, *keys: str, timeout: float | None = None) -> Iterator[Change]:
        """Each change from now on, until the sonar is closed. Raises qx5.Timeout when none comes for so many seconds."""
        feed = self._native.follow(list(keys), None, None)
        return self._changes_of(feed, timeout)

    def _changes_of(self, feed: _qx5.Feed, timeout: float | None) -> Iterator[Change]:
        try:
            while True:
                taken = feed.take(1)
                if taken:
                    yield Change(self, *taken[0])
                elif feed.ended:
                    return
                elif not feed.wait(timeout):
                    raise _errors.Timeout(f"no change within {timeout} s")
        finally:
            feed.end()

    def wait_for(self: _Own, condition: Callable[[_Own], _T], timeout: float | None = 10.0) -> _T:
        """Waits until the condition holds, and gives what it gave.

        It is asked on the caller's thread, at once and after whatever the sonar tells. Raises qx5.Timeout after so many
        seconds, qx5.ConnectionLost when the sonar is closed; a connection that is lost is waited for.
        """
        end = None if timeout is None else time.monotonic() + timeout
        while True:
            seen = self._native.news()
            held = condition(self)
            if held:
                return held
            if self._native.closed:
                raise _errors.ConnectionLost("the sonar was closed while something was waited for")
            left = None if end is None else end - time.monotonic()
            if (left is not None and left <= 0) or self._native.wait_for_news(seen, left) is None:
                if self._native.closed:
                    continue
                state = self.connection
                lost = "" if state.state == "connected" else f"; the connection is {state.state}: {state.reason}"
                raise _errors.Timeout(f"the condition did not hold within {timeout} s{lost}")

    def wait_connected(self, timeout: float | None = 10.0) -> None:
        """Waits until the connection stands."""
        self.wait_for(lambda sonar: sonar.connected, timeout)

    # What it hears.

    def ping(self) -> None:
        """Has it ping once, which one does that does not ping by itself. Raises qx5.ConnectionLost."""
        if not self._native.ping():
            raise _errors.ConnectionLost("the ping was not sent: the sonar is not connected")

    def soundings(self, *, timeout: float | None = 10.0) -> Iterator[Sounding]:
        """What the sonar takes for the bottom from now on, a ping each, until it is closed; it is asked for that as
        long as the iterator lives. It has to ping: `ping`, or ping_on_off_state = 1. Of more than 64 that wait the oldest give way.

        Raises qx5.Timeout when none comes for so many seconds.
        """
        need_numpy()
        return (Sounding(*head, *arrays) for head, arrays in self._echoes(False, timeout))

    def water_column(self, *, timeout: float | None = 10.0) -> Iterator[WaterColumn]:
        """What the sonar hears from now on, likewise."""
        need_numpy()
        return (WaterColumn(*head, *rest) for head, rest in self._echoes(True, timeout))

    def _echoes(self, water_column: bool, timeout: float | None) -> Iterator[tuple[tuple[Any, ...], tuple[Any, ...]]]:
        return self._echoes_of(self._native.echoes(water_column), timeout)

    def _echoes_of(self, echoes: _qx5.Echoes,
                   timeout: float | None) -> Iterator[tuple[tuple[Any, ...], tuple[Any, ...]]]:
        try:
            while True:
                ping = echoes.next(timeout)
                if ping is not None:
                    yield ping
                elif echoes.ended:
                    return
                else:
                    raise _errors.Timeout(f"the sonar has told no echoes for {timeout} s: does it ping?")
        finally:
            echoes.end()

    def record(self, file: str | os.PathLike[str], *, detections: bool = False,
               water_column: bool = False) -> Recorder:
        """Records all that passes between host and this sonar into a new file, until the recorder is closed.

        With `detections` or `water_column` the sonar is asked for these meanwhile.
        """
        recorder = self._native.record(os.fspath(file), _qx5.version)
        wanted = [column for column, wish in ((False, detections), (True, water_column)) if wish]
        return Recorder(recorder, [self._native.echoes(column) for column in wanted])

    if not TYPE_CHECKING:

        def __getattr__(self, name: str) -> Any:
            if name.startswith("__"):
                raise AttributeError(name)
            raise _errors.unknown_key(name)

        def __setattr__(self, name: str, value: Any) -> None:
            own = getattr(type(self), name, None)
            if own is None:
                raise _errors.unknown_key(name)
            if isinstance(own, property) and own.fset is None:
                raise _errors.ReadOnlyKey(f"{name} is read only")
            object.__setattr__(self, name, value)


def connect_here(address: str, timeout: float, plugin: str | os.PathLike[str] | None, name: str | None) -> Sonar:
    """A sonar on a connection of this process, as qx5.connect gives it."""
    host, port = _qx5.parse_address(address)
    refuse_after_fork()
    dispatcher.start()
    path = os.fspath(plugin) if plugin is not None else _qx5.plugin_folder()
    sonar = Sonar(_qx5.LiveSonar(os.path.abspath(path), host, port, name or address), address, name or address)
    try:
        _wait_for_sonar(sonar, timeout)
    except BaseException:
        sonar.close()
        raise
    return sonar


_introduction = 0.5
"""Seconds from the connection to what the sonar tells of itself; some say nothing."""


def _wait_for_sonar(sonar: Sonar, timeout: float) -> None:
    try:
        state = sonar.wait_for(lambda each: each.connection if each.connection.state in ("connected", "waiting") else None,
                               timeout)
    except _errors.Timeout:
        raise _errors.NoSonar(f"no connection to the sonar: {sonar.address} did not answer within {timeout} s") from None
    if state is None or state.state != "connected":
        raise _errors.NoSonar(f"no connection to the sonar: {state.reason if state else ''}; is it (or `qx5 sim`) running "
                              "there?")
    try:
        sonar.wait_for(lambda each: each.device_id is not None, _introduction)
    except _errors.Timeout:
        pass
