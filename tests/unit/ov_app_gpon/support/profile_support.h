// What the tests of the profile tables have in common.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "../../support/app_chassis.h"
#include "app_set_callback.h"
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

// An add asks for a row, a mask, and one column in the mask.
template <typename Row>
void expect_add_needs(AppChassis& chassis, int (*add)(Row*, MIB_Flags_t*), Row row, unsigned column) {
    MIB_Flags_t columns = mibDefFlags;
    EXPECT_EQ(add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
    EXPECT_THAT(log_of(chassis), testing::ElementsAre("null pointer"));
    EXPECT_EQ(add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
    EXPECT_THAT(log_of(chassis), testing::ElementsAre("null pointer"));
    mib_flag_clear(columns, column);
    EXPECT_EQ(add(&row, &columns), OV_GPON_RET_BAD_PARAM);
    EXPECT_THAT(log_of(chassis), testing::ElementsAre("missing parameter"));
    EXPECT_EQ(rows_of<Row>(), 0);
    EXPECT_THAT(chassis.messages(), testing::IsEmpty());
}

// What may name a profile and so keep it from being removed.
struct ProfileUser {
    std::function<void(AppChassis&, const std::string& profile)> put;
    std::string refusal; // the check's line, for the profile IN_USE
    int del_code = OV_GPON_RET_BAD_PARAM;
};
// The profile of the tests of use: its id is above 2^31, and columns of other tables that hold it are signed.
inline const std::string IN_USE = "internet";

// The operations of one profile table on rows by name. A Description (profile_tables.h) says what sets the
// table apart.
template <typename Description>
struct Profiles : Description {
    using D = Description;
    using Row = typename D::Row;

    // A row that passes every rule.
    static Row profile(const std::string& name, int value = 3) {
        Row row = {};
        put_text(D::name_of(row), name);
        row.*D::VALUE = static_cast<std::remove_reference_t<decltype(row.*D::VALUE)>>(value);
        return row;
    }
    static int add(Row row, MIB_Flags_t columns = mibDefFlags) { return D::ADD(&row, &columns); }
    static int del(const std::string& name) {
        Row row = profile(name);
        return D::DEL(&row);
    }
    static Row key(mib_ulong id) {
        Row row = {};
        row.*D::ID = id;
        return row;
    }
    static const Row* stored(mib_ulong id) { return find_row(key(id)); }
    static const Row* stored(const std::string& name) { return stored(hash_of(name)); }
    static int64_t value_of(const Row* row) { return row != nullptr ? int64_t{row->*D::VALUE} : -1; }

    // As a manager makes, activates and removes a row: the index is the manager's choice.
    static bool manager_writes(mib_ulong id, Row row, mib_long status, MIB_Flags_t columns = mibDefFlags) {
        row.*D::ID = id;
        row.*D::ROW_STATUS = status;
        return mib_access(MIB_SET, row, columns);
    }
    static bool manager_creates(mib_ulong id, const Row& row) {
        return manager_writes(id, row, OVRA_CREATEANDGO);
    }
    static bool manager_sets_status(mib_ulong id, mib_long status) {
        return manager_writes(id, {}, status, columns_of(D::ROW_STATUS_COLUMN));
    }

    // Rows as of a loaded file.
    static void put(AppChassis& chassis, mib_ulong id, const std::string& name, int value = 0) {
        chassis.put_row<Row>(
            [&](Row& row) {
                put_text(D::name_of(row), name);
                row.*D::VALUE = static_cast<std::remove_reference_t<decltype(row.*D::VALUE)>>(value);
            },
            id);
    }
    static void put_many(AppChassis& chassis, int count) {
        for (int n = 0; n < count; ++n)
            put(chassis, static_cast<mib_ulong>(1000 + n), "p" + std::to_string(n));
    }
};

} // namespace profile_test
