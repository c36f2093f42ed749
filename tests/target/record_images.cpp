#include "byte_images.h"

#include <cstdio>
#include <type_traits>

#include "hal_record_desc.h"

namespace {

// Numbers the bytes that it writes from 1; 0 and 256 are left out, so that no two neighbours are alike.
class Counter {
public:
    template <typename Number>
    Number next() {
        uint64_t value = 0;
        for (size_t i = 0; i < sizeof(Number); i++)
            value = value << 8 | byte();
        return static_cast<Number>(value);
    }

private:
    uint8_t byte() { return last_ = static_cast<uint8_t>(last_ % 255 + 1); }
    uint8_t last_ = 0;
};

#define HAL_RECORD(record, size) void fill(record& to, Counter& counter);
#include "records/all.def"

template <typename T>
void fill(T& to, Counter& counter) {
    if constexpr (requires { typename T::value_type; })
        to = counter.next<typename T::value_type>(); // an integer of the wire, whose bytes are its own affair
    else
        to = counter.next<T>();
}

template <typename T, size_t N>
void fill(T (&to)[N], Counter& counter) {
    for (T& element : to)
        fill(element, counter);
}

#define HAL_RECORD(record, size) void fill(record& to, Counter& counter) {
#define HAL_FIELD(offset, field, ...) fill(to.field, counter);
// clang-format off
#define HAL_END(record) }
// clang-format on
#include "records/all.def"

template <typename Record>
void print_image(const char* name) {
    Record record{};
    Counter counter;
    fill(record, counter);
    const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
    std::printf("%s ", name);
    for (size_t i = 0; i < sizeof(Record); i++)
        std::printf("%02x", bytes[i]);
    std::puts("");
}

} // namespace

void print_record_images() {
#define HAL_RECORD(record, size) print_image<record>(#record);
#include "records/all.def"
}
