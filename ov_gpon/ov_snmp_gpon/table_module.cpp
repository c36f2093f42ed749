#include "table_module.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <mutex>
#include <new>

#include <arpa/inet.h>

#include "mmg_refusal.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "table_file_loaded.h"
#include "table_record.h"
#include "table_row_name.h"
#include "table_snmp.h"

namespace {

// The private arc, with the built-in enterprise number in its last place.
constexpr oid PRIVATE_ARC[] = {1, 3, 6, 1, 4, 1, OV_DEFAULT_ENTERPRISE_ID};
constexpr size_t ENTERPRISE_ARC = std::size(PRIVATE_ARC) - 1;

// The modules are made at their first use, on whatever thread that is.
struct ModuleList {
    std::mutex mutex;
    std::vector<TableModule*> modules; // by registry index
};

ModuleList& module_list() {
    static auto& list = *new ModuleList;
    return list;
}

void enter_module(TableModule* module) {
    auto by_index = [](const TableModule* a, const TableModule* b) {
        return a->desc().registry_index < b->desc().registry_index;
    };
    auto& [mutex, modules] = module_list();
    const std::lock_guard lock(mutex);
    modules.insert(std::upper_bound(modules.begin(), modules.end(), module, by_index), module);
}

template <typename Wanted>
TableModule* find_module(Wanted wanted) {
    auto& [mutex, modules] = module_list();
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(modules.begin(), modules.end(), wanted);
    return found == modules.end() ? nullptr : *found;
}

void put_default(const ColumnDesc& column, size_t offset, void* record) {
    switch (column.type) {
    case ColType::INT:
    case ColType::UINT:
    case ColType::ROWSTATUS:
        record_put(record, offset, static_cast<uint32_t>(column.dflt));
        break;
    case ColType::IPADDR:
        record_put(record, offset, htonl(static_cast<uint32_t>(column.dflt)));
        break;
    case ColType::COUNTER64:
        record_put(record, offset, static_cast<uint64_t>(column.dflt));
        break;
    case ColType::TEXT:
        std::memcpy(record_bytes(record) + offset, column.dflt_text, strnlen(column.dflt_text, column.limit));
        break;
    case ColType::BIN:
        break; // zeros
    }
}

std::vector<std::byte> make_default_row(const TableDesc& desc) {
    std::vector<std::byte> row(desc.entry_size);
    for (const ColumnDesc& column : desc.columns) {
        put_default(column, column.offset, row.data());
        put_default(column, column.old_offset, row.data());
    }
    return row;
}

// The hooks as the access core calls them: the module stands behind the handler in its class object.
TableModule& module_of(MibHandler* handler) {
    return *reinterpret_cast<TableModuleClass*>(handler)->module;
}
char access_start_hook(MibHandler* handler, int type, void* row, MIB_Flags_t flags) {
    return module_of(handler).access_start(type, row, flags);
}
void access_finish_hook(MibHandler* handler, char result, int type, void* row, MIB_Flags_t flags) {
    module_of(handler).access_finish(result, type, row, flags);
}
int row_mode_hook(MibHandler* handler, void* row) {
    return module_of(handler).row_mode(row);
}
int activation_hook(MibHandler* handler, const void* row) {
    return module_of(handler).is_activation(row) ? 1 : 0;
}

} // namespace

std::vector<TableModule*> table_module_list() {
    auto& [mutex, modules] = module_list();
    const std::lock_guard lock(mutex);
    return modules;
}

TableModule* table_module_find(const char* name) {
    return find_module([name](const TableModule* module) { return std::strcmp(module->name(), name) == 0; });
}

TableModule* table_module_find(int registry_index) {
    return find_module([registry_index](const TableModule* module) {
        return module->desc().registry_index == registry_index;
    });
}

// ---- life ----------------------------------------------------------------------------------------

TableModule::TableModule(const TableDesc& desc, const TableFunctions& functions)
    : desc_(desc), functions_(functions), oid_(std::begin(PRIVATE_ARC), std::end(PRIVATE_ARC)),
      default_row_(make_default_row(desc)) {
    oid_.insert(oid_.end(), desc.oid.begin(), desc.oid.end());
    missing_columns_ = find_missing_columns(desc);
    enter_module(this);
}

