// The short texts that stand with the tables' descriptions: ov_gpon/ov_snmp_gpon/texts/*.txt, one file for
// each MIB module. What a description can't say (meaning, unit, names of numbers, the range of an index) is
// said there.
//
// A text is a line "HEAD: TEXT"; indented lines behind it go on with it. Empty lines and those with # are
// nothing.
//
//   module NAME IDENTITY ARC: what the module has       its MODULE-IDENTITY, by its number below gponModules
//   revision TIME: what was new                         newest first
//   node NAME ARCS: ...                                 a node of the tree, arcs below the enterprise number
//   table NAME [=NAME] [sends]: what a row is           sends: the daemon sends the table's notification
//   time NAME: ...                                      the object of the notifications' time
//   COLUMN [=NAME] [MIN..MAX] [{name(0) name(1)}] [[UNIT]] [mac]: what it means
//
// =NAME is the name in the module, for one that is longer than the 32 characters that MIB names should have.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// The texts or the modules can't be right; what() says where.
struct MibError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct ObjectText {
    std::string alias = {}; // the name in the module; empty: the description's
    std::string unit = {};
    std::vector<std::pair<int64_t, std::string>> names = {};
    std::optional<std::pair<int64_t, int64_t>> range = {};
    std::string text = {};
    bool mac = false;   // six octets that are an address
    bool sends = false; // of a table
};

struct NamedText {
    std::string name; // of a node; the time of a revision
    std::string arcs; // of a node
    std::string text;
};

struct ModuleText {
    std::string name;     // "QRX4100-GPON-PORT-MIB"
    std::string identity; // "gponPortMIB"
    int arc = 0;          // of the identity
    std::string text;
    std::vector<NamedText> revisions;
    std::vector<NamedText> nodes;
    std::vector<std::string> tables;            // in the order of the file
    std::map<std::string, ObjectText> objects;  // tables and columns, by the description's name
    std::optional<NamedText> notification_time; // its object
};

// One file. Throws MibError.
ModuleText read_module_text(const std::filesystem::path& file);

// All files of a directory, in the order of their modules' arcs. Throws MibError.
std::vector<ModuleText> read_module_texts(const std::filesystem::path& directory);
