#include "ov_app_gpon_autolearn_flow.h"

#include <array>
#include <cstdio>
#include <string>

#include "app_learn_rule.h"
#include "app_rows.h"
#include "app_text.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_pair.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_shown_text.h"

namespace {

namespace column = sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;
using Port = ov_sPonTable_attr_t;
using Report = ov_gpon_autolearn_onu_attr_t;

int bad_param(const char* text) {
    OV_LOG_ERROR("MMG", "%s", text);
    return OV_GPON_RET_BAD_PARAM;
}

// A text of a report, for logs and terminals.
template <size_t Bytes>
std::string printable(const char (&field)[Bytes]) {
    return ov_shown_text(text_in(field));
}

const Port* port_of(const Onu& onu) {
    return find_row(port_key<Port>(onu));
}

int tell_no_port_row(const char* function, int line) {
    ov_refusal_because("its PON port isn't there");
    OV_LOG_ERROR("LIB", "%s:%d MIB get pon table failed", function, line);
    return OV_GPON_RET_FAIL;
}

// ---- the row ----------------------------------------------------------------------------------------------

// A report on its way to a row.
struct Learning {
    explicit Learning(Report& reported)
        : report(reported), onu(port_key_of_ifindex<Onu>(reported.onuIfindex)) {
        onu.onuId = static_cast<int32_t>(ov_ifindex_get_subport_id(report.onuIfindex));
        set_text(onu.sOnuTableSn, ov_gpon_onu_sn_string(reinterpret_cast<const unsigned char*>(report.sn)));
        note.onu = report.onuIfindex;
        note.sn = printable(onu.sOnuTableSn);
        note.vendor = printable(report.vendorId);
        note.model = printable(report.eqptId);
        note.is_hgu = report.onuType != 0;
    }

    Report& report;
    Onu onu;
    MIB_Flags_t columns = {};
    gpon_learnt_onu_t note;
    bool copies = false; // the ONU gets the profile's rows as its own

    void write(std::initializer_list<unsigned> more) {
        for (const unsigned each : more)
            mib_flag_set(columns, each);
    }
};

void name_onu(Learning& learning) {
    Onu& onu = learning.onu;
    std::array<char, sizeof onu.sOnuTableOnuName> name{};
    snprintf(name.data(), name.size(), "gpon-onu%d/%d:%d", onu.slotID, onu.portID, onu.onuId);
    set_text(onu.sOnuTableOnuName, name.data());
    learning.write({column::sOnuTableOnuName});
}

// Of the brand's default type, and known by its serial number.
int identify_onu(Learning& learning) {
    Onu& onu = learning.onu;
    set_text(learning.report.profile, ov_gpon_default_onutype_get());
    set_text(onu.sOnuTableOnuTypeProfileName, text_in(learning.report.profile));
    if (ov_app_gpon_onutype_getId(onu.sOnuTableOnuTypeProfileName, &onu.sOnuTableOnuTypeProfileId) != 1) {
        ov_refusal_because("no ONU type \"%s\"", onu.sOnuTableOnuTypeProfileName);
        return bad_param("the onutype profile did not exist");
    }
    onu.sOnuTableAuthMode = OV_GPON_ONU_AUTH_MODE_SN;
    learning.write({column::sOnuTableSn, column::sOnuTableOnuTypeProfileName, column::sOnuTableAuthMode});
    return OV_GPON_RET_OK;
}

// Gives the ONU the service profile that the port chooses, and its ONU type.
int choose_profile(Learning& learning, const Port& port) {
    const LearnChoice choice = choose_learn_profile(port, learning.report);
    learning.note.rule = choice.rule;
    learning.note.slot = choice.slot;
    learning.note.profile = choice.profile;
    if (choice.rule == LearnRule::NONE) {
        ov_refusal_because("the port has no service profile for such an ONU");
        return bad_param("the onu srv profile did not exist");
    }
    Onu& onu = learning.onu;
    if (ov_app_gpon_onu_srvprofile_check(choice.profile, onu.sOnuTableOnuTypeProfileName) != 1) {
        ov_refusal_because("no service profile %u", choice.profile);
        return bad_param("the onu srv profile did not exist");
    }
    onu.sOnuTableSrvProfileId = choice.profile;
    learning.write({column::sOnuTableSrvProfileId});
    if (port.sPonTableAutoFlowConfigOnuNode == SPONTABLEAUTOFLOWCONFIGONUNODE_DISABLE) {
        onu.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
        learning.write({column::sOnuTableConfigMode});
    }
    return OV_GPON_RET_OK;
}

int add_row(Learning& learning) {
    Onu& onu = learning.onu;
    onu.sOnuTableRowStatus = OVRA_CREATEANDGO;
    onu.sOnuTableIfIndex = onu_ifindex_of(onu);
    learning.write({column::sOnuTableRowStatus, column::sOnuTableIfIndex});
    if (!mib_access(MIB_SET, onu, learning.columns, gpon_onu_appid))
        return bad_param("mib auto learn add error for onu table");
    return OV_GPON_RET_OK;
}

int fill_by_port(Learning& learning) {
    const Port* port = port_of(learning.onu);
    if (port == nullptr)
        return tell_no_port_row(__func__, __LINE__);
    learning.copies = port->sPonTableAutoFlowConfigOnuNode == SPONTABLEAUTOFLOWCONFIGONUNODE_ENABLE;
    return port->sPonTableAutoFlow == SPONTABLEAUTOFLOW_ENABLE ? choose_profile(learning, *port)
                                                               : OV_GPON_RET_OK;
}

// The steps up to the row; the first code that isn't 0.
int make_row(Learning& learning) {
    if (learning.onu.onuId > OV_GPON_ONU_ID_MAX) {
        ov_refusal_because("ONU numbers are 1 to %d", OV_GPON_ONU_ID_MAX);
        return bad_param("wrong onuId or wrong onuTypeName");
    }
    name_onu(learning);
    for (const auto step : {identify_onu, fill_by_port, add_row})
        if (const int refusal = step(learning); refusal != OV_GPON_RET_OK)
            return refusal;
    return OV_GPON_RET_OK;
}

// ---- what becomes of it -----------------------------------------------------------------------------------

LearnOutcome outcome_of_row(const Learning& learning) {
    if (learning.note.rule == LearnRule::NONE)
        return LearnOutcome::PLAIN;
    return learning.onu.sOnuTableConfigMode == SONUTABLECONFIGMODE_TEMPLET ? LearnOutcome::BOUND
                                                                           : LearnOutcome::COPIED;
}

// A failed copy doesn't take the ONU back: what it has got serves, and the operator adds the rest.
LearnOutcome provide(Learning& learning) {
    if (learning.copies && ov_app_gpon_onu_traffic_autolearn(learning.onu.sOnuTableIfIndex,
                                                             static_cast<mib_long>(learning.note.profile),
                                                             &learning.report) != OV_GPON_RET_OK) {
        OV_LOG_ERROR("MMG", "onu traffic auto learn failed");
        return LearnOutcome::COPY_FAILED;
    }
    return outcome_of_row(learning);
}

void log_learnt(const Learning& learning) {
    const gpon_learnt_onu_t& note = learning.note;
    OV_LOG_NOTICE("LIB", "%s is learnt: serial number %s, model \"%s\", service profile %u by rule %s: %s",
                  learning.onu.sOnuTableOnuName, note.sn.c_str(), note.model.c_str(), note.profile,
                  ov_app_gpon_learn_rule_text(note.rule, note.slot).c_str(),
                  ov_app_gpon_learn_outcome_text(note.outcome));
}

// What was stated of a refusal, else the error line that came with it.
std::string reason_of(const OvRefusalNotes& notes) {
    return notes.reason[0] != '\0' ? notes.reason.data() : notes.error.data();
}

// Notes what came of the report, and tells it.
void conclude(Learning& learning, OvRefusal& door) {
    const bool refused = learning.note.outcome == LearnOutcome::REFUSED;
    if (refused || learning.note.outcome == LearnOutcome::COPY_FAILED) {
        learning.note.reason = reason_of(door.notes());
        door.refuse(learning.onu.sOnuTableOnuName, nullptr);
    }
    if (!refused)
        log_learnt(learning);
    ov_app_gpon_onu_learnt_note(std::move(learning.note));
}

// The working port of the pair reports the ONU, too: the log says nothing of it.
bool is_on_protecting_port(const Onu& onu) {
    return ov_app_gpon_refuse_on_protecting_port(onu, nullptr) == SET_REFUSED;
}

} // namespace

