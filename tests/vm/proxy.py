#!/usr/bin/python3
"""A chassis in a virtual machine, for tests and scripts of the host that expect it in their own sandbox.

    proxy.py PLACE PROGRAM [ARG]...    runs a program of the system inside, with TIPC as its carrier

PLACE has the machine's broker and place.json. Run in a sandbox (../../docs/sandbox.md), the first call makes a sandbox inside
the machine that lasts as long as the one outside, and a mirror of what people and scripts look for: the sockets of operator
and simulation lead inside, the one of the SNMP master leads out, the daemon's log is copied out.
"""

import ctypes
import fcntl
import json
import os
import pathlib
import select
import signal
import socket
import sys
import termios
import threading
import time
import tty

from broker import Inside

PID_FILE = pathlib.Path("/run/vm-sandbox.pid")
LOCK_FILE = "/run/vm-sandbox.lock"
SOCKETS = ("/var/run/gpon.vty", "/var/run/chassis-sim.ctl")
MASTER = "/var/agentx/master"
LOG = "/tmp/product/gpon.log"
PASSED_ON = ("TERM", "XDG_STATE_HOME", "OV_", "GPON_", "HOME", "TZ", "LC_", "NO_COLOR")


class Place:
    """What the runner left for us: where programs are, inside, and their environment."""

    def __init__(self, directory):
        self.directory = directory
        told = json.loads((pathlib.Path(directory) / "place.json").read_text())
        self.bin = told["bin"]
        self.tool = told["tool"]
        self.keep = told["keep"]
        self.path = f"{self.bin}:{told['path']}"
        self.carrier = told["carrier"]

    def env(self):
        kept = {name: value for name, value in os.environ.items() if name.startswith(PASSED_ON)}
        return {**kept, "PATH": self.path, "OV_IPC_CARRIER": os.environ.get("GPON_VM_CARRIER", self.carrier)}

    def inside(self, *argv, pty=False):
        return Inside(self.directory, argv, self.env(), pty, os.getcwd())

    def in_sandbox(self, *argv, pty=False):
        return self.inside(f"{self.bin}/gpon-sandbox", "--enter", PID_FILE.read_text(), "--", *argv, pty=pty)


# ---- the mirror ------------------------------------------------------------------------------------------------------


def copy_in(sock, program):
    """From a socket outside to a program inside."""
    try:
        while data := sock.recv(65536):
            program.tell("I", data)
    except OSError:
        pass
    program.tell("I")


def copy_out(program, sock):
    try:
        for kind, data in program.events():
            if kind == "O":
                sock.sendall(data)
    except OSError:
        pass
    for end in (sock, program.sock):
        try:
            end.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        end.close()


def join(sock, program):
    threading.Thread(target=copy_in, args=(sock, program), daemon=True).start()
    copy_out(program, sock)


class Door:
    """A socket outside that leads to the one of the same path inside, for as long as that is there."""

    def __init__(self, place, path):
        self._place = place
        self._path = path
        self._listener = None

    def open(self):
        self.close()
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(self._path)
        self._listener.listen(64)
        threading.Thread(target=self._serve, args=(self._listener,), daemon=True).start()

    def close(self):
        pathlib.Path(self._path).unlink(missing_ok=True)
        if self._listener:
            self._listener.shutdown(socket.SHUT_RDWR)
            self._listener.close()
            self._listener = None

    def _serve(self, listener):
        while True:
            try:
                sock, _ = listener.accept()
            except OSError:
                return
            program = self._place.in_sandbox(self._place.tool, "connect", self._path)
            threading.Thread(target=join, args=(sock, program), daemon=True).start()


def keep_doors(place):
    doors = {path: Door(place, path) for path in SOCKETS}
    pending = b""
    for kind, data in place.in_sandbox(place.tool, "watch", *SOCKETS).events():
        pending += data if kind == "O" else b""
        *lines, pending = pending.split(b"\n")
        for line in lines:
            sign, path = line.decode().split(" ", 1)
            doors[path].open() if sign == "+" else doors[path].close()


