"""What pages say of the package is so: their blocks run, in their order, as one session each."""

import doctest
import multiprocessing
import re
import shutil

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
