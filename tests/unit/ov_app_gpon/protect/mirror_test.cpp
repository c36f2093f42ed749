// Writes to the working port that are repeated on the protecting one.
#include "protect_chassis.h"

#include <random>

#include "../support/remote_tables.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ponPortQosTable.h"

using namespace protect_test;

namespace {

// Runs what is on its way to the partner.
void let_follow(TestClock& clock) {
    while (clock.armed() > 0)
        clock.run_next();
}

// Ports 4 and 5 as a group.
void on_group(const std::function<void(AppChassis&, TestClock&)>& body) {
    on_two_ports([&](AppChassis& chassis, TestClock& clock) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis, clock);
    });
}

template <typename... Row>
void expect_equal(const std::string& when) {
    const auto expect = [&when](const auto& copy, const auto& work) { EXPECT_EQ(copy, work) << when; };
    (expect(rows_of<Row>(PROTECT), rows_of<Row>(WORK)), ...);
}
void expect_equal_ports(const std::string& when = "") {
    expect_equal<Onu, Tcont, Gem, ServicePort, Service, FilterMode, FilterRule, ov_sRmUniStatusTable_attr_t,
                 ov_sRmUniVlanTable_attr_t, ov_sRmIPHostTable_attr_t, ov_sRmWanTable_attr_t,
                 ov_sRmWifiTable_attr_t, ov_sRmTr069MgmtTable_attr_t, ov_sRmOnuPoeTable_attr_t,
                 ov_sRmUniPoeTable_attr_t, ov_sRmVoipConfigDataTable_attr_t,
                 ov_sRmVoipSipAgentConfigTable_attr_t, ov_sRmVoipSipUserDataTable_attr_t>(when);
}

TEST(Mirror, RepeatsALifeOfAnOnu) {
    on_group([](AppChassis& chassis, TestClock& clock) {
        add_whole_onu();
        let_follow(clock);
        expect_equal_ports("made");
        EXPECT_EQ(rows_of<ServicePort>(PROTECT).size(), 1u);
        EXPECT_EQ(counters().gemCnt[PROTECT - 1], 1);
        Request edit(ONU, WORK);
        edit.row.sOnuTableUpFec = 1;
        ASSERT_EQ(edit.with(onu_column::sOnuTableUpFec).edit(), OV_GPON_RET_OK);
        ASSERT_EQ(
            edit_gem(sGemTable_column::sGemTableIfEnableEncryption, &Gem::sGemTableIfEnableEncryption, 1),
            OV_GPON_RET_OK);
        let_follow(clock);
        expect_equal_ports("changed");
        EXPECT_EQ(stored_onu(ONU, PROTECT)->sOnuTableUpFec, 1);
        ASSERT_EQ(delete_onu(ONU, WORK), OV_GPON_RET_OK);
        let_follow(clock);
        expect_equal_ports("removed");
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        EXPECT_EQ(counters().gemCnt[PROTECT - 1], 0);
        EXPECT_EQ(times_logged(chassis, "ov_app_pon_protect_group_sync_"), 0u);
    });
}

// What is made while the protecting port serves comes to it by the mirror alone.
TEST(Mirror, BringsWhatIsMadeWhileTheProtectingPortServes) {
    on_group([](AppChassis& chassis, TestClock& clock) {
        ASSERT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_OK);
        ASSERT_EQ(add_onu(), OV_GPON_RET_OK);
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty()); // behind the access
        let_follow(clock);
        expect_equal_ports("made");
        EXPECT_STREQ(stored_onu(ONU, PROTECT)->sOnuTableOnuName, "gpon-onu3/5:7");
        EXPECT_EQ(stored_onu(ONU, PROTECT)->sOnuTableIfIndex, onu_ifindex(SLOT, PROTECT, ONU));
        ASSERT_EQ(delete_onu(ONU, WORK), OV_GPON_RET_OK);
        let_follow(clock);
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        EXPECT_EQ(times_logged(chassis, "ov_app_pon_protect_group_sync_"), 0u);
    });
}

