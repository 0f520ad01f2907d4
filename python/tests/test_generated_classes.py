"""Python classes made of our .proto files, in one process with the package: each case in a process of its own."""

import os
import pathlib
import shutil
import subprocess
import sys

import pytest

from calibrations import HEAD, SOURCE

pytest.importorskip("google.protobuf", reason="could not import google.protobuf: python3-protobuf is not installed")
if shutil.which("protoc") is None:
    pytest.skip("no protoc: protobuf-compiler is not installed", allow_module_level=True)

IMPORTS = {
    "package_first": "import camera_parameters as cp\nfrom proto.norv_robot_calibration_pb2 import RobotCalibration\n",
    "classes_first": "from proto.norv_robot_calibration_pb2 import RobotCalibration\nimport camera_parameters as cp\n",
}
EXCHANGE = """
import struct
import sys
from google.protobuf.internal import api_implementation

assert api_implementation.Type() == sys.argv[1], api_implementation.Type()
cameras = cp.CameraParametersSet.from_file(sys.argv[2])
robot = RobotCalibration.FromString(cameras.to_bytes())
assert [camera.name for camera in robot.camera_calibration] == cameras.names
stored = robot.camera_calibration[0]
full = cameras[stored.name].intrinsics(stored.intrinsics.width, stored.intrinsics.height)
assert abs(full.fx - stored.intrinsics.fx) < 1e-4, (full.fx, stored.intrinsics.fx)  # single precision: 6e-5 at 1000

# Field 5000, a double, as bytes: 5000 * 8 + 1 as a varint, then the number.
field = bytes([0xC1, 0xB8, 0x02]) + struct.pack("<d", 0.1)
stored.intrinsics.fx += 1
stored.MergeFromString(field)
assert getattr(stored, "added_later", 0.1) == 0.1
back = cp.CameraParametersSet.from_bytes(robot.SerializeToString())
assert field in back.to_bytes()
again = RobotCalibration.FromString(back.to_bytes())
assert again == robot and again.SerializeToString() == robot.SerializeToString()
assert cp.CameraParametersSet.from_bytes(cameras.to_bytes()).to_bytes() == cameras.to_bytes()
print("newer" if hasattr(stored, "added_later") else "same")
"""


@pytest.fixture(scope="module")
def generated(tmp_path_factory):
    """Folders of generated classes: those of the files as they are, and of newer ones with one more field."""
    root = tmp_path_factory.mktemp("generated")
    for kind in ("same", "newer"):
        shutil.copytree(SOURCE / "proto", root / f"{kind}_files" / "proto")
        (root / kind).mkdir()
    camera = root / "newer_files" / "proto" / "norv_camera_calibration.proto"
    text = camera.read_text(encoding="utf-8")
    start = "message CameraCalibration {\n"
    assert text.count(start) == 1
    camera.write_text(text.replace(start, start + "  optional double added_later = 5000;\n"), encoding="utf-8")
    for kind in ("same", "newer"):
        files = sorted(path.relative_to(root / f"{kind}_files") for path in (root / f"{kind}_files").rglob("*.proto"))
        subprocess.run(["protoc", "--proto_path=.", f"--python_out={root / kind}", *map(str, files)],
                       cwd=root / f"{kind}_files", check=True)
    return root


@pytest.mark.parametrize("kind", ["same", "newer"])
@pytest.mark.parametrize("implementation", ["cpp", "python"])
@pytest.mark.parametrize("order", sorted(IMPORTS))
def test_generated_classes_and_the_package_share_a_process(generated, order, implementation, kind):
    path = os.pathsep.join([str(generated / kind), os.environ["PYTHONPATH"]])
    environment = {**os.environ, "PYTHONPATH": path, "PROTOCOL_BUFFERS_PYTHON_IMPLEMENTATION": implementation}
    ran = subprocess.run([sys.executable, "-c", IMPORTS[order] + EXCHANGE, implementation, str(HEAD)],
                         env=environment, capture_output=True, text=True, check=False)
    assert ran.returncode == 0, ran.stderr
    # Debian's C++ implementation takes a file that the process knows by its name for the one it knows: classes
    # imported after the package have the fields of the library's files, and keep others as unknown ones.
    known = "same" if (order, implementation) == ("package_first", "cpp") else kind
    assert ran.stdout == f"{known}\n"


def test_the_classes_land_where_the_page_says(generated):
    made = {path.relative_to(generated / "same").parts[0] for path in pathlib.Path(generated / "same").rglob("*_pb2.py")}
    assert made == {"proto"}
