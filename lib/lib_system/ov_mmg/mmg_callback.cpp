// Callback chains: registration and running.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "mmg_access_internal.h"
#include "mmg_refusal.h"
#include "ov_loop_thread.h"

namespace {

// A chain may be changed by its own callbacks. While any chain of a table runs, a callback that is taken
// out only leaves the list: its record keeps its `next` for those that stand on it, is called no more, and
// is freed when the last run ends. Guarded by the table's mutex.
struct RunningState {
    int depth = 0;
    std::vector<std::unique_ptr<MIB_callback>> removed;
};

RunningState g_running[MIB_TABLE_SLOTS];

class ChainRun {
public:
    explicit ChainRun(int index) : state_(g_running[index]) { ++state_.depth; }
    ~ChainRun() {
        if (--state_.depth == 0)
            state_.removed.clear();
    }
    ChainRun(const ChainRun&) = delete;
    ChainRun& operator=(const ChainRun&) = delete;

private:
    RunningState& state_;
};

// The head of a chain, or null for a kind there is none of.
MIB_callback** chain_head(table_control_t& control, int type) {
    switch (type) {
    case CALLBACK_GET:
        return &control.callback_get;
    case CALLBACK_SET:
        return &control.callback_set;
    case CALLBACK_CHECK:
        return &control.callback_check;
    default:
        return nullptr;
    }
}

const char* kind_text(int type) {
    switch (type) {
    case CALLBACK_GET:
        return " CALLBACK_GET ";
    case CALLBACK_SET:
        return " CALLBACK_SET ";
    case CALLBACK_CHECK:
        return " CALLBACK_CHECK ";
    default:
        return "UNKNOWN row mode";
    }
}

MIB_callback* find_callback(MIB_callback* node, MIB_callback_ptr fptr) {
    while (node != nullptr && node->callback != fptr)
        node = node->next;
    return node;
}

// The first callback of a chain that an application's new one would meet.
template <typename Conflicts>
const MIB_callback* find_conflict(const MIB_callback* node, Conflicts conflicts) {
    while (node != nullptr && !conflicts(node->app))
        node = node->next;
    return node;
}

void unlink(MIB_callback** head, MIB_callback* node) {
    (node->prev == nullptr ? *head : node->prev->next) = node->next;
    if (node->next != nullptr)
        node->next->prev = node->prev;
}

// Frees a callback that is in no list any more, now or after the last run.
void retire(int index, MIB_callback* node) {
    std::unique_ptr<MIB_callback> owned(node);
    if (g_running[index].depth == 0)
        return;
    node->callback = nullptr;
    g_running[index].removed.push_back(std::move(owned));
}

void log_refusal(const MIB_callback* node, int index, int type) {
    if (type == CALLBACK_SET)
        OV_LOG_ERROR(MMG_LOG_TAG, "handler %s return error! callback type:%s", node->app.appName,
                     kind_text(type));
    else
        OV_LOG_ERROR(MMG_LOG_TAG, "handler %s return error! talble %s id %d callback type:%s",
                     node->app.appName, mmg_table_name_getbyindex(index), index, kind_text(type));
}

bool concerns_hardware(int mode) {
    return mode == MODE_CRE || mode == MODE_CHG || mode == MODE_DEL;
}

bool is_activation(MibHandler& handler, const void* row) {
    return handler.mibIsActivation != nullptr && handler.mibIsActivation(&handler, row) != 0;
}

bool walk_chain(int index, MIBDID did, int type, void* row, MIB_Flags_t flags) {
    ChainRun run(index);
    for (MIB_callback* node = *chain_head(table_cntl[index], type); node != nullptr; node = node->next) {
        if (node->callback == nullptr || MibFlagsCheck(flags, node->app.appFlags) == 0)
            continue;
        ov_assert_on_loop();
        const OvRefusalMark before = ov_refusal_mark();
        if (node->callback(mib_fresh_did(index, did), row, flags) != 1) {
            mib_refused_at(index, row);
            log_refusal(node, index, type);
            return false;
        }
        ov_refusal_forget(before);
    }
    return true;
}

// The table and chain that a registration names; both null if there are none.
struct ChainPlace {
    int index = -1;
    table_control_t* control = nullptr;
    MIB_callback** head = nullptr;
};

ChainPlace find_chain(MIBDID did, int type) {
    const int index = mmg_table_index(did);
    table_control_t* control = mib_control_at(index);
    if (control == nullptr || control->dataOper == nullptr)
        return {};
    return {index, control, chain_head(*control, type)};
}

} // namespace

