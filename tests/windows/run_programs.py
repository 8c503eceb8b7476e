"""Runs the programs that were built for Windows under Wine, and looks at what they do: one test by its name.

Ends with 77, and a line that says why, where Wine or the programs are not there.
"""

import argparse
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parents[2]
SKIPPED = 77
# Of one program, in seconds; the first one of all also sets up what stands for the system, and sonars in turn take their time.
LIMIT = 250
# File names and words of several alphabets, one beyond the first 65,536 characters.
BEYOND_ASCII = "Größe Ωμέγα 深さ 🌊"


class Programs:
    """The programs in a build folder, and a scratch folder in which they run."""

    def __init__(self, build: pathlib.Path, scratch: pathlib.Path, linux: tuple[pathlib.Path, pathlib.Path]):
        self.build = build
        self.scratch = scratch
        self.linux_program, self.linux_plug_in = linux
        self.environment = dict(os.environ, WINEPREFIX=str(build / "wine"), WINEDEBUG="-all", LC_ALL="C.UTF-8",
                                # No programs of its own for a browser and for others' frameworks.
                                WINEDLLOVERRIDES="mscoree,mshtml=")
        self.environment.pop("DISPLAY", None)

    def start_system(self) -> None:
        """What stands for the system runs beside the programs, from the first one on. It takes seconds to come up, so it
        waits half a minute for a further program before it goes. It would hold on to the streams of whoever starts it."""
        for command in (["wineserver", "-p30"], ["wine", str(self.build / "bin/qx5.exe"), "--version"]):
            subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL, timeout=LIMIT, check=False)

    @property
    def plug_in(self) -> pathlib.Path:
        return self.build / "lib/qx5/QX5SonarConfiguration.dll"

    def start(self, *arguments: str, **environment: str) -> subprocess.Popen:
        return subprocess.Popen(["wine", str(self.build / "bin/qx5.exe"), *arguments], cwd=self.scratch,
                                env=self.environment | environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)

    def run(self, *arguments: str, code: int = 0, **environment: str) -> tuple[str, str]:
        """Standard output and standard error of `qx5.exe ARGUMENTS`, which has to end with that code."""
        program = self.start(*arguments, **environment)
        try:
            out, err = program.communicate(timeout=LIMIT)
        finally:
            program.kill()
        said = f"qx5.exe {' '.join(arguments)} ended with {program.returncode}\n{out.decode()}\n{err.decode()}"
        assert program.returncode == code, said
        assert b"\r" not in out + err, said
        return out.decode(), err.decode()

    @contextlib.contextmanager
    def sonar(self, *arguments: str):
        """A simulated sonar: its program and where it listens; ended by `quit`, in order."""
        program = self.start("sim", "--port", "0", *arguments)
        try:
            first = program.stdout.readline().decode()
            assert first.startswith("listening on 127.0.0.1:"), first
            yield program, first.split()[-1]
            if program.poll() is None:
                program.communicate(b"quit\n", timeout=LIMIT)
            assert program.returncode == 0, program.returncode
        finally:
            program.kill()
            program.wait()


def one_line(text: str, *parts: str) -> None:
    assert text.endswith("\n") and text.count("\n") == 1, text
    for part in parts:
        assert part in text, f"{part!r} is not in {text!r}"


def wine_is_set_up(programs: Programs) -> None:
    out, _ = programs.run("--version")
    assert re.match(r"qx5 \d+\.\d+\.\d+", out), out


def scenario_files() -> list[pathlib.Path]:
    # What drives the view takes a build with one.
    files = [file for file in sorted((SOURCE / "tests/scenarios").glob("*.json")) if not file.name.startswith("view_")]
    assert len(files) >= 24, files
    return files


def scenarios_match(programs: Programs) -> None:
    files = scenario_files()
    out, _ = programs.run("scenario", "--check", "--json", *map(str, files))
    told = [json.loads(line) for line in out.splitlines()]
    written = [json.loads(file.read_text()) for file in files]
    declared = sum(len(document["scenarios"] if isinstance(document, dict) else document) for document in written)
    assert len(told) == declared > 800, (len(told), declared)
    print(f"{len(told)} scenarios of {len(files)} files")


def scenarios_do_what_they_do_elsewhere(programs: Programs) -> None:
    # Sonars in turn take seconds of the clock, and are checked above.
    files = [str(file) for file in scenario_files() if file.name != "sequencing.json"]
    out, _ = programs.run("scenario", *files)
    there = subprocess.run([programs.linux_program, "scenario", *files], capture_output=True, timeout=LIMIT, check=True)
    assert out == there.stdout.decode(), "other results than on Linux"
    assert len(out) > 1_000_000, len(out)
    print(f"{len(out)} characters are the same")


