"""Sonars far away: a real broker with TLS, a real `qx5 serve` with simulated sonars."""

import asyncio
import os
import signal
import subprocess
import sys
import threading
import time

import pytest

import qx5
import qx5.aio
from fleet_stage import LIMIT, SONARS, Program, Stage, free_port, until


@pytest.fixture(scope="module")
def vessel(tmp_path_factory):
    stage = Stage(tmp_path_factory.mktemp("fleet"))
    yield stage
    stage.close()


@pytest.fixture(scope="module")
def watcher(vessel):
    with qx5.connect(vessel.url, **vessel.options("wanda")) as sonar:
        yield sonar


@pytest.fixture
def stage(vessel, watcher):
    yield vessel
    vessel.close_sonars()
    # Nobody commands when the next test begins.
    watcher.wait_for(lambda each: each.holder is None, LIMIT)


def one_line(error):
    text = str(error.value)
    assert text and "\n" not in text
    return text


def test_tells_what_the_sonar_has_and_how_fresh_that_is(stage):
    sonar = stage.connect()
    assert isinstance(sonar, qx5.FleetSonar) and isinstance(sonar, qx5.Sonar)
    assert (sonar.name, sonar.vessel, sonar.person, sonar.address) == ("Vega/Hull sonar", "Vega", "otto", stage.url)
    sonar.wait_connected(LIMIT)
    assert sonar.connection == ("connected", "")
    assert sonar.condition == "well"
    assert sonar.freshness == "current"
    assert 0.0 <= sonar.age < 3.0
    assert 0.0 < sonar.wait_for(lambda each: each.round_trip, LIMIT) < LIMIT
    assert abs(sonar.wait_for(lambda each: each.clock_ahead, LIMIT)) < 3.0
    assert sonar.holder is None
    assert sonar.persons == []
    assert sonar.attributes["x5Range"] == sonar.range == sonar["x5Range"] == sonar.get("range")
    assert isinstance(sonar.beam_steer, tuple)
    assert sonar.limits("range").greatest == 500.0
    assert repr(sonar) == f"<qx5.FleetSonar Vega/Hull sonar at {stage.url}, connected>"
    sonar.close()
    sonar.close()
    assert sonar.closed and sonar.connection.state == "closed" and sonar.freshness == "gone"
    assert sonar.attributes["x5Range"] is not None


def test_a_request_comes_back_with_its_result(stage):
    sonar = stage.connect()
    request = sonar.request(x5Range=60, x5BeamSteer=(10, -10)).wait()
    assert request.done and request.result == "agrees"
    assert request.asked["x5Range"] == request.echoed["x5Range"] == request.got["x5Range"] == 60.0
    assert request.got["x5BeamSteer"] == (10.0, -10.0)
    sonar.wait_for(lambda each: each.range == 60.0, LIMIT)
    # Nobody had the lease: it was taken along.
    assert sonar.wait_for(lambda each: each.holder, LIMIT).person == "otto"
    sonar.range = 70
    sonar.wait_for(lambda each: each.range == 70.0, LIMIT)
    sonar["x5Range"] = 71
    told = []
    request.add_done_callback(told.append)
    until(lambda: told == [request], "the callback was not called")


def test_what_comes_of_it_otherwise_raises(stage):
    sonar = stage.connect()
    with pytest.raises(qx5.RequestDiffers) as differs:
        sonar.range = 99999
    assert differs.value.request.got["x5Range"] == 500.0
    with pytest.raises(qx5.RequestRefused, match="locked for those ashore") as locked:
        sonar.request(x5Shutdown=True).wait()
    assert not isinstance(locked.value, qx5.LeaseHeld)
    with pytest.raises(qx5.RequestDropped):
        sonar.request({"Unheard": qx5.Value("double", 1.0)}).wait()
    with pytest.raises(qx5.WrongKind):
        sonar.range = "50"
    with pytest.raises(qx5.UnknownKey):
        sonar.rnage = 50
    with pytest.raises(qx5.ReadOnlyKey):
        sonar.age = 3


