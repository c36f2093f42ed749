// What T-CONTs, GEM ports and service ports do alike as rows of an owner, an ONU or a service profile. What
// sets each apart stands in its own test.
#include "../support/provisioning_chassis.h"

using namespace provisioning;
using testing::IsEmpty;

namespace {

constexpr int BAD_PARAM = OV_GPON_RET_BAD_PARAM;

struct TcontRows {
    using Row = Tcont;
    static constexpr int MESSAGE = TCONT;
    static Row row(int id, int slot = SLOT, int port = PORT, int onu = ONU) {
        return tcont(static_cast<unsigned>(id), "small", slot, port, onu);
    }
    // What a row of this owner refers to.
    static void put_beneath(const AppChassis& /*chassis*/, int /*slot*/, int /*port*/, int /*onu*/) {}
    // The number by which the card knows it: the record's first word.
    static ov_ifindex_t ifindex(const Row& row) {
        return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, uint8_t(row.shelfID), uint8_t(row.slotID), 0,
                                         uint16_t(row.portID), uint16_t(row.onuId));
    }
    static bool has_all_that_it_needs(const Row& row) { return exists(row); }
    static int32_t& used() { return held().tcontCnt[PORT - 1]; }
    static constexpr const char* RELEASE_REFUSED = "release tcont info error slot 3 port 4";
    static constexpr const char* CARD_FAILED = "set tcont to hal error";
};

struct GemRows {
    using Row = Gem;
    static constexpr int MESSAGE = GEM;
    static Row row(int id, int slot = SLOT, int port = PORT, int onu = ONU) {
        return gem(static_cast<unsigned>(id), 1, slot, port, onu);
    }
    static void put_beneath(const AppChassis& chassis, int slot, int port, int onu) {
        chassis.put_row<Tcont>([](Tcont& row) { strcpy(row.sTcontTableBwProfileName, "none"); }, 1, slot,
                               port, onu, 1);
    }
    static ov_ifindex_t ifindex(const Row& row) {
        return ov_ifindex_gen_by_extendinfo(PORT_TYPE_GEMPORT, uint8_t(row.shelfID), uint8_t(row.slotID), 0,
                                            uint16_t(row.portID), uint16_t(row.onuId), uint16_t(row.gemID), 0,
                                            0);
    }
    static bool has_all_that_it_needs(const Row& row) { return exists(row); }
    static int32_t& used() { return held().gemCnt[PORT - 1]; }
    static constexpr const char* RELEASE_REFUSED = "release gem info error slot 3 port 4";
    static constexpr const char* CARD_FAILED = "set hal error";

    // The rest is for rows whose changes reach the card, and whose owner goes whatever becomes of them.
    static constexpr MIB_Flags_t CHANGE = columns_of(sGemTable_column::sGemTableIfEnableEncryption);
    static constexpr uint32_t CHANGE_MASK = 1u << OV_GPON_GEMPORT_ATTR_INDEX_isEncyption;
    static Row changed(Row row) {
        row.sGemTableIfEnableEncryption = 1;
        return row;
    }
    static bool is_changed(const CardMessage& message) {
        const auto record = message.record<ov_gpon_gemport_attr_t>();
        return record.isEncyption == 1 && record.tcontId == 1; // with all that the row had
    }
    static constexpr const char* PROTECTED = "ov_gemport_table_set_check_callback failed";
    static constexpr auto DELETE_ALL = ov_gemport_table_iterate_del;
    static void keep_from_going(int id) { ASSERT_EQ(add(service_port(1, id)), 0); }
    static constexpr const char* SECOND_STAYS = "del gemport fail onuid: 7, gem id: 2";
};

