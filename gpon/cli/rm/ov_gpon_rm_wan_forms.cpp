#include "ov_gpon_rm_wan_forms.h"

#include <arpa/inet.h>

#include "ov_gpon_rm_address.h"
#include "ov_refusal.h"
#include "sRmWanTable.h"
#include "table_record.h"

namespace {

using namespace sRmWanTable_column;

constexpr CliIndexWord INDEX[] = {{"wan", 4}};

// ---- ports and networks that use a connection -----------------------------------------------------------

// Numbers with commas between them, such as "1,3": a bit of the column for each, from its first number on.
constexpr int BOUND_MAX = 4;

// The bits of a list; 0 for anything that isn't one.
int32_t bound_bits(std::string_view list, char first) {
    int32_t bits = 0;
    for (size_t i = 0; i < list.size(); i += 2) {
        const int number = list[i] - first;
        if (number < 0 || number >= BOUND_MAX || (bits & 1 << number) != 0)
            return 0;
        if (i + 1 < list.size() && (list[i + 1] != ',' || i + 2 == list.size()))
            return 0;
        bits |= 1 << number;
    }
    return bits;
}

int refuse_bound(const CliCall& call, const char* unknown, char first) {
    ov_refusal_because("it takes numbers from %c to %c, each once, such as %c,%c", first,
                       first + BOUND_MAX - 1, first, first + 2);
    return call.fail(unknown, KAVO_CLI_BAD_INPUT);
}

template <char first>
int put_bound(const CliCall& call, const CliRowWord& word, const char* typed, CliFilledRow& filled) {
    const int32_t bits = bound_bits(typed, first);
    if (bits == 0)
        return refuse_bound(call, word.unfit, first);
    filled.put(word.column, bits);
    return 0;
}

// Bridges call the 5 GHz networks by another name.
int put_bound_5g(const CliCall& call, const CliRowWord& word, const char* typed, CliFilledRow& filled) {
    if (call.words.has("bridge") && bound_bits(typed, '5') == 0)
        return refuse_bound(call, "%%Unknown SSID-5G string %s", '5');
    return put_bound<'5'>(call, word, typed, filled);
}

const ColumnDesc& desc_of(const CliRowWord& word) {
    return *table_desc_sRmWanTable.column(static_cast<int>(word.column));
}

template <char first>
std::string bound_word(const CliRowWord& word, const void* row) {
    const auto bits = record_get<uint32_t>(row, desc_of(word).offset);
    std::string list;
    for (int i = 0; i < BOUND_MAX; i++)
        if ((bits & 1u << i) != 0)
            list += (list.empty() ? std::string() : ",") + static_cast<char>(first + i);
    return bits < 1u << BOUND_MAX ? list : "";
}

constexpr CliRowCodec BOUND_FROM_1 = {put_bound<'1'>, bound_word<'1'>};
constexpr CliRowCodec BOUND_FROM_5 = {put_bound_5g, bound_word<'5'>};

// ---- addresses ------------------------------------------------------------------------------------------

uint32_t address_of(const CliRowWord& word, const void* row) {
    return ntohl(record_get<uint32_t>(row, desc_of(word).offset));
}

bool is_host(const CliRowWord& word, const void* row) {
    return gpon_rm_is_host(address_of(word, row));
}
bool is_host_or_none(const CliRowWord& word, const void* row) {
    return gpon_rm_is_host_or_none(address_of(word, row));
}
bool is_netmask(const CliRowWord& word, const void* row) {
    return gpon_rm_is_netmask(address_of(word, row));
}

constexpr const char* NO_HOST = "it isn't the address of one host";

// ---- the words ------------------------------------------------------------------------------------------

constexpr ColName TYPES[] = {{SRMWANTYPE_TR069, "tr069"},
                             {SRMWANTYPE_INTERNET, "internet"},
                             {SRMWANTYPE_VOICE, "voice"},
                             {SRMWANTYPE_OTHER, "other"},
                             {SRMWANTYPE_VOICE_INTERNET, "voice_internet"},
                             {SRMWANTYPE_TR069_INTERNET, "tr069_internet"},
                             {SRMWANTYPE_TR069_VOICE, "tr069_voice"},
                             {SRMWANTYPE_TR069_VOICE_INTERNET, "tr069_voice_internet"}};
constexpr ColName BRIDGE_MODES[] = {{SRMWANBRIDGEMODE_PPPOE_BRIDGE, "pppoe-bridge"},
                                    {SRMWANBRIDGEMODE_IP_BRIDGE, "ip-bridge"}};

constexpr CliColumnRange ROUTED = {sRmWanMode, SRMWANMODE_ROUTE, SRMWANMODE_ROUTE};
constexpr CliColumnRange BRIDGED = {sRmWanMode, SRMWANMODE_BRIDGE, SRMWANMODE_BRIDGE};
constexpr CliCompanion BY_DHCP = {sRmWanDSP, SRMWANDSP_DHCP};
constexpr CliCompanion STATIC = {sRmWanDSP, SRMWANDSP_STATIC};
constexpr CliCompanion BY_PPPOE = {sRmWanDSP, SRMWANDSP_PPPOE};
constexpr const char* NO_TYPE = "%%Unknown wan type%s";
constexpr const char* NAME_TOO_LONG = "%%Username or password len exceed range%s";

constexpr CliRowWord WORDS_OF_WAN[] = {
    {.name = "route",
     .column = sRmWanType,
     .words = TYPES,
     .unfit = NO_TYPE,
     .with = {sRmWanMode, SRMWANMODE_ROUTE}},
    {.name = "bridge",
     .column = sRmWanType,
     .words = TYPES,
     .unfit = NO_TYPE,
     .with = {sRmWanMode, SRMWANMODE_BRIDGE}},
    {.name = "bridge-mode", .column = sRmWanBridgeMode, .words = BRIDGE_MODES, .when = BRIDGED},
    {.name = "dhcp", .with = BY_DHCP, .when = ROUTED},
    {.name = "USERNAME", .column = sRmWanPppUser, .unfit = NAME_TOO_LONG, .with = BY_PPPOE, .when = ROUTED},
    {.name = "PASSWORD", .column = sRmWanPppPwd, .unfit = NAME_TOO_LONG, .with = BY_PPPOE, .when = ROUTED},
    {.name = "SRVNAME",
     .column = sRmWanPppSrvName,
     .unfit = "%%pppoe service name len exceed range%s",
     .with = BY_PPPOE,
     .when = ROUTED,
     .may_miss = true},
    {.name = "ip-address",
     .column = sRmWanIpAddr,
     .is_right = is_host,
     .wrong = "%% Malformed ip address %s",
     .because = NO_HOST,
     .with = STATIC,
     .when = ROUTED},
    {.name = "netmask",
     .column = sRmWanNetMask,
     .is_right = is_netmask,
     .wrong = "%% Malformed netmask %s",
     .because = "a netmask is ones up to a place and zeros behind it",
     .with = STATIC,
     .when = ROUTED},
    {.name = "gw",
     .column = sRmWanGateway,
     .is_right = is_host_or_none,
     .wrong = "%% Malformed gateway %s",
     .because = NO_HOST,
     .with = STATIC,
     .when = ROUTED},
    {.name = "primary-dns",
     .column = sRmWanPrimaryDns,
     .is_right = is_host_or_none,
     .wrong = "%% Malformed primary dns %s",
     .because = NO_HOST,
     .with = STATIC,
     .when = ROUTED},
    {.name = "secondary-dns",
     .column = sRmWanSecondaryDns,
     .is_right = is_host_or_none,
     .wrong = "%% Malformed secondary dns %s",
     .because = NO_HOST,
     .with = STATIC,
     .when = ROUTED},
    {.name = "tag", .column = sRmWanVlan, .with = {sRmWanVlanMode, SRMWANVLANMODE_TAG}},
    {.name = "priority", .column = sRmWanVlanCos},
    {.name = "eth",
     .column = sRmWanBindLan,
     .codec = &BOUND_FROM_1,
     .unfit = "%%Unknown ETH string %s",
     .may_miss = true},
    {.name = "ssid",
     .column = sRmWanBindSsid,
     .codec = &BOUND_FROM_1,
     .unfit = "%%Unknown SSID string %s",
     .may_miss = true},
    {.name = "ssid-5g",
     .column = sRmWanBindSsid5G,
     .codec = &BOUND_FROM_5,
     .unfit = "%%Unknown SSIDADC string %s",
     .may_miss = true},
};
constexpr unsigned UNSAID[] = {sRmWanEnable};

} // namespace

const CliRowForms& gpon_rm_wan_forms() {
    static const CliRowForms forms(table_desc_sRmWanTable, INDEX, WORDS_OF_WAN, UNSAID);
    return forms;
}
