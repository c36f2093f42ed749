// Multicast behind an ONU by command: its switch, its settings, its VLANs in both directions.
#include "remote_services_fixture.h"

namespace {

using Multicast = ov_sRmMulticastTable_attr_t;

class RemoteMulticast : public RemoteServicesCli {
protected:
    RemoteMulticast() {
        enter(on_onu(), {ON});
        chassis_.forget_messages();
    }
    static Multicast* row() { return uni<Multicast>(ETH); }

    static constexpr const char* ON = "remote multicast eth_1/1 enable";
};

struct VlanForm {
    const char* line; // behind the UNI
    int vlan;
    int new_vlan;
    int action;
};
constexpr VlanForm DOWN[] = {{"down vlan 1 tag-action transparent", 1, 0, 1},
                             {"down vlan 4094 tag-action xlate 1", 4094, 1, 4},
                             {"down vlan 100 tag-action xlate 4094", 100, 4094, 4},
                             {"down vlan 100 tag-action strip", 100, 0, 3}};
constexpr VlanForm UP[] = {{"up vlan 4094 tag-action transparent", 4094, 0, 1},
                           {"up vlan 100 tag-action xlate 200", 100, 200, 4},
                           {"up vlan 100 tag-action add 4094", 100, 4094, 2},
                           {"up vlan untag tag-action add 1", 0, 1, 2}};

CLI_TEST(RemoteMulticast, VlansOfBothDirectionsAreSetSavedAndMakeTheSame) {
    for (const VlanForm& down : DOWN)
        for (const VlanForm& up : UP) {
            const std::string head = "remote multicast eth_1/1 ";
            const Lines lines = {head + down.line, head + up.line};
            enter(on_onu(), lines);
            const Multicast entered = *row();
            EXPECT_EQ(entered.sRmMulticastTableDownVlan, down.vlan) << down.line;
            EXPECT_EQ(entered.sRmMulticastTableDownUniVlan, down.new_vlan) << down.line;
            EXPECT_EQ(entered.sRmMulticastTableDownVlanAction, down.action) << down.line;
            EXPECT_EQ(entered.sRmMulticastTableUpVlan, up.vlan) << up.line;
            EXPECT_EQ(entered.sRmMulticastTableUpPonVlan, up.new_vlan) << up.line;
            EXPECT_EQ(entered.sRmMulticastTableUpVlanAction, up.action) << up.line;
            const Lines all = saved(on_onu());
            EXPECT_EQ(all, (Lines{ON, lines[0], lines[1]}));
            enter(on_onu(), {"remote multicast eth_1/1 disable"});
            EXPECT_EQ(row(), nullptr) << "the settings go with the switch";
            EXPECT_EQ(saved(on_onu()), Lines{});
            enter(on_onu(), all);
            expect_same(row(), entered);
            EXPECT_EQ(saved(on_onu()), all);
        }
}

CLI_TEST(RemoteMulticast, SettingsReachTheRowAndTheCard) {
    const struct {
        const char* line;
        mib_long Multicast::*value;
        int32_t number;
        int bit;
    } settings[] = {
        {"igmp mode snooping", &Multicast::sRmMulticastTableIgmpMode, 1, OV_GPON_RMUNI_MCAST_ATTR_INDEX_mode},
        {"igmp version 1", &Multicast::sRmMulticastTableIgmpVersion, 1,
         OV_GPON_RMUNI_MCAST_ATTR_INDEX_igmpVer},
        {"igmp version 5", &Multicast::sRmMulticastTableIgmpVersion, 5,
         OV_GPON_RMUNI_MCAST_ATTR_INDEX_igmpVer},
        {"fast-leave enable", &Multicast::sRmMulticastTableFastLeave, 1,
         OV_GPON_RMUNI_MCAST_ATTR_INDEX_fastLeave},
        {"fast-leave disable", &Multicast::sRmMulticastTableFastLeave, 0,
         OV_GPON_RMUNI_MCAST_ATTR_INDEX_fastLeave},
    };
    for (const auto& setting : settings) {
        chassis_.forget_messages();
        enter(on_onu(), {std::string("remote multicast eth_1/1 ") + setting.line});
        EXPECT_EQ(row()->*setting.value, setting.number) << setting.line;
        const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI_MCAST);
        ASSERT_EQ(told.size(), 1u) << setting.line;
        EXPECT_TRUE(told[0].mask & 1u << setting.bit) << setting.line;
    }
    for (const char* number : {"1", "4094"}) {
        enter(on_onu(), {std::string("remote multicast eth_1/1 max-group ") + number});
        EXPECT_EQ(std::to_string(row()->sRmMulticastTableMaxGroupNum), number);
    }
    EXPECT_EQ(saved(on_onu()),
              (Lines{ON, "remote multicast eth_1/1 igmp mode snooping",
                     "remote multicast eth_1/1 igmp version 5", "remote multicast eth_1/1 max-group 4094"}));
}