def test_what_is_for_those_aboard_says_so(stage):
    sonar = stage.connect()
    for asks in (sonar.ping, lambda: next(sonar.water_column()), lambda: sonar.record(stage.folder / "dive.mcap")):
        with pytest.raises(qx5.NotAshore) as error:
            asks()
        one_line(error)


def test_without_the_lease_a_request_is_refused_with_the_holders_name(stage):
    otto, gwen = stage.connect("otto"), stage.connect("gwen")
    gwen.range = 80
    with gwen.lease() as lease:
        assert lease.held
        assert gwen.holder.person == "gwen"
        assert gwen.holder.since < gwen.holder.until
        assert gwen.holder.asker is None
        with pytest.raises(qx5.LeaseHeld) as refused:
            otto.range = 90
        assert refused.value.holder == "gwen"
        assert refused.value.reason.startswith("gwen has the lease of Hull sonar until ")
        assert otto.request(x5Range=90).result == "refused"
        gwen.range = 81
    assert not lease.held
    assert gwen.holder is None
    lease.release()
    otto.range = 90
    otto.wait_for(lambda each: each.range == 90.0, LIMIT)


def test_the_lease_is_handed_over(stage):
    otto, gwen = stage.connect("otto"), stage.connect("gwen")
    with otto.lease() as lease:
        got = []

        def ask():
            with gwen.lease():
                got.append(gwen.request(x5Range=91).wait().result)
                got.append(gwen.holder.person)
                otto.wait_for(lambda each: each.holder and each.holder.person == "gwen", LIMIT)
                with pytest.raises(qx5.LeaseHeld) as refused:
                    otto.range = 92
                got.append(refused.value.holder)

        asking = threading.Thread(target=ask)
        asking.start()
        holder = otto.wait_for(lambda each: each.holder if each.holder and each.holder.asker else None, LIMIT)
        assert (holder.person, holder.asker) == ("otto", "gwen")
        assert holder.answer_by is not None
        lease.grant()
        asking.join(LIMIT)
        assert got == ["agrees", "gwen", "gwen"]
        until(lambda: not lease.held, "it is not ours any more")


def test_the_holder_keeps_it(stage):
    otto, gwen = stage.connect("otto"), stage.connect("gwen")
    with otto.lease() as lease:
        refused = []

        def ask():
            with pytest.raises(qx5.LeaseHeld) as error:
                gwen.lease().acquire()
            refused.append((error.value.holder, str(error.value)))

        asking = threading.Thread(target=ask)
        asking.start()
        otto.wait_for(lambda each: each.holder and each.holder.asker == "gwen", LIMIT)
        lease.refuse()
        asking.join(LIMIT)
        assert refused == [("otto", "otto keeps the lease")]
        with pytest.raises(qx5.RequestRefused, match="nobody asks for the lease of Vega/Hull sonar"):
            otto.wait_for(lambda each: each.holder.asker is None, LIMIT)
            lease.grant()
        assert lease.held


def test_who_does_not_wait_any_longer_does_not_ask_any_longer(stage):
    otto, gwen = stage.connect("otto"), stage.connect("gwen")
    with otto.lease():
        with pytest.raises(qx5.Timeout, match="^otto has not answered within 0.3 s who asked for the lease of Vega/Hull"):
            gwen.lease(timeout=0.3).acquire()
        otto.wait_for(lambda each: each.holder.asker is None, LIMIT)
        assert otto.holder.person == "otto"


def test_a_lease_is_kept_for_longer_than_it_is_asked_for(stage):
    sonar = stage.connect()
    with sonar.lease(seconds=4.0) as lease:
        first = sonar.holder.until
        # On a machine that is too busy to ask in time it may end, and is taken again.
        sonar.wait_for(lambda each: lease.held and each.holder and each.holder.until > first + 5.0, LIMIT)
        with sonar.lease():
            pass
        assert lease.held, "another one within it gives nothing back"


