#!/usr/bin/env python3
"""Usage: report.py RESULTS.json FOLDER

Prints, as a Markdown table, the medians of a run of the benchmarks and their ratios to the libraries that
they are compared with, and the same for the start-up programs in FOLDER.
"""

import json
import pathlib
import subprocess
import sys

# The formats of other programs' files, what parses them, and what their import costs at most beside that.
FORMATS = [
    ("ROS, YAML", "ros", "yaml-cpp", 2),
    ("ROS, INI", "rosIni", "words of a stream", 12),
    ("Kalibr", "kalibr", "yaml-cpp", 2),
    ("OpenCV, YAML", "openCv", "yaml-cpp", 2),
    ("OpenCV, XML", "openCvXml", "tinyxml2", 8),
    ("OpenCV, JSON", "openCvJson", "yaml-cpp", 2),
    ("mrcal", "mrcal", "our parser of literals", 4),
    ("COLMAP", "colmap", "words of a stream", 4),
    ("basalt", "basalt", "yaml-cpp", 2),
]

# What, our benchmark, the one that it is compared with, the ratio aimed at, and a factor of the latter.
ROWS = [
    *[(f"load {kind.lower()}, {cameras} cameras, {samples} samples",
       f"load{kind}/cameras:{cameras}/samples:{samples}", f"parse{kind}Alone/cameras:{cameras}/samples:{samples}",
       1.25, 1)
      for kind in ("Binary", "Text") for samples in (0, 200) for cameras in (1, 4, 64, 1024)],
    ("load binary per camera, 4096 to 64 cameras", "loadBinary/cameras:4096/samples:0",
     "loadBinary/cameras:64/samples:0", 1.10, 4096 / 64),
    *[(f"import 10,000 cameras, {what}, {parser} alone", f"importFiles/{name}/10000", f"parseAlone/{name}/10000",
       aim, 1)
      for what, name, parser, aim in FORMATS],
    *[(f"import per camera, {what}, 10,000 to 1000 cameras", f"importFiles/{name}/10000", f"importFiles/{name}/1000",
       1.25, 10)
      for what, name, _, _ in FORMATS],
    ("`project3dToCamera`, mrcal", "projectOnePoint/strong", "mrcalProjectPoint", 0.45, 1),
    ("`project3dToCamera`, OpenCV", "projectOnePoint/strong", "openCvProjectPoints/1", 0.01, 1),
    ("`projectPoints`, 10,000 points, OpenCV", "projectManyPoints", "openCvProjectPoints/10000", 0.5, 1),
    ("`rectifyPoint`, mild lens, OpenCV", "rectifyOnePoint/mild", "undistortPoints/openCvMild/1", 0.2, 1),
    ("`rectifyPoint`, strong lens, OpenCV", "rectifyOnePoint/strong", "undistortPoints/openCvStrong/1", 0.2, 1),
    ("`rectifyPoints`, 10,000 pixels, mild, OpenCV", "rectifyManyPoints/mild", "undistortPoints/openCvMild/10000",
     0.25, 1),
    ("`rectifyPoints`, 10,000 pixels, strong, OpenCV", "rectifyManyPoints/strong",
     "undistortPoints/openCvStrong/10000", 0.25, 1),
    ("float map 1280x960, OpenCV", "makeFloatMap", "openCvMakeMap/floats", 0.5, 1),
    ("fixed-point map 1280x960, OpenCV", "makeFixedPointMap", "openCvMakeMap/fixedPoint", 0.5, 1),
    ("undistorting map, the rays of its pixels", "makeUndistortingMap", "rectifyWholeImage", 1.1, 1),
    ("`projectPoints` with status, 10,000 points, mrcal", "projectManyWithStatus", "mrcalProject", 0.15, 1),
    ("`projectPoints` with Jacobians, 1000 points, mrcal with gradients", "projectWithJacobians",
     "mrcalProjectWithGradients", 0.3, 1),
    *[(f"`rectifyPoints` with status, 10,000 pixels, {kind}, OpenCV {steps}", f"rectifyManyWithStatus/{kind}", theirs,
       aim, 1)
      for kind, name in (("mild", "openCvMild"), ("strong", "openCvStrong"))
      for steps, theirs, aim in (("as far", f"undistortPoints/{name}/10000", 0.06),
                                 ("five steps", f"undistortPointsInFiveSteps/{name}", 0.5))],
    ("`CameraView::project`, mrcal", "projectOneOfView", "mrcalProjectPoint", 0.6, 1),
    ("`projectPoint`, mrcal", "projectOneWithStatus", "mrcalProjectPoint", 0.6, 1),
    ("re-fit of the head camera, OpenCV", "refitDefaultHeadCamera", "openCvCalibrateCamera", 1.0, 1),
    ("`getFullTransform`, KDL", "getFullTransform", "kdlForwardKinematics", 0.35, 1),
    ("`computePanTilt`, Ceres", "computePanTilt", "ceresPointing", 0.12, 1),
    ("`computePanTilt`, TinySolver", "computePanTilt", "tinySolverPointing", 0.8, 1),
    ("`computePanTilt`, TinySolver on a chain written out by hand", "computePanTilt", "tinySolverPointingByHand",
     0.8, 1),
    ("`solveAll`, Ceres", "solveAll", "ceresPointing", 0.15, 1),
    ("`solveAll`, TinySolver on a chain written out by hand", "solveAll", "tinySolverPointingByHand", 1.0, 1),
    ("configuration and `getPanTiltZoom`, `computePanTilt`", "constructAndGetPanTiltZoom", "computePanTilt", 2.0, 1),
    ("disabled statement, glog", "disabledStatement", "glogDisabledStatement", 1.0, 1),
    ("enabled statement, spdlog", "enabledStatement", "spdlogEnabledStatement", 1.5, 1),
    ("4x4 product, 2 derivatives, `ceres::Jet`", "matrixProduct<2>", "jetMatrixProduct<2>", 1.0, 1),
    ("4x4 product, 20 derivatives, `ceres::Jet`", "matrixProduct<20>", "jetMatrixProduct<20>", 1.0, 1),
    ("sine and cosine, 2 derivatives, `ceres::Jet`", "sineAndCosine<2>", "jetSineAndCosine<2>", 1.0, 1),
    ("sine and cosine, 20 derivatives, `ceres::Jet`", "sineAndCosine<20>", "jetSineAndCosine<20>", 1.0, 1),
]

