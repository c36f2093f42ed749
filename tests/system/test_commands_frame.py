"""Nodes, names of interfaces, and the forms of "write", on the real daemon."""

import re

import pytest

from chassis import QUIET_SCENARIO, wait_for
from table_files import write_table

NODE_FORMS = ["write terminal", "write terminal current", "write terminal interface gpon-olt1/1", "write file"]


def new_port(chassis, name):
    """The controller reports a port; waits until an operator can enter it."""
    chassis.event("new-if", ifindex=name, flags="up")
    wait_for(lambda: chassis.vty("configure terminal", f"interface {name}").result == 0, what=name)


@pytest.fixture
def running(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    return chassis


def test_an_operator_goes_from_object_to_object(running):
    new_port(running, "gpon-olt1/1")
    new_port(running, "gpon-olt1/2")
    with running.open_vty() as session:
        for line in ("configure terminal", "gpon", "interface gpon-olt1/1", "interface gpon-olt1/2", "gpon", "vlan 7"):
            assert session(line).result == 0, line
        assert session("fec downstream enable").result == 2  # no command of a VLAN


def test_what_stands_on_a_parent_node_leaves_the_session_where_it_is(running):
    new_port(running, "gpon-olt1/1")
    with running.open_vty() as session:
        session("configure terminal")
        session("interface gpon-olt1/1")
        assert session("show slot info").result == 0  # of the configuration node
        assert session("vlan 4095").result == 2
        assert session("interface gpon-olt9/9").result == 1
        assert session("show rogue-onu-detect-state").result != 2  # still on the port


def test_a_failed_interface_command_keeps_the_node(running):
    with running.open_vty() as session:
        session("configure terminal")
        session("gpon")
        reply = session("interface gpon-olt9/9")
        assert (reply.result, str(reply)) == (1, "% Interface[gpon-olt9/9] not exist\n")
        assert session("profile bandwidth gold fixed 250").result == 0
    running.wait_log(r"interface gpon-olt9/9 failed return 104001\.")


def test_while_the_system_starts_an_unknown_interface_is_logged_for_the_recovery(running):
    running.vty("configure terminal", "interface xe9/9")
    running.wait_log(r"\[cli_recovery\].*Interface\[xe9/9\] not exist")


def test_every_form_of_write_stands_on_every_node(running):
    new_port(running, "gpon-olt1/1")
    new_port(running, "xe1/1")
    nodes = {
        "enable": [],
        "config": ["configure terminal"],
        "gpon": ["configure terminal", "gpon"],
        "service profile": ["configure terminal", "gpon", "onu-srvprofile profile-id 1 onu-type KLM-618"],
        "PON port": ["configure terminal", "interface gpon-olt1/1"],
        "uplink": ["configure terminal", "interface xe1/1"],
        "trunk": ["configure terminal", "interface trunk1"],
        "vlan": ["configure terminal", "vlan 5"],
    }
    for node, way in nodes.items():
        with running.open_vty() as session:
            for line in way:
                assert session(line).result == 0, (node, line)
            for form in NODE_FORMS:
                assert session(form).result == 0, (node, form)


def test_one_object_is_written_alone(chassis):
    chassis.start(QUIET_SCENARIO)
    write_table(chassis, "sPonTable", [(1, 1, port) for port in range(1, 17)], sPonTableDsFec=1)
    write_table(chassis, "sOnuTable", [(1, 1, port, onu) for port in range(1, 17) for onu in (1, 128)])
    chassis.start_daemon()
    new_port(chassis, "gpon-olt1/7")
    block = "interface gpon-olt1/7\n fec downstream  enable\n"
    current = chassis.vty("configure terminal", "interface gpon-olt1/7", "write terminal current")
    assert current.startswith(block) and current.endswith("!\n") and current.count("interface") == 1
    named = chassis.vty("write terminal interface gpon-olt1/7")
    assert named.startswith("gpon\n!\n" + block) and named.count("interface") == 1
    onu = chassis.vty("write terminal interface gpon-onu1/7:128")
    assert re.findall(r"^interface .*", onu, re.M) == ["interface gpon-onu1/7:128"]


def test_system_settings_are_written_until_they_are_taken_back(running):
    way = ("configure terminal", "gpon")
    assert running.vty(*way, "ctc enable").result == 0
    assert "\n ctc enable\n" in running.vty("write terminal")
    assert running.vty(*way, "ctc disable").result == 0
    assert running.vty("write terminal") == "gpon\n!\n"


def test_a_full_chassis_is_written_whole_and_others_are_served_meanwhile(chassis):
    chassis.start(QUIET_SCENARIO)
    ports = [(1, slot, port) for slot in range(1, 15) for port in range(1, 17)]
    write_table(chassis, "sPonTable", ports, sPonTableDsFec=1)
    write_table(chassis, "sOnuTable", [(*port, onu) for port in ports for onu in range(1, 129)])
    chassis.start_daemon(timeout=60)
    with chassis.open_vty(timeout=60) as writer, chassis.open_vty(timeout=60) as other:
        text = writer("write terminal")
        assert len(re.findall(r"^interface gpon-onu", text, re.M)) == 28672
        # a shell that asks and doesn't read holds nobody up
        writer._socket.sendall(b"write terminal\0" * 20)
        assert other("show slot info").result == 0
