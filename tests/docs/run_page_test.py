#!/usr/bin/env python3
"""That run_page.py finds fault with a page that is wrong: run_page_test.py COMMAND..., to which a page is added."""

import pathlib
import subprocess
import sys
import tempfile

PAGES = {
    "as shown": ("```console\n$ echo one; echo two\none\ntwo\n```\n", None),
    "another output": ("```console\n$ echo one\ntwo\n```\n", "and the page shows\ntwo"),
    "more output": ("```console\n$ echo one; echo two\none\n```\n", "and the page shows\none"),
    "less output": ("```console\n$ echo one\none\ntwo\n```\n", "and the page shows\none\ntwo"),
    "left out": ("```console\n$ seq 5\n1\n...\n5\n```\n", None),
    "a number that does not vary": ("```console\n$ echo at 2\nat 1\n```\n", "prints\nat 2"),
    "a number that varies": ("<!-- varies: number -->\n```console\n$ echo at 2\nat 1\n```\n", None),
    "a word beside a number": ("<!-- varies: number -->\n```console\n$ echo on 2\nat 1\n```\n", "prints\non 2"),
    "an exit code": ("```sh\nfalse\n```\n", "ended with 1, not with 0"),
    "one in the middle": ("```sh\nfalse\ntrue\n```\n", "ended with 1, not with 0"),
    "one that is told": ("<!-- ends with: 1 -->\n```sh\nfalse\n```\n", None),
    "one that does not come": ("<!-- ends with: 1 -->\n```sh\ntrue\n```\n", "ended with 0, not with 1"),
    "an unknown language": ("```cpp\nint main() {}\n```\n", "nothing runs a block of 'cpp'"),
    "no language": ("```\nls\n```\n", "nothing runs a block of ''"),
    "indented": ("Text\n\n    ls\n", "has no language"),
    "one that says why": ("<!-- not run: it takes root -->\n```\nls\n```\n", None),
    "a mark on nothing": ("<!-- not run: it takes root -->\n\n```sh\nfalse\n```\n", "belong to no block"),
    "a mark that is none": ("<!-- vary: number -->\n```sh\ntrue\n```\n", "there is no mark 'vary'"),
    "no JSON": ("```json\n{\n```\n", "is no JSON"),
    "a scenario that differs": ('```json\n{"name": "a", "devices": [{"id": [1, 78, 1, 1], "kind": "sonar"}], "steps": [{"request": '
                                '[["x5Range", "double", 50.0]], "expect": []}]}\n```\n', "scenario --check"),
    "a file for the next": ("<!-- file: a.py -->\n```python\nprint(1)\n```\n\n```console\n$ python3 a.py\n1\n```\n", None),
    "a program that fails": ("```python\nraise SystemExit(3)\n```\n", "ended with 3"),
    "after it": ("<!-- after: test -e there -->\n```sh\ntrue\n```\n", "test -e there"),
    "beside it": ("<!-- beside: sh -c 'echo up; exec sleep 1000'; until: up -->\n```sh\ntrue\n```\n", None),
    "what ends beside it": ("<!-- beside: false; until: up -->\n```sh\ntrue\n```\n", "false ended with 1"),
    "in a list": ("1. One\n\n   ```console\n   $ printf 'a\\n b\\n'\n   a\n    b\n   ```\n", None),
    "ports": ("```sh\nqx5 sim --help\ntest 127.0.0.1:7000 != 127.0.0.1:$((7000 + 0))\n```\n", None),
}


def main():
    wrong = 0
    with tempfile.TemporaryDirectory() as folder:
        page = pathlib.Path(folder) / "page.md"
        for name, (text, problem) in PAGES.items():
            page.write_text(f"# Page\n\n{text}", encoding="utf-8")
            done = subprocess.run([*sys.argv[1:], page], capture_output=True, text=True, check=False)
            if done.returncode != (1 if problem else 0) or (problem or "") not in done.stderr:
                wrong += 1
                print(f"{name}: expected {problem}, ended with {done.returncode}:\n{done.stdout}{done.stderr}", file=sys.stderr)
    sys.exit(1 if wrong else 0)


main()
