// Services behind an ONU by command, and their MAC filters: every form on an ONU and on a service profile,
// saved and entered again.
#include "remote_services_fixture.h"

namespace {

using Service = ov_sRmServiceTable_attr_t;
using Mode = ov_rmServiceMacFilterModeTable_attr_t;
using Limit = ov_rmServiceMacFilterDynamicTable_attr_t;
using Rule = ov_rmServiceMacFilterStaticTable_attr_t;

struct ServiceForm {
    const char* line;
    int number;
    int gem;
    int type;
    int vlan = 0;
    int cos = 0;
    int card = 0;
    int kind = -1;
    int port = 0;
};
constexpr ServiceForm FORMS[] = {
    {"remote service 1 gem 1", 1, 1, 5},
    {"remote service 32 gem 30", 32, 30, 5},
    {"remote service 2 gem 3 eth_1/2", 2, 3, 6, 0, 0, 1, 0, 2},
    {"remote service 2 gem 3 veip", 2, 3, 6, 0, 0, 1, 2, 1},
    {"remote service 2 gem 3 iphost", 2, 3, 6, 0, 0, 1, 4, 1},
    {"remote service 3 gem 4 vlan 1", 3, 4, 1, 1},
    {"remote service 3 gem 4 vlan 4094", 3, 4, 1, 4094},
    {"remote service 4 gem 5 vlan 100 cos 0", 4, 5, 2, 100, 0},
    {"remote service 4 gem 5 vlan 100 cos 7", 4, 5, 2, 100, 7},
    {"remote service 5 gem 6 vlan 100 eth_1/1", 5, 6, 3, 100, 0, 1, 0, 1},
    {"remote service 5 gem 6 vlan 100 iphost", 5, 6, 3, 100, 0, 1, 4, 1},
    {"remote service 6 gem 7 vlan 100 cos 3 pots_1/1", 6, 7, 4, 100, 3, 1, 1, 1},
    {"remote service 6 gem 7 vlan 100 cos 3 veip", 6, 7, 4, 100, 3, 1, 2, 1},
};

void expect(const Service* row, const ServiceForm& form) {
    ASSERT_NE(row, nullptr) << form.line;
    EXPECT_EQ(row->sRmServiceTableRmServiceType, form.type) << form.line;
    EXPECT_EQ(row->sRmServiceTableGemId, static_cast<mib_ulong>(form.gem)) << form.line;
    EXPECT_EQ(row->sRmServiceTableVlanId, form.vlan) << form.line;
    EXPECT_EQ(row->sRmServiceTablePriorityID, form.cos) << form.line;
    EXPECT_EQ(row->sRmServiceTableOnuCardID, static_cast<mib_ulong>(form.card)) << form.line;
    EXPECT_EQ(row->sRmServiceTableOnuPortType, form.kind) << form.line;
    EXPECT_EQ(row->sRmServiceTableOnuPortID, static_cast<mib_ulong>(form.port)) << form.line;
}

using RemoteServices = RemoteServicesCli;

CLI_TEST(RemoteServices, EveryFormIsMadeSavedRemovedAndMadeAgain) {
    for (const Place& place : places())
        for (const ServiceForm& form : FORMS) {
            const std::string removal = "no remote service " + std::to_string(form.number);
            enter(place, {form.line});
            expect(service(place, form.number), form);
            EXPECT_EQ(saved(place), Lines{form.line});
            enter(place, {removal});
            EXPECT_EQ(service(place, form.number), nullptr) << form.line;
            EXPECT_EQ(saved(place), Lines{});
            enter(place, {form.line});
            expect(service(place, form.number), form);
            EXPECT_EQ(saved(place), Lines{form.line});
            enter(place, {removal});
        }
}

CLI_TEST(RemoteServices, ANumberThatIsTakenStaysWhatItIs) {
    for (const Place& place : places()) {
        enter(place, {"remote service 1 gem 1 vlan 100 cos 3 eth_1/1"});
        expect_refused(place, {{"remote service 1 gem 2", "%Failed to add remote service 1\n"}}, 104006);
        EXPECT_EQ(saved(place), Lines{"remote service 1 gem 1 vlan 100 cos 3 eth_1/1"});
    }
}

CLI_TEST(RemoteServices, TheCardIsTold) {
    chassis_.forget_messages();
    run(far_, "remote service 6 gem 7 vlan 100 cos 3 eth_1/2");
    const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RM_SERVICE);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
    const auto record = told[0].record<ov_gpon_rmservice_attr_t>();
    EXPECT_EQ(record.onuIfindex, index_of("gpon-onu3/2:7"));
    EXPECT_EQ(record.serviceId, 6);
    EXPECT_EQ(record.type, OV_GPON_RM_SERVICE_VLAN_COS_UNI);
    EXPECT_EQ(record.gemId, 7);
    EXPECT_EQ(record.vlan, 100);
    EXPECT_EQ(record.cos, 3);
    EXPECT_EQ(record.uniPos.uniId, 2);
    chassis_.forget_messages();
    run(far_, "no remote service 6");
    ASSERT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_SERVICE).size(), 1u);
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_SERVICE)[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
}