def test_a_request_right_after_the_lease_was_given_back_takes_it_anew(stage):
    sonar = stage.connect()
    for value in range(60, 70):
        with sonar.lease():
            pass
        sonar.range = value
    sonar.wait_for(lambda each: each.range == 69.0, LIMIT)


def test_a_watcher_sees_and_asks_in_vain(stage):
    sonar = stage.connect("wanda", limit=0.2)
    assert sonar.range is not None
    with pytest.raises(qx5.RequestUnanswered) as error:
        sonar.range = 50
    one_line(error)


def test_changes_and_subscriptions(stage):
    otto, gwen = stage.connect("otto"), stage.connect("gwen")
    otto.request(x5Range=50).wait()
    gwen.wait_for(lambda each: each.range == 50.0, LIMIT)
    told = []
    changes = gwen.changes("x5Range", timeout=LIMIT)
    with gwen.subscribe(lambda change: told.append((change.key, change.before, change.value)), "range"):
        otto.range = 51
        change = next(changes)
        assert (change.sonar, change.key, change.before, change.value) == (gwen, "x5Range", 50.0, 51.0)
        assert abs(change.time - time.time()) < LIMIT
        until(lambda: told == [("x5Range", 50.0, 51.0)], told)
    otto.range = 52
    assert next(changes).value == 52.0
    assert len(told) == 1
    gwen.close()
    assert list(changes) == []


def test_soundings_come_ashore(stage):
    numpy = pytest.importorskip("numpy")
    sonar = stage.connect()
    sonar.request(x5PingOnOffState=1).wait()
    soundings = sonar.soundings(timeout=LIMIT)
    first, second = next(soundings), next(soundings)
    assert second.ping > first.ping
    assert len(first.beam) == len(first.angle) > 10
    assert float(numpy.median(first.depths())) > 1.0
    soundings.close()
    sonar.request(x5PingOnOffState=0).wait()
    waiting = sonar.soundings(timeout=None)
    closing = threading.Timer(0.1, sonar.close)
    closing.start()
    list(waiting)
    closing.join()


def test_two_sonars_share_a_connection(stage):
    threads = threading.active_count()
    hull, pole = (stage.connect(sonar=each) for each in SONARS)
    hull.range, pole.range = 61, 62
    hull.wait_for(lambda each: each.range == 61.0, LIMIT)
    pole.wait_for(lambda each: each.range == 62.0, LIMIT)
    with hull.lease():
        assert pole.holder is None or pole.holder.person == "otto"
    begun = time.monotonic()
    with stage.connect(sonar=SONARS[1]) as again:
        assert again.range == 62.0
    assert time.monotonic() - begun < 1.5, "a connection of its own takes two seconds"
    assert pole.connected and not pole.closed
    assert threading.active_count() == threads


def test_what_is_not_there_is_told_with_what_is(stage):
    def refused(**options):
        with pytest.raises(qx5.NoSonar) as error:
            stage.connect(**options)
        return one_line(error)

    assert refused(sonar="Bow") == "there is no sonar Bow aboard Vega, which has Hull sonar, Pole sonar"
    assert refused(sonar=None) == "Vega has several sonars: say Vega/Hull sonar or Vega/Pole sonar"
    with pytest.raises(qx5.NoSonar) as error:
        qx5.connect(stage.url, **{**stage.options(), "vessel": "Altair", "timeout": 3.0})
    assert one_line(error) == "nothing is heard of a vessel Altair"


