// The application on a chassis with one line card: a process of its own with a private file system and
// network (hal_chassis.h), all 65 tables, all application modules in their order, and a card that a test
// scripts.
//
//   app_chassis::run([](AppChassis& chassis) {
//       chassis.add_port(4);
//       ...
//       EXPECT_THAT(chassis.messages(), ElementsAre(...));
//   });
#pragma once

#include <cstring>
#include <map>
#include <vector>

#include "app_loop.h"
#include "app_modules.h"
#include "app_rows.h"
#include "hal_chassis.h"
#include "kavo_if.h"
#include "ov_gpon.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "sPonTable.h"
#include "table_modules.h"

// A message as the card saw it.
struct CardMessage {
    int type;
    int action;
    uint32_t mask;
    bool wants_reply;
    wire::Bytes bytes; // the record

    template <typename Record>
    Record record() const {
        Record got = {};
        std::memcpy(static_cast<void*>(&got), bytes.data(), std::min(sizeof got, bytes.size()));
        return got;
    }
};

class AppChassis {
public:
    static constexpr int SLOT = 3;

    explicit AppChassis(uint32_t shelf_type = OV_SHELF_TYPE_LC14) : hal(shelf_type) {
        hal.open();
        app_loop_set(frr_master());
        uif_init();
        ov_gpon_const_val_init();
#define OV_TABLE_INIT(function) function();
#include "table_init_list.def"
#undef OV_TABLE_INIT
#define OV_APP_INIT(function) function();
#include "app_init_list.def"
#undef OV_APP_INIT
        HalChassis::activate(SLOT);
        card.behave([this](FakeCard& /*card*/, const wire::Bytes& request) { answer(request); });
        LogCapture::clear();
    }

    // ---- the card -----------------------------------------------------------------------------------

    // Every further message of a type gets this return code; 0 is what all others get.
    void card_answers(int type, uint32_t retcode) {
        const std::lock_guard lock(mutex_);
        retcodes_[type] = retcode;
    }
    // No further message is answered; the daemon waits a second for it.
    void card_falls_silent() const {
        HalChassis::wait_for_answers(1);
        card.behave(FakeCard::be_silent);
    }
    // Every further get of a type is answered with this record.
    template <typename Record>
    void card_reads(int type, const Record& record) {
        const std::lock_guard lock(mutex_);
        wire::Bytes bytes(sizeof record);
        std::memcpy(bytes.data(), &record, sizeof record);
        records_[type] = bytes;
    }
    // The messages since the start or the last forget_messages(), all of them or those of one type. Messages
    // without reply may still be on their way: ask for a number that must be there.
    std::vector<CardMessage> messages(size_t at_least = 0) const {
        std::vector<CardMessage> found;
        auto seen = card.wait_for(forgotten_ + at_least);
        for (int tries = 0; tries < 10 && seen.size() < forgotten_ + at_least; ++tries)
            seen = card.wait_for(forgotten_ + at_least);
        for (size_t n = forgotten_; n < seen.size(); ++n)
            found.push_back(decode(seen[n]));
        return found;
    }
    std::vector<CardMessage> messages_of(int type) const {
        std::vector<CardMessage> found;
        for (CardMessage& message : messages())
            if (message.type == type)
                found.push_back(std::move(message));
        return found;
    }
    void forget_messages() {
        forgotten_ = card.seen().size();
    }

    // ---- rows ---------------------------------------------------------------------------------------

    // Puts a row into a table past all callbacks, as loading a file does: defaults, index, then `fill`.
    template <typename Row, typename Fill, typename... Index>
    void put_row(Fill fill, Index... index) const {
        TableModule& table = table_of<Row>::module();
        auto* row = static_cast<Row*>(table.create_entry_at(index...));
        ASSERT_NE(row, nullptr);
        fill(*row);
        std::memcpy(reinterpret_cast<char*>(row) + table.desc().row_status->offset, &ACTIVE, sizeof ACTIVE);
        std::memcpy(reinterpret_cast<char*>(row) + table.desc().row_status->old_offset, &ACTIVE,
                    sizeof ACTIVE);
        table.mark_changed();
        LogCapture::clear();
    }
    // The row of a PON port of the card's slot.
    void put_port(int port) const {
        put_row<ov_sPonTable_attr_t>([](auto&) {}, GPON_SHELF, SLOT, port);
    }

    HalChassis hal;
    mutable FakeCard card{SLOT};

private:
    static constexpr int32_t ACTIVE = OVRA_ACTIVE;
    static constexpr size_t HEAD = sizeof(ov_hal_gpon_msg_head_t);

    static CardMessage decode(const wire::Bytes& request) {
        CardMessage message = {};
        message.type = wire::get16(request, wire::NL + 4);
        message.action = static_cast<int>(wire::get32(request, wire::PAYLOAD));
        message.mask = wire::get32(request, wire::PAYLOAD + 4);
        message.wants_reply = wire::get32(request, 8) == 1;
        if (request.size() > wire::PAYLOAD + HEAD)
            message.bytes.assign(request.begin() + wire::PAYLOAD + HEAD, request.end());
        return message;
    }
    void answer(const wire::Bytes& request) {
        const CardMessage message = decode(request);
        const std::lock_guard lock(mutex_);
        const auto code = retcodes_.find(message.type);
        wire::Bytes reply = card.reply_to(request, code != retcodes_.end() ? code->second : 0);
        const auto record = records_.find(message.type);
        if (record != records_.end() && message.action >= OV_HAL_GPON_MSG_ACTION_GET)
            std::copy_n(record->second.begin(),
                        std::min(record->second.size(), reply.size() - wire::PAYLOAD - HEAD),
                        reply.begin() + static_cast<long>(wire::PAYLOAD + HEAD));
        card.answer(request, reply);
    }

    mutable std::mutex mutex_;
    std::map<int, uint32_t> retcodes_;
    std::map<int, wire::Bytes> records_;
    size_t forgotten_ = 0;
};

namespace app_chassis {

inline void run(const std::function<void(AppChassis&)>& body, uint32_t shelf_type = OV_SHELF_TYPE_LC14) {
    private_root::run([&] {
        if (unshare(CLONE_NEWNET) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        AppChassis chassis(shelf_type);
        body(chassis);
    });
}

} // namespace app_chassis
