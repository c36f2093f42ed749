// One copy of a service profile to ONUs of a port, which can be done row by row.
//
// Main loop only.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "ov_app_gpon_onusrv_batch_lines.h"

class OvRefusal;

class BatchCopy {
public:
    BatchCopy(ov_ifindex_t port, ov_batch_onu_flags_in_t onus, mib_ulong profile);

    // Gives the next row to the next ONU that is to have it. False when there was nothing left. With the
    // first step the rows of the profile are taken as they are: what becomes of them afterwards changes
    // nothing.
    bool step();

    const ov_batch_cfg_rtn_t& result() const { return result_; }
    const std::array<char, OV_BATCH_ONU_MAX>& onus() const { return onus_; }
    // Why the first ONU that refused did, as the log has it: "REASON (ROW)"; empty when none has.
    const std::string& first_refusal() const { return first_refusal_; }

private:
    void begin();
    bool visit(const BatchRow& row, size_t position);
    void give(const BatchRow& row, size_t position);
    void note_refusal(OvRefusal& door, const ov_sOnuTable_attr_t& onu);

    ov_ifindex_t port_;
    mib_ulong profile_;
    std::array<char, OV_BATCH_ONU_MAX> onus_; // the flags
    ov_batch_cfg_rtn_t result_ = {};
    std::string first_refusal_;
    bool begun_ = false;
    std::vector<BatchRow> rows_;
    size_t row_ = 0; // the next one,
    size_t onu_ = 0; // and the position of the ONU that it goes to
};
