#include <gmock/gmock.h>

#include "ov_ifindex.h"
#include "uclient.h"

#include "../support/frames.h"
#include "../support/log_capture.h"
#include "../support/test_shelf.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// On this shelf slot 2 is a line card, 8 and 9 are control cards.
constexpr uint32_t LC_SLOT = 2;
constexpr uint32_t SC_SLOT = 9;
constexpr uint16_t CARD_TYPE = 27;

// What happened, in order, together with the state that was visible at that moment.
std::vector<std::string> events;
std::vector<unsigned> active_flags(32, 0);
int save_result = 0;

void note(const std::string& event) {
    events.push_back(event);
}

std::string marks(uint32_t slot) {
    const auto bit = [slot](slot_bitmap_t bitmap) { return std::to_string(bitmap >> slot & 1); };
    return "connected " + bit(g_shelf_slot_info.slotBitsConnected) + " synching " +
           bit(g_shelf_slot_info.slotBitsSynching) + " synched " + bit(g_shelf_slot_info.slotBitsSynched) +
           " flag " + std::to_string(active_flags[slot]);
}

std::string num(uint32_t n) {
    return std::to_string(n);
}

const uclient_upcalls UPCALLS = {
    .slot_active_flag_set =
        [](const char* func, int, unsigned short slot) {
            active_flags[slot] = 1;
            note("set " + num(slot) + " by " + func);
        },
    .slot_active_flag_clear =
        [](const char* func, int, unsigned short slot) {
            active_flags[slot] = 0;
            note("clear " + num(slot) + " by " + func);
        },
    .slot_active_flag_check = [](unsigned short slot) -> unsigned { return active_flags[slot]; },
    .init_hal_backup =
        [] {
            note("init_hal_backup");
            return 0;
        },
    .snmp_agent_start = [] { note("snmp_agent_start"); },
    .mmg_table_save_immediate =
        [](const char* table) {
            note(std::string("save ") + table);
            return save_result;
        },
};

class UclientDispatch : public testing::Test {
protected:
    UclientDispatch() {
        events.clear();
        std::fill(active_flags.begin(), active_flags.end(), 0);
        save_result = 0;
        uclient_set_upcalls(&UPCALLS);
        LogCapture::clear();
    }
    ~UclientDispatch() override { uclient_set_upcalls(nullptr); }

    int dispatch(uint8_t type, const Bytes& body) {
        msg* m = msg_new(type, body.data(), 1, static_cast<unsigned short>(body.size()));
        const int result = uclient_msghandle(&client, m, -1);
        msg_free(m);
        return result;
    }
    template <typename Record>
    int dispatch(uint8_t type, const Record& record) {
        return dispatch(type, bytes_of(record));
    }
    static umsg_card_t card(uint32_t slot) { return {.slot_id = slot, .card_type = CARD_TYPE}; }
    static umsg_cfg_sync_t cfg_sync(uint32_t slot) {
        return {.appid = 30047, .slotid = slot, .cfg_prio = 300, .retcode = 0, .appName = "gpon"};
    }

    TestShelf shelf{OV_SHELF_TYPE_LC14};
    LogCapture log;
    uclient_s client = {};
};

// ---- the types that only forward their record ----------------------------------------------------

// One row per type: how to fill its callback slot, and how large its record is.
struct Forwarded {
    uint8_t type;
    size_t size;
    void (*fill)(uclient_s*);
};

Bytes seen_record;
template <typename Record>
int see(Record* record) {
    seen_record = bytes_of(*record);
    return 0;
}

