"""A TFTP server (RFC 1350) that does as the beginning of a file's name says, to be run in a sandbox:

    python3 tftp_server.py PORT

    silent...   never answers
    slow...     a block each 0.3 s, without end
    cut...      three blocks, then nothing more
    endless...  block after block, as fast as they are taken
    refused...  an error
"""

import socket
import struct
import sys
import time

READ, WRITE, DATA, ACK, ERROR = 1, 2, 3, 4, 5
BLOCK = b"x" * 512


def give(client, name):
    """Sends blocks until the client has gone, or as many as the name says."""
    number = 0
    last = 3 if name.startswith("cut") else None
    while last is None or number < last:
        number += 1
        client.send(struct.pack(">HH", DATA, number & 0xFFFF) + BLOCK)
        if name.startswith("slow"):
            time.sleep(0.3)
        client.recv(2000)
    time.sleep(1000)


def take(client, name):
    """Takes blocks, all or the first three; a slow one takes its time."""
    number = 0
    while not (name.startswith("cut") and number == 3):
        client.send(struct.pack(">HH", ACK, number))
        number += 1
        if len(client.recv(2000)) < 4 + len(BLOCK):
            client.send(struct.pack(">HH", ACK, number))
            return
        if name.startswith("slow"):
            time.sleep(0.3)
    time.sleep(1000)


def serve(request, address):
    opcode, name = struct.unpack(">H", request[:2])[0], request[2:].split(b"\0")[0].decode()
    client = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    client.settimeout(30)
    client.connect(address)
    if name.startswith("refused"):
        client.send(struct.pack(">HH", ERROR, 2) + b"no\0")
    elif not name.startswith("silent"):
        (give if opcode == READ else take)(client, name)


def main():
    import threading

    door = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    door.bind(("127.0.0.1", int(sys.argv[1])))
    print("ready", flush=True)
    while True:
        threading.Thread(target=serve, args=door.recvfrom(2000), daemon=True).start()


if __name__ == "__main__":
    main()
