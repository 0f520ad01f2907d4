"""Other programs' calibrations made into ours, held to the command-line tool's."""

import pickle
import random
import re
import threading

import camera_parameters as cp
from camera_parameters._peers import with_arguments
import numpy as np
import pytest

from calibrations import HEAD, SOURCE
import tool

CORPUS = SOURCE / "fuzz" / "corpus"
FORMATS = ("basalt", "colmap", "kalibr", "mrcal", "opencv", "ros")
FILES = sorted(path for name in FORMATS for path in (CORPUS / f"import_{name}").iterdir())
ROBOT_FROM_IMU = "0 1 0 0  -1 0 0 100  0 0 1 -400"
RIG = CORPUS / "import_kalibr" / "chain_behind_imu"
CHAIN_POSE = [[0, 1, 0, 0], [-1, 0, 0, 0.1], [0, 0, 1, -0.4]]

POINTS = """camera,x,y,z,u,v
left,0.1,0.05,2,640,480
left,0.2,0.15,2,700,520
"""

ROS = """image_width: 1280
image_height: 960
camera_name: left
camera_matrix: {rows: 3, cols: 3, data: [905.0, 0, 639.5, 0, 906.0, 479.5, 0, 0, 1]}
distortion_model: plumb_bob
distortion_coefficients: {rows: 1, cols: 5, data: [-0.28, 0.07, 0.0003, -0.0002, 0]}
"""

OPENCV = """%YAML:1.0
---
M1: !!opencv-matrix
   {rows: 3, cols: 3, dt: d, data: [900., 0., 320., 0., 900., 240., 0., 0., 1.]}
D1: !!opencv-matrix
   {rows: 1, cols: 4, dt: d, data: [0.1, 0.01, 0., 0.]}
M2: !!opencv-matrix
   {rows: 3, cols: 3, dt: d, data: [910., 0., 320., 0., 910., 240., 0., 0., 1.]}
D2: !!opencv-matrix
   {rows: 1, cols: 4, dt: d, data: [0.1, 0.01, 0., 0.]}
"""

OPENCV = OPENCV.replace("\n   {", " {")


def stored(camera):
    """The pose of a camera's message, (3, 4), metres."""
    rows = np.array(camera.to_dict()["extrinsics"]["a"]).reshape(3, 4)
    return rows * [1, 1, 1, 0.001]


def intrinsics(camera):
    return camera.to_dict()["intrinsics"]


@pytest.mark.parametrize("path", FILES, ids=lambda path: f"{path.parent.name}-{path.name}")
def test_what_is_imported_is_what_the_tool_imports(path, tmp_path):
    name = path.parent.name[len("import_"):]
    output = tmp_path / "robot.bin"
    arguments = ["import", path, "--format", name, "--size", "640x480", "--scale", "2", "--max-error", "10", "--force",
                 "--full-frame", "--binary", "-o", output]
    try:
        result = cp.import_calibration(path, format=name, size=(640, 480), scale=2, max_error=10, force=True,
                                       full_frame=True)
    except cp.CalibrationError as error:
        _, message = tool.run(*arguments, status=1)
        told = with_arguments(message.strip().splitlines()[-1])
        assert told.endswith(error.text) or f"does not load: {error.field}" in message
        return
    report, left = tool.run(*arguments)
    assert output.read_bytes() == result.cameras.to_bytes()
    for camera in result.imported:
        how = "exact" if camera.exact else f"max {camera.deviation.max:.3g} px, rms {camera.deviation.rms:.3g} px"
        assert f"  {camera.name}: {how} at {camera.size[0]}x{camera.size[1]}" in report
    told = [with_arguments(line) for line in re.findall(r"^not taken over: (.*)$", left, re.M)]
    expected = [str(one).replace("and parent says", "and --parent says") for one in result.not_taken_over]
    assert told == expected
    assert re.findall(r"format (\w+), ", report) == [file.format for file in result.files]
    assert [with_arguments(note) for note in re.findall(r"^note: (.*)$", report, re.M)] == result.notes


