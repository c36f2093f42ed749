"""The daemon is killed while a protection group is copied, mirrored and switched over, and started again: what both
ports and the tables hold then is what was saved, the card is brought to that, and the group works on."""

import concurrent.futures

import pytest

from chassis import wait_for
from snmp_manager import Table
from test_protection import GROUP, INT, MSP, NEW_GROUP, TEXT, WORK, Pair, pon
from test_provision import Chassis, serial
from test_restore import TABLES, replay, restart_card, start_daemon_again

LATE = 60_000  # ms; longer than the daemon lives


class Killed(Pair):
    """Subscribers on port 1, all saved; no card is in step yet."""

    def __init__(self, chassis, onus=2):
        Chassis.__init__(self, chassis, ports=3)
        self.groups = Table(self.manager, "32", 11, {2: TEXT, 3: INT, 4: INT, 7: INT, 8: INT})
        self.saves = 0
        for onu in range(1, onus + 1):
            self.subscribe(onu)
        chassis.simctl("onu", "add", serial(1, 1, 1), f"port={WORK}", f"count={onus}")
        self.save()

    def save(self):
        for table in (*TABLES, "portProtectTable"):
            self.saves += 1
            self.chassis.event("snmp-mib-table-save", sequence=self.saves, tablename=table)
            self.chassis.wait_log(rf"Process mibsave request {self.saves} for {table}\.$")

    def rows(self, port):
        """What the tables have below a port."""
        found = set()
        for table in (self.onu, self.tcont, self.gem, self.service):
            found |= {(table.entry, *index[3:]) for index in table.column(table.status) if index[2] == port}
        return found

    def kill_when_told(self, kind, slow, act, times=1):
        """Has the card answer too late to be heard, and kills the daemon that waits for it in `act`."""
        mark = self.chassis.mark()
        self.chassis.card_fault(1, "late", type=kind, ms=LATE, times=times)
        with concurrent.futures.ThreadPoolExecutor() as pool:
            under_way = pool.submit(act)
            self.chassis.wait_for(lambda: slow(self.chassis.records(since=mark, kind="card-request", slot=1)), 20, kind)
            self.chassis.kill_daemon()
            concurrent.futures.wait([under_way])  # it has no answer
        self.chassis.simctl("clear-card-faults", 1)
        start_daemon_again(self)
        for port in (1, 2, 3):
            self.chassis.event("new-if", ifindex=f"gpon-olt1/{port}", flags="up+running")

    def bring_card_up(self):
        restart_card(self, 1)
        replay(self, 1)


@pytest.fixture
def world(chassis):
    made = Killed(chassis)
    yield made
    made.close()


def test_a_daemon_that_is_killed_in_a_group_goes_on_from_what_was_saved(world):
    chassis = world.chassis
    saved = world.rows(1)

    # in the copy that makes the group, by an operator and by a manager
    told = lambda records: any(r["type"].endswith("_TCONT") for r in records)
    for make in (lambda: world.vty(GROUP), lambda: world.groups.create((1,), NEW_GROUP)):
        world.kill_when_told("tcont", told, make)
        assert world.groups.get((1,), 7) is None
        assert (world.rows(1), world.rows(2)) == (saved, set())
    world.bring_card_up()
    world.wait_up(1, 2)
    assert world.objects(1, "ONU") and all(row["ifindex"] >> 15 & 15 == 0 for row in world.objects(1, "ONU"))
    assert world.vty(GROUP) == ""  # neither port has a role, and the second is blank
    world.wait_equal()
    assert world.rows(2) == saved
    world.save()

    # between a write on the working port and its repetition, which the card doesn't answer
    write = lambda: world.tcont.create((1, 1, 1, 1, 4), {5: "default"})
    chassis.card_fault(1, "code", type="tcont", code=0)  # the write itself
    told = lambda records: len([r for r in records if r["type"].endswith("_TCONT")]) == 2
    world.kill_when_told("tcont", told, write)
    assert (world.rows(1), world.rows(2)) == (saved, saved)
    assert world.groups.get((1,), 7) == str(pon(1))

    # in a switch-over, which the card has done
    told = lambda records: any(r["type"].endswith("_PON_PROTECT") for r in records)
    world.kill_when_told("pon-protect", told, lambda: world.groups.set((1,), {8: MSP}))
    assert world.groups.get((1,), 7) == str(pon(1))
    assert (world.rows(1), world.rows(2)) == (saved, saved)
    world.bring_card_up()
    world.wait_up(1, 2)
    world.wait_equal()
    (group,) = world.card(1)["objects"]["OV_HAL_MSG_GPON_PON_PROTECT"]["rows"]
    assert (group["ifindex_work_pon"], group["ifindex_stdby_pon"]) == (pon(1), pon(2))
    assert world.port.set((1, 1, 2), {15: 0}) != "noError"  # both have their roles again
    world.subscribe(3)
    world.wait_equal()
    assert world.vty("protectgroup 1 switchover p2w") == ""
    world.wait_up(2, 2)
