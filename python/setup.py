"""The version is in the tree's CMakeLists.txt and nowhere else; the rest is in pyproject.toml."""

import pathlib
import re

import setuptools

build = (pathlib.Path(__file__).resolve().parent.parent / "CMakeLists.txt").read_text()
version = re.search(r"^project\(zulbench VERSION ([0-9.]+)", build, re.MULTILINE)
setuptools.setup(version=version[1])
