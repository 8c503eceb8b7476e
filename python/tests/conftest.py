"""What the tests of the package share."""

import os
import pathlib

import pytest


@pytest.fixture
def source() -> pathlib.Path:
    """The project's folder."""
    return pathlib.Path(os.environ["QX5_SOURCE"])


@pytest.fixture
def sonar(qx5_host):
    """The simulated sonar of the test, connected."""
    return qx5_host.sonar
