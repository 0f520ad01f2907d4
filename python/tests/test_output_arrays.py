"""Arrays of the caller's that are filled: out and status."""

import camera_parameters as cp
import numpy as np
import pytest

from reference_values import same_bits
from test_dtypes import EXPECTED, INTRINSICS, POINTS, misaligned, project, read_only

ROOM = np.zeros((4, 2), np.float32)


def test_out_is_filled_and_returned():
    out = np.full_like(EXPECTED, 7)
    assert project(POINTS, out=out) is out and same_bits(out, EXPECTED)
    assert project(POINTS.tolist(), out=out) is out
    single = np.zeros(2, np.float32)
    assert project(POINTS[0], out=single) is single and same_bits(single, EXPECTED[0])


def test_out_of_a_part_of_an_array():
    room = np.zeros((3, 4, 2), np.float32)
    project(POINTS, out=room[1])
    assert same_bits(room[1], EXPECTED) and not room[0].any() and not room[2].any()


WRONG_OUTS = {
    "list": ([[0.0, 0.0]] * 4, TypeError, "out: expected an array of float32, got list"),
    "float64": (ROOM.astype(np.float64), ValueError, "out: expected dtype float32, got float64"),
    "int32": (ROOM.astype(np.int32), ValueError, "out: expected dtype float32, got int32"),
    "big-endian": (ROOM.astype(">f4"), ValueError, "out: expected dtype float32, got >f4"),
    "shape": (ROOM[:3].copy(), ValueError, "out: expected shape (4, 2), got (3, 2)"),
    "flat": (ROOM.ravel(), ValueError, "out: expected shape (4, 2), got (8,)"),
    "Fortran": (np.asfortranarray(ROOM), ValueError, "out: is not C-contiguous and aligned"),
    "strided": (np.zeros((4, 4), np.float32)[:, ::2], ValueError, "out: is not C-contiguous and aligned"),
    "backwards": (ROOM[::-1], ValueError, "out: is not C-contiguous and aligned"),
    "misaligned": (misaligned(ROOM), ValueError, "out: is not C-contiguous and aligned"),
    "read-only": (read_only(ROOM), ValueError, "out: cannot be written"),
}


@pytest.mark.parametrize("out, error, text", WRONG_OUTS.values(), ids=WRONG_OUTS)
def test_a_wrong_out(out, error, text):
    with pytest.raises(error) as caught:
        project(POINTS, out=out)
    assert str(caught.value) == text


def test_out_must_not_share_memory_with_the_input():
    text = "^out: shares memory with another argument$"
    room = np.zeros(20, np.float32)
    points = room[8:].reshape(4, 3)
    with pytest.raises(ValueError, match=text):
        project(points, out=room[7:15].reshape(4, 2))
    assert project(points, out=room[:8].reshape(4, 2)).shape == (4, 2)
    pixels = np.zeros((4, 2), np.float32)
    with pytest.raises(ValueError, match=text):
        cp.rectify(INTRINSICS, pixels, out=pixels)
    assert not pixels.any()


def test_nor_with_an_input_that_is_converted():
    text = "^out: shares memory with another argument$"
    room = np.zeros(24, np.float64)
    with pytest.raises(ValueError, match=text):
        project(room[:12].reshape(4, 3), out=room[:4].view(np.float32).reshape(4, 2))
    wide = np.zeros((4, 4), np.float32)
    with pytest.raises(ValueError, match=text):
        cp.rectify(INTRINSICS, wide[::-1, :2], out=wide[1:3].reshape(4, 2))


# Before the camera, and inside of the image.
SEEN = np.array([[0, 0, 2], [0.5, 0.25, 2], [-1, 0.5, 4], [1, -0.5, 4]], np.float32)


def test_status_gets_codes_and_must_be_uint8():
    codes = np.full(4, 99, np.uint8)
    assert same_bits(project(SEEN, status=codes), project(SEEN))
    assert codes.tolist() == [0, 0, 0, 0]  # an answer in the image
    project(SEEN * [1, 1, -1], status=codes)
    assert codes.tolist() == [1, 1, 1, 1]  # behind the camera
    cp.rectify(INTRINSICS, [[0, 0], [320, 240], [-1, 0], [np.nan, 0]], status=codes)
    assert codes.tolist() == [0, 0, 3, 4]  # the third outside of the image, the last not finite
    with pytest.raises(ValueError, match="^status: expected dtype uint8, got int64$"):
        project(POINTS, status=np.zeros(4, np.int64))
    with pytest.raises(ValueError, match=r"^status: expected shape \(4,\), got \(4, 1\)$"):
        project(POINTS, status=np.zeros((4, 1), np.uint8))
    with pytest.raises(TypeError, match="^status: expected an array of uint8, got bytearray$"):
        project(POINTS, status=bytearray(4))


def test_status_must_not_share_memory_with_out():
    out = np.zeros((4, 2), np.float32)
    with pytest.raises(ValueError, match="^status: shares memory with another argument$"):
        project(POINTS, out=out, status=out.view(np.uint8).reshape(-1)[4:8])


def test_blocks_of_statuses_are_all_filled():
    many = np.repeat(SEEN, 257, axis=0)
    many[1::2, 2] *= -1
    codes = np.full(len(many), 99, np.uint8)
    project(many, status=codes)
    assert (codes[::2] == 0).all() and (codes[1::2] == 1).all()


def test_keywords_are_checked():
    with pytest.raises(TypeError):
        project(POINTS, output=ROOM)
    with pytest.raises(TypeError):
        cp.rectify(INTRINSICS, ROOM, ROOM.copy())
