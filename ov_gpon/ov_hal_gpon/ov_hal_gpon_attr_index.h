// Attribute indexes of the records: the attribute with index N is bit N of the mask that travels in front of
// the record. In a set the masked attributes are the ones to apply, the rest of the record is context; in a
// get they are the ones to fetch. Bit MAX, where a mask has it, stands for no attribute.
//
// The order is not always that of the fields; the cards know these numbers.
#pragma once

#include <cstdint>

// Of ov_gpon_port_attr_t.
enum : int32_t {
    OV_GPON_PORT_ATTR_INDEX_ifindex = 0,
    OV_GPON_PORT_ATTR_INDEX_adminStatus = 1,
    OV_GPON_PORT_ATTR_INDEX_priStatus = 2,
    OV_GPON_PORT_ATTR_INDEX_secStatus = 3,
    OV_GPON_PORT_ATTR_INDEX_scbport = 4,
    OV_GPON_PORT_ATTR_INDEX_scb_qid = 5,
    OV_GPON_PORT_ATTR_INDEX_scb_maxBw = 6,
    OV_GPON_PORT_ATTR_INDEX_sched = 7,
    OV_GPON_PORT_ATTR_INDEX_txPwr = 8,
    OV_GPON_PORT_ATTR_INDEX_MaxLogicDistance = 9,
    OV_GPON_PORT_ATTR_INDEX_DsFec = 10,
    OV_GPON_PORT_ATTR_INDEX_KeyExchangeCtrl = 11,
    OV_GPON_PORT_ATTR_INDEX_KeyExchangeInterval = 12,
    OV_GPON_PORT_ATTR_INDEX_AutoLearn = 13,
    OV_GPON_PORT_ATTR_INDEX_PROTECTED = 14,
    OV_GPON_PORT_ATTR_INDEX_Autofind = 15,
    OV_GPON_PORT_ATTR_INDEX_RogueOnuDetect = 16,
    OV_GPON_PORT_ATTR_INDEX_RogueOnuDetectState = 17,
    OV_GPON_PORT_ATTR_INDEX_silenceTime = 18,
    OV_GPON_PORT_ATTR_INDEX_mibDataSync = 19,
    OV_GPON_PORT_ATTR_INDEX_MAX = 20,
};

// Of ov_gpon_pon_optic_threshold_attr_t.
enum : int32_t {
    OV_GPON_OPTIC_THRESHOLD_ATTR_ifindex = 0,
    OV_GPON_OPTIC_THRESHOLD_ATTR_action = 1,
    OV_GPON_OPTIC_THRESHOLD_ATTR_txPwr_low = 2,
    OV_GPON_OPTIC_THRESHOLD_ATTR_txPwr_high = 3,
    OV_GPON_OPTIC_THRESHOLD_ATTR_rxPwr_low = 4,
    OV_GPON_OPTIC_THRESHOLD_ATTR_rxPwr_high = 5,
    OV_GPON_OPTIC_THRESHOLD_ATTR_vcc_low = 6,
    OV_GPON_OPTIC_THRESHOLD_ATTR_vcc_high = 7,
    OV_GPON_OPTIC_THRESHOLD_ATTR_bias_curr_low = 8,
    OV_GPON_OPTIC_THRESHOLD_ATTR_bias_curr_high = 9,
    OV_GPON_OPTIC_THRESHOLD_ATTR_temp_low = 10,
    OV_GPON_OPTIC_THRESHOLD_ATTR_temp_high = 11,
    OV_GPON_OPTIC_THRESHOLD_ATTR_MAX = 12,
};