def test_numbers_pass_as_they_are_but_for_half_a_pixel():
    result = cp.import_calibration({"dir/left.yaml": ROS})
    assert result.imported == [cp.ImportedCamera("left", 0, (1280, 960), "none", None)]
    assert result.files == [cp.ImportedFile("dir/left.yaml", "ros", "centre", None, [])]
    numbers = intrinsics(result.cameras["left"])
    assert (numbers["fx"], numbers["fy"], numbers["cx"], numbers["cy"]) == (905.0, 906.0, 640.0, 480.0)
    assert numbers["radial"] == [-0.28, 0.07, 0, 0, 0, 0] and numbers["tangential"] == [0.0003, -0.0002]
    assert np.array_equal(stored(result.cameras["left"]), np.eye(4)[:3])
    corner = cp.import_calibration(ROS.encode(), pixel_origin="corner")
    assert intrinsics(corner.cameras["left"])["cx"] == 639.5 and corner.files[0].pixel_origin == "corner"


def test_names_and_models_are_given():
    result = cp.import_calibration([ROS.encode(), {"other": ROS.encode()}], name=["a", "b"], model="mk513n")
    assert result.cameras.names == ["a", "b"] and result.cameras["b"].model == "mk513n"
    assert result.cameras["a"].sizes[0] == (640, 480)
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration([ROS.encode(), {"other": ROS.encode()}])
    assert str(raised.value) == "other: left: is the name of another camera of  too"
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration(ROS.encode(), name=["a", "b"])
    assert str(raised.value) == "names given: 2, cameras: 1"


def test_a_stereo_pair_is_read_by_node_and_size():
    pair = OPENCV.encode()
    with pytest.raises(cp.CalibrationError, match="size"):
        cp.import_calibration(pair)
    assert cp.import_calibration(pair, size=(640, 480)).cameras.names == ["camera1", "camera2"]
    for node, fx in ((1, 900), (2, 910)):
        cameras = cp.import_calibration(pair, size=(640, 480), node=node, name="one").cameras
        assert intrinsics(cameras["one"])["fx"] == fx and cameras["one"].size == (640, 480)


def test_poses_of_files_need_their_parent():
    without = cp.import_calibration(RIG)
    assert {camera.pose_source for camera in without.imported} == {"none"}
    assert any(one.key.startswith("pose of ") for one in without.not_taken_over)
    robot = cp.import_calibration(RIG, parent="robot")
    moved = cp.import_calibration(RIG, parent="imu", parent_from_robot=CHAIN_POSE)
    assert {camera.pose_source for camera in moved.imported} == {"file"}
    for name in robot.cameras:
        expected = stored(robot.cameras[name]) @ np.vstack([CHAIN_POSE, [0, 0, 0, 1]])
        # Sums of four products in double precision, and millimetres written and read: 1e-16 was measured.
        assert np.abs(stored(moved.cameras[name]) - expected).max() < 1e-14
    as_pose = cp.import_calibration(RIG, parent_from_robot=cp.Pose(np.vstack([CHAIN_POSE, [0, 0, 0, 1]])))
    # The pose is one in single precision.
    first = moved.cameras.names[0]
    assert np.abs(stored(as_pose.cameras[first]) - stored(moved.cameras[first])).max() < 1e-7
    named = cp.import_calibration(RIG, parent="body", parent_from_robot=np.eye(4))
    assert any(note.endswith(", which parent calls body") for note in named.notes)


def test_parent_from_robot_is_the_tools(tmp_path):
    tool.run("import", RIG, "--parent", "imu", "--parent-from-robot", ROBOT_FROM_IMU, "--force", "--binary", "-o",
             tmp_path / "rig.bin")
    result = cp.import_calibration(RIG, parent="imu", parent_from_robot=CHAIN_POSE, force=True)
    expected = cp.CameraParametersSet.from_file(tmp_path / "rig.bin")
    assert result.cameras.names == expected.names
    for name in expected:
        assert np.abs(stored(result.cameras[name]) - stored(expected[name])).max() < 1e-15


def test_scale_gives_poses_of_a_scene():
    scene = cp.export_calibration(HEAD, "colmap", max_error=9).files
    one, two = (cp.import_calibration(scene, parent="robot", scale=scale, force=True).cameras for scale in (1, 2))
    assert len(one) == 2
    for name in one:
        assert np.abs(stored(one[name])[:, 3]).max() > 0.1
        assert np.allclose(stored(two[name])[:, 3], 2 * stored(one[name])[:, 3], rtol=1e-15, atol=0)


