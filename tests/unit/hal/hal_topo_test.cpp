#include "hal_topo.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "../support/log_capture.h"
#include "../support/test_shelf.h"
#include "hal_slot.h"
#include "wi_nameserver.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HalTopo : public testing::Test {
protected:
    HalTopo() { LogCapture::clear(); }
    ~HalTopo() override { std::fill(std::begin(g_agent_slot_exited), std::end(g_agent_slot_exited), 0); }
    static void tell(int event, uint32_t service, uint32_t sub_id) {
        const ipc_ns_event_st e = {.ipc_ns_ev = event, .serv_id = service, .sub_id = sub_id};
        hal_tipc_topo_callback(&e);
    }

    LogCapture log;
    TestShelf shelf{OV_SHELF_TYPE_LC14};
};

TEST_F(HalTopo, AgentThatComesAndGoesSetsAndClearsItsSlotsFlag) {
    tell(IPC_SERV_PUBLISHED, 101, 10103);
    EXPECT_EQ(hal_slot_active_flag_check(3), 1u);
    tell(IPC_SERV_WITHDRAWN, 101, 10103);
    EXPECT_EQ(hal_slot_active_flag_check(3), 0u);
}

TEST_F(HalTopo, OtherServicesAndOtherClientsOfTheServiceAreNoAgents) {
    tell(IPC_SERV_PUBLISHED, 111, 10103);
    tell(IPC_SERV_PUBLISHED, 101, 11103);
    EXPECT_EQ(hal_slot_active_flag_check(3), 0u);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(HalTopo, BadSlotsAndUnknownEventsAreReported) {
    tell(IPC_SERV_PUBLISHED, 101, 10199);
    tell(IPC_SERV_PUBLISHED, 101, 10100);
    tell(7, 101, 10103);
    EXPECT_THAT(log.lines(), ElementsAre("Error! Bad slot 99 from app_slot_id 10199 ",
                                         "Error! Bad slot 0 from app_slot_id 10100 ",
                                         "Error! Unknown event 7 on slot [service 101, appslot id 10103]"));
}

} // namespace
