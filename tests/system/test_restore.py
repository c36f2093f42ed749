"""Cards come and go: what they held comes back, stage by stage, and what is left when they leave."""

import concurrent.futures
import itertools
import threading

import pytest
from chassis import wait_for
from test_provision import SLOTS, TEMPLATE, Storm, add_onu, agree, onu_of, serial, world  # noqa: F401

PRIORITIES = (300, 410, 480)
STAGES = ["1", "2", "2.5", *map(str, range(3, 16))]
#: A chain takes 16 pauses of a second and its work, and so long on a machine that does other things as well.
CHAIN = 120


class Replay:
    """The controller has the daemon bring a card up to date, priority by priority; meanwhile the test goes on."""

    def __init__(self, world, slot):
        self.since = world.chassis.mark()
        self._pool = concurrent.futures.ThreadPoolExecutor(1)
        self._done = self._pool.submit(world.chassis.simctl, "replay", f"slot={slot}", "step=60000", timeout=CHAIN)
        self._pool.shutdown(wait=False)

    def running(self):
        return not self._done.done()

    def wait(self):
        """Until all priorities have been reported as done."""
        self._done.result(CHAIN)


def replay(world, slot):
    """A replay from its start to its end; gives the mark from which its records are."""
    made = Replay(world, slot)
    made.wait()
    return made.since


def results(world, since, slot):
    """The daemon's reports since a mark: (application, priority, result)."""
    found = world.chassis.records(since=since, kind="request", type="cfg-app-notify-recover-result", slotid=slot)
    return [(record["appName"], int(record["cfg_prio"]), int(record["retcode"])) for record in found]


QOS_PROFILES = ("sched-put", "traffic-put", "cos-to-cos-put", "cosq-map-put")

ALL_DONE = [("gpon", priority, 0) for priority in PRIORITIES]


def told(world, since, slot):
    """What a card was told since a mark, but for questions and the default QoS profiles, which come with any replay."""
    requests = world.chassis.records(since=since, kind="card-request", slot=slot)
    return [r for r in requests if r["action"] != "get" and r["type"] not in QOS_PROFILES]


def kind_of(record):
    return record["type"].removeprefix("OV_HAL_MSG_GPON_")


def restart_card(world, slot):
    """The card loses all it was told, and the controller sees it go and come."""
    world.chassis.event("slot-deactive", slot_id=slot, card_type=27)
    world.chassis.simctl("card", slot, "restart")
    world.chassis.event("slot-active", slot_id=slot, card_type=27)
    wait_for(lambda: world.card(slot)["object_count"] == 0, what="the card to be empty")


def provision(world, slot, ports=(1, 2), onus=(1, 2, 128)):
    """Subscribers of several kinds, and settings of ports, so that every replayed table has rows and sets."""
    for port in ports:
        assert world.port.set((1, slot, port), {14: 40, 15: 1}) == "noError"
        for onu in onus:
            index = (1, slot, port, onu)
            assert add_onu(world, *index[1:]) == "noError"
            for number in (1, 2):
                assert world.tcont.create((*index, number), {5: "default", 3: f"tcont{number}"}) == "noError"
                assert world.gem.create((*index, number), {5: number, 4: f"gem{number}"}) == "noError"
                values = {2: number, 3: 100 + number, 7: 2, 19: 10 * (number - 1)}
                assert world.service.create((*index, number), values) == "noError"
            assert world.gem.set((*index, 2), {10: 1}) == "noError"
            assert world.onu.set(index, {9: 0}) == "noError"
            assert world.onu.set(index, {9: 1}) == "noError"


def provision_template(world):
    """A service profile with its rows, and an ONU on each card that has them from it."""
    profile = (*TEMPLATE, 5)
    assert world.srvprofile.create((5,), {4: "KLM-618"}) == "noError"
    assert world.tcont.create((*profile, 1), {5: "default"}) == "noError"
    assert world.gem.create((*profile, 1), {5: 1}) == "noError"
    assert world.service.create((*profile, 1), {2: 1, 3: 200, 7: 2}) == "noError"
    for slot in SLOTS:
        assert add_onu(world, slot, 1, 50, **{"c23": 5, "c24": 1}) == "noError"


