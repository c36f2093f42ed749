"""Settings of PON ports by command."""

import pytest

from chassis import QUIET_SCENARIO, REPO
from table_files import write_table
from test_commands_frame import new_port


def test_settings_of_ports_are_written_and_only_those(chassis):
    chassis.start(QUIET_SCENARIO)
    write_table(chassis, "sPonTable", [(1, 1, 1)])
    chassis.start_daemon()
    assert chassis.vty("write terminal") == "gpon\n!\ninterface gpon-olt1/1\n!\n"


def test_a_port_with_everything_set_is_written_in_commands(chassis):
    chassis.start(QUIET_SCENARIO)
    write_table(
        chassis,
        "sPonTable",
        [(1, 1, 1)],
        sPonTableAutoLearn=1,
        sPonTableAutoFind=0,
        sPonTableDsFec=1,
        sPonTableKeyExchangeCtrl=1,
        sPonTableKeyExchangeInterval=1000000,
        sPonTableMaxLogicDistance=60,
        sPonTablePmEnable=1,
        sPonTableNniPmEnable=1,
        sPonTablePortProtect=0,
        sPonTableMibDataSync=0,
        sPonTableSilenceOnuTime=360,
        sPonTableRogueOnuDetect=1,
    )
    chassis.start_daemon()
    new_port(chassis, "gpon-olt1/1")
    lines = chassis.vty("write terminal interface gpon-olt1/1").splitlines()[3:-1]
    assert lines == [
        " uncfg-onu silence enable 360",
        " rogue-onu-detect enable",
        " onu auto-discovery disable",
        " fec downstream  enable",
        " aes encryption key_exchange enable",
        " aes encryption key_exchange interval 1000000",
        " onu max_distance 60",
        " pm protocol enable",
        " pm data enable",
        " switch-port protected disable",
        " mib-data-sync disable",
        " onu auto-authentication enable",
    ]


