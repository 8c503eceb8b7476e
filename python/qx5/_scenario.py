"""Scenarios as data: run on a host of their own, and compared with what they expect."""

from __future__ import annotations

import json
import os
import subprocess
from collections.abc import Mapping, Sequence
from typing import Any, NamedTuple

from . import _errors, _qx5


class Difference(NamedTuple):
    """The first thing that one step did otherwise than expected."""

    scenario: str
    """Its name."""
    step: int
    """From 0."""
    kind: str
    """Of the step: request."""
    text: str
    """What differs, in a few lines."""


class ScenarioResult(NamedTuple):
    """What a scenario did: a list of events for its set-up, for each step and for its end."""

    name: str
    setup: list[dict[str, Any]]
    steps: list[list[dict[str, Any]]]
    teardown: list[dict[str, Any]]


class Check(NamedTuple):
    """What a comparison gave; true when nothing differs."""

    differences: list[Difference]
    checked: int
    """Steps that expected something."""
    results: list[ScenarioResult]

    def __bool__(self) -> bool:
        return not self.differences

    def __str__(self) -> str:
        if not self.differences:
            return f"matches ({self.checked} steps checked)"
        return "\n".join(f"{each.scenario}: step {each.step} ({each.kind}): {each.text}" for each in self.differences)


class Scenario:
    """A scenario, or several: a document as a scenario file holds it.

    Each runs in a process of its own (`qx5 scenario`), on a host of its own with a fixed clock and without sockets;
    sonars of this process are not touched.
    """

    def __init__(self, document: Mapping[str, Any] | Sequence[Mapping[str, Any]], *,
                 plugin: str | os.PathLike[str] | None = None) -> None:
        self.document = document
        self._plugin = plugin
        self._source = "the scenario"

    @classmethod
    def load(cls, file: str | os.PathLike[str], *, plugin: str | os.PathLike[str] | None = None) -> Scenario:
        """From a file. Raises qx5.ScenarioError where that is none."""
        try:
            with open(file, encoding="utf-8-sig") as stream:
                document = json.load(stream)
        except (OSError, ValueError) as problem:
            raise _errors.ScenarioError(f"{os.fspath(file)}: {problem}") from None
        scenario = cls(document, plugin=plugin)
        scenario._source = os.fspath(file)
        return scenario

    def _all(self) -> Sequence[Mapping[str, Any]]:
        document: Any = self.document
        if isinstance(document, Mapping):
            document = document.get("scenarios", [document])
        return list(document)

    @property
    def names(self) -> list[str]:
        """Of all scenarios in it."""
        return [str(each.get("name", "")) for each in self._all()]

    def run(self) -> list[ScenarioResult]:
        """Runs all of it. Raises qx5.ScenarioError, which says where, when it is no scenario."""
        command = [_qx5.program(), "scenario", "-"]
        if self._plugin is not None:
            command[2:2] = ["--plugin", os.path.abspath(self._plugin)]
        try:
            text = json.dumps(self.document)
        except (TypeError, ValueError) as problem:
            raise _errors.ScenarioError(f"{self._source}: {problem}") from None
        try:
            done = subprocess.run(command, input=text, capture_output=True, text=True, encoding="utf-8", check=False)
        except OSError as problem:
            raise _errors.ScenarioError(f"{command[0]}: {problem.strerror}") from None
        if done.returncode != 0:
            lines = done.stderr.strip().splitlines() or [f"qx5 ended with {done.returncode}"]
            raise _errors.ScenarioError(lines[0].replace("-: ", f"{self._source}: ", 1))
        return [ScenarioResult(**json.loads(line)) for line in done.stdout.splitlines()]

    def check(self) -> Check:
        """Runs all of it and compares each step with its "expect"."""
        results = self.run()
        differences = []
        checked = 0
        for scenario, result in zip(self._all(), results, strict=True):
            for place, step in enumerate(scenario.get("steps", ())):
                if "expect" not in step:
                    continue
                checked += 1
                expected, got = step["expect"], result.steps[place]
                if isinstance(expected, Mapping):
                    got = [event for event in got if next(iter(event)) in expected["of"]]
                    expected = expected["events"]
                text = _qx5.find_difference(json.dumps(expected), json.dumps(got))
                if text is not None:
                    differences.append(Difference(result.name, place, next(iter(step)), text))
        return Check(differences, checked, results)
