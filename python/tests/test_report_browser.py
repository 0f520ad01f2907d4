"""The report in a browser: the drawing turns, themes switch, tables are copied, phones and paper hold it."""

import json
import math
import re

import camera_parameters as cp
import numpy as np
import pytest
from camera_parameters._report import scene as scenes
from camera_parameters.report import make_report

import browser
from calibrations import BASE, HEAD, PTZ

browser.require_or_skip()
from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys  # noqa: E402


@pytest.fixture(scope="module")
def driver():
    with browser.running_browser() as running:
        yield running


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    """Pages about each kind of calibration."""
    folder = tmp_path_factory.mktemp("pages")
    changed = cp.CameraParametersSet.from_file(HEAD).to_dict()
    changed["camera_calibration"][1]["intrinsics"]["fx"] += 9.0
    second = cp.CameraParametersSet.from_dict(changed)
    for name, page in (("head", make_report(HEAD)), ("ptz", make_report(PTZ)), ("base", make_report(BASE)),
                       ("diff", make_report(HEAD, second))):
        (folder / f"{name}.html").write_text(page, encoding="utf-8")
    return folder


@pytest.fixture
def open_page(driver, folder):
    """Opens a page as it comes to a desktop, in the light theme; what its console says fails the test."""
    def open_it(name, width=1200, theme="light"):
        browser.resize(driver, width, 800)
        browser.prefer(driver, theme)
        driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "media": "", "features": [{"name": "prefers-color-scheme", "value": theme}]})
        driver.get((folder / f"{name}.html").as_uri())
        return driver
    driver.get("about:blank")
    driver.get_log("browser")
    yield open_it
    assert driver.get_log("browser") == []


def drawn(driver):
    """The lines of the drawing as they stand, and the data that it was made of."""
    paths = driver.execute_script(
        "return Array.from(document.querySelectorAll('[data-line]')).map(e => [+e.dataset.line, e.getAttribute('d')])")
    view = driver.execute_script("const s = document.getElementById('scene').dataset;"
                                 "return [+s.azimuth, +s.elevation, +s.zoom]")
    points = {index: np.array(re.findall(r"-?[0-9.]+", d), float).reshape(-1, 2) for index, d in paths}
    data = json.loads(driver.execute_script("return document.getElementById('scene-data').textContent"))
    return points, view, data


def largest_miss(driver):
    """How far the lines lie from where a rotation by the stated angles puts their points, units of the drawing."""
    points, (azimuth, elevation, zoom), data = drawn(driver)
    scene = scenes.Scene([], [], [], np.array(data["target"]), data["scale"])
    a, e = math.radians(azimuth), math.radians(elevation)
    # To the eye's frame: by the azimuth about z, then by the elevation about the new y; right is y, up is z.
    about_z = np.array([[math.cos(a), math.sin(a), 0], [-math.sin(a), math.cos(a), 0], [0, 0, 1]])
    about_y = np.array([[math.cos(e), 0, math.sin(e)], [0, 1, 0], [-math.sin(e), 0, math.cos(e)]])
    miss = 0.0
    for index, line in enumerate(data["lines"]):
        seen = (np.array(line["points"]) - scene.target) @ (about_y @ about_z).T * (scene.scale * zoom)
        wanted = np.array([data["size"][0] / 2 + seen[:, 1], data["size"][1] / 2 - seen[:, 2]]).T
        miss = max(miss, np.abs(points[index] - wanted).max())
    return miss


# Places are written to a hundredth.
ROUNDING = 0.0051


def test_the_drawing_of_the_script_is_the_one_that_was_there_before(open_page, folder):
    driver = open_page("head")
    points, _view, _data = drawn(driver)
    page = (folder / "head.html").read_text(encoding="utf-8")
    before = re.findall(r'd="([^"]*)" data-line="(\d+)"', page)
    assert len(before) == len(points) > 20
    for d, index in before:
        places = np.array(re.findall(r"-?[0-9.]+", d), float).reshape(-1, 2)
        assert np.abs(points[int(index)] - places).max() < 0.011
    assert largest_miss(driver) < ROUNDING