CLI_TEST(RemoteServices, WhatIsRefusedIsToldWithItsNumber) {
    enter(on_onu(), {"remote service 1 gem 1 vlan 100"});
    const Lines before = saved(on_onu());
    expect_refused(on_onu(),
                   {{"remote service 2 gem 2 vlan 100", "%Failed to add remote service 2\n"},
                    {"remote service 3 gem 2", "%Failed to add remote service 3\n"},
                    {"no remote service 32", "%Failed to delete remote service 32\n"},
                    {"remote service 2 gem 2 eth_1", "%Bad format ETHUNI eth_1\n"},
                    {"remote service 2 gem 2 vlan 5 lan", "%Bad format ONU interface lan\n"},
                    {"remote service 2 gem 2 vlan 5 cos 1 pots_a/1", "%Bad format POTS pots_a/1\n"}},
                   104006);
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_SERVICE, 101001);
    expect_refused(on_onu(),
                   {{"remote service 2 gem 2 vlan 200", "%Failed to add remote service 2\n"},
                    {"no remote service 1", "%Failed to delete remote service 1\n"}},
                   104006);
    EXPECT_EQ(saved(on_onu()), before);
}

CLI_TEST(RemoteServices, BeyondTheirLimitsAreNoCommands) {
    for (const Place& place : places())
        expect_no_commands(*place.session,
                           {"remote service 0 gem 1", "remote service 33 gem 1", "remote service 1 gem 0",
                            "remote service 1 gem 31", "remote service 1 gem 1 vlan 0",
                            "remote service 1 gem 1 vlan 4095", "remote service 1 gem 1 vlan 1 cos 8",
                            "remote service 1 gem 1 vlan 1 cos -1", "remote service 1 gem",
                            "remote service 1", "remote service", "no remote service", "no remote service 0",
                            "no remote service 33", "remote service x gem 1",
                            "remote service 1 gem 1 vlan 1 cos 1 veip more"});
    EXPECT_EQ(count<Service>(on_onu()) + count<Service>(on_profile()), 0u);
    expect_no_commands(far_port_, {"remote service 1 gem 1", "no remote service 1"});
}

