// What the tests of the profile tables have in common.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "../support/app_chassis.h"
#include "mmg_text.h"

namespace profile_test {

inline mib_ulong hash_of(const std::string& name) {
    return static_cast<mib_ulong>(BKDRHash(name.c_str(), static_cast<int>(name.size())));
}

// Name, then the id as log lines show it.
inline std::string with_id(const std::string& text, mib_ulong id, const std::string& name = "") {
    const std::string line = text + std::to_string(static_cast<int32_t>(id));
    return name.empty() ? line : line + ":" + name;
}

template <size_t N>
void put_text(char (&to)[N], const std::string& text) {
    ASSERT_LT(text.size(), N);
    std::memset(to, 0, N);
    text.copy(to, N - 1);
}

// The log since the last look.
inline std::vector<std::string> log_of(AppChassis& chassis) {
    auto lines = chassis.hal.log.lines();
    LogCapture::clear();
    return lines;
}

// The record of a message; behind it stand the spare bytes that each message has.
inline wire::Bytes record_of(const CardMessage& message, size_t size) {
    EXPECT_EQ(message.bytes.size(), size + 16);
    return {message.bytes.begin(),
            message.bytes.begin() + static_cast<long>(std::min(size, message.bytes.size()))};
}

template <typename Row>
int rows_of() {
    return MibNumberGet(did_of<Row>());
}

} // namespace profile_test