// Of ov_gpon_onu_attr_t.
enum : int32_t {
    OV_GPON_ONU_ATTR_INDEX_ifindex = 0,
    OV_GPON_ONU_ATTR_INDEX_name = 1,
    OV_GPON_ONU_ATTR_INDEX_authAttr = 2,
    OV_GPON_ONU_ATTR_INDEX_adminStatus = 3,
    OV_GPON_ONU_ATTR_INDEX_active = 4,
    OV_GPON_ONU_ATTR_INDEX_typeProfile = 5,
    OV_GPON_ONU_ATTR_INDEX_omccBwProfile = 6,
    OV_GPON_ONU_ATTR_INDEX_oltRxPw = 7,
    OV_GPON_ONU_ATTR_INDEX_status = 8,
    OV_GPON_ONU_ATTR_INDEX_spliterNum = 9,
    OV_GPON_ONU_ATTR_INDEX_usFec = 10,
    OV_GPON_ONU_ATTR_INDEX_phyDistance = 11,
    OV_GPON_ONU_ATTR_INDEX_rssi = 12,
    OV_GPON_ONU_ATTR_INDEX_srvprofile = 13,
    OV_GPON_ONU_ATTR_INDEX_cfgMode = 14,
    OV_GPON_ONU_ATTR_INDEX_MAX = 15,
};

// Of ov_gpon_onutype_attr_t.
enum : int32_t {
    OV_GPON_ONUTYPE_ATTR_INDEX_name = 0,
    OV_GPON_ONUTYPE_ATTR_INDEX_id = 1,
    OV_GPON_ONUTYPE_ATTR_INDEX_isDefault = 2,
    OV_GPON_ONUTYPE_ATTR_INDEX_inUse = 3,
    OV_GPON_ONUTYPE_ATTR_INDEX_cardNum = 4,
    OV_GPON_ONUTYPE_ATTR_INDEX_ethNum = 5,
    OV_GPON_ONUTYPE_ATTR_INDEX_potsNum = 6,
    OV_GPON_ONUTYPE_ATTR_INDEX_tcontNum = 7,
    OV_GPON_ONUTYPE_ATTR_INDEX_wifiNum = 8,
    OV_GPON_ONUTYPE_ATTR_INDEX_gemportNum = 9,
    OV_GPON_ONUTYPE_ATTR_INDEX_servportNum = 10,
    OV_GPON_ONUTYPE_ATTR_INDEX_upQueueNum = 11,
    OV_GPON_ONUTYPE_ATTR_INDEX_downQueueNum = 12,
    OV_GPON_ONUTYPE_ATTR_INDEX_videoNum = 13,
    OV_GPON_ONUTYPE_ATTR_INDEX_MAX = 14,
};

// Of ov_gpon_bwprofile_attr_t.
enum : int32_t {
    OV_GPON_BWPROFILE_ATTR_INDEX_id = 0,
    OV_GPON_BWPROFILE_ATTR_INDEX_name = 1,
    OV_GPON_BWPROFILE_ATTR_INDEX_bwType = 2,
    OV_GPON_BWPROFILE_ATTR_INDEX_fixbw = 3,
    OV_GPON_BWPROFILE_ATTR_INDEX_assBw = 4,
    OV_GPON_BWPROFILE_ATTR_INDEX_maxBw = 5,
    OV_GPON_BWPROFILE_ATTR_INDEX_MAX = 6,
};

// Of ov_gpon_tcont_attr_t.
enum : int32_t {
    OV_GPON_TCONT_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_TCONT_ATTR_INDEX_tcontId = 1,
    OV_GPON_TCONT_ATTR_INDEX_allocId = 2,
    OV_GPON_TCONT_ATTR_INDEX_name = 3,
    OV_GPON_TCONT_ATTR_INDEX_bwProfile = 4,
    OV_GPON_TCONT_ATTR_INDEX_MAX = 5,
};

