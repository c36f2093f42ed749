#include "card_fields.h"

#include <algorithm>
#include <cstring>

#include "card_frame.h"
#include "onu.h"
#include "port_name.h"
#include "text.h"

namespace {

bool is_octets(const HalFieldDesc& field) {
    return field.kind == HalFieldKind::TEXT || field.kind == HalFieldKind::BYTES ||
           field.kind == HalFieldKind::SERIAL || field.kind == HalFieldKind::MAC;
}

uint64_t get_number(std::span<const uint8_t> bytes) {
    uint64_t value = 0;
    for (const uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

void walk(const HalRecordDesc& record, const std::string& prefix, uint16_t base,
          const CardFieldVisitor& visit) {
    for (const HalFieldDesc& field : record.fields) {
        if (!field.name || field.kind == HalFieldKind::PAD)
            continue;
        for (uint16_t i = 0; i < field.count; ++i) {
            const std::string path =
                prefix + field.name + (field.count > 1 ? format("[%u]", i) : std::string());
            const auto at = static_cast<uint16_t>(base + field.offset + i * field.element_size);
            if (field.sub)
                walk(*field.sub, path + ".", at, visit);
            else
                visit(path, field, at);
        }
    }
}

std::string octets_text(std::span<const uint8_t> bytes) {
    const auto end = std::find(bytes.begin(), bytes.end(), 0);
    const bool readable = std::all_of(bytes.begin(), end, [](uint8_t c) { return c >= ' ' && c < 127; }) &&
                          std::all_of(end, bytes.end(), [](uint8_t c) { return c == 0; });
    return readable ? std::string(bytes.begin(), end) : "hex:" + to_hex(bytes);
}

std::string element_json(const HalFieldDesc& field, std::span<const uint8_t> bytes) {
    if (field.sub)
        return card_record_json(*field.sub, bytes);
    const std::string text = card_value_text(field, bytes);
    return is_octets(field) ? json_string(text) : text;
}

bool put_octets(const HalFieldDesc& field, const std::string& value, std::span<uint8_t> bytes) {
    static constexpr std::string_view HEX = "hex:";
    std::fill(bytes.begin(), bytes.end(), 0);
    if (field.kind == HalFieldKind::SERIAL) {
        if (const auto serial = parse_onu_serial(value)) {
            std::copy(serial->begin(), serial->end(), bytes.begin());
            return true;
        }
    }
    std::vector<uint8_t> octets(value.begin(), value.end());
    if (value.starts_with(HEX)) {
        const auto digits = parse_hex(std::string_view(value).substr(HEX.size()));
        if (!digits)
            return false;
        octets = *digits;
    }
    if (octets.size() > bytes.size())
        return false;
    std::copy(octets.begin(), octets.end(), bytes.begin());
    return true;
}

bool put_number(const HalFieldDesc& field, const std::string& value, std::span<uint8_t> bytes) {
    std::optional<uint32_t> number = parse_u32(value);
    if (!number && field.kind == HalFieldKind::IFINDEX)
        number = ifindex_of_port(value);
    if (!number && field.kind == HalFieldKind::SIGNED) {
        if (const auto negative = parse_i32(value))
            number = static_cast<uint32_t>(*negative);
    }
    if (!number || (bytes.size() < 4 && *number >> (bytes.size() * 8)))
        return false;
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[bytes.size() - 1 - i] = static_cast<uint8_t>(i < 4 ? *number >> (i * 8) : 0);
    return true;
}

} // namespace

void walk_card_fields(const HalRecordDesc& record, const CardFieldVisitor& visit) {
    walk(record, "", 0, visit);
}

std::string card_value_text(const HalFieldDesc& field, std::span<const uint8_t> bytes) {
    if (field.kind == HalFieldKind::SERIAL && bytes[0] && bytes[8] == 0) {
        OnuSerial serial;
        std::copy_n(bytes.begin(), serial.size(), serial.begin());
        return onu_serial_text(serial);
    }
    if (is_octets(field))
        return octets_text(bytes);
    const uint64_t number = get_number(bytes);
    if (field.kind == HalFieldKind::SIGNED)
        return std::to_string(static_cast<int32_t>(number));
    return std::to_string(number);
}

NamedValues card_values_of(const HalRecordDesc& record, std::span<const uint8_t> bytes) {
    NamedValues values;
    walk_card_fields(record, [&](const std::string& path, const HalFieldDesc& field, uint16_t offset) {
        const auto element = bytes.subspan(offset, field.element_size);
        values.emplace_back(path, card_value_text(field, element));
        if (field.kind != HalFieldKind::IFINDEX)
            return;
        if (std::string port = port_of_ifindex(get_be32(bytes, offset)); !port.empty())
            values.emplace_back("port", std::move(port));
    });
    return values;
}

std::string json_string(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        if (c >= ' ' && c < 127)
            quoted += c;
        else
            quoted += format("\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
    return quoted + '"';
}

std::string card_record_json(const HalRecordDesc& record, std::span<const uint8_t> bytes) {
    std::string text = "{";
    for (const HalFieldDesc& field : record.fields) {
        if (!field.name || field.kind == HalFieldKind::PAD)
            continue;
        text += std::string(text.size() > 1 ? ", " : "") + json_string(field.name) + ": ";
        text += field.count > 1 ? "[" : "";
        for (uint16_t i = 0; i < field.count; ++i) {
            const auto at = static_cast<size_t>(field.offset) + static_cast<size_t>(i) * field.element_size;
            text += (i ? ", " : "") + element_json(field, bytes.subspan(at, field.element_size));
        }
        text += field.count > 1 ? "]" : "";
    }
    return text + "}";
}

bool put_card_fields(const HalRecordDesc& record, const Fields& values, std::span<uint8_t> bytes,
                     std::string& error) {
    Fields left = values;
    walk_card_fields(record, [&](const std::string& path, const HalFieldDesc& field, uint16_t offset) {
        const auto it = left.find(path);
        if (it == left.end())
            return;
        const auto element = bytes.subspan(offset, field.element_size);
        if (!(is_octets(field) ? put_octets(field, it->second, element)
                               : put_number(field, it->second, element)))
            error = "bad value for " + path + ": \"" + it->second + "\"";
        left.erase(it);
    });
    if (error.empty() && !left.empty())
        error = format("%s has no field \"%s\"", record.name, left.begin()->first.c_str());
    return error.empty();
}