def test_a_wrong_line_is_one_line(stage):
    files = stage.certificates
    files.make("stranger", authority="other-ca")
    files.make("late", days=0)

    def refused(kind, **options):
        with pytest.raises(kind) as error:
            qx5.connect(stage.url, **{**stage.options(), **options})
        return one_line(error)

    assert "it does not know who signed our certificate" in refused(qx5.NoSonar, **files.of("stranger"))
    assert "is not to be trusted" in refused(qx5.NoSonar, **files.of("otto", authority="other-ca"))
    assert "expired on " in refused(qx5.BadCertificate, **files.of("late"))
    assert "none.crt" in refused(qx5.BadCertificate, cert=stage.folder / "none.crt")
    assert "holds no key of the certificate" in refused(qx5.BadCertificate, key=files.of("gwen")["key"])
    assert "comes without its key" in refused(qx5.BadCertificate, key=None)
    assert "goes by the certificate of whoever comes" in refused(qx5.BadCertificate, cert=None, key=None)
    assert "group" in refused(qx5.BadAddress, group="no/rth")
    assert "vessel" in refused(qx5.BadAddress, vessel="Ve+ga")
    for address, options, told in (
            ("mqtt://broker.example", {"group": "north", "vessel": "Vega"}, "mqtt:// goes to this machine alone"),
            ("mqtts://127.0.0.1:0", {"group": "north", "vessel": "Vega"}, "127.0.0.1:0"),
            (stage.url, {}, "group and vessel"),
            ("127.0.0.1:7000", {"group": "north", "vessel": "Vega"}, "no broker")):
        with pytest.raises(qx5.BadAddress, match=told) as error:
            qx5.connect(address, **options)
        one_line(error)
    with pytest.raises(qx5.NoSonar, match="nobody listens at 127.0.0.1"):
        qx5.connect(f"mqtts://127.0.0.1:{free_port()}", **stage.options())
    with pytest.raises(qx5.OutOfRange):
        stage.connect(limit=0)


def test_a_broker_of_this_machine_asks_for_no_certificate(tmp_path):
    port = free_port()
    (tmp_path / "broker.conf").write_text(f"user root\nlog_dest stderr\nallow_anonymous true\nlistener {port} 127.0.0.1\n")
    broker = Program(["/usr/sbin/mosquitto", "-c", tmp_path / "broker.conf"], tmp_path / "broker.log")
    assert broker.wait_for(" running\n"), broker.text()
    try:
        with pytest.raises(qx5.NoSonar, match="^nothing is heard of a vessel Vega$"):
            qx5.connect(f"mqtt://127.0.0.1:{port}", group="north", vessel="Vega", person="otto", timeout=2.0)
    finally:
        broker.end()


def test_asyncio(stage):
    async def work():
        async with qx5.aio.connect(stage.url, **stage.options()) as sonar:
            assert isinstance(sonar, qx5.aio.FleetSonar)
            request = await sonar.request(x5Range=55)
            assert request.got["x5Range"] == 55.0
            assert await sonar.wait_for(lambda each: each.range == 55.0, LIMIT)
            async with sonar.lease() as lease:
                assert lease.held and sonar.holder.person == "otto"
                done = await asyncio.gather(*(sonar.request({key: value}) for key, value in
                                              (("range", 56), ("power", 200), ("gain", 30))))
                assert [each.result for each in done] == ["agrees"] * 3
                async with qx5.aio.connect(stage.url, **stage.options("gwen")) as gwen:
                    with pytest.raises(qx5.LeaseHeld) as refused:
                        await gwen.request(range=57)
                    assert refused.value.holder == "otto"
                    asking = asyncio.ensure_future(gwen.lease().acquire())
                    await sonar.wait_for(lambda each: each.holder.asker == "gwen", LIMIT)
                    await lease.refuse()
                    with pytest.raises(qx5.LeaseHeld):
                        await asking
                    cancelled = asyncio.ensure_future(gwen.lease().acquire())
                    await sonar.wait_for(lambda each: each.holder.asker == "gwen", LIMIT)
                    cancelled.cancel()
                    with pytest.raises(asyncio.CancelledError):
                        await cancelled
                    await sonar.wait_for(lambda each: each.holder.asker is None, LIMIT)
            assert sonar.holder is None
        assert sonar.connection.state == "closed"

    asyncio.run(asyncio.wait_for(work(), 2 * LIMIT))


