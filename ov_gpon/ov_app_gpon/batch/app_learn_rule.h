// Which service profile a learnt ONU gets: what its port says of its model, its vendor or its kind, else the
// port's default. Nothing here changes anything.
#pragma once

#include "ov_app_gpon_onu_learnt.h"
#include "ov_hal_gpon_records.h"
#include "sPonTable.h"

struct LearnChoice {
    LearnRule rule = LearnRule::NONE;
    int slot = 0;          // of models or vendors, from 1
    mib_ulong profile = 0; // may be 0, or one that isn't there
};

// The first that applies: a slot of models, a slot of vendors, the profile of the kind of ONU, the default.
// A slot that fits is taken also when it holds no profile.
//
// Vendor codes stand without anything between them and are compared to the end of the text: a code fits when
// its slot is the last one, or the one behind it is empty. Ports have been set up with that in mind: the
// vendor that counts stands last.
LearnChoice choose_learn_profile(const ov_sPonTable_attr_t& port, const ov_gpon_autolearn_onu_attr_t& report);