TEST(Mirror, TellsTheCardOfBothPorts) {
    on_group([](AppChassis& chassis, TestClock& clock) {
        ASSERT_EQ(add_onu(), OV_GPON_RET_OK);
        chassis.forget_messages();
        ASSERT_EQ(add_tcont(), OV_GPON_RET_OK);
        let_follow(clock);
        const auto sent = chassis.messages();
        ASSERT_EQ(sent.size(), 2u); // twice the plain write, no more
        EXPECT_EQ(sent[0].type, sent[1].type);
        const ov_ifindex_t first = sent[0].record<ov_gpon_tcont_attr_t>().onuIfindex;
        const ov_ifindex_t second = sent[1].record<ov_gpon_tcont_attr_t>().onuIfindex;
        EXPECT_EQ(first, onu_ifindex(SLOT, WORK, ONU));
        EXPECT_EQ(second, onu_ifindex(SLOT, PROTECT, ONU));
    });
}

TEST(Mirror, BeginsWhenTheCardIsInStep) {
    on_group([](AppChassis&, TestClock& clock) {
        ov_startup_gpon_config_sync_end_set(SLOT, 0);
        ASSERT_EQ(add_onu(), OV_GPON_RET_OK);
        ASSERT_EQ(add_tcont(), OV_GPON_RET_OK);
        let_follow(clock);
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        ASSERT_EQ(edit_port(WORK, columns_of(sPonTable_column::sPonTableDsFec),
                            [](Port& row) { row.sPonTableDsFec = 1; }),
                  OV_GPON_RET_OK);
        let_follow(clock);
        EXPECT_EQ(stored_port(PROTECT).sPonTableDsFec, 0);
    });
}

TEST(Mirror, OfThePortIsItsSettings) {
    on_group([](AppChassis&, TestClock& clock) {
        ASSERT_EQ(edit_port(WORK, columns_of(sPonTable_column::sPonTableDsFec),
                            [](Port& row) { row.sPonTableDsFec = 1; }),
                  OV_GPON_RET_OK);
        ASSERT_EQ(edit_port(WORK, columns_of(sPonTable_column::sPonTablePmEnable),
                            [](Port& row) { row.sPonTablePmEnable = 1; }),
                  OV_GPON_RET_OK);
        EXPECT_EQ(edit_port(PROTECT, columns_of(sPonTable_column::sPonTableDsFec), [](Port&) {}),
                  OV_GPON_RET_BAD_PARAM);
        let_follow(clock);
        EXPECT_EQ(stored_port(PROTECT).sPonTableDsFec, 1);
        EXPECT_EQ(stored_port(PROTECT).sPonTablePmEnable, 1);
        EXPECT_EQ(stored_port(PROTECT).sPonTableIfIndex, index_of(PROTECT));
        EXPECT_EQ(edit_port(PROTECT, columns_of(sPonTable_column::sPonTableDsFec), [](Port&) {}),
                  OV_GPON_RET_BAD_PARAM);
        // neither is made or removed there
        for (const int action : {CREATE, DELETE}) {
            Port row = stored_port(WORK);
            row.sPonTableDsFec = 0;
            EXPECT_EQ(ov_app_pon_protect_group_config_table_sync(SYNC_SPON, &row, sizeof row, mibDefFlags,
                                                                 action, index_of(PROTECT)),
                      1);
            let_follow(clock);
            EXPECT_EQ(stored_port(PROTECT).sPonTableDsFec, 1);
        }
    });
}

