#include "snmp.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr int ADDRESS_BYTES = 4;

int bounded_address_length(int len) {
    return std::clamp(len, 0, ADDRESS_BYTES);
}

int matched(size_t* var_len, WriteMethod** write_method) {
    *write_method = nullptr;
    *var_len = sizeof(long);
    return MATCH_SUCCEEDED;
}

void set_name(oid* name, size_t* length, const oid* value, size_t value_length) {
    oid_copy(name, value, value_length);
    *length = value_length;
}

} // namespace

int oid_compare(const oid* o1, int o1_len, const oid* o2, int o2_len) {
    const int common = std::min(o1_len, o2_len);
    for (int i = 0; i < common; ++i)
        if (o1[i] != o2[i])
            return o1[i] < o2[i] ? -1 : 1;
    return (o1_len > o2_len) - (o1_len < o2_len);
}

oid* oid_copy(oid* dest, const oid* src, size_t size) {
    return size == 0 ? dest : static_cast<oid*>(std::memmove(dest, src, size * sizeof(oid)));
}

void oid2in_addr(const oid* from, int len, struct in_addr* addr) {
    auto* bytes = reinterpret_cast<unsigned char*>(addr);
    std::transform(from, from + bounded_address_length(len), bytes,
                   [](oid arc) { return static_cast<unsigned char>(arc & 0xff); });
}

void oid_copy_addr(oid* to, const struct in_addr* addr, int len) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(addr);
    std::copy_n(bytes, bounded_address_length(len), to);
}

int smux_header_generic(struct variable* v, oid* name, size_t* length, int exact, size_t* var_len,
                        WriteMethod** write_method) {
    oid instance[MAX_OID_LEN];
    const size_t instance_length = size_t{v->namelen} + 1;
    if (instance_length > std::size(instance))
        return MATCH_FAILED;
    oid_copy(instance, v->name, v->namelen);
    instance[v->namelen] = 0;

    const int order =
        oid_compare(name, static_cast<int>(*length), instance, static_cast<int>(instance_length));
    if (exact != 0 ? order != 0 : order >= 0)
        return MATCH_FAILED;
    set_name(name, length, instance, instance_length);
    return matched(var_len, write_method);
}

int smux_header_table(struct variable* v, oid* name, size_t* length, int exact, size_t* var_len,
                      WriteMethod** write_method) {
    const size_t head = std::min<size_t>(*length, v->namelen);
    const int order = oid_compare(name, static_cast<int>(head), v->name, v->namelen);
    if (exact != 0 ? order != 0 : order > 0)
        return MATCH_FAILED;
    if (order < 0)
        set_name(name, length, v->name, v->namelen);
    return matched(var_len, write_method);
}
