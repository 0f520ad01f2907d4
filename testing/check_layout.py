#!/usr/bin/env python3
"""Usage: check_layout.py ROOT

Checks how the source tree at ROOT lies: which folder may include which, that no two files include each other
in a circle, how long a file may be, where private code stands. Prints what is wrong and exits with 1.
"""

import pathlib
import re
import sys

LIBRARY = ("calibration_common", "support")
PRODUCT = LIBRARY + ("interop", "tools", "examples", "python")
# The only headers beside those on the ground floor of support/ that users include.
PUBLIC_CALIBRATION_HEADERS = {
    "adjusted_calibration.h",
    "base_calibration_data.h",
    "calibration_diff.h",
    "calibration_format.h",
    "calibration_review.h",
    "calibration_saving.h",
    "camera_parameters.h",
    "camera_view.h",
    "finding.h",
    "head_geometry.h",
    "load_report.h",
    "pan_tilt_model.h",
    "pan_tilt_roots.h",
    "ptz_aiming.h",
    "ptz_camera_model.h",
    "ptz_coverage.h",
    "save_problem.h",
}
MAX_LIBRARY_FILE_LINES = 300
MAX_TEST_FILE_LINES = 450
VERBS = ("adjust", "aim", "convert", "diff", "export", "import", "report", "show", "validate", "view")

# Files whose path matches the first expression never include one whose path matches the second, neither
# themselves nor by way of others.
NEVER = [
    ("support knows no calibration", r"support/", r"(calibration_common|interop|tools)/"),
    ("the library knows no test and no tool", r"(support|calibration_common)/",
     r"(interop|tools|tests|testing|benchmarks|fuzz|examples)/"),
    ("nobody knows the Python package", r"(support|calibration_common|interop|tools|examples)/", r"python/"),
    ("the Python package knows no tool and no test", r"python/", r"(tools|tests|testing|benchmarks|fuzz|examples)/"),
    ("other programs' formats know what a message is, and not what is done with it", r"interop/",
     r"(calibration_common|tools|tests|testing|benchmarks|fuzz|examples)/"),
    ("syntaxes know no format", r"interop/syntax/", r"interop/formats/"),
    ("the tool knows no test", r"(tools|examples)/", r"(tests|testing|benchmarks|fuzz)/"),
    ("the log knows no matrices", r"support/(log/|logging|log_)", r"Eigen/"),
    ("the lens knows no sensor", r"support/lens(/|_)", r"support/sensor(/|_)"),
    ("the sensor knows no lens", r"support/sensor(/|_)", r"support/lens(/|_)"),
    ("kernels share no function with other files",
     r"support/camera/(kernels|kernel_loops|lane|.*_formulas|fixed_point_lanes)", r"Eigen/|support/camera/point_solver"),
    ("the fit knows no sensor", r"support/fit/", r"support/sensor(/|_)"),
    ("messages log nothing", r"support/(messages/|message_)", r"support/(log|logging|checks)"),
    ("files log nothing", r"support/(files/|file\.|atomic_file\.)", r"support/(log|logging|checks)"),
    ("numerics know no lens", r"support/numeric/", r"support/(lens|sensor|fit)(/|_)"),
    ("cameras know no base", r"calibration_common/camera_parameters\.",
     r"calibration_common/base_calibration_data\.h"),
] + [(f"the verb {verb} knows no other verb", rf"tools/{verb}/", rf"tools/(?!{verb}/)({'|'.join(VERBS)})/")
     for verb in VERBS]

INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]')
IMPORT = re.compile(r'^\s*import\s+"([^"]+)"')
NAMESPACE = re.compile(r"^\s*(?:inline\s+)?namespace\s+([A-Za-z_0-9:]+)\s*\{", re.MULTILINE)


def source_files(root, folders):
    """Paths of C++ files below the folders, relative to the root."""
    return sorted(path.relative_to(root) for folder in folders for kind in ("*.h", "*.cpp")
                  for path in (root / folder).rglob(kind))


def includes_of(root, path):
    """Paths that a file includes: from the top of the tree where they lie in it, else as they are written."""
    for line in (root / path).read_text(encoding="utf-8").splitlines():
        match = INCLUDE.match(line)
        if match is None:
            continue
        beside = (root / path.parent / match[1]).resolve()
        inside = beside.is_relative_to(root) and beside.is_file()
        yield beside.relative_to(root).as_posix() if inside else match[1]


def is_public(header):
    if header.parent.as_posix() == "support":
        return True
    return header.parent.as_posix() == "calibration_common" and header.name in PUBLIC_CALIBRATION_HEADERS


