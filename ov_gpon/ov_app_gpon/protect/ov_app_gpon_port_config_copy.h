// One copy of a port's configuration to another port, which can be done write by write.
//
// Main loop only; each step waits for the card.
#pragma once

#include "ov_app_gpon_port_config_lines.h"

class PortConfigCopy {
public:
    // Of everything that a port has, or of these tables.
    PortConfigCopy(ov_ifindex_t from, ov_ifindex_t to,
                   std::span<const PortCopy* const> copies = ov_app_gpon_port_config_copies())
        : from_(from), to_(to), copies_(copies) {}

    // Makes the next write, or finds the rows of the next table. False when there was nothing left.
    bool step();

private:
    const PortCopyTable& table() const { return copies_[copy_]->tables[table_]; }
    void write_next();
    void end_table();

    ov_ifindex_t from_;
    ov_ifindex_t to_;
    std::span<const PortCopy* const> copies_;
    size_t copy_ = 0;  // the next one,
    size_t table_ = 0; // of its tables,
    bool collected_ = false;
    std::vector<CopiedRow> rows_;
    size_t row_ = 0;   // of its rows,
    size_t write_ = 0; // and of the writes that it leads to
};
