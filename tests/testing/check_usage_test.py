"""A manual page and completions that say what a tool understands, and some that do not."""

import pathlib
import stat
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testing"))
import check_usage  # noqa: E402

TOOL = """#!/bin/sh
case $1 in
  show) echo '  -h,--help  Help' ; echo '  --size WxH  Size' ;;
  move) echo '  -h,--help  Help' ; echo '  --to X  Where to' ;;
  *) printf 'Options:\\n  -h,--help  Help\\n\\nVerbs:\\n  show   Look\\n  move   Move\\n' ;;
esac
"""
MANUAL = ".SS show\nLooks.\n\\-\\-size\n.SS move\n\\-\\-to\n.SH OPTIONS\n\\-\\-help\n"
BASH = """_camera_parameters() {
  case ${COMP_WORDS[1]} in
    show) COMPREPLY=(--size --help) ;;
    move) COMPREPLY=(--to --help) ;;
  esac
}
"""


class CheckUsage(unittest.TestCase):
    def problems_of(self, name, text):
        with tempfile.TemporaryDirectory() as folder:
            tool = pathlib.Path(folder) / "tool"
            tool.write_text(TOOL, encoding="utf-8")
            tool.chmod(tool.stat().st_mode | stat.S_IXUSR)
            (pathlib.Path(folder) / name).write_text(text, encoding="utf-8")
            return list(check_usage.problems_of(pathlib.Path(folder) / name, check_usage.usage_of(tool)))

    def test_the_tool_is_asked_for_its_verbs(self):
        self.assertEqual(self.problems_of("tool.1", MANUAL), [])
        self.assertEqual(self.problems_of("tool.bash", BASH), [])
        self.assertEqual(self.problems_of("_tool", "show move --size --to --help"), [])

    def test_a_verb_that_is_missing(self):
        self.assertEqual(self.problems_of("_tool", "show --size --to --help"), ["_tool does not name the verb move"])

    def test_an_option_that_is_missing(self):
        self.assertEqual(self.problems_of("_tool", "show move --to --help"), ["_tool does not name --size"])

    def test_an_option_that_the_tool_does_not_have(self):
        self.assertEqual(self.problems_of("_tool", "show move --size --sizes --to --help"),
                         ["_tool names --sizes, which the tool does not have there"])

    def test_an_option_of_another_verb(self):
        swapped = MANUAL.replace("size", "else").replace("to\n", "size\n").replace("else", "to")
        self.assertIn("tool.1, show does not name --size", self.problems_of("tool.1", swapped))
        self.assertIn("tool.bash, move names --size, which the tool does not have there",
                      self.problems_of("tool.bash", BASH.replace("--to --help", "--to --size --help")))


if __name__ == "__main__":
    unittest.main()