def held(world, slot):
    """All objects of a card, by message, but for QoS profiles."""
    objects = world.card(slot)["objects"].items()
    return {name: table["rows"] for name, table in objects if name not in QOS_PROFILES}


def without_states(rows):
    """Rows of a card but for the ONUs' states, which are the card's to tell."""
    return [{name: value for name, value in row.items() if name != "status"} for row in rows]


def test_a_card_that_restarts_empty_gets_everything_back_in_order(world):
    provision(world, 1)
    provision_template(world)
    world.chassis.simctl("onu", "add", serial(1, 1, 1), "port=gpon-olt1/1")
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 1), 11) == "3", what="an ONU to be up")
    replay(world, 1)  # records hold what the rows say by now, states included
    before = held(world, 1)
    restart_card(world, 1)
    wait_for(lambda: world.onu.get((1, 1, 1, 1), 11) == "1", what="the ONU to be out of service while the card is away")
    since = replay(world, 1)
    agree(world)
    after = held(world, 1)
    assert set(after) == set(before)
    for name in before:
        assert without_states(after[name]) == without_states(before[name]), name
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 1), 11) == "3", what="the ONU to be up again")

    # Stage by stage, a second apart; nothing is waited for but the end.
    stages = [
        [("ONU_TYPE", "create"), ("BW_TYPE", "create"), ("ONU_RSSI", "create"), ("RMONU_TRAFFIC_PROFILE", "create"), ("TCONT", "create"),
         ("GEMPORT", "create"), ("SERVPORT", "create")],  # fmt: skip
        [("PORT", "create"), ("PORT", "set")],
        [("ONU", "create"), ("ONU", "set")],
        [("TCONT", "create")],
        [("GEMPORT", "create"), ("GEMPORT", "set")],
        [("SERVPORT", "create"), ("SERVPORT", "set")],
        [("CONF_SYNC_END", "set")],
    ]
    records = told(world, since, 1)
    runs = [(kind, list(run)) for kind, run in itertools.groupby(records, lambda r: (kind_of(r), r["action"]))]
    assert [kind for kind, _ in runs] == [kind for stage in stages for kind in stage]
    first_runs = itertools.accumulate((len(stage) for stage in stages[:-1]), initial=0)
    began = [float(runs[place][1][0]["time"]) for place in first_runs]
    pauses = sorted(later - earlier for earlier, later in itertools.pairwise(began))
    assert pauses[len(pauses) // 2] > 0.9  # one or the other may come late to a busy card
    assert all(record["ipc"] == "async" for record in records[:-1])
    assert records[-1]["ipc"] == "request"
    assert world.chassis.records(since=since, kind="refused") == []
    # Another card hears of the templates and of profiles of limits, which are every card's, and of nothing else.
    assert [kind_of(record) for record in told(world, since, 2)] == ["ONU_RSSI", "TCONT", "GEMPORT", "SERVPORT"]
    texts = world.chassis.log_lines(r"slot 1 stage|finished pon config restore")
    assert [line.split("stage ")[1].split(":")[0] for line in texts if "stage " in line] == STAGES * 2
    assert results(world, since, 1) == ALL_DONE


def test_rows_that_wait_are_replayed_to_no_card(world):
    onu = (1, 1, 1, 7)
    assert add_onu(world) == "noError"
    assert world.tcont.create((*onu, 1), {5: "default"}) == "noError"
    # What a card would take for an object 0, or for one with names of nobody.
    assert world.onu.wait((1, 1, 1, 8), {13: "none such"}) == "noError"
    assert world.tcont.wait((*onu, 2), {5: "none such"}) == "noError"
    assert world.gem.wait((*onu, 1), {5: 9}) == "noError"
    assert world.tcont.wait((*TEMPLATE, 5, 1), {5: "default"}) == "noError"
    assert world.bandwidth.wait((77,), {2: "waits"}) == "noError"
    restart_card(world, 1)
    since = replay(world, 1)
    created = [kind_of(record) for record in told(world, since, 1) if record["action"] == "create"]
    assert [kind for kind in created if kind in ("ONU", "TCONT", "GEMPORT")] == ["ONU", "TCONT"]
    assert created.count("BW_TYPE") == 1  # the default
    (held,) = world.objects(1, "ONU")
    assert onu_of(held["ifindex"]) == onu[1:]
    assert [tcont["tcontId"] for tcont in world.objects(1, "TCONT")] == [1]


def test_a_replay_to_a_card_that_holds_everything_changes_nothing(world):
    provision(world, 1)
    provision_template(world)
    replay(world, 1)
    before = world.card(1)
    replay(world, 1)
    after = world.card(1)
    assert after["received"] > before["received"] + 30
    assert after["changes"] == before["changes"]
    assert after["objects"] == before["objects"]


@pytest.mark.parametrize("stage, lost", [("1", "BW_TYPE"), ("3", "ONU"), ("5", "GEMPORT")])
def test_a_card_that_restarts_between_two_stages_holds_everything_after_the_next_replay(world, stage, lost):
    provision(world, 1, ports=(1,))
    provision_template(world)
    restart_card(world, 1)
    cut = Replay(world, 1)
    world.chassis.wait_log(f"slot 1 stage {stage}: finish", CHAIN)
    assert cut.running()
    restart_card(world, 1)
    cut.wait()  # the chain goes on to its end
    assert results(world, cut.since, 1) == ALL_DONE
    assert world.objects(1, lost) == []
    replay(world, 1)
    assert len(world.objects(1, lost)) > 0
    agree(world)


@pytest.mark.parametrize("name, stage", [("onu", "3"), ("gemport", "5")])
def test_a_card_that_leaves_in_the_middle_of_a_stage_costs_what_it_was_not_told(world, name, stage):
    provision(world, 1, ports=(1,))
    restart_card(world, 1)
    world.chassis.card_fault(1, "close", type=name, ms=60000)  # the first such message is its last
    cut = Replay(world, 1)
    world.chassis.wait_log(f"slot 1 stage {stage}: finish", CHAIN)
    assert not world.card(1)["up"]
    assert world.chassis.vty("show version").result == 0  # the loop goes on
    cut.wait()
    assert results(world, cut.since, 1) == ALL_DONE
    assert world.chassis.log_lines("sync finish set error")
    assert len(world.objects(1, name.upper())) <= 1 and world.objects(1, "SERVPORT") == []
    world.chassis.simctl("card", 1, "on")
    since = replay(world, 1)
    agree(world)
    assert world.chassis.records(since=since, kind="refused") == []


def test_a_card_that_stops_reading_during_its_replay_holds_nobody_and_gets_all_in_order(world):
    for slot in SLOTS[:2]:
        provision(world, slot)
    before = held(world, SLOTS[0])
    restart_card(world, SLOTS[0])
    refused = world.card(SLOTS[0])["refused"]
    world.chassis.simctl("card", SLOTS[0], "stop")
    made = Replay(world, SLOTS[0])
    for stage in ("1", "3", "6"):
        world.chassis.wait_log(rf"slot {SLOTS[0]} stage {stage}: ", timeout=60)
        assert world.chassis.vty("show slot info", timeout=5).result == 0
        assert add_onu(world, SLOTS[1], 1, 60 + int(stage)) == "noError"  # another card answers
    assert world.card(SLOTS[0])["object_count"] == 0
    world.chassis.simctl("card", SLOTS[0], "continue")
    made.wait()
    assert results(world, made.since, SLOTS[0]) == ALL_DONE
    assert world.card(SLOTS[0])["refused"] == refused  # a child before its parent would be
    after = held(world, SLOTS[0])
    for name, rows in before.items():  # beside the profiles of every replay
        assert without_states(after[name]) == without_states(rows)
    assert not world.chassis.log_lines(r"Send async message .* fail")


def test_what_waits_for_a_card_is_dropped_when_its_slot_goes_inactive(world):
    provision(world, SLOTS[0])
    restart_card(world, SLOTS[0])
    world.chassis.simctl("card", SLOTS[0], "stop")
    world.chassis.event("cfg-slot-sync-start", slotid=SLOTS[0], cfg_prio=300)
    world.chassis.wait_log(rf"slot {SLOTS[0]} stage 15: ", timeout=60)
    world.chassis.event("slot-deactive", slot_id=SLOTS[0], card_type=27)
    world.chassis.wait_log(rf"slot {SLOTS[0]}: \d+ messages that waited for the card are dropped$")
    world.chassis.simctl("card", SLOTS[0], "continue")
    world.chassis.event("slot-active", slot_id=SLOTS[0], card_type=27)
    replay(world, SLOTS[0])
    assert world.card(SLOTS[0])["object_count"] > 20


def test_two_cards_at_once_get_each_its_own(world):
    for slot in SLOTS:
        provision(world, slot, ports=(1,))
        restart_card(world, slot)
    both = [Replay(world, slot) for slot in SLOTS]
    world.chassis.wait_log("slot 1 stage 8: finish", CHAIN)
    assert all(made.running() for made in both)
    for made in both:
        made.wait()
    agree(world)
    for slot in SLOTS:
        assert world.card(slot)["reasons"] == {}


def test_two_replays_of_one_card_overlap_and_leave_what_one_leaves(world):
    provision(world, 1)
    provision_template(world)
    restart_card(world, 1)
    first = Replay(world, 1)
    world.chassis.wait_log("slot 1 stage 3: finish", CHAIN)
    second = Replay(world, 1)
    for made in (first, second):  # the first chain's report is taken for the second one's
        made.wait()
    finished = "finished pon config restore for slot 1"
    world.chassis.wait_for(lambda: len(world.chassis.log_lines(finished)) == 2, CHAIN, what="the second chain's end")
    agree(world)
    assert world.card(1)["reasons"] == {}
    assert sorted(results(world, first.since, 1)) == sorted(ALL_DONE * 2)
    numbers = [line.split("stage ")[1].split(":")[0] for line in world.chassis.log_lines("slot 1 stage")]
    assert sorted(numbers) == sorted(STAGES * 2)
    before = world.card(1)["changes"]
    replay(world, 1)
    assert world.card(1)["changes"] == before


def test_slots_and_priorities_that_arent_ours(world):
    since = world.chassis.mark()
    ask = lambda **fields: world.chassis.event("cfg-slot-sync-start", appid=30047, appName="gpon", **fields)
    ask(slotid=30, cfg_prio=300)
    world.chassis.wait_record(since=since, kind="request", type="cfg-app-notify-recover-result", slotid=30, cfg_prio=300, retcode=0)
    ask(slotid=1, cfg_prio=299)
    ask(slotid=1, cfg_prio=410)
    world.chassis.wait_record(since=since, kind="request", type="cfg-app-notify-recover-result", slotid=1, cfg_prio=410, retcode=0)
    assert not world.chassis.records(since=since, kind="request", type="cfg-app-notify-recover-result", cfg_prio=299)


def test_alarms_and_states_are_asked_for_after_a_switch_over(world):
    since = world.chassis.mark()
    world.chassis.event("cfg-sc-switch-2-active-end", slot_id=8, card_type=2)
    world.chassis.wait_record(since=since, kind="card-request", type="trap-sync", count=2)
    world.chassis.wait_log("set trap sync success")


def test_a_replay_to_a_card_that_went_on_ends_with_its_onus_as_they_are(world):
    for onu in (1, 2):
        assert add_onu(world, 1, 1, onu) == "noError"
    world.chassis.simctl("onu", "add", serial(1, 1, 1), "port=gpon-olt1/1")
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 1), 11) == "3", what="an ONU to be up")
    world.chassis.event("slot-deactive", slot_id=1, card_type=27)
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 1), 11) == "1", what="the ONU to be out of service")
    world.chassis.event("slot-active", slot_id=1, card_type=27)
    replay(world, 1)
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 1), 11) == "3", what="the ONU to be known to be up")
    assert world.onu.get((1, 1, 1, 2), 11) == "1"
    assert len(world.objects(1, "ONU")) == 2