struct ServicePortRows {
    using Row = ServicePort;
    static constexpr int MESSAGE = SERVPORT;
    static Row row(int id, int slot = SLOT, int port = PORT, int onu = ONU) {
        return service_port(id, 9, slot, port, onu);
    }
    static void put_beneath(const AppChassis& chassis, int slot, int port, int onu) {
        chassis.put_row<Gem>([](Gem&) {}, 1, slot, port, onu, 9);
    }
    static ov_ifindex_t ifindex(const Row& row) {
        return ov_ifindex_gen_by_extendinfo(PORT_TYPE_GPON_SERVPORT, uint8_t(row.shelfID),
                                            uint8_t(row.slotID), 0, uint16_t(row.portID), uint16_t(row.onuId),
                                            uint16_t(row.servicePortId), 0, 0);
    }
    static auto* qos_of(const Row& row) { return ov_app_find_service_port_qos_by_ifindex(ifindex(row)); }
    static bool has_all_that_it_needs(const Row& row) {
        return exists(row) && (qos_of(row) != nullptr) == (row.slotID != GPON_TEMPLATE_SLOT);
    }
    static int32_t& used() { return held().srvPortCnt; }
    static constexpr const char* RELEASE_REFUSED = "release service port info error slot 3 port 4";
    static constexpr const char* CARD_FAILED = "OV_HAL_MSG_GPON_SERVPORT send fail";

    static constexpr MIB_Flags_t CHANGE = columns_of(servicePortTable_column::servicePortVlan);
    static constexpr uint32_t CHANGE_MASK = 0; // no VLAN has a bit
    static Row changed(Row row) {
        row.servicePortVlan = 55;
        return row;
    }
    static bool is_changed(const CardMessage& message) {
        const auto record = message.record<ov_gpon_service_port_attr_t>();
        return record.vlan == 55 && record.mac_move == 1;
    }
    static constexpr const char* PROTECTED = "failed";
    static constexpr auto DELETE_ALL = ov_service_port_table_iterate_del;
    static void keep_from_going(int id) {
        ASSERT_EQ(ov_app_service_port_qos_del(qos_of(row(id)), SYNC_APP), OV_QOS_OK);
    }
    static constexpr const char* SECOND_STAYS = "del service port fail onuid: 7, service port id: 2";
};

struct NameOfRows {
    template <typename Rows>
    static std::string GetName(int /*index*/) {
        if (std::is_same_v<Rows, TcontRows>)
            return "Tcont";
        return std::is_same_v<Rows, GemRows> ? "Gem" : "ServicePort";
    }
};

// With what rows of ONU 7 and of service profile 5 refer to.
template <typename Rows>
void run_with_beneath(const std::function<void(AppChassis&)>& body) {
    provisioning::run([&](AppChassis& chassis) {
        Rows::put_beneath(chassis, SLOT, PORT, ONU);
        Rows::put_beneath(chassis, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE);
        body(chassis);
    });
}
template <typename Rows>
auto template_row(int id, int profile = PROFILE) {
    return Rows::row(id, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, profile);
}

// All that rows of the test's port count by.
std::pair<Held, int> counted() {
    return {held_of(PORT), held().srvPortCnt};
}

// ---- all three --------------------------------------------------------------------------------------------

template <typename Rows>
class OwnedRow : public testing::Test {};
using AllRows = testing::Types<TcontRows, GemRows, ServicePortRows>;
TYPED_TEST_SUITE(OwnedRow, AllRows, NameOfRows);

