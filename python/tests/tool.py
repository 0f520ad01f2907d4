"""The command-line tool, whose answers the package's are held to."""

import json
import subprocess

import pytest

from calibrations import BUILD, environment_of_programs

TOOL = BUILD / "tools" / "camera-parameters"


def run(*arguments, status=0):
    """The tool's standard output and standard error."""
    if not TOOL.exists():
        pytest.fail(f"{TOOL} is missing: build the target camera-parameters")
    result = subprocess.run([str(TOOL), *map(str, arguments)], env=environment_of_programs(), capture_output=True,
                            text=True, check=False)
    assert result.returncode == status, result.stderr
    return result.stdout, result.stderr


def run_json(*arguments, status=0):
    """The document that it prints with --json."""
    return json.loads(run(*arguments, "--json", status=status)[0])
