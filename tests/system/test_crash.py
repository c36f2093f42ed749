"""A daemon that crashed says so when it is started again."""

import signal

import pytest

TOLD = "The last run ended by a crash: see /app/crash/crash00.log"


@pytest.mark.parametrize("signo", [signal.SIGABRT, signal.SIGSEGV])
def test_the_start_after_a_crash_tells_where_the_report_is(chassis, signo):
    chassis.start()
    chassis.start_daemon()
    chassis.signal_daemon(signo)
    chassis.wait_daemon_exit()
    report = chassis.read("/app/crash/crash00.log")
    assert "divide error" not in report
    assert "exception: none" in report  # a signal by hand is none of the processor's
    assert not chassis.log_lines(TOLD)

    chassis.start_daemon()
    assert len(chassis.wait_log(TOLD)) == 1
    chassis.kill_daemon()
    chassis.start_daemon()
    assert len(chassis.log_lines(TOLD)) == 1  # a kill is no crash
