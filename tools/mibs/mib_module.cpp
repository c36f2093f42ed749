#include "mib_module.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

#include "mib_object.h"
#include "ov_product.h"

namespace {

constexpr size_t LINE_WIDTH = 76;
const char* const MODULES_NODE = "1.1.100"; // module identities
const char* const NOTIFICATIONS_NODE = "1.1.2.0";
const char* const CONTACT = "The makers of gpon; see README.md of its sources.";

// Which base module has what.
const std::map<std::string, std::string> BASE = {
    {"MODULE-IDENTITY", "SNMPv2-SMI"},   {"OBJECT-TYPE", "SNMPv2-SMI"},
    {"NOTIFICATION-TYPE", "SNMPv2-SMI"}, {"enterprises", "SNMPv2-SMI"},
    {"Integer32", "SNMPv2-SMI"},         {"Unsigned32", "SNMPv2-SMI"},
    {"Counter64", "SNMPv2-SMI"},         {"IpAddress", "SNMPv2-SMI"},
    {"TimeTicks", "SNMPv2-SMI"},         {"RowStatus", "SNMPv2-TC"},
    {"DisplayString", "SNMPv2-TC"},      {"MacAddress", "SNMPv2-TC"},
    {"OBJECT-GROUP", "SNMPv2-CONF"},     {"NOTIFICATION-GROUP", "SNMPv2-CONF"},
    {"MODULE-COMPLIANCE", "SNMPv2-CONF"}};

// `text` in quotes, in lines of a bearable width behind an indentation.
std::string quoted(const std::string& text, size_t indent) {
    if (text.find('"') != std::string::npos)
        throw MibError("a double quote in \"" + text + "\"");
    std::istringstream in("\"" + text + "\"");
    std::string lines;
    std::string line;
    for (std::string word; in >> word;) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > LINE_WIDTH) {
            lines += line + "\n" + std::string(indent, ' ');
            line = " "; // behind the quotation mark
        }
        line += (line.empty() || line == " " ? "" : " ") + word;
    }
    return lines + line;
}

std::string capital(std::string name) {
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return name;
}

std::string stem_of(const std::string& table) {
    return table.ends_with("Table") ? table.substr(0, table.size() - 5) : table;
}

std::string braces(const std::vector<std::string>& names, size_t indent) {
    std::string text = "{";
    for (const std::string& name : names)
        text += (text == "{" ? "\n" : ",\n") + std::string(indent, ' ') + name;
    return text + " }";
}

// One module on its way: definitions are written behind each other, imports are collected meanwhile.
class ModuleWriter {
public:
    ModuleWriter(const MibTree& tree, const ModuleText& module) : tree_(tree), module_(module) {}

    std::string text() {
        nodes();
        for (const std::string& table : module_.tables)
            write_table(table);
        notification_time();
        for (const std::string& table : module_.tables)
            notification(table);
        if (!module_.tables.empty())
            conformance();
        const std::string identity = identity_text();
        return head() + identity + out_ + "END\n";
    }

private:
    void use(const std::string& name) { imports_[BASE.at(name)].insert(name); }
    std::string use(const MibName& name) {
        if (name.module != module_.name)
            imports_[name.module].insert(name.name);
        return name.name;
    }

    std::string head() const {
        std::string text =
            "-- Written by mib-writer from the descriptions of the tables and their texts: edit those.\n\n" +
            module_.name + " DEFINITIONS ::= BEGIN\n\nIMPORTS\n";
        std::string from;
        for (const auto& [module, names] : imports_) {
            std::string list;
            for (const std::string& name : names)
                list += (list.empty() ? "    " : ",\n    ") + name;
            from += (from.empty() ? "" : "\n") + list + "\n        FROM " + module;
        }
        return text + from + ";\n\n";
    }

    std::string identity_text() {
        use("MODULE-IDENTITY");
        std::string text = module_.identity + " MODULE-IDENTITY\n    LAST-UPDATED \"" +
                           module_.revisions.front().name +
                           "\"\n    ORGANIZATION \"gpon\"\n    CONTACT-INFO\n        " + quoted(CONTACT, 8) +
                           "\n    DESCRIPTION\n        " + quoted(module_.text, 8) + "\n";
        for (const NamedText& revision : module_.revisions)
            text += "    REVISION \"" + revision.name + "\"\n    DESCRIPTION\n        " +
                    quoted(revision.text, 8) + "\n";
        return text + "    ::= { " + use(tree_.node(MODULES_NODE)) + " " + std::to_string(module_.arc) +
               " }\n\n";
    }