def a_sonar_is_sent_to(programs: Programs) -> None:
    with programs.sonar("--state") as (sonar, endpoint):
        out, err = programs.run("send", "--sonar", endpoint, "x5Range=50", "x5BeamSteer=10,-10")
        assert err == "", err
        assert "command 1003 range" in out and "x5Range: asked 50, echoed 50, the sonar has 50\n" in out, out
        out, _ = programs.run("send", "--sonar", endpoint, "x5Range=99999", code=1)
        assert "the sonar has 500: differs\n" in out, out
        values = programs.run("get", "--sonar", endpoint, "x5Range")[0]
        assert values == "x5Range = 500 m\n", values
        said, _ = sonar.communicate(b"quit\n", timeout=LIMIT)
        assert b"1003 range" in said, said
    # Nobody is there any more.
    _, err = programs.run("send", "--sonar", endpoint, "--timeout", "200", "x5Range=50", code=1)
    one_line(err, endpoint)


def a_plug_in_is_loaded_and_unloaded(programs: Programs) -> None:
    out, err = programs.run("plugin", str(programs.plug_in))
    assert err == "", err
    assert out.splitlines()[1:] == ["device class QX5SonarConfigurationControlDevice",
                                    "view class QX5SonarConfigurationView",
                                    "display template QX5SONARCONFIGURATION", "and is unloaded again"], out


def what_does_not_fit_is_refused(programs: Programs) -> None:
    def refusal(file: pathlib.Path) -> str:
        return programs.run("plugin", str(file), code=1)[1]

    refused = programs.build / "lib/refused"
    one_line(refusal(refused / "loader_other_version.dll"), "version 5.6.1.0", "version 5.5.1.0")
    one_line(refusal(refused / "loader_refuses.dll"), "it refused to be attached and did not say why")
    one_line(refusal(refused / "loader_not_a_plugin.dll"), "the entry point RegisterDevices is missing")
    one_line(refusal(refused / "nowhere.dll"), "there is no such file")

    text = programs.scratch / "text.dll"
    text.write_text("some text")
    one_line(refusal(text), "it is not a module")
    cut = programs.scratch / "cut.dll"
    cut.write_bytes(programs.plug_in.read_bytes()[:100000])
    one_line(refusal(cut), "it is not a module")
    # The mark by which Linux knows its modules.
    other = programs.scratch / "plugin.so"
    other.write_bytes(b"\x7fELF\x02\x01\x01" + bytes(57))
    one_line(refusal(other), "it is built for Linux")


def modules_of_another_platform_are_refused(programs: Programs) -> None:
    _, err = programs.run("plugin", str(programs.linux_plug_in), code=1)
    one_line(err, programs.linux_plug_in.name, "it is built for Linux")
    there = subprocess.run([programs.linux_program, "plugin", programs.plug_in], capture_output=True, text=True,
                           timeout=LIMIT, check=False)
    assert there.returncode == 1, there
    one_line(there.stderr, programs.plug_in.name, "it is built for Windows")


def names_beyond_ascii_are_those_that_are_told(programs: Programs) -> None:
    folder = programs.scratch / BEYOND_ASCII
    folder.mkdir()
    file = folder / f"{BEYOND_ASCII}.json"
    scenario = [{"name": BEYOND_ASCII, "steps": [
        {"request": [["x5StackingValue", "int", 3], ["x5StackingEnabled", "bool", True]],
         "expect": [{"remote": 1603, "payload": "0103", "device": 0, "enumerator": -1},
                    {"echo": [["x5StackingEnabled", "bool", True], ["x5StackingValue", "int", 3]], "flags": 0}]}]}]
    file.write_text(json.dumps(scenario, ensure_ascii=False), encoding="utf-8")
    name = f"{BEYOND_ASCII}/{BEYOND_ASCII}"
    out, _ = programs.run("scenario", "--check", "--junit", f"{name}.xml", f"{name}.json")
    assert f"{name}.json" in out and f'"{BEYOND_ASCII}": matches' in out, out
    assert f'name="{BEYOND_ASCII}"' in file.with_suffix(".xml").read_text(encoding="utf-8")

    moved = folder / "QX5SonarConfiguration.dll"
    shutil.copy(programs.plug_in, moved)
    out, _ = programs.run("plugin", f"{BEYOND_ASCII}/{moved.name}")
    assert "and is unloaded again" in out, out
    _, err = programs.run("plugin", f"{BEYOND_ASCII}/none.dll", code=1)
    one_line(err, BEYOND_ASCII, "there is no such file")
    programs.run("plugin", f"{BEYOND_ASCII}/none.dll", "--log-file", f"{name}.log", code=1)
    assert file.with_suffix(".log").is_file(), os.listdir(folder)


def a_recording_is_written_and_read(programs: Programs) -> None:
    with programs.sonar() as (_, endpoint):
        programs.run("run", "--once", "--sonar", endpoint, "--record", f"{BEYOND_ASCII}.mcap")
        recording = programs.scratch / f"{BEYOND_ASCII}.mcap"
        assert recording.read_bytes().startswith(b"\x89MCAP0\r\n"), recording
        before = recording.read_bytes()
        _, err = programs.run("run", "--once", "--sonar", endpoint, "--record", recording.name, code=1)
        one_line(err, recording.name, "nothing is written over a file that is there")
        assert recording.read_bytes() == before
    assert '"complete":true' in programs.run("recording", "info", "--json", recording.name)[0].replace(" ", "")
    programs.run("recording", "check", recording.name)
    programs.run("recording", "mark", recording.name, "Wrack", "--at", "+0")
    assert "Wrack" in programs.run("recording", "list", recording.name)[0]


