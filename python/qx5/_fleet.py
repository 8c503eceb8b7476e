"""A sonar at the other end of a fleet's broker, and who commands it."""

from __future__ import annotations

import os
from types import TracebackType
from typing import TYPE_CHECKING, NamedTuple

from . import _errors, _qx5
from ._dispatch import dispatcher, refuse_after_fork
from ._sonar import Request, Sonar


class Holder(NamedTuple):
    """Who has a sonar's lease. Times are seconds since 1970 UTC by the vessel's clock."""

    person: str
    """The name of his certificate, or "aboard"."""
    since: float
    until: float | None
    """When it ends by itself; None when it does not."""
    asker: str | None
    """Who asks him for it; None for nobody."""
    answer_by: float | None
    """Until then he may answer who asks."""


class Lease:
    """The right to command a sonar; `with sonar.lease():` asks for it, keeps it, and gives it back at the end."""

    def __init__(self, sonar: FleetSonar, seconds: float, timeout: float | None) -> None:
        self._sonar = sonar
        self._native = sonar._native
        self._seconds = seconds
        self._timeout = timeout
        self._acquired = False

    @property
    def held(self) -> bool:
        """Whether it is ours; it ends when somebody aboard takes it, and when it is granted to who asks."""
        return self._acquired and self._native.lease_is_ours()

    def acquire(self) -> None:
        """Asks for it and waits for the holder.

        Raises qx5.LeaseHeld when he refuses, or is silent for as long as the vessel lets him be; qx5.ConnectionLost when
        the vessel says nothing; qx5.Timeout.
        """
        asked = self._asked()
        try:
            if not asked.wait(self._timeout):
                raise self._too_late()
        except BaseException:
            self._native.release_lease()
            raise
        self._finish(asked)

    def release(self) -> None:
        """Gives it back; again is fine. One that the vessel does not hear of ends by itself."""
        released = self._released()
        if released is not None:
            released.wait(None)

    def grant(self) -> None:
        """Gives it to who asks for it. Raises qx5.RequestRefused when nobody does."""
        Request(self._native.answer_asker(True)).wait(None)

    def refuse(self) -> None:
        """Keeps it from who asks for it. Raises qx5.RequestRefused when nobody does."""
        Request(self._native.answer_asker(False)).wait(None)

    def _asked(self) -> _qx5.Request:
        if self._acquired:
            raise _errors.Error("the lease is acquired already")
        return self._native.hold_lease(self._seconds)

    def _too_late(self) -> _errors.Timeout:
        holder = self._sonar.holder
        who = f"{holder.person} has" if holder is not None else "there was"
        return _errors.Timeout(f"{who} not answered within {self._timeout} s who asked for the lease of "
                               f"{self._sonar.name}")

    def _finish(self, asked: _qx5.Request) -> None:
        result, reason, *_ = asked.outcome()
        if result == "refused":
            holder = self._sonar.holder
            person = holder.person if holder is not None and holder.person != self._native.person else None
            raise _errors.LeaseHeld(reason, Request(asked), person)
        error = Request(asked).error
        if error is not None:
            raise error
        self._acquired = True

    def _released(self) -> _qx5.Request | None:
        if not self._acquired:
            return None
        self._acquired = False
        return self._native.release_lease()

    def __enter__(self) -> Lease:
        self.acquire()
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.release()

    def __repr__(self) -> str:
        return f"<qx5.Lease of {self._sonar.name}, {'held' if self.held else 'not held'}>"


class FleetSonar(Sonar):
    """A sonar far away; qx5.connect with a broker's URL makes it. All that a qx5.Sonar has, but for what takes somebody
    aboard (`ping`, `water_column`, `record`: qx5.NotAshore), and how fresh it is, and who commands it.

    What is requested is done while its lease is ours or nobody's: one that nobody has is taken along, for half a minute.
    It raises what the vessel says came of it, qx5.LeaseHeld where somebody else has the lease.
    """

    __slots__ = ()

    if TYPE_CHECKING:
        _native: _qx5.FleetSonar

    @property
    def vessel(self) -> str:
        """What its vessel is called."""
        return self._native.vessel

    @property
    def person(self) -> str:
        """Who we are to the vessel: the name of our certificate."""
        return self._native.person

    @property
    def freshness(self) -> str:
        """current, stale (something of it is missing, or nothing is heard any more), gone or unknown"""
        return self._native.far()[0]

    @property
    def age(self) -> float | None:
        """Seconds since what is known of it was what it had; None while nothing is known."""
        return self._native.far()[1]

    @property
    def round_trip(self) -> float | None:
        """Seconds that its vessel takes to answer, measured every 5 s; None before it has."""
        return self._native.far()[2]

    @property
    def clock_ahead(self) -> float | None:
        """Seconds by which the vessel's clock is ahead of ours; None while that is not known."""
        return self._native.far()[3]

    @property
    def holder(self) -> Holder | None:
        """Who commands it; None for nobody."""
        told = self._native.holder()
        return Holder(*told) if told is not None else None

    @property
    def persons(self) -> list[str]:
        """Who ashore says that he is here."""
        return self._native.persons()

    def lease(self, seconds: float = 60.0, timeout: float | None = 60.0) -> Lease:
        """The right to command it: `with sonar.lease():`, or its `acquire` and `release`.

        It is kept by asking again for so many seconds: after that it ends where the line drops. `timeout` is how long
        the holder is waited for.
        """
        return Lease(self, seconds, timeout)

    def __repr__(self) -> str:
        return f"<qx5.FleetSonar {self._name} at {self._address}, {self.connection.state}>"


def connect_fleet(address: str, timeout: float, group: str, vessel: str, sonar: str | None,
                  ca: str | os.PathLike[str] | None, cert: str | os.PathLike[str] | None,
                  key: str | os.PathLike[str] | None, person: str | None, limit: float) -> FleetSonar:
    """A sonar of a fleet, as qx5.connect gives it."""
    refuse_after_fork()
    dispatcher.start()
    authority, certificate, its_key = (os.fspath(each) if each is not None else "" for each in (ca, cert, key))
    native = _qx5.FleetSonar(address, group, vessel, sonar or "", authority, certificate, its_key, person or "", limit,
                             timeout)
    return FleetSonar(native, address, native.name)
