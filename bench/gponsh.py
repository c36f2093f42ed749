#!/usr/bin/env python3
"""Times of the operator shell: a whole process with one line, and a file of many lines.

    bench/gponsh.py [LINES]        (default 10000; GPON_BUILD_DIR chooses the build)

The same lines are also pushed at the daemon without waiting for any answer, which shows what the daemon itself takes
for them.
"""

import os
import pathlib
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import SINGLE_BOARD, VTY_SOCKET, Chassis, program, wait_for  # noqa: E402

PROCESS_RUNS = 50
FILE_RUNS = 5


def timed(call):
    start = time.perf_counter()
    call()
    return (time.perf_counter() - start) * 1000


def shell(chassis, *args):
    command = [program("gponsh"), "-s", str(chassis.path(VTY_SOCKET)), *args]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def blocks(count):
    """Lines of blocks as a saved configuration has them: five lines to a port."""
    block = ["interface gpon-olt1/{port}", "do enable", "do enable", "do enable", "exit"]
    return [block[i % 5].format(port=i // 5 % 4 + 1) for i in range(count)]


def profiles(count):
    """Lines that make and remove rows, all in one block."""
    names = [f"profile{i}" for i in range(50)]
    commands = [f"profile bandwidth {name} fixed 1000" for name in names]
    commands += [f"no profile bandwidth {name}" for name in names]
    return ["gpon"] + [commands[i % 100] for i in range(count)]


def pushed(chassis, lines):
    """Milliseconds that the daemon takes for all lines, from the first one sent to the last one answered."""
    with socket.socket(socket.AF_UNIX) as daemon:
        daemon.connect(str(chassis.path(VTY_SOCKET)))
        daemon.sendall(b"enable\0configure terminal\0")
        received = b""
        while len(received) < 8:
            received += daemon.recv(65536)

        def run():
            sender = threading.Thread(target=daemon.sendall, args=("".join(f"{line}\0" for line in lines).encode(),))
            sender.start()
            length = 0  # the lines print nothing: an answer is four bytes
            while length < 4 * len(lines):
                got = daemon.recv(65536)
                assert not got.strip(b"\0"), got[:200]  # refused
                length += len(got)
            sender.join()

        return timed(run)


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 10000
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(work)
        try:
            chassis.start(SINGLE_BOARD)
            chassis.start_daemon()
            wait_for(lambda: chassis.vty("configure terminal", "interface gpon-olt1/4").result == 0)

            runs = [timed(lambda: shell(chassis, "-c", "show slot info")) for _ in range(PROCESS_RUNS)]
            print(f"gponsh -c: median {statistics.median(runs):.1f} ms, worst {max(runs):.1f} ms (to be under 20 ms)")

            file = pathlib.Path(work) / "lines"
            for title, lines in (("blocks of commands that do nothing", blocks(count)), ("profiles", profiles(count))):
                file.write_text("configure terminal\n" + "\n".join(lines) + "\n")
                replay = statistics.median(timed(lambda: shell(chassis, "-f", str(file))) for _ in range(FILE_RUNS))
                daemon = statistics.median(pushed(chassis, lines) for _ in range(FILE_RUNS))
                print(
                    f"{count} lines, {title}: gponsh -f {replay:.0f} ms ({replay * 1000 / count:.1f} us a line), "
                    f"the daemon alone {daemon:.0f} ms ({daemon * 1000 / count:.1f}), ratio {replay / daemon:.2f}"
                )
        finally:
            chassis.close()


if __name__ == "__main__":
    main()
