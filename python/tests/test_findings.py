"""Reviews of calibrations, held to the command-line tool's."""

import json
import math
import pickle

import camera_parameters as cp
import pytest

from calibrations import BASE, HEAD, PTZ, SOURCE
import tool

CORPUS = sorted((SOURCE / "fuzz" / "corpus" / "review").iterdir())
# Data that is another program's, cut off, of no kind or of several.
ODD = [SOURCE / "fuzz" / "corpus" / folder / name for folder, name in (
    ("load_from_string", "open.txt"), ("load_from_string", "short.bin"), ("load_from_string", "unknown_field.txt"),
    ("base_calibration", "unknown.txt"), ("base_calibration", "short.txt"), ("import_ros", "short.ini"))]


@pytest.mark.parametrize("text", [HEAD.read_text(), "camera_calibration { name: 'a' }", "x\ny", "z" * 5000])
def test_text_in_the_place_of_a_path_is_said_shortly(text):
    for take in (cp.validate, cp.load_report, lambda given: cp.diff(HEAD, given), cp.import_calibration,
                 lambda given: cp.export_calibration(given, "ros"), lambda given: cp.import_calibration(b"", into=given)):
        with pytest.raises(ValueError, match="a str is a path, and text goes in as bytes") as raised:
            take(text)
        assert len(str(raised.value)) < 200


def test_a_path_with_a_brace_is_a_path(tmp_path):
    path = tmp_path / "a{b"
    path.write_bytes(HEAD.read_bytes())
    assert cp.load_report(str(path)).cameras == ["head_camera", "navigation_camera"]


def finding_rows(findings):
    """As the tool's JSON has them: what is not finite is null."""
    def known(number):
        return None if number is None or not math.isfinite(number) else number
    return [{"severity": f.severity, "check": f.check, "file": f.file, "line": f.line, "column": f.column,
             "field": f.field, "camera": f.camera, "size": None if f.size is None else list(f.size),
             "value": known(f.value), "threshold": known(f.threshold), "text": f.text} for f in findings]


def compare_with_tool(path, **options):
    flags = (["--strict"] if options.get("strict") else []) + [f"--allow={check}" for check in options.get("allow", ())]
    flags += [f"--kind={options['kind']}"] if options.get("kind") else []
    findings = cp.validate(path, **options)
    document = tool.run_json("validate", *flags, path, status=1 if "error" in findings.severities else 0)
    assert finding_rows(findings) == document["findings"]
    report = cp.load_report(path, kind=options.get("kind"))
    if report.kind is not None:
        assert (report.kind, report.format) == (document["files"][0]["kind"], document["files"][0]["format"])
    if not options:
        counted = (report.errors, report.warnings, report.infos)
        assert counted == tuple(document["files"][0][key] for key in ("errors", "warnings", "infos"))
    return findings


@pytest.mark.parametrize("path", [HEAD, BASE, PTZ, *(path for path in CORPUS if path.name != "empty")],
                         ids=lambda path: path.name)
def test_findings_are_those_of_the_tool(path):
    compare_with_tool(path)
    compare_with_tool(path, strict=True)


def write_faulty(folder):
    text = HEAD.read_text().replace("fx:", "fx: -", 1).replace('name: "navigation_camera"', 'name: "a\\"<b>\\n"')
    path = folder / "faulty.txt"
    path.write_text(text)
    return path


def test_findings_of_a_faulty_file(tmp_path):
    path = write_faulty(tmp_path)
    findings = compare_with_tool(path)
    worst = findings[0]
    assert (worst.severity, worst.check, worst.file) == ("error", "focal", str(path))
    assert path.read_text().splitlines()[worst.line - 1].strip().startswith("fx: -")
    allowed = compare_with_tool(path, allow=["focal"])
    assert all(finding.severity == "info" for finding in allowed if finding.check == "focal")
    assert cp.validate(path, allow="focal") == allowed


def test_what_does_not_load_keeps_an_error(tmp_path):
    path = tmp_path / "short.txt"
    path.write_text("wheel_base: 0.4\nglobal_transform_adjustment { global_transform { a: [1, 2] } }")
    findings = compare_with_tool(path, allow=["list-short"])
    assert [f.check for f in findings if f.severity == "error"] == ["parse"]
    error = next(f for f in findings if f.severity == "error")
    assert error.text == "does not load: holds 2 values, at least 12 are needed"
    assert (error.line, error.column) == (2, 50)


@pytest.mark.parametrize("data, kind, place, text", [
    (b"\x00\x01\x02\xff", None, (None, None), "is neither a binary nor a text-format RobotCalibration"),
    (b"\xef\xbb\xbfwheel_base: 1", None, (None, None), "begins with a byte order mark; save it as UTF-8 without one"),
    (b"wheel_base: x", None, (1, 13), 'Expected double, got: x'),
    (b"{\"wheel_bas\": 1}", None, (None, None), "wheel_bas: Cannot find field."),
    (b"wheel_base: 1", "robot", (None, None), "holds the calibration of a mobile base, not of fixed cameras"),
    (b"camera_calibration { nam: 'a' }", None, (1, 22),
     'Message type "norv.calibration.CameraCalibration" has no field named "nam".'),
])
def test_data_that_is_no_calibration_has_one_finding(data, kind, place, text):
    findings = cp.validate(data, kind=kind)
    assert [(f.severity, f.check) for f in findings] == [("error", "parse")]
    assert (findings[0].line, findings[0].column) == place
    assert findings[0].text == text
    report = cp.load_report(data, kind=kind)
    assert report.problem == findings[0] and report.kind is None