    // A node of the tree by its parent, the enterprise's by its number.
    void nodes() {
        for (const NamedText& node : module_.nodes) {
            out_ += "-- " + node.text + "\n" + node.name + " OBJECT IDENTIFIER ::= { ";
            if (node.arcs.empty() || node.arcs == "-") {
                use("enterprises");
                out_ += "enterprises " + std::to_string(OV_DEFAULT_ENTERPRISE_ID) + " }\n\n";
            } else {
                out_ += place(node.arcs) + " }\n\n";
            }
        }
    }

    // "1.1.2" as the name of 1.1, and 2.
    std::string place(const std::string& arcs) {
        const size_t dot = arcs.rfind('.');
        const std::string parent = dot == std::string::npos ? "-" : arcs.substr(0, dot);
        return use(tree_.node(parent)) + " " + arcs.substr(dot == std::string::npos ? 0 : dot + 1);
    }

    const ObjectText& text_of(const std::string& name) const {
        const auto found = module_.objects.find(name);
        if (found == module_.objects.end())
            throw MibError(module_.name + ": no text for " + name);
        return found->second;
    }

    std::string name_of(const std::string& name) const {
        const std::string& alias = text_of(name).alias;
        return alias.empty() ? name : alias;
    }

    // Row statuses need no text of their own.
    MibObject object_of(const ColumnDesc& column, bool is_index) const {
        if (column.type == ColType::ROWSTATUS && !module_.objects.contains(column.name))
            return mib_object(column,
                              {.text = column.access >= ColAccess::READ_WRITE
                                           ? "The status of the row."
                                           : "The status of the row, which is the system's to change."},
                              false);
        return mib_object(column, text_of(column.name), is_index);
    }

    // The objects that the table has: its own index objects, then its columns.
    std::vector<MibObject> objects_of(const TableDesc& table) const {
        std::vector<MibObject> objects;
        for (const ColumnDesc& column : table.index)
            if (column.number != 0)
                objects.push_back(object_of(column, true));
        for (const ColumnDesc& column : table.columns)
            objects.push_back(object_of(column, false));
        return objects;
    }

    std::string index_of(const TableDesc& table) {
        std::vector<std::string> names;
        for (const ColumnDesc& column : table.index)
            names.push_back(use(tree_.index_object(column.name)));
        return braces(names, 8);
    }

    void define(const std::string& name, const std::string& kind, const std::string& body) {
        use(kind);
        out_ += name + " " + kind + "\n" + body;
    }

    static std::string described(const std::string& text) {
        return "    STATUS current\n    DESCRIPTION\n        " + quoted(text, 8) + "\n";
    }

    void write_table(const std::string& name) {
        const TableDesc& table = MibTree::table(name);
        const std::string shown = name_of(name);
        const std::string row = stem_of(shown) + "Entry";
        const std::string closed = "    MAX-ACCESS not-accessible\n";
        out_ += "-- " + shown + "\n\n";
        define(shown, "OBJECT-TYPE",
               "    SYNTAX SEQUENCE OF " + capital(row) + "\n" + closed + described(text_of(name).text) +
                   "    ::= { " + place(arcs_text(table.oid)) + " }\n\n");
        define(row, "OBJECT-TYPE",
               "    SYNTAX " + capital(row) + "\n" + closed + described("A row of " + shown + ".") +
                   "    INDEX " + index_of(table) + "\n    ::= { " + shown + " 1 }\n\n");
        const std::vector<MibObject> objects = objects_of(table);
        sequence(row, objects);
        for (const MibObject& object : objects)
            write_object(object, row);
        groups_.emplace_back(stem_of(shown) + "Group", name);
    }

    void sequence(const std::string& row, const std::vector<MibObject>& objects) {
        std::vector<std::string> fields;
        for (const MibObject& object : objects)
            fields.push_back(object.name + " " + object.sequence_type);
        out_ += capital(row) + " ::= SEQUENCE " + braces(fields, 4) + "\n\n";
    }

    void write_object(const MibObject& object, const std::string& row) {
        for (const std::string& name : object.imports)
            use(name);
        define(object.name, "OBJECT-TYPE",
               "    SYNTAX " + object.syntax + "\n" +
                   (object.unit.empty() ? "" : "    UNITS \"" + object.unit + "\"\n") + "    MAX-ACCESS " +
                   object.access + "\n" + described(object.text) +
                   (object.dflt.empty() ? "" : "    DEFVAL { " + object.dflt + " }\n") + "    ::= { " + row +
                   " " + std::to_string(object.arc) + " }\n\n");
    }

