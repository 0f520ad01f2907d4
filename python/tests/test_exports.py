"""Our calibrations made into those of other programs, and read back."""

import os
import pickle
import re

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BASE, HEAD
import tool

NAVIGATION = "navigation_camera"
POSE = [[0, 1, 0, 0], [-1, 0, 0, 0.1], [0, 0, 1, -0.4]]


def message(camera):
    return camera.to_dict()


@pytest.mark.parametrize("options, flags", [
    ({"format": "ros"}, ["--format", "ros"]),
    ({"format": "ros", "syntax": "ini"}, ["--format", "ros", "--syntax", "ini"]),
    ({"format": "ros", "distortion_model": "rational_polynomial"},
     ["--format", "ros", "--distortion-model", "rational_polynomial"]),
    ({"format": "ros", "distortion_model": "plumb_bob", "max_error": 9},
     ["--format", "ros", "--distortion-model", "plumb_bob", "--max-error", "9"]),
    ({"format": "kalibr", "parent": "imu"}, ["--format", "kalibr", "--parent", "imu"]),
    ({"format": "kalibr", "parent": "imu", "parent_from_robot": POSE},
     ["--format", "kalibr", "--parent", "imu", "--parent-from-robot", "0 1 0 0 -1 0 0 100 0 0 1 -400"]),
    ({"format": "opencv", "syntax": "xml"}, ["--format", "opencv", "--syntax", "xml"]),
    ({"format": "opencv", "syntax": "json", "size": (640, 480)},
     ["--format", "opencv", "--syntax", "json", "--size", "640x480"]),
    ({"format": "opencv", "pixel_origin": "corner"}, ["--format", "opencv", "--pixel-origin", "corner"]),
    ({"format": "mrcal"}, ["--format", "mrcal"]),
    ({"format": "basalt"}, ["--format", "basalt"]),
])
def test_what_is_written_is_what_the_tool_writes(options, flags):
    result = cp.export_calibration(HEAD, camera=NAVIGATION, **options)
    text, report = tool.run("export", HEAD, "--camera", NAVIGATION, *flags, "-o", "-")
    assert result.text == text and list(result.files) == [""]
    camera = result.cameras[0]
    how = "exact" if camera.exact else f"max {camera.deviation.max:.3g} px, rms {camera.deviation.rms:.3g} px"
    assert f"  {NAVIGATION}: {how} at {camera.size[0]}x{camera.size[1]}" in report
    notes = [note.replace("--parent-from-robot", "parent_from_robot") for note in re.findall("^note: (.*)$", report, re.M)]
    assert notes == result.notes
    assert f"format {result.format}, " in report
    assert ("as they are" in report) == (result.pixel_origin == "corner")


@pytest.mark.parametrize("format, poses", [
    ("ros", False), ("kalibr", True), ("opencv", False), ("mrcal", True), ("colmap", True), ("basalt", True)])
def test_what_is_exported_imports_as_the_same_camera(format, poses):
    cameras = cp.CameraParametersSet.from_file(HEAD)
    parent = {"parent": "imu"} if format == "kalibr" else {}
    result = cp.export_calibration(cameras, format, camera=NAVIGATION, **parent)
    options = {"parent": "imu", "parent_from_robot": np.eye(4)} if format == "kalibr" else {"parent": "robot"}
    back = cp.import_calibration(result.files, format=format, scale=1, name=NAVIGATION, **options).cameras[NAVIGATION]
    wanted, got = message(cameras[NAVIGATION]), message(back)
    assert result.cameras[0].exact
    for key in ("fx", "fy", "radial", "tangential", "width", "height"):
        assert got["intrinsics"][key] == wanted["intrinsics"][key]
    for key in ("cx", "cy"):
        # Half a pixel subtracted and added again: a unit in the last place.
        assert abs(got["intrinsics"][key] - wanted["intrinsics"][key]) <= np.spacing(wanted["intrinsics"][key])
    if poses:
        # Rotations as they are or, of quaternions, the nearest one: the file's has nine digits. Millimetres.
        difference = np.abs(np.subtract(got["extrinsics"]["a"], wanted["extrinsics"]["a"])).reshape(3, 4)
        assert difference[:, :3].max() < 1e-8 and difference[:, 3].max() < 1e-5