bool TableModule::awaits_module() const {
    const table_control_t& table = table_cntl[did()->index];
    return desc_.rows != RowUse::STORED && table.callback_get == nullptr && table.callback_set == nullptr &&
           table.callback_check == nullptr;
}

void TableModule::init() {
    init_oid();
    initialize_table();
    mmg_table_save_task_add_table(name(), functions_.save_backdoor);
    load();
}

void TableModule::init_oid() {
    if (std::equal(PRIVATE_ARC, PRIVATE_ARC + ENTERPRISE_ARC, oid_.begin()))
        oid_[ENTERPRISE_ARC] = ov_product_enterprise_id_get();
}

void TableModule::initialize_table() {
    const bool to_agent = registration_ == nullptr && functions_.handler != nullptr && table_snmp_available();
    if (to_agent)
        registration_ = table_snmp_create(*this, functions_.handler);
    // The store first: from the registration on, requests may come.
    register_with_store();
    if (to_agent && registration_ != nullptr && !table_snmp_register(*this, registration_)) {
        registration_ = nullptr;
        table_cntl[desc_.registry_index].reg = nullptr;
    }
    load();
}

void TableModule::initialize_table_data() {
    register_with_store();
}

void TableModule::register_with_store() {
    if (class_ == nullptr)
        class_ = class_new();
    if (class_ == nullptr)
        return;
    MibSetRowNamer(table_row_name);
    table_loaded_forget(did()); // the store begins anew
    ovraMib_RegisterSnmpHanlder(did(), registration_, &class_->handler, desc_.key_size, desc_.entry_size);
}

TableModuleClass* TableModule::class_new() {
    auto* object = new (std::nothrow) TableModuleClass;
    if (object != nullptr)
        class_ctor(object);
    return object;
}

void TableModule::class_ctor(TableModuleClass* object) {
    MibHandler_ctor(&object->handler);
    object->handler.mibAccessStart = access_start_hook;
    object->handler.mibAccessFinish = access_finish_hook;
    object->handler.mibGetRowStatus = row_mode_hook;
    object->handler.mibIsActivation = activation_hook;
    object->module = this;
}

// ---- rows ----------------------------------------------------------------------------------------

void TableModule::set_index(void* entry, std::span<const uint32_t> index) const {
    assert(index.size() == desc_.index.size());
    for (size_t i = 0; i < std::min(index.size(), desc_.index.size()); ++i)
        record_put(entry, desc_.index[i].offset, index[i]);
}

void* TableModule::create_entry(const void* key) {
    // The blank row lends its head: the store copies it.
    std::memcpy(default_row_.data(), key, desc_.key_size);
    return add_default_row();
}

void* TableModule::create_entry_from(std::span<const uint32_t> index) {
    set_index(default_row_.data(), index);
    return add_default_row();
}

void* TableModule::add_default_row() {
    void* stored = row_add(did(), default_row_.data());
    char text[MAX_INDEX_TEXT];
    if (stored != nullptr)
        OV_LOG_INFO(owner_word(), "create %s ", index_string(stored, text, sizeof(text)));
    return stored;
}

void TableModule::remove_entry(void* entry) {
    char text[MAX_INDEX_TEXT];
    OV_LOG_INFO(owner_word(), "remove %s ", index_string(entry, text, sizeof(text)));
    row_del(did(), entry);
    ++generation_;
}

const char* TableModule::owner_word() const {
    return getOpOwner(did()) == 1 ? "SNMP" : "APPs";
}

// ---- inspection ----------------------------------------------------------------------------------

int TableModule::row_count() const {
    OvraMutexGuard lock(getMutex(did()));
    return get_row_num(did());
}

mmg_table_memory_t TableModule::memory() const {
    OvraMutexGuard lock(getMutex(did()));
    return get_table_memory(did());
}

std::string TableModule::row_text(std::span<const uint32_t> index) const {
    if (!registered() || index.size() != desc_.index.size())
        return {};
    std::vector<std::byte> key(desc_.key_size);
    set_index(key.data(), index);
    OvraMutexGuard lock(getMutex(did()));
    const void* stored = row_get(did(), key.data());
    return stored == nullptr ? std::string() : dump_text(stored);
}
