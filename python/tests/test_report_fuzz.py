"""The report of calibrations that load and are hardly ever meant: each page opens, and its console stays silent."""

import logging
import time

import browser
from calibrations import SOURCE
from camera_parameters.report import make_report
from report_mutations import calibrations

browser.require_or_skip()

SEED = 14


def test_reports_of_all_files_and_of_200_mutations_open(tmp_path):
    logging.disable(logging.CRITICAL)
    pages = [make_report(path) for path in sorted((SOURCE / "calibration").glob("*.txt"))]
    assert len(pages) >= 3
    pages += [make_report(model) for model in calibrations(200, SEED)]
    logging.disable(logging.NOTSET)
    path = tmp_path / "report.html"
    with browser.running_browser() as driver:
        for index, page in enumerate(pages):
            # Tables, two cameras' figures or many cameras' fields: no page is a burden.
            assert len(page.encode()) < 3_000_000, index
            path.write_text(page, encoding="utf-8")
            driver.get(f"{path.as_uri()}?{index}")
            state = driver.execute_script("""
                return [document.documentElement.classList.contains('scripted'), document.querySelectorAll('img').length,
                  document.scripts.length, document.querySelectorAll('main > section').length,
                  !document.getElementById('scene') || document.getElementById('scene-state').textContent !== '',
                  document.body.innerHTML.includes('NaN')]""")
            assert state[0] and state[1] == 0 and state[3] >= 3 and state[4], (index, state)
            assert state[2] == page.count("<script") and not state[5], (index, state)
            assert driver.get_log("browser") == [], index


def test_a_report_is_made_quickly():
    start = time.process_time()
    make_report(SOURCE / "calibration" / "default_head_cal.txt")
    # 0.2 s were measured on a quiet machine.
    assert time.process_time() - start < 4