def test_the_mouse_turns_the_drawing(open_page):
    driver = open_page("head")
    before, (azimuth, elevation, _zoom), _data = drawn(driver)
    drawing = driver.find_element(By.ID, "scene")
    ActionChains(driver).move_to_element(drawing).click_and_hold().move_by_offset(60, 0).move_by_offset(
        0, 40).release().perform()
    after, view, _data = drawn(driver)
    assert view == pytest.approx([azimuth - 30, elevation + 20, 1], abs=1e-9)
    assert largest_miss(driver) < ROUNDING
    assert max(np.abs(after[index] - before[index]).max() for index in before) > 50
    # Once the button is up, the mouse turns nothing.
    ActionChains(driver).move_by_offset(30, 30).perform()
    assert drawn(driver)[1] == view


def test_keys_turn_size_and_reset_the_drawing(open_page):
    driver = open_page("head")
    start, home, _data = drawn(driver)
    drawing = driver.find_element(By.ID, "scene")
    drawing.send_keys(Keys.ARROW_LEFT, Keys.ARROW_LEFT, Keys.ARROW_UP)
    assert drawn(driver)[1] == pytest.approx([home[0] + 10, home[1] + 5, 1])
    assert largest_miss(driver) < ROUNDING
    drawing.send_keys(Keys.ARROW_RIGHT, Keys.ARROW_DOWN, "+")
    assert drawn(driver)[1] == pytest.approx([home[0] + 5, home[1], 1.25])
    assert largest_miss(driver) < ROUNDING
    drawing.send_keys("-", "-")
    assert drawn(driver)[1][2] == pytest.approx(0.8)
    drawing.send_keys(*[Keys.ARROW_UP] * 30)
    assert drawn(driver)[1][1] == 90
    drawing.send_keys(Keys.HOME)
    again, view, _data = drawn(driver)
    assert view == home and all(np.array_equal(again[index], start[index]) for index in start)


def test_two_fingers_size_and_one_turns(open_page):
    driver = open_page("head", width=360)
    driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": True, "maxTouchPoints": 2})
    drawing = driver.find_element(By.ID, "scene")
    driver.execute_script("arguments[0].scrollIntoView({block: 'center'})", drawing)
    box = driver.execute_script("const b = arguments[0].getBoundingClientRect(); return [b.x, b.y]", drawing)
    x, y = box[0] + 120, box[1] + 120

    def touch(kind, *points):
        driver.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": [
            {"x": px, "y": py, "id": index} for index, (px, py) in enumerate(points)]})
    touch("touchStart", (x, y))
    touch("touchMove", (x + 20, y))
    touch("touchEnd")
    _points, view, _data = drawn(driver)
    assert view == pytest.approx([scenes.HOME["azimuth"] - 10, scenes.HOME["elevation"], 1])
    touch("touchStart", (x, y), (x + 40, y))
    touch("touchMove", (x, y), (x + 80, y))
    touch("touchEnd")
    assert drawn(driver)[1] == pytest.approx([view[0], view[1], 2])
    assert largest_miss(driver) < ROUNDING
    driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": False})


def test_buttons_show_the_robot_from_above(open_page):
    driver = open_page("head")
    driver.find_element(By.CSS_SELECTOR, "[data-view=above]").click()
    assert drawn(driver)[1][1] == 90 and largest_miss(driver) < ROUNDING


def test_the_drawing_is_labelled_and_can_have_the_focus(open_page):
    driver = open_page("head")
    drawing = driver.find_element(By.ID, "scene")
    label = drawing.get_attribute("aria-label")
    assert "head_camera, navigation_camera" in label and "Arrow keys" in label
    driver.execute_script("arguments[0].focus()", drawing)
    assert driver.switch_to.active_element == drawing


def background(driver):
    return driver.execute_script("return getComputedStyle(document.body).backgroundColor")


