#include "cli_setting.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <map>

#include "kavo_cmd.h"
#include "kavo_vty_object.h"
#include "ov_gpon.h"
#include "ov_ifindex.h"
#include "ov_refusal.h"
#include "ovra_mutex.h"
#include "table_module.h"
#include "table_record.h"

namespace {

using Kind = CliSettingValue::Kind;

constexpr int32_t SHELF = 1; // the one that commands address

std::vector<CliPreparedSetting>& prepared() {
    static auto& settings = *new std::vector<CliPreparedSetting>;
    return settings;
}

// A column of a setting that can have a saved line.
struct SavedSetting {
    size_t setting; // of the prepared ones
    CliColumnOf column;
    const ColumnDesc* desc;
};

// Those of an object, in the order of their lines; made anew when settings have come.
std::map<const CliObject*, std::vector<SavedSetting>>& saved_by_object() {
    static auto& objects = *new std::map<const CliObject*, std::vector<SavedSetting>>;
    return objects;
}

const std::vector<SavedSetting>& saved_of(const CliObject& object) {
    static const std::vector<SavedSetting> none;
    const auto found = saved_by_object().find(&object);
    return found != saved_by_object().end() ? found->second : none;
}

// ---- the row --------------------------------------------------------------------------------------------

void put_session(const CliObject& object, const struct vty* vty, void* row) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(vty, &ifindex);
    const uint32_t place[] = {SHELF, ov_ifindex_get_slot_id(ifindex), ov_ifindex_get_port_id(ifindex),
                              ov_ifindex_get_subport_id(ifindex)};
    for (size_t i = 0; i < object.from_session; i++)
        record_put<uint32_t>(row, object.table.index[i].offset, place[i]);
}

// Puts the row's index into a cleared record. 0, or the result of a refusal, behind its text.
int put_index(const CliObject& object, const CliCall& call, void* row) {
    put_session(object, call.vty, row);
    for (const CliIndexWord& word : object.words) {
        const char* const typed = call.words.text(word.name);
        if (word.column >= 0)
            record_put<uint32_t>(row, object.table.index[static_cast<size_t>(word.column)].offset,
                                 call.words.number<uint32_t>(word.name));
        else if (const int refusal = word.put(call, typed, row); refusal != 0)
            return refusal;
    }
    return 0;
}

bool is_there(const TableDesc& table, const void* row) {
    TableModule* module = table_module_find(table.registry_index);
    if (module == nullptr || !module->registered())
        return false;
    const OvraMutexGuard lock(getMutex(module->did()));
    const void* stored = module->find_row(row);
    return stored != nullptr && module->row_mode(stored) != MODE_IDLE;
}

int32_t last_index(const TableDesc& table, const void* row) {
    return record_get<int32_t>(row, table.index.back().offset);
}

// ---- the value ------------------------------------------------------------------------------------------

const ColumnDesc& desc_of(const CliSetting& setting, unsigned column) {
    return *setting.object->table.column(static_cast<int>(column));
}

// The column that the line is about, with its word if a choice has told it.
CliColumnOf column_of(const CliSetting& setting, const CliWords& words) {
    for (const CliColumnOf& one : setting.by)
        if (one.word != nullptr && words.has(one.word))
            return one;
    return {nullptr, setting.column};
}

std::string usual_text(const CliSetting& setting, const ColumnDesc& desc, const void* row) {
    return setting.usual != nullptr ? setting.usual(row) : desc.dflt_text;
}

void put_text(const ColumnDesc& desc, void* row, std::string_view text) {
    text.copy(record_bytes(row) + desc.offset, desc.limit);
}

// A typed word as it may stand in a text of CliCall::fail.
std::string in_text(const char* word) {
    std::string text;
    for (; *word != '\0'; word++)
        text.append(*word == '%' ? 2 : 1, *word);
    return text;
}

void put_into(std::string& text, const char* sign, const char* word) {
    if (const size_t place = text.find(sign); place != text.npos)
        text.replace(place, strlen(sign), in_text(word));
}

