#include "hal_record_dump.h"

#include <arpa/inet.h>
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "ov_product_log.h"

namespace {

constexpr unsigned SERIAL_VENDOR_BYTES = 4;
constexpr unsigned SERIAL_BYTES = 8;

const uint8_t* element_of(const HalFieldDesc& field, const void* record, unsigned element) {
    return static_cast<const uint8_t*>(record) + field.offset + size_t(field.element_size) * element;
}

uint64_t big_endian(const uint8_t* bytes, unsigned size) {
    uint64_t value = 0;
    for (unsigned i = 0; i < size; i++)
        value = value << 8 | bytes[i];
    return value;
}

void append_hex(std::string& text, const uint8_t* bytes, unsigned size, const char* between = "") {
    for (unsigned i = 0; i < size; i++) {
        char digits[3];
        snprintf(digits, sizeof(digits), "%02x", unsigned(bytes[i]));
        if (i > 0)
            text += between;
        text += digits;
    }
}

void append_printable(std::string& text, const uint8_t* bytes, unsigned size) {
    for (unsigned i = 0; i < size; i++) {
        // Not isprint(): the text must not depend on the locale.
        if (bytes[i] >= 0x20 && bytes[i] < 0x7f && bytes[i] != '\\') {
            text += char(bytes[i]);
        } else {
            text += "\\x";
            append_hex(text, bytes + i, 1);
        }
    }
}

std::string serial_text(const uint8_t* bytes) {
    std::string text;
    append_printable(text, bytes, SERIAL_VENDOR_BYTES);
    append_hex(text, bytes + SERIAL_VENDOR_BYTES, SERIAL_BYTES - SERIAL_VENDOR_BYTES);
    return text;
}

std::string ipv4_text(const uint8_t* bytes) {
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, bytes, text, sizeof(text)) != nullptr ? text : "";
}

void dump_fields(const HalRecordDesc& desc, const void* record, const std::string& prefix,
                 const HalDumpSink& sink) {
    for (const HalFieldDesc& field : desc.fields) {
        if (field.kind == HalFieldKind::PAD)
            continue;
        for (unsigned i = 0; i < field.count; i++) {
            std::string path = prefix + field.name;
            if (field.count > 1)
                path += "[" + std::to_string(i) + "]";
            if (field.kind == HalFieldKind::RECORD) {
                dump_fields(*field.sub, element_of(field, record, i), path + ".", sink);
            } else {
                sink.line(sink.context,
                          path + ": " + (field.secret ? "***" : hal_field_text(field, record, i)));
            }
        }
    }
}

void log_line(void* context, std::string_view text) {
    const auto* desc = static_cast<const HalRecordDesc*>(context);
    OV_LOG_DEBUG("LIB", "%s: %.*s", desc->name, int(text.size()), text.data());
}

} // namespace

void hal_record_dump(const HalRecordDesc& desc, const void* record, const HalDumpSink& sink) {
    dump_fields(desc, record, "", sink);
}

void hal_record_log(const HalRecordDesc& desc, const void* record) {
    // The context is only read.
    hal_record_dump(desc, record, {log_line, const_cast<HalRecordDesc*>(&desc)});
}

uint64_t hal_field_number(const HalFieldDesc& field, const void* record, unsigned element) {
    if (element >= field.count)
        return 0;
    const uint64_t value = big_endian(element_of(field, record, element), field.element_size);
    switch (field.kind) {
    case HalFieldKind::UNSIGNED:
    case HalFieldKind::IFINDEX:
    case HalFieldKind::IPV4:
        return value;
    case HalFieldKind::SIGNED:
        return uint64_t(int64_t(int32_t(uint32_t(value))));
    default:
        return 0;
    }
}

std::string hal_field_text(const HalFieldDesc& field, const void* record, unsigned element) {
    if (element >= field.count)
        return {};
    const uint8_t* bytes = element_of(field, record, element);
    std::string text;
    switch (field.kind) {
    case HalFieldKind::UNSIGNED:
    case HalFieldKind::IFINDEX:
        return std::to_string(hal_field_number(field, record, element));
    case HalFieldKind::SIGNED:
        return std::to_string(int64_t(hal_field_number(field, record, element)));
    case HalFieldKind::IPV4:
        return ipv4_text(bytes);
    case HalFieldKind::SERIAL:
        return serial_text(bytes);
    case HalFieldKind::MAC:
        append_hex(text, bytes, field.element_size, ":");
        break;
    case HalFieldKind::BYTES:
        append_hex(text, bytes, field.element_size);
        break;
    case HalFieldKind::TEXT:
        append_printable(text, bytes,
                         unsigned(strnlen(reinterpret_cast<const char*>(bytes), field.element_size)));
        break;
    case HalFieldKind::RECORD:
    case HalFieldKind::PAD:
        break;
    }
    return text;
}
