"""What docs/pan_tilt_heads.md says of the example's head."""

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import PTZ

# Zoom, pixel, and by how many pixels the fixed operation misses what was seen 1, 2, 5 and 20 m away.
TABLE = [
    (0, (100, 100), (0.2, 21.3, 33.9, 40.2)),
    (0, (400, 300), (0.1, 14.4, 23.0, 27.2)),
    (2500, (1800, 1000), (0.3, 21.5, 34.3, 40.7)),
    (5000, (100, 100), (0.9, 22.1, 35.8, 42.6)),
]
DISTANCES = (1, 2, 5, 20)


@pytest.fixture(scope="module")
def head():
    return cp.PTZCameraModel.from_file(PTZ)


def seen_at(camera, pixel, distance):
    """The world point that is seen at a pixel at a distance."""
    ray = camera.project_pixel_to_ray(pixel)
    return camera.pose.center + distance * ray / np.linalg.norm(ray)


@pytest.mark.parametrize("zoom, pixel, misses", TABLE)
def test_what_is_farther_away_than_a_metre_is_missed(head, zoom, pixel, misses):
    now = head.configuration(pan=500, tilt=200, zoom=zoom)
    there = head.configuration(*now.get_pan_tilt(pixel=pixel), zoom)
    axis = np.array([there.intrinsics.cx, there.intrinsics.cy])
    for distance, miss in zip(DISTANCES, misses):
        off = np.linalg.norm(there.project(seen_at(now, pixel, distance)) - axis)
        assert off == pytest.approx(miss, abs=0.06)  # the table has one decimal


@pytest.mark.parametrize("place, bound", [("middle", 1.4), ("axis", 1.2)])
def test_with_a_distance_it_is_centred(head, place, bound):
    misses = []
    for zoom, pixel, _ in TABLE:
        now = head.configuration(500, 200, zoom)
        for distance in DISTANCES:
            best = now.aim(pixel=pixel, distance=distance, place=place).best
            misses.append(best.miss)
            # From single precision: 2.2e-4 px measured.
            seen = head.configuration(*best.motors).project(seen_at(now, pixel, distance))
            assert np.abs(seen - best.lands).max() < 0.002
    assert bound - 0.1 < max(misses) < bound + 0.05


def test_a_tilt_that_reaches_over_the_back(head):
    fields = head.to_dict()
    fields["pan_tilt"]["max_tilt"] = 6283
    over = cp.PTZCameraModel.from_dict(fields)
    both = over.aim(at=(500, 200, 2500), point=(3, 1, 1.5))
    assert [position.is_upright for position in both] == [True, False]
    assert abs(both[0].pan - both[1].pan) * 0.0005 == pytest.approx(np.pi, abs=0.02)
    ask = dict(at=(2500, 6000, 2500), point=(3, 1, 1.5))
    assert not over.aim(choice="no-flip", **ask).best.is_upright
    assert over.aim(choice="upright", **ask).best.is_upright


def test_a_framed_box_is_as_large_as_it_can_be(head):
    now = head.configuration(500, 200, 2500)
    best = now.aim(box=((300, 200), (700, 500)), distance=8).best
    assert best.is_inside and best.zoom > 2500
    # A step more of the zoom loses a part of it.
    beyond = head.configuration(best.pan, best.tilt, best.zoom + 1)
    corners = [seen_at(now, (x, y), 8) for x in (300, 700) for y in (200, 500)]
    pixels = beyond.project(corners)
    assert ((pixels < 0) | (pixels > (1920, 1080))).any()