# ---- cards that leave --------------------------------------------------------------------------------------------


def test_a_card_that_goes_down_takes_its_onus_out_of_service(world):
    for slot in SLOTS:
        provision(world, slot, ports=(1,), onus=(1,))
        world.chassis.simctl("onu", "add", serial(slot, 1, 1), f"port=gpon-olt{slot}/1", "version=V7")
    for slot in SLOTS:
        world.chassis.wait_for(lambda s=slot: world.onu.get((1, s, 1, 1), 11) == "3", what="the ONUs to be up")
        assert int(world.history.get((1, slot, 1, 1), 1)) > 0
    world.chassis.event("slot-deactive", slot_id=1, card_type=27)
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 1), 11) == "1", what="the ONU to be out of service")
    assert world.onu.get((1, 1, 1, 1), 20) == ""
    assert world.history.get((1, 1, 1, 1), 1) == "0"  # and its history is gone
    assert world.onu.get((1, 2, 1, 1), 11) == "3"
    assert int(world.history.get((1, 2, 1, 1), 1)) > 0
    assert len(world.gem.column(9)) == 4  # the configuration stays


REMOVED = """remote onu opt threshold|remote onu service|remote uni vlan|remote uni status|iphost|service port|gem|tcont|onu
|pon port""".replace("\n", "").split("|")


