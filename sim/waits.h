// Waiting for records.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "event_loop.h"
#include "records.h"

class Waits {
public:
    struct Request {
        Pattern pattern;
        uint64_t since = 0;      // only records with a greater id count
        uint32_t count = 1;      // records that must match
        uint32_t timeout_ms = 0; // 0: no limit
    };
    // matched: the records that matched, as lines; fewer than the count when the time ran out.
    using Done = std::function<void(bool complete, std::vector<std::string> matched)>;
    using Id = uint64_t;

    // Becomes the listener of records. Both must outlive this object.
    Waits(EventLoop& loop, Records& records);

    // Records that exist already count too. done is called from the loop, never before start returns and
    // never from inside Records::add.
    Id start(Request request, Done done);
    // done isn't called after this. Does nothing for a wait that is over.
    void cancel(Id id);

private:
    struct Wait {
        Request request;
        Done done;
        std::vector<std::string> matched;
        EventLoop::TimerId timer = 0;
        bool complete = false;
    };

    void see(Wait& wait, Id id, const Record& record);
    void see_all(const Record& record);
    void finish(Id id);

    EventLoop& loop_;
    Records& records_;
    std::map<Id, Wait> waits_;
    Id next_id_ = 1;
};