// A manager's row that no form has.
CLI_TEST(RemoteServices, WhatNoCommandMakesIsInNoSavedConfiguration) {
    for (const Place& place : places()) {
        auto& row = *active(sRmServiceTable_createEntry(1, place.slot, place.port, place.onu, 1));
        row.sRmServiceTableGemId = 1;
        for (const ServiceForm& form : {ServiceForm{"no type", 1, 1, 0},
                                        {"no vlan", 1, 1, 1, 0},
                                        {"vlan 4095", 1, 1, 1, 4095},
                                        {"no uni", 1, 1, 6},
                                        {"second veip", 1, 1, 6, 0, 0, 2, 2, 1},
                                        {"cos 8", 1, 1, 2, 5, 8},
                                        {"gem 31", 1, 31, 5}}) {
            row.sRmServiceTableRmServiceType = form.type;
            row.sRmServiceTableGemId = static_cast<mib_ulong>(form.gem);
            row.sRmServiceTableVlanId = form.vlan;
            row.sRmServiceTablePriorityID = form.cos;
            row.sRmServiceTableOnuCardID = static_cast<mib_ulong>(form.card);
            row.sRmServiceTableOnuPortType = form.kind;
            row.sRmServiceTableOnuPortID = static_cast<mib_ulong>(form.port);
            EXPECT_EQ(saved(place), Lines{}) << form.line;
        }
        row.rmServiceID = 1;
    }
    FrrSession everything{ENABLE_NODE};
    EXPECT_EQ(everything.run("write file"), CMD_SUCCESS);
    EXPECT_THAT(log_.lines(), testing::Contains(testing::HasSubstr(
                                  "gpon-onu3/2:7 remote service 1 is in no saved configuration")));
}

// ---- MAC filters ----------------------------------------------------------------------------------------

class RemoteMacFilters : public RemoteServicesCli {
protected:
    RemoteMacFilters() {
        enter(on_onu(), {SERVICES[0], SERVICES[1]});
        chassis_.forget_messages();
    }
    template <typename Row>
    static Row* of_service(mib_ulong number) {
        auto key = onu_key<Row>(3, 2, 7);
        key.rmServiceID = number;
        return const_cast<Row*>(find_row(key));
    }
    static Rule* rule(mib_ulong service, mib_ulong number) {
        auto key = onu_key<Rule>(3, 2, 7);
        key.rmServiceID = service;
        key.rmSmfsId = number;
        return const_cast<Rule*>(find_row(key));
    }
    Lines saved_filters() { return saved(on_onu(), "remote mac_filter "); }
    // All services with their filters, made anew from what was saved.
    void replay() {
        const Lines lines = saved(on_onu());
        enter(on_onu(), {"no remote service 1", "no remote service 2"});
        EXPECT_EQ(saved(on_onu()), Lines{});
        EXPECT_EQ(count<Mode>(on_onu()) + count<Limit>(on_onu()) + count<Rule>(on_onu()), 0u);
        enter(on_onu(), lines);
        EXPECT_EQ(saved(on_onu()), lines);
    }

    static constexpr const char* SERVICES[] = {"remote service 1 gem 1 vlan 100",
                                               "remote service 2 gem 2 vlan 200"};
    static constexpr const char* RULES[] = {"remote mac_filter service 1 rule 1 forward da 0011-2233-4455",
                                            "remote mac_filter service 1 rule 2 discard da 0011-2233-4456",
                                            "remote mac_filter service 1 rule 3 forward sa ffff-ffff-ffff",
                                            "remote mac_filter service 1 rule 255 discard sa abcd-ef01-2345"};
};

CLI_TEST(RemoteMacFilters, ALimitIsSetSavedAndTakenAway) {
    for (const char* number : {"1", "255", "16"}) {
        const std::string line = std::string("remote mac_filter service 1 dynamic mac_limit ") + number;
        enter(on_onu(), {line});
        ASSERT_NE(of_service<Limit>(1), nullptr);
        EXPECT_EQ(std::to_string(of_service<Limit>(1)->rmSmfdMacLimit), number);
        EXPECT_EQ(saved_filters(), Lines{line});
        replay();
    }
    enter(on_onu(), {"no remote mac_filter service 1 dynamic mac_limit"});
    EXPECT_EQ(of_service<Limit>(1)->rmSmfdMacLimit, 0);
    EXPECT_EQ(saved_filters(), Lines{});
}

