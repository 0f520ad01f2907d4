"""Where the motors must go, held to the command-line tool, and what is raised where they cannot."""

import math
import pickle

import camera_parameters as cp
import numpy as np
import pytest

import tool
from calibrations import PTZ

AT = (500, 200, 2500)


@pytest.fixture(scope="module")
def head():
    return cp.PTZCameraModel.from_file(PTZ)


def numbers(values):
    return ",".join(repr(float(value)) for value in values)


def options_of(question):
    """The tool's options for arguments of `aim`."""
    options = []
    for name, value in question.items():
        if name == "points":
            options += [word for point in value for word in ("--point", numbers(point))]
        elif name == "fov":
            options += ["--fov", repr(math.degrees(value))]
        elif name == "place" and not isinstance(value, str):
            options += ["--pixel", numbers(value)]
        elif value is True:
            options.append(f"--{name}")
        elif isinstance(value, str):
            options += [f"--{name}", value]
        else:
            options += [f"--{name}", numbers(np.ravel(value))]
    return options


def ask_tool(question, status):
    return tool.run_json("aim", PTZ, "--at", ",".join(map(str, AT)), "--all", *options_of(question), status=status)


def check_position(position, expected):
    assert position.motors == (expected["pan"], expected["tilt"], expected["zoom"])
    bounds = (position.pan_bound, position.tilt_bound, position.zoom_bound)
    assert bounds == (expected["pan_bound"], expected["tilt_bound"], expected["zoom_bound"])
    assert position.is_limited == expected["limited"] and list(position.travel) == expected["travel"]
    assert position.lands.tolist() == expected["lands_at"] and position.wanted.tolist() == expected["wanted_at"]
    assert position.miss == expected["distance_pixels"]
    assert position.low.tolist() + position.high.tolist() == expected["covers"]
    assert position.is_whole == expected["whole"] and position.is_inside == expected["inside"]
    assert position.is_upright == expected["upright"]


REACHED = [
    {"pixel": (400, 300), "distance": 12},
    {"pixel": (400, 300), "distance": 12, "place": "axis"},
    {"point": (3, 1, 1.5), "radius": 0.2, "fill": 0.6},
    {"point": (3, 1, 1.5), "place": (100, 900)},
    {"point": (3, 1, 1.5), "focal": 4000},
    {"box": (300, 200, 700, 500), "distance": 8},
    {"box": (300, 200, 700, 500), "distance": 8, "fill": 0.5, "choice": "upright"},
    {"points": [(3, 1, 1.5), (3, 1.2, 1.4), (4, 1, 1)], "fill": 0.9, "choice": "no-flip"},
]
# What is found, and is not what was asked for.
NOT_REACHED = [
    ({"point": (-3, 0.1, 1.5)}, "limited"),
    ({"point": (0.3, 0, -5)}, "limited"),
    ({"points": [(1, 0, 1.4), (-1, 0.1, 1.4)]}, "not-whole"),
]
# What no position does at all.
REFUSED = [
    ({"point": (0.1, 0, 1.21)}, "out-of-reach"),
    ({"point": (0.15, 0, 1.27), "radius": 5}, "invalid-request"),
    ({"points": [(3, 1, 1.5), (3, 1.1, 1.5)], "fill": 0.5, "place": (0, 0)}, "invalid-request"),
    ({"point": (3, 1, 1.5), "place": (1e7, 0)}, "no-ray"),
]


@pytest.mark.parametrize("question", REACHED)
def test_answers_are_the_tools(head, question):
    aim = head.aim(at=AT, **question)
    document = ask_tool(question, 0)
    assert aim.reached and aim.reason is None and aim.note is None
    assert aim.tolerance_pixels == document["tolerance_pixels"]
    check_position(aim.best, document)
    assert len(aim) == 1 + len(document["alternatives"])
    for position, expected in zip(list(aim)[1:], document["alternatives"]):
        check_position(position, expected)
    again = head.configuration(*AT).aim(**question)
    assert again.best.motors == aim.best.motors and aim[-1].motors == aim[len(aim) - 1].motors


@pytest.mark.parametrize("question, reason", NOT_REACHED)
def test_answers_that_do_not_reach_say_why(head, question, reason):
    aim = head.aim(at=AT, **question)
    document = ask_tool(question, 3)
    assert not aim.reached and aim.reason == reason == document["reason"]
    assert aim.note.split(",")[0] in document["note"]
    check_position(aim.best, document)
    with pytest.raises(cp.NoSolutionError) as caught:
        head.aim(at=AT, strict=True, **question)
    assert caught.value.reason == reason and caught.value.text == aim.note


