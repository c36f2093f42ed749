"""The first root directory of a virtual machine: init and the kernel's modules, as an archive that the kernel unpacks."""

import gzip
import stat


def _entry(name, mode, data=b"", device=(0, 0)):
    """One of the format "newc"."""
    path = name.encode() + b"\0"
    fields = [0, mode, 0, 0, 1, 0, len(data), 0, 0, *device, len(path), 0]
    head = b"070701" + b"".join(b"%08x" % field for field in fields) + path
    return head + bytes(-len(head) % 4) + data + bytes(-len(data) % 4)


def initramfs(init, modules):
    """init: a file; modules: files, loaded in the order of their names."""
    parts = [_entry(name, stat.S_IFDIR | 0o755) for name in ("dev", "proc", "modules")]
    parts.append(_entry("dev/console", stat.S_IFCHR | 0o600, device=(5, 1)))
    parts.append(_entry("init", stat.S_IFREG | 0o755, init.read_bytes()))
    parts += [_entry(f"modules/{path.name}", stat.S_IFREG | 0o644, path.read_bytes()) for path in modules]
    parts.append(_entry("TRAILER!!!", 0))
    return gzip.compress(b"".join(parts), 1)