def test_a_setting_is_a_command_of_its_port_only(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    new_port(chassis, "gpon-olt1/1")
    with chassis.open_vty() as session:
        session("configure terminal")
        assert session("fec downstream enable").result == 2
        session("interface gpon-olt1/1")
        for line in ("fec downstream", "fec", "onu max_distance"):
            reply = session(line)
            assert reply.result not in (0, 1), line
        assert session("onu max_distance 70").result == 2
        legacy = session("onu auto-flow enable")
        assert (legacy.result, str(legacy)) == (0, "% legacy command for upgrade. please try new command!!\n")
        refused = session("onu-auto-flow vendor 1 ABCD srv-profile none")
        assert (refused.result, str(refused)) == (1, "%wrong operation, please enable auto flow firstly\n")
        refused = session("onu auto-authentication enable auto-flow enable def-srv-profile none")
        assert (refused.result, str(refused)) == (1, "%Onu srv profile not exist\n")


# ---- with line cards ---------------------------------------------------------------------------------------


@pytest.fixture
def shelf(chassis):
    """A shelf whose cards hold a record for each PON port."""
    chassis.start(REPO / "sim" / "scenarios" / "shelf.scn")
    chassis.start_daemon()
    chassis.wait_for(lambda: "interface gpon-olt3/16" in chassis.vty("write terminal"), 30, "the ports' rows")
    return chassis


def typed(chassis, port, *lines):
    """Types lines on a port: the results and the text of the last one."""
    with chassis.open_vty() as session:
        assert session("configure terminal").result == 0
        assert session(f"interface {port}").result == 0
        replies = [session(line) for line in lines]
    return [reply.result for reply in replies], str(replies[-1])


def on_gpon(chassis, *lines):
    with chassis.open_vty() as session:
        for line in ("configure terminal", "gpon", *lines):
            assert session(line).result == 0, line


def card_port(chassis, slot, port):
    """What a card was told of a port."""
    return chassis.card(slot, type="port")["objects"]["OV_HAL_MSG_GPON_PORT"]["rows"][port - 1]


def saved(chassis, port):
    """The lines of a port's saved block behind its head."""
    return chassis.vty(f"write terminal interface {port}").splitlines()[3:-1]


SETTINGS = [
    # command, what the card holds then, None for a setting of the daemon alone; and back
    ("fec downstream  enable", ("DsFec", 1), "fec downstream disable"),
    ("aes encryption key_exchange enable", ("KeyExchangeCtrl", 1), "aes encryption key_exchange disable"),
    (
        "aes encryption key_exchange interval 1000",
        ("KeyExchangeInterval", 1000),
        "aes encryption key_exchange interval 10000",
    ),
    ("onu max_distance 60", ("MaxLogicDistance", 60), "onu max_distance 20"),
    ("onu auto-discovery disable", ("autofind", 0), "onu auto-discovery enable"),
    ("onu auto-authentication enable", ("autolearn", 1), "onu auto-authentication disable"),
    ("uncfg-onu silence enable 60", ("silenceTime", 60), "uncfg-onu silence disable"),
    ("rogue-onu-detect enable", ("rogueOnuDetect", 1), "rogue-onu-detect disable"),
    ("switch-port protected disable", ("portProtect", 0), "switch-port protected enable"),
    ("mib-data-sync disable", ("mibDataSync", 0), "mib-data-sync enable"),
    ("pm protocol enable", None, "pm protocol disable"),
    ("pm data enable", None, "pm data disable"),
]


def test_each_setting_reaches_card_and_saved_configuration_and_can_be_taken_back(shelf):
    for command, held, back in SETTINGS:
        assert typed(shelf, "gpon-olt1/3", command) == ([0], ""), command
        assert saved(shelf, "gpon-olt1/3") == [" " + command]
        assert saved(shelf, "gpon-olt1/4") == []
        if held:
            assert card_port(shelf, 1, 3)[held[0]] == held[1], command
            assert card_port(shelf, 1, 4)[held[0]] != held[1], command
        assert typed(shelf, "gpon-olt1/3", back) == ([0], "")
        assert saved(shelf, "gpon-olt1/3") == []


def test_a_saved_port_typed_on_another_port_makes_it_the_same(shelf):
    on_gpon(shelf, "onu-srvprofile profile-id 9 onu-type KLM-618", "profile-name nine")
    lines = [command for command, _, _ in SETTINGS if "auto-authentication" not in command]
    lines += [
        "onu auto-authentication enable auto-flow enable def-srv-profile nine configure_onu_node enable",
        "onu-auto-flow sfu srv-profile nine",
        "onu-auto-flow hgu srv-profile nine",
        "onu-auto-flow vendor 1 MRVO srv-profile nine",
        "onu-auto-flow vendor 4 ABCD srv-profile nine",
        "onu-auto-flow model 2 12345678901234567890 srv-profile nine",
    ]
    assert set(typed(shelf, "gpon-olt1/1", *lines)[0]) == {0}
    block = saved(shelf, "gpon-olt1/1")
    assert sorted(line[1:] for line in block) == sorted(lines)
    assert set(typed(shelf, "gpon-olt2/7", *block)[0]) == {0}
    assert saved(shelf, "gpon-olt2/7") == block


def test_auto_flow_slots_are_refused_as_they_must_be(shelf):
    on_gpon(shelf, "onu-srvprofile profile-id 9 onu-type KLM-618", "profile-name nine")
    vendor = "onu-auto-flow vendor 1 MRVO srv-profile nine"
    port = "gpon-olt1/1"
    assert typed(shelf, port, vendor) == ([1], "%wrong operation, please enable auto flow firstly\n")
    enable = "onu auto-authentication enable auto-flow enable def-srv-profile nine"
    assert typed(shelf, port, enable, vendor)[0] == [0, 0]
    assert typed(shelf, port, vendor) == ([1], "%Vendor profile has existed\n")
    assert typed(shelf, port, "no onu-auto-flow vendor 1", vendor)[0] == [0, 0]
    # a profile that a port names stays
    with shelf.open_vty() as session:
        session("configure terminal")
        session("gpon")
        assert session("no onu-srvprofile profile-id 9").result == 1
    # switching auto flow off empties the slots
    assert typed(shelf, port, "onu auto-authentication enable auto-flow disable")[0] == [0]
    assert saved(shelf, port) == [" onu auto-authentication enable"]


def test_what_the_card_refuses_is_told_and_not_kept(shelf):
    shelf.card_fault(1, "code", type="port", code=1009)
    assert typed(shelf, "gpon-olt1/3", "fec downstream enable") == ([1], "%Failed to set ds fec\n")
    assert saved(shelf, "gpon-olt1/3") == []
    shelf.card_fault(1, "code", type="port", code=1009)
    # says so and succeeds
    assert typed(shelf, "gpon-olt1/3", "mib-data-sync disable") == ([0], "%Failed to set mib-data-sync \n")
    assert saved(shelf, "gpon-olt1/3") == []


def test_a_broadcast_limit_needs_the_hierarchical_scheduler(shelf):
    refused = typed(shelf, "gpon-olt1/3", "scb max-bandwidth 1000")
    assert refused == ([1], "%Failed to set scb port downstream max bandwitch\n")
    assert saved(shelf, "gpon-olt1/3") == []


def test_the_stage_of_the_search_for_rogue_onus_is_the_cards(shelf):
    assert typed(shelf, "gpon-olt1/3", "show rogue-onu-detect-state") == ([0], " STAGE1 Rogue onu detect start\n")
    shelf.event("slot-deactive", slot_id=1, card_type=1)
    shelf.wait_for(
        lambda: typed(shelf, "gpon-olt1/3", "show rogue-onu-detect-state") == ([1], "%Failed to get port info \n"),
        what="the card to be gone",
    )


def test_controllable_multicast_is_told_to_every_card_and_nobody_waits(shelf):
    since = shelf.mark()
    on_gpon(shelf, "ctc enable", "ctc disable")
    for slot in (1, 2, 3):
        shelf.wait_record(
            kind="card-request", type="OV_HAL_MSG_GPON_MCAST_CTC_ACT", slot=slot, since=since, count=2
        )