def test_the_theme_follows_the_system_and_the_switch(open_page):
    driver = open_page("head", theme="dark")
    dark = background(driver)
    buttons = {button.text: button for button in driver.find_elements(By.CSS_SELECTOR, "#theme button")}
    buttons["Light"].click()
    light = background(driver)
    brightness = [sum(map(int, re.findall(r"\d+", colour)[:3])) for colour in (dark, light)]
    assert brightness[0] < 120 < 700 < brightness[1]
    assert buttons["Light"].get_attribute("aria-pressed") == "true"
    driver.refresh()  # the choice is kept
    assert background(driver) == light
    driver.find_element(By.CSS_SELECTOR, "#theme [value=auto]").click()
    assert background(driver) == dark
    browser.prefer(driver, "light")
    assert background(driver) == light


def contrast(driver, element):
    """Contrast of an element's text with the first ground behind it that is not transparent."""
    colours = driver.execute_script("""
        let ground = arguments[0], text = getComputedStyle(ground).color, behind;
        do { behind = getComputedStyle(ground).backgroundColor; ground = ground.parentElement; }
        while (behind === 'rgba(0, 0, 0, 0)' && ground);
        return [text, behind];""", element)

    def luminance(colour):
        parts = [int(part) / 255 for part in re.findall(r"\d+", colour)[:3]]
        linear = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
        return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]
    high, low = sorted(map(luminance, colours), reverse=True)
    return (high + 0.05) / (low + 0.05)


@pytest.mark.parametrize("theme", ["light", "dark"])
def test_text_can_be_read_in_both_themes(open_page, theme):
    driver = open_page("ptz", theme=theme)
    for selector in ("h1", "h2", "p", "td", "th", "thead th", "figcaption", ".what", "nav a", "button", ".badge"):
        for element in driver.find_elements(By.CSS_SELECTOR, selector)[:3]:
            assert contrast(driver, element) >= 4.5, selector


@pytest.mark.parametrize("is_refused", [False, True])
def test_tables_are_copied_with_all_digits(open_page, is_refused):
    driver = open_page("head")
    # What is copied is looked at where it is handed over; a file may be refused the clipboard.
    driver.execute_script("""
        window.copied = null;
        document.execCommand = function () { copied = 'by selection: ' + document.activeElement.value; return true; };
        Object.defineProperty(navigator, 'clipboard', {value: {writeText: function (text) {
          if (arguments_refused) return Promise.reject(new Error('refused'));
          copied = text; return Promise.resolve(); }}});
        window.arguments_refused = arguments[0];""", is_refused)
    button = driver.find_element(By.CSS_SELECTOR, "[data-copy=camera-0-matrix]")
    button.click()
    assert button.text == "Copied"
    copied = driver.execute_script("return copied")
    assert copied.startswith("by selection: ") == is_refused
    k = cp.CameraParametersSet.from_file(HEAD)["head_camera"].intrinsics(640, 480)
    row = copied.split("\n")[1].split("\t")
    assert [np.float32(value) for value in row[1:]] == [np.float32(v) for v in (k.fx, k.fy, k.skew, k.cx, k.cy)]


def test_where_nothing_can_be_copied_the_table_is_selected(open_page):
    driver = open_page("head")
    driver.execute_script("document.execCommand = () => false;"
                          "Object.defineProperty(navigator, 'clipboard', {value: undefined});")
    button = driver.find_element(By.CSS_SELECTOR, "[data-copy=camera-0-matrix]")
    button.click()
    assert button.text == "Press Ctrl+C"
    assert "324" in driver.execute_script("return getSelection().toString()")


@pytest.mark.parametrize("name", ["head", "ptz", "base", "diff"])
def test_a_phone_needs_no_sideways_scrolling(open_page, name):
    driver = open_page(name, width=360)
    assert driver.execute_script("return document.documentElement.scrollWidth") <= 360
    wide = driver.execute_script("""
        return Array.from(document.querySelectorAll('main *')).filter(function (e) {
          for (let p = e; p; p = p.parentElement) if (p.classList.contains('scroll') || p.tagName === 'svg') return false;
          return e.getBoundingClientRect().right > 361; }).map(e => e.outerHTML.slice(0, 80));""")
    assert wide == []


