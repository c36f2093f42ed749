// Registration of tables and their control records.
#include "mmg_access_internal.h"

table_control_t table_cntl[MIB_TABLE_SLOTS];

namespace {

MibHandler* handler_of(MIBDID did) {
    table_control_t* control = mib_control_of(did);
    return control == nullptr ? nullptr : control->dataOper;
}

void set_op_owner(MIBDID did, int owner) {
    if (table_control_t* control = mib_control_of(did))
        control->operOwner = owner;
}

} // namespace

void MibHandler_ctor(MibHandler* handler) {
    *handler = MibHandler{};
}

table_control_t* ovraMib_RegisterSnmpHanlder(MIBDID did, netsnmp_handler_registration* handlerReg,
                                             MibHandler* dataOper, int key_size, int struct_size) {
    MmgFunctionTrace trace(__func__, __LINE__);
    const int index = mmg_table_index(did);
    table_control_t* control = mib_control_at(index);
    if (control == nullptr)
        return nullptr;
    control->reg = handlerReg;
    control->dataOper = dataOper;
    control->struct_size = struct_size;
    if (control->pmutex == nullptr)
        control->pmutex = AssignMutex();
    mib_clear_chains(index);
    data_Init(did, key_size, struct_size);
    control->table = get_table_head(did);
    return control;
}

char ovraMib_ParamSet(MIBDID did, app_role role, mib_sync_handler_ptr synPtr) {
    table_control_t* control = mib_control_of(did);
    if (control == nullptr)
        return 0;
    if (role <= ROLE_UNDEFINED || role >= ROLE_MAX) {
        OV_LOG_ERROR(MMG_LOG_TAG, "wrong role try to register for mib:%d", mmg_table_index(did));
        return 0;
    }
    control->role = role;
    control->syncPtr = synPtr;
    return 1;
}

int MibGetTableStructSize(MIBDID did) {
    table_control_t* control = mib_control_of(did);
    return control == nullptr ? 0 : control->struct_size;
}

app_role MibGetTableOwnerRole(MIBDID did) {
    table_control_t* control = mib_control_of(did);
    return control == nullptr ? ROLE_UNDEFINED : control->role;
}

int MibNumberGet(MIBDID did) {
    const table_control_t* control = mib_control_of(did);
    if (control == nullptr || control->pmutex == nullptr)
        return get_row_num(did);
    OvraMutexGuard lock(control->pmutex);
    return get_row_num(did);
}

ovra_mutex_t* getMutex(MIBDID did) {
    table_control_t* control = mib_control_of(did);
    return control == nullptr ? nullptr : control->pmutex;
}

int getOpOwner(MIBDID did) {
    table_control_t* control = mib_control_of(did);
    return control == nullptr ? 0 : control->operOwner;
}

void setOpOwnerSnmp(MIBDID did) {
    set_op_owner(did, 1);
}

void clearOpOwnerSnmp(MIBDID did) {
    set_op_owner(did, 0);
}

void MibSave(MIBDID did) {
    MibHandler* handler = handler_of(did);
    if (handler != nullptr && handler->mibSave != nullptr)
        handler->mibSave(handler);
}

void MibSefDefRow(MIBDID did, void* row) {
    MibHandler* handler = handler_of(did);
    if (handler != nullptr && handler->mibSetDefRow != nullptr)
        handler->mibSetDefRow(handler, row);
}

int MibQBC(MIBDID did, void* row, int index_flag, int if_return_result, ovralist_t* result,
           element_comparator sort_compare, Mib_Index_Compare_Ptr private_compare) {
    MibHandler* handler = handler_of(did);
    if (handler == nullptr || handler->mibQBC == nullptr)
        return -1;
    return handler->mibQBC(handler, row, index_flag, if_return_result, result, sort_compare, private_compare);
}
