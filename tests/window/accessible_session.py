#!/usr/bin/python3
"""Drives a session of `qx5 run` from outside, as a screen reader or a test robot does: through AT-SPI, by names and roles.

What it does must show in the accessible tree, be what the sonars have (simulated ones, asked on their own terminal), and
stand in the log of actions as done by hand in the view. Ends with 77 where what it needs is not installed.

    accessible_session.py PROGRAM [--tree]     --tree prints the accessible tree and does nothing else
"""

import json
import os
import re
import signal
import subprocess
import sys
import warnings

from desktop import Desktop, Missing, wait_until

SKIPPED = 77
DEVICE = "QX5SonarConfigurationControlDevice"
# In seconds; ctest's limit is beyond it, so that this script is the one to clear away.
GREATEST_TIME = 540

# Roles that hold or divide, and that nobody meets by themselves.
HOLDING = {"filler", "panel", "layered pane", "scroll bar", "separator", "split pane", "popup menu", "menu bar", "status bar",
           "unknown", "table row header", "list"}


def load_atspi():
    try:
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi, GLib
    except (ImportError, ValueError) as problem:
        raise Missing(f"{problem}: install Debian's packages python3-gi and gir1.2-atspi-2.0, as ./dev test does") from None
    return Atspi, GLib


class Element:
    """One element of the accessible tree."""

    def __init__(self, screen, accessible):
        self._screen = screen
        self._accessible = accessible

    def name(self):
        return self._accessible.get_name() or ""

    def description(self):
        return self._accessible.get_description() or ""

    def role(self):
        return self._accessible.get_role_name()

    def has(self, state):
        return self._accessible.get_state_set().contains(getattr(self._screen.Atspi.StateType, state))

    def interfaces(self):
        return self._accessible.get_interfaces()

    def children(self):
        found = []
        for i in range(self._accessible.get_child_count()):
            child = self._accessible.get_child_at_index(i)
            if child is not None:
                found.append(Element(self._screen, child))
        return found

    def walk(self, depth=0):
        """(depth, element) for it and all below it, but for the cells of tables, which may be ten thousand and come and go."""
        yield depth, self
        if depth == 0 or self.role() not in ("table", "tree"):
            for child in self.children():
                yield from child.walk(depth + 1)

    def find(self, role, name):
        """Waits for the element of that role whose name is the text, or begins with it where it ends with "..."."""
        def matches(element):
            told = element.name()
            return told.startswith(name[:-3]) if name.endswith("...") else told == name

        return self.find_where(lambda element: element.role() == role and matches(element), f"a {role} '{name}'")

    def find_where(self, condition, what):
        def look():
            return next((element for _, element in self.walk() if condition(element)), None)

        return self._screen.wait(look, f"there is {what} in {self.role()} '{self.name()}'")

    def act(self, action):
        """What the toolkit calls so: Press, Toggle, ..."""
        count = self._accessible.get_n_actions()
        names = [self._screen.Atspi.Action.get_action_name(self._accessible, i) for i in range(count)]
        assert action in names, f"{self.role()} '{self.name()}' cannot {action}, it can {names}"
        assert self._accessible.do_action(names.index(action))

    def value(self):
        return self._accessible.get_current_value()

    def set_value(self, value):
        assert self._accessible.set_current_value(value), f"{self.role()} '{self.name()}' does not take {value}"

    def text(self):
        return self._screen.Atspi.Text.get_text(self._accessible, 0, -1)

    def set_text(self, text):
        return self._accessible.set_text_contents(text)


class Screen:
    """The accessible tree of one program."""

    def __init__(self, program):
        self.Atspi, self.GLib = load_atspi()
        # The toolkit's side knows no other way to ask for the name of an action.
        warnings.filterwarnings("ignore", category=DeprecationWarning)
        self.Atspi.init()
        self.Atspi.set_timeout(30000, 60000)
        desktop = self.Atspi.get_desktop(0)
        # What an element says now, not what it said when it was asked before.
        desktop.set_cache_mask(self.Atspi.Cache.NONE)

        def look():
            for element in Element(self, desktop).children():
                if element.name() == program:
                    return element
            return None

        self.program = self.wait(look, f"{program} is on the accessibility bus")
        self.program._accessible.set_cache_mask(self.Atspi.Cache.NONE)
        self.window = self.program.children()[0]

    def wait(self, condition, what):
        """wait_until; elements may go while they are looked at, and others come."""
        def look():
            try:
                return condition()
            except self.GLib.Error:
                return None

        return wait_until(look, what)


