// VLANs of UNIs by command: every form, on an ONU and on a service profile, saved and entered again.
#include "remote_fixture.h"

#include "rm/ov_gpon_rm_uni_word.h"

namespace {

using Ids = std::vector<int>;

struct VlanForm {
    const char* line;
    int mode;
    int pvid = 0;
    int priority = 0;
    Ids ids = {};
    Ids networks = {};
    const char* saved = nullptr; // the line itself when there is none
};
const VlanForm FORMS[] = {
    {"vlan-mode transparent", 5},
    {"vlan-mode access pvlan 1", 2, 1},
    {"vlan-mode access pvlan 4094 priority 7", 2, 4094, 7},
    {"vlan-mode access pvlan 10 priority 0", 2, 10, 0, {}, {}, "vlan-mode access pvlan 10"},
    {"vlan-mode trunk tag 100", 3, 0, 0, {100}},
    {"vlan-mode trunk tag 1 4094 200 7", 3, 0, 0, {1, 4094, 200, 7}},
    {"vlan-mode trunk tag 1-12",
     3,
     0,
     0,
     {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
     {},
     "vlan-mode trunk tag 1 2 3 4 5 6 7 8 9 10 11 12"},
    {"vlan-mode xlate 10:100", 6, 0, 0, {10}, {100}},
    {"vlan-mode xlate 10:100 11:100 4094:1", 6, 0, 0, {10, 11, 4094}, {100, 100, 1}},
    {"vlan-mode hybrid pvlan 5 tag 6 7", 4, 5, 0, {6, 7}},
    {"vlan-mode hybrid pvlan 5 priority 3  tag 6", 4, 5, 3, {6}},
};

class RemoteVlan : public RemoteCli {
protected:
    // Where the commands stand: a session, and a row of its object.
    struct Place {
        FrrSession* session;
        int slot, port, onu;
    };
    std::vector<Place> places() { return {{&far_, 3, 2, 7}, {&profile_, 31, 15, 5}}; }

    static Vlan& row(const Place& place, Kind kind = ETH) {
        return *uni<Vlan>(kind, 1, place.slot, place.port, place.onu);
    }
    template <typename List>
    static Ids ids(const List& list) {
        Ids found;
        for (const uint16_t vlan : gpon_rm_get_vlans(list))
            if (vlan != 0)
                found.push_back(vlan);
        return found;
    }
    static void expect(const Vlan& row, const VlanForm& form, const std::string& line) {
        EXPECT_EQ(row.sRmUniVlanTableVlanMode, form.mode) << line;
        EXPECT_EQ(row.sRmUniVlanTablePvid, form.pvid) << line;
        EXPECT_EQ(row.sRmUniVlanTablePriority, form.priority) << line;
        EXPECT_EQ(ids(row.sRmUniVlanTableVlanIdList), form.ids) << line;
        EXPECT_EQ(ids(row.sRmUniVlanTableTranslateVlanIdList), form.networks) << line;
    }
    // The lines of the object that say something of UNIs.
    static std::vector<std::string> saved(const Place& place) {
        EXPECT_EQ(place.session->run("write terminal current"), CMD_SUCCESS);
        const std::string text = place.session->output();
        std::vector<std::string> lines;
        for (size_t at = text.find(" remote uni "); at != text.npos; at = text.find(" remote uni ", at + 1))
            lines.push_back(text.substr(at + 1, text.find('\n', at) - at - 1));
        return lines;
    }
};

CLI_TEST(RemoteVlan, EveryFormIsSetSavedAndMakesTheSame) {
    for (const Place& place : places())
        for (const auto& [word, kind] : {std::pair{"eth_1/1", ETH}, {"veip", VEIP}, {"pots_1/1", POTS}})
            for (const VlanForm& form : FORMS) {
                Vlan& vlan = row(place, kind);
                const Vlan before = vlan;
                const std::string line = std::string("remote uni ") + word + " " + form.line;
                EXPECT_EQ(run(*place.session, line), "") << line;
                expect(vlan, form, line);
                const std::string as_saved =
                    form.saved != nullptr ? std::string("remote uni ") + word + " " + form.saved : line;
                ASSERT_EQ(saved(place), std::vector{as_saved}) << line;
                vlan = before;
                EXPECT_EQ(run(*place.session, as_saved), "") << as_saved;
                expect(vlan, form, as_saved);
                vlan = before;
            }
}

CLI_TEST(RemoteVlan, TheCardIsToldAndTemplatesToo) {
    run(far_, "remote uni eth_1/1 vlan-mode hybrid pvlan 5 priority 3 tag 6 7");
    const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI_VLAN);
    ASSERT_EQ(told.size(), 1u);
    const auto record = told[0].record<ov_gpon_rmuni_vlan_attr_t>();
    EXPECT_EQ(record.vlanMode, 4);
    EXPECT_EQ(record.pvid, 5);
    EXPECT_EQ(record.priority, 3);
    EXPECT_EQ(told[0].mask & ~(1u << OV_GPON_RMUNI_VLAN_ATTR_INDEX_MAX),
              1u << OV_GPON_RMUNI_VLAN_ATTR_INDEX_vlanMode | 1u << OV_GPON_RMUNI_VLAN_ATTR_INDEX_pvid |
                  1u << OV_GPON_RMUNI_VLAN_ATTR_INDEX_PRI | 1u << OV_GPON_RMUNI_VLAN_ATTR_INDEX_vlanList);
    chassis_.forget_messages();
    run(profile_, "remote uni eth_1/1 vlan-mode transparent");
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI_VLAN).size(), 1u);
}

