"""Plots: what they show are the library's numbers, and files come out of them without a display."""

import json
import os
import pathlib
import subprocess
import sys
import warnings

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BASE, HEAD, PTZ

figure = pytest.importorskip("matplotlib.figure")
plot = pytest.importorskip("camera_parameters.plot")

K = [[400, 0, 320], [0, 400, 240], [0, 0, 1]]


@pytest.fixture(autouse=True)
def errors_of_warnings():
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        yield


def axes_of(count=1):
    return figure.Figure().subplots(1, count)


def drawn(axes, path):
    """The bytes of the picture, so that whatever drawing warns of is seen."""
    axes.figure.savefig(path)
    return path.read_bytes()


def head_camera():
    return cp.CameraParametersSet.from_file(HEAD)["head_camera"]


def test_arrows_lead_from_the_pinhole_cameras_pixel_to_the_lens():
    view = head_camera().view(1280, 960)
    axes = plot.distortion(view, axes_of())
    quiver = next(c for c in axes.collections if type(c).__name__ == "Quiver")
    starts = np.stack([quiver.X, quiver.Y], axis=-1)
    ends = starts + np.stack([quiver.U, quiver.V], axis=-1)
    k = view.camera_matrix
    rays = np.concatenate([(starts - k[:2, 2]) / np.diag(k)[:2], np.ones((len(starts), 1))], axis=-1)
    # Measured: 7e-10 pixels, which is what rectify and project promise.
    np.testing.assert_allclose(view.moved_to(cp.Pose(np.eye(4))).project(rays), ends, rtol=0, atol=2e-9)
    assert len(ends) > 100 and (ends >= 0).all() and (ends <= view.size).all()
    assert (quiver.angles, quiver.scale_units, quiver.scale) == ("xy", "xy", 1)


def test_rings_join_places_of_the_displacement_that_they_are_labelled_with():
    view = head_camera().view(1280, 960)
    axes = plot.distortion(view, axes_of())
    k = view.camera_matrix
    checked = 0
    labels = [text.get_text() for text in axes.texts]
    found = set()
    for ring in [c for c in axes.collections if len(c.get_paths()) and c.get_linewidth() == 1]:
        for path in ring.get_paths():
            segment = path.vertices
            undistorted = view.rectify(segment) @ k[:2, :2].T + k[:2, 2]
            distance = np.linalg.norm(segment - undistorted, axis=-1)
            found.add(round(np.median(distance)))
            checked += len(segment)
            # Measured: 0.04 pixels, of cells of 8 pixels between which contours are straight.
            np.testing.assert_allclose(distance, round(np.median(distance)), rtol=0, atol=0.2)
    assert checked > 500 and {f"{level} px" for level in found} == set(labels)


@pytest.mark.parametrize("view", [head_camera().view(1280, 960), cp.CameraView(640, 480, K, [-0.4, 0, 0, 0, 0, 0, 0, 0])],
                         ids=["a wide lens", "a fold"])
def test_labels_of_rings_lie_apart_and_on_their_rings(view, tmp_path):
    axes = plot.distortion(view, figure.Figure(layout="constrained").subplots())
    drawn(axes, tmp_path / "plot.png")
    boxes = [text.get_window_extent() for text in axes.texts]
    assert len(boxes) >= 4
    for i, one in enumerate(boxes):
        assert not any(one.overlaps(other) for other in boxes[i + 1:])
    k = view.camera_matrix
    for text in axes.texts:
        place = np.array(text.get_position())
        displacement = np.linalg.norm(place - view.rectify(place) @ k[:2, :2].T - k[:2, 2])
        # Measured: 0.1 pixels, and 2.1 at the fold, where a cell of 4 pixels has no slope that is known.
        assert displacement == pytest.approx(float(text.get_text()[:-3]), abs=3)


