"""qx5 for asyncio: the same sonar, awaited."""

from __future__ import annotations

import asyncio
import os
import time
from collections.abc import AsyncIterator, Callable, Generator, Mapping
from types import TracebackType
from typing import Any, Generic, TypeVar, overload

from . import _errors, _qx5
from ._connect import connect as _connect
from ._dispatch import dispatcher
from ._fleet import FleetSonar as SyncFleetSonar
from ._fleet import Holder
from ._fleet import Lease as SyncLease
from ._sonar import Change, Connection, Limits, Request
from ._sonar import Sonar as SyncSonar
from ._tree import Tree

__all__ = ["FleetSonar", "Lease", "Sonar", "connect"]

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


async def _stands(native: _qx5.Request, timeout: float | None) -> bool:
    """Whether it is known within so many seconds what became of it."""
    stands = asyncio.Event()
    dispatcher.start()
    sign = dispatcher.add(_waking(asyncio.get_running_loop(), stands))
    try:
        native.tell_when_it_stands(dispatcher.mailbox, sign)
        await asyncio.wait_for(stands.wait(), timeout)
    except asyncio.TimeoutError:
        return False
    finally:
        dispatcher.remove(sign)
    return True


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
        if not await _stands(native, timeout):
            raise _errors.Timeout(f"it is not known within {timeout} s what became of the request")
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


class Lease:
    """The right to command a sonar; `async with sonar.lease():` as with qx5.Lease."""

    def __init__(self, lease: SyncLease) -> None:
        self._lease = lease

    @property
    def held(self) -> bool:
        """As qx5.Lease.held."""
        return self._lease.held

    async def acquire(self) -> None:
        """As qx5.Lease.acquire."""
        asked = self._lease._asked()
        try:
            if not await _stands(asked, self._lease._timeout):
                raise self._lease._too_late()
        except BaseException:
            self._lease._native.release_lease()
            raise
        self._lease._finish(asked)

    async def release(self) -> None:
        """As qx5.Lease.release."""
        released = self._lease._released()
        if released is not None:
            await _stands(released, None)

    async def grant(self) -> None:
        """As qx5.Lease.grant."""
        await self._answer(True)

    async def refuse(self) -> None:
        """As qx5.Lease.refuse."""
        await self._answer(False)

    async def _answer(self, granted: bool) -> None:
        native = self._lease._native.answer_asker(granted)
        await _stands(native, None)
        error = Request(native).error
        if error is not None:
            raise error

    async def __aenter__(self) -> Lease:
        await self.acquire()
        return self

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        trace: TracebackType | None) -> None:
        await self.release()


class FleetSonar(Sonar):
    """A sonar far away; what else a qx5.FleetSonar has is in its `sync`."""

    def __init__(self, sonar: SyncFleetSonar) -> None:
        super().__init__(sonar)
        self._fleet_sonar = sonar

    @property
    def sync(self) -> SyncFleetSonar:
        """The same sonar without awaiting."""
        return self._fleet_sonar

    @property
    def holder(self) -> Holder | None:
        """Who commands it; None for nobody."""
        return self._fleet_sonar.holder

    def lease(self, seconds: float = 60.0, timeout: float | None = 60.0) -> Lease:
        """As qx5.FleetSonar.lease."""
        return Lease(self._fleet_sonar.lease(seconds, timeout))

    async def request(self, settings: Mapping[str, object] | None = None, /, *, timeout: float | None = None,
                      **keys: object) -> Request:
        """As of any sonar; without a timeout it is known soon after the limit that qx5.connect was given."""
        return await super().request(settings, timeout=timeout, **keys)


_S = TypeVar("_S", bound=Sonar)


class _Connecting(Generic[_S]):
    """What connect gives: to be awaited, or for `async with`."""

    def __init__(self, connects: Callable[[], _S]) -> None:
        self._connects = connects
        self._sonar: _S | None = None

    async def _run(self) -> _S:
        connecting = asyncio.ensure_future(asyncio.to_thread(self._connects))
        try:
            return await asyncio.shield(connecting)
        except asyncio.CancelledError:
            # The thread goes on to its end; what it then has nobody wants.
            connecting.add_done_callback(_close_unwanted)
            raise

    def __await__(self) -> Generator[Any, None, _S]:
        return self._run().__await__()

    async def __aenter__(self) -> _S:
        self._sonar = await self._run()
        return self._sonar

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        trace: TracebackType | None) -> None:
        if self._sonar is not None:
            await self._sonar.close()


def _close_unwanted(connecting: asyncio.Future[_S]) -> None:
    if not connecting.cancelled() and connecting.exception() is None:
        connecting.result().sync.close()


@overload
def connect(address: str, *, timeout: float | None = None, plugin: str | os.PathLike[str] | None = None,
            name: str | None = None) -> _Connecting[Sonar]: ...


@overload
def connect(address: str, *, group: str, vessel: str, sonar: str | None = None,
            ca: str | os.PathLike[str] | None = None, cert: str | os.PathLike[str] | None = None,
            key: str | os.PathLike[str] | None = None, person: str | None = None, limit: float = 10.0,
            timeout: float | None = None) -> _Connecting[FleetSonar]: ...


def connect(address: str, **options: Any) -> _Connecting[Any]:
    """As qx5.connect: `async with qx5.aio.connect("127.0.0.1:7000") as sonar`, or awaited."""

    def connects() -> Sonar:
        sonar = _connect(address, **options)
        return FleetSonar(sonar) if isinstance(sonar, SyncFleetSonar) else Sonar(sonar)

    return _Connecting(connects)
