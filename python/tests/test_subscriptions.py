"""Changes as they are told: callbacks, iterators, their ends."""

import logging
import threading

import pytest

import qx5


class Collected:
    """Changes that came, and waiting for them."""

    def __init__(self):
        self.changes = []
        self._changed = threading.Condition()

    def __call__(self, change):
        with self._changed:
            self.changes.append(change)
            self._changed.notify_all()

    def wait(self, count=1):
        with self._changed:
            assert self._changed.wait_for(lambda: len(self.changes) >= count, 10)
        return self.changes


def test_a_callback_is_told_each_change_once_in_order(sonar):
    collected = Collected()
    before = sonar.range
    with sonar.subscribe(collected, "x5Range"):
        for value in (51, 52, 53):
            sonar.request(range=value).wait()
        sonar.request(power=200).wait()
        changes = collected.wait(3)
    assert [(each.key, each.before, each.value) for each in changes] == [
        ("x5Range", before, 51.0), ("x5Range", 51.0, 52.0), ("x5Range", 52.0, 53.0)]
    assert changes[0].sonar is sonar
    assert changes[0].time > 1.7e9


def test_without_keys_all_is_told(sonar, qx5_simulator):
    collected = Collected()
    with sonar.subscribe(collected):
        sonar.request(range=51, power=200).wait()
        collected.wait(2)
    assert {"x5Range", "x5Power"} <= {each.key for each in collected.changes}


def test_callbacks_are_called_on_a_thread_of_their_own(sonar):
    names = []
    done = threading.Event()

    def callback(change):
        names.append(threading.current_thread().name)
        done.set()

    with sonar.subscribe(callback, "range"):
        sonar.range = 51
        assert done.wait(10)
    assert names == ["qx5 callbacks"]


def test_what_changes_while_it_is_subscribed_to_is_told(sonar):
    """The change comes, and the thread of callbacks has passed it, before the subscription is complete."""
    native = sonar._native
    collected, passed = Collected(), Collected()

    class Slow:
        def follow(self, keys, mailbox, sign):
            feed = native.follow(keys, mailbox, sign)
            for count, value in enumerate((51, 52), 1):
                native.request([("range", value)])
                passed.wait(count)
            return feed

        def __getattr__(self, name):
            return getattr(native, name)

    with sonar.subscribe(passed, "range"):
        object.__setattr__(sonar, "_native", Slow())
        subscription = sonar.subscribe(collected, "range")
        object.__setattr__(sonar, "_native", native)
        with subscription:
            assert [each.value for each in collected.wait(2)] == [51.0, 52.0]
            sonar.range = 53
            assert collected.wait(3)[2].value == 53.0


def test_after_unsubscribe_nothing_is_told(sonar):
    told, still = Collected(), Collected()
    subscription = sonar.subscribe(told, "range")
    with sonar.subscribe(still, "range"):
        assert subscription.active
        subscription.unsubscribe()
        subscription.unsubscribe()
        assert not subscription.active
        sonar.range = 51
        still.wait()
    assert told.changes == []


def test_a_callback_may_end_its_own_subscription(sonar):
    collected = Collected()

    def callback(change):
        subscription.unsubscribe()
        collected(change)

    subscription = sonar.subscribe(callback, "range")
    other = Collected()
    with sonar.subscribe(other, "range"):
        sonar.range = 51
        sonar.range = 52
        other.wait(2)
        collected.wait(1)
    assert len(collected.changes) == 1


def test_unsubscribe_waits_for_a_callback_that_runs(sonar):
    began, go_on, ended = threading.Event(), threading.Event(), threading.Event()

    def callback(change):
        began.set()
        go_on.wait(10)
        ended.set()

    subscription = sonar.subscribe(callback, "range")
    sonar.range = 51
    assert began.wait(10)
    threading.Timer(0.05, go_on.set).start()
    subscription.unsubscribe()
    assert ended.is_set()


def test_a_callback_may_request_and_close(sonar):
    closed = threading.Event()

    def callback(change):
        if change.value == 51.0:
            sonar.request(power=200).wait()
            sonar.close()
            closed.set()

    sonar.subscribe(callback, "range")
    sonar.range = 51
    assert closed.wait(10)
    assert sonar.closed


def test_what_a_callback_raises_is_logged_and_the_next_is_called(sonar, caplog):
    collected = Collected()

    def callback(change):
        collected(change)
        raise RuntimeError("this callback fails")

    with caplog.at_level(logging.ERROR, "qx5"), sonar.subscribe(callback, "range"):
        sonar.range = 51
        collected.wait(1)
        sonar.range = 52
        collected.wait(2)
    assert "this callback fails" in caplog.text


def test_a_slow_callback_holds_up_neither_requests_nor_others(sonar):
    go_on = threading.Event()
    with sonar.subscribe(lambda change: go_on.wait(20), "range"):
        for value in range(100):
            sonar.request(range=50 + value).wait()
        go_on.set()


def test_changes_as_an_iterator(sonar):
    changes = sonar.changes("range")
    sonar.range = 51
    sonar.range = 52
    assert [next(changes).value, next(changes).value] == [51.0, 52.0]
    changes.close()


def test_an_iterator_ends_with_its_sonar(sonar):
    changes = sonar.changes("range")
    sonar.range = 51
    sonar.close()
    assert [each.value for each in changes] == [51.0]


def test_an_iterator_gives_up_after_its_time(sonar):
    with pytest.raises(qx5.Timeout):
        next(sonar.changes("range", timeout=0.05))


def test_a_setting_of_a_mode_is_followed_in_its_branch(sonar, qx5_simulator):
    """What somebody else does at the sonar is told, too."""
    collected = Collected()
    with sonar.subscribe(collected, "gain"):
        qx5_simulator.set(gain=33)
        collected.wait()
    assert collected.changes[-1].value == 33.0


def test_done_callbacks(sonar):
    done = threading.Event()
    results = []

    def callback(request):
        results.append(request.result)
        done.set()

    sonar.request(range=51).add_done_callback(callback)
    assert done.wait(10)
    standing = sonar.request(range=52).wait()
    done.clear()
    standing.add_done_callback(callback)
    assert done.wait(10)
    assert results == ["agrees", "agrees"]


def test_the_hosts_log_is_pythons(caplog, qx5_simulator):
    with caplog.at_level(logging.INFO, "qx5"), qx5.connect(qx5_simulator.address) as sonar:
        collected = threading.Event()

        class Handler(logging.Handler):
            def emit(self, record):
                collected.set()

        handler = Handler()
        logging.getLogger("qx5").addHandler(handler)
        try:
            qx5_simulator.misbehave("garbage", 10)
            qx5_simulator.set(range=77)
            assert collected.wait(10)
        finally:
            logging.getLogger("qx5").removeHandler(handler)
