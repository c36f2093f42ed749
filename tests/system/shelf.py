"""A shelf with line cards, its daemon at work: what a test starts from that is about something else.

    start_shelf(chassis, "gpon-olt1/1", "gpon-olt2/1")
"""

import re

LINE_CARD = 27  # card_type of one with PON ports

SCENARIO = """
env PDT_INFO_SHELF_TYPE 53
env PDT_INFO_CARD_SLOTID 8
env mate_slot 9
env active 1
product-facts
card-board 8
card 8 add
"""


def start_shelf(chassis, *ports):
    """Simulator and daemon of a shelf with the control card in slot 8 and the line cards of these ports; when it returns, the
    ports are in service. No configuration is replayed."""
    slots = sorted({int(re.match(r"gpon-olt(\d+)/", port)[1]) for port in ports})
    chassis.start(SCENARIO + "".join(f"card {slot} add\n" for slot in slots) + "mono-ready 1\n")
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    for slot in slots:
        chassis.event("slot-add", slot_id=slot, card_type=LINE_CARD)
        chassis.event("slot-active", slot_id=slot, card_type=LINE_CARD)
    for port in ports:
        chassis.event("new-if", ifindex=port, flags="up+running")
    # Asked by a command that is never refused: some tests look at all that was.
    chassis.wait_for(lambda: ports[-1] in chassis.vty("show names interface").split(), what="the ports")
