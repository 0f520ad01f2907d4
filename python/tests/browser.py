"""A browser without a window for tests of pages; tests that need it are left out where there is none."""

import contextlib
import importlib
import shutil
import time

import pytest


def _missing():
    """What is missing for a browser, or nothing."""
    missing = [program for program in ("chromium", "chromedriver") if shutil.which(program) is None]
    try:
        importlib.import_module("selenium.webdriver")
    except ImportError:
        missing.append("python3-selenium")
    return ", ".join(missing)


def require_or_skip():
    """Leaves out all tests of the calling file where there is no browser."""
    missing = _missing()
    if missing:
        pytest.skip(f"no browser: {missing} missing", allow_module_level=True)


@contextlib.contextmanager
def running_browser():
    """A driver of Chromium whose log of the console is kept."""
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for word in ("headless=new", "no-sandbox", "disable-gpu", "disable-dev-shm-usage", "hide-scrollbars",
                 "force-device-scale-factor=1", "disable-background-networking", "window-size=1200,900"):
        options.add_argument("--" + word)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    driver.set_page_load_timeout(60)
    try:
        yield driver
    finally:
        driver.quit()


def resize(driver, width, height):
    """The size of the page itself, which a window's cannot be made as small as a phone."""
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 600})


def prefer(driver, theme):
    """What the system prefers: light or dark."""
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme",
                                                                        "value": theme}]})


def soon(condition, seconds=5):
    """Whether something becomes true within some seconds."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.05)
    return False
