#!/usr/bin/env python3
"""Runs every block of code of a page of the manual, in order, in a folder of its own, and compares what is shown with what comes.

    run_page.py --program BUILD/bin/qx5 docs/manual/day.md

Ports that a page names stand for free ones on 127.0.0.1, hosts such as broker.example for this machine. How a block is run
follows from its language: `console` has commands behind `$ ` and what they print, `sh` commands, `python` a program, `json` a
document (a scenario that is no file of the page is checked). Comments directly above a block, which readers do not see, say what is special:

    <!-- not run: REASON -->            it cannot be, and why
    <!-- place: /FOLDER -->             stands for one of that name in the page's own folder
    <!-- before: COMMAND -->            is run first, in the order of the comments
    <!-- beside: COMMAND; until: TEXT -->   is started first and runs on to the end of the page; TEXT tells that it is up
    <!-- meanwhile: COMMAND -->         is run once the block's last command has printed its first line
    <!-- after: COMMAND -->             is run last, and has to succeed
    <!-- varies: NAME, NAME -->         what WILDCARDS calls so in the text shown may be another
    <!-- ends with: CODE -->            the exit code of the block's last command, 0 otherwise
    <!-- runs on until: TEXT -->        the block's last command runs on to the end of the page
    <!-- file: NAME -->                 the block is a file of that name, or goes on with it
    <!-- shown by: COMMAND -->          prints the block's lines, among others
"""

import argparse
import json
import os
import pathlib
import re
import shlex
import signal
import socket
import subprocess
import sys
import tempfile
import time

SOURCE = pathlib.Path(__file__).resolve().parents[2]
LIMIT = 300.0
WILDCARDS = {
    "time": r"\d{4}-\d\d-\d\d[T ]\d\d:\d\d:\d\d(?:\.\d+)?(?:Z| UTC)?",
    "clock": r"\d\d:\d\d:\d\d\.\d{3}",
    "number": r"-?\d+(?:\.\d+)?",
    "connection": r"\d+ > 10\.1\.0\.1",
}
SHELLS = {"zsh": "zsh --no-rcs --err-exit", "fish": "fish --no-config"}
MARKS = ("not run", "place", "before", "beside", "meanwhile", "after", "varies", "ends with", "runs on until", "file",
         "shown by")
MARK = re.compile(r"<!-- ([a-z ]+): (.*) -->$")
SERVER = re.compile(r"(\(\"127\.0\.0\.1\", )(\d{2,5})\b")
ENDPOINT = re.compile(r"(?<![\w.])(?:127\.0\.0\.1|[a-z-]+\.example|192\.168\.\d+\.\d+):(\d{2,5})\b")
PORT = re.compile(r"(--port[ =])(\d{2,5})\b")


class Failure(Exception):
    pass


def beginning(text, most=40):
    lines = text.splitlines()
    return "\n".join(lines[:most] + ([f"... and {len(lines) - most} lines more"] if len(lines) > most else []))


class Block:
    def __init__(self, line, language, marks):
        self.line, self.language, self.marks = line, language, marks
        self.lines = []

    def all(self, name):
        return [value for key, value in self.marks if key == name]

    def one(self, name):
        values = self.all(name)
        return values[0] if values else None

    @property
    def text(self):
        return "\n".join(self.lines) + "\n"


def blocks_of(page):
    blocks, marks, block, indent = [], [], None, 0
    before, is_list = "", False
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        bare = line.strip()
        if block is not None:
            if bare == "```":
                blocks.append(block)
                block = None
            else:
                block.lines.append(line[indent:])
        elif bare.startswith("```"):
            indent = len(line) - len(line.lstrip())
            block, marks = Block(number, bare[3:], marks), []
        elif found := MARK.match(bare):
            if found.group(1) not in MARKS:
                raise Failure(f"line {number}: there is no mark '{found.group(1)}'")
            marks.append(found.groups())
        elif marks:
            raise Failure(f"line {number}: the marks above it belong to no block")
        elif line.startswith("    ") and not before and not is_list:
            raise Failure(f"line {number}: a block of code without ``` has no language")
        if block is None and line and not line.startswith(" "):
            is_list = re.match(r"(-|\d+\.) ", line) is not None
        before = bare
    return blocks


