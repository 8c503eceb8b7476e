"""The properties that are made of the tables."""

import inspect
import keyword
import pydoc

import qx5
from qx5 import _qx5
from qx5._keys import Keys


def test_every_key_is_a_property_with_unit_range_and_doc():
    assert len(qx5.KEYS) > 400
    for key in qx5.KEYS.values():
        made = inspect.getattr_static(qx5.Sonar, key.name)
        assert isinstance(made, property), key
        assert made.__doc__.startswith(f"{key.text}: {key.meaning}."), key
        assert f"Kind: {key.kind}. Unit: {key.unit or 'none'}." in made.__doc__
        assert (made.fset is not None) == key.requestable, key
        assert key.meaning
    assert {name for name in vars(Keys) if not name.startswith("__")} == {each.name for each in qx5.KEYS.values()}


def test_the_rule_of_names():
    names = {key.text: key.name for key in qx5.KEYS.values()}
    assert names["x5Range"] == "range"
    assert names["x5BeamSteer"] == "beam_steer"
    assert names["x5AGSearchMin"] == "ag_search_min"
    assert names["DeviceId"] == "device_id"
    assert names["x5FMSweepNegative"] == "fm_sweep_negative"
    assert names["ATTR_PITCHCOR"] == "attr_pitchcor"
    assert names["x57042Compress"] == "x57042_compress"
    assert names["Request"] == "request_"


def test_no_key_hides_what_a_sonar_has_otherwise():
    own = {name for kind in (qx5.Sonar, qx5.FleetSonar) for name in vars(kind) if not name.startswith("_")}
    names = [key.name for key in qx5.KEYS.values()]
    assert own.isdisjoint(names)
    assert len(set(names)) == len(names)
    for name in names:
        assert name.isidentifier() and not keyword.iskeyword(name)
        assert not name.startswith("_")
        assert not name.endswith("_") or name[:-1] in own or keyword.iskeyword(name[:-1]), name


def test_help_tells_unit_range_and_meaning():
    text = pydoc.plain(pydoc.render_doc(qx5.Sonar.range))
    assert "x5Range: range that the sonar listens to." in text
    assert "Unit: m." in text
    assert 'limits("x5Range")' in text
    assert "a whole number from -2147483648 to 2147483647" in qx5.Sonar.pulse_type.__doc__
    assert "Read only." in qx5.Sonar.disk_free.__doc__


def test_what_must_be_given_together_is_told():
    together = [key.name for key in qx5.KEYS.values() if "Nothing comes of it alone" in getattr(qx5.Sonar, key.name).__doc__]
    assert together


def test_both_names_of_a_key_mean_it(sonar):
    for key in qx5.KEYS.values():
        assert _qx5.key_text(key.text) == key.text
        assert _qx5.key_text(key.name) == key.text
        sonar.get(key.name)
        getattr(sonar, key.name)
