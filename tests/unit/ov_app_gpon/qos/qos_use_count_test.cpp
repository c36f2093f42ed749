// The use counters after thousands of random operations on profiles and bindings, with cards that refuse now
// and then: they are what the objects and the rows say.
#include "qos_chassis.h"

#include "../../support/dice.h"
#include "avltree.h"

using namespace qos_test;

namespace {

constexpr int OPERATIONS = 4000;
constexpr int ONUS = 4;
constexpr int SERVICE_PORTS = 4;
constexpr int IDS = 5; // 0 to 4, of each kind

using Counts = std::array<std::array<uint32_t, QOS_PROFILE_IDS>, QOS_PROFILE_KINDS>;

// What is bound, by what the cards have taken.
Counts recounted() {
    Counts counts = {};
    const auto count = [&counts](qos_profile_kind_e kind, uint32_t id) { counts[kind][id] += id != 0; };
    for (const auto& port : g_port_qos_list) {
        count(QOS_PROFILE_COSQ_MAP, port.cosq_map_profile_id_old);
        count(QOS_PROFILE_SCHED, port.qos_sched_profile_id_old);
        count(QOS_PROFILE_TRAFFIC, port.qos_traffic_profile_id_old);
        for (const uint32_t id : port.cos_to_cos_profile_id_old)
            count(QOS_PROFILE_COS_TO_COS, id);
    }
    for (const auto& onu : g_onu_qos_list) {
        count(QOS_PROFILE_COSQ_MAP, onu.cosq_profile_id_old);
        count(QOS_PROFILE_SCHED, onu.qos_sched_profile_id_old);
        count(QOS_PROFILE_TRAFFIC, onu.qos_traffic_profile_id_old);
        for (const uint32_t id : onu.cos_to_cos_profile_id_old)
            count(QOS_PROFILE_COS_TO_COS, id);
    }
    for (auto* node = avl_top_sort(g_service_port_qos_avl_entry); node != nullptr; node = avl_next_sort(node))
        for (const uint32_t id :
             static_cast<const ov_app_service_port_qos_s*>(node->info)->cos_to_cos_profile_id_old)
            count(QOS_PROFILE_COS_TO_COS, id);
    return counts;
}

// The same by the rows, of the profiles of operators.
Counts recounted_by_rows() {
    Counts counts = {};
    const auto count = [&counts](qos_profile_kind_e kind, auto id) {
        counts[kind][static_cast<size_t>(id)] += id != 0;
    };
    for (const auto& row : all_rows<PonQosRow>()) {
        count(QOS_PROFILE_COSQ_MAP, row.ponPortQosCosQueueMappingProfileId);
        count(QOS_PROFILE_SCHED, row.ponPortQosSchedulerProfileId);
        count(QOS_PROFILE_TRAFFIC, row.ponPortQosTrafficProfileId);
        count(QOS_PROFILE_COS_TO_COS, row.ponPortQosUplinkCosToCosProfileId);
        count(QOS_PROFILE_COS_TO_COS, row.ponPortQosDownlinkCosToCosProfileId);
    }
    for (const auto& row : all_rows<OnuQosRow>()) {
        count(QOS_PROFILE_COSQ_MAP, row.onuQosDownlinkCosQueueMapProfileId);
        count(QOS_PROFILE_SCHED, row.onuQosSchedulerProfileId);
        count(QOS_PROFILE_TRAFFIC, row.onuQosTrafficProfileId);
        count(QOS_PROFILE_COS_TO_COS, row.onuQosDownlinkCosToCosProfileId);
    }
    return counts;
}

uint32_t bound_to_service_ports(uint32_t id) {
    uint32_t bound = 0;
    for (auto* node = avl_top_sort(g_service_port_qos_avl_entry); node != nullptr; node = avl_next_sort(node))
        for (const uint32_t each :
             static_cast<const ov_app_service_port_qos_s*>(node->info)->cos_to_cos_profile_id_old)
            bound += each == id;
    return bound;
}

class Operator {
public:
    Operator(AppChassis& chassis, uint32_t seed) : chassis_(chassis), dice_(seed) {}

