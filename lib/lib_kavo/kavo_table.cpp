#include "kavo_table.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "kavo_cmd_rows.h"
#include "ov_refusal.h"
#include "ov_shown_text.h"
#include "ov_types.h"

namespace {

kavo_table_watch_t g_watch = nullptr;

// The session whose command is run as "json COMMAND" at present.
const struct vty* g_json_session = nullptr;

std::string json_text(std::string_view text) {
    std::string quoted = "\"";
    for (size_t length = 0; !text.empty(); text.remove_prefix(std::max<size_t>(length, 1))) {
        std::array<char, 8> escape{};
        length = ov_shown_length(text);
        if (text[0] == '"' || text[0] == '\\')
            quoted += std::string{'\\', text[0]};
        else if (length > 0)
            quoted += text.substr(0, length);
        else // a byte of another character set, or a control character
            quoted.append(escape.data(),
                          static_cast<size_t>(snprintf(escape.data(), escape.size(), "\\u%04x",
                                                       unsigned{static_cast<unsigned char>(text[0])})));
    }
    return quoted + '"';
}

std::string json_name(const kavo_column_t& column) {
    std::string name(column.json != nullptr ? column.json : column.name);
    std::replace(name.begin(), name.end(), ' ', '_');
    return json_text(name);
}

std::string json_value(const kavo_cell_t& cell) {
    if (cell.is_number())
        return cell.text();
    return cell.text().empty() || cell.text() == "-" ? "null" : json_text(cell.text());
}

bool is_short_for(std::string_view word, std::string_view keyword, size_t least) {
    return word.size() >= least && keyword.starts_with(word);
}

// .COMMAND
int show_as_json(CliCall& call) {
    std::string line;
    for (const char* word : call.words.all("COMMAND"))
        line += (line.empty() ? "" : " ") + std::string(word);
    if (!is_short_for(call.words.text("COMMAND"), "show", 2)) {
        ov_refusal_because("json takes a command that begins with show");
        call.line("%% json takes a command that begins with show");
        return KAVO_CLI_BAD_INPUT;
    }
    g_json_session = call.vty;
    const int result = cmd_execute(call.vty, line.c_str(), nullptr, 0);
    g_json_session = nullptr;
    if (result == CMD_ERR_NO_MATCH || result == CMD_ERR_AMBIGUOUS || result == CMD_ERR_INCOMPLETE) {
        ov_refusal_because("no command \"%s\"", line.c_str());
        call.line("%% Unknown command: %s", line.c_str());
    }
    return result;
}

const kavo_cmd_t table_cmds[] = {
#include "kavo_table_vty.def"
};

} // namespace

kavo_table_t::kavo_table_t(struct vty* vty, std::span<const kavo_column_t> columns, kavo_table_style_t style)
    : vty_(vty), columns_(columns), style_(style), json_(vty != nullptr && vty == g_json_session) {}

void kavo_table_t::heading() const {
    if (json_)
        return;
    std::vector<kavo_cell_t> names;
    for (const kavo_column_t& column : columns_)
        names.emplace_back(column.name);
    text_row(names);
}

void kavo_table_t::rule() const {
    size_t width = 0;
    for (const kavo_column_t& column : columns_)
        width += std::max(std::string_view(column.name).size(), static_cast<size_t>(std::abs(column.width))) +
                 (width > 0 ? std::string_view(style_.gap).size() : 0);
    line("%s%s", style_.margin, std::string(width, '-').c_str());
}

void kavo_table_t::row(std::initializer_list<kavo_cell_t> cells) const {
    row(std::span(cells.begin(), cells.size()));
}

void kavo_table_t::row(std::span<const kavo_cell_t> cells) const {
    if (json_)
        json_row(cells);
    else
        text_row(cells);
}

void kavo_table_set_watch(kavo_table_watch_t watch) {
    g_watch = watch;
}

void kavo_table_t::text_row(std::span<const kavo_cell_t> cells) const {
    if (g_watch != nullptr)
        g_watch(columns_, cells);
    std::string text = style_.margin;
    for (size_t i = 0; i < cells.size() && i < columns_.size(); i++) {
        const std::string& cell = cells[i].text();
        const int width = columns_[i].width;
        const std::string padding(
            static_cast<size_t>(std::max(0, std::abs(width) - static_cast<int>(ov_shown_width(cell)))), ' ');
        text += (i > 0 ? style_.gap : "") + std::string(static_cast<size_t>(columns_[i].indent), ' ') +
                (width < 0 ? cell + padding : padding + cell);
    }
    if (style_.trimmed)
        text.erase(text.find_last_not_of(' ') + 1);
    vty_out(vty_, "%s%s", text.c_str(), kavo_newline(vty_));
}

void kavo_table_t::json_row(std::span<const kavo_cell_t> cells) const {
    std::string text = "{";
    for (size_t i = 0; i < cells.size() && i < columns_.size(); i++)
        text += (i > 0 ? "," : "") + json_name(columns_[i]) + ":" + json_value(cells[i]);
    vty_out(vty_, "%s}%s", text.c_str(), kavo_newline(vty_));
}

void kavo_table_t::line(const char* format, ...) const {
    if (json_)
        return;
    std::array<char, 512> text{};
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    vty_out(vty_, "%s%s", text.data(), kavo_newline(vty_));
}

void kavo_table_vty_init() {
    kavo_cmd_install(table_cmds);
}
