#include "mib_object.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int64_t INT_LEAST = std::numeric_limits<int32_t>::min();
constexpr int64_t INT_MOST = std::numeric_limits<int32_t>::max();
constexpr int64_t UINT_MOST = std::numeric_limits<uint32_t>::max();

using Names = std::vector<std::pair<int64_t, std::string>>;

bool is_writable(const ColumnDesc& column) {
    return column.access >= ColAccess::READ_WRITE;
}

std::string span(int64_t min, int64_t max) {
    return std::to_string(min) + ".." + std::to_string(max);
}

// Names of the description; or of the text, for a column that has a range and no names.
Names names_of(const ColumnDesc& column, const ObjectText& text) {
    Names names;
    for (const ColName& name : column.names)
        names.emplace_back(name.value, name.name);
    if (text.names.empty())
        return names;
    const bool fits = names.empty() && text.names.front().first == column.min &&
                      text.names.back().first == column.max &&
                      text.names.size() == static_cast<size_t>(column.max - column.min + 1);
    if (!fits && (!names.empty() || is_writable(column)))
        throw MibError("its names aren't those of the description's range");
    return text.names;
}

std::string enumeration(const Names& names) {
    std::string text = "INTEGER {";
    for (const auto& [value, name] : names)
        text += (text.back() == '{' ? "\n" : ",\n") + std::string(12, ' ') + name + "(" +
                std::to_string(value) + ")";
    return text + " }";
}

// The row status of a table whose rows managers can't make. RowStatus itself must be read-create.
const Names ROW_STATES = {{1, "active"},      {2, "notInService"},  {3, "notReady"},
                          {4, "createAndGo"}, {5, "createAndWait"}, {6, "destroy"}};

void set_type(MibObject& object, const std::string& type, const std::string& restriction = "") {
    object.sequence_type = type;
    object.syntax = type + restriction;
    object.imports.insert(type);
}

void set_number(MibObject& object, const ColumnDesc& column, const ObjectText& text, int64_t least,
                int64_t most) {
    const Names names = names_of(column, text);
    const auto [min, max] = text.range.value_or(std::pair{column.min, column.max});
    if (min < column.min || max > column.max)
        throw MibError("its range is wider than the description's");
    if (!names.empty()) {
        object.sequence_type = "INTEGER";
        object.syntax = enumeration(names);
    } else {
        set_type(object, least < 0 ? "Integer32" : "Unsigned32",
                 min != least || max != most ? " (" + span(min, max) + ")" : "");
    }
}

void set_row_status(MibObject& object, const ColumnDesc& column) {
    if (is_writable(column)) {
        set_type(object, "RowStatus");
    } else {
        object.sequence_type = "INTEGER";
        object.syntax = enumeration(ROW_STATES);
    }
}

void set_octets(MibObject& object, const ColumnDesc& column, const ObjectText& text) {
    if (text.mac) {
        if (column.limit != 6)
            throw MibError("a MAC address has six octets");
        return set_type(object, "MacAddress");
    }
    const std::string most = std::to_string(column.limit);
    object.sequence_type = "OCTET STRING";
    object.syntax = "OCTET STRING (SIZE (" + (is_writable(column) ? "0.." + most : most) + "))";
}

void set_syntax(MibObject& object, const ColumnDesc& column, const ObjectText& text) {
    switch (column.type) {
    case ColType::INT:
        return set_number(object, column, text, INT_LEAST, INT_MOST);
    case ColType::UINT:
        return set_number(object, column, text, 0, UINT_MOST);
    case ColType::COUNTER64:
        return set_type(object, "Counter64");
    case ColType::IPADDR:
        return set_type(object, "IpAddress");
    case ColType::TEXT:
        return set_type(object, "DisplayString", " (SIZE (0.." + std::to_string(column.limit) + "))");
    case ColType::BIN:
        return set_octets(object, column, text);
    case ColType::ROWSTATUS:
        return set_row_status(object, column);
    }
}

