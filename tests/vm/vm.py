"""A virtual machine with a real kernel, in which programs of the host run.

    with Vm("amd64", work_dir) as vm:
        done = vm.run("uname", "-m")
        print(done.returncode, done.stdout)

The machine sees the host's files, all of them read-only, below fresh /tmp, /run and /dev. The programs are of its own
processor; both have a static busybox for a shell, since a program that is linked when it starts takes five times as long to
start in a machine that is played, and "powerpc" has its tools too. Inside runs an agent that starts programs
(init/agent.h); nothing listens on the network.
"""

import dataclasses
import os
import pathlib
import queue
import socket
import struct
import subprocess
import threading
import time

from initramfs import initramfs

HERE = pathlib.Path(__file__).resolve().parent
REPO = HERE.parents[1]
AGENT_SOURCES = sorted((HERE / "init").glob("*.cpp"))
BOOT_TIME = 600  # seconds, on a machine that is busy with other things
MEMORY = 1024  # MB
BUSYBOX_TOOLS = "/run/tools"  # inside


@dataclasses.dataclass(frozen=True)
class Kind:
    """What makes a virtual machine of a processor."""

    qemu: tuple
    compiler: str
    console: str = "ttyS0"


KINDS = {
    "amd64": Kind(("qemu-system-x86_64", "-M", "q35", "-cpu", "max", "-smp", "2"), "g++"),
    "powerpc": Kind(("qemu-system-ppc", "-M", "ppce500", "-cpu", "e500mc"), "powerpc-linux-gnu-g++"),
}


class VmError(Exception):
    """The machine, or a program in it, isn't as it should be; the text says how."""


class Program:
    """A program inside. Output comes as it is printed; `returncode` is set when it has ended."""

    def __init__(self, vm, channel):
        self._vm = vm
        self._channel = channel
        self._events = queue.Queue()
        self.returncode = None

    def send(self, data):
        """Input; empty bytes are its end."""
        self._vm.tell(self._channel, b"I", data)

    def kill(self, signo):
        self._vm.tell(self._channel, b"K", b"%d" % signo)

    def event(self, timeout=None):
        """The next piece of output as ("O" or "E", bytes), ("X", b"") behind the last one, None when none comes."""
        try:
            kind, data = self._events.get(timeout=timeout)
        except queue.Empty:
            return None
        if kind == "X":
            self._events.put((kind, data))  # for whoever asks again
            self.returncode = os.waitstatus_to_exitcode(int(data))
            return kind, b""
        return kind, data

    def put(self, kind, data):
        self._events.put((kind, data))


