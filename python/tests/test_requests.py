"""Requests to a sonar and what it has."""

import math
import threading
import time

import pytest

import qx5


def test_a_property_requests_and_tells_what_the_sonar_has(sonar, qx5_simulator):
    sonar.range = 50
    assert sonar.range == 50.0
    assert qx5_simulator.wait_for("range").values == {"x5Range": 50.0}


def test_the_three_lines_of_the_manual(qx5_simulator):
    sonar = qx5.connect(qx5_simulator.address)
    sonar.range = 50
    sonar.request(x5BeamSteer=(10, -10)).wait()
    assert sonar.beam_steer == (10.0, -10.0)
    record = qx5_simulator.wait_for("x5BeamSteer")
    assert record.record == 1021
    assert record.values["x5BeamSteer"] == pytest.approx((10.0, -10.0))
    sonar.close()


def test_a_request_tells_what_was_asked_echoed_and_got(sonar):
    request = sonar.request(range=75).wait()
    assert request.result == "agrees"
    assert request.done
    assert request.asked.nodes == (("x5Range", 75.0),)
    assert request.echoed["x5Range"] == 75.0
    assert request.got.nodes == (("x5Range", 75.0),)
    assert request.error is None


def test_the_echo_is_there_when_request_returns(sonar, qx5_simulator):
    qx5_simulator.misbehave("silent")
    request = sonar.request(x5Range=60)
    assert request.echoed["x5Range"] == 60.0
    assert sonar.range == 60.0
    assert not request.done


def test_a_value_that_the_sonar_clips_differs(sonar):
    with pytest.raises(qx5.RequestDiffers, match="x5Range: asked 99999 m, the sonar has 500 m") as raised:
        sonar.request(x5Range=99999).wait()
    assert raised.value.request.got["x5Range"] == 500.0
    assert raised.value.request.result == "differs"


def test_a_silent_sonar_has_not_answered(sonar, qx5_simulator):
    qx5_simulator.misbehave("silent")
    with pytest.raises(qx5.RequestUnanswered):
        sonar.request(x5Range=60).wait()


def test_waiting_ends_after_its_time(sonar, qx5_simulator):
    qx5_simulator.misbehave("silent")
    with pytest.raises(qx5.Timeout) as raised:
        sonar.request(x5Range=60).wait(timeout=0.05)
    assert isinstance(raised.value, TimeoutError)


def test_what_nothing_takes_is_dropped(sonar):
    with pytest.raises(qx5.RequestDropped):
        sonar.request({"Unheard": qx5.Value("double", 1.0)}).wait()
    with pytest.raises(qx5.RequestDropped) as raised:
        sonar["x5Chirp"] = 1
    assert raised.value.reason


def test_without_a_connection_the_connection_is_lost(sonar, qx5_simulator):
    qx5_simulator.misbehave("refuse")
    qx5_simulator.command("drop")
    sonar.wait_for(lambda each: not each.connected)
    with pytest.raises(qx5.ConnectionLost) as raised:
        sonar.request(x5Range=60).wait()
    assert isinstance(raised.value, ConnectionError)
    with pytest.raises(qx5.ConnectionLost):
        sonar.range = 60
    qx5_simulator.behave()
    sonar.wait_connected()
    sonar.request(x5Range=61).wait()


def test_a_connection_lost_while_waiting(sonar, qx5_simulator):
    qx5_simulator.misbehave("silent")
    request = sonar.request(x5Range=60)
    qx5_simulator.command("drop")
    with pytest.raises(qx5.ConnectionLost):
        request.wait()


def test_attributes_are_a_tree(sonar):
    attributes = sonar.attributes
    assert attributes["x5Range"] == sonar.range
    assert "x5SonarSettings" in attributes
    modes = attributes.all("x5SonarSettings")
    assert modes and all(isinstance(mode, qx5.Tree) for mode in modes)
    assert isinstance(modes[0]["SystemText"], str)