CLI_TEST(RemoteVlan, DiscardIsWhatAUniBeginsWith) {
    for (const Place& place : places()) {
        EXPECT_EQ(run(*place.session, "remote uni eth_1/1 vlan-mode access pvlan 7 priority 1"), "");
        EXPECT_EQ(run(*place.session, "remote uni eth_1/1 vlan-mode discard"), "");
        expect(row(place), {"", 1}, "discard");
        EXPECT_EQ(saved(place), std::vector<std::string>{});
    }
}

CLI_TEST(RemoteVlan, AnotherModeLeavesNothingOfTheOneBefore) {
    for (const Place& place : places()) {
        run(*place.session, "remote uni eth_1/1 vlan-mode xlate 10:100");
        EXPECT_EQ(run(*place.session, "remote uni eth_1/1 vlan-mode access pvlan 3"), "");
        expect(row(place), {"", 2, 3}, "access");
        EXPECT_EQ(saved(place), std::vector<std::string>{"remote uni eth_1/1 vlan-mode access pvlan 3"});
    }
}

CLI_TEST(RemoteVlan, BadListsAreRefusedAndNothingIsTold) {
    const std::pair<const char*, const char*> lists[] = {
        {"trunk tag 0", "% Invalid vlan id or range!\n"},
        {"trunk tag 4095", "% Invalid vlan id or range!\n"},
        {"trunk tag 10 x", "% Invalid vlan id or range!\n"},
        {"trunk tag 20-10", "% Invalid vlan id or range!\n"},
        {"trunk tag 10-", "% Invalid vlan id or range!\n"},
        {"trunk tag 10,11", "% Invalid vlan id or range!\n"},
        {"hybrid pvlan 1 tag 4000-4095", "% Invalid vlan id or range!\n"},
        {"trunk tag 1-13", "%Bad parameter, count over 12\n"},
        {"trunk tag 1-4094", "%Bad parameter, count over 12\n"},
        {"trunk tag 1 2 3 4 5 6 7 8 9 10 11 12 13", "%Bad parameter, count over 12\n"},
        {"hybrid pvlan 100 priority 1 tag 1-6 7-13", "%Bad parameter, count over 12\n"},
        {"xlate 10", "%Bad VLAN format 10\n"},
        {"xlate 10:100 11", "%Bad VLAN format 11\n"},
        {"xlate 0:100", "%Bad VLAN format 0:100\n"},
        {"xlate 10:4095", "%Bad VLAN format 10:4095\n"},
        {"xlate 10:100:1", "%Bad VLAN format 10:100:1\n"},
        {"xlate 10-11:100", "%Bad VLAN format 10-11:100\n"},
        {"xlate 65546:100", "%Bad VLAN format 65546:100\n"},
        {"xlate 1:1 2:2 3:3 4:4 5:5 6:6 7:7 8:8 9:9 10:10 11:11 12:12 13:13",
         "%Bad parameter, count over 12\n"}};
    for (const Place& place : places())
        for (const auto& [list, text] : lists) {
            const std::string line = std::string("remote uni eth_1/1 vlan-mode ") + list;
            EXPECT_EQ(run(*place.session, line, 104001), text) << line;
            expect(row(place), {"", 1}, line);
        }
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI_VLAN).size(), 0u);
}

CLI_TEST(RemoteVlan, WhatTheCardRefusesIsNotKept) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI_VLAN, 101001);
    EXPECT_EQ(run(far_, "remote uni eth_1/1 vlan-mode access pvlan 3", 104006),
              "%Failed to set VLAN  mode\n");
    expect(row(places()[0]), {"", 1}, "refused");
}

CLI_TEST(RemoteVlan, AHybridVlanIsNotAmongTheTagsOfAProfile) {
    EXPECT_EQ(run(profile_, "remote uni eth_1/1 vlan-mode hybrid pvlan 5 tag 4-6", 104006),
              "%Failed to set VLAN  mode\n");
    expect(row(places()[1]), {"", 1}, "refused");
}

CLI_TEST(RemoteVlan, WhatNoCommandMakesIsInNoSavedConfiguration) {
    const Place place = places()[0];
    Vlan& vlan = row(place);
    for (const int mode : {2, 3, 4, 6, 7}) { // without VLANs
        vlan.sRmUniVlanTableVlanMode = mode;
        EXPECT_EQ(saved(place), std::vector<std::string>{}) << mode;
    }
}

} // namespace
