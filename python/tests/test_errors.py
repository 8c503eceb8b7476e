"""One clear exception for each wrong input."""

import pytest

import qx5


def test_all_are_errors_of_qx5():
    for name in qx5.__all__:
        thing = getattr(qx5, name)
        if isinstance(thing, type) and issubclass(thing, BaseException):
            assert issubclass(thing, qx5.Error), name


def test_no_plugin(qx5_simulator, tmp_path):
    with pytest.raises(qx5.PluginError, match="missing.so"):
        qx5.connect(qx5_simulator.address, plugin=tmp_path / "missing.so")
    (tmp_path / "empty").mkdir()
    with pytest.raises(qx5.PluginError, match="empty"):
        qx5.connect(qx5_simulator.address, plugin=tmp_path / "empty")
    with qx5.connect(qx5_simulator.address) as sonar:
        assert sonar.connected


def test_another_plugin_than_the_one_at_work(sonar, qx5_simulator, tmp_path):
    with pytest.raises(qx5.PluginError, match="is loaded already"):
        qx5.connect(qx5_simulator.address, plugin=tmp_path / "other.so")


def test_no_sonar():
    with qx5.Simulator() as simulator:
        address = simulator.address
    with pytest.raises(qx5.NoSonar, match="no connection to the sonar: .*running there"):
        qx5.connect(address)


@pytest.mark.parametrize("address", ["", "7000", "127.0.0.1", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:99999", ":7000"])
def test_no_address(address):
    with pytest.raises(qx5.BadAddress, match="write for example 127.0.0.1:7000"):
        qx5.connect(address)


def test_a_wrong_key_says_which_may_be_meant(sonar, qx5_simulator):
    for attempt in (
        lambda: sonar.get("x5Rnage"),
        lambda: sonar["x5Rnage"],
        lambda: sonar.request(x5Rnage=50),
        lambda: sonar.subscribe(print, "x5Rnage"),
        lambda: sonar.limits("x5Rnage"),
        lambda: qx5_simulator.set(x5Rnage=50),
    ):
        with pytest.raises(qx5.UnknownKey, match="did you mean x5Range"):
            attempt()
    with pytest.raises(qx5.UnknownKey, match="did you mean beam_steer"):
        sonar.beam_stear = (10, -10)
    with pytest.raises(AttributeError, match="did you mean beam_steer"):
        _ = sonar.beam_stear
    with pytest.raises(KeyError):
        _ = sonar["x5Rnage"]
    assert str(pytest.raises(qx5.UnknownKey, sonar.get, "y" * 5000).value) == (
        f"'{'y' * 60}' is no key of the sonar; qx5.KEYS has them all")


WRONG = [
    ("x5Range", "50"),
    ("x5Range", True),
    ("x5Range", None),
    ("x5Range", (50,)),
    ("x5Range", 50j),
    ("x5PulseType", 1.0),
    ("x5PulseType", "1"),
    ("x5PulseType", True),
    ("x5TriggerInput", 1),
    ("x5BeamSteer", 10),
    ("x5BeamSteer", (1,)),
    ("x5BeamSteer", (1, 2, 3)),
    ("x5BeamSteer", "12"),
    ("x5BeamSteer", (1, "2")),
    ("x5FileName", 1),
    ("x5FileName", b"bytes"),
    ("x5RDRFilterList", 7000),
    ("x5RDRFilterList", [1.5]),
    ("ATTR_DEVICEOFFSET", (1, 2)),
    ("x5MBesXYZList", 1),
    ("x5MBesXYZList", [1]),
    ("Unheard", qx5.Value("double", "1")),
    ("Unheard", qx5.Value("complex", 1)),
]


@pytest.mark.parametrize(("key", "value"), WRONG, ids=lambda each: repr(each))
def test_a_value_of_another_kind_is_never_sent(sonar, qx5_simulator, key, value):
    before = sonar.attributes
    with pytest.raises(qx5.WrongKind) as raised:
        sonar.request({"x5Range": 77, key: value} if key != "x5Range" else {key: value})
    assert isinstance(raised.value, TypeError)
    assert "\n" not in str(raised.value)
    assert key in str(raised.value)
    assert sonar.attributes == before


@pytest.mark.parametrize(("key", "value"), [("x5PulseType", 2**31), ("x5PulseType", -(2**31) - 1), ("x5PulseType", 10**30),
                                            ("x5LorqPipeRoutePipeNumber", -1), ("x5RDRFilterList", [2**40]),
                                            ("x5FileName", "a\0b")])
def test_a_value_that_the_kind_cannot_hold(sonar, key, value):
    with pytest.raises(qx5.OutOfRange) as raised:
        sonar.request({key: value})
    assert isinstance(raised.value, ValueError)


def test_numbers_of_other_types_are_numbers(sonar):
    numpy = pytest.importorskip("numpy")
    request = sonar.request(range=numpy.float32(50), pulse_type=numpy.int64(0), beam_steer=numpy.array([1.0, 2.0]))
    assert request.asked.nodes == (("x5Range", 50.0), ("x5PulseType", 0), ("x5BeamSteer", (1.0, 2.0)))


def test_what_the_sonar_tells_is_not_set(sonar):
    with pytest.raises(qx5.ReadOnlyKey, match="read only"):
        sonar.disk_free = 3
    with pytest.raises(qx5.ReadOnlyKey):
        sonar.connected = True


def test_no_recording(tmp_path):
    with pytest.raises(qx5.RecordingError, match="missing.mcap"):
        qx5.Recording(tmp_path / "missing.mcap")
    other = tmp_path / "other.mcap"
    other.write_text("this is none")
    with pytest.raises(qx5.RecordingError, match="other.mcap"):
        qx5.Recording(other)


def test_no_simulator():
    with pytest.raises(qx5.SimulatorError, match="nowhere"):
        qx5.Simulator("nowhere")
    with qx5.Simulator() as simulator:
        with pytest.raises(qx5.SimulatorError):
            qx5.Simulator(port=simulator.port)
        with pytest.raises(qx5.SimulatorError):
            simulator.command("dance")
        with pytest.raises(qx5.SimulatorError):
            simulator.misbehave("dance")
