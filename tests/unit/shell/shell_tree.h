#pragma once

// The command tree of this test program: the library has only one in a process.

#include "command_tree.h"

/// Commands that the tests know, whatever the daemon's are by now.
inline int never_run(CliCall& /*call*/) {
    return 1;
}

inline const kavo_cmd_t test_commands[] = {
    {{CONFIG_NODE, GPON_NODE, IF_GPON_NODE, GPON_ONU_NODE},
     "interface IFNAME",
     "Enter a port or an ONU\nName\n",
     never_run},
    {{CONFIG_NODE}, "gpon", "Enter the profiles\n", never_run},
    {{CONFIG_NODE}, "vlan <1-4094>", "Enter a VLAN\nVLAN id\n", never_run},
    {{CONFIG_NODE}, "debug everything", "Debugging\nAll of it\n", never_run},
    {{GPON_NODE},
     "onu-srvprofile profile-id <1-128> onu-type ONUTYPENAME",
     "Enter an ONU service profile\nIts id\nId\nIts type\nType\n",
     never_run},
    {{GPON_NODE},
     "profile bandwidth NAME fixed <250-800000>",
     "Profiles\nBandwidth\nName\nFixed\nkbit/s\n",
     never_run},
    {{IF_GPON_NODE},
     "fec downstream (enable|disable)",
     "Error correction\nTowards the ONUs\nSwitch it\n",
     never_run},
    {{IF_GPON_NODE},
     "onu <1-128> type TYPE (sn|pw|loid) STRING",
     "ONU\nId\nType\nName\nHow it is known\nText\n",
     never_run},
    {{IF_GPON_NODE},
     "onu-auto-flow (sfu|hgu) srv-profile NAME",
     "Automatic flows\nKind\nProfile\nName\n",
     never_run},
    {{GPON_ONU_NODE}, "name NAME", "Name of the ONU\nName\n", never_run},
    {{GPON_ONU_NODE}, "tcont <1-6> profile NAME", "T-CONT\nId\nProfile\nName\n", never_run},
    {{ONU_SRV_PROFILE_NODE}, "name NAME", "Name of the profile\nName\n", never_run},
    {{ENABLE_NODE, IF_GPON_NODE}, "show onu status", "Show\nONUs\nTheir state\n", never_run},
};

inline const CommandTree& test_tree() {
    static const CommandTree& tree = *new CommandTree(test_commands);
    return tree;
}

/// What the tests' tree understands.
inline std::optional<Understood> test_understand(enum node_type node, const std::string& line) {
    return test_tree().understand(node, line);
}