def test_extrinsics_are_for_cameras_without_a_pose():
    head = cp.CameraParametersSet.from_file(HEAD)["head_camera"]
    of_camera = cp.import_calibration(ROS.encode(), extrinsics=head)
    assert of_camera.cameras["left"].to_dict()["extrinsics"] == head.to_dict()["extrinsics"]
    assert of_camera.imported[0].pose_source == "extrinsics"
    pose = [[0, -1, 0, 0.5], [0, 0, -1, 0.25], [1, 0, 0, -0.125]]
    of_rows = cp.import_calibration(ROS.encode(), extrinsics=pose)
    assert of_rows.cameras["left"].to_dict()["extrinsics"]["a"] == [0, -1, 0, 500, 0, 0, -1, 250, 1, 0, 0, -125]


def test_into_replaces_and_keeps():
    head = cp.CameraParametersSet.from_file(HEAD)
    result = cp.import_calibration(ROS.encode(), into=head, name="navigation_camera")
    assert result.cameras.names == head.names
    assert result.cameras["head_camera"].to_dict() == head["head_camera"].to_dict()
    assert intrinsics(result.cameras["navigation_camera"])["fx"] == 905
    assert result.notes == ["the camera navigation_camera that is replaced had a pose; extrinsics keeps it",
                            "the camera navigation_camera that is replaced had the model mk513n; model keeps it"]
    assert sorted(cp.import_calibration(ROS.encode(), into=HEAD).cameras.names) == sorted([*head.names, "left"])
    for into, text in ((b"", "is empty (in into)"), (b"wheel_base: 1",
                       "holds the calibration of a mobile base, not of fixed cameras (in into)")):
        with pytest.raises(cp.CalibrationError) as raised:
            cp.import_calibration(ROS.encode(), into=into)
        assert str(raised.value) == text


def test_binning_needs_full_frame():
    binned = (ROS + "binning_x: 2\nbinning_y: 2\n").encode()
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration(binned)
    assert raised.value.line == 7 and raised.value.field == "binning_x"
    assert raised.value.text.endswith("; full_frame=True takes camera_matrix for that of the full frame")
    assert cp.import_calibration(binned, full_frame=True).cameras.names == ["left"]


def test_strict_takes_everything_or_nothing():
    text = (ROS + "projection_matrix: {rows: 3, cols: 4, data: [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0]}\n").encode()
    result = cp.import_calibration(text)
    assert [one.key for one in result.not_taken_over] == ["projection_matrix"]
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration(text, strict=True)
    assert str(raised.value) == "not everything is taken over: projection_matrix"
    assert cp.import_calibration(ROS.encode(), strict=True).cameras.names == ["left"]


def test_force_takes_what_a_review_finds_an_error_in():
    folding = ROS.replace("-0.28, 0.07", "-2.8, 0").encode()
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration(folding)
    forced = cp.import_calibration(folding, force=True)
    error = next(finding for finding in forced.findings if finding.severity == "error")
    assert error.check == "lens-fold" and raised.value.field == error.field
    assert raised.value.text.startswith(error.text) and raised.value.text.endswith("; force takes it all the same")


def test_max_error_bounds_fitted_lenses():
    path = CORPUS / "import_kalibr" / "equidistant"
    result = cp.import_calibration(path, max_error=10, force=True)
    deviation = result.imported[0].deviation
    assert 0 < deviation.rms <= deviation.max and 0 < deviation.share <= 1
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration(path, max_error=deviation.max / 2, force=True)
    assert raised.value.text.endswith("px that max_error allows") and raised.value.path == str(path)


def test_sentences_name_arguments_and_no_option():
    sentences = []
    for folder in ("calibration_export.cpp", "calibration_import.cpp", "formats/*.cpp"):
        for path in (SOURCE / "interop").glob(folder):
            text = re.sub(r'"\s*\n\s*"', "", path.read_text(encoding="utf-8"))
            sentences += [line for line in re.findall(r'"(?:[^"\\\n]|\\.)*"', text)
                          if re.search("--[a-z]|that are allowed", line)]
    assert len(sentences) > 8
    assert [line for line in map(with_arguments, sentences) if re.search("--[a-z]|that are allowed", line)] == []