def test_limits_are_those_that_the_sonar_tells(sonar):
    limits = sonar.limits("range")
    assert limits.greatest == 500.0
    across, along = sonar.limits("x5BeamSteer")
    assert across.least < 0.0 < across.greatest
    assert sonar.limits("x5FileName") is None


def test_branches_go_out_as_mappings(sonar, qx5_simulator):
    request = sonar.request(x5MBesXYZList={"x5MBesXYZ": [{"x5MBesXYZNumber": 1}, {"x5MBesXYZNumber": 2}]})
    assert request.asked["x5MBesXYZList"].all("x5MBesXYZ")[1]["x5MBesXYZNumber"] == 2


def test_what_only_counts_as_present_takes_true_alone(sonar, qx5_simulator):
    sonar.request(x5LoadFactoryParameters=True)
    with pytest.raises(qx5.WrongKind):
        sonar.request(x5LoadFactoryParameters=False)


def test_wait_for_a_condition(sonar, qx5_simulator):
    timer = threading.Timer(0.05, lambda: qx5_simulator.set(range=123))
    timer.start()
    assert sonar.wait_for(lambda each: each.range == 123.0) is True
    timer.join()
    with pytest.raises(qx5.Timeout, match="did not hold within 0.05 s"):
        sonar.wait_for(lambda each: each.range == 1.0, timeout=0.05)


def test_wait_for_gives_what_the_condition_gave(sonar):
    assert sonar.wait_for(lambda each: each.range) == sonar.range


def test_what_a_condition_raises_passes(sonar):
    with pytest.raises(ZeroDivisionError):
        sonar.wait_for(lambda each: 1 / 0)


def test_several_sonars_share_one_host(qx5_host):
    with qx5.Simulator("flat", seed=2) as other:
        second = qx5_host.connect(other.address, name="second")
        first = qx5_host.sonar
        first.request(range=40).wait()
        second.request(range=80).wait()
        assert (first.range, second.range) == (40.0, 80.0)
        assert second.name == "second"
        first.close()
        second.request(range=81).wait()
        assert second.range == 81.0


def test_a_closed_sonar_keeps_what_it_had_and_takes_nothing(sonar):
    sonar.request(range=40).wait()
    sonar.close()
    sonar.close()
    assert sonar.closed
    assert sonar.range == 40.0
    assert sonar.connection.state == "closed"
    with pytest.raises(qx5.ConnectionLost, match="closed"):
        sonar.range = 50
    with pytest.raises(qx5.ConnectionLost):
        sonar.wait_for(lambda each: False)


def test_closing_ends_what_waits(sonar, qx5_simulator):
    qx5_simulator.misbehave("silent")
    request = sonar.request(range=60)
    caught = []

    def wait():
        try:
            sonar.wait_for(lambda each: False, timeout=None)
        except qx5.ConnectionLost as lost:
            caught.append(lost)

    waiting = threading.Thread(target=wait)
    waiting.start()
    sonar.close()
    waiting.join(10)
    assert len(caught) == 1
    with pytest.raises(qx5.ConnectionLost):
        request.wait()


def test_a_host_comes_and_goes(qx5_simulator):
    for number in range(3):
        with qx5.connect(qx5_simulator.address) as sonar:
            sonar.request(range=40 + number).wait()


def test_others_run_while_one_waits(sonar, qx5_simulator):
    """The interpreter's lock is not held by who waits."""
    qx5_simulator.misbehave("silent")
    request = sonar.request(range=60)
    counted = 0
    waiting = threading.Thread(target=lambda: request._native.wait(None))
    waiting.start()
    while waiting.is_alive():
        counted += 1
        time.sleep(0)
    assert counted > 1000


def test_a_key_in_brackets(sonar):
    sonar["x5Range"] = 44
    assert sonar["range"] == 44.0
    assert math.isclose(sonar.get("x5Range"), 44.0)