def test_another_programs_file_is_pointed_to_import():
    findings = cp.validate(SOURCE / "fuzz" / "corpus" / "import_ros" / "skew")
    assert findings[0].text == "is a file of another program, format ros: import_calibration makes a calibration of it"


@pytest.mark.parametrize("path", ODD, ids=lambda path: path.name)
def test_odd_files_are_of_the_tools_kind(path):
    document = tool.run_json("validate", path, status=1)
    findings = cp.validate(path)
    report = cp.load_report(path)
    assert report.kind == document["files"][0]["kind"]
    assert "error" in findings.severities
    assert [f.check for f in findings] == [f["check"] for f in document["findings"]]


def test_json_is_read_as_the_tool_reads_it(tmp_path):
    path = tmp_path / "robot.json"
    path.write_text(tool.run("convert", HEAD, "--json", "-o", "-")[0])
    compare_with_tool(path)
    assert cp.validate(json.loads(path.read_text())) == [
        cp.Finding(**{**vars(f), "file": None}) for f in cp.validate(path)]


def test_objects_are_reviewed_as_their_files(tmp_path):
    path = write_faulty(tmp_path)
    cameras = cp.CameraParametersSet.from_file(path)
    without_places = [{**row, "file": None, "line": None, "column": None} for row in finding_rows(cp.validate(path))]
    assert finding_rows(cp.validate(cameras)) == without_places
    report = cp.load_report(cameras)
    assert (report.kind, report.format, report.cameras) == ("robot", None, ["head_camera", 'a"<b>\n'])
    one = cp.validate(cameras["head_camera"])
    assert one and all(f.camera == "head_camera" for f in one)
    assert cp.load_report(cp.BaseCalibrationData()).kind == "base"
    with pytest.raises(ValueError, match="^kind: source is of the kind robot, not base$"):
        cp.validate(cameras, kind="base")


def test_a_report_says_what_a_load_says(tmp_path):
    path = tmp_path / "short.txt"
    path.write_text(HEAD.read_text().replace("radial:", "# radial:", 1))
    report = cp.load_report(path)
    with pytest.raises(cp.CalibrationError) as raised:
        cp.CameraParametersSet.from_file(path)
    error = raised.value
    assert report.problem is not None
    assert (report.problem.line, report.problem.column, report.problem.field, report.problem.text) == (
        error.line, error.column, error.field, error.text)
    assert cp.load_report(HEAD).problem is None


@pytest.mark.parametrize("data, text", [
    (b"", "is empty"), (b"# nothing", "is empty"), (b"\x82\x7d\x03abc", "holds no camera")])
def test_nothing_to_load_is_a_problem_of_loads_and_not_an_error(data, text):
    report = cp.load_report(data, kind="robot")
    assert report.problem.text == text and report.errors == 0 and report.warnings > 0
    with pytest.raises(cp.CalibrationError) as raised:
        cp.CameraParametersSet.from_bytes(data)
    assert raised.value.text == text


@pytest.mark.parametrize("arguments, error, text", [
    ((3,), TypeError, "source: expected a path, bytes, a dict or an object that holds a calibration, got int"),
    ((None,), TypeError, "source: expected a path, bytes, a dict or an object that holds a calibration, got NoneType"),
])
def test_what_is_no_source_is_refused(arguments, error, text):
    with pytest.raises(error) as raised:
        cp.validate(*arguments)
    assert str(raised.value) == text


@pytest.mark.parametrize("options, text", [
    ({"kind": "head"}, "kind: expected robot, ptz or base"),
    ({"allow": "parse"}, "allow: parse cannot be allowed: nothing is loaded from such a file"),
    ({"allow": ["lens-fold", "lens-folds"]}, "allow: no check 'lens-folds'"),
])
def test_options_that_are_none_are_refused(options, text):
    with pytest.raises(ValueError) as raised:
        cp.validate(HEAD, **options)
    assert str(raised.value) == text


def test_a_missing_file_is_an_os_error(tmp_path):
    with pytest.raises(FileNotFoundError):
        cp.validate(tmp_path / "none")
    with pytest.raises(IsADirectoryError):
        cp.load_report(tmp_path)


def test_checks_are_those_of_the_tool():
    checks = cp.checks()
    assert len({check.check for check in checks}) == len(checks) > 30
    for check in checks:
        explained = tool.run_json("validate", "--explain", check.check)
        assert explained == {"check": check.check, "severities": list(check.severities),
                             "found_when": check.found_when, "reason": check.reason}


def test_findings_are_values(tmp_path):
    findings = cp.validate(write_faulty(tmp_path))
    assert pickle.loads(pickle.dumps(findings)) == findings
    assert isinstance(pickle.loads(pickle.dumps(findings)), cp.Findings)
    report = cp.load_report(HEAD)
    assert pickle.loads(pickle.dumps(report)) == report
    with pytest.raises(AttributeError):
        findings[0].text = "other"
    assert str(findings[0]).startswith(f"{tmp_path / 'faulty.txt'}:{findings[0].line}:{findings[0].column}: error: ")


def test_lists_that_are_cut_count_what_is_left_out():
    data = b"\x0a\x00" * 1500
    report = cp.load_report(data, kind="robot")
    shorts = [f for f in report.findings if f.check == "name-missing"]
    assert len(shorts) == 1000 and sum(f.unlisted for f in shorts) == 500
    assert report.warnings >= 1500
