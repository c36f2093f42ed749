"""The agent of the guide for card authors, with the real daemon: what the guide says is enough to provision an ONU."""

import re

import pytest

from chassis import REPO, SINGLE_BOARD, wait_for

AGENT = str(REPO / "docs/examples/card_agent.py")
ONU = "ABCD0000001F"
PROVISION = (
    "configure terminal",
    "gpon",
    "profile bandwidth home maximum 100000",
    "profile onutype HOME eth 4 pots 2",
    "exit",
    "interface gpon-olt1/1",
    f"onu 5 type HOME sn {ONU}",
    "interface gpon-onu1/1:5",
    "tcont 1 profile home",
    "gemport 1 tcont 1",
    "service-port 1 gemport 1",
)


@pytest.fixture
def system(chassis):
    """A single board whose card is the example's agent, with one ONU that has light."""
    chassis.start(re.sub(r"^card 1 add$", "", SINGLE_BOARD.read_text(), flags=re.M))
    start_agent(chassis)
    chassis.start_daemon()
    return chassis


def typed(chassis, *lines):
    with chassis.open_vty() as session:
        for line in lines:
            reply = session(line)
            assert reply.result == 0, (line, reply)


def start_agent(chassis):
    return chassis.spawn("card_agent", "/usr/bin/python3", AGENT, "1", ONU)


def shown(chassis, line):
    """In capital letters: the daemon writes the digits of serial numbers in small ones."""
    return str(chassis.vty(line)).upper()


def test_an_onu_of_the_example_agent_is_seen_provisioned_and_replayed(system):
    wait_for(lambda: ONU in shown(system, "show onu unconfig"), 20, "the agent's ONU")
    typed(system, *PROVISION)
    wait_for(lambda: re.search(r"1/1:5 +OPERATIONAL", shown(system, "show onu status")), 20, "the ONU to come up")
    assert "V1.0" in shown(system, "show onu status")
    wait_for(lambda: ONU not in shown(system, "show onu unconfig"), 20, "the ONU to leave the list")
    # An operator takes it away: it has light still.
    typed(system, "configure terminal", "interface gpon-olt1/1", "no onu 5")
    wait_for(lambda: ONU in shown(system, "show onu unconfig"), 20, "the ONU to be unconfigured again")


def test_an_agent_that_starts_anew_learns_everything_from_a_replay(system):
    system.simctl("wait", "kind=scenario", "result=done", "timeout=60000", timeout=70)
    typed(system, *PROVISION)
    system.run("pkill", "-f", AGENT)
    start_agent(system)
    system.simctl("event", "slot-deactive", "slot_id=1", "card_type=1")
    system.simctl("event", "slot-active", "slot_id=1", "card_type=1")
    system.simctl("replay", "slot=1", "step=60000", timeout=70)
    wait_for(lambda: re.search(r"1/1:5 +OPERATIONAL", shown(system, "show onu status")), 20, "the ONU to come up")
