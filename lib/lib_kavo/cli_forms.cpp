#include "cli_forms.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "cli_words.h"
#include "ov_shown_text.h"

namespace {

constexpr size_t NAMES_MAX = 32;  // a bit each
constexpr size_t LINE_USUAL = 64; // characters of a line, as most are

// A number as it is typed.
class Decimal {
public:
    explicit Decimal(int64_t number)
        : end_(std::to_chars(text_.data(), text_.data() + text_.size(), number).ptr) {}
    std::string_view text() const { return {text_.data(), end_}; }

private:
    std::array<char, 24> text_;
    const char* end_;
};

CliSyntax::Argument argument_of(const kavo_cmd_word_t& word, size_t place) {
    CliSyntax::Argument argument = {place, {}, {}, false};
    for (const std::string& alternative : word.alternatives) {
        const auto kind = kavo_cmd_alternative(alternative);
        if (kind.kind == kavo_cmd_alternative_t::RANGE)
            argument.ranges.push_back({kind.least, kind.most});
        else if (kind.kind == kavo_cmd_alternative_t::KEYWORD)
            argument.keywords.push_back(alternative);
        else
            argument.is_variable = true;
    }
    return argument;
}

bool is_settled_by_keyword(const CliSyntax::Argument& argument) {
    return argument.ranges.empty() && !argument.is_variable && !argument.keywords.empty();
}

void append(std::string& line, const CliValue& value) {
    if (value.is_number())
        line += Decimal(value.number()).text();
    else
        line += value.text();
}

} // namespace

bool cli_is_word(std::string_view text) {
    if (text.empty() || text.back() == '|')
        return false;
    return text.find(' ') == text.npos && ov_is_shown(text);
}

bool CliSyntax::Argument::has_keyword(std::string_view word) const {
    return std::find(keywords.begin(), keywords.end(), word) != keywords.end();
}

bool CliSyntax::Argument::can_hold(const CliValue& value) const {
    if (value.is_none() || value.is_given())
        return false;
    if (!value.is_number())
        return (is_variable && cli_is_word(value.text())) || has_keyword(value.text());
    const int64_t number = value.number();
    for (const Range& range : ranges)
        if (number >= range.least && number <= range.most)
            return true;
    return is_variable || (!keywords.empty() && has_keyword(Decimal(number).text()));
}

CliSyntax::CliSyntax(std::string syntax) : CliSyntax(std::move(syntax), {}) {}

CliSyntax::CliSyntax(std::string syntax, const std::vector<const char*>& chosen)
    : syntax_(std::move(syntax)), words_(kavo_cmd_parse(syntax_)) {
    size_t written = 0; // of the syntax
    std::string literal;
    for (size_t place = 0; place < words_.size(); place++) {
        kavo_cmd_word_t& word = words_[place];
        literal += syntax_.substr(written, word.begin - written);
        written = word.end;
        if (place < chosen.size() && chosen[place] != nullptr) {
            word.kind = kavo_cmd_word_t::KEYWORD;
            word.alternatives = {chosen[place]};
        }
        if (word.kind == kavo_cmd_word_t::KEYWORD) {
            literal += word.alternatives.front();
            continue;
        }
        arguments_.push_back(argument_of(word, place));
        literals_.push_back(std::move(literal));
        literal.clear();
    }
    literals_.push_back(std::move(literal));
}

bool CliSyntax::can_hold(std::span<const CliValue> values) const {
    if (values.size() != arguments_.size())
        return false;
    for (size_t i = 0; i < values.size(); i++)
        if (!arguments_[i].can_hold(values[i]))
            return false;
    return true;
}

std::string CliSyntax::line(std::span<const CliValue> values) const {
    return can_hold(values) ? typed(values) : "";
}

std::string CliSyntax::typed(std::span<const CliValue> values) const {
    std::string line;
    line.reserve(LINE_USUAL);
    for (size_t i = 0; i < arguments_.size(); i++) {
        line += literals_[i];
        append(line, values[i]);
    }
    return line += literals_.back();
}

CliForms::CliForms(std::span<const char* const> syntaxes, std::span<const char* const> names) {
    for (const char* syntax : syntaxes)
        add(syntax, names);
}

// Whether the values of names without an argument are those that the form has.
bool CliForms::Form::has_keywords(std::span<const CliValue> all) const {
    return std::all_of(fixed.begin(), fixed.end(), [&](const auto& one) {
        const CliValue& value = all[one.first];
        return value.is_given() || (!value.is_number() && value.text() == one.second);
    });
}

// Settles the choices that no name stands for, each in all ways.
void CliForms::add(const char* syntax, std::span<const char* const> names) {
    std::vector<std::vector<const char*>> ways(1);
    const CliSyntax parsed(syntax);
    if (cli_place_of(parsed.words(), names.front()) == parsed.words().size())
        return;
    for (const CliSyntax::Argument& argument : parsed.arguments()) {
        const bool is_named = std::any_of(names.begin(), names.end(), [&](const char* name) {
            return cli_place_of(parsed.words(), name) == argument.place;
        });
        if (is_named || !is_settled_by_keyword(argument))
            continue;
        std::vector<std::vector<const char*>> more;
        for (auto& way : ways)
            for (const std::string& keyword : argument.keywords) {
                way.resize(parsed.words().size(), nullptr);
                way[argument.place] = keyword.c_str();
                more.push_back(way);
            }
        ways = std::move(more);
    }
    for (const auto& way : ways)
        add_settled(CliSyntax(syntax, way), names);
}

void CliForms::add_settled(const CliSyntax& syntax, std::span<const char* const> names) {
    Form form = {syntax, 0, std::vector<size_t>(syntax.arguments().size(), names.size()), {}};
    for (size_t n = 0; n < names.size() && n < NAMES_MAX; n++) {
        if (!cli_has_name(syntax.words(), names[n]))
            continue;
        form.names |= 1u << n;
        const size_t place = cli_place_of(syntax.words(), names[n]);
        if (place == syntax.words().size())
            form.fixed.emplace_back(n, cli_keyword_behind(syntax.words(), names[n]));
        for (size_t i = 0; i < form.values.size(); i++)
            if (syntax.arguments()[i].place == place)
                form.values[i] = n;
    }
    const bool all_named =
        std::find(form.values.begin(), form.values.end(), names.size()) == form.values.end();
    if (all_named && std::find(form.values.begin(), form.values.end(), 0u) != form.values.end())
        forms_.push_back(std::move(form));
}

// Calls `use` with the first form that has just these values and can hold them, and with them in its order.
template <typename Use>
bool CliForms::find(std::span<const CliValue> values, Use use) const {
    uint32_t given = 0;
    for (size_t n = 0; n < values.size(); n++)
        given |= (values[n].is_none() ? 0u : 1u) << n;
    std::array<CliValue, NAMES_MAX> ordered;
    for (const Form& form : forms_) {
        if (form.names != given || !form.has_keywords(values))
            continue;
        for (size_t i = 0; i < form.values.size(); i++)
            ordered[i] = values[form.values[i]];
        const std::span<const CliValue> its(ordered.data(), form.values.size());
        if (!form.syntax.can_hold(its))
            continue;
        use(form.syntax, its);
        return true;
    }
    return false;
}

std::string CliForms::line(std::span<const CliValue> values) const {
    std::string line;
    find(values, [&](const CliSyntax& syntax, std::span<const CliValue> its) { line = syntax.typed(its); });
    return line;
}

bool CliForms::can_hold(std::span<const CliValue> values) const {
    return find(values, [](const CliSyntax&, std::span<const CliValue>) {});
}
