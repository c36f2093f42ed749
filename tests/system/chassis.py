"""A chassis for one test: a sandbox of its own, the simulated chassis and the real daemon in it.

    def test_show_version(chassis):
        chassis.start()
        chassis.start_daemon()
        assert "6.1" in chassis.vty("show version")
        chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
        chassis.simctl("event", "slot-active", "slot_id=1")

Everything runs in network, mount and process namespaces of its own (see docs/sandbox.md), so any number of
tests may run at once. Paths given to these methods are those inside the sandbox.

Environment:
    GPON_BUILD_DIR   build directory whose bin/ is tested; build/dev of the repository by default
    GPON_CACHE_DIR   where libfrr was built, when not below ~/.cache
"""

import ctypes
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import time
import urllib.parse

REPO = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("GPON_BUILD_DIR", REPO / "build" / "dev")).resolve()
BIN = BUILD / "bin"
SINGLE_BOARD = REPO / "sim" / "scenarios" / "single-board.scn"

#: Programs of the coverage preset write their counts at this signal and kill themselves (tests/coverage).
KILL = signal.SIGRTMAX if BUILD.name == "coverage" else signal.SIGKILL

#: A controller that is ready and does nothing of its own accord.
QUIET_SCENARIO = "mono-ready 1\n"

VTY_SOCKET = "/var/run/gpon.vty"
PID_FILE = "/var/run/gpon.pid"
LOG_FILE = "/tmp/product/gpon.log"
CONTROL_SOCKET = "/var/run/chassis-sim.ctl"
STRACE_FILE = "/tmp/gpon.strace"
SNMPD_CONF_FILE = "/tmp/snmpd.conf"
AGENTX_SOCKET = "/var/agentx/master"

#: A master agent on loopback that takes subagents and lets "private" do everything.
SNMPD_CONF = """
agentAddress udp:127.0.0.1:161
rwcommunity private 127.0.0.1
master agentx
"""


class ChassisError(AssertionError):
    """Something of the chassis didn't come up or went wrong; the text says what."""


class SimctlError(ChassisError):
    """The simulated chassis answered a command with an error; reason is its text, lines are what stood above it."""

    def __init__(self, command, reason, lines=()):
        super().__init__(f"simctl {command}: {reason}")
        self.reason, self.lines = reason, list(lines)


class VtyReply(str):
    """What a command printed; result is the daemon's result byte (0: success, 1: warning, ...)."""

    result = 0


def program_places():
    """Directories that the programs need, which may lie where a sandbox has an empty one."""
    caches = [os.environ.get(name) for name in ("GPON_CACHE_DIR", "XDG_CACHE_HOME")]
    return [REPO, BUILD, *(path for path in caches if path and os.path.isdir(path))]


def wait_for(predicate, timeout=10.0, what=None, interval=0.005):
    """Calls predicate until it gives something true, which is returned. Fails after timeout seconds."""
    deadline = time.monotonic() + timeout
    while True:
        value = predicate()
        if value:
            return value
        if time.monotonic() >= deadline:
            name = what or getattr(predicate, "__name__", "the condition")
            raise ChassisError(f"{name}: not within {timeout:g} s")
        time.sleep(interval)


def parse_record(line):
    """A record's line as a dictionary of texts."""
    return {key: urllib.parse.unquote(value) for key, value in (word.split("=", 1) for word in line.split())}


def program(name):
    path = BIN / name
    if not path.exists():
        raise ChassisError(f"{path} doesn't exist: build it, or set GPON_BUILD_DIR")
    return str(path)


