#include "cli_row_forms.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <cstring>

#include "command_syntaxes.h"
#include "ov_refusal.h"
#include "table_record.h"

namespace {

const ColumnDesc& desc_of(const TableDesc& table, unsigned column) {
    return *table.column(static_cast<int>(column));
}

// A number of a column or an index column.
int64_t number_in(const ColumnDesc& desc, const void* row) {
    return desc.type == ColType::UINT ? int64_t{record_get<uint32_t>(row, desc.offset)}
                                      : int64_t{record_get<int32_t>(row, desc.offset)};
}

bool is_default(const ColumnDesc& desc, const void* row) {
    if (desc.type == ColType::TEXT)
        return strcmp(record_bytes(row) + desc.offset, desc.dflt_text) == 0;
    return number_in(desc, row) == desc.dflt;
}

const char* word_of(std::span<const ColName> words, int64_t number) {
    for (const ColName& known : words)
        if (known.value == number)
            return known.name;
    return nullptr;
}

int put_text(const CliCall& call, const CliRowWord& word, const char* typed, CliFilledRow& filled) {
    const ColumnDesc& desc = desc_of(filled.table, word.column);
    const std::string_view text = typed;
    if (text.size() > desc.limit) {
        ov_refusal_because("%s has at most %u characters", word.name, unsigned{desc.limit});
        return call.fail(word.unfit);
    }
    text.copy(record_bytes(filled.row) + desc.offset, text.size());
    return 0;
}

// Whether what was typed for a keyword is another one in full, which this form hasn't: "802.11b" can stand
// for "802.11b/g/n" as a short form, and whoever types it means something else.
bool is_another(const CliCall& call, const CliRowWord& word, const char* keyword) {
    const std::string_view typed = call.words.typed_or(word.name, keyword);
    return typed != keyword && std::any_of(word.words.begin(), word.words.end(),
                                           [&](const ColName& known) { return typed == known.name; });
}

int put_number(const CliCall& call, const CliRowWord& word, const char* typed, CliFilledRow& filled) {
    if (is_another(call, word, typed)) {
        ov_refusal_because("this form has no %s \"%s\"", word.name, call.words.typed_or(word.name, typed));
        return call.fail(word.unfit, KAVO_CLI_BAD_INPUT);
    }
    for (const ColName& known : word.words)
        if (strcmp(known.name, typed) == 0) {
            filled.put(word.column, known.value);
            return 0;
        }
    char* end = nullptr;
    const long long number = strtoll(typed, &end, 10);
    if (end == typed || *end != '\0') // a keyword that the description lacks
        return call.fail(word.unfit, KAVO_CLI_BAD_INPUT);
    filled.put(word.column, static_cast<int32_t>(number));
    return 0;
}

int put_value(const CliCall& call, const CliRowWord& word, const char* typed, CliFilledRow& filled) {
    const ColumnDesc& desc = desc_of(filled.table, word.column);
    switch (desc.type) {
    case ColType::TEXT:
        return put_text(call, word, typed, filled);
    case ColType::IPADDR: // the parser has seen to it that it is one
        inet_pton(AF_INET, typed, record_bytes(filled.row) + desc.offset);
        return 0;
    default:
        return put_number(call, word, typed, filled);
    }
}

std::string address_in(const ColumnDesc& desc, const void* row) {
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, record_bytes(row) + desc.offset, text.data(), text.size());
}

} // namespace

void CliFilledRow::put(unsigned column, int32_t number) {
    record_put<int32_t>(row, desc_of(table, column).offset, number);
    mib_flag_set(columns, column);
}

CliRowForms::CliRowForms(const TableDesc& table, std::span<const CliIndexWord> index,
                         std::span<const CliRowWord> words, std::span<const unsigned> unsaid)
    : table_(table), index_(index), words_(words), unsaid_(unsaid), forms_(gpon_command_syntaxes(), names()) {
}

// ---- a line into a row ----------------------------------------------------------------------------------

