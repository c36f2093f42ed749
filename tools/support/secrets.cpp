#include "secrets.h"

#include <algorithm>
#include <functional>

namespace {

constexpr size_t KEPT_LENGTH = 4;
constexpr char FIELD_END = '\x1f';

struct TableFields {
    std::string_view table;
    std::vector<unsigned> fields;
};
const std::vector<TableFields> TABLES = {
#include "secret_columns.inc"
};

// The word that a command has so many words behind this one is secret. Operators may type its beginning.
struct CommandSecret {
    std::string_view keyword;
    size_t shortest;
    unsigned behind;
};
constexpr CommandSecret COMMANDS[] = {
    {"password", 2, 1},  {"pw", 2, 1},    {"pwd", 2, 1},       {"loid", 2, 1},
    {"share-key", 2, 1}, {"pppoe", 2, 2}, {"key-index", 2, 2},
};

// What lists of ONUs put in front of a value, "pw:VALUE loid:VALUE model:VALUE"; the last of them isn't
// secret.
constexpr std::string_view LABELS[] = {"pw:", "loid:", "loid-pw:", "model:"};
constexpr std::string_view HARMLESS_LABEL = LABELS[3];

bool is_keyword(std::string_view word) {
    return std::ranges::any_of(COMMANDS, [word](const auto& rule) { return rule.keyword == word; });
}

// 0: the word says nothing of those behind it.
unsigned secret_behind(std::string_view word) {
    for (const CommandSecret& rule : COMMANDS)
        if (word.size() >= rule.shortest && rule.keyword.starts_with(word))
            return rule.behind;
    return 0;
}

// Where the words of a line are.
std::vector<std::string_view> words_of(std::string_view line) {
    constexpr std::string_view BLANKS = " \t\r\n";
    std::vector<std::string_view> words;
    for (size_t at = 0; (at = line.find_first_not_of(BLANKS, at)) != line.npos;) {
        const size_t end = std::min(line.find_first_of(BLANKS, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = end;
    }
    return words;
}

// The label that stands at this place of a line, as a word's beginning; empty for none.
std::string_view label_at(std::string_view line, size_t at) {
    const bool begins_word = at == 0 || line[at - 1] == ' ';
    const auto label = std::ranges::find_if(
        LABELS, [&](std::string_view each) { return begins_word && line.substr(at).starts_with(each); });
    return label == std::end(LABELS) ? std::string_view() : *label;
}

// Where a labelled value that begins here ends. It may have blanks: at the next label, column, or line.
size_t end_of_labelled(std::string_view line, size_t at) {
    for (; at < line.size() && line[at] != '\r' && line[at] != '\n'; ++at)
        if (line[at] == ' ' && (line.substr(at).starts_with("  ") || !label_at(line, at + 1).empty()))
            break;
    return at;
}

std::vector<std::string_view> labelled_values(std::string_view line) {
    std::vector<std::string_view> values;
    for (size_t at = 0; at < line.size(); ++at) {
        const auto label = label_at(line, at);
        if (label.empty() || label == HARMLESS_LABEL)
            continue;
        const size_t begin = at + label.size();
        const size_t end = end_of_labelled(line, begin);
        if (end > begin)
            values.push_back(line.substr(begin, end - begin));
        at = end;
    }
    return values;
}

std::vector<std::string_view> announced_words(std::string_view line) {
    std::vector<std::string_view> secret;
    const auto words = words_of(line);
    for (size_t i = 0; i < words.size(); ++i) {
        const unsigned behind = secret_behind(words[i]);
        if (behind != 0 && i + behind < words.size() && !is_keyword(words[i + behind]))
            secret.push_back(words[i + behind]);
    }
    return secret;
}

// By their places.
std::vector<std::string_view> secrets_of(std::string_view line) {
    auto found = announced_words(line);
    const auto labelled = labelled_values(line);
    found.insert(found.end(), labelled.begin(), labelled.end());
    std::ranges::sort(found, {}, [](std::string_view each) { return each.data(); });
    return found;
}

using LineUser = std::function<void(std::string_view line)>;

// Each line, its end with it.
void for_each_line(std::string_view text, const LineUser& use) {
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        use(text.substr(at, end - at));
        at = end;
    }
}

std::vector<std::string_view> fields_of_line(std::string_view line) {
    std::vector<std::string_view> fields;
    for (size_t at = 0; at < line.size();) {
        const size_t end = std::min(line.find(FIELD_END, at), line.size());
        fields.push_back(line.substr(at, end - at));
        at = end + 1;
    }
    return fields;
}

// What stands between "://" and "@" of an address, its end's place in `end`.
bool is_login(std::string_view text, size_t at, size_t& end) {
    constexpr std::string_view MARK = "://";
    if (!text.substr(at).starts_with(MARK))
        return false;
    end = text.find_first_of("/@ \t\n\x1f", at + MARK.size());
    return end != text.npos && text[end] == '@' && end > at + MARK.size();
}

} // namespace

const std::vector<unsigned>* Secrets::fields_of(std::string_view table) {
    const auto found = std::ranges::find(TABLES, table, &TableFields::table);
    return found == TABLES.end() ? nullptr : &found->fields;
}

std::string Secrets::list_of_tables() {
    std::string list;
    for (const TableFields& table : TABLES) {
        list += std::string(table.table) + ":";
        for (const unsigned field : table.fields)
            list += " " + std::to_string(field);
        list += "\n";
    }
    return list;
}

void Secrets::learn(std::string_view value) {
    if (value.size() >= KEPT_LENGTH && value != BLANK)
        by_beginning_[std::string(value.substr(0, KEPT_LENGTH))].emplace(value);
}

void Secrets::learn_table(std::string_view table, std::string_view text) {
    const auto* places = fields_of(table);
    if (!places)
        return;
    for_each_line(text, [&](std::string_view line) {
        const auto fields = fields_of_line(line);
        for (const unsigned place : *places)
            if (place < fields.size())
                learn(fields[place]);
    });
}

void Secrets::learn_commands(std::string_view text) {
    for_each_line(text, [this](std::string_view line) {
        for (const auto value : secrets_of(line))
            learn(value);
    });
}

void Secrets::learn_lists(std::string_view text) {
    for_each_line(text, [this](std::string_view line) {
        for (const auto value : labelled_values(line))
            learn(value);
    });
}

std::string Secrets::blank_table(std::string_view table, std::string_view text) {
    const auto* places = fields_of(table);
    std::string made;
    for_each_line(text, [&](std::string_view line) {
        size_t done = 0;
        const auto fields = fields_of_line(line);
        for (size_t i = 0; places && i < fields.size(); ++i) {
            if (fields[i].empty() || std::ranges::find(*places, i) == places->end())
                continue;
            const auto at = static_cast<size_t>(fields[i].data() - line.data());
            made.append(line.substr(done, at - done)).append(BLANK);
            done = at + fields[i].size();
            ++blanked_;
        }
        made.append(line.substr(done));
    });
    return blank_values(made);
}

std::string Secrets::blank_words(std::string_view text) {
    std::string made;
    for_each_line(text, [&](std::string_view line) {
        size_t done = 0;
        for (const auto word : secrets_of(line)) {
            const auto at = static_cast<size_t>(word.data() - line.data());
            if (at < done) // meant by two words in front of it
                continue;
            made.append(line.substr(done, at - done)).append(BLANK);
            done = at + word.size();
            ++blanked_;
        }
        made.append(line.substr(done));
    });
    return made;
}

// The length of the longest known value that begins here; 0 for none.
size_t Secrets::secret_at(std::string_view text, size_t at) const {
    const auto some = by_beginning_.find(text.substr(at, KEPT_LENGTH));
    size_t longest = 0;
    if (some != by_beginning_.end())
        for (const auto& value : some->second)
            if (value.size() > longest && text.substr(at).starts_with(value))
                longest = value.size();
    return longest;
}

std::string Secrets::blank_values(std::string_view text) {
    std::string made;
    made.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        size_t end = 0;
        if (is_login(text, at, end)) {
            made.append("://").append(BLANK);
            at = end;
        } else if (const size_t length = secret_at(text, at); length != 0) {
            made.append(BLANK);
            at += length;
        } else {
            made.push_back(text[at++]);
            continue;
        }
        ++blanked_;
    }
    return made;
}

std::string Secrets::blank_commands(std::string_view text) {
    return blank_values(blank_words(text));
}
