"""Answers of pan-tilt-zoom cameras as they travel between processes and show in notebooks."""

import html.parser
import math
import pickle

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import PTZ

FIELDS = ("motors", "travel", "pan_bound", "tilt_bound", "zoom_bound", "is_limited", "miss", "is_whole", "is_inside",
          "is_upright")


@pytest.fixture(scope="module")
def head():
    return cp.PTZCameraModel.from_file(PTZ)


@pytest.mark.parametrize("question", [
    {"point": (3, 1, 1.5)},
    {"point": (-3, 0.1, 1.5)},
    {"points": [(1, 0, 1.4), (-1, 0.1, 1.4)]},
    {"box": (300, 200, 700, 500), "distance": 8},
])
def test_aims_pickle(head, question):
    aim = head.aim(at=(500, 200, 2500), **question)
    again = pickle.loads(pickle.dumps(aim))
    assert (again.reached, again.reason, again.note) == (aim.reached, aim.reason, aim.note)
    assert again.tolerance_pixels == aim.tolerance_pixels and len(again) == len(aim) and repr(again) == repr(aim)
    for a, b in zip(aim, again):
        assert [getattr(a, name) for name in FIELDS] == [getattr(b, name) for name in FIELDS]
        for name in ("lands", "wanted", "low", "high"):
            assert np.array_equal(getattr(a, name), getattr(b, name))


def test_tracks_pickle(head):
    track = head.track([(3, 1, 1.5), (0.1, 0, 1.21), (math.nan, 0, 0)], at=(500, 200, 2500))
    again = pickle.loads(pickle.dumps(track))
    assert again.reason == track.reason == [None, "out-of-reach", "invalid-request"]
    for name in ("motors", "lands", "miss", "is_limited", "reached"):
        assert np.array_equal(getattr(again, name), getattr(track, name), equal_nan=name in ("lands", "miss"))


def states_of(answer):
    """States that are damaged in one place each."""
    state = answer.__reduce_ex__(2)[2]
    yield ()
    yield state[:-1]
    for i in range(len(state)):
        for value in (None, 7, "x", [], [None], (1, 2), np.zeros((4, 4)), 1e300):
            yield (*state[:i], value, *state[i + 1:])


def test_states_that_are_none_raise(head):
    aim = head.aim(at=(500, 200, 2500), point=(-3, 0.1, 1.5))
    track = head.track([(3, 1, 1.5), (0.1, 0, 1.21)], at=(500, 200, 2500))
    refused = 0
    for answer in (aim, track):
        for state in states_of(answer):
            kind = type(answer)
            try:
                kind.__new__(kind).__setstate__(state)
            except (ValueError, TypeError):
                refused += 1
    assert refused > 60


class Reader(html.parser.HTMLParser):
    """The texts of all cells; fails where tags are not closed in their order."""

    def __init__(self, page):
        super().__init__()
        self.open, self.texts = [], []
        self.feed(page)
        assert not self.open

    def handle_starttag(self, tag, attrs):
        self.open.append(tag)

    def handle_endtag(self, tag):
        assert self.open.pop() == tag

    def handle_data(self, data):
        self.texts.append(data)


def test_notebooks_show_the_numbers(head):
    aim = head.aim(at=(500, 200, 2500), point=(-3, 0.1, 1.5))
    cells = Reader(aim._repr_html_()).texts
    assert cells[0] == f"Aim, not reached: {aim.note}"
    for position in aim:
        assert all(str(motor) in cells for motor in position.motors)
    bound = aim.best.pan_bound
    assert bound and any(f"pan {bound}" in cell for cell in cells)
    assert str(aim.best.pan) in Reader(aim.best._repr_html_()).texts
    cells = Reader(head._repr_html_()).texts
    assert "-5934 to 5934" in cells and "0 to 10000" in cells and "1859.3" in cells
