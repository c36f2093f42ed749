#include "ov_app_gpon_port_config.h"

#include <array>
#include <utility>
#include <vector>

#include "app_columns.h"
#include "app_rows.h"
#include "app_step_queue.h"
#include "app_text.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_pon_role.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_port_config_copy.h"
#include "ov_app_gpon_port_qos.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ponPortQosTable.h"

namespace {

using Port = ov_sPonTable_attr_t;
namespace column = sPonTable_column;

StepQueue& works() {
    static StepQueue queue;
    return queue;
}

// ---- clear ------------------------------------------------------------------------------------------------

constexpr mib_long DISTANCE_KM = 20;
constexpr mib_long KEY_EXCHANGE_INTERVAL_MSEC = 10000;

// A row to be written, with its columns.
struct PortWrite {
    Port row;
    MIB_Flags_t columns = {};
    int settings = 0;

    template <typename... Column>
    void take(Column... numbers) {
        (mib_flag_set(columns, numbers), ...);
        ++settings;
    }
};

// Everything but recording. Switching between the ONUs stays as it is where it has been allowed, and "0" is
// the name of no profile: both are known to managers so.
PortWrite cleared_port(const Port& was) {
    PortWrite write{.row = was};
    Port& row = write.row;
    if (was.sPonTableAutoFind == 0) {
        row.sPonTableAutoFind = 1;
        write.take(column::sPonTableAutoFind);
    }
    if (was.sPonTableAutoLearn != 0) {
        row.sPonTableAutoLearn = 0;
        write.take(column::sPonTableAutoLearn);
    }
    if (was.sPonTableMaxLogicDistance != DISTANCE_KM) {
        row.sPonTableMaxLogicDistance = DISTANCE_KM;
        write.take(column::sPonTableMaxLogicDistance);
    }
    if (was.sPonTableDsFec != 0) {
        row.sPonTableDsFec = 0;
        write.take(column::sPonTableDsFec);
    }
    if (was.sPonTableKeyExchangeCtrl != 0) {
        row.sPonTableKeyExchangeCtrl = 0;
        row.sPonTableKeyExchangeInterval = KEY_EXCHANGE_INTERVAL_MSEC;
        write.take(column::sPonTableKeyExchangeCtrl, column::sPonTableKeyExchangeInterval);
    }
    if (was.sPonTablePortProtect == 0)
        write.take(column::sPonTablePortProtect);
    if (was.sPonTableScbMaxBW != 0) {
        row.sPonTableScbMaxBW = 0;
        write.take(column::sPonTableScbMaxBW);
    }
    if (was.sPonTableQosPorfileID != 0) {
        row.sPonTableQosPorfileID = 0;
        set_text(row.sPonTableQosProfileName, "0");
        write.take(column::sPonTableQosPorfileID, column::sPonTableQosProfileName);
    }
    return write;
}

// By itself: a write of these two doesn't reach the card, whatever else it brings.
PortWrite port_without_recording(const Port& was) {
    PortWrite write{.row = was};
    if (was.sPonTablePmEnable != 0) {
        write.row.sPonTablePmEnable = 0;
        write.take(column::sPonTablePmEnable);
    }
    if (was.sPonTableNniPmEnable != 0) {
        write.row.sPonTableNniPmEnable = 0;
        write.take(column::sPonTableNniPmEnable);
    }
    return write;
}

void ov_app_gpon_port_config_clear_for_sPontable(ov_ifindex_t port) {
    const Port* stored = find_row(port_key_of_ifindex<Port>(port));
    if (stored == nullptr)
        return;
    for (PortWrite& write : std::array{cleared_port(*stored), port_without_recording(*stored)})
        if (write.settings != 0 && ov_app_gpon_port_edit(&write.row, &write.columns) != OV_GPON_RET_OK)
            OV_LOG_ERROR("MMG", "ov_app_gpon_port_config_clear_for_sPontable for 0x%x failed,  set cnt %d",
                         port, write.settings);
}

void ov_app_gpon_port_config_clear_for_PortQostable(ov_ifindex_t port) {
    auto* qos = ov_app_find_port_qos_by_ifindex(port);
    if (qos == nullptr) {
        OV_LOG_ERROR("MMG", "port qos 0x%x not exist", port);
        return;
    }
    if (ov_app_port_qos_edit_sched_mode(qos, PONPORTQOSSCHEDULERMODEL_SIMPLE) != OV_QOS_OK)
        OV_LOG_ERROR("MMG", "ov_app_port_qos_edit_sched_mode fail, maybe port qos-queue-scheduler isn't def "
                            "value.");
    ov_app_port_qos_edit_qos_sched_profile(qos, 0);
    ov_app_port_qos_edit_qos_traffic_profile(qos, 0);
    ov_app_port_qos_set(qos, SYNC_EVERY_COPY);
}

using Onu = ov_sOnuTable_attr_t;

std::vector<Onu> onus_of(ov_ifindex_t port) {
    return rows_copied(port_key_of_ifindex<Onu>(port), INDEX_TO_PORT);
}

// With all that hangs off it.
void remove_onu(Onu& onu) {
    if (mib_access(MIB_DEL, onu, mibDefFlags, gpon_onu_appid))
        OV_LOG_DEBUG("MMG", "del success onuid: %d", onu.onuId);
    else
        OV_LOG_ERROR("MMG", "del failed onuid: %d", onu.onuId);
}

void ov_app_gpon_port_config_clear_for_sOnutable(ov_ifindex_t port) {
    for (Onu& onu : onus_of(port))
        remove_onu(onu);
}

bool has_role(ov_ifindex_t port) {
    return ov_pon_protect_group_pon_status_get(static_cast<int>(ov_ifindex_get_slot_id(port)),
                                               static_cast<int>(ov_ifindex_get_port_id(port))) !=
           OV_PON_PROTECT_PON_STATUS_NONE;
}

// ---- defaults ---------------------------------------------------------------------------------------------

bool is_default(const Port& port) {
    return port.sPonTableAutoFind == 1 && port.sPonTableAutoLearn == 0 &&
           port.sPonTableMaxLogicDistance == DISTANCE_KM && port.sPonTableDsFec == 0 &&
           port.sPonTableKeyExchangeCtrl == 0 && port.sPonTablePmEnable == 0 &&
           port.sPonTableNniPmEnable == 0 && port.sPonTablePortProtect == 1 && port.sPonTableScbMaxBW == 0 &&
           port.sPonTableQosPorfileID == 0;
}

bool is_default(const ov_ponPortQosTable_attr_t& qos) {
    return qos.ponPortQosSchedulerModel == PONPORTQOSSCHEDULERMODEL_SIMPLE &&
           qos.ponPortQosSchedulerProfileId == 0 && qos.ponPortQosTrafficProfileId == 0 &&
           qos.ponPortQosCosQueueMappingProfileId == 0 && qos.ponPortQosUplinkCosToCosProfileId == 0 &&
           qos.ponPortQosDownlinkCosToCosProfileId == 0;
}

} // namespace

