// Reads anew how far the upgrades of all ONUs are, as a pipeline (app_card_pipeline.h): what a show of the
// chassis, or a choice of ONUs by their state, begins with. The time is that of the card with the most ONUs.
//
//     const uint64_t reading = onu_update_pass().begin();
//     ... later, when onu_update_pass().has_ended(reading): walk sOnuUpdStatusTable
//
// ONUs that aren't in operation aren't asked, and what can't be read keeps the values it has. Main loop only.
#pragma once

#include <vector>

#include "app_card_pipeline.h"
#include "sOnuUpdStatusTable.h"

class OnuUpdatePass : public CardPipeline {
public:
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
    using Row = ov_sOnuUpdStatusTable_attr_t;
    // ONUs in a row that aren't in operation are passed over in pieces of so many, with others in between.
    static constexpr unsigned PASSED_AT_ONCE = 256;

    // The rows of one card: the index behind which it goes on.
    struct Card {
        Row at = {};
        unsigned passed = 0;
    };

    void find_cards();

    std::vector<Card> cards_;
    uint64_t begun_ = 0;
    uint64_t ended_ = 0;
    bool once_more_ = false;
};

// The one of the process.
OnuUpdatePass& onu_update_pass();
