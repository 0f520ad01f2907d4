#!/usr/bin/env python3
"""Usage: check_links.py FOLDER

Checks that every relative link of every Markdown document below FOLDER (hidden and build folders apart) leads to
a file or folder and, where it names a heading, that the document has it. Prints those that lead nowhere and
exits with 1.
"""

import pathlib
import re
import sys

LINK = re.compile(r"\[[^\]]*\]\(([^()\s]+)\)")
HEADING = re.compile(r"^#+\s+(.*)$", re.MULTILINE)
CODE = re.compile(r"^```.*?^```$|`[^`\n]*`", re.MULTILINE | re.DOTALL)
FOREIGN = re.compile(r"[a-z][a-z0-9+.-]*:")


def anchors_of(text):
    """What a link names a heading by: its words in lower case, joined by hyphens."""
    titles = HEADING.findall(re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL))
    return {re.sub(r"[^\w\- ]", "", title.strip().lower()).replace(" ", "-") for title in titles}


def documents_below(folder):
    for path in sorted(folder.rglob("*.md")):
        parts = path.relative_to(folder).parts[:-1]
        if not any(part.startswith(".") or part == "build" for part in parts):
            yield path


def check(folder):
    folder = pathlib.Path(folder).resolve()
    documents = list(documents_below(folder))
    if not documents:
        return [f"no documents below {folder}"]
    problems = []
    for document in documents:
        text = CODE.sub("", document.read_text(encoding="utf-8"))
        for link in LINK.findall(text):
            if FOREIGN.match(link):
                continue
            path, _, anchor = link.partition("#")
            target = (document.parent / path) if path else document
            if not target.exists():
                problems.append(f"{document.relative_to(folder)}: {link} leads nowhere")
            elif anchor and anchor not in anchors_of(target.read_text(encoding="utf-8")):
                problems.append(f"{document.relative_to(folder)}: {link} names no heading")
    return problems


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    problems = check(sys.argv[1])
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