// As commands do, past the callbacks of the tables.
TEST(Mirror, RepeatsTheQosThatACommandSets) {
    on_group([](AppChassis& chassis, TestClock& clock) {
        add_whole_onu();
        let_follow(clock);
        chassis.forget_messages();
        auto* onu = ov_app_find_onu_qos_by_ifindex(onu_ifindex(SLOT, WORK, ONU));
        ASSERT_NE(onu, nullptr);
        ASSERT_EQ(ov_app_onu_qos_edit_weight(onu, 7), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_set(onu, SYNC_EVERY_COPY), OV_QOS_OK);
        let_follow(clock);
        const auto key = of_onu<ov_onuQosTable_attr_t>(PROTECT);
        ASSERT_NE(find_row(key), nullptr);
        EXPECT_EQ(find_row(key)->onuQosWeight, 7u);
        const auto told = chassis.messages_of(OV_HAL_MSG_GPON_ONU_QOS);
        ASSERT_EQ(told.size(), 2u);
        EXPECT_EQ(told[1].mask, told[0].mask);
        EXPECT_EQ(told[1].record<ov_gpon_onu_qos_attr_t>().onuIfindex, onu_ifindex(SLOT, PROTECT, ONU));

        chassis.card_answers(OV_HAL_MSG_GPON_ONU_QOS, 1009); // nothing comes of it on either port
        ASSERT_EQ(ov_app_onu_qos_edit_weight(onu, 9), OV_QOS_OK);
        EXPECT_EQ(ov_app_onu_qos_set(onu, SYNC_EVERY_COPY), OV_QOS_HAL_FAIL);
        let_follow(clock);
        EXPECT_EQ(find_row(key)->onuQosWeight, 7u);
        EXPECT_EQ(chassis.messages_of(OV_HAL_MSG_GPON_ONU_QOS).size(), 3u);
    });
}

TEST(Mirror, RepeatsTheSchedulerOfAPortThatACommandSets) {
    on_group([](AppChassis& /*chassis*/, TestClock& clock) {
        for (const int port : {WORK, PROTECT}) {
            auto* qos = ov_app_port_qos_new();
            ov_app_port_qos_edit_ifindex(qos, index_of(port));
            ASSERT_EQ(ov_app_port_qos_add(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        }
        auto* port = ov_app_find_port_qos_by_ifindex(index_of(WORK));
        ASSERT_EQ(ov_app_port_qos_edit_sched_mode(port, OV_QOS_SCHED_HIERARCHY), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_set(port, SYNC_EVERY_COPY), OV_QOS_OK);
        let_follow(clock);
        const auto key = port_key<ov_ponPortQosTable_attr_t>(SLOT, PROTECT);
        ASSERT_NE(find_row(key), nullptr);
        EXPECT_EQ(find_row(key)->ponPortQosSchedulerModel, OV_QOS_SCHED_HIERARCHY);
    });
}

TEST(Mirror, ThatIsRefusedLeavesALineAndTheRowAsItWas) {
    on_group([](AppChassis& chassis, TestClock& clock) {
        add_whole_onu();
        let_follow(clock);
        Request edit(ONU, WORK);
        edit.row.sOnuTableUpFec = 1;
        ASSERT_EQ(edit.with(onu_column::sOnuTableUpFec).edit(), OV_GPON_RET_OK);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_FAIL);
        let_follow(clock);
        EXPECT_EQ(times_logged(chassis, "ov_app_pon_protect_group_sync_sOnutable["), 1u);
        EXPECT_EQ(stored_onu(ONU, WORK)->sOnuTableUpFec, 1);
        EXPECT_EQ(stored_onu(ONU, PROTECT)->sOnuTableUpFec, 0);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_OK);
        edit.row.sOnuTableUpFec = 1;
        ASSERT_EQ(edit.edit(), OV_GPON_RET_OK); // the next change of the row mends it
        let_follow(clock);
        EXPECT_EQ(stored_onu(ONU, PROTECT)->sOnuTableUpFec, 1);
    });
}

// Each kind of write of each table behind an ONU.
template <typename Table>
class MirroredTable : public testing::Test {};
using RemoteTables = testing::Types<Wan, Wifi, IpHost>;
TYPED_TEST_SUITE(MirroredTable, RemoteTables);