const Forwarded FORWARDED[] = {
    {UMSG_NEW_IF, 76, [](uclient_s* c) { c->if_new = see; }},
    {UMSG_DEL_IF, 76, [](uclient_s* c) { c->if_del = see; }},
    {UMSG_IF_ADMIN, 76, [](uclient_s* c) { c->if_admin = see; }},
    {UMSG_IF_STATUS, 76, [](uclient_s* c) { c->if_status = see; }},
    {UMSG_VLAN_NEW, 512, [](uclient_s* c) { c->vlan_create = see; }},
    {UMSG_VLAN_DEL, 512, [](uclient_s* c) { c->vlan_destroy = see; }},
    {UMSG_VLAN_PORT, 524, [](uclient_s* c) { c->vlan_port = see; }},
    {UMSG_IP_ADD, 52, [](uclient_s* c) { c->ip_add = see; }},
    {UMSG_IP_DEL, 52, [](uclient_s* c) { c->ip_del = see; }},
    {UMSG_IP_UPDATE, 52, [](uclient_s* c) { c->ip_update = see; }},
    {UMSG_HOST, 33, [](uclient_s* c) { c->host = see; }},
    {UMSG_TRUNK_SET, 12, [](uclient_s* c) { c->trunk_set = see; }},
    {UMSG_PROTECT_GROUP_ADD, 12, [](uclient_s* c) { c->protect_group_add = see; }},
    {UMSG_PROTECT_GROUP_DEL, 12, [](uclient_s* c) { c->protect_group_del = see; }},
    {UMSG_ONU_STATUS_NOTIFY, 20, [](uclient_s* c) { c->onu_status_notify = see; }},
};

class UclientForwarding : public UclientDispatch, public testing::WithParamInterface<Forwarded> {
protected:
    UclientForwarding() { seen_record.clear(); }
};

