// Roles of PON ports in protection groups.
#include "ov_app_gpon_pon_role.h"

#include <gmock/gmock.h>

#include "../../ov_common/private_root.h"
#include "ov_gpon.h"

namespace {

constexpr int SLOT = 3;
constexpr int PORT = 16;

struct Role {
    ov_pon_protect_pon_status_e role;
    ov_ifindex_t pair;
    int active;
    bool operator==(const Role&) const = default;
};
void PrintTo(const Role& role, std::ostream* out) {
    *out << "role " << role.role << " pair " << role.pair << " active " << role.active;
}
constexpr Role NO_ROLE = {OV_PON_PROTECT_PON_STATUS_NONE, 0, 0};

Role role_of(int slot, int port) {
    return {ov_pon_protect_group_pon_status_get(slot, port),
            ov_pon_protect_group_get_pair_port_index(slot, port),
            ov_app_gpon_port_is_group_active_pon_port(slot, port)};
}
void give_role(int slot, int port, const Role& role) {
    ov_pon_protect_group_pon_status_set(slot, port, role.role);
    ov_pon_protect_group_pair_port_index_set(slot, port, role.pair);
    ov_pon_protect_group_pon_active_status_set(slot, port, role.active);
}

// The store of a process of its own, all cards synchronised.
template <typename Body>
void with_store(Body body) {
    private_root::run([&body] {
        for (int slot = 1; slot <= ov_gpon_maxslot_get(); ++slot)
            ov_startup_gpon_config_sync_end_set(slot, 1);
        ASSERT_EQ(ov_pon_protect_group_pon_status_init(), static_cast<uint32_t>(KAVO_OK));
        body();
    });
}

TEST(PonRole, EachPortOfTheChassisHasItsOwn) {
    with_store([] {
        const auto role_for = [](int slot, int port) {
            return Role{slot % 2 == 0 ? OV_PON_PROTECT_PON_STATUS_WORKING
                                      : OV_PON_PROTECT_PON_STATUS_PROTECTING,
                        static_cast<ov_ifindex_t>(slot * 100 + port), port % 2};
        };
        for (int slot = 1; slot <= 18; ++slot)
            for (int port = 1; port <= 16; ++port) {
                EXPECT_EQ(role_of(slot, port), NO_ROLE) << slot << "/" << port;
                give_role(slot, port, role_for(slot, port));
            }
        for (int slot = 1; slot <= 18; ++slot)
            for (int port = 1; port <= 16; ++port)
                EXPECT_EQ(role_of(slot, port), role_for(slot, port)) << slot << "/" << port;
    });
}

TEST(PonRole, OutsideTheChassisThereIsNone) {
    with_store([] {
        const Role given = {OV_PON_PROTECT_PON_STATUS_WORKING, 77, 1};
        const std::pair<int, int> nowhere[] = {{0, 1},  {19, 1},  {-1, 1}, {31, 15},          {1, 0},
                                               {1, 17}, {18, 17}, {1, -1}, {INT_MAX, INT_MAX}};
        for (const auto& [slot, port] : nowhere) {
            give_role(slot, port, given);
            EXPECT_EQ(role_of(slot, port), NO_ROLE) << slot << "/" << port;
            EXPECT_EQ(ov_app_gpon_port_is_group_work_pon_port(slot, port), 0);
            EXPECT_EQ(ov_app_gpon_port_is_protect_pon_port(slot, port), 0);
        }
        for (int slot = 1; slot <= 18; ++slot)
            for (int port = 1; port <= 16; ++port)
                EXPECT_EQ(role_of(slot, port), NO_ROLE) << slot << "/" << port;
    });
}

TEST(PonRole, CountsOnceTheCardIsSynchronised) {
    with_store([] {
        using Question = int (*)(int, int);
        const struct {
            Question asks;
            ov_pon_protect_pon_status_e of;
        } questions[] = {{ov_app_gpon_port_is_protect_pon_port, OV_PON_PROTECT_PON_STATUS_PROTECTING},
                         {ov_app_gpon_port_is_group_work_pon_port, OV_PON_PROTECT_PON_STATUS_WORKING}};
        for (const auto& [asks, of] : questions)
            for (const auto role : {OV_PON_PROTECT_PON_STATUS_NONE, OV_PON_PROTECT_PON_STATUS_WORKING,
                                    OV_PON_PROTECT_PON_STATUS_PROTECTING, OV_PON_PROTECT_PON_STATUS_ERR}) {
                give_role(SLOT, PORT, {role, 77, 1});
                EXPECT_EQ(asks(SLOT, PORT), role == of ? 1 : 0) << role;
                EXPECT_EQ(ov_app_gpon_port_is_group_active_pon_port(SLOT, PORT), 1);
                ov_startup_gpon_config_sync_end_set(SLOT, 0);
                EXPECT_EQ(asks(SLOT, PORT), 0) << role;
                EXPECT_EQ(ov_app_gpon_port_is_group_active_pon_port(SLOT, PORT), 0);
                EXPECT_EQ(ov_pon_protect_group_pon_status_get(SLOT, PORT), role); // kept all the same
                EXPECT_EQ(ov_pon_protect_group_get_pair_port_index(SLOT, PORT), 77u);
                ov_startup_gpon_config_sync_end_set(SLOT, 1);
            }
    });
}

TEST(PonRole, IsForgottenWithANewStoreAndNoneIsHeldWithoutOne) {
    with_store([] {
        give_role(SLOT, PORT, {OV_PON_PROTECT_PON_STATUS_WORKING, 77, 1});
        EXPECT_EQ(ov_pon_protect_group_pon_status_init(), static_cast<uint32_t>(KAVO_OK));
        EXPECT_EQ(role_of(SLOT, PORT), NO_ROLE);
    });
    private_root::run([] {
        ov_startup_gpon_config_sync_end_set(SLOT, 1);
        give_role(SLOT, PORT, {OV_PON_PROTECT_PON_STATUS_WORKING, 77, 1});
        EXPECT_EQ(role_of(SLOT, PORT), NO_ROLE);
    });
}

} // namespace
