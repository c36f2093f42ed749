#pragma once

// Names of what exists on the system, for completion: asked of the daemon over a connection of their own, so
// that the operator's session isn't touched.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "command_tree.h"
#include "vty_client.h"

/// Where a name of a kind stands: behind a keyword, for a variable of the syntax.
struct NamePlace {
    std::string_view keyword;
    std::string_view variable;
    std::string_view kind;      // as "show names" calls it
    std::string_view relative;  // "onu": numbers of the ONUs of the port that the session stands on; "uni":
                                // the UNIs of its ONU
    std::string_view only = ""; // only names that begin so
};

/// The place for a keyword and a variable; null where names can't be told.
const NamePlace* name_place(std::string_view keyword, std::string_view variable);

class NameSource {
public:
    /// How long an answer may take before Tab goes without, ms.
    static constexpr int PATIENCE_MS = 500;

    explicit NameSource(std::string path_given) : path_(std::move(path_given)) {}

    /// Names of a kind that begin with a text; none when the daemon can't be asked or doesn't answer in time.
    std::vector<std::string> names(std::string_view kind, const std::string& beginning);

    /// What can stand for the last word of a text that is typed in a node.
    /// @param object  the PON port or ONU that the session stands on; empty for none
    std::vector<std::string> complete(const CommandTree& tree, enum node_type node, const std::string& text,
                                      const std::string& object);

private:
    std::vector<std::string> of_place(const NamePlace& place, const std::string& beginning,
                                      const std::string& object);

    std::string path_;
    std::unique_ptr<VtyClient> client_;
};