// Of ov_gpon_gemport_attr_t.
enum : int32_t {
    OV_GPON_GEMPORT_ATTR_INDEX_ifindex = 0,
    OV_GPON_GEMPORT_ATTR_INDEX_name = 1,
    OV_GPON_GEMPORT_ATTR_INDEX_tcontId = 2,
    OV_GPON_GEMPORT_ATTR_INDEX_downQmapId = 3,
    OV_GPON_GEMPORT_ATTR_INDEX_upQmapId = 4,
    OV_GPON_GEMPORT_ATTR_INDEX_dsMaxBw = 5,
    OV_GPON_GEMPORT_ATTR_INDEX_dsMinBw = 6,
    OV_GPON_GEMPORT_ATTR_INDEX_direction = 7,
    OV_GPON_GEMPORT_ATTR_INDEX_servportCount = 8,
    OV_GPON_GEMPORT_ATTR_INDEX_isEncyption = 9,
    OV_GPON_GEMPORT_ATTR_INDEX_upTrfDescrip = 10,
    OV_GPON_GEMPORT_ATTR_INDEX_downTrfDescrip = 11,
    OV_GPON_GEMPORT_ATTR_INDEX_MAX = 12,
};

// Of ov_gpon_service_port_attr_t.
enum : int32_t {
    OV_GPON_SERVICE_PORT_ATTR_INDEX_ifindex = 0,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_gemIfndex = 1,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_vlan = 2,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_svlan = 3,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_user_vlan = 4,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_vlan_prio = 5,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_svlan_prio = 6,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_vlan_action = 7,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_vlan_prio_action = 8,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_svlan_prio_action = 9,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_cosq_map = 10,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_queue = 11,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_cos_to_cos = 12,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_mac_move = 13,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_mac_limit = 14,
    OV_GPON_SERVICE_PORT_ATTR_INDEX_MAX = 15,
};

// Of ov_gpon_onu_qos_attr_t.
enum : int32_t {
    OV_GPON_ONU_QOS_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_ONU_QOS_ATTR_INDEX_trafficProfile = 1,
    OV_GPON_ONU_QOS_ATTR_INDEX_shedProfile = 2,
    OV_GPON_ONU_QOS_ATTR_INDEX_cosqProfile = 3,
    OV_GPON_ONU_QOS_ATTR_INDEX_maxBw = 4,
    OV_GPON_ONU_QOS_ATTR_INDEX_minBw = 5,
    OV_GPON_ONU_QOS_ATTR_INDEX_weight = 6,
    OV_GPON_ONU_QOS_ATTR_INDEX_downlink_cos_to_cos_Profile = 7,
    OV_GPON_ONU_QOS_ATTR_INDEX_MAX = 8,
};

// Of ov_gpon_qinq_attr_t; they say what to do, not which attributes count.
enum : int32_t {
    OV_GPON_QINQ_ATTR_INDEX_add = 1,
    OV_GPON_QINQ_ATTR_INDEX_del = 2,
    OV_GPON_QINQ_ATTR_INDEX_MAX = 3,
};

// Of ov_gpon_mcast_vlan_attr_t.
enum : int32_t {
    OV_GPON_MCAST_VLAN_ATTR_INDEX_id = 0,
    OV_GPON_MCAST_VLAN_ATTR_INDEX_vlan = 1,
    OV_GPON_MCAST_VLAN_ATTR_INDEX_macac = 2,
    OV_GPON_MCAST_VLAN_ATTR_INDEX_routerIf = 3,
    OV_GPON_MCAST_VLAN_ATTR_INDEX_MAX = 4,
};

// Of ov_gpon_rmservice_attr_t.
enum : int32_t {
    OV_GPON_RMSERVICE_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMSERVICE_ATTR_INDEX_serviceId = 1,
    OV_GPON_RMSERVICE_ATTR_INDEX_uniPos = 2,
    OV_GPON_RMSERVICE_ATTR_INDEX_type = 3,
    OV_GPON_RMSERVICE_ATTR_INDEX_gemId = 4,
    OV_GPON_RMSERVICE_ATTR_INDEX_vlan = 5,
    OV_GPON_RMSERVICE_ATTR_INDEX_cos = 6,
    OV_GPON_RMSERVICE_ATTR_INDEX_MAX = 7,
};

