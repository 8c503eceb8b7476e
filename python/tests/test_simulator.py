"""The simulated sonar as a context manager."""

import socket

import pytest

import qx5


def test_it_listens_as_long_as_its_with_lasts():
    with qx5.Simulator(scene="wreck", seed=1, port=0) as simulator:
        host, port = simulator.address.split(":")
        assert (host, int(port)) == ("127.0.0.1", simulator.port)
        socket.create_connection((host, int(port))).close()
    with pytest.raises(ConnectionRefusedError):
        socket.create_connection((host, int(port)))
    simulator.close()


def test_what_it_understood(qx5_simulator, sonar):
    sonar.request(range=50, power=200).wait()
    record = qx5_simulator.wait_for("range")
    assert (record.record, record.name, record.values, record.damaged) == (1003, "range", {"x5Range": 50.0}, False)
    assert qx5_simulator.wait_for(lambda each: each.record == 1005).values == {"x5Power": 200.0}
    assert [each.number for each in qx5_simulator.understood] == sorted(
        each.number for each in qx5_simulator.understood)
    qx5_simulator.forget()
    assert qx5_simulator.understood == []
    with pytest.raises(qx5.Timeout):
        qx5_simulator.wait_for("range", timeout=0.05)


def test_its_settings(qx5_simulator, sonar):
    sonar.request(range=50).wait()
    assert qx5_simulator.settings["x5Range"] == "50 m"
    qx5_simulator.set(range=60, x5BeamSteer=(5, -5))
    sonar.wait_for(lambda each: each.range == 60.0)
    assert qx5_simulator.command("state x5Range") == "x5Range = 60 m"


def test_commands_and_misbehaviours(qx5_simulator, sonar):
    assert "misbehave" in qx5_simulator.command("help")
    qx5_simulator.misbehave("answer-late", 100)
    assert "answer-late 100 ms" in qx5_simulator.command("status")
    qx5_simulator.behave()
    assert "answer-late" not in qx5_simulator.command("status")
    assert "silent" in qx5.MISBEHAVIOURS


def test_counts(qx5_simulator, sonar):
    assert qx5_simulator.counts["connections"] == 1
    sonar.request(range=50).wait()
    assert qx5_simulator.counts["records_received"] >= 1


def test_scenes():
    assert {"flat", "wreck"} <= set(qx5.SCENES)
    for scene in qx5.SCENES:
        with qx5.Simulator(scene):
            pass


def test_the_same_seed_sounds_the_same():
    numpy = pytest.importorskip("numpy")
    heard = []
    for _ in range(2):
        with qx5.Simulator("flat", seed=7, calm=True, depth=20.0) as simulator, qx5.connect(simulator.address) as sonar:
            soundings = sonar.soundings()
            sonar.ping()
            heard.append(next(soundings))
    assert numpy.array_equal(heard[0].angle, heard[1].angle)
    assert numpy.array_equal(heard[0].travel_time, heard[1].travel_time)


def test_soundings_lie_on_the_bottom():
    numpy = pytest.importorskip("numpy")
    with qx5.Simulator("flat", calm=True, depth=20.0) as simulator, qx5.connect(simulator.address) as sonar:
        soundings = sonar.soundings()
        sonar.ping()
        sounding = next(soundings)
        soundings.close()
        assert sounding.beams > 100
        assert len(sounding.beam) == len(sounding.angle) > 50
        assert not sounding.angle.flags.writeable
        assert abs(float(numpy.median(sounding.depths())) - 20.0) < 1.0


def test_a_water_column_as_it_comes():
    pytest.importorskip("numpy")
    with qx5.Simulator("flat", calm=True) as simulator, qx5.connect(simulator.address) as sonar:
        columns = sonar.water_column()
        sonar.ping()
        column = next(columns)
        columns.close()
        assert column.levels.shape == (column.beams, len(column.gain))
        assert column.levels.dtype == "uint8"
        assert column.decibel().shape == column.levels.shape
        assert column.decibel()[0, 0] == pytest.approx(column.floor + column.step * column.levels[0, 0])


def test_a_ping_without_a_connection(sonar):
    sonar.close()
    with pytest.raises(qx5.ConnectionLost):
        sonar.ping()


def test_without_pings_there_are_no_soundings(sonar):
    pytest.importorskip("numpy")
    with pytest.raises(qx5.Timeout, match="does it ping"):
        next(sonar.soundings(timeout=0.1))


def test_soundings_end_with_their_sonar(sonar):
    pytest.importorskip("numpy")
    soundings = sonar.soundings()
    sonar.close()
    assert list(soundings) == []
