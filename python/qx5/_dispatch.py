"""The thread on which callbacks are called, and the end of all that is open when the interpreter goes."""

from __future__ import annotations

import atexit
import itertools
import logging
import os
import threading
import time
import warnings
import weakref
from collections.abc import Callable
from typing import Protocol

from . import _qx5
from ._errors import Error

_log = logging.getLogger("qx5")
_levels = (logging.DEBUG, logging.INFO, logging.WARNING, logging.ERROR)


class Closable(Protocol):
    """What has native threads behind it."""

    def close(self) -> None:
        """Ends it; again is fine."""


_open: weakref.WeakSet[Closable] = weakref.WeakSet()
_left_behind: list[object] = []
_forked = False


def refuse_after_fork() -> None:
    """To be called before anything with threads begins."""
    if _forked:
        raise Error("this process was forked from one that used qx5, whose threads did not come along: begin a new "
                    "process in place of forking")


def is_open(thing: Closable) -> None:
    """Has native threads until it is closed."""
    _open.add(thing)


def is_closed(thing: Closable) -> None:
    """Has none any more."""
    _open.discard(thing)


class Dispatcher:
    """Calls listeners when native threads have put their signs into the mailbox."""

    def __init__(self) -> None:
        self.mailbox = _qx5.Mailbox()
        self._listeners: dict[int, Callable[[], None]] = {}
        self._signs = itertools.count(1)
        self._lock = threading.Lock()
        self._thread: threading.Thread | None = None

    def start(self) -> None:
        """Begins to call; again is fine."""
        with self._lock:
            if self._thread is None:
                self.mailbox.take_log_over()
                self._thread = threading.Thread(target=self._run, name="qx5 callbacks", daemon=True)
                self._thread.start()

    def add(self, listener: Callable[[], None]) -> int:
        """The sign on which the listener is called."""
        sign = self.sign()
        self._listeners[sign] = listener
        return sign

    def sign(self) -> int:
        """A sign that nobody else has; it is passed over until somebody listens to it."""
        return next(self._signs)

    def listen(self, sign: int, listener: Callable[[], None]) -> None:
        """From now on the listener is called on that sign, and once for all that it was given before."""
        self._listeners[sign] = listener
        self.mailbox.put(sign)

    def remove(self, sign: int) -> None:
        """The listener of that sign is not called any more, unless it is just being called."""
        self._listeners.pop(sign, None)

    def is_this_thread(self) -> bool:
        """Whether the caller is on the thread of the callbacks."""
        return threading.current_thread() is self._thread

    def end(self) -> None:
        """The thread ends; what is called just now is waited for."""
        self.mailbox.give_log_back()
        self.mailbox.close()
        if self._thread is not None and not self.is_this_thread():
            self._thread.join(5.0)

    @staticmethod
    def call(callback: Callable[..., object], *arguments: object) -> None:
        """Calls it; what it raises goes into the log, and nothing else is kept from being called."""
        try:
            callback(*arguments)
        except Exception:
            _log.exception("a callback failed")

    def _run(self) -> None:
        while True:
            signs, lines, lost, closed = self.mailbox.take(None)
            for level, text in lines:
                _log.log(_levels[level], "%s", text)
            if lost:
                _log.warning("%d lines of the log were lost", lost)
            for sign in signs:
                listener = self._listeners.get(sign)
                if listener is not None:
                    self.call(listener)
            if closed:
                return


dispatcher = Dispatcher()


def _close_all() -> None:
    if _forked:
        return
    for thing in list(_open):
        thing.close()
    dispatcher.end()
    # Threads that waited have been woken; they are to be back before the interpreter goes.
    end = time.monotonic() + 5.0
    while _qx5.threads_away() > 0 and time.monotonic() < end:
        time.sleep(0.001)


def _warn_of_fork() -> None:
    if len(_open) > 0:
        warnings.warn("the process forks while sonars of qx5 are open: the child cannot use them", RuntimeWarning,
                      stacklevel=2)


def _leave_behind() -> None:
    # Nothing may wait for threads that are not there.
    global _forked
    if len(_open) > 0:
        _forked = True
        _left_behind.extend(_open)
        _left_behind.append(dict(dispatcher._listeners))


atexit.register(_close_all)
os.register_at_fork(before=_warn_of_fork, after_in_child=_leave_behind)
_qx5.set_main_thread(threading.main_thread().ident or 0)