TYPED_TEST(OwnedRow, TheOwnerMustAdmitIt) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        const auto none = counted();
        T::put_beneath(chassis, SLOT, PORT, 99);
        EXPECT_EQ(add(T::row(3, SLOT, PORT, 99)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "onu id 99 is not exist"));

        put_onu(chassis, PORT, 8, true);
        T::put_beneath(chassis, SLOT, PORT, 8);
        EXPECT_EQ(add(T::row(3, SLOT, PORT, 8)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "onu id 8 is configured by templet"));

        T::put_beneath(chassis, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, 6);
        EXPECT_EQ(add(template_row<T>(3, 6)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 6 is not exist"));
        EXPECT_THAT(chassis.messages(), IsEmpty());

        ASSERT_EQ(add(template_row<T>(3)), 0);
        chassis.forget_messages();
        bind_service_profile(2);
        LogCapture::clear();
        EXPECT_EQ(add(template_row<T>(4)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 5bind 2 times"));
        EXPECT_FALSE(exists(template_row<T>(4)));
        LogCapture::clear();
        EXPECT_EQ(del(template_row<T>(3)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 5bind 2 times"));
        EXPECT_TRUE(exists(template_row<T>(3)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(counted(), none);
    });
}

// A row may outlive its owner's consent: an ONU that has turned to its service profile since.
TYPED_TEST(OwnedRow, ARowOfAnOnuThatTookAProfileSinceStays) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        ASSERT_EQ(add(T::row(3)), 0);
        const auto before = counted();
        auto onu = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
        onu.sOnuTableConfigMode = 1;
        ASSERT_TRUE(mib_access(MIB_SET_S_N, onu, columns_of(sOnuTable_column::sOnuTableConfigMode)));
        chassis.forget_messages();
        EXPECT_EQ(del(T::row(3)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "onu id 7 is configured by templet"));
        EXPECT_TRUE(T::has_all_that_it_needs(T::row(3)));
        EXPECT_EQ(counted(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(OwnedRow, ADeleteGivesBackAndReachesTheCard) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        const auto none = counted();
        ASSERT_EQ(add(T::row(3)), 0);
        ASSERT_TRUE(T::has_all_that_it_needs(T::row(3)));
        EXPECT_EQ(T::used(), 1);
        chassis.forget_messages();
        EXPECT_EQ(del(T::row(3)), 0);
        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, T::MESSAGE);
        EXPECT_EQ(messages[0].action, DELETE);
        EXPECT_EQ(wire::get32(messages[0].bytes, 0), T::ifindex(T::row(3)));
        EXPECT_FALSE(exists(T::row(3)));
        EXPECT_EQ(counted(), none);
        chassis.forget_messages();
        EXPECT_EQ(del(T::row(3)), BAD_PARAM); // it isn't there any more
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(counted(), none);
    });
}

TYPED_TEST(OwnedRow, AReleaseThatFailsRefusesTheDelete) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        ASSERT_EQ(add(T::row(3)), 0);
        chassis.forget_messages();
        T::used() = 0;
        EXPECT_EQ(del(T::row(3)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, T::RELEASE_REFUSED));
        EXPECT_TRUE(T::has_all_that_it_needs(T::row(3)));
        EXPECT_EQ(T::used(), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(OwnedRow, WhatTheCardRefusesIsTakenBack) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        ASSERT_EQ(add(T::row(3)), 0);
        const auto before = counted();
        EXPECT_EQ(T::used(), 1);
        for (const uint32_t code : {1u, 5u}) {
            chassis.card_answers(T::MESSAGE, code);
            LogCapture::clear();
            EXPECT_EQ(add(T::row(4)), BAD_PARAM);
            EXPECT_TRUE(logged(chassis, T::CARD_FAILED));
            EXPECT_FALSE(exists(T::row(4)));
            LogCapture::clear();
            EXPECT_EQ(del(T::row(3)), BAD_PARAM);
            EXPECT_TRUE(logged(chassis, T::CARD_FAILED));
            EXPECT_TRUE(T::has_all_that_it_needs(T::row(3)));
            EXPECT_EQ(counted(), before);
        }
        chassis.card_answers(T::MESSAGE, 0);
        EXPECT_EQ(del(T::row(3)), 0);
        EXPECT_EQ(T::used(), 0);
    });
}

TYPED_TEST(OwnedRow, ACardThatDoesntAnswerRefuses) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        const auto none = counted();
        chassis.card_falls_silent();
        EXPECT_EQ(add(T::row(3)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, T::CARD_FAILED));
        EXPECT_FALSE(exists(T::row(3)));
        EXPECT_EQ(counted(), none);
    });
}

// Provisioning goes on while a card is away; it is told when it is back.
TYPED_TEST(OwnedRow, ACardThatIsAwayIsNotAsked) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        const auto none = counted();
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_EQ(add(T::row(3)), 0);
        EXPECT_TRUE(T::has_all_that_it_needs(T::row(3)));
        EXPECT_EQ(T::used(), 1);
        EXPECT_EQ(del(T::row(3)), 0);
        EXPECT_FALSE(exists(T::row(3)));
        EXPECT_EQ(counted(), none);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(OwnedRow, ATemplateRowGoesToEveryCardAndCountsNowhere) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        FakeCard other(5);
        HalChassis::activate(5);
        ASSERT_EQ(add(template_row<T>(3)), 0);
        EXPECT_EQ(other.wait_for(1).size(), 1u);
        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, T::MESSAGE);
        EXPECT_EQ(messages[0].action, CREATE);
        EXPECT_EQ(wire::get32(messages[0].bytes, 0), T::ifindex(template_row<T>(3)));
        EXPECT_TRUE(T::has_all_that_it_needs(template_row<T>(3)));
        for (int port = 1; port <= 16; ++port)
            EXPECT_EQ(held_of(port), (Held{0, 0, 0, 0})) << port;
        EXPECT_EQ(held().srvPortCnt, 0);
        chassis.card_answers(T::MESSAGE, 1);
        EXPECT_EQ(del(template_row<T>(3)), BAD_PARAM);
        EXPECT_TRUE(exists(template_row<T>(3)));
        chassis.card_answers(T::MESSAGE, 0);
        EXPECT_EQ(del(template_row<T>(3)), 0);
        EXPECT_FALSE(exists(template_row<T>(3)));
        EXPECT_EQ(held().srvPortCnt, 0);
    });
}