# Benchmarks with a bound in nanoseconds.
BOUNDS = [
    ("`getIntrinsics`, hit", "getIntrinsicsHit", 6.0),
    ("`getIntrinsics`, miss", "getIntrinsicsMiss", 12.0),
    ("`aim` at a point, with a field of view", "aimPoint", 3000.0),
    ("`aim` at a box, filling the picture", "aimBox", 3000.0),
    ("`aim` at a sphere, filling the picture", "aimSphere", 3000.0),
]

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
# Statements that cost next to nothing: what the loop of the benchmark costs is taken off. Less than this, or
# less than both runs scatter, cannot be told from nothing.
EMPTY_LOOP = "emptyLoop"
NET = {"disabledStatement", "glogDisabledStatement"}
MIN_NET_NANOSECONDS = 0.05


def read_aggregates(path):
    """Name -> {aggregate: processor time in nanoseconds, or a share for the coefficient of variation}."""
    results = {}
    for entry in json.loads(pathlib.Path(path).read_text())["benchmarks"]:
        if entry.get("run_type") != "aggregate":
            continue
        factor = 1 if entry["aggregate_name"] == "cv" else NANOSECONDS[entry["time_unit"]]
        results.setdefault(entry["run_name"], {})[entry["aggregate_name"]] = entry["cpu_time"] * factor
    return results


