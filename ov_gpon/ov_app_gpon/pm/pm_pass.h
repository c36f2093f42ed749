// The pass that ends an interval: reads and clears the counters of every row of a family, saves the table's
// file with them, and lets the next interval begin. It runs as a pipeline (app_card_pipeline.h); the table's
// mutex is held for each step only.
//
// Rows are asked in the table's order card by card, and all cards side by side. A row that goes meanwhile
// takes no reply, one that comes behind the pass's place is left for the next one. A read of a row whose turn
// has come finds it as the pass has it: the interval that is over must reach the file. Rows of a card that
// doesn't answer say that their data isn't available.
//
// Main loop only.
#pragma once

#include <ctime>
#include <set>
#include <vector>

#include "app_card_pipeline.h"
#include "pm_family.h"

// The pass of a family that was last.
struct PmPassRecord {
    time_t began = 0;      // wall clock, seconds; 0 when there was none since the start
    time_t ended = 0;      // the same; 0 while it runs
    uint32_t took_ms = 0;  // from its beginning to the end of the file's save, milliseconds
    uint32_t answered = 0; // rows whose card answered
    uint32_t missed = 0;   // rows whose card didn't: their data isn't available
    uint32_t passes = 0;   // begun since the start
};

class PmPass : public CardPipeline {
public:
    explicit PmPass(const PmFamily& family) : family_(family) {}

    // Begins a pass, or, while one runs, has another behind it.
    void begin();
    // Whether the pass that runs has come to this row, or past it.
    bool has_asked(const void* row) const;
    // A row is about to be made at this index: a reply that is on its way isn't for it, and its interval has
    // begun already.
    void note_new_row(const void* row);

    const PmPassRecord& record() const { return record_; }

protected:
    Next ask(size_t lane, Place& place) override;
    Next skip(size_t lane) override;
    void take(const Place& place, unsigned result, const hal_nlmsghdr* reply) override;
    void end() override;

private:
    // The rows of one card: how far it is.
    struct Card {
        Key at = {};
        bool begun = false;
    };

    Key key_of(const void* row) const;
    void* stored_row(const Key& key) const;
    const void* next_row(const Card& card) const;
    void find_cards();
    void miss(void* row);
    const Card* card_of(const void* row) const;

    const PmFamily& family_;
    std::vector<Card> cards_;
    std::set<Key> made_; // rows, since the pass began, that haven't been read since
    uint32_t began_ = 0; // seconds
    bool once_more_ = false;
    PmPassRecord record_;
    ov_mono_time_t began_at_ = {};
};
