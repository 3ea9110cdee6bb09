"""Builds the wheel: CMake makes the whole package, as it also installs it.

KATESSEL_BUILD_FOLDER names a configured build folder to take it from; without one it is built anew, with the options in
CMAKE_ARGS.
"""
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

try:
    import pybind11
except ImportError:  # then CMake looks for the system's
    pybind11 = None

SOURCE = pathlib.Path(__file__).resolve().parent


def version() -> str:
    return re.search(r"project\(KaTessel VERSION ([0-9.]+)", (SOURCE / "CMakeLists.txt").read_text()).group(1)


def numpy() -> str:
    """The NumPy that modules made with this pybind11 run with."""
    known = pybind11.version_info[:2] if pybind11 and "KATESSEL_BUILD_FOLDER" not in os.environ else (0, 0)
    return "numpy>=1.20" if known >= (2, 12) else "numpy>=1.20,<2"


def configure(build: pathlib.Path) -> None:
    off = [f"-DKATESSEL_BUILD_{part}=OFF" for part in ("TOOL", "TESTS", "BENCHMARKS", "VAMP")]
    generator = ["-G", "Ninja"] if shutil.which("ninja") else []
    found = [f"-Dpybind11_DIR={pybind11.get_cmake_dir()}"] if pybind11 else []
    subprocess.run(["cmake", *generator, "-S", SOURCE, "-B", build, "-DCMAKE_BUILD_TYPE=Release", *off, *found,
                    f"-DKATESSEL_PYTHON={sys.executable}", *shlex.split(os.environ.get("CMAKE_ARGS", ""))], check=True)


class BuildWithCMake(build_ext):
    def build_extension(self, ext: Extension) -> None:
        given = os.environ.get("KATESSEL_BUILD_FOLDER")
        build = pathlib.Path(given or self.build_temp).resolve()
        if not given:
            configure(build)
        subprocess.run(["cmake", "--build", build, "--target", "katessel_python", "-j", str(os.cpu_count() or 1)],
                       check=True)
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve().parent
        target.mkdir(parents=True, exist_ok=True)
        for file in (build / "bindings" / "python" / "katessel").iterdir():
            if file.is_file():
                shutil.copy(file, target)


setup(version=version(), install_requires=[numpy()], ext_modules=[Extension("katessel.core", [])],
      cmdclass={"build_ext": BuildWithCMake})
