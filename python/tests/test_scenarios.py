"""Scenarios as data."""

import pytest

import qx5

# The bytes are the little-endian float 50: worked out by hand.
RANGE = {
    "name": "range",
    "steps": [{"request": [["x5Range", "double", 50.0]],
               "expect": {"of": ["remote"], "events": [
                   {"remote": 1003, "payload": "00004842", "device": 0, "enumerator": -1}]}}],
}


def test_a_scenario_from_a_dict_matches():
    check = qx5.Scenario(RANGE).check()
    assert check
    assert (check.checked, check.differences) == (1, [])
    assert str(check) == "matches (1 steps checked)"
    assert check.results[0].name == "range"
    assert check.results[0].steps[0][0]["remote"] == 1003


def test_a_difference_is_told():
    wrong = {**RANGE, "steps": [{**RANGE["steps"][0], "expect": {"of": ["remote"], "events": [
        {"remote": 1003, "payload": "0000c842", "device": 0, "enumerator": -1}]}}]}
    check = qx5.Scenario([RANGE, wrong]).check()
    assert not check
    assert len(check.differences) == 1
    difference = check.differences[0]
    assert (difference.scenario, difference.step, difference.kind) == ("range", 0, "request")
    assert "payload" in difference.text
    assert "step 0" in str(check)


@pytest.mark.parametrize("name", ["gates.json", "basic.json"])
def test_scenario_files_of_the_project(source, name):
    scenario = qx5.Scenario.load(source / "tests" / "scenarios" / name)
    check = scenario.check()
    assert check, str(check)
    assert len(check.results) == len(scenario.names) > 1


def test_a_scenario_runs_while_sonars_are_open(sonar):
    assert qx5.Scenario(RANGE).check()
    sonar.request(range=50).wait()


def test_no_scenario(tmp_path):
    with pytest.raises(qx5.ScenarioError, match="missing.json"):
        qx5.Scenario.load(tmp_path / "missing.json")
    broken = tmp_path / "broken.json"
    broken.write_text("{")
    with pytest.raises(qx5.ScenarioError, match="broken.json"):
        qx5.Scenario.load(broken)
    with pytest.raises(qx5.ScenarioError, match=r"\$.steps\[0\]"):
        qx5.Scenario({"steps": [{"dance": True}]}).run()
    with pytest.raises(qx5.ScenarioError):
        qx5.Scenario({"steps": [{"request": {1, 2}}]}).run()
    with pytest.raises(qx5.ScenarioError, match="nowhere.so"):
        qx5.Scenario(RANGE, plugin=tmp_path / "nowhere.so").run()