char mib_run_chain(int index, MIBDID did, int type, void* row, MIB_Flags_t flags) {
    table_control_t* control = mib_control_at(index);
    if (control == nullptr || control->dataOper == nullptr || chain_head(*control, type) == nullptr)
        return 0;
    bool wanted = type != CALLBACK_SET || concerns_hardware(mib_row_mode(index, row));
    bool creates_late = type != CALLBACK_GET && is_activation(*control->dataOper, row);
    if (wanted && !walk_chain(index, did, type, row, creates_late ? mibDefFlags : flags))
        return 0;
    if (type == CALLBACK_SET)
        MibChangedFlagSet(mib_fresh_did(index, did));
    return 1;
}

char Run_MibCallbackFunc(int /*appid*/, MIBDID did, int type, void* row, MIB_Flags_t flags) {
    MmgFunctionTrace trace(__func__, __LINE__);
    return mib_run_chain(mmg_table_index(did), did, type, row, flags);
}

char MibRegisterCallback(MIBDID did, int type, const char* name, int appid, MIB_callback_ptr fptr,
                         MIB_Flags_t flags) {
    MmgFunctionTrace trace(__func__, __LINE__);
    const auto [index, control, head] = find_chain(did, type);
    if (head == nullptr || fptr == nullptr)
        return 0;
    OvraMutexGuard lock(control->pmutex);
    if (find_callback(*head, fptr) != nullptr)
        return 0;
    auto* node = new (std::nothrow) MIB_callback{};
    if (node == nullptr)
        return 0;
    node->next = *head;
    if (*head != nullptr)
        (*head)->prev = node;
    *head = node;
    control->tbl_did = did;
    node->callback = fptr;
    node->app.appId = appid;
    node->app.appFlags = flags;
    if (name != nullptr)
        std::copy_n(name, strnlen(name, sizeof(node->app.appName) - 1), node->app.appName);
    return 1;
}

void MibUnRegisterCallback(MIBDID did, int type, MIB_callback_ptr fptr) {
    MmgFunctionTrace trace(__func__, __LINE__);
    const auto [index, control, head] = find_chain(did, type);
    if (head == nullptr || fptr == nullptr)
        return;
    OvraMutexGuard lock(control->pmutex);
    if (MIB_callback* node = find_callback(*head, fptr)) {
        unlink(head, node);
        retire(index, node);
    }
}

void mib_clear_chains(int index) {
    for (int type : {CALLBACK_GET, CALLBACK_SET, CALLBACK_CHECK}) {
        MIB_callback* node = std::exchange(*chain_head(table_cntl[index], type), nullptr);
        while (node != nullptr)
            retire(index, std::exchange(node, node->next));
    }
}

char MibFlagsCheck(const MIB_Flags_t flags_setpartial, const MIB_Flags_t flags_callback) {
    unsigned common = 0;
    for (size_t word = 0; word < std::size(flags_setpartial.flags); ++word)
        common |= flags_setpartial.flags[word] & flags_callback.flags[word];
    return common != 0 ? 1 : 0;
}

char IfMibFlagsConflict(MIBDID did, const int appid, const int type, const MIB_Flags_t flags) {
    table_control_t* control = mib_control_of(did);
    if (control == nullptr || control->dataOper == nullptr)
        return 0;
    OvraMutexGuard lock(control->pmutex);
    auto same_app = [&](const acb& app) { return app.appId == appid; };
    auto overlaps = [&](const acb& app) { return MibFlagsCheck(flags, app.appFlags) != 0; };
    auto either = [&](const acb& app) { return same_app(app) || overlaps(app); };
    auto both = [&](const acb& app) { return same_app(app) && overlaps(app); };

    if (type == CALLBACK_GET) {
        if (const MIB_callback* node = find_conflict(control->callback_get, either)) {
            OV_LOG_ERROR(MMG_LOG_TAG,
                         "some attributes already regisetred getcallback by %s in get_call_back list",
                         node->app.appName);
            return 1;
        }
        if (const MIB_callback* node = find_conflict(control->callback_set, both)) {
            OV_LOG_ERROR(MMG_LOG_TAG, "some attributes already regisetred in setcallback by same app %s",
                         node->app.appName);
            return 1;
        }
    }
    if (type == CALLBACK_SET) {
        if (const MIB_callback* node = find_conflict(control->callback_get, both)) {
            OV_LOG_ERROR(MMG_LOG_TAG, "some attributes already regisetred in getcallback by same app %s",
                         node->app.appName);
            return 1;
        }
    }
    return 0;
}