CLI_TEST(RemoteMacFilters, RulesAreAddedSavedAndRemoved) {
    enter(on_onu(), {"remote mac_filter service 1 mode static"});
    EXPECT_EQ(of_service<Mode>(1)->rmSmfmMode, RMSMFMMODE_STATIC);
    enter(on_onu(), {RULES[0], RULES[1], RULES[2], RULES[3]});
    const Rule* last = rule(1, 255);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->rmSmfsFwdFilter, RMSMFSFWDFILTER_DISCARD);
    EXPECT_EQ(last->rmSmfsRule, RMSMFSRULE_SA);
    EXPECT_EQ(memcmp(last->rmSmfsMac, "\xab\xcd\xef\x01\x23\x45", 6), 0);
    EXPECT_EQ(saved_filters(),
              (Lines{"remote mac_filter service 1 mode static", RULES[0], RULES[1], RULES[2], RULES[3]}));
    replay();
    for (const char* line : RULES)
        enter(on_onu(), {std::string("no ") + line});
    EXPECT_EQ(saved_filters(), Lines{"remote mac_filter service 1 mode static"});
}

CLI_TEST(RemoteMacFilters, OfServicesStandBehindAllServices) {
    enter(on_onu(), {"remote mac_filter service 1 mode static", RULES[0],
                     "remote mac_filter service 2 dynamic mac_limit 7"});
    EXPECT_EQ(saved(on_onu()), (Lines{SERVICES[0], SERVICES[1], "remote mac_filter service 1 mode static",
                                      RULES[0], "remote mac_filter service 2 dynamic mac_limit 7"}));
}

CLI_TEST(RemoteMacFilters, AddressesOfAnotherFormAreRefused) {
    enter(on_onu(), {"remote mac_filter service 1 mode static"});
    for (const char* mac : {"0011-2233-445", "00:11:22:33:44:55", "001122334455", "0011-2233-445g", "x",
                            "0011-2233-4455-6677", "0011.2233.4455"})
        for (const char* no : {"", "no "})
            EXPECT_EQ(
                run(far_, std::string(no) + "remote mac_filter service 1 rule 1 forward da " + mac, 104001),
                "% invalid mac format!\n")
                << mac;
    EXPECT_EQ(rule(1, 1), nullptr);
}

CLI_TEST(RemoteMacFilters, WhatCannotBeIsRefusedWithItsText) {
    enter(on_onu(), {"remote mac_filter service 1 mode static", RULES[0]});
    expect_refused(on_onu(),
                   {{"remote mac_filter service 3 mode static", "%Failed to set mac filter mode\n"},
                    {"remote mac_filter service 3 dynamic mac_limit 4", "%Failed to set mac filter mode\n"},
                    {"no remote mac_filter service 3 dynamic mac_limit", "%Failed to set mac filter mode\n"},
                    {"remote mac_filter service 1 rule 2 discard sa 0011-2233-4455",
                     "%Failed to add mac filter static rule\n"},
                    {"no remote mac_filter service 1 rule 9 forward da 0011-2233-4455",
                     "%Failed to delete mac filter static rule\n"}},
                   104006);
    EXPECT_EQ(saved_filters(), (Lines{"remote mac_filter service 1 mode static", RULES[0]}));
}

CLI_TEST(RemoteMacFilters, BeyondTheirLimitsAreNoCommands) {
    expect_no_commands(
        far_, {"remote mac_filter service 0 mode static", "remote mac_filter service 33 mode static",
               "remote mac_filter service 1 mode other", "remote mac_filter service 1 dynamic mac_limit 0",
               "remote mac_filter service 1 dynamic mac_limit 256",
               "remote mac_filter service 1 rule 0 forward da 0011-2233-4455",
               "remote mac_filter service 1 rule 256 forward da 0011-2233-4455",
               "remote mac_filter service 1 rule 1 drop da 0011-2233-4455",
               "remote mac_filter service 1 rule 1 forward xa 0011-2233-4455",
               "remote mac_filter service 1 rule 1 forward da", "no remote mac_filter service 1 rule 1",
               "remote mac_filter service 1"});
    expect_no_commands(profile_, {"remote mac_filter service 1 mode static", RULES[0]});
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_MAC_FLT).size(), 0u);
}

} // namespace
