"""Arguments that are slips of the pen: each raises what names it, in a sentence that people read."""

import logging
import os
import warnings

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BASE, HEAD, PTZ

CLASSES = [cp.CameraParametersSet, cp.PTZCameraModel, cp.BaseCalibrationData]
LOADED = list(zip(CLASSES, [HEAD, PTZ, BASE]))


@pytest.fixture(autouse=True)
def silent():
    cp.set_log_level(None, "off")
    yield
    cp.set_log_level(None, "warning")
    logging.getLogger("camera_parameters").setLevel(logging.NOTSET)


def error_of(call, *arguments):
    with pytest.raises(cp.CalibrationError) as caught:
        call(*arguments)
    return caught.value


def test_errors_of_dicts_have_the_field():
    expected = {
        "camera_calibration[0].name": {"camera_calibration": [{"name": 12}]},
        "camera_calibration[0].nam": {"camera_calibration": [{"nam": 12}]},
        "x": {"x": 1},
        "camera_calibration[0].intrinsics.radial[1]": {"camera_calibration": [{"intrinsics": {"radial": [0, "four"]}}]},
    }
    for field, wrong in expected.items():
        error = error_of(cp.CameraParametersSet.from_dict, wrong)
        assert error.field == field and field not in error.text
    assert error_of(cp.CameraParametersSet.from_dict, {"x": 1}).text == "no field has this name"


def test_numbers_that_are_not_finite_are_taken_from_dicts():
    written = cp.BaseCalibrationData().to_dict()
    for number, text in [(float("nan"), "NaN"), (float("inf"), "Infinity"), (-float("inf"), "-Infinity")]:
        note = 'Infinity, "NaN" and -Infinity \\'
        written["gyroscope"] = {"gain": number, "metadata": {"operator_note": note}}
        base = cp.BaseCalibrationData.from_dict(written)
        assert base.to_dict()["gyroscope"] == {"gain": text, "metadata": {"operator_note": note}}


@pytest.mark.parametrize("kind", CLASSES)
@pytest.mark.parametrize("text, line, column", [("", 1, 1), ("\n\n", 1, 1), ("a\0", 1, 2), ("\n  \0", 2, 3),
                                                ("\ud800", 1, 1), ("# é\n \udcff\ud800", 2, 3)])
def test_texts_that_do_not_load_have_a_place(kind, text, line, column):
    error = error_of(kind.from_text, text)
    assert (error.line, error.column) == (line, column) and error.path is None


def test_a_text_of_another_kind_has_a_place():
    error = error_of(cp.BaseCalibrationData.from_text, "camera_calibration { }")
    assert error.line is not None and error.column is not None


@pytest.mark.parametrize("kind, path", LOADED)
def test_all_that_is_like_bytes_is_taken(kind, path):
    data = kind.from_file(path).to_bytes()
    twice = np.frombuffer(bytes(byte for byte in data for _ in range(2)), np.uint8)
    for like in [bytearray(data), memoryview(data), memoryview(twice)[::2], np.frombuffer(data, np.uint8)]:
        assert kind.from_bytes(like).to_bytes() == data


@pytest.mark.parametrize("kind", CLASSES)
def test_what_is_no_data_gets_a_short_answer(kind):
    for call, wrong, text in [(kind.from_bytes, "x" * 100000, "data: expected bytes, got str"),
                              (kind.from_text, b"x" * 100000, "text: expected a str, got bytes"),
                              (kind.from_dict, b"x" * 100000, "dict: expected a dict, got bytes")]:
        with pytest.raises(TypeError) as caught:
            call(wrong)
        assert str(caught.value) == text


@pytest.mark.parametrize("name", ["wheel_base", "base_width", "base_length"])
def test_lengths_beyond_float_are_refused(name):
    base = cp.BaseCalibrationData()
    before = getattr(base, name)
    for wrong in [1e300, -1e39, 3.5e38, 10**400]:
        with pytest.raises(ValueError, match=f"^{name}: expected a number within the range of float"):
            setattr(base, name, wrong)
    with pytest.raises(TypeError, match=f"^{name}: expected a number, got str"):
        setattr(base, name, "1")
    assert getattr(base, name) == before
    setattr(base, name, 3.4028234663852886e38)
    assert getattr(base, name) == float(np.finfo(np.float32).max)


def test_gains_beyond_float_are_refused():
    base = cp.BaseCalibrationData()
    with pytest.raises(ValueError, match="^gain: expected a number within the range of float32"):
        base.set_gyroscope_gain(1e300)
    base.set_gyroscope_gain(float("inf"))
    assert base.gyroscope_gain == float("inf")


def test_arrays_beyond_float_become_infinite_without_a_warning():
    camera = cp.CameraParametersSet()["head_camera"]
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert camera.project([1e300, 0, 0], 640, 480).shape == (2,)
        base = cp.BaseCalibrationData()
        base.set_global_transform(np.eye(3), [1, 2, 1e39])
        assert base.world_translation.tolist() == [1, 2, float("inf")]
        swapped = np.array([[1e300, 0.5, 2], [3, 4, 5]], ">f8")[:, ::-1]
        expected = camera.project(np.array([[2, 0.5, np.inf], [5, 4, 3]], np.float32), 640, 480)
        np.testing.assert_array_equal(camera.project(swapped, 640, 480), expected)


def test_arguments_of_the_wrong_type_are_named():
    cameras = cp.CameraParametersSet()
    for call, text in [
            (lambda: cp.import_calibration(None), "sources: expected paths, bytes or a dict of names and contents"),
            (lambda: cp.export_calibration(cameras, "ros", camera=3), "camera: expected a name or several, got int"),
            (lambda: cp.set_log_level(3, 3), "channel: expected a name or None, got int")]:
        with pytest.raises(TypeError, match=f"^{text}"):
            call()


@pytest.mark.parametrize("name, wrong, expected", [
    ("operator_note", 3, "a str"), ("validity_key", 1.5, "a str"), ("calibration_time_ns", "now", "an int of 64 bits"),
    ("calibration_time_ns", 2**63, "an int of 64 bits")])
def test_metadata_say_what_is_expected(name, wrong, expected):
    metadata = cp.CalibrationMetadata(**{name: wrong})
    with pytest.raises(TypeError) as caught:
        cp.BaseCalibrationData().set_gyroscope_gain(1, metadata)
    assert str(caught.value) == f"metadata.{name}: expected {expected} or None, got {wrong!r}"


def test_what_cannot_be_saved_to_has_a_number_and_a_name(tmp_path):
    os.mkfifo(tmp_path / "pipe")
    for kind, path in LOADED:
        with pytest.raises(OSError) as caught:
            kind.from_file(path).save(tmp_path / "pipe")
        assert caught.value.errno and caught.value.filename == str(tmp_path / "pipe") and caught.value.strerror
