"""What arrays are taken, and what is said of the others."""

import warnings

import camera_parameters as cp
import numpy as np
import pytest

from reference_values import same_bits

INTRINSICS = cp.Intrinsics(640, 480, [[500, 0, 320], [0, 510, 240], [0, 0, 1]], [0.1, 0.01, 0, 0, 0, 0.2, 0, 0])
POSE = cp.Pose([[1, 0, 0, 0.25], [0, 1, 0, 0], [0, 0, 1, 0.5], [0, 0, 0, 1]])
# Whole numbers, which all types hold.
POINTS = np.array([[1, 2, 3], [0, 1, 4], [5, 3, 7], [2, 2, 2]], np.float32)
EXPECTED = cp.project(POSE, INTRINSICS, POINTS)


def project(points, **keywords):
    return cp.project(POSE, INTRINSICS, points, **keywords)


def misaligned(array):
    room = np.zeros(array.nbytes + 1, np.uint8)
    view = np.frombuffer(room.data, array.dtype, array.size, offset=1).reshape(array.shape)
    view.flags.writeable or room.setflags(write=True)
    room[1:] = np.frombuffer(array.tobytes(), np.uint8)
    assert not view.flags.aligned and view.flags.c_contiguous
    return view


def read_only(array):
    copy = array.copy()
    copy.flags.writeable = False
    return copy


def strided(array):
    wide = np.full((2 * array.shape[0], 2 * array.shape[1]), np.nan, array.dtype)
    wide[::2, ::2] = array
    return wide[::2, ::2]


class WithArray:
    def __array__(self, dtype=None):
        return POINTS


class Subclass(np.ndarray):
    pass


CONVERTIBLE = {
    "float64": POINTS.astype(np.float64),
    "float16": POINTS.astype(np.float16),
    "long double": POINTS.astype(np.longdouble),
    **{kind: POINTS.astype(kind) for kind in "bBhHiIlLqQ"},
    "big-endian": POINTS.astype(">f4"),
    "big-endian double": POINTS.astype(">f8"),
    "Fortran": np.asfortranarray(POINTS),
    "every other": strided(POINTS),
    "backwards": POINTS[::-1].copy()[::-1],
    "columns backwards": POINTS[:, ::-1].copy()[:, ::-1],
    "read-only": read_only(POINTS),
    "misaligned": misaligned(POINTS),
    "misaligned double": misaligned(POINTS.astype(np.float64)),
    "list": POINTS.tolist(),
    "tuple of arrays": tuple(POINTS),
    "list of NumPy scalars": [[np.int16(x) for x in row] for row in POINTS],
    "memoryview": memoryview(POINTS),
    "subclass": POINTS.view(Subclass),
    "matrix": np.asmatrix(POINTS),
    "with __array__": WithArray(),
}


@pytest.mark.parametrize("points", CONVERTIBLE.values(), ids=CONVERTIBLE)
def test_all_kinds_give_what_float32_gives(points):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        pixels = project(points)
    assert type(pixels) is np.ndarray and same_bits(pixels, EXPECTED)
    assert pixels.flags.owndata and pixels.flags.writeable


@pytest.mark.parametrize("pixels", [[[1, 2], [3, 4]], np.array([[1, 2], [3, 4]], ">i8"),
                                    misaligned(np.array([[1, 2], [3, 4]], np.float32))])
def test_rectify_converts_too(pixels):
    expected = cp.rectify(INTRINSICS, np.array([[1, 2], [3, 4]], np.float32))
    assert same_bits(cp.rectify(INTRINSICS, pixels), expected)


def test_broadcast_arrays_are_read_element_by_element():
    assert same_bits(project(np.broadcast_to(POINTS[0], (5, 3))), np.broadcast_to(EXPECTED[0], (5, 2)).copy())
    column = np.broadcast_to(np.float32([[1], [2]]), (2, 3))
    assert same_bits(project(column), project(column.copy()))


