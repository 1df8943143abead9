"""Fixtures of the system tests; see tests/support/ovo for the words that they give to a test. Tables of
the internet's size, and what requests cost, are what the benchmarks have.
"""

import os
import pathlib
import sys

import pytest

TESTS = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TESTS / "support"), str(TESTS.parent / "benchmarks")]

from ovo.router import Router  # noqa: E402

SKIPPED = 77
NO_TESTS = 5  # a file that is skipped as a whole


def _router():
    if os.geteuid() != 0:
        pytest.skip("needs root: a network namespace of its own")
    router = Router()
    try:
        yield router
    finally:
        router.close()


router = pytest.fixture(_router, name="router")
# One for all tests of a file, which leave it as it is.
still_router = pytest.fixture(_router, name="still_router", scope="module")


def pytest_sessionfinish(session, exitstatus):
    """A file with a skipped test shows as skipped in ctest, not as passed."""
    reporter = session.config.pluginmanager.get_plugin("terminalreporter")
    if exitstatus in (0, NO_TESTS) and reporter.stats.get("skipped"):
        session.exitstatus = SKIPPED
