"""Programs of other processes run in a virtual machine: a Unix socket in front of its agent.

A client sends one line of JSON, {"argv": [...], "env": {...}, "pty": false, "cwd": "/"}, and then frames: a kind (1 byte), a length (4
bytes, high byte first), a payload. From the client "I" (input; empty: its end) and "K" (a signal's number); to it "O", "E" and at
last "X" (the exit status as subprocess has it). The program is killed when the client goes.
"""

import json
import os
import pathlib
import socket
import socketserver
import struct
import threading

SOCKET = "broker.socket"


def at(directory, name, call):
    """call(address) for a socket in a directory whose path may be longer than an address."""
    fd = os.open(directory, os.O_PATH | os.O_DIRECTORY)
    try:
        return call(f"/proc/self/fd/{fd}/{name}")
    finally:
        os.close(fd)


def frame(kind, payload=b""):
    return kind.encode() + struct.pack(">I", len(payload)) + payload


def read_frame(stream):
    """(kind, payload), or None at the end."""
    head = stream.read(5)
    if len(head) < 5:
        return None
    payload = stream.read(struct.unpack(">I", head[1:])[0])
    return head[:1].decode(), payload


class Broker:
    """Serves clients until it is closed."""

    def __init__(self, vm, directory):
        class Handler(socketserver.StreamRequestHandler):
            def handle(self):
                serve(vm, self.rfile, self.wfile)

        class Server(socketserver.ThreadingUnixStreamServer):
            daemon_threads = True
            request_queue_size = 64

        (pathlib.Path(directory) / SOCKET).unlink(missing_ok=True)
        self._server = at(directory, SOCKET, lambda address: Server(address, Handler))
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self):
        self._server.shutdown()
        self._server.server_close()


def serve(vm, requests, answers):
    order = json.loads(requests.readline())
    program = vm.spawn(*order["argv"], env=order["env"], pty=order["pty"], cwd=order["cwd"])
    threading.Thread(target=_tell, args=(program, answers), daemon=True).start()
    while (got := read_frame(requests)) is not None:
        kind, payload = got
        if kind == "I":
            program.send(payload)
        elif kind == "K":
            program.kill(int(payload))
    program.kill(9)


def _tell(program, answers):
    try:
        while (event := program.event()) is not None:
            kind, data = event
            answers.write(frame(kind, data if kind != "X" else str(program.returncode).encode()))
            answers.flush()
            if kind == "X":
                answers._sock.shutdown(socket.SHUT_RDWR)
                return
    except (OSError, ValueError):
        program.kill(9)  # nobody hears it


class Inside:
    """A client: a program in the machine."""

    def __init__(self, directory, argv, env=None, pty=False, cwd="/"):
        self.sock = socket.socket(socket.AF_UNIX)
        at(directory, SOCKET, self.sock.connect)
        self._stream = self.sock.makefile("rb")
        self._guard = threading.Lock()
        order = {"argv": list(map(str, argv)), "env": env or {}, "pty": pty, "cwd": cwd}
        self.sock.sendall(json.dumps(order).encode() + b"\n")

    def tell(self, kind, payload=b""):
        try:
            with self._guard:
                self.sock.sendall(frame(kind, payload))
        except OSError:
            pass  # it has ended

    def events(self):
        """(kind, payload) of what it prints; ends with its end."""
        while (got := read_frame(self._stream)) is not None:
            yield got
            if got[0] == "X":
                return

    def run(self, input=b""):
        """To its end: (status, output)."""
        if input:
            self.tell("I", input)
        self.tell("I")
        output = b""
        status = 125
        for kind, data in self.events():
            if kind == "X":
                status = int(data)
            else:
                output += data
        self.close()
        return status, output

    def close(self):
        try:
            self.sock.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self.sock.close()
