#include "mib_text.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

namespace {

struct Line {
    std::vector<std::string> head;
    std::string text;
};

int64_t number(const std::string& word) {
    int64_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size())
        throw MibError("\"" + word + "\" isn't a number");
    return value;
}

// The words of a head; what stands in [] or {} is one word.
std::vector<std::string> words_of(const std::string& head) {
    std::vector<std::string> words;
    std::string word;
    int depth = 0;
    for (const char c : head + " ") {
        depth += (c == '[' || c == '{') - (c == ']' || c == '}');
        if (c != ' ' || depth > 0) {
            word += c;
        } else if (!word.empty()) {
            words.push_back(word);
            word.clear();
        }
    }
    return words;
}

Line split(const std::string& line) {
    const size_t colon = line.find(": ");
    if (colon == std::string::npos)
        throw MibError("no \": \" in \"" + line + "\"");
    return {words_of(line.substr(0, colon)), line.substr(colon + 2)};
}

std::vector<Line> lines_of(std::istream& in) {
    std::vector<std::string> joined;
    for (std::string line; std::getline(in, line);) {
        const size_t begin = line.find_first_not_of(' ');
        if (begin == std::string::npos || line[begin] == '#')
            continue;
        if (begin == 0)
            joined.push_back(line);
        else if (joined.empty())
            throw MibError("it begins with the rest of a line");
        else
            joined.back() += " " + line.substr(begin);
    }
    std::vector<Line> lines;
    for (const std::string& line : joined)
        lines.push_back(split(line));
    return lines;
}

// "{off(0) on(1)}"
std::vector<std::pair<int64_t, std::string>> names_of(const std::string& word) {
    std::vector<std::pair<int64_t, std::string>> names;
    std::istringstream in(word.substr(1, word.size() - 2));
    for (std::string name; in >> name;) {
        const size_t open = name.find('(');
        if (open == std::string::npos || name.back() != ')')
            throw MibError("\"" + name + "\" isn't a name(number)");
        names.emplace_back(number(name.substr(open + 1, name.size() - open - 2)), name.substr(0, open));
    }
    return names;
}

void add_property(ObjectText& object, const std::string& word) {
    const size_t dots = word.find("..");
    if (word.front() == '=')
        object.alias = word.substr(1);
    else if (word.front() == '[')
        object.unit = word.substr(1, word.size() - 2);
    else if (word.front() == '{')
        object.names = names_of(word);
    else if (dots != std::string::npos)
        object.range = {number(word.substr(0, dots)), number(word.substr(dots + 2))};
    else if (word == "mac")
        object.mac = true;
    else if (word == "sends")
        object.sends = true;
    else
        throw MibError("what is \"" + word + "\"?");
}

void add_object(ModuleText& module, const Line& line, size_t name_at) {
    const std::string& name = line.head.at(name_at);
    ObjectText object{.text = line.text};
    for (size_t i = name_at + 1; i < line.head.size(); i++)
        add_property(object, line.head[i]);
    if (!module.objects.emplace(name, object).second)
        throw MibError(name + " has two texts");
}

void add_line(ModuleText& module, const Line& line) {
    const std::string& kind = line.head.at(0);
    if (kind == "module") {
        module.name = line.head.at(1);
        module.identity = line.head.at(2);
        module.arc = static_cast<int>(number(line.head.at(3)));
        module.text = line.text;
    } else if (kind == "revision") {
        module.revisions.push_back({line.head.at(1), "", line.text});
    } else if (kind == "node") {
        module.nodes.push_back({line.head.at(1), line.head.at(2), line.text});
    } else if (kind == "time") {
        module.notification_time = {line.head.at(1), "", line.text};
    } else if (kind == "table") {
        module.tables.push_back(line.head.at(1));
        add_object(module, line, 1);
    } else {
        add_object(module, line, 0);
    }
}

} // namespace

ModuleText read_module_text(const std::filesystem::path& file) {
    std::ifstream in(file);
    ModuleText module;
    std::string at;
    try {
        for (const Line& line : lines_of(in)) {
            at = line.head.empty() ? "" : line.head.front() + ": ";
            add_line(module, line);
        }
    } catch (const std::exception& error) {
        throw MibError(file.filename().string() + ": " + at + error.what());
    }
    if (module.name.empty() || module.revisions.empty())
        throw MibError(file.filename().string() + ": there is no module, or no revision of it");
    return module;
}

std::vector<ModuleText> read_module_texts(const std::filesystem::path& directory) {
    std::vector<ModuleText> modules;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        if (entry.path().extension() == ".txt")
            modules.push_back(read_module_text(entry.path()));
    std::sort(modules.begin(), modules.end(),
              [](const ModuleText& a, const ModuleText& b) { return a.arc < b.arc; });
    return modules;
}
