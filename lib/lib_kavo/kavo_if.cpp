#include "kavo_if.h"

#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string_view>

#include "avltree.h"
#include "ov_ifindex_name.h"
#include "ov_product.h"
#include "ov_product_log.h"

static_assert(offsetof(uif_t, ifindex) == 0);

struct avl_tree_s* g_uif_avl = nullptr;

namespace {

// Operators' sessions point at the records of such kinds (kavo_vty_object.h), and outlive them.
bool may_be_pointed_at(ov_ifindex_t ifindex) {
    const uint16_t kind = ov_ifindex_get_port_type(ifindex);
    return kind != PORT_TYPE_GPON && kind != PORT_TYPE_GONU;
}

// Room for as many records as the tree has nodes. Memory of records that were never used isn't touched. A
// record that a session may point at is kept for the same port while there are others, so that the session
// stands on that port or on none.
class RecordPool {
public:
    bool init() {
        records_.reset(new (std::nothrow) uif_t[UIF_MAX]);
        free_.reset(new (std::nothrow) uif_t*[UIF_MAX]);
        used_ = free_count_ = 0;
        return records_ && free_;
    }
    void deinit() {
        records_.reset();
        free_.reset();
        kept_.clear();
    }

    // A cleared record, or null.
    uif_t* take(ov_ifindex_t ifindex) {
        uif_t* record = nullptr;
        if (const auto own = kept_.find(ifindex); own != kept_.end())
            record = take_kept(own);
        else if (free_count_ > 0)
            record = free_[--free_count_];
        else if (used_ < UIF_MAX)
            record = &records_[used_++];
        else if (!kept_.empty())
            record = take_kept(kept_.begin());
        if (record != nullptr)
            *record = {};
        return record;
    }
    void give_back(uif_t* record) {
        const ov_ifindex_t ifindex = record->ifindex;
        *record = {};
        if (may_be_pointed_at(ifindex))
            kept_.emplace(ifindex, record);
        else
            free_[free_count_++] = record;
    }

private:
    using Kept = std::map<ov_ifindex_t, uif_t*>;

    uif_t* take_kept(Kept::iterator at) {
        uif_t* const record = at->second;
        kept_.erase(at);
        return record;
    }

    std::unique_ptr<uif_t[]> records_;
    std::unique_ptr<uif_t*[]> free_; // the records given back
    int used_ = 0;                   // records ever taken, from the start of the array
    int free_count_ = 0;
    Kept kept_; // by the port that they were of
};

RecordPool g_records;
uif_pon_protect_queries g_pon_protect = {};

uif_t* record_of(const avl_node_s* node) {
    return node != nullptr ? static_cast<uif_t*>(node->info) : nullptr;
}

uif_t* lookup_by_text(std::string_view name) {
    if (name.empty() || name.size() >= UIF_NAME_SIZE)
        return nullptr;

    // Most names say which index they have.
    char text[UIF_NAME_SIZE] = {};
    name.copy(text, sizeof text - 1);
    if (ov_port_type_of_name(text) != PORT_TYPE_MAX) {
        uif_t* uif = uif_lookup_by_index(ov_ifindex_gen_by_name(text));
        if (uif != nullptr && name == uif->name)
            return uif;
    }
    // The rest are cut names and objects that share a name with others (shelf and card don't show).
    for (avl_node_s* node = avl_top_sort(g_uif_avl); node != nullptr; node = avl_next_sort(node)) {
        if (name == record_of(node)->name)
            return record_of(node);
    }
    return nullptr;
}

} // namespace

// ---- the list ------------------------------------------------------------------------------------------

int uif_cmp_func(void* data, void* info) {
    const ov_ifindex_t left =
        *static_cast<const ov_ifindex_t*>(data); // a bare index or a record's first word
    const ov_ifindex_t right = *static_cast<const ov_ifindex_t*>(info);
    return (left > right) - (left < right);
}

int uif_init() {
    if (g_uif_avl != nullptr)
        return 0;
    if (!g_records.init() || avl_create(&g_uif_avl, UIF_MAX, uif_cmp_func) != 0) {
        g_records.deinit();
        return -1;
    }
    return 0;
}

void uif_deinit() {
    avl_finish(g_uif_avl);
    g_uif_avl = nullptr;
    g_records.deinit();
}

uif_t* uif_create_by_ifindex(ov_ifindex_t ifindex) {
    if (uif_t* existing = uif_lookup_by_index(ifindex); existing != nullptr || g_uif_avl == nullptr)
        return existing;

    char name[UIF_NAME_SIZE] = {};
    if (ov_gen_ifname_by_ifindex(ifindex, name, sizeof name) == nullptr)
        return nullptr;
    uif_t* uif = g_records.take(ifindex);
    if (uif == nullptr)
        return nullptr;
    uif->ifindex = ifindex;
    memcpy(uif->name, name, sizeof name);
    if (avl_insert(g_uif_avl, uif) != 0) {
        g_records.give_back(uif);
        return nullptr;
    }
    return uif;
}

