// At which step the configuration of an ONU from a service profile failed.
#pragma once

#include <cstdint>

enum ov_gpon_config_error_t : uint8_t {
    NO_ERROR = 0,
    TCONT_ERROR = 1,
    GEM_ERROR = 2,
    SRVPORT_ERROR = 3,
    RMSRV_ERROR = 4,
    RMUNI_ERROR = 5,
    ONU_TYPE_ERROR = 6, // the ONU isn't of the profile's type
    ONU_NOT_EXIST = 7,
    ONU_QOS_ERROR = 8,      // the QoS of the ONU isn't there
    ONU_QOS_NOTSUPPORT = 9, // it, or its card, doesn't take the values
    MIB_ACCESS_ERROR = 10,  // its row couldn't be written
    RMIPHOST_ERROR = 11,
    RMWIFI_ERROR = 12,
    RMWAN_ERROR = 13,
    RMVOIPCFG_ERROR = 14,
    RMSIPAGENT_ERROR = 15,
    RMSIPUSER_ERROR = 16,
    RMONUPOE_ERROR = 17,
    RMUNIPOE_ERROR = 18,
    RMMACFILTER_ERROR = 19, // mode, dynamic or static
};
