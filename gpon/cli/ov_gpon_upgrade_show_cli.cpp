// How far upgrades of ONUs are, and what their two software images hold.
#include <array>
#include <memory>
#include <string>

#include "app_text.h"
#include "gpon_cli.h"
#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "gpon_waiting_command.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "onu_read_pass.h"
#include "ov_gpon_upgrade_cli.h"
#include "ov_refusal.h"
#include "sOnuUpdStatusTable.h"
#include "sRmInfoTable.h"

namespace {

using Status = ov_sOnuUpdStatusTable_attr_t;
using Info = ov_sRmInfoTable_attr_t;
using namespace sOnuUpdStatusTable_column;

// ---- texts ------------------------------------------------------------------------------------------------

// With their blanks, for which scripts look.
constexpr std::array<const char*, 14> STATES = {
    " NULL ",       " DOWNLOAD ",     " DOWNLOADING ",   " ONUWRITING ",      " DOWNLOADSUC ",
    " COMMIT ",     " COMMITOK ",     " COMMITFAIL ",    " ACTIVE ",          " ACTIVEOK ",
    " ACTIVEFAIL ", " DOWNLOADFAIL ", " DOWNLOADABORT ", " DOWNLOADWAITING ",
};

const char* state_text(mib_long state) {
    const auto number = static_cast<size_t>(state);
    return state >= 0 && number < STATES.size() ? STATES[number] : "UNKNOWN ERROR";
}

std::string place(const Status& row) {
    return std::to_string(row.slotID) + "/" + std::to_string(row.portID) + ":" + std::to_string(row.onuId);
}

int percent(const Status& row) {
    const int64_t sent = row.sOnuUpdStatusTxSize;
    const int64_t size = row.sOnuUpdStatusVerSize;
    return size > 0 && sent >= 0 ? static_cast<int>(std::min<int64_t>(100, sent * 100 / size)) : 0;
}

constexpr kavo_column_t STATUS_COLUMNS[] = {{"onu", -10}, {"file", -63},  {"size", 10},
                                            {"sent", 10}, {"percent", 7}, {"status", -17}};

void print_status_head(const kavo_table_t& table) {
    table.line("%s", "");
    table.heading();
    table.rule();
}

void print_status(const kavo_table_t& table, const Status& row) {
    table.row({place(row), gpon_cli_shown(row.sOnuUpdStatusVerName), row.sOnuUpdStatusVerSize,
               row.sOnuUpdStatusTxSize, percent(row), state_text(row.sOnuUpdStatusCurrStatus)});
}

// ---- many -------------------------------------------------------------------------------------------------

// Which rows a show has.
using Wanted = std::function<bool(const Status& row)>;

// What the cards say now of a row, in a session that can't wait for all of them together.
template <typename Row>
void read_row(const Row& row) {
    Row fresh = onu_key<Row>(row);
    mib_access(MIB_GET, fresh, gpon_cli_columns({1}));
}

bool is_of_model(const Status& status, const std::string& model) {
    const Info* info = find_row(onu_key<Info>(status));
    return info != nullptr && model == info->sRmInfoTableEqptID;
}

// Prints the rows that are wanted in steps, and behind them their number.
gpon_step_t print_in_steps(const kavo_table_t& table, Wanted wanted) {
    auto steps = std::make_shared<gpon_row_steps<Status>>(Status{}, 0);
    return [table, steps, wanted = std::move(wanted), count = 0]() mutable {
        const auto print = [&](const Status& row) {
            if (!wanted(row))
                return;
            print_status(table, row);
            ++count;
        };
        if (steps->step(print))
            return GponStep::more();
        table.line("total %d", count);
        return GponStep::end(0);
    };
}

// First the cards are asked, all of them together, then the rows are printed.
int show_all(const CliCall& call, Wanted wanted, bool asks_for_models) {
    const kavo_table_t table(call.vty, STATUS_COLUMNS, {.trimmed = true});
    print_status_head(table);
    gpon_step_t print = print_in_steps(table, std::move(wanted));
    if (!gpon_can_wait(call.vty)) {
        for (const Status& row : rows_copied(Status{}, 0)) {
            read_row(row);
            if (asks_for_models)
                read_row(onu_key<Info>(row));
        }
        return gpon_run_in_steps(call.vty, std::move(print));
    }
    const uint64_t states = onu_update_status_pass().begin();
    const uint64_t models = asks_for_models ? onu_info_pass().begin() : 0;
    return gpon_run_in_steps(call.vty, [=] {
        if (!onu_update_status_pass().has_ended(states) || !onu_info_pass().has_ended(models))
            return GponStep::wait();
        return print();
    });
}

// ---- one --------------------------------------------------------------------------------------------------

// The ONU that a command names, with this column and what is read with it. False behind a line.
bool read_named(const CliCall& call, unsigned column, const char* failure, Status& row, int& result) {
    gpon_cli_scope_t scope;
    result = KAVO_CLI_BAD_INPUT;
    if (!gpon_cli_narrow_to_port(call, scope))
        return false;
    row = onu_key<Status>(scope.slot, scope.port, call.words.number<mib_long>("onuid"));
    if (find_row(row) == nullptr)
        ov_refusal_because("no ONU %d", row.onuId);
    else if (mib_access(MIB_GET, row, gpon_cli_columns({column})))
        return true;
    result = call.fail(failure);
    return false;
}

const char* yes(mib_long value) {
    return value != 0 ? "yes" : "no";
}

constexpr kavo_column_t IMAGE_COLUMNS[] = {{"onu", -10},     {"product code", -26}, {"image", 5},
                                           {"version", -14}, {"valid", -5},         {"active", -6},
                                           {"committed", -9}};

} // namespace

