#!/usr/bin/python3
"""The tour of the simulated chassis (tour.txt).

    tour.py              prints what to type
    tour.py --play       types it, inside the chassis, and checks each step: 0 if all hold, 1 if one doesn't
    tour.py --guide      prints the chapter of the operator's guide
    tour.py --update F   puts that chapter into a guide, between its two marks

With --tour FILE all that of another tour: home.txt and firmware.txt are chapters of the guide too.
"""

import argparse
import dataclasses
import os
import pathlib
import re
import subprocess
import sys
import time

TOUR = pathlib.Path(__file__).with_name("tour.txt")
PROMPT = r"(?:^|\n)(gpon(?:\([^\r\n]*\))?[>#]) $"
ANSWER_TIME = 30  # seconds that the shell or a command may take for one line; a card gets its configuration in 17


@dataclasses.dataclass
class Expectation:
    pattern: str
    absent: bool = False
    seconds: float = 0

    def holds(self, output):
        return bool(re.search(self.pattern, output, re.MULTILINE)) != self.absent

    def __str__(self):
        return f"has no /{self.pattern}/" if self.absent else f"has /{self.pattern}/"


@dataclasses.dataclass
class Command:
    prompt: str  # "$" for one of the other terminal
    text: str
    line: int
    expectations: list = dataclasses.field(default_factory=list)

    @property
    def in_shell(self):
        return self.prompt != "$"

    @property
    def shown(self):
        """The command with its prompt, as it stands on the screen."""
        return f"{self.prompt} {self.text}" if self.in_shell else f"$ ./run --exec {self.text}"


@dataclasses.dataclass
class Step:
    title: str
    text: list = dataclasses.field(default_factory=list)
    commands: list = dataclasses.field(default_factory=list)


def read_expectation(line):
    sign, _, rest = line.partition(" ")
    timed = re.fullmatch(r"(\d+)s (.*)", rest)
    seconds, pattern = (int(timed[1]), timed[2]) if timed else (0, rest)
    try:
        re.compile(pattern)
    except re.error as error:
        raise ValueError(f"{error}: {pattern}") from None
    return Expectation(pattern, sign == "=!", seconds)


def read_tour(path=TOUR):
    """The steps of a file; a ValueError says where it isn't understood."""
    steps = []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        command = re.fullmatch(r"(gpon(?:\(.*?\))?#|\$) (.+)", line)
        if line.startswith("## "):
            steps.append(Step(line[3:]))
        elif line.startswith("#") or not line.strip():
            continue
        elif command and steps:
            steps[-1].commands.append(Command(command[1], command[2], number))
        elif line.startswith(("=> ", "=! ")) and steps and steps[-1].commands:
            steps[-1].commands[-1].expectations.append(read_expectation(line))
        elif steps and not steps[-1].commands and not line.startswith(("gpon", "=")):
            steps[-1].text.append(line)
        else:
            raise ValueError(f"{path}:{number}: not understood: {line}")
    return steps


# ---- printing ------------------------------------------------------------------------------------------------------


def print_tour(steps):
    print("A tour. Type here what stands behind a prompt that begins with gpon, and in another terminal what")
    print("stands behind $. Explanations: docs/operators-guide.md. Again: ./run --exec tour. The end: exit")
    for number, step in enumerate(steps, 1):
        print(f"\n {number}  {step.title}")
        for command in step.commands:
            print(f"      {command.shown}")
    print()


def guide(steps):
    """The steps as Markdown."""
    parts = []
    for number, step in enumerate(steps, 1):
        block = [command.shown for command in step.commands]
        parts.append("\n".join([f"### {number}. {step.title}", "", *step.text, "", "```", *block, "```"]))
    return "\n\n".join(parts) + "\n"


def guide_marks(path):
    """Between which lines the chapter of a tour stands."""
    name = "The tour" if path.name == TOUR.name else f"The tour of {path.name}"
    return f"<!-- {name}, made by tools/demo/tour.py: begin -->", f"<!-- {name}: end -->"


def updated(text, steps, path=TOUR):
    """A guide's text with the chapter as it is now."""
    begin, end = guide_marks(path)
    before, rest = text.split(begin + "\n", 1)
    _, after = rest.split(end, 1)
    return f"{before}{begin}\n{guide(steps)}{end}{after}"


# ---- playing -------------------------------------------------------------------------------------------------------


class TourFailed(Exception):
    """A step didn't do what it should; the text says what."""