@pytest.mark.parametrize("name", ["head", "ptz", "base", "diff"])
def test_buttons_keep_to_their_lines_on_a_phone(open_page, name):
    driver = open_page(name, width=360)
    heights = driver.execute_script("return Array.from(document.querySelectorAll('.copy')).map(e => e.offsetHeight)")
    assert heights and max(heights) <= 33  # one line
    tops = driver.execute_script("return Array.from(document.querySelectorAll('.buttons button')).map(e => e.offsetTop)")
    assert len(set(tops)) <= 1


@pytest.mark.parametrize("name, cell", [("head", "#camera-0-sizes td:nth-child(4)"), ("head", "#overview td:nth-child(6)"),
                                        ("ptz", "#head-geometry td"), ("head", "#camera-0-matrix td:last-child")])
def test_a_phone_shows_the_numbers_that_matter_without_scrolling(open_page, name, cell):
    driver = open_page(name, width=360)
    hidden = driver.execute_script("""
        return Array.from(document.querySelectorAll(arguments[0])).filter(e =>
          e.getBoundingClientRect().right > e.closest('.scroll').getBoundingClientRect().right + 1).length;""", cell)
    assert driver.find_elements(By.CSS_SELECTOR, cell) and hidden == 0


@pytest.mark.parametrize("width", [360, 1200])
@pytest.mark.parametrize("name", ["head", "ptz"])
def test_names_in_the_drawing_do_not_cover_each_other(open_page, name, width):
    driver = open_page(name, width=width)
    boxes = driver.execute_script("""
        return Array.from(document.querySelectorAll('#scene text')).map(e => {
          const b = e.getBoundingClientRect(); return [e.textContent, b.left, b.top, b.right, b.bottom]; });""")
    assert len(boxes) >= 5
    for index, (_text, left, top, right, bottom) in enumerate(boxes):
        for other in boxes[:index]:
            # Boxes of text are higher than its letters.
            wide, high = min(right, other[3]) - max(left, other[1]), min(bottom, other[4]) - max(top, other[2])
            assert wide < 0 or high < 4, (boxes[index], other)


def test_letters_are_equally_large_in_the_figures_of_a_head(open_page):
    driver = open_page("ptz")
    widths = driver.execute_script(
        "return Array.from(document.querySelectorAll('#reach svg.plot, #zoom svg.plot')).map(e => e.clientWidth)")
    assert len(widths) == 5 and max(widths) - min(widths) <= 2


@pytest.mark.parametrize("name", ["head", "ptz", "diff"])
def test_no_figure_of_a_camera_stands_alone(open_page, name):
    driver = open_page(name)
    alone = driver.execute_script("""
        return Array.from(document.querySelectorAll('.camera > .figures')).filter(e => e.children.length % 2).length;""")
    assert alone == 0


@pytest.mark.parametrize("width", [900, 1040, 1200])
def test_a_table_beside_a_figure_is_not_cut(open_page, width):
    driver = open_page("head", width=width)
    cut = driver.execute_script("return Array.from(document.querySelectorAll('.camera > .figures > .table .scroll')).map("
                                "e => e.scrollWidth - e.clientWidth)")
    assert cut and max(cut) <= 0


