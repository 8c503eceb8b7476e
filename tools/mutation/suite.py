"""The project's tests as ctest knows them: which of them reach a mutant, and whether they fall when it is on."""

import collections
import dataclasses
import json
import mmap
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time

GTEST_FILTER = "--gtest_filter="
GTEST_LAST = re.compile(rb"^\[ RUN      \] (\S+)", re.MULTILINE)
GTEST_FAILED = re.compile(rb"^\[  FAILED  \] ([^\s,]+)", re.MULTILINE)

# A mutant may ask for memory without end; the machine is not to feel it.
MEMORY_LIMIT_KIB = 8 * 1024 * 1024

# A test that takes longer than this is dear, and runs in a process of its own, late.
DEAR_SECONDS = 1.0

# On a busy machine a run may take so many times its limit.
MOST_PATIENCE = 6

# So many tests that neighbours fell to are tried first.
LIKELY_TESTS = 4


@dataclasses.dataclass(frozen=True)
class Test:
    name: str
    command: tuple[str, ...]
    folder: str
    environment: tuple[tuple[str, str], ...]

    @property
    def filter(self) -> str | None:
        """What a program of GoogleTest calls the test."""
        return next((word[len(GTEST_FILTER):] for word in self.command if word.startswith(GTEST_FILTER)), None)

    @property
    def group(self) -> str:
        """Tests of one group can run in one process."""
        return self.command[0] if self.filter is not None else self.name


@dataclasses.dataclass
class Outcome:
    fell: bool
    by_time: bool
    seconds: float
    output: bytes
    ended_by_signal: bool = False


@dataclasses.dataclass
class Reach:
    """How long one test takes, the mutants whose places it runs through, and those that have another value there."""

    seconds: float
    reached: list[int]
    different: list[int]


def list_tests(build: pathlib.Path, wanted: str, left_out: str) -> list[Test]:
    """The tests of a build folder whose names fit one regular expression and not another, which may be empty."""
    command = ["ctest", "--test-dir", str(build), "--show-only=json-v1"]
    told = json.loads(subprocess.run(command, check=True, capture_output=True).stdout)
    tests = []
    for row in told["tests"]:
        if not re.search(wanted, row["name"]) or (left_out and re.search(left_out, row["name"])):
            continue
        if "command" not in row:
            raise SystemExit(f"the test {row['name']} has not been built")
        properties = {each["name"]: each["value"] for each in row.get("properties", [])}
        environment = tuple(tuple(each.split("=", 1)) for each in properties.get("ENVIRONMENT", []))
        folder = properties.get("WORKING_DIRECTORY", str(build))
        tests.append(Test(row["name"], tuple(row["command"]), folder, environment))
    return tests


def ends_within(process: subprocess.Popen, limit: float) -> bool:
    """Waits for the end of a process. What it spends in the queue for a processor does not count, within reason."""
    started = time.monotonic()
    left = limit
    while left > 0:
        try:
            process.wait(left)
            return True
        except subprocess.TimeoutExpired:
            spent = time.monotonic() - started
            left = min(limit + queued_seconds(process.pid), MOST_PATIENCE * limit) - spent
    return False


def queued_seconds(session: int) -> float:
    """How long the threads of a session's processes have been ready to run, and were not."""
    total = 0
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if os.getsid(int(folder.name)) == session:
                for file in folder.glob("task/*/schedstat"):
                    total += int(file.read_text().split()[1])
        except (OSError, ValueError, IndexError):
            continue  # it has just ended
    return total / 1e9


def together(tests: list[Test]) -> list[str]:
    """The command that runs tests of one group and ends at the first that falls."""
    if tests[0].filter is None:
        return list(tests[0].command)
    words = [word for word in tests[0].command if not word.startswith(GTEST_FILTER)]
    return [*words, "--gtest_fail_fast", GTEST_FILTER + ":".join(test.filter for test in tests)]