def test_points_that_were_seen_are_compared():
    cameras = cp.import_calibration(ROS.encode()).cameras
    points = np.array([[0.1, 0.05, 2], [0.2, 0.15, 2]])
    pixels = cameras["left"].project(points, 1280, 960)
    rows = ["camera,x,y,z,u,v"] + [f"left,{x},{y},{z},{u + 1},{v}" for (x, y, z), (u, v) in zip(points, pixels)]
    check = cp.import_calibration(ROS.encode(), check="\n".join(rows).encode()).checks[0]
    assert check.camera == "left" and check.error.imaged == 2 and check.error.behind == 0
    # The pixels are floats, whose last place is 6e-5 at 700.
    assert abs(check.error.rms - 1) < 1e-4 and abs(check.error.mean[0] - 1) < 1e-4
    rows = [row if i == 0 else f"left,{x},{y},{z},{u - 0.5},{v - 0.5}"
            for i, (row, (x, y, z), (u, v)) in enumerate(zip(rows, [[0] * 3, *points], [[0] * 2, *pixels]))]
    table = "\n".join(rows).encode()
    hints = cp.import_calibration(ROS.encode(), check=table).checks[0].better
    assert len(hints) == 1 and hints[0][1].rms < 1e-3
    assert hints[0][0].startswith("the points' pixels are counted from the centre of the first pixel")
    assert cp.import_calibration(ROS.encode(), check=table, check_origin="centre").checks[0].error.rms < 1e-3
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration(ROS.encode(), check={"points.csv": "x,y,z,u\n1,2,3,4"})
    assert raised.value.path == "points.csv" and raised.value.line == 1
    empty = cp.import_calibration([ROS.encode(), ROS.encode()], name=["left", "right"], check=POINTS.encode()).checks
    assert empty[1] == cp.PointCheck("right", None, [])


def test_a_folder_is_colmaps(tmp_path):
    exported = cp.export_calibration(HEAD, "colmap", camera="navigation_camera")
    exported.save(tmp_path / "scene")
    (tmp_path / "scene" / "points3D.txt").write_text("# points\n1 0 0 0 0 0 0 0\n")
    (tmp_path / "scene" / "rigs.txt").write_text("")
    result = cp.import_calibration(tmp_path / "scene", scale=1, parent="robot")
    assert result.cameras.names == ["navigation_camera"]
    assert [(one.file, one.key) for one in result.not_taken_over] == [
        (str(tmp_path / "scene" / name), "") for name in ("rigs.txt", "points3D.txt")]
    with pytest.raises(cp.CalibrationError) as raised:
        cp.import_calibration(tmp_path)
    assert str(raised.value) == f"{tmp_path}: is a folder without COLMAP's cameras.txt"
    with pytest.raises(FileNotFoundError):
        cp.import_calibration(tmp_path / "none")


