"""The types, proved by mypy."""

import os
import pathlib
import subprocess
import sys

import pytest


def run(*arguments, folder):
    return subprocess.run([sys.executable, "-P", "-m", *arguments], capture_output=True, text=True, timeout=600,
                          check=False, cwd=folder)


@pytest.fixture(scope="module")
def cache(tmp_path_factory):
    """What mypy has learnt of the library and of NumPy, for the next run."""
    return str(tmp_path_factory.mktemp("mypy"))


@pytest.fixture
def package():
    return pathlib.Path(os.environ["QX5_BUILD"]) / "python"


def test_the_stubs_tell_what_the_module_has(tmp_path, package, monkeypatch):
    monkeypatch.setenv("MYPYPATH", str(package))
    done = run("mypy.stubtest", "qx5._qx5", "qx5._keys", folder=tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr


def test_the_package_is_strictly_typed(cache, package):
    done = run("mypy", "--strict", "--cache-dir", cache, str(package / "qx5"), folder=package)
    assert done.returncode == 0, done.stdout + done.stderr


def test_the_examples_are_strictly_typed(tmp_path, cache, package, source, monkeypatch):
    monkeypatch.setenv("MYPYPATH", str(package))
    done = run("mypy", "--strict", "--cache-dir", cache, *sorted(map(str, (source / "examples/python").glob("*.py"))),
               folder=tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr


def test_a_wrong_kind_is_found_by_mypy(tmp_path, cache, package, monkeypatch):
    monkeypatch.setenv("MYPYPATH", str(package))
    script = tmp_path / "wrong.py"
    script.write_text("""import qx5
sonar = qx5.connect("127.0.0.1:7000")
sonar.range = "50"
sonar.rnage = 50
sonar.disk_free = 3
steer: str = sonar.beam_steer
""")
    done = run("mypy", "--strict", "--cache-dir", cache, str(script), folder=tmp_path)
    lines = [line.split(":")[1] for line in done.stdout.splitlines() if ": error:" in line]
    assert lines == ["3", "4", "5", "6"], done.stdout
