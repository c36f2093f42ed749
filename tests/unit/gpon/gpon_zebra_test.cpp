#include "gpon_zebra.h"

#include <gmock/gmock.h>

#include "kavo_if.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_uplink_pm_action.h"
#include "ov_ifindex.h"
#include "sOnuInitTable.h"
#include "sPonTable.h"

#include "../support/log_capture.h"
#include "../support/test_shelf.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

// The application functions for uplink ports and for QoS, played by the test: the linker takes these instead
// of the library's. What was called is noted in order, with what the call carried. The tables of PON ports
// and ONUs are the real ones, without application callbacks.
namespace {

std::vector<std::string> calls;
struct Answers {
    int pm_add = 0;
    int pm_del = 0;
    int qos_add = 0;
    bool qos_new = true;
};
Answers answers;
int qos_objects = 0; // made and neither added nor destroyed

std::string port(int shelf, int slot, int id) {
    return std::to_string(shelf) + "/" + std::to_string(slot) + "/" + std::to_string(id);
}

std::string columns(const MIB_Flags_t* flags) {
    std::string text;
    for (unsigned column = 0; column < 128; column++)
        if (flags->flags[column / 32] >> column % 32 & 1)
            text += " " + std::to_string(column);
    return text;
}

} // namespace

int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag) {
    calls.push_back("pm_add " + port(attr->shelfID, attr->slotID, attr->portID) + columns(flag));
    return answers.pm_add;
}
int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* attr) {
    calls.push_back("pm_del " + port(attr->shelfID, attr->slotID, attr->portID));
    return answers.pm_del;
}
ov_app_port_qos_s* ov_app_port_qos_new() {
    calls.emplace_back("qos_new");
    static ov_app_port_qos_s object;
    qos_objects += answers.qos_new;
    return answers.qos_new ? &object : nullptr;
}
void ov_app_port_qos_destroy(ov_app_port_qos_s*) {
    calls.emplace_back("qos_destroy");
    qos_objects--;
}
int ov_app_port_qos_edit_ifindex(ov_app_port_qos_s* qos, ov_ifindex_t ifindex) {
    qos->ifindex = ifindex;
    return 0;
}
int ov_app_port_qos_add(ov_app_port_qos_s* qos, uint32_t flag) {
    calls.push_back("qos_add " + std::string(ov_get_ifname_by_ifindex(qos->ifindex)) + " " +
                    std::to_string(flag));
    qos_objects -= answers.qos_add == 0;
    return answers.qos_add;
}

namespace {

class GponZebra : public testing::Test {
protected:
    GponZebra() {
        initialize_table_sPonTable_data();
        initialize_table_sOnuTable_data();
        initialize_table_sOnuInitTable_data();
        calls.clear();
        answers = {};
        qos_objects = 0;
        LogCapture::clear();
    }
    ~GponZebra() override { EXPECT_EQ(qos_objects, 0); }

    static ov_ifindex_t index(uint16_t type) { return ov_ifindex_gen_by_phyinfo(type, 1, 2, 0, 3, 0); }
    // The row of PON port 1/2/3; null without.
    static const ov_sPonTable_attr_t* pon_port() {
        ov_sPonTable_attr_t key = {};
        table_of<ov_sPonTable_attr_t>::module().set_index_at(&key, 1, 2, 3);
        return find_row(key);
    }
    static ov_sOnuTable_attr_t& put_onu(int slot, int port, int onu, const char* sn = "") {
        auto* row = static_cast<ov_sOnuTable_attr_t*>(
            table_of<ov_sOnuTable_attr_t>::module().create_entry_at(1, slot, port, onu));
        strcpy(row->sOnuTableSn, sn);
        row->sOnuTableRowStatus = OVRA_ACTIVE;
        LogCapture::clear();
        return *row;
    }
    static umsg_if_t event(uint16_t type, uint32_t flags = 0) {
        umsg_if_t msg = {};
        msg.ifindex = type == PORT_TYPE_GONU ? ov_ifindex_gen_by_phyinfo(type, 1, 2, 0, 3, 9) : index(type);
        msg.flags = flags;
        ov_gen_ifname_by_ifindex(msg.ifindex, msg.name, sizeof(msg.name));
        return msg;
    }
    static int run(int (*handler)(umsg_if_t*), umsg_if_t msg) { return handler(&msg); }