int ov_app_gpon_port_config_copy(ov_ifindex_t ponIfindex, ov_ifindex_t cp2Ifindex) {
    PortConfigCopy copy(ponIfindex, cp2Ifindex);
    while (copy.step()) {
    }
    return OV_GPON_RET_OK;
}

void ov_app_gpon_port_config_copy_start(ov_ifindex_t ponIfindex, ov_ifindex_t cp2Ifindex,
                                        std::function<void()> done, std::function<bool()> is_wanted) {
    works().start([copy = PortConfigCopy(ponIfindex, cp2Ifindex),
                   is_wanted = std::move(is_wanted)]() mutable { return is_wanted() && copy.step(); },
                  std::move(done));
}

void ov_app_gpon_port_config_go_on() {
    works().go_on();
}

namespace {

bool may_be_cleared(ov_ifindex_t port) {
    if (ov_ifindex_get_port_type(port) != PORT_TYPE_GPON)
        return ov_refusal_because("not a PON port");
    return !has_role(port) || ov_refusal_because("the port is in a protection group");
}

void clear_settings(ov_ifindex_t port) {
    OV_LOG_INFO("MMG", "clear configuration of port 0x%x: slot %u port %u", port,
                ov_ifindex_get_slot_id(port), ov_ifindex_get_port_id(port));
    ov_app_gpon_port_config_clear_for_sPontable(port);
    ov_app_gpon_port_config_clear_for_PortQostable(port);
}

} // namespace

int ov_app_gpon_port_config_clear(ov_ifindex_t Ifindex) {
    if (!may_be_cleared(Ifindex))
        return OV_GPON_RET_FAIL;
    clear_settings(Ifindex);
    ov_app_gpon_port_config_clear_for_sOnutable(Ifindex);
    return OV_GPON_RET_OK;
}

int ov_app_gpon_port_config_clear_start(ov_ifindex_t Ifindex, std::function<void()> done) {
    if (!may_be_cleared(Ifindex))
        return OV_GPON_RET_FAIL;
    clear_settings(Ifindex);
    const auto remove_next = [onus = onus_of(Ifindex)]() mutable {
        if (onus.empty())
            return false;
        const OvRefusal door("clear", OvRefusal::Kind::EVENT); // each refusal leaves its line
        remove_onu(onus.back());
        onus.pop_back();
        return true;
    };
    works().start(remove_next, std::move(done));
    return OV_GPON_RET_OK;
}

// A port whose QoS has no row has never been given any.
int ov_app_gpon_olt_table_params_is_default_check(ov_ifindex_t ifindex) {
    const Port* port = find_row(port_key_of_ifindex<Port>(ifindex));
    const auto* qos = find_row(port_key_of_ifindex<ov_ponPortQosTable_attr_t>(ifindex));
    return port != nullptr && is_default(*port) && (qos == nullptr || is_default(*qos)) ? 1 : 0;
}
