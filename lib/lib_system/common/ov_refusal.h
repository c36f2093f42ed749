// Why a request was refused.
//
// A request comes in at a door (a command, a manager's SET, a card's or the controller's event), and what
// refuses it stands many calls deeper, behind functions that answer just "no". The door opens an OvRefusal
// for as long as it works on the request; whoever says no first states why (ov_refusal_because); and the door
// writes one line if the request was refused in the end:
//
//     refused: vty: sTcontTable gpon-onu1/1:1 T-CONT 1: no bandwidth profile "gold"
//
// The first statement stays: it was made where the matter was known best. If nobody stated anything, the
// first line that was logged at error level meanwhile is the reason. What was stated on the way to something
// that succeeded after all is forgotten.
//
// The request goes into the ring of those that were refused (ov_refused_ring.h), with the lines of notice
// level and above that it left in the log: a door keeps these while it is open, as memory allows.
//
// A thread has its own doors; without an open one all of this does nothing, and while nothing is refused or
// logged it costs a look at one variable. Nothing here fails. Any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct ov_refused_line_t;

// What was stated of a request so far: texts that are empty when there is none.
struct OvRefusalNotes {
    int table = -1;            // of the row: its index in the registry
    unsigned column = 0;       // of that table, whose value was the matter; 0 for none
    int code = 0;              // result of the application call that said no; 0 for none
    std::array<char, 160> row; // "sTcontTable gpon-onu1/1:1 T-CONT 1"
    std::array<char, 320> reason;
    std::array<char, 320> error; // the first error line
};

// What somebody asked for, told when it was refused. No passwords and no keys.
struct OvRefusedRequest {
    std::string what;   // the command, the variable, the action
    std::string result; // what whoever asked was told: "10 wrongValue"
    std::string object; // what the session stood on, where there is one
};

// An open door.
class OvRefusal {
public:
    enum class Kind {
        REQUEST, // somebody waits for the answer: the door tells whether it was refused
        EVENT,   // nobody does: each write that a table refuses is reported by itself
    };
    // `door` is what the line calls it: "vty", "snmp", "card"; it must stay valid. Doors nest: the innermost
    // open one gets the statements.
    explicit OvRefusal(const char* door, Kind kind = Kind::REQUEST);
    ~OvRefusal();
    OvRefusal(const OvRefusal&) = delete;
    OvRefusal& operator=(const OvRefusal&) = delete;

    // It was refused: writes the line. `row` and `reason` stand for what nobody stated. Gives the text for
    // whoever asked, "REASON (ROW)", valid as long as the door is open.
    const char* refuse(const char* row, const char* reason, const OvRefusedRequest& request = {});
    // Its number in the ring, once it was refused; 0 before.
    uint32_t number() const { return number_; }

    Kind kind() const { return kind_; }
    OvRefusalNotes& notes() { return notes_; }

    // The innermost open door of this thread, null for none.
    static OvRefusal* current();

    // A line of notice level or above has been written to the log: all open doors of the thread keep it.
    static void keep_line(int level, const char* module, const char* text);

private:
    // The log lines of the request in hand.
    struct Lines {
        std::vector<ov_refused_line_t> kept;
        unsigned left_out = 0;
    };
    void take_line(int level, const char* module, const char* text);
    void keep_refused(const char* row, const char* reason, const OvRefusedRequest& request);

    const char* door_;
    Kind kind_;
    OvRefusal* outer_;
    OvRefusalNotes notes_;
    uint32_t number_ = 0;
    std::unique_ptr<Lines> lines_;
    std::array<char, 512> text_;
};

// States why the request in hand is refused, unless it has been stated already: a short text without a full
// stop, in the words of an operator, with the limit that was met or the name that is missing. Always false,
// so that a check can end with it.
bool ov_refusal_because(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
// The same for a value of one column of the row in hand (its number in the table): a manager is told which of
// his variables it was.
bool ov_refusal_because_of(unsigned column, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

// The result of the application call that said no, unless one has been noted already: a number of 1000 and
// above (OV_GPON_RET).
void ov_refusal_note_code(int code);

// Which row it was about; the first one stays, and goes with the reason. `table` is the table's index in the
// registry. ov_refusal_wants_row() tells whether the text is needed.
bool ov_refusal_wants_row();
void ov_refusal_at(int table, const char* row);

// What had been stated at some point, to forget what was stated since.
struct OvRefusalMark {
    OvRefusalNotes* notes = nullptr;
    bool row = false;
    bool reason = false;
    bool error = false;
    bool code = false;
};
OvRefusalMark ov_refusal_mark();
void ov_refusal_forget(const OvRefusalMark& mark);

// The door of all that this thread does behind no open one, such as its timers: a write that is refused there
// is reported like an event's. Null, as a thread starts: none.
void ov_refusal_set_thread_door(const char* door);
const char* ov_refusal_thread_door();

// A line of error level has been written to the log, or whoever asked has been given a text in answer: the
// first of these is the reason when nobody states any.
void ov_refusal_note_error(const char* text);