def test_arrows_are_drawn_whole(tmp_path):
    # Its rays come from so far outside the picture that a figure of all of them would show little else.
    for view in (head_camera().view(1280, 960), cp.CameraView(640, 480, K, [-0.4, 0, 0, 0, 0, 0, 0, 0]),
                 cp.CameraView(640, 480, K, [0, 0, 0, 0, 0, 3, 0, 0])):
        axes = plot.distortion(view, axes_of())
        quiver = next(c for c in axes.collections if type(c).__name__ == "Quiver")
        (left, right), (bottom, top) = axes.get_xlim(), axes.get_ylim()
        margin = 0.019 * np.array(view.size)
        assert (quiver.X >= left + margin[0]).all() and (quiver.X <= right - margin[0]).all()
        assert (quiver.Y >= top + margin[1]).all() and (quiver.Y <= bottom - margin[1]).all()
        assert right - left <= 1.85 * view.width and bottom - top <= 1.85 * view.height


def test_the_end_of_the_lens_is_drawn_where_it_is():
    # r (1 - 0.4 r^2) has its fold at r = sqrt(1 / 1.2), which is imaged at r * 2 / 3.
    axes = plot.distortion(cp.CameraView(640, 480, K, [-0.4, 0, 0, 0, 0, 0, 0, 0]), axes_of())
    border = [c for c in axes.collections if np.allclose(c.get_linewidth(), 2) and len(c.get_paths()) > 0]
    points = np.concatenate([path.vertices for path in border[-1].get_paths()])
    radius = np.hypot(points[:, 0] - 320, points[:, 1] - 240)
    # Measured: 0.65 pixels, of cells that are 1.33 pixels wide.
    np.testing.assert_allclose(radius, 400 * np.sqrt(1 / 1.2) * 2 / 3, rtol=0, atol=1.4)
    names = [text.get_text() for text in axes.get_legend().get_texts()]
    assert "no ray is imaged here" in names and "end of the lens" in names


def test_axes_are_those_of_the_picture():
    axes = plot.distortion(head_camera().view(640, 480), axes_of())
    left, right = axes.get_xlim()
    bottom, top = axes.get_ylim()
    assert left <= 0 and right >= 640 and top <= 0 and bottom >= 480
    assert axes.get_aspect() == 1
    assert (axes.get_xlabel(), axes.get_ylabel()) == ("x [pixels]", "y [pixels]")


def test_sizes_are_drawn_where_they_are_cut_from_the_full_frame():
    axes = plot.sizes(cp.CameraParametersSet.from_file(HEAD)["navigation_camera"], axes_of())
    boxes = []
    for line in axes.get_lines():
        points = np.column_stack(line.get_data())
        boxes.append([*points.min(axis=0), *points.max(axis=0)])
    # The frame halved, the frame, and its middle 720 lines. Measured: 2e-4 pixels, for matrices of single precision.
    np.testing.assert_allclose(boxes, [[0, 0, 1280, 960], [0, 0, 1280, 960], [0, 120, 1280, 840]], rtol=0, atol=1e-8)
    labels = [text.get_text() for text in axes.get_legend().get_texts()]
    assert [label.split(":")[0] for label in labels] == ["640x480", "1280x960", "1280x720"]
    fields = cp.CameraParametersSet.from_file(HEAD)["navigation_camera"].view(640, 480).fields_of_view
    assert labels[0].endswith(f"{np.degrees(fields.horizontal):.1f}° x {np.degrees(fields.vertical):.1f}°")


def test_what_the_sensor_straightened_is_said_and_bent():
    axes = plot.sizes(head_camera(), axes_of())
    assert axes.get_legend().get_texts()[0].get_text().startswith("640x480, straightened by the sensor:")
    x, y = axes.get_lines()[0].get_data()
    assert np.ptp(y[:65]) > 10  # the upper border is no line along the frame


