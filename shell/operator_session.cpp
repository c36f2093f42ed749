#include "operator_session.h"

#include <algorithm>

namespace {

constexpr int PATIENCE_MS = 1000;

} // namespace

std::optional<VtyReply> wait_for_answer(VtyClient& client, SignalWatch& interrupt,
                                        const std::function<void()>& notice) {
    for (int wait_ms = PATIENCE_MS;;) {
        if (auto reply = client.receive(wait_ms, interrupt.descriptor()))
            return reply;
        if (interrupt.take())
            return std::nullopt;
        if (wait_ms >= 0)
            notice();
        wait_ms = -1;
    }
}

OperatorSession::OperatorSession(std::string path_given, SignalWatch& interrupt_given, Understand understand,
                                 std::function<void(const std::string&)> say_given)
    : path_(std::move(path_given)), interrupt_(interrupt_given), place_(std::move(understand)),
      say_(std::move(say_given)) {}

std::optional<VtyReply> OperatorSession::wait() {
    return wait_for_answer(*client_, interrupt_,
                           [this] { say_("(no answer from the daemon yet; Ctrl-C gives the prompt back)"); });
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
        say_("(connected again; \"" + line +
             "\" was refused, so this is enable mode and the line wasn't run)");
        return false;
    }
    say_("(connected again, in the mode of before)");
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
                say_("(given up; the daemon may still run it)");
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
    say_("(\"" + line + "\", given up before, was " + (reply.result == 0 ? "run" : "refused") +
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
        say_(std::string("(") + error.what() + "; the next line connects again)");
        told = true;
    }
    return told;
}