@pytest.mark.parametrize("shape", [(3,), (0, 3), (1, 3), (2, 0, 3), (2, 2, 3), (4, 1, 1, 3)])
def test_leading_axes_stay(shape):
    points = np.resize(POINTS, shape).astype(np.float32)
    pixels = project(points)
    assert pixels.shape == shape[:-1] + (2,)
    assert same_bits(pixels.reshape(-1, 2), project(points.reshape(-1, 3)))


NO_NUMBERS = {
    "complex": (POINTS.astype(complex), "points: expected numbers, got dtype complex128"),
    "complex64": (POINTS.astype(np.complex64), "points: expected numbers, got dtype complex64"),
    "bool": (POINTS > 1, "points: expected numbers, got dtype bool"),
    "object": (POINTS.astype(object), "points: expected numbers, got dtype object"),
    "str": (POINTS.astype(str), "points: expected numbers, got dtype <U32"),
    "a str": ("1, 2, 3", "points: expected numbers, got dtype <U7"),
    "bytes": (b"123", "points: expected numbers, got dtype |S3"),
    "None": (None, "points: expected numbers, got None"),
    "list with None": ([[1, 2, None]], "points: expected numbers, got dtype object"),
    "huge integer": ([[1, 2, 10**30]], "points: expected numbers, got dtype object"),
    "dates": (POINTS.astype("M8[s]"), "points: expected numbers, got dtype datetime64[s]"),
    "durations": (POINTS.astype("m8[s]"), "points: expected numbers, got dtype timedelta64[s]"),
    "records": (np.zeros(2, "f4, f4, f4"),
                "points: expected numbers, got dtype [('f0', '<f4'), ('f1', '<f4'), ('f2', '<f4')]"),
    "dict": ({"x": 1}, "points: expected numbers, got dtype object"),
    "masked": (np.ma.masked_equal(POINTS, 2),
               "points: masked arrays are not taken, fill them first: filled(numpy.nan)"),
}


@pytest.mark.parametrize("points, text", NO_NUMBERS.values(), ids=NO_NUMBERS)
def test_what_holds_no_real_numbers_is_a_type_error(points, text):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(TypeError) as caught:
            project(points)
    assert str(caught.value) == text


WRONG_SHAPES = {
    "0-d": (np.float32(1), "points: expected shape (..., 3), got ()"),
    "number": (1.5, "points: expected shape (..., 3), got ()"),
    "empty list": ([], "points: expected shape (..., 3), got (0,)"),
    "pairs": (np.zeros((5, 2)), "points: expected shape (..., 3), got (5, 2)"),
    "transposed": (POINTS.T, "points: expected shape (..., 3), got (3, 4)"),
    "four": (np.zeros((2, 1, 4)), "points: expected shape (..., 3), got (2, 1, 4)"),
    "none each": (np.zeros((2, 0)), "points: expected shape (..., 3), got (2, 0)"),
}


@pytest.mark.parametrize("points, text", WRONG_SHAPES.values(), ids=WRONG_SHAPES)
def test_a_wrong_shape_is_a_value_error(points, text):
    with pytest.raises(ValueError) as caught:
        project(points)
    assert str(caught.value) == text


def test_rectify_names_its_own_argument():
    with pytest.raises(ValueError, match=r"^pixels: expected shape \(\.\.\., 2\), got \(4, 3\)$"):
        cp.rectify(INTRINSICS, POINTS)
    with pytest.raises(TypeError, match="^pixels: expected numbers, got dtype bool$"):
        cp.rectify(INTRINSICS, [[True, False]])


def test_a_ragged_list_is_a_value_error_that_names_the_argument():
    with pytest.raises(ValueError, match="^points: setting an array element with a sequence"):
        project([[1, 2, 3], [1, 2]])


def test_what_an_object_of_the_caller_raises_comes_through():
    class Broken:
        def __array__(self, dtype=None):
            raise ZeroDivisionError("mine")

    with pytest.raises(ZeroDivisionError, match="^mine$"):
        project(Broken())