class Vty:
    """One session on the daemon's operator socket; keeps its node from one command to the next.

    A command goes out as a line ended by NUL; the answer is its text, three NUL bytes and a result byte.
    """

    def __init__(self, path, timeout=10.0, enable=True):
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.settimeout(timeout)
        self._socket.connect(path)
        if enable:
            self("enable")

    def __call__(self, command):
        self._socket.sendall(command.encode() + b"\0")
        data = b""
        while True:
            end = data.find(b"\0\0\0")
            if end >= 0 and len(data) >= end + 4:
                reply = VtyReply(data[:end].decode(errors="replace"))
                reply.result = data[end + 3]
                return reply
            try:
                more = self._socket.recv(65536)
            except socket.timeout:
                raise ChassisError(f'vty "{command}": no complete answer; so far {data!r}') from None
            if not more:
                raise ChassisError(f'vty "{command}": the daemon closed the session; so far {data!r}')
            data += more

    def close(self):
        self._socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


class Sandbox:
    """A held sandbox. init is the pid, on the machine, of its first process."""

    def __init__(self, binds=()):
        command = [program("gpon-sandbox"), "--hold"]
        for path in binds:
            command += ["--bind", str(path)]
        self._launcher = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True
        )
        line = self._launcher.stdout.readline()
        if not line:
            self._launcher.wait()
            raise ChassisError("the sandbox can't be made:\n" + self._launcher.stderr.read())
        self.init = int(line)
        self._space = os.readlink(f"/proc/{self.init}/ns/pid")

    @property
    def launcher(self):
        return self._launcher

    def command(self, *argv):
        """The command line that runs argv inside."""
        return [program("gpon-sandbox"), "--enter", str(self.init), "--", *map(str, argv)]

    def run(self, *argv, **kwargs):
        """subprocess.run of a command inside, with its output as text."""
        kwargs.setdefault("timeout", 30)
        return subprocess.run(self.command(*argv), capture_output=True, text=True, **kwargs)

    def path(self, inside):
        """The machine's path for a path inside. Links are followed inside, also absolute ones; the last
        part needn't exist."""
        root = f"/proc/{self.init}/root"
        done = []
        todo = [part for part in str(inside).split("/") if part]
        links = 0
        while todo:
            part = todo.pop(0)
            if part == ".":
                continue
            if part == "..":
                done = done[:-1]
                continue
            here = "/".join([root, *done, part])
            if not os.path.islink(here):
                done.append(part)
                continue
            links += 1
            if links > 40:
                raise ChassisError(f"{inside}: too many links")
            target = os.readlink(here)
            if target.startswith("/"):
                done = []
            todo = [p for p in target.split("/") if p] + todo
        return pathlib.Path("/".join([root, *done]))

    def processes(self, name=None):
        """Processes inside, by their pid on the machine: {pid: (pid inside, name)}. Of a name: without their children,
        which bear it too until they become the program that they are to run."""
        found = {}
        parents = {}
        for entry in os.listdir("/proc"):
            if not entry.isdigit():
                continue
            try:
                if os.readlink(f"/proc/{entry}/ns/pid") != self._space:
                    continue
                status = pathlib.Path(f"/proc/{entry}/status").read_text()
                threads = len(os.listdir(f"/proc/{entry}/task"))
            except OSError:
                continue  # it ended, or isn't ours
            fields = dict(line.split(":\t", 1) for line in status.splitlines() if ":\t" in line)
            # A process whose first thread has ended holds its sockets until the last one has.
            if (fields["State"].startswith("Z") and threads <= 1) or (name and fields["Name"] != name[:15]):
                continue
            found[int(entry)] = (int(fields["NSpid"].split()[-1]), fields["Name"])
            parents[int(entry)] = int(fields["PPid"])
        return {pid: what for pid, what in found.items() if not name or parents[pid] not in found}

    def close(self):
        """Ends everything inside."""
        if self._launcher.poll() is None:
            if KILL != signal.SIGKILL:
                os.kill(self.init, KILL)  # and it passes it on
            self._launcher.stdin.close()
            try:
                self._launcher.wait(10)
            except subprocess.TimeoutExpired:
                self._launcher.kill()
                self._launcher.wait()
        self._launcher.stdout.close()
        self._launcher.stderr.close()


