#include "product_facts.h"

namespace {

constexpr ProductFact FACTS[] = {
    // product
    {"PDT_INFO_ENTERPRISE_ID", "47281"},
    {"PDT_INFO_PDT_DESC", "Simulated optical line terminal"},
    {"PDT_INFO_PDT_MODEL", "QRX4100"},
    {"PDT_INFO_PDT_NAME", "QRX4100"},
    {"PDT_INFO_VENDER_CONTACT", "nobody"},
    {"PDT_INFO_VENDER_COPYRIGHT", "none"},
    {"PDT_INFO_VENDER_HW_VER", "1.0"},
    {"PDT_INFO_VENDER_LOCATION", "nowhere"},
    {"PDT_INFO_VENDER_PDT_NAME", "Simulated chassis"},
    {"PDT_INFO_VENDER_SW_VER", "1.0"},
    // shelf
    {"PDT_INFO_SHELF_ID", "1"},
    {"PDT_INFO_SHELF_NAME", "shelf-1"},
    // this board
    {"PDT_INFO_CARD_CPLD", "1"},
    {"PDT_INFO_CARD_GPON_CHIP", "simulated"},
    {"PDT_INFO_CARD_HW", "1.0"},
    {"PDT_INFO_CARD_LABEL", "control"},
    {"PDT_INFO_CARD_MAC", "02:00:00:00:00:01"},
    {"PDT_INFO_CARD_NAME", "control card"},
    {"PDT_INFO_CARD_PN", "SIM-CARD"},
    {"PDT_INFO_CARD_SN", "SIM000000000"},
    {"PDT_INFO_CARD_SWITCH_CHIP", "simulated"},
    {"PDT_INFO_CARD_TYPE", "1"},
    {"PDT_INFO_CARD_WORKING_RULE", "1"},
    {"qcx9_self", "127.0.0.1"},
    // the running load
    {"PDT_INFO_APP_BOOT_REASON", "0"},
    {"PDT_INFO_APP_BOOT_REASON_STR", "power on"},
    {"PDT_INFO_RUN_LOAD_FILENAME", "load.img"},
    {"OV_APP_FLAG_FILE_HA_RECOVERY", "/tmp/product/ha_recovery"},
    // boot loader and kernel
    {"BSP_UBOOT_INFO", "simulated"},
    {"BSP_UBOOT_VER", "1.0"},
    {"BSP_RCW_INFO_00", "0"},
    {"BSP_RCW_INFO_10", "0"},
    {"BSP_RCW_INFO_20", "0"},
    {"BSP_RCW_INFO_30", "0"},
    {"BSP_RCW_MD5SUM", "0"},
    {"BSP_DTB_INFO", "simulated"},
    {"BSP_DTB_VER", "1.0"},
    {"BSP_KERNEL_INFO", "simulated"},
    {"BSP_KERNEL_VER", "1.0"},
    {"BSP_ROOTFS_INFO", "simulated"},
    {"BSP_ROOTFS_VER", "1.0"},
    // management ports
    {"MGMT_CTRL_PORT_DEF_IP", "127.0.0.1"},
    {"MGMT_CTRL_PORT_DEV_NAME", "lo"},
    {"MGMT_CTRL_PORT_GW_IP", "127.0.0.1"},
    {"MGMT_CTRL_PORT_IP", "127.0.0.1"},
    {"MGMT_CTRL_PORT_NAME", "ctrl"},
    {"MGMT_DIAG_PORT_DEF_IP", "127.0.0.1"},
    {"MGMT_DIAG_PORT_DEV_NAME", "lo"},
    {"MGMT_DIAG_PORT_IP", "127.0.0.1"},
    {"MGMT_DIAG_PORT_NAME", "diag"},
    {"MGMT_PORT_CFG_FILE", "/flash/mgmt-port.conf"},
};

} // namespace

std::span<const ProductFact> product_facts() {
    return FACTS;
}
