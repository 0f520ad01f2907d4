"""What help, inspect and the command lines say about the package."""

import inspect
import pydoc
import re
import subprocess
import sys

import camera_parameters as cp
import pytest

from calibrations import SOURCE
from test_docstrings import PUBLIC

FUNCTIONS = {name: thing for name, thing in PUBLIC.items() if not isinstance(thing, property)}
WORDS = re.compile(r"norv::|\bhandle\b|PyCapsule|pybind11|std::|\*args: Any")


@pytest.mark.parametrize("name", sorted(PUBLIC))
def test_no_word_is_of_the_binding(name):
    assert not WORDS.search(inspect.getdoc(PUBLIC[name]))


@pytest.mark.parametrize("name", [name for name in cp.__all__ if inspect.isclass(getattr(cp, name))])
def test_help_of_classes_is_of_python(name):
    text = pydoc.render_doc(getattr(cp, name), renderer=pydoc.plaintext)
    ours = text.split("Static methods inherited from pybind11")[0].split("Methods inherited from pybind11")[0]
    found = WORDS.search(ours.replace("pybind11_builtins.pybind11_object", "").replace("*args: Any, **kwargs: Any", ""))
    assert found is None, ours[max(found.start() - 80, 0):found.end() + 40]


@pytest.mark.parametrize("name", sorted(FUNCTIONS))
def test_all_have_signatures(name):
    thing = FUNCTIONS[name]
    if inspect.isclass(thing):
        return  # most have no constructor
    signature = inspect.signature(thing)
    assert "..." not in str(signature) or "tuple" in str(signature)


def test_signatures_have_names_defaults_and_types():
    assert str(inspect.signature(cp.CameraParameters.intrinsics)) == "(self, width: int, height: int) -> Intrinsics"
    camera = cp.CameraParametersSet()["head_camera"]
    assert str(inspect.signature(camera.intrinsics)) == "(width: int, height: int) -> Intrinsics"
    assert list(inspect.signature(cp.CameraView.project).parameters.values())[-1].default == 1
    assert str(inspect.signature(cp.CameraParametersSet.from_text)) == "(text: str) -> CameraParametersSet"
    assert "-> tuple[int, int] | tuple[float, float]" in str(inspect.signature(
        cp.PTZCameraModelConfiguration.get_pan_tilt))
    assert list(inspect.signature(cp.Intrinsics).parameters) == ["width", "height", "matrix", "distortion"]
    assert "from builtins" not in pydoc.render_doc(cp.project)


def test_the_version_is_the_library_s():
    stated = re.search(r"^  VERSION (\S+)$", (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8"), re.MULTILINE)
    assert cp.__version__ == stated.group(1)


@pytest.mark.parametrize("module", ["report", "plot"])
def test_commands_say_their_version(module):
    if module == "plot":
        pytest.importorskip("matplotlib")
    ran = subprocess.run([sys.executable, "-m", f"camera_parameters.{module}", "--version"], capture_output=True,
                         text=True, check=True)
    assert ran.stdout == f"{cp.__version__}\n"


def test_without_numpy_the_package_says_that_it_needs_it():
    code = "import sys; sys.modules['numpy'] = None; import camera_parameters"
    ran = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=False)
    assert ran.returncode != 0 and ran.stderr.splitlines()[-1].startswith("ImportError: camera_parameters needs NumPy")
