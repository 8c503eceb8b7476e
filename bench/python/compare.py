#!/usr/bin/python3
"""Holds Python against C++: from a request to its echo, from a request ashore to its result, and what importing takes.
Prints, and fails on no time.

    compare.py BUILD      (a release build; ./dev bench --python makes one)

Both ask the same simulated sonar, which runs as a process of its own, in turns, a process each; the medians of all
requests are compared. Ashore it is that of `qx5 serve`, at the other end of a mosquitto broker by TLS, all on this machine.
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

ROUNDS = 7
COUNT = 3000
FAR_ROUNDS = 5
FAR_COUNT = 500
IMPORTS = 21

PYTHON = """
import sys, time
import qx5
with qx5.connect(sys.argv[1]) as sonar:
    times = []
    for i in range(int(sys.argv[2])):
        begin = time.perf_counter_ns()
        sonar.request(x5Range=50.0 + i % 100)
        times.append(time.perf_counter_ns() - begin)
    print(*times, sep="\\n")
"""

FAR_PYTHON = """
import sys, time
import qx5
url, group, vessel, name, ca, cert, key, count = sys.argv[1:]
with qx5.connect(url, group=group, vessel=vessel, sonar=name, ca=ca, cert=cert, key=key) as sonar:
    with sonar.lease(seconds=600):
        times = []
        for i in range(int(count)):
            begin = time.perf_counter_ns()
            sonar.request(x5Range=50.0 + i % 100).wait()
            times.append(time.perf_counter_ns() - begin)
    print(*times, sep="\\n")
"""


def lines_of(command: list[str | os.PathLike[str]], environment: dict[str, str]) -> list[float]:
    """What a program prints, as numbers."""
    done = subprocess.run(command, stdout=subprocess.PIPE, text=True, env=environment, check=True)
    return [float(line) for line in done.stdout.split()]


def far_times(build: pathlib.Path, environment: dict[str, str]) -> tuple[list[float], list[float]]:
    """Of C++ and of Python ashore, in ns."""
    sys.path[:0] = [str(build / "python"), str(pathlib.Path(__file__).resolve().parents[2] / "python" / "tests")]
    from fleet_stage import GROUP, SONARS, VESSEL, Stage

    cpp: list[float] = []
    python: list[float] = []
    with tempfile.TemporaryDirectory() as folder:
        stage = Stage(pathlib.Path(folder))
        try:
            files = stage.certificates.of("otto")
            line = [stage.url, GROUP, VESSEL, SONARS[0], files["ca"], files["cert"], files["key"], str(FAR_COUNT)]
            for _ in range(FAR_ROUNDS):
                cpp += lines_of([build / "bin" / "qx5-python-far-bench", *line], environment)
                python += lines_of(["/usr/bin/python3", "-P", "-c", FAR_PYTHON, *line], environment)
        finally:
            stage.close()
    return cpp, python


def main(build: pathlib.Path) -> None:
    """Prints the table."""
    environment = {**os.environ, "PYTHONPATH": str(build / "python")}
    simulator = subprocess.Popen([build / "bin" / "qx5", "sim", "--port", "0"], stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE, text=True)
    assert simulator.stdout is not None
    address = simulator.stdout.readline().strip().rpartition(" ")[2]
    cpp: list[float] = []
    python: list[float] = []
    try:
        for _ in range(ROUNDS):
            cpp += lines_of([build / "bin" / "qx5-python-bench", address, str(COUNT)], environment)
            python += lines_of(["/usr/bin/python3", "-P", "-c", PYTHON, address, str(COUNT)], environment)
    finally:
        simulator.terminate()
        simulator.communicate()
    far_cpp, far_python = (statistics.median(each) / 1000 for each in far_times(build, environment))
    importing = ("import time; begin = time.perf_counter(); import qx5; print(time.perf_counter() - begin)")
    imports = [lines_of(["/usr/bin/python3", "-P", "-c", importing], environment)[0] for _ in range(IMPORTS)]
    in_cpp, in_python = (statistics.median(each) / 1000 for each in (cpp, python))
    rows = [
        ("request to echo, C++", f"{in_cpp:.1f} us", ""),
        ("request to echo, Python", f"{in_python:.1f} us", ""),
        ("Python more than C++", f"{in_python - in_cpp:.1f} us", "under 30 us"),
        ("ashore to result, C++", f"{far_cpp:.0f} us", ""),
        ("ashore to result, Python", f"{far_python:.0f} us", ""),
        ("Python ashore / C++", f"{far_python / far_cpp:.2f}", "at most 1.2"),
        ("import qx5", f"{statistics.median(imports):.3f} s", "under 0.15 s"),
    ]
    print(f"medians of {ROUNDS} x {COUNT} requests, {FAR_ROUNDS} x {FAR_COUNT} ashore, and {IMPORTS} imports, {time.strftime('%Y-%m-%d')}")
    for what, value, bound in rows:
        print(f"  {what:<28}{value:>12}  {bound}")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: compare.py BUILD")
    main(pathlib.Path(sys.argv[1]).absolute())
