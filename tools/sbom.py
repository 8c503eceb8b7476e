#!/usr/bin/python3
"""Writes what the project's binaries are made of, as an SPDX 2.3 document in JSON.

Of each binary: the libraries that it is linked with, and the packages whose headers or static libraries were compiled into
it. The first is read from the binary, the second from what ninja knows of its objects; whose file each is, dpkg tells. The
same binaries on the same system give the same document.
"""

import argparse
import collections
import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import uuid

ELF = b"\x7fELF"


def output_of(*command: str) -> str:
    return subprocess.run(command, check=True, capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"}).stdout


class Build:
    """What a build folder of ninja knows of its targets."""

    def __init__(self, folder: pathlib.Path):
        self.folder = folder
        self.headers: dict[str, list[str]] = {}
        of = None
        for line in output_of("ninja", "-C", str(folder), "-t", "deps").splitlines():
            if line.startswith("    "):
                self.headers[of].append(line.strip())
            elif line:
                of = line.split(":", 1)[0]
                self.headers[of] = []
        self.by_name = collections.defaultdict(list)
        for line in output_of("ninja", "-C", str(folder), "-t", "targets", "all").splitlines():
            target, _, rule = line.rpartition(": ")
            if "LINKER" in rule and ("EXECUTABLE" in rule or "SHARED" in rule or "MODULE" in rule):
                self.by_name[pathlib.PurePath(target).name].append(target)

    def inputs(self, target: str) -> list[str]:
        """Those that the target is made of itself."""
        found, reading = [], False
        for line in output_of("ninja", "-C", str(self.folder), "-t", "query", target).splitlines():
            if line.startswith("  input:"):
                reading = True
            elif line.startswith("  outputs:"):
                break
            elif reading and not line.strip().startswith("||"):  # what is merely built before
                found.append(line.strip().removeprefix("| "))
        return found

    def files_within(self, target: str) -> set[str]:
        """Headers and static libraries that went into a target, but for those of shared libraries that it is linked with."""
        seen: set[str] = set()
        waiting = [target]
        within: set[str] = set()
        while waiting:
            each = waiting.pop()
            if each in seen:
                continue
            seen.add(each)
            for header in self.headers.get(each, []):
                # One that is compiled beforehand is a target itself.
                (waiting.append(header) if header in self.headers else within.add(header))
            if each.endswith(".a") and os.path.isabs(each):
                within.add(each)
            elif each == target or each.endswith((".a", ".o", ".gch")):
                waiting += self.inputs(each)
        return {os.path.realpath(self.folder / file) for file in within}


class Owners:
    """Whose files are whose, as dpkg tells it."""

    def __init__(self) -> None:
        self.of_file: dict[str, str] = {}
        self.facts: dict[str, tuple[str, str, str]] = {}

    def learn(self, files: set[str]) -> None:
        asked = sorted({name for file in files - self.of_file.keys() for name in (file, "/usr" + file, file.removeprefix("/usr"))})
        for begin in range(0, len(asked), 500):
            # dpkg fails for the names that it does not know, and tells of the others.
            told = subprocess.run(["dpkg-query", "-S", *asked[begin:begin + 500]], capture_output=True, text=True).stdout
            for line in told.splitlines():
                packages, _, file = line.partition(": ")
                for name in (file, os.path.realpath(file)):
                    self.of_file[name] = packages.split(", ")[0].split(":")[0]

    def package(self, file: str) -> str | None:
        name = self.of_file.get(file)
        if name and name not in self.facts:
            fields = "${Version}\t${Architecture}\t${source:Package} ${source:Version}\n"
            version, architecture, source = output_of("dpkg-query", "-W", "-f", fields, name).splitlines()[0].split("\t")
            self.facts[name] = version, architecture, source
        return name


def needed(binary: pathlib.Path) -> list[str]:
    return re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "--dynamic", "--wide", str(binary)))


def library_files() -> dict[str, str]:
    """Where the system finds libraries, by the name that they are linked by."""
    found: dict[str, str] = {}
    for line in output_of("/sbin/ldconfig", "--print-cache").splitlines():
        name, arrow, file = line.strip().partition(" => ")
        if arrow and "/usr/local/" not in file:
            found.setdefault(name.split(" ")[0], os.path.realpath(file))
    return found


def identifier(kind: str, name: str) -> str:
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.]", "-", name)


