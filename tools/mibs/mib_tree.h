// What the modules know of each other: who has which table, index object and node of the tree.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "mib_text.h"
#include "table_desc.h"

// A name, and the module that it is imported from.
struct MibName {
    std::string name;
    std::string module;
};

// A notification: its number, and the table whose row it carries.
struct MibNotification {
    int number;
    const char* table;
};

class MibTree {
public:
    // Throws MibError unless every table that managers reach stands in one module.
    // `served`: the names of the tables that the daemon registers.
    MibTree(std::vector<ModuleText> modules, std::vector<std::string> served);

    const std::vector<ModuleText>& modules() const { return modules_; }
    // Throws MibError for a name that nothing is known of.
    static const TableDesc& table(const std::string& name);
    const MibName& index_object(const std::string& name) const;
    // Of the arcs below the enterprise number, "1.1.2".
    const MibName& node(const std::string& arcs) const;

private:
    void add_module(const ModuleText& module);
    void add_table(const ModuleText& module, const std::string& name);
    void refuse_unknown_objects(const ModuleText& module) const;

    std::vector<ModuleText> modules_;
    std::vector<std::string> served_;
    std::map<std::string, MibName> index_objects_;
    std::map<std::string, MibName> nodes_;
};

// The daemon's notifications, ascending numbers.
std::span<const MibNotification> mib_notifications();

std::string arcs_text(std::span<const uint32_t> arcs);
