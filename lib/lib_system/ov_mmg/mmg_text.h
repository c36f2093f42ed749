// Text helpers of the store: hex digits, object identifiers, name hashes.
//
// The plain forms trust the caller's lengths. The *_clip forms take the target's size in elements, never
// pass it, and always terminate texts; use them for anything that came from outside.
#pragma once

#include <cstddef>

#include "ov_types.h"

typedef unsigned long oid; // one arc, the SNMP library's type

// Reads nLen hex digits (either case) in pairs into nLen / 2 bytes and returns that count. The digit left
// over by an odd nLen is dropped. A character that is no hex digit counts as 0; nothing is read behind the
// end of the text, and digits missing there count as 0.
size_t str_to_hex(char* pbDest, const char* pbSrc, int nLen);
size_t str_to_hex_clip(char* pbDest, size_t dest_size, const char* pbSrc, int nLen);

// Writes nLen bytes as upper-case hex digits and a terminator: 2 * nLen + 1 characters.
void hex_to_str(char* pbDest, const char* pbSrc, int nLen);
void hex_to_str_clip(char* pbDest, size_t dest_size, const char* pbSrc, int nLen);

// Splits the text at "." (which overwrites it), parses each piece as "%ld" and returns the number of arcs.
// Empty pieces are passed over; a piece that is no number counts as 0.
size_t str_to_oid(oid* pbDest, char* pbSrc);
size_t str_to_oid_clip(oid* pbDest, size_t dest_size, char* pbSrc);

// Writes nLen arcs in decimal, joined by "."; up to 21 characters each.
void oid_to_str(char* pbDest, const oid* pbSrc, int nLen);
void oid_to_str_clip(char* pbDest, size_t dest_size, const oid* pbSrc, int nLen);

// 1 if the first nLen characters are all letters or digits (of ASCII), else 0. A text that ends before is
// refused; nLen 0 passes.
char if_legal_string(const char* pbSrc, int nLen);

// Hash of len bytes with the multiplier 131, in 32 bits. The numeric index of a named profile is this hash
// of its name, so the value is part of the configuration. Values above 2^31 come out negative: compare
// hashes as uint32_t.
mib_long BKDRHash(const char* str, int len);

// Removes every blank from the text, in place; returns it.
char* strtrim(char* text);

// Copies cnt characters from position start and terminates; stops at the end of src. A start behind that
// end gives the empty text.
void substr(char* dest, const char* src, int start, int cnt);
void substr_clip(char* dest, size_t dest_size, const char* src, int start, int cnt);