TEST_P(UclientForwarding, FilledSlotGetsTheRecord) {
    const auto& [type, size, fill] = GetParam();
    fill(&client);
    Bytes body(size, 0);
    for (size_t i = 0; i < std::min<size_t>(size, 12); i++)
        body[i] = static_cast<uint8_t>('a' + i);
    EXPECT_EQ(dispatch(type, body), 0);
    EXPECT_EQ(seen_record, body);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_P(UclientForwarding, EmptySlotIsDroppedSilently) {
    EXPECT_EQ(dispatch(GetParam().type, Bytes(GetParam().size)), 0);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_P(UclientForwarding, ShortBodyIsLoggedAndDropped) {
    const auto& [type, size, fill] = GetParam();
    fill(&client);
    EXPECT_EQ(dispatch(type, Bytes(size - 1)), 0);
    EXPECT_THAT(seen_record, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("uclient_msghandle: message body too short: " +
                                         std::to_string(size - 1) + " of " + std::to_string(size)));
}

TEST_P(UclientForwarding, OtherSlotsAreNotCalled) {
    const auto& [type, size, fill] = GetParam();
    for (const Forwarded& other : FORWARDED)
        if (other.type != type)
            other.fill(&client);
    EXPECT_EQ(dispatch(type, Bytes(size)), 0);
    EXPECT_THAT(seen_record, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Types, UclientForwarding, testing::ValuesIn(FORWARDED),
                         [](const auto& info) { return "Type" + std::to_string(info.param.type); });

TEST_F(UclientDispatch, HostWithAnEmptySlotIsDroppedSilently) {
    EXPECT_EQ(dispatch(UMSG_HOST, umsg_host_t{.name = "olt"}), 0);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(UclientDispatch, UnknownTypesBelowAndAbove81AreLoggedAlike) {
    for (const int type : {0, 1, 16, 34, 38, 50 + 7, 79, 81, 82, 83, 255}) {
        LogCapture::clear();
        EXPECT_EQ(dispatch(static_cast<uint8_t>(type), Bytes(8)), 0);
        EXPECT_THAT(log.lines(),
                    ElementsAre("uclient_msghandle: Unknown message type: " + std::to_string(type)));
    }
}

TEST_F(UclientDispatch, EveryTypeOutsideTheListIsUnknown) {
    size_t known = 0;
    for (int type = 0; type <= 255; type++) {
        LogCapture::clear();
        dispatch(static_cast<uint8_t>(type), Bytes());
        const std::string unknown = "uclient_msghandle: Unknown message type: " + std::to_string(type);
        known += log.lines() != std::vector{unknown};
    }
    EXPECT_EQ(known, 25u);
}

// ---- slots ---------------------------------------------------------------------------------------

TEST_F(UclientDispatch, SlotAddCallsTheSlotThenLogsThenMakesTheRecord) {
    static const LogCapture* capture;
    capture = &log;
    client.slot_add = [](uint32_t slot) {
        note("slot_add " + num(slot) + (ov_slot_lookup_by_slotid(slot) ? " known" : " unknown") + " log " +
             num(static_cast<uint32_t>(capture->lines().size())));
        return 0;
    };
    dispatch(UMSG_SLOT_ADD, card(LC_SLOT));
    EXPECT_THAT(events, ElementsAre("slot_add 2 unknown log 0"));
    EXPECT_THAT(log.lines(), ElementsAre("process slot 2 add."));
    const ov_slot_info_t* info = ov_slot_lookup_by_slotid(LC_SLOT);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->slotType, CARD_TYPE);
}

TEST_F(UclientDispatch, SlotAddWithAnEmptySlotStillMakesTheRecord) {
    dispatch(UMSG_SLOT_ADD, card(LC_SLOT));
    EXPECT_NE(ov_slot_lookup_by_slotid(LC_SLOT), nullptr);
}

TEST_F(UclientDispatch, SlotRemoveClearsTheFlagDeletesTheRecordThenCallsTheSlot) {
    static const LogCapture* capture;
    capture = &log;
    dispatch(UMSG_SLOT_ADD, card(LC_SLOT));
    events.clear();
    LogCapture::clear();
    client.slot_remove = [](umsg_card_t* c) {
        note("slot_remove " + num(c->slot_id) + " type " + num(c->card_type) +
             (ov_slot_lookup_by_slotid(c->slot_id) ? " known" : " unknown") + " log " +
             num(static_cast<uint32_t>(capture->lines().size())));
        return 0;
    };
    dispatch(UMSG_SLOT_REMOVE, card(LC_SLOT));
    EXPECT_THAT(events,
                ElementsAre("clear 2 by uclient_handle_slot_remove", "slot_remove 2 type 27 unknown log 0"));
    EXPECT_THAT(log.lines(), ElementsAre("process slot 2 type 27 remove."));
}

TEST_F(UclientDispatch, SlotRemoveWithAnEmptySlotStillDeletes) {
    dispatch(UMSG_SLOT_ADD, card(LC_SLOT));
    dispatch(UMSG_SLOT_REMOVE, card(LC_SLOT));
    EXPECT_EQ(ov_slot_lookup_by_slotid(LC_SLOT), nullptr);
    EXPECT_THAT(log.lines(), Contains("process slot 2 type 27 remove."));
}

TEST_F(UclientDispatch, SlotActiveMarksConnectedSetsTheFlagThenCallsTheSlot) {
    client.slot_active = [](uint32_t slot) {
        note("slot_active " + marks(slot));
        return 0;
    };
    dispatch(UMSG_SLOT_ACTIVE, card(LC_SLOT));
    EXPECT_THAT(events, ElementsAre("set 2 by uclient_handle_slot_active",
                                    "slot_active connected 1 synching 0 synched 0 flag 1"));
    EXPECT_THAT(log.lines(), ElementsAre("Process slot 2 operation up."));
}

TEST_F(UclientDispatch, SlotActiveLeavesASetFlagAlone) {
    active_flags[LC_SLOT] = 1;
    dispatch(UMSG_SLOT_ACTIVE, card(LC_SLOT));
    EXPECT_THAT(events, IsEmpty());
    EXPECT_TRUE(ov_slot_check_slot_connected(LC_SLOT));
}

TEST_F(UclientDispatch, SlotDeactiveMarksDisconnectedClearsTheFlagThenCallsTheSlot) {
    dispatch(UMSG_SLOT_ACTIVE, card(LC_SLOT));
    events.clear();
    LogCapture::clear();
    client.slot_deactive = [](umsg_card_t* c) {
        note("slot_deactive type " + num(c->card_type) + " " + marks(c->slot_id));
        return 0;
    };
    dispatch(UMSG_SLOT_DEACTIVE, card(LC_SLOT));
    EXPECT_THAT(events, ElementsAre("clear 2 by uclient_handle_slot_deactive",
                                    "slot_deactive type 27 connected 0 synching 0 synched 0 flag 0"));
    EXPECT_THAT(log.lines(), ElementsAre("Process slot 2 operation down."));
}

TEST_F(UclientDispatch, SlotDeactiveLeavesAClearFlagAlone) {
    dispatch(UMSG_SLOT_DEACTIVE, card(LC_SLOT));
    EXPECT_THAT(events, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("Process slot 2 operation down."));
}

TEST_F(UclientDispatch, CfgSyncStartMarksSynchingSetsTheFlagThenHandsACopyOver) {
    ov_slot_set_synched(LC_SLOT, 1);
    client.slot_cfg_sync_start = [](umsg_cfg_sync_t* s) {
        note("start " + num(s->appid) + " " + num(s->cfg_prio) + " " + s->appName + " " + marks(s->slotid));
        return 0;
    };
    dispatch(UMSG_CFG_SLOT_SYNC_START, cfg_sync(LC_SLOT));
    EXPECT_THAT(events, ElementsAre("set 2 by uclient_handle_slot_cfg_sync_start",
                                    "start 30047 300 gpon connected 0 synching 1 synched 0 flag 1"));
    EXPECT_THAT(log.lines(), ElementsAre("Process slot 2 recovery for feature 30047."));
}

TEST_F(UclientDispatch, CfgSyncStartHandsOutACopyOfTheMessage) {
    client.slot_cfg_sync_start = [](umsg_cfg_sync_t* s) {
        s->slotid = 99;
        return 0;
    };
    const Bytes body = bytes_of(cfg_sync(LC_SLOT));
    msg* m = msg_new(UMSG_CFG_SLOT_SYNC_START, body.data(), 1, sizeof(umsg_cfg_sync_t));
    uclient_msghandle(&client, m, -1);
    EXPECT_EQ(Bytes(msg_body(m).begin(), msg_body(m).end()), body);
    msg_free(m);
}

TEST_F(UclientDispatch, CfgSyncStartLeavesASetFlagAlone) {
    active_flags[LC_SLOT] = 1;
    dispatch(UMSG_CFG_SLOT_SYNC_START, cfg_sync(LC_SLOT));
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(UclientDispatch, CfgSyncEndLogsThenCallsTheSlot) {
    ov_slot_set_synching(LC_SLOT, 1);
    client.slot_cfg_sync_end = [](umsg_cfg_sync_t* s) {
        note("end " + marks(s->slotid));
        return 0;
    };
    dispatch(UMSG_CFG_SLOT_SYNC_END, cfg_sync(LC_SLOT));
    EXPECT_THAT(events, ElementsAre("end connected 0 synching 1 synched 0 flag 0"));
    EXPECT_THAT(log.lines(), ElementsAre("Process slot 2 recovery end."));
}

TEST_F(UclientDispatch, SwitchOverStartMarksTheControlCardThenCallsTheSlotThenTheBackup) {
    client.slot_switch_2_active_start = [](uint32_t slot) {
        note("start active sc " + num(ov_slot_get_active_sc_slotId()) + " " + marks(slot));
        return 0;
    };
    dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_START, card(SC_SLOT));
    EXPECT_THAT(events,
                ElementsAre("start active sc 9 connected 1 synching 0 synched 0 flag 0", "init_hal_backup"));
    EXPECT_THAT(log.lines(), ElementsAre("Process sc card 9 change to active start."));
}

TEST_F(UclientDispatch, SwitchOverStartOfAnotherSlotChangesNoActiveCard) {
    ov_slot_set_active_sc(8);
    dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_START, card(LC_SLOT));
    EXPECT_EQ(ov_slot_get_active_sc_slotId(), 8u);
    dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_START, card(0));
    EXPECT_EQ(ov_slot_get_active_sc_slotId(), 8u);
    EXPECT_THAT(events, ElementsAre("init_hal_backup", "init_hal_backup"));
}

TEST_F(UclientDispatch, SwitchOverEndMarksSynchedAndActiveThenCallsTheSlot) {
    ov_slot_set_synching(SC_SLOT, 1);
    client.slot_switch_2_active_end = [](uint32_t slot) {
        note("end active sc " + num(ov_slot_get_active_sc_slotId()) + " " + marks(slot));
        return 0;
    };
    dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_END, card(SC_SLOT));
    EXPECT_THAT(events, ElementsAre("end active sc 9 connected 0 synching 0 synched 1 flag 0"));
    EXPECT_THAT(log.lines(), ElementsAre("Process sc card 9 change to active end."));
}