def document(name: str, version: str, build: Build, roots: list[pathlib.Path]) -> dict:
    binaries: dict[str, pathlib.Path] = {}
    for root in roots:
        for file in sorted(root.rglob("*")):
            if file.is_file() and not file.is_symlink() and "debug" not in file.parts and file.open("rb").read(4) == ELF:
                binaries[str(file.relative_to(root))] = file
    own = {pathlib.PurePath(path).name: path for path in binaries}
    # By the name that others link them by, too.
    for path, file in binaries.items():
        for soname in re.findall(r"\(SONAME\).*\[(.*)\]", output_of("readelf", "--dynamic", "--wide", str(file))):
            own[soname] = path

    libraries = library_files()
    within = {path: set().union(*(build.files_within(t) for t in build.by_name[pathlib.PurePath(path).name])) for path in binaries}
    linked = {path: needed(file) for path, file in binaries.items()}
    owners = Owners()
    owners.learn(set().union(*within.values()) | {libraries[n] for names in linked.values() for n in names if n in libraries})

    relations: set[tuple[str, str, str, str]] = set()
    for path in binaries:
        if not within[path]:
            sys.exit(f"sbom: {build.folder} knows nothing of {path}")
        this = identifier("File", path)
        relations.add((identifier("Package", name), "CONTAINS", this, ""))
        for library in linked[path]:
            if library in own:
                relations.add((this, "DYNAMIC_LINK", identifier("File", own[library]), ""))
                continue
            owner = owners.package(libraries.get(library, ""))
            if not owner:
                sys.exit(f"sbom: no package has {library}, which {path} is linked with")
            relations.add((this, "DYNAMIC_LINK", identifier("Package", owner), library))
        for file in within[path]:
            if owner := owners.package(file):
                how = "a static library" if file.endswith(".a") else "headers of it are compiled in"
                relations.add((this, "STATIC_LINK", identifier("Package", owner), how))

    own_terms = {"licenseConcluded": "NOASSERTION", "licenseDeclared": "NOASSERTION", "copyrightText": "NOASSERTION"}
    packages = [{"SPDXID": identifier("Package", name), "name": name, "versionInfo": version,
                 "downloadLocation": "NOASSERTION", "filesAnalyzed": False, **own_terms,
                 "comment": "The owner has not set terms of use."}]
    for package, (its_version, architecture, source) in sorted(owners.facts.items()):
        packages.append({
            "SPDXID": identifier("Package", package), "name": package, "versionInfo": its_version,
            "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION", "filesAnalyzed": False, **own_terms,
            "licenseComments": f"/usr/share/doc/{package}/copyright", "sourceInfo": f"built from the source package {source}",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": f"pkg:deb/debian/{package}@{its_version.replace('+', '%2B').replace(':', '%3A')}"
                                                  f"?arch={architecture}&distro=bookworm"}]})
    files = []
    for path, file in sorted(binaries.items()):
        content = file.read_bytes()
        files.append({"SPDXID": identifier("File", path), "fileName": f"./{path}", "fileTypes": ["BINARY"],
                      "checksums": [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
                                    {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()}],
                      "licenseConcluded": "NOASSERTION", "licenseInfoInFiles": ["NOASSERTION"], "copyrightText": "NOASSERTION"})
    relationships = [{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
                      "relatedSpdxElement": identifier("Package", name)}]
    for this, kind, other, comment in sorted(relations):
        relationships.append({"spdxElementId": this, "relationshipType": kind, "relatedSpdxElement": other,
                              **({"comment": comment} if comment else {})})
    content = {"packages": packages, "files": files, "relationships": relationships}
    epoch = int(os.environ.get("SOURCE_DATE_EPOCH", "0"))
    created = datetime.datetime.fromtimestamp(epoch, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": f"{name}-{version}",
            "documentNamespace": uuid.uuid5(uuid.NAMESPACE_OID, json.dumps([name, version, content], sort_keys=True)).urn,
            "creationInfo": {"created": created, "creators": ["Tool: qx5-sbom"]}, **content}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--name", required=True, help="of what the binaries belong to")
    parser.add_argument("--version", required=True)
    parser.add_argument("--build", required=True, type=pathlib.Path, help="the build folder that the binaries are from")
    parser.add_argument("--output", required=True, type=pathlib.Path)
    parser.add_argument("roots", nargs="+", type=pathlib.Path, help="folders that the binaries are installed below")
    options = parser.parse_args()
    told = document(options.name, options.version, Build(options.build), options.roots)
    options.output.write_text(json.dumps(told, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
