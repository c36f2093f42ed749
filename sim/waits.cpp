#include "waits.h"

using std::chrono::milliseconds;

Waits::Waits(EventLoop& loop, Records& records) : loop_(loop), records_(records) {
    records_.set_listener([this](const Record& record) { see_all(record); });
}

Waits::Id Waits::start(Request request, Done done) {
    const Id id = next_id_++;
    Wait& wait = waits_[id];
    wait.request = std::move(request);
    wait.done = std::move(done);
    if (wait.request.timeout_ms != 0)
        wait.timer = loop_.after(milliseconds(wait.request.timeout_ms), [this, id] { finish(id); });
    for (const Record& record : records_.all())
        see(wait, id, record);
    return id;
}

void Waits::cancel(Id id) {
    const auto it = waits_.find(id);
    if (it == waits_.end())
        return;
    loop_.cancel(it->second.timer);
    waits_.erase(it);
}

void Waits::see_all(const Record& record) {
    for (auto& [id, wait] : waits_)
        see(wait, id, record);
}

void Waits::see(Wait& wait, Id id, const Record& record) {
    if (wait.complete || record.id <= wait.request.since || !wait.request.pattern.matches(record))
        return;
    wait.matched.push_back(record.line());
    if (wait.matched.size() < wait.request.count)
        return;
    wait.complete = true;
    loop_.cancel(wait.timer);
    wait.timer = loop_.after(milliseconds(0), [this, id] { finish(id); });
}

void Waits::finish(Id id) {
    const auto it = waits_.find(id);
    if (it == waits_.end())
        return;
    const Wait wait = std::move(it->second);
    waits_.erase(it);
    wait.done(wait.complete, wait.matched);
}