def a_project_is_kept(programs: Programs) -> None:
    project = f"{BEYOND_ASCII}.qx5"
    with programs.sonar() as (_, endpoint):
        programs.run("preset", "save", "Tief", "--sonar", endpoint, "--project", project)
        assert (programs.scratch / project).read_bytes().startswith(b"SQLite format 3\0")
        assert "Tief" in programs.run("preset", "list", "--project", project)[0]
        # A name's length counts characters, whatever a character takes.
        programs.run("preset", "save", "🌊" * 100, "--sonar", endpoint, "--project", project)
        _, err = programs.run("preset", "save", "🌊" * 101, "--sonar", endpoint, "--project", project, code=2)
        one_line(err, "no more than 100 characters")
        programs.run("preset", "export", "Tief", "--project", project, f"{BEYOND_ASCII}.json")
        kept = json.loads((programs.scratch / f"{BEYOND_ASCII}.json").read_text(encoding="utf-8"))
        assert "x5Range" in json.dumps(kept), kept


def local_times_follow_the_zone(programs: Programs) -> None:
    # At 2023-11-14 22:13:20 UTC the recorder's file is named by the clock of Tokyo, nine hours ahead. The zone is no
    # rule that is written out, so it is the system's: Wine takes that from the variable.
    name = "20231115_071320_VORDAL".encode().hex()
    payload = "00000000" + name + "00" * (256 - len(name) // 2)
    scenario = [{"name": "Tokyo", "timezone": "Asia/Tokyo", "clock": 1700000000,
                 "devices": [{"id": [1, 78, 1, 1], "kind": "sonar", "attributes": [["SyncDataRecording", "bool", True]]}],
                 "steps": [{"logger": "start",
                            "expect": [{"remote": 1200, "payload": payload, "device": 0, "enumerator": -1}]}]}]
    (programs.scratch / "zone.json").write_text(json.dumps(scenario))
    programs.run("scenario", "--check", "zone.json", TZ="Asia/Tokyo")


def an_interrupt_ends_in_order(programs: Programs) -> None:
    with programs.sonar("--state") as (sonar, _):
        sonar.send_signal(signal.SIGINT)
        out, err = sonar.communicate(timeout=LIMIT)
        assert sonar.returncode == 0, (sonar.returncode, err)
        # Its state is told at the end alone.
        assert b"x5Range" in out, out


def what_is_left_out_says_so(programs: Programs) -> None:
    with programs.sonar() as (sonar, _):
        out, _ = sonar.communicate(b"misbehave vanish\nquit\n", timeout=LIMIT)
        assert b"this system filters no sockets for this program, which vanishing takes\n" in out, out
    for command in (["fleet", "list", "--broker", "mqtt://127.0.0.1:1", "--group", "north"],
                    ["broker-setup", "folder", "--group", "north", "--vessel", "Vega"],
                    ["serve", "project.qx5"]):
        _, err = programs.run(*command, code=1)
        one_line(err, "qx5: ", "built without what goes over a broker")
    _, err = programs.run("get", "x5Range", code=1)
    one_line(err, "on Windows a program cannot be asked by another one")


TESTS = (wine_is_set_up, scenarios_match, scenarios_do_what_they_do_elsewhere, a_sonar_is_sent_to,
         a_plug_in_is_loaded_and_unloaded, what_does_not_fit_is_refused, modules_of_another_platform_are_refused,
         names_beyond_ascii_are_those_that_are_told, a_recording_is_written_and_read, a_project_is_kept,
         local_times_follow_the_zone, an_interrupt_ends_in_order, what_is_left_out_says_so)


def as_whole(name: str) -> pathlib.Path:
    return pathlib.Path(name).resolve()


def main() -> int:
    tests = {test.__name__: test for test in TESTS}
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=as_whole, help="the folder that the programs were built in")
    parser.add_argument("--linux-program", type=as_whole, help="qx5 as this machine runs it, for tests of both")
    parser.add_argument("--linux-plug-in", type=as_whole, help="its plug-in")
    parser.add_argument("test", choices=tests)
    arguments = parser.parse_args()
    for missing, advice in ((shutil.which("wine") is None, "there is no wine; install wine64"),
                            (not (arguments.build / "bin/qx5.exe").exists(),
                             f"there is no qx5.exe in {arguments.build}/bin; ./dev windows builds it")):
        if missing:
            print(f"skipped: {advice}")
            return SKIPPED
    with tempfile.TemporaryDirectory() as scratch:
        programs = Programs(arguments.build, pathlib.Path(scratch),
                            (arguments.linux_program, arguments.linux_plug_in))
        programs.start_system()
        tests[arguments.test](programs)
    return 0


if __name__ == "__main__":
    sys.exit(main())
