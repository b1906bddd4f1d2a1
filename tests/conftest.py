"""What holds for all tests in Python."""

import pytest


def pytest_sessionfinish(session, exitstatus):
    """A skipped test hasn't shown anything: it doesn't count as passed."""
    reporter = session.config.pluginmanager.get_plugin("terminalreporter")
    if reporter and reporter.stats.get("skipped") and exitstatus == 0:
        session.exitstatus = pytest.ExitCode.TESTS_FAILED
