#include "ov_gpon_qos_cli.h"

#include "cli_call.h"
#include "cli_themes.h"
#include "ov_app_gpon_qos_codes.h"
#include "ov_refusal.h"

namespace {

struct Reason {
    int result;
    const char* text;
};

constexpr Reason REASONS[] = {
    {OV_QOS_ERR, "that value can't be"},
    {OV_QOS_NOT_SUPPORT, "this product's ports don't know that model"},
    {OV_QOS_MIB_FAIL, "the row wasn't taken"},
    {OV_QOS_HAL_FAIL, "the card didn't take it"},
    {OV_ONU_QOS_NOT_IN_USE, "the ONU has no QoS"},
    {OV_PORT_QOS_NO_IN_USE, "the port has no QoS"},
    {OV_QOS_COSQ_MAP_PROFILE_DUPLICATE, "another profile maps every class the same"},
    {OV_QOS_COS_TO_COS_PROFILE_DUPLICATE, "another profile maps every class the same"},
    {OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE, "there is no such cos-queue-map profile"},
    {OV_QOS_SCHED_PROFILE_NOT_IN_USE, "there is no such qos-queue-scheduler profile"},
    {OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE, "there is no such qos-queue-traffic profile"},
    {OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE, "there is no such cos-to-cos profile"},
};

} // namespace

void gpon_qos_state_reason(int result) {
    for (const Reason& reason : REASONS)
        if (reason.result == result)
            ov_refusal_because("%s", reason.text);
}

// The text for ONUs stands for whatever is missing, be it the ONU's record or the profile.
int gpon_qos_onu_answer(const CliCall& call, int result, uint32_t number) {
    const bool is_missing = result == OV_ONU_QOS_NOT_IN_USE || result == OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE ||
                            result == OV_QOS_SCHED_PROFILE_NOT_IN_USE ||
                            result == OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE;
    if (!is_missing)
        return gpon_qos_port_answer(call, result, number);
    gpon_qos_state_reason(result);
    return call.fail_of("%%Failed to edit oun qos profile,the profile dont exist:%d%s", number);
}

int gpon_qos_port_answer(const CliCall& call, int result, uint32_t number) {
    if (result == OV_QOS_OK)
        return 0;
    gpon_qos_state_reason(result);
    return call.fail_of(number == OV_QOS_DEFAULT_INDEX_ID ? "%%Failed to no port qos profile:%d%s"
                                                          : "%%Failed to edit port qos profile:%d%s",
                        number);
}

void init_qos_vtysh() {
    gpon_qos_profile_cli_init();
    gpon_qos_binding_cli_init();
    gpon_qos_dump_cli_init();
}
