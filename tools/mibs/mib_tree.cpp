#include "mib_tree.h"

#include <algorithm>
#include <set>

#include "table_list.h"

namespace {

const MibNotification notifications[] = {
#define OV_TRAP(number, table) {number, #table},
#include "trap_list.def"
#undef OV_TRAP
};

const ObjectText& text_of(const ModuleText& module, const std::string& name) {
    return module.objects.at(name);
}

std::string name_of(const ModuleText& module, const std::string& name) {
    const auto found = module.objects.find(name);
    if (found == module.objects.end())
        throw MibError(module.name + ": no text for " + name);
    return found->second.alias.empty() ? name : found->second.alias;
}

bool has_column(const TableDesc& table, const std::string& name) {
    const auto is_it = [&name](const ColumnDesc& column) { return column.name == name; };
    return std::any_of(table.index.begin(), table.index.end(), is_it) ||
           std::any_of(table.columns.begin(), table.columns.end(), is_it);
}

} // namespace

MibTree::MibTree(std::vector<ModuleText> modules, std::vector<std::string> served)
    : modules_(std::move(modules)), served_(std::move(served)) {
    for (const ModuleText& module : modules_)
        add_module(module);
    std::set<std::string> described;
    for (const ModuleText& module : modules_)
        for (const std::string& name : module.tables)
            if (!described.insert(name).second)
                throw MibError(name + " stands in two modules");
    for (const std::string& name : served_)
        if (!described.contains(name))
            throw MibError(name + " stands in no module");
}

void MibTree::add_module(const ModuleText& module) {
    for (const NamedText& node : module.nodes)
        nodes_[node.arcs] = {node.name, module.name};
    for (const std::string& name : module.tables)
        add_table(module, name);
    refuse_unknown_objects(module);
}

void MibTree::add_table(const ModuleText& module, const std::string& name) {
    if (std::find(served_.begin(), served_.end(), name) == served_.end())
        throw MibError(name + " isn't served");
    for (const ColumnDesc& column : table(name).index)
        if (column.number != 0)
            index_objects_[column.name] = {name_of(module, column.name), module.name};
}

// A text of a column that isn't there any more.
void MibTree::refuse_unknown_objects(const ModuleText& module) const {
    for (const auto& [name, text] : module.objects) {
        const bool known = std::any_of(module.tables.begin(), module.tables.end(), [&](const std::string& t) {
            return t == name || has_column(table(t), name);
        });
        if (!known)
            throw MibError(module.name + ": there is no " + name + ": " + text_of(module, name).text);
    }
}

const TableDesc& MibTree::table(const std::string& name) {
    const TableDesc* desc = table_desc_find(name.c_str());
    if (desc == nullptr)
        throw MibError("there is no table " + name);
    return *desc;
}

const MibName& MibTree::index_object(const std::string& name) const {
    const auto found = index_objects_.find(name);
    if (found == index_objects_.end())
        throw MibError("no table has the index object " + name);
    return found->second;
}

const MibName& MibTree::node(const std::string& arcs) const {
    const auto found = nodes_.find(arcs);
    if (found == nodes_.end())
        throw MibError("no node has the arcs " + arcs);
    return found->second;
}

std::span<const MibNotification> mib_notifications() {
    return notifications;
}

std::string arcs_text(std::span<const uint32_t> arcs) {
    std::string text;
    for (const uint32_t arc : arcs)
        text += (text.empty() ? "" : ".") + std::to_string(arc);
    return text;
}
