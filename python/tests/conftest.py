"""What the tests share: the echo library, real files, and built ones."""

from __future__ import annotations

import os
import pathlib
import sys

import pytest
from hypothesis import settings

# The same examples each time; HYPOTHESIS_RANDOM in the environment asks for others.
settings.register_profile("readkit", deadline=None, database=None,
                          derandomize="HYPOTHESIS_RANDOM" not in os.environ)
settings.load_profile("readkit")

#: Whether the library is slow, and memory is kept from being used again.
SANITIZED = "READKIT_SANITIZED" in os.environ

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "examples"))

# Fixtures that several modules of tests use.
pytest.register_assert_rewrite("cluster_support")
from cluster_support import by_windows_only, machines, some_files, two_workers  # noqa: E402, F401


@pytest.fixture(scope="session")
def echo():
    """call(*inputs, nargout=1) of a function that gives back its inputs."""
    from readkit import _readkit

    path = os.environ.get("READKIT_ECHO_LIBRARY", "")
    if not os.path.exists(path):
        pytest.skip("READKIT_ECHO_LIBRARY names no library")
    library = _readkit.Library(path)

    def call(*inputs, nargout=1):
        outputs = library.call("echo", inputs, nargout)
        return outputs[0] if nargout == 1 else outputs

    return call


@pytest.fixture
def reads_bam(tmp_path):
    """The small file of the examples."""
    import sam_to_bam

    path = tmp_path / "reads.bam"
    path.write_bytes(sam_to_bam.to_bam((SOURCE / "examples/reads.sam").read_text()))
    return str(path)


def real_files(pattern):
    """Real files, or one parameter that skips itself."""
    folder = os.environ.get("READKIT_TEST_DATA") or SOURCE.parent / "shared/data"
    most = int(os.environ.get("READKIT_TEST_DATA_MOST_BYTES", 1 << 20))
    found = [path for path in sorted(pathlib.Path(folder).glob(pattern))
             if path.stat().st_size <= most]
    if found:
        return [pytest.param(str(path), id=path.name) for path in found]
    return [pytest.param(None, marks=pytest.mark.skip(reason="READKIT_TEST_DATA has no such files"))]