class Sonar:
    """A `qx5 sim`: what it holds is what has reached it."""

    def __init__(self, desktop, program, name):
        self._process = desktop.run(name, [program, "sim", "--port", "0", "--pings"])
        self._process.wait_for_output("listening on ")
        self.endpoint = re.search(r"listening on (\S+)", self._process.output()).group(1)

    def tell(self, line):
        self._process.write(line)

    def state(self, key):
        """Its value as the terminal prints it, with its unit."""
        before = len(self._process.output())
        self._process.write("state " + key)
        line = re.compile(rf"^{key} = (.*)$", re.MULTILINE)
        return wait_until(lambda: line.search(self._process.output(), before), f"the sonar tells {key}").group(1)

    def expect(self, key, value):
        told = ["nothing of it"]

        def holds():
            told[:] = [self.state(key)]
            return told[0] == value

        try:
            wait_until(holds, f"the sonar has {key} = {value}")
        except AssertionError as problem:
            raise AssertionError(f"{problem}; it has {told[0]}") from None

    def end(self):
        self._process.write("quit")
        assert self._process.process.wait(60) == 0, self._process.errors()


class Session:
    def __init__(self, desktop, program):
        self.desktop = desktop
        self.program = program
        self.project = desktop.folder + "/survey.qx5"
        self.sonars = [Sonar(desktop, program, f"sonar-{number}") for number in (1, 2)]
        devices = [part for sonar in self.sonars for part in ("--device", f"{DEVICE}={sonar.endpoint}")]
        self.run = desktop.run("qx5", [program, "run", "--project", self.project, *devices])
        self.run.wait_for_output("The window is open; ")
        self.screen = Screen("qx5")
        self.window = self.screen.window
        # Both sonars have introduced themselves.
        for number in (1, 2):
            self.row(number, "connected")

    def wait(self, condition, what):
        return self.screen.wait(condition, what)

    def row(self, number, told, act=None):
        """Waits until the sonar's row says that, and does to it what is told."""
        devices = self.window.find("tree", "Vessels and sonars")
        last = [""]

        def look():
            for element in devices.children():
                name = element.name()
                if name.startswith(f"{DEVICE} {number},"):
                    last[:] = [name]
                    if told in name:
                        if act is not None:
                            element.act(act)
                        return True
            return False

        try:
            self.wait(look, f"the row of sonar {number} says '{told}'")
        except AssertionError as problem:
            raise AssertionError(f"{problem}; it says '{last[0]}'") from None

    def menu(self, *path):
        element = self.window.find("menu bar", "")
        for part in path:
            element = element.find("menu item", part)
        return element

    def end(self):
        """Closes the window as a signal does; gives the rows of the log of actions."""
        code = self.run.end()
        assert code == 0, f"qx5 run ended with {code}: {self.run.errors()}"
        for sonar in self.sonars:
            sonar.end()
        printed = subprocess.run([self.program, "log", self.project, "--json"], capture_output=True, check=True, text=True,
                                 timeout=60, env=self.desktop.environment)
        return [json.loads(line) for line in printed.stdout.splitlines()]


def nothing_is_nameless(session):
    """What can have the focus, or be worked, tells what it is; so does what is read."""
    nameless = []
    above = []
    for depth, element in session.window.walk():
        above[depth:] = [element]
        if element.name():
            continue
        is_stop = element.has("FOCUSABLE") and element.has("SHOWING")
        # A label that has nothing to say yet is read as such.
        if is_stop or element.role() not in HOLDING | {"label"}:
            holders = " in ".join(f"{holder.role()} '{holder.name()}'" for holder in reversed(above[:-1]))
            nameless.append(f"{element.role()} '{element.description()}' in {holders}" + (", which takes the focus" if is_stop else ""))
    assert not nameless, "nameless: " + ", ".join(nameless)


def a_sonar_is_chosen(session):
    session.row(1, "shown")
    session.row(2, "connected", "Toggle")
    session.row(2, "shown")
    session.wait(lambda: session.window.name().startswith(f"{DEVICE} 2 "), "the window's title names the second sonar")


