// Whom a row of T-CONTs, GEM ports or services belongs to: a provisioned ONU, or, at slot 31, a service
// profile whose id stands for the ONU. Such a row may only change while its owner admits it.
//
// Main loop only.
#pragma once

#include "app_get_callback.h"
#include "app_rows.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"

// What a table asks of the owners of its rows. Not every table asks for all, and the log line about a bound
// profile has two spellings: people look for either.
struct OwnerRules {
    bool onu_exists = true;      // of an ONU's row: the ONU is there,
    bool onu_sets_itself = true; // and doesn't take its rows from a service profile
    bool profile_is_free = true; // of a template row: no ONU is bound to the profile, which is there
    // Also an owner that waits is there: rows that come with an owner come while it is on its way.
    bool waiting_counts = false;
    bool blank_before_bind = false; // "id %d bind %d times", and not "id %dbind %d times"
};

// May rows of this owner change? False behind a log line that says why.
bool ov_app_gpon_owner_check(const ov_sOnuTable_attr_t& owner, const OwnerRules& rules = {});

template <typename Row>
bool ov_app_gpon_owner_admits(const Row& row, const OwnerRules& rules = {}) {
    return ov_app_gpon_owner_check(onu_key<ov_sOnuTable_attr_t>(row), rules);
}

// The row of the ONU that `row` belongs to, null for none; valid until the ONU is deleted.
template <typename Row>
const ov_sOnuTable_attr_t* ov_app_gpon_onu_of(const Row& row) {
    return find_row(onu_key<ov_sOnuTable_attr_t>(row));
}

// Whether the row's ONU is in operation: what is read of any other is what the row has stored.
template <typename Row>
Asked ov_app_gpon_asked_of_onu(const Row& row) {
    const ov_sOnuTable_attr_t* onu = ov_app_gpon_onu_of(row);
    return onu != nullptr && onu->sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL ? Asked::YES : Asked::NO;
}

// The row of a service profile, null for none; valid until the profile is deleted.
const ov_sOnuSrvProfileTable_attr_t* ov_app_gpon_srvprofile_of(mib_long profile_id);

// The index under which the rows of a service profile stand: shelf 1, slot 31, port 15 and its id.
ov_sOnuTable_attr_t ov_app_gpon_template_owner(const ov_sOnuSrvProfileTable_attr_t& profile);
