"""Sets of cameras: how they are made, and how they hold what they were made from."""

import camera_parameters as cp
import pytest

from calibrations import HEAD


def test_names_are_those_of_the_file_in_its_order():
    cameras = cp.CameraParametersSet.from_file(HEAD)
    assert cameras.names == ["head_camera", "navigation_camera"]
    assert list(cameras) == cameras.names and len(cameras) == 2


def test_a_missing_file_is_an_os_error(tmp_path):
    with pytest.raises(FileNotFoundError):
        cp.CameraParametersSet.from_file(tmp_path / "none.txt")