def keep_log(place):
    os.makedirs(os.path.dirname(LOG), exist_ok=True)
    with open(LOG, "ab", buffering=0) as log:
        for kind, data in place.in_sandbox(place.tool, "follow", LOG).events():
            if kind == "O":
                log.write(data)


def keep_master(place):
    """The daemon finds a master agent inside while there is one outside."""
    while True:
        if not os.path.exists(MASTER):
            time.sleep(0.05)
            continue
        program = place.in_sandbox(place.tool, "accept", MASTER)
        events = program.events()
        first = next(events, None)
        if first is None or first[0] != "O":
            time.sleep(0.05)
            continue
        sock = socket.socket(socket.AF_UNIX)
        try:
            sock.connect(MASTER)
            sock.sendall(first[1])
        except OSError:
            program.close()
            continue
        threading.Thread(target=join, args=(sock, program), daemon=True).start()


def mirror(place, ready):
    """Holds the sandbox inside, and mirrors; never returns."""
    binds = [word for path in place.keep for word in ("--bind", path)]
    holder = place.inside(f"{place.bin}/gpon-sandbox", "--hold", *binds)
    for kind, data in holder.events():
        if kind == "O" and data.strip():
            PID_FILE.write_text(data.decode().strip())
            break
        print(f"no sandbox in the virtual machine: {data.decode()}", file=sys.stderr)
        os._exit(125)
    for keep in (keep_doors, keep_log, keep_master):
        threading.Thread(target=keep, args=(place,), daemon=True).start()
    os.write(ready, b"x")
    os.close(ready)
    for _ in holder.events():
        pass
    os._exit(0)


def ensure_mirror(place):
    with open(LOCK_FILE, "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if PID_FILE.exists():
            return
        told, ready = os.pipe()
        if os.fork() == 0:
            os.close(told)
            os.setsid()
            signal.signal(signal.SIGINT, signal.SIG_IGN)
            lock.close()
            null = os.open(os.devnull, os.O_RDWR)
            os.dup2(null, 0)
            os.dup2(null, 1)
            mirror(place, ready)
        os.close(ready)
        if not os.read(told, 1):
            sys.exit(125)


# ---- one program -----------------------------------------------------------------------------------------------------


def put_files(place, words):
    """Files of the sandbox outside that a program is told to read."""
    for flag, path in zip(words, words[1:]):
        if flag in ("--scenario", "-f") and os.path.isfile(path) and path.startswith("/tmp/"):
            place.in_sandbox(place.tool, "put", path).run(pathlib.Path(path).read_bytes() or b"\n")


def pass_signals(program):
    for signo in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGUSR1, signal.SIGUSR2, signal.SIGQUIT):
        signal.signal(signo, lambda number, _: program.tell("K", str(number).encode()))


def feed(program):
    while select.select([0], [], []) and (data := os.read(0, 65536)):
        program.tell("I", data)
    program.tell("I")


def run(place, words):
    ctypes.CDLL(None).prctl(15, words[0].encode(), 0, 0, 0)  # its name, for whoever looks for it
    put_files(place, words)
    terminal = os.isatty(0) and os.isatty(1)
    before = termios.tcgetattr(0) if terminal else None
    if terminal:
        tty.setraw(0)
    program = place.in_sandbox(f"{place.bin}/{words[0]}", *words[1:], pty=terminal)
    pass_signals(program)
    threading.Thread(target=feed, args=(program,), daemon=True).start()
    status = 125
    for kind, data in program.events():
        if kind == "X":
            status = int(data)
        else:
            os.write(1 if kind == "O" else 2, data)
    if terminal:
        termios.tcsetattr(0, termios.TCSADRAIN, before)
    if words[0] == "gpon":
        pathlib.Path(SOCKETS[0]).unlink(missing_ok=True)  # nobody serves it any more
    return status


def main():
    place = Place(sys.argv[1])
    ensure_mirror(place)
    status = run(place, sys.argv[2:])
    if status < 0:  # end as it did
        signal.signal(-status, signal.SIG_DFL)
        os.kill(os.getpid(), -status)
    os._exit(status)


if __name__ == "__main__":
    main()
