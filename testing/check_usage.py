#!/usr/bin/env python3
"""Usage: check_usage.py TOOL FILE...

Checks the tool's manual page (.1) and completions: each FILE names every verb and every long option that the tool's
own help names, and no option that the tool does not have; the manual page and the completion for bash (.bash) do so
verb by verb. Prints what is wrong and exits with 1.
"""

import pathlib
import re
import subprocess
import sys

OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")


def help_of(tool, *verb):
    return subprocess.run([tool, *verb, "--help"], check=True, capture_output=True, text=True).stdout


def usage_of(tool):
    """Verb -> its long options; the empty verb holds those of the tool itself."""
    text = help_of(tool)
    verbs = re.findall(r"^  ([a-z]+) ", text[text.index("\nVerbs:"):], re.MULTILINE)
    return {"": set(OPTION.findall(text)), **{verb: set(OPTION.findall(help_of(tool, verb))) for verb in verbs}}


def differences(where, named, known):
    for option in sorted(known - named):
        yield f"{where} does not name {option}"
    for option in sorted(named - known):
        yield f"{where} names {option}, which the tool does not have there"


def options_in_manual(text, verb):
    """Those that the verb's section of the manual page names."""
    section = re.search(rf"^\.SS {verb}$(.*?)^\.S[SH] ", text, re.MULTILINE | re.DOTALL)
    return set(OPTION.findall(section[1])) if section else set()


def options_completed(path, verb):
    """What bash offers after the verb and two hyphens."""
    script = (f'. "$1"; COMP_WORDS=(camera-parameters {verb} --); COMP_CWORD=2; _camera_parameters; '
              'printf "%s\\n" "${COMPREPLY[@]}"')
    output = subprocess.run(["bash", "-c", script, "bash", path], check=True, capture_output=True, text=True).stdout
    return set(output.split())


def problems_of(path, usage):
    text = path.read_text(encoding="utf-8").replace("\\-", "-")
    yield from differences(path.name, set(OPTION.findall(text)), set().union(*usage.values()))
    for verb in filter(None, usage):
        if not re.search(rf"\b{verb}\b", text):
            yield f"{path.name} does not name the verb {verb}"
        known = usage[verb] - {"--help"}
        if path.suffix == ".1":
            yield from differences(f"{path.name}, {verb}", options_in_manual(text, verb) - {"--help"}, known)
        if path.suffix == ".bash":
            yield from differences(f"{path.name}, {verb}", options_completed(path, verb) - {"--help"}, known)


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    usage = usage_of(sys.argv[1])
    if len(usage) < 2:
        sys.exit("The tool's help names no verbs")
    problems = [problem for path in map(pathlib.Path, sys.argv[2:]) for problem in problems_of(path, usage)]
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
