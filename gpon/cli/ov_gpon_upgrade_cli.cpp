// Upgrades of ONUs in their steps: loaded, committed, activated, aborted, forgotten; by port and range, by
// equipment id, by file.
#include "ov_gpon_upgrade_cli.h"

#include <arpa/inet.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app_onu_ports.h"
#include "app_text.h"
#include "gpon_cli.h"
#include "gpon_cli_scope.h"
#include "gpon_waiting_command.h"
#include "kavo_cmd_rows.h"
#include "onu_read_pass.h"
#include "onu_update_action.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_app_gpon_rminfo.h"
#include "ov_gpon.h"
#include "ov_product_log.h"
#include "ov_product_onu_image.h"
#include "ov_refusal.h"
#include "sPonTable.h"

namespace {

using Port = ov_sOnuUpdateTable_attr_t;
using Network = ov_gpon_onu_network_upgrade_attr_t;
using Status = ov_sOnuUpdStatusTable_attr_t;
using Info = ov_sRmInfoTable_attr_t;
using Ports = std::vector<Port>;

constexpr char FILE_TOO_LONG[] = "%%version file name string too long %s";
constexpr char EQPTID_TOO_LONG[] = "%%eqptid string too long%s";

// ---- actions on ports ---------------------------------------------------------------------------------

// What is written to a port: an action, with a start the file, and the text of a port that can't.
struct Action {
    mib_long action;
    const char* failure;
    std::string file = {};
};

// A session and the command that runs there, for steps behind the handler.
struct Session {
    explicit Session(const CliCall& call) : vty(call.vty), command(&call.command) {}

    struct vty* vty;
    const kavo_cmd_t* command;

    CliCall call() const { return {vty, *command, CliWords(*command, {})}; } // without arguments
};

// What is written to the row of a port, with its columns.
Port row_with(const Port& port, const Action& what, MIB_Flags_t& columns) {
    using namespace sOnuUpdateTable_column;
    Port row = port;
    row.sOnuUpdateAction = what.action;
    columns = gpon_cli_columns({sOnuUpdateOnuMask, sOnuUpdateAction});
    if (what.action == SONUUPDATEACTION_START) {
        set_text(row.sOnuUpdateVersionName, what.file);
        mib_flag_set(columns, sOnuUpdateVersionName);
    }
    return row;
}

// A port behind the other, each with its card's answer. The others have their turn, whatever becomes of one.
class PortActions {
public:
    PortActions(const Session& session, Ports ports, Action what)
        : session_(session), ports_(std::move(ports)), what_(std::move(what)) {}

    GponStep step() {
        if (next_ == ports_.size())
            return GponStep::end(result_);
        if (!gpon_can_wait(session_.vty)) {
            MIB_Flags_t columns = {};
            Port row = row_with(ports_[next_], what_, columns);
            end_port(ov_app_gpon_pon_onu_update_edit(&row, &columns));
            return GponStep::more();
        }
        if (under_way_ == nullptr)
            begin_port();
        if (!under_way_->go_on())
            return GponStep::wait();
        end_port(std::exchange(under_way_, nullptr)->result());
        return GponStep::more();
    }

private:
    void begin_port() {
        MIB_Flags_t columns = {};
        const Port row = row_with(ports_[next_], what_, columns);
        under_way_ = OnuUpdateAction::begin(row, columns);
    }
    void end_port(int result) {
        ++next_;
        if (result != OV_GPON_RET_OK)
            result_ = session_.call().fail(what_.failure);
    }

