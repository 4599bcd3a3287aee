"""Builds the C library by CMake and puts it into the package.

The sources are those of the repository around this folder, so a wheel can be built, and a source archive of this
folder alone cannot. Two variables of the environment change the build:

MIEN_CMAKE_BUILD    a build folder of the repository that CMake has configured; by default build/python
CMAKE_ARGS          more arguments for CMake, where the folder is not configured yet
"""

import os
import re
import shlex
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

PYTHON = Path(__file__).resolve().parent
ROOT = PYTHON.parent
OUT = ROOT / "build" / "python"  # everything that setuptools writes is kept out of the source tree


def version() -> str:
    cmake = ROOT / "CMakeLists.txt"
    if not cmake.is_file():
        raise SystemExit(f"{cmake} is missing: build mien's Python package inside mien's source tree")
    found = re.search(r"project\(mien VERSION ([0-9.]+)", cmake.read_text(encoding="utf-8"))
    if found is None:
        raise SystemExit(f"{cmake} states no version")
    return found[1]


def build_library() -> Path:
    """The library that the package carries: the solver and all else is inside."""
    build = os.environ.get("MIEN_CMAKE_BUILD")
    if not build:
        build = str(OUT / "cmake")
        subprocess.run(
            ["cmake", "-S", str(ROOT), "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
             "-DMIEN_BUILD_TESTS=OFF", "-DMIEN_BUILD_VIEWER=OFF", *shlex.split(os.environ.get("CMAKE_ARGS", ""))],
            check=True)
    subprocess.run(["cmake", "--build", build, "--target", "mien_host_c"], check=True)
    return Path(build) / "host" / "c_interface" / LIBRARY


class BuildWithLibrary(build_py):
    def run(self) -> None:
        super().run()
        if not self.dry_run:
            self.copy_file(str(build_library()), str(Path(self.build_lib) / "mien" / LIBRARY))


class WheelForAnyPython(bdist_wheel):
    """The library depends on the system, and not on the version of Python."""

    def get_tag(self) -> "tuple[str, str, str]":
        return ("py3", "none", super().get_tag()[2])


class WithLibrary(Distribution):
    def has_ext_modules(self) -> bool:
        return True  # so that the wheel belongs to this system


LIBRARY = "libmien_host.so"
OUT.mkdir(parents=True, exist_ok=True)
setup(
    version=version(),
    distclass=WithLibrary,
    cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": WheelForAnyPython},
    options={"build": {"build_base": str(OUT)}, "egg_info": {"egg_base": str(OUT)}},
)
