#!/usr/bin/python3
"""Changes the code in many small ways, one at a time, and tells which changes no test notices.

All mutants are compiled in at once, each behind a switch that an environment variable sets, so that there is one build.
A first pass tells which tests run through which mutants; each mutant is then given to these alone, until one falls.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import hashlib
import json
import multiprocessing
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time
import tomllib

import effects
import schemata
import sites
import suite
from sites import Mutant

# A line of what the compiler says that names a place: of an error, or of what led to an error in a template.
COMPLAINT = re.compile(r"^(\S+?):(\d+):\d+: +(?:error|fatal error|required from)", re.MULTILINE)

# Rounds of building without what did not compile in the round before.
BUILD_ROUNDS = 6

# So often what is known is written down.
KEEP_SECONDS = 30.0

# Files of the project that no test of a mutant reads.
NOT_READ = ("CONTRIBUTING.md", "dev", "scripts", "tools")

# Of a mutant that survives without a run.
NEVER_DIFFERS = "has the same value in every test"


def say(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="mutate", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", nargs="*", default=["DeviceDLLs/QX5SonarConfiguration", "commands"],
                        help="folder or file whose sources are mutated, relative to the project (those of the plug-in and its commands)")
    parser.add_argument("--project", type=pathlib.Path, default=pathlib.Path.cwd(), help="the project's folder")
    parser.add_argument("--build", type=pathlib.Path, help="where the mutated copy lives (build/mutate)")
    parser.add_argument("--equivalent", type=pathlib.Path, help="TOML file of mutants that change nothing, and why")
    parser.add_argument("--tests", default="", metavar="REGEX", help="only these tests are run")
    parser.add_argument("--leave-out", default="", metavar="REGEX", help="tests that are not run")
    parser.add_argument("--sample", type=int, metavar="N", help="only N mutants, chosen at random")
    parser.add_argument("--seed", type=int, default=1, help="for --sample")
    parser.add_argument("--again", action="store_true", help="only what was not killed the last time, and what is new")
    parser.add_argument("--list", action="store_true", help="list the mutants and run nothing")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1, help="processes at a time")
    parser.add_argument("--least-limit", type=float, default=15.0, metavar="SECONDS",
                        help="time that each run has at least")
    options = parser.parse_args()
    options.project = options.project.resolve()
    options.build = (options.build or options.project / "build" / "mutate").resolve()
    return options


class Copy:
    """A copy of the project beside it, whose sources are replaced by mutated ones, with a build folder of its own."""

    def __init__(self, project: pathlib.Path, folder: pathlib.Path):
        self.project = project
        self.folder = folder
        self.source = folder / "source"
        # As deep in the copy as the project's own build folders lie in the project: a compiler's cache then knows what
        # has not been mutated.
        self.build = self.source / "build" / "mutate"

    def files(self) -> list[str]:
        """All files of the project, relative to it; of a folder under no version control, all that lie there."""
        command = ["git", "-C", str(self.project), "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
        listed = subprocess.run(command, capture_output=True, check=False)
        names = [name.decode() for name in listed.stdout.split(b"\0") if name]
        if listed.returncode != 0 or not names:
            names = [str(path.relative_to(self.project)) for path in self.project.rglob("*") if path.is_file()]
        return [name for name in names if (self.project / name).is_file()]

    def refresh(self, mutated: set[str]) -> None:
        """Brings the copy up to date; what is as it was keeps its time. Files to be mutated are written later."""
        names = self.files()
        for name in names:
            target = self.source / name
            if name in mutated and target.exists():
                continue
            content = (self.project / name).read_bytes()
            if not target.exists() or target.read_bytes() != content:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(content)
                shutil.copymode(self.project / name, target)
        known = set(names)
        for path in [each for each in self.source.rglob("*") if each.is_file()]:
            name = path.relative_to(self.source)
            if name.parts[0] != "build" and str(name) not in known:
                path.unlink()

    def configure(self) -> None:
        # With the library's own checks, a look behind the end of a container ends the test.
        run_quietly(["cmake", "-S", str(self.source), "-B", str(self.build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DQX5_TOGETHER=OFF",
                     "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DCMAKE_CXX_FLAGS=-D_GLIBCXX_ASSERTIONS"])
        # Headers that are written by tools must be there before a source can be read.
        targets = subprocess.run(["ninja", "-C", str(self.build), "-t", "targets", "all"], capture_output=True,
                                 check=True)
        tools = re.findall(rb"^(\w+_autogen): phony", targets.stdout, re.MULTILINE)
        if tools:
            run_quietly(["ninja", "-C", str(self.build), *[name.decode() for name in tools]])

    def write(self, name: str, content: bytes) -> None:
        target = self.source / name
        if not target.exists() or target.read_bytes() != content:
            target.write_bytes(content)

    def compile(self, jobs: int) -> str | None:
        """Builds everything. What the compiler said, if it failed."""
        command = ["ninja", "-C", str(self.build), "-k", "0", "-j", str(jobs)]
        done = subprocess.run(command, capture_output=True, check=False)
        return None if done.returncode == 0 else (done.stdout + done.stderr).decode(errors="replace")


    def states_of(self, tests: list[suite.Test], count: int) -> dict[str, str]:
        """What each test runs on, by its name: its program, files that its command names, and what all share."""
        files = [path for path in sorted(self.source.rglob("*")) if path.suffix not in (".cpp", ".h") and
                 path.relative_to(self.source).parts[0] not in ("build", *NOT_READ)]
        built = [path for folder in ("bin", "lib") for path in sorted((self.build / folder).rglob("*"))]
        programs = {test.command[0] for test in tests if test.filter is not None}
        named = {word for test in tests for word in test.command}
        common = state_of([path for path in files + built if str(path) not in programs | (named & set(map(str, files)))])
        own = {word: state_of([pathlib.Path(word)]) for word in named if word.startswith("/")}
        return {test.name: " ".join([str(count), common, *test.command, *(own[word] for word in test.command
                                                                         if word in own)]) for test in tests}


def state_of(paths: list[pathlib.Path]) -> str:
    rows = [f"{path} {path.stat().st_mtime_ns} {path.stat().st_size}" for path in paths if path.is_file()]
    return hashlib.sha256("\n".join(rows).encode()).hexdigest()


def run_quietly(command: list[str]) -> None:
    done = subprocess.run(command, capture_output=True, check=False)
    if done.returncode != 0:
        raise SystemExit((done.stdout + done.stderr).decode(errors="replace") + f"\n{' '.join(command[:4])} ... failed")


def read_one(row: dict, originals: dict[str, bytes], root: str) -> list[Mutant]:
    return sites.find_mutants(row, originals, root)


def find_all(copy: Copy, names: list[str], jobs: int) -> list[Mutant]:
    """All mutants of the named files, in the order of their places."""
    originals = {str(copy.source / name): (copy.project / name).read_bytes() for name in names}
    rows = [row for path, row in sites.read_database(copy.build).items() if path in originals]
    # Reading takes a while: it is done anew when a source, a header of the project or the tool has changed.
    state = hashlib.sha256(json.dumps(rows).encode())
    for path in [*originals, *sorted(name for name in copy.files() if name.endswith(".h"))]:
        state.update((copy.project / path.removeprefix(f"{copy.source}/")).read_bytes())
    for module in (sites, effects):
        state.update(pathlib.Path(module.__file__).read_bytes())
    remembered = copy.folder / "mutants.json"
    if remembered.exists():
        memory = json.loads(remembered.read_text())
        if memory["state"] == state.hexdigest():
            return [Mutant(**row) for row in memory["mutants"]]
    with concurrent.futures.ProcessPoolExecutor(jobs, multiprocessing.get_context("spawn")) as pool:
        found = pool.map(read_one, rows, [originals] * len(rows), [str(copy.source)] * len(rows))
        unique = {(each.file, each.begin, each.end, each.how, each.mutated): each for some in found for each in some}
    mutants = sorted(unique.values(), key=lambda each: (each.file, each.begin, -each.end, each.mutated))
    rows_out = [dataclasses.asdict(each) for each in mutants]
    remembered.write_text(json.dumps({"state": state.hexdigest(), "mutants": rows_out}))
    return mutants


def build_mutants(copy: Copy, names: list[str], mutants: list[Mutant], jobs: int) -> list[Mutant]:
    """Writes and builds the mutated copy. Returns what compiles; its place in the list, from 1, is a mutant's number."""
    # What did not compile the last time is not tried again.
    file = copy.folder / "refused.json"
    refused = set(json.loads(file.read_text())) if file.exists() else set()
    mutants = [each for each, key in zip(mutants, unique_keys(mutants)) if key not in refused]
    for _ in range(BUILD_ROUNDS):
        by_file = collections.defaultdict(list)
        for number, mutant in enumerate(mutants, 1):
            by_file[mutant.file].append((number, mutant))
        for name in names:
            content = (copy.project / name).read_bytes()
            copy.write(name, schemata.write_schemata(content, by_file[name]) if by_file[name] else content)
        failure = copy.compile(jobs)
        if failure is None:
            if refused:
                file.write_text(json.dumps(sorted(refused), indent=0))
                say(f"{len(refused)} mutants do not compile and are left out")
            return mutants
        at_fault = {(str(pathlib.Path(copy.build, file).resolve()), int(line))
                    for file, line in COMPLAINT.findall(failure)}
        kept = [each for each in mutants if not is_at(each, copy, at_fault)]
        if len(kept) == len(mutants):
            raise SystemExit(failure + "\nthe mutated copy does not compile")
        (copy.folder / "refused.log").write_text(failure)
        refused |= set(unique_keys(mutants)) - set(unique_keys(kept))
        mutants = kept
    raise SystemExit("the mutated copy does not compile after many rounds")