class Stands:
    """What stands here for what a page names: free ports, held so that nobody takes them before a program here listens, and
    folders."""

    def __init__(self):
        self.here, self.shown, self.places, self.held = {}, {}, {}, []

    def of(self, number):
        if number not in self.here:
            held = socket.socket()
            held.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            held.bind(("127.0.0.1", 0))
            self.held.append(held)
            self.here[number] = str(held.getsockname()[1])
        return self.here[number]

    def place(self, shown, folder):
        here = folder / shown.lstrip("/")
        here.parent.mkdir(parents=True, exist_ok=True)
        self.places[shown] = str(here)
        self.shown[str(here)] = shown

    def as_here(self, text):
        for shown, here in self.places.items():
            text = text.replace(shown, here)

        def endpoint(found):
            here = f"127.0.0.1:{self.of(found.group(1))}"
            if self.shown.get(here, "127.").startswith("127."):
                self.shown[here] = found.group(0)
            return here

        def port(found):
            return found.group(1) + self.of(found.group(2))

        return SERVER.sub(port, PORT.sub(port, ENDPOINT.sub(endpoint, text)))

    def as_shown(self, text):
        for here, shown in self.shown.items():
            text = text.replace(here, shown)
        for shown, here in self.here.items():
            text = re.sub(rf"\b{here}\b", shown, text)
        return text


def pattern_of(line, names):
    """What a line that is shown stands for."""
    if not names:
        return re.escape(line)
    varying = "|".join(f"(?P<{name}>{WILDCARDS[name]})" for name in names)
    pattern, end = "", 0
    for found in re.finditer(varying, line):
        pattern += re.escape(line[end : found.start()]) + f"(?:{WILDCARDS[found.lastgroup]})"
        end = found.end()
    return pattern + re.escape(line[end:])


class Run:
    """The blocks of one page, each after the other."""

    def __init__(self, program, python, folder):
        self.folder, self.stands, self.beside = folder, Stands(), []
        for name in ("home", "run"):
            (folder / name).mkdir(mode=0o700)
        for name in ("docs", "examples", "python", "tests"):
            (folder / name).symlink_to(SOURCE / name)
        self.environment = {
            "PATH": f"{program.parent}:/usr/bin:/bin:/usr/sbin:/sbin", "HOME": str(folder / "home"), "LC_ALL": "C.UTF-8",
            "TZ": "UTC", "XDG_RUNTIME_DIR": str(folder / "run"), "XDG_CONFIG_HOME": str(folder / "home/.config"),
            "QT_QPA_PLATFORM": "offscreen", "PYTHONPATH": str(python), "PYTHONDONTWRITEBYTECODE": "1",
            "QX5_BUILD": str(program.parents[1]), "QX5_SOURCE": str(SOURCE),
        }

    def start(self, command, log):
        with open(log, "wb") as file:
            return subprocess.Popen(["bash", "-euo", "pipefail", "-c", self.stands.as_here(command)], cwd=self.folder,
                                    env=self.environment, stdin=subprocess.DEVNULL, stdout=file,
                                    stderr=subprocess.STDOUT, start_new_session=True)

    def said(self, log):
        return self.stands.as_shown(pathlib.Path(log).read_text(encoding="utf-8", errors="replace"))

    def wait(self, condition, process, what):
        """True when it holds, False when the process ended before."""
        end = time.monotonic() + LIMIT
        while True:
            ended = process.poll() is not None
            if condition():
                return True
            if ended:
                return False
            if time.monotonic() > end:
                raise Failure(what())
            time.sleep(0.02)

    def start_beside(self, command, until):
        log = self.folder / f"beside-{len(self.beside)}.log"
        process = self.start(f"exec {command}", log)
        self.beside.append((command, process, log))
        if not self.wait(lambda: until in self.said(log), process, lambda: f"no '{until}' of {command}:\n{self.said(log)}"):
            raise Failure(f"{command} ended with {process.returncode}:\n{self.said(log)}")
        return self.said(log)

    def command(self, command, code=0, meanwhile=None, first=None):
        """What it prints; `meanwhile` is run once its output has a line that is as `first`."""
        log = self.folder / "output.log"
        process = self.start(command, log)
        try:
            if meanwhile:
                if not self.wait(lambda: re.search(rf"(?m)^{first}$", self.said(log)), process,
                                 lambda: f"{command} does not print its first line:\n{self.said(log)}"):
                    raise Failure(f"{command} ended before its first line came:\n{self.said(log)}")
                other = self.folder / "meanwhile.log"
                if self.start(meanwhile, other).wait(LIMIT) != 0:
                    raise Failure(f"{meanwhile} failed:\n{self.said(other)}")
            ended = process.wait(LIMIT)
        except subprocess.TimeoutExpired:
            raise Failure(f"{command} goes on for {LIMIT:.0f} s:\n{beginning(self.said(log))}") from None
        finally:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
        if ended != code:
            raise Failure(f"{command}\nended with {ended}, not with {code}:\n{beginning(self.said(log))}")
        return self.said(log)

    def compare(self, command, shown, said, names):
        patterns = []
        for line in shown:
            patterns.append(r"(?:.*\n)*?" if line == "..." else pattern_of(line, names) + r"\n")
        if not re.fullmatch("".join(patterns), said):
            raise Failure(f"{command}\nprints\n{beginning(said)}\nand the page shows\n" + "\n".join(shown))

    def console(self, block):
        commands = []
        goes_on = False
        for line in block.lines:
            if line.startswith("$ ") or goes_on:
                if goes_on:
                    commands[-1][0] += "\n" + line
                else:
                    commands.append([line[2:], []])
                goes_on = line.endswith("\\")
            elif not commands:
                raise Failure("it begins with what no command has printed")
            else:
                commands[-1][1].append(line)
        names = [name.strip() for name in (block.one("varies") or "").split(",") if name.strip()]
        for number, (command, shown) in enumerate(commands, 1):
            is_last = number == len(commands)
            if is_last and (until := block.one("runs on until")):
                said = self.start_beside(command, until)
            else:
                said = self.command(command, int(block.one("ends with") or 0) if is_last else 0,
                                    block.one("meanwhile") if is_last else None,
                                    pattern_of(shown[0], names) if shown else None)
            self.compare(command, shown, said, names)

    def run(self, block):
        for key, value in block.marks:
            if key == "place":
                self.stands.place(value, self.folder)
            elif key == "beside":
                command, _, until = value.partition("; until: ")
                self.start_beside(command, until)
            elif key == "before":
                self.command(value)
        name = block.one("file")
        if block.language == "json":
            try:
                document = json.loads(block.text)
            except ValueError as error:
                raise Failure(f"it is no JSON: {error}") from None
            if ("steps" in document or "scenarios" in document) and not name:
                (self.folder / "scenario.json").write_text(block.text, encoding="utf-8")
                self.command("qx5 scenario --check scenario.json")
        if name:
            file = self.folder / name
            file.parent.mkdir(parents=True, exist_ok=True)
            with file.open("a", encoding="utf-8") as out:
                out.write(self.stands.as_here(block.text))
        elif shown_by := block.one("shown by"):
            said = self.command(shown_by, int(block.one("ends with") or 0))
            names = [each.strip() for each in (block.one("varies") or "").split(",") if each.strip()]
            if not re.search("(?m)^" + "".join(pattern_of(line, names) + r"\n" for line in block.lines), said):
                raise Failure(f"{shown_by} prints\n{beginning(said)}\nand the page shows\n{block.text}")
        elif block.language == "console":
            self.console(block)
        elif block.language == "sh":
            if until := block.one("runs on until"):
                self.start_beside(block.text.rstrip("\n"), until)
            else:
                self.command(block.text, int(block.one("ends with") or 0))
        elif block.language == "python":
            (self.folder / "block.py").write_text(self.stands.as_here(block.text), encoding="utf-8")
            self.command("/usr/bin/python3 block.py")
        elif block.language in SHELLS:
            (self.folder / "block").write_text(self.stands.as_here(block.text), encoding="utf-8")
            self.command(f"{SHELLS[block.language]} block")
        elif block.language != "json":
            raise Failure(f"nothing runs a block of '{block.language}', and it has no mark that says why not")
        for command in block.all("after"):
            self.command(command)

    def end(self):
        """Ends what runs beside, the last first; each has to end in order."""
        failures = []
        for command, process, log in reversed(self.beside):
            if process.poll() is None:
                process.send_signal(signal.SIGTERM)
            try:
                code = process.wait(LIMIT)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                code = "no end"
            if code not in (0, -signal.SIGTERM):
                failures.append(f"{command} ended with {code}:\n{self.said(log)}")
        return failures


