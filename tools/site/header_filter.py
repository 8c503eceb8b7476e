#!/usr/bin/env python3
"""A header of the host contract as Doxygen is to see it: header_filter.py FILE prints it, line for line.

A declaration that follows one of the same name directly, without a comment of its own, shares that one's comment: Doxygen wants it
said anew. Left out are members that every class has (copies, moves, destructors) and that say nothing of their own, forward
declarations of the host's own, and what is taken over from a base class.
"""

import pathlib
import re
import sys

NAME = re.compile(r"(~?\w+|operator\s*[^\s\w(]+)\s*\(")
SPECIAL = re.compile(r"^\s*(?:constexpr\s+|virtual\s+|explicit\s+)*(?:(\w+)\((?:\1(?: const)?&&?(?: \w+)?)?\)|~(\w+)\(\)|(\w+)& operator=\(\3(?: const)?&&?(?: \w+)?\))"
                     r"\s*(?:noexcept\s*)?(?:override\s*)?(?:=\s*(?:default|delete)\s*)?;$")


FORWARD = re.compile(r"^namespace vordal \{\n(?:(?:struct|class) \w+;\n)+\}", re.MULTILINE)
TAKEN_OVER = re.compile(r"^ +using \w+::\w+;$", re.MULTILINE)


def main():
    comment, name, own, is_open = [], None, [], False
    text = FORWARD.sub(lambda found: "\n" * found.group(0).count("\n"), pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    for line in TAKEN_OVER.sub("", text).splitlines():
        bare = line.strip()
        if bare.startswith("///"):
            own.append(bare[3:].strip())
            print(line)
            continue
        found = NAME.search(bare)
        if not bare or bare.startswith("//") or is_open or not found:
            # A declaration may go on over several lines; what is none ends the run.
            if not is_open:
                comment, name = [], None
            is_open = is_open and not bare.endswith((";", "}"))
            own = []
            print(line)
            continue
        if SPECIAL.match(line) and not own:
            print()
            continue
        if own:
            comment, name = own, found.group(1)
        elif found.group(1) == name:
            line = f"/** {' '.join(comment)} */ {bare}"
        else:
            comment, name = [], None
        is_open = not bare.endswith((";", "}"))
        own = []
        print(line)


main()
