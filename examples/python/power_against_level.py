"""A sweep of power against level: how loud the bottom comes back at each transmit power.

    power_against_level.py HOST:PORT

Prints a table: power in dB, level of the bottom below the sonar in dB (median of the detections within 10 degrees), and
how many detections it is of. Afterwards the sonar has its former power again.
"""

import sys
from collections.abc import Iterator
from typing import NamedTuple

import numpy as np

import qx5


class Row(NamedTuple):
    """One power of the sweep."""

    power: float
    level: float
    detections: int


def sweep(sonar: qx5.Sonar, powers: list[float], pings: int = 3) -> Iterator[Row]:
    """A row for each power that the sonar takes."""
    before = sonar.power
    soundings = sonar.soundings()
    try:
        for power in powers:
            try:
                sonar.request(power=power).wait()
            except qx5.RequestDiffers as refused:
                print(f"left out: {refused.reason}", file=sys.stderr)
                continue
            levels = []
            for _ in range(pings):
                sonar.ping()
                sounding = next(soundings)
                levels.append(sounding.level[np.abs(sounding.angle) < 10.0])
            heard = np.concatenate(levels)
            yield Row(power, float(np.median(heard)) if len(heard) else float("nan"), len(heard))
    finally:
        if before is not None:
            sonar.power = before


def main(address: str) -> None:
    """Prints the table."""
    with qx5.connect(address) as sonar:
        print("power/dB  level/dB  detections")
        for row in sweep(sonar, [180.0, 190.0, 200.0, 210.0, 220.0]):
            print(f"{row.power:8.1f}  {row.level:8.1f}  {row.detections:10d}")


if __name__ == "__main__":
    main(sys.argv[1])