// No object of type Counter64 may be writable, no part of an index accessible.
std::string access_of(const ColumnDesc& column, bool is_index) {
    if (is_index)
        return "not-accessible";
    if (column.type == ColType::COUNTER64)
        return "read-only";
    switch (column.access) {
    case ColAccess::NOT_ACCESSIBLE:
        return "not-accessible";
    case ColAccess::READ_ONLY:
        return "read-only";
    case ColAccess::READ_WRITE:
        return "read-write";
    case ColAccess::READ_CREATE:
        return "read-create";
    }
    return "";
}

bool number_is_allowed(const ColumnDesc& column, const ObjectText& text, int64_t value) {
    const Names names = names_of(column, text);
    if (!names.empty())
        return std::any_of(names.begin(), names.end(), [value](const auto& n) { return n.first == value; });
    const auto [min, max] = text.range.value_or(std::pair{column.min, column.max});
    return value >= min && value <= max;
}

std::string number_default(const ColumnDesc& column, const ObjectText& text) {
    for (const auto& [value, name] : names_of(column, text))
        if (value == column.dflt)
            return name;
    return number_is_allowed(column, text, column.dflt) ? std::to_string(column.dflt) : "";
}

// A default is of rows that managers make.
std::string default_of(const ColumnDesc& column, const ObjectText& text) {
    if (column.access != ColAccess::READ_CREATE)
        return "";
    switch (column.type) {
    case ColType::INT:
    case ColType::UINT:
        return number_default(column, text);
    case ColType::IPADDR:
        return "'00000000'H";
    case ColType::TEXT:
        return "\"" + std::string(column.dflt_text) + "\"";
    case ColType::BIN:
        return "'" + std::string(size_t{2} * column.limit, '0') + "'H";
    default:
        return "";
    }
}

bool has_gaps(const ColumnDesc& column) {
    return !column.names.empty() &&
           column.names.back().value - column.names.front().value + 1 != std::ssize(column.names);
}

// The quirks that SMIv2 has no words for.
std::string quirks_of(const ColumnDesc& column, const ObjectText& text, bool is_index) {
    std::string words;
    const bool is_number = column.type == ColType::INT || column.type == ColType::UINT;
    if (!text.alias.empty())
        words += " The system itself calls it " + std::string(column.name) + ".";
    if (is_index && column.access == ColAccess::READ_ONLY)
        words += " Though part of the index, it can be read.";
    if (column.type == ColType::COUNTER64 && is_writable(column))
        words += " It can be written, with an Unsigned32 or a Counter64, although no object of this type may "
                 "say so.";
    if (column.type == ColType::BIN && is_writable(column) && !text.mac)
        words += " Fewer octets are filled up with zeros; all are read.";
    if (is_number && is_writable(column) && has_gaps(column) && column.min == column.names.front().value)
        words += " Numbers between the named ones are taken too.";
    if (is_number && is_writable(column) && !column.names.empty() && column.min < column.names.front().value)
        words += " Other numbers are judged with the whole row.";
    if (is_number && !is_index && !number_is_allowed(column, text, column.dflt))
        words += " Unset, it reads " + std::to_string(column.dflt) + ".";
    if (column.secret)
        words += " It is a secret: readable here, never in the system's log.";
    return words;
}

} // namespace

MibObject mib_object(const ColumnDesc& column, const ObjectText& text, bool is_index) try {
    MibObject object;
    object.name = text.alias.empty() ? column.name : text.alias;
    set_syntax(object, column, text);
    object.unit = text.unit;
    object.access = access_of(column, is_index);
    object.text = text.text + quirks_of(column, text, is_index);
    object.dflt = default_of(column, text);
    object.arc = column.number;
    return object;
} catch (const MibError& error) {
    throw MibError(std::string(column.name) + ": " + error.what());
}
