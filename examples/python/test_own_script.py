"""A test of one's own script, without a sonar: run `pytest test_own_script.py`.

`prepare` is the script; the fixtures qx5_host and qx5_simulator come with the package.
"""

import pytest

import qx5
import qx5.pytest


def prepare(sonar: qx5.Sonar, depth: float) -> None:
    """The script under test: settings for a survey over a bottom of that depth."""
    sonar.request(range=min(2.5 * depth, 500.0), power=200 if depth < 50 else 220).wait()
    sonar.request(x5BeamSteer=(0, 0)).wait()


def test_the_range_goes_with_the_depth(qx5_host: qx5.pytest.Host) -> None:
    prepare(qx5_host.sonar, depth=40.0)
    assert qx5_host.sonar.range == 100.0
    assert qx5_host.simulator.wait_for("range").values["x5Range"] == 100.0


def test_deep_water_takes_more_power(qx5_host: qx5.pytest.Host) -> None:
    prepare(qx5_host.sonar, depth=120.0)
    assert qx5_host.simulator.settings["x5Power"] == "220 dB"


def test_a_sonar_that_does_not_answer_is_told(qx5_host: qx5.pytest.Host) -> None:
    sonar = qx5_host.sonar
    qx5_host.simulator.misbehave("silent")
    with pytest.raises(qx5.RequestUnanswered):
        prepare(sonar, depth=40.0)


@pytest.mark.qx5_simulator(scene="flat", depth=25.0, calm=True)
def test_soundings_come_from_the_bottom(qx5_host: qx5.pytest.Host) -> None:
    sonar = qx5_host.sonar
    prepare(sonar, depth=25.0)
    soundings = sonar.soundings()
    sonar.ping()
    assert next(soundings).depths().mean() == pytest.approx(25.0, abs=1.0)
