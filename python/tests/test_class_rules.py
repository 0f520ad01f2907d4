"""What holds for objects of every class: pickles in all protocols, no derived classes, and calls that never abort."""

import copy
import inspect
import pickle
import subprocess
import sys
import textwrap

import camera_parameters as cp
import numpy as np
import pytest

from camera_parameters import _core
from calibrations import HEAD, PTZ

CLASSES = [value for _, value in sorted(vars(_core).items()) if inspect.isclass(value)]


def make_objects():
    """An object of each class that has a name of its own in the package."""
    cameras = cp.CameraParametersSet.from_file(HEAD)
    camera = cameras["head_camera"]
    view = camera.view(640, 480)
    head = cp.PTZCameraModel.from_file(PTZ)
    now = head.configuration(500, 200, 2500)
    aim = now.aim(pixel=(400, 300), distance=12)
    points = np.array([[2.0, 0.5, 0.3], [2.0, 0.6, 0.3]])
    model = head.pan_tilt_model
    roots = model.solve_all([2, 0.5, 0.3], [0, 0])
    answers = [view.project([2, 0, 0.5], derivatives=True)[1], view.rectify([320, 240], derivatives=True)[1],
               view.ray_at([320, 240]), view.fit_view(320, 240, 0), view.fields_of_view, view.coverage()]
    return [cameras, camera, camera.pose, camera.intrinsics(640, 480), view, *answers,
            cp.BaseCalibrationData(), head, head.intrinsics, now, head.geometry,
            head.blind_cones, model, model.solve([2, 0.5, 0.3], [0, 0]), roots, roots[0], aim, aim.best,
            head.track(points, at=(500, 200, 2500)), head.coverage(3, azimuths=4)]


OBJECTS = make_objects()


def test_all_classes_are_looked_at():
    assert {type(thing) for thing in OBJECTS} == {made for made in CLASSES}


@pytest.mark.parametrize("protocol", range(6))
@pytest.mark.parametrize("thing", OBJECTS, ids=lambda thing: type(thing).__name__)
def test_pickles_of_each_protocol(thing, protocol):
    if "__getstate__" not in vars(type(thing)):
        with pytest.raises(TypeError, match=f"cannot pickle {type(thing).__name__} objects"):
            pickle.dumps(thing, protocol)
        return
    data = pickle.dumps(thing, protocol)
    twin = pickle.loads(data)
    assert isinstance(twin, type(thing)) and pickle.dumps(twin, protocol) == data
    assert all(isinstance(copied(thing), type(thing)) for copied in [copy.copy, copy.deepcopy])


@pytest.mark.parametrize("made", CLASSES, ids=lambda made: made.__name__)
def test_no_class_can_be_derived_from(made):
    with pytest.raises(TypeError, match="not an acceptable base type"):
        type("Derived", (made,), {})


PICKLING = ["pickle.dumps(thing, 0)", "pickle.dumps(thing, 1)", "object.__reduce_ex__(thing, 0)"]
CALLS = ["object.__reduce__(thing)", "base()", "base(thing)", "base(1, key=2)", "type('Derived', (base,), {})()",
         "type('Derived', (base,), {'__init__': lambda self: None})()",
         "cp.CameraView.project(base.__new__(base), [1, 2, 3])"]


@pytest.mark.parametrize("call", PICKLING + CALLS)
def test_calls_of_the_base_class_leave_the_process_alone(call):
    code = f"""
        import pickle
        import camera_parameters as cp
        for thing in [cp.CameraParametersSet(), cp.CameraParametersSet()["head_camera"].pose]:
            base = type(thing).__mro__[1]
            try:
                {call}
            except TypeError as error:
                print("TypeError", error)
        del thing, base
        assert cp.CameraParametersSet().names
    """
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(code)], capture_output=True, text=True, timeout=60)
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout.count("TypeError") == (2 if call in CALLS else 0)
