"""The demo: the tour that a new user types plays by itself, and stands in the operator's guide as it is."""

import os
import re
import shutil
import subprocess
import sys

import pytest

from chassis import BIN, REPO, program, program_places

sys.path.insert(0, str(REPO / "tools" / "demo"))
import tour  # noqa: E402

DEMO = REPO / "tools" / "demo.sh"
HOME = tour.TOUR.with_name("home.txt")
CHAPTERS = sorted(tour.TOUR.parent.glob("*.txt"))
GUIDE = REPO / "docs" / "operators-guide.md"


def with_shell(shell):
    """What stands before a command that is to find this program as /bin/sh, in a sandbox."""
    mounting = 'mount --bind "$0" /bin/sh && [ /bin/sh -ef "$0" ] && exec "$@"'
    return ["bash", "-c", mounting, shutil.which(shell)] if shell else []


def demo(*args, lines="", binds=(), timeout=90, shell=None):
    """What ./run does once these programs are built: the exit status, and everything that was printed. shell: a program
    to have as /bin/sh."""
    command = [program("gpon-sandbox")]
    for path in (*program_places(), *binds):
        command += ["--bind", str(path)]
    env = {**os.environ, "PATH": f"{BIN}:{os.environ['PATH']}"}
    done = subprocess.run(
        [*command, "--", *with_shell(shell), str(DEMO), *map(str, args)],
        input=lines, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, env=env, timeout=timeout,
    )  # fmt: skip
    return done.returncode, done.stdout


def commands(path=tour.TOUR):
    return [command for step in tour.read_tour(path) for command in step.commands]


@pytest.mark.parametrize("path", CHAPTERS, ids=lambda path: path.stem)
def test_every_step_of_the_tour_holds(path):
    status, output = demo("--demo", *([] if path == tour.TOUR else [path]))
    assert status == 0, output
    shown = [line for line in output.splitlines() if re.match(r"gpon(?:\(.*?\))?# |\$ ", line)]
    assert shown == [command.shown for command in commands(path)]
    assert f"All as expected: steps {len(tour.read_tour(path))}, commands {len(commands(path))}," in output


def test_only_the_demos_that_there_are_can_be_asked_for():
    for words in (["nothing"], ["home", "tour"]):
        done = subprocess.run([str(REPO / "run"), "--demo", *words], capture_output=True, text=True, timeout=20)
        assert (done.returncode, done.stderr) == (2, f"./run --demo: there is {' '.join(path.stem for path in CHAPTERS)}\n")


@pytest.mark.parametrize(
    "steps, failure",
    [
        ("gpon# show onu status\n=> ^total 5", "6: the output should be such that it has /^total 5/"),
        ("gpon# show onu status\n=! ^total", "6: the output should be such that it has no /^total/"),
        ("gpon# show onu status", "6: it should print nothing"),
        ("gpon# show onu startus\n=> .", "6: the daemon refused it"),
        ("gpon(gpon)# end", '6: the prompt is "gpon#", not "gpon(gpon)#"'),
        ("$ pull-card 3\n=> line cards are in slots 1 and 2", "6: it ended with status 2"),
    ],
)
def test_a_step_that_does_not_hold_ends_the_demo(tmp_path, steps, failure):
    other = tmp_path / "other.txt"
    other.write_text(f"## Fine\nText.\ngpon# configure terminal\ngpon(config)# end\n## Not\n{steps}\ngpon# show nothing\n")
    status, output = demo("--demo", other, binds=[tmp_path])
    assert status == 1
    assert f"FAILED  other.txt:{failure}" in output
    assert "show nothing" not in output


ONE_ONU = """gpon# show onu unconfig
=> 10s DEMO00000001
gpon# configure terminal
gpon(config)# interface gpon-olt1/1
gpon(gpon-olt1/1)# onu 1 type KLM-618 sn DEMO00000001
gpon(gpon-olt1/1)# show onu status
=> 10s ^1/1:1 +operational
gpon(gpon-olt1/1)# interface gpon-onu1/1:1
gpon(gpon-onu1/1:1)# name first
"""

