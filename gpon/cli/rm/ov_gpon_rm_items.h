// What is known of one thing behind an ONU, a line for each item: how "show onu remote ..." prints a row of a
// table. Which columns, under which names, is data of the command.
//
//     constexpr RmItem ITEMS[] = {{"max-frame", sRmUniStatusMaxFrameSize}, {"dot1x", ..., SWITCH_WORDS}};
//     const RmItems items(call.vty, "uni");
//     items.begin();
//     items.print("eth_1/1", table_desc_sRmUniStatusTable, &row, ITEMS);
#pragma once

#include <span>
#include <string>

#include "kavo_table.h"
#include "table_desc.h"

struct RmItem {
    const char* name;
    unsigned column;
    // Words for its numbers; empty: the names that the table has for them, or the number.
    std::span<const ColName> words = {};
    // What stands for the value instead, made of the whole row.
    std::string (*text)(const void* row) = nullptr;
};

class RmItems {
public:
    // `things`: the heading over what the items belong to, "onu" or "uni".
    RmItems(struct vty* vty, const char* things);

    // The heading.
    void begin() const;
    // A row's items; `thing` stands in front of each.
    void print(const std::string& thing, const TableDesc& table, const void* row,
               std::span<const RmItem> items) const;
    // An item that isn't a column's.
    void print(const std::string& thing, const char* name, const kavo_cell_t& value) const;
    // A line behind the items.
    void total(int count) const;

private:
    kavo_table_t table_;
};