def test_who_is_closed_is_told_so(stage):
    otto, gwen = stage.connect("otto"), stage.connect("gwen", limit=20.0)
    changes = gwen.changes()
    ended = threading.Thread(target=lambda: list(changes))
    ended.start()
    with otto.lease():
        raised = []

        def ask():
            with pytest.raises(qx5.ConnectionLost) as error:
                gwen.lease().acquire()
            raised.append(one_line(error))

        asking = threading.Thread(target=ask)
        asking.start()
        otto.wait_for(lambda each: each.holder and each.holder.asker == "gwen", LIMIT)
        gwen.close()
        asking.join(LIMIT)
        ended.join(LIMIT)
        assert len(raised) == 1 and "closed" in raised[0]
        with pytest.raises(qx5.ConnectionLost, match="closed"):
            gwen.range = 50
        with pytest.raises(qx5.ConnectionLost, match="closed"):
            gwen.lease().acquire()


def test_other_threads_go_on_while_one_waits(stage):
    sonar = stage.connect(limit=0.5)
    stage.broker.process.send_signal(signal.SIGSTOP)
    try:
        turns = 0
        results = []

        def wait(does):
            try:
                does()
            except qx5.Error as error:
                results.append(error)

        for does in (lambda: sonar.request(range=50).wait(), lambda: sonar.lease(timeout=0.5).acquire(),
                     lambda: stage.connect("gwen", timeout=0.5), lambda: next(sonar.soundings(timeout=0.5)),
                     lambda: sonar.wait_for(lambda each: False, 0.5)):
            waiting = threading.Thread(target=wait, args=(does,))
            waiting.start()
            begun, turns = time.monotonic(), 0
            while waiting.is_alive():
                turns += 1
                assert time.monotonic() - begun < LIMIT
                time.sleep(0.001)
            assert turns > 50
        assert len(results) == 5
    finally:
        stage.broker.process.send_signal(signal.SIGCONT)
    sonar.wait_connected(LIMIT)


def test_the_example(stage, source):
    files = stage.certificates.of("gwen")
    command = [sys.executable, "-P", source / "examples" / "python" / "set_from_ashore.py", stage.url, "north", "Vega",
               SONARS[0], "45", files["ca"], files["cert"], files["key"]]

    def run():
        done = subprocess.run(command, capture_output=True, text=True, timeout=LIMIT, check=False)
        return done.returncode, done.stdout.splitlines(), done.stderr

    code, lines, errors = run()
    assert (code, lines[-1]) == (0, "done, it has 45.0 m"), errors
    assert lines[0].startswith("Vega/Hull sonar: range ")
    otto = stage.connect("otto")
    with otto.lease() as lease:
        answering = threading.Thread(target=lambda: (
            otto.wait_for(lambda each: each.holder and each.holder.asker == "gwen", LIMIT), lease.refuse()))
        answering.start()
        code, lines, errors = run()
        answering.join(LIMIT)
    assert (code, lines[-1]) == (1, "not done, otto commands: otto keeps the lease"), errors


@pytest.mark.parametrize("script", [
    "",
    "sonar.close()",
    "del sonar",
    "sonar.subscribe(lambda change: None)",
    "sonar.range = 50",
    "lease = sonar.lease(); lease.acquire()",
    "changes = sonar.changes('range'); sonar.range = 52; sonar.range = 53; next(changes)",
    "threading.Thread(target=sonar.wait_for, args=(lambda each: False, None), daemon=True).start()",
    "threading.Thread(target=lambda: list(sonar.soundings(timeout=None)), daemon=True).start()",
    "here = qx5.Simulator(); near = qx5.connect(here.address); near.range = sonar.range = 50",
])
def test_a_process_ends_with_0(stage, script):
    options = {key: str(value) for key, value in stage.options().items()}
    begin = f"import threading\nimport qx5\nsonar = qx5.connect({stage.url!r}, **{options!r})\n"
    done = subprocess.run([sys.executable, "-P", "-c", begin + script], capture_output=True, text=True,
                          timeout=LIMIT, check=False)
    assert done.returncode == 0, done.stderr
    assert "Fatal" not in done.stderr and "terminate" not in done.stderr, done.stderr