@pytest.mark.parametrize("options, error, text", [
    ({"format": "cv"}, ValueError, "format: expected one of ros, kalibr, opencv, mrcal, colmap, basalt, got 'cv'"),
    ({"pixel_origin": "center"}, ValueError, "pixel_origin: expected one of centre, corner, got 'center'"),
    ({"check_origin": None}, ValueError, "check_origin: expected one of centre, corner, got 'none'"),
    ({"check_origin": "middle"}, ValueError, "check_origin: expected one of centre, corner, got 'middle'"),
    ({"size": (0, 1)}, ValueError, "size: expected positive numbers, got 0x1"),
    ({"node": 3}, ValueError, "node: expected 1 or 2, got 3"),
    ({"scale": 0}, ValueError, "scale: expected a positive number, got 0"),
    ({"scale": float("nan")}, ValueError, "scale: expected a positive number, got nan"),
    ({"max_error": -1}, ValueError, "max_error: expected a number from 0 on, got -1"),
    ({"parent": ""}, ValueError, "parent: the name of the frame is empty"),
    ({"parent": 3}, TypeError, "parent: expected the name of a frame, got int"),
    ({"parent": "imu"}, ValueError, "parent: imu needs parent_from_robot, its pose"),
    ({"parent": "robot", "parent_from_robot": np.eye(4)}, ValueError,
     "parent: is robot, so that there is no pose between, and parent_from_robot gives one"),
    ({"parent_from_robot": np.eye(3)}, ValueError, "parent_from_robot: expected shape (3, 4) or (4, 4), got (3, 3)"),
    ({"parent_from_robot": np.ones((4, 4))}, ValueError, "parent_from_robot: expected 0, 0, 0, 1 as the last row"),
    ({"extrinsics": np.full((3, 4), np.nan)}, ValueError, "extrinsics: expected finite numbers"),
    ({"extrinsics": np.eye(4) * 1j}, TypeError, "extrinsics: expected numbers, got dtype complex128"),
    ({"extrinsics": "pose"}, TypeError, "extrinsics: expected numbers, got dtype <U4"),
    ({"name": ""}, ValueError, "name: the name of a camera is empty"),
    ({"name": [3]}, TypeError, "name: expected a name or several, got int"),
    ({"into": 3}, TypeError, "into: expected a path, bytes, a dict or an object that holds a calibration, got int"),
    ({"check": []}, ValueError, "sources: expected at least one file"),
])
def test_options_that_are_none_are_refused(options, error, text):
    with pytest.raises(error) as raised:
        cp.import_calibration(ROS.encode(), **options)
    assert str(raised.value) == text


@pytest.mark.parametrize("sources, error, text", [
    ([], ValueError, "sources: expected at least one file"),
    ([3], TypeError, "sources: expected paths, bytes or a dict of names and contents, got int"),
    (b"hello", cp.CalibrationError,
     "looks like no calibration of the known formats: ros, kalibr, opencv, mrcal, colmap, basalt"),
])
def test_sources_that_are_none_are_refused(sources, error, text):
    with pytest.raises(error) as raised:
        cp.import_calibration(sources)
    assert str(raised.value) == text


def test_results_are_values():
    first, second = (cp.import_calibration(ROS.encode()) for _ in range(2))
    assert first == second
    for part in (first.imported, first.files, first.findings, first.not_taken_over, first.checks):
        assert pickle.loads(pickle.dumps(part)) == part


def mutated(data, random_):
    """The data with some bytes changed, dropped or doubled."""
    data = bytearray(data)
    for _ in range(random_.randint(1, 8)):
        at = random_.randrange(len(data) + 1)
        length = random_.randint(0, 12)
        data[at:at + random_.choice((0, length))] = random_.choice(
            (bytes(random_.randrange(256) for _ in range(length)), data[at:at + length] * 2, b"9" * length, b"{", b"nan"))
    return bytes(data)


@pytest.mark.parametrize("name", FORMATS)
def test_no_input_ends_the_process(name):
    random_ = random.Random(14)
    refused = 0
    for path in sorted((CORPUS / f"import_{name}").iterdir()):
        for _ in range(6):
            data = mutated(path.read_bytes(), random_)
            try:
                result = cp.import_calibration(data, format=name, size=(640, 480), scale=1, parent="robot",
                                               max_error=100, force=True)
                assert len(result.imported) == len(result.cameras)
            except cp.CalibrationError as error:
                assert error.text
                refused += 1
    assert refused > 5


def test_another_thread_counts_while_a_lens_is_fitted():
    path = CORPUS / "import_kalibr" / "equidistant"
    contents = path.read_bytes()
    counted, done = 0, threading.Event()

    def fit():
        cp.import_calibration([contents] * 20, name=[f"camera{i}" for i in range(20)], max_error=100, force=True)
        done.set()

    thread = threading.Thread(target=fit)
    thread.start()
    while not done.is_set():
        counted += 1
    thread.join()
    # With the lock held it could count between two switches of the interpreter alone.
    assert counted > 10000


def test_many_threads_import_at_once():
    expected = cp.import_calibration(ROS.encode()).cameras.to_bytes()
    made = []

    def load():
        for _ in range(20):
            made.append(cp.import_calibration(ROS.encode()).cameras.to_bytes())

    threads = [threading.Thread(target=load) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert made == [expected] * 160
