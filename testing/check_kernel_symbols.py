#!/usr/bin/env python3
"""Usage: check_kernel_symbols.py NM OBJECT[;OBJECT...]

Checks with the program NM that the object files kernels_NAME.cpp.o share no function or variable of C++ with any
other file: the linker keeps one copy of what several files define, and that of a file for a newer processor would
then be called on an older one. Prints what is wrong and exits with 1.
"""

import pathlib
import re
import subprocess
import sys

# What the linker merges: weak functions and objects, and unique ones. Type information, which a sanitizer adds for
# types of functions, holds no instructions.
MERGED = re.compile(r"^[0-9a-f]+ [WVu] (_Z(?!T[IS])\S+)$", re.MULTILINE)
OBJECT = re.compile(r"kernels_(\w+)\.cpp\.o")


def shared_symbols(name, symbols):
    """Of the lines that nm prints, the names of what other files may define too: not in the namespace `name`."""
    own = f"{len(name)}{name}"
    return [symbol for symbol in MERGED.findall(symbols) if own not in symbol]


def check(nm, objects):
    kernels = [(path, OBJECT.fullmatch(pathlib.PurePath(path).name)) for path in objects]
    kernels = [(path, match[1]) for path, match in kernels if match]
    if not kernels:
        return ["no object file of kernels"]
    problems = []
    for path, name in kernels:
        symbols = subprocess.run([nm, path], check=True, capture_output=True, text=True).stdout
        if f"{len(name)}{name}" not in symbols:
            problems.append(f"{path} has nothing of its own")
        problems += [f"{path} shares {symbol}" for symbol in shared_symbols(name, symbols)]
    return problems


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    problems = check(sys.argv[1], sys.argv[2].split(";"))
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