def test_sizes_of_a_head_are_its_zooms():
    head = cp.PTZCameraModel.from_file(PTZ)
    axes = plot.sizes(head, axes_of())
    widths = [np.ptp(line.get_xdata()) for line in axes.get_lines()]
    assert widths[0] == pytest.approx(1920, abs=0.01) and widths == sorted(widths, reverse=True)
    # Twenty times as long a focal length.
    assert widths[0] / widths[-1] == pytest.approx(20, rel=0.05)


def test_zoom_shows_the_lens_of_each_position():
    head = cp.PTZCameraModel.from_file(PTZ)
    lens, reach = plot.zoom(head, axes_of(2))
    zooms, focal_lengths = lens.get_lines()[0].get_data()
    assert (zooms[0], zooms[-1]) == head.zoom_range
    for zoom, focal_length in zip(zooms[::20], focal_lengths[::20]):
        assert focal_length == head.configuration(0, 0, int(zoom)).view().camera_matrix[0, 0]
    angles = next(axes for axes in lens.figure.axes if axes not in (lens, reach))
    expected = np.degrees(head.configuration(0, 0, int(zooms[-1])).view().fields_of_view.horizontal)
    assert angles.get_lines()[0].get_ydata()[-1] == expected
    assert "[steps]" in lens.get_xlabel() and "[pixels]" in lens.get_ylabel() and "[degrees]" in angles.get_ylabel()


def test_the_reach_is_where_the_axis_points():
    head = cp.PTZCameraModel.from_file(PTZ)
    _, reach = plot.zoom(head, axes_of(2))
    lines = {line.get_label(): line.get_data() for line in reach.get_lines()}
    checked = 0
    for name, (azimuth, elevation) in lines.items():
        if not name.startswith("tilt "):
            continue
        pan = head.pan_range[0]
        view = head.configuration(pan, int(name[5:]), 0).view()
        k = view.camera_matrix
        direction = view.ray_at(k[:2, 2]).direction
        assert azimuth[0] == pytest.approx(np.degrees(np.arctan2(direction[1], direction[0])), abs=1e-4)
        assert elevation[0] == pytest.approx(np.degrees(np.arcsin(direction[2])), abs=1e-4)
        checked += 1
    assert checked == 7


def test_differences_are_those_of_the_cameras():
    one = cp.CameraView(640, 480, K)
    axes = axes_of()
    plot.diff(one, cp.CameraView(640, 480, [[400, 0, 323], [0, 400, 244], [0, 0, 1]]), axes)
    image = axes.get_images()[0]
    np.testing.assert_allclose(image.get_array(), 5, rtol=0, atol=1e-9)
    assert image.get_extent() == (0, 640, 480, 0)
    axes = axes_of()
    plot.diff(one, cp.CameraView(640, 480, [[420, 0, 320], [0, 400, 240], [0, 0, 1]]), axes)
    columns = (np.arange(160) + 0.5) * 4
    expected = np.broadcast_to(abs(columns - 320) / 20, (120, 160))
    np.testing.assert_allclose(axes.get_images()[0].get_array(), expected, rtol=0, atol=1e-9)
    assert axes.figure.axes[1].get_ylabel() == "difference [pixels]"


def test_differences_need_pictures_of_one_size():
    with pytest.raises(ValueError, match="size: the views are of 640x480 and 1280x960 pixels"):
        plot.diff(head_camera().view(640, 480), head_camera().view(1280, 960), axes_of())


EXTREMES = {
    "no lens": cp.CameraView(640, 480, K),
    "a fold": cp.CameraView(640, 480, K, [-0.4, 0, 0, 0, 0, 0, 0, 0]),
    "no ray at all": cp.CameraView(640, 480, np.diag([0, 0, 1])),
    "one pixel": cp.CameraView(1, 1, K),
    "mirrored": cp.CameraView(640, 480, np.diag([-400, 400, 1]), [-0.1] * 8),
}


@pytest.mark.parametrize("name", EXTREMES)
def test_odd_cameras_are_drawn_too(name, tmp_path):
    for suffix, start in ((".png", b"\x89PNG"), (".svg", b"<?xml")):
        for draw in (plot.distortion, lambda view, axes: plot.diff(view, view, axes)):
            axes = axes_of()
            draw(EXTREMES[name], axes)
            assert drawn(axes, tmp_path / f"plot{suffix}").startswith(start)


