"""What the virtual machine leaves out, and why: skipped.txt."""

import dataclasses
import pathlib

LIST = pathlib.Path(__file__).with_name("skipped.txt")
PROCESSORS = {"both": {"amd64", "powerpc"}, "amd64": {"amd64"}, "powerpc": {"powerpc"}}


@dataclasses.dataclass(frozen=True)
class Skip:
    how: str  # "left": isn't run; "skips": says so itself
    suite: str
    test: str
    why: str


def read_skips(processor, path=LIST):
    found = []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        words = line.split(None, 4)
        if not words or line.startswith("#"):
            continue
        if len(words) < 5 or words[0] not in ("left", "skips") or words[1] not in PROCESSORS:
            raise ValueError(f"{path}:{number}: not understood: {line}")
        how, where, suite, test, why = words
        if processor in PROCESSORS[where]:
            found.append(Skip(how, suite, test, why))
    return found