TEST_F(UclientDispatch, SwitchOverBodyMayBeTheSlotAlone) {
    dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_START, uint32_t{SC_SLOT});
    EXPECT_TRUE(ov_slot_check_slot_connected(SC_SLOT));
    dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_END, uint32_t{SC_SLOT});
    EXPECT_THAT(log.lines(), ElementsAre("Process sc card 9 change to active start.",
                                         "Process sc card 9 change to active end."));
}

TEST_F(UclientDispatch, SlotNumberThatIsNoneTouchesNoOtherSlot) {
    active_flags[LC_SLOT] = 1;
    for (const uint32_t slot : {0u, 32u, 0x10002u, 0xFFFFFFFFu}) {
        dispatch(UMSG_SLOT_ADD, card(slot));
        dispatch(UMSG_SLOT_ACTIVE, card(slot));
        dispatch(UMSG_SLOT_DEACTIVE, card(slot));
        dispatch(UMSG_CFG_SLOT_SYNC_START, cfg_sync(slot));
        dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_START, card(slot));
        dispatch(UMSG_SLOT_REMOVE, card(slot));
    }
    EXPECT_EQ(active_flags[LC_SLOT], 1u);
    EXPECT_EQ(g_shelf_slot_info.slotBitsConnected, 0u);
}