@pytest.mark.parametrize("question, reason", REFUSED)
def test_what_no_position_does_raises_the_tools_reason(head, question, reason):
    with pytest.raises(cp.NoSolutionError) as caught:
        head.aim(at=AT, **question)
    assert caught.value.reason == reason == ask_tool(question, 3)["reason"]
    assert isinstance(caught.value, cp.CalibrationError) and pickle.loads(pickle.dumps(caught.value)).reason == reason


def test_the_texts_of_refusals(head):
    texts = {
        "a picture cannot be filled around a place on its border or outside of it":
            {"points": [(3, 1, 1.5), (3, 1.1, 1.5)], "fill": 0.5, "place": (0, 0)},
        "no pan and tilt bring the target to its place: it is too near for this head, or where the camera never looks":
            {"point": (0.1, 0, 1.21)},
        "no ray reaches a pixel that was given, or the place where the target is wanted":
            {"point": (3, 1, 1.5), "place": (1e7, 0)},
    }
    for text, question in texts.items():
        with pytest.raises(cp.NoSolutionError) as caught:
            head.aim(at=AT, **question)
        assert str(caught.value) == caught.value.text == text
    with pytest.raises(cp.NoSolutionError) as caught:
        head.aim(at=(0, 0, 11000), pixel=(1, 1), distance=1)
    assert (caught.value.reason, caught.value.text) == (
        "no-present-lens", "there is no lens at the present zoom position")


def changed(head, **fields):
    message = head.to_dict()
    for path, value in fields.items():
        part, name = path.split("__")
        message[part][name] = value
    return cp.PTZCameraModel.from_dict(message)


def test_heads_that_cannot_be_aimed(head):
    cases = [
        (changed(head, pan_tilt__pan_scale=0), "invalid-model",
         "nothing can be aimed with this head: a motor does not turn"),
        (changed(head, intrinsics__image_width=0), "invalid-model",
         "nothing can be aimed with this camera: its picture has no size, or its head no poses"),
        (changed(head, intrinsics__min_zoom=12000, intrinsics__max_zoom=13000), "no-zoom",
         "the zoom has no range in which there is a lens"),
        (changed(head, pan_tilt__pan_to_tilt={"a": [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0]}), "parallel-axes",
         "the axes of pan and tilt are parallel"),
    ]
    for camera, reason, text in cases:
        with pytest.raises(cp.NoSolutionError) as caught:
            camera.aim(at=(0, 0, 0), point=(3, 1, 1.5))
        assert (caught.value.reason, caught.value.text) == (reason, text)


def test_strict_answers_are_held_to_the_tolerance(head):
    question = {"point": (3, 1, 1.5), "tolerance": 0}
    with pytest.raises(cp.NoSolutionError) as caught:
        head.aim(at=AT, strict=True, **question)
    assert caught.value.reason == "missed"
    miss = head.aim(at=AT, **question).best.miss
    assert caught.value.text == f"the target lands {miss:.2f} px from where it was to be, more than 0.00 px"


@pytest.mark.parametrize("question, error, text", [
    ({}, TypeError, "expected one of pixel, box, point and points"),
    ({"point": (1, 2, 3), "pixel": (1, 2), "distance": 1}, TypeError, "expected one of pixel, box, point and points"),
    ({"pixel": (1, 2)}, TypeError, "pixel and box need distance, in metres"),
    ({"point": (1, 2, 3), "distance": 2}, TypeError, "distance goes with pixel or box"),
    ({"points": [(1, 2, 3)], "radius": 2}, TypeError, "radius goes with point"),
    ({"point": (1, 2, 3), "fill": 1, "fov": 1}, TypeError, "expected one of fill, fov and focal"),
    ({"point": (1, 2, 3), "speed": 1}, TypeError, "unexpected argument 'speed'"),
    ({"point": (1, 2)}, ValueError, "point: expected shape (3,), got (2,)"),
    ({"point": (1, 2, 3), "place": (1, 2, 3)}, ValueError, "place: expected shape (2,), got (3,)"),
    ({"point": (1, 2, 3), "place": "left"}, ValueError, "place: expected one of middle, axis, got 'left'"),
    ({"point": (1, 2, 3), "choice": "best"}, ValueError,
     "choice: expected one of nearest, upright, no-flip, got 'best'"),
    ({"point": (1, 2, 3), "choice": 1}, TypeError, "choice: expected a str"),
    ({"point": (1, 2, 3), "strict": 1}, TypeError, "strict: expected a bool"),
    ({"point": (1, 2, 3), "tolerance": math.nan}, ValueError, "tolerance: expected a number from 0 on"),
    ({"point": (1, 2, 3), "focal": "4000"}, TypeError, "focal: expected a number, got str"),
    ({"point": (1, 2, 3), "focal": True}, TypeError, "focal: expected a number, got bool"),
    ({"point": (1, 2, 3), "focal": 10**400}, ValueError, "focal: expected a number within the range of float"),
    ({"point": (1j, 2, 3)}, TypeError, "point: expected numbers, got dtype complex128"),
    ({"box": (1, 2, 3), "distance": 1}, ValueError, "box: expected (x1, y1, x2, y2) or two opposite corners"),
])
def test_questions_that_are_none(head, question, error, text):
    with pytest.raises(error) as caught:
        head.aim(at=AT, **question)
    assert str(caught.value) == text