@pytest.mark.parametrize("name", ["head", "ptz", "diff"])
def test_paper_has_the_drawings_and_no_controls(open_page, name):
    driver = open_page(name, theme="dark")
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print", "features": []})
    visible = driver.execute_script("""
        return ['.copy', '.buttons', '#theme', 'nav', '#scene', '.plot', 'table'].map(s =>
          Array.from(document.querySelectorAll(s)).some(e => e.getClientRects().length > 0));""")
    assert visible == [False, False, False, False, True, True, True]
    colours = driver.execute_script("return [getComputedStyle(document.body).backgroundColor,"
                                    "getComputedStyle(document.body).color]")
    assert colours == ["rgb(255, 255, 255)", "rgb(27, 32, 38)"]
    # A page of A4 between its margins.
    browser.resize(driver, 680, 900)
    driver.execute_script("dispatchEvent(new Event('beforeprint'))")
    assert driver.execute_script("return Array.from(document.querySelectorAll('details')).every(e => e.open)")
    wide = driver.execute_script("""
        return Array.from(document.querySelectorAll('table, figure, svg.plot')).filter(e =>
          e.getBoundingClientRect().right > e.closest('.table, .figures, section').getBoundingClientRect().right + 1
        ).map(e => (e.id || e.outerHTML.slice(0, 80)) + ' ' + e.getBoundingClientRect().width);""")
    assert wide == []
    paper = driver.execute_cdp_cmd("Page.printToPDF", {"paperWidth": 8.27, "paperHeight": 11.69})
    assert len(paper["data"]) > 20_000
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})


def test_the_page_asks_for_nothing_but_itself(open_page, driver, folder):
    driver.get_log("performance")
    open_page("head")
    events = [json.loads(entry["message"])["message"] for entry in driver.get_log("performance")]
    asked = [event["params"]["request"]["url"] for event in events if event["method"] == "Network.requestWillBeSent"]
    assert asked == [(folder / "head.html").as_uri()]


def test_links_to_fields_unfold_what_hides_them(open_page):
    driver = open_page("head")
    identity = "field-camera_calibration[0].intrinsics.samples[3].image_x"
    element = driver.find_element(By.ID, identity)

    def is_shown():
        return driver.execute_script("return arguments[0].checkVisibility()", element)
    assert not is_shown()
    driver.execute_script("location.hash = encodeURIComponent(arguments[0])", identity)
    assert browser.soon(is_shown)


def test_without_script_the_page_shows_all_figures(driver, folder):
    driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
    try:
        driver.get((folder / "head.html").as_uri())
        scene = driver.find_element(By.ID, "scene")
        assert scene.is_displayed() and scene.find_element(By.CSS_SELECTOR, "path.frustum").get_attribute("d")
        assert not driver.find_element(By.ID, "theme").is_displayed()
        assert not driver.find_element(By.CSS_SELECTOR, ".copy").is_displayed()
    finally:
        driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})


def test_circles_of_a_lens_have_the_radii_of_the_library(driver, tmp_path):
    message = cp.CameraParametersSet.from_file(HEAD).to_dict()
    del message["camera_calibration"][0]
    # A barrel that folds inside of the picture: 1 - 3 * 0.5 r^2 = 0.
    message["camera_calibration"][0]["intrinsics"].update(radial=[-0.5, 0, 0, 0, 0, 0], tangential=[0, 0])
    cameras = cp.CameraParametersSet.from_dict(message)
    (tmp_path / "fold.html").write_text(make_report(cameras), encoding="utf-8")
    driver.get((tmp_path / "fold.html").as_uri())
    view = cameras["navigation_camera"].view(1280, 960)
    radius = math.sqrt(1 / 1.5)
    assert view.valid_radius == pytest.approx(radius, rel=1e-9)
    plot = driver.find_element(By.CSS_SELECTOR, "svg.lens[data-size='1280x960']")
    scale = float(plot.get_attribute("data-scale"))
    for kind, wanted in (("fold", radius), ("valid", view.valid_radius), ("fold-image", radius * (1 - 0.5 * radius**2))):
        circle = plot.find_element(By.CSS_SELECTOR, f"ellipse.{kind}")
        # What is certainly valid is drawn where the lens images it, as the picture is.
        drawn = wanted * (1 - 0.5 * wanted**2) if kind == "valid" else wanted
        assert float(circle.get_attribute("rx")) == pytest.approx(905 * drawn * scale, abs=0.006)
        assert float(circle.get_attribute("data-radius")) == pytest.approx(wanted, rel=1e-9)
    assert plot.find_elements(By.CSS_SELECTOR, "path.no-ray")
    assert driver.get_log("browser") == []
