"""Packs the package into a wheel for the interpreter that runs this."""

import argparse
import pathlib
import shutil
import subprocess
import sys
import sysconfig


def tag():
    """Which interpreters and machines the extension module is for, like cp311-cp311-linux_x86_64.

    The module uses CPython's full interface, so that the ABI is that of one version.
    """
    interpreter = f"cp{sys.version_info.major}{sys.version_info.minor}"
    abi = "cp" + sysconfig.get_config_var("SOABI").split("-")[1]
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    return f"{interpreter}-{abi}-{platform}"


def version_of(metadata):
    """The line of the metadata that says it."""
    lines = metadata.read_text(encoding="utf-8").splitlines()
    return next(line.split()[1] for line in lines if line.startswith("Version:"))


def stage(arguments):
    """Lays out what the wheel holds. RECORD, the list of files and their hashes, is written as it is packed."""
    shutil.rmtree(arguments.stage, ignore_errors=True)
    package = arguments.stage / "camera_parameters"
    shutil.copytree(arguments.package, package, ignore=shutil.ignore_patterns("__pycache__", ".*", "*~"))
    shutil.copy2(arguments.module, package)
    information = arguments.stage / f"camera_parameters-{version_of(arguments.metadata)}.dist-info"
    information.mkdir()
    shutil.copy2(arguments.metadata, information / "METADATA")
    shutil.copy2(arguments.licence, information / "LICENSE")
    (information / "WHEEL").write_text(
        f"Wheel-Version: 1.0\nGenerator: make_wheel.py\nRoot-Is-Purelib: false\nTag: {tag()}\n", encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("package", "module", "metadata", "licence", "stage", "output"):
        parser.add_argument(f"--{name}", type=pathlib.Path, required=True)
    arguments = parser.parse_args()
    stage(arguments)
    arguments.output.mkdir(parents=True, exist_ok=True)
    packed = subprocess.run([sys.executable, "-m", "wheel", "pack", arguments.stage, "--dest-dir", arguments.output],
                            check=False)
    if packed.returncode != 0:
        sys.exit("No wheel was packed: is Debian's python3-wheel installed (scripts/install-packages python-test)?")


if __name__ == "__main__":
    main()
