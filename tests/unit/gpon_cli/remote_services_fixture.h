// Services behind an ONU, its management, power and optics by command, for tests: the rows that the ONU of
// RemoteCli and the service profile have, and the places where the commands stand.
#pragma once

#include "remote_fixture.h"

#include <sstream>

#include "rmServiceMacFilterDynamicTable.h"
#include "rmServiceMacFilterModeTable.h"
#include "rmServiceMacFilterStaticTable.h"
#include "sOnuExtendInfoTable.h"
#include "sRmIPHostTable.h"
#include "sRmMulticastTable.h"
#include "sRmOnuOptThresholdTable.h"
#include "sRmOnuPoeTable.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"
#include "sRmServiceTable.h"
#include "sRmTr069MgmtTable.h"
#include "sRmUniPoeTable.h"
#include "table_record.h"

class RemoteServicesCli : public RemoteCli {
protected:
    using Lines = std::vector<std::string>;
    using Texts = std::vector<std::pair<const char*, const char*>>; // lines, and what they are refused with

    RemoteServicesCli() {
        for (const Place& place : places())
            for (int gem = 1; gem <= 30; gem++)
                active(sGemTable_createEntry(1, place.slot, place.port, place.onu, gem));
        add_poe();
        active(sRmTr069MgmtTable_createEntry(1, 3, 2, 7));
        active(sRmOnuQosPriorityQueueScheduleTable_createEntry(1, 3, 2, 7));
        active(sRmOnuOptThresholdTable_createEntry(1, 3, 2, 7));
        active(sOnuExtendInfoTable_createEntry(1, 3, 2, 7));
    }

    void add_poe() {
        for (const Place& place : places()) {
            for (int port = 1; port <= 2; port++)
                active(sRmUniPoeTable_createEntry(1, place.slot, place.port, place.onu, 1, ETH, port));
            active(sRmOnuPoeTable_createEntry(1, place.slot, place.port, place.onu));
        }
    }

    // Where commands stand: a session, and the index of its object.
    struct Place {
        FrrSession* session;
        int slot, port, onu;
    };
    Place on_onu() { return {&far_, 3, 2, 7}; }
    Place on_profile() { return {&profile_, 31, 15, 5}; }
    std::vector<Place> places() { return {on_onu(), on_profile()}; }

    // The saved lines of an object that begin so, without the blank in front.
    static Lines saved(const Place& place, const std::string& beginning = "remote ") {
        EXPECT_EQ(place.session->run("write terminal current"), CMD_SUCCESS);
        std::istringstream text(place.session->output());
        Lines lines;
        for (std::string line; std::getline(text, line);)
            if (line.starts_with(" " + beginning))
                lines.push_back(line.substr(1));
        return lines;
    }
    static void enter(const Place& place, const Lines& lines) {
        for (const std::string& line : lines)
            EXPECT_EQ(run(*place.session, line), "") << line;
    }
    static void expect_refused(const Place& place, const Texts& texts, int result) {
        for (const auto& [line, text] : texts)
            EXPECT_EQ(run(*place.session, line, result), text) << line;
    }
    static void expect_no_commands(FrrSession& session, std::initializer_list<const char*> lines) {
        for (const char* line : lines)
            EXPECT_NE(session.run(line), CMD_SUCCESS) << line;
    }

    // The row of the place's object whose index goes on with one number, or ends; null for none.
    template <typename Row>
    static Row* row(const Place& place) {
        return const_cast<Row*>(find_row(onu_key<Row>(place.slot, place.port, place.onu)));
    }
    static ov_sRmServiceTable_attr_t* service(const Place& place, mib_ulong number) {
        auto key = onu_key<ov_sRmServiceTable_attr_t>(place.slot, place.port, place.onu);
        key.rmServiceID = number;
        return const_cast<ov_sRmServiceTable_attr_t*>(find_row(key));
    }
    template <typename Row>
    static size_t count(const Place& place) {
        return rows_copied(onu_key<Row>(place.slot, place.port, place.onu), INDEX_TO_ONU).size();
    }

    // Whether two rows say the same.
    template <typename Row>
    static void expect_same(const Row* row, const Row& other) {
        ASSERT_NE(row, nullptr);
        const TableDesc& table = table_of<Row>::module().desc();
        for (const ColumnDesc& column : table.columns) {
            const char* const bytes = record_bytes(row) + column.offset;
            const bool same = memcmp(bytes, record_bytes(&other) + column.offset, column.size) == 0;
            EXPECT_TRUE(same || column.type == ColType::ROWSTATUS) << table.name << " " << column.name;
        }
    }

    // What a show prints of an item.
    static std::string item(const std::string& text, const std::string& name) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            if (line.size() > 11 && line.substr(11, 25).starts_with(name + " "))
                return line.size() > 36 ? line.substr(36) : "";
        return "nothing of " + name + " in\n" + text;
    }
};
