"""A process that uses the package ends in order, whatever is open; one that forks is warned."""

import subprocess
import sys
import textwrap

import pytest

BEGIN = """
import os, sys, threading, time, warnings
import qx5
simulator = qx5.Simulator()
sonar = qx5.connect(simulator.address)
"""


def run(script, begin=BEGIN):
    return subprocess.run([sys.executable, "-P", "-c", begin + textwrap.dedent(script)], capture_output=True, text=True,
                          timeout=60, check=False)


@pytest.mark.parametrize("script", [
    "",
    "sonar.subscribe(lambda change: None)",
    "subscription = sonar.subscribe(print); sonar.range = 50",
    "del sonar",
    "sonar.request(range=50)",
    "changes = sonar.changes(); sonar.range = 50; next(changes)",
    "threading.Thread(target=sonar.wait_for, args=(lambda each: False, None), daemon=True).start()",
    "threading.Thread(target=lambda: list(sonar.changes()), daemon=True).start()",
    "simulator.misbehave('silent'); request = sonar.request(range=50)\n"
    "threading.Thread(target=request.wait, daemon=True).start()",
    "sonar.subscribe(lambda change: time.sleep(0.01))\n"
    "for i in range(50): sonar.range = 50 + i",
    "cycle = [sonar]; cycle.append(cycle); del sonar",
])
def test_the_process_ends_with_0(script):
    done = run(script)
    assert done.returncode == 0, done.stderr
    assert "Fatal" not in done.stderr
    assert "terminate" not in done.stderr


def test_an_exception_ends_it_with_its_traceback():
    done = run("sonar.subscribe(print)\nraise SystemExit(7)")
    assert done.returncode == 7


def test_control_c_ends_a_wait():
    done = run("""
        import signal
        main = threading.get_ident()
        threading.Timer(0.2, lambda: signal.pthread_kill(main, signal.SIGINT)).start()
        try:
            sonar.wait_for(lambda each: False, timeout=None)
        except KeyboardInterrupt:
            print("interrupted")
    """)
    assert (done.returncode, done.stdout) == (0, "interrupted\n"), done.stderr


def test_a_fork_is_warned_of_and_its_child_ends():
    done = run("""
        warnings.simplefilter("always")
        child = os.fork()
        if child == 0:
            try:
                qx5.connect(simulator.address)
            except qx5.Error as error:
                print("child:", error)
            for does in (lambda: sonar.request(range=50), sonar.close, simulator.close, lambda: sonar.subscribe(print)):
                try:
                    does()
                except qx5.Error as error:
                    assert "forked" in str(error)
                else:
                    sys.exit(4)
            sys.exit(3)
        status = os.waitpid(child, 0)[1]
        sonar.request(range=50).wait()
        print("parent:", os.waitstatus_to_exitcode(status), sonar.range)
    """)
    assert done.returncode == 0, done.stderr
    assert "RuntimeWarning: the process forks while sonars of qx5 are open" in done.stderr
    lines = done.stdout.splitlines()
    assert lines[0].startswith("child: this process was forked")
    assert lines[1] == "parent: 3 50.0"


def test_without_anything_open_a_fork_is_nobodys_business():
    done = run("""
        sonar.close()
        simulator.close()
        warnings.simplefilter("always")
        child = os.fork()
        if child == 0:
            os._exit(0)
        os.waitpid(child, 0)
    """)
    assert (done.returncode, done.stderr) == (0, "")


def test_a_subprocess_is_no_fork():
    done = run("""
        import subprocess
        warnings.simplefilter("always")
        subprocess.run(["true"])
    """)
    assert (done.returncode, done.stderr) == (0, "")


def test_importing_begins_no_thread():
    done = run("print(threading.active_count())", "import threading\nimport qx5\n")
    assert done.stdout == "1\n"
