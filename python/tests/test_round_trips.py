"""What is written reads back, with all of its fields."""

import os
import pickle

import camera_parameters as cp
import pytest

from calibrations import BASE, HEAD, PTZ

KINDS = [(cp.CameraParametersSet, HEAD), (cp.PTZCameraModel, PTZ), (cp.BaseCalibrationData, BASE)]
# Field 1000, which no message has: a varint and a string.
UNKNOWN = b"\xc0\x3e\x07" + b"\xc2\x3e\x03abc"


@pytest.mark.parametrize("kind, file", KINDS)
def test_bytes_text_dict_and_pickle(kind, file):
    made = kind.from_file(file)
    data = made.to_bytes()
    assert data
    assert kind.from_bytes(data).to_bytes() == data
    assert kind.from_text(made.to_text()).to_bytes() == data
    assert kind.from_dict(made.to_dict()).to_bytes() == data
    assert pickle.loads(pickle.dumps(made)).to_bytes() == data


@pytest.mark.parametrize("kind, file", KINDS)
def test_fields_that_are_not_known_are_kept_in_bytes(kind, file):
    data = kind.from_file(file).to_bytes() + UNKNOWN
    made = kind.from_bytes(data)
    assert made.to_bytes() == data
    assert pickle.loads(pickle.dumps(made)).to_bytes() == data
    with pytest.raises(cp.CalibrationError, match="1000"):
        made.to_text()
    assert made.to_dict() == kind.from_file(file).to_dict()


def entry(**fields):
    return {"camera_calibration": [dict(cp.CameraParametersSet()["navigation_camera"].to_dict(), **fields)]}


def test_a_camera_keeps_fields_that_are_not_known():
    camera = cp.CameraParametersSet()["head_camera"].to_bytes() + UNKNOWN[:3]
    length = bytes([len(camera) & 127 | 128, len(camera) >> 7 & 127 | 128, len(camera) >> 14])
    cameras = cp.CameraParametersSet.from_bytes(b"\x0a" + length + camera)
    assert UNKNOWN[:3] in cameras["head_camera"].to_bytes()
    assert UNKNOWN[:3] in pickle.loads(pickle.dumps(cameras["head_camera"])).to_bytes()


@pytest.mark.parametrize("number", [5e-324, 1.7976931348623157e308, 0.1, -0.0, 1 / 3, "NaN", "Infinity", "-Infinity"])
def test_numbers_keep_their_bits(number):
    intrinsics = dict(entry()["camera_calibration"][0]["intrinsics"], skew=number)
    cameras = cp.CameraParametersSet.from_dict(entry(intrinsics=intrinsics))
    written = cameras.to_dict()["camera_calibration"][0]["intrinsics"]["skew"]
    assert float(written) == float(number) or number == "NaN" == written
    assert str(float(written)) == str(float(number))
    data = cameras.to_bytes()
    assert cp.CameraParametersSet.from_text(cameras.to_text()).to_bytes() == data
    assert cp.CameraParametersSet.from_dict(cameras.to_dict()).to_bytes() == data


def test_long_integers_are_strings_in_dicts():
    moment = str(2**63 - 1)
    adjusted = [{"metadata": {"calibration_time": moment}}]
    cameras = cp.CameraParametersSet.from_dict(entry(adjusted_by=adjusted))
    assert cameras.to_dict()["camera_calibration"][0]["adjusted_by"] == adjusted


@pytest.mark.parametrize("name", ["", "Kopf-Ära", "\U0001f916", "a\0b", "a\nb", " ", "'\"\\"])
def test_names_of_any_characters(name):
    cameras = cp.CameraParametersSet.from_dict(entry(name=name))
    assert cameras.names == [name] and name in cameras and cameras[name].name == name
    assert repr(cameras[name]).startswith(f"CameraParameters({name!r}, ")
    assert cp.CameraParametersSet.from_text(cameras.to_text()).names == [name]
    assert pickle.loads(pickle.dumps(cameras[name])).name == name


def test_names_that_are_no_utf_8():
    cameras = cp.CameraParametersSet.from_dict(entry(name="XX"))
    broken = cp.CameraParametersSet.from_bytes(cameras.to_bytes().replace(b"XX", b"\xff\x80"))
    [name] = broken.names
    assert name == "\udcff\udc80" and name in broken and broken[name].name == name
    assert pickle.loads(pickle.dumps(broken)).names == [name]
    assert repr(broken) == r"CameraParametersSet(['\udcff\udc80'])"
    assert "\ud800" not in broken and broken.get_camera("\ud800") is None
    with pytest.raises(KeyError, match="no camera"):
        broken["\ud800"]


@pytest.mark.parametrize("as_path", [str, os.fsencode, lambda path: path], ids=["str", "bytes", "PathLike"])
def test_paths_of_any_type(tmp_path, as_path):
    path = tmp_path / "Kamera \udcff.txt"
    cameras = cp.CameraParametersSet()
    cameras.save(as_path(path))
    assert cp.CameraParametersSet.from_file(as_path(path)).to_bytes() == cameras.to_bytes()
    cameras.load_from_file(as_path(path))
    path.write_text("x")
    with pytest.raises(cp.CalibrationError) as caught:
        cp.CameraParametersSet.from_file(as_path(path))
    assert caught.value.path == str(path)


def test_files_that_cannot_be_opened(tmp_path):
    os.mkfifo(tmp_path / "fifo")
    load = cp.CameraParametersSet.from_file
    with pytest.raises(IsADirectoryError) as caught:
        load(tmp_path)
    assert caught.value.filename == str(tmp_path)
    with pytest.raises(FileNotFoundError):
        load(tmp_path / "none")
    with pytest.raises(cp.CalibrationError, match="a FIFO"):
        load(tmp_path / "fifo")
    with pytest.raises(ValueError, match="null byte"):
        load("a\0b")
    with pytest.raises(FileNotFoundError):
        cp.CameraParametersSet().save(tmp_path / "none" / "x.txt")


def test_a_load_that_fails_puts_the_default_in_force(tmp_path):
    (tmp_path / "x.txt").write_text("x")
    cameras = cp.CameraParametersSet.from_dict(entry(name="x"))
    assert cameras.names == ["x"]
    with pytest.raises(cp.CalibrationError):
        cameras.load_from_file(tmp_path / "x.txt")
    assert set(cp.CameraParametersSet().names) <= set(cameras.names)
    assert cameras.to_bytes() == cp.CameraParametersSet().to_bytes()