uif_t* uif_create_by_name(const char* name) {
    const ov_ifindex_t ifindex = ov_ifindex_gen_by_name(name);
    return ifindex != OV_IFINDEX_INVALID ? uif_create_by_ifindex(ifindex) : nullptr;
}

void uif_delete(uif_t* uif) {
    if (uif == nullptr || uif_lookup_by_index(uif->ifindex) != uif)
        return; // not in the list, or no more
    avl_delete(g_uif_avl, uif);
    g_records.give_back(uif);
}

// ---- look-ups ------------------------------------------------------------------------------------------

uif_t* uif_lookup_by_index(ov_ifindex_t ifindex) {
    return record_of(avl_lookup(g_uif_avl, &ifindex));
}

uif_t* uif_lookup_by_name(const char* name) {
    return name != nullptr ? lookup_by_text(name) : nullptr;
}

uif_t* uif_lookup_by_name_len(const char* name, uint32_t len) {
    return name != nullptr ? lookup_by_text({name, strnlen(name, len)}) : nullptr;
}

uif_t* uif_get_by_name(const char* name) {
    if (uif_t* uif = uif_lookup_by_name(name); uif != nullptr)
        return uif;
    char extended[UIF_NAME_SIZE];
    return uif_lookup_by_name(uif_extend_ifname(extended, name));
}

ov_ifindex_t uif_get_ifindex_by_name(const char* name) {
    const uif_t* uif = uif_get_by_name(name);
    return uif != nullptr ? uif->ifindex : OV_IFINDEX_INVALID;
}

const char* uif_ifindex_to_name(ov_ifindex_t ifindex) {
    const uif_t* uif = uif_lookup_by_index(ifindex);
    return uif != nullptr ? uif->name : "unknown";
}

uif_t* uif_get_uplink_port_by_phy_info(uint8_t shelf, uint8_t slot, uint16_t port) {
    for (uint16_t kind : {PORT_TYPE_XE, PORT_TYPE_GE}) {
        uif_t* uif = uif_lookup_by_index(ov_ifindex_gen_by_phyinfo(kind, shelf, slot, 0, port, 0));
        if (uif != nullptr)
            return uif;
    }
    return nullptr;
}

// ---- facts of an interface -----------------------------------------------------------------------------

bool uif_is_up(const uif_t* uif) {
    return uif != nullptr && (uif->flags & UIF_FLAG_UP) != 0;
}

bool uif_is_running(const uif_t* uif) {
    return uif != nullptr && (uif->flags & UIF_FLAG_RUNNING) != 0;
}

uint32_t uif_get_agt_slotid_by_ifindex(ov_ifindex_t ifindex) {
    const uint16_t kind = ov_ifindex_get_port_type(ifindex);
    switch (kind) {
    case PORT_TYPE_FABRIC:
    case PORT_TYPE_TRUNK:
    case PORT_TYPE_VLANIF:
    case PORT_TYPE_LO:
        return ov_product_slot_id_get();
    case PORT_TYPE_GE:
    case PORT_TYPE_XE: {
        // An uplink card has no agent of its own; the control card drives its ports.
        const uint32_t slot = ov_ifindex_get_slot_id(ifindex);
        return ov_product_is_slot_uplink(slot) ? ov_product_slot_id_get() : slot;
    }
    case PORT_TYPE_GPON:
    case PORT_TYPE_GONU:
    case PORT_TYPE_GEMPORT:
    case PORT_TYPE_GPON_SERVPORT:
    case PORT_TYPE_GPON_ONU_UNI:
        return ov_ifindex_get_slot_id(ifindex);
    default:
        OV_LOG_ERROR("LIB", "not suport type %d", kind);
        return 0;
    }
}

// ---- PON protection ------------------------------------------------------------------------------------

void uif_set_pon_protect_queries(const uif_pon_protect_queries* queries) {
    g_pon_protect = queries != nullptr ? *queries : uif_pon_protect_queries{};
}

bool uif_is_pon_protect_group_member(ov_ifindex_t ifindex) {
    return g_pon_protect.is_member != nullptr && g_pon_protect.is_member(ifindex);
}

ov_ifindex_t uif_get_pon_protect_group_pair_port(ov_ifindex_t ifindex) {
    return g_pon_protect.pair_port != nullptr ? g_pon_protect.pair_port(ifindex) : OV_IFINDEX_INVALID;
}

bool uif_is_pon_protect_group_member_protect_pon(ov_ifindex_t ifindex) {
    return g_pon_protect.is_protect != nullptr && g_pon_protect.is_protect(ifindex);
}

bool uif_is_pon_protect_group_member_work_pon(ov_ifindex_t ifindex) {
    return g_pon_protect.is_work != nullptr && g_pon_protect.is_work(ifindex);
}
