"""Fixtures of the system tests."""

import subprocess

import pytest

pytest.register_assert_rewrite("wire_card")  # its checks shall show what they compare

from chassis import Chassis, ChassisError, program


@pytest.fixture(scope="session", autouse=True)
def sandbox_works():
    """Without sandboxes nothing here can run: say why and stop, instead of failing test by test."""
    try:
        made = subprocess.run([program("gpon-sandbox"), "true"], capture_output=True, text=True, timeout=30)
    except ChassisError as error:
        pytest.exit(str(error), returncode=1)
    if made.returncode != 0:
        pytest.exit(f"system tests need a sandbox, and none can be made here:\n{made.stderr}", returncode=1)


@pytest.hookimpl(tryfirst=True, hookwrapper=True)
def pytest_runtest_makereport(item, call):
    outcome = yield
    if call.when == "call":
        item.failed_in_call = outcome.get_result().failed


@pytest.fixture
def chassis(request, tmp_path):
    """A chassis for this test; call start() and start_daemon(). A failed test shows what ran in it."""
    made = Chassis(tmp_path)
    try:
        yield made
        if getattr(request.node, "failed_in_call", True):
            print(made.report())
        if made.sandbox:
            assert not made.log_lines("isn't on the event loop's thread")
    finally:
        made.close()
