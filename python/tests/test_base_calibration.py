"""The base's calibration: loads, setters, and cameras that it moves."""

import copy
import pickle

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BASE, HEAD, PTZ


def test_values_are_those_of_the_file():
    base = cp.BaseCalibrationData.from_file(BASE)
    sizes = np.array([base.wheel_base, base.base_width, base.base_length], np.float32)
    assert sizes.tobytes() == np.float32([0.42, 0.52, 0.61]).tobytes()
    assert np.float32(base.gyroscope_gain) == np.float32(1.0035)
    rotation = np.float32([[0.999619261, -0.026175952, 0.008726535], [0.026176948, 0.999657325, 0],
                           [-0.008723545, 0.000228434, 0.999961923]])
    assert np.array_equal(base.world_rotation, rotation)
    # Millimetres become metres by a multiplication in single precision: half a unit in the last place.
    assert np.allclose(base.world_translation, [0.0045, -0.00225, 0.0015], rtol=1e-7, atol=0)
    metadata = cp.CalibrationMetadata(1715677200000000000, "default-gyroscope", "default-base", "1.0",
                                      "nominal values, not measured")
    assert base.global_transform_metadata == metadata and base.gyroscope_metadata == metadata


def test_matrices_cannot_be_written():
    base = cp.BaseCalibrationData()
    with pytest.raises(ValueError, match="read-only"):
        base.world_rotation[0, 0] = 1
    with pytest.raises(ValueError, match="read-only"):
        base.world_translation[0] = 1


def test_round_trips_keep_every_field():
    base = cp.BaseCalibrationData.from_file(BASE)
    unknown = cp.BaseCalibrationData.from_bytes(base.to_bytes() + b"\x82\x7d\x03abc")
    assert unknown.to_bytes().endswith(b"\x82\x7d\x03abc")
    assert pickle.loads(pickle.dumps(unknown)) == unknown != base
    assert cp.BaseCalibrationData.from_text(base.to_text()) == base
    assert cp.BaseCalibrationData.from_dict(base.to_dict()) == base
    assert copy.deepcopy(base) == base and copy.copy(base) == base
    assert base != "base"
    with pytest.raises(cp.CalibrationError):
        unknown.to_text()


def test_copies_are_objects_of_their_own():
    base = cp.BaseCalibrationData()
    other = copy.deepcopy(base)
    other.base_width = 7
    assert base.base_width != 7 and other.base_width == 7


def test_setters_store_what_getters_and_messages_give():
    base = cp.BaseCalibrationData()
    base.wheel_base, base.base_width, base.base_length = 0.25, 0.5, 0.75
    assert (base.wheel_base, base.base_width, base.base_length) == (0.25, 0.5, 0.75)
    note = cp.CalibrationMetadata(calibration_time_ns=-5, validity_key="k", operator_note="é")
    base.set_global_transform([[0, -1, 0], [1, 0, 0], [0, 0, 1]], [0.25, -0.5, 1], note)
    assert base.world_rotation.tolist() == [[0, -1, 0], [1, 0, 0], [0, 0, 1]]
    stored = base.to_dict()["global_transform_adjustment"]
    assert stored["global_transform"]["a"] == [0, -1, 0, 250, 1, 0, 0, -500, 0, 0, 1, 1000]
    assert stored["metadata"] == {"calibration_time": "-5", "validity_key": "k", "operator_note": "é"}
    assert base.global_transform_metadata == note
    assert base.is_global_transform_calibration_valid("k")
    assert not base.is_global_transform_calibration_valid("")
    base.set_gyroscope_gain(2, cp.CalibrationMetadata(gain_validity_key="g"))
    assert base.gyroscope_gain == 2 and base.is_gyroscope_gain_calibration_valid("g")
    base.set_gyroscope_gain(3)
    assert base.gyroscope_metadata is None and not base.is_gyroscope_gain_calibration_valid("")


@pytest.mark.parametrize("arguments, error, text", [
    ((np.eye(2), [0, 0, 0]), ValueError, "rotation: expected shape (3, 3), got (2, 2)"),
    ((np.eye(3), [0, 0]), ValueError, "translation: expected shape (3,), got (2,)"),
    ((np.eye(3) * 1j, [0, 0, 0]), TypeError, "rotation: expected numbers, got dtype complex128"),
    ((np.eye(3), [0, 0, 0], {"validity_key": "a"}), TypeError, "metadata: expected a CalibrationMetadata or None"),
    ((np.eye(3), [0, 0, 0], cp.CalibrationMetadata(calibration_time_ns=2**63)), TypeError,
     "metadata.calibration_time_ns: expected an int of 64 bits or None, got 9223372036854775808"),
    ((np.eye(3), [0, 0, 0], cp.CalibrationMetadata(validity_key=3)), TypeError,
     "metadata.validity_key: expected a str or None, got 3"),
])
def test_what_cannot_be_set_changes_nothing(arguments, error, text):
    base = cp.BaseCalibrationData()
    with pytest.raises(error) as raised:
        base.set_global_transform(*arguments)
    assert str(raised.value) == text
    assert base == cp.BaseCalibrationData()


def test_files_of_other_kinds_are_refused():
    with pytest.raises(cp.CalibrationError) as raised:
        cp.BaseCalibrationData.from_file(PTZ)
    assert str(raised.value) == f"{PTZ}: holds the calibration of a pan-tilt-zoom camera, not of a mobile base"
    with pytest.raises(FileNotFoundError):
        cp.BaseCalibrationData.from_file(BASE.parent / "none")
    with pytest.raises(cp.CalibrationError) as raised:
        cp.BaseCalibrationData.from_text("wheel_base: 1\nglobal_transform_adjustment { global_transform { a: [1] } }")
    error = raised.value
    assert (error.line, error.column) == (2, 50)
    assert error.field == "global_transform_adjustment.global_transform.a"
    assert error.text == "holds 1 values, at least 12 are needed"


def test_a_load_that_fails_puts_the_default_in_force(tmp_path):
    base = cp.BaseCalibrationData()
    base.wheel_base = 9
    (tmp_path / "base.txt").write_text("wheel_base: x")
    with pytest.raises(cp.CalibrationError) as raised:
        base.load_from_file(tmp_path / "base.txt")
    assert (raised.value.line, raised.value.column) == (1, 13)
    assert base == cp.BaseCalibrationData()
    base.wheel_base = 9
    base.save(tmp_path / "base.bin", binary=True)
    base.set_default()
    base.load_from_file(tmp_path / "base.bin")
    assert base.wheel_base == 9


def test_cameras_are_moved_and_say_so():
    base = cp.BaseCalibrationData.from_file(BASE)
    cameras = cp.CameraParametersSet.from_file(HEAD)
    moved = cp.adjust_calibration(cameras, base)
    in_place = copy.deepcopy(cameras)
    in_place.adjust_using_base_calibration(base)
    for name in cameras:
        assert np.array_equal(moved[name].pose.camera_from_robot, in_place[name].pose.camera_from_robot)
        transform = np.eye(4)
        transform[:3, :3], transform[:3, 3] = base.world_rotation, base.world_translation
        expected = cameras[name].pose.camera_from_robot.astype(float) @ transform
        # Products in single precision, of numbers up to 1.4: 3e-8 was measured.
        assert np.abs(moved[name].pose.camera_from_robot - expected).max() < 2e-7
        assert cp.was_adjusted_by(moved[name], base) and not cp.was_adjusted_by(cameras[name], base)
    base.set_global_transform(base.world_rotation, base.world_translation + np.float32(0.001))
    assert not cp.was_adjusted_by(moved["head_camera"], base)
