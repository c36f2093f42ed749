// Every command stands on exactly its nodes, with exactly its syntax and its handler.
#include "cli_fixture.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

namespace {

struct Expected {
    const char* handler;
    const char* nodes;
    const char* syntax;
};
const Expected expected[] = {
#include "command_list.inc"
};

struct Declared {
    const char* handler;
    const char* syntax;
};
#define NODES(...)
#define GPON_CMD(handler, nodes, syntax, help) {#handler, syntax},
const Declared declared[] = {
#include "commands/all.def"
};
#undef GPON_CMD
#undef NODES

const std::map<std::string, int> node_of_letter = {
    {"view", VIEW_NODE},   {"E", ENABLE_NODE},  {"C", CONFIG_NODE},
    {"debug", DEBUG_NODE}, {"G", GPON_NODE},    {"S", ONU_SRV_PROFILE_NODE},
    {"I", IF_NODE},        {"P", IF_GPON_NODE}, {"O", GPON_ONU_NODE},
    {"Q", QINQ_NODE},
};

std::set<int> nodes_of(const char* letters) {
    std::set<int> nodes;
    std::istringstream words(letters);
    for (std::string letter; words >> letter;)
        nodes.insert(node_of_letter.at(letter));
    return nodes;
}

std::set<int> nodes_that_have(const char* syntax) {
    std::set<int> nodes;
    for (unsigned i = 0; i < vector_active(cmdvec); i++) {
        const auto* node = static_cast<const cmd_node*>(vector_slot(cmdvec, i));
        if (node == nullptr)
            continue;
        for (unsigned j = 0; j < vector_active(node->cmd_vector); j++) {
            const auto* element = static_cast<const cmd_element*>(vector_slot(node->cmd_vector, j));
            if (element != nullptr && strcmp(element->name, syntax) == 0)
                nodes.insert(static_cast<int>(i));
        }
    }
    return nodes;
}

// Commands of one syntax may do different things on different nodes.
std::set<int> nodes_of_all(const char* syntax) {
    std::set<int> nodes;
    for (const Expected& command : expected)
        if (strcmp(command.syntax, syntax) == 0)
            nodes.merge(nodes_of(command.nodes));
    return nodes;
}

class CommandList : public Cli {};

CLI_TEST(CommandList, EveryCommandStandsOnExactlyItsNodes) {
    for (const Expected& command : expected) {
        if (strcmp(command.syntax, "show slot info") == 0)
            continue; // installed by the start-up itself, before all others
        EXPECT_EQ(nodes_that_have(command.syntax), nodes_of_all(command.syntax)) << command.syntax;
    }
}

CLI_TEST(CommandList, EveryDeclarationIsACommandThatOperatorsKnow) {
    std::multiset<std::pair<std::string, std::string>> known, found, differences;
    for (const Expected& command : expected)
        known.emplace(command.handler, command.syntax);
    for (const Declared& command : declared)
        found.emplace(command.handler, command.syntax);
    std::set_symmetric_difference(found.begin(), found.end(), known.begin(), known.end(),
                                  std::inserter(differences, differences.end()));
    EXPECT_THAT(differences, testing::IsEmpty()) << "in the data files or in command_list.inc alone";
}

CLI_TEST(CommandList, NodesHaveTheNumbersThatTheShellKnows) {
    const std::pair<const cmd_node*, int> nodes[] = {
        {&vlan_node, 35},         {&gpon_node, 40},    {&onu_srv_profile_node, 41}, {&trunk_node, 42},
        {&if_node, 43},           {&gpon_if_node, 47}, {&qinq_node, 107},           {&gpon_onu_node, 131},
        {&rm_gpon_onu_node, 132}, {&mvlan_node, 135},
    };
    for (const auto& [node, number] : nodes) {
        EXPECT_EQ(node->node, number);
        EXPECT_STREQ(node->prompt, "");
    }
    EXPECT_EQ(NODE_TYPE_MAX, 146);
    EXPECT_EQ(IF_GPON_ONU_NODE, GPON_ONU_NODE);
}

CLI_TEST(CommandList, ServiceProfilesAreBelowTheProfilesAndAllOthersBelowTheConfiguration) {
    EXPECT_EQ(onu_srv_profile_node.parent_node, GPON_NODE);
    for (const cmd_node* node :
         {&vlan_node, &gpon_node, &trunk_node, &if_node, &gpon_if_node, &qinq_node, &gpon_onu_node})
        EXPECT_EQ(node->parent_node, CONFIG_NODE) << node->name;
}

CLI_TEST(CommandList, NodesOfLaterUseAreNotInstalled) {
    EXPECT_EQ(vector_lookup(cmdvec, RM_GPON_ONU_NODE), nullptr);
    EXPECT_EQ(vector_lookup(cmdvec, MCAST_VLAN_NODE), nullptr);
}

// A choice has one line for all its alternatives or one for each, so a line too few or too many shows as a
// keyword in the place of a text.
CLI_TEST(CommandList, EveryWordHasAHelpText) {
    for (const Expected& command : expected) {
        for (const int node : nodes_that_have(command.syntax)) {
            const auto* owner =
                static_cast<const cmd_node*>(vector_slot(cmdvec, static_cast<unsigned>(node)));
            for (unsigned j = 0; j < vector_active(owner->cmd_vector); j++) {
                const auto* element = static_cast<const cmd_element*>(vector_slot(owner->cmd_vector, j));
                if (element == nullptr || strcmp(element->name, command.syntax) != 0)
                    continue;
                size_t alternatives = 0;
                for (const auto& word : kavo_cmd_parse(command.syntax))
                    alternatives += word.alternatives.size();
                const std::string help = element->doc;
                EXPECT_EQ(static_cast<size_t>(std::count(help.begin(), help.end(), '\n')), alternatives);
                for (const auto& word : kavo_cmd_parse(command.syntax))
                    EXPECT_EQ(("\n" + help).find("\n" + word.alternatives[0] + "\n"), help.npos)
                        << command.syntax << ": " << word.alternatives[0];
            }
        }
    }
}

} // namespace