def tables_of_slots(world):
    return (world.service, world.gem, world.tcont, world.onu, world.history, world.extend, world.port)


def slots_in(table):
    return {index[1] for index in table.column(table.status)}


def wait_removed(world, slot):
    """Until the chain of removal is through; nothing of the card is left then, and something of the others."""
    world.chassis.wait_log(f"Delete all onu on slot {slot}", 60)
    for table in tables_of_slots(world):
        assert slots_in(table) == set(SLOTS) - {slot}, table.entry
    counters = world.chassis.vty("show gpon resources").splitlines()[2:]
    assert {line.split()[0] for line in counters} == {str(other) for other in SLOTS if other != slot}


def test_a_card_that_is_taken_out_takes_its_configuration_with_it(world):
    provision(world, 1, ports=(1, 2), onus=(1, 2))
    provision(world, 2, ports=(1,), onus=(1,))
    since = world.chassis.mark()
    world.chassis.simctl("card", 1, "remove")
    world.chassis.event("slot-remove", slot_id=1, card_type=27)
    wait_removed(world, 1)
    lines = world.chassis.log_lines(r"slot 1 stage .*start remove  ")
    assert [line.split("start remove  ")[1].removesuffix(" configuration") for line in lines] == REMOVED
    assert told(world, since, 2) == []