// ---- GEM ports and service ports --------------------------------------------------------------------------

template <typename Rows>
class ServiceRow : public testing::Test {};
using ServiceRows = testing::Types<GemRows, ServicePortRows>;
TYPED_TEST_SUITE(ServiceRow, ServiceRows, NameOfRows);

TYPED_TEST(ServiceRow, AnEditReachesTheCard) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        ASSERT_EQ(add(T::row(3)), 0);
        const auto counts = counted();
        chassis.forget_messages();
        EXPECT_EQ(edit(T::changed(T::row(3)), T::CHANGE), 0);
        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, T::MESSAGE);
        EXPECT_EQ(messages[0].action, SET);
        EXPECT_EQ(messages[0].mask, T::CHANGE_MASK);
        EXPECT_EQ(wire::get32(messages[0].bytes, 0), T::ifindex(T::row(3)));
        EXPECT_TRUE(T::is_changed(messages[0]));
        EXPECT_EQ(counted(), counts);
    });
}

TYPED_TEST(ServiceRow, AChangeThatTheCardRefusesLeavesTheRow) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        ASSERT_EQ(add(T::row(3)), 0);
        const auto before = *find_row(T::row(3));
        const auto counts = counted();
        chassis.card_answers(T::MESSAGE, 5);
        EXPECT_EQ(edit(T::changed(T::row(3)), T::CHANGE), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, T::CARD_FAILED));
        EXPECT_EQ(memcmp(find_row(T::row(3)), &before, sizeof before), 0);
        EXPECT_EQ(counted(), counts);
    });
}

TYPED_TEST(ServiceRow, RowsOfAProtectingPortDontChange) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        ASSERT_EQ(add(T::row(3)), 0);
        chassis.forget_messages();
        give_role(OV_PON_PROTECT_PON_STATUS_PROTECTING);
        const std::function<int()> changes[] = {[] { return add(T::row(4)); },
                                                [] { return edit(T::changed(T::row(3)), T::CHANGE); },
                                                [] { return del(T::row(3)); }};
        for (const auto& change : changes) {
            LogCapture::clear();
            EXPECT_EQ(change(), BAD_PARAM);
            EXPECT_TRUE(logged(chassis, T::PROTECTED));
        }
        EXPECT_FALSE(exists(T::row(4)));
        EXPECT_TRUE(exists(T::row(3)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(ServiceRow, OneThatCantGoDoesntKeepTheOthersOfAnOnu) {
    using T = TypeParam;
    run_with_beneath<T>([](AppChassis& chassis) {
        put_onu(chassis, PORT, ONU + 1);
        T::put_beneath(chassis, SLOT, PORT, ONU + 1);
        for (int id = 1; id <= 3; ++id)
            ASSERT_EQ(add(T::row(id)), 0);
        ASSERT_EQ(add(T::row(1, SLOT, PORT, ONU + 1)), 0);
        T::keep_from_going(2);
        auto onu = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
        T::DELETE_ALL(&onu);
        EXPECT_TRUE(logged(chassis, T::SECOND_STAYS));
        EXPECT_FALSE(exists(T::row(1)));
        EXPECT_TRUE(exists(T::row(2)));
        EXPECT_FALSE(exists(T::row(3)));
        EXPECT_TRUE(exists(T::row(1, SLOT, PORT, ONU + 1)));
    });
}

} // namespace
