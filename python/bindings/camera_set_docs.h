#pragma once

/// What Python's help says of a set of cameras.

namespace norv::python::docs {

constexpr const char* kSet = R"doc(The calibrations of a robot's cameras, by name.

Without arguments the calibration that is compiled in. `from_file`, `from_bytes`, `from_text` and `from_dict` make a
set of exactly the cameras that they are given, or raise. Loads and `adjust_using_base_calibration` change a set; all
methods may be called from several threads. Sets are mappings of names to cameras; they pickle and compare by their
bytes and have no hash, since they change.

>>> import camera_parameters as cp
>>> cameras = cp.CameraParametersSet()
>>> cameras
CameraParametersSet(['head_camera', 'navigation_camera'])
>>> "head_camera" in cameras, len(cameras), [name for name in cameras]
(True, 2, ['head_camera', 'navigation_camera'])
)doc";

constexpr const char* kFromFile =
    R"doc(A set of exactly the cameras that a file holds, in binary or text format.

`path` is a str, bytes or os.PathLike. Raises OSError where the file cannot be opened, and CalibrationError, which
says where, when it does not load or holds no camera.

>>> import camera_parameters as cp, os, tempfile
>>> with tempfile.TemporaryDirectory() as folder:
...     path = os.path.join(folder, "robot.txt")
...     cp.CameraParametersSet().save(path)
...     cp.CameraParametersSet.from_file(path).names
['head_camera', 'navigation_camera']
)doc";

constexpr const char* kFromBytes =
    R"doc(A set of exactly the cameras that `data` holds: the bytes of a file in binary or text format.

Inverse of `to_bytes`. Raises CalibrationError where they do not load or hold no camera.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet.from_bytes(cp.CameraParametersSet().to_bytes()).names
['head_camera', 'navigation_camera']
)doc";

constexpr const char* kFromText = R"doc(A set of exactly the cameras that a text holds.

Inverse of `to_text`. Raises CalibrationError with line and column where it does not load or holds no camera.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet.from_text(cp.CameraParametersSet().to_text()).names
['head_camera', 'navigation_camera']
)doc";

constexpr const char* kFromDict = R"doc(A set of exactly the cameras that a dict holds.

Protocol Buffers' JSON mapping, with the fields' own names or in camelCase; what is no finite number is "NaN",
"Infinity" or "-Infinity". Inverse of `to_dict`. Raises TypeError for what JSON has no words for (bytes, sets, arrays:
`array.tolist()`) and CalibrationError where it does not load or holds no camera.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet.from_dict(cp.CameraParametersSet().to_dict()).names
['head_camera', 'navigation_camera']
)doc";

constexpr const char* kLoadFromFile = R"doc(Loads a file in binary or text format into this set.

Cameras that the file does not name stay from earlier loads; those that were taken from the set stay as they are.
Raises OSError where the file cannot be opened and CalibrationError where it does not load. After either the
compiled-in default calibration is in force: use `from_file` where that is not wanted.

>>> import camera_parameters as cp
>>> cameras = cp.CameraParametersSet()
>>> try:
...     cameras.load_from_file("no such file")
... except FileNotFoundError:
...     cameras.names
['head_camera', 'navigation_camera']
)doc";

constexpr const char* kAdjust =
    R"doc(Moves the cameras onto a base that was calibrated: each pose P becomes P B.

`base` is a `BaseCalibrationData`, whose global transform is B. Moves every camera that the loaded message names,
those that were taken from the set included, and stores the new poses; views keep theirs. The set does not record what
moved it: applied twice it moves the cameras twice, also when it was saved and loaded in between, and
`was_adjusted_by` stays False. `adjust_calibration` gives a moved copy that does record it.

