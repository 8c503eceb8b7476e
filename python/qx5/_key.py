"""A key of the sonar as a property of qx5.Sonar."""

from __future__ import annotations

from typing import Any, NamedTuple


class Key(NamedTuple):
    """What the tables tell of a key."""

    text: str
    """As records and files have it: x5Range."""
    name: str
    """As Python has it: range."""
    kind: str
    """int, uint, int64, bool, double, pair, string, ints, doubles, offset, branch or any."""
    unit: str
    """Of its numbers; empty for none."""
    meaning: str
    requestable: bool
    """Whether a request may give it."""


def key(text: str, doc: str) -> property:
    """One that can be requested."""

    def get(sonar: Any) -> Any:
        return sonar._native.get(text)

    def assign(sonar: Any, value: Any) -> None:
        sonar._assign(text, value)

    return property(get, assign, None, doc)


def read_only(text: str, doc: str) -> property:
    """One that the sonar tells."""

    def get(sonar: Any) -> Any:
        return sonar._native.get(text)

    return property(get, None, None, doc)
