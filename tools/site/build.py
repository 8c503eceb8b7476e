#!/usr/bin/env python3
"""Builds the manual as a site, OUT/index.html being its first page: build.py OUT --program BUILD/bin/qx5 --python FOLDER. Called by
`./dev docs site`.

What Sphinx is given lies in OUT.work/source: docs/ as it is, CHANGELOG.md and the examples beside it, and the reference that
is made of the host contract's comments (Doxygen), the Python package's (autodoc) and what each command says to --help. A warning of either is an error.
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
# What of a header is shown.
SECTIONS = ("briefdescription detaileddescription innerclass innernamespace define enum func typedef var public-attrib public-func public-static-attrib "
            "public-static-func public-type protected-attrib protected-func user-defined")


def version():
    return re.search(r"^project\(qx5 VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text(), re.MULTILINE).group(1)


def put_together(stage):
    """The pages as links among them need it: docs/ at the top, what docs/ links to outside of itself beside it."""
    shutil.rmtree(stage, ignore_errors=True)
    shutil.copytree(SOURCE / "docs", stage)
    shutil.copytree(SOURCE / "examples", stage / "examples", ignore=shutil.ignore_patterns("__pycache__", ".*"))
    shutil.copy(SOURCE / "CHANGELOG.md", stage)
    shutil.copytree(HERE / "reference", stage / "reference")
    shutil.copytree(HERE / "static", stage / "static")


def underlined(text, line):
    return f"{text}\n{line * len(text)}\n\n"


def list_headers(folder):
    """A page for each library of the host: its headers with what their first line says, and their declarations."""
    folder.mkdir()
    for library in sorted(path for path in (SOURCE / "host").iterdir() if path.is_dir()):
        page = underlined(library.name, "=")
        for header in sorted(library.glob("*.h")):
            name = f"{library.name}/{header.name}"
            first, *more = re.findall(r"(?m)^(?://.*\n)+", re.sub(r"(?m)^///.*\n", "", header.read_text(encoding="utf-8")))
            page += underlined(name, "-") + first.replace("// ", "") + "\n"
            for comment in more:
                page += "::\n\n" + re.sub(r"(?m)^// ?", "   ", comment) + "\n"
            page += f".. doxygenfile:: {name}\n   :sections: {SECTIONS}\n\n"
        (folder / f"{library.name}.rst").write_text(page, encoding="utf-8")


def list_commands(program, page):
    """Each command and those below it, with what it says to --help."""
    text = underlined("Commands and their options", "=") + "What each says to ``--help``. :doc:`../manual/commands` tells what they are for.\n\n"

    def add(command):
        nonlocal text
        said = subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True).stdout
        below = re.findall(r"(?m)^  ([a-z][a-z-]*)", said.partition("Subcommands:\n")[2])
        text += underlined(" ".join(["qx5", *command]), "^" if len(command) > 1 else "-")
        text += "::\n\n" + "".join(f"   {line}".rstrip() + "\n" for line in said.splitlines()) + "\n"
        for each in below:
            add([*command, each])

    add([])
    page.write_text(text, encoding="utf-8")


def read_comments(folder):
    """The host contract's comments as XML; a public declaration without one ends it."""
    folder.mkdir(parents=True, exist_ok=True)
    settings = (HERE / "Doxyfile").read_text() + f'INPUT = "{SOURCE / "host"}"\nOUTPUT_DIRECTORY = "{folder}"\n'
    settings += f'INPUT_FILTER = "/usr/bin/python3 {HERE / "header_filter.py"}"\n'
    settings += f'STRIP_FROM_PATH = "{SOURCE / "host"}"\nSTRIP_FROM_INC_PATH = "{SOURCE / "host"}"\n'
    said = subprocess.run(["doxygen", "-"], input=settings, text=True, capture_output=True, check=False)
    if said.returncode != 0 or said.stderr:
        sys.exit(f"{said.stderr}build.py: Doxygen has something to say against the comments in host/, see above")


def loads_from_elsewhere(out):
    """What a browser would fetch for a page of the site from another place than the site."""
    found = []
    loads = re.compile(r"""<(?:script|img|iframe|source|video|audio|embed|object)\b[^>]*?\b(?:src|data)\s*=\s*["'](?:https?:)?//[^"']*"""
                       r"""|<link\b[^>]*?\bhref\s*=\s*["'](?:https?:)?//[^"']*"""
                       r"""|(?:url\(|@import)\s*["']?(?:https?:)?//[^"')\s]*""")
    for file in sorted(out.rglob("*")):
        if file.suffix in (".html", ".css", ".svg"):
            found += [f"{file.relative_to(out)}: {load}" for load in loads.findall(file.read_text(encoding="utf-8"))]
    return found


def main():
    options = argparse.ArgumentParser(description="Builds the manual as a site.")
    options.add_argument("out", type=pathlib.Path)
    options.add_argument("--program", type=pathlib.Path, required=True, help="the built command qx5")
    options.add_argument("--python", type=pathlib.Path, required=True, help="where the built package qx5 lies")
    options = options.parse_args()
    out = options.out.resolve()
    work = out.with_name(out.name + ".work")
    stage = work / "source"
    put_together(stage)
    list_headers(stage / "reference" / "host")
    list_commands(str(options.program.resolve()), stage / "reference" / "commands.rst")
    read_comments(work / "doxygen")
    shutil.rmtree(out, ignore_errors=True)
    environment = dict(os.environ, QX5_VERSION=version(), QX5_SITE_XML=str(work / "doxygen" / "xml"), LC_ALL="C.UTF-8")
    environment["PYTHONPATH"] = str(options.python.resolve())
    done = subprocess.run(["/usr/bin/python3", "-m", "sphinx", "-W", "--keep-going", "-q", "-E", "-b", "html",
                           "-d", work / "doctrees", "-c", HERE, stage, out], env=environment, check=False)
    # What Sphinx keeps for itself is no part of the site.
    for leftover in (".buildinfo", "objects.inv"):
        (out / leftover).unlink(missing_ok=True)
    if done.returncode != 0:
        sys.exit(done.returncode)
    if found := loads_from_elsewhere(out):
        sys.exit("build.py: pages load from elsewhere:\n" + "\n".join(found))


main()
