"""One table of the benchmarks' figures, from what each of them printed (bench/all.sh)."""

import os
import pathlib
import re
import sys

# Of each bench: what the figure is, a pattern whose group is the figure (the worst of all matches counts), and the most, or the
# least (negative), that is wanted; None where it is told for itself.
FIGURES = {
    "table_file": (
        ("loading, times the bare split", r"^all(?: +\S+){5} +(\S+)", None),
        ("saving, times the bare split", r"^all(?: +\S+){7} +(\S+)", None),
        ("memory, of records + 64 bytes a row", r"^all(?: +\S+){8} +(\S+)", 1.25),
    ),
    "startup": (("start without rows, ms", r"median ([\d.]+) ms", 300),),
    "snmp_walk": (
        ("walk at 32,768 rows, of an agent of its own", r"^walk +32768 .*\|.*\| +\d+ +\d+ +\d+ +([\d.]+) +[\d.]+ \|", -0.9),
        ("GET at 32,768 rows, of an agent of its own", r"^get +32768 .*\|.*\| +\d+ +\d+ +\d+ +([\d.]+) +[\d.]+ \|", -0.9),
        ("walk at 32,768 rows, of that at 1,024", r"processor time: walk at .*: ([\d.]+)", -0.9),
        ("a SET, in GETs", r"processor time: a SET in GETs, daemon: [\d.]+, ([\d.]+)", 1.5),
    ),
    "event_flood": (("longest wait of an operator, ms", r"longest wait for an answer: ([\d.]+) ms", 60),),
    "gponsh": (("a process of the shell, ms", r"gponsh -c: median ([\d.]+) ms", 20), ("replay by the shell, of the daemon alone", r"profiles: .* ratio ([\d.]+)", None)),
    "alarm_storm": (("alarms lost", r"lost: (\d+) rows", 0), ("longest wait of an operator, ms", r"operator: .* longest ([\d.]+) ms", None)),
    "provision": (
        ("an ONU made, of four bare exchanges", r"^provision .* ([\d.]+) of 4", 2),
        ("last ONUs of first", r"^provision .* us \(([\d.]+)\)", 1.2),
    ),
    "remote": (("a home, of bare exchanges", r"a home of .*\(([\d.]+)\)", 2), ("replay, of bare sends", r"replay of .*\(([\d.]+)\)", 1.3)),
    "qinq": (("a rule's test on the last card, of the first", r"its test .*\(([\d.]+)\)", 1.5), ("replay, of bare requests", r"^replay .*\(([\d.]+)\)", 1.3)),
    "qos": (
        ("objects, of records + 64 bytes", r"each \(([\d.]+) of the limit", 1.25),
        ("a binding, of bare", r"binding to .*\(([\d.]+)\)", 1.3),
        ("replay, of bare sends", r"replay of a card.*\(([\d.]+)\)", 1.3),
    ),
    "batch": (("a copy, of bare round trips", r"in steps .*\(([\d.]+) of bare", 1.5), ("loop held, ms", r"held for ([\d.]+) ms", 100)),
    "learn": (("learnt, rate of provisioned", r"rate ([\d.]+)", -0.5), ("a report holds the loop, ms in the median", r"loop for ([\d.]+) ms", 100)),
    "pm": (
        ("a row of a pass, of a bare exchange", r"a row of a pass .*\(([\d.]+)\)", 1.5),
        ("pass over a card of 2 ms answers, of their sum", r"one card.* ([\d.]+) of the answers", 0.125),
        ("pass over 14 cards, of one", r"14 cards: .*\(([\d.]+) of one", 1.5),
        ("loop held, ms of processor time", r"held for .* ([\d.]+) ms of processor", 100),
    ),
    "restore_load": (
        ("replay of a full card, s of work", r"sum ([\d.]+) s", 2),
        ("beside 13 others, of alone", r"work with 14 cards .* ([\d.]+) of that with 1$", 1.2),
        ("longest wait of an operator, ms", r"longest (\d+) ms", 250),
    ),
    "stopped_card": (("longest wait of an operator, ms", r"longest (\d+) ms", 250),),
    "replay_config": (("replay by the shell, of direct calls", r"replay ([\d.]+) of it", 1.5),),
    "write_terminal": (("lines a second", r"s, (\d+) a second", -200_000), ("longest wait of an operator, ms", r"waited (\d+) ms", 100)),
    "home_card": (("replay of a card with homes, of bare sends", r"work is ([\d.]+) of it", None),),
    "full_chassis": (
        ("start with a million rows, s", r"^start .* rows in ([\d.]+) s", 3),
        ("memory, of records + 64 bytes a row", r"^memory .* ([\d.]+) of records", 1.25),
        ("walks of the five biggest tables, of an agent that only answers", r"^SNMP walk: s.* ([\d.]+) of an agent", None),
        ("configuration written, lines a second", r"^configuration written .* (\d+) a second", -200_000),
        ("configuration typed, us a line", r"^configuration of one card typed .* (\d+) us each", None),
        ("restore beside 13 full cards, of alone", r"^ +beside 13 full ones +([\d.]+) of alone", 1.2),
        ("at rest, % of a core", r"^at rest +([\d.]+) %", 0.2),
        ("all fibres cut, s", r"^all fibres cut: .*alarms +([\d.]+) s, ", None),
        ("all fibres mended, s", r"^all fibres mend: .*alarms +([\d.]+) s, ", None),
        ("events lost in a storm", r"^all fibres .* (\d+) events lost", 0),
        ("longest wait of an operator in a storm, ms", r"^all fibres .* (\d+) at most", None),
        ("saving, rows a second", r"^all tables saved .* (\d+) a second", None),
        ("killed and started, s", r"^killed and started +([\d.]+) s", 3),
        ("lines lost by it", r"nothing lost +(\d+) lines", 0),
    ),
}  # fmt: skip


def verdict(figure, limit):
    if limit is None:
        return "", ""
    wanted = f"at least {-limit:g}" if limit < 0 else f"at most {limit:g}"
    return wanted, "" if (figure >= -limit if limit < 0 else figure <= limit) else "missed"


def rows(results):
    for name, figures in FIGURES.items():
        file = results / f"{name}.txt"
        if not file.exists():
            continue
        text = file.read_text()
        for what, pattern, limit in figures:
            found = [float(value) for value in re.findall(pattern, text, re.M)]
            if not found:
                yield name, what, "not told", "", "missed"
                continue
            worst = min(found) if limit is not None and limit < 0 or "of an agent" in what else max(found)
            yield name, what, f"{worst:g}", *verdict(worst, limit)


def main():
    results = pathlib.Path(sys.argv[1])
    print(f"{results.parent.name} build, {os.cpu_count()} cores, load average {os.getloadavg()[1]:.1f} at the end\n")
    print("| Bench | Figure | Measured | Wanted | |\n|---|---|---|---|---|")
    for row in rows(results):
        print("| " + " | ".join(row) + " |")


if __name__ == "__main__":
    main()