def main():
    options = argparse.ArgumentParser(description="Runs every block of code of pages.")
    options.add_argument("--program", type=pathlib.Path, required=True)
    options.add_argument("--python", type=pathlib.Path, default=pathlib.Path("/nonexistent"))
    options.add_argument("--keep", action="store_true", help="go on after a failure")
    options.add_argument("page", type=pathlib.Path)
    options = options.parse_args()
    try:
        blocks = blocks_of(options.page)
    except Failure as failure:
        sys.exit(f"{options.page}: {failure}")
    done, reasons, failures = 0, [], []
    with tempfile.TemporaryDirectory(prefix="qx5-page-") as folder:
        run = Run(options.program.resolve(), options.python.resolve(), pathlib.Path(folder))
        try:
            for block in blocks:
                if reason := block.one("not run"):
                    reasons.append(f"line {block.line}: {reason}")
                    continue
                try:
                    run.run(block)
                    done += 1
                except Failure as failure:
                    failures.append(f"{options.page}:{block.line}: {failure}")
                    if not options.keep:
                        break
        finally:
            failures += run.end()
    print(f"{options.page.name}: {done} of {len(blocks)} blocks run, {len(reasons)} not")
    for reason in reasons:
        print(f"  not run, {reason}")
    for failure in failures:
        print(failure, file=sys.stderr)
    sys.exit(1 if failures else 0)


main()
