// QoS by command, for tests: a PON port with an ONU of eight queues and one of four, and an uplink port.
#pragma once

#include "onu_fixture.h"

#include <set>
#include <sstream>

#include "cosQueueMappingProfileTable.h"
#include "cosToCosProfileTable.h"
#include "onuQosTable.h"
#include "ov_app_gpon_qos.h"
#include "ponPortQosTable.h"
#include "portQosTable.h"
#include "qosSchedulerProfileTable.h"
#include "qosTrafficProfileTable.h"

inline constexpr int FAILED = 104006;
inline constexpr int BAD_INPUT = 104001;

inline const std::string CLASSES = " cos0 0 cos1 0 cos2 1 cos3 1 cos4 2 cos5 2 cos6 3 cos7 ";
inline const std::string SCHED_LINE = "profile qos-queue-scheduler 1 name one policy sp";
inline const std::string WRR_LINE =
    "profile qos-queue-scheduler 16 name two policy wrr queue0 0 queue1 1 queue2 2 queue3 3 queue4 4 "
    "queue5 5 queue6 6 queue7 100";
inline const std::string MAP_LINE = "profile cos-queue-map 4 name four" + CLASSES + "0";
inline const std::string COS_LINE = "profile cos-to-cos 7 name seven" + CLASSES + "7";
inline const std::string TRAFFIC_LINE =
    "profile qos-queue-traffic 128 name most queue0 0 queue1 1 queue2 1-2 queue3 100000000 queue4 "
    "1-100000000 queue5 5 queue6 6 queue7 7";

inline std::string no_profile(const std::string& kind, const std::string& id) {
    return "no profile " + kind + " " + id;
}

class Qos : public OnuCli {
protected:
    Qos() {
        add_port(1, 2);
        auto& narrow = add_onutype("NARROW");
        narrow.sOnuTypeProfileTableIsDefaultProfile = 1;
        narrow.sOnuTypeProfileTableUpQueueNum = 4;
        narrow.sOnuTypeProfileTableDwnQueueNum = 4;
        run(port_, "onu 7 type KLM-618 sn ABCD00000007");
        run(port_, "onu 8 type NARROW sn ABCD00000008");
        stand_on(narrow_, GPON_ONU_NODE, "gpon-onu1/2:8");
        for (const char* name : {"gpon-olt1/2", "gpon-onu1/2:7", "gpon-onu1/2:8"})
            add_interface(name);
        uplink_.vty->index = add_interface("xe1/3");
        add_port_qos(index_of("gpon-olt1/2"));
        add_port_qos(index_of("xe1/3"));
        app = {};
        LogCapture::clear();
    }
    // As a port that appears brings it along.
    static void add_port_qos(ov_ifindex_t port) {
        auto* qos = ov_app_port_qos_new();
        ov_app_port_qos_edit_ifindex(qos, port);
        EXPECT_EQ(ov_app_port_qos_add(qos, SYNC_MIB | SYNC_APP), OV_QOS_OK);
    }
    // The card of the ports refuses each further message of a type.
    void card_refuses(int type) {
        refused_.insert(type);
        other_card_.behave([refused = refused_](FakeCard& card, const wire::Bytes& request) {
            constexpr uint32_t REFUSED = 1004;
            card.reply(request, refused.contains(wire::get16(request, wire::NL + 4)) ? REFUSED : 0);
        });
    }
    std::string on_gpon(const std::string& line, int result = 0) { return run(gpon_, line, result); }
    // Makes a profile of each kind.
    void make_profiles() {
        for (const std::string& line : {SCHED_LINE, WRR_LINE, MAP_LINE, COS_LINE, TRAFFIC_LINE})
            EXPECT_EQ(on_gpon(line), "") << line;
    }
    static ov_ponPortQosTable_attr_t pon_row() {
        ov_ponPortQosTable_attr_t key = {};
        key.shelfID = 1;
        key.slotID = 1;
        key.portID = 2;
        return *find_row(key);
    }
    static ov_portQosTable_attr_t uplink_row() {
        ov_portQosTable_attr_t key = {};
        key.shelfID = 1;
        key.slotID = 1;
        key.portID = 3;
        return *find_row(key);
    }
    static ov_onuQosTable_attr_t onu_row(int onu = 7) {
        return *find_row(onu_key<ov_onuQosTable_attr_t>(1, 2, onu));
    }
    static bool has_sched_row(mib_long id) {
        ov_qosSchedulerProfileTable_attr_t key = {};
        key.shelfID = 1;
        key.qosSchedulerProfileId = id;
        return find_row(key) != nullptr;
    }
    std::string written() {
        EXPECT_EQ(config_.run("write terminal"), CMD_SUCCESS);
        return config_.output();
    }
    // The lines of all that is saved that have QoS words.
    std::vector<std::string> saved() {
        std::istringstream text(written());
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            if (line.find("qos") != line.npos || line.find("cos") != line.npos)
                lines.push_back(line);
        return lines;
    }

    FrrSession gpon_{GPON_NODE};
    FrrSession config_{CONFIG_NODE};
    FrrSession uplink_{IF_NODE};
    FrrSession narrow_{GPON_ONU_NODE};

private:
    std::set<int> refused_;
};
