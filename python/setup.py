"""Builds the wheel: the compiled module by CMake, with the two libraries it needs beside it.

    pip wheel --no-build-isolation --no-deps python/

configures and builds the project's module in a tree of its own; with KESTRIX_BUILD_DIR set to a
configured build tree (build/release) it builds the module there instead, which is quick when the
tree is up to date.
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        temp = Path(self.build_temp).resolve()
        build = os.environ.get("KESTRIX_BUILD_DIR")
        if build:
            build = Path(build).resolve()
        else:
            build = temp / "cmake"
            subprocess.run(["cmake", "-S", str(ROOT), "-B", str(build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                            "-DKX_BUILD_TESTS=OFF", "-DKX_BUILD_BENCH=OFF", f"-DPython3_EXECUTABLE={sys.executable}"],
                           check=True)
        subprocess.run(["cmake", "--build", str(build), "--target", "kestrix-python", "-j",
                        os.environ.get("KX_JOBS", "2")], check=True)
        # The installed module looks for the libraries beside itself first.
        stage = temp / "stage"
        shutil.rmtree(stage, ignore_errors=True)
        subprocess.run(["cmake", "--install", str(build), "--component", "python", "--prefix", str(stage)],
                       check=True)
        module = next(stage.rglob("_kestrix*.so"))
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(module, target)
        for line in (build / "python" / "wheel-libraries.txt").read_text().splitlines():
            if line.strip():
                library, soname = line.split()
                shutil.copyfile(library, target.parent / soname)


setup(
    packages=["kestrix"],
    package_data={"kestrix": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("kestrix._kestrix", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
