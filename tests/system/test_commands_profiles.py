"""Profiles by command: what is typed, what stands in the tables, what is saved and typed again."""

import pytest

from chassis import QUIET_SCENARIO

GPON = ("configure terminal", "gpon")


@pytest.fixture
def running(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    return chassis


def typed(chassis, *lines):
    """Types lines on the gpon node; their results and the text of the last one."""
    with chassis.open_vty() as session:
        for line in GPON:
            assert session(line).result == 0
        replies = [session(line) for line in lines]
    return [reply.result for reply in replies], str(replies[-1])


def rows(chassis, table):
    return chassis.vty(f"show mib table {table} rows")


@pytest.mark.parametrize(
    "words", ["fixed 250", "assured 251", "assured 252 maximum 253", "maximum 254", "fixed 250 assured 251 maximum 501"]
)
def test_each_form_of_bandwidth_makes_a_row_and_is_saved_as_typed(running, words):
    assert typed(running, f"profile bandwidth bw {words}") == ([0], "")
    assert f"\n profile bandwidth bw {words}\n" in running.vty("write terminal")
    assert "total 2 rows" in rows(running, "sBWProfileTable")
    assert typed(running, "no profile bandwidth bw") == ([0], "")
    assert running.vty("write terminal") == "gpon\n!\n"


def test_contradicting_amounts_are_refused_by_the_profiles_rules(running):
    for words in ("assured 300 maximum 299", "fixed 250 assured 250 maximum 499"):
        assert typed(running, f"profile bandwidth bw {words}") == ([1], "%Failed to add bandwidth profile bw\n")
    assert typed(running, "profile bandwidth bw fixed 250 assured 250 maximum 500") == ([0], "")


def test_default_profiles_stay(running):
    assert typed(running, "no profile bandwidth default") == ([1], "%Failed to delete bandwidth profile default\n")
    assert typed(running, "no profile onutype KLM-618")[0] == [1]
    assert running.vty("write terminal") == "gpon\n!\n"


@pytest.mark.parametrize(
    "words",
    [
        "eth 24 pots 2",
        "eth 1 pots 0 down-queue 4 up-queue 3",
        "eth 4 pots 2 card 4",
        "eth 4 pots 2 card 2 down-queue 1 up-queue 1",
        "eth 4 pots 2 card 2 video 1 down-queue 2 up-queue 5",
    ],
)
def test_each_form_of_an_onu_type_is_saved_as_typed(running, words):
    assert typed(running, f"profile onutype ty {words}") == ([0], "")
    assert f"\n profile onutype ty {words}\n" in running.vty("write terminal")
    shown = typed(running, "show profile onutype")[1]
    assert "ty " in shown and "KLM-618" in shown and "total 2\n" in shown


def test_an_onu_type_in_use_stays_until_its_service_profile_goes(running):
    typed(running, "profile onutype ty eth 4 pots 2", "onu-srvprofile profile-id 128 onu-type ty")
    assert typed(running, "no profile onutype ty")[0] == [1]
    assert typed(running, "no onu-srvprofile profile-id 128", "no profile onutype ty")[0] == [0, 0]


def test_a_service_profile_is_made_entered_again_named_and_deleted(running):
    assert typed(running, "onu-srvprofile profile-id 3 onu-type KLM-618", "profile-name three")[0] == [0, 0]
    assert typed(running, "onu-srvprofile profile-id 3 onu-type KLM-618", "profile-name drei")[0] == [0, 0]
    results, shown = typed(running, "show profile onu-srvprofile 3")
    assert results == [0] and "drei" in shown and "KLM-618" in shown
    saved = "onu-srvprofile profile-id 3 onu-type KLM-618\n profile-name drei\n!\n"
    assert running.vty("write terminal") == "gpon\n!\n" + saved
    assert typed(running, "onu-srvprofile profile-id 3 onu-type KLM-618", "write terminal current")[1] == saved
    assert typed(running, "onu-srvprofile profile-id 3 onu-type other") == ([1], "Onu srvprofile id exist\n")
    assert typed(running, "onu-srvprofile profile-id 4 onu-type other") == ([1], "Onu type profile name not exist\n")
    assert typed(running, "no onu-srvprofile profile-id 3") == ([0], "")
    assert typed(running, "no onu-srvprofile profile-id 3") == ([1], "% onu-srvprofile not exist\n")


def test_a_saved_configuration_typed_again_gives_the_same(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    lines = [f"profile bandwidth bw{n} maximum {1000 + n}" for n in range(50)]
    lines += [f"profile onutype type{n} eth {n + 1} pots {n % 3} card 2" for n in range(20)]
    for n in range(1, 21):
        lines += [f"onu-srvprofile profile-id {n} onu-type type{n - 1}", f"profile-name srv{n}"]
    results, _ = typed(chassis, *lines)
    assert set(results) == {0}
    saved = str(chassis.vty("write file"))
    assert saved.count("\n") == 1 + 50 + 20 + 1 + 40 + 1

    chassis.kill_daemon()
    chassis.start_daemon()
    assert chassis.vty("write file") == "gpon\n!\n"
    with chassis.open_vty() as session:
        session("configure terminal")
        for line in saved.splitlines():
            assert session(line).result == 0, line
    assert str(chassis.vty("write file")) == saved