def is_private_to_library(name):
    return name.startswith(tuple(folder + "/" for folder in LIBRARY)) and not is_public(pathlib.PurePath(name))


def reachable_from(root, path):
    """All that a file includes, itself or by way of others: what -> who includes it."""
    found = {}
    waiting = [path]
    while waiting:
        includer = waiting.pop()
        for included in includes_of(root, includer):
            if included not in found:
                found[included] = includer
                if (root / included).is_file():
                    waiting.append(pathlib.PurePath(included))
    return found


def check_nevers(root):
    for path in source_files(root, PRODUCT):
        rules = [(what, whom) for what, who, whom in NEVER if re.match(who, path.as_posix())]
        for included, includer in reachable_from(root, path).items() if rules else ():
            for what, whom in rules:
                if re.match(whom, included):
                    way = "" if includer == path else f", by way of {includer}"
                    yield f"{path} includes {included}{way}: {what}"


def check_messages(root):
    for path in sorted((root / "proto").glob("*.proto")):
        for line in path.read_text(encoding="utf-8").splitlines():
            match = IMPORT.match(line)
            if match is not None and not match[1].startswith(("proto/", "google/protobuf/")):
                yield f"{path.relative_to(root)} imports {match[1]}: stored messages know no code"


def check_public_headers(root):
    """A user's own support/ folder may be searched first, so public headers find each other beside themselves."""
    for header in filter(is_public, source_files(root, LIBRARY)):
        if header.suffix != ".h":
            continue
        for included in includes_of(root, header):
            if is_private_to_library(included):
                yield f"{header} includes {included}, which is not installed"
        text = (root / header).read_text(encoding="utf-8")
        for folder in LIBRARY:
            if re.search(rf'#include ["<]{folder}/', text):
                yield f"{header} names {folder}/ in an include: headers that users see name the file beside them"


def check_users_headers(root):
    """Programs outside the library include its public headers alone, and of interop/ those on its ground floor."""
    for path in source_files(root, ("interop", "tools", "examples", "python")):
        for included in includes_of(root, path):
            if is_private_to_library(included):
                yield f"{path} includes {included}, which is not installed"
            if path.parts[0] != "interop" and re.match(r"interop/.*/", included):
                yield f"{path} includes {included}, which is private to interop/"


def unit_of(path):
    """A header and its source file are one unit."""
    return path.with_suffix("").as_posix()


def find_circle(arrows):
    """A list of units each of which includes the next, the last being the first; or nothing."""
    done = set()

    def visit(unit, way):
        if unit in way:
            return way[way.index(unit):] + [unit]
        if unit in done:
            return None
        for after in sorted(arrows.get(unit, ())):
            circle = visit(after, way + [unit])
            if circle is not None:
                return circle
        done.add(unit)
        return None

    for unit in sorted(arrows):
        circle = visit(unit, [])
        if circle is not None:
            return circle
    return None


def check_circles(root):
    files = source_files(root, LIBRARY + ("interop", "tools", "python"))
    units = {unit_of(path) for path in files}
    arrows = {}
    for path in files:
        for included in includes_of(root, path):
            unit = unit_of(pathlib.PurePath(included))
            if unit in units and unit != unit_of(path):
                arrows.setdefault(unit_of(path), set()).add(unit)
    circle = find_circle(arrows)
    if circle is not None:
        yield "a circle of includes: " + " -> ".join(circle)


def check_file_sizes(root):
    for folders, limit in ((LIBRARY + ("interop", "python"), MAX_LIBRARY_FILE_LINES), (("tests",), MAX_TEST_FILE_LINES)):
        for path in source_files(root, folders):
            lines = len((root / path).read_text(encoding="utf-8").splitlines())
            if lines > limit:
                yield f"{path} has {lines} lines, more than {limit}"


def check_private_namespaces(root):
    """Private headers declare in norv::internal or below it."""
    for path in source_files(root, LIBRARY):
        if path.suffix != ".h" or is_public(path):
            continue
        names = NAMESPACE.findall((root / path).read_text(encoding="utf-8"))
        if not any(name.startswith("norv::internal") for name in names):
            yield f"{path} is private, but declares nothing in norv::internal"
        if any(name == "norv" for name in names):
            yield f"{path} is private, but declares in norv itself"


CHECKS = [check_nevers, check_messages, check_public_headers, check_users_headers, check_circles, check_file_sizes,
          check_private_namespaces]


def check(root):
    root = pathlib.Path(root).resolve()
    if not source_files(root, LIBRARY):
        return [f"no sources below {root}"]
    return [problem for rule in CHECKS for problem in rule(root)]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    problems = check(sys.argv[1])
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
