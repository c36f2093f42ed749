#include "table_snmp_value.h"

#include "table_record.h"
#include "table_snmp_request.h"

SnmpValue snmp_value(const TableModule& module, const ColumnDesc& column, const void* row) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(record_bytes(row) + column.offset);
    const auto octets = [bytes](u_char type, size_t size) {
        return SnmpValue{.type = type, .number = 0, .bytes = {bytes, size}};
    };
    switch (column.type) {
    case ColType::INT:
    case ColType::ROWSTATUS:
        return {.type = ASN_INTEGER, .number = record_get<uint32_t>(row, column.offset), .bytes = {}};
    case ColType::UINT:
        return {.type = ASN_UNSIGNED, .number = record_get<uint32_t>(row, column.offset), .bytes = {}};
    case ColType::COUNTER64:
        return {.type = ASN_COUNTER64, .number = record_get<uint64_t>(row, column.offset), .bytes = {}};
    case ColType::IPADDR:
        return octets(ASN_IPADDRESS, column.size);
    case ColType::TEXT:
        return octets(ASN_OCTET_STR,
                      module.is_whole_text(column, row) ? column.limit : text_length(column, row));
    case ColType::BIN:
        return octets(ASN_OCTET_STR, column.limit);
    }
    return {};
}