TEST_F(UclientDispatch, SlotEventsRunWithoutAnythingInstalledAbove) {
    uclient_set_upcalls(nullptr);
    dispatch(UMSG_SLOT_ACTIVE, card(LC_SLOT));
    EXPECT_TRUE(ov_slot_check_slot_connected(LC_SLOT));
    dispatch(UMSG_SLOT_DEACTIVE, card(LC_SLOT));
    dispatch(UMSG_SLOT_REMOVE, card(LC_SLOT));
    dispatch(UMSG_CFG_SLOT_SYNC_START, cfg_sync(LC_SLOT));
    dispatch(UMSG_CFG_SC_SWITCH_2_ACTIVE_START, card(SC_SLOT));
    dispatch(UMSG_START_SNMP_AGENTX, Bytes());
    dispatch(UMSG_SNMP_MIB_TABLE_SAVE,
             umsg_snmp_save_req_t{.sequence = 1, .tablename = "sOnuTable", .saveStatus = 0});
    EXPECT_EQ(g_shelf_slot_info.slotBitsSynching, 1u << LC_SLOT);
}

// A body one byte short for each of the cases that do more than forward.
struct ShortBody {
    uint8_t type;
    size_t size;
    const char* func;
};

class UclientShortBody : public UclientDispatch, public testing::WithParamInterface<ShortBody> {};

