#include "mib_inspect_vty.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "kavo_cmd_rows.h"
#include "mmg_definition.h"
#include "mmg_internal.h"
#include "ov_refusal.h"
#include "ov_types.h"
#include "table_module.h"

namespace {

constexpr int LISTED_ROWS_MAX = 100;

// The registry's entry of a name as "show mib table" lists it, null for none.
const MIBDid_t* find_listed(const char* name) {
    const auto* end = std::cend(_sDid_Array);
    const auto* found = std::find_if(std::cbegin(_sDid_Array), end, [name](const MIBDid_t& did) {
        return did.table_name != nullptr && strcmp(did.table_name, name) == 0;
    });
    return found != end ? found : nullptr;
}

// The module of a table that has rows here, by its own name or by that of the list. Null behind a line that
// says why there is none, with the command's result: bad input for an unknown name, 0 for a table that is
// merely listed.
TableModule* find_or_tell(const CliCall& call, int& result) {
    const char* name = call.words.text("table");
    const MIBDid_t* listed = find_listed(name);
    TableModule* module = listed != nullptr ? table_module_find(listed->index) : table_module_find(name);
    result = 0;
    if (module != nullptr && module->registered())
        return module;
    if (listed != nullptr) {
        call.line("  %s, index %d, has no rows here", name, listed->index);
        return nullptr;
    }
    ov_refusal_because("no table \"%s\"", name);
    call.line("%% no table %s", name);
    result = KAVO_CLI_BAD_INPUT;
    return nullptr;
}

// Prints a text of several lines with the session's line ends.
void print_lines(const CliCall& call, std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        call.line("%.*s", static_cast<int>(line.size()), line.data());
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

// An index value as typed: decimal, with a sign for signed columns. False for anything else.
bool read_index(const char* word, uint32_t& value) {
    const char* end = word + strlen(word);
    int64_t number = 0;
    const auto [stop, error] = std::from_chars(word, end, number);
    if (error != std::errc() || stop != end || number < INT32_MIN || number > UINT32_MAX)
        return false;
    value = static_cast<uint32_t>(number);
    return true;
}

int show_mib_one_table(CliCall& call) {
    int result = 0;
    const TableModule* module = find_or_tell(call, result);
    if (module == nullptr)
        return result;
    const TableDesc& desc = module->desc();
    call.line("  %s, index %d, %d rows of %u bytes", desc.name, desc.registry_index, module->row_count(),
              unsigned{desc.entry_size});
    call.line("  file %s%s", module->path(), module->changed() ? ", changed since it was loaded" : "");
    call.out("  key");
    for (const ColumnDesc& column : desc.index)
        call.out(" %s", column.name);
    call.line("%s", "");
    return 0;
}

int show_mib_rows(CliCall& call) {
    int result = 0;
    const TableModule* module = find_or_tell(call, result);
    if (module == nullptr)
        return result;
    int listed = 0;
    for (void* row = get_table_head(module->did()); row != nullptr; row = row_getNext(module->did(), row)) {
        if (listed++ == LISTED_ROWS_MAX) {
            call.line("  ...");
            break;
        }
        char text[TableModule::MAX_INDEX_TEXT];
        call.line("  %s", module->index_string(row, text, sizeof(text)));
    }
    call.line("  total %d rows", module->row_count());
    return 0;
}

int show_mib_row(CliCall& call) {
    int result = 0;
    const TableModule* module = find_or_tell(call, result);
    if (module == nullptr)
        return result;
    std::vector<uint32_t> index;
    for (const char* word : call.words.all("INDEX")) {
        if (read_index(word, index.emplace_back()))
            continue;
        ov_refusal_because("\"%s\" isn't a number", word);
        call.line("%% %s isn't a number", word);
        return KAVO_CLI_BAD_INPUT;
    }
    const std::string text = module->row_text(index);
    if (text.empty()) {
        ov_refusal_because("%s has no such row", module->name());
        call.line("%% no such row");
        return KAVO_CLI_FAILED;
    }
    print_lines(call, text);
    return 0;
}

const kavo_cmd_t inspect_cmds[] = {
#include "commands/mib_inspect.def"
};

} // namespace

void mib_inspect_vty_init() {
    kavo_cmd_install(inspect_cmds);
}
