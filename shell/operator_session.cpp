#include "operator_session.h"

#include <algorithm>
#include <utility>

#include "wait_line.h"

namespace {

constexpr int SECOND_MS = 1000;

} // namespace

std::optional<VtyReply> wait_for_answer(VtyClient& client, SignalWatch& interrupt,
                                        const std::function<void(unsigned)>& notice) {
    for (unsigned seconds = 1;; ++seconds) {
        if (auto reply = client.receive(SECOND_MS, interrupt.descriptor()))
            return reply;
        if (interrupt.take())
            return std::nullopt;
        notice(seconds);
    }
}

OperatorSession::OperatorSession(std::string path_given, SignalWatch& interrupt_given, Understand understand,
                                 Telling telling_given)
    : path_(std::move(path_given)), interrupt_(interrupt_given), place_(std::move(understand)),
      telling_(std::move(telling_given)) {}

void OperatorSession::tell_wait(unsigned seconds) {
    const std::string line = wait_line(client_->so_far(), seconds);
    if (line.empty() && seconds == 1)
        say("(no answer from the daemon yet; Ctrl-C gives the prompt back)");
    if (line.empty())
        return;
    telling_.show(line);
    shows_wait_ = true;
}

void OperatorSession::end_wait() {
    if (std::exchange(shows_wait_, false))
        telling_.show("");
}

std::optional<VtyReply> OperatorSession::wait() {
    struct Behind {
        OperatorSession& session;
        ~Behind() { session.end_wait(); }
    };
    const Behind behind{*this};
    return wait_for_answer(*client_, interrupt_, [this](unsigned seconds) { tell_wait(seconds); });
}

void OperatorSession::lose() {
    client_.reset();
    given_up_.clear();
}

void OperatorSession::open() {
    client_ = std::make_unique<VtyClient>(path_);
    client_->ask_reasons();
    client_->send("enable");
    const auto reply = wait();
    if (!reply)
        throw VtyClientError("given up");
    if (reply->result != 0)
        throw VtyClientError("the daemon refuses enable mode: " + reply->text);
    place_.answered("enable", 0);
}

/// Connect again and go where the session was. False if that isn't possible, after saying so.
bool OperatorSession::reconnect() {
    const auto way = place_.way_here();
    client_ = std::make_unique<VtyClient>(path_);
    client_->ask_reasons();
    place_.restart();
    for (const auto& line : way) {
        client_->send(line);
        const auto reply = wait();
        if (!reply) {
            lose();
            throw VtyClientError("given up");
        }
        place_.answered(line, reply->result);
        if (reply->result == 0)
            continue;
        client_->send("end");
        if (wait())
            place_.answered("end", 0);
        say("(connected again; \"" + line +
            "\" was refused, so this is enable mode and the line wasn't run)");
        return false;
    }
    say("(connected again, in the mode of before)");
    return true;
}

std::optional<VtyReply> OperatorSession::run(const std::string& line) {
    if (!client_ && !reconnect())
        return std::nullopt;
    try {
        client_->send(line);
        for (;;) {
            auto reply = wait();
            if (!reply) {
                given_up_.push_back(line);
                say("(given up; the daemon may still run it)");
                return std::nullopt;
            }
            if (given_up_.empty()) {
                place_.answered(line, reply->result);
                return reply;
            }
            tell_late_answer(*reply);
        }
    } catch (const VtyClientError& error) {
        lose();
        throw VtyClientError(std::string(error.what()) +
                             "; the line may have been run or not. The next line connects again");
    }
}

void OperatorSession::tell_late_answer(const VtyReply& reply) {
    const auto line = given_up_.front();
    given_up_.pop_front();
    place_.answered(line, reply.result);
    const auto lines = std::count(reply.text.begin(), reply.text.end(), '\n');
    say("(\"" + line + "\", given up before, was " + (reply.result == 0 ? "run" : "refused") +
        " meanwhile; " + std::to_string(lines) + " lines of its output are left out)");
}

bool OperatorSession::look_at_connection() {
    if (!client_)
        return false;
    bool told = false;
    try {
        while (const auto reply = client_->receive(0)) {
            if (given_up_.empty())
                throw VtyClientError("the daemon answered what nobody asked");
            tell_late_answer(*reply);
            told = true;
        }
    } catch (const VtyClientError& error) {
        lose();
        say(std::string("(") + error.what() + "; the next line connects again)");
        told = true;
    }
    return told;
}
