#!/usr/bin/python3
"""Mutates a small project of its own and compares what the command tells with what is known of its tests.

Usage: mutation_test.py MUTATE FIXTURE FOLDER
"""

import json
import pathlib
import shutil
import subprocess
import sys
import unittest

COMMAND, FIXTURE, FOLDER = (pathlib.Path(each) for each in sys.argv[1:4])


def mutate(*arguments: str) -> subprocess.CompletedProcess:
    command = ["/usr/bin/python3", str(COMMAND), "source", "--project", str(FOLDER / "project"), "--build",
               str(FOLDER / "mutated"), "--least-limit", "5", *arguments]
    return subprocess.run(command, capture_output=True, text=True, check=False)


def section(output: str, title: str) -> list[str]:
    """The indented lines below a title, without what stands in brackets behind them."""
    lines = output.split("\n")
    if title not in lines:
        return []
    found = []
    for line in lines[lines.index(title) + 1:]:
        if not line.startswith("  "):
            break
        found.append(line.strip().split("  [")[0])
    return sorted(found)


class MutateCommand(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        shutil.rmtree(FOLDER, ignore_errors=True)
        shutil.copytree(FIXTURE, FOLDER / "project")
        cls.first = mutate()

    def test_tells_what_no_test_notices(self):
        self.assertEqual(section(self.first.stdout, "Survived:"), sorted([
            "source/limits.cpp:6: Limited: value < least => value <= least",
            "source/limits.cpp:9: Limited: value > greatest => false",
            "source/limits.cpp:9: Limited: value > greatest => value >= greatest",
        ]))
        self.assertEqual(self.first.returncode, 1, self.first.stderr)

    def test_tells_which_of_these_have_the_same_value_in_every_test(self):
        # The tests give 1, 2 and 3 with the limits 2 and 4: only the comparison with the least differs once.
        lines = [line for line in self.first.stdout.split("\n") if line.startswith("  source/limits.cpp:")]
        told = sorted(line.strip().split("  [")[0] for line in lines if "same value in every test" in line)
        self.assertEqual(told, sorted([
            "source/limits.cpp:9: Limited: value > greatest => false",
            "source/limits.cpp:9: Limited: value > greatest => value >= greatest",
        ]))

    def test_runs_no_test_again_whose_files_are_the_same(self):
        known = json.loads((FOLDER / "mutated" / "reach.json").read_text())
        for row in known.values():
            row["reach"]["different"] = []
        (FOLDER / "mutated" / "reach.json").write_text(json.dumps(known))
        # What is remembered here of the tests is not true any more, and is believed.
        again = mutate("--again")
        self.assertIn("value < least => value <= least  [has the same value in every test]", again.stdout)

    def test_tells_what_no_test_runs_through(self):
        self.assertEqual(section(self.first.stdout, "Not reached:"), sorted([
            "source/limits.cpp:10: Limited: greatest => (greatest) + 1",
            "source/limits.cpp:31: NeverCalled: -value => value",
        ]))

    def test_counts_by_file(self):
        # limits.cpp: two comparisons of three mutants each (the limit, always, never) and three returned values of one
        # more; % and 2 and == and 0; the 0 of the steps, the loop never entered, the step gone, backwards, by two, one
        # more returned; the sign. limits.h: *, 2.
        rows = {line.split()[0]: line.split()[1:] for line in self.first.stdout.split("\n")
                if line.startswith(("source/", "all"))}
        # mutants, killed, of these by time, survived, not reached, equivalent
        self.assertEqual(rows["source/limits.h"], ["2", "2", "0", "0", "0", "0"])
        self.assertEqual(rows["source/limits.cpp"][0], "20")
        self.assertEqual(rows["source/limits.cpp"][3:], ["3", "2", "0"])
        self.assertGreaterEqual(int(rows["source/limits.cpp"][2]), 1, "a loop without its step never ends")

    def test_takes_mutants_that_are_listed_as_equivalent_for_explained(self):
        listed = mutate("--again", "--equivalent", str(FIXTURE / "equivalent.toml"))
        self.assertEqual(section(listed.stdout, "Survived:"), sorted([
            "source/limits.cpp:9: Limited: value > greatest => false",
            "source/limits.cpp:9: Limited: value > greatest => value >= greatest",
        ]))
        self.assertIn("Listed as equivalent, and there no more: source/limits.cpp: if (value >= greatest) {",
                      listed.stdout)

    def test_leaves_the_project_as_it_is(self):
        for file in FIXTURE.rglob("*"):
            if file.is_file():
                self.assertEqual((FOLDER / "project" / file.relative_to(FIXTURE)).read_bytes(), file.read_bytes())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
