"""The newcomer's script runs, on the compiled-in calibration and on a file."""

import os
import re
import subprocess
import sys

import pytest

from calibrations import BUILD, HEAD, PTZ, SOURCE

pytest.importorskip("cv2")
SCRIPT = SOURCE / "examples" / "first_steps.py"


@pytest.mark.parametrize("arguments", [[], [str(HEAD)], [str(HEAD), str(PTZ)]])
def test_first_steps(tmp_path, arguments):
    environment = {**os.environ, "PYTHONPATH": str(BUILD / "python")}
    ran = subprocess.run([sys.executable, "-W", "error", str(SCRIPT), *arguments], cwd=tmp_path, env=environment,
                         capture_output=True, text=True, check=False)
    assert ran.returncode == 0 and ran.stderr == "", ran.stderr
    lines = ran.stdout.splitlines()
    assert lines[0] == "CameraParameters('head_camera', model 'mk512h', 1280x960)"
    assert [line.split()[-1] for line in lines[1:4]] == ["OK", "OK", "BEHIND_CAMERA"]
    assert re.fullmatch(r"straightened 1280x960, fx \d+[.]\d", lines[4])
    # What examples/aim.cpp says of the same head at the same position.
    assert re.fullmatch(r"pan 86 and tilt 370 centre it to \d[.]\d px", lines[5])
    # The file is what is compiled in.
    assert lines[-2:] == ["head_camera differs by 0.00 px", "navigation_camera differs by 0.00 px"]


def test_it_is_short():
    assert len(SCRIPT.read_text(encoding="utf-8").splitlines()) <= 40
