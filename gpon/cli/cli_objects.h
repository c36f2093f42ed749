// The rows that settings belong to, as commands address them.
#pragma once

#include "cli_setting.h"

namespace cli_objects {

extern const CliObject pon_port;     // of the session
extern const CliObject uplink_pm;    // the switch of counters of the session's uplink port
extern const CliObject onu;          // of the session
extern const CliObject gem_port;     // "gemport" of the session's ONU or service profile
extern const CliObject service_port; // "service-port" of the same
extern const CliObject rm_onu;       // what stands behind the session's ONU, as a whole
extern const CliObject rm_uni;       // a UNI, by its word ETHUNI
extern const CliObject rm_video;     // the same, by VIDEO
extern const CliObject rm_wifi;      // a wireless network, by "wifi"
extern const CliObject rm_voip;      // telephony of the session's ONU or service profile

// What stands behind the session's ONU, or service profile.
extern const CliObject rm_uni_multicast;    // the switch of multicast at a UNI, by ETHUNI
extern const CliObject rm_multicast;        // its settings
extern const CliObject rm_mac_filter_mode;  // of a service
extern const CliObject rm_mac_filter_limit; // the same
extern const CliObject rm_tr069;
extern const CliObject rm_uni_poe; // by ETHUNI
extern const CliObject rm_onu_poe;
extern const CliObject rm_optics;

} // namespace cli_objects