def test_a_size_is_written_by_the_librarys_floats():
    camera = cp.CameraParametersSet.from_file(HEAD)[NAVIGATION]
    result = cp.export_calibration(camera, "opencv", size=(640, 480))
    back = cp.import_calibration(result.files, name="a").cameras["a"]
    assert np.array_equal(back.intrinsics(640, 480).matrix, camera.intrinsics(640, 480).matrix)
    assert np.array_equal(back.intrinsics(640, 480).distortion, camera.intrinsics(640, 480).distortion)
    with pytest.raises(cp.CalibrationError) as raised:
        cp.export_calibration(HEAD, "opencv", camera=NAVIGATION, size=(641, 480))
    sizes = ", ".join(f"{width}x{height}" for width, height in camera.sizes)
    assert str(raised.value) == f'{HEAD}: the camera "{NAVIGATION}" does not deliver 641x480 (but {sizes})'


def test_files_are_written_where_they_should_be(tmp_path):
    output = tmp_path / "small.json"
    result = cp.export_calibration(HEAD, "opencv", output, camera=NAVIGATION)
    assert result.syntax == "json" and output.read_bytes() == result.files[""]
    assert cp.import_calibration(output).cameras.names == ["small"]
    scene = cp.export_calibration(HEAD, "colmap", tmp_path / "scene", max_error=9)
    assert sorted(os.listdir(tmp_path / "scene")) == sorted(scene.files)
    alone = cp.export_calibration(HEAD, "colmap", tmp_path / "cameras.txt", max_error=9)
    assert (tmp_path / "cameras.txt").read_bytes() == alone.files["cameras.txt"]
    assert alone.notes[-1] == "poses are in COLMAP's images.txt, which goes into a folder alone"
    assert result.save(tmp_path / "again.json") == [str(tmp_path / "again.json")]
    with pytest.raises(OSError, match="No such file or directory"):
        result.save(tmp_path / "none" / "a.json")


def test_the_calibration_itself_is_not_written_over(tmp_path):
    path = tmp_path / "robot.txt"
    path.write_bytes(HEAD.read_bytes())
    with pytest.raises(cp.CalibrationError) as raised:
        cp.export_calibration(path, "opencv", path, camera=NAVIGATION)
    assert str(raised.value) == f"{path}: is the calibration that is read, which is not to be written over"
    assert path.read_bytes() == HEAD.read_bytes()