class Chassis:
    """See the head of this file. work_dir: a directory of the machine for outputs."""

    def __init__(self, work_dir):
        self.work_dir = pathlib.Path(work_dir)
        self.sandbox = None
        self.sim = None  # Popen of chassis-sim
        self.daemon = None  # Popen that ends as the daemon ends
        self.snmpd = None  # Popen of the master agent
        self._outputs = {}
        self._children = []

    # ---- starting ------------------------------------------------------------------------------------

    def start_sandbox(self):
        """An empty sandbox; start() does this when it wasn't done."""
        if self.sandbox is None:
            self.sandbox = Sandbox(binds=program_places())
        return self.sandbox

    def start(self, scenario=SINGLE_BOARD, args=()):
        """Starts the simulated chassis and waits until it is ready.

        scenario: a file, or the text of one (anything with a line end in it), or None for none.
        """
        self.start_sandbox()
        command = [program("chassis-sim"), *args]
        if isinstance(scenario, str) and "\n" in scenario:
            self.write("/tmp/scenario.scn", scenario)
            scenario = "/tmp/scenario.scn"
        if scenario is not None:
            command += ["--scenario", str(scenario)]
        self.sim = self.spawn("chassis-sim", *command)
        wait_for(
            lambda: "chassis-sim: ready" in self.output("chassis-sim") or self.sim.poll() is not None,
            what="chassis-sim to get ready",
        )
        if self.sim.poll() is not None:
            raise ChassisError("chassis-sim ended:\n" + self.output("chassis-sim"))
        return self

    def start_daemon(self, *args, wait=True, strace=False, env=None, timeout=20.0):
        """Starts the real daemon with these arguments.

        wait: until it serves its operator socket. strace: trace its files, sockets and connections, see
        strace_lines(). env: further environment variables.
        """
        command = [program("gpon"), *args]
        if strace:
            if not shutil.which("strace"):
                raise ChassisError("strace is not installed")
            command = ["strace", "-f", "-qq", "-s", "200", "-e", "trace=%file,%network", "-o", STRACE_FILE, *command]
        self.daemon = self.spawn("gpon", *command, env=env)
        if wait:
            self.wait_for(
                lambda: self.vty_is_up() or (not args and self.daemon.poll() is not None),
                timeout,
                "the daemon to serve its operator socket",
            )
            if not args and self.daemon.poll() is not None:
                raise ChassisError(f"the daemon ended with {self.daemon.returncode}:\n{self.stdout()}")
        return self.daemon

    def spawn(self, name, *argv, env=None):
        """Starts any command inside; its output, both kinds, is output(name). The stand-ins for the
        platform's tools are found through PATH."""
        self.start_sandbox()
        path = self.work_dir / f"{name}.out"
        variables = {**os.environ, "PATH": f"{BIN}:{os.environ.get('PATH', '/usr/bin:/bin')}", **(env or {})}
        with open(path, "ab") as out:
            self._outputs[name] = (path, out.tell())
            child = subprocess.Popen(
                self.sandbox.command(*argv), stdin=subprocess.DEVNULL, stdout=out, stderr=out, env=variables
            )
        self._children.append(child)
        return child

    def run(self, *argv, **kwargs):
        """Runs a command inside to its end: subprocess.CompletedProcess with texts."""
        return self.start_sandbox().run(*argv, **kwargs)

    def kill_sim(self):
        """SIGKILL to the simulated chassis, and waits until it is gone."""
        for pid in self.sandbox.processes("chassis-sim"):
            os.kill(pid, KILL)
        self.wait_for(lambda: not self.sandbox.processes("chassis-sim"), what="the simulated chassis to end")

    # ---- the simulated chassis ---------------------------------------------------------------------------

    def simctl(self, *words, timeout=30.0):
        """Sends a command; returns the lines of the answer. An error is a SimctlError."""
        command = " ".join(_quote(str(word)) for word in words)
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as ctl:
            ctl.settimeout(timeout)
            ctl.connect(str(self.path(CONTROL_SOCKET)))
            ctl.sendall(command.encode() + b"\n")
            lines = []
            with ctl.makefile("r", encoding="utf-8", errors="replace", newline="\n") as answer:
                for line in answer:
                    line = line.rstrip("\n")
                    if line == "ok":
                        return lines
                    if line.startswith("error "):
                        raise SimctlError(command, line[6:], lines)
                    lines.append(line[2:])
        raise ChassisError(f"simctl {command}: chassis-sim closed the connection")

    def event(self, kind, **fields):
        """Sends an event: event("new-if", ifindex="gpon-olt1/1", flags="up")."""
        self.simctl("event", kind, *_pairs(fields))

    def fault(self, name, **options):
        """Arranges a fault: fault("late", ms=200, type="get-hostname"); reply_type is reply-type."""
        return self.simctl("fault", name, *_pairs({k.replace("_", "-"): v for k, v in options.items()}))

    def mark(self):
        """The id of the last record, for since=."""
        return int(self.simctl("mark")[0])

    def records(self, **pattern):
        """Records that match, as dictionaries of texts: records(kind="request", type="new-if")."""
        return [parse_record(line) for line in self.simctl("records", *_pairs(pattern))]

    def wait_record(self, timeout=10.0, count=1, since=0, **pattern):
        """Waits for a record that matches and returns it; the last of count of them."""
        lines = self.simctl(
            "wait",
            f"timeout={max(1, int(timeout * 1000))}",
            f"count={count}",
            f"since={since}",
            *_pairs(pattern),
            timeout=timeout + 10,
        )
        return parse_record(lines[-1])

    def card(self, slot, **options):
        """A line card's state: counters, objects, ONUs; card(3, type="onu") has the objects of one message.

        card(3)["objects"]["OV_HAL_MSG_GPON_TCONT"] is {"key": [field, ...], "rows": [{field: value}, ...]}, in
        the order of the keys; numbers are numbers, texts texts.
        """
        return json.loads("\n".join(self.simctl("show", "card", slot, "--json", *_pairs(options))))

    def card_event(self, slot, kind, **fields):
        """Sends an event from a line card: card_event(1, "state", onuIfindex="gpon-onu1/3:12", states=3)."""
        self.simctl("card-event", slot, kind, *_pairs(fields))

    def card_fault(self, slot, name, **options):
        """Arranges a fault of a line card: card_fault(1, "late", ms=200, type="onu")."""
        return self.simctl("card-fault", slot, name, *_pairs(options))

    # ---- the daemon ----------------------------------------------------------------------------------------

    def open_vty(self, enable=True, timeout=10.0):
        """A session on the operator socket, to be closed by the caller (it is a context manager)."""
        return Vty(str(self.path(VTY_SOCKET)), timeout, enable)

    def vty(self, *commands, timeout=10.0):
        """Runs commands in one new session, after "enable"; returns what the last one printed."""
        with self.open_vty(timeout=timeout) as session:
            reply = VtyReply("")
            for command in commands:
                reply = session(command)
            return reply

    def vty_is_up(self):
        """Whether the operator socket takes connections."""
        try:
            self.open_vty(enable=False).close()
            return True
        except OSError:
            return False

    def daemon_pids(self):
        """Pids of the daemon on the machine."""
        return sorted(self.sandbox.processes("gpon"))

    def signal_daemon(self, signo=signal.SIGTERM):
        """Sends a signal to the daemon itself, in the background or not."""
        pids = self.daemon_pids()
        if not pids:
            raise ChassisError("the daemon isn't running")
        for pid in pids:
            os.kill(pid, KILL if signo == signal.SIGKILL else signo)

    def signal_main_thread(self, signo):
        """Sends a signal to the daemon's first thread and no other. A signal to the process goes to any thread
        when the first one holds signals back, as it does while it starts a program."""
        for pid in self.daemon_pids():
            if ctypes.CDLL(None).tgkill(pid, pid, signo) != 0:
                raise ChassisError("the daemon's first thread isn't there")

    def kill_daemon(self, timeout=10.0):
        """SIGKILL, and waits until it is gone."""
        self.signal_daemon(signal.SIGKILL)
        self.wait_for(lambda: not self.daemon_pids(), timeout, "the daemon to end")

    def wait_daemon_exit(self, timeout=10.0):
        """Waits for a daemon in the foreground to end: its exit status, or minus the signal that ended it."""
        try:
            return self.daemon.wait(timeout)
        except subprocess.TimeoutExpired:
            raise ChassisError(f"the daemon didn't end within {timeout:g} s") from None

    def log_lines(self, pattern=None):
        """Lines of the daemon's log, all or those that match a regular expression."""
        lines = self.read(LOG_FILE, missing="").splitlines()
        return [line for line in lines if re.search(pattern, line)] if pattern else lines

    def wait_log(self, pattern, timeout=10.0):
        """Waits for log lines that match and returns them."""
        return self.wait_for(lambda: self.log_lines(pattern), timeout, f"a log line with {pattern!r}")

    def wait_agent(self, timeout=15.0, connections=1):
        """Waits until the master knows all tables, the given number of connections since the log's beginning.

        The line stands in the log when the master has answered for all of them."""
        self.wait_for(
            lambda: len(self.log_lines("AgentX master agent connected")) >= connections, timeout, "the master's connection"
        )

    def stdout(self):
        """What the daemon printed, standard error included."""
        return self.output("gpon")

    def strace_lines(self, pattern=None):
        """The system calls of a daemon started with strace=True, in order; all or those that match."""
        lines = self.read(STRACE_FILE, missing="").splitlines()
        return [line for line in lines if re.search(pattern, line)] if pattern else lines

    def strace_order(self, *patterns):
        """Fails unless the first matches of these regular expressions stand in this order in the trace."""
        lines = self.strace_lines()
        places = []
        for pattern in patterns:
            places.append(next((i for i, line in enumerate(lines) if re.search(pattern, line)), None))
        if None in places or places != sorted(places):
            found = "\n".join(
                f"  {pattern!r}: " + ("not found" if place is None else f"line {place + 1}: {lines[place]}")
                for pattern, place in zip(patterns, places)
            )
            raise ChassisError("the trace isn't in this order:\n" + found)

    # ---- SNMP ------------------------------------------------------------------------------------------------

    def start_snmpd(self, conf=SNMPD_CONF, args=(), wait=True):
        """Starts a stock master agent with this configuration and nothing else of the machine's; its log is
        output("snmpd"). wait: until subagents can connect."""
        if self.exists(AGENTX_SOCKET):
            self.path(AGENTX_SOCKET).unlink()  # of one that was killed
        self.write(SNMPD_CONF_FILE, conf)
        env = {"SNMP_PERSISTENT_DIR": "/tmp/snmpd", "SNMPCONFPATH": "/tmp/snmpd", "MIBS": ""}
        self.snmpd = self.spawn("snmpd", "/usr/sbin/snmpd", "-C", "-c", SNMPD_CONF_FILE, "-f", "-Lo", *args, env=env)
        if wait:
            self.wait_for(
                lambda: self.exists(AGENTX_SOCKET) or self.snmpd.poll() is not None, what="the master agent"
            )
            if self.snmpd.poll() is not None:
                raise ChassisError("snmpd ended:\n" + self.output("snmpd"))
        return self.snmpd

    def signal_snmpd(self, signo):
        """Sends a signal to the master agent and waits until it works."""
        ((pid, _),) = self.sandbox.processes("snmpd").items()
        os.kill(pid, signo)
        if signo == signal.SIGSTOP:
            self.wait_for(lambda: _state(pid) == "T", what="snmpd to stop")
        if signo in (signal.SIGKILL, signal.SIGTERM):
            self.wait_for(lambda: not self.sandbox.processes("snmpd"), what="snmpd to end")

    def snmp(self, tool, *args, community="private", options=("-r", "0", "-t", "5")):
        """Runs snmpget, snmpwalk, snmpset, snmpbulkwalk, ... against the master agent, numbers only. Returns
        the CompletedProcess; -v2c and the address are given."""
        command = [tool, "-v2c", "-c", community, "-On", "-Oe", *options, "127.0.0.1", *args]
        return self.run("env", "MIBS=", "SNMPCONFPATH=/tmp/snmpd", "SNMP_PERSISTENT_DIR=/tmp/snmpd", *command)

    def snmpget(self, *oids, **kwargs):
        """Values by OID as net-snmp prints them: {".1.3...": "INTEGER: 1"}; an error is a ChassisError."""
        return _bindings(self.snmp("snmpget", *oids, **kwargs))

    def snmpwalk(self, oid, **kwargs):
        return _bindings(self.snmp("snmpwalk", oid, **kwargs))

    def bulkwalk(self, oid, **kwargs):
        return _bindings(self.snmp("snmpbulkwalk", oid, **kwargs))

    def snmpset(self, *oid_type_value, **kwargs):
        """snmpset(".1.3...", "i", 4, ...); the values answered."""
        return _bindings(self.snmp("snmpset", *map(str, oid_type_value), **kwargs))

    # ---- files and general things ----------------------------------------------------------------------------

    def wait_for(self, predicate, timeout=10.0, what=None):
        """wait_for of this module."""
        return wait_for(predicate, timeout, what)

    def path(self, inside):
        """The machine's path for a path inside."""
        return self.start_sandbox().path(inside)

    def exists(self, inside):
        return os.path.lexists(self.path(inside))

    def read(self, inside, missing=None):
        """Text of a file; missing is given for a file that isn't there, unless it is None."""
        try:
            return self.path(inside).read_text(errors="replace")
        except FileNotFoundError:
            if missing is None:
                raise
            return missing

    def write(self, inside, text):
        """Writes a file, with the directories above it."""
        path = self.path(inside)
        if not path.parent.exists():
            made = self.run("mkdir", "-p", str(pathlib.PurePosixPath(inside).parent))
            if made.returncode:
                raise ChassisError(made.stderr)
            path = self.path(inside)
        path.write_text(text)

    def output(self, name):
        """What a spawned command printed since it was started (for the last time)."""
        if name not in self._outputs:
            return ""
        path, start = self._outputs[name]
        return path.read_bytes()[start:].decode(errors="replace")

    def close(self):
        """Ends everything. May be called twice."""
        if self.sandbox:
            self.sandbox.close()
        for child in self._children:
            try:
                child.wait(5)
            except subprocess.TimeoutExpired:
                child.kill()
                child.wait()

    def report(self, lines=60):
        """For a failed test: the outputs, the end of the log, the last records."""

        def tail(title, text):
            kept = text.splitlines()[-lines:]
            return [f"---- {title} " + "-" * 20, *kept] if kept else []

        text = []
        for name, child in (("chassis-sim", self.sim), ("gpon", self.daemon)):
            if child and child.poll() is not None:
                text.append(f"---- {name} has ended with {child.returncode}")
        for name, (path, _) in self._outputs.items():
            text += tail(f"output of {name}", path.read_text(errors="replace"))
        try:
            text += tail(LOG_FILE, self.read(LOG_FILE, missing=""))
            if self.sim and self.sim.poll() is None:
                text += tail("records", "\n".join(self.simctl("records", timeout=5)))
        except (OSError, ChassisError) as error:
            text.append(f"(no more: {error})")
        return "\n".join(text)


def _quote(word):
    if word and not re.search(r'[\s"]', word) and not word.startswith("#"):
        return word
    return '"' + word.replace("\\", "\\\\").replace('"', '\\"') + '"'


def _pairs(values):
    return [f"{key}={value}" for key, value in values.items()]


def _state(pid):
    """The state letter of a process of the machine."""
    return pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0]


def _bindings(done):
    if done.returncode != 0:
        raise ChassisError(f"{done.args}: {done.stderr}{done.stdout}")
    return dict(line.split(" = ", 1) for line in done.stdout.splitlines() if " = " in line)
