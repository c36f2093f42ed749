#include "kavo_vty_object.h"

#include <gtest/gtest.h>

#include "kavo_frr.h"
#include "kavo_if.h"

namespace {

// Node and object are all that is looked at.
struct vty session_on(int node, void* object) {
    struct vty session = {};
    session.node = node;
    session.index = object;
    return session;
}

void* as_object(ov_ifindex_t index) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(index));
}

TEST(VtyObject, OnTheUplinkPortNodeTheRecordsIndexIsRead) {
    uif_t port = {};
    port.ifindex = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GE, 1, 2, 0, 3, 0);
    const struct vty session = session_on(IF_NODE, &port);
    ov_ifindex_t index = 0;
    EXPECT_EQ(ov_get_ifindex_from_vtysh(&session, &index), 0);
    EXPECT_EQ(index, port.ifindex);
}

TEST(VtyObject, APortThatGoesIsNoOthersAndIsBackWhenItComes) {
    ASSERT_EQ(uif_init(), 0);
    uif_t* const port = uif_create_by_name("xe1/3");
    const ov_ifindex_t own = port->ifindex;
    const struct vty session = session_on(IF_NODE, port);
    uif_delete(port);
    for (const char* const other : {"xe1/2", "gpon-olt1/1", "gpon-onu1/1:1"})
        ASSERT_NE(uif_create_by_name(other), nullptr);
    ov_ifindex_t index = 7;
    EXPECT_EQ(ov_get_ifindex_from_vtysh(&session, &index), -1);
    EXPECT_EQ(index, 7u);
    uif_create_by_name("xe1/3");
    EXPECT_EQ(ov_get_ifindex_from_vtysh(&session, &index), 0);
    EXPECT_EQ(index, own);
    uif_deinit();
}

// The number is no address: reading through it would end the daemon.
TEST(VtyObject, OnPonPortAndOnuNodesTheNumberIsNotFollowed) {
    for (int node : {IF_GPON_NODE, GPON_ONU_NODE, ONU_SRV_PROFILE_NODE}) {
        const struct vty session = session_on(node, as_object(0x54608580));
        ov_ifindex_t index = 0;
        EXPECT_EQ(ov_get_ifindex_from_vtysh(&session, &index), 0);
        EXPECT_EQ(index, 0x54608580u);
    }
}

TEST(VtyObject, APortNodeWithoutRecordAndNullArgumentsAreRefused) {
    const struct vty session = session_on(IF_NODE, nullptr);
    ov_ifindex_t index = 7;
    EXPECT_EQ(ov_get_ifindex_from_vtysh(&session, &index), -1);
    EXPECT_EQ(ov_get_ifindex_from_vtysh(nullptr, &index), -1);
    EXPECT_EQ(ov_get_ifindex_from_vtysh(&session, nullptr), -1);
    EXPECT_EQ(index, 7u);
}

} // namespace
