"""Recordings as iterators and arrays."""

import struct
import threading

import pytest

import qx5
from qx5 import _qx5, _recording


@pytest.fixture
def recording(qx5_host, tmp_path):
    """Three pings over a flat bottom of 20 m, two requests and a mark."""
    file = tmp_path / "dive.mcap"
    with qx5.Simulator("flat", calm=True, depth=20.0) as simulator:
        sonar = qx5_host.connect(simulator.address, name="test sonar")
        with sonar.record(file, detections=True, water_column=True) as recorder:
            sonar.request(range=50).wait()
            with pytest.raises(qx5.RequestDiffers):
                sonar.request(range=99999).wait()
            recorder.mark("here")
            soundings, columns = sonar.soundings(), sonar.water_column()
            for _ in range(3):
                sonar.ping()
                next(soundings)
                next(columns)
        assert recorder.lost == 0
        assert recorder.messages > 10
    return file


def test_what_a_recording_is(recording):
    dive = qx5.Recording(recording)
    assert dive.complete
    assert dive.requests == 2
    assert dive.start < dive.end
    assert [each.name for each in dive.sonars] == ["test sonar"]
    assert dive.program["program"] == "qx5 for Python"


def test_its_messages(recording):
    messages = list(qx5.Recording(recording))
    times = [each.time for each in messages]
    assert times == sorted(times)
    kinds = [each.kind for each in messages]
    assert kinds[0] == "settings"
    assert messages[0].content.name == "test sonar"
    asked = [each.content for each in messages if each.kind == "requests"]
    assert [each.tree["x5Range"] for each in asked] == [50.0, 99999.0]
    assert {each.who for each in asked} == {"program"}
    outcomes = [each.content for each in messages if each.kind == "results"]
    assert [each.result for each in outcomes] == ["agrees", "differs"]
    assert [each.content.text for each in messages if each.kind == "marks"] == ["here"]
    sent = [each.content for each in messages if each.kind == "sent"]
    # Command 1003 with the little-endian float 50 as its payload, in a frame of 96 bytes.
    ranges = [each for each in sent if bytes(each)[64:68] == struct.pack("<I", 1003)]
    assert bytes(ranges[0])[88:92] == bytes.fromhex("00004842")
    assert len(ranges[0]) == 96
    assert ranges[0].record_id == 7500
    assert ranges[0].record.values == {"x5Range": 50.0}
    assert ranges[0].data.readonly
    assert messages[0].utc.year >= 2024


def test_every_kind_of_message_is_known():
    assert set(_qx5.recorded_kinds()) <= set(_recording._contents)


def test_some_of_its_messages(recording):
    dive = qx5.Recording(recording)
    marks = list(dive.messages(kinds=["marks"], sonar="test sonar"))
    assert len(marks) == 1
    assert list(dive.messages(end=marks[0].time, kinds=["received"])) != []
    assert list(dive.messages(start=dive.end + 1)) == []
    with pytest.raises(qx5.RecordingError, match="there is no sonar 'other' in it; there is 1.78."):
        dive.messages(sonar="other")
    with pytest.raises(qx5.Error, match="no kind 'songs'"):
        dive.messages(kinds=["songs"])


def test_detections_as_an_array(recording):
    numpy = pytest.importorskip("numpy")
    dive = qx5.Recording(recording)
    detections = dive.detections()
    pings = dive.pings()
    assert detections.dtype.names == ("ping", "time", "beam", "angle", "travel_time", "level", "quality")
    assert len(pings) == 3
    assert int(pings["detections"].sum()) == len(detections)
    nadir = detections[numpy.abs(detections["angle"]) < 10]
    depths = nadir["travel_time"] * 1500 / 2 * numpy.cos(numpy.radians(nadir["angle"])) + pings["depth"][0]
    assert abs(float(numpy.median(depths)) - 20.0) < 1.0
    assert len(dive.detections(end=dive.start)) == 0
    only = dive.detections(sonar="test sonar")
    assert numpy.array_equal(only, detections)


def test_water_columns_lie_in_their_records(recording):
    numpy = pytest.importorskip("numpy")
    columns = list(qx5.Recording(recording).water_column())
    assert len(columns) == 3
    column = columns[0]
    assert column.levels.shape == (len(column.angle), len(column.gain))
    assert not column.levels.flags.owndata
    assert not column.levels.flags.writeable
    # The bottom stands out of the noise most in what the middle beam hears, after 20 m there and back.
    middle = column.decibel()[len(column.angle) // 2] - column.noise
    loudest = column.travel_times()[int(numpy.argmax(middle))]
    assert abs(loudest * column.sound_velocity / 2 + column.depth - 20.0) < 2.0


def test_iterators_are_independent_and_may_be_left(recording):
    dive = qx5.Recording(recording)
    one, other = iter(dive), iter(dive)
    assert next(one) == next(other) or next(one).time >= dive.start
    del one
    assert len(list(other)) > 5


def test_iterating_on_several_threads(recording):
    dive = qx5.Recording(recording)
    counts = []
    threads = [threading.Thread(target=lambda: counts.append((len(list(dive)), len(dive.detections())))) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
    assert len(counts) == 8
    assert len(set(counts)) == 1


def test_a_cut_recording_gives_what_is_whole(recording, tmp_path):
    cut = tmp_path / "cut.mcap"
    content = recording.read_bytes()
    cut.write_bytes(content[: len(content) * 2 // 3])
    dive = qx5.Recording(cut, tolerant=True)
    assert not dive.complete
    whole = list(qx5.Recording(recording))
    some = list(dive)
    assert 0 < len(some) < len(whole)
    assert [each.time for each in some] == [each.time for each in whole][: len(some)]


def test_damage_is_told_at_the_end(recording, tmp_path):
    damaged = tmp_path / "damaged.mcap"
    content = bytearray(recording.read_bytes())
    content[len(content) // 3] ^= 0xFF
    damaged.write_bytes(content)
    dive = qx5.Recording(damaged)
    seen = 0
    with pytest.raises(qx5.RecordingDamaged, match="damaged.mcap: passed over") as raised:
        for _ in dive:
            seen += 1
    assert isinstance(raised.value, qx5.RecordingError)
    assert "\n" not in str(raised.value)
    assert len(list(qx5.Recording(damaged, tolerant=True))) == seen


def test_a_file_that_is_there_is_not_overwritten(sonar, recording):
    before = recording.read_bytes()
    with pytest.raises(qx5.RecordingError):
        sonar.record(recording)
    assert recording.read_bytes() == before


def test_a_recorder_ends_with_its_with(sonar, tmp_path):
    file = tmp_path / "one.mcap"
    with sonar.record(file) as recorder:
        sonar.request(range=50).wait()
    recorder.close()
    sonar.request(range=60).wait()
    asked = [each.content.tree["x5Range"] for each in qx5.Recording(file).messages(kinds=["requests"])]
    assert asked == [50.0]
