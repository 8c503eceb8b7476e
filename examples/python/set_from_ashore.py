#!/usr/bin/python3
"""Sets the range of a sonar far away, if it may be commanded, and says how it stood and what came of it.

    set_from_ashore.py mqtts://HOST:PORT GROUP VESSEL SONAR METRES [CA CERT KEY]

The files are certificates: of whom the broker's must be from, ours, and its key.
"""

import sys

import qx5


def set_range(sonar: qx5.FleetSonar, metres: float) -> bool:
    """Whether the sonar has it."""
    trip = sonar.wait_for(lambda each: each.round_trip) or 0.0
    age = sonar.age or 0.0
    print(f"{sonar.name}: range {sonar.range} m, told {age:.1f} s ago; {trip * 1000:.0f} ms there and back")
    try:
        # Whoever has the lease is asked for it, and may take half a minute to answer.
        with sonar.lease():
            got = sonar.request(x5Range=metres).wait().got
    except qx5.LeaseHeld as refused:
        print(f"not done, {refused.holder or 'nobody'} commands: {refused}")
        return False
    except qx5.RequestError as failed:
        print(f"not as it was asked for: {failed}")
        return False
    print(f"done, it has {got['x5Range']} m")
    return True


def main(url: str, group: str, vessel: str, name: str, metres: str, *files: str) -> int:
    """The exit code."""
    ca, cert, key = files or (None, None, None)
    with qx5.connect(url, group=group, vessel=vessel, sonar=name, ca=ca, cert=cert, key=key) as sonar:
        return 0 if set_range(sonar, float(metres)) else 1


if __name__ == "__main__":
    if len(sys.argv) not in (6, 9):
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
