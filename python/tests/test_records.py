"""Records out of bytes."""

import pytest

import qx5

# A remote-control record 7500 with command 1003, range 50: frame of 60 bytes behind the version, sync word, size 96,
# time of day left empty, device 0, enumerator 65535; the payload is the little-endian float 50. Written by hand.
HEADER = bytearray(64)
HEADER[0:4] = bytes.fromhex("05003c00")
HEADER[4:8] = bytes.fromhex("ffff0000")
HEADER[8:12] = bytes.fromhex("60000000")
HEADER[30:32] = bytes.fromhex("0100")
HEADER[32:36] = bytes.fromhex("4c1d0000")
RANGE = bytes(HEADER) + bytes.fromhex("eb030000eb030000") + bytes(16) + bytes.fromhex("00004842") + bytes(4)


def test_a_record_by_hand():
    assert len(RANGE) == 96
    decoded = qx5.decode(RANGE)
    assert len(decoded) == 1
    record = decoded[0]
    assert (record.id, record.name, record.is_command, record.size, record.at) == (1003, "range", True, 96, 0)
    assert record.values == {"x5Range": 50.0}
    assert record.payload == bytes.fromhex("00004842")
    field = record.fields[0]
    assert (field.name, field.is_key, field.value, field.wire, field.unit, field.offset) == ("x5Range", True, 50.0, 50.0, "m", 0)
    assert "x5Range = 50 m" in record.text
    assert record.missing_bytes == 0


def test_several_records_with_garbage_between_them():
    decoded = qx5.decode(b"garbage" + RANGE + b"more" + RANGE)
    assert [each.at for each in decoded] == [7, 107]
    assert decoded.skipped_bytes == 11


@pytest.mark.parametrize("kind", [bytes, bytearray, memoryview])
def test_any_buffer(kind):
    assert len(qx5.decode(kind(RANGE))) == 1


def test_no_records():
    assert len(qx5.decode(b"")) == 0
    assert qx5.decode(RANGE[:-1]).skipped_bytes == 95
    with pytest.raises(TypeError):
        qx5.decode("text")


def test_what_was_sent_decodes(sonar, tmp_path):
    with sonar.record(tmp_path / "one.mcap"):
        sonar.request(x5BeamSteer=(10, -10)).wait()
    sent = b"".join(bytes(each.content) for each in qx5.Recording(tmp_path / "one.mcap").messages(kinds=["sent"]))
    steering = [each for each in qx5.decode(sent) if each.id == 1021]
    assert steering[0].values["x5BeamSteer"] == pytest.approx((10.0, -10.0))
    assert steering[0].time > 1.7e9