def a_slider_is_set(session):
    slider = session.window.find("slider", "Range")
    session.wait(lambda: slider.value() == 100.0, "the slider shows the sonar's range")
    slider.set_value(75.0)
    session.wait(lambda: slider.description() == "75.0 m" and slider.value() == 75.0, "the slider tells 75.0 m")
    label = session.window.find_where(lambda element: element.description() == "Range, value", "the label of the range")
    assert label.name() == "75.0 m", f"the label beside it says {label.name()}"
    session.sonars[1].expect("x5Range", "75 m")
    session.sonars[0].expect("x5Range", "100 m")


def a_slider_is_stepped(session):
    # At the maximum rate OFF the sonar does not ping; a step more and it does.
    slider = session.window.find("slider", "Max. ping rate")
    assert slider.description() == "OFF"
    slider.act("Increase")
    session.wait(lambda: slider.description() != "OFF", "the slider tells a rate")
    session.sonars[1].expect("x5PingOnOffState", "1")
    session.row(2, "p/s")
    session.sonars[0].expect("x5PingOnOffState", "0")


def a_list_item_is_chosen(session):
    choice = session.window.find("combo box", "Pulse type")
    item = choice.find("list item", "FM")
    item.act("Press")
    session.wait(lambda: item.has("SELECTED"), "FM is the chosen one")
    session.sonars[1].expect("x5PulseType", "1")


def a_tab_is_changed(session):
    field = session.window.find("text", "Minimum depth")
    assert not field.has("SHOWING")
    session.window.find("page tab", "Sonar Gates").act("Press")
    session.wait(lambda: field.has("SHOWING"), "the page of the gates shows")
    assert not session.window.find("slider", "Range").has("SHOWING")


def a_text_is_typed_and_applied(session):
    field = session.window.find("text", "Minimum depth")
    apply = session.window.find_where(
        lambda element: element.role() == "push button" and element.name() == "Apply" and element.has("SHOWING"),
        "the page's Apply")

    def is_typed():
        # What the sonar tells of the steps before may still arrive, and takes what was typed away.
        return apply.has("ENABLED") or (field.set_text("12.5") and apply.has("ENABLED"))

    session.wait(is_typed, "Apply can be pressed")
    # Typed is not sent.
    assert session.sonars[1].state("x5MinDepthGate") != "12.5 m"
    apply.act("Press")
    session.sonars[1].expect("x5MinDepthGate", "12.5 m")
    session.wait(lambda: field.text().startswith("12.5"), "the field shows it")


def a_box_is_toggled(session):
    box = session.window.find("check box", "Use depth gate")
    assert not box.has("CHECKED")
    box.act("Toggle")
    session.wait(lambda: box.has("CHECKED"), "the box is checked")
    session.sonars[1].expect("x5DepthFilterEnabled", "true")


def a_recording_is_started_and_stopped(session):
    session.window.find("page tab", "Data Recording").act("Press")
    start = session.window.find("push button", "Start recording")
    session.wait(lambda: start.has("SHOWING"), "the page of the recording shows")
    start.act("Press")
    mode = session.window.find("text", "Recording mode")
    session.wait(lambda: "rec" in mode.text().lower(), "the sonar records")
    stop = session.window.find("push button", "Stop recording")
    session.wait(lambda: stop.has("ENABLED") and not start.has("ENABLED"), "it can be stopped and not started")
    stop.act("Press")
    session.wait(lambda: start.has("ENABLED"), "it can be started again")


def what_is_only_read_takes_nothing(session):
    field = session.window.find("text", "Directory name")
    before = field.text()
    assert before
    if "EditableText" in field.interfaces():
        field.set_text("elsewhere")
    assert field.text() == before, f"{field.text()}, where {before} stood"
    assert field.has("READ_ONLY") and not field.has("EDITABLE")


def the_menus_are_worked(session):
    undo = session.menu("Edit", "Undo...")
    session.wait(lambda: undo.has("ENABLED"), "something can be undone")
    session.menu("Help", "About").act("Press")
    about = session.screen.program.find("text", "About this program")
    assert "host contract" in about.text() and "QX5SonarConfiguration.so" in about.text(), about.text()
    session.menu("Help", "Manual").act("Press")
    manual = session.screen.program.find("label", "Manual")
    assert manual.text().startswith("A day at the sonar\n"), manual.text()[:100]
    session.screen.program.find("text", "Search in the manual").set_text("transmit lock")
    session.screen.program.find("push button", "Next place").act("Press")
    session.screen.program.find("label", "1 of ...")
    # The window behind it is worked as before.
    session.menu("Sonar", "Transmit lock").act("Press")
    label = session.window.find("label", "Transmit lock is on")
    session.wait(lambda: label.has("SHOWING"), "the status bar tells of the lock")


