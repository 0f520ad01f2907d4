"""What the C++ library computes, by a program beside the tests (reference/reference.h)."""

import subprocess

import numpy as np

from calibrations import BUILD, environment_of_programs

PROGRAM = BUILD / "python" / "tests" / "camera_parameters_python_reference"


class Results:
    """The arrays that a verb of the program writes for the given ones, in its order."""

    def __init__(self, verb, *arrays):
        data = b"".join(np.ascontiguousarray(array).tobytes() for array in arrays)
        self._data = subprocess.run([PROGRAM, verb], input=data, env=environment_of_programs(), stdout=subprocess.PIPE,
                                    check=True).stdout
        self._place = 0

    def take(self, shape, dtype=np.float32):
        """The next array."""
        count = int(np.prod(shape))
        array = np.frombuffer(self._data, dtype, count, self._place).reshape(shape)
        self._place += array.nbytes
        return array

    def is_at_end(self):
        return self._place == len(self._data)


def same_bits(a, b):
    """Whether two arrays are equal to the last bit, the signs of zeros included; one NaN is as good as another."""
    if a.dtype != b.dtype or a.shape != b.shape:
        return False
    equal = np.frombuffer(a.tobytes(), np.uint32) == np.frombuffer(b.tobytes(), np.uint32)
    return bool((equal | (np.isnan(a) & np.isnan(b)).ravel()).all())
