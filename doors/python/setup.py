# Builds the Python package: the extension, the library that it stands on beside it, and the stubs, which the built
# module writes itself from the library's list of effects.
#
# There is no pyproject.toml, so that pip needs neither a network nor --no-build-isolation; with that option it works too.
#
#     VELMORANT_LIBRARY=DIR   where libvelmorant.so and the module are; build/release/bin of this tree without it
#     VELMORANT_BUNDLE=0      for a library that is installed: nothing is copied beside the extension
#     VELMORANT_BUNDLE=system the same, for one that the loader finds by itself
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pybind11
from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
LIBRARY = Path(os.environ.get("VELMORANT_LIBRARY", ROOT / "build" / "release" / "bin"))
BUNDLE = os.environ.get("VELMORANT_BUNDLE", "1") not in ("0", "system")
SYSTEM = os.environ.get("VELMORANT_BUNDLE") == "system"
VERSION = re.search(r"^project\(.* VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE).group(1)
BUNDLED = ("libvelmorant.so.1", "VLMEFF.so", "libVLMAPI.so", "libVLMMISC.so")

# What building leaves stands with the rest of what is built, not among the sources.
PLACE = ROOT / "build" / "python-package"
PLACE.mkdir(parents=True, exist_ok=True)
os.chdir(HERE)


class BuildWithLibrary(build_ext):
    def run(self):
        if not (LIBRARY / "libvelmorant.so").exists():
            sys.exit(f"velmorant: {LIBRARY}: libvelmorant.so is not there; build it first: "
                     "cmake --preset release && cmake --build --preset release --target libvelmorant")
        super().run()
        package = Path(self.get_ext_fullpath("velmorant._native")).parent
        if BUNDLE:
            for name in BUNDLED:
                shutil.copyfile(LIBRARY / name, package / name)   # what links point to, under the name that is asked for
        environment = dict(os.environ, PYTHONPATH=str(package.parent))
        subprocess.run([sys.executable, "-m", "velmorant._stubs", str(package / "__init__.pyi")], check=True,
                       env=environment, cwd=package.parent)


flags = ["-std=c++20", "-O2", *["-g0"] * (not SYSTEM), "-fvisibility=hidden", "-Wall", "-Wextra", "-Wshadow", "-Werror",
         "-isystem", pybind11.get_include()]
extension = Extension(
    "velmorant._native",
    sources=[f"native/{name}.cpp" for name in ("calls", "catalogue", "module", "picture", "recipes", "run")],
    depends=["native/calls.h", str(ROOT / "host" / "library" / "velmorant.h")],
    include_dirs=[str(ROOT)],
    library_dirs=[str(LIBRARY)],
    libraries=["velmorant"],
    extra_compile_args=flags,
    extra_link_args=[] if SYSTEM else [f"-Wl,-rpath,{'$ORIGIN' if BUNDLE else LIBRARY}"],
    language="c++",
)

setup(
    name="velmorant",
    version=VERSION,
    description="Effects for retouching and distorting pictures, on numpy arrays, Pillow images and files",
    license="MIT",
    python_requires=">=3.11",
    packages=["velmorant"],
    package_dir={"": "package"},   # apart: what runs in this folder is to find the package that is installed
    package_data={"velmorant": ["py.typed"]},
    ext_modules=[extension],
    cmdclass={"build_ext": BuildWithLibrary},
    options={"build": {"build_base": str(PLACE)}, "egg_info": {"egg_base": str(PLACE)},
             "bdist_wheel": {"bdist_dir": str(PLACE / "wheel")}},
    extras_require={"arrays": ["numpy"], "images": ["Pillow"], "many": ["distributed", "fsspec"]},
    zip_safe=False,
)
