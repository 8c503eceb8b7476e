"""The fixtures, as somebody else's tests use them."""

import pytest

pytest_plugins = ["pytester"]


def test_they_come_by_themselves(pytester):
    pytester.makepyfile("""
        import pytest, qx5

        def test_host(qx5_host):
            qx5_host.sonar.request(range=50).wait()
            assert qx5_host.simulator.wait_for("range").values == {"x5Range": 50.0}
            assert qx5_host.sonar is qx5_host.sonar

        def test_several(qx5_host):
            with qx5.Simulator("flat") as other:
                assert qx5_host.connect(other.address).connected

        @pytest.mark.qx5_simulator("flat", seed=3, depth=12.0)
        def test_another_simulator(qx5_simulator, qx5_host):
            assert qx5_host.connect().connected

        def test_nothing_is_left_of_the_one_before(qx5_host):
            assert qx5_host.sonar.range == 100.0
    """)
    done = pytester.runpytest_subprocess("-p", "no:cacheprovider", "--strict-markers")
    done.assert_outcomes(passed=4)


def test_they_are_listed(pytester):
    done = pytester.runpytest_subprocess("--fixtures")
    done.stdout.fnmatch_lines(["qx5_simulator*", "*simulated sonar on a free port*", "qx5_host*"])


def test_a_conftest_may_name_them(pytester):
    pytester.makeconftest('pytest_plugins = "qx5.pytest"')
    pytester.makepyfile("def test_one(qx5_host): assert qx5_host.sonar.connected")
    pytester.runpytest_subprocess("-p", "no:cacheprovider").assert_outcomes(passed=1)


def test_a_test_that_fails_closes_its_sonars(pytester):
    pytester.makepyfile("""
        def test_fails(qx5_host):
            qx5_host.sonar.subscribe(print)
            raise SystemError

        def test_goes_on(qx5_host):
            qx5_host.sonar.request(range=50).wait()
    """)
    pytester.runpytest_subprocess("-p", "no:cacheprovider").assert_outcomes(passed=1, failed=1)


@pytest.mark.qx5_simulator("flat", depth=15.0)
def test_the_marker_chooses(qx5_simulator):
    assert qx5_simulator.command("status")
