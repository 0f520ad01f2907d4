"""Inputs that nobody means to give: each is taken, or raises what is documented, and nothing ends the process."""

import random

import camera_parameters as cp
import pytest

from calibrations import BASE, HEAD, PTZ, SOURCE

CLASSES = [cp.CameraParametersSet, cp.PTZCameraModel, cp.BaseCalibrationData]
FILES = [HEAD, PTZ, BASE]
RUNS = 300


@pytest.fixture(autouse=True)
def silent():
    cp.set_log_level(None, "off")
    yield
    cp.set_log_level(None, "warning")


def attempt(load, data, allowed=(cp.CalibrationError,)):
    """The object, or None with the error looked at."""
    try:
        return load(data)
    except allowed as error:
        if isinstance(error, cp.CalibrationError):
            assert error.text and "\n" not in str(error)
        return None


def mutate(data, source, pieces):
    """A few bytes or characters exchanged, left out or doubled."""
    for _ in range(source.randint(1, 4)):
        begin = source.randrange(len(data) + 1)
        end = min(len(data), begin + source.choice([0, 1, 1, 2, 20]))
        data = data[:begin] + source.choice(pieces) + data[end:]
    return data


def bytes_pieces(source):
    return [b"", bytes([source.randrange(256)]), b"\xff" * 9, b"\0", source.randbytes(5)]


TEXT_PIECES = ["", "{", "}", ":", "1e999", "nan", "-0", "\0", "\ud800", "\udcff", '"', "camera_calibration { }", "é",
               "99999999999999999999", "#", "\n", "a: [", "]"]


@pytest.mark.parametrize("kind", CLASSES)
def test_random_bytes(kind):
    source = random.Random(1)
    for _ in range(RUNS):
        attempt(kind.from_bytes, source.randbytes(source.randrange(60)))


@pytest.mark.parametrize("kind, file", zip(CLASSES, FILES))
def test_bytes_that_were_changed(kind, file):
    source = random.Random(2)
    data = kind.from_file(file).to_bytes()
    loaded = 0
    for _ in range(RUNS):
        made = attempt(kind.from_bytes, mutate(data, source, bytes_pieces(source)))
        loaded += made is not None and bool(made.to_bytes())
    assert 0 < loaded < RUNS


@pytest.mark.parametrize("kind, file", zip(CLASSES, FILES))
def test_texts_that_were_changed(kind, file):
    source = random.Random(3)
    text = kind.from_file(file).to_text()
    failed = 0
    for _ in range(RUNS):
        try:
            kind.from_text(mutate(text, source, TEXT_PIECES))
        except cp.CalibrationError as error:
            failed += 1
            assert error.text and "\n" not in error.text
            assert error.line >= 1 and error.column >= 1
    assert failed > RUNS / 4


def random_value(source, depth=0):
    simple = [None, True, 0, -1, 10**30, 10**5000, 1.5, float("nan"), float("inf"), -0.0, "", "x", "NaN", "\ud800",
              "\0", b"x", object(), 1j, {1}, range(2)]
    if depth < 4 and source.random() < 0.5:
        return [random_value(source, depth + 1) for _ in range(source.randrange(4))]
    if depth < 4 and source.random() < 0.5:
        return {source.choice(KEYS): random_value(source, depth + 1) for _ in range(source.randrange(4))}
    return source.choice(simple)


KEYS = ["camera_calibration", "intrinsics", "extrinsics", "name", "a", "fx", "cameraCalibration", "", 5, None, 1.5,
        True, (1, 2), "\ud800", "x" * 1000]


@pytest.mark.parametrize("kind", CLASSES)
def test_random_dicts(kind):
    source = random.Random(4)
    for _ in range(RUNS):
        keys = source.sample(KEYS, source.randrange(4))
        attempt(kind.from_dict, {key: random_value(source) for key in keys}, (cp.CalibrationError, TypeError))


@pytest.mark.parametrize("kind, file", zip(CLASSES, FILES))
def test_dicts_that_were_changed(kind, file):
    source = random.Random(5)
    root = {}
    for run in range(RUNS):
        if run % 20 == 0:
            root = kind.from_file(file).to_dict()
        place = root
        while isinstance(place, (dict, list)) and place and source.random() < 0.7:
            key = source.choice(list(place)) if isinstance(place, dict) else source.randrange(len(place))
            inner = place[key]
            if not isinstance(inner, (dict, list)):
                place[key] = random_value(source, 3)
                break
            place = inner
        attempt(kind.from_dict, root, (cp.CalibrationError, TypeError))


@pytest.mark.parametrize("kind", CLASSES)
def test_dicts_that_are_too_deep_or_in_a_circle(kind):
    deep = {}
    for _ in range(5000):
        deep = {"camera_calibration": [deep]}
    circle = {}
    circle["camera_calibration"] = circle
    for wrong in [deep, circle, {"camera_calibration": [{"name": float("nan")}]}, {"camera_calibration": 10**5000}]:
        with pytest.raises(cp.CalibrationError):
            kind.from_dict(wrong)


@pytest.mark.parametrize("kind", CLASSES)
def test_deep_texts_and_bytes(kind):
    for data in [b"a { " * 100000, b"[" * 100000, b"\x0a\x7f" * 1000]:
        assert attempt(kind.from_bytes, data) is None
    assert attempt(kind.from_text, "a { " * 100000) is None


@pytest.mark.parametrize("kind", CLASSES)
def test_wrong_types(kind):
    for function in [kind.from_bytes, kind.from_text, kind.from_dict, kind.from_file]:
        for wrong in [None, 5, 1.5, [], object()]:
            with pytest.raises(TypeError):
                function(wrong)
    with pytest.raises(TypeError):
        kind.from_text(b"")
    with pytest.raises(TypeError):
        kind.from_bytes("")


@pytest.mark.parametrize("kind", CLASSES)
def test_seeds_of_the_fuzzers(kind, tmp_path):
    for folder in ["load_from_string", "robot_binary", "robot_text", "base_calibration", "text_fields", "review"]:
        for seed in sorted((SOURCE / "fuzz" / "corpus" / folder).iterdir()):
            data = seed.read_bytes()
            made = attempt(kind.from_bytes, data)
            assert (attempt(kind.from_file, seed) is None) == (made is None)
            attempt(kind.from_text, data.decode("utf-8", "surrogateescape"))


def test_what_a_text_lacks_has_a_line_and_a_column():
    with pytest.raises(cp.CalibrationError) as caught:
        cp.CameraParametersSet.from_text('camera_calibration {\n  name: "x"\n  intrinsics { radial: [1] }\n}')
    error = caught.value
    assert (error.line, error.column, error.path) == (3, 16, None)
    assert error.field == "camera_calibration[0].intrinsics.radial"
    assert error.text == "holds 1 values, at least 6 are needed"
    assert str(error) == f"3:16: {error.field}: {error.text}"


def test_a_text_that_happens_to_be_binary_is_read_as_text():
    with pytest.raises(cp.CalibrationError) as caught:
        cp.CameraParametersSet.from_text("\x0a\x00")
    assert caught.value.line == 2