>>> import camera_parameters as cp
>>> cameras = cp.CameraParametersSet()
>>> ahead = {"a": [1, 0, 0, 100, 0, 1, 0, 0, 0, 0, 1, 0]}  # millimetres
>>> base = {"global_transform_adjustment": {"global_transform": ahead}}
>>> before = cameras["head_camera"].pose.center
>>> cameras.adjust_using_base_calibration(cp.BaseCalibrationData.from_dict(base))
>>> [round(float(metres), 3) for metres in cameras["head_camera"].pose.center - before]
[-0.1, 0.0, 0.0]
)doc";

constexpr const char* kNames =
    "The names of all cameras, in byte-wise order. Bytes that are no UTF-8 are lone surrogates.";

constexpr const char* kGetCamera =
    R"doc(The camera of that name, or None. Raises TypeError where `name` is no str.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet().get_camera("rear_camera") is None
True
)doc";

constexpr const char* kGetItem =
    R"doc(The camera of that name. Raises KeyError, which lists the names, and TypeError for what is no str.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet()["head_camera"].size
(1280, 960)
)doc";

constexpr const char* kGet =
    R"doc(The camera of that name, or `default`. Raises TypeError where `name` is no str.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet().get("rear_camera") is None
True
)doc";

constexpr const char* kKeys = R"doc(The names of all cameras, as of a mapping.

>>> import camera_parameters as cp
>>> list(cp.CameraParametersSet().keys())
['head_camera', 'navigation_camera']
)doc";

constexpr const char* kValues = R"doc(All cameras, as of a mapping.

>>> import camera_parameters as cp
>>> [camera.size for camera in cp.CameraParametersSet().values()]
[(1280, 960), (1280, 960)]
)doc";

constexpr const char* kItems = R"doc(Pairs of names and cameras, as of a mapping.

>>> import camera_parameters as cp
>>> for name, camera in cp.CameraParametersSet().items():
...     print(name, camera.model)
head_camera mk512h
navigation_camera mk513n
)doc";

constexpr const char* kToBytes =
    R"doc(The calibration in binary form, with the poses that the cameras have now.

What was last loaded, without cameras that stayed from earlier loads. Fields that this version does not know are kept.

>>> import camera_parameters as cp
>>> len(cp.CameraParametersSet().to_bytes()) > 1000
True
)doc";

constexpr const char* kToText =
    R"doc(The calibration as text, as a person would write it; otherwise as `to_bytes`.

Raises CalibrationError that names the field where there is one that text cannot hold: one that this version does not
know, or a NaN with a payload.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet().to_text().splitlines()[:2]
['camera_calibration {', '  intrinsics {']
)doc";

constexpr const char* kToDict = R"doc(The calibration as a dict; otherwise as `to_bytes`.

Protocol Buffers' JSON mapping under the fields' own names: 64-bit integers are strings, and what is no finite number
is "NaN", "Infinity" or "-Infinity". Fields that this version does not know are left out. Raises CalibrationError
where a string in it is no UTF-8.

>>> import camera_parameters as cp
>>> [camera["name"] for camera in cp.CameraParametersSet().to_dict()["camera_calibration"]]
['head_camera', 'navigation_camera']
)doc";

constexpr const char* kSave =
    R"doc(Writes the calibration to a file, which it replaces in one step: text, or the binary form.

`path` is a str, bytes or os.PathLike. Raises ValueError for a path that ends in .json, for which there is
`json.dump(cameras.to_dict(), file)`, OSError where the file cannot be written and CalibrationError, as `to_text`,
where text cannot hold the calibration; the file is then as it was.

>>> import camera_parameters as cp, os, tempfile
>>> with tempfile.TemporaryDirectory() as folder:
...     path = os.path.join(folder, "robot.bin")
...     cp.CameraParametersSet().save(path, binary=True)
...     os.path.getsize(path) == len(cp.CameraParametersSet().to_bytes())
True
)doc";

constexpr const char* kCopy =
    "A set with the same cameras, which loads and adjusts of this one do not change.";

}  // namespace norv::python::docs