def command(*words, **options):
    # No display and no backend of the caller's; whatever warns, fails.
    kept = {name: os.environ[name] for name in os.environ if name not in ("DISPLAY", "MPLBACKEND", "WAYLAND_DISPLAY")}
    return subprocess.run([sys.executable, "-W", "error", "-m", "camera_parameters.plot", *map(str, words)],
                          env=kept, capture_output=True, text=True, **options)


@pytest.mark.parametrize("suffix", ["png", "svg"])
@pytest.mark.parametrize("words", [("distortion", HEAD), ("sizes", HEAD), ("diff", HEAD, HEAD), ("distortion", PTZ),
                                   ("sizes", PTZ), ("zoom", PTZ), ("diff", PTZ, PTZ)],
                         ids=lambda words: " ".join(pathlib.Path(word).stem for word in words))
def test_each_example_file_is_drawn(words, suffix, tmp_path):
    picture = tmp_path / f"picture.{suffix}"
    ran = command(*words, "-o", picture)
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "", "")
    assert picture.read_bytes().startswith({"png": b"\x89PNG", "svg": b"<?xml"}[suffix])


def border_of(path):
    """What is darkest along the border of a picture, 0 to 1."""
    pixels = pytest.importorskip("matplotlib.image").imread(path)[..., :3]
    return min(side.min() for side in (pixels[0], pixels[-1], pixels[:, 0], pixels[:, -1]))


@pytest.mark.parametrize("words", [("distortion", HEAD), ("sizes", HEAD), ("diff", HEAD, HEAD), ("sizes", PTZ),
                                   ("sizes", HEAD, "--camera", "head_camera"), ("zoom", PTZ)],
                         ids=lambda words: " ".join(pathlib.Path(word).stem for word in words))
def test_nothing_is_cut_off_at_the_border(words, tmp_path):
    assert command(*words, "-o", tmp_path / "picture.png").returncode == 0
    assert border_of(tmp_path / "picture.png") == 1


def test_a_picture_of_differences_names_the_files_and_what_is_compared(tmp_path):
    odd = tmp_path / "a$b$.txt"
    odd.write_bytes(HEAD.read_bytes())
    picture = tmp_path / "picture.svg"
    code = "import matplotlib; matplotlib.rcParams['svg.fonttype'] = 'none'; from camera_parameters import _plot_command;" \
           "import sys; sys.exit(_plot_command.run(sys.argv[1:]))"
    ran = subprocess.run([sys.executable, "-c", code, "diff", str(odd), str(HEAD), "-o", str(picture)],
                         capture_output=True, text=True)
    assert (ran.returncode, ran.stderr) == (0, "")
    assert "a$b$.txt → default_head_cal.txt, as is" in picture.read_text(encoding="utf-8")


def test_titles_of_axes_between_panels_are_apart(tmp_path):
    from camera_parameters import _plot_command

    arguments = _plot_command._parser().parse_args(["zoom", str(PTZ), "-o", "x"])
    made = _plot_command._zoom(arguments)
    made.savefig(tmp_path / "picture.png")
    lens, reach, angles = made.axes
    between = reach.yaxis.label.get_window_extent().x0 - angles.yaxis.label.get_window_extent().x1
    assert between > 2 * angles.yaxis.label.get_window_extent().width  # beside a label's height


@pytest.mark.parametrize("module", ["plot", "report"])
def test_the_version_is_told(module):
    ran = subprocess.run([sys.executable, "-m", f"camera_parameters.{module}", "--version"], capture_output=True, text=True)
    version = getattr(cp, "__version__", "unknown")
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, version + "\n", "")


