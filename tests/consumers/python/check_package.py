"""Usage: check_package.py PACKAGES LIBRARY [--loaded-before]

The package lies below the folder PACKAGES, uses the one copy of the library that lies in the folder LIBRARY, and works.
With --loaded-before that copy is in the process already.
"""

import ctypes
import pathlib
import sys

packages, library = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
if "--loaded-before" in sys.argv:
    ctypes.CDLL(str(next(library.glob("libcamera_parameters.so.*.*.*"))))

import camera_parameters as cp  # noqa: E402

assert pathlib.Path(cp.__file__).resolve().is_relative_to(packages), cp.__file__
mapped = {line.split()[-1] for line in pathlib.Path("/proc/self/maps").read_text(encoding="utf-8").splitlines()
          if "/libcamera_parameters.so" in line}
assert len(mapped) == 1 and pathlib.Path(mapped.pop()).parent == library, mapped
for package in packages.glob("camera_parameters/**/*"):
    assert "libcamera_parameters" not in package.name and not package.is_symlink(), package
assert "matplotlib" not in sys.modules and "cv2" not in sys.modules

# A point on the optical axis is imaged at the principal point.
camera = cp.CameraParametersSet()["head_camera"]
intrinsics = camera.intrinsics(640, 480)
ahead = camera.pose.robot_from_camera @ (0, 0, 5, 1)
miss = abs(camera.project(ahead[:3], 640, 480) - (intrinsics.cx, intrinsics.cy)).max()
assert miss < 1e-3, miss  # measured: 3e-5 px, of single precision
