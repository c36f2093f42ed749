// What stands behind a simulated ONU beside its UNIs: telephones and their lines, connections to the
// internet, Wi-Fi, the ONU's own address, and devices that it feeds over Ethernet.
//
// How these are set is the card's knowledge (told.h); an ONU that is up has the card's settings. What follows
// from them is worked out when it is asked for. Here is kept what nobody sets: what the people at home do,
// and how the world outside answers.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "card_objects.h"
#include "ov_hal_gpon_records.h"
#include "uni.h"

// A telephone at a POTS port.
struct Phone {
    bool is_off_hook = false;
    std::string called; // number of the call that is going on; empty: none
};

enum class PoeFault { NONE, OVERLOAD, SHORT };

// An Ethernet port that can feed a device.
struct PoePort {
    uint32_t watts = 0; // that the attached device needs; 0: there is none, or one that isn't fed
    PoeFault fault = PoeFault::NONE;
    uint32_t absent = 0; // times that a fed device was taken away
    uint32_t denied = 0; // devices that weren't fed for want of power
    uint32_t overloads = 0;
    uint32_t shorts = 0;
};

struct OnuHome {
    // Networks of the radios at 2.4 and 5 GHz.
    uint32_t networks = 4;
    uint32_t networks_5g = 4;
    bool server_refuses = false; // the SIP server, any registration
    std::map<UniPosition, Phone> phones;
    std::map<UniPosition, PoePort> poe;

    // The ONU is away, or starts again: calls end, counters begin at 0. Phones and devices stay where they
    // are.
    void lose_live_state();
};

// ---- telephony --------------------------------------------------------------------------------------------

// Why a line is as it is; the numbers are those of "VoIP voice server status" in ITU-T G.988.
struct LineState {
    uint8_t status;
    const char* name; // one word
    bool is_registered() const { return status == 1 || status == 2; }
};
LineState line_state(const Onu& onu, const CardObjects& objects, const UniPosition& pots);
// Calls a number on a line that is registered; false when it isn't.
bool call(Onu& onu, const CardObjects& objects, const UniPosition& pots, const std::string& number);
// Ends the calls of lines that aren't registered any more.
void end_lost_calls(Onu& onu, const CardObjects& objects);

// ---- connections ------------------------------------------------------------------------------------------

struct Ipv4Setting {
    uint32_t address = 0;
    uint32_t netmask = 0;
    uint32_t gateway = 0;
    uint32_t dns = 0;
    uint32_t dns_2 = 0;
};

// The state is one word; "up" has the addresses that are in use, "bridged" none.
struct Connection {
    const char* state;
    Ipv4Setting in_use = {};
};
Connection wan_connection(const Onu& onu, const ov_gpon_rmwan_attr_t& wan);
Connection ip_host_connection(const Onu& onu, const ov_gpon_onu_iphost_attr_t& host);
// "up", or why a network isn't.
const char* wifi_state(const Onu& onu, const ov_gpon_rmwifi_attr_t& wifi);
const char* tr069_state(const Onu& onu, const ov_gpon_onu_tr069_mgmt_attr_t& client);
// Whether group traffic passes a UNI: the UNI's own switch (message 915), or the one in its multicast
// settings, says so.
bool multicast_is_enabled(const Onu& onu, const CardObjects& objects,
                          const ov_gpon_rmuni_mcast_attr_t& multicast);
// Whether frames find their way: the ONU is up and has the GEM port, and the UNI, if it is one of a UNI, is
// up.
bool service_is_up(const Onu& onu, const CardObjects& objects, const ov_gpon_rmservice_attr_t& service);
// Whether the card has a GEM port (1 to 128) for the ONU.
bool has_gem_port(const CardObjects& objects, uint32_t onu_index, uint32_t gem);

// ---- power over Ethernet ----------------------------------------------------------------------------------

inline constexpr uint32_t POE_BUDGET = 60; // W, of an ONU

// The numbers are those of pethPsePortDetectionStatus and pethPsePortPowerClassifications in RFC 3621.
enum class PoeDetection : uint8_t { DISABLED = 1, SEARCHING = 2, DELIVERING = 3, FAULT = 4 };
struct PoePower {
    PoeDetection detection = PoeDetection::DISABLED;
    uint8_t device_class = 0; // 1 to 5, 0 while nothing is fed
    uint32_t consumed = 0;    // W
    uint32_t allocated = 0;   // W
};
const char* poe_detection_name(PoeDetection detection);
// Every port that can feed. What there is goes to the ports in the order of their priority.
std::map<UniPosition, PoePower> poe_powers(const Onu& onu, const CardObjects& objects);
// All ports together.
PoePower poe_total(const Onu& onu, const CardObjects& objects);
void attach_device(Onu& onu, const CardObjects& objects, const UniPosition& uni, uint32_t watts);
void detach_device(Onu& onu, const CardObjects& objects, const UniPosition& uni);
void make_poe_fault(Onu& onu, const UniPosition& uni, PoeFault fault);
ov_gpon_rmuni_poe_attr_t poe_settings(const Onu& onu, const CardObjects& objects, const UniPosition& uni);

// ---- answers ----------------------------------------------------------------------------------------------

// Puts what an ONU that is up says of all this into the answer to a read (messages 931, 942, 962, 963, 964).
void fill_home(uint16_t number, const Onu& onu, const CardObjects& objects, std::span<uint8_t> record);