@pytest.mark.parametrize("arguments, options, error, text", [
    ((HEAD, "cv"), {}, ValueError, "format: expected one of ros, kalibr, opencv, mrcal, colmap, basalt, got 'cv'"),
    ((HEAD, "ros"), {"syntax": "json"}, ValueError, "syntax: ros is written as yaml or ini"),
    ((HEAD, "mrcal"), {"syntax": "yaml"}, ValueError, "syntax: mrcal is written in one syntax alone"),
    ((HEAD, "ros"), {"syntax": "ini", "distortion_model": "rational_polynomial"}, ValueError,
     "distortion_model: rational_polynomial is for yaml, since ini has five coefficients"),
    ((HEAD, "ros"), {"distortion_model": "fisheye"}, ValueError,
     "distortion_model: expected one of plumb_bob, rational_polynomial, got 'fisheye'"),
    ((HEAD, "opencv"), {"distortion_model": "plumb_bob"}, ValueError, "distortion_model: is for the format ros"),
    ((HEAD, "kalibr"), {"parent_from_robot": np.eye(4)}, ValueError,
     "parent_from_robot: needs parent, the name of a frame that is not robot"),
    ((HEAD, "kalibr"), {"parent": "robot", "parent_from_robot": np.eye(4)}, ValueError,
     "parent: is robot, so that there is no pose between, and parent_from_robot gives one"),
    ((HEAD, "ros"), {"pixel_origin": "middle"}, ValueError, "pixel_origin: expected one of centre, corner, got 'middle'"),
    ((HEAD, "ros"), {"max_error": -1}, ValueError, "max_error: expected a number from 0 on, got -1"),
    ((HEAD, "ros"), {"camera": "head"}, KeyError, "\"no camera 'head'\""),
    ((HEAD, "colmap"), {"camera": [NAVIGATION, NAVIGATION]}, cp.CalibrationError,
     f'{HEAD}: the camera "{NAVIGATION}" is to be written more than once'),
    ((BASE, "ros"), {}, cp.CalibrationError, f"{BASE}: holds the calibration of a mobile base, not of fixed cameras"),
    ((b"wheel_base: x", "ros"), {}, cp.CalibrationError, "1:13: wheel_base: Expected double, got: x (in source)"),
    ((b"", "ros"), {}, cp.CalibrationError, "holds no camera (in source)"),
    ((HEAD, "ros"), {}, cp.CalibrationError,
     f"{HEAD}: ROS' files hold one camera each, and there are 2: choose with camera="),
    ((3, "ros"), {}, TypeError, "source: expected a path, bytes, a dict or an object that holds a calibration, got int"),
])
def test_what_cannot_be_written_is_refused(arguments, options, error, text):
    with pytest.raises(error) as raised:
        cp.export_calibration(*arguments, **options)
    assert str(raised.value) == text


def test_what_a_format_cannot_hold_is_refused():
    robot = cp.CameraParametersSet.from_file(HEAD).to_dict()
    robot["camera_calibration"][1]["intrinsics"]["skew"] = 3.0
    with pytest.raises(cp.CalibrationError) as raised:
        cp.export_calibration(robot, "opencv", camera=robot["camera_calibration"][1]["name"])
    assert "skew" in raised.value.text
    with pytest.raises(cp.CalibrationError) as raised:
        cp.export_calibration(HEAD, "ros", camera="head_camera", distortion_model="plumb_bob")
    assert raised.value.text.startswith("camera head_camera would be written with max 0.935 px")
    assert raised.value.text.endswith("more than the 0.1 px that max_error allows")
    with pytest.raises(cp.CalibrationError, match='5: distortion_model="plumb_bob" fits these'):
        cp.export_calibration(HEAD, "ros", camera="head_camera", syntax="ini")
    with pytest.raises(cp.CalibrationError):
        cp.export_calibration(HEAD, "kalibr", camera=NAVIGATION, parent="imu", parent_from_robot=np.diag([0, 0, 0, 1.0]))


def test_several_cameras_are_written_in_the_order_that_is_asked_for():
    names = ["navigation_camera", "head_camera"]
    assert [camera.name for camera in cp.export_calibration(HEAD, "basalt", camera=names, max_error=9).cameras] == names


def test_formats_are_those_of_the_tool():
    usage, _ = tool.run("import", "--help")
    assert "|".join(cp.formats) in "".join(usage.split())


def test_results_are_values():
    result = cp.export_calibration(HEAD, "opencv", camera=NAVIGATION)
    assert pickle.loads(pickle.dumps(result)) == result


def test_a_moved_camera_is_written_where_it_is():
    cameras = cp.CameraParametersSet.from_file(HEAD)
    cameras.adjust_using_base_calibration(cp.BaseCalibrationData())
    whole = cp.export_calibration(cameras, "mrcal", camera=NAVIGATION)
    alone = cp.export_calibration(cameras[NAVIGATION], "mrcal")
    assert whole.text == alone.text != cp.export_calibration(HEAD, "mrcal", camera=NAVIGATION).text