def test_control_c_ends_a_wait_for_the_holder(stage):
    otto, gwen = stage.connect("otto"), stage.connect("gwen")
    with otto.lease():
        main = threading.get_ident()

        def interrupt():
            otto.wait_for(lambda each: each.holder and each.holder.asker == "gwen", LIMIT)
            signal.pthread_kill(main, signal.SIGINT)

        interrupting = threading.Thread(target=interrupt)
        interrupting.start()
        with pytest.raises(KeyboardInterrupt):
            gwen.lease().acquire()
        interrupting.join(LIMIT)
        otto.wait_for(lambda each: each.holder.asker is None, LIMIT)


def test_nothing_is_left_behind(stage):
    def counts():
        return len(os.listdir("/proc/self/task")), len(os.listdir("/proc/self/fd"))

    def round_trip():
        with stage.connect("gwen") as sonar, stage.connect("gwen", SONARS[1]) as other:
            subscription = sonar.subscribe(lambda change: None)
            sonar.range = 50
            with other.lease():
                pass
            soundings = sonar.soundings()
            del subscription, soundings

    round_trip()
    before = counts()
    for _ in range(3):
        round_trip()
    until(lambda: counts() <= before, (before, counts()))


def test_a_broker_that_goes_and_comes(tmp_path):
    stage = Stage(tmp_path)
    try:
        sonar = stage.connect(limit=0.5)
        sonar.range = 60
        sonar.wait_for(lambda each: each.range == 60.0, LIMIT)
        stage.kill_broker()
        sonar.wait_for(lambda each: not each.connected, LIMIT)
        sonar.wait_for(lambda each: each.connection.state == "waiting", LIMIT)
        assert "127.0.0.1" in sonar.connection.reason
        assert sonar.freshness == "stale"
        assert sonar.range == 60.0, "what is known stays, and says that it is stale"
        aged = sonar.age
        until(lambda: sonar.age > aged, "it grows older")
        with pytest.raises(qx5.ConnectionLost) as error:
            sonar.range = 61
        assert "the connection is" in one_line(error)
        with pytest.raises((qx5.ConnectionLost, qx5.Timeout)):
            sonar.lease(timeout=0.5).acquire()
        with pytest.raises(qx5.Timeout, match="the connection is"):
            sonar.wait_connected(0.05)
        # A connection that is down is told at once to who comes anew.
        with pytest.raises(qx5.NoSonar) as error:
            stage.connect("gwen", timeout=5.0)
        assert "127.0.0.1" in one_line(error)
        stage.start_broker()
        sonar.wait_connected(2 * LIMIT)
        assert sonar.freshness == "current"
        until(lambda: _is_set(sonar, 62.0), "the same sonar is asked again")
        # The vessel goes, and comes.
        assert stage.vessel.end() == 0
        sonar.wait_for(lambda each: each.freshness == "gone", LIMIT)
        assert sonar.connection.state == "lost"
        with pytest.raises(qx5.NoSonar) as error:
            stage.connect("gwen", timeout=4.0)
        one_line(error)
        stage.start_vessel()
        sonar.wait_connected(LIMIT)
        assert _is_set(sonar, 63.0)
        sonar.wait_for(lambda each: each.range == 63.0, LIMIT)
    finally:
        stage.close()


def _is_set(sonar, value):
    try:
        sonar.range = value
    except qx5.RequestError:
        return False
    return True
