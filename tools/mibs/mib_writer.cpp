// mib-writer TEXTS MIBS           writes the MIB modules of the daemon's tables into the directory MIBS
// mib-writer --check TEXTS MIBS   only says what would change there, and fails then
//
// TEXTS: the directory of the texts, see mib_text.h. Exit status: 0 all well, 1 the modules differ, 2 a
// mistake.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "mib_module.h"

namespace {

namespace fs = std::filesystem;

// The tables that the daemon registers.
std::vector<std::string> served_tables() {
    std::vector<std::string> names;
    for (const std::string function : {
#define OV_TABLE_INIT(function) #function,
#include "table_init_list.def"
#undef OV_TABLE_INIT
         })
        names.push_back(function.substr(std::string("init_").size()));
    return names;
}

std::string content(const fs::path& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

// The first line that differs.
void say_difference(const fs::path& file, const std::string& is, const std::string& should) {
    std::istringstream is_in(is);
    std::istringstream should_in(should);
    std::string a;
    std::string b;
    for (int number = 1; std::getline(should_in, b); number++)
        if (!std::getline(is_in, a) || a != b) {
            std::cerr << file.filename().string() << ":" << number << ": has \"" << a << "\"\n  instead of \""
                      << b << "\"\n";
            return;
        }
    std::cerr << file.filename().string() << ": has more lines than it should\n";
}

void write(const fs::path& file, const std::string& text) {
    std::ofstream out(file);
    if (!(out << text).flush())
        throw std::runtime_error("can't write " + file.string());
}

bool same(const fs::path& file, const std::string& should) {
    const std::string is = content(file);
    if (is != should)
        say_difference(file, is, should);
    return is == should;
}

// A module that nobody writes any more.
bool no_stray_files(const MibTree& tree, const fs::path& directory) {
    size_t files = 0;
    for (const auto& entry : fs::directory_iterator(directory))
        files += entry.path().extension() == ".txt" ? 1 : 0;
    if (files == tree.modules().size())
        return true;
    std::cerr << directory.string() << " has " << files << " modules instead of " << tree.modules().size()
              << "\n";
    return false;
}

bool run(bool check, const fs::path& texts, const fs::path& mibs) {
    const MibTree tree(read_module_texts(texts), served_tables());
    bool good = true;
    for (const ModuleText& module : tree.modules()) {
        const fs::path file = mibs / (module.name + ".txt");
        const std::string text = mib_module(tree, module);
        if (check)
            good = same(file, text) && good;
        else
            write(file, text);
    }
    return (!check || no_stray_files(tree, mibs)) && good;
}

} // namespace

int main(int argc, char** argv) try {
    const bool check = argc > 1 && std::string(argv[1]) == "--check";
    if (argc != (check ? 4 : 3)) {
        std::cerr << "usage: mib-writer [--check] TEXTS MIBS\n";
        return 2;
    }
    const bool good = run(check, argv[argc - 2], argv[argc - 1]);
    if (!good)
        std::cerr << "The descriptions have changed: ninja mibs, and commit what it writes.\n";
    return good ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << "mib-writer: " << error.what() << "\n";
    return 2;
}
