// What an ONU says of itself, and commands to it as a whole.
#include <memory>
#include <set>

#include "cli_command_rows.h"
#include "cli_objects.h"
#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "kavo_if.h"
#include "kavo_vty_object.h"
#include "ov_gpon_rm_cli.h"
#include "sRmInfoTable.h"
#include "sRmOnuCapaTable.h"

namespace {

using namespace cli_objects;
using namespace sRmInfoTable_column;
using Info = ov_sRmInfoTable_attr_t;
using Capability = ov_sRmOnuCapaTable_attr_t;
using Onu = ov_sOnuTable_attr_t;
using Scope = gpon_cli_scope_t;

// ---- remote information ---------------------------------------------------------------------------------

constexpr RmItem INFORMATION[] = {
    {"vendor", sRmInfoTableVendorId},
    {"model", sRmInfoTableEqptID},
    {"version", sRmInfoTableVersion},
    {"serial number", sRmInfoTableSn},
    {"loid", sRmInfoTableLoid},
    {"product code", sRmInfoTableProductCode},
    {"onu type", sRmInfoTableOnuType},
    {"service type", sRmInfoTableServiceType},
    {"omcc version", sRmInfoTableOmccVersion},
    {"bridge mode", sRmInfoTableBridgeMode},
    {"encryption mode", sRmInfoTableEncrptionMode},
    {"priority queues", sRmInfoTablePriorityQueue},
    {"schedulers", sRmInfoTableServiceSchedulerNumber},
    {"admin state", sRmInfoTableAdminState},
    {"operational state", sRmInfoTableOperationalState},
};

// Shows ONUs one after the other, each in a step of its own: every one that is up is asked by way of its
// card. A card that doesn't tell of one isn't asked for the others; they are shown as they told last.
class InformationOfMany {
public:
    InformationOfMany(const RmItems& items, const Scope& scope) : items_(items), scope_(scope) {
        next_ = onu_key<Info>(scope.slot, scope.port, scope.onu);
    }

    // False behind the last one.
    bool step() {
        if (!find_next()) {
            items_.total(count_);
            return false;
        }
        Info row = next_;
        const char* const read = fetch(row);
        items_.print(gpon_rm_place(row), "read", read);
        items_.print(gpon_rm_place(row), table_desc_sRmInfoTable, &row, INFORMATION);
        count_++;
        next_.onuId++;
        return true;
    }

private:
    // Goes to the row at or above the next one, if it is asked for.
    bool find_next() {
        const OvraMutexGuard lock(getMutex(did_of<Info>()));
        const void* row = table_of<Info>::module().row_at_or_above(&next_, INDEX_TO_ONU);
        if (row == nullptr)
            return false;
        next_ = *static_cast<const Info*>(row);
        return (scope_.slot == Scope::ANY || next_.slotID == scope_.slot) &&
               (scope_.port == Scope::ANY || next_.portID == scope_.port) &&
               next_.slotID != GPON_TEMPLATE_SLOT;
    }
    // How the row was had.
    const char* fetch(Info& row) {
        if (!gpon_rm_onu_is_up(row))
            return "earlier";
        if (silent_.contains(row.slotID))
            return "earlier, its card doesn't tell";
        Info told = row;
        if (mib_access(MIB_GET, told, gpon_cli_columns({sRmInfoTableVersion}))) {
            row = told;
            return "now";
        }
        silent_.insert(row.slotID);
        return "earlier, its card doesn't tell";
    }