def test_events_of_onus_that_are_being_removed_bring_nothing_back(world):
    provision(world, 1, ports=(1, 2))
    provision(world, 2, ports=(1,), onus=(1,))
    onus = [f"gpon-onu1/{port}:{onu}" for port in (1, 2) for onu in (1, 2, 128)]
    for slot in SLOTS:
        world.chassis.simctl("onu", "add", serial(slot, 1, 1), f"port=gpon-olt{slot}/1", "version=V7")
        world.chassis.wait_for(lambda s=slot: world.onu.get((1, s, 1, 1), 11) == "3", what="the ONUs to be up")
    world.chassis.event("slot-remove", slot_id=1, card_type=27)
    rounds = 0
    while not world.chassis.log_lines("Delete all onu on slot 1"):  # what the card still has to say
        for onu in onus:
            for state in (1, 2, 3):
                world.chassis.card_event(1, "state", onuIfindex=onu, states=state)
            world.chassis.card_event(1, "trap", AlarmTableAlarmSource=onu, AlarmTableAlarmCode=201, AlarmTableAlarmState=1 + rounds % 2)
        rounds += 1
    assert rounds > 5
    wait_removed(world, 1)
    assert world.onu.get((1, 2, 1, 1), 11) == "3"
    # The card that comes next is empty, and can be provisioned like the first.
    world.chassis.simctl("card", 1, "restart")
    for event in ("slot-add", "slot-active"):
        world.chassis.event(event, slot_id=1, card_type=27)
    world.chassis.event("new-if", ifindex="gpon-olt1/1", flags="up+running")
    world.chassis.wait_for(lambda: 1 in slots_in(world.port), what="the port's row")
    provision(world, 1, ports=(1,), onus=(1,))
    agree(world)


