"""The types that the package states, by mypy, and its stub against the module."""

from __future__ import annotations

import ast
import os
import pathlib
import subprocess
import sys

import pytest

import readkit
from conftest import SANITIZED
from readkit import _readkit

FOLDER = pathlib.Path(readkit.__file__).parent
# Large packages of which only a few names are used.
SETTINGS = """
[mypy]
[mypy-dask.*,distributed.*,matplotlib.*,pandas.*,tornado.*]
follow_imports = skip
"""


@pytest.mark.skipif(SANITIZED, reason="mypy has nothing to do with sanitizers")
def test_types_are_complete_and_agree_with_each_other(tmp_path):
    pytest.importorskip("mypy")
    settings = tmp_path / "settings"
    settings.write_text(SETTINGS)
    result = subprocess.run(
        [sys.executable, "-B", "-m", "mypy", "--strict", "--cache-dir", str(tmp_path),
         "--config-file", settings, "-p", "readkit"],
        capture_output=True, text=True, cwd=FOLDER.parent)
    assert result.returncode == 0, result.stdout + result.stderr


@pytest.mark.skipif(SANITIZED, reason="mypy has nothing to do with sanitizers")
def test_the_stub_describes_the_module(tmp_path):
    pytest.importorskip("mypy")
    # What every class of the extension module has, and no stub can say.
    allowed = tmp_path / "allowed"
    allowed.write_text("readkit._readkit.Library\nreadkit._readkit.TextColumn\n"
                       "readkit._readkit.TextColumn.__init__\n")
    settings = tmp_path / "settings"
    # Names and arguments are compared, not NumPy's types.
    settings.write_text("[mypy]\n[mypy-numpy.*]\nfollow_imports = skip\n")
    result = subprocess.run(
        [sys.executable, "-B", "-m", "mypy.stubtest", "readkit._readkit", "--allowlist", allowed,
         "--mypy-config-file", settings],
        capture_output=True, text=True, cwd=tmp_path,
        env={**os.environ, "PYTHONPATH": str(FOLDER.parent), "MYPYPATH": str(FOLDER.parent)})
    assert result.returncode == 0, result.stdout + result.stderr


def names_in(tree):
    return {node.name for node in tree.body if isinstance(node, (ast.FunctionDef, ast.ClassDef))} | {
        node.target.id for node in tree.body if isinstance(node, ast.AnnAssign)}


def test_the_stub_has_what_the_module_has():
    stub = ast.parse((FOLDER / "_readkit.pyi").read_text())
    public = {name for name in dir(_readkit) if not name.startswith("_")}
    assert {name for name in names_in(stub) if not name.startswith("_")} == public
    for node in stub.body:
        if isinstance(node, ast.ClassDef):
            there = {name for name, value in vars(getattr(_readkit, node.name)).items()
                     if not name.startswith("_") or name.startswith("__arrow")}
            stated = names_in(node)
            assert {name for name in stated if not name.startswith("__")
                    or name.startswith("__arrow")} == there
            assert all(hasattr(getattr(_readkit, node.name), name) for name in stated)
