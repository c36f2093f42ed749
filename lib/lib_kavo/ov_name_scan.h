// Reading of names such as "3/2:12_5" by a pattern.
#pragma once

#include <initializer_list>

struct ov_name_scan_result {
    int converted;    // numbers read
    const char* rest; // the text behind what was read
};

// Reads `text` by `pattern`, in which '#' stands for a decimal number and any other character for itself.
// A number may have blanks and a sign in front of it; one beyond the range of int reads as the nearest
// that fits. Reading stops where the text departs from the pattern; numbers that weren't reached keep
// their values. There must be as many numbers as '#'.
ov_name_scan_result ov_name_scan(const char* text, const char* pattern, std::initializer_list<int*> numbers);
