"""A desktop of its own for one test: display, session bus and accessibility bus, which nobody else sees.

All that runs in it, also what its services start by themselves, is ended with it.
"""

import ctypes
import os
import select
import shutil
import signal
import subprocess
import tempfile
import time

PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36
LAUNCHERS = ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")
# Between two looks at a condition.
PAUSE = 0.02


class Missing(Exception):
    """What a desktop needs is not installed; the text names its package."""


class Late(AssertionError):
    """A condition did not come to hold within its limit."""


def wait_until(condition, what, limit=60.0):
    """Gives what the condition gives once that counts as true; `what` says what was waited for."""
    end = time.monotonic() + limit
    while True:
        found = condition()
        if found:
            return found
        if time.monotonic() > end:
            raise Late(f"{what}: not within {limit:.0f} s")
        time.sleep(PAUSE)


def _program(name, package):
    found = shutil.which(name)
    if found is None:
        raise Missing(f"there is no {name}: install Debian's package {package}, as ./dev test does")
    return found


def _launcher():
    for path in LAUNCHERS:
        if os.access(path, os.X_OK):
            return path
    raise Missing("there is no at-spi-bus-launcher: install Debian's package at-spi2-core, as ./dev test does")


def _children_of(process):
    """All that it has started and they have started, as /proc has it."""
    parents = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                with open(f"/proc/{entry}/stat", encoding="ascii", errors="replace") as stat:
                    # The name may hold anything, brackets too.
                    parents[int(entry)] = int(stat.read().rpartition(")")[2].split()[1])
            except OSError:
                pass
    found = []
    waiting = [process]
    while waiting:
        parent = waiting.pop()
        mine = [each for each, its in parents.items() if its == parent]
        found += mine
        waiting += mine
    return found


class Process:
    """A program in the desktop; its output and errors lie in files of the desktop's folder."""

    def __init__(self, desktop, name, command, environment=None, **options):
        self._files = [desktop.folder + f"/{name}.{part}" for part in ("out", "err")]
        with open(self._files[0], "wb") as out, open(self._files[1], "wb") as err:
            self.process = subprocess.Popen(
                command, stdin=subprocess.PIPE, stdout=out, stderr=err, env={**desktop.environment, **(environment or {})},
                # Where this process is killed; a launcher then ends what it has launched.
                preexec_fn=lambda: desktop.libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM), **options)
        self.name = name

    def _read(self, which):
        with open(self._files[which], encoding="utf-8", errors="replace") as file:
            return file.read()

    def output(self):
        return self._read(0)

    def errors(self):
        return self._read(1)

    def write(self, line):
        self.process.stdin.write((line + "\n").encode())
        self.process.stdin.flush()

    def wait_for_output(self, text):
        def seen():
            if text in self.output():
                return True
            if self.process.poll() is not None:
                raise AssertionError(f"{self.name} has ended with {self.process.returncode}: {self.output()}{self.errors()}")
            return False

        wait_until(seen, f"{self.name} says '{text}'")

    def end(self, how=signal.SIGTERM, limit=60.0):
        """Its exit code."""
        self.process.send_signal(how)
        return self.process.wait(limit)


class Desktop:
    """`with Desktop() as desktop`: from the first line on it is up, after the last it is gone."""

    def __init__(self, size="1280x800"):
        self._xvfb = _program("Xvfb", "xvfb")
        self._bus = _program("dbus-daemon", "dbus-daemon")
        self._launcher = _launcher()
        self._size = size

    def __enter__(self):
        self.libc = ctypes.CDLL(None, use_errno=True)
        # Services that a bus has started become ours when it goes.
        self.libc.prctl(PR_SET_CHILD_SUBREAPER, 1)
        self.folder = tempfile.mkdtemp(prefix="qx5-desktop-")
        try:
            self._start()
        except BaseException:
            self.__exit__(None, None, None)
            raise
        return self

    def _start(self):
        home = self.folder + "/home"
        runtime = self.folder + "/runtime"
        for folder in (home, runtime):
            os.mkdir(folder, 0o700)
        left_out = ("DISPLAY", "WAYLAND_DISPLAY", "DBUS_", "AT_SPI_", "QT_", "XDG_", "XAUTHORITY", "SESSION_MANAGER")
        self.environment = {key: value for key, value in os.environ.items() if not key.startswith(left_out)}
        self.environment.update(
            HOME=home, XDG_RUNTIME_DIR=runtime, XDG_CONFIG_HOME=home, XDG_CACHE_HOME=home, XDG_DATA_HOME=home,
            LC_ALL="C.UTF-8", GSETTINGS_BACKEND="memory", NO_AT_BRIDGE="1",
            QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        number = self._tell("xvfb", [self._xvfb, "-displayfd", "{}", "-screen", "0", f"{self._size}x24", "-noreset",
                                     "-nolisten", "tcp"])
        self.environment["DISPLAY"] = ":" + number
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._tell(
            "session-bus", [self._bus, "--session", "--nofork", "--nopidfile", "--print-address={}",
                            f"--address=unix:dir={runtime}"])
        self.run("accessibility-bus", [self._launcher, "--launch-immediately", "--a11y=1"])
        # Whoever reads the accessible tree here is this very process.
        for key in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "HOME", "LC_ALL"):
            os.environ[key] = self.environment[key]
        os.environ.pop("AT_SPI_BUS_ADDRESS", None)

    def _tell(self, name, command):
        """Starts a program that writes one line to the descriptor whose number stands for {}; gives the line."""
        reading, writing = os.pipe()
        with os.fdopen(reading, encoding="ascii") as line:
            process = self.run(name, [part.replace("{}", str(writing)) for part in command], pass_fds=(writing,))
            os.close(writing)
            ready, _, _ = select.select([line], [], [], 60.0)
            told = line.readline().strip() if ready else ""
        if not told:
            raise AssertionError(f"{name} does not start: {process.errors()}")
        return told

    def run(self, name, command, environment=None, **options):
        return Process(self, name, command, environment, **options)

    def __exit__(self, *_):
        # A library that has lost its bus may send it to the process.
        signal.signal(signal.SIGTERM, signal.SIG_IGN)

        def all_ended(how):
            for process in _children_of(os.getpid()):
                try:
                    os.kill(process, how)
                except ProcessLookupError:
                    pass
            try:
                while os.waitpid(-1, os.WNOHANG)[0] != 0:
                    pass
            except ChildProcessError:
                return True
            return False

        try:
            wait_until(lambda: all_ended(signal.SIGTERM), "the desktop ends", 5.0)
        except Late:
            wait_until(lambda: all_ended(signal.SIGKILL), "the desktop ends when it is killed", 5.0)
        shutil.rmtree(self.folder, ignore_errors=True)
