"""Objects that no constructor has made raise, and read no memory that nobody has written to."""

import inspect

import pytest

from camera_parameters import _core

CLASSES = [value for _, value in sorted(vars(_core).items()) if inspect.isclass(value)]


def test_there_are_classes():
    assert len(CLASSES) > 15


@pytest.mark.parametrize("made_of", CLASSES, ids=lambda made_of: made_of.__name__)
def test_unmade_objects_raise(made_of):
    unmade = made_of.__new__(made_of)
    properties = [name for name, value in vars(made_of).items() if isinstance(value, property)]
    for name in properties:
        with pytest.raises(TypeError, match="the object was not made by its constructor"):
            getattr(unmade, name)
    if "__repr__" in vars(made_of):
        with pytest.raises(TypeError, match="the object was not made by its constructor"):
            repr(unmade)
    assert properties or "__repr__" in vars(made_of)
