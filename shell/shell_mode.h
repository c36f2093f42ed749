#pragma once

// Where a session stands in the daemon's tree of nodes, followed from the answers to its lines,
// and the prompt that says so: the daemon's own nodes have no prompts.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kavo_frr.h"

/// A command line as the daemon reads it.
struct Understood {
    /// The node that has the command: the session's own or one above it.
    enum node_type node;
    /// The words of the line, keywords in full.
    std::vector<std::string> words;
};

/// Reads a line in a node; nothing if no command of the node or of those above it is meant.
using Understand = std::function<std::optional<Understood>(enum node_type node, const std::string& line)>;

/// The node above a node of the daemon.
enum node_type shell_parent_node(enum node_type node);

/// The words of a line as they were typed; none of a comment ("!", "#").
std::vector<std::string> shell_words(const std::string& line);

class ShellMode {
public:
    /// A new session, which stands on VIEW_NODE. With no understand, every line is taken as typed.
    explicit ShellMode(Understand understand_given = {});

    enum node_type node() const { return places_.back().node; }

    /// "gpon> ", "gpon# ", "gpon(config)# ", "gpon(gpon-onu1/1:1)# ", ...
    std::string prompt() const;

    /// What the prompt calls the place: "gpon-onu1/1:1", "config"; empty in view and enable mode.
    const std::string& object() const { return places_.back().label; }

    /// How the line would be read here; as typed if no command is known that it means.
    Understood read(const std::string& line) const;
    /// Does a command that is known here, or above, mean it?
    bool knows(const std::string& line) const;
    /// The same in another node.
    bool knows_in(enum node_type node, const std::string& line) const;

    /// Is it a line that goes into one of the daemon's nodes ("interface ..."), from here or from the
    /// configuration's nodes?
    bool enters_block(const std::string& line) const;
    /// Is the line an "exit" or "quit" (also short)?
    bool leaves(const std::string& line) const;
    /// Is the line an "end" (also short)?
    bool ends(const std::string& line) const;
    /// Could the answer to the line change where the session stands?
    bool may_move(const std::string& line) const;

    /// The daemon answered the line with result (0 for success): follow it.
    void answered(const std::string& line, int result);

    /// Has the session left its outermost node, which ends it?
    bool over() const { return is_over_; }

    /// Number of nodes from the outermost one to here; 1 there.
    size_t depth() const { return places_.size(); }

    /// The lines that lead a new session to here.
    std::vector<std::string> way_here() const;

    /// A new session again.
    void restart();

private:
    struct Place {
        enum node_type node;
        std::string label; // in the prompt
        std::string line;  // that entered it
    };
    const std::optional<Understood>& understood_in(enum node_type node, const std::string& line) const;
    static std::optional<Place> place_entered(const Understood& understood);
    void climb_to(enum node_type node);
    void enter(Place place);
    void move(const Understood& understood);

    /// What was understood last: one line is asked about several times.
    struct Memory {
        enum node_type node;
        std::string line;
        std::optional<Understood> understood;
    };

    Understand understand_;
    mutable std::optional<Memory> last_;
    std::vector<Place> places_;
    bool is_over_ = false;
};