@pytest.mark.parametrize("at, error", [
    ((1, 2), ValueError), ("abc", TypeError), (None, TypeError), (5, TypeError), ((1, 2.0, 3), TypeError),
    ((1, 2, True), TypeError), ((1, 2, 2**31), ValueError), ((1, 2, None), TypeError), ((10**30, 0, 0), ValueError),
])
def test_positions_that_are_none(head, at, error):
    with pytest.raises(error):
        head.aim(at=at, point=(3, 1, 1.5))


def test_random_questions_get_the_tools_answers(head):
    random = np.random.default_rng(14)
    for _ in range(25):
        point = random.uniform(-6, 6, 3)
        try:
            aim = head.aim(at=AT, point=point, place="axis")
        except cp.NoSolutionError as error:
            assert ask_tool({"point": point, "place": "axis"}, 3)["reason"] == error.reason
            continue
        document = ask_tool({"point": point, "place": "axis"}, 0 if aim.reached else 3)
        assert aim.reason == document["reason"] and aim.tolerance_pixels == document["tolerance_pixels"]
        check_position(aim.best, document)


def test_no_number_ends_the_process(head):
    extremes = [0, -1, 5e-324, 1e308, math.nan, math.inf, -math.inf, 0.5]
    random = np.random.default_rng(14)
    asked = 0
    for _ in range(20000):
        x = random.choice(extremes, 12)
        target = [{"point": x[:3]}, {"pixel": x[:2], "distance": x[2]}, {"box": x[:4], "distance": x[4]},
                  {"point": x[:3], "radius": x[3]}, {"points": x[:6].reshape(2, 3)}][random.integers(5)]
        zoom = [{}, {"fill": x[6]}, {"fov": x[6]}, {"focal": x[6]}][random.integers(4)]
        place = [{}, {"place": x[7:9]}][random.integers(2)]
        at = random.choice([0, 2500, -(2**31), 2**31 - 1], 3).tolist()
        try:
            head.aim(at=at, **target, **zoom, **place)
            asked += 1
        except cp.NoSolutionError as error:
            assert error.reason and error.text
            asked += 1
        except ValueError as error:
            assert ": expected " in str(error)
    assert asked > 500


OUT_OF_RANGE = [
    ({"point": (math.nan, 1, 1)}, "point: expected a finite number, got nan"),
    ({"point": (3, 1, 1), "radius": -1}, "radius: expected a number from 0 on"),
    ({"point": (3, 1, 1), "radius": math.inf}, "radius: expected a finite number, got inf"),
    ({"points": np.zeros((0, 3))}, "points: expected at least one point"),
    ({"points": [(3, 1, 1), (3, math.inf, 1)]}, "points: expected a finite number, got inf"),
    ({"pixel": (400, math.nan), "distance": 12}, "pixel: expected a finite number, got nan"),
    ({"pixel": (400, 300), "distance": 0}, "distance: expected a positive number, got 0"),
    ({"pixel": (400, 300), "distance": math.inf}, "distance: expected a finite number, got inf"),
    ({"box": (1, 2, 3, math.nan), "distance": 8}, "box: expected a finite number, got nan"),
    ({"box": (1, 2, 30, 40), "distance": -8}, "distance: expected a positive number, got -8"),
    ({"point": (3, 1, 1), "radius": 0.1, "fill": 5}, "fill: expected a share up to 1, got 5"),
    ({"point": (3, 1, 1), "radius": 0.1, "fill": 0}, "fill: expected a positive number, got 0"),
    ({"point": (3, 1, 1), "fov": -1}, "fov: expected a positive number, got -1"),
    ({"point": (3, 1, 1), "fov": 3.15}, "fov: expected radians below pi, got 3.15"),
    ({"point": (3, 1, 1), "focal": math.nan}, "focal: expected a finite number, got nan"),
    ({"point": (3, 1, 1), "place": (math.nan, 0)}, "place: expected a finite number, got nan"),
]


@pytest.mark.parametrize("question, text", OUT_OF_RANGE)
def test_numbers_that_make_no_sense_are_named(head, question, text):
    with pytest.raises(ValueError) as caught:
        head.aim(at=AT, **question)
    assert str(caught.value) == text and not isinstance(caught.value, cp.CalibrationError)
