"""The same with asyncio."""

import asyncio
import time

import pytest

import qx5
import qx5.aio
from qx5 import _dispatch


def run(work):
    return asyncio.run(asyncio.wait_for(work, 30))


def test_requests_and_what_the_sonar_has(qx5_simulator):
    async def work():
        async with qx5.aio.connect(qx5_simulator.address) as sonar:
            request = await sonar.request(x5Range=50)
            assert request.result == "agrees"
            assert sonar["x5Range"] == sonar.get("range") == sonar.sync.range == 50.0
            assert sonar.attributes["x5Range"] == 50.0
            assert sonar.connected
            assert sonar.limits("range").greatest == 500.0
        assert sonar.connection.state == "closed"

    run(work())


def test_many_requests_at_once(qx5_simulator):
    async def work():
        async with qx5.aio.connect(qx5_simulator.address) as sonar:
            keys = ["range", "power", "gain", "absorption", "spreading_loss"]
            values = [50, 200, 30, 60, 20]
            done = await asyncio.gather(*(sonar.request({key: value}) for key, value in zip(keys, values)))
            assert [each.result for each in done] == ["agrees"] * 5

    run(work())


def test_what_a_request_raises(qx5_simulator):
    async def work():
        async with qx5.aio.connect(qx5_simulator.address) as sonar:
            with pytest.raises(qx5.RequestDiffers):
                await sonar.request(range=99999)
            with pytest.raises(qx5.WrongKind):
                await sonar.request(range="50")
            qx5_simulator.misbehave("silent")
            with pytest.raises(qx5.Timeout):
                await sonar.request(range=60, timeout=0.05)
            with pytest.raises(qx5.RequestUnanswered):
                await sonar.request(range=61)

    run(work())


def test_changes(qx5_simulator):
    async def work():
        async with qx5.aio.connect(qx5_simulator.address) as sonar:
            seen = []

            async def follow():
                async for change in sonar.changes("x5Range"):
                    seen.append(change.value)
                    if len(seen) == 3:
                        return

            following = asyncio.ensure_future(follow())
            while not _dispatch.dispatcher._listeners:
                await asyncio.sleep(0)
            await asyncio.sleep(0.1)
            for value in (51, 52, 53):
                await sonar.request(range=value)
            await following
            assert seen == [51.0, 52.0, 53.0]

    run(work())


def test_changes_end_with_the_sonar(qx5_simulator):
    async def work():
        sonar = await qx5.aio.connect(qx5_simulator.address)
        changes = sonar.changes("range")
        first = asyncio.ensure_future(anext(changes, None))
        await asyncio.sleep(0)
        await sonar.close()
        assert await first is None

    run(work())


def test_a_cancelled_wait_leaves_nothing_behind(qx5_simulator):
    async def work():
        async with qx5.aio.connect(qx5_simulator.address) as sonar:
            qx5_simulator.misbehave("silent")
            before = len(_dispatch.dispatcher._listeners)
            waiting = asyncio.ensure_future(sonar.request(range=60))
            while len(_dispatch.dispatcher._listeners) == before:
                await asyncio.sleep(0)
            waiting.cancel()
            with pytest.raises(asyncio.CancelledError):
                await waiting
            assert len(_dispatch.dispatcher._listeners) == before

    run(work())


def test_wait_for(qx5_simulator):
    async def work():
        async with qx5.aio.connect(qx5_simulator.address) as sonar:
            asyncio.get_running_loop().call_later(0.05, lambda: qx5_simulator.set(range=70))
            assert await sonar.wait_for(lambda each: each.range == 70.0)
            with pytest.raises(qx5.Timeout):
                await sonar.wait_for(lambda each: False, timeout=0.05)

    run(work())


def test_the_loop_goes_on_while_one_waits(qx5_simulator):
    async def work():
        async with qx5.aio.connect(qx5_simulator.address) as sonar:
            qx5_simulator.misbehave("silent")
            turns = 0
            waiting = asyncio.ensure_future(sonar.request(range=60))
            while not waiting.done():
                turns += 1
                await asyncio.sleep(0)
            assert turns > 100
            with pytest.raises(qx5.RequestUnanswered):
                waiting.result()

    run(work())


def test_no_sonar():
    with qx5.Simulator() as simulator:
        address = simulator.address

    async def work():
        with pytest.raises(qx5.NoSonar):
            async with qx5.aio.connect(address):
                pass

    run(work())


def test_a_connect_that_is_given_up_is_closed():
    async def work():
        with qx5.Simulator() as simulator:
            connecting = asyncio.ensure_future(qx5.aio.connect(simulator.address)._run())
            await asyncio.sleep(0)
            connecting.cancel()
            with pytest.raises(asyncio.CancelledError):
                await connecting
            end = time.monotonic() + 20
            while any(isinstance(each, qx5.Sonar) for each in _dispatch._open) and time.monotonic() < end:
                await asyncio.sleep(0.01)
            assert not any(isinstance(each, qx5.Sonar) for each in _dispatch._open)

    run(work())
