#include "ov_app_gpon_action_transfer.h"

#include <string>

#include "mmg_mib_save_task.h"
#include "ov_app_gpon_action_type.h"
#include "ov_file.h"
#include "ov_product_load.h"
#include "ov_product_log.h"
#include "ov_product_transfer.h"

namespace {

constexpr char LOG_TAG[] = "MMG";
constexpr char DIAGNOSTICS_DIR[] = "/app/tmplog";
constexpr int TOO_MANY_ONU_VERSIONS = OV_ONU_VERSION_MAX;

struct CounterFile {
    const char* name;
    const char* suffix;
};
// Each holds the last quarter of an hour.
constexpr CounterFile COUNTER_FILES[] = {
    {"sRmUniPmTable.mib", "_UNI"}, {"ponPmTable.mib", "_PON"},    {"onuPmTable.mib", "_ONU"},
    {"gemPmTable.mib", "_GEM"},    {"ponnniPmTable.mib", "_NNI"}, {"uplinkPmTable.mib", "_ULK"},
};

int download_onu_version(const ActionRow& row) {
    const std::string directory = ov_product_onu_version_dir();
    const std::string name = ov_file_bare_name(row.sActionParam3);
    const std::string target = directory + "/" + name;
    if (ov_product_onu_version_count() >= TOO_MANY_ONU_VERSIONS) {
        OV_LOG_ERROR(LOG_TAG, "maximum onu file number reached");
        return 1;
    }
    if (is_file_exist(target.c_str()) ||
        ov_product_onu_tftp_update_port(row.sActionParam1, row.sActionParam2, row.sActionParam3) != 0)
        return 1;
    const std::string fetched = std::string(OV_STAGING_DIR) + "/" + name;
    ov_directory_make(directory);
    ov_product_mv_file(fetched.c_str(), directory.c_str());
    return is_file_exist(target.c_str()) ? 0 : 1;
}

} // namespace

std::string action_mib_file(const std::string& name) {
    const std::string directory = mmg_mib_data_dir();
    return directory == MMG_MIB_DATA_DIR ? directory + name : directory + "/" + name;
}

int upload_pm(const ActionRow* pmib_attr, const char* mib_file_name, const char* suffix) {
    const OvTftpServer server = {pmib_attr->sActionParam1, pmib_attr->sActionParam2};
    const std::string file = action_mib_file(mib_file_name);
    if (ov_product_tftp_put(server, file, std::string(pmib_attr->sActionParam3) + suffix) == 0)
        return 0;
    OV_LOG_ERROR(LOG_TAG, "Failed to upload tftp -l %s -r %s%s -p %s %s ", file.c_str(),
                 pmib_attr->sActionParam3, suffix, server.host, server.port);
    OV_LOG_ERROR(LOG_TAG, "upload_pm %s fail", mib_file_name);
    return 1;
}

int action_upload_pm(ActionWork& work) {
    for (const CounterFile& file : COUNTER_FILES)
        if (upload_pm(&work.row, file.name, file.suffix) != 0)
            return 1;
    return 0;
}

int action_upload_config(ActionWork& work) {
    return ov_product_transmit_config_by_tftp(1, work.row.sActionParam1, work.row.sActionParam2,
                                              work.row.sActionParam3);
}

int action_download_config(ActionWork& work) {
    return ov_product_transmit_config_by_tftp(0, work.row.sActionParam1, work.row.sActionParam2,
                                              work.row.sActionParam3);
}

int action_upgrade(ActionWork& work) {
    const ActionRow& row = work.row;
    int result = ov_product_get_load_from_tftp(row.sActionParam1, row.sActionParam2, row.sActionParam3);
    if (result == OV_LOAD_OK)
        result = ov_product_upgrade_load(row.sActionParam3);
    if (result != 0)
        OV_LOG_ERROR(LOG_TAG, "Failed to upgrade load ip %s port %s file %s", row.sActionParam1,
                     row.sActionParam2, row.sActionParam3);
    return result;
}

int action_send_diagnostics(ActionWork& work) {
    return ov_product_transmit_log_by_tftp(work.row.sActionParam1, work.row.sActionParam2, DIAGNOSTICS_DIR,
                                           work.row.sActionParam3);
}

int action_fetch_onu_version(ActionWork& work) {
    return download_onu_version(work.row);
}
