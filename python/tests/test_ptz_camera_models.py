"""Calibrations of pan-tilt-zoom cameras: how they are made, and how they hold what they were made from."""

import copy
import pickle

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import HEAD, PTZ


@pytest.fixture(scope="module")
def head():
    return cp.PTZCameraModel.from_file(PTZ)


def test_what_the_file_states(head):
    assert head.image_size == (1920, 1080)
    assert head.pan_range == (-5934, 5934) and head.tilt_range == (-1047, 3141)
    assert head.home == (None, None) and head.zoom_range == (0, 10000)
    assert head.max_zoom_factor == pytest.approx(43806.2 / 1480, rel=1e-7)
    lens = head.intrinsics
    assert (lens.image_width, lens.image_height, lens.min_zoom, lens.max_zoom) == (1920, 1080, 0, 10000)
    assert (lens.zoom_start, lens.zoom_interval, len(lens)) == (0, 1000, 12)
    assert lens.zoom.tolist() == [1000.0 * i for i in range(12)]
    assert lens.focal_length[[0, 11]].tolist() == [1480.0, 43806.2]
    assert lens.principal_point.shape == (12, 2) and lens.principal_point[0].tolist() == [963.42, 537.86]
    first = [column[0] for column in (lens.k1, lens.k4, lens.p1, lens.p2)]
    assert first == [-0.036109, 0.090274, 0.000210, -0.000140]


def test_numbers_of_the_lens_are_copies_that_nobody_can_write_to(head):
    for name in ("zoom", "focal_length", "principal_point", "k1", "k4", "p1", "p2"):
        with pytest.raises(ValueError, match="read-only"):
            getattr(head.intrinsics, name)[0] = 1


def test_limits_that_are_absent_are_none(head):
    fields = head.to_dict()
    del fields["pan_tilt"]["max_pan"], fields["intrinsics"]["min_zoom"]
    fields["pan_tilt"]["home_tilt"] = 12
    open_ended = cp.PTZCameraModel.from_dict(fields)
    assert open_ended.pan_range == (-5934, None) and open_ended.home == (None, 12)
    assert open_ended.intrinsics.min_zoom is None and open_ended.zoom_range == (0, 10000)


@pytest.mark.parametrize("again", [
    lambda h: cp.PTZCameraModel.from_bytes(h.to_bytes()),
    lambda h: cp.PTZCameraModel.from_text(h.to_text()),
    lambda h: cp.PTZCameraModel.from_dict(h.to_dict()),
    lambda h: pickle.loads(pickle.dumps(h)),
    copy.copy,
    copy.deepcopy,
])
def test_every_form_holds_every_field(head, again):
    other = again(head)
    assert other == head and hash(other) == hash(head) and other.to_bytes() == head.to_bytes()


def test_binary_data_keeps_fields_of_later_versions(head):
    data = head.to_bytes() + b"\xfa\x01\x03new"  # field 31, a string
    newer = cp.PTZCameraModel.from_bytes(data)
    assert newer.to_bytes() == data and pickle.loads(pickle.dumps(newer)).to_bytes() == data
    assert newer != head
    with pytest.raises(cp.CalibrationError):
        newer.to_text()


@pytest.mark.parametrize("binary", [False, True])
def test_saved_files_load(head, tmp_path, binary):
    head.save(tmp_path / "head", binary=binary)
    assert cp.PTZCameraModel.from_file(tmp_path / "head") == head
    assert (b"samples" in (tmp_path / "head").read_bytes()) is not binary


def test_files_that_are_not_there_are_os_errors(head, tmp_path):
    with pytest.raises(FileNotFoundError):
        cp.PTZCameraModel.from_file(tmp_path / "none.txt")
    with pytest.raises(OSError):
        head.save(tmp_path / "none" / "head.txt")


def test_a_calibration_of_another_kind_makes_no_model():
    with pytest.raises(cp.CalibrationError) as caught:
        cp.PTZCameraModel.from_file(HEAD)
    assert caught.value.path == str(HEAD) and caught.value.text


def test_text_that_does_not_parse_says_where():
    with pytest.raises(cp.CalibrationError) as caught:
        cp.PTZCameraModel.from_text("intrinsics {\n  image_width: x\n}")
    assert (caught.value.line, caught.value.column) == (2, 16)


def test_a_configuration_is_a_value(head):
    now = head.configuration(pan=500, tilt=200, zoom=2500)
    assert (now.model, now.pan, now.tilt, now.zoom) == (head, 500, 200, 2500)
    assert now == head.configuration(500, 200, 2500) != head.configuration(500, 200, 2501)
    assert pickle.loads(pickle.dumps(now)) == now and hash(now) == hash(head.configuration(500, 200, 2500))
    assert head.configuration(np.int64(500), np.uint8(200), 2500) == now


def test_zoom_curve_is_that_of_the_configurations(head):
    zooms = np.arange(-1500, 12000, 250)
    focal_lengths = head.intrinsics.focal_lengths_at(zooms)
    each = [head.configuration(0, 0, int(zoom)).intrinsics.fx for zoom in zooms]
    finite = np.isfinite(each)
    assert np.array_equal(focal_lengths[finite], np.array(each, np.float32)[finite])
    assert np.isnan(focal_lengths[~finite]).all() and (~finite).any()
