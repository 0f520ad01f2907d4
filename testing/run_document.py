#!/usr/bin/env python3
"""Usage: run_document.py PAGE PROGRAM NAME=FILE...

Runs the commands of a page of the documentation in the order in which they stand there, in a folder of their own: all
lines that are indented by four blanks and begin with "camera-parameters", which PROGRAM stands for. The folder holds the
FILEs under the names that the page calls them by, and what the page shows as files: blocks whose first line is "# NAME".
Each command has to exit with 0, and what the page shows below it, indented like it, has to be among the lines that it
prints, with numbers that differ by 5 % at most: fits end with other digits elsewhere. Prints what is wrong, and exits
with 1.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```text\n# (\S+\.\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
COMMAND = re.compile(r"^    (camera-parameters .*)\n((?:    (?!camera-parameters ).*\n)*)", re.MULTILINE)

NUMBER = re.compile(r"(\d+(?:\.\d+)?(?:e[-+]\d+)?)")


def is_like(shown, printed):
    """Whether two lines say the same, with numbers that are nearly so."""
    pieces, others = NUMBER.split(shown), NUMBER.split(printed)
    if len(pieces) != len(others) or pieces[::2] != others[::2]:
        return False
    pairs = zip(map(float, pieces[1::2]), map(float, others[1::2]))
    return all(abs(a - b) <= 0.05 * max(a, b) for a, b in pairs)


def run(page, program, folder):
    """The commands that failed or said something else, each with what it said."""
    text = page.read_text(encoding="utf-8")
    for name, contents in BLOCK.findall(text):
        (folder / name).write_text(contents, encoding="utf-8")
    commands = COMMAND.findall(text)
    if not commands:
        yield f"{page}: no command"
    for command, shown in commands:
        words = re.sub(r"^camera-parameters", f"'{program}'", command)
        done = subprocess.run(["sh", "-c", words], cwd=folder, text=True, capture_output=True, check=False)
        if done.returncode != 0:
            yield f"{command}\nexits with {done.returncode}:\n{done.stdout}{done.stderr}"
        printed = (done.stdout + done.stderr).splitlines()
        for line in shown.splitlines():
            if not any(is_like(line[4:], other) for other in printed):
                yield f"{command}\ndoes not print\n{line[4:]}\nbut\n{done.stdout}{done.stderr}"


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    page, program = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for pair in sys.argv[3:]:
            target, _, source = pair.partition("=")
            shutil.copy(source, folder / target)
        problems = list(run(page, program, folder))
    print("\n".join(problems))
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
