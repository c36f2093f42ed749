#include "replay.h"

#include <memory>

namespace {

// One replay under way; kept alive by the callbacks that carry it on.
struct Replay : std::enable_shared_from_this<Replay> {
    Replay(Chassis& c, uint32_t s, uint32_t ms, Done d)
        : chassis(c), slot(s), step_ms(ms), done(std::move(d)) {}

    Chassis& chassis;
    uint32_t slot;
    uint32_t step_ms;
    Done done;
    std::vector<Stage> stages;
    size_t next = 0;
    std::vector<std::string> lines;
    Waits::Id wait = 0;

    void go_on();
    void await_result(const Stage& stage, uint64_t since);
    bool start(const Stage& stage, std::string& error);
};

bool Replay::start(const Stage& stage, std::string& error) {
    const MessageType& type = *find_message(UMSG_CFG_SLOT_SYNC_START);
    const Fields fields{{"appid", std::to_string(stage.appid)},
                        {"slotid", std::to_string(slot)},
                        {"cfg_prio", std::to_string(stage.prio)},
                        {"appName", stage.app_name}};
    std::vector<uint8_t> body;
    return encode_body(*type.event, fields, body, error) &&
           chassis.controller.send_event(type, 0, 0, std::move(body), error);
}

void Replay::go_on() {
    while (next < stages.size()) {
        const Stage& stage = stages[next++];
        const uint64_t since = chassis.records.last_id();
        std::string error;
        if (!start(stage, error)) {
            done({error, lines});
            return;
        }
        lines.push_back(format("slot=%u cfg_prio=%u appid=%u", slot, stage.prio, stage.appid));
        if (step_ms != 0) {
            await_result(stage, since);
            return;
        }
    }
    done({{}, lines});
}

void Replay::await_result(const Stage& stage, uint64_t since) {
    Waits::Request request;
    std::string error;
    const Words words{"kind=request", "type=UMSG_CFG_APP_NOTIFY_RECOVER_RESULT", format("slotid=%u", slot),
                      format("cfg_prio=%u", stage.prio)};
    Pattern::parse(words, request.pattern, error);
    request.since = since;
    request.timeout_ms = step_ms;
    wait = chassis.waits.start(request, [self = shared_from_this(), prio = stage.prio](bool complete,
                                                                                       const auto&) {
        if (complete)
            self->go_on();
        else
            self->done({format("stage %u of slot %u: no result after %u ms", prio, self->slot, self->step_ms),
                        self->lines});
    });
}

} // namespace

Action replay_action(Chassis& chassis, uint32_t slot, uint32_t step_ms) {
    return [&chassis, slot, step_ms](const Context&, const Done& done) {
        auto replay = std::make_shared<Replay>(chassis, slot, step_ms, done);
        replay->stages = chassis.controller.stages();
        if (replay->stages.empty()) {
            done(Answer::failure("the daemon hasn't registered any stage"));
            return Cancel();
        }
        replay->go_on();
        return Cancel([replay] { replay->chassis.waits.cancel(replay->wait); });
    };
}
