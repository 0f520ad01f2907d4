"""What is wrong or doubtful in calibrations."""

import dataclasses
import typing
from typing import List, Optional, Tuple

from camera_parameters import _core, _sources


@dataclasses.dataclass(frozen=True)
class Finding:
    """One thing that a review found. What is not known, or does not apply, is None.

    `severity` is "error", "warning" or "info"; `check` is the id of the check (`checks`), which never changes; `line` and
    `column` say where the field stands in a text, both from 1; `field` is its path from the top of the message
    ("camera_calibration[0].intrinsics.radial[2]"); `camera` is the name of the camera concerned and `size` the image's
    (width, height), pixels; `value` is the number found and `threshold` the one that it exceeds or should reach; `text`
    is one sentence with both. `unlisted` counts further findings of this check and severity that are not listed.

    >>> import camera_parameters as cp
    >>> finding = cp.validate(b"camera_calibration { name: 'a' }")[0]
    >>> finding.severity, finding.line, finding.camera
    ('error', 1, 'a')
    """

    severity: str
    check: str
    file: Optional[str]
    line: Optional[int]
    column: Optional[int]
    field: Optional[str]
    camera: Optional[str]
    size: Optional[Tuple[int, int]]
    value: Optional[float]
    threshold: Optional[float]
    text: str
    unlisted: int = 0

    def __str__(self):
        place = ":".join(str(part) for part in (self.file, self.line, self.column) if part is not None)
        parts = [place, self.severity, self.field, self.text]
        return ": ".join(part for part in parts if part) + f" [{self.check}]"

    def _repr_html_(self):
        from camera_parameters import _html

        return _html.findings([self])


class Findings(List[Finding]):
    """A list of `Finding`, which notebooks show as a table.

    >>> import camera_parameters as cp
    >>> findings = cp.validate(cp.CameraParametersSet())
    >>> isinstance(findings, list), "error" in findings.severities
    (True, False)
    """

    @property
    def severities(self) -> List[str]:
        """The severities of all findings, each once, the worst first."""
        return [severity for severity in ("error", "warning", "info") if any(f.severity == severity for f in self)]

    def _repr_html_(self):
        from camera_parameters import _html

        return _html.findings(self)


@dataclasses.dataclass(frozen=True)
class Check:
    """A check of `validate`, for people: its id, the severities of its findings, when it finds something, and why.

    >>> import camera_parameters as cp
    >>> [check.severities for check in cp.checks() if check.check == "list-short"]
    [('error',)]
    """

    check: str
    severities: Tuple[str, ...]
    found_when: str
    reason: str


@dataclasses.dataclass(frozen=True)
class LoadReport:
    """What a load of a calibration finds, or would find, whether it goes well or not.

    `kind` is "robot", "ptz" or "base", and `format` "binary", "text" or "json", None where the data cannot be read as
    any (`format` of objects, too). `cameras` are the names of the cameras, each once, in the order of the data. `problem`
    is why it does not load, a `Finding`, or None where it does. `findings` are all that a review finds.

    >>> import camera_parameters as cp
    >>> report = cp.load_report(b"wheel_base: 0.4")
    >>> report.kind, report.format, report.problem.text
    ('base', 'text', 'holds 0 values, at least 12 are needed')
    """

    kind: Optional[str]
    format: Optional[str]
    cameras: List[str]
    problem: Optional[Finding]
    findings: Findings

    @property
    def errors(self) -> int:
        """How many errors there are, those included that are not listed."""
        return self._count("error")

    @property
    def warnings(self) -> int:
        """How many warnings there are, those included that are not listed."""
        return self._count("warning")

    @property
    def infos(self) -> int:
        """How many infos there are, those included that are not listed."""
        return self._count("info")

    def _count(self, severity):
        return sum(1 + finding.unlisted for finding in self.findings if finding.severity == severity)

    def _repr_html_(self):
        from camera_parameters import _html

        return _html.load_report(self)


def checks() -> List[Check]:
    """All checks of `validate`, those of fixed cameras first.

    >>> import camera_parameters as cp
    >>> "lens-fold" in [check.check for check in cp.checks()]
    True
    """
    return [Check(*row) for row in _core._checks()]


def load_report(source: _sources.Source, *, kind: Optional[str] = None) -> LoadReport:
    """What loading a calibration finds in it: kind, format, cameras, what keeps it from loading, what is doubtful.

    `source` and `kind` are those of `validate`. Nothing is loaded and nothing is logged. Raises OSError where a file
    cannot be read; what is in it raises nothing. Takes a review, several times as long as a load.

    >>> import camera_parameters as cp
    >>> cp.load_report(cp.CameraParametersSet()).cameras
    ['head_camera', 'navigation_camera']
    """
    argument, path = _sources.take(source, "source", kind)
    review = _core._review(*argument)
    problem = review["problem"]
    return LoadReport(review["kind"], review["format"], review["cameras"],
                      None if problem is None else Finding(file=path, **problem),
                      Findings(Finding(file=path, **finding) for finding in review["findings"]))


def validate(source: _sources.Source, *, kind: Optional[str] = None, strict: bool = False,
             allow: typing.Iterable[str] = ()) -> Findings:
    """What is wrong or doubtful in a calibration: a list of `Finding`, in the order of the file, empty where nothing is.

    `source` is a path, bytes (binary, text or JSON), a dict, a `CameraParametersSet`, `CameraParameters`,
    `PTZCameraModel` or `BaseCalibrationData`. `kind`, "robot", "ptz" or "base", says what it holds; else it is what fits
    best. `strict` makes errors of warnings, `allow` infos of all that the checks of these ids find; what does not load
    keeps an error. Data that is no calibration has one finding, of the check "parse".

    Raises OSError where a file cannot be read, ValueError for a kind or check that is none and for text that is a str.
    Thread-safe.

    >>> import camera_parameters as cp
    >>> for finding in cp.validate(b"camera_calibration { nam: 'a' }"):
    ...     print(finding.line, finding.column, finding.check)
    1 22 parse
    """
    allowed = _allowed(allow)
    report = load_report(source, kind=kind)
    findings = Findings(_with_policy(finding, strict, allowed) for finding in report.findings)
    had_error = any(finding.severity == "error" for finding in report.findings)
    if had_error and report.problem is not None and "error" not in findings.severities:
        problem = dataclasses.replace(report.problem, text=f"does not load: {report.problem.text}")
        _insert(findings, problem)
    return findings


def _allowed(allow):
    allowed = [allow] if isinstance(allow, str) else list(allow)
    known = {check.check for check in checks()}
    for check in allowed:
        if check == "parse":
            raise ValueError("allow: parse cannot be allowed: nothing is loaded from such a file")
        if check not in known:
            raise ValueError(f"allow: no check {check!r}")
    return set(allowed)


def _with_policy(finding, strict, allowed):
    if finding.check in allowed:
        return dataclasses.replace(finding, severity="info")
    if strict and finding.severity == "warning":
        return dataclasses.replace(finding, severity="error")
    return finding


def _insert(findings, problem):
    place = (problem.line or 0, problem.column or 0)
    behind = [i for i, finding in enumerate(findings) if (finding.line or 0, finding.column or 0) > place]
    findings.insert(behind[0] if behind else len(findings), problem)
