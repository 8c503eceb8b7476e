"""The examples of the manual, run."""

import asyncio
import pathlib
import subprocess
import sys

import pytest

import qx5

numpy = pytest.importorskip("numpy")


@pytest.fixture
def examples(source, monkeypatch) -> pathlib.Path:
    folder = source / "examples" / "python"
    monkeypatch.syspath_prepend(str(folder))
    return folder


@pytest.mark.qx5_simulator("flat", depth=20.0, calm=True)
def test_power_against_level(examples, qx5_simulator):
    done = subprocess.run([sys.executable, "-P", examples / "power_against_level.py", qx5_simulator.address],
                          capture_output=True, text=True, timeout=120, check=False)
    assert done.returncode == 0, done.stderr
    lines = done.stdout.splitlines()
    assert lines[0] == "power/dB  level/dB  detections"
    rows = [[float(each) for each in line.split()] for line in lines[1:]]
    assert [row[0] for row in rows] == [180.0, 190.0, 200.0, 210.0, 220.0]
    # What is sent louder comes back louder by as much.
    assert rows[1][1] - rows[0][1] == pytest.approx(10.0, abs=3.0)
    assert qx5_simulator.settings["x5Power"] == "190 dB"


@pytest.mark.qx5_simulator("flat", depth=20.0, calm=True)
def test_gates_follow_depth(examples, qx5_host, capsys):
    import gates_follow_depth

    asked = gates_follow_depth.follow(qx5_host.sonar, pings=4)
    assert asked == [pytest.approx((16.0, 24.0), abs=0.5)]
    assert qx5_host.sonar.min_depth_gate == pytest.approx(asked[0][0])
    assert qx5_host.sonar.depth_filter_enabled is True
    assert "gates 1" in capsys.readouterr().out


def test_watch_and_alarm(examples, qx5_simulator):
    import watch_and_alarm

    told = []

    async def work():
        watching = asyncio.ensure_future(watch_and_alarm.watch(qx5_simulator.address, told.append))

        async def until(text):
            while not any(text in each for each in told):
                assert not watching.done(), watching.result()
                await asyncio.sleep(0.01)

        while qx5_simulator.settings["x5Power"] != "200 dB":
            await asyncio.sleep(0.01)
        await asyncio.sleep(0.2)
        qx5_simulator.set(x5Range=75)
        await until("x5Range is 75.0 m, agreed were 50.0 m")
        qx5_simulator.misbehave("refuse")
        qx5_simulator.command("drop")
        await until("the sonar is not connected")
        qx5_simulator.behave()
        await until("the sonar is well")
        watching.cancel()

    asyncio.run(asyncio.wait_for(work(), 60))


@pytest.mark.qx5_simulator("flat", depth=20.0, calm=True)
def test_recording_to_numpy(examples, qx5_host, tmp_path):
    sonar = qx5_host.sonar
    file = tmp_path / "dive.mcap"
    with sonar.record(file, detections=True, water_column=True):
        soundings, columns = sonar.soundings(), sonar.water_column()
        for _ in range(2):
            sonar.ping()
            next(soundings)
            next(columns)
    out = tmp_path / "dive.npz"
    done = subprocess.run([sys.executable, "-P", examples / "recording_to_numpy.py", file, out], capture_output=True,
                          text=True, timeout=120, check=False)
    assert done.returncode == 0, done.stderr
    assert done.stdout.startswith("2 pings, ")
    arrays = numpy.load(out)
    assert abs(float(numpy.median(arrays["depth"])) - 20.0) < 1.0
    assert arrays["levels"].shape == (len(arrays["angle"]), len(arrays["travel_time"]))


def test_a_test_of_ones_own_script(examples):
    done = subprocess.run([sys.executable, "-P", "-m", "pytest", "-q", "-p", "no:cacheprovider",
                           examples / "test_own_script.py"], capture_output=True, text=True, timeout=120, check=False)
    assert done.returncode == 0, done.stdout
    assert "4 passed" in done.stdout


def test_all_examples_are_run(examples):
    # That of a sonar far away by test_fleet.py.
    assert {each.stem for each in examples.glob("*.py")} == {
        "gates_follow_depth", "power_against_level", "recording_to_numpy", "set_from_ashore", "test_own_script",
        "watch_and_alarm"}
