#include "gpon_zebra.h"

#include <gmock/gmock.h>

#include "kavo_if.h"
#include "ov_app_gpon_pending.h"
#include "ov_ifindex.h"

#include "../support/log_capture.h"
#include "../support/test_shelf.h"

using testing::ElementsAre;
using testing::IsEmpty;

// The application functions that the handlers call, played by the test: the linker takes these instead of
// the library's. What was called is noted in order, with what the call carried.
namespace {

std::vector<std::string> calls;
struct Answers {
    int port_add = 0;
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

int ov_app_gpon_port_add(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag) {
    calls.push_back("port_add " + port(attr->shelfID, attr->slotID, attr->portID) + columns(flag));
    return answers.port_add;
}
int ov_app_gpon_port_edit(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag) {
    calls.push_back("port_edit " + port(attr->shelfID, attr->slotID, attr->portID) + " admin " +
                    std::to_string(attr->sPonTableAdminState) + " oper " +
                    std::to_string(attr->sPonTableOperationalState) + " columns" + columns(flag));
    return 0;
}
void ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_t ifIndex) {
    calls.push_back("shutdown " + std::string(ov_get_ifname_by_ifindex(ifIndex)));
}
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
        calls.clear();
        answers = {};
        qos_objects = 0;
        LogCapture::clear();
    }
    ~GponZebra() override { EXPECT_EQ(qos_objects, 0); }

    static ov_ifindex_t index(uint16_t type) { return ov_ifindex_gen_by_phyinfo(type, 1, 2, 0, 3, 0); }
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
    EXPECT_THAT(calls, ElementsAre("port_add 1/2/3", "qos_new", "qos_add gpon-olt2/3 7"));
    ASSERT_NE(uif_lookup_by_index(index(PORT_TYPE_GPON)), nullptr);
    EXPECT_TRUE(uif_is_up(uif_lookup_by_index(index(PORT_TYPE_GPON))));
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
    answers.port_add = OV_GPON_RET_BAD_PARAM;
    answers.pm_add = OV_GPON_RET_BAD_PARAM;
    run(gpon_new_if, event(PORT_TYPE_GPON));
    run(gpon_new_if, event(PORT_TYPE_XE));
    EXPECT_THAT(calls, ElementsAre("port_add 1/2/3", "qos_new", "qos_add gpon-olt2/3 7", "pm_add 1/2/3",
                                   "qos_new", "qos_add xe2/3 7"));
    EXPECT_THAT(log.lines(), ElementsAre("add uplink pm action of xe2/3 failed"));
}

TEST_F(GponZebra, QosObjectThatCannotBeAddedIsDestroyedAndLogged) {
    answers.qos_add = 1;
    EXPECT_EQ(run(gpon_new_if, event(PORT_TYPE_GPON)), 0);
    EXPECT_THAT(calls, ElementsAre("port_add 1/2/3", "qos_new", "qos_add gpon-olt2/3 7", "qos_destroy"));
    EXPECT_THAT(log.lines(), ElementsAre("add port qos of gpon-olt2/3 failed"));
}

TEST_F(GponZebra, MissingQosObjectIsLogged) {
    answers.qos_new = false;
    EXPECT_EQ(run(gpon_new_if, event(PORT_TYPE_GPON)), 0);
    EXPECT_THAT(calls, ElementsAre("port_add 1/2/3", "qos_new"));
    EXPECT_THAT(log.lines(), ElementsAre("new port qos of gpon-olt2/3 failed"));
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
    EXPECT_EQ(run(gpon_del_if, event(PORT_TYPE_GPON)), 0);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("del interface gpon-olt2/3"));
}

TEST_F(GponZebra, DeleteOfAnyOtherKindIsDropped) {
    EXPECT_EQ(run(gpon_del_if, event(PORT_TYPE_GONU)), 0);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

// ---- administrative and operational state -----------------------------------------------------------

class GponZebraState : public GponZebra {
protected:
    GponZebraState() { uif_create_by_ifindex(index(PORT_TYPE_GPON)); }
};

TEST_F(GponZebraState, AdminUpWritesColumn5) {
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_THAT(calls, ElementsAre("port_edit 1/2/3 admin 1 oper 0 columns 5"));
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 admin up"));
    EXPECT_TRUE(uif_is_up(uif_lookup_by_index(index(PORT_TYPE_GPON))));
}

TEST_F(GponZebraState, AdminDownTakesTheOnusOutOfServiceThenWritesColumn5) {
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GPON, UIF_FLAG_RUNNING)), 0);
    EXPECT_THAT(calls, ElementsAre("shutdown gpon-olt2/3", "port_edit 1/2/3 admin 0 oper 0 columns 5"));
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 admin down"));
}

TEST_F(GponZebraState, RunningWritesTheOperationalState1WithColumn6) {
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_GPON, UIF_FLAG_RUNNING)), 0);
    EXPECT_THAT(calls, ElementsAre("port_edit 1/2/3 admin 0 oper 1 columns 6"));
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 operation up"));
}

TEST_F(GponZebraState, NotRunningWritesTheOperationalState3WithColumn6) {
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_THAT(calls, ElementsAre("port_edit 1/2/3 admin 0 oper 3 columns 6"));
    EXPECT_THAT(log.lines(), ElementsAre("gpon-olt2/3 operation down"));
}

TEST_F(GponZebraState, StateOfAnUnknownPortIsLoggedAndDropped) {
    uif_delete(uif_lookup_by_index(index(PORT_TYPE_GPON)));
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_GPON, UIF_FLAG_UP)), 0);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("gpon_admin_if: unknonw interface: gpon-olt2/3",
                                         "gpon_status_if: unknonw interface: gpon-olt2/3"));
}

TEST_F(GponZebraState, StateOfAnyOtherKindIsDropped) {
    uif_create_by_ifindex(index(PORT_TYPE_XE));
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_XE)), 0);
    EXPECT_EQ(run(gpon_status_if, event(PORT_TYPE_XE)), 0);
    EXPECT_EQ(run(gpon_admin_if, event(PORT_TYPE_GONU)), 0);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GponZebra, SlotsForLaterUseDoNothing) {
    umsg_vlan_t vlan = {};
    EXPECT_EQ(gpon_del_vlan(&vlan), 0);
    EXPECT_EQ(gpon_http_parse(nullptr), 0);
    EXPECT_THAT(calls, IsEmpty());
}

} // namespace
