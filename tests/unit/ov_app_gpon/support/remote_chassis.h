// ONUs with UNIs on the test chassis: a type that has them, ONUs of it that are made as an operator makes
// them, and shorthands for the rows that come along.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "onu_chassis.h"
#include "ov_app_gpon_srvprofile.h"
#include "sRmUniPmTable.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"

namespace remote_test {

using namespace onu_test;

inline constexpr int ONU = 7;
inline constexpr int SLOT = AppChassis::SLOT;

inline constexpr int ETH = 0;
inline constexpr int POTS = 1;
inline constexpr int VEIP = 2;
inline constexpr int VIDEO = 3;

struct Ports {
    int cards = 1, eth = 2, pots = 1, video = 0;
};

// The type "HG-1" has these.
inline void put_type_with(const AppChassis& chassis, const Ports& ports, const char* name = "HG-1",
                          int id = TYPE_ID) {
    chassis.put_row<ov_sOnuTypeProfileTable_attr_t>(
        [&](auto& row) {
            set_text(row.onuTypeProfileName, name);
            row.sOnuTypeProfileTableCardNum = ports.cards;
            row.sOnuTypeProfileTableEthNum = ports.eth;
            row.sOnuTypeProfileTablePotsNum = ports.pots;
            row.sOnuTypeProfileTableVideoNum = ports.video;
        },
        id);
}

// Runs the body with that type, and ONU 7 of it on port 4, whose creation nobody looks at.
inline void run(const std::function<void(AppChassis&)>& body, const Ports& ports = {}) {
    app_chassis::run([&](AppChassis& chassis) {
        put_type_with(chassis, ports);
        ASSERT_EQ(ov_pon_protect_group_pon_status_init(), KAVO_OK);
        ASSERT_EQ(new_onu(ONU, "ABCD00000007").add(), OV_GPON_RET_OK);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

inline int delete_onu(int id = ONU, int port = PORT) {
    Onu onu = onu_at(id, port);
    return ov_app_gpon_onu_del(&onu);
}

// What the card has reported of an ONU.
inline void set_state(int state, int id = ONU, int port = PORT) {
    Onu onu = onu_at(id, port);
    onu.sOnuTableOnuState = state;
    ASSERT_TRUE(mib_access(MIB_SET_S_N, onu, columns_of(onu_column::sOnuTableOnuState)));
}
inline void bring_up(int id = ONU, int port = PORT) {
    set_state(SONUTABLEONUSTATE_OPERATIONAL, id, port);
}

// A service profile of the type, by the door.
inline int add_profile(int id = PROFILE, const char* type = "HG-1") {
    ov_sOnuSrvProfileTable_attr_t row = {};
    row.onuSrvProfileId = static_cast<mib_ulong>(id);
    set_text(row.sOnuTypeProfileName, type);
    MIB_Flags_t columns = columns_of(sOnuSrvProfileTable_column::sOnuTypeProfileName);
    return ov_app_gpon_onu_srvprofile_add(&row, &columns);
}
inline void bind_profile(int count, int id = PROFILE) {
    ov_sOnuSrvProfileTable_attr_t row = {};
    row.onuSrvProfileId = static_cast<mib_ulong>(id);
    row.sOnuSrvProfileBindCount = count;
    ASSERT_TRUE(
        mib_access(MIB_SET_S_N, row, columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileBindCount)));
}

// ---- rows of UNIs -----------------------------------------------------------------------------------------

template <typename Row>
Row uni(int kind, int port, int card = 1, int onu = ONU, int pon = PORT, int slot = SLOT) {
    Row row = onu_key<Row>(slot, pon, onu);
    row.onuCardID = static_cast<mib_ulong>(card);
    row.onuPortType = kind;
    row.onuPortID = static_cast<mib_ulong>(port);
    return row;
}
template <typename Row>
Row template_uni(int kind, int port, int card = 1, int profile = PROFILE) {
    return uni<Row>(kind, port, card, profile, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT);
}

// The UNIs of an ONU, or of a profile, that have rows: "card/kind/port", in the table's order.
template <typename Row>
std::vector<std::string> unis_of(int onu = ONU, int pon = PORT, int slot = SLOT) {
    std::vector<std::string> found;
    for (const Row& row : rows_under(onu_key<Row>(slot, pon, onu), INDEX_TO_ONU))
        found.push_back(std::to_string(row.onuCardID) + "/" + std::to_string(row.onuPortType) + "/" +
                        std::to_string(row.onuPortID));
    return found;
}
template <typename Row>
std::vector<std::string> template_unis_of(int profile = PROFILE) {
    return unis_of<Row>(profile, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT);
}

// All rows of a table as text, to see that nothing has come or gone.
template <typename Row>
std::vector<std::string> all_of() {
    std::vector<std::string> texts;
    for (const Row& row : RowsUnder<Row, WalkedRows::STORED>(Row{}, 0))
        texts.push_back(table_of<Row>::module().dump_text(&row));
    return texts;
}

// A list of VLAN ids as columns have it.
using VlanList = std::array<uint8_t, 32>;
inline VlanList vlan_list(const std::vector<int>& ids) {
    VlanList list = {};
    for (size_t n = 0; n < ids.size(); ++n) {
        list[2 * n] = static_cast<uint8_t>(ids[n] >> 8);
        list[2 * n + 1] = static_cast<uint8_t>(ids[n]);
    }
    return list;
}
template <typename Column>
void put_list(Column& column, const std::vector<int>& ids) {
    static_assert(sizeof column == sizeof(VlanList));
    const VlanList list = vlan_list(ids);
    std::memcpy(column, list.data(), list.size());
}
template <typename Column>
VlanList list_in(const Column& column) {
    VlanList list;
    std::memcpy(list.data(), column, list.size());
    return list;
}

// Ports 4 and 5 of the card as a group whose writes are noted: "table action", in what `repeated` gives.
inline std::vector<std::string>& repeated() {
    static std::vector<std::string> writes;
    return writes;
}
template <ov_pon_protect_sync_table_e table>
void note_repeat(void* /*row*/, const MIB_Flags_t& /*columns*/, int action, ov_ifindex_t partner) {
    repeated().push_back(std::to_string(table) + " action " + std::to_string(action) + " on port " +
                         std::to_string(ov_ifindex_get_port_id(partner)));
}
template <ov_pon_protect_sync_table_e table>
void make_mirrored_group() {
    make_group(PORT, OTHER_PORT, true);
    repeated().clear();
    ov_app_gpon_pair_writer_set(table, note_repeat<table>);
}

} // namespace remote_test
