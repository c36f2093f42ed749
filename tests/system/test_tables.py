"""Tables of the running daemon: files read at start, saved on the controller's request, looked at by vty."""

import random
import re
import time

import pytest

from chassis import QUIET_SCENARIO

US = "\x1f"
DIR = "/var/run/product/mibdata"
OPERATIONAL = "env OV_APP_FLAG_SYS_OPSTATUS 1\n"


def line(*fields):
    return "".join(str(field) + US for field in fields) + "\n"


# Keys of 20 bytes, out of order, one with a text that fills its column, one negative.
TCONTS = [
    line(1, 2, 1, 7, 3, 1024, "tc3", 77, "default", 1),
    line(1, 2, 1, 7, 2, 0, "", -594834439, "x" * 65, 1),
    line(1, 1, 16, 128, 4294967295, -5, "last", 0, "", 2),
]
IN_KEY_ORDER = [TCONTS[2], TCONTS[1], TCONTS[0]]


def start(chassis, files, env=None, directory=DIR):
    chassis.start(OPERATIONAL + QUIET_SCENARIO)
    for name, lines in files.items():
        chassis.write(f"{directory}/{name}.mib", "".join(lines))
    chassis.start_daemon(env=env)
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    return chassis


def save(chassis, table, sequence=1):
    chassis.event("snmp-mib-table-save", sequence=sequence, tablename=table)
    chassis.wait_log(rf"Process mibsave request {sequence} for {table}\.$")


def test_every_table_of_the_start_list_makes_its_file(chassis):
    start(chassis, {})
    names = chassis.run("ls", DIR).stdout.split()
    assert len(names) == 65
    assert {"sPonTable.mib", "sOnuTable.mib", "sOnuSrvProfileTable.mib"} <= set(names)
    assert not [name for name in names if name.startswith("acl") or name.startswith("smart")]


def test_tables_are_listed_in_the_order_of_their_first_use(chassis):
    start(chassis, {})
    rows = [words for words in map(str.split, chassis.vty("show mib table").splitlines()) if words[:1] and words[0].isdigit()]
    # The first place went to the second table when that was looked up; SPON comes back at its next look-up.
    assert rows[0][:2] == ["42", "SUPLINKPMACT"]
    assert ["1", "SONU", "enable", "disable"] in rows
    assert ["9", "SRMINFO", "disable", "disable"] in rows
    assert len(rows) == int(re.search(r"total +(\d+) mib tables", chassis.vty("show mib table"))[1])


def test_rows_of_a_file_are_in_the_table(chassis):
    start(chassis, {"sTcontTable": TCONTS})
    assert "sTcontTable, index 5, 3 rows of " in chassis.vty("show mib table sTcontTable")
    rows = chassis.vty("show mib table sTcontTable rows").splitlines()
    assert [row.strip() for row in rows[:3]] == [
        "entry [shelfID:1 slotID:1 portID:16 onuId:128 tcontId:-1 ]",
        "entry [shelfID:1 slotID:2 portID:1 onuId:7 tcontId:2 ]",
        "entry [shelfID:1 slotID:2 portID:1 onuId:7 tcontId:3 ]",
    ]
    text = chassis.vty("show mib table sTcontTable row 1 2 1 7 3")
    assert re.search(r"sTcontTableTcontName +:tc3$", text, re.M)
    assert re.search(r"sTcontTableBwProfileId +:77$", text, re.M)
    assert re.search(r"sTcontTableRowStatus +: ACTIVE $", text, re.M)


def test_the_second_load_prints_a_line_for_each_row_and_changes_none(chassis):
    start(chassis, {"sTcontTable": TCONTS})
    chassis.wait_for(lambda: chassis.stdout().count("row_add fail: the row existed\r") == 3, what="three lines")


def test_a_requested_save_gives_the_same_rows_in_key_order(chassis):
    start(chassis, {"sTcontTable": TCONTS})
    save(chassis, "sTcontTable")
    assert chassis.path(f"{DIR}/sTcontTable.mib").read_bytes().decode() == "".join(IN_KEY_ORDER)
    assert chassis.read("/tmp/product/saveflag.sTcontTable").strip() == "0"
    assert chassis.log_lines(r"saved /var/run/product/mibdata/?/sTcontTable\.mib$")


def test_a_restart_brings_the_rows_back(chassis):
    start(chassis, {"sTcontTable": TCONTS, "sOnuTable": []})
    save(chassis, "sTcontTable")
    chassis.kill_daemon()
    chassis.run("rm", "-f", "/var/run/gpon.vty")
    chassis.start_daemon()
    assert ", 3 rows of " in chassis.vty("show mib table sTcontTable")


