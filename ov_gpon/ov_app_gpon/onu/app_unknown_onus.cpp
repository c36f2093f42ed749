#include "app_unknown_onus.h"

#include "app_rows.h"
#include "ov_gpon.h"
#include "ov_hal_gpon_enums.h"

namespace {

template <typename Row>
int64_t place_of_port(const Row& row) {
    return int64_t{row.slotID} << 32 | static_cast<uint32_t>(row.portID);
}

// An identity: its kind in front, so that a password isn't taken for a logical id. "" for none.
std::string identity(char kind, const char* text) {
    return *text != '\0' ? kind + std::string(text) : "";
}

// By the eight bytes, as cards compare them: its hexadecimal digits may be in any case.
std::string identity_of_sn(const char* text) {
    unsigned char bytes[OV_GPON_SN_BYTES];
    if (ov_gpon_onu_sn_string_to_bytes(text, bytes) != 0)
        return "";
    return 's' + std::string(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

std::string identity_of(const ov_sOnuTable_attr_t& onu) {
    switch (onu.sOnuTableAuthMode) {
    case OV_GPON_ONU_AUTH_MODE_SN:
    case OV_GPON_ONU_AUTH_MODE_SNPW:
        return identity_of_sn(onu.sOnuTableSn);
    case OV_GPON_ONU_AUTH_MODE_PW:
        return identity('p', onu.sOnuTablePw);
    case OV_GPON_ONU_AUTH_MODE_LOID:
    case OV_GPON_ONU_AUTH_MODE_LOIDPW:
        return identity('l', onu.sOnuTableLoid);
    default:
        return "";
    }
}

} // namespace

const std::vector<ov_sOnuInitTable_attr_t>* UnknownOnus::like(const ov_sOnuTable_attr_t& onu) {
    refresh();
    const auto found = by_identity_.find(identity_of(onu));
    return found != by_identity_.end() ? &found->second : nullptr;
}

std::pair<int, std::string> UnknownOnus::on_port_of(const ov_sOnuTable_attr_t& onu) {
    refresh();
    const auto found = by_port_.find(place_of_port(onu));
    return found != by_port_.end() ? std::pair{found->second.count, found->second.first_sn}
                                   : std::pair{0, std::string()};
}

void UnknownOnus::refresh() {
    const uint64_t generation = table_of<ov_sOnuInitTable_attr_t>::module().generation();
    if (generation_ == generation)
        return;
    by_identity_.clear();
    by_port_.clear();
    for (const auto& row : all_rows<ov_sOnuInitTable_attr_t>())
        enter(row);
    generation_ = generation;
}

void UnknownOnus::enter(const ov_sOnuInitTable_attr_t& row) {
    for (const std::string& shown : {identity_of_sn(row.sOnuInitTableSn), identity('p', row.sOnuInitTablePw),
                                     identity('l', row.sOnuInitTableLoid)})
        if (!shown.empty())
            by_identity_[shown].push_back(row);
    Port& port = by_port_[place_of_port(row)];
    if (port.count++ == 0)
        port.first_sn = row.sOnuInitTableSn;
}