class Runner:
    """Runs tests, each process with a folder of its own for what it leaves behind. Any thread."""

    def __init__(self, scratch: pathlib.Path):
        self.scratch = scratch
        self.ended = threading.Event()
        shutil.rmtree(scratch, ignore_errors=True)
        scratch.mkdir(parents=True)

    def run(self, tests: list[Test], limit: float, mutant: int = 0, reached: pathlib.Path | None = None) -> Outcome:
        folder = tempfile.mkdtemp(dir=self.scratch)
        environment = dict(os.environ, TMPDIR=folder, **dict(tests[0].environment))
        environment.pop("QX5_MUTANT", None)
        if mutant:
            environment["QX5_MUTANT"] = str(mutant)
        if reached is not None:
            environment["QX5_MUTANTS_REACHED"] = str(reached)
        limited = ["sh", "-c", f'ulimit -c 0; ulimit -v {MEMORY_LIMIT_KIB}; exec "$@"', "sh", *together(tests)]
        started = time.monotonic()
        with tempfile.TemporaryFile(dir=folder) as output:
            process = subprocess.Popen(limited, cwd=tests[0].folder, env=environment, stdin=subprocess.DEVNULL,
                                       stdout=output, stderr=subprocess.STDOUT, start_new_session=True)
            try:
                by_time = not ends_within(process, limit)
            finally:
                # Programs that the test has started go with it.
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                process.wait()
            output.seek(0)
            text = output.read()
        shutil.rmtree(folder, ignore_errors=True)
        return Outcome(by_time or process.returncode != 0, by_time, time.monotonic() - started, text,
                       process.returncode < 0)

    def reached_by(self, test: Test, count: int, limit: float) -> tuple[Reach, Outcome]:
        """What becomes of the mutants, numbered below `count`, in one test with none of them on."""
        with tempfile.NamedTemporaryFile(dir=self.scratch) as file:
            file.truncate(2 * count)
            outcome = self.run([test], limit, reached=pathlib.Path(file.name))
            with mmap.mmap(file.fileno(), 2 * count, access=mmap.ACCESS_READ) as flags:
                reached = [number for number in range(1, count) if flags[number]]
                different = [number for number in reached if flags[count + number]]
        return Reach(outcome.seconds, reached, different), outcome


def at_fault(tests: list[Test], outcome: Outcome) -> Test | None:
    """Which of the tests that ran together has fallen, or was running last."""
    if len(tests) == 1:
        return tests[0]
    failed = GTEST_FAILED.findall(outcome.output) or GTEST_LAST.findall(outcome.output)[-1:]
    if not failed:
        return None
    name = failed[0].decode()
    return next((test for test in tests if test.filter == name), None)


@dataclasses.dataclass
class Verdict:
    state: str  # "killed", "killed by time", "survived", "not reached"
    by: str = ""
    # What tells the tests that it survived, as they were then.
    passed: set[str] = dataclasses.field(default_factory=set, compare=False)

    @property
    def killed(self) -> bool:
        return self.state.startswith("killed")


class Judge:
    """Decides about mutants: runs what reaches them until one test falls. First come the tests that neighbours fell to,
    then the tests of each program together, the cheapest first; a test that takes long is run alone. Any thread.
    """

    def __init__(self, runner: Runner, seconds: dict[str, float], least_limit: float):
        self.runner = runner
        self.seconds = seconds  # of each test, without a mutant
        self.least_limit = least_limit
        self.killers: collections.Counter[tuple[str, str]] = collections.Counter()
        self.lock = threading.Lock()

    def judge(self, number: int, places: tuple[str, ...], tests: list[Test]) -> Verdict:
        """`places`: mutants of one place tend to fall to one test; the narrowest place first."""
        for batch in self.batches(places, tests):
            verdict = self.judge_by_batch(number, batch)
            if verdict is not None:
                with self.lock:
                    for place in places:
                        self.killers[place, verdict.by] += 1
                return verdict
        return Verdict("survived")

    def batches(self, places: tuple[str, ...], tests: list[Test]) -> list[list[Test]]:
        with self.lock:
            kills = {test: tuple(self.killers[place, test.name] for place in places) for test in tests}
        likely = [test for test in sorted(tests, key=lambda each: kills[each], reverse=True) if any(kills[test])]
        likely = likely[:LIKELY_TESTS]
        others = [test for test in tests if test not in likely]
        return self.by_cost(likely) + self.by_cost(others)

    def by_cost(self, tests: list[Test]) -> list[list[Test]]:
        """Tests that can run in one process; the cheapest of these processes first."""
        groups: dict[str, list[Test]] = collections.defaultdict(list)
        for test in tests:
            groups[test.name if self.is_dear(test) else test.group].append(test)
        return sorted(groups.values(), key=self.expected)

    def is_dear(self, test: Test) -> bool:
        return self.seconds[test.name] >= DEAR_SECONDS

    def expected(self, tests: list[Test]) -> float:
        return sum(self.seconds[test.name] for test in tests)

    def judge_by_batch(self, number: int, tests: list[Test]) -> Verdict | None:
        limit = self.least_limit + 3 * self.expected(tests)
        left = list(tests)
        for _ in range(3):
            if not left:
                return None
            outcome = self.runner.run(left, limit, mutant=number)
            if not outcome.fell:
                return None
            culprit = at_fault(left, outcome)
            if culprit is None:
                culprit = left[0]
            if outcome.by_time:
                return Verdict("killed by time", culprit.name)
            # What counts is that the test falls as ctest runs it: alone, and not by chance.
            if self.runner.run([culprit], limit, mutant=number).fell:
                return Verdict("killed", culprit.name)
            left.remove(culprit)
        # They disturb one another with this mutant: each for itself.
        for test in left:
            outcome = self.runner.run([test], limit, mutant=number)
            if outcome.fell:
                return Verdict("killed by time" if outcome.by_time else "killed", test.name)
        return None