REFUSED = [
    (("distortion", "/nonexistent"), "/nonexistent: No such file or directory"),
    (("zoom", HEAD), f"{HEAD}: holds fixed cameras, which have no zoom"),
    (("sizes", HEAD, "--camera", "x"), f'{HEAD}: no camera "x" (there are: head_camera, navigation_camera)'),
    (("sizes", PTZ, "--camera", "x"),
     f"{PTZ}: holds a pan-tilt-zoom camera, which has no name: --camera chooses none"),
    (("distortion", HEAD, "--size", "1x1", "--camera", "head_camera"),
     "size: head_camera delivers 640x480, 1280x960, 1280x720, not 1x1"),
    (("distortion", HEAD, "--zoom", "5"), "fixed cameras have no zoom: --zoom chooses none"),
    (("diff", HEAD, PTZ), f"{HEAD}, {PTZ}: no camera is in both"),
]


@pytest.mark.parametrize("words, text", REFUSED, ids=[str(i) for i in range(len(REFUSED))])
def test_bad_input_is_one_line_and_exits_with_1(words, text, tmp_path):
    ran = command(*words, "-o", tmp_path / "picture.png")
    assert (ran.returncode, ran.stdout) == (1, "")
    assert ran.stderr == f"python3 -m camera_parameters.plot: {text}\n"
    assert not (tmp_path / "picture.png").exists()


def test_what_is_no_calibration_of_cameras_is_bad_input(tmp_path):
    ran = command("sizes", BASE, "-o", tmp_path / "picture.png")
    assert (ran.returncode, ran.stderr) == (
        1, f"python3 -m camera_parameters.plot: {BASE}: holds a mobile base, which has no camera\n")
    bad = tmp_path / "bad.txt"
    bad.write_text("camera_calibration { name: 3 }\n")
    ran = command("sizes", bad, "-o", tmp_path / "picture.png")
    assert ran.returncode == 1 and ran.stderr.count(f"{bad}:1:28: ") == 1 and ran.stderr.count("\n") == 1
    assert "PTZ" not in ran.stderr


def test_files_are_named_and_written_as_by_the_other_commands(tmp_path):
    fields = tmp_path / "head.json"
    fields.write_text(json.dumps(cp.PTZCameraModel.from_file(PTZ).to_dict()))
    drawings = {"text": (PTZ,), "json": (fields,), "-": ("-",)}
    for name, words in drawings.items():
        ran = command("zoom", *words, "-o", tmp_path / f"{name}.png", input=PTZ.read_text())
        assert (ran.returncode, ran.stderr) == (0, "")
        assert (tmp_path / f"{name}.png").read_bytes().startswith(b"\x89PNG")
    assert command("sizes", "default", "-o", tmp_path / "default.png").stderr == ""
    assert (tmp_path / "default.png").read_bytes().startswith(b"\x89PNG")


def test_a_calibration_that_is_read_is_not_drawn_over(tmp_path):
    old, new = tmp_path / "old.png", tmp_path / "new.png"  # as if it were a picture
    old.write_bytes(HEAD.read_bytes())
    new.symlink_to(old)
    for words in (("sizes", old), ("diff", HEAD, old)):
        ran = command(*words, "-o", new)
        assert ran.returncode == 2 and f"--output is the file that is read as {old}" in ran.stderr
    assert old.read_bytes() == HEAD.read_bytes() and new.is_symlink()


@pytest.mark.parametrize("words", [(), ("distortion",), ("map", HEAD), ("distortion", HEAD),
                                   ("distortion", HEAD, "-o", "x.png", "--size", "0x1")])
def test_wrong_usage_exits_with_2(words):
    ran = command(*words)
    assert ran.returncode == 2 and ran.stderr.startswith("usage: python3 -m camera_parameters.plot")


def test_the_package_itself_needs_no_matplotlib():
    code = "import sys, camera_parameters; print([name for name in ('matplotlib', 'PIL', 'cv2') if name in sys.modules])"
    assert subprocess.run([sys.executable, "-c", code], capture_output=True, text=True).stdout == "[]\n"
