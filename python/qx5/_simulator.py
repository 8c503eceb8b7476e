"""The simulated sonar in this process."""

from __future__ import annotations

from collections.abc import Callable, Mapping
from types import TracebackType
from typing import Any, NamedTuple

from . import _errors, _qx5
from ._dispatch import is_closed, is_open, refuse_after_fork


class Understood(NamedTuple):
    """A record as the simulated sonar took it."""

    number: int
    """From 1, in the order in which they came."""
    time: float
    """Seconds since 1970 UTC."""
    record: int
    """Its id: 1003."""
    name: str
    """range; empty for an unknown record"""
    values: Mapping[str, Any]
    """The attributes that it sets, by key."""
    damaged: bool
    """It does not hold together; such a record changes nothing."""


def _text_of(value: object) -> str:
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, (list, tuple)):
        return ",".join(_text_of(each) for each in value)
    return repr(value) if isinstance(value, float) else str(value)


class Simulator:
    """A simulated sonar that listens on TCP from here to `close`, or to the end of its `with`.

    The same scene and seed give the same echoes. Port 0 is any that is free. Raises qx5.SimulatorError when it cannot
    listen or there is no such scene (qx5.SCENES has them all).
    """

    def __init__(self, scene: str = "wreck", *, seed: int = 1, port: int = 0, depth: float = 30.0, calm: bool = False,
                 heads: int = 1, pings: bool = False, address: str = "127.0.0.1") -> None:
        refuse_after_fork()
        self._host = address
        self._native = _qx5.Simulator(scene=scene, seed=seed, port=port, depth=depth, calm=calm, heads=heads,
                                      pings=pings, address=address)
        self._port = self._native.port
        is_open(self)

    @property
    def port(self) -> int:
        """Where it listens."""
        return self._port

    @property
    def address(self) -> str:
        """HOST:PORT, for qx5.connect."""
        host = f"[{self._host}]" if ":" in self._host else self._host
        return f"{host}:{self._port}"

    def close(self) -> None:
        """Closes all connections and ends. Again is fine."""
        self._native.stop()
        is_closed(self)

    def __enter__(self) -> Simulator:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<qx5.Simulator {self.address}>"

    def command(self, line: str) -> str:
        """Carries out a line as `qx5 sim` takes it ("help" lists them) and gives the answer.

        Raises qx5.SimulatorError, which says what to do, for another line.
        """
        done, answer = self._native.command(line)
        if not done:
            raise _errors.SimulatorError(answer)
        return answer

    def misbehave(self, name: str, argument: object = None) -> str:
        """Adds a failure; qx5.MISBEHAVIOURS has them all."""
        return self.command(f"misbehave {name}" if argument is None else f"misbehave {name} {argument}")

    def behave(self) -> str:
        """Ends all failures."""
        return self.command("behave")

    @property
    def settings(self) -> dict[str, str]:
        """What the sonar has, by key, as `qx5 sim` writes it with its unit: {"x5Range": "50 m", ...}."""
        settings: dict[str, str] = {}
        for line in self.command("state").splitlines():
            key, equals, value = line.strip().partition("=")
            if equals:
                settings[key.strip()] = value.strip()
        return settings

    def set(self, settings: Mapping[str, object] | None = None, /, **keys: object) -> None:
        """Changes settings at the sonar itself, as if somebody else commanded it. Keys are x5Range or range."""
        for name, value in {**(settings or {}), **keys}.items():
            self.command(f"set {_qx5.key_text(name)}={_text_of(value)}")

    @property
    def understood(self) -> list[Understood]:
        """The records that arrived and were understood, the last 10,000 of them at most."""
        return [Understood(*each) for each in self._native.understood_after(0)]

    def forget(self) -> None:
        """Begins `understood` anew."""
        self._native.forget()

    def wait_for(self, condition: Callable[[Understood], object] | str, timeout: float | None = 10.0) -> Understood:
        """The first record in `understood` for which the condition holds; waits for it where there is none yet.

        A text in place of the condition is a key (x5Range or range) that the record sets. Raises qx5.Timeout.
        """
        import time

        key = _qx5.key_text(condition) if isinstance(condition, str) else ""

        def holds(record: Understood) -> object:
            return key in record.values if isinstance(condition, str) else condition(record)

        end = None if timeout is None else time.monotonic() + timeout
        seen = 0
        while True:
            for row in self._native.understood_after(seen):
                record = Understood(*row)
                seen = record.number
                if holds(record):
                    return record
            left = None if end is None else max(0.0, end - time.monotonic())
            if not self._native.wait_beyond(seen, left):
                raise _errors.Timeout(f"the simulated sonar has understood no such record within {timeout} s")

    @property
    def counts(self) -> dict[str, int]:
        """Of all connections: connections, open, bytes_received, records_received, pings, echoes_sent and others."""
        return self._native.counts()