def is_at(mutant: Mutant, copy: Copy, places: set[tuple[str, int]]) -> bool:
    content = (copy.project / mutant.file).read_bytes()
    last = mutant.line + content.count(b"\n", mutant.begin, mutant.end)
    path = str(copy.source / mutant.file)
    return any(file == path and mutant.line <= line <= last for file, line in places)


# What changes nothing


class Equivalents:
    """The mutants of which somebody has said why no test can notice them; matched by text, so that this stays true."""

    def __init__(self, file: pathlib.Path | None):
        self.rows: list[dict] = []
        if file is not None and file.exists():
            self.rows = tomllib.loads(file.read_text()).get("equivalent", [])
        self.used: set[int] = set()
        for row in self.rows:
            missing = {"file", "line", "mutants", "reason"} - set(row)
            if missing:
                raise SystemExit(f"{file}: a row lacks {', '.join(sorted(missing))}: {row}")

    def reason(self, mutant: Mutant) -> str | None:
        change = f"{mutant.original} => {mutant.mutated}"
        for index, row in enumerate(self.rows):
            if (row["file"] == mutant.file and row["line"] == mutant.line_text and change in row["mutants"] and
                    row.get("function", mutant.function) == mutant.function):
                self.used.add(index)
                return row["reason"]
        return None

    def stale(self, names: list[str]) -> list[dict]:
        """Rows of the mutated files that fit no mutant any more."""
        return [row for index, row in enumerate(self.rows) if index not in self.used and row["file"] in names]