TEST_P(UclientShortBody, IsLoggedAndHasNoEffect) {
    const auto& [type, size, func] = GetParam();
    const ov_shelf_info_t before = g_shelf_slot_info;
    EXPECT_EQ(dispatch(type, Bytes(size - 1, 0x02)), 0);
    EXPECT_THAT(log.lines(), ElementsAre(std::string(func) + ": message body too short: " +
                                         std::to_string(size - 1) + " of " + std::to_string(size)));
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(std::memcmp(&before, &g_shelf_slot_info, sizeof(before)), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Types, UclientShortBody,
    testing::Values(ShortBody{UMSG_SLOT_ADD, 8, "uclient_handle_slot_add"},
                    ShortBody{UMSG_SLOT_REMOVE, 8, "uclient_handle_slot_remove"},
                    ShortBody{UMSG_SLOT_ACTIVE, 8, "uclient_handle_slot_active"},
                    ShortBody{UMSG_SLOT_DEACTIVE, 8, "uclient_handle_slot_deactive"},
                    ShortBody{UMSG_CFG_SLOT_SYNC_START, 144, "uclient_handle_slot_cfg_sync_start"},
                    ShortBody{UMSG_CFG_SLOT_SYNC_END, 144, "uclient_handle_slot_cfg_sync_end"},
                    ShortBody{UMSG_CFG_SC_SWITCH_2_ACTIVE_START, 4,
                              "uclient_handle_sc_switch_2_active_start"},
                    ShortBody{UMSG_CFG_SC_SWITCH_2_ACTIVE_END, 4, "uclient_handle_sc_switch_2_active_end"},
                    ShortBody{UMSG_SNMP_MIB_TABLE_SAVE, 72, "uclient_handle_mibsave_request"}),
    [](const auto& info) { return "Type" + std::to_string(info.param.type); });

// ---- SNMP agent and table files -------------------------------------------------------------------

TEST_F(UclientDispatch, StartAgentxLogsThenStartsTheAgent) {
    dispatch(UMSG_START_SNMP_AGENTX, Bytes());
    EXPECT_THAT(events, ElementsAre("snmp_agent_start"));
    EXPECT_THAT(log.lines(), ElementsAre("Start connecting snmpd."));
}

TEST_F(UclientDispatch, TableSaveIsLoggedOnSuccess) {
    dispatch(UMSG_SNMP_MIB_TABLE_SAVE,
             umsg_snmp_save_req_t{.sequence = 17, .tablename = "sOnuTable", .saveStatus = 0});
    EXPECT_THAT(events, ElementsAre("save sOnuTable"));
    EXPECT_THAT(log.lines(), ElementsAre("Process mibsave request 17 for sOnuTable."));
}

TEST_F(UclientDispatch, SaveOfAnUnknownTableLogsNothing) {
    save_result = -1;
    dispatch(UMSG_SNMP_MIB_TABLE_SAVE,
             umsg_snmp_save_req_t{.sequence = 17, .tablename = "none", .saveStatus = 0});
    EXPECT_THAT(events, ElementsAre("save none"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UclientDispatch, TableNameWithoutAnEndIsCut) {
    dispatch(UMSG_SNMP_MIB_TABLE_SAVE, Bytes(72, 'x'));
    EXPECT_THAT(events, ElementsAre("save " + std::string(63, 'x')));
}

// ---- interface list -------------------------------------------------------------------------------

class UclientInterfaces : public UclientDispatch {
protected:
    const ov_ifindex_t pon = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, 2, 0, 3, 0);
    umsg_if_t event = {.ifindex = pon,
                       .name = "any",
                       .status = 0,
                       .admin = 0,
                       .duplex = 2,
                       .speed = 1000,
                       .flags = UIF_FLAG_UP | UIF_FLAG_RUNNING,
                       .onu_sn = {}};
};

TEST_F(UclientInterfaces, NewInterfaceIsEnteredWithItsFlags) {
    const uif_t* uif = uclient_new_if(&event);
    ASSERT_NE(uif, nullptr);
    EXPECT_EQ(uif, uif_lookup_by_index(pon));
    EXPECT_EQ(uif->flags, 0x41u);
    EXPECT_TRUE(uif_is_up(uif));
    EXPECT_TRUE(uif_is_running(uif));
}

TEST_F(UclientInterfaces, FlagsHaveAnEmptyHighWord) {
    uclient_new_if(&event)->flags = 0xFFFFFFFF00000000u;
    event.flags = 0x80000001;
    EXPECT_EQ(uclient_new_if(&event)->flags, 0x80000001u);
    uif_lookup_by_index(pon)->flags = 0xFFFFFFFF00000000u;
    EXPECT_EQ(uclient_if_status(&event)->flags, 0x80000001u);
}

TEST_F(UclientInterfaces, SerialNumberIsCutAt31Characters) {
    std::memset(event.onu_sn, 'S', sizeof(event.onu_sn));
    EXPECT_EQ(std::string(uclient_new_if(&event)->onu_sn), std::string(31, 'S'));
    std::memcpy(event.onu_sn, "ABCD12345678", 13);
    EXPECT_STREQ(uclient_new_if(&event)->onu_sn, "ABCD12345678");
}

TEST_F(UclientInterfaces, KnownInterfaceKeepsItsRecord) {
    const uif_t* first = uclient_new_if(&event);
    EXPECT_EQ(uclient_new_if(&event), first);
}

TEST_F(UclientInterfaces, IndexWithoutANameIsRefused) {
    event.ifindex = OV_IFINDEX_INVALID;
    EXPECT_EQ(uclient_new_if(&event), nullptr);
}

TEST_F(UclientInterfaces, StatusUpdatesFlagsSpeedAndDuplex) {
    uclient_new_if(&event);
    event.flags = 0;
    event.speed = 2500;
    event.duplex = 1;
    const uif_t* uif = uclient_if_status(&event);
    ASSERT_NE(uif, nullptr);
    EXPECT_FALSE(uif_is_up(uif));
    EXPECT_EQ(uif->speed, 2500u);
    EXPECT_EQ(uif->duplex, 1u);
}

TEST_F(UclientInterfaces, StatusOfAnUnknownInterfaceGivesNull) {
    EXPECT_EQ(uclient_if_status(&event), nullptr);
    EXPECT_EQ(uif_lookup_by_index(pon), nullptr);
}

TEST_F(UclientInterfaces, DeletedInterfaceIsGone) {
    uclient_new_if(&event);
    uclient_del_if(pon);
    EXPECT_EQ(uif_lookup_by_index(pon), nullptr);
    uclient_del_if(pon); // once more does nothing
}

} // namespace
