#include "app_card_pipeline.h"

#include <algorithm>

#include "app_loop.h"

namespace {
constexpr long RETRY_MSEC = 2;
} // namespace

void CardPipeline::start(size_t lanes) {
    lanes_.clear();
    running_ = true;
    filling_ = true;
    for (size_t n = 0; n < lanes; ++n) {
        Lane& lane = lanes_.emplace_back();
        lane.number = n;
        for (Place& place : lane.places)
            place = {.pipeline = this, .lane = n};
    }
    for (Lane& lane : lanes_)
        fill(lane);
    filling_ = false;
    end_if_through();
}

void CardPipeline::fill(Lane& lane) {
    while (!lane.ended && lane.under_way < WINDOW) {
        const Next next = ask_next(lane);
        lane.has_no_room = lane.has_no_room && next == Next::NO_ROOM;
        if (next == Next::END)
            lane.ended = true;
        if (next != Next::NO_ROOM)
            continue;
        note_no_room(lane);
        if (!lane.given_up)
            return;
    }
}

CardPipeline::Next CardPipeline::ask_next(Lane& lane) {
    if (lane.given_up)
        return skip(lane.number);
    Place& place = *std::find_if(lane.places.begin(), lane.places.end(),
                                 [](const Place& each) { return !each.under_way; });
    place.forgotten = false;
    place.heard = lane.heard;
    const Next next = ask(lane.number, place);
    if (next == Next::ASKED) {
        place.under_way = true;
        ++lane.under_way;
    }
    return next;
}

void CardPipeline::note_no_room(Lane& lane) {
    if (!lane.has_no_room)
        lane.no_room_since = ov_mono_now();
    lane.has_no_room = true;
    if (ov_mono_now() - lane.no_room_since >= PATIENCE)
        lane.given_up = true;
    else if (retry_ == nullptr)
        kavo_add_timer_msec(app_loop(), on_retry, this, RETRY_MSEC, &retry_);
}

int CardPipeline::on_retry(struct thread* thread) {
    auto& pipeline = *static_cast<CardPipeline*>(THREAD_ARG(thread));
    pipeline.retry_ = nullptr;
    for (Lane& lane : pipeline.lanes_)
        if (lane.has_no_room)
            pipeline.fill(lane);
    pipeline.end_if_through();
    return 0;
}

void CardPipeline::on_reply(void* context, unsigned result, const hal_nlmsghdr* reply) {
    Place& place = *static_cast<Place*>(context);
    CardPipeline& pipeline = *place.pipeline;
    Lane& lane = pipeline.lanes_[place.lane];
    place.under_way = false;
    --lane.under_way;
    if (reply != nullptr)
        ++lane.heard;
    else if (place.heard == lane.heard)
        lane.given_up = true;
    if (!place.forgotten)
        pipeline.take(place, result, reply);
    pipeline.fill(lane);
    pipeline.end_if_through();
}

void CardPipeline::forget(const Key& key) {
    for (Lane& lane : lanes_)
        for (Place& place : lane.places)
            if (place.under_way && place.key == key)
                place.forgotten = true;
}

void CardPipeline::end_if_through() {
    const bool is_through = std::all_of(lanes_.begin(), lanes_.end(),
                                        [](const Lane& lane) { return lane.ended && lane.under_way == 0; });
    if (!running_ || filling_ || !is_through)
        return;
    running_ = false;
    end();
}