# Running


@dataclasses.dataclass
class Result:
    mutant: Mutant
    verdict: suite.Verdict
    reason: str | None = None  # why it is equivalent


def unique_keys(mutants: list[Mutant]) -> list[str]:
    """A key for each mutant; the same change of the same text twice in one function is counted through."""
    seen: collections.Counter[str] = collections.Counter()
    keys = []
    for mutant in mutants:
        seen[mutant.key()] += 1
        keys.append(f"{mutant.key()} | {seen[mutant.key()]}")
    return keys


def measure(runner: suite.Runner, tests: list[suite.Test], count: int, copy: Copy,
            states: dict[str, str], jobs: int) -> dict[str, suite.Reach]:
    """What each test reaches, of those that hold without a mutant. What a test's files tell no other of, is remembered."""
    remembered = copy.folder / "reach.json"
    memory = json.loads(remembered.read_text()) if remembered.exists() else {}
    known = {name: suite.Reach(**row["reach"]) for name, row in memory.items() if states.get(name) == row["state"]}
    open_tests = [test for test in tests if test.name not in known]

    def one(test: suite.Test) -> suite.Reach | None:
        for _ in range(2):
            found, outcome = runner.reached_by(test, count + 1, 300.0)
            if not outcome.fell:
                return found
        say(f"{test.name} falls without a mutant and is left out")
        return None

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for test, found in zip(open_tests, pool.map(one, open_tests)):
            if found is not None:
                known[test.name] = found
    remembered.write_text(json.dumps({name: {"state": states[name], "reach": dataclasses.asdict(reach)}
                                      for name, reach in known.items()}))
    return known