    void notification_time() {
        if (!module_.notification_time)
            return;
        use("TimeTicks");
        define(module_.notification_time->name, "OBJECT-TYPE",
               "    SYNTAX TimeTicks\n    MAX-ACCESS accessible-for-notify\n" +
                   described(module_.notification_time->text) + "    ::= { " +
                   place(std::string(NOTIFICATIONS_NODE) + ".1") + " }\n\n");
    }

    // What it carries but for index objects, which notifications may not name.
    std::vector<std::string> accessible(const std::string& table) const {
        std::vector<std::string> names;
        for (const MibObject& object : objects_of(MibTree::table(table)))
            if (object.access != "not-accessible")
                names.push_back(object.name);
        return names;
    }

    std::string notification_text(const std::string& table) const {
        std::string index;
        for (const ColumnDesc& column : MibTree::table(table).index)
            if (column.number != 0)
                index += (index.empty() ? "" : ", ") + name_of(column.name);
        return std::string(text_of(table).sends ? "A row has changed."
                                                : "Reserved: this release never sends it.") +
               " Variables are named by their columns alone, without the row's index." +
               (index.empty() ? "" : " In front of the objects listed here stands " + index + ".") +
               " Last comes the time.";
    }

    void notification(const std::string& table) {
        const auto all = mib_notifications();
        const auto found =
            std::find_if(all.begin(), all.end(), [&](const MibNotification& n) { return n.table == table; });
        if (found == all.end())
            return;
        const std::string name = stem_of(name_of(table)) + "Trap";
        define(name, "NOTIFICATION-TYPE",
               "    OBJECTS " + braces(accessible(table), 8) + "\n" + described(notification_text(table)) +
                   "    ::= { " +
                   place(std::string(NOTIFICATIONS_NODE) + "." + std::to_string(found->number)) + " }\n\n");
        (text_of(table).sends ? sent_ : reserved_).push_back(name);
    }

    void group(const std::string& name, const std::string& kind, const std::vector<std::string>& members,
               const std::string& text) {
        const char* const word = kind == "OBJECT-GROUP" ? "    OBJECTS " : "    NOTIFICATIONS ";
        define(name, kind,
               word + braces(members, 8) + "\n" + described(text) + "    ::= { " + stem() + "Groups " +
                   std::to_string(++last_group_) + " }\n\n");
    }

    // "gponPort" of "gponPortMIB"
    std::string stem() const { return module_.identity.substr(0, module_.identity.size() - 3); }

    void conformance() {
        out_ += "-- Conformance\n\n" + stem() + "Compliances OBJECT IDENTIFIER ::= { " + module_.identity +
                " 1 }\n\n" + stem() + "Groups OBJECT IDENTIFIER ::= { " + module_.identity + " 2 }\n\n";
        std::vector<std::string> mandatory;
        for (const auto& [name, table] : groups_) {
            group(name, "OBJECT-GROUP", accessible(table), "The objects of " + name_of(table) + ".");
            mandatory.push_back(name);
        }
        if (module_.notification_time) {
            group(stem() + "TimeGroup", "OBJECT-GROUP", {module_.notification_time->name},
                  "The time of notifications.");
            mandatory.push_back(stem() + "TimeGroup");
        }
        if (!sent_.empty()) {
            group(stem() + "TrapGroup", "NOTIFICATION-GROUP", sent_, "The notifications that are sent.");
            mandatory.push_back(stem() + "TrapGroup");
        }
        if (!reserved_.empty())
            group(stem() + "ReservedTrapGroup", "NOTIFICATION-GROUP", reserved_,
                  "Notifications that are never sent yet.");
        compliance(mandatory);
    }

    void compliance(const std::vector<std::string>& mandatory) {
        std::string body = described("What this release of the daemon serves.") +
                           "    MODULE -- this one\n        MANDATORY-GROUPS " + braces(mandatory, 12) + "\n";
        if (!reserved_.empty())
            body += "        GROUP " + stem() + "ReservedTrapGroup\n        DESCRIPTION\n            " +
                    quoted("No release sends these yet.", 12) + "\n";
        define(stem() + "Compliance", "MODULE-COMPLIANCE",
               body + "    ::= { " + stem() + "Compliances 1 }\n\n");
    }

    const MibTree& tree_;
    const ModuleText& module_;
    std::map<std::string, std::set<std::string>> imports_;
    std::vector<std::pair<std::string, std::string>> groups_; // and the table
    std::vector<std::string> sent_;
    std::vector<std::string> reserved_;
    int last_group_ = 0;
    std::string out_;
};

} // namespace

std::string mib_module(const MibTree& tree, const ModuleText& module) try {
    return ModuleWriter(tree, module).text();
} catch (const MibError& error) {
    throw MibError(module.name + ": " + error.what());
}
