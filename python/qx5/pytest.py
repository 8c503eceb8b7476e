"""Fixtures for pytest: a script that works a sonar is tested without one.

They come by themselves where qx5 is installed; otherwise `pytest_plugins = "qx5.pytest"` in a conftest.py brings them.
"""

from __future__ import annotations

from collections.abc import Iterator
from typing import TYPE_CHECKING

import pytest

if TYPE_CHECKING:
    import qx5


class Host:
    """The host of one test: its sonars are closed with it."""

    def __init__(self, simulator: qx5.Simulator) -> None:
        self.simulator = simulator
        """The fixture qx5_simulator."""
        self._sonars: list[qx5.Sonar] = []
        self._sonar: qx5.Sonar | None = None

    def connect(self, address: str | None = None, **options: float | str) -> qx5.Sonar:
        """As qx5.connect; without an address the simulated sonar of the test."""
        import qx5

        sonar = qx5.connect(self.simulator.address if address is None else address, **options)  # type: ignore[arg-type]
        self._sonars.append(sonar)
        return sonar

    @property
    def sonar(self) -> qx5.Sonar:
        """The simulated sonar of the test; connected when it is asked for first."""
        if self._sonar is None:
            self._sonar = self.connect()
        return self._sonar

    def close(self) -> None:
        """Closes all of its sonars."""
        while self._sonars:
            self._sonars.pop().close()
        self._sonar = None


def pytest_configure(config: pytest.Config) -> None:
    """Tells of the marker."""
    config.addinivalue_line(
        "markers", "qx5_simulator(scene, seed, depth, calm, heads, pings): what the fixture of that name simulates")


@pytest.fixture
def qx5_simulator(request: pytest.FixtureRequest) -> Iterator[qx5.Simulator]:
    """A simulated sonar on a free port of this machine; @pytest.mark.qx5_simulator(scene="flat") chooses another."""
    import qx5

    marker = request.node.get_closest_marker("qx5_simulator")
    simulator = qx5.Simulator(*marker.args, **marker.kwargs) if marker is not None else qx5.Simulator()
    with simulator:
        yield simulator


@pytest.fixture
def qx5_host(qx5_simulator: qx5.Simulator) -> Iterator[Host]:
    """A host whose `sonar` is the simulated one, and whose `connect` takes others."""
    host = Host(qx5_simulator)
    try:
        yield host
    finally:
        host.close()