TYPED_TEST(MirroredTable, IsMadeChangedAndRemoved) {
    using Row = typename TypeParam::Row;
    on_group([](AppChassis& chassis, TestClock& clock) {
        add_whole_onu();
        let_follow(clock);
        auto row = of_onu<Row>();
        TypeParam::number(row);
        MIB_Flags_t columns = {};
        Row request = row;
        ASSERT_EQ(TypeParam::add(&request, &columns), OV_GPON_RET_OK);
        let_follow(clock);
        EXPECT_EQ(rows_of<Row>(PROTECT).size(), 1u);
        request = row;
        TypeParam::set_one(request);
        columns = columns_of(TypeParam::COLUMN);
        ASSERT_EQ(TypeParam::edit(&request, &columns), OV_GPON_RET_OK);
        let_follow(clock);
        EXPECT_EQ(rows_of<Row>(PROTECT), rows_of<Row>(WORK));
        Row partner = row;
        partner.portID = PROTECT;
        ASSERT_NE(find_row(partner), nullptr);
        EXPECT_TRUE(TypeParam::is_set(*find_row(partner)));
        request = row;
        ASSERT_EQ(TypeParam::del(&request), OV_GPON_RET_OK);
        let_follow(clock);
        EXPECT_THAT(rows_of<Row>(PROTECT), IsEmpty());
        EXPECT_EQ(times_logged(chassis, "ov_app_pon_protect_group_sync_"), 0u);
    });
}

// ---- many writes ------------------------------------------------------------------------------------------

// A table whose settings are written at random.
struct Written {
    MIBDID (*did)();
    TableModule& (*module)();
    std::vector<std::vector<std::byte>> (*rows)(int port);
};
template <typename Row>
std::vector<std::vector<std::byte>> rows_as_bytes(int port) {
    std::vector<std::vector<std::byte>> all;
    for (const Row& row : rows_under(port_key<Row>(SLOT, port), INDEX_TO_PORT)) {
        const auto* bytes = reinterpret_cast<const std::byte*>(&row);
        all.emplace_back(bytes, bytes + sizeof row);
    }
    return all;
}
template <typename Row>
constexpr Written written() {
    return {did_of<Row>, []() -> TableModule& { return table_of<Row>::module(); }, rows_as_bytes<Row>};
}

class RandomWriter {
public:
    explicit RandomWriter(unsigned seed) : random_(seed) {}

    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random_); }

    // Some write on the working port; whether it was accepted isn't asked.
    void write() {
        const int onu = 1 + number(4);
        switch (number(10)) {
        case 0:
            add_onu(onu);
            return;
        case 1:
            if (number(4) == 0)
                delete_onu(onu, WORK);
            return;
        case 2:
            add_tcont(static_cast<mib_ulong>(1 + number(2)), onu);
            return;
        case 3:
            add_gem(static_cast<mib_ulong>(1 + number(3)), onu);
            return;
        case 4:
            add_service_port(1 + number(3), onu, WORK, 1 + number(4000));
            return;
        case 5: {
            Service row = service(1 + number(3), {.gem = 1, .vlan = 1 + number(50), .port = 1}, onu, WORK);
            number(3) == 0 ? del(row) : add(row);
            return;
        }
        default:
            set_something();
        }
    }

