#include "ov_refusal.h"

#include <cstdarg>
#include <cstdio>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>

#include "ov_clock.h"
#include "ov_product_log.h"
#include "ov_refused_ring.h"
#include "ov_result_word.h"

namespace {

thread_local OvRefusal* t_current = nullptr;
thread_local const char* t_thread_door = nullptr;

bool is_set(std::span<const char> text) {
    return text[0] != '\0';
}

// Statements quote what others have typed: nothing of it may begin a line of its own.
void keep_printable(char* text) {
    for (; *text != '\0'; ++text)
        if (static_cast<unsigned char>(*text) < ' ' || *text == '\x7f')
            *text = '?';
}

__attribute__((format(printf, 2, 0))) void put(std::span<char> to, const char* fmt, va_list args) {
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the callers have started it
    if (vsnprintf(to.data(), to.size(), fmt, args) < 0)
        to[0] = '\0';
    keep_printable(to.data());
}

void put_text(std::span<char> to, const char* text) {
    snprintf(to.data(), to.size(), "%s", text);
    keep_printable(to.data());
}

const char* first_of(std::initializer_list<const char*> texts) {
    for (const char* text : texts)
        if (text != nullptr && text[0] != '\0')
            return text;
    return "";
}

__attribute__((format(printf, 2, 0))) void state(unsigned column, const char* fmt, va_list args) {
    if (t_current == nullptr || is_set(t_current->notes().reason))
        return;
    put(t_current->notes().reason, fmt, args);
    t_current->notes().column = column;
}

} // namespace

OvRefusal::OvRefusal(const char* door, Kind kind) : door_(door), kind_(kind), outer_(t_current) {
    notes_.row[0] = notes_.reason[0] = notes_.error[0] = text_[0] = '\0';
    t_current = this;
}

OvRefusal::~OvRefusal() {
    t_current = outer_;
}

OvRefusal* OvRefusal::current() {
    return t_current;
}

void OvRefusal::take_line(int level, const char* module, const char* text) {
    if (lines_ == nullptr)
        lines_ = std::make_unique<Lines>();
    if (lines_->kept.size() == OV_REFUSED_LINES) {
        ++lines_->left_out;
        return;
    }
    lines_->kept.push_back({level, module != nullptr ? module : "",
                            std::string(std::string_view(text).substr(0, OV_REFUSED_LINE_TEXT))});
}

void OvRefusal::keep_line(int level, const char* module, const char* text) {
    for (OvRefusal* door = t_current; door != nullptr; door = door->outer_)
        door->take_line(level, module, text);
}

void OvRefusal::keep_refused(const char* row, const char* reason, const OvRefusedRequest& request) {
    ov_refused_t refused;
    refused.at = ov_wall_time();
    refused.door = door_;
    refused.who = request.object;
    refused.what = request.what;
    refused.result = request.result;
    if (notes_.code != 0)
        refused.code = ov_result_text(notes_.code);
    refused.row = row;
    refused.reason = reason;
    if (const auto lines = std::exchange(lines_, nullptr); lines != nullptr) {
        refused.lines = std::move(lines->kept);
        refused.lines_left_out = lines->left_out;
    }
    number_ = ov_refused_add(std::move(refused));
}

const char* OvRefusal::refuse(const char* row, const char* reason, const OvRefusedRequest& request) {
    row = first_of({notes_.row.data(), row, "-"});
    reason = first_of({notes_.reason.data(), notes_.error.data(), reason, "no reason known"});
    if (std::string_view(row) == "-")
        snprintf(text_.data(), text_.size(), "%s", reason);
    else
        snprintf(text_.data(), text_.size(), "%s (%s)", reason, row);
    keep_refused(row, reason, request);
    OV_LOG_WARN("LIB", "refused: %s: %s: %s", door_, row, reason);
    return text_.data();
}

bool ov_refusal_because(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    state(0, fmt, args);
    va_end(args);
    return false;
}

bool ov_refusal_because_of(unsigned column, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    state(column, fmt, args);
    va_end(args);
    return false;
}

void ov_refusal_note_code(int code) {
    if (t_current != nullptr && t_current->notes().code == 0)
        t_current->notes().code = code;
}

bool ov_refusal_wants_row() {
    return t_current != nullptr && !is_set(t_current->notes().row);
}

void ov_refusal_at(int table, const char* row) {
    if (!ov_refusal_wants_row())
        return;
    put_text(t_current->notes().row, row);
    t_current->notes().table = table;
}

OvRefusalMark ov_refusal_mark() {
    if (t_current == nullptr)
        return {};
    OvRefusalNotes& notes = t_current->notes();
    return {&notes, is_set(notes.row), is_set(notes.reason), is_set(notes.error), notes.code != 0};
}

void ov_refusal_forget(const OvRefusalMark& mark) {
    if (mark.notes == nullptr)
        return;
    if (!mark.row) {
        mark.notes->row[0] = '\0';
        mark.notes->table = -1;
    }
    if (!mark.reason) {
        mark.notes->reason[0] = '\0';
        mark.notes->column = 0;
    }
    if (!mark.error)
        mark.notes->error[0] = '\0';
    if (!mark.code)
        mark.notes->code = 0;
}

void ov_refusal_set_thread_door(const char* door) {
    t_thread_door = door;
}

const char* ov_refusal_thread_door() {
    return t_thread_door;
}

void ov_refusal_note_error(const char* text) {
    if (t_current != nullptr && !is_set(t_current->notes().error))
        put_text(t_current->notes().error, text);
}
