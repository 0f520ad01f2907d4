"""Cameras and sets as values and mappings, and what pickles."""

import copy
import json
import pickle

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BASE, HEAD, PTZ


def moved(cameras):
    cameras.adjust_using_base_calibration(cp.BaseCalibrationData.from_dict({"global_transform_adjustment": {
        "global_transform": {"a": [0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30]}}}))


def test_cameras_compare_by_what_they_hold():
    cameras = cp.CameraParametersSet()
    head = cameras["head_camera"]
    assert head == cameras["head_camera"] and hash(head) == hash(cameras["head_camera"])
    assert head == pickle.loads(pickle.dumps(head)) == copy.deepcopy(head)
    assert head == cp.CameraParametersSet.from_bytes(cameras.to_bytes())["head_camera"]
    assert head != cameras["navigation_camera"] and head is not None and head != "head_camera"
    other = dict(head.to_dict(), name="other")
    assert head != cp.CameraParametersSet.from_dict({"camera_calibration": [other]})["other"]
    before, number = copy.copy(head), hash(head)
    moved(cameras)
    assert head != before and head == cameras["head_camera"] and hash(head) == number


def test_sets_compare_by_what_they_hold(tmp_path):
    cameras = cp.CameraParametersSet()
    assert cameras == cp.CameraParametersSet() == copy.deepcopy(cameras) == pickle.loads(pickle.dumps(cameras))
    assert cameras != cameras.names and cp.CameraParametersSet.__hash__ is None
    twin = copy.copy(cameras)
    moved(twin)
    assert twin != cameras
    entry = dict(cameras["head_camera"].to_dict(), name="rear_camera")
    cp.CameraParametersSet.from_dict({"camera_calibration": [entry]}).save(tmp_path / "rear.txt")
    one, all_three = cp.CameraParametersSet.from_file(tmp_path / "rear.txt"), copy.copy(cameras)
    all_three.load_from_file(tmp_path / "rear.txt")
    assert one.to_bytes() == all_three.to_bytes() and one != all_three


def test_sets_are_mappings():
    cameras = cp.CameraParametersSet()
    assert list(cameras.keys()) == cameras.names and dict(cameras) == dict(cameras.items())
    assert list(cameras.values()) == [cameras[name] for name in cameras] and len(cameras.items()) == 2
    assert cameras.get("head_camera") == cameras["head_camera"]
    assert cameras.get("none") is None and cameras.get("none", 7) == 7
    with pytest.raises(TypeError, match="name: expected a str"):
        cameras.get(1)


@pytest.mark.parametrize("made_of", [cp.CameraParametersSet, cp.PTZCameraModel])
def test_constructors_say_how_files_are_read(made_of):
    with pytest.raises(TypeError, match=r"from_file\(path\)"):
        made_of(str(HEAD))


def things():
    head = cp.PTZCameraModel.from_file(PTZ)
    view = cp.CameraParametersSet()["head_camera"].view(640, 480)
    return [head.coverage(5, azimuths=36), head.geometry, head.blind_cones, head.intrinsics,
            view.ray_at([[300, 200], [10, 20]]), view.ray_at([1, 2]), view.fields_of_view, view.coverage(),
            view.project([1, 0.1, 0.2], derivatives=True)[1], view.rectify([300, 200], derivatives=True)[1]]


@pytest.mark.parametrize("thing", things(), ids=lambda thing: type(thing).__name__)
def test_answers_pickle(thing):
    twins = [pickle.loads(pickle.dumps(thing)), copy.deepcopy(thing), copy.copy(thing)]
    names = [name for name, member in vars(type(thing)).items() if isinstance(member, property)]
    for twin in twins:
        for name in names:
            np.testing.assert_array_equal(getattr(twin, name), getattr(thing, name), strict=True)
        if type(thing).__repr__ is not object.__repr__ and "at 0x" not in repr(thing):
            assert repr(twin) == repr(thing)
    made = type(thing).__new__(type(thing))
    with pytest.raises((TypeError, ValueError, RuntimeError)):
        made.__setstate__(("x",) * 7)
    assert names


def test_functions_pickle():
    view = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]])
    assert pickle.loads(pickle.dumps(cp.project)) is cp.project
    assert pickle.loads(pickle.dumps(cp.CameraView.project)) is cp.CameraView.project
    assert pickle.loads(pickle.dumps(view.project))([0, 0, 1]).tolist() == [320, 240]


def test_rays_show_themselves():
    view = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]])
    assert repr(view.ray_at([320, 240])) == "Ray(origin=(0, 0, 0), direction=(0, 0, 1))"
    assert repr(view.ray_at([[320, 240]] * 3)) == "Ray(origin=(0, 0, 0), 3 directions)"
    assert repr(view.ray_at(np.empty((0, 2)))) == "Ray(origin=(0, 0, 0), 0 directions)"


def test_fields_of_view_of_a_size():
    camera = cp.CameraParametersSet()["navigation_camera"]
    fields = camera.fields_of_view(*camera.size)
    assert fields.horizontal == camera.view(*camera.size).fields_of_view.horizontal
    assert f"diagonal={fields.diagonal:.4f} rad" in repr(fields)
    with pytest.raises(ValueError, match="delivers"):
        camera.fields_of_view(3, 4)


def test_tracks_iterate():
    track = cp.PTZCameraModel.from_file(PTZ).track([(3, 1, 1.5), (3, 0.9, 1.5)], at=(500, 200, 2500))
    assert list(track) == [tuple(row) for row in track.motors.tolist()] == [track[0], track[-1]]
    assert all(isinstance(number, int) for row in track for number in row)
    with pytest.raises(IndexError):
        track[2]


SOURCES = [(cp.CameraParametersSet, HEAD), (cp.PTZCameraModel, PTZ), (cp.BaseCalibrationData, BASE)]


@pytest.mark.parametrize("made_of, file", SOURCES)
def test_json_is_told(made_of, file, tmp_path):
    fields = made_of.from_file(file).to_dict()
    path = tmp_path / "x.json"
    path.write_text(json.dumps(fields), encoding="utf-8")
    for load in (lambda: made_of.from_file(path), lambda: made_of.from_text(json.dumps(fields, indent=2))):
        with pytest.raises(cp.CalibrationError) as caught:
            load()
        assert "(this is JSON, which from_dict(json.load(file)) reads)" in str(caught.value)
        assert caught.value.text == "Expected identifier, got: {" and caught.value.line == 1
        assert str(pickle.loads(pickle.dumps(caught.value))) == str(caught.value)
    with pytest.raises(cp.CalibrationError) as caught:
        made_of.from_text("x { {")
    assert caught.value.hint is None
    assert made_of.from_dict(json.loads(path.read_text(encoding="utf-8"))).to_dict() == fields


@pytest.mark.parametrize("made_of, file", SOURCES)
def test_no_text_is_saved_as_json(made_of, file, tmp_path):
    for name in ("x.json", "X.JSON"):
        with pytest.raises(ValueError, match=r"to_dict\(\)"):
            made_of.from_file(file).save(tmp_path / name)
    assert list(tmp_path.iterdir()) == []
