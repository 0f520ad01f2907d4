"""What pages say of the package is so: their blocks run, in their order, as one session each."""

import doctest
import functools
import multiprocessing
import re
import shutil
import types

import numpy
import pytest

from calibrations import SOURCE

BLOCK = re.compile(r"^```python\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def run_blocks(name):
    """What the blocks of a page define, after all of them ran."""
    path = SOURCE / name
    text = path.read_text(encoding="utf-8")
    names, said = {}, []
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE)
    for block in BLOCK.finditer(text):
        line = text[:block.start(1)].count("\n")
        test = doctest.DocTestParser().get_doctest(block[1], names, name, str(path), line)
        assert test.examples, block[1]
        runner.run(test, out=said.append, clear_globs=False)
        names.update(test.globs)
    assert not said, "".join(said)
    assert names, "no blocks"
    return names


@pytest.fixture
def names(tmp_path, monkeypatch):
    """What the page on the package defines, which runs in a folder that has the calibrations."""
    pytest.importorskip("cv2")
    pytest.importorskip("dask.array")
    shutil.copytree(SOURCE / "calibration", tmp_path / "calibration")
    monkeypatch.chdir(tmp_path)
    return run_blocks("docs/python.md")


def test_the_front_page_runs():
    assert run_blocks("README.md")["pixels"].shape == (2, 2)


def test_the_table_of_calls_has_all_functions_and_nothing_that_is_not_there():
    pytest.importorskip("matplotlib")
    import camera_parameters as cp
    from camera_parameters import plot, report

    roots = {"cp": cp, "cameras": cp.CameraParametersSet, "camera": cp.CameraParameters, "view": cp.CameraView,
             "head": cp.PTZCameraModel, "camera_parameters": types.SimpleNamespace(plot=plot, report=report)}
    text = (SOURCE / "docs/python.md").read_text(encoding="utf-8")
    rows = re.findall(r"^\|.*$", text[text.index("## Which call does what"):text.index("## Install it")], re.MULTILINE)
    named = set()
    for call in re.findall(r"`([^`]*)`", "".join(rows)):
        root, *path = re.sub(r"\(.*", "", call.partition(" = ")[2] or call).split(".")
        if path:
            assert callable(functools.reduce(getattr, path, roots[root])) or path == ["fields_of_view"], call
            named.add(path[-1])
    functions = {name for name in cp.__all__ if name.islower() and callable(getattr(cp, name))}
    assert functions <= named
    assert {"aim", "track", "can_see", "coverage", "ray_at", "moved_to", "save"} <= named


@pytest.mark.parametrize("name", ["interop.md", "diff.md", "pan_tilt_heads.md", "checks.md"])
def test_pages_lead_to_python(name):
    text = (SOURCE / "docs" / name).read_text(encoding="utf-8")
    assert "camera_parameters." in text and "python.md" in text


def test_a_name_that_a_format_cannot_hold_comes_back():
    import camera_parameters as cp

    cameras = cp.CameraParametersSet.from_dict(
        {"camera_calibration": [{**cp.CameraParametersSet()["head_camera"].to_dict(), "name": "narrow_stereo/left"}]})
    written = cp.export_calibration(cameras, "ros").text.encode()
    assert cp.import_calibration(written).cameras.names == ["narrow_stereo_left"]
    back = cp.import_calibration(written, name="narrow_stereo/left", into=cameras,
                                 extrinsics=cameras["narrow_stereo/left"]).cameras
    assert back.names == ["narrow_stereo/left"]
    assert (back["narrow_stereo/left"].pose.center == cameras["narrow_stereo/left"].pose.center).all()


def test_blocks_run_and_many_pixels_by_dask_are_those_of_one_call(names):
    pixels = names["rays_of"](1_000_000, blocks=7).compute(scheduler="threads")
    assert pixels.shape == (1_000_000, 2) and pixels.dtype == numpy.float32
    sources = names["rays_of"](1_000_000, blocks=7)
    [source] = [layer for layer in sources.dask.layers if layer.startswith("astype")]
    given = names["da"].Array(sources.dask, source, sources.chunks, dtype=numpy.float32).compute(scheduler="threads")
    assert numpy.array_equal(names["camera"].rectify(given, 640, 480), pixels, equal_nan=True)


def test_a_camera_goes_to_other_processes():
    import camera_parameters as cp

    camera = cp.CameraParametersSet()["head_camera"]
    pixels = numpy.random.default_rng(2).uniform(0, 480, (4, 1000, 2)).astype(numpy.float32)
    with multiprocessing.get_context("spawn").Pool(2) as pool:
        rays = pool.starmap(camera.rectify, [(block, 640, 480) for block in pixels])
    assert numpy.array_equal(rays, camera.rectify(pixels, 640, 480), equal_nan=True)
