"""The library's log records as Python's, and threads that log."""

import logging
import subprocess
import sys
import textwrap
import threading

import camera_parameters as cp
import pytest

CHANNEL = "camera_parameters.camera_parameters"


class Collector(logging.Handler):
    def __init__(self, action=None):
        super().__init__()
        self.records = []
        self.action = action or (lambda record: None)

    def emit(self, record):
        self.records.append(record)
        self.action(record)


@pytest.fixture
def collect():
    """Handlers of all that the library logs, at info level."""
    logger = logging.getLogger("camera_parameters")
    handlers = []

    def add(action=None):
        handlers.append(Collector(action))
        logger.addHandler(handlers[-1])
        return handlers[-1]

    logger.propagate = False
    cp.set_log_level(None, "info")
    yield add
    cp.set_log_level(None, "warning")
    logger.setLevel(logging.NOTSET)
    logger.propagate = True
    for handler in handlers:
        logger.removeHandler(handler)


def log_once(camera):
    camera.intrinsics(333, 222)


def run_python(code, timeout=60):
    """Output and errors of a fresh interpreter, which ends well."""
    command = [sys.executable, "-c", textwrap.dedent(code)]
    done = subprocess.run(command, capture_output=True, text=True, timeout=timeout)
    assert done.returncode == 0, done.stderr
    return done.stdout, done.stderr


def test_records_say_where_they_come_from(collect):
    camera = cp.CameraParametersSet()["head_camera"]
    collector = collect()
    log_once(camera)
    [record] = collector.records
    assert record.name == CHANNEL and record.levelno == logging.INFO and record.levelname == "INFO"
    assert record.pathname.endswith(".cpp") and not record.pathname.startswith("/") and record.lineno > 0
    assert "getIntrinsics" in record.funcName and "333" in record.getMessage()
    assert record.threadName == threading.current_thread().name


def test_each_failure_is_logged_once(collect, tmp_path):
    collector = collect()
    with pytest.raises(FileNotFoundError):
        cp.CameraParametersSet.from_file(tmp_path / "none%s.txt")
    [record] = collector.records
    assert record.levelno == logging.ERROR and "none%s.txt: No such file" in record.getMessage()


def test_levels(collect):
    camera = cp.CameraParametersSet()["head_camera"]
    collector = collect()
    expectations = [("info", 1), ("warning", 0), (logging.DEBUG, 1), (logging.ERROR, 0), ("INFO", 1), ("off", 0)]
    for level, expected in expectations:
        cp.set_log_level("camera_parameters", level)
        collector.records.clear()
        log_once(camera)
        assert len(collector.records) == expected, level
    cp.set_log_level("camera_parameters", "info")
    logging.getLogger(CHANNEL).setLevel(logging.WARNING)
    log_once(camera)
    assert not collector.records
    for level, error in [("loud", ValueError), (True, TypeError), (None, TypeError), (1.5, TypeError)]:
        with pytest.raises(error, match="^level: expected"):
            cp.set_log_level("camera_parameters", level)
    logging.getLogger(CHANNEL).setLevel(logging.NOTSET)


