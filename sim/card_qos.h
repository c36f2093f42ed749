// QoS of a card: profiles, which every card is told, and the ports, ONUs and service ports that name them.
//
// Every card knows profile 0 of each kind and the mappings 5, 6 and 7 without being told; 8 stands for no
// mapping of a kind. Templates (slot 31) come before the profiles when a card is told everything again, so
// what they name isn't looked for.
#pragma once

#include <optional>

#include "card_frame.h"
#include "card_objects.h"

// What is wrong with a profile, or with the QoS that a port, an ONU or a service port is to have: values that
// don't exist, profiles that the card wasn't told, queues that the ONU hasn't; and the deletion of a profile
// that is bound.
std::optional<CardRefusal> check_qos(const CardRequest& request, uint32_t slot, const CardObjects& objects);

// Carries out a message to a port (714 to 717, 720), one that has had none so far included. A port whose
// scheduler becomes hierarchical has its profiles no more; one whose scheduler becomes simple has nothing
// left of its ONUs' QoS.
bool is_port_qos(const CardMessage& message);
void change_port_qos(CardObjects& objects, const CardRequest& request);
