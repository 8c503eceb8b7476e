"""What the manual promises of the package is there."""

import re

import pytest

import qx5
import qx5.aio


@pytest.fixture
def chapter(source):
    return (source / "docs" / "manual" / "python.md").read_text(encoding="utf-8")


def test_every_name_is_there(chapter):
    names = set(re.findall(r"qx5\.([A-Za-z_]+)", chapter))
    assert len(names) > 25
    for name in names - {"pytest"}:
        assert hasattr(qx5, name), name
    for name in set(re.findall(r"\bsonar\.([a-z_]+)", chapter)):
        assert hasattr(qx5.FleetSonar, name), name
    for name in ("address", "settings", "set", "command", "misbehave", "understood", "wait_for"):
        assert f"`{name}" in chapter and hasattr(qx5.Simulator, name)
    for name in ("detections", "pings", "water_column"):
        assert f"`.{name}()`" in chapter and hasattr(qx5.Recording, name)


def test_every_exception_is_told(chapter):
    for name in qx5.__all__:
        thing = getattr(qx5, name)
        if isinstance(thing, type) and issubclass(thing, qx5.Error) and name not in ("Error", "RequestError"):
            assert f"`qx5.{name}`" in chapter, name


def test_every_example_is_told(chapter, source):
    for file in (source / "examples" / "python").glob("*.py"):
        assert f"[`{file.name}`](../../examples/python/{file.name})" in chapter