private:
    // A column of a row gets a value that it may have.
    void set_something() {
        static constexpr Written TABLES[] = {written<ov_sRmUniStatusTable_attr_t>(),
                                             written<ov_sRmUniVlanTable_attr_t>(),
                                             written<ov_sRmTr069MgmtTable_attr_t>(),
                                             written<ov_sRmOnuPoeTable_attr_t>(),
                                             written<Gem>(),
                                             written<FilterMode>(),
                                             written<ServicePort>(),
                                             written<ov_sRmVoipConfigDataTable_attr_t>(),
                                             written<ov_sRmVoipSipUserDataTable_attr_t>()};
        const Written& table = TABLES[static_cast<size_t>(number(std::size(TABLES)))];
        auto rows = table.rows(WORK);
        if (rows.empty())
            return;
        auto& row = rows[static_cast<size_t>(number(static_cast<int>(rows.size())))];
        const auto columns = table.module().desc().columns;
        const ColumnDesc& column = columns[static_cast<size_t>(number(static_cast<int>(columns.size())))];
        if (column.type != ColType::INT || column.access == ColAccess::READ_ONLY || is_not_mirrored(column))
            return;
        const int64_t least = std::max<int64_t>(column.min, 0);
        const auto value = static_cast<int32_t>(
            least + number(static_cast<int>(std::min<int64_t>(column.max - least, 8)) + 1));
        std::memcpy(row.data() + column.offset, &value, sizeof value);
        MIB_Flags_t flags = {};
        mib_flag_set(flags, column.number);
        MibAccessHandle(MIB_SET, 0, table.did(), row.data(), flags, 0);
    }
    // Recording of a GEM port is the port's own.
    static bool is_not_mirrored(const ColumnDesc& column) {
        return std::string_view(column.name) == "sGemTablePmEnable";
    }

    std::mt19937 random_;
};

TEST(Mirror, KeepsBothPortsEqualThroughManyWrites) {
    on_group([](AppChassis& chassis, TestClock& clock) {
        RandomWriter writer(20260101);
        for (int n = 1; n <= 1500; ++n) {
            writer.write();
            if (n % 7 == 0)
                let_follow(clock); // several may be on their way
            if (n % 250 == 0) {
                let_follow(clock);
                command(PPEXTERNALCOMMAND_NO); // the other port serves
                expect_equal_ports("after " + std::to_string(n));
                LogCapture::clear();
                ASSERT_FALSE(testing::Test::HasFailure());
            }
        }
        EXPECT_FALSE(rows_of<Onu>(PROTECT).empty());
        EXPECT_EQ(counters().gemCnt[PROTECT - 1], counters().gemCnt[WORK - 1]);
        EXPECT_EQ(counters().tcontCnt[PROTECT - 1], counters().tcontCnt[WORK - 1]);
        chassis.forget_messages();
    });
}

// A card that refuses what is repeated: the ports may differ, the working one is as it was asked, and nothing
// is left over when all is removed.
TEST(Mirror, WithACardThatRefusesCountsWhatIsThere) {
    on_group([](AppChassis& chassis, TestClock& clock) {
        RandomWriter writer(4711);
        for (int n = 1; n <= 800; ++n) {
            writer.write();
            const bool refuses = writer.number(3) == 0;
            for (const int message : {903, 905, 906, 907, 913, 934})
                chassis.card_answers(message, refuses ? OV_GPON_RET_FAIL : OV_GPON_RET_OK);
            let_follow(clock);
            for (const int message : {903, 905, 906, 907, 913, 934})
                chassis.card_answers(message, OV_GPON_RET_OK);
            LogCapture::clear();
        }
        EXPECT_EQ(counters().gemCnt[PROTECT - 1], static_cast<int>(rows_of<Gem>(PROTECT).size()));
        EXPECT_EQ(counters().tcontCnt[PROTECT - 1], static_cast<int>(rows_of<Tcont>(PROTECT).size()));
        ASSERT_EQ(delete_group(), OV_GPON_RET_OK);
        for (const int port : {WORK, PROTECT}) {
            EXPECT_EQ(ov_app_gpon_port_config_clear(index_of(port)), 0);
            EXPECT_THAT(rows_of<Onu>(port), IsEmpty());
            EXPECT_THAT(rows_of<Gem>(port), IsEmpty());
            EXPECT_EQ(counters().gemCnt[port - 1], 0);
        }
    });
}

} // namespace
