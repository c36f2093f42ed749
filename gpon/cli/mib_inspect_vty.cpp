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
TableModule* find_or_tell(struct vty* vty, const char* name, int& result) {
    const MIBDid_t* listed = find_listed(name);
    TableModule* module = listed != nullptr ? table_module_find(listed->index) : table_module_find(name);
    result = 0;
    if (module != nullptr && module->registered())
        return module;
    if (listed != nullptr) {
        vty_out(vty, "  %s, index %d, has no rows here%s", name, listed->index, kavo_newline(vty));
        return nullptr;
    }
    ov_refusal_because("no table \"%s\"", name);
    vty_out(vty, "%% no table %s%s", name, kavo_newline(vty));
    result = KAVO_CLI_BAD_INPUT;
    return nullptr;
}

// Prints a text of several lines with the session's line ends.
void print_lines(struct vty* vty, std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        vty_out(vty, "%.*s%s", static_cast<int>(line.size()), line.data(), kavo_newline(vty));
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

int show_mib_one_table(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    int result = 0;
    const TableModule* module = find_or_tell(vty, argv[0], result);
    if (module == nullptr)
        return result;
    const TableDesc& desc = module->desc();
    const char* nl = kavo_newline(vty);
    vty_out(vty, "  %s, index %d, %d rows of %u bytes%s", desc.name, desc.registry_index, module->row_count(),
            unsigned{desc.entry_size}, nl);
    vty_out(vty, "  file %s%s%s", module->path(), module->changed() ? ", changed since it was loaded" : "",
            nl);
    vty_out(vty, "  key");
    for (const ColumnDesc& column : desc.index)
        vty_out(vty, " %s", column.name);
    vty_out(vty, "%s", nl);
    return 0;
}

int show_mib_rows(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    int result = 0;
    const TableModule* module = find_or_tell(vty, argv[0], result);
    if (module == nullptr)
        return result;
    const char* nl = kavo_newline(vty);
    int listed = 0;
    for (void* row = get_table_head(module->did()); row != nullptr; row = row_getNext(module->did(), row)) {
        if (listed++ == LISTED_ROWS_MAX) {
            vty_out(vty, "  ...%s", nl);
            break;
        }
        char text[TableModule::kMaxIndexText];
        vty_out(vty, "  %s%s", module->index_string(row, text, sizeof(text)), nl);
    }
    vty_out(vty, "  total %d rows%s", module->row_count(), nl);
    return 0;
}

int show_mib_row(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    int result = 0;
    const TableModule* module = find_or_tell(vty, argv[0], result);
    if (module == nullptr)
        return result;
    std::vector<uint32_t> index(static_cast<size_t>(argc) - 1);
    for (int i = 1; i < argc; i++) {
        if (read_index(argv[i], index[static_cast<size_t>(i) - 1]))
            continue;
        ov_refusal_because("\"%s\" isn't a number", argv[i]);
        vty_out(vty, "%% %s isn't a number%s", argv[i], kavo_newline(vty));
        return KAVO_CLI_BAD_INPUT;
    }
    const std::string text = module->row_text(index);
    if (text.empty()) {
        ov_refusal_because("%s has no such row", module->name());
        vty_out(vty, "%% no such row%s", kavo_newline(vty));
        return KAVO_CLI_FAILED;
    }
    print_lines(vty, text);
    return 0;
}

const kavo_cmd_t inspect_cmds[] = {
#include "commands/mib_inspect.def"
};

} // namespace

void mib_inspect_vty_init() {
    kavo_cmd_install(inspect_cmds);
}