int64_t number_of(const CliSettingValue& value, const char* word) {
    for (const ColName& name : value.words)
        if (strcmp(name.name, word) == 0)
            return name.value;
    return strtoll(word, nullptr, 10);
}

bool is_integer(const CliSettingValue& value, const char* word) {
    for (const ColName& name : value.words)
        if (strcmp(name.name, word) == 0)
            return true;
    int32_t number = 0;
    const char* const end = word + strlen(word);
    const auto read = std::from_chars(word, end, number);
    return read.ec == std::errc() && read.ptr == end;
}

int refuse_integer(const CliSettingValue& value, const CliCall& call, const char* word) {
    ov_refusal_because("\"%s\" isn't a whole number", word);
    std::string text = value.bad;
    put_into(text, "%w", word);
    return call.fail(text.c_str(), KAVO_CLI_BAD_INPUT);
}

// 0, or the result of a refusal, behind its text.
int put_value(const CliSetting& setting, const CliCall& call, const char* word, const ColumnDesc& desc,
              void* row) {
    const CliSettingValue& value = setting.value;
    in_addr address = {};
    switch (value.kind) {
    case Kind::TEXT:
        if (strlen(word) > value.longest)
            return call.fail_name(value.bad, value.longest);
        put_text(desc, row, word);
        return 0;
    case Kind::ADDRESS:
        inet_pton(AF_INET, word, &address); // the parser has seen to it that it is one
        record_put<uint32_t>(row, desc.offset, address.s_addr);
        return 0;
    case Kind::FIXED:
        if (desc.type == ColType::TEXT)
            put_text(desc, row, usual_text(setting, desc, row));
        else
            record_put<uint32_t>(row, desc.offset, static_cast<uint32_t>(value.number));
        return 0;
    case Kind::INTEGER:
        if (!is_integer(value, word))
            return refuse_integer(value, call, word);
        [[fallthrough]];
    default:
        record_put<uint32_t>(row, desc.offset, static_cast<uint32_t>(number_of(value, word)));
        return 0;
    }
}

int64_t stored_number(const ColumnDesc& desc, const void* row) {
    if (desc.type == ColType::IPADDR)
        return ntohl(record_get<uint32_t>(row, desc.offset));
    return desc.type == ColType::UINT ? int64_t{record_get<uint32_t>(row, desc.offset)}
                                      : int64_t{record_get<int32_t>(row, desc.offset)};
}

// How many words a text has room for in front of the line end, its last "%s".
size_t words_in(std::string_view text) {
    size_t found = 0;
    for (size_t place = text.find("%s"); place != text.npos; place = text.find("%s", place + 2))
        found++;
    return found == 0 ? 0 : found - 1;
}

int fail(const CliSetting& setting, const CliCall& call, const char* word, const void* row) {
    std::string text = setting.failure;
    put_into(text, "%w", word);
    const size_t words = words_in(setting.failure);
    const CliColumnOf column = column_of(setting, call.words);
    if (words > 0 && !setting.object->words.empty())
        put_into(text, "%s", call.words.text(setting.object->words.front().name));
    else if (words > 0 && column.word != nullptr)
        put_into(text, "%s", column.word);
    if (words > 1)
        put_into(text, "%s", word);
    return call.fail_of(text.c_str(), last_index(setting.object->table, row), setting.result);
}

} // namespace

void cli_tell_absent(const CliObject& object, const CliCall& call, const void* row) {
    if (object.absent == nullptr || is_there(object.table, row))
        return;
    std::string reason = object.absent;
    if (const size_t place = reason.find("%s"); place != reason.npos)
        reason.replace(place, 2, call.words.text(object.words.front().name));
    ov_refusal_because("%s", reason.c_str());
}

