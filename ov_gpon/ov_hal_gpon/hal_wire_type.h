// Types of the fields that travel to and from the line cards.
//
// Every integer on the wire is big-endian and naturally aligned. The big_*_at types hold it so: they are of
// the wire's size and alignment on every host, and assignment and arithmetic convert. A record made of them
// is the wire form; it is copied with memcpy.
#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>

using boost::endian::big_int32_at;
using boost::endian::big_uint16_at;
using boost::endian::big_uint32_at;
using boost::endian::big_uint64_at;

// What the bytes of a field mean, for dumps and for the simulated cards.
enum class HalFieldKind {
    UNSIGNED, // 1, 2, 4 or 8 bytes
    SIGNED,   // 4 bytes
    IFINDEX,  // interface index, 4 bytes
    IPV4,     // IPv4 address, 4 bytes in network order
    MAC,      // 6 bytes
    SERIAL,   // GPON serial number, 8 bytes, and one that terminates it
    TEXT,     // text up to the first NUL, or the whole field
    BYTES,    // bit maps and octet strings
    RECORD,   // another record
    PAD,      // bytes that mean nothing and are sent as 0
};

// The vocabulary of the record descriptions (records/*.def): what is stored, and what it means.
namespace hal_type {

template <class Stored, HalFieldKind Kind, unsigned Count = 1>
struct Scalar {
    using element = Stored;
    using storage = Stored;
    static constexpr HalFieldKind kind = Kind;
    static constexpr unsigned count = Count;
};
template <class Stored, HalFieldKind Kind, unsigned Count>
struct Array {
    using element = Stored;
    using storage = Stored[Count];
    static constexpr HalFieldKind kind = Kind;
    static constexpr unsigned count = Count;
};
// A field of Size bytes that is one value.
template <class Stored, HalFieldKind Kind, unsigned Size>
struct Octets {
    using element = Stored[Size];
    using storage = Stored[Size];
    static constexpr HalFieldKind kind = Kind;
    static constexpr unsigned count = 1;
};

using U8 = Scalar<uint8_t, HalFieldKind::UNSIGNED>;
using U16 = Scalar<big_uint16_at, HalFieldKind::UNSIGNED>;
using U32 = Scalar<big_uint32_at, HalFieldKind::UNSIGNED>;
using U64 = Scalar<big_uint64_at, HalFieldKind::UNSIGNED>;
using I32 = Scalar<big_int32_at, HalFieldKind::SIGNED>;

// Interface index: slot, port, ONU and what is below, in one word.
using IFINDEX = Scalar<big_uint32_at, HalFieldKind::IFINDEX>;
// Bytes in network order: assign ntohl() of an address that is held in network order.
using IPV4 = Scalar<big_uint32_at, HalFieldKind::IPV4>;
using MAC = Octets<uint8_t, HalFieldKind::MAC, 6>;
// ITU-T G.984.3 serial number: four characters of the vendor, four binary bytes, a terminating 0.
using SERIAL = Octets<char, HalFieldKind::SERIAL, 9>;

// NUL-terminated text of at most Size - 1 bytes; a card may fill the field to the last byte.
template <unsigned Size>
using TEXT = Octets<char, HalFieldKind::TEXT, Size>;
// The same for a password or a key, which no dump shows.
template <unsigned Size>
struct SECRET : TEXT<Size> {
    static constexpr bool is_secret = true;
};
template <unsigned Size>
using BYTES = Octets<uint8_t, HalFieldKind::BYTES, Size>;
template <unsigned Size>
using PAD = Octets<uint8_t, HalFieldKind::PAD, Size>;

template <unsigned Count>
using U32S = Array<big_uint32_at, HalFieldKind::UNSIGNED, Count>;
template <unsigned Count>
using I32S = Array<big_int32_at, HalFieldKind::SIGNED, Count>;

// A word with one of the values of an enumeration; from the wire it may hold any other.
template <class Enumeration>
using ENUM = Scalar<big_int32_at, HalFieldKind::SIGNED>;
template <class Enumeration, unsigned Count>
using ENUMS = Array<big_int32_at, HalFieldKind::SIGNED, Count>;

// A record inside a record.
template <class Record>
using RECORD = Scalar<Record, HalFieldKind::RECORD>;
template <class Record, unsigned Count>
using RECORDS = Array<Record, HalFieldKind::RECORD, Count>;

} // namespace hal_type