class Vm:
    def __init__(self, processor, work_dir, keep=(), busybox=None, tools=True):
        """keep: directories of the host that may lie below /tmp or /run and are needed inside. busybox: a static one, which
        is /bin/sh inside; tools: its other tools are in BUSYBOX_TOOLS."""
        self.processor = processor
        self.tool = None  # inside: init's tools
        self._kind = KINDS[processor]
        self._dir = pathlib.Path(work_dir)
        self._keep = keep
        self._busybox = busybox
        self._tools = tools
        self._qemu = None
        self._port = None
        self._guard = threading.Lock()
        self._programs = {}
        self._channel = 0
        self._ready = threading.Event()
        self.boot_seconds = None

    # ---- life ------------------------------------------------------------------------------------------------

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.stop()
            raise
        return self

    def __exit__(self, *exc):
        self.stop()

    def start(self):
        self._dir.mkdir(parents=True, exist_ok=True)
        self.tool = self._build_init()
        kernel = self._kernel()
        modules = sorted((kernel / "modules").iterdir())
        archive = self._dir / "initramfs.gz"
        archive.write_bytes(initramfs(self.tool, modules))
        began = time.monotonic()
        self._boot(kernel / "vmlinux", archive)
        if not self._ready.wait(BOOT_TIME):
            raise VmError(f"the machine ({self.processor}) didn't come up within {BOOT_TIME} s:\n{self.console()}")
        if self._qemu.poll() is not None:
            raise VmError(f"the machine ({self.processor}) ended:\n{self.console()}")
        self.boot_seconds = time.monotonic() - began
        if self._busybox and self._tools:
            self._install_busybox()

    def _install_busybox(self):
        """Its tools by their names, for programs that start programs."""
        script = 'mkdir $1 && for tool in $($0 --list); do $0 ln -s $0 $1/$tool || exit 1; done'
        done = self.run(self._busybox, "sh", "-c", script, self._busybox, BUSYBOX_TOOLS)
        if done.returncode != 0:
            raise VmError(f"the tools of busybox: {done.stdout}{done.stderr}")

    def stop(self):
        """There is nothing in it that could be lost."""
        if self._qemu:
            self._qemu.kill()
            self._qemu.wait()
        if self._port:
            self._port.close()

    def console(self, lines=60):
        """The end of what the kernel and init printed, and QEMU."""
        try:
            text = (self._dir / "console.log").read_text(errors="replace")
        except FileNotFoundError:
            return ""
        return "\n".join(text.splitlines()[-lines:])

    def _build_init(self):
        program = self._dir / "init"
        sources = [*AGENT_SOURCES, *(HERE / "init").glob("*.h")]
        if not program.exists() or any(s.stat().st_mtime > program.stat().st_mtime for s in sources):
            flags = ["-std=c++20", "-O1", "-Wall", "-Wextra", "-Werror", "-static", "-D_TIME_BITS=64", "-D_FILE_OFFSET_BITS=64"]
            subprocess.run([self._kind.compiler, *flags, *AGENT_SOURCES, "-o", program], check=True)
        return program

    def _kernel(self):
        recipe = REPO / "third_party/linux/build.sh"
        subprocess.run([recipe, self.processor], check=True)
        return pathlib.Path(subprocess.check_output([recipe, self.processor, "--prefix"], text=True).strip())

    def _boot(self, kernel, archive):
        agent_socket = self._dir / "agent.socket"
        agent_socket.unlink(missing_ok=True)
        words = [f"console={self._kind.console}", "quiet", "panic=-1", f"gpon.clock={time.time():.0f}"]
        words.append(f"gpon.keep={':'.join(map(str, self._keep))}")
        if self._busybox:
            words.append(f"gpon.busybox={self._busybox}")
        command = [
            *self._kind.qemu, "-accel", "tcg", "-m", str(MEMORY), "-nodefaults", "-no-reboot", "-display", "none",
            "-kernel", kernel, "-initrd", archive, "-append", " ".join(words), "-serial", "stdio",
            "-fsdev", "local,id=host,path=/,security_model=none,multidevs=remap,readonly=on",
            "-device", "virtio-9p-pci,fsdev=host,mount_tag=host",
            "-chardev", f"socket,id=agent,path={agent_socket},server=on,wait=on",
            "-device", "virtio-serial-pci", "-device", "virtserialport,chardev=agent,name=agent",
        ]
        with open(self._dir / "console.log", "wb") as log:
            self._qemu = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        self._port = self._connect(agent_socket)
        threading.Thread(target=self._listen, daemon=True).start()

    def _connect(self, path):
        deadline = time.monotonic() + BOOT_TIME
        while True:
            port = socket.socket(socket.AF_UNIX)
            try:
                port.connect(str(path))
                return port
            except OSError:
                port.close()
            if self._qemu.poll() is not None or time.monotonic() > deadline:
                raise VmError(f"QEMU doesn't run:\n{self.console()}")
            time.sleep(0.02)

    # ---- the agent -------------------------------------------------------------------------------------------

    def tell(self, channel, kind, payload=b""):
        frame = struct.pack(">IH", len(payload), channel) + kind + payload
        try:
            with self._guard:
                self._port.sendall(frame)
        except OSError:
            pass  # the machine has gone; whoever waits for an answer hears of that

    def _listen(self):
        try:
            with self._port.makefile("rb") as port:
                while len(head := port.read(7)) == 7:
                    size, channel = struct.unpack(">IH", head[:6])
                    self._take(channel, head[6:].decode(), port.read(size))
        except (OSError, ValueError):
            pass
        # The machine has gone, and with it whatever ran in it.
        self._ready.set()
        for program in list(self._programs.values()):
            program.put("X", b"9")

    def _take(self, channel, kind, data):
        if kind == "R":
            self._ready.set()
        elif channel in self._programs:
            self._programs[channel].put(kind, data)
            if kind == "X":
                del self._programs[channel]

    # ---- programs --------------------------------------------------------------------------------------------

    def spawn(self, *argv, env=None, pty=False, cwd="/"):
        """Starts a program with exactly these variables."""
        variables = [f"{name}={value}" for name, value in (env or {"PATH": os.environ["PATH"]}).items()]
        words = ["pty" if pty else "pipe", str(cwd), str(len(variables)), *variables, *map(str, argv)]
        with self._guard:
            self._channel = self._channel % 0xFFFF + 1
            channel = self._channel
            program = self._programs[channel] = Program(self, channel)
        self.tell(channel, b"S", b"".join(word.encode() + b"\0" for word in words))
        return program

    def run(self, *argv, timeout=60, env=None, input=b"", on_output=None):
        """Runs a program to its end: a CompletedProcess with texts. on_output gets each piece as it comes. One that
        takes too long is killed, and its returncode is None."""
        program = self.spawn(*argv, env=env)
        if input:
            program.send(input)
        program.send(b"")
        output = {"O": bytearray(), "E": bytearray()}
        deadline = time.monotonic() + timeout
        while True:
            event = program.event(max(0, deadline - time.monotonic()))
            if event is None:
                program.kill(9)
                break
            kind, data = event
            if kind == "X":
                break
            output[kind] += data
            if on_output:
                on_output(data.decode(errors="replace"))
        texts = [bytes(part).decode(errors="replace") for part in output.values()]
        return subprocess.CompletedProcess(argv, program.returncode, *texts)
