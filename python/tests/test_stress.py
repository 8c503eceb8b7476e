"""Many threads request, subscribe, wait, iterate and close at once; nothing hangs, nothing is lost."""

import random
import threading
import time

import qx5

SECONDS = 3.0


def test_all_at_once():
    end = time.monotonic() + SECONDS
    failures = []
    done = {"requests": 0, "changes": 0, "connects": 0}
    lock = threading.Lock()

    def count(what, by=1):
        with lock:
            done[what] += by

    with qx5.Simulator(seed=1) as first, qx5.Simulator("flat", seed=2) as second:
        sonars = [qx5.connect(first.address), qx5.connect(second.address)]

        def request(chance):
            sonar = chance.choice(sonars)
            try:
                asked = sonar.request(range=chance.randint(10, 400), power=chance.randint(180, 220))
                if chance.random() < 0.3:
                    asked.wait()
                assert asked.echoed["x5Range"] == asked.asked["x5Range"]
            except (qx5.RequestReplaced, qx5.RequestDiffers, qx5.RequestUnanswered):
                pass  # another thread asked for the same meanwhile
            count("requests")

        def subscribe(chance):
            with chance.choice(sonars).subscribe(lambda change: count("changes"), "range", "power"):
                request(chance)

        def iterate(chance):
            sonar = chance.choice(sonars)
            changes = sonar.changes(timeout=0.5)
            sonar.request(gain=chance.uniform(0, 40))
            try:
                next(changes)
            except qx5.Timeout:
                pass
            changes.close()

        def wait(chance):
            sonar = chance.choice(sonars)
            assert sonar.wait_for(lambda each: each.range)
            try:
                sonar.wait_for(lambda each: False, timeout=0.01)
            except qx5.Timeout:
                pass

        def come_and_go(chance):
            simulator = chance.choice((first, second))
            with qx5.connect(simulator.address) as sonar:
                sonar.subscribe(lambda change: None)
                sonar.request(range=chance.randint(10, 400))
                list(sonar.attributes)
            count("connects")

        def drop(chance):
            try:
                chance.choice((first, second)).command("ping")
            except qx5.SimulatorError as error:
                assert "too many pings wait" in str(error)  # threads that were kept from running came all at once
            time.sleep(0.01)

        def work(seed):
            chance = random.Random(seed)
            try:
                while time.monotonic() < end:
                    chance.choice((request, request, subscribe, iterate, wait, come_and_go, drop))(chance)
            except BaseException as failure:
                failures.append(failure)
                raise

        threads = [threading.Thread(target=work, args=(seed,)) for seed in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join(60)
        assert not any(thread.is_alive() for thread in threads)
        assert failures == []
        for sonar in sonars:
            sonar.close()
    assert done["requests"] > 10
    assert done["changes"] > 0
    assert done["connects"] > 0


def test_closing_under_load():
    """Whoever works a sonar that another thread closes is told so."""
    for seed in range(5):
        chance = random.Random(seed)
        with qx5.Simulator(seed=seed) as simulator:
            sonar = qx5.connect(simulator.address)
            unexpected = []

            def work(sonar=sonar, unexpected=unexpected):
                try:
                    while True:
                        sonar.request(range=chance.randint(10, 400)).wait()
                except qx5.ConnectionLost:
                    pass
                except (qx5.RequestReplaced, qx5.RequestDiffers):
                    work()
                except BaseException as failure:
                    unexpected.append(failure)

            def follow(sonar=sonar):
                for _ in sonar.changes():
                    pass

            threads = [threading.Thread(target=target) for target in (work, work, follow, follow)]
            for thread in threads:
                thread.start()
            sonar.subscribe(lambda change: None)
            time.sleep(chance.uniform(0, 0.2))
            sonar.close()
            for thread in threads:
                thread.join(30)
            assert not any(thread.is_alive() for thread in threads)
            assert unexpected == []