def a_lost_sonar_shows_and_is_asked_again(session):
    session.sonars[1].tell("misbehave refuse")
    session.sonars[1].tell("drop")
    banner = session.window.find("frame", "State of the shown sonar")
    title = banner.find("label", f"{DEVICE} 2: the connection is lost")
    session.wait(lambda: title.has("SHOWING"), "the banner shows")
    session.window.find("filler", "View, its values are old")
    session.row(2, "shown, lost")
    slider = session.window.find("slider", "Range")
    slider.set_value(50.0)
    held = banner.find("list", "Asked for and not heard")
    session.wait(lambda: any(element.name().startswith("x5Range = 50 m ") for element in held.children()), "the range is held")
    send = banner.find("push button", "Send what was asked for and not heard")
    assert not send.has("ENABLED")
    assert session.sonars[1].state("x5Range") == "75 m"
    session.sonars[1].tell("behave")
    banner.find("label", f"{DEVICE} 2 can be reached again")
    # By itself nothing is sent.
    assert session.sonars[1].state("x5Range") == "75 m"
    session.wait(lambda: send.has("ENABLED"), "it can be sent")
    send.act("Press")
    session.sonars[1].expect("x5Range", "50 m")
    session.wait(lambda: not banner.has("SHOWING"), "the banner has gone")


def the_log_has_it(rows):
    """By key: its newest row is what was asked for, and agrees with what the sonar then had."""
    expected = {"x5Range": 50, "x5PingOnOffState": 1, "x5PulseType": 1, "x5MinDepthGate": 12.5, "x5DepthFilterEnabled": True}
    for key, value in expected.items():
        mine = [row for row in rows if row["key"] == key]
        assert mine, f"the log has no {key}: {rows}"
        row = mine[-1]
        told = {part: row[part] for part in ("who", "sonar", "new", "result")}
        assert told == {"who": "view", "sonar": f"{DEVICE} 2", "new": value, "result": "agrees"}, row
    others = [row for row in rows if row["sonar"] == f"{DEVICE} 1"]
    assert not others, f"nothing was asked of the first sonar, and the log has {others}"


STEPS = (nothing_is_nameless, a_sonar_is_chosen, a_slider_is_set, a_slider_is_stepped, a_list_item_is_chosen, a_tab_is_changed,
         a_text_is_typed_and_applied, a_box_is_toggled, a_recording_is_started_and_stopped, what_is_only_read_takes_nothing,
         the_menus_are_worked, a_lost_sonar_shows_and_is_asked_again)


def print_tree(session):
    for depth, element in session.window.walk():
        states = [state for state in ("FOCUSABLE", "SHOWING", "CHECKED", "ENABLED", "EDITABLE", "SELECTED")
                  if element.has(state)]
        print("  " * depth + element.role(), repr(element.name()), repr(element.description()), " ".join(states))


def main():
    def too_long(number, _):
        raise AssertionError(f"not done within {GREATEST_TIME} s" if number == signal.SIGALRM else "stopped from outside")

    signal.signal(signal.SIGALRM, too_long)
    signal.signal(signal.SIGTERM, too_long)
    signal.alarm(GREATEST_TIME)
    try:
        load_atspi()
        with Desktop() as desktop:
            session = Session(desktop, os.path.abspath(sys.argv[1]))
            if "--tree" in sys.argv[2:]:
                print_tree(session)
                return 0
            step = None
            try:
                for step in STEPS:
                    step(session)
                    print("ok    ", step.__name__, flush=True)
                step = the_log_has_it
                step(session.end())
                print("ok    ", step.__name__, flush=True)
            except (AssertionError, session.screen.GLib.Error) as problem:
                print(f"FAILED {step.__name__}: {problem}")
                print(session.run.output() + session.run.errors(), flush=True)
                return 1
    except Missing as missing:
        print("skipped:", missing)
        return SKIPPED
    return 0


if __name__ == "__main__":
    sys.exit(main())
