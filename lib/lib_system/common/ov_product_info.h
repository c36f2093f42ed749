// The record of product facts that the platform's environment store holds, read once. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t OV_PRODUCT_INFO_TEXT_SIZE = 64; // bytes of a text with its terminator
inline constexpr size_t OV_PRODUCT_INFO_KEY_NUM = 52;

struct ov_product_info_cb_s {
    uint32_t filled;
    char text[OV_PRODUCT_INFO_KEY_NUM][OV_PRODUCT_INFO_TEXT_SIZE]; // "" when not set
};

// Fills the record, with one run of ov_env_get for each key; later calls do nothing. A key that isn't set
// or whose value is longer than 63 characters leaves an empty text and is logged.
void ov_product_info_init();
// For tests only: the next query reads the store again.
void ov_product_info_deinit();

// The keys, in the order in which they are read; null past the end.
const char* ov_product_info_key(size_t position);

// The text of a key, filling the record first if need be. "" when not set or not one of the keys. Valid
// for the life of the process.
const char* ov_product_info_get(const char* key);
// The same as a number: decimal digits, blanks in front and anything behind are passed over; above 32 bits
// it is the greatest. `fallback` when there are none.
uint32_t ov_product_info_get_number(const char* key, uint32_t fallback);

// ---- for ov_product ------------------------------------------------------------------------------------

uint32_t ov_product_number_of_text(const char* text, uint32_t fallback);

// One run of ov_env_get, cut to the buffer; true when the value is set. Its time is counted.
bool ov_product_env_lookup(const char* key, char* buf, size_t len);
// The same for a value of at most len - 1 characters, with a log line when it is missing or longer.
bool ov_product_env_lookup_text(const char* key, char* buf, size_t len);
