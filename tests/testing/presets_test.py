"""Users' presets neither stop at warnings nor sanitize; developers' presets stop at warnings."""

import json
import pathlib
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
USERS = {"release", "demo"}


def settings():
    """Cache variables of each preset that can be chosen, those that it inherits included."""
    presets = json.loads((ROOT / "CMakePresets.json").read_text(encoding="utf-8"))["configurePresets"]
    by_name = {preset["name"]: preset for preset in presets}

    def of(name):
        parent = by_name[name].get("inherits")
        return {**(of(parent) if parent else {}), **by_name[name].get("cacheVariables", {})}

    return {preset["name"]: of(preset["name"]) for preset in presets if not preset.get("hidden")}


class Presets(unittest.TestCase):
    def test_only_developers_stop_at_warnings(self):
        stops = {name for name, variables in settings().items() if variables.get("CAMERA_PARAMETERS_WERROR") == "ON"}
        self.assertEqual(stops, set(settings()) - USERS)
        self.assertRegex((ROOT / "CMakeLists.txt").read_text(encoding="utf-8"),
                         r'option\(CAMERA_PARAMETERS_WERROR "[^"]+" OFF\)')

    def test_nobody_needs_a_launcher(self):
        for name, variables in settings().items():
            self.assertNotIn("CMAKE_CXX_COMPILER_LAUNCHER", variables, name)

    def test_users_get_release_without_instrumentation(self):
        for name in USERS:
            variables = settings()[name]
            self.assertEqual(variables["CMAKE_BUILD_TYPE"], "Release", name)
            self.assertNotIn("CAMERA_PARAMETERS_SANITIZERS", variables, name)
            self.assertNotIn("CMAKE_CXX_FLAGS", variables, name)


if __name__ == "__main__":
    unittest.main()
