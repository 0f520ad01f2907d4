"""Tests of run_document.py with a program that prints its arguments and fails where they begin with "bad"."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testing"))
import run_document  # noqa: E402

PROGRAM = '#!/bin/sh\ntest "$1" = file && exec cat "$2"\necho "$@"\ntest "$1" != bad\n'


class RunDocument(unittest.TestCase):
    def problems(self, text):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "page.md").write_text(text, encoding="utf-8")
            program = folder / "program"
            program.write_text(PROGRAM, encoding="utf-8")
            program.chmod(0o755)
            return list(run_document.run(folder / "page.md", program, folder))

    def test_commands_have_to_succeed(self):
        self.assertEqual(self.problems("text\n\n    camera-parameters a b\n"), [])
        self.assertIn("exits with 1", self.problems("    camera-parameters bad\n")[0])
        self.assertEqual(len(self.problems("    camera-parameters bad\n    camera-parameters bad\n")), 2)
        self.assertIn("no command", self.problems("    other words\n")[0])

    def test_what_is_shown_has_to_be_printed(self):
        self.assertEqual(self.problems("    camera-parameters a b\n    a b\n"), [])
        self.assertIn("does not print\na c\n", self.problems("    camera-parameters a b\n    a c\n")[0])
        self.assertEqual(len(self.problems("    camera-parameters a\n    b\n    camera-parameters a\n    b\n")), 2)

    def test_numbers_may_differ_by_a_twentieth(self):
        self.assertEqual(self.problems("    camera-parameters x 1e-05 px\n    x 1.04e-05 px\n"), [])
        self.assertEqual(len(self.problems("    camera-parameters x 1e-05 px\n    x 1.1e-05 px\n")), 1)
        self.assertEqual(len(self.problems("    camera-parameters x 1e-05 px\n    y 1e-05 px\n")), 1)

    def test_files_are_those_that_are_shown(self):
        self.assertEqual(self.problems("```text\n# a.txt\nb\n```\n\n    camera-parameters file a.txt\n    b\n"), [])


if __name__ == "__main__":
    unittest.main()
