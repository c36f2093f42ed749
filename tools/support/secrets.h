// What must not leave the device in a support bundle: passwords, keys, and the logical ids that let ONUs in.
//
// They are known by their columns in the tables' files (the descriptions mark them), by the words in front of
// them in commands and the labels in lists of ONUs, and, wherever else they turn up, by their values, which
// the first two have told. Values of fewer than four characters are known by place only.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

inline constexpr char BLANK[] = "***";

class Secrets {
public:
    // Whether the table "sRmWifiTable" has any, and in which fields of its file, from 0.
    static const std::vector<unsigned>* fields_of(std::string_view table);
    static std::string list_of_tables();

    // Remember the values in a table's file, those in commands, or those that lists of ONUs label
    // ("pw:VALUE").
    void learn_table(std::string_view table, std::string_view text);
    void learn_commands(std::string_view text);
    void learn_lists(std::string_view text);
    // A value that stood somewhere; short ones aren't kept.
    void learn(std::string_view value);

    // The text of a table's file, one with commands in it, or any other, without them.
    std::string blank_table(std::string_view table, std::string_view text);
    std::string blank_commands(std::string_view text);
    std::string blank_values(std::string_view text);

    // Places that were blanked so far.
    unsigned blanked() const { return blanked_; }

private:
    std::string blank_words(std::string_view text);
    size_t secret_at(std::string_view text, size_t at) const;

    std::map<std::string, std::set<std::string, std::less<>>, std::less<>> by_beginning_;
    unsigned blanked_ = 0;
};