    RmItems items_;
    Scope scope_;
    Info next_;
    int count_ = 0;
    std::set<mib_long> silent_; // slots
};

int show_many(const CliCall& call, const Scope& scope) {
    const RmItems items(call.vty, "onu");
    items.begin();
    auto walk = std::make_shared<InformationOfMany>(items, scope);
    return gpon_show_in_steps(call.vty, [walk] { return walk->step(); });
}

template <typename Row>
int refuse_read(const CliCall& call, const Row& row) {
    if (find_row(onu_key<Onu>(row)) == nullptr) {
        ov_refusal_because("no ONU %d", row.onuId);
        return call.fail_of("%%Onu %d not exist%s", row.onuId, KAVO_CLI_BAD_INPUT);
    }
    return call.fail("%%Failed to get port info %s");
}

int show_one(const CliCall& call, const Scope& scope) {
    auto row = onu_key<Info>(scope.slot, scope.port, scope.onu);
    const bool is_up = gpon_rm_onu_is_up(row);
    if (!mib_access(MIB_GET, row, gpon_cli_columns({sRmInfoTableVersion})))
        return refuse_read(call, row);
    const RmItems items(call.vty, "onu");
    items.begin();
    items.print(gpon_rm_place(row), "read", is_up ? "now" : "earlier");
    items.print(gpon_rm_place(row), table_desc_sRmInfoTable, &row, INFORMATION);
    return 0;
}

// Narrows to the port that the command names; false behind a line for a name that is none of a PON port.
bool narrow_to_named_port(const CliCall& call, Scope& scope) {
    const char* const name = call.words.text("IFNAME");
    const ov_ifindex_t port = uif_get_ifindex_by_name(name);
    if (port == OV_IFINDEX_INVALID || ov_ifindex_get_port_type(port) != PORT_TYPE_GPON) {
        ov_refusal_because("%s isn't a PON port", name);
        call.line("%%Invalid PON IFNAME:%s", name);
        return false;
    }
    scope = {};
    scope.narrow_to_port(port);
    return true;
}

int ov_show_onu_rm_info_cli(CliCall& call) {
    Scope scope = gpon_cli_object_scope_of(call.vty);
    if (call.words.has("IFNAME") && !narrow_to_named_port(call, scope))
        return KAVO_CLI_BAD_INPUT;
    scope.onu = call.words.number_or("onu", scope.onu);
    return scope.onu != Scope::ANY ? show_one(call, scope) : show_many(call, scope);
}

// ---- capability -----------------------------------------------------------------------------------------

// The queues of each T-CONT, by their bytes; T-CONTs without any left out behind the last.
std::string queues_of_tconts(const void* row) {
    const auto& bytes = static_cast<const Capability*>(row)->sRmOnuCapaQueueNumberTcont;
    size_t used = std::size(bytes);
    while (used > 0 && bytes[used - 1] == 0)
        used--;
    std::string text;
    for (size_t i = 0; i < used; i++)
        text += (text.empty() ? "" : " ") + std::to_string(static_cast<uint8_t>(bytes[i]));
    return text;
}

using namespace sRmOnuCapaTable_column;
constexpr RmItem CAPABILITY[] = {
    {"t-conts", sRmOnuCapaTcontNum},
    {"gem ports", sRmOnuCapaGemucNum},
    {"queues", sRmOnuCapaQueueNum},
    {"queues upstream", sRmOnuCapaUsQueueNum},
    {"queues downstream", sRmOnuCapaDsQueueNum},
    {"queues by t-cont", sRmOnuCapaQueueNumberTcont, {}, queues_of_tconts},
    {"schedulers", sRmOnuCapaSchedulerNum},
    {"cards", sRmOnuCapaCardNum},
    {"eth ports", sRmOnuCapaEthuniNum},
    {"eth ports of card 1", sRmOnuCapaCard1EthuniNum},
    {"eth ports of card 2", sRmOnuCapaCard2EthuniNum},
    {"eth ports of card 3", sRmOnuCapaCard3EthuniNum},
    {"eth ports of card 4", sRmOnuCapaCard4EthuniNum},
    {"veips", sRmOnuCapaVeipNum},
    {"video ports", sRmOnuCapaVideoNum},
    {"operator id", sRmOnuCapaOperationId},
    {"standard version", sRmOnuCapaSpecVersion},
    {"onu type", sRmOnuCapaOnuType},
    {"tx power control", sRmOnuCapaTxpowerCtrl},
    {"traffic management", sRmOnuCapaTrafficMagOption},
};

int ov_show_onu_rm_capability_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Capability>(call.vty);
    const auto info = onu_key<Info>(row);
    const bool is_up = gpon_rm_onu_is_up(info);
    if (!mib_access(MIB_GET, row, gpon_cli_columns({sRmOnuCapaTcontNum})))
        return refuse_read(call, row);
    const RmItems items(call.vty, "onu");
    items.begin();
    items.print(gpon_rm_place(info), "read", is_up ? "now" : "earlier");
    items.print(gpon_rm_place(info), table_desc_sRmOnuCapaTable, &row, CAPABILITY);
    return 0;
}

const CliCommand rm_onu_cmds[] = {
#include "commands/rm_onu.def"
};

} // namespace

void gpon_rm_onu_cli_init() {
    cli_install(rm_onu_cmds);
}
