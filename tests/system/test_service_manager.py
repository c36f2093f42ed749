"""The daemon under a service manager: readiness, signs of life, a socket of its own; and nothing of it without one."""

import socket

from chassis import Vty

SOCKET = "/run/notify"


def service_manager(chassis):
    """The manager's socket; reads wait for 20 seconds."""
    made = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    made.bind(str(chassis.path(SOCKET)))
    made.settimeout(20)
    return made


def test_a_manager_is_told(chassis):
    chassis.start("monitor on\n")  # mono_ready is 0
    with service_manager(chassis) as manager:
        chassis.start_daemon(wait=False, env={"NOTIFY_SOCKET": SOCKET, "WATCHDOG_USEC": "100000"})
        assert manager.recv(1000) == b"STATUS=Waiting for the system controller"
        chassis.simctl("mono-ready", "1")
        assert manager.recv(1000) == b"READY=1\nSTATUS=In service"
        assert chassis.vty_is_up()
        assert [manager.recv(1000) for _ in range(5)] == [b"WATCHDOG=1"] * 5


def test_a_manager_that_does_not_watch_hears_of_readiness_alone(chassis):
    chassis.start()
    with service_manager(chassis) as manager:
        chassis.start_daemon(env={"NOTIFY_SOCKET": SOCKET})
        manager.settimeout(0.5)
        told = []
        try:
            while True:
                told.append(manager.recv(1000))
        except TimeoutError:
            pass
        assert told[-1].startswith(b"READY=1")  # nobody watches: no more than that


def test_without_a_manager_nothing_is_sent(chassis):
    chassis.start()
    chassis.start_daemon(strace=True)
    assert chassis.strace_lines(r"gpon\.vty")  # sockets are seen
    assert not chassis.strace_lines("READY=1|WATCHDOG=1|STATUS=")


def test_a_socket_of_its_own(chassis):
    """Who may not write to /var/run has the operators' socket elsewhere."""
    chassis.start()
    chassis.run("mkdir", "/run/gpon", check=True)
    chassis.start_daemon(wait=False, env={"GPON_VTY_SOCKET": "/run/gpon/gpon.vty"})
    chassis.wait_for(lambda: chassis.exists("/run/gpon/gpon.vty"), 20, "the socket")
    with Vty(str(chassis.path("/run/gpon/gpon.vty"))) as session:
        assert "gpon 6.1" in session("show version")
    assert not chassis.exists("/var/run/gpon.vty")