int cli_setting_cli(CliCall& call) {
    const auto& setting = *static_cast<const CliSetting*>(call.command.description);
    const CliObject& object = *setting.object;
    CliRow row(object.table);
    if (const int refusal = put_index(object, call, row.get()); refusal != 0)
        return refusal;
    cli_tell_absent(object, call, row.get());
    if (object.missing != nullptr && !is_there(object.table, row.get()))
        return call.fail_of(object.missing, last_index(object.table, row.get()), KAVO_CLI_BAD_INPUT);

    const auto arguments = call.words.arguments();
    const char* const word = arguments.empty() ? "" : arguments.back();
    const unsigned column = column_of(setting, call.words).column;
    if (const int refusal = put_value(setting, call, word, desc_of(setting, column), row.get()); refusal != 0)
        return refusal;
    if (const int refusal = setting.allowed != nullptr ? setting.allowed(call, row.get()) : 0; refusal != 0)
        return refusal;
    MIB_Flags_t columns = {};
    mib_flag_set(columns, column);
    if (setting.with.column != 0) {
        mib_flag_set(columns, setting.with.column);
        record_put<int32_t>(row.get(), desc_of(setting, setting.with.column).offset, setting.with.value);
    }
    return object.edit(row.get(), columns) == OV_GPON_RET_OK ? 0 : fail(setting, call, word, row.get());
}

// ---- saved lines ----------------------------------------------------------------------------------------

CliPreparedSetting::CliPreparedSetting(const CliCommand& command)
    : command_(&command), syntax_(command.row.syntax), uses_(syntax_.arguments().size(), {Use::NOTHING, 0}),
      single_({nullptr, command.setting.column}) {
    const auto arguments = syntax_.arguments();
    const auto& words = setting().object->words;
    for (size_t i = 0; i < uses_.size(); i++) {
        for (size_t n = 0; n < words.size(); n++)
            if (cli_place_of(syntax_.words(), words[n].name) == arguments[i].place)
                uses_[i] = {Use::INDEX, n};
        const bool tells_column = setting().column == 0 && arguments[i].has_keyword(setting().by[0].word);
        if (uses_[i].what == Use::NOTHING && tells_column)
            uses_[i] = {Use::COLUMN, 0};
    }
    if (setting().value.kind != Kind::FIXED && !uses_.empty() && uses_.back().what == Use::NOTHING)
        uses_.back() = {Use::VALUE, 0};
}

bool CliPreparedSetting::is_complete() const {
    const auto count = [this](Use::What what) {
        return std::count_if(uses_.begin(), uses_.end(), [what](const Use& use) { return use.what == what; });
    };
    return count(Use::NOTHING) == 0 &&
           count(Use::INDEX) == static_cast<ptrdiff_t>(setting().object->words.size()) &&
           count(Use::VALUE) == (setting().value.kind != Kind::FIXED ? 1 : 0);
}

std::span<const CliColumnOf> CliPreparedSetting::columns() const {
    if (setting().column != 0)
        return {&single_, 1};
    return setting().by;
}

bool CliPreparedSetting::stands_on(enum node_type node) const {
    const auto& nodes = command().nodes;
    return std::find(std::begin(nodes), std::end(nodes), node) != std::end(nodes);
}

bool CliPreparedSetting::has_default(const ColumnDesc& desc, const void* row) const {
    if (desc.type != ColType::TEXT)
        return stored_number(desc, row) == desc.dflt;
    const char* const text = record_bytes(row) + desc.offset;
    return setting().usual != nullptr ? setting().usual(row) == text : strcmp(desc.dflt_text, text) == 0;
}

// A number as the command can give it: as one, or as a word that stands for it. None for neither.
CliValue CliPreparedSetting::number_value(int64_t number) const {
    const CliSyntax::Argument& argument = syntax_.arguments().back();
    if (argument.can_hold(number))
        return number;
    for (const ColName& name : setting().value.words)
        if (name.value == number && argument.can_hold(name.name))
            return name.name;
    return {};
}