// Of ov_gpon_rm_macfilter_attr_t.
enum : int32_t {
    OV_GPON_RM_MACFILTER_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_serviceId = 1,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_mode = 2,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_dynCount = 3,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_entryid = 4,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_fwdfilter = 5,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_rule = 6,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_mac = 7,
    OV_GPON_RM_MACFILTER_ATTR_INDEX_MAX = 8,
};

// Of ov_gpon_rmonu_info_attr_t.
enum : int32_t {
    OV_GPON_RMONU_INFO_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMONU_INFO_ATTR_INDEX_rxPwr = 1,
    OV_GPON_RMONU_INFO_ATTR_INDEX_txPwr = 2,
    OV_GPON_RMONU_INFO_ATTR_INDEX_vendorId = 3,
    OV_GPON_RMONU_INFO_ATTR_INDEX_version = 4,
    OV_GPON_RMONU_INFO_ATTR_INDEX_sn = 5,
    OV_GPON_RMONU_INFO_ATTR_INDEX_loid = 6,
    OV_GPON_RMONU_INFO_ATTR_INDEX_loidPw = 7,
    OV_GPON_RMONU_INFO_ATTR_INDEX_eqptId = 8,
    OV_GPON_RMONU_INFO_ATTR_INDEX_omccVer = 9,
    OV_GPON_RMONU_INFO_ATTR_INDEX_bridgeMode = 10,
    OV_GPON_RMONU_INFO_ATTR_INDEX_reboot = 11,
    OV_GPON_RMONU_INFO_ATTR_INDEX_mibSync = 12,
    OV_GPON_RMONU_INFO_ATTR_INDEX_adminState = 13,
    OV_GPON_RMONU_INFO_ATTR_INDEX_operationState = 14,
    OV_GPON_RMONU_INFO_ATTR_INDEX_productCode = 15,
    OV_GPON_RMONU_INFO_ATTR_INDEX_encrptionMode = 16,
    OV_GPON_RMONU_INFO_ATTR_INDEX_schedulerNumber = 17,
    OV_GPON_RMONU_INFO_ATTR_INDEX_priorityQueue = 18,
    OV_GPON_RMONU_INFO_ATTR_INDEX_serviceType = 19,
    OV_GPON_RMONU_INFO_ATTR_INDEX_onuType = 20,
    OV_GPON_RMONU_INFO_ATTR_INDEX_restoreDefault = 21,
    OV_GPON_RMONU_INFO_ATTR_INDEX_MAX = 22,
};

// Of ov_gpon_rmonu_opt_threshold_attr_t.
enum : int32_t {
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_lowrxpwr = 1,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_upperrxPwr = 2,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_lowtxpwr = 3,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_uppertxPwr = 4,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_lowvoltpwr = 5,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_uppervoltPwr = 6,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_lowbiaspwr = 7,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_upperbiasPwr = 8,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_lowtemppwr = 9,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_uppertempPwr = 10,
    OV_GPON_RMONU_OPT_THD_ATTR_INDEX_MAX = 11,
};

// Of ov_gpon_onu_tr069_mgmt_attr_t.
enum : int32_t {
    OV_GPON_ONU_TR069_INDEX_ifindex = 0,
    OV_GPON_ONU_TR069_INDEX_adminstate = 1,
    OV_GPON_ONU_TR069_INDEX_vlan = 2,
    OV_GPON_ONU_TR069_INDEX_pri = 3,
    OV_GPON_ONU_TR069_INDEX_acs_addr = 4,
    OV_GPON_ONU_TR069_INDEX_acs_valid_mode = 5,
    OV_GPON_ONU_TR069_INDEX_acs_username = 6,
    OV_GPON_ONU_TR069_INDEX_acs_password = 7,
    OV_GPON_ONU_TR069_INDEX_MAX = 8,
};

// Of ov_gpon_onu_queue_schedule_attr_t.
enum : int32_t {
    OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_ifindex = 0,
    OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_QOSMODE = 1,
    OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_WEIGHT = 2,
    OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_MAX = 3,
};