GOING_ON = f"""## What the guide suggests behind the tour
An ONU that loses its power, many more ONUs, a card that errs.
{ONE_ONU}$ simctl onu gasp DEMO00000001
gpon(gpon-onu1/1:1)# end
gpon# show onu status
=> 10s ^1/1:1 +added
$ snmpwalk -v2c -c public -On 127.0.0.1 .1.3.6.1.4.1.47281.1.1.1.3.1
=> 10s 209
$ simctl onu on DEMO00000001
gpon# show onu status
=> 10s ^1/1:1 +operational
$ simctl onu add ABCD00000001 port=gpon-olt2/16 count=100
gpon# show interface gpon-olt2/16 onu unconfig
=> 10s total 100
$ simctl card-fault 1 no-reply type=tcont
"""


def test_what_the_guide_suggests_behind_the_tour_works(tmp_path):
    other = tmp_path / "other.txt"
    other.write_text(GOING_ON)
    status, output = demo("--demo", other, binds=[tmp_path])
    assert status == 0, output


END_DAEMON = "$ pid=$(cat /var/run/gpon.pid); kill $pid; tail --pid=$pid -f /dev/null\n"
FORGET_TABLES = "$ rm -r /var/run/product/mibdata\n"
KEEP = """$ gponsh -c "write terminal" >/tmp/before
"""
SAME = """$ gponsh -c "write terminal" | diff /tmp/before - && echo as before
=> 20s ^as before
$ gponsh -c "show onu status"
=> 10s ^1/1:1 +operational
"""
SAVE = """$ gponsh -c "write memory"
=> ^The configuration is saved: /flash/gpon.conf, [0-9]+ lines
=> ^[0-9]+ tables are saved
"""


@pytest.mark.parametrize(
    "title, steps",
    [
        ("What was changed behind the save is gone", [SAVE, KEEP, "gpon(gpon-onu1/1:1)# name second\n", END_DAEMON]),
        ("What no table keeps is typed", [
            "gpon(gpon-onu1/1:1)# vlan-smart-qinq ingress-port gpon-olt1/2 cos 3 svlan 300\n", SAVE, KEEP, END_DAEMON,
        ]),
        ("Without tables the configuration is typed", [SAVE, KEEP, FORGET_TABLES, END_DAEMON]),
        ("The save before is kept", [
            SAVE, KEEP, "gpon(gpon-onu1/1:1)# name second\n", SAVE,
            "$ mv /flash/gpon.conf.bak /flash/gpon.conf\n", FORGET_TABLES, END_DAEMON,
        ]),
    ],
)  # fmt: skip
def test_a_daemon_that_ends_is_given_what_was_saved(tmp_path, title, steps):
    other = tmp_path / "other.txt"
    other.write_text(f"## {title}\nText.\n" + ONE_ONU + "".join(steps) + SAME)
    status, output = demo("--demo", other, binds=[tmp_path])
    assert status == 0, output


@pytest.mark.parametrize("shell", ["dash", "bash"])
def test_what_was_saved_comes_back_whatever_program_is_sh(tmp_path, shell):
    other = tmp_path / "other.txt"
    other.write_text(f"## What is saved comes back\nText.\n{ONE_ONU}{SAVE}{KEEP}{END_DAEMON}{SAME}")
    status, output = demo("--demo", other, binds=[tmp_path], shell=shell)
    assert status == 0, output


def test_the_onus_of_a_configuration_that_was_not_saved_are_unconfigured_again(tmp_path):
    other = tmp_path / "other.txt"
    other.write_text(f"""## Nothing was saved
Text.
{ONE_ONU}{END_DAEMON}$ gponsh -c "show onu unconfig"
=> 60s DEMO00000001
$ gponsh -c "show onu status"
=! ^1/1:1
""")
    status, output = demo("--demo", other, binds=[tmp_path], timeout=150)
    assert status == 0, output


