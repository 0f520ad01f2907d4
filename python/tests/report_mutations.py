"""Calibrations that load and that nobody would make, for tests of the report."""

import copy
import random

import camera_parameters as cp

from calibrations import BASE, HEAD, PTZ

NAMES = ["", " ", "</script><img src=x onerror=alert(1)>", "\u202eright to left\u202c", "\u05de\u05e6\u05dc\u05de\u05d4",
         "\U0001f916\U0001f4f7", "a\nb\tc\x00d", "\"'&<>", "x" * 3000, "${7*7}{{7*7}}", "]]>--><!--", "javascript:alert(1)",
         "../../etc/passwd", "%00%2f", "\ufeff\u200b"]
NUMBERS = [0.0, -0.0, 1e-300, -1e-300, 1e-45, 1.2e-38, 3.4e38, -3.4e38, 1e30, 1e-30, 1.0, -1.0, 0.5, 1e6, -1e6, 16777217.0,
           2.0**31, 1.0000001, 0.9999999, 700.0, 3.0]
COUNTS = [0, 1, 2, -1, 3, 640, 65535, 2**31 - 1, -2**31]
KINDS = ((cp.CameraParametersSet, HEAD), (cp.PTZCameraModel, PTZ), (cp.BaseCalibrationData, BASE))


def places(value):
    """All (container, key) of a message, lists and messages included."""
    items = value.items() if isinstance(value, dict) else enumerate(value)
    for key, inner in list(items):
        yield value, key
        if isinstance(inner, (dict, list)):
            yield from places(inner)


def mutate(message, source):
    """Changes one thing of a message."""
    found = list(places(message))
    if not found:
        return
    container, key = source.choice(found)
    value = container[key]
    if isinstance(value, bool):
        return
    if isinstance(value, str):
        # 64-bit integers are text in JSON.
        container[key] = str(source.choice(COUNTS)) if value.lstrip("-").isdigit() else source.choice(NAMES)
    elif isinstance(value, int):
        container[key] = source.choice(COUNTS)
    elif isinstance(value, float):
        container[key] = source.choice(NUMBERS + [value * source.uniform(0.3, 3), -value])
    elif isinstance(value, list) and source.random() < 0.3:
        source.shuffle(value)
    elif source.random() < 0.5:
        del container[key]
    elif isinstance(container, list):
        container.extend(copy.deepcopy(container[key]) for _ in range(source.choice([1, 3])))


def multiply(message, source):
    """Many cameras, some with names of others."""
    cameras = message["camera_calibration"]
    for index in range(source.choice([3, 20, 60])):
        camera = copy.deepcopy(source.choice(cameras[:2]))
        camera.get("intrinsics", {}).pop("samples", None)
        camera["model"] = source.choice(["mk513n", "", "b910", "own"])
        camera["name"] = source.choice(NAMES + [f"camera {index}"])
        cameras.append(camera)


def calibrations(count, seed):
    """So many calibrations that load, of all kinds."""
    source = random.Random(seed)
    originals = [(type_, type_.from_file(path).to_dict()) for type_, path in KINDS]
    made = 0
    while made < count:
        type_, original = originals[source.choice([0, 0, 1, 1, 2])]
        message = copy.deepcopy(original)
        if type_ is cp.CameraParametersSet:
            # The fit of a head camera to mutated samples seldom loads.
            if source.random() < 0.8:
                message["camera_calibration"].pop(0)
            if source.random() < 0.1:
                multiply(message, source)
        for _ in range(source.choice([1, 1, 2, 4, 10])):
            mutate(message, source)
        try:
            model = type_.from_dict(message)
        except (cp.CalibrationError, ValueError):
            continue
        made += 1
        yield model