    TestShelf shelf{OV_SHELF_TYPE_LC14};
    LogCapture log;
};

// ---- new interface --------------------------------------------------------------------------------

TEST_F(GponZebra, NewPonPortGetsItsRowAndItsQosObject) {
    EXPECT_EQ(run(gpon_new_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_THAT(calls, ElementsAre("qos_new", "qos_add gpon-olt2/3 7"));
    ASSERT_NE(pon_port(), nullptr);
    EXPECT_EQ(pon_port()->sPonTableIfIndex, index(PORT_TYPE_GPON));
    EXPECT_EQ(pon_port()->sPonTableRowStatus, OVRA_ACTIVE);
    ASSERT_NE(uif_lookup_by_index(index(PORT_TYPE_GPON)), nullptr);
    EXPECT_TRUE(uif_is_up(uif_lookup_by_index(index(PORT_TYPE_GPON))));
}

TEST_F(GponZebra, NewPonPortMakesTheOnusOfItsRowsKnown) {
    put_onu(2, 3, 9, "ABCD00000001");
    put_onu(2, 3, 128);
    put_onu(2, 4, 1);
    put_onu(3, 3, 1);
    run(gpon_new_if, event(PORT_TYPE_GPON));
    const uif_t* onu = uif_lookup_by_name("gpon-onu2/3:9");
    ASSERT_NE(onu, nullptr);
    EXPECT_STREQ(onu->onu_sn, "ABCD00000001");
    EXPECT_NE(uif_lookup_by_name("gpon-onu2/3:128"), nullptr);
    EXPECT_EQ(uif_lookup_by_name("gpon-onu2/4:1"), nullptr);
    EXPECT_EQ(uif_lookup_by_name("gpon-onu3/3:1"), nullptr);
}

TEST_F(GponZebra, NewUplinkPortGetsItsPmRowAndItsQosObject) {
    for (const auto& [type, name] : {std::pair{PORT_TYPE_GE, "ge2/3"}, std::pair{PORT_TYPE_XE, "xe2/3"}}) {
        calls.clear();
        EXPECT_EQ(run(gpon_new_if, event(type)), 0);
        EXPECT_THAT(calls, ElementsAre("pm_add 1/2/3", "qos_new", std::string("qos_add ") + name + " 7"));
        EXPECT_NE(uif_lookup_by_index(index(type)), nullptr);
    }
}

TEST_F(GponZebra, NewOnuIsDropped) {
    EXPECT_EQ(run(gpon_new_if, event(PORT_TYPE_GONU)), 0);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_EQ(uif_lookup_by_index(event(PORT_TYPE_GONU).ifindex), nullptr);
}

TEST_F(GponZebra, NewInterfaceOfAnyOtherKindIsDropped) {
    for (const uint16_t type :
         {PORT_TYPE_FABRIC, PORT_TYPE_FE, PORT_TYPE_CE, PORT_TYPE_GEMPORT, PORT_TYPE_MGMT}) {
        umsg_if_t msg = {};
        msg.ifindex = uint32_t{type} << 27;
        EXPECT_EQ(gpon_new_if(&msg), 0);
        EXPECT_EQ(uif_lookup_by_index(msg.ifindex), nullptr);
    }
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(GponZebra, NewInterfaceWithoutARecordEndsThere) {
    uif_deinit(); // a list that takes nothing
    EXPECT_EQ(run(gpon_new_if, event(PORT_TYPE_GPON)), 0);
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(GponZebra, RefusedRowDoesNotKeepThePortFromItsQosObject) {
    answers.pm_add = OV_GPON_RET_BAD_PARAM;
    run(gpon_new_if, event(PORT_TYPE_GPON)); // makes the row: as if it came from its file
    const_cast<ov_sPonTable_attr_t*>(pon_port())->sPonTableDsFec = 1;
    calls.clear();
    LogCapture::clear();
    run(gpon_new_if, event(PORT_TYPE_GPON));
    run(gpon_new_if, event(PORT_TYPE_XE));
    EXPECT_THAT(
        calls, ElementsAre("qos_new", "qos_add gpon-olt2/3 7", "pm_add 1/2/3", "qos_new", "qos_add xe2/3 7"));
    EXPECT_THAT(log.lines(),
                IsSupersetOf({"mib add error for port table", "add uplink pm action of xe2/3 failed"}));
    EXPECT_EQ(pon_port()->sPonTableDsFec, 1);
}

TEST_F(GponZebra, QosObjectThatCannotBeAddedIsDestroyedAndLogged) {
    answers.qos_add = 1;
    EXPECT_EQ(run(gpon_new_if, event(PORT_TYPE_GPON)), 0);
    EXPECT_THAT(calls, ElementsAre("qos_new", "qos_add gpon-olt2/3 7", "qos_destroy"));
    EXPECT_THAT(log.lines(), Contains("add port qos of gpon-olt2/3 failed"));
}

TEST_F(GponZebra, MissingQosObjectIsLogged) {
    answers.qos_new = false;
    EXPECT_EQ(run(gpon_new_if, event(PORT_TYPE_GPON)), 0);
    EXPECT_THAT(calls, ElementsAre("qos_new"));
    EXPECT_THAT(log.lines(), Contains("new port qos of gpon-olt2/3 failed"));
}

// ---- deleted interface ------------------------------------------------------------------------------

TEST_F(GponZebra, DeletedUplinkPortLosesItsPmRow) {
    for (const uint16_t type : {PORT_TYPE_GE, PORT_TYPE_XE}) {
        calls.clear();
        EXPECT_EQ(run(gpon_del_if, event(type)), 0);
        EXPECT_THAT(calls, ElementsAre("pm_del 1/2/3"));
    }
    EXPECT_THAT(log.lines(), ElementsAre("del interface ge2/3", "del interface xe2/3"));
}

TEST_F(GponZebra, FailedDeleteOfAPmRowIsLogged) {
    answers.pm_del = OV_GPON_RET_BAD_PARAM;
    EXPECT_EQ(run(gpon_del_if, event(PORT_TYPE_XE)), 0);
    EXPECT_THAT(log.lines(), ElementsAre("del uplink pm action of xe2/3 failed", "del interface xe2/3"));
}

TEST_F(GponZebra, DeletedPonPortKeepsItsRow) {
    run(gpon_new_if, event(PORT_TYPE_GPON));
    calls.clear();
    LogCapture::clear();
    EXPECT_EQ(run(gpon_del_if, event(PORT_TYPE_GPON)), 0);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("del interface gpon-olt2/3"));
    EXPECT_NE(pon_port(), nullptr);
}

TEST_F(GponZebra, DeleteOfAnyOtherKindIsDropped) {
    EXPECT_EQ(run(gpon_del_if, event(PORT_TYPE_GONU)), 0);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

// ---- administrative and operational state -----------------------------------------------------------

class GponZebraState : public GponZebra {
protected:
    // The row's states differ from all that an event writes.
    GponZebraState() {
        uif_create_by_ifindex(index(PORT_TYPE_GPON));
        auto* row = static_cast<ov_sPonTable_attr_t*>(
            table_of<ov_sPonTable_attr_t>::module().create_entry_at(1, 2, 3));
        row->sPonTableRowStatus = OVRA_ACTIVE;
        row->sPonTableAdminState = 7;
        row->sPonTableOperationalState = SPONTABLEOPERATIONALSTATE_REDONOP;
        LogCapture::clear();
    }
    static auto states() {
        return std::pair(pon_port()->sPonTableAdminState, pon_port()->sPonTableOperationalState);
    }
};

TEST_F(GponZebraState, AdminUpWritesTheAdminState) {
    auto& onu = put_onu(2, 3, 9);
    onu.sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_EQ(states(), std::pair(1, 2));
    EXPECT_EQ(onu.sOnuTableOnuState, SONUTABLEONUSTATE_OPERATIONAL);
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 admin up"));
    EXPECT_TRUE(uif_is_up(uif_lookup_by_index(index(PORT_TYPE_GPON))));
}

TEST_F(GponZebraState, AdminDownTakesTheOnusOutOfServiceAndWritesTheAdminState) {
    auto& onu = put_onu(2, 3, 9);
    onu.sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GPON, UIF_FLAG_RUNNING)), 0);
    EXPECT_EQ(states(), std::pair(0, 2));
    EXPECT_EQ(onu.sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 admin down",
                                         "gpon-onu2/3:9 goes from operational to added: port down"));
}

TEST_F(GponZebraState, RunningWritesTheOperationalState1) {
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_GPON, UIF_FLAG_RUNNING)), 0);
    EXPECT_EQ(states(), std::pair(7, 1));
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 operation up"));
}

TEST_F(GponZebraState, NotRunningWritesTheOperationalState3) {
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_EQ(states(), std::pair(7, 3));
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 operation down"));
}

TEST_F(GponZebraState, StateOfAnUnknownPortIsLoggedAndDropped) {
    uif_delete(uif_lookup_by_index(index(PORT_TYPE_GPON)));
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_EQ(states(), std::pair(7, 2));
    EXPECT_THAT(log.lines(), ElementsAre("gpon_admin_if: unknonw interface: gpon-olt2/3",
                                         "gpon_status_if: unknonw interface: gpon-olt2/3"));
}

TEST_F(GponZebraState, StateOfAnyOtherKindIsDropped) {
    uif_create_by_ifindex(index(PORT_TYPE_XE));
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_XE)), 0);
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_XE)), 0);
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GONU)), 0);
    EXPECT_EQ(states(), std::pair(7, 2));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GponZebra, SlotsForLaterUseDoNothing) {
    umsg_vlan_t vlan = {};
    EXPECT_EQ(gpon_del_vlan(&vlan), 0);
    EXPECT_EQ(gpon_http_parse(nullptr), 0);
    EXPECT_THAT(calls, IsEmpty());
}

} // namespace
