"""The wheel: module and libraries side by side. Run where `make` has put them together."""
import re
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from wheel.bdist_wheel import bdist_wheel

here = Path(__file__).parent
libraries = sorted(here.glob("trvil/*.so*"))

DESCRIPTION = """\
Raw pictures of cameras and frame grabbers as NumPy arrays: conversion between 74 pixel formats, packings of GenICam,
MIPI and Video4Linux, demosaicing at 8 and 16 bits, developing by dark and flat fields, frames from fields, TIFF files.

The libraries, written in C++ behind a C interface, are inside: nothing is compiled when this is installed.

No licence has been chosen yet. Until one is, nobody has permission to copy, change or pass on this software beyond
what the law allows anyway.
"""


def oldest_glibc():
    """Of the versions that the libraries ask for, the highest: older systems do not load them."""
    versions = subprocess.run(["readelf", "-V", "-W", *libraries], check=True, capture_output=True, text=True).stdout
    return max(tuple(map(int, found)) for found in re.findall(r"GLIBC_(\d+)\.(\d+)", versions))


class PlatformWheel(bdist_wheel):
    """For any Python 3, as nothing is compiled for one, on systems that load the libraries."""

    def get_tag(self):
        return "py3", "none", "manylinux_{}_{}_x86_64".format(*oldest_glibc())


class PlatformDistribution(Distribution):
    def has_ext_modules(self):
        return True


setup(
    name="trvil",
    version=re.search(r"^VERSION = '(.*)'$", (here / "trvil/_constants.py").read_text(), re.M).group(1),
    description="image processing for frame grabbers and cameras",
    long_description=DESCRIPTION,
    long_description_content_type="text/plain",
    license="none has been chosen yet",
    classifiers=["Private :: Do Not Upload", "Operating System :: POSIX :: Linux", "Programming Language :: Python :: 3",
                 "Topic :: Multimedia :: Graphics :: Graphics Conversion", "Typing :: Typed"],
    python_requires=">=3.9",
    install_requires=["numpy>=1.22"],
    packages=["trvil"],
    package_data={"trvil": ["py.typed", *(library.name for library in libraries)]},
    zip_safe=False,
    cmdclass={"bdist_wheel": PlatformWheel},
    distclass=PlatformDistribution,
)
