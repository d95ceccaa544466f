"""The examples of the documentation, run."""

from __future__ import annotations

import doctest
import importlib.util
import os
import pathlib
import re
import unittest.mock

import numpy as np
import pytest

import readkit
import readkit.cluster
from conftest import SANITIZED

NOT_DRAWN_HERE = "the pictures were drawn by another version of matplotlib"
ROOT = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture
def in_folder(reads_bam, monkeypatch):
    monkeypatch.chdir(pathlib.Path(reads_bam).parent)
    with np.printoptions(precision=8, linewidth=75):
        yield


def test_the_examples_of_the_page_are_right(in_folder, request, monkeypatch):
    page = ROOT / "docs/python.md"
    if importlib.util.find_spec("distributed") is None or SANITIZED:
        # The section on clusters needs Dask; its own tests say so where it is missing.
        text = re.sub(r"(?ms)^## Many machines\n.*?(?=^## |\Z)", "", page.read_text())
        page = pathlib.Path("page.md")
        page.write_text(text)
    else:
        # The workers are there already.
        workers = request.getfixturevalue("machines").client
        one = readkit.cluster.Cluster
        monkeypatch.setattr(readkit.cluster, "Cluster", lambda **_: one(workers))
    failed, tried = doctest.testfile(str(page), module_relative=False)
    assert tried > 20 and failed == 0


def test_the_example_of_the_first_page_is_right(in_folder):
    failed, tried = doctest.testfile(str(ROOT / "README.md"), module_relative=False)
    assert tried >= 5 and failed == 0


def test_the_examples_of_the_how_to_pages_are_right(in_folder):
    pages = [page for page in sorted((ROOT / "docs/howto").glob("*.md"))
             if "\n>>> " in page.read_text(encoding="utf-8")]
    assert len(pages) >= 2
    for page in pages:
        failed, tried = doctest.testfile(str(page), module_relative=False)
        assert tried > 0 and failed == 0, page


@pytest.fixture
def drawing(monkeypatch):
    """Has matplotlib draw the same bytes each time."""
    matplotlib = pytest.importorskip("matplotlib")
    monkeypatch.setenv("SOURCE_DATE_EPOCH", "0")
    with matplotlib.rc_context({"backend": "Agg", "svg.hashsalt": "readkit", "svg.fonttype": "none"}):
        yield matplotlib
        from matplotlib import pyplot

        pyplot.close("all")


@pytest.mark.skipif(SANITIZED, reason="its examples are those of the other pages")
def test_the_tour_is_right_and_draws_its_pictures(in_folder, drawing):
    import simulated_reads

    with unittest.mock.patch("sys.argv", ["", "mixed.bam"]):
        simulated_reads.main()
    pathlib.Path("reads.bam").unlink()
    failed, tried = doctest.testfile(str(ROOT / "docs/python-tutorial.md"), module_relative=False)
    assert tried > 40 and failed == 0
    for name in ("quality", "fragments", "coverage"):
        committed = ROOT / f"docs/images/python-{name}.svg"
        drawn = pathlib.Path(f"{name}.svg").read_bytes()
        if "READKIT_DRAW" in os.environ:
            committed.write_bytes(drawn)
        if f"Matplotlib v{drawing.__version__}," not in committed.read_text():
            pytest.skip(NOT_DRAWN_HERE)
        assert drawn == committed.read_bytes(), f"{committed} shows something else"


def test_the_examples_of_the_modules_are_right(in_folder):
    failed, tried = doctest.testmod(readkit)
    assert tried > 3 and failed == 0
