#!/usr/bin/python3
"""What tools/sbom.py writes of the binaries of a build: sbom_test.py TOOL BUILD FOLDER."""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

TOOL, BUILD, FOLDER = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])


def write(root: pathlib.Path, output: pathlib.Path) -> subprocess.CompletedProcess:
    return subprocess.run([TOOL, "--name", "qx5", "--version", "1.2", "--build", BUILD, "--output", output, root],
                          capture_output=True, text=True, env={**os.environ, "SOURCE_DATE_EPOCH": "1000000000"})


class Sbom(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(FOLDER, ignore_errors=True)
        root = FOLDER / "root"
        (root / "usr/bin").mkdir(parents=True)
        (root / "usr/lib").mkdir()
        shutil.copy(BUILD / "bin/qx5", root / "usr/bin")
        shutil.copy(BUILD / "lib/libvordalhost.so", root / "usr/lib/libvordalhost.so.5.5.1")
        shutil.copy(BUILD / "lib/qx5/QX5SonarConfiguration.so", root / "usr/lib")
        told = write(root, FOLDER / "first.json")
        assert told.returncode == 0, told.stderr
        cls.document = json.loads((FOLDER / "first.json").read_text())
        cls.program = "SPDXRef-File-usr-bin-qx5"
        cls.library = "SPDXRef-File-usr-lib-libvordalhost.so.5.5.1"
        cls.plugin = "SPDXRef-File-usr-lib-QX5SonarConfiguration.so"

    def others(self, binary, kind):
        return {each["relatedSpdxElement"] for each in self.document["relationships"]
                if each["spdxElementId"] == binary and each["relationshipType"] == kind}

    def test_tells_the_libraries_of_each_binary_by_their_packages(self):
        packages = {"SPDXRef-Package-" + name for name in (
            "libc6", "libfmt9", "libgcc-s1", "libpaho-mqtt1.3", "libpaho-mqttpp3-1", "libprotobuf-lite32", "libqt6core6",
            "libqt6gui6", "libqt6widgets6", "libssl3", "libstdc--6", "zlib1g")}
        self.assertEqual(self.others(self.program, "DYNAMIC_LINK"), packages | {self.library})
        self.assertIn("SPDXRef-Package-libsqlite3-0", self.others(self.library, "DYNAMIC_LINK"))
        self.assertNotIn("SPDXRef-Package-libsqlite3-0", self.others(self.plugin, "DYNAMIC_LINK"))

    def test_tells_what_was_compiled_into_which_binary(self):
        within = {binary: self.others(binary, "STATIC_LINK") for binary in (self.program, self.library, self.plugin)}
        for package, binaries in (("libcli11-dev", {self.program}), ("libsqlite3-dev", {self.library}),
                                  ("libspdlog-dev", {self.library}), ("nlohmann-json3-dev", {self.program}),
                                  ("rapidjson-dev", {self.program}),
                                  ("libasio-dev", {self.program, self.library}),
                                  ("libutfcpp-dev", {self.program, self.library, self.plugin})):
            self.assertEqual({each for each in within if "SPDXRef-Package-" + package in within[each]}, binaries, package)

    def test_is_a_document_that_holds_what_it_speaks_of(self):
        self.assertEqual(self.document["spdxVersion"], "SPDX-2.3")
        self.assertEqual(self.document["dataLicense"], "CC0-1.0")
        self.assertEqual(self.document["creationInfo"]["created"], "2001-09-09T01:46:40Z")
        named = [each["SPDXID"] for each in self.document["packages"] + self.document["files"]]
        self.assertEqual(len(named), len(set(named)))
        spoken = {each[end] for each in self.document["relationships"] for end in ("spdxElementId", "relatedSpdxElement")}
        self.assertEqual(spoken, {*named, "SPDXRef-DOCUMENT"})
        for package in self.document["packages"]:
            if package["name"] == "libssl3":
                version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", "libssl3"], capture_output=True, text=True).stdout
                self.assertEqual(package["versionInfo"], version)
                self.assertIn("pkg:deb/debian/libssl3@3.", package["externalRefs"][0]["referenceLocator"])

    def test_tells_each_file_by_its_sum(self):
        for file in self.document["files"]:
            told = subprocess.run(["sha256sum", FOLDER / "root" / file["fileName"]], capture_output=True, text=True, check=True)
            sums = {each["algorithm"]: each["checksumValue"] for each in file["checksums"]}
            self.assertEqual(sums["SHA256"], told.stdout.split()[0])

    def test_is_the_same_each_time(self):
        self.assertEqual(write(FOLDER / "root", FOLDER / "second.json").returncode, 0)
        self.assertEqual((FOLDER / "first.json").read_bytes(), (FOLDER / "second.json").read_bytes())

    def test_a_binary_of_another_build_is_refused(self):
        (FOLDER / "other/bin").mkdir(parents=True)
        shutil.copy("/usr/bin/true", FOLDER / "other/bin/stranger")
        told = write(FOLDER / "other", FOLDER / "third.json")
        self.assertEqual(told.returncode, 1)
        self.assertEqual(told.stderr, f"sbom: {BUILD} knows nothing of bin/stranger\n")
        self.assertFalse((FOLDER / "third.json").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
