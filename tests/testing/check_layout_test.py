"""Plants one violation of each rule in a small tree that keeps them all."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testing"))
import check_layout  # noqa: E402

TIDY = {
    "support/matrix_types.h": "#include <Eigen/Core>\nnamespace norv {\n}\n",
    "support/logging.h": "namespace norv {\n}\n",
    "support/logging.cpp": '#include "support/logging.h"\n#include "support/log/line.h"\n',
    "support/log/line.h": "namespace norv::internal {\n}\n",
    "support/lens_distortion.h": "namespace norv {\n}\n",
    "support/lens/inverse.h": '#include "support/lens_distortion.h"\nnamespace norv::internal {\n}\n',
    "support/sensor/warp.h": "namespace norv::internal {\n}\n",
    "support/fit/view.h": '#include "support/lens_distortion.h"\nnamespace norv::internal::fit {\n}\n',
    "support/numeric/zero.h": "namespace norv::internal {\n}\n",
    "support/message_parsing.h": "namespace norv {\n}\n",
    "support/file.h": "namespace norv {\n}\n",
    "support/file.cpp": '#include "support/file.h"\n',
    "calibration_common/camera_parameters.h": '#include "../support/matrix_types.h"\nnamespace norv::calibration {\n}\n',
    "calibration_common/base_calibration_data.h": "namespace norv::calibration {\n}\n",
    "calibration_common/stored_pose.h": "namespace norv::internal {\n}\n",
    "calibration_common/camera_parameters.cpp":
        '#include "calibration_common/camera_parameters.h"\n#include "calibration_common/stored_pose.h"\n',
    "tools/main.cpp": '#include "tools/show.h"\n#include "calibration_common/camera_parameters.h"\n',
    "tools/show.h": '#include "support/file.h"\n',
    "python/bindings/camera.h": '#include "calibration_common/camera_parameters.h"\n',
    "python/bindings/camera.cpp": '#include "python/bindings/camera.h"\n',
    "proto/a.proto": 'import "proto/b.proto";\nimport "google/protobuf/any.proto";\n',
}


def problems_with(**changes):
    """What is wrong with the tidy tree after some files (path: text, added to what is there) were changed."""
    with tempfile.TemporaryDirectory() as folder:
        files = dict(TIDY)
        for path, text in changes.get("add", {}).items():
            files[path] = files.get(path, "") + text
        for path, text in files.items():
            (pathlib.Path(folder) / path).parent.mkdir(parents=True, exist_ok=True)
            (pathlib.Path(folder) / path).write_text(text, encoding="utf-8")
        return check_layout.check(folder)


class CheckLayout(unittest.TestCase):
    def expect_one(self, expected, **changes):
        problems = problems_with(**changes)
        self.assertTrue(any(expected in problem for problem in problems), problems)

    def expect_never(self, path, included, what):
        """An include of `included`, written from the top of the tree, breaks the rule `what`."""
        self.expect_one(f"{path} includes {included}: {what}", add={path: f'#include "{included}"\n'})

    def test_a_tidy_tree_has_no_problem(self):
        self.assertEqual(problems_with(), [])

    def test_a_tree_without_sources_is_a_problem(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(len(check_layout.check(folder)), 1)

    def test_support_knows_no_calibration(self):
        self.expect_never("support/file.cpp", "calibration_common/camera_parameters.h", "support knows no calibration")

    def test_the_library_knows_no_test(self):
        self.expect_never("calibration_common/camera_parameters.cpp", "testing/lenses.h",
                          "the library knows no test and no tool")
        self.expect_never("support/file.cpp", "tools/show.h", "the library knows no test and no tool")

    def test_the_tool_knows_no_test(self):
        self.expect_never("tools/main.cpp", "testing/lenses.h", "the tool knows no test")

    def test_the_log_knows_no_matrices(self):
        self.expect_never("support/log/line.h", "Eigen/Core", "the log knows no matrices")

    def test_what_is_included_by_way_of_others_counts(self):
        self.expect_one(
            "support/logging.cpp includes Eigen/Core, by way of support/matrix_types.h: the log knows no matrices",
            add={"support/log/line.h": '#include "support/matrix_types.h"\n'})

    def test_lens_and_sensor_know_nothing_of_each_other(self):
        self.expect_never("support/lens/inverse.h", "support/sensor/warp.h", "the lens knows no sensor")
        self.expect_never("support/sensor/warp.h", "support/lens/inverse.h", "the sensor knows no lens")
        self.expect_never("support/sensor/warp.h", "support/lens_distortion.h", "the sensor knows no lens")

    def test_the_fit_knows_no_sensor(self):
        self.expect_never("support/fit/view.h", "support/sensor/warp.h", "the fit knows no sensor")

    def test_reading_logs_nothing(self):
        self.expect_never("support/message_parsing.h", "support/logging.h", "messages log nothing")
        self.expect_never("support/messages/files.cpp", "support/log/line.h", "messages log nothing")
        self.expect_never("support/file.cpp", "support/logging.h", "files log nothing")

    def test_numerics_know_no_lens(self):
        self.expect_never("support/numeric/zero.h", "support/lens/inverse.h", "numerics know no lens")
        self.expect_never("support/numeric/zero.h", "support/lens_distortion.h", "numerics know no lens")

    def test_cameras_know_no_base(self):
        self.expect_never("calibration_common/camera_parameters.cpp", "calibration_common/base_calibration_data.h",
                          "cameras know no base")

    def test_verbs_know_no_verb(self):
        self.expect_never("tools/diff/diff_command.cpp", "tools/show/image_size.h", "the verb diff knows no other verb")

    def test_nobody_knows_the_python_package(self):
        for path in ("support/file.cpp", "interop/reader.cpp", "tools/show.h"):
            self.expect_never(path, "python/bindings/camera.h", "nobody knows the Python package")

    def test_the_python_package_knows_no_tool_and_no_test(self):
        for included in ("tools/show.h", "testing/lenses.h", "tests/consumer.h"):
            self.expect_never("python/bindings/camera.cpp", included, "the Python package knows no tool and no test")

    def test_messages_know_no_code(self):
        self.expect_one("stored messages know no code", add={"proto/a.proto": 'import "support/file.proto";\n'})

    def test_public_headers_include_no_private_ones(self):
        self.expect_one("support/file.h includes support/log/line.h, which is not installed",
                        add={"support/file.h": '#include "log/line.h"\n'})
        self.expect_one("includes calibration_common/stored_pose.h, which is not installed",
                        add={"calibration_common/camera_parameters.h": '#include "stored_pose.h"\n'})

    def test_public_headers_name_each_other_beside_themselves(self):
        self.expect_one("support/file.h names support/ in an include",
                        add={"support/file.h": '#include "support/export.h"\n'})

    def test_tools_include_public_headers_alone(self):
        self.expect_one("tools/main.cpp includes calibration_common/stored_pose.h, which is not installed",
                        add={"tools/main.cpp": '#include "calibration_common/stored_pose.h"\n'})
        self.expect_one("tools/show.h includes support/numeric/zero.h, which is not installed",
                        add={"tools/show.h": '#include "support/numeric/zero.h"\n'})
        self.expect_one("python/bindings/camera.h includes support/numeric/zero.h, which is not installed",
                        add={"python/bindings/camera.h": '#include "support/numeric/zero.h"\n'})

    def test_circles(self):
        self.expect_one("a circle of includes: support/file -> support/log/line -> support/file",
                        add={"support/file.cpp": '#include "support/log/line.h"\n',
                             "support/log/line.h": '#include "support/file.h"\n'})
        self.expect_one("a circle of includes: tools/main -> tools/show -> tools/main",
                        add={"tools/show.cpp": '#include "tools/main.h"\n', "tools/main.h": ""})

    def test_a_library_file_has_at_most_300_lines(self):
        lines = TIDY["support/file.cpp"].count("\n")
        self.assertEqual(problems_with(add={"support/file.cpp": "\n" * (300 - lines)}), [])
        self.expect_one("support/file.cpp has 301 lines, more than 300",
                        add={"support/file.cpp": "\n" * (301 - lines)})
        self.assertEqual(problems_with(add={"tools/main.cpp": "\n" * 301}), [])
        self.expect_one("python/bindings/camera.cpp has 301 lines", add={"python/bindings/camera.cpp": "\n" * 300})

    def test_a_test_has_at_most_450_lines(self):
        self.assertEqual(problems_with(add={"tests/support/new_test.cpp": "\n" * 450}), [])
        self.expect_one("tests/support/new_test.cpp has 451 lines, more than 450",
                        add={"tests/support/new_test.cpp": "\n" * 451})

    def test_private_headers_declare_in_internal(self):
        self.expect_one("support/lens/new.h is private, but declares nothing in norv::internal",
                        add={"support/lens/new.h": "namespace norv::lens {\n}\n"})
        self.expect_one("support/lens/inverse.h is private, but declares in norv itself",
                        add={"support/lens/inverse.h": "namespace norv {\n}\n"})


if __name__ == "__main__":
    unittest.main()