def test_a_card_of_an_unknown_kind_that_is_taken_out_leaves_everything(world):
    provision(world, 1, ports=(1,), onus=(1,))
    world.chassis.event("slot-remove", slot_id=1, card_type=29)
    world.chassis.wait_log("process slot 1 type 29 remove.")
    assert world.chassis.log_lines("start remove task") == []
    assert len(world.onu.column(17)) == 1
    assert len(world.port.column(14)) == 8


# ---- daemons that start again ------------------------------------------------------------------------------------


TABLES = """sPonTable sOnuTable sOnuTypeProfileTable sBWProfileTable sTcontTable sGemTable servicePortTable
sOnuSrvProfileTable sOnuHistoryTable sOnuExtendInfoTable""".split()


def save(world):
    for number, table in enumerate(TABLES):
        world.chassis.event("snmp-mib-table-save", sequence=number, tablename=table)
        world.chassis.wait_log(rf"Process mibsave request {number} for {table}\.$")


def start_daemon_again(world):
    """The controller takes a daemon that has just started through what stands in the chassis."""
    masters = len(world.chassis.log_lines("AgentX master agent connected"))
    since = world.chassis.mark()
    world.chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
    world.chassis.wait_record(since=since, kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    world.chassis.wait_agent(connections=masters + 1)
    world.chassis.event("slot-active", slot_id=8, card_type=2)
    for slot in SLOTS:
        world.chassis.event("slot-active", slot_id=slot, card_type=27)


def test_a_daemon_that_starts_again_tells_a_card_nothing_new(world):
    for slot in SLOTS:
        provision(world, slot, ports=(1,))
    provision_template(world)
    save(world)
    for slot in SLOTS:
        replay(world, slot)  # records hold what the rows say by now
    before = [world.card(slot) for slot in SLOTS]
    world.chassis.kill_daemon()
    start_daemon_again(world)
    since = [Replay(world, slot) for slot in SLOTS]
    for made in since:
        made.wait()
    agree(world)
    for slot, held_before in zip(SLOTS, before):
        after = world.card(slot)
        assert len(told(world, since[0].since, slot)) > 20
        assert after["reasons"] == {}
        assert after["objects"] == held_before["objects"]
        assert after["changes"] == held_before["changes"]


def test_rows_from_a_file_count_for_nothing_refuse_to_go_and_stop_no_removal(world):
    for slot in SLOTS:
        provision(world, slot, ports=(1,))
    save(world)
    world.chassis.kill_daemon()
    start_daemon_again(world)
    world.chassis.event("slot-remove", slot_id=1, card_type=27)
    world.chassis.wait_log("Delete all onu on slot 1", 60)
    for table in (world.service, world.gem, world.tcont, world.onu):
        assert slots_in(table) == set(SLOTS), table.entry
    assert slots_in(world.port) == {2}  # ports are counted nowhere
    refused = world.chassis.log_lines("slot 1: delete of servicePortTable .* failed")
    assert len(refused) == 6


@pytest.mark.parametrize("seed", [1, 2])
def test_a_daemon_that_is_killed_while_it_provisions_brings_cards_to_what_it_saved(world, seed):
    storm = Storm(world, seed)
    provision(world, 1, onus=(3, 4))
    for _ in range(storm.random.randrange(300, 500)):
        storm.step()
    save(world)
    saved = {table.entry: table.column(table.status) for table in (world.onu, world.tcont, world.gem, world.service)}
    assert all(saved.values())
    killer = threading.Timer(storm.random.uniform(0.2, 1.0), world.chassis.kill_daemon)
    killer.start()
    while killer.is_alive():  # the request that it dies in has no answer
        try:
            storm.step()
        except AssertionError:
            break
    killer.join()

    start_daemon_again(world)
    now = {table.entry: table.column(table.status) for table in (world.onu, world.tcont, world.gem, world.service)}
    assert now == saved
    for slot in SLOTS:
        world.chassis.simctl("clear-card-faults", slot)
        restart_card(world, slot)
    for made in [Replay(world, slot) for slot in SLOTS]:
        made.wait()
    agree(world)