class OperatorsShell:
    """gponsh on a terminal, as an operator has it."""

    def __init__(self):
        import pexpect

        self._ended = pexpect.EOF, pexpect.TIMEOUT
        # No colours and no pages; wide enough that no line is broken.
        env = {**os.environ, "TERM": "dumb", "XDG_STATE_HOME": "/tmp/tour"}
        env.pop("PAGER", None)
        self._child = pexpect.spawn(
            "gponsh", env=env, dimensions=(2000, 250), encoding="utf-8", codec_errors="replace", timeout=ANSWER_TIME
        )
        self._await_prompt()

    def _await_prompt(self):
        if self._child.expect([PROMPT, *self._ended]) != 0:
            raise TourFailed(f"the shell gave no prompt; it printed: {self._child.before!r}")
        self.prompt = self._child.match[1]
        return self._child.before.replace("\r\n", "\n")

    def run(self, text):
        """Types a line; what it printed."""
        self._child.sendline(text)
        return self._await_prompt().partition("\n")[2]  # behind the echo

    def close(self):
        self._child.close(force=True)


def run_outside(text, show):
    """Runs a command of the other terminal: its output and exit status. Show is called with each line as it comes."""
    child = subprocess.Popen(
        ["timeout", str(ANSWER_TIME), "bash", "-c", text],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
    )  # fmt: skip
    lines = []
    for line in child.stdout:
        lines.append(line)
        show(line)
    return "".join(lines), child.wait()


def show(output):
    print(output, end="" if output.endswith("\n") or not output else "\n", flush=True)


REFUSED = "the daemon refused it"


class Player:
    def __init__(self):
        colours = sys.stdout.isatty() and not os.environ.get("NO_COLOR")
        self._good, self._bad, self._plain = ("\033[32m", "\033[31m", "\033[0m") if colours else ("", "", "")
        self._shell = OperatorsShell()
        self.checked = 0

    def say(self, good, text):
        print(f"{self._good if good else self._bad}{'  ok  ' if good else '  FAILED  '}{text}{self._plain}", flush=True)

    def _run(self, command, show):
        """Runs a command; its output, and what is wrong with that or None."""
        output, status = (self._shell.run(command.text), 0) if command.in_shell else run_outside(command.text, show)
        if status != 0:
            return output, f"it ended with status {status}"
        # some commands that work tell so in the way in which others tell that they were refused
        expects_it = any(e.pattern.startswith("^%") for e in command.expectations)
        if command.in_shell and not expects_it and re.search(r"^%", output, re.MULTILINE):
            return output, REFUSED
        failed = [str(e) for e in command.expectations if not e.holds(output)]
        if failed:
            return output, f"the output should be such that it {failed[0]}"
        if command.in_shell and not command.expectations and output.strip():
            return output, "it should print nothing"
        return output, None

    def _run_until_right(self, command):
        """Runs a command, again while that helps, and shows its last output; what is wrong with that or None, and how
        often it was run."""
        patience = max((e.seconds for e in command.expectations), default=0)
        deadline = time.monotonic() + patience
        live = not command.in_shell and not patience
        times = 1
        while True:
            output, wrong = self._run(command, show if live else lambda line: None)
            if not wrong or wrong == REFUSED or time.monotonic() > deadline:
                if not live:
                    show(output)
                return wrong, times
            time.sleep(0.25)
            times += 1

    def play(self, command):
        if command.in_shell and self._shell.prompt != command.prompt:
            raise TourFailed(f'the prompt is "{self._shell.prompt}", not "{command.prompt}"')
        print(command.shown, flush=True)
        wrong, times = self._run_until_right(command)
        if wrong:
            raise TourFailed(wrong)
        self.checked += 1
        again = f" (try {times})" if times > 1 else ""
        for expectation in command.expectations or ["is empty" if command.in_shell else "came with status 0"]:
            self.say(True, f"the output {expectation}{again}")

    def close(self):
        self._shell.close()


def play_tour(steps, name):
    """Plays the steps of the file of this name; the exit status."""
    begun = time.monotonic()
    player = Player()
    try:
        for number, step in enumerate(steps, 1):
            print(f"\n---- {number}  {step.title}", flush=True)
            for command in step.commands:
                try:
                    player.play(command)
                except TourFailed as failure:
                    player.say(False, f"{name}:{command.line}: {failure}")
                    return 1
    finally:
        player.close()
    print()
    player.say(True, f"All as expected: steps {len(steps)}, commands {player.checked}, time {time.monotonic() - begun:.0f} s")
    return 0


def main():
    parser = argparse.ArgumentParser(description="The tour of the simulated chassis.")
    what = parser.add_mutually_exclusive_group()
    what.add_argument("--play", action="store_true", help="type it and check each step")
    what.add_argument("--guide", action="store_true", help="print the chapter of the operator's guide")
    what.add_argument("--update", metavar="FILE", help="put that chapter into a guide")
    parser.add_argument("--tour", metavar="FILE", type=pathlib.Path, default=TOUR, help="another tour")
    options = parser.parse_args()
    steps = read_tour(options.tour)
    if options.play:
        return play_tour(steps, options.tour.name)
    if options.update:
        path = pathlib.Path(options.update)
        path.write_text(updated(path.read_text(), steps, options.tour))
    elif options.guide:
        print(guide(steps), end="")
    else:
        print_tour(steps)
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (TourFailed, ValueError) as failure:
        sys.exit(f"tour: {failure}")