def readable(nanoseconds):
    for unit in ("ns", "us", "ms"):
        if nanoseconds < 1000:
            return f"{nanoseconds:.3g} {unit}"
        nanoseconds /= 1000
    return f"{nanoseconds:.3g} s"


class Measured:
    """A cost in nanoseconds; `resolution` is what it cannot be told from."""

    def __init__(self, nanoseconds, variation=0.0, resolution=0.0):
        self.nanoseconds = nanoseconds
        self.variation = variation
        self.resolution = resolution

    def is_resolved(self):
        return self.nanoseconds > self.resolution

    def __str__(self):
        if not self.is_resolved():
            return f"below {readable(self.resolution)}"
        return f"{readable(self.nanoseconds)} ± {100 * self.variation:.0f} %"


def compare(ours, theirs, aim, factor=1):
    """The columns of ratio and aim. Where one side is too small to be measured, the ratio is only bounded; the
    aim is then met or missed only if the bound decides it."""
    if ours.is_resolved() and theirs.is_resolved():
        ratio = ours.nanoseconds / theirs.nanoseconds / factor
        return f"{ratio:.3f}", f"{aim:g}" if ratio <= aim else f"{aim:g} **above**"
    if theirs.is_resolved():
        most = ours.resolution / theirs.nanoseconds / factor
        return f"below {most:.3f}", f"{aim:g}" if most <= aim else f"{aim:g}, undecided"
    if ours.is_resolved():
        least = ours.nanoseconds / theirs.resolution / factor
        return f"above {least:.3f}", f"{aim:g} **above**" if least >= aim else f"{aim:g}, undecided"
    return "not measurable", f"{aim:g}, undecided"


def print_row(what, ours, theirs, ratio, aim):
    print(f"| {what} | {ours} | {theirs} | {ratio} | {aim} |")


def measured(results, name):
    median, variation = results[name]["median"], results[name]["cv"]
    if name not in NET:
        return Measured(median, variation)
    empty = results[EMPTY_LOOP]
    scatter = variation * median + empty["cv"] * empty["median"]
    net = median - empty["median"]
    return Measured(net, scatter / net if net > 0 else 0.0, max(MIN_NET_NANOSECONDS, scatter))


def print_benchmarks(results):
    for what, ours, theirs, aim, factor in ROWS:
        if ours in results and theirs in results:
            one, other = measured(results, ours), measured(results, theirs)
            print_row(what, one, other, *compare(one, other, aim, factor))
        else:
            print_row(what, "not measured", "", "", f"{aim:g}")
    for what, name, bound in BOUNDS:
        if name in results:
            cost = measured(results, name)
            print_row(what, cost, readable(bound), *compare(cost, Measured(bound), 1))
        else:
            print_row(what, "not measured", readable(bound), "", "1")


def run_repeatedly(folder, program):
    """Median processor milliseconds and peak megabytes of a program."""
    output = subprocess.run([folder / "startup_measure", "41", folder / program], check=True, capture_output=True)
    return [float(word) for word in output.stdout.split()]


def print_startup(folder):
    if not (folder / "startup_link_opencv").exists():
        print_row("start to end", "not measured", "", "", "")
        return
    ours = run_repeatedly(folder, "startup_construct_set")
    theirs = run_repeatedly(folder, "startup_link_opencv")
    for i, (what, unit, aim) in enumerate([("processor time", "ms", 2.0), ("peak memory", "MB", 1.0)]):
        print_row(f"start to end, {what}, linking OpenCV", f"{ours[i]:.1f} {unit}", f"{theirs[i]:.1f} {unit}",
                  *compare(Measured(ours[i]), Measured(theirs[i]), aim))


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    print("| what, and beside what | ours | theirs | ratio | aim |\n|---|---|---|---|---|")
    print_benchmarks(read_aggregates(sys.argv[1]))
    print_startup(pathlib.Path(sys.argv[2]))


if __name__ == "__main__":
    main()
