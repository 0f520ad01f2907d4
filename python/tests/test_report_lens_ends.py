"""Where a lens ends, in the report's figures: what is grey, which circles there are, and what words say of it."""

import math
import re
import time

import camera_parameters as cp
import numpy as np
import pytest
from camera_parameters._report import lens_block, lens_figure, no_ray, ring_labels
from camera_parameters.report import make_report

from calibrations import HEAD, PTZ


@pytest.fixture(scope="module")
def folded():
    """A navigation camera that folds inside of its picture, at r^2 = 1 / 1.5."""
    message = cp.CameraParametersSet.from_file(HEAD).to_dict()
    del message["camera_calibration"][0]
    message["camera_calibration"][0]["intrinsics"].update(radial=[-0.5, 0, 0, 0, 0, 0], tangential=[0, 0])
    return cp.CameraParametersSet.from_dict(message)


def area(polygon):
    x, y = polygon.T
    return 0.5 * abs(np.dot(x, np.roll(y, -1)) - np.dot(y, np.roll(x, -1)))


@pytest.mark.parametrize("size", [(1280, 960), (1280, 720)])
def test_the_grey_part_ends_at_the_fold(folded, size):
    camera = folded["navigation_camera"]
    k = camera.intrinsics(*size)
    polygons = no_ray.polygons(k, *lens_figure.FINE)
    points = np.concatenate(polygons)
    radius = math.sqrt(1 / 1.5)
    radii = np.hypot(*((points - [k.cx, k.cy]) / [k.fx, k.fy]).T)
    # The solver gives up where the slope is about 1e-3 of that on the axis, 0.3 pixels before the fold.
    assert radii.min() * k.fx > radius * (1 - 0.5 * radius**2) * k.fx - 0.5
    # Chords of cells of 27 by 27 pixels leave out 0.02 % at most; coverage is of a grid of its own.
    share = sum(map(area, polygons)) / (size[0] * size[1])
    assert share == pytest.approx(1 - camera.view(*size).coverage().share, abs=3e-3)


def test_words_have_the_librarys_shares(folded):
    page = make_report(folded)
    shares = [100 * (1 - folded["navigation_camera"].view(*size).coverage().share)
              for size in ((640, 480), (1280, 960), (1280, 720))]
    # Written with two digits.
    words = re.findall(r"([0-9.]+) % of the picture of ([^<]*?) shows no ray", page)
    assert [(float(share), sizes) for share, sizes in words] == [
        (pytest.approx(shares[0], abs=0.6), "640 \u00d7 480 and 1280 \u00d7 960"),
        (pytest.approx(shares[2], abs=0.6), "1280 \u00d7 720")]
    assert shares[0] == pytest.approx(shares[1], abs=0.05)


def test_the_fold_is_drawn_over_what_is_certainly_valid(folded):
    page = make_report(folded)
    kinds = re.findall(r'<ellipse class="circle ([a-z-]+)"', page)
    assert kinds == ["valid", "fold-image", "fold"]
    radii = {kind: float(rx) for kind, rx in re.findall(r'class="circle ([a-z-]+)"[^>]* rx="([^"]*)"', page)}
    assert radii["valid"] <= radii["fold-image"] < radii["fold"]
    assert "fold, where a pinhole would image it" in page


def legends(page):
    return [re.findall(r'class="(?!key)([a-z0-9 -]+)"', legend)
            for legend in re.findall(r'<figcaption><p>The lens.*?</figcaption>', page, re.S)]


def test_legends_list_what_the_figure_has(folded):
    assert legends(make_report(folded)) == [["legend", "arrow", "ring", "circle valid", "circle fold-image", "circle fold",
                                             "no-ray"]]
    # No fold, pole or grey part is in these figures, nor in those of the zoom, which have legends too.
    for path, count in ((HEAD, 3), (PTZ, 2)):
        assert legends(make_report(path)) == [["legend", "arrow", "ring"]] * count
    page = make_report(HEAD)
    assert page.count("Every ray before the camera is certainly valid.") == 2
    assert page.count("Outside of the figure: certainly valid within r = 4.51") == 1
    assert "blind cone</li>" not in make_report(PTZ)


@pytest.mark.parametrize("path", [HEAD, PTZ])
def test_numbers_of_rings_stand_apart(path):
    plots = re.findall(r'<svg class="plot lens".*?</svg>', make_report(path), re.S)
    assert len(plots) >= 2
    for plot in plots:
        texts = [(float(x), float(y), text) for x, y, text in
                 re.findall(r'class="ring-text" x="([^"]*)" y="([^"]*)">([^<]*)<', plot)]
        assert len(texts) >= 2
        for index, (x, y, text) in enumerate(texts):
            for other_x, other_y, other in texts[:index]:
                wide = 0.5 * ring_labels.LETTER * (len(text) + len(other))
                assert abs(x - other_x) > wide or abs(y - other_y) > ring_labels.HEIGHT


def test_a_lens_without_an_inverse_takes_no_longer_in_a_large_picture(folded):
    # Counted whole, the 1.2e9 pixels of this picture would take minutes.
    camera = folded["navigation_camera"].view(1280, 960).resized(40000, 30000)
    start = time.process_time()
    share = lens_block.share_without_ray(camera)
    assert time.process_time() - start < 5  # 0.1 s were measured
    assert share == pytest.approx(100 * (1 - folded["navigation_camera"].view(1280, 960).coverage().share), abs=0.1)