// `text` keeps what the value points at.
CliValue CliPreparedSetting::value_of(const ColumnDesc& desc, const void* row, std::string& text) const {
    const CliSettingValue& value = setting().value;
    if (value.kind == Kind::NUMBER || value.kind == Kind::INTEGER)
        return number_value(stored_number(desc, row));
    if (value.kind == Kind::TEXT) {
        const char* stored = record_bytes(row) + desc.offset;
        return strlen(stored) <= value.longest ? CliValue(stored) : CliValue();
    }
    std::array<char, INET_ADDRSTRLEN> address{};
    text = inet_ntop(AF_INET, record_bytes(row) + desc.offset, address.data(), address.size());
    return text;
}

CliValue CliPreparedSetting::index_value(const CliIndexWord& word, const void* row, std::string& text) const {
    if (word.column >= 0)
        return stored_number(setting().object->table.index[static_cast<size_t>(word.column)], row);
    text = word.word(row);
    return text;
}

bool CliPreparedSetting::has_line() const {
    if (setting().value.kind != Kind::FIXED)
        return true;
    const ColumnDesc& desc = desc_of(setting(), columns().front().column);
    return desc.type != ColType::TEXT && desc.dflt != setting().value.number;
}

bool CliPreparedSetting::is_to_be_saved(const ColumnDesc& desc, const void* row) const {
    if (has_default(desc, row) || (setting().saved != nullptr && !setting().saved(row)))
        return false;
    const CliCompanion& with = setting().with;
    if (with.column != 0 && stored_number(desc_of(setting(), with.column), row) != with.value)
        return false;
    return setting().value.kind != Kind::FIXED || stored_number(desc, row) == setting().value.number;
}

std::string CliPreparedSetting::line(const CliColumnOf& column, const void* row) const {
    const ColumnDesc& desc = desc_of(setting(), column.column);
    if (!has_line() || !is_to_be_saved(desc, row))
        return "";
    std::vector<std::string> texts(uses_.size());
    std::vector<CliValue> values(uses_.size());
    for (size_t i = 0; i < uses_.size(); i++) {
        if (uses_[i].what == Use::INDEX)
            values[i] = index_value(setting().object->words[uses_[i].number], row, texts[i]);
        else
            values[i] = uses_[i].what == Use::COLUMN ? CliValue(column.word) : value_of(desc, row, texts[i]);
    }
    return syntax_.line(values);
}

int cli_settings_print(struct vty* vty, const CliObject& object, const void* row, enum node_type node) {
    int lines = 0;
    for (const SavedSetting& saved : saved_of(object)) {
        const ColumnDesc& desc = *saved.desc;
        // most rows have most columns at their defaults
        if (desc.type != ColType::TEXT && stored_number(desc, row) == desc.dflt)
            continue;
        const CliPreparedSetting& setting = prepared()[saved.setting];
        const std::string line = setting.stands_on(node) ? setting.line(saved.column, row) : "";
        if (line.empty())
            continue;
        vty_out(vty, " %s%s", line.c_str(), kavo_newline(vty));
        lines++;
    }
    return lines;
}

std::span<const CliPreparedSetting> cli_settings() {
    return prepared();
}

// ---- installing -----------------------------------------------------------------------------------------

void cli_install(std::span<const CliCommand> table) {
    for (const CliCommand& command : table) {
        kavo_cmd_t row = command.row;
        row.description = &command.setting;
        if (command.setting.object != nullptr) {
            const CliPreparedSetting setting(command);
            if (!setting.is_complete()) {
                zlog_err("setting \"%s\" has an argument without a meaning", row.syntax);
                continue;
            }
            prepared().push_back(setting);
        }
        kavo_cmd_install({&row, 1});
    }
    std::stable_sort(prepared().begin(), prepared().end(),
                     [](const auto& a, const auto& b) { return a.setting().place < b.setting().place; });
    saved_by_object().clear();
    for (size_t i = 0; i < prepared().size(); i++) {
        const CliPreparedSetting& setting = prepared()[i];
        if (!setting.has_line())
            continue;
        for (const CliColumnOf& column : setting.columns())
            saved_by_object()[setting.setting().object].push_back(
                {i, column, &desc_of(setting.setting(), column.column)});
    }
}
