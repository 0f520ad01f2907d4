"""The stubs say what the modules hold."""

import os
import re
import subprocess
import sys

import pytest

from calibrations import BUILD, SOURCE

pytest.importorskip("mypy", reason="could not import mypy: mypy is not installed")
# pybind11's classes have a metaclass of their own, which stubs have no name for.
ALLOWED = re.compile(r"^camera_parameters\.\S+ (is inconsistent, )?metaclass differs$")


def run(tmp_path, *arguments):
    environment = {**os.environ, "MYPYPATH": str(BUILD / "python")}
    ran = subprocess.run([sys.executable, "-m", *arguments], cwd=tmp_path, env=environment,
                         capture_output=True, text=True, check=False)
    return ran.returncode, (ran.stdout + ran.stderr).splitlines()


def test_stubs_are_those_of_the_modules(tmp_path):
    # Debian's matplotlib has no types.
    (tmp_path / "mypy.ini").write_text("[mypy]\nignore_missing_imports = True\n", encoding="utf-8")
    _, lines = run(tmp_path, "mypy.stubtest", "--concise", "--mypy-config-file", "mypy.ini", "camera_parameters")
    wrong = [line for line in lines if not ALLOWED.match(line)]
    assert wrong == [] and lines


def test_the_first_steps_are_typed(tmp_path):
    code, lines = run(tmp_path, "mypy", "--ignore-missing-imports", "--follow-imports=silent",
                      "--cache-dir", str(tmp_path), str(SOURCE / "examples" / "first_steps.py"))
    assert code == 0, "\n".join(lines)