@pytest.mark.parametrize(
    "prepare, said",
    [
        ("ov_env_put OV_ENV_CONFIG_FILE /nowhere/gpon.conf", "^% The configuration isn't saved: /nowhere/gpon.conf: No such file"),
        ("simctl close async", "^% The tables aren't saved: "),
        ("full-disk", "^% The tables aren't saved: the files of [A-Za-z]+ and [0-9]+ more couldn't be written"),
    ],
)
def test_a_save_that_fails_says_what_was_not_saved(tmp_path, prepare, said):
    health = ""
    if prepare == "full-disk":
        health = "=> ^  the files of [0-9]+ more tables couldn't be saved\n"
        place = "/var/run/product/mibdata"
        prepare = f"mkdir -p {place}; mount -t tmpfs -o size=4k none {place}; head -c 64K /dev/zero >{place}/full"
    other = tmp_path / "other.txt"
    other.write_text(f"""## Saving fails
Text.
$ {prepare}; gponsh -c "write memory"; echo status $?
=> {said}
=> ^status 1
$ gponsh -c "show chassis health"
{health}""")
    status, output = demo("--demo", other, binds=[tmp_path], timeout=150)
    assert status == 0, output


def test_a_place_for_the_configuration_can_be_set(tmp_path):
    other = tmp_path / "other.txt"
    other.write_text("""## Elsewhere
Text.
$ ov_env_put OV_ENV_CONFIG_FILE /tmp/mine.conf && gponsh -c "copy running-config startup-config"
=> ^The configuration is saved: /tmp/mine.conf,
$ grep -c . /tmp/mine.conf
=> ^[1-9]
$ printf 'configure terminal\\nwrite memory\\n' | gponsh -f -
=> ^The configuration is saved: /tmp/mine.conf,
$ pid=$(pgrep -x snmpd); kill $pid; tail --pid=$pid -f /dev/null; grep community /tmp/snmp/snmpd.conf
=> ^rwcommunity private
""")
    status, output = demo("--demo", other, binds=[tmp_path])
    assert status == 0, output


@pytest.mark.parametrize(
    "command, said",
    [
        ("pull-card", "line cards are in slots 1 and 2"),
        ("pull-card 8", "line cards are in slots 1 and 2"),
        ("insert-card 1 2", "line cards are in slots 1 and 2"),
        ("insert-card 1", "there is a card in slot 1"),
    ],
)
def test_cards_are_moved_only_where_they_can_be(tmp_path, command, said):
    other = tmp_path / "other.txt"
    other.write_text(f"## A slip\nText.\n$ {command} 2>&1; true\n=> {said}\n")
    status, output = demo("--demo", other, binds=[tmp_path])
    assert status == 0, output


def test_lines_from_a_pipe_are_run_and_their_end_takes_the_chassis_down():
    status, output = demo(lines="show slot info\nshow onu unconfig\n", timeout=30)
    assert status == 0, output
    assert re.search(r"^ +2 +lc +27 +yes +yes", output, re.MULTILINE)


@pytest.mark.parametrize("path", CHAPTERS, ids=lambda path: path.stem)
def test_the_guide_has_the_tour_as_it_is(path):
    guide = GUIDE.read_text()
    change = f"tools/demo/tour.py --tour {path.relative_to(REPO)} --update docs/operators-guide.md"
    assert tour.updated(guide, tour.read_tour(path), path) == guide, change


def test_all_that_a_user_is_shown_is_typed_by_the_demo(capsys):
    tour.print_tour(tour.read_tour())
    printed = [line.strip() for line in capsys.readouterr().out.splitlines()]
    assert [line for line in printed if re.match(r"gpon(?:\(.*?\))?# |\$ ", line)] == [c.shown for c in commands()]


@pytest.mark.parametrize("text", ["gpon# show", "=> early", "## A\ngpon show", "## A\ngpon# show\n=> (", "## A\ngpon# a\ntext"])
def test_a_tour_that_cannot_be_read_is_refused(tmp_path, text):
    path = tmp_path / "bad.txt"
    path.write_text(text + "\n")
    done = subprocess.run([tour.__file__, "--tour", str(path)], capture_output=True, text=True)
    assert done.returncode == 1 and done.stderr.startswith("tour: "), done