    void act() {
        if (dice_.one_in(8))
            change_the_cards_mood();
        switch (dice_.below(8)) {
        case 0:
            make_or_drop_profile();
            break;
        case 1:
        case 2:
            bind_port();
            break;
        case 3:
        case 4:
            bind_onu();
            break;
        case 5:
            bind_service_port();
            break;
        case 6:
            come_or_go();
            break;
        default:
            bind_by_command();
        }
    }

private:
    int id() { return static_cast<int>(dice_.below(IDS)); }

    void change_the_cards_mood() {
        static constexpr int TYPES[] = {708, 709, 710, 711, 712, 713, 714, 715,
                                        716, 717, 718, 719, 720, 910, 921};
        for (const int type : TYPES)
            chassis_.card_answers(type, dice_.one_in(4) ? REFUSED : 0);
    }
    // Bound profiles stay, whatever the card says; others go, and with a card that refuses leave their rows.
    template <typename Row, typename Make>
    void drop_or_make(qos_profile_kind_e kind, bool there, Row key, Make make) {
        if (!there) {
            mib_access(MIB_DEL_S_N, key); // left behind by a card that refused
            create(make);
            return;
        }
        const uint32_t used = recounted()[kind][record_get<uint32_t>(&key, 4)];
        EXPECT_FALSE(destroy(key) && used != 0);
    }
    void make_or_drop_profile() {
        const int profile = 1 + static_cast<int>(dice_.below(IDS - 1));
        const auto n = static_cast<uint32_t>(profile);
        switch (dice_.below(4)) {
        case 0:
            return drop_or_make(QOS_PROFILE_SCHED, ov_app_find_sched_profile_by_id(n) != nullptr,
                                sched(profile), sched(profile));
        case 1:
            return drop_or_make(QOS_PROFILE_TRAFFIC, ov_app_find_qos_traffic_profile_by_id(n) != nullptr,
                                traffic(profile), traffic(profile));
        case 2:
            return drop_or_make(QOS_PROFILE_COSQ_MAP, ov_app_find_cosq_map_profile_by_id(n) != nullptr,
                                cosq(profile, 0), cosq(profile, profile));
        default:
            return drop_or_make(QOS_PROFILE_COS_TO_COS,
                                ov_app_find_cos_to_cos_map_profile_by_id(n) != nullptr, cos_map(profile, 0),
                                cos_map(profile, profile));
        }
    }
    void bind_port() {
        PonQosRow row = pon_key(dice_.one_in(2) ? PORT : OTHER_PORT);
        const unsigned column = 1 + static_cast<unsigned>(dice_.below(4));
        row.ponPortQosSchedulerModel = 1 + static_cast<int>(dice_.below(2));
        row.ponPortQosSchedulerProfileId = id();
        row.ponPortQosTrafficProfileId = id();
        row.ponPortQosCosQueueMappingProfileId = id();
        set(row, column);
    }
    void bind_onu() {
        OnuQosRow row = onu_key_at(1 + static_cast<int>(dice_.below(ONUS)));
        row.onuQosSchedulerProfileId = id();
        row.onuQosTrafficProfileId = id();
        row.onuQosDownlinkCosToCosProfileId = id();
        row.onuQosWeight = id();
        row.onuQosDownlinkCosQueueMapProfileId = id();
        static constexpr unsigned COLUMNS[] = {1, 2, 3, 6, 8};
        MIB_Flags_t columns = {};
        for (const unsigned column : COLUMNS)
            if (dice_.one_in(2))
                mib_flag_set(columns, column);
        mib_access(MIB_SET, row, columns);
    }
    static ov_ifindex_t service_port_index(int number) {
        return service_port_ifindex(onu_key<ov_servicePortTable_attr_t>(SLOT, PORT, 1),
                                    static_cast<mib_ulong>(number));
    }
    void bind_service_port() {
        const ov_ifindex_t index = service_port_index(1 + static_cast<int>(dice_.below(SERVICE_PORTS)));
        auto* qos = ov_app_find_service_port_qos_by_ifindex(index);
        if (qos == nullptr) {
            qos = ov_app_service_port_qos_new();
            ov_app_service_port_qos_edit_index(qos, index);
            EXPECT_EQ(ov_app_service_port_qos_add(qos, SYNC_HAL | SYNC_APP), OV_QOS_OK);
        } else if (dice_.one_in(5)) {
            EXPECT_EQ(ov_app_service_port_qos_del(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        } else {
            const qos_link_e link = dice_.one_in(2) ? QOS_UP_LINK : QOS_DOWN_LINK;
            ov_app_service_port_qos_edit_cos_to_cos(qos, static_cast<uint32_t>(id()), link);
            ov_app_service_port_qos_set(qos, SYNC_HAL);
        }
    }
    // An ONU's object without the ONU: rows of managers.
    void come_or_go() {
        const OnuQosRow key = onu_key_at(1 + static_cast<int>(dice_.below(ONUS)));
        if (find_stored_row(key) != nullptr) {
            EXPECT_TRUE(!dice_.one_in(3) || destroy(key));
            return;
        }
        auto row = fresh<OnuQosRow>(GPON_SHELF, SLOT, PORT, key.onuId);
        row.onuQosSchedulerProfileId = id();
        row.onuQosDownlinkCosQueueMapProfileId = id();
        create(row);
    }
    void bind_by_command() {
        auto* port = pon_qos(PORT);
        const auto value = static_cast<uint32_t>(id());
        switch (dice_.below(4)) {
        case 0:
            ov_app_port_qos_edit_qos_sched_profile(port, value);
            ov_app_port_qos_edit_qos_sched_profile(port, static_cast<uint32_t>(id())); // another thought
            break;
        case 1:
            ov_app_port_qos_edit_qos_traffic_profile(port, value);
            break;
        case 2:
            ov_app_port_qos_edit_cos_to_cos_profile(port, value, QOS_UP_LINK);
            ov_app_port_qos_edit_cos_to_cos_profile(port, static_cast<uint32_t>(id()), QOS_DOWN_LINK);
            break;
        default:
            ov_app_port_qos_edit_sched_mode(port, 1 + static_cast<int>(dice_.below(2)));
        }
        ov_app_port_qos_set(port, SYNC_EVERY_COPY);
    }

    AppChassis& chassis_;
    Dice dice_;
};

void expect_counted(int operation) {
    const Counts wanted = recounted();
    const Counts rows = recounted_by_rows();
    for (unsigned kind = 0; kind < QOS_PROFILE_KINDS; ++kind)
        for (uint32_t id = 1; id < QOS_PROFILE_IDS; ++id) {
            ASSERT_EQ(g_qos_profile_use_cnt[kind][id], wanted[kind][id])
                << "behind operation " << operation << ": kind " << kind << " id " << id;
            const uint32_t beside_rows = kind == QOS_PROFILE_COS_TO_COS ? bound_to_service_ports(id) : 0;
            ASSERT_TRUE(id >= IDS || g_qos_profile_use_cnt[kind][id] == rows[kind][id] + beside_rows)
                << "behind operation " << operation << ", by rows: kind " << kind << " id " << id << ": "
                << g_qos_profile_use_cnt[kind][id] << " and " << rows[kind][id];
        }
}

TEST(QosUseCount, IsWhatIsBoundWhateverHappens) {
    for (const uint32_t seed : {1u, 20261122u})
        run([seed](AppChassis& chassis) {
            Operator busy(chassis, seed);
            for (int operation = 0; operation < OPERATIONS; ++operation) {
                busy.act();
                if (operation % 10 == 0) {
                    expect_counted(operation);
                }
                if (testing::Test::HasFatalFailure() || testing::Test::HasNonfatalFailure())
                    return;
                LogCapture::clear();
            }
            expect_counted(OPERATIONS);
            // and everything can go again
            for (const int type : {709, 711, 713, 719})
                chassis.card_answers(type, 0);
            for (const int port : {PORT, OTHER_PORT})
                ASSERT_EQ(ov_app_port_qos_del(pon_qos(port), SYNC_EVERY_COPY), OV_QOS_OK);
            while (g_onu_qos_list.size() != 0)
                ASSERT_EQ(ov_app_onu_qos_del(&*g_onu_qos_list.begin(), SYNC_EVERY_COPY), OV_QOS_OK);
            while (auto* node = avl_top(g_service_port_qos_avl_entry))
                ASSERT_EQ(ov_app_service_port_qos_del(static_cast<ov_app_service_port_qos_s*>(node->info),
                                                      SYNC_EVERY_COPY),
                          OV_QOS_OK);
            for (const auto& ids : g_qos_profile_use_cnt)
                for (uint32_t id = 1; id < QOS_PROFILE_IDS; ++id)
                    ASSERT_EQ(ids[id], 0u) << id;
        });
}

} // namespace
