"""What runs in the virtual machine."""

import dataclasses

#: For the unit programs: the carrier of the product, and of the tests' own peers.
OVER_TIPC = {"OV_IPC_CARRIER": "tipc", "GPON_TEST_CARRIER": "tipc"}


@dataclasses.dataclass(frozen=True)
class Unit:
    name: str
    env: dict = dataclasses.field(default_factory=dict)
    only: str = "*"
    limit: int = 3600  # seconds, for a machine that has other things to do
    processors: tuple = ("amd64", "powerpc")


UNITS = [
    Unit("unit_tipc", OVER_TIPC),
    Unit("unit_ov_ipc", OVER_TIPC),
    Unit("unit_hal", OVER_TIPC, limit=7200),
    Unit("unit_ov_heartbeat"),
    # These need no TIPC, and this machine runs them for its own processor.
    Unit("unit_ov_common", processors=("powerpc",)),
    Unit("unit_ov_platform_lib", processors=("powerpc",)),
]

#: The same messages over the other carrier, for the figure.
FIGURE = Unit("unit_hal", {"OV_IPC_CARRIER": "unix"}, "HalOutbox.AFullRestore*AsFastAsItCan")
FIGURE_AT_LEAST = 0.5  # of the other carrier's rate

#: System tests whose daemon and chassis run inside. Not the one in which messages wait for a card that stops reading and
#: its slot goes: a kernel's TIPC takes all of so small a restore, and nothing waits.
SYSTEM = [
    "test_restore.py::test_a_card_that_restarts_empty_gets_everything_back_in_order",
    "test_restore.py::test_a_card_that_leaves_in_the_middle_of_a_stage_costs_what_it_was_not_told",
    "test_restore.py::test_a_card_that_stops_reading_during_its_replay_holds_nobody_and_gets_all_in_order",
    "test_restore.py::test_two_cards_at_once_get_each_its_own",
    "test_restore.py::test_a_card_that_goes_down_takes_its_onus_out_of_service",
    "test_restore.py::test_a_card_that_is_taken_out_takes_its_configuration_with_it",
    "test_provision.py::test_a_new_onu_of_a_manager_reaches_the_card_and_comes_up",
    "test_provision.py::test_a_card_that_leaves_between_two_requests_costs_an_error_and_nothing_else",
]
