// What a manager reads in a column of a row.
#pragma once

#include <cstdint>
#include <span>

class TableModule;
struct ColumnDesc;

struct SnmpValue {
    uint8_t type = 0;               // ASN_INTEGER, ASN_UNSIGNED, ASN_COUNTER64, ASN_OCTET_STR, ASN_IPADDRESS
    uint64_t number = 0;            // of the first three; signed ones as their 32 bits
    std::span<const uint8_t> bytes; // of the others, in the row
};

// Under the table's mutex; good as long as the row stands.
SnmpValue snmp_value(const TableModule& module, const ColumnDesc& column, const void* row);