def many_tconts(count):
    return [line(1, 2, 1 + n // 8192, 1 + n // 64 % 128, n % 64, n, f"tcont-{n}", 77, "default", 1) for n in range(count)]


def test_a_save_that_is_killed_loses_no_row(chassis):
    dice = random.Random(7)
    lines = many_tconts(30000)
    start(chassis, {"sTcontTable": lines})
    saved = chassis.path(f"{DIR}/sTcontTable.mib")
    copy = saved.with_name("sTcontTable.mib.new")
    whole = cut_off = 0
    for turn in range(6):
        chassis.event("snmp-mib-table-save", sequence=turn, tablename="sTcontTable")
        chassis.wait_for(copy.exists, what="the save to begin")
        ends = time.monotonic() + dice.random() * 0.03
        while time.monotonic() < ends:  # anywhere in the save, or just behind it
            pass
        chassis.kill_daemon()
        if copy.exists():
            cut_off += 1
            whole += copy.read_bytes().endswith(b"\n#30000\n")
        chassis.run("rm", "-f", "/var/run/gpon.vty")
        chassis.start_daemon()
        assert ", 30000 rows of " in chassis.vty("show mib table sTcontTable")
        assert saved.read_text() == "".join(lines)
        assert not copy.exists()
    assert len(chassis.log_lines("was cut off")) == cut_off
    assert len(chassis.log_lines("its content is taken from")) == whole


def test_a_save_on_a_full_disk_keeps_the_file_and_the_daemon_goes_on(chassis):
    chassis.start(OPERATIONAL + QUIET_SCENARIO)
    assert chassis.run("mkdir", "-p", DIR).returncode == 0
    assert chassis.run("mount", "-t", "tmpfs", "-o", "size=256k", "tmpfs", DIR).returncode == 0
    before = "".join(many_tconts(1000))
    chassis.write(f"{DIR}/sTcontTable.mib", before)
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    save(chassis, "sTcontTable")
    assert chassis.read(f"{DIR}/sTcontTable.mib") == before
    assert not chassis.log_lines("sTcontTable.mib failed")
    # The rest of the disk goes to somebody else.
    assert chassis.run("dd", "if=/dev/zero", f"of={DIR}/ballast", "bs=4k").returncode != 0
    save(chassis, "sTcontTable", sequence=2)
    assert len(chassis.log_lines(r"saving \S+/sTcontTable\.mib failed: No space left on device$")) == 1
    assert chassis.read(f"{DIR}/sTcontTable.mib") == before
    assert not chassis.exists(f"{DIR}/sTcontTable.mib.new")
    assert ", 1000 rows of " in chassis.vty("show mib table sTcontTable")
    chassis.run("rm", f"{DIR}/ballast")
    save(chassis, "sTcontTable", sequence=3)
    assert len(chassis.log_lines("sTcontTable.mib failed")) == 1


def test_a_save_of_an_unknown_table_is_silent(chassis):
    start(chassis, {})
    chassis.event("snmp-mib-table-save", sequence=9, tablename="noSuchTable")
    chassis.event("slot-add", slot_id=1, card_type=5)
    chassis.wait_log(r"process slot 1 add\.$")
    assert not chassis.log_lines("mibsave request|noSuchTable")


def test_a_dormant_table_can_not_be_saved_or_shown(chassis):
    start(chassis, {})
    chassis.event("snmp-mib-table-save", sequence=9, tablename="aclGroupTable")
    reply = chassis.vty("show mib table aclGroupTable")
    assert reply.result != 0 and "% no table aclGroupTable" in reply
    assert not chassis.exists(f"{DIR}/aclGroupTable.mib")


def test_the_directory_of_the_files_can_be_moved(chassis):
    moved = "/tmp/elsewhere/mib"
    start(chassis, {"sTcontTable": TCONTS}, {"OV_PDT_RUN_MIB_DATA_DIR": moved}, moved)
    assert ", 3 rows of " in chassis.vty("show mib table sTcontTable")
    save(chassis, "sTcontTable")
    assert chassis.read(f"{moved}/sTcontTable.mib") == "".join(IN_KEY_ORDER)
    assert not chassis.exists(f"{DIR}/sTcontTable.mib")


@pytest.mark.parametrize("what", ["a directory in its place", "no fields at all", "bytes of nothing"])
def test_a_file_that_is_no_table_file_costs_no_more_than_its_table(chassis, what):
    chassis.start(OPERATIONAL + QUIET_SCENARIO)
    path = f"{DIR}/sTcontTable.mib"
    if what == "a directory in its place":
        chassis.run("mkdir", "-p", path)
    elif what == "no fields at all":
        chassis.write(path, "\n\n\n")
    else:
        chassis.write(path, "")
        chassis.path(path).write_bytes(bytes(range(256)) * 100)
    chassis.write(f"{DIR}/sGemTable.mib", "")
    chassis.start_daemon()
    assert chassis.vty("show mib table sTcontTable").result == 0
    assert "sGemTable, index 4, 0 rows" in chassis.vty("show mib table sGemTable")


def test_rows_and_words_that_are_not_there_are_refused(chassis):
    start(chassis, {"sTcontTable": TCONTS})
    for words in ("row 1 2 1 7 9", "row 1 2", "row 1 2 1 7 3 4"):
        reply = chassis.vty(f"show mib table sTcontTable {words}")
        assert reply.result != 0 and "% no such row" in reply
    reply = chassis.vty("show mib table sTcontTable row one")
    assert reply.result != 0 and "% one isn't a number" in reply
