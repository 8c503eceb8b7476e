"""A watch that raises an alarm: the sonar goes silent, its connection is lost, or a setting leaves what was agreed.

    watch_and_alarm.py HOST:PORT

Runs until Ctrl-C. Replace `alarm` by what wakes somebody up.
"""

import asyncio
import sys
from collections.abc import Callable

import qx5
import qx5.aio

AGREED = {"x5Range": 50.0, "x5Power": 200.0}


def alarm(text: str) -> None:
    """Tells the operator."""
    print(f"\aALARM: {text}", flush=True)


async def watch_settings(sonar: qx5.aio.Sonar, tell: Callable[[str], object]) -> None:
    """Somebody else may command the same sonar."""
    async for change in sonar.changes(*AGREED):
        if change.value != AGREED[change.key]:
            unit = qx5.KEYS[change.key].unit
            tell(f"{change.key} is {change.value} {unit}, agreed were {AGREED[change.key]} {unit}")


async def watch_connection(sonar: qx5.aio.Sonar, tell: Callable[[str], object]) -> None:
    """Tells when the sonar is not well, and when it is again."""
    last = "well"
    while True:
        condition = await sonar.wait_for(lambda each: each.condition if each.condition != last else None, timeout=None)
        assert condition is not None
        tell(f"the sonar is {condition}" + (f": {sonar.connection.reason}" if not sonar.connected else ""))
        last = condition


async def watch(address: str, tell: Callable[[str], object] = alarm) -> None:
    """Sets what was agreed and watches it until it is cancelled."""
    async with qx5.aio.connect(address) as sonar:
        await sonar.request(AGREED)
        await asyncio.gather(watch_settings(sonar, tell), watch_connection(sonar, tell))


if __name__ == "__main__":
    try:
        asyncio.run(watch(sys.argv[1]))
    except KeyboardInterrupt:
        pass
