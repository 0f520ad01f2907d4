"""Where everything that tests compare with has to be there, a test that is left out is one that fails."""

import os

import pytest

_REQUIRED = os.environ.get("CAMERA_PARAMETERS_REQUIRE_REFERENCES") == "1"


def _refuse(report):
    if _REQUIRED and report.skipped and not hasattr(report, "wasxfail"):
        report.outcome = "failed"
        report.longrepr = f"left out, where nothing may be: {report.longrepr[-1]}"


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport():
    outcome = yield
    _refuse(outcome.get_result())


@pytest.hookimpl(hookwrapper=True)
def pytest_make_collect_report():
    outcome = yield
    _refuse(outcome.get_result())
