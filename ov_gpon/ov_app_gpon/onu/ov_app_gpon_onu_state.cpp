// What a card reports of an ONU's state, in the ONU's row. This is the busiest way into the table: a card
// that comes up reports each of its ONUs several times.
#include "app_set_callback.h"
#include "app_text.h"
#include "ov_app_gpon_if.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onu_note.h"
#include "ov_gpon.h"
#include "ov_product_log.h"

namespace {

namespace column = sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;
using SnText = char[OV_GPON_SN_TEXT + 1];

const unsigned char* sn_bytes(const ov_gpon_trap_onu_state_attr_t& report) {
    return reinterpret_cast<const unsigned char*>(report.sn);
}

// The credential that the operator didn't give, which the ONU has shown while it was authenticated: kept as
// long as the ONU is, and shown to the operator.
void learn_credential(Onu& onu, const ov_gpon_trap_onu_state_attr_t& report, MIB_Flags_t& columns) {
    const bool shown = report.states == SONUTABLEONUSTATE_AUTHPASS;
    if (onu.sOnuTableAuthMode == OV_GPON_ONU_AUTH_MODE_SN) {
        set_text(onu.sOnuTablePw, shown ? text_in(report.pw) : "");
        mib_flag_set(columns, column::sOnuTablePw);
    } else if (onu.sOnuTableAuthMode == OV_GPON_ONU_AUTH_MODE_PW) {
        SnText sn = "";
        if (shown)
            ov_gpon_onu_sn_bytes_to_string(sn_bytes(report), sn);
        set_text(onu.sOnuTableSn, sn);
        mib_flag_set(columns, column::sOnuTableSn);
    }
}

} // namespace

void ov_app_gpon_onu_state_update(ov_gpon_trap_onu_state_attr_t* state) {
    const Onu* stored = find_row(onu_key_of_ifindex<Onu>(state->onuIfindex));
    if (stored == nullptr)
        return; // the ONU was deleted while the report was on its way
    Onu onu = *stored;
    const bool was_operational = onu.sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL;
    MIB_Flags_t columns = columns_of(column::sOnuTableOnuState, column::sOnuTableOnuActVersion);
    ov_app_gpon_onu_note_state(onu, state->states);
    onu.sOnuTableOnuState = state->states;
    if (state->states == SONUTABLEONUSTATE_OPERATIONAL) {
        set_text(onu.sOnuTableOnuActVersion, text_in(state->onuVersion));
    } else {
        set_text(onu.sOnuTableOnuActVersion, "");
        learn_credential(onu, *state, columns);
    }
    if (!mib_access(MIB_SET_S_N, onu, columns, gpon_onu_appid))
        OV_LOG_ERROR("MMG", "set onu state by driver error");
    if (state->states == SONUTABLEONUSTATE_ADDED && was_operational)
        ov_gpon_onu_status_notify(state->onuIfindex, SONUTABLEONUSTATE_ADDED, sn_bytes(*state));
}