class Memory:
    """The verdicts of earlier runs, by what the mutants are called; kept as they come."""

    def __init__(self, file: pathlib.Path, keys: list[str]):
        self.file = file
        self.keys = keys  # of the mutants, the first one's number is 1
        self.rows: dict[str, list] = json.loads(file.read_text()) if file.exists() else {}

    def of(self, number: int) -> suite.Verdict | None:
        row = self.rows.get(self.keys[number - 1])
        return suite.Verdict(row[0], row[1], set(row[2:])) if row is not None else None

    def forget(self, number: int) -> None:
        self.rows.pop(self.keys[number - 1], None)

    def note(self, number: int, verdict: suite.Verdict) -> None:
        self.rows[self.keys[number - 1]] = [verdict.state, verdict.by, *sorted(verdict.passed)]

    def keep(self) -> None:
        rows = [f"{json.dumps(key)}: {json.dumps(row)}" for key, row in self.rows.items()]
        self.file.write_text("{\n" + ",\n".join(rows) + "\n}\n")


def judge_all(mutants: list[Mutant], chosen: list[int], listed: set[int], copy: Copy, memory: Memory,
              options: argparse.Namespace) -> dict[int, suite.Verdict]:
    tests = suite.list_tests(copy.build, options.tests, options.leave_out)
    runner = suite.Runner(options.build / "scratch")
    say(f"Finding out which of {len(tests)} tests reach which of {len(mutants)} mutants")
    started = time.monotonic()
    states = copy.states_of(tests, len(mutants))
    reach = measure(runner, tests, len(mutants), copy, states, options.jobs)
    digests = {name: hashlib.sha256(f"{name} {state}".encode()).hexdigest()[:12] for name, state in states.items()}
    say(f"Known after {time.monotonic() - started:.0f} s")
    judge = suite.Judge(runner, {name: found.seconds for name, found in reach.items()}, options.least_limit)
    reaching: dict[int, list[suite.Test]] = collections.defaultdict(list)
    noticing: dict[int, list[suite.Test]] = collections.defaultdict(list)
    for test in tests:
        if test.name in reach:
            different = set(reach[test.name].different)
            for number in reach[test.name].reached:
                reaching[number].append(test)
                if not mutants[number - 1].differs or number in different:
                    noticing[number].append(test)
    verdicts: dict[int, suite.Verdict] = {}
    for number in chosen:
        if not reaching[number]:
            verdicts[number] = suite.Verdict("not reached")
        elif not noticing[number]:
            verdicts[number] = suite.Verdict("survived", NEVER_DIFFERS)
        if number in verdicts:
            memory.note(number, verdicts[number])
    # The tests that take long come when only few mutants are left, and spare those that are listed as equivalent. None
    # is run again with a mutant that it let pass.
    for dear in (False, True):
        given: dict[int, list[suite.Test]] = {}
        for number in chosen:
            if number not in verdicts or verdicts[number] == suite.Verdict("survived") and number not in listed:
                former = memory.of(number)
                given[number] = [test for test in noticing[number] if judge.is_dear(test) == dear and
                                 (former is None or digests[test.name] not in former.passed)]
        run_all(judge, mutants, given, verdicts, memory, digests, options.jobs)
    return verdicts


def run_all(judge: suite.Judge, mutants: list[Mutant], given: dict[int, list[suite.Test]],
            verdicts: dict[int, suite.Verdict], memory: Memory, digests: dict[str, str], jobs: int) -> None:
    """Adds the verdicts on the mutants that are given some tests, or none more."""
    say(f"Running {len(given)} mutants")
    started = kept = time.monotonic()

    def one(number: int) -> tuple[int, suite.Verdict]:
        mutant = mutants[number - 1]
        verdict = judge.judge(number, (f"{mutant.file} {mutant.function}", mutant.file), given[number])
        if verdict == suite.Verdict("survived"):
            former = memory.of(number)
            verdict.passed = {digests[test.name] for test in given[number]} | (former.passed if former else set())
        return number, verdict

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for count, (number, verdict) in enumerate(pool.map(one, given), 1):
            verdicts[number] = verdict
            memory.note(number, verdict)
            if time.monotonic() - kept > KEEP_SECONDS:
                memory.keep()
                kept = time.monotonic()
            if count % 100 == 0:
                say(f"{count} of {len(given)} after {time.monotonic() - started:.0f} s")
    memory.keep()


