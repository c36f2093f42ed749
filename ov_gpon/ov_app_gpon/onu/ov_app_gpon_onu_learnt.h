// Who was learnt: the last reports of ONUs on learning ports, each with the rule that chose its service
// profile and what came of it, for the operator who watches a town come up or asks why one is refused.
//
// One entry for each ONU of a port, by its serial number; a card that reports it again renews the entry. The
// memory ends at OV_GPON_LEARNT_MAX: the ONU that was silent longest is forgotten for a new one. A restart of
// the daemon forgets all. Main loop only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ov_types.h"
#include "sOnuTable.h"

inline constexpr size_t OV_GPON_LEARNT_MAX = 4096; // two full line cards

// By what of a port's settings a service profile was chosen.
enum class LearnRule : uint8_t {
    NONE,    // none: auto flow is off, or nothing of the port fits
    MODEL,   // a slot of models
    VENDOR,  // a slot of vendors
    SFU,     // the profile of single-family units
    HGU,     // the profile of home gateways
    DEFAULT, // the port's default
};

enum class LearnOutcome : uint8_t {
    PLAIN,       // provisioned without a service profile
    BOUND,       // provisioned, bound to its profile
    COPIED,      // provisioned, with the profile's rows as its own
    COPY_FAILED, // provisioned, with the rows up to the one that was refused
    REFUSED,     // not provisioned
};

struct gpon_learnt_onu_t {
    ov_ifindex_t onu = 0; // the number that the card proposed; of any place, while it is REFUSED
    std::string sn;       // as sOnuTable has it
    std::string vendor;   // printable, as all texts here
    std::string model;
    bool is_hgu = false;
    LearnRule rule = LearnRule::NONE;
    int slot = 0;          // of models or vendors, from 1; 0 for the other rules
    mib_ulong profile = 0; // 0 for none
    LearnOutcome outcome = LearnOutcome::REFUSED;
    std::string reason;   // why it was refused, or which row of the copy; "" for neither
    mib_ulong at = 0;     // of the last report, seconds of local time
    unsigned reports = 0; // how often it was reported
};

// In words: "model 2", "hgu"; "-" for NONE.
std::string ov_app_gpon_learn_rule_text(LearnRule rule, int slot);
// In words: "bound", "refused".
const char* ov_app_gpon_learn_outcome_text(LearnOutcome outcome);

// Notes a report and what came of it; time and number of reports are filled in. An ONU that is provisioned
// and reported once more keeps what came of its first report.
void ov_app_gpon_onu_learnt_note(gpon_learnt_onu_t learnt);

// Copies of those of a PON port, or with 0 of any: of a slot, of all. The one that was heard of last at the
// end.
std::vector<gpon_learnt_onu_t> ov_app_gpon_onus_learnt(mib_long slot, mib_long port);

// What is known of how this ONU was learnt, null for one that wasn't; valid until the next note.
const gpon_learnt_onu_t* ov_app_gpon_onu_learnt(const ov_sOnuTable_attr_t& onu);
