// One object of a MIB module (RFC 2578, chapter 7): what a column's description and its text say together.
#pragma once

#include <set>
#include <string>

#include "mib_text.h"
#include "table_desc.h"

struct MibObject {
    std::string name;
    std::string sequence_type; // in the row's SEQUENCE: "INTEGER", "DisplayString"
    std::string syntax;        // with the names, the range or the size
    std::string unit;
    std::string access; // "read-create", ...
    std::string text;   // with the quirks that the rest can't say
    std::string dflt;   // what stands in DEFVAL { }; empty for none
    int arc = 0;
    std::set<std::string> imports; // names that come from the base modules
};

// `is_index`: one of the table's own index columns. Throws MibError when the text doesn't fit the
// description.
MibObject mib_object(const ColumnDesc& column, const ObjectText& text, bool is_index);