# Telling


def describe(mutant: Mutant) -> str:
    return f"{mutant.file}:{mutant.line}: {mutant.function}: {shorten(mutant.original)} => {shorten(mutant.mutated)}"


def shorten(text: str) -> str:
    return text if len(text) <= 110 else text[:107] + "..."


def report(results: list[Result], equivalents: Equivalents, names: list[str], is_whole: bool) -> int:
    """Prints survivors and the table. Returns the exit code."""
    survivors = [each for each in results if each.verdict.state == "survived" and each.reason is None]
    unreached = [each for each in results if each.verdict.state == "not reached" and each.reason is None]
    wrong = [each for each in results if each.reason is not None and each.verdict.killed]
    stale = equivalents.stale(names) if is_whole else []
    lists = (("Survived", survivors), ("Not reached", unreached), ("Listed as equivalent, and killed", wrong))
    for title, some in lists:
        if some:
            print(f"{title}:")
            for each in some:
                print("  " + describe(each.mutant) + (f"  [{each.verdict.by}]" if each.verdict.by else ""))
    for row in stale:
        print(f"Listed as equivalent, and there no more: {row['file']}: {row['line']}: {', '.join(row['mutants'])}")

    columns = ("mutants", "killed", "by time", "survived", "not reached", "equivalent")
    table: dict[str, collections.Counter[str]] = collections.defaultdict(collections.Counter)
    for each in results:
        for row in (table[each.mutant.file], table["all"]):
            row["mutants"] += 1
            if each.reason is not None and not each.verdict.killed:
                row["equivalent"] += 1
            elif each.verdict.state == "killed by time":
                row["killed"] += 1
                row["by time"] += 1
            else:
                row[each.verdict.state] += 1
    width = max([len(name) for name in table] + [4])
    print(f"\n{'file':{width}}  " + "  ".join(f"{name:>11}" for name in columns))
    for name in [*sorted(set(table) - {"all"}), "all"]:
        print(f"{name:{width}}  " + "  ".join(f"{table[name][column]:>11}" for column in columns))
    return 1 if survivors or unreached or wrong or stale else 0


def main() -> int:
    options = arguments()
    copy = Copy(options.project, options.build)
    names = sorted(name for name in copy.files() if name.endswith((".cpp", ".h")) and
                   any(name == folder or name.startswith(folder.rstrip("/") + "/") for folder in options.folder))
    if not names:
        raise SystemExit("mutate: no sources there: " + " ".join(options.folder))
    equivalents = Equivalents(options.equivalent)
    say("Copying and configuring")
    copy.refresh(set(names))
    copy.configure()
    say(f"Reading {len(names)} files")
    mutants = find_all(copy, names, options.jobs)
    if options.list:
        for mutant in mutants:
            print(describe(mutant))
        return 0
    say(f"Building with {len(mutants)} mutants")
    mutants = build_mutants(copy, names, mutants, options.jobs)
    memory = Memory(options.build / "results.json", unique_keys(mutants))
    former = {number: memory.of(number) for number in range(1, len(mutants) + 1)}
    chosen = list(former)
    if options.again:
        chosen = [number for number, verdict in former.items() if verdict is None or not verdict.killed]
        chosen.sort(key=lambda number: former[number] is not None)  # what is not known at all comes first
    if options.sample is not None:
        chosen = sorted(random.Random(options.seed).sample(chosen, min(options.sample, len(chosen))))
    if not options.again:
        for number in chosen:
            memory.forget(number)
    listed = {number for number in chosen if equivalents.reason(mutants[number - 1]) is not None}
    verdicts = judge_all(mutants, chosen, listed, copy, memory, options)
    if options.again and options.sample is None:
        verdicts = former | verdicts
    results = [Result(mutants[number - 1], verdict, equivalents.reason(mutants[number - 1]))
               for number, verdict in verdicts.items()]
    return report(results, equivalents, names, options.sample is None)


if __name__ == "__main__":
    sys.exit(main())