    Session session_;
    Ports ports_;
    Action what_;
    size_t next_ = 0;
    std::shared_ptr<OnuUpdateAction> under_way_; // the action of the next port
    int result_ = 0;
};

gpon_step_t act_in_steps(const Session& session, Ports ports, Action what) {
    return [actions = PortActions(session, std::move(ports), std::move(what))]() mutable {
        return actions.step();
    };
}

// The same for a command with one port.
int act(const CliCall& call, const Port& port, const Action& what) {
    return gpon_run_in_steps(call.vty, act_in_steps(Session(call), {port}, what));
}

// ---- ONUs as they are now -----------------------------------------------------------------------------

// Reads a row of each ONU anew, and goes on when that is done with the steps that `choose` gives.
template <typename Row>
int when_read(const CliCall& call, OnuReadPass& pass, std::function<gpon_step_t()> choose) {
    if (!gpon_can_wait(call.vty)) {
        for (Row& row : rows_copied(Row{}, 0))
            mib_access(MIB_GET, row, gpon_cli_columns({1}));
        return gpon_run_in_steps(call.vty, choose());
    }
    const uint64_t reading = pass.begin();
    return gpon_run_in_steps(call.vty,
                             [&pass, reading, choose = std::move(choose), chosen = gpon_step_t()]() mutable {
                                 if (!pass.has_ended(reading))
                                     return GponStep::wait();
                                 if (!chosen)
                                     chosen = choose();
                                 return chosen();
                             });
}

Ports taken_from(ovralist_t& list) {
    Ports ports;
    for (size_t n = 0; n < ovralist_size(&list); ++n)
        ports.push_back(*static_cast<const Port*>(ovralist_findpos(&list, n)->data));
    return ports;
}

gpon_step_t ended(int result) {
    return [result] { return GponStep::end(result); };
}

// ---- by port and range --------------------------------------------------------------------------------

int act_on_range(const CliCall& call, const Action& what) {
    Port port = {};
    return gpon_upgrade_onus_of(call, port) ? act(call, port, what) : KAVO_CLI_BAD_INPUT;
}

int ov_remote_onu_upgrade_cli(CliCall& call) {
    const char* file = call.words.text("VERSIONFILE");
    Port port = {};
    if (!gpon_upgrade_word_fits(call, "VERSIONFILE", UPGRADE_FILE_MAX, FILE_TOO_LONG) ||
        !gpon_upgrade_onus_of(call, port))
        return KAVO_CLI_BAD_INPUT;
    if (!ov_product_onu_image_exists(file)) {
        ov_refusal_because("no firmware file \"%s\"", file);
        call.line("%%Failed to get filenme %s", file);
        return KAVO_CLI_BAD_INPUT;
    }
    return act(call, port, {SONUUPDATEACTION_START, "%%Failed to upgrade onu %s", file});
}

int ov_remote_onu_update_active_cli(CliCall& call) {
    return act_on_range(call, {SONUUPDATEACTION_ACTIVE, "%%Failed to activate onu verison %s"});
}

int ov_remote_onu_update_commit_cli(CliCall& call) {
    return act_on_range(call, {SONUUPDATEACTION_COMMIT, "%%Failed to commit onu version %s"});
}

int ov_remote_onu_update_abort_cli(CliCall& call) {
    return act_on_range(call, {SONUUPDATEACTION_ABORT, "%%Failed to Abort onu update Process %s"});
}

// ---- by equipment id ----------------------------------------------------------------------------------

gpon_step_t start_model(const Session& session, const std::string& file, const std::string& version,
                        const std::string& model) {
    ovralist_t list;
    const int onus = ov_app_gpon_rminfo_get_onu_update_list(version.c_str(), model.c_str(), &list);
    const Ports ports = taken_from(list);
    ov_app_gpon_rminfo_release_onu_update_list(&list);
    const CliCall call = session.call();
    if (onus <= 0 || ports.empty()) {
        ov_refusal_because("no ONU \"%s\" in operation that doesn't run \"%s\"", model.c_str(),
                           version.c_str());
        return ended(call.fail("%%No matched onu found %s"));
    }
    call.line("%%Collection %d ONU eqptid %s need update to %s ", onus, model.c_str(), version.c_str());
    return act_in_steps(session, ports, {SONUUPDATEACTION_START, "%%Failed to upgrade onu %s", file});
}

int ov_remote_onu_upgrade_eqptid_cli(CliCall& call) {
    if (!gpon_upgrade_word_fits(call, "eqptid", UPGRADE_EQPTID_MAX, EQPTID_TOO_LONG) ||
        !gpon_upgrade_word_fits(call, "version", UPGRADE_VERSION_MAX, "%%version string too long%s") ||
        !gpon_upgrade_word_fits(call, "file", UPGRADE_FILE_MAX, FILE_TOO_LONG))
        return KAVO_CLI_BAD_INPUT;
    return when_read<Info>(call, onu_info_pass(),
                           [session = Session(call), file = std::string(call.words.text("file")),
                            version = std::string(call.words.text("version")),
                            model = std::string(call.words.text("eqptid"))] {
                               return start_model(session, file, version, model);
                           });
}

// ---- by file ------------------------------------------------------------------------------------------

// The next step of the ONUs that are in a state of an upgrade with the file.
int act_on_state(const CliCall& call, mib_long state, const Action& what) {
    if (!gpon_upgrade_word_fits(call, "file", UPGRADE_FILE_MAX, FILE_TOO_LONG))
        return KAVO_CLI_BAD_INPUT;
    return when_read<Status>(
        call, onu_update_status_pass(),
        [session = Session(call), state, what, file = std::string(call.words.text("file"))] {
            ovralist_t list;
            const int onus = ov_app_gpon_get_onu_update_task_list(file.c_str(), &list, state);
            const Ports ports = taken_from(list);
            ov_app_gpon_release_onu_update_task_list(&list);
            session.call().line("%%Collection %d ONU version %s commited success ", onus, file.c_str());
            return act_in_steps(session, ports, what);
        });
}

// The ports whose row has the file.
int act_on_file(const CliCall& call, const Action& what, const char* nothing) {
    if (!gpon_upgrade_word_fits(call, "file", UPGRADE_FILE_MAX, FILE_TOO_LONG))
        return KAVO_CLI_BAD_INPUT;
    const std::string_view file = call.words.text("file");
    Ports ports;
    for (const Port& port : all_rows<Port>())
        if (file == port.sOnuUpdateVersionName)
            ports.push_back(port);
    if (!ports.empty())
        return gpon_run_in_steps(call.vty, act_in_steps(Session(call), ports, what));
    ov_refusal_because("no port was told to upgrade ONUs with \"%s\"", call.words.text("file"));
    return call.fail(nothing);
}

int ov_remote_onu_commit_eqptid_cli(CliCall& call) {
    return act_on_state(call, SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC,
                        {SONUUPDATEACTION_COMMIT, "%%Failed to commit onu %s"});
}

int ov_remote_onu_active_eqptid_cli(CliCall& call) {
    return act_on_state(call, SONUUPDSTATUSCURRSTATUS_COMMITOK,
                        {SONUUPDATEACTION_ACTIVE, "%%Failed to active onu %s"});
}

// Its text is that of an activation, for which scripts look.
int ov_remote_onu_abort_eqptid_cli(CliCall& call) {
    return act_on_file(call, {SONUUPDATEACTION_ABORT, "%%Failed to active onu %s"},
                       "%%Failed to active onu %s");
}

int ov_remote_onu_clear_eqptid_cli(CliCall& call) {
    return act_on_file(call, {SONUUPDATEACTION_NONE, "%%Failed to clear cpe onu update info %s"},
                       "%%Failed to clear cpe update info %s");
}

// ---- by themselves, and from a server -----------------------------------------------------------------

// Whether a choice differs from the one before, which it replaces.
bool is_chosen_anew(int on, int& setting) {
    return std::exchange(setting, on) != on;
}

int ov_remote_onu_upgrade_auto_mode_cli(CliCall& call) {
    const int commit = call.words.is_enable("auto-commit") ? 1 : 0;
    const int active = call.words.is_enable("auto-active") ? 1 : 0;
    if (is_chosen_anew(commit, g_onu_upgrade_cfg_auto_commit)) {
        call.line("%% %7s cpe update automatical commit", call.words.text("auto-commit"));
        ov_app_gpon_onu_upgrade_auto_commit_set(commit);
    }
    if (is_chosen_anew(active, g_onu_upgrade_cfg_auto_active)) {
        call.line("%% %7s cpe update automatical active", call.words.text("auto-active"));
        ov_app_gpon_onu_upgrade_auto_active_set(active);
    }
    return 0;
}

// A text that may fill its field.
template <size_t Size>
void fill_field(uint8_t (&field)[Size], const char* text) {
    std::memcpy(field, text, strnlen(text, Size));
}
template <size_t Size>
void fill_field(char (&field)[Size], const char* text) {
    std::memcpy(field, text, strnlen(text, Size));
}

bool fill_network(const CliCall& call, Network& record) {
    if (!gpon_upgrade_word_fits(call, "version", sizeof record.fileVer, "%%version string too long %s") ||
        !gpon_upgrade_word_fits(call, "file", sizeof record.filename, FILE_TOO_LONG) ||
        !gpon_upgrade_word_fits(call, "eqptid", sizeof record.eqptid, EQPTID_TOO_LONG))
        return false;
    in_addr server = {};
    if (inet_pton(AF_INET, call.words.text("serverip"), &server) != 1 || server.s_addr == INADDR_ANY) {
        ov_refusal_because("%s isn't the address of a server", call.words.text("serverip"));
        return call.fail("%%Inconsistent server ip address%s", 0) != 0;
    }
    record.enable = call.words.is_enable("upgrade") ? 1 : 0;
    record.serverip = ntohl(server.s_addr);
    record.filesize = call.words.number<uint32_t>("size");
    fill_field(record.filename, call.words.text("file"));
    fill_field(record.fileVer, call.words.text("version"));
    fill_field(record.eqptid, call.words.text("eqptid"));
    return true;
}

void tell_network(Network& record, const Port& port) {
    record.ifindex = port_ifindex_of(port);
    std::memcpy(record.onuMask, port.sOnuUpdateOnuMask, sizeof record.onuMask);
    if (ov_app_gpon_onu_network_upgrade_set(&record) != OV_GPON_RET_OK)
        OV_LOG_ERROR("MMG", "set onu network upgrade of gpon-olt%d/%d error", port.slotID, port.portID);
}

template <typename Row>
Port whole_port(const Row& of) {
    Port port = port_key<Port>(of);
    std::memset(port.sOnuUpdateOnuMask, 0xff, sizeof port.sOnuUpdateOnuMask);
    return port;
}

// It has always succeeded, whatever became of it.
int ov_remote_onu_network_upgrade_cli(CliCall& call) {
    Network record = {};
    if (!fill_network(call, record))
        return 0;
    if (call.words.has("onu-all")) {
        for (const ov_sPonTable_attr_t& port : all_rows<ov_sPonTable_attr_t>())
            tell_network(record, whole_port(port));
        return 0;
    }
    Port port = {};
    if (call.words.has("onu-range")) {
        if (gpon_upgrade_onus_of(call, port))
            tell_network(record, port);
        return 0;
    }
    gpon_cli_scope_t scope;
    if (gpon_cli_narrow_to_port(call, scope))
        tell_network(record, whole_port(port_key<Port>(scope.slot, scope.port)));
    return 0;
}

int debug_onu_upgrade_cli(CliCall& /*call*/) {
    ov_app_gpon_onu_upgrade_debug_set(1);
    return 0;
}

int no_debug_onu_upgrade_cli(CliCall& /*call*/) {
    ov_app_gpon_onu_upgrade_debug_set(0);
    return 0;
}

const kavo_cmd_t upgrade_cmds[] = {
#include "commands/upgrade.def"
};

} // namespace

bool gpon_upgrade_word_fits(const CliCall& call, const char* name, size_t longest, const char* too_long) {
    if (std::strlen(call.words.text(name)) <= longest)
        return true;
    call.fail_name(too_long, longest);
    return false;
}

bool gpon_upgrade_onus_of(const CliCall& call, ov_sOnuUpdateTable_attr_t& port) {
    gpon_cli_scope_t scope;
    if (!gpon_cli_narrow_to_port(call, scope))
        return false;
    port = port_key<Port>(scope.slot, scope.port);
    for (const char* range : call.words.all("onu-range")) {
        unsigned char first = 0;
        unsigned char last = 0;
        if (onuid_range_match(range, &first, &last) != 1) {
            ov_refusal_because("\"%s\" is no number or range of 1 to 128", range);
            call.line("%% Invalid onu id or range!");
            return false;
        }
        for (mib_long onu = first; onu <= last; ++onu)
            onu_mask_add(port.sOnuUpdateOnuMask, onu);
    }
    return true;
}

void gpon_upgrade_cli_init() {
    kavo_cmd_install(upgrade_cmds);
}