int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* attr) {
    if (attr == nullptr)
        return bad_param("null pointer");
    OvRefusal door("learn");
    Learning learning(*attr);
    if (is_on_protecting_port(learning.onu)) {
        learning.note.reason = reason_of(door.notes());
        ov_app_gpon_onu_learnt_note(std::move(learning.note));
        return OV_GPON_RET_BAD_PARAM;
    }
    const int result = make_row(learning);
    if (result == OV_GPON_RET_OK)
        learning.note.outcome = provide(learning);
    conclude(learning, door);
    return result;
}

int ov_app_gpon_onu_traffic_autolearn(ov_ifindex_t onu_ifindex, mib_long profileId,
                                      ov_gpon_autolearn_onu_attr_t* attr) {
    const auto onu = onu_key_of_ifindex<Onu>(onu_ifindex);
    const Port* port = port_of(onu);
    if (port == nullptr || !fits(onu.onuId, OV_GPON_ONU_ID_MAX))
        return tell_no_port_row(__func__, __LINE__);
    if (port->sPonTableAutoFlow == SPONTABLEAUTOFLOW_DISABLE)
        return OV_GPON_RET_OK;
    OV_LOG_INFO("LIB",
                "%s:%d, shelf[%d] slot[%d] port[%d] onu[%d] auto-flow[%d] onuType[%d] vendorId[%s] "
                "eqptId[%s]",
                __func__, __LINE__, onu.shelfID, onu.slotID, onu.portID, onu.onuId, port->sPonTableAutoFlow,
                attr->onuType, printable(attr->vendorId).c_str(), printable(attr->eqptId).c_str());
    OV_LOG_INFO("LIB", "%s:%d, profileId=%d", __func__, __LINE__, profileId);
    std::array<char, OV_BATCH_ONU_MAX> asked{};
    const auto entry = static_cast<size_t>(onu.onuId) - 1;
    asked.at(entry) = OV_BATCH_ONU_CONFIG;
    const ov_batch_cfg_rtn_t done =
        ov_gpon_multi_onu_service_config(port_ifindex_of(onu), asked, static_cast<mib_ulong>(profileId));
    const int error = done.errorCode[entry];
    if (error == NO_ERROR)
        return OV_GPON_RET_OK;
    ov_refusal_because("%s", ov_gpon_multi_onu_service_config_refusal());
    OV_LOG_ERROR("LIB", "%s:%d Config onu[%d] srv-profile[%d] failed errorCode=%d", __func__, __LINE__,
                 onu.onuId, profileId, error);
    return OV_GPON_RET_FAIL;
}
