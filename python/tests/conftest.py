import os
import pathlib
import sys

import pytest

SOURCE = pathlib.Path(os.environ.get("OPRJ_SOURCE_DIR", pathlib.Path(__file__).parents[2]))


@pytest.fixture(autouse=True)
def doctest_names(doctest_namespace):
    import oprj

    doctest_namespace["oprj"] = oprj


@pytest.fixture
def run_python():
    """Runs a program in a process of its own and returns what it printed; fails when it fails."""
    import subprocess

    def run(program, environment=None, status=0):
        done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, timeout=120,
                              env={**os.environ, **(environment or {})})
        assert done.returncode == status, done.stderr
        return done.stdout + (done.stderr if status else "")

    return run
