"""A vessel with two simulated sonars at a real broker by TLS, and persons ashore: for the tests of what is far away."""

import os
import pathlib
import signal
import socket
import subprocess
import time

from certificates import Certificates

import qx5
from qx5 import _qx5

GROUP = "north"
VESSEL = "Vega"
SONARS = ["Hull sonar", "Pole sonar"]
LIMIT = 30.0
"""Seconds that a test waits at most for what comes by itself."""


def until(condition, what):
    """Waits until it holds."""
    end = time.monotonic() + LIMIT
    while not condition():
        assert time.monotonic() < end, what
        time.sleep(0.01)


class Program:
    """A process whose output is a file."""

    def __init__(self, command, log: pathlib.Path):
        self.log = log
        with log.open("wb") as file:
            self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.STDOUT)

    def text(self):
        return self.log.read_text(errors="replace")

    def wait_for(self, text):
        """False when it ended before."""
        until(lambda: text in self.text() or self.process.poll() is not None, f"no '{text}' in {self.text()}")
        return text in self.text()

    def end(self, number=signal.SIGTERM):
        self.process.send_signal(signal.SIGCONT)
        self.process.send_signal(number)
        return self.process.wait(LIMIT)


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


class Stage:
    """otto and gwen operate, wanda watches."""

    def __init__(self, folder: pathlib.Path, serve=("--allow", "transmit")):
        self.folder = folder
        self.certificates = Certificates(folder)
        self.certificates.make("broker", hosts="IP:127.0.0.1")
        for name in (VESSEL, "otto", "gwen", "wanda"):
            self.certificates.make(name)
        self._sonars = []
        self.vessel = None
        self.broker = self._first_broker()
        project = folder / "survey.qx5"
        # The window makes a project with two sonars.
        made = subprocess.run([_qx5.program(), "run", "--project", project, "--sonars", "2", "--screenshot",
                               folder / "view.png"], env={**os.environ, "QT_QPA_PLATFORM": "offscreen"},
                              capture_output=True, text=True, timeout=120, check=False)
        assert made.returncode == 0, made.stderr
        self.start_vessel(serve)

    def _first_broker(self):
        # Whoever else looks for a free port may take ours before the broker does.
        for _ in range(20):
            self.port = free_port()
            for file in ("mosquitto.conf", "access"):
                (self.folder / file).unlink(missing_ok=True)
            subprocess.run([_qx5.program(), "broker-setup", self.folder, "--group", GROUP, "--vessel", VESSEL, "--person",
                            "otto=operate", "--person", "gwen=operate", "--person", "wanda=watch", "--address",
                            "127.0.0.1", "--port", str(self.port)], check=True, capture_output=True)
            configuration = (self.folder / "mosquitto.conf").read_text()
            (self.folder / "broker.conf").write_text(f"user root\nlog_dest stderr\nlog_type all\n{configuration}")
            broker = self._broker()
            if broker.wait_for(" running\n"):
                return broker
        raise AssertionError(broker.text())

    def _broker(self):
        return Program(["/usr/sbin/mosquitto", "-c", self.folder / "broker.conf"], self.folder / "broker.log")

    @property
    def url(self):
        return f"mqtts://127.0.0.1:{self.port}"

    def start_vessel(self, serve=("--allow", "transmit")):
        files = self.certificates.of(VESSEL)
        self.vessel = Program([_qx5.program(), "serve", self.folder / "survey.qx5", "--broker", self.url, "--ca",
                               files["ca"], "--cert", files["cert"], "--key", files["key"], "--group", GROUP, "--vessel",
                               VESSEL, *serve], self.folder / "vessel.log")
        assert self.vessel.wait_for("connected to mqtts://"), self.vessel.text()

    def start_broker(self):
        self.broker = self._broker()
        assert self.broker.wait_for(" running\n"), self.broker.text()

    def kill_broker(self):
        self.broker.end(signal.SIGKILL)

    def options(self, person="otto", sonar=SONARS[0], **more):
        """Of qx5.connect."""
        return {"group": GROUP, "vessel": VESSEL, "sonar": sonar, **self.certificates.of(person), **more}

    def connect(self, person="otto", sonar=SONARS[0], **more):
        """Closed with the test, at the latest."""
        made = qx5.connect(self.url, **self.options(person, sonar, **more))
        self._sonars.append(made)
        return made

    def close_sonars(self):
        while self._sonars:
            self._sonars.pop().close()

    def close(self):
        self.close_sonars()
        if self.vessel is not None:
            self.vessel.end()
        self.broker.end()
