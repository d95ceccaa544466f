"""The examples of the documentation, run."""

from __future__ import annotations

import doctest
import importlib.util
import pathlib
import re

import numpy as np
import pytest

import readkit
from conftest import SANITIZED

ROOT = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture
def in_folder(reads_bam, monkeypatch):
    monkeypatch.chdir(pathlib.Path(reads_bam).parent)
    with np.printoptions(precision=8, linewidth=75):
        yield


def test_the_examples_of_the_page_are_right(in_folder):
    page = ROOT / "docs/python.md"
    if importlib.util.find_spec("distributed") is None or SANITIZED:
        # The section on clusters needs Dask; cluster_test says so where it is missing.
        text = re.sub(r"(?ms)^## Many machines\n.*?(?=^## |\Z)", "", page.read_text())
        page = pathlib.Path("page.md")
        page.write_text(text)
    failed, tried = doctest.testfile(str(page), module_relative=False)
    assert tried > 20 and failed == 0


def test_the_examples_of_the_how_to_pages_are_right(in_folder):
    pages = [page for page in sorted((ROOT / "docs/howto").glob("*.md"))
             if "\n>>> " in page.read_text(encoding="utf-8")]
    assert len(pages) >= 2
    for page in pages:
        failed, tried = doctest.testfile(str(page), module_relative=False)
        assert tried > 0 and failed == 0, page


def test_the_examples_of_the_modules_are_right(in_folder):
    failed, tried = doctest.testmod(readkit)
    assert tried > 3 and failed == 0
