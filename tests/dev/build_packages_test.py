#!/usr/bin/python3
"""That what a build reads of the system comes with the packages that ./dev installs: build_packages_test.py SOURCE BUILD.

A package that is on a machine for other reasons hides that it is missing in the lists, until somebody builds elsewhere."""

import collections
import os
import pathlib
import re
import sys
import unittest

SOURCE, BUILD = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
sys.path.insert(0, str(SOURCE / "tools"))
import sbom  # noqa: E402

# The benchmarks are built beside the tests where their library is there, and left out where it is not.
BESIDE = {"libbenchmark-dev"}


def listed() -> set[str]:
    """What ./dev installs for a build with tests."""
    lists = dict(re.findall(r"^(\w+)_packages=\(([^)]*)\)", (SOURCE / "dev").read_text(), re.MULTILINE))
    return {name for each in ("build", "window", "python", "test") for name in lists[each].split()}


def names_in(relations: str) -> list[str]:
    return re.findall(r"(?:^|[,|])\s*([a-z0-9][a-z0-9.+-]+)", relations)


def reached(packages: set[str]) -> set[str]:
    """These and all that they depend on; recommended ones are not installed."""
    depends, providers = {}, collections.defaultdict(set)
    fields = "${Package}\t${Pre-Depends}, ${Depends}\t${Provides}\n"
    for line in sbom.output_of("dpkg-query", "-W", "-f", fields).splitlines():
        name, needs, provides = line.split("\t")
        depends[name] = names_in(needs)
        providers[name].add(name)
        for each in names_in(provides):
            providers[each].add(name)
    found: set[str] = set()
    waiting = [name for each in packages for name in providers[each]]
    while waiting:
        name = waiting.pop()
        if name not in found:
            found.add(name)
            waiting += [other for each in depends[name] for other in providers[each]]
    return found


class BuildPackages(unittest.TestCase):
    def test_each_header_comes_with_a_package_that_is_installed_for_it(self):
        build = sbom.Build(BUILD)
        files = {os.path.realpath(BUILD / file) for headers in build.headers.values() for file in headers}
        files = {file for file in files if file.startswith("/usr/") and not file.startswith("/usr/local/")}
        owners = sbom.Owners()
        owners.learn(files)
        used = {package for file in files if (package := owners.of_file.get(file))}
        self.assertTrue({"libasio-dev", "libprotobuf-dev", "libc6-dev"} <= used, used)
        self.assertEqual(used - reached(listed() | BESIDE), set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
