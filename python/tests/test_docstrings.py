"""What is public says what it does, by an example that runs: each function, method and class has one."""

import doctest
import importlib
import inspect
import shutil

import pytest

from calibrations import SOURCE

MODULES = ["camera_parameters", "camera_parameters.plot", "camera_parameters.report"]
FLAGS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE


def members_of(cls):
    """What a class brings itself: name -> method, function or property, those of enumerations' values apart."""
    for name, member in vars(cls).items():
        if name.startswith("_") or isinstance(member, cls):
            continue
        if isinstance(member, (staticmethod, classmethod)):
            member = member.__func__
        if callable(member) or isinstance(member, property):
            yield name, member


def public_objects():
    """All that is public and is called, or read like a value: qualified name -> object."""
    found = {}
    for module_name in MODULES:
        try:
            module = importlib.import_module(module_name)
        except ModuleNotFoundError as error:
            if error.name != "matplotlib":
                raise
            continue
        for name in module.__all__:
            thing = getattr(module, name)
            if callable(thing):
                found[f"{module_name}.{name}"] = thing
            if inspect.isclass(thing):
                found.update({f"{module_name}.{name}.{member}": value for member, value in members_of(thing)})
    return found


PUBLIC = public_objects()


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """Where examples run: a folder of their own, in which the calibrations lie that come with the library."""
    shutil.copytree(SOURCE / "calibration", tmp_path / "calibration")
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("MPLBACKEND", "Agg")


@pytest.mark.parametrize("name", sorted(PUBLIC))
def test_its_example_runs(name, folder):
    thing = PUBLIC[name]
    text = inspect.getdoc(thing) or ""
    assert text.strip(), f"{name} has no docstring"
    test = doctest.DocTestParser().get_doctest(text, {}, name, None, None)
    assert test.examples or isinstance(thing, property), f"{name} has no example"
    said = []
    doctest.DocTestRunner(optionflags=FLAGS).run(test, out=said.append)
    assert not said, "".join(said)


def test_all_that_is_public_is_looked_at():
    assert "camera_parameters.CameraParametersSet.from_file" in PUBLIC
    assert "camera_parameters.Intrinsics.fx" in PUBLIC
    assert {name.rpartition(".")[0] for name in PUBLIC} >= {"camera_parameters"}


@pytest.mark.parametrize("module_name", MODULES)
def test_names_are_sorted(module_name):
    if module_name.endswith("plot"):
        pytest.importorskip("matplotlib")
    names = list(importlib.import_module(module_name).__all__)
    assert names == sorted(set(names)) and names


def test_what_the_package_gives_says_that_it_is_the_packages():
    package = importlib.import_module("camera_parameters")
    called = [name for name in package.__all__ if callable(getattr(package, name))]
    foreign = [name for name in called if getattr(package, name).__module__ != "camera_parameters"]
    assert foreign == []
