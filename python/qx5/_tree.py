"""Trees of attributes, and values that tell their kind."""

from __future__ import annotations

from collections.abc import Iterator, Mapping, Sequence
from typing import Any, NamedTuple, Union


class Value(NamedTuple):
    """A value of a key that the tables do not know: qx5.Value("double", 1.5)."""

    kind: str
    """int, uint, int64, bool, double, pair, string, ints, doubles, dataid or offset."""
    value: object


class Tree(Mapping[str, Any]):
    """Attributes by key, in their order; a branch is a tree again. Never changes.

    A key may occur several times: as a mapping the first of them counts, `all` gives all, `nodes` all of all keys.
    """

    __slots__ = ("_first", "nodes", "value")

    nodes: tuple[tuple[str, Any], ...]
    """Key and value of each node; of a branch a tree."""
    value: Any
    """What the branch itself has beside its nodes; usually None."""

    def __init__(self, nodes: Sequence[tuple[str, Any]] = (), value: Any = None) -> None:
        self.nodes = tuple(nodes)
        self.value = value
        self._first: dict[str, Any] | None = None

    def _by_key(self) -> dict[str, Any]:
        if self._first is None:
            first: dict[str, Any] = {}
            for name, value in self.nodes:
                first.setdefault(name, value)
            self._first = first
        return self._first

    def __getitem__(self, name: str) -> Any:
        return self._by_key()[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._by_key())

    def __len__(self) -> int:
        return len(self._by_key())

    def all(self, name: str) -> list[Any]:
        """The values of all nodes of that key, in their order."""
        return [value for key, value in self.nodes if key == name]

    def __eq__(self, other: object) -> bool:
        if isinstance(other, Tree):
            return self.nodes == other.nodes and self.value == other.value
        return super().__eq__(other)

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        nodes = ", ".join(f"{name}={value!r}" for name, value in self.nodes)
        return f"Tree({nodes})"


Branch = Union[Mapping[str, object], Sequence[Mapping[str, object]], bool]
"""What a request gives as a branch: a mapping, several of them for a key that occurs several times, or True."""
