// Reads a record of every ONU anew, as a pipeline (app_card_pipeline.h): what a show of the whole chassis, or
// a choice among all ONUs, begins with. It takes the time of the card with the most ONUs.
//
//     const uint64_t reading = onu_update_status_pass().begin();
//     ... later, when onu_update_status_pass().has_ended(reading): walk sOnuUpdStatusTable
//
// ONUs that aren't in operation aren't asked, and what can't be read keeps the values it has. Main loop only.
#pragma once

#include <vector>

#include "app_card_pipeline.h"
#include "app_message_map.h"

// What is read: the columns of a table with a row for each ONU, whose index is that of the ONU.
struct OnuReading {
    TableModule& (*table)();
    int message; // OV_HAL_MSG_GPON_*
    const AnyMessageMap* map;
};

class OnuReadPass : public CardPipeline {
public:
    explicit OnuReadPass(const OnuReading& reading) : reading_(reading) {}

    // Begins a pass, or, while one runs, has another behind it: every answer is younger than the call. Gives
    // the number of the pass.
    uint64_t begin();
    bool has_ended(uint64_t pass) const { return pass <= ended_; }

protected:
    Next ask(size_t lane, Place& place) override;
    Next skip(size_t lane) override;
    void take(const Place& place, unsigned result, const hal_nlmsghdr* reply) override;
    void end() override;

private:
    // ONUs in a row that aren't in operation are passed over in pieces of so many, with others in between.
    static constexpr unsigned PASSED_AT_ONCE = 256;

    // The rows of one card: the index behind which it goes on.
    struct Card {
        Key at = {};
        unsigned passed = 0;
    };

    void find_cards();
    const void* row_behind(const Card& card) const;
    HalRequest request(const void* row, Place& place) const;

    const OnuReading& reading_;
    std::vector<Card> cards_;
    uint64_t begun_ = 0;
    uint64_t ended_ = 0;
    bool once_more_ = false;
};

// Of the process: how far upgrades are (sOnuUpdStatusTable), and what ONUs are (sRmInfoTable).
OnuReadPass& onu_update_status_pass();
OnuReadPass& onu_info_pass();
