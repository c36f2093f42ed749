// The controller's messages as data: names, body records and their fields, and which side sends what.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "umsg.h"

enum class FieldKind {
    U16,
    U32,
    I32,
    FLAGS,   // 32 bits; "up" (1) and "running" (0x40) may be written as words: up+running
    IFINDEX, // 32 bits; a port's name may be written in its place
    TEXT,    // terminated, filled with zeros
    OCTETS,  // printable text, or hex: and the bytes; needn't be terminated
    VLANS,   // 512 bytes; "1,5-7"
};

struct Field {
    const char* name;
    FieldKind kind;
    uint16_t offset;
    uint16_t size; // bytes
};

struct BodyLayout {
    const char* name; // of the record, for error texts
    size_t size;      // bytes
    std::span<const Field> fields;
};

struct MessageType {
    uint8_t number;
    const char* name;          // "UMSG_NEW_IF"
    const BodyLayout* event;   // body when the controller sends it; null: not known, give the bytes
    const BodyLayout* request; // body when the daemon sends it; null: the controller takes no such request
};

const MessageType* find_message(uint8_t number); // null above the catalogue
// By the enumerator with or without UMSG_, in any case, with - for _, or by number.
const MessageType* find_message(std::string_view name);
// The short form of the name: "new-if".
std::string short_name(const MessageType& type);
std::span<const MessageType> all_messages();

using Fields = std::map<std::string, std::string, std::less<>>;
using NamedValues = std::vector<std::pair<std::string, std::string>>;

// Makes a body from field values; fields not given are 0. A port's name given as "ifindex" also fills an
// empty name field. False, with the reason in error, for an unknown field or a value that doesn't fit.
bool encode_body(const BodyLayout& layout, const Fields& values, std::vector<uint8_t>& body,
                 std::string& error);

// The fields of a body of exactly layout.size bytes, in order, as text; an ifindex field that names a port
// is followed by "port" (or "work_port" for "work_ifindex", and so on).
NamedValues decode_body(const BodyLayout& layout, std::span<const uint8_t> body);

// The first text field that isn't terminated; null when all are.
const Field* unterminated_text(const BodyLayout& layout, std::span<const uint8_t> body);
