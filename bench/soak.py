#!/usr/bin/env python3
"""A network at work for days, and everything compared when a day is over.

    bench/soak.py [--days 7] [--seed 1] [--scale small|town] [--deeds 480] [--work DIR] [--loud]
                  (GPON_BUILD_DIR chooses the build)

The real daemon with a clock that is told, the simulated chassis, a master agent. Operators, managers, subscribers, field staff,
planners, firmware and the clock do one thing after the other by the seed; now and then the daemon is killed. A day has so many
deeds, a quarter of an hour for each five of them; its end compares (bench/soaking/checks.py)

    the tables as a manager walks them, and the files after a save
    what is reserved, with what the rows reserve
    what each card holds, with what it holds when it has begun anew and was told everything
    both ports of protection groups
    the printed configuration, the files and the cards, with those after the daemon was killed and started again
    error lines, crash reports, memory, descriptors, threads, and handlers that held the loop

A difference that is as it should be stands in one of the lists bench/soaking/*_reasons.txt with its reason. Exit status: 0, or
1 when something differs. journal.txt in the work directory tells what was done, gpon.log what the daemon said.
"""

import argparse
import os
import pathlib
import random
import shutil
import sys
import tempfile
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path[:0] = [str(REPO / "bench"), str(REPO / "tests" / "system")]

from chassis import LOG_FILE, ChassisError  # noqa: E402
from soaking import checks  # noqa: E402
from soaking import network as networks  # noqa: E402
from soaking.journal import Journal  # noqa: E402
from soaking.people import Manager, Operator, Subscribers  # noqa: E402
from soaking.staff import Clock, Field, Firmware, Killer, Planner  # noqa: E402

SCALES = {"small": networks.small, "town": networks.town}
#: Who acts how often.
SHARES = {Operator: 30, Manager: 20, Subscribers: 20, Planner: 12, Firmware: 8, Field: 4, Clock: 20, Killer: 0.7}


class Soak:
    def __init__(self, work, seed=1, scale="small", loud=False):
        self.journal = Journal(pathlib.Path(work) / "journal.txt", loud)
        self.network = networks.Network(work, SCALES[scale](seed), self.journal)
        self.random = random.Random(f"{seed} soak")
        self.actors = {kind: kind(self.network, seed) for kind in SHARES}
        self.log_check, self.growth_check = checks.LogCheck(), checks.GrowthCheck()
        self.findings = []

    def open(self):
        self.network.open()
        for kind in (Subscribers, Firmware, Planner, Operator, Manager, Field, Clock, Killer):
            self.actors[kind].begin()

    def close(self):
        log = self.network.chassis.path(LOG_FILE)
        if log.exists():
            shutil.copy(log, self.network.chassis.work_dir / "gpon.log")
        self.network.close()

    def one_deed(self, kind):
        actor = self.actors[kind]
        try:
            actor.act()
        except (ChassisError, OSError, AssertionError) as error:
            self.find(actor.name, [f"{actor.name}: {error}"])
            if not self.network.alive():
                self.find("daemon", ["the daemon is gone"])
                raise

    def work(self, deeds):
        """So many deeds, by chance."""
        kinds, shares = zip(*SHARES.items())
        for _ in range(deeds):
            self.one_deed(self.random.choices(kinds, shares)[0])

    def everything_once(self):
        """Each deed of each of them, by turns."""
        todo = [kind for kind in SHARES for _ in self.actors[kind].deeds()]
        self.random.shuffle(todo)
        for kind in todo:
            self.one_deed(kind)

    def find(self, who, lines):
        for line in lines:
            self.findings.append(line)
            self.journal.note("FOUND", who, line)
            print(f"found: {line}", flush=True)

    def calm(self):
        """The day is over: fibres are whole, cards are in, nothing is under way any more."""
        self.actors[Field].mend_all()
        for slot in sorted(self.network.out):
            self.network.put_back(slot)
        self.network.wait_replays()
        self.network.quiet()

    def end_of_day(self, whole=True):
        """whole: with the daemon killed, and with an empty network that the printed configuration is typed into."""
        self.calm()
        self.find("log", self.log_check(self.network, at_work=True))
        network = self.network
        if whole:  # a handler of a machine that others use too is slow now and then
            self.find("loop", checks.check_loop(network))
        self.find("tables", checks.check_tables(network))
        self.find("states", checks.check_states(network))
        self.find("counters", checks.check_counters(network))
        self.find("groups", checks.check_groups(network))
        since = network.chassis.mark()
        self.find("cards", checks.check_cards(network))
        self.find("groups", checks.check_groups(network))
        self.find("growth", self.growth_check(network))
        if whole:
            self.find("restart", checks.check_restart(network))
            self.growth_check.first.clear()
        self.find("refused", checks.check_refused(network, since))
        self.find("log", self.log_check(network, at_work=False))
        if whole:
            self.find("typed", checks.check_typed(network))
            self.growth_check.first.clear()
            self.find("groups", checks.check_groups(network))
            self.find("log", self.log_check(network, at_work=True))
        self.network.chassis.simctl("clear-records")
        self.journal.note("soak", "the day is over", f"{len(self.findings)} findings so far")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--days", type=int, default=7)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--scale", choices=SCALES, default="small")
    parser.add_argument("--deeds", type=int, default=480, help="of a day")
    parser.add_argument("--work", help="directory for the journal and the log; kept")
    parser.add_argument("--loud", action="store_true", help="print the journal")
    return parser.parse_args()


def main():
    options = arguments()
    work = pathlib.Path(options.work or tempfile.mkdtemp(prefix="soak-"))
    work.mkdir(parents=True, exist_ok=True)
    print(f"seed {options.seed}, scale {options.scale}; journal in {work}", flush=True)
    soak = Soak(work, options.seed, options.scale, options.loud)
    try:
        soak.open()
        for day in range(1, options.days + 1):
            soak.journal.day = day
            began, before = time.monotonic(), len(soak.findings)
            soak.work(options.deeds)
            soak.end_of_day()
            print(f"day {day}: {options.deeds} deeds in {time.monotonic() - began:.0f} s, {len(soak.findings) - before} findings", flush=True)
    finally:
        soak.close()
    for actor, deeds in soak.journal.deeds.items():
        print(f"{actor}: " + ", ".join(f"{deed} {count}" for deed, count in sorted(deeds.items())))
    return 1 if soak.findings else 0


if __name__ == "__main__":
    sys.exit(main())