CLI_TEST(RemoteMulticast, IsSavedForEachUniThatHasIt) {
    enter(on_onu(), {"remote multicast veip enable", "remote multicast veip max-group 3"});
    EXPECT_EQ(saved(on_onu()),
              (Lines{ON, "remote multicast veip enable", "remote multicast veip max-group 3"}));
}

CLI_TEST(RemoteMulticast, WithoutTheSwitchThereIsNothingToSet) {
    expect_refused(
        on_onu(),
        {{"remote multicast eth_1/2 igmp mode snooping", "%Failed to set multicast mode\n"},
         {"remote multicast eth_1/2 igmp version 3", "%Failed to set multicast version\n"},
         {"remote multicast eth_1/2 fast-leave enable", "%Failed to set multicast fast leave mode\n"},
         {"remote multicast eth_1/2 max-group 3", "%Failed to set multicast max group number\n"},
         {"remote multicast eth_1/2 down vlan 3 tag-action strip", "%Failed to set multicast vlan\n"},
         {"remote multicast eth_1/2 up vlan untag tag-action add 3", "%Failed to set multicast vlan\n"},
         {"remote multicast eth_9/9 enable", "%Failed to set eth_9/9 multicast\n"},
         {"remote multicast eth_9/9 max-group 3", "%Failed to set multicast max group number\n"},
         {"remote multicast eth_1 enable", "%Bad format ETHUNI eth_1\n"},
         {"remote multicast lan igmp version 3", "%Bad format ONU interface lan\n"},
         {"remote multicast pots_ down vlan 3 tag-action strip", "%Bad format POTS pots_\n"}},
        104006);
    EXPECT_EQ(count<Multicast>(on_onu()), 1u);
    EXPECT_EQ(saved(on_onu()), Lines{ON});
}

CLI_TEST(RemoteMulticast, WhatTheCardRefusesIsNotKept) {
    const Multicast before = *row();
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI_MCAST, 101001);
    expect_refused(
        on_onu(),
        {{"remote multicast eth_1/1 max-group 3", "%Failed to set multicast max group number\n"},
         {"remote multicast eth_1/1 down vlan 3 tag-action strip", "%Failed to set multicast vlan\n"}},
        104006);
    expect_same(row(), before);
}

CLI_TEST(RemoteMulticast, BeyondTheirLimitsAreNoCommands) {
    expect_no_commands(far_,
                       {"remote multicast eth_1/1 max-group 0", "remote multicast eth_1/1 max-group 4095",
                        "remote multicast eth_1/1 igmp version 0", "remote multicast eth_1/1 igmp version 6",
                        "remote multicast eth_1/1 igmp mode proxy", "remote multicast eth_1/1 igmp mode",
                        "remote multicast eth_1/1 fast-leave", "remote multicast eth_1/1",
                        "remote multicast eth_1/1 down vlan 0 tag-action strip",
                        "remote multicast eth_1/1 down vlan 4095 tag-action strip",
                        "remote multicast eth_1/1 down vlan 1 tag-action add 2",
                        "remote multicast eth_1/1 down vlan untag tag-action add 2",
                        "remote multicast eth_1/1 up vlan 1 tag-action strip",
                        "remote multicast eth_1/1 up vlan 1 tag-action xlate 0",
                        "remote multicast eth_1/1 up vlan 1 tag-action xlate 4095",
                        "remote multicast eth_1/1 up vlan untag tag-action add 0",
                        "remote multicast eth_1/1 up vlan untag tag-action add 4095",
                        "remote multicast eth_1/1 up vlan untag tag-action transparent",
                        "remote multicast eth_1/1 sideways vlan 1 tag-action transparent"});
    expect_no_commands(profile_, {ON, "remote multicast eth_1/1 max-group 3"});
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI_MCAST).size(), 0u);
}

// A manager's row that no form has.
CLI_TEST(RemoteMulticast, WhatNoCommandMakesIsInNoSavedConfiguration) {
    Multicast& multicast = *row();
    const Multicast before = multicast;
    multicast.sRmMulticastTableDownVlan = 5;
    multicast.sRmMulticastTableDownVlanAction = SRMMULTICASTTABLEDOWNVLANACTION_ADD;
    multicast.sRmMulticastTableUpVlan = 5;
    multicast.sRmMulticastTableUpVlanAction = SRMMULTICASTTABLEUPVLANACTION_STRIP;
    EXPECT_EQ(saved(on_onu()), Lines{ON});
    multicast = before;
    multicast.sRmMulticastTableDownVlanAction = SRMMULTICASTTABLEDOWNVLANACTION_STRIP; // of VLAN 0
    multicast.sRmMulticastTableIgmpMode = SRMMULTICASTTABLEIGMPMODE_PROXY;
    EXPECT_EQ(saved(on_onu()), Lines{ON});
    multicast = before;
}

} // namespace