int ov_show_remote_onu_upgrade_status_version_cli(CliCall& call) {
    return show_all(
        call,
        [file = std::string(call.words.text("file"))](const Status& row) {
            return file == row.sOnuUpdStatusVerName;
        },
        false);
}

int ov_show_remote_onu_upgrade_status_all_cli(CliCall& call) {
    return show_all(
        call, [](const Status& /*row*/) { return true; }, false);
}

int ov_show_remote_onu_upgrade_status_eqptid_cli(CliCall& call) {
    return show_all(
        call,
        [model = std::string(call.words.text("eqptid"))](const Status& row) {
            return is_of_model(row, model);
        },
        true);
}

int ov_show_remote_onu_upgrade_status_cli(CliCall& call) {
    Status row;
    int result = 0;
    if (!read_named(call, sOnuUpdStatusVerName, "%%Fail to get onu update status%s", row, result))
        return result;
    const kavo_table_t table(call.vty, STATUS_COLUMNS, {.trimmed = true});
    print_status_head(table);
    print_status(table, row);
    return 0;
}

int ov_show_remote_onu_img_info_cli(CliCall& call) {
    Status row;
    int result = 0;
    if (!read_named(call, sOnuUpdInfoProCode, "%%Fail to get onu cpe information%s", row, result))
        return result;
    const kavo_table_t table(call.vty, IMAGE_COLUMNS, {.trimmed = true});
    print_status_head(table);
    const std::string code = gpon_cli_shown(row.sOnuUpdInfoProCode);
    table.row({place(row), code, 0, gpon_cli_shown(row.sOnuUpdInfo0VerName), yes(row.sOnuUpdInfo0isValid),
               yes(row.sOnuUpdInfo0isActived), yes(row.sOnuUpdInfo0isCommited)});
    table.row({place(row), code, 1, gpon_cli_shown(row.sOnuUpdInfo1VerName), yes(row.sOnuUpdInfo1isValid),
               yes(row.sOnuUpdInfo1isActived), yes(row.sOnuUpdInfo1isCommited)});
    return 0;
}