def run_threads(count, action):
    threads = [threading.Thread(target=action, daemon=True) for _ in range(count)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
    assert not any(thread.is_alive() for thread in threads), "hangs"


def test_many_threads_that_log_neither_hang_nor_lose_records(collect):
    camera = cp.CameraParametersSet()["head_camera"]
    collector = collect()
    run_threads(8, lambda: [log_once(camera) for _ in range(10000)])
    assert len(collector.records) == 80000


def load(_):
    cp.CameraParametersSet.from_text(cp.CameraParametersSet().to_text())


def fail(_):
    raise ZeroDivisionError("mine")


def log_further(record):
    if "333" in record.getMessage():
        cp.CameraParametersSet()["head_camera"].intrinsics(111, 222)


@pytest.mark.parametrize("action", [load, fail, log_further], ids=["loads", "raises", "logs"])
def test_handlers_may_do_what_they_like(collect, action, monkeypatch, capfd):
    unraisable = []
    monkeypatch.setattr(sys, "unraisablehook", lambda report: unraisable.append(report.exc_value))
    camera = cp.CameraParametersSet()["head_camera"]
    collector = collect(action)
    run_threads(4, lambda: [log_once(camera) for _ in range(50)])
    assert sum("333" in record.getMessage() for record in collector.records) == 200
    assert [str(error) for error in unraisable] == (["mine"] * 200 if action is fail else [])
    # What a handler has the library log goes to standard error, and not to the handler again.
    assert capfd.readouterr().err.count("111") == (200 if action is log_further else 0)


ENDS = """
    import logging, sys, threading
    import camera_parameters as cp
    class Ending(logging.Handler):
        def emit(self, record):
            raise {}
    logging.getLogger("camera_parameters").addHandler(Ending())
    def fail():
        try:
            cp.CameraParametersSet.from_text("x")
        except cp.CalibrationError:
            pass
        print("goes on")
    {}
"""


def end_python(error, action):
    command = [sys.executable, "-c", textwrap.dedent(ENDS.format(error, action))]
    done = subprocess.run(command, capture_output=True, text=True, timeout=60)
    return done.returncode, done.stdout, done.stderr


def test_a_handler_may_end_the_program():
    assert end_python("SystemExit(7)", "fail()") == (7, "", "")
    code, out, err = end_python("KeyboardInterrupt('mine')", "fail()")
    assert code != 0 and out == "" and err.rstrip().endswith("KeyboardInterrupt: mine") and "in emit" in err


def test_a_handler_may_end_a_thread():
    thread = "thread = threading.Thread(target=fail); thread.start(); thread.join(); print('joined')"
    assert end_python("SystemExit(7)", thread) == (0, "joined\n", "")


def test_a_handler_may_ask_and_load_the_set_that_logs(collect, tmp_path):
    cameras = cp.CameraParametersSet()
    cameras.save(tmp_path / "robot.txt")

    def use(record):
        assert cameras["head_camera"].name == "head_camera" and cameras.to_bytes()
        cameras.load_from_file(tmp_path / "robot.txt")

    collector = collect(use)
    run_threads(4, lambda: [log_once(cameras["head_camera"]) for _ in range(25)])
    assert len(collector.records) == 100


def test_handlers_of_python_loggers_may_call_what_logs(collect):
    """Python's logging takes the handler's lock before the call, the library's records take it after."""
    camera = cp.CameraParametersSet()["head_camera"]

    def call(record):
        if not record.name.startswith("camera_parameters"):
            camera.intrinsics(111, 222)

    handler = Collector(call)
    other = logging.getLogger("other")
    other.propagate = False
    other.addHandler(handler)
    logging.getLogger("camera_parameters").addHandler(handler)
    try:
        collect()
        run_threads(4, lambda: [(log_once(camera), other.warning("hello")) for _ in range(500)])
    finally:
        other.removeHandler(handler)
        logging.getLogger("camera_parameters").removeHandler(handler)
    assert sum(record.name == "other" for record in handler.records) == 2000


def test_standard_error_is_silent_where_there_is_a_handler():
    fails = """
        import logging, camera_parameters as cp
        {}
        try:
            cp.CameraParametersSet.from_text("x")
        except cp.CalibrationError:
            pass
    """
    assert "No cameras taken" in run_python(fails.format(""))[1]
    assert run_python(fails.format("logging.getLogger('camera_parameters').addHandler(logging.NullHandler())"))[1] == ""
    assert run_python(fails.format("cp.set_log_level(None, 'off')"))[1] == ""


FIRST_CALLS = """
    import threading
    import camera_parameters as cp
    camera = cp.CameraParametersSet()["head_camera"]
    barrier = threading.Barrier(8)
    def call():
        barrier.wait()
        assert camera.project([[1, 2, 3]], 640, 480).shape == (1, 2)
        assert camera.pose.center.shape == (3,)
    threads = [threading.Thread(target=call) for _ in range(8)]
    for thread in threads: thread.start()
    for thread in threads: thread.join()
"""


@pytest.mark.parametrize("attempt", range(20))
def test_first_array_calls_at_once(attempt):
    assert run_python(FIRST_CALLS) == ("", "")


@pytest.mark.parametrize("attempt", range(5))
def test_the_interpreter_ends_while_threads_log(attempt):
    code = """
        import logging, threading, time
        import camera_parameters as cp
        logging.getLogger("camera_parameters").addHandler(logging.NullHandler())
        cp.set_log_level(None, "info")
        camera = cp.CameraParametersSet()["head_camera"]
        def log():
            while True:
                camera.intrinsics(333, 222)
        for _ in range(6): threading.Thread(target=log, daemon=True).start()
        time.sleep(0.2)
    """
    run_python(code, 30)


def test_processes_are_forked_while_threads_log():
    code = """
        import logging, multiprocessing, sys, threading
        import camera_parameters as cp

        def work(camera):
            cp.set_log_level(None, "info")
            return camera.project([[1, 2, 3]], 333, 222).tolist()

        if __name__ == "__main__":
            logging.getLogger("camera_parameters").addHandler(logging.NullHandler())
            cp.set_log_level(None, "info")
            camera = cp.CameraParametersSet()["head_camera"]
            running = True
            def log():
                while running:
                    camera.intrinsics(333, 222)
            threads = [threading.Thread(target=log) for _ in range(3)]
            for thread in threads: thread.start()
            context = multiprocessing.get_context("fork")
            for _ in range(10):
                with context.Pool(2) as pool:
                    answers = pool.map(work, [camera] * 8)
                assert answers == [work(camera)] * 8
            running = False
            for thread in threads: thread.join()
    """
    run_python(code, 120)


def test_spawned_processes_get_cameras(tmp_path):
    script = tmp_path / "spawned.py"
    script.write_text(textwrap.dedent("""
        import multiprocessing
        import camera_parameters as cp

        def work(camera):
            return camera.project([[1, 2, 3]], 640, 480).tolist()

        if __name__ == "__main__":
            camera = cp.CameraParametersSet()["head_camera"]
            with multiprocessing.get_context("spawn").Pool(2) as pool:
                assert pool.map(work, [camera] * 4) == [work(camera)] * 4
    """), encoding="utf-8")
    subprocess.run([sys.executable, script], check=True, timeout=120)


def test_other_interpreters_are_refused():
    out, err = run_python("""
        import _xxsubinterpreters as interpreters
        import camera_parameters
        made = interpreters.create()
        try:
            interpreters.run_string(made, "import camera_parameters")
        except interpreters.RunFailedError as error:
            print(error)
    """)
    assert "ImportError" in out and "interpreter" in out


@pytest.mark.parametrize("line", ['cp.set_log_level(None, "off")',
                                  'logging.getLogger("camera_parameters").setLevel("CRITICAL")', "pass"])
def test_a_caught_exception_can_be_kept_quiet(line):
    _, errors = run_python(f"""
        import logging
        import camera_parameters as cp
        {line}
        try:
            cp.CameraParametersSet.from_text("camera_calibration {{ name: 12 }}")
        except cp.CalibrationError:
            pass
        """)
    assert (errors == "") == (line != "pass")
