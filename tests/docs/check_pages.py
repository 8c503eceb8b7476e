#!/usr/bin/env python3
"""Holds the documents against one another and against the commands: links lead somewhere, the index names every page, commands
within sentences exist with their options, the newest entry of the changes is this version's.

    check_pages.py --program BUILD/bin/qx5
"""

import argparse
import functools
import pathlib
import re
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parents[2]
DOCS = SOURCE / "docs"
PAGES = sorted((DOCS / "manual").glob("*.md"))
OTHERS = [DOCS / "index.md", DOCS / "scale.md", SOURCE / "README.md", SOURCE / "CONTRIBUTING.md", SOURCE / "CHANGELOG.md"]


def without_code(text):
    return re.sub(r"(?ms)^ *```.*?^ *```$", "", text)


def anchors(file):
    """What links may name in it, as GitHub, the site and the window call headings."""
    headings = re.findall(r"(?m)^#+ (.*)$", without_code(file.read_text(encoding="utf-8")))
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def links(problems):
    count = 0
    for file in PAGES + OTHERS:
        text = re.sub(r"`[^`\n]*`", "", without_code(file.read_text(encoding="utf-8")))
        for target in re.findall(r"\]\(([^)\s]*)\)", text) + re.findall(r"(?m)^\[[^]]+\]: (\S+)$", text):
            count += 1
            name, _, anchor = target.partition("#")
            there = (file.parent / name).resolve() if name else file
            where = f"{file.relative_to(SOURCE)}: {target}"
            if "://" in target:
                problems.append(f"{where} leads out of the documents")
            elif not there.is_file():
                problems.append(f"{where} is not there")
            elif not there.is_relative_to(SOURCE):
                problems.append(f"{where} leads out of the project")
            elif anchor and anchor not in anchors(there):
                problems.append(f"{where}: no such heading")
    return count


def index(problems):
    named = re.findall(r"\]\((manual/[^)#]+)\)", (DOCS / "index.md").read_text(encoding="utf-8"))
    there = [str(page.relative_to(DOCS)) for page in PAGES]
    for page in there:
        if named.count(page) != 1:
            problems.append(f"docs/index.md names {page} {named.count(page)} times")
    for page in PAGES:
        text = without_code(page.read_text(encoding="utf-8"))
        if not text.startswith("# ") or len(re.findall(r"(?m)^# ", text)) != 1:
            problems.append(f"{page.name} does not begin with its one heading of the first level")
    return len(there)


@functools.lru_cache(maxsize=None)
def help_of(program, *command):
    return subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True).stdout


def options_and_commands(text):
    options = {name for line in re.findall(r"(?m)^  (-\S+)", text) for name in line.rstrip(":").split(",")}
    _, _, below = text.partition("Subcommands:\n")
    return options, set(re.findall(r"(?m)^  ([a-z][a-z-]*)", below))


def commands(program, problems):
    """Of `qx5 ...` and `./dev ...` in sentences and tables."""
    usage = subprocess.run([SOURCE / "dev", "help"], capture_output=True, text=True, check=True).stdout
    count = 0
    for file in PAGES + OTHERS:
        for code in re.findall(r"`([^`\n]+)`", without_code(file.read_text(encoding="utf-8"))):
            words = code.replace("|", " ").split()
            if words[0] == "./dev" and len(words) > 1:
                count += 1
                if words[1] != "help" and f"./dev {words[1]} " not in usage:
                    problems.append(f"{file.name}: `{code}`: ./dev help has no such command")
            if words[0] != "qx5" or len(words) == 1:
                continue
            count += 1
            chosen = []
            options, below = options_and_commands(help_of(program))
            for word in words[1:]:
                if word in below:
                    chosen.append(word)
                    options, below = options_and_commands(help_of(program, *chosen))
                elif word.startswith("--"):
                    if word.partition("=")[0].rstrip(",.;") not in options:
                        problems.append(f"{file.name}: `{code}`: qx5 {' '.join(chosen)} has no {word}")
                elif not chosen:
                    problems.append(f"{file.name}: `{code}`: qx5 has no {word}")
                    break
    return count


def changes(problems):
    version = re.search(r"(?m)^project\(qx5 VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text()).group(1)
    told = re.findall(r"(?m)^## \[([^]]+)\]", (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8"))
    if not told or told[0] != version:
        problems.append(f"CHANGELOG.md begins with {told[:1]}, and this is {version}")


def main():
    options = argparse.ArgumentParser(description="Holds the documents against one another and against the commands.")
    options.add_argument("--program", type=pathlib.Path, required=True)
    options = options.parse_args()
    problems = []
    print(f"{index(problems)} pages, {links(problems)} links, {commands(str(options.program), problems)} commands")
    changes(problems)
    print("\n".join(problems), file=sys.stderr)
    sys.exit(1 if problems else 0)


main()
