"""Documents with links that hold and links that do not."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testing"))
import check_links  # noqa: E402


def problems_of(files):
    with tempfile.TemporaryDirectory() as folder:
        for path, text in files.items():
            (pathlib.Path(folder) / path).parent.mkdir(parents=True, exist_ok=True)
            (pathlib.Path(folder) / path).write_text(text, encoding="utf-8")
        return check_links.check(folder)


class CheckLinks(unittest.TestCase):
    def test_links_that_hold(self):
        self.assertEqual(problems_of({
            "README.md": "[a](docs/a.md) and [b](docs/) [c](https://example.org/none) [d](docs/a.md#one-more-thing)\n"
                         "[e](#at-home)\n# At home\n`[code](none.md)`\n```\n[block](none.md)\n```\n",
            "docs/a.md": "## One more thing\n[up](../README.md)\n",
            "build/x.md": "[not ours](none.md)\n",
        }), [])

    def test_a_file_that_is_not_there(self):
        self.assertEqual(problems_of({"docs/a.md": "[up](README.md)\n"}), ["docs/a.md: README.md leads nowhere"])

    def test_every_link_of_a_line_counts(self):
        self.assertEqual(problems_of({"a.md": "[a](a.md) and [b](b.md), [c](c/)\n"}),
                         ["a.md: b.md leads nowhere", "a.md: c/ leads nowhere"])

    def test_a_heading_that_is_not_there(self):
        self.assertEqual(problems_of({"a.md": "# Here\n[there](a.md#there)\n"}), ["a.md: a.md#there names no heading"])
        self.assertEqual(problems_of({"a.md": "[there](#there)\n```\n# there\n```\n"}), ["a.md: #there names no heading"])

    def test_a_folder_without_documents_is_a_problem(self):
        self.assertEqual(len(problems_of({})), 1)


if __name__ == "__main__":
    unittest.main()
