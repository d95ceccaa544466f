"""The wheel of the package, built by the project's CMake files:

    /usr/bin/python3 -m pip wheel --no-build-isolation --no-index --no-deps python/

needs the packages of scripts/install-dependencies, and python3-skbuild.
"""

import pathlib
import re
import sys

from skbuild import setup

CMAKE_FILE = pathlib.Path(__file__).resolve().parent.parent / "CMakeLists.txt"
VERSION = re.search(r"project\(readkit VERSION ([\d.]+)", CMAKE_FILE.read_text()).group(1)

setup(
    name="readkit",
    version=VERSION,
    description="Alignment files (SAM, BAM, FASTQ) as arrays",
    license="MIT",
    packages=["readkit", "readkit.cluster"],
    package_data={"readkit": ["py.typed", "*.pyi"]},
    include_package_data=False,
    python_requires=">=3.9",
    install_requires=["numpy"],
    cmake_source_dir="..",
    cmake_args=[
        # As the release preset.
        "-DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON",
        "-DREADKIT_BUILD_TESTS=OFF",
        "-DREADKIT_BUILD_PYTHON=ON",
        "-DREADKIT_WHEEL=ON",
        f"-DREADKIT_PYTHON={sys.executable}",
    ],
    cmake_install_target="install",
)
