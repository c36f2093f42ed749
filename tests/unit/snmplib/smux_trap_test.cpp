// smux_trap: a notification built from a table of variables. What goes out is seen as the library's other
// parts see it, by callback.
#include <gmock/gmock.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "../support/log_capture.h"
#include "agentx.h"

using testing::ElementsAre;

namespace {

using Name = std::vector<oid>;
std::vector<Name> names;

int note_notification(int /*major*/, int /*minor*/, void* pdu, void* /*arg*/) {
    for (auto* v = static_cast<netsnmp_pdu*>(pdu)->variables; v != nullptr; v = v->next_variable)
        names.emplace_back(v->name, v->name + v->name_length);
    return 0;
}

u_char* find_value(struct variable* v, oid* /*name*/, size_t* /*length*/, int /*exact*/, size_t* var_len,
                   WriteMethod** /*write_method*/) {
    static long value = 5;
    *var_len = sizeof value;
    return v->magic == 0 ? nullptr : reinterpret_cast<u_char*>(&value);
}

TEST(SmuxTrap, CarriesItsIdentityAndTheObjectsThatHaveAValue) {
    private_root::run([] {
        const LogCapture log;
        smux_init(frr_master());
        snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_SEND_TRAP2, note_notification,
                               nullptr);
        std::vector<struct variable> variables(2);
        variables[0] = {
            .magic = 1, .type = ASN_INTEGER, .acl = 0, .findVar = find_value, .namelen = 1, .name = {7}};
        variables[1] = {
            .magic = 0, .type = ASN_INTEGER, .acl = 0, .findVar = find_value, .namelen = 1, .name = {8}};
        const oid group[] = {1, 3, 6, 1, 4, 1, 9, 0};
        const oid objects[] = {1, 3, 6, 1, 4, 1, 9, 1};
        const oid instance[] = {11, 12};
        const trap_object wanted[] = {{1, {7}}, {-1, {7}}, {1, {8}}, {1, {9}}};
        EXPECT_EQ(smux_trap(variables.data(), 2, group, 8, objects, 8, instance, 2, wanted, 4, 3), 1);
        EXPECT_THAT(names,
                    ElementsAre(Name{1, 3, 6, 1, 2, 1, 1, 3, 0}, // sysUpTime.0, by the library
                                Name{1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0},
                                Name{1, 3, 6, 1, 4, 1, 9, 1, 7, 11, 12}, Name{1, 3, 6, 1, 4, 1, 9, 1, 7}));
    });
}

// The library is the loop's: what another thread wants to send waits for it.
TEST(AgentxNotification, OfAnotherThreadIsSentByTheLoop) {
    private_root::run([] {
        const LogCapture log;
        static std::thread::id sender;
        smux_init(frr_master());
        snmp_register_callback(
            SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_SEND_TRAP2,
            [](int, int, void* pdu, void*) {
                sender = std::this_thread::get_id();
                return note_notification(0, 0, pdu, nullptr);
            },
            nullptr);
        std::thread([] {
            const oid identity[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
            const oid trap[] = {1, 3, 6, 1, 4, 1, 9, 0, 5};
            netsnmp_variable_list* list = nullptr;
            snmp_varlist_add_variable(&list, identity, 11, ASN_OBJECT_ID, trap, sizeof trap);
            agentx_send_notification(list); // which takes the list
        }).join();
        EXPECT_THAT(names, testing::IsEmpty()) << "not on that thread";
        EXPECT_TRUE(frr_run_until([] { return !names.empty(); }));
        EXPECT_EQ(sender, std::this_thread::get_id());
        EXPECT_THAT(names,
                    ElementsAre(Name{1, 3, 6, 1, 2, 1, 1, 3, 0}, Name{1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0}));
    });
}

} // namespace