// Of ov_gpon_rmonu_poe_attr_t.
enum : int32_t {
    OV_GPON_RMONU_POE_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMONU_POE_ATTR_INDEX_nominalPoePow = 1,
    OV_GPON_RMONU_POE_ATTR_INDEX_operStatus = 2,
    OV_GPON_RMONU_POE_ATTR_INDEX_pseConsumPow = 3,
    OV_GPON_RMONU_POE_ATTR_INDEX_pseAllocatePow = 4,
    OV_GPON_RMONU_POE_ATTR_INDEX_usageThr = 5,
    OV_GPON_RMONU_POE_ATTR_INDEX_arc = 6,
    OV_GPON_RMONU_POE_ATTR_INDEX_extPowAvl = 7,
    OV_GPON_RMONU_POE_ATTR_INDEX_extBatteryPowAvl = 8,
    OV_GPON_RMONU_POE_ATTR_INDEX_inputVoltage = 9,
    OV_GPON_RMONU_POE_ATTR_INDEX_inputCur = 10,
    OV_GPON_RMONU_POE_ATTR_INDEX_MAX = 11,
};

// Of ov_gpon_rmuni_attr_t.
enum : int32_t {
    OV_GPON_RMUNI_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMUNI_ATTR_INDEX_uniPos = 1,
    OV_GPON_RMUNI_ATTR_INDEX_adminStatus = 2,
    OV_GPON_RMUNI_ATTR_INDEX_pmEnabled = 3,
    OV_GPON_RMUNI_ATTR_INDEX_mcastEnabled = 4,
    OV_GPON_RMUNI_ATTR_INDEX_loopDetect = 5,
    OV_GPON_RMUNI_ATTR_INDEX_macLrnCount = 6,
    OV_GPON_RMUNI_ATTR_INDEX_LinkStatus = 7,
    OV_GPON_RMUNI_ATTR_INDEX_videoState = 8,
    OV_GPON_RMUNI_ATTR_INDEX_autoDetection = 9,
    OV_GPON_RMUNI_ATTR_INDEX_maxFrameSize = 10,
    OV_GPON_RMUNI_ATTR_INDEX_pppoeFiltetEnabled = 11,
    OV_GPON_RMUNI_ATTR_INDEX_bridgedOrIpInd = 12,
    OV_GPON_RMUNI_ATTR_INDEX_powerControl = 13,
    OV_GPON_RMUNI_ATTR_INDEX_usPmEnabled = 14,
    OV_GPON_RMUNI_ATTR_INDEX_dsPmEnabled = 15,
    OV_GPON_RMUNI_ATTR_INDEX_dot1xEnabled = 16,
    OV_GPON_RMUNI_ATTR_INDEX_dot1xActRegister = 17,
    OV_GPON_RMUNI_ATTR_INDEX_MAX = 18,
};

// Of ov_gpon_rmuni_vlan_attr_t.
enum : int32_t {
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_uniPos = 1,
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_pvid = 2,
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_vlanMode = 3,
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_vlanList = 4,
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_xlateList = 5,
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_PRI = 6,
    OV_GPON_RMUNI_VLAN_ATTR_INDEX_MAX = 7,
};

// Of ov_gpon_rmuni_mcast_attr_t.
enum : int32_t {
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_uniPos = 1,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_enabled = 2,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_igmpVer = 3,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_mode = 4,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_fastLeave = 5,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_maxGrpNum = 6,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_usVlan = 7,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_usPonVlan = 8,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_usVlanAct = 9,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_dsVlan = 10,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_dsUniVlan = 11,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_dsVlanAct = 12,
    OV_GPON_RMUNI_MCAST_ATTR_INDEX_MAX = 13,
};

