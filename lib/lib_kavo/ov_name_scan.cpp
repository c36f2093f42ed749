#include "ov_name_scan.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

ov_name_scan_result ov_name_scan(const char* text, const char* pattern, std::initializer_list<int*> numbers) {
    int converted = 0;
    const auto* target = numbers.begin();
    for (; *pattern != '\0'; pattern++) {
        if (*pattern != '#') {
            if (*text != *pattern)
                break;
            text++;
            continue;
        }
        char* end = nullptr;
        long value = strtol(text, &end, 10); // out of range: the nearest long
        if (end == text || target == numbers.end())
            break;
        **target++ = int(std::clamp<long>(value, INT_MIN, INT_MAX));
        text = end;
        converted++;
    }
    return {converted, text};
}
