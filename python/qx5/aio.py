"""qx5 for asyncio: the same sonar, awaited."""

from __future__ import annotations

import asyncio
import os
import time
from collections.abc import AsyncIterator, Callable, Generator, Mapping
from types import TracebackType
from typing import Any, TypeVar

from . import _errors, _qx5
from ._dispatch import dispatcher
from ._sonar import Change, Connection, Limits, Request
from ._sonar import Sonar as SyncSonar
from ._sonar import connect as _connect
from ._tree import Tree

__all__ = ["Sonar", "connect"]

_T = TypeVar("_T")

_slice = 0.5
"""Seconds after which a thread that waits for one who has been cancelled looks up."""


def _waking(loop: asyncio.AbstractEventLoop, event: asyncio.Event) -> Callable[[], None]:
    def wake() -> None:
        try:
            loop.call_soon_threadsafe(event.set)
        except RuntimeError:
            pass  # the loop is closed, nobody waits

    return wake


class Sonar:
    """A sonar; `async with qx5.aio.connect(...) as sonar`. For one event loop, which it never holds up."""

    def __init__(self, sonar: SyncSonar) -> None:
        self._sonar = sonar

    @property
    def sync(self) -> SyncSonar:
        """The same sonar without awaiting: its properties tell at once what it has."""
        return self._sonar

    @property
    def address(self) -> str:
        """HOST:PORT"""
        return self._sonar.address

    @property
    def connected(self) -> bool:
        """Whether the connection stands."""
        return self._sonar.connected

    @property
    def connection(self) -> Connection:
        """How it stands, and why."""
        return self._sonar.connection

    @property
    def attributes(self) -> Tree:
        """All that it has told and all that was echoed, as it stands."""
        return self._sonar.attributes

    def get(self, key: str) -> Any:
        """What the sonar has of that key; None when it has told nothing of it."""
        return self._sonar.get(key)

    def __getitem__(self, key: str) -> Any:
        return self._sonar.get(key)

    def limits(self, key: str) -> Limits | tuple[Limits, Limits] | None:
        """As qx5.Sonar.limits."""
        return self._sonar.limits(key)

    async def request(self, settings: Mapping[str, object] | None = None, /, *, timeout: float | None = 10.0,
                      **keys: object) -> Request:
        """Asks for all of it in one request and waits until it is known what became of it.

        Raises as qx5.Request.wait does.
        """
        pairs = [*(settings or {}).items(), *keys.items()]
        native = self._sonar._native.request(pairs)
        stands = asyncio.Event()
        dispatcher.start()
        sign = dispatcher.add(_waking(asyncio.get_running_loop(), stands))
        try:
            native.tell_when_it_stands(dispatcher.mailbox, sign)
            await asyncio.wait_for(stands.wait(), timeout)
        except asyncio.TimeoutError:
            raise _errors.Timeout(f"it is not known within {timeout} s what became of the request") from None
        finally:
            dispatcher.remove(sign)
        request = Request(native)
        error = request.error
        if error is not None:
            raise error
        return request

    async def changes(self, *keys: str) -> AsyncIterator[Change]:
        """Each change of these keys, of any when there are none, until the sonar is closed."""
        news = asyncio.Event()
        dispatcher.start()
        sign = dispatcher.add(_waking(asyncio.get_running_loop(), news))
        feed: _qx5.Feed | None = None
        try:
            feed = await asyncio.to_thread(self._sonar._native.follow, list(keys), dispatcher.mailbox, sign)
            while True:
                news.clear()
                taken = feed.take(10_000)
                for each in taken:
                    yield Change(self._sonar, *each)
                if not taken:
                    if feed.ended:
                        return
                    await news.wait()
        finally:
            dispatcher.remove(sign)
            if feed is not None:
                feed.end()

    async def wait_for(self, condition: Callable[[SyncSonar], _T], timeout: float | None = 10.0) -> _T:
        """Waits until the condition holds, and gives what it gave; it is asked in the event loop."""
        native = self._sonar._native
        end = None if timeout is None else time.monotonic() + timeout
        while True:
            seen = native.news()
            held = condition(self._sonar)
            if held:
                return held
            if native.closed:
                raise _errors.ConnectionLost("the sonar was closed while something was waited for")
            left = _slice if end is None else min(_slice, end - time.monotonic())
            if left <= 0:
                raise _errors.Timeout(f"the condition did not hold within {timeout} s")
            await asyncio.to_thread(native.wait_for_news, seen, left)

    async def close(self) -> None:
        """Ends the connection and all that waits."""
        await asyncio.to_thread(self._sonar.close)

    async def __aenter__(self) -> Sonar:
        return self

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        trace: TracebackType | None) -> None:
        await self.close()


class _Connecting:
    """What connect gives: to be awaited, or for `async with`."""

    def __init__(self, connects: Callable[[], SyncSonar]) -> None:
        self._connects = connects
        self._sonar: Sonar | None = None

    async def _run(self) -> Sonar:
        connecting = asyncio.ensure_future(asyncio.to_thread(self._connects))
        try:
            return Sonar(await asyncio.shield(connecting))
        except asyncio.CancelledError:
            # The thread goes on to its end; what it then has nobody wants.
            connecting.add_done_callback(_close_unwanted)
            raise

    def __await__(self) -> Generator[Any, None, Sonar]:
        return self._run().__await__()

    async def __aenter__(self) -> Sonar:
        self._sonar = await self._run()
        return self._sonar

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        trace: TracebackType | None) -> None:
        if self._sonar is not None:
            await self._sonar.close()


def _close_unwanted(connecting: asyncio.Future[SyncSonar]) -> None:
    if not connecting.cancelled() and connecting.exception() is None:
        connecting.result().close()


def connect(address: str, *, timeout: float = 5.0, plugin: str | os.PathLike[str] | None = None,
            name: str | None = None) -> _Connecting:
    """As qx5.connect: `async with qx5.aio.connect("127.0.0.1:7000") as sonar`, or awaited."""
    return _Connecting(lambda: _connect(address, timeout=timeout, plugin=plugin, name=name))