int CliRowForms::put(const CliCall& call, const CliRowWord& word, CliFilledRow& filled) const {
    if (word.with.column != 0)
        filled.put(word.with.column, word.with.value);
    const char* const typed = call.words.word_or(word.name, "");
    int refusal = 0;
    if (word.codec != nullptr)
        refusal = word.codec->put(call, word, typed, filled);
    else if (word.column != 0)
        refusal = put_value(call, word, typed, filled);
    if (refusal != 0)
        return refusal;
    if (word.column != 0)
        mib_flag_set(filled.columns, word.column);
    if (word.is_right == nullptr || word.is_right(word, filled.row))
        return 0;
    ov_refusal_because("%s", word.because);
    return call.fail(word.wrong, KAVO_CLI_BAD_INPUT);
}

int CliRowForms::read(const CliCall& call, void* row, MIB_Flags_t& columns) const {
    CliFilledRow filled = {table_, row, columns};
    for (const CliIndexWord& word : index_) {
        if (word.column >= 0)
            record_put<uint32_t>(row, table_.index[static_cast<size_t>(word.column)].offset,
                                 call.words.number<uint32_t>(word.name));
        else if (const int refusal = word.put(call, call.words.text(word.name), row); refusal != 0)
            return refusal;
    }
    for (const CliRowWord& word : words_) {
        if (!call.words.has(word.name))
            continue;
        if (const int refusal = put(call, word, filled); refusal != 0)
            return refusal;
    }
    columns = filled.columns;
    return 0;
}

// ---- a row into a line ----------------------------------------------------------------------------------

// Whether the row's line has a word.
bool CliRowForms::has(const CliRowWord& word, const void* row) const {
    const auto number = [&](unsigned column) { return number_in(desc_of(table_, column), row); };
    if (word.with.column != 0 && number(word.with.column) != word.with.value)
        return false;
    if (word.when.column != 0 &&
        (number(word.when.column) < word.when.least || number(word.when.column) > word.when.most))
        return false;
    return !word.may_miss || !is_default(desc_of(table_, word.column), row);
}

// `text` keeps what the value points at.
CliValue CliRowForms::value_of(const CliRowWord& word, const void* row, std::string& text) const {
    if (!has(word, row))
        return {};
    if (word.is_right != nullptr && !word.is_right(word, row))
        return CliValue::untypable();
    if (word.codec != nullptr)
        text = word.codec->word(word, row);
    if (word.codec == nullptr && word.column == 0)
        return CliValue::given(true);
    const ColumnDesc* const desc = table_.column(static_cast<int>(word.column));
    if (word.codec == nullptr && desc->type == ColType::TEXT)
        text = record_bytes(row) + desc->offset;
    else if (word.codec == nullptr && desc->type == ColType::IPADDR)
        text = address_in(*desc, row);
    else if (word.codec == nullptr) {
        const int64_t number = number_in(*desc, row);
        const char* const known = word_of(word.words, number);
        return known != nullptr ? CliValue(known) : CliValue(number);
    }
    return text.empty() ? CliValue::untypable() : CliValue(text);
}

std::string CliRowForms::line(const void* row) const {
    for (const unsigned column : unsaid_)
        if (!is_default(desc_of(table_, column), row))
            return "";
    std::vector<std::string> texts(index_.size() + words_.size());
    std::vector<CliValue> values(texts.size());
    for (size_t i = 0; i < index_.size(); i++) {
        const CliIndexWord& word = index_[i];
        if (word.column >= 0)
            values[i] = number_in(table_.index[static_cast<size_t>(word.column)], row);
        else
            values[i] = texts[i] = word.word(row);
    }
    for (size_t i = 0; i < words_.size(); i++)
        values[index_.size() + i] = value_of(words_[i], row, texts[index_.size() + i]);
    return forms_.line(values);
}

std::vector<const char*> CliRowForms::names() const {
    std::vector<const char*> all;
    for (const CliIndexWord& word : index_)
        all.push_back(word.name);
    for (const CliRowWord& word : words_)
        all.push_back(word.name);
    return all;
}
