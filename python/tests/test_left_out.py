"""Tests that lack something are left out, and fail where nothing may be left out."""

import os
import pathlib
import shutil
import subprocess
import sys

import pytest

MODULE = "import pytest\npytest.importorskip('no_such_module')\n\n\ndef test():\n    pass\n"
FUNCTION = "import pytest\n\n\ndef test():\n    pytest.importorskip('no_such_module')\n"


def run(folder, text, required):
    """What pytest ends with, and says, in a folder that holds a file of the text and our conftest.py."""
    shutil.copy(pathlib.Path(__file__).with_name("conftest.py"), folder)
    (folder / "test_it.py").write_text(text, encoding="utf-8")
    environment = {**os.environ, "CAMERA_PARAMETERS_REQUIRE_REFERENCES": required}
    ran = subprocess.run([sys.executable, "-m", "pytest", "-q", "-rs", "-p", "no:cacheprovider", str(folder)],
                         env=environment, capture_output=True, text=True, check=False)
    return ran.returncode, ran.stdout


@pytest.mark.parametrize("text, left_out", [(MODULE, 5), (FUNCTION, 0)])
def test_what_is_left_out_is_said(tmp_path, text, left_out):
    code, said = run(tmp_path, text, "")
    assert code == left_out
    assert "1 skipped" in said and "no_such_module" in said


@pytest.mark.parametrize("text", [MODULE, FUNCTION])
def test_where_nothing_may_be_left_out_it_fails(tmp_path, text):
    code, said = run(tmp_path, text, "1")
    assert code not in (0, 5)
    assert "left out, where nothing may be" in said and "no_such_module" in said
