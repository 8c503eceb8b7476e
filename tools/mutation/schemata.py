"""Writes sources in which every mutant is there at once, each behind a switch of mutant_switch.h."""

import dataclasses
import pathlib

from sites import Mutant

SWITCH_HEADER = pathlib.Path(__file__).with_name("mutant_switch.h")


@dataclasses.dataclass
class Place:
    """The text that some mutants stand for, and the places within it."""

    begin: int
    end: int
    mutants: list[tuple[int, Mutant]]
    inner: list["Place"]


def nest(numbered: list[tuple[int, Mutant]]) -> list[Place]:
    """The mutants of one file by their places, outer ones first."""
    places: dict[tuple[int, int], Place] = {}
    for number, mutant in numbered:
        place = places.setdefault((mutant.begin, mutant.end), Place(mutant.begin, mutant.end, [], []))
        place.mutants.append((number, mutant))
    roots: list[Place] = []
    open_places: list[Place] = []
    for place in sorted(places.values(), key=lambda each: (each.begin, -each.end)):
        while open_places and open_places[-1].end <= place.begin:
            open_places.pop()
        if open_places and place.end > open_places[-1].end:
            raise ValueError(f"{place.mutants[0][1].file}:{place.mutants[0][1].line}: places overlap")
        (open_places[-1].inner if open_places else roots).append(place)
        open_places.append(place)
    return roots


def with_switch(number: int, mutant: Mutant, inner: str) -> str:
    switch = f"{'QX5MutantIsOnAtRunTime' if mutant.compiled else 'QX5MutantIsOn'}({number}UL)"
    if mutant.how in ("true", "false"):
        if mutant.differs:
            inner = f"QX5MutantBeside({number}UL, static_cast<bool>({inner}), {mutant.how})"
        return f"({switch} || ({inner}))" if mutant.how == "true" else f"(!{switch} && ({inner}))"
    if mutant.how == "delete":
        beside = ""
        if mutant.differs:
            left, right = mutant.original.split(" = ", 1)
            beside = f"QX5MutantCompare({number}UL, ({left}), ({right})), "
        return f"({switch} ? static_cast<void>(0) : ({beside}static_cast<void>({inner})))"
    if mutant.differs:
        inner = f"QX5MutantBeside({number}UL, ({inner}), ({mutant.mutated}))"
    return f"({switch} ? ({mutant.mutated}) : ({inner}))"


def write_schemata(content: bytes, numbered: list[tuple[int, Mutant]]) -> bytes:
    """The content of one file with all its mutants. Lines keep their numbers."""

    def text_of(begin: int, end: int, places: list[Place]) -> str:
        parts, at = [], begin
        for place in places:
            parts.append(content[at:place.begin].decode())
            text = text_of(place.begin, place.end, place.inner)
            # What is left of a deleted statement has no value, so that comes last.
            for number, mutant in sorted(place.mutants, key=lambda each: each[1].how == "delete"):
                text = with_switch(number, mutant, text)
            parts.append(text)
            at = place.end
        parts.append(content[at:end].decode())
        return "".join(parts)

    text = text_of(0, len(content), nest(numbered))
    return f'#include "{SWITCH_HEADER}"\n#line 1\n{text}'.encode()
