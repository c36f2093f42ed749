#include "refused_vty.h"

#include <algorithm>
#include <array>
#include <string>

#include "cli_call.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_local_time.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_refused_ring.h"
#include "ov_shown_text.h"

namespace {

constexpr kavo_table_style_t STYLE = {.gap = "  ", .trimmed = true};

// ---- the list ---------------------------------------------------------------------------------------------

constexpr int REQUEST_WIDTH = 44;
constexpr kavo_column_t LIST[] = {
    {"number", 10}, {"at", -19}, {"door", -10}, {"on", -18}, {"request", -REQUEST_WIDTH}, {"reason", -1}};

// What doesn't fit is told by the number.
std::string shortened(const std::string& text) {
    constexpr std::string_view CUT = "...";
    if (ov_shown_width(text) <= REQUEST_WIDTH)
        return text.empty() ? "-" : text;
    return std::string(ov_shown_beginning(text, REQUEST_WIDTH - CUT.size())) + std::string(CUT);
}

std::string text_or_dash(const std::string& text) {
    return text.empty() ? "-" : text;
}

int show_refused(CliCall& call) {
    const kavo_table_t table(call.vty, LIST, STYLE);
    table.heading();
    const auto all = ov_refused_list();
    for (const ov_refused_t& each : all)
        table.row({each.number, ov_local_time_text(each.at), each.door, text_or_dash(each.who),
                   shortened(each.what), each.reason});
    table.line("total %zu", all.size());
    return 0;
}

// ---- one --------------------------------------------------------------------------------------------------

constexpr kavo_column_t ITEMS[] = {{"item", -11}, {"value", -1}};

const char* level_word(int level) {
    if (level >= OV_LOG_LVL_FATAL)
        return "fatal";
    if (level >= OV_LOG_LVL_ERROR)
        return "error";
    return level >= OV_LOG_LVL_WARN ? "warn" : "notice";
}

std::string line_text(const ov_refused_line_t& line) {
    return std::string(level_word(line.level)) + "/" + std::to_string(line.level) + " [" + line.module +
           "] " + line.text;
}

void print_lines(const kavo_table_t& table, const ov_refused_t& refused) {
    for (const ov_refused_line_t& line : refused.lines)
        table.row({"log", line_text(line)});
    if (refused.lines_left_out != 0)
        table.row({"log", "and " + std::to_string(refused.lines_left_out) + " lines more"});
}

void print(const kavo_table_t& table, const ov_refused_t& refused) {
    table.row({"number", refused.number});
    table.row({"at", ov_local_time_text(refused.at)});
    table.row({"door", refused.door});
    const std::pair<const char*, const std::string&> texts[] = {
        {"on", refused.who},           {"request", refused.what}, {"result", refused.result},
        {"application", refused.code}, {"row", refused.row},      {"reason", refused.reason}};
    for (const auto& [item, text] : texts)
        if (!text.empty() && text != "-")
            table.row({item, text});
    print_lines(table, refused);
}

bool is_somebodys(const ov_refused_t& refused) {
    return refused.door == "vty" || refused.door == "snmp" || refused.door == "action";
}

std::optional<ov_refused_t> last_of_somebody() {
    const auto all = ov_refused_list();
    const auto found = std::find_if(all.rbegin(), all.rend(), is_somebodys);
    return found != all.rend() ? std::optional(*found) : std::nullopt;
}

int show_refused_one(CliCall& call) {
    const bool last = call.words.has("last");
    const auto refused = last ? last_of_somebody() : ov_refused_find(call.words.number<uint32_t>("refused"));
    if (!refused) {
        if (last)
            ov_refusal_because("no operator, manager or action was refused anything since the start");
        else
            ov_refusal_because("show refused lists those that are kept, the last hundred of each door");
        call.line("%% no such request is kept");
        return KAVO_CLI_FAILED;
    }
    print(kavo_table_t(call.vty, ITEMS, STYLE), *refused);
    return 0;
}

const kavo_cmd_t refused_cmds[] = {
#include "commands/refused.def"
};

} // namespace

void refused_vty_init() {
    kavo_cmd_install(refused_cmds);
}
