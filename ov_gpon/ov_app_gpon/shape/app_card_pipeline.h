// Work that asks cards row by row, as a pipeline: some requests are under way at each card, all cards side by
// side, and the event loop is free in between.
//
//     class PmPass : public CardPipeline {
//         Next ask(size_t lane, Place& place) override { ... hal_request(..., on_reply, &place) ... }
//         ...
//     };
//
// A lane is a card's share of the work. A lane's requests go out in their order; replies are taken as they
// come, in any order. Each piece of work ends in take() or in a DONE, and when all have, end() is called. A
// card that has been asked and hasn't said anything since, up to the time that a request has, is given up:
// the rest of its lane is skipped, so that it holds the others for that time once and not for each row.
//
// Main loop only. A pipeline lives as long as the process: replies may be on their way to it.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>

#include "hal_request.h"
#include "ov_clock.h"
#include "table_module.h"

struct thread;

class CardPipeline {
public:
    // Requests under way at one card: enough that a card that takes 2 ms for each is done in an eighth of the
    // time that waiting for each would take, few enough that others who ask it meanwhile hardly notice.
    static constexpr size_t WINDOW = 11;
    // How long a card may have no room for a request before it is given up.
    static constexpr std::chrono::seconds PATIENCE{12};

    // The row that a request is about.
    using Key = std::array<uint32_t, TableModule::MAX_INDEX_COLUMNS>;
    struct Place {
        CardPipeline* pipeline;
        size_t lane;
        Key key = {};
        bool under_way = false;
        bool forgotten = false; // its reply is for nobody any more
        uint64_t heard = 0;     // replies of the lane when it was asked
    };

    bool running() const { return running_; }

protected:
    enum class Next : uint8_t {
        ASKED,   // the reply comes to on_reply with the place
        NO_ROOM, // nothing has been sent, and this piece is asked for again in a moment
        DONE,    // this piece needs no answer, or will get none
        END,     // the lane has no more
    };

    CardPipeline() = default;
    ~CardPipeline() = default;
    CardPipeline(const CardPipeline&) = delete;
    CardPipeline& operator=(const CardPipeline&) = delete;

    // Begins with so many lanes. Not while it runs. It may have ended when this returns.
    void start(size_t lanes);
    // The handler of the requests (hal_reply_handle).
    static void on_reply(void* place, unsigned result, const hal_nlmsghdr* reply);
    // Whatever is under way for a row is to be answered to nobody.
    void forget(const Key& key);

    // Asks for the lane's next piece.
    virtual Next ask(size_t lane, Place& place) = 0;
    // Passes over the lane's next piece, whose card has been given up: DONE or END.
    virtual Next skip(size_t lane) = 0;
    // What became of what was asked; `reply` is null when the card didn't answer.
    virtual void take(const Place& place, unsigned result, const hal_nlmsghdr* reply) = 0;
    // The last piece has ended.
    virtual void end() = 0;

private:
    struct Lane {
        size_t number = 0;
        std::array<Place, WINDOW> places;
        size_t under_way = 0;
        uint64_t heard = 0;
        bool given_up = false;
        bool ended = false;
        bool has_no_room = false;
        ov_mono_time_t no_room_since = {};
    };

    static int on_retry(struct thread* thread);
    void fill(Lane& lane);
    Next ask_next(Lane& lane);
    void note_no_room(Lane& lane);
    void end_if_through();

    std::deque<Lane> lanes_;
    bool running_ = false;
    bool filling_ = false; // within start()
    struct thread* retry_ = nullptr;
};
