"""Builds the Python module orvel for the Python running the build (pip, in any virtual
environment): the compiled part orvel._orvel from python/*.cc with pybind11's helpers,
linked with the static library.

The library comes from a CMake build tree: the one ORVEL_BUILD_DIR names (already built, as
the project's tests use it), or else one this build makes under build/python-library (only
the static library is built there; the first time takes a few minutes)."""

import os
import pathlib
import re
import shlex
import subprocess

from pybind11.setup_helpers import Pybind11Extension, build_ext
from setuptools import setup

ROOT = pathlib.Path(__file__).parent.resolve()
DEPENDENCIES = ["icu-uc", "icu-i18n", "zlib", "liburiparser", "libarchive"]


def version():
    text = (ROOT / "CMakeLists.txt").read_text()
    return re.search(r"project\(ORVELfoundation VERSION ([0-9.]+)", text).group(1)


def library_build():
    """A CMake build tree holding the static library, built here when none is named."""
    named = os.environ.get("ORVEL_BUILD_DIR")
    if named:
        return pathlib.Path(named).resolve()
    tree = ROOT / "build" / "python-library"
    if not (tree / "CMakeCache.txt").exists():
        subprocess.run(
            ["cmake", "-S", str(ROOT), "-B", str(tree), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
             "-DORVEL_BUILD_TESTS=OFF"],
            check=True,
        )
    subprocess.run(["cmake", "--build", str(tree), "--target", "orvelfoundation_static"], check=True)
    return tree


class BuildWithLibrary(build_ext):
    """Finds (or builds) the library before the module is compiled against it."""

    def run(self):
        tree = library_build()
        archive = tree / "orvel" / "liborvelfoundation.a"
        if not archive.exists():
            raise SystemExit(f"orvel: {archive}: no static library in the build tree")
        flags = subprocess.run(
            ["pkg-config", "--libs", *DEPENDENCIES], check=True, capture_output=True, text=True
        ).stdout
        for extension in self.extensions:
            extension.include_dirs += [str(ROOT), str(tree / "include")]
            extension.extra_objects.append(str(archive))
            extension.extra_link_args += shlex.split(flags)
        super().run()


setup(
    version=version(),
    ext_modules=[
        Pybind11Extension(
            "orvel._orvel",
            sorted(str(path.relative_to(ROOT)) for path in (ROOT / "python").glob("*.cc")),
            cxx_std=20,
        )
    ],
    cmdclass={"build_ext": BuildWithLibrary},
    # Intermediate files stay in the build folder, out of the source tree.
    options={
        "build": {"build_base": str(ROOT / "build" / "python-setuptools")},
        "egg_info": {"egg_base": str(ROOT / "build")},
    },
)
