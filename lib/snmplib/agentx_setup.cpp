#include "agentx_setup.h"

#include <syslog.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "agentx_link.h"
#include "ov_product_log.h"
#include "snmp_agent_library.h"

namespace {

// Chooses the library's configuration files.
constexpr char APPLICATION[] = "quagga";
constexpr char CONFIGURATION_DIR[] = "/etc/snmp";
constexpr char SCRATCH_DIR[] = "/var/run/product/snmp"; // an empty index of certificates; may be missing

int level_of(int priority) {
    switch (priority) {
    case LOG_EMERG:
    case LOG_ALERT:
    case LOG_CRIT:
    case LOG_ERR:
        return OV_LOG_LVL_ERROR;
    case LOG_WARNING:
        return OV_LOG_LVL_WARN;
    case LOG_NOTICE:
        return OV_LOG_LVL_NOTICE;
    case LOG_INFO:
        return OV_LOG_LVL_INFO;
    default:
        return OV_LOG_LVL_DEBUG;
    }
}

// A line of the library's own log. The same line again and again, as of a master that stays away, is said
// once.
int log_library_line(int /*major*/, int /*minor*/, void* message, void* /*arg*/) {
    static std::string last;
    const auto* line = static_cast<const snmp_log_message*>(message);
    std::string text(line->msg, strcspn(line->msg, "\r\n"));
    if (text.empty() || text == last)
        return 0;
    last = std::move(text);
    OV_APP_LOG(level_of(line->priority), "SNMP", "%s", last.c_str());
    return 0;
}

void set_library_flag(int which) {
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, which, 1);
}

// The daemon keeps no state for the library and must not depend on the home of whoever starts it: no
// persistent files, no MIB modules, configuration from one place only.
void keep_library_off_files() {
    set_library_flag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD);
    set_library_flag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE);
    set_configuration_directory(CONFIGURATION_DIR);
    set_persistent_directory(SCRATCH_DIR);
    netsnmp_set_mib_directory("");
}

// The library loads a list of MIB modules of its own, and complains of each that isn't installed, unless the
// environment names none. Only during its initialisation: it isn't ours to say for processes that we start.
class WithoutMibModules {
public:
    WithoutMibModules() : is_set_(getenv(NAME) == nullptr && setenv(NAME, "", 0) == 0) {}
    ~WithoutMibModules() {
        if (is_set_)
            unsetenv(NAME);
    }
    WithoutMibModules(const WithoutMibModules&) = delete;
    WithoutMibModules& operator=(const WithoutMibModules&) = delete;

private:
    static constexpr char NAME[] = "MIBS";
    bool is_set_;
};

// How often the library looks after the master; its configuration may say otherwise. It needn't say that
// there is none.
void set_contact() {
    netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, AGENTX_PING_SECONDS);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS, 1);
}

} // namespace

void agentx_setup_library() {
    netsnmp_enable_subagent();
    snmp_disable_log();
    snmp_enable_calllog();
    snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, log_library_line, nullptr);
    // The crash handler owns SIGALRM, and alarms are to run between other events, not within them.
    set_library_flag(NETSNMP_DS_LIB_ALARM_DONT_USE_SIG);
    keep_library_off_files();
    const WithoutMibModules no_modules;

    init_agent(APPLICATION);
    agentx_link_init();
    set_contact();
    agentx_start_library();
}

void agentx_start_library() {
    init_snmp(APPLICATION);
}