// Of ov_gpon_rmuni_poe_attr_t.
enum : int32_t {
    OV_GPON_RMUNI_POE_ATTR_INDEX_onuIfindex = 0,
    OV_GPON_RMUNI_POE_ATTR_INDEX_uniPos = 1,
    OV_GPON_RMUNI_POE_ATTR_INDEX_poeAdminState = 2,
    OV_GPON_RMUNI_POE_ATTR_INDEX_powPairsContAbility = 3,
    OV_GPON_RMUNI_POE_ATTR_INDEX_powPairs = 4,
    OV_GPON_RMUNI_POE_ATTR_INDEX_detectionSta = 5,
    OV_GPON_RMUNI_POE_ATTR_INDEX_powPri = 6,
    OV_GPON_RMUNI_POE_ATTR_INDEX_mpsAbsentCount = 7,
    OV_GPON_RMUNI_POE_ATTR_INDEX_powClassification = 8,
    OV_GPON_RMUNI_POE_ATTR_INDEX_invalidSigCount = 9,
    OV_GPON_RMUNI_POE_ATTR_INDEX_powDeniedCount = 10,
    OV_GPON_RMUNI_POE_ATTR_INDEX_overLoadCount = 11,
    OV_GPON_RMUNI_POE_ATTR_INDEX_shortCount = 12,
    OV_GPON_RMUNI_POE_ATTR_INDEX_pseLldpReqPow = 13,
    OV_GPON_RMUNI_POE_ATTR_INDEX_pseConsumPow = 14,
    OV_GPON_RMUNI_POE_ATTR_INDEX_pseAllocatePow = 15,
    OV_GPON_RMUNI_POE_ATTR_INDEX_MAX = 16,
};

// Of ov_rm_voip_config_data_attr_t.
enum : int32_t {
    OV_RM_VOIP_CONFIG_DATA_INDEX_IFINDEX = 0,
    OV_RM_VOIP_CONFIG_DATA_INDEX_AVAISIGPROTOCOLS = 1,
    OV_RM_VOIP_CONFIG_DATA_INDEX_SIGPROTOCOLUSED = 2,
    OV_RM_VOIP_CONFIG_DATA_INDEX_AVAIVOIPCONFIGMETHODS = 3,
    OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPCONFIGMETHODUSED = 4,
    OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPCONFIGADDRESSPTR = 5,
    OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPCONFIGSTATE = 6,
    OV_RM_VOIP_CONFIG_DATA_INDEX_RETRIEVEPROFILE = 7,
    OV_RM_VOIP_CONFIG_DATA_INDEX_PROFILEVERSION = 8,
    OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPMACVLAN = 9,
    OV_RM_VOIP_CONFIG_DATA_INDEX_MAX = 10,
};

// Of ov_rm_voip_sip_user_data_attr_t.
enum : int32_t {
    OV_RM_VOIP_SIP_USER_DATA_INDEX_IFINDEX = 0,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_ONUCARDID = 1,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_ONUPORTTYPE = 2,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_ONUPORTID = 3,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_AGENTID = 4,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_USERAOR = 5,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_DISPLAYNAME = 6,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_USERNAME = 7,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_PASSWORD = 8,
    OV_RM_VOIP_SIP_USER_DATA_INDEX_MAX = 9,
};

// Of ov_rm_voip_line_status_attr_t.
enum : int32_t {
    OV_RM_VOIP_LINE_STATUS_INDEX_ifindex = 0,
    OV_RM_VOIP_LINE_STATUS_INDEX_uniPos = 1,
    OV_RM_VOIP_LINE_STATUS_INDEX_voipCodecUsed = 2,
    OV_RM_VOIP_LINE_STATUS_INDEX_voipVoiceSerStatus = 3,
    OV_RM_VOIP_LINE_STATUS_INDEX_voipPortSessionType = 4,
    OV_RM_VOIP_LINE_STATUS_INDEX_voipCall1PktPeriod = 5,
    OV_RM_VOIP_LINE_STATUS_INDEX_voipCall2PktPeriod = 6,
    OV_RM_VOIP_LINE_STATUS_INDEX_voipCall1DstAddr = 7,
    OV_RM_VOIP_LINE_STATUS_INDEX_voipCall2DstAddr = 8,
    OV_RM_VOIP_LINE_STATUS_INDEX_MAX = 9,
};
