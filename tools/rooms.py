#!/usr/bin/python3
"""Draws the rooms of the house: for each folder of the product, which other folders its files include.

The picture stands in CONTRIBUTING.md between two marks; a test compares it with what this prints.
"""

import argparse
import collections
import pathlib
import re
import sys

# The folders that are shipped. What lies in a folder of the second row is one room with it.
PRODUCT = ("protocol", "host", "values", "json", "commands", "operation", "authority", "outbox", "recording", "shell", "sparkplug",
           "broker", "vessel", "fleet", "DeviceDLLs/QX5SonarConfiguration", "DeviceDLLs/X5SonarPicture", "reference_host", "simulator", "python", "cli")
WHOLE = ("protocol", "host", "values", "json", "commands", "operation", "authority", "outbox", "recording", "shell", "sparkplug", "broker", "vessel", "fleet",
         "simulator", "cli/scenario")
SHORT = {"DeviceDLLs/QX5SonarConfiguration": "plug-in", "DeviceDLLs/X5SonarPicture": "picture"}

INCLUDE = re.compile(r'^\s*#\s*include\s+[<"]([^">]+)[">]', re.MULTILINE)
BEGIN, END = "<!-- rooms: written by tools/rooms.py -->\n", "<!-- end of the rooms -->\n"


def room_of(folder: str) -> str:
    # What a platform's room has for Windows is a part of it.
    folder = folder.removesuffix("/windows") if folder.endswith("/platform/windows") else folder
    for whole in WHOLE:
        if folder == whole or folder.startswith(whole + "/"):
            return whole
    return folder


def short(room: str) -> str:
    for long, name in SHORT.items():
        if room == long or room.startswith(long + "/"):
            return name + room[len(long):]
    return room


def read(root: pathlib.Path) -> tuple[dict[str, set[str]], dict[str, int]]:
    """What each room includes of others, and how many lines it has."""
    files = {}
    for top in PRODUCT:
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp") and "build" not in path.relative_to(root).parts:
                files[str(path.relative_to(root))] = path.read_text()
    # What a source may name a file by: from the root, from the contract's and the plug-in's folder, from beside it.
    bases = ("", "host/", "DeviceDLLs/QX5SonarConfiguration/", "DeviceDLLs/X5SonarPicture/")
    uses: dict[str, set[str]] = collections.defaultdict(set)
    lines: collections.Counter[str] = collections.Counter()
    for name, text in files.items():
        folder = str(pathlib.PurePosixPath(name).parent)
        room = room_of(folder)
        lines[room] += text.count("\n")
        uses.setdefault(room, set())
        for included in INCLUDE.findall(text):
            beside = pathlib.PurePosixPath(folder, included)
            parts: list[str] = []
            for part in beside.parts:
                parts = parts[:-1] if part == ".." else [*parts, part]
            for candidate in ("/".join(parts), *(base + included for base in bases)):
                if candidate in files:
                    other = room_of(str(pathlib.PurePosixPath(candidate).parent))
                    if other != room:
                        uses[room].add(other)
                    break
    return uses, lines


def draw(uses: dict[str, set[str]]) -> str:
    """One line for each room, those that use least first; "<->" marks rooms that include each other."""
    depth: dict[str, int] = {}

    def deep(room: str, path: tuple[str, ...]) -> int:
        if room not in depth:
            below = [deep(other, (*path, room)) for other in sorted(uses[room]) if other not in path and other != room]
            if path and any(other in path for other in uses[room]):
                return 1 + max(below, default=-1)
            depth[room] = 1 + max(below, default=-1)
        return depth[room]

    for room in sorted(uses):
        deep(room, ())
    width = max(len(short(room)) for room in uses)
    rows = []
    for room in sorted(uses, key=lambda each: (depth[each], short(each))):
        others = [f"<->{short(other)}" if room in uses[other] else short(other)
                  for other in sorted(uses[room], key=short)]
        rows.append(f"{short(room):{width}}  {', '.join(others) or '-'}")
    return "\n".join(rows) + "\n"


def main() -> int:
    parser = argparse.ArgumentParser(prog="rooms", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent)
    parser.add_argument("--lines", action="store_true", help="print the lines of code of each room instead")
    parser.add_argument("--check", action="store_true", help="only tell whether CONTRIBUTING.md shows the rooms as they are")
    parser.add_argument("--write", action="store_true", help="write the picture into CONTRIBUTING.md")
    options = parser.parse_args()
    uses, lines = read(options.root)
    if options.lines:
        for room in sorted(lines, key=short):
            print(f"{lines[room]:7,}  {short(room)}")
        print(f"{sum(lines.values()):7,}  all")
        return 0
    picture = "```\n" + draw(uses) + "```\n"
    if not options.check and not options.write:
        print(picture, end="")
        return 0
    document = options.root / "CONTRIBUTING.md"
    text = document.read_text()
    before, _, rest = text.partition(BEGIN)
    shown, _, after = rest.partition(END)
    if options.write:
        document.write_text(before + BEGIN + picture + END + after)
    elif shown != picture:
        print("CONTRIBUTING.md shows other rooms than there are: tools/rooms.py --write", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
