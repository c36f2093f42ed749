// ONUs gathered by their ports, as an upgrade is told of them: a row of sOnuUpdateTable for each port, with
// the bits of its ONUs.
#pragma once

#include <algorithm>
#include <vector>

#include "app_rows.h"
#include "ov_types.h"
#include "ovralist.h"
#include "sOnuUpdateTable.h"

// ONU n is bit (n - 1) & 7 of byte (n - 1) >> 3; what is no ONU's number has none.
inline void onu_mask_add(uint8_t (&mask)[16], mib_long onu) {
    const auto bit = static_cast<unsigned>(onu - 1);
    if (bit / 8 < sizeof mask)
        mask[bit / 8] = static_cast<uint8_t>(mask[bit / 8] | (1u << (bit & 7)));
}

class OnuPorts {
public:
    using Port = ov_sOnuUpdateTable_attr_t;

    // Adds the ONU of a row. Those of a port must come one behind the other.
    template <typename Row>
    void add(const Row& of) {
        const Port key = port_key<Port>(of);
        if (ports_.empty() || ports_.back().shelfID != key.shelfID || ports_.back().slotID != key.slotID ||
            ports_.back().portID != key.portID)
            ports_.push_back(key);
        onu_mask_add(ports_.back().sOnuUpdateOnuMask, of.onuId);
        ++onus_;
    }

    int onus() const { return onus_; }
    const std::vector<Port>& ports() const { return ports_; }

    // Copies the ports to the end of an initialised list, which owns the copies. The number of ONUs, or
    // OV_GPON_RET_NO_MEM.
    int append_to(ovralist_t* list) const {
        ovralist_attributes_copy(
            list, [](const void* /*port*/) { return sizeof(Port); }, 1);
        const bool listed = std::all_of(ports_.begin(), ports_.end(), [list](const Port& port) {
            return ovralist_append(list, &port) == 1;
        });
        return listed ? onus_ : OV_GPON_RET_NO_MEM;
    }

private:
    std::vector<Port> ports_;
    int onus_ = 0;
};
