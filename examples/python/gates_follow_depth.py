"""Depth gates that follow the bottom: a fifth above and below what the last pings sounded.

    gates_follow_depth.py HOST:PORT [PINGS]

Asks for new gates only where the bottom has left the middle of the old ones, so that the sonar is not told the same at
each ping.
"""

import sys
from collections import deque

import numpy as np

import qx5


def gates_for(depth: float) -> tuple[float, float]:
    """Least and greatest depth in m, to the decimetre."""
    return round(depth * 0.8, 1), round(depth * 1.2, 1)


def follow(sonar: qx5.Sonar, pings: int, memory: int = 5) -> list[tuple[float, float]]:
    """The gates that were set, over so many pings. The depth is the median of the last few."""
    sonar.request(depth_filter_enabled=True).wait()
    depths: deque[float] = deque(maxlen=memory)
    asked: list[tuple[float, float]] = []
    soundings = sonar.soundings()
    for _ in range(pings):
        if not sonar.ping_on_off_state:
            sonar.ping()
        sounding = next(soundings)
        good = sounding.depths()[sounding.quality > 0.5]
        if not len(good):
            continue  # the gates stay where they are as long as nothing is heard
        depths.append(float(np.median(good)))
        least, greatest = gates_for(float(np.median(list(depths))))
        if not asked or abs(least - asked[-1][0]) > 0.1 * least:
            sonar.request(min_depth_gate=least, max_depth_gate=greatest).wait()
            asked.append((least, greatest))
            print(f"ping {sounding.ping}: gates {least} m to {greatest} m")
    return asked


def main(address: str, pings: int = 1000) -> None:
    """Follows the bottom for so many pings."""
    with qx5.connect(address) as sonar:
        follow(sonar, pings)


if __name__ == "__main__":
    main(sys.argv[1], *map(int, sys.argv[2:]))
