#include "loop_vty.h"

#include <algorithm>

#include "cli_call.h"
#include "kavo_cmd.h"
#include "kavo_cmd_rows.h"
#include "kavo_loop.h"
#include "kavo_table.h"
#include "ov_local_time.h"

namespace {

constexpr kavo_column_t COLUMNS[] = {{"handler", -34}, {"runs", 10},       {"total us", 12},
                                     {"cpu us", 12},   {"longest us", 12}, {"longest cpu us", 14},
                                     {"when", -19},    {"armed at", -34},  {"doing", -1}};
constexpr kavo_table_style_t STYLE = {.gap = "  ", .trimmed = true};
constexpr size_t MOST_LINES = 20;

int show_loop(CliCall& call) {
    const kavo_table_t table(call.vty, COLUMNS, STYLE);
    table.heading();
    auto handlers = kavo_loop_handlers();
    handlers.resize(std::min(handlers.size(), MOST_LINES));
    for (const kavo_loop_handler_t& handler : handlers)
        table.row({handler.name, handler.runs, handler.total.count(), handler.cpu_total.count(),
                   handler.longest.count(), handler.cpu_longest.count(),
                   ov_local_time_text(handler.longest_at), handler.armed_at, handler.doing});
    table.line("%u runs held the loop for more than %ld ms", kavo_loop_slow_runs(),
               static_cast<long>(KAVO_LOOP_SLOW.count()));
    return 0;
}

const kavo_cmd_t loop_cmds[] = {
#include "commands/loop.def"
};

} // namespace

void loop_vty_init() {
    kavo_cmd_install(loop_cmds);
}
